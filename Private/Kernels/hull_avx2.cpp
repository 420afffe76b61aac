// hull_avx2 - the search for visible faces of a hull. Vectors of 4.

#include "Kernels/hull_vector.h"

#include <immintrin.h>

namespace teska
{

namespace
{

struct avx2 {
    typedef double vector __attribute__((vector_size(32), aligned(8), may_alias));
    static constexpr int lanes = 4;

    static unsigned not_at_least(vector value, vector limit) noexcept
    {
        return static_cast<unsigned>(_mm256_movemask_pd(_mm256_cmp_pd(value, limit, _CMP_NGE_UQ)));
    }
};

}  // namespace

void install_avx2(hull_kernels &table, bool /*gathers*/) noexcept
{
    table.first_below = hull_kernel<avx2>::first_below;
}

}  // namespace teska
