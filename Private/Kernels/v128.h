// v128 - vectors of 16 bytes: one name for each operation of the instruction set
//
// SSE4.1 on x86, emscripten's translation of it to WebAssembly, and SIMDe's elsewhere. Rule of names: lanes.h. In an
// unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_V128_H
#define TESKA_V128_H

#include "Kernels/byte_table.h"
#include "Kernels/lanes.h"

#ifdef __SSE4_1__
#    include <smmintrin.h>
#else
#    define SIMDE_ENABLE_NATIVE_ALIASES
#    include <simde/x86/sse4.1.h>
#endif

namespace teska
{

namespace
{

struct v128_register {
    using vector = __m128i;
};

// ---- Integers -------------------------------------------------------------------------------------------------------

struct v128 : integer_lanes<v128_register> {
    using byte_table = shuffled_byte_table<v128>;

    // Addresses need no alignment. A part of a vector is its low end; the rest of what is loaded is 0.
    static vector load(const void *at) noexcept { return _mm_loadu_si128(static_cast<const __m128i *>(at)); }
    static vector load_8_bytes(const void *at) noexcept { return _mm_loadl_epi64(static_cast<const __m128i *>(at)); }
    // 8 bytes from each of two places.
    static vector load_8_bytes_each(const void *lower, const void *upper) noexcept
    {
        const __m128d first = _mm_castsi128_pd(load_8_bytes(lower));
        return _mm_castpd_si128(_mm_loadh_pd(first, static_cast<const double *>(upper)));
    }
    static vector load_4_bytes(const void *at) noexcept
    {
        int word;
        __builtin_memcpy(&word, at, sizeof(word));
        return _mm_cvtsi32_si128(word);
    }
    static void store(void *at, vector a) noexcept { _mm_storeu_si128(static_cast<__m128i *>(at), a); }
    static void store_8_bytes(void *at, vector a) noexcept { _mm_storel_epi64(static_cast<__m128i *>(at), a); }

    // 16 bytes in every 16 bytes of a vector.
    static vector repeat(const void *at) noexcept { return load(at); }

    static vector add_saturated_u8(vector a, vector b) noexcept { return _mm_adds_epu8(a, b); }
    static vector subtract_saturated_u8(vector a, vector b) noexcept { return _mm_subs_epu8(a, b); }
    static vector subtract_saturated_s8(vector a, vector b) noexcept { return _mm_subs_epi8(a, b); }
    static vector subtract_saturated_u16(vector a, vector b) noexcept { return _mm_subs_epu16(a, b); }

    static vector min_u8(vector a, vector b) noexcept { return _mm_min_epu8(a, b); }
    static vector min_u16(vector a, vector b) noexcept { return _mm_min_epu16(a, b); }
    static vector min_s16(vector a, vector b) noexcept { return _mm_min_epi16(a, b); }
    static vector max_s16(vector a, vector b) noexcept { return _mm_max_epi16(a, b); }
    static vector min_u32(vector a, vector b) noexcept { return _mm_min_epu32(a, b); }
    static vector max_u32(vector a, vector b) noexcept { return _mm_max_epu32(a, b); }
    static vector min_s32(vector a, vector b) noexcept { return _mm_min_epi32(a, b); }
    // All ones or zero.
    static vector equal32(vector a, vector b) noexcept { return _mm_cmpeq_epi32(a, b); }
    static vector abs16(vector a) noexcept { return _mm_abs_epi16(a); }
    static vector abs32(vector a) noexcept { return _mm_abs_epi32(a); }

    // The upper halves of the products.
    static vector multiply_high_u16(vector a, vector b) noexcept { return _mm_mulhi_epu16(a, b); }
    static vector multiply_high_s16(vector a, vector b) noexcept { return _mm_mulhi_epi16(a, b); }
    // Lanes 0, 2 .. of 32 bits to products of 64.
    static vector multiply_even_u32(vector a, vector b) noexcept { return _mm_mul_epu32(a, b); }
    // Sums of two adjacent products: unsigned times signed bytes to signed lanes of 16 bits, saturated; signed lanes of
    // 16 bits to 32.
    static vector pair_products_u8_s8(vector a, vector b) noexcept { return _mm_maddubs_epi16(a, b); }
    static vector pair_products_s16(vector a, vector b) noexcept { return _mm_madd_epi16(a, b); }

    // By a number that the compiler does not know.
    static vector shift_left16_by(vector a, int by) noexcept { return _mm_sll_epi16(a, _mm_cvtsi32_si128(by)); }
    static vector shift_right_u64_by(vector a, int by) noexcept { return _mm_srl_epi64(a, _mm_cvtsi32_si128(by)); }

