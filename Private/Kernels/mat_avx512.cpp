// mat_avx512 - triangular factors of a matrix. Vectors of 8, and 32 registers for twice the rows.

#include "Kernels/mat_vector.h"

namespace teska
{

namespace
{

struct avx512 {
    typedef double vector __attribute__((vector_size(64), aligned(8), may_alias));
    static constexpr int lanes = 8;
    static constexpr int rows = 8;
};

}  // namespace

void install_avx512(mat_kernels &table, bool /*gathers*/) noexcept { table.decompose = lu_kernel<avx512>::decompose; }

}  // namespace teska
