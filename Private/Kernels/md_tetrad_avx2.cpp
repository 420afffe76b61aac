// md_tetrad_avx2 - evaluation of doubles over a simplex, four points at a time

#include "Kernels/md_tetrad_vector.h"

#include <immintrin.h>

namespace teska
{

namespace
{

struct avx2 {
    using vector = __m256d;
    using mask = __m256d;
    static constexpr int lanes = 4;

    static vector set(double value) noexcept { return _mm256_set1_pd(value); }
    static vector set_integer(int value) noexcept { return _mm256_castsi256_pd(_mm256_set1_epi64x(value)); }
    static vector load(const double *from) noexcept { return _mm256_loadu_pd(from); }
    static void store(double *to, vector value) noexcept { _mm256_storeu_pd(to, value); }
    static void store_integers(std::int64_t *to, vector value) noexcept
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), _mm256_castpd_si256(value));
    }

    // The second operand where they cannot be compared.
    static vector maximum(vector a, vector b) noexcept { return _mm256_max_pd(a, b); }
    static vector minimum(vector a, vector b) noexcept { return _mm256_min_pd(a, b); }
    static vector truncate(vector a) noexcept { return _mm256_round_pd(a, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC); }

    static mask equal(vector a, vector b) noexcept { return _mm256_cmp_pd(a, b, _CMP_EQ_OQ); }
    static mask below(vector a, vector b) noexcept { return _mm256_cmp_pd(a, b, _CMP_LT_OQ); }
    static mask both(mask a, mask b) noexcept { return _mm256_and_pd(a, b); }
    static mask either(mask a, mask b) noexcept { return _mm256_or_pd(a, b); }
    static vector choose(mask which, vector yes, vector no) noexcept { return _mm256_blendv_pd(no, yes, which); }

    static vector zero_where(mask which, vector a) noexcept { return _mm256_andnot_pd(which, a); }
    static vector zero_unless(mask which, vector a) noexcept { return _mm256_and_pd(which, a); }
    static mask without(mask a, mask b) noexcept { return _mm256_andnot_pd(b, a); }
    // By bits: blends by a vector take three times as long as logic.
    static void exchange_where(mask which, vector &a, vector &b) noexcept
    {
        const vector change = _mm256_and_pd(which, _mm256_xor_pd(a, b));
        a = _mm256_xor_pd(a, change);
        b = _mm256_xor_pd(b, change);
    }

    static __m128i no_offsets() noexcept { return _mm_setzero_si128(); }
    static __m128i add_offsets(__m128i sum, vector index, int stride) noexcept
    {
        return _mm_add_epi32(sum, _mm_mullo_epi32(_mm256_cvttpd_epi32(index), _mm_set1_epi32(stride)));
    }
    static void store_offsets(std::int32_t *to, __m128i offsets) noexcept
    {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(to), offsets);
    }
};

}  // namespace

void install_avx2(md_tetrad_kernels &table, bool /*gathers*/) noexcept { md_tetrad_kernel<avx2>::install(table); }

}  // namespace teska
