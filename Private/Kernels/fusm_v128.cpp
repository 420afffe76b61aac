// fusm_v128 - sharpening of image lines. Vectors of 16 bytes; tables of bytes by shuffles.

#include "Kernels/fusm_vector.h"

#include <smmintrin.h>

namespace teska
{

namespace
{

// A table of 256 bytes as shuffles of 16: x walks down by 16, and each of the 8 shuffles of a half gives 0 once x is
// negative. So an entry is what the shuffles up to its own have in common: each holds the difference to the one before.
class shuffle_table
{
public:
    shuffle_table(const std::uint8_t *bytes, bool used) noexcept
    {
        for (int i = 0; used && i < 256; ++i)
            rows_[i] = static_cast<std::uint8_t>(bytes[i] ^ (i % 128 < 16 ? 0 : bytes[i - 16]));
    }

    __m128i look_up(__m128i x) const noexcept
    {
        const __m128i upper = _mm_xor_si128(x, _mm_set1_epi8(-128));
        return _mm_xor_si128(look_up_half(rows_, x), look_up_half(rows_ + 128, upper));
    }

private:
    static __m128i look_up_half(const std::uint8_t *rows, __m128i x) noexcept
    {
        __m128i found = _mm_setzero_si128();
#pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) {
            const __m128i row = _mm_loadu_si128(reinterpret_cast<const __m128i *>(rows + 16 * i));
            found = _mm_xor_si128(found, _mm_shuffle_epi8(row, x));
            x = _mm_subs_epi8(x, _mm_set1_epi8(16));
        }
        return found;
    }

    std::uint8_t rows_[256];
};

struct v128 {
    using vector = __m128i;
    using byte_table = shuffle_table;

    static vector load(const void *at) noexcept { return _mm_loadu_si128(static_cast<const __m128i *>(at)); }
    static void store(void *at, vector v) noexcept { _mm_storeu_si128(static_cast<__m128i *>(at), v); }
    static vector set8(int value) noexcept { return _mm_set1_epi8(static_cast<char>(value)); }
    static vector set16(int value) noexcept { return _mm_set1_epi16(static_cast<short>(value)); }
    static vector set32(int value) noexcept { return _mm_set1_epi32(value); }
    static vector both(vector a, vector b) noexcept { return _mm_and_si128(a, b); }
    static vector exclusive_or(vector a, vector b) noexcept { return _mm_xor_si128(a, b); }
    // b where the sign bit of a byte is not set, else a.
    static vector choose(vector sign, vector a, vector b) noexcept { return _mm_blendv_epi8(b, a, sign); }

    static vector low8(vector a, vector b) noexcept { return _mm_unpacklo_epi8(a, b); }
    static vector high8(vector a, vector b) noexcept { return _mm_unpackhi_epi8(a, b); }
    static vector low16(vector a, vector b) noexcept { return _mm_unpacklo_epi16(a, b); }
    static vector high16(vector a, vector b) noexcept { return _mm_unpackhi_epi16(a, b); }
    static vector narrow16(vector low, vector high) noexcept { return _mm_packus_epi16(low, high); }
    static vector narrow_signed16(vector low, vector high) noexcept { return _mm_packs_epi16(low, high); }
    static vector narrow32(vector low, vector high) noexcept { return _mm_packus_epi32(low, high); }
    static vector narrow_signed32(vector low, vector high) noexcept { return _mm_packs_epi32(low, high); }

    static vector min8(vector a, vector b) noexcept { return _mm_min_epu8(a, b); }
    static vector add_cut8(vector a, vector b) noexcept { return _mm_adds_epu8(a, b); }
    static vector subtract_cut8(vector a, vector b) noexcept { return _mm_subs_epu8(a, b); }
    static vector multiply_pairs8(vector a, vector weights) noexcept { return _mm_maddubs_epi16(a, weights); }

    static vector abs16(vector a) noexcept { return _mm_abs_epi16(a); }
    static vector min16(vector a, vector b) noexcept { return _mm_min_epu16(a, b); }
    static vector add16(vector a, vector b) noexcept { return _mm_add_epi16(a, b); }
    static vector multiply_low16(vector a, vector b) noexcept { return _mm_mullo_epi16(a, b); }
    static vector multiply_high16(vector a, vector b) noexcept { return _mm_mulhi_epu16(a, b); }
    static vector multiply_high_signed16(vector a, vector b) noexcept { return _mm_mulhi_epi16(a, b); }
    static vector multiply_pairs16(vector a, vector weights) noexcept { return _mm_madd_epi16(a, weights); }
    static vector shift_left16(vector a, int by) noexcept { return _mm_sll_epi16(a, _mm_cvtsi32_si128(by)); }

    static vector abs32(vector a) noexcept { return _mm_abs_epi32(a); }
    static vector min32(vector a, vector b) noexcept { return _mm_min_epi32(a, b); }
    static vector add32(vector a, vector b) noexcept { return _mm_add_epi32(a, b); }
    static vector subtract32(vector a, vector b) noexcept { return _mm_sub_epi32(a, b); }
    static vector multiply_low32(vector a, vector b) noexcept { return _mm_mullo_epi32(a, b); }
    template <int By>
    static vector shift_left32(vector a) noexcept
    {
        return _mm_slli_epi32(a, By);
    }
    template <int By>
    static vector shift_right32(vector a) noexcept
    {
        return _mm_srai_epi32(a, By);
    }
    // a * b >> by in 64 bits; the results fit 32.
    static vector multiply_wide32(vector a, vector b, int by) noexcept
    {
        const __m128i shift = _mm_cvtsi32_si128(by);
        const vector even = _mm_srl_epi64(_mm_mul_epu32(a, b), shift);
        const vector odd = _mm_srl_epi64(_mm_mul_epu32(_mm_srli_epi64(a, 32), b), shift);
        return _mm_or_si128(even, _mm_slli_epi64(odd, 32));
    }
    static vector look_up16(const void *table, vector at) noexcept
    {
        const auto *const words = static_cast<const std::uint16_t *>(table);
        std::int32_t i[4];
        store(i, at);
        __m128i found = _mm_setzero_si128();
        found = _mm_insert_epi16(found, words[i[0]], 0);
        found = _mm_insert_epi16(found, words[i[1]], 1);
        found = _mm_insert_epi16(found, words[i[2]], 2);
        found = _mm_insert_epi16(found, words[i[3]], 3);
        return _mm_unpacklo_epi16(found, _mm_setzero_si128());
    }
};

}  // namespace

void install_v128(fusm_kernels &table, bool /*gathers*/) noexcept { fusm_install<v128, v128>(table); }

}  // namespace teska
