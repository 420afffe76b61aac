// nearest_avx2 - the search for the nearest triangle. Vectors of 4.

#include "Kernels/avx2.h"
#include "Kernels/nearest_vector.h"

namespace teska
{

void install_avx2(nearest_kernels &table, bool /*gathers*/) noexcept
{
    table.triangle = nearest_kernel<avx2_doubles>::triangle;
}

}  // namespace teska
