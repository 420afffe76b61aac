// mat_avx2 - triangular factors of a matrix. Vectors of 4: 8 sums, a factor and two vectors of the other factor fill
// the 16 registers.

#include "Kernels/avx2.h"
#include "Kernels/mat_vector.h"

namespace teska
{

namespace
{

struct mat_avx2 : avx2_doubles {
    static constexpr int rows = 4;
};

}  // namespace

void install_avx2(mat_kernels &table, bool /*gathers*/) noexcept { table.decompose = lu_kernel<mat_avx2>::decompose; }

}  // namespace teska
