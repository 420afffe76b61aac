// mat_avx512 - triangular factors of a matrix. Vectors of 8, and 32 registers for twice the rows.

#include "Kernels/avx512.h"
#include "Kernels/mat_vector.h"

namespace teska
{

namespace
{

struct mat_avx512 : avx512_doubles {
    static constexpr int rows = 8;
};

}  // namespace

void install_avx512(mat_kernels &table, bool /*gathers*/) noexcept
{
    table.decompose = lu_kernel<mat_avx512>::decompose;
}

}  // namespace teska
