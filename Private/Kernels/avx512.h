// avx512 - vectors of 64 bytes: one name for each operation of the instruction set
//
// Rule of names: lanes.h; what operations do: v128.h. In an unnamed namespace on purpose: every kernel source gets a
// copy of its own, built for its instruction set.

#ifndef TESKA_AVX512_H
#define TESKA_AVX512_H

#include "Kernels/avx2.h"

#include <immintrin.h>

namespace teska
{

namespace
{

struct avx512_register {
    using vector = __m512i;
};

// ---- Integers -------------------------------------------------------------------------------------------------------

struct avx512 : integer_lanes<avx512_register> {
    static vector load(const void *at) noexcept { return _mm512_loadu_si512(at); }
    static void store(void *at, vector a) noexcept { _mm512_storeu_si512(at, a); }
    static vector repeat(const void *at) noexcept { return _mm512_broadcast_i32x4(v128::load(at)); }

    // 32 bytes in both halves.
    static vector repeat32(const void *at) noexcept { return _mm512_broadcast_i64x4(avx2::load(at)); }

    static avx2::vector lower(vector a) noexcept { return _mm512_castsi512_si256(a); }
    static avx2::vector upper(vector a) noexcept { return _mm512_extracti64x4_epi64(a, 1); }
    static vector join(avx2::vector low, avx2::vector high) noexcept
    {
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }
    // Lower half of a, then lower half of b; likewise the upper halves.
    static vector join_lower(vector a, vector b) noexcept { return _mm512_inserti64x4(a, lower(b), 1); }
    static vector join_upper(vector a, vector b) noexcept { return _mm512_shuffle_i64x2(a, b, 0xEE); }
    template <int Quarter>
    static v128::vector quarter(vector a) noexcept
    {
        return _mm512_extracti32x4_epi32(a, Quarter);
    }

    static vector add_saturated_u8(vector a, vector b) noexcept { return _mm512_adds_epu8(a, b); }
    static vector subtract_saturated_u8(vector a, vector b) noexcept { return _mm512_subs_epu8(a, b); }
    static vector subtract_saturated_u16(vector a, vector b) noexcept { return _mm512_subs_epu16(a, b); }

    static vector min_u8(vector a, vector b) noexcept { return _mm512_min_epu8(a, b); }
    static vector min_u16(vector a, vector b) noexcept { return _mm512_min_epu16(a, b); }
    static vector min_u32(vector a, vector b) noexcept { return _mm512_min_epu32(a, b); }
    static vector max_u32(vector a, vector b) noexcept { return _mm512_max_epu32(a, b); }
    static vector min_s32(vector a, vector b) noexcept { return _mm512_min_epi32(a, b); }
    static vector max_s32(vector a, vector b) noexcept { return _mm512_max_epi32(a, b); }
    static vector abs16(vector a) noexcept { return _mm512_abs_epi16(a); }
    static vector abs32(vector a) noexcept { return _mm512_abs_epi32(a); }

    static vector multiply_high_u16(vector a, vector b) noexcept { return _mm512_mulhi_epu16(a, b); }
    static vector multiply_high_s16(vector a, vector b) noexcept { return _mm512_mulhi_epi16(a, b); }
    static vector multiply_even_u32(vector a, vector b) noexcept { return _mm512_mul_epu32(a, b); }
    static vector pair_products_u8_s8(vector a, vector b) noexcept { return _mm512_maddubs_epi16(a, b); }
    static vector pair_products_s16(vector a, vector b) noexcept { return _mm512_madd_epi16(a, b); }

    static vector shift_left16_by(vector a, int by) noexcept { return _mm512_sll_epi16(a, _mm_cvtsi32_si128(by)); }
    static vector shift_right_u64_by(vector a, int by) noexcept { return _mm512_srl_epi64(a, _mm_cvtsi32_si128(by)); }

