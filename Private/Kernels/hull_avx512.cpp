// hull_avx512 - the search for visible faces of a hull. Vectors of 8.

#include "Kernels/hull_vector.h"

#include <immintrin.h>

namespace teska
{

namespace
{

struct avx512 {
    typedef double vector __attribute__((vector_size(64), aligned(8), may_alias));
    static constexpr int lanes = 8;

    static unsigned not_at_least(vector value, vector limit) noexcept
    {
        return _mm512_cmp_pd_mask(value, limit, _CMP_NGE_UQ);
    }
};

}  // namespace

void install_avx512(hull_kernels &table, bool /*gathers*/) noexcept
{
    table.first_below = hull_kernel<avx512>::first_below;
}

}  // namespace teska
