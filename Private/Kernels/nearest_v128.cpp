// nearest_v128 - the search for the nearest triangle. Vectors of 2.

#include "Kernels/nearest_vector.h"
#include "Kernels/v128.h"

namespace teska
{

void install_v128(nearest_kernels &table, bool /*gathers*/) noexcept
{
    table.triangle = nearest_kernel<v128_doubles>::triangle;
}

}  // namespace teska
