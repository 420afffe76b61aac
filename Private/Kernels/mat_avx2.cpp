// mat_avx2 - triangular factors of a matrix. Vectors of 4: 8 sums, a factor and two vectors of the other factor fill
// the 16 registers.

#include "Kernels/mat_vector.h"

namespace teska
{

namespace
{

struct avx2 {
    typedef double vector __attribute__((vector_size(32), aligned(8), may_alias));
    static constexpr int lanes = 4;
    static constexpr int rows = 4;
};

}  // namespace

void install_avx2(mat_kernels &table, bool /*gathers*/) noexcept { table.decompose = lu_kernel<avx2>::decompose; }

}  // namespace teska
