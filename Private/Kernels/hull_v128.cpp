// hull_v128 - the search for visible faces of a hull. Vectors of 2.

#include "Kernels/hull_vector.h"
#include "Kernels/v128.h"

namespace teska
{

void install_v128(hull_kernels &table, bool /*gathers*/) noexcept
{
    table.first_below = hull_kernel<v128_doubles>::first_below;
}

}  // namespace teska
