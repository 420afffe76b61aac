// hull_avx512 - the search for visible faces of a hull. Vectors of 8.

#include "Kernels/avx512.h"
#include "Kernels/hull_vector.h"

namespace teska
{

void install_avx512(hull_kernels &table, bool /*gathers*/) noexcept
{
    table.first_below = hull_kernel<avx512_doubles>::first_below;
}

}  // namespace teska