    // In every 16 bytes: lanes of a and b in turn, from the low or the high 8 bytes of each.
    static vector zip_low8(vector a, vector b) noexcept { return _mm_unpacklo_epi8(a, b); }
    static vector zip_high8(vector a, vector b) noexcept { return _mm_unpackhi_epi8(a, b); }
    static vector zip_low16(vector a, vector b) noexcept { return _mm_unpacklo_epi16(a, b); }
    static vector zip_high16(vector a, vector b) noexcept { return _mm_unpackhi_epi16(a, b); }
    static vector zip_low32(vector a, vector b) noexcept { return _mm_unpacklo_epi32(a, b); }
    static vector zip_high32(vector a, vector b) noexcept { return _mm_unpackhi_epi32(a, b); }
    static vector zip_low64(vector a, vector b) noexcept { return _mm_unpacklo_epi64(a, b); }
    static vector zip_high64(vector a, vector b) noexcept { return _mm_unpackhi_epi64(a, b); }
    // a and b hold the lanes of one vector, widened in order: brought to the places where zips of that vector with zero
    // have them.
    static vector zip_order_low(vector a, vector /*b*/) noexcept { return a; }
    static vector zip_order_high(vector /*a*/, vector b) noexcept { return b; }
    // Lanes of 64 bits: the even ones, then the odd ones.
    static vector unzip64(vector a) noexcept { return a; }

    // In every 16 bytes: signed lanes of twice the width, those of a before those of b, saturated.
    static vector narrow_to_u8(vector a, vector b) noexcept { return _mm_packus_epi16(a, b); }
    static vector narrow_to_s8(vector a, vector b) noexcept { return _mm_packs_epi16(a, b); }
    static vector narrow_to_u16(vector a, vector b) noexcept { return _mm_packus_epi32(a, b); }
    static vector narrow_to_s16(vector a, vector b) noexcept { return _mm_packs_epi32(a, b); }

    // Unsigned lanes: the lower ones of a vector, or as many from memory as fill one.
    static vector widen_8_to_32(vector a) noexcept { return _mm_cvtepu8_epi32(a); }
    static vector widen_8_to_16(const void *at) noexcept { return _mm_cvtepu8_epi16(load_8_bytes(at)); }
    static vector widen_16_to_32(const void *at) noexcept { return _mm_cvtepu16_epi32(load_8_bytes(at)); }
    static vector widen_8_to_32(const void *at) noexcept { return widen_8_to_32(load_4_bytes(at)); }

    // In every 16 bytes: byte control % 16 of a, or 0 where the top bit of the control is set.
    static vector shuffle8(vector a, vector control) noexcept { return _mm_shuffle_epi8(a, control); }
    // By the top bit of every byte.
    static vector choose8(vector sign, vector yes, vector no) noexcept { return _mm_blendv_epi8(no, yes, sign); }
    static bool is_zero(vector a) noexcept { return _mm_testz_si128(a, a) != 0; }

    template <int Lane>
    static std::uint32_t lane32(vector a) noexcept
    {
        return static_cast<std::uint32_t>(_mm_extract_epi32(a, Lane));
    }

    // What lies at base + Scale * index, by single loads.
    template <int Scale>
    static vector words_at(const void *base, vector index) noexcept
    {
        const auto word = [base](std::uint64_t at) noexcept {
            int value;
            __builtin_memcpy(&value, static_cast<const std::uint8_t *>(base) + std::size_t{Scale} * at, sizeof(value));
            return value;
        };
        const std::uint64_t low = as<lanes64>(index)[0];
        const std::uint64_t high = as<lanes64>(index)[1];
        vector words = _mm_cvtsi32_si128(word(low & 0xFFFFFFFFU));
        words = _mm_insert_epi32(words, word(low >> 32), 1);
        words = _mm_insert_epi32(words, word(high & 0xFFFFFFFFU), 2);
        return _mm_insert_epi32(words, word(high >> 32), 3);
    }

    // Entries of 16 bits to lanes of 32.
    static vector shorts_at(const std::uint16_t *table, vector index) noexcept
    {
        std::int32_t at[4];
        store(at, index);
        return zip_low16(four_shorts(zero(), table, at), zero());
    }

    // Into the lower lanes of 16 bits.
    static vector four_shorts(vector to, const std::uint16_t *table, const std::int32_t *at) noexcept
    {
        to = _mm_insert_epi16(to, table[at[0]], 0);
        to = _mm_insert_epi16(to, table[at[1]], 1);
        to = _mm_insert_epi16(to, table[at[2]], 2);
        return _mm_insert_epi16(to, table[at[3]], 3);
    }
    static vector eight_shorts(const std::uint16_t *table, const std::int32_t *at) noexcept
    {
        vector to = four_shorts(zero(), table, at);
        to = _mm_insert_epi16(to, table[at[4]], 4);
        to = _mm_insert_epi16(to, table[at[5]], 5);
        to = _mm_insert_epi16(to, table[at[6]], 6);
        return _mm_insert_epi16(to, table[at[7]], 7);
    }
};

// ---- Floating point: sums, products and quotients are those of the operators ----------------------------------------

struct v128_floats {
    using vector = __m128;
    static constexpr int lanes = 4;

    static vector all(float value) noexcept { return _mm_set1_ps(value); }
    static vector zero() noexcept { return _mm_setzero_ps(); }
    static vector load(const float *at) noexcept { return _mm_loadu_ps(at); }
    static void store(float *at, vector a) noexcept { _mm_storeu_ps(at, a); }
    // The lower lanes; the others are 0.
    static vector load_1(const float *at) noexcept { return _mm_load_ss(at); }
    static vector load_2(const float *at) noexcept { return _mm_castsi128_ps(v128::load_8_bytes(at)); }

