// avx2 - vectors of 32 bytes: one name for each operation of the instruction set
//
// Rule of names: lanes.h; what operations do: v128.h. In an unnamed namespace on purpose: every kernel source gets a
// copy of its own, built for its instruction set.

#ifndef TESKA_AVX2_H
#define TESKA_AVX2_H

#include "Kernels/v128.h"

#include <immintrin.h>

namespace teska
{

namespace
{

struct avx2_register {
    using vector = __m256i;
};

// ---- Integers -------------------------------------------------------------------------------------------------------

struct avx2 : integer_lanes<avx2_register> {
    using byte_table = shuffled_byte_table<avx2>;

    static vector load(const void *at) noexcept { return _mm256_loadu_si256(static_cast<const __m256i *>(at)); }
    static void store(void *at, vector a) noexcept { _mm256_storeu_si256(static_cast<__m256i *>(at), a); }
    static vector repeat(const void *at) noexcept { return _mm256_broadcastsi128_si256(v128::load(at)); }

    static v128::vector lower(vector a) noexcept { return _mm256_castsi256_si128(a); }
    static v128::vector upper(vector a) noexcept { return _mm256_extracti128_si256(a, 1); }
    static vector join(v128::vector low, v128::vector high) noexcept
    {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
    }

    // Lower half of a, then lower half of b; likewise the upper halves.
    static vector join_lower(vector a, vector b) noexcept { return _mm256_permute2x128_si256(a, b, 0x20); }
    static vector join_upper(vector a, vector b) noexcept { return _mm256_permute2x128_si256(a, b, 0x31); }

    static vector add_saturated_u8(vector a, vector b) noexcept { return _mm256_adds_epu8(a, b); }
    static vector subtract_saturated_u8(vector a, vector b) noexcept { return _mm256_subs_epu8(a, b); }
    static vector subtract_saturated_s8(vector a, vector b) noexcept { return _mm256_subs_epi8(a, b); }
    static vector subtract_saturated_u16(vector a, vector b) noexcept { return _mm256_subs_epu16(a, b); }

    static vector min_u8(vector a, vector b) noexcept { return _mm256_min_epu8(a, b); }
    static vector min_u16(vector a, vector b) noexcept { return _mm256_min_epu16(a, b); }
    static vector min_s16(vector a, vector b) noexcept { return _mm256_min_epi16(a, b); }
    static vector max_s16(vector a, vector b) noexcept { return _mm256_max_epi16(a, b); }
    static vector min_u32(vector a, vector b) noexcept { return _mm256_min_epu32(a, b); }
    static vector max_u32(vector a, vector b) noexcept { return _mm256_max_epu32(a, b); }
    static vector min_s32(vector a, vector b) noexcept { return _mm256_min_epi32(a, b); }
    static vector abs16(vector a) noexcept { return _mm256_abs_epi16(a); }
    static vector abs32(vector a) noexcept { return _mm256_abs_epi32(a); }

    static vector multiply_high_u16(vector a, vector b) noexcept { return _mm256_mulhi_epu16(a, b); }
    static vector multiply_high_s16(vector a, vector b) noexcept { return _mm256_mulhi_epi16(a, b); }
    static vector multiply_even_u32(vector a, vector b) noexcept { return _mm256_mul_epu32(a, b); }
    static vector pair_products_u8_s8(vector a, vector b) noexcept { return _mm256_maddubs_epi16(a, b); }
    static vector pair_products_s16(vector a, vector b) noexcept { return _mm256_madd_epi16(a, b); }

    static vector shift_left16_by(vector a, int by) noexcept { return _mm256_sll_epi16(a, _mm_cvtsi32_si128(by)); }
    static vector shift_right_u64_by(vector a, int by) noexcept { return _mm256_srl_epi64(a, _mm_cvtsi32_si128(by)); }

    static vector zip_low8(vector a, vector b) noexcept { return _mm256_unpacklo_epi8(a, b); }
    static vector zip_high8(vector a, vector b) noexcept { return _mm256_unpackhi_epi8(a, b); }
    static vector zip_low16(vector a, vector b) noexcept { return _mm256_unpacklo_epi16(a, b); }
    static vector zip_high16(vector a, vector b) noexcept { return _mm256_unpackhi_epi16(a, b); }
    static vector zip_low32(vector a, vector b) noexcept { return _mm256_unpacklo_epi32(a, b); }
    static vector zip_high32(vector a, vector b) noexcept { return _mm256_unpackhi_epi32(a, b); }
    static vector zip_low64(vector a, vector b) noexcept { return _mm256_unpacklo_epi64(a, b); }
    static vector zip_high64(vector a, vector b) noexcept { return _mm256_unpackhi_epi64(a, b); }
    static vector zip_order_low(vector a, vector b) noexcept { return join_lower(a, b); }
    static vector zip_order_high(vector a, vector b) noexcept { return join_upper(a, b); }
    static vector unzip64(vector a) noexcept { return _mm256_permute4x64_epi64(a, 0xD8); }
    static vector pick32(vector a, vector lane) noexcept { return _mm256_permutevar8x32_epi32(a, lane); }