    static vector zip_low8(vector a, vector b) noexcept { return _mm512_unpacklo_epi8(a, b); }
    static vector zip_high8(vector a, vector b) noexcept { return _mm512_unpackhi_epi8(a, b); }
    static vector zip_low16(vector a, vector b) noexcept { return _mm512_unpacklo_epi16(a, b); }
    static vector zip_high16(vector a, vector b) noexcept { return _mm512_unpackhi_epi16(a, b); }
    static vector zip_low32(vector a, vector b) noexcept { return _mm512_unpacklo_epi32(a, b); }
    static vector zip_high32(vector a, vector b) noexcept { return _mm512_unpackhi_epi32(a, b); }
    static vector zip_low64(vector a, vector b) noexcept { return _mm512_unpacklo_epi64(a, b); }
    static vector zip_high64(vector a, vector b) noexcept { return _mm512_unpackhi_epi64(a, b); }
    static vector unzip64(vector a) noexcept
    {
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), a);
    }
    // Lanes of 64 bits of both halves in turn.
    static vector zip_halves64(vector a) noexcept
    {
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7), a);
    }
    static vector pick32(vector a, vector lane) noexcept { return _mm512_permutexvar_epi32(lane, a); }

    static vector narrow_to_u8(vector a, vector b) noexcept { return _mm512_packus_epi16(a, b); }
    static vector narrow_to_s8(vector a, vector b) noexcept { return _mm512_packs_epi16(a, b); }
    static vector narrow_to_u16(vector a, vector b) noexcept { return _mm512_packus_epi32(a, b); }
    static vector narrow_to_s16(vector a, vector b) noexcept { return _mm512_packs_epi32(a, b); }
    // The low bits of lanes of 32, all in order.
    static avx2::vector low_16_of_32(vector a) noexcept { return _mm512_cvtepi32_epi16(a); }
    static v128::vector low_8_of_32(vector a) noexcept { return _mm512_cvtepi32_epi8(a); }

    static vector widen_8_to_32(const void *at) noexcept { return _mm512_cvtepu8_epi32(v128::load(at)); }
    static vector widen_16_to_32(avx2::vector a) noexcept { return _mm512_cvtepu16_epi32(a); }

    // In every 16 bytes, as the shorter ones.
    static vector shuffle8(vector a, vector control) noexcept { return _mm512_shuffle_epi8(a, control); }
    // Byte index % 64 of a; 0 where the bit of `kept` is not set.
    static vector pick8(vector a, vector index) noexcept { return _mm512_permutexvar_epi8(index, a); }
    static vector pick8(vector a, vector index, std::uint64_t kept) noexcept
    {
        return _mm512_maskz_permutexvar_epi8(kept, index, a);
    }
    // Byte index % 128 of a and b.
    static vector pick8_of_two(vector a, vector b, vector index) noexcept
    {
        return _mm512_permutex2var_epi8(a, index, b);
    }

    // The top bits of lanes.
    static std::uint64_t signs8(vector a) noexcept { return _mm512_movepi8_mask(a); }
    static std::uint32_t signs16(vector a) noexcept { return _mm512_movepi16_mask(a); }
    static vector choose8(vector sign, vector yes, vector no) noexcept
    {
        return _mm512_mask_blend_epi8(signs8(sign), no, yes);
    }
    static void store_chosen8(void *at, vector a, std::uint64_t chosen) noexcept
    {
        _mm512_mask_storeu_epi8(at, chosen, a);
    }
    static void store_chosen16(void *at, vector a, std::uint32_t chosen) noexcept
    {
        _mm512_mask_storeu_epi16(at, chosen, a);
    }
    static bool is_zero(vector a) noexcept { return _mm512_test_epi64_mask(a, a) == 0; }

    // A table of 256 bytes, each half of which one permutation reads.
    class byte_table
    {
    public:
        explicit byte_table(const std::uint8_t *bytes, bool /*used*/ = true) noexcept
        {
            for (int i = 0; i < 4; ++i)
                rows_[i] = load(bytes + 64 * i);
        }

        vector look_up(vector bytes) const noexcept
        {
            return choose8(bytes, pick8_of_two(rows_[2], rows_[3], bytes), pick8_of_two(rows_[0], rows_[1], bytes));
        }

    private:
        vector rows_[4];
    };
};

// Tables are read by gathers or by single loads.
struct avx512_gathers : avx512 {
    template <int Scale>
    static vector words_at(const void *base, vector index) noexcept
    {
        return _mm512_i32gather_epi32(index, base, Scale);
    }
    // Two bytes after the table are read.
    static vector shorts_at(const std::uint16_t *table, vector index) noexcept
    {
        return words_at<2>(table, index) & all32(0xFFFF);
    }
};

struct avx512_loads : avx512 {
    static vector shorts_at(const std::uint16_t *table, vector index) noexcept
    {
        std::int32_t at[16];
        store(at, index);
        return widen_16_to_32(avx2::join(v128::eight_shorts(table, at), v128::eight_shorts(table, at + 8)));
    }
};

// ---- Floating point -------------------------------------------------------------------------------------------------

struct avx512_doubles {
    using vector = __m512d;
    using mask = __mmask8;
    static constexpr int lanes = 8;

    static vector all(double value) noexcept { return _mm512_set1_pd(value); }
    static vector zero() noexcept { return _mm512_setzero_pd(); }
    static vector load(const double *at) noexcept { return _mm512_loadu_pd(at); }
    static void store(double *at, vector a) noexcept { _mm512_storeu_pd(at, a); }

    static vector min(vector a, vector b) noexcept { return _mm512_min_pd(a, b); }
    static vector max(vector a, vector b) noexcept { return _mm512_max_pd(a, b); }
    static vector truncate(vector a) noexcept
    {
        return _mm512_roundscale_pd(a, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    }

    static mask equal(vector a, vector b) noexcept { return _mm512_cmp_pd_mask(a, b, _CMP_EQ_OQ); }
    static mask below(vector a, vector b) noexcept { return _mm512_cmp_pd_mask(a, b, _CMP_LT_OQ); }
    static unsigned not_at_least(vector a, vector b) noexcept { return _mm512_cmp_pd_mask(a, b, _CMP_NGE_UQ); }

    static mask both(mask a, mask b) noexcept { return _kand_mask8(a, b); }
    static mask either(mask a, mask b) noexcept { return _kor_mask8(a, b); }
    static mask without(mask a, mask b) noexcept { return _kandn_mask8(b, a); }
    static vector choose(mask which, vector yes, vector no) noexcept { return _mm512_mask_blend_pd(which, no, yes); }
    static vector zero_where(mask which, vector a) noexcept { return _mm512_maskz_mov_pd(_knot_mask8(which), a); }
    static vector zero_unless(mask which, vector a) noexcept { return _mm512_maskz_mov_pd(which, a); }
    static void exchange_where(mask which, vector &a, vector &b) noexcept
    {
        const vector former = a;
        a = choose(which, b, a);
        b = choose(which, former, b);
    }

    static vector all_integer(std::int64_t value) noexcept { return _mm512_castsi512_pd(_mm512_set1_epi64(value)); }
    static void store_integers(std::int64_t *at, vector a) noexcept { avx512::store(at, _mm512_castpd_si512(a)); }
    static avx2::vector truncate_to_integers(vector a) noexcept { return _mm512_cvttpd_epi32(a); }
};

}  // namespace

}  // namespace teska

#endif
