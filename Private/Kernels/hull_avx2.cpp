// hull_avx2 - the search for visible faces of a hull. Vectors of 4.

#include "Kernels/avx2.h"
#include "Kernels/hull_vector.h"

namespace teska
{

void install_avx2(hull_kernels &table, bool /*gathers*/) noexcept
{
    table.first_below = hull_kernel<avx2_doubles>::first_below;
}

}  // namespace teska