    static vector narrow_to_u8(vector a, vector b) noexcept { return _mm256_packus_epi16(a, b); }
    static vector narrow_to_s8(vector a, vector b) noexcept { return _mm256_packs_epi16(a, b); }
    static vector narrow_to_u16(vector a, vector b) noexcept { return _mm256_packus_epi32(a, b); }
    static vector narrow_to_s16(vector a, vector b) noexcept { return _mm256_packs_epi32(a, b); }

    static vector widen_8_to_32(const void *at) noexcept { return _mm256_cvtepu8_epi32(v128::load_8_bytes(at)); }
    static vector widen_8_to_16(v128::vector a) noexcept { return _mm256_cvtepu8_epi16(a); }
    static vector widen_8_to_16(const void *at) noexcept { return widen_8_to_16(v128::load(at)); }
    static vector widen_16_to_32(v128::vector a) noexcept { return _mm256_cvtepu16_epi32(a); }
    static vector widen_16_to_32(const void *at) noexcept { return widen_16_to_32(v128::load(at)); }

    static vector shuffle8(vector a, vector control) noexcept { return _mm256_shuffle_epi8(a, control); }
    static vector choose8(vector sign, vector yes, vector no) noexcept { return _mm256_blendv_epi8(no, yes, sign); }
    static bool is_zero(vector a) noexcept { return _mm256_testz_si256(a, a) != 0; }
};

// Tables are read by gathers or by single loads.
struct avx2_gathers : avx2 {
    template <int Scale>
    static vector words_at(const void *base, vector index) noexcept
    {
        return _mm256_i32gather_epi32(static_cast<const int *>(base), index, Scale);
    }
    // Two bytes after the table are read.
    static vector shorts_at(const std::uint16_t *table, vector index) noexcept
    {
        return words_at<2>(table, index) & all32(0xFFFF);
    }
};

struct avx2_loads : avx2 {
    template <int Scale>
    static vector words_at(const void *base, vector index) noexcept
    {
        return join(v128::words_at<Scale>(base, lower(index)), v128::words_at<Scale>(base, upper(index)));
    }
    static vector shorts_at(const std::uint16_t *table, vector index) noexcept
    {
        std::int32_t at[8];
        store(at, index);
        return widen_16_to_32(v128::eight_shorts(table, at));
    }
};

// ---- Floating point -------------------------------------------------------------------------------------------------

struct avx2_doubles {
    using vector = __m256d;
    using mask = __m256d;
    static constexpr int lanes = 4;

    static vector all(double value) noexcept { return _mm256_set1_pd(value); }
    static vector zero() noexcept { return _mm256_setzero_pd(); }
    static vector load(const double *at) noexcept { return _mm256_loadu_pd(at); }
    static void store(double *at, vector a) noexcept { _mm256_storeu_pd(at, a); }

    static vector min(vector a, vector b) noexcept { return _mm256_min_pd(a, b); }
    static vector max(vector a, vector b) noexcept { return _mm256_max_pd(a, b); }
    static vector truncate(vector a) noexcept { return _mm256_round_pd(a, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC); }

    static mask equal(vector a, vector b) noexcept { return _mm256_cmp_pd(a, b, _CMP_EQ_OQ); }
    static mask below(vector a, vector b) noexcept { return _mm256_cmp_pd(a, b, _CMP_LT_OQ); }
    static unsigned not_at_least(vector a, vector b) noexcept
    {
        return static_cast<unsigned>(_mm256_movemask_pd(_mm256_cmp_pd(a, b, _CMP_NGE_UQ)));
    }

    static mask both(mask a, mask b) noexcept { return _mm256_and_pd(a, b); }
    static mask either(mask a, mask b) noexcept { return _mm256_or_pd(a, b); }
    static mask without(mask a, mask b) noexcept { return _mm256_andnot_pd(b, a); }
    static vector choose(mask which, vector yes, vector no) noexcept { return _mm256_blendv_pd(no, yes, which); }
    static vector zero_where(mask which, vector a) noexcept { return _mm256_andnot_pd(which, a); }
    static vector zero_unless(mask which, vector a) noexcept { return _mm256_and_pd(which, a); }
    // By bits: blends by a vector take three times as long as logic.
    static void exchange_where(mask which, vector &a, vector &b) noexcept
    {
        const vector change = _mm256_and_pd(which, _mm256_xor_pd(a, b));
        a = _mm256_xor_pd(a, change);
        b = _mm256_xor_pd(b, change);
    }

    static vector all_integer(std::int64_t value) noexcept { return _mm256_castsi256_pd(_mm256_set1_epi64x(value)); }
    static void store_integers(std::int64_t *at, vector a) noexcept { avx2::store(at, _mm256_castpd_si256(a)); }
    static v128::vector truncate_to_integers(vector a) noexcept { return _mm256_cvttpd_epi32(a); }
};

}  // namespace

}  // namespace teska

#endif