    // The second operand where they cannot be compared.
    static vector min(vector a, vector b) noexcept { return _mm_min_ps(a, b); }
    static vector max(vector a, vector b) noexcept { return _mm_max_ps(a, b); }
    // Lane i is lane I of a, J of a, K of b and L of b.
    template <int I, int J, int K, int L>
    static vector pick(vector a, vector b) noexcept
    {
        return _mm_shuffle_ps(a, b, _MM_SHUFFLE(L, K, J, I));
    }
    template <int Lane>
    static vector spread(vector a) noexcept
    {
        return pick<Lane, Lane, Lane, Lane>(a, a);
    }
    static vector join_lower(vector a, vector b) noexcept { return _mm_movelh_ps(a, b); }
    static vector upper(vector a) noexcept { return _mm_movehl_ps(a, a); }

    // Bit i for lane i; not set where they cannot be compared.
    static unsigned below(vector a, vector b) noexcept
    {
        return static_cast<unsigned>(_mm_movemask_ps(_mm_cmplt_ps(a, b)));
    }

    static vector from_integers(v128::vector a) noexcept { return _mm_cvtepi32_ps(a); }
    static v128::vector truncate_to_integers(vector a) noexcept { return _mm_cvttps_epi32(a); }
    static v128::vector bits(vector a) noexcept { return _mm_castps_si128(a); }
    static vector from_bits(v128::vector a) noexcept { return _mm_castsi128_ps(a); }
};

struct v128_doubles {
    using vector = __m128d;
    using mask = __m128d;
    static constexpr int lanes = 2;

    static vector all(double value) noexcept { return _mm_set1_pd(value); }
    static vector zero() noexcept { return _mm_setzero_pd(); }
    static vector load(const double *at) noexcept { return _mm_loadu_pd(at); }
    static void store(double *at, vector a) noexcept { _mm_storeu_pd(at, a); }
    // The lower lane; the other is 0.
    static vector load_1(const double *at) noexcept { return _mm_load_sd(at); }
    static void store_1(double *at, vector a) noexcept { _mm_store_sd(at, a); }

    // The second operand where they cannot be compared. SIMDe gives what its processor gives, so there it is a choice.
#ifdef __SSE4_1__
    static vector min(vector a, vector b) noexcept { return _mm_min_pd(a, b); }
    static vector max(vector a, vector b) noexcept { return _mm_max_pd(a, b); }
#else
    static vector min(vector a, vector b) noexcept { return choose(below(a, b), a, b); }
    static vector max(vector a, vector b) noexcept { return choose(below(b, a), a, b); }
#endif
    // Towards 0 without an exception; not every header names the latter.
    static vector truncate(vector a) noexcept { return _mm_round_pd(a, 0x0B); }

    static mask equal(vector a, vector b) noexcept { return _mm_cmpeq_pd(a, b); }
    static mask below(vector a, vector b) noexcept { return _mm_cmplt_pd(a, b); }
    // Bit i for lane i; set where they cannot be compared.
    static unsigned not_at_least(vector a, vector b) noexcept
    {
        // Not by the comparison that says so: SIMDe's takes "not at least" for "below".
        return ~static_cast<unsigned>(_mm_movemask_pd(_mm_cmpge_pd(a, b))) & 3U;
    }

    static mask both(mask a, mask b) noexcept { return _mm_and_pd(a, b); }
    static mask either(mask a, mask b) noexcept { return _mm_or_pd(a, b); }
    static mask without(mask a, mask b) noexcept { return _mm_andnot_pd(b, a); }
    static vector choose(mask which, vector yes, vector no) noexcept { return _mm_blendv_pd(no, yes, which); }
    static vector zero_where(mask which, vector a) noexcept { return _mm_andnot_pd(which, a); }
    static vector zero_unless(mask which, vector a) noexcept { return _mm_and_pd(which, a); }
    // By bits: blends by a vector take three times as long as logic.
    static void exchange_where(mask which, vector &a, vector &b) noexcept
    {
        const vector change = _mm_and_pd(which, _mm_xor_pd(a, b));
        a = _mm_xor_pd(a, change);
        b = _mm_xor_pd(b, change);
    }

    // Whole numbers of 64 bits that are only moved; lanes of 32 bits in the lower half.
    static vector all_integer(std::int64_t value) noexcept { return _mm_castsi128_pd(_mm_set1_epi64x(value)); }
    static void store_integers(std::int64_t *at, vector a) noexcept { v128::store(at, _mm_castpd_si128(a)); }
    static vector from_integers(v128::vector a) noexcept { return _mm_cvtepi32_pd(a); }
    static v128::vector truncate_to_integers(vector a) noexcept { return _mm_cvttpd_epi32(a); }

    // Of and to the lower lanes; the others become 0.
    static vector from_floats(v128_floats::vector a) noexcept { return _mm_cvtps_pd(a); }
    static v128_floats::vector to_floats(vector a) noexcept { return _mm_cvtpd_ps(a); }
};

}  // namespace

}  // namespace teska

#endif
