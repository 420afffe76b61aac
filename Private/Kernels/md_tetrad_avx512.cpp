// md_tetrad_avx512 - evaluation of doubles over a simplex, eight points at a time

#include "Kernels/md_tetrad_vector.h"

#include <immintrin.h>

namespace teska
{

namespace
{

struct avx512 {
    using vector = __m512d;
    using mask = __mmask8;
    static constexpr int lanes = 8;

    static vector set(double value) noexcept { return _mm512_set1_pd(value); }
    static vector set_integer(int value) noexcept { return _mm512_castsi512_pd(_mm512_set1_epi64(value)); }
    static vector load(const double *from) noexcept { return _mm512_loadu_pd(from); }
    static void store(double *to, vector value) noexcept { _mm512_storeu_pd(to, value); }
    static void store_integers(std::int64_t *to, vector value) noexcept
    {
        _mm512_storeu_si512(to, _mm512_castpd_si512(value));
    }

    // The second operand where they cannot be compared.
    static vector maximum(vector a, vector b) noexcept { return _mm512_max_pd(a, b); }
    static vector minimum(vector a, vector b) noexcept { return _mm512_min_pd(a, b); }
    static vector truncate(vector a) noexcept
    {
        return _mm512_roundscale_pd(a, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    }

    static mask equal(vector a, vector b) noexcept { return _mm512_cmp_pd_mask(a, b, _CMP_EQ_OQ); }
    static mask below(vector a, vector b) noexcept { return _mm512_cmp_pd_mask(a, b, _CMP_LT_OQ); }
    static mask both(mask a, mask b) noexcept { return _kand_mask8(a, b); }
    static mask either(mask a, mask b) noexcept { return _kor_mask8(a, b); }
    static vector choose(mask which, vector yes, vector no) noexcept { return _mm512_mask_blend_pd(which, no, yes); }

    static vector zero_where(mask which, vector a) noexcept { return _mm512_maskz_mov_pd(_knot_mask8(which), a); }
    static vector zero_unless(mask which, vector a) noexcept { return _mm512_maskz_mov_pd(which, a); }
    static mask without(mask a, mask b) noexcept { return _kandn_mask8(b, a); }
    static void exchange_where(mask which, vector &a, vector &b) noexcept
    {
        const vector former = a;
        a = choose(which, b, a);
        b = choose(which, former, b);
    }

    static __m256i no_offsets() noexcept { return _mm256_setzero_si256(); }
    static __m256i add_offsets(__m256i sum, vector index, int stride) noexcept
    {
        return _mm256_add_epi32(sum, _mm256_mullo_epi32(_mm512_cvttpd_epi32(index), _mm256_set1_epi32(stride)));
    }
    static void store_offsets(std::int32_t *to, __m256i offsets) noexcept
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), offsets);
    }
};

}  // namespace

void install_avx512(md_tetrad_kernels &table, bool /*gathers*/) noexcept { md_tetrad_kernel<avx512>::install(table); }

}  // namespace teska
