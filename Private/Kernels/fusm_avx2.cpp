// fusm_avx2 - sharpening of image lines. Vectors of 32 bytes; tables of bytes by shuffles, of words with and without
// gathers.

#include "Kernels/fusm_vector.h"

#include <immintrin.h>

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

    __m256i look_up(__m256i x) const noexcept
    {
        const __m256i upper = _mm256_xor_si256(x, _mm256_set1_epi8(-128));
        return _mm256_xor_si256(look_up_half(rows_, x), look_up_half(rows_ + 128, upper));
    }

private:
    static __m256i look_up_half(const std::uint8_t *rows, __m256i x) noexcept
    {
        __m256i found = _mm256_setzero_si256();
#pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) {
            const __m128i row = _mm_loadu_si128(reinterpret_cast<const __m128i *>(rows + 16 * i));
            found = _mm256_xor_si256(found, _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(row), x));
            x = _mm256_subs_epi8(x, _mm256_set1_epi8(16));
        }
        return found;
    }

    std::uint8_t rows_[256];
};

struct avx2 {
    using vector = __m256i;
    using byte_table = shuffle_table;

    static vector load(const void *at) noexcept { return _mm256_loadu_si256(static_cast<const __m256i *>(at)); }
    static void store(void *at, vector v) noexcept { _mm256_storeu_si256(static_cast<__m256i *>(at), v); }
    static vector set8(int value) noexcept { return _mm256_set1_epi8(static_cast<char>(value)); }
    static vector set16(int value) noexcept { return _mm256_set1_epi16(static_cast<short>(value)); }
    static vector set32(int value) noexcept { return _mm256_set1_epi32(value); }
    static vector both(vector a, vector b) noexcept { return _mm256_and_si256(a, b); }
    static vector exclusive_or(vector a, vector b) noexcept { return _mm256_xor_si256(a, b); }
    // b where the sign bit of a byte is not set, else a.
    static vector choose(vector sign, vector a, vector b) noexcept { return _mm256_blendv_epi8(b, a, sign); }

    static vector low8(vector a, vector b) noexcept { return _mm256_unpacklo_epi8(a, b); }
    static vector high8(vector a, vector b) noexcept { return _mm256_unpackhi_epi8(a, b); }
    static vector low16(vector a, vector b) noexcept { return _mm256_unpacklo_epi16(a, b); }
    static vector high16(vector a, vector b) noexcept { return _mm256_unpackhi_epi16(a, b); }
    static vector narrow16(vector low, vector high) noexcept { return _mm256_packus_epi16(low, high); }
    static vector narrow_signed16(vector low, vector high) noexcept { return _mm256_packs_epi16(low, high); }
    static vector narrow32(vector low, vector high) noexcept { return _mm256_packus_epi32(low, high); }
    static vector narrow_signed32(vector low, vector high) noexcept { return _mm256_packs_epi32(low, high); }

    static vector min8(vector a, vector b) noexcept { return _mm256_min_epu8(a, b); }
    static vector add_cut8(vector a, vector b) noexcept { return _mm256_adds_epu8(a, b); }
    static vector subtract_cut8(vector a, vector b) noexcept { return _mm256_subs_epu8(a, b); }
    static vector multiply_pairs8(vector a, vector weights) noexcept { return _mm256_maddubs_epi16(a, weights); }

    static vector abs16(vector a) noexcept { return _mm256_abs_epi16(a); }
    static vector min16(vector a, vector b) noexcept { return _mm256_min_epu16(a, b); }
    static vector add16(vector a, vector b) noexcept { return _mm256_add_epi16(a, b); }
    static vector multiply_low16(vector a, vector b) noexcept { return _mm256_mullo_epi16(a, b); }
    static vector multiply_high16(vector a, vector b) noexcept { return _mm256_mulhi_epu16(a, b); }
    static vector multiply_high_signed16(vector a, vector b) noexcept { return _mm256_mulhi_epi16(a, b); }
    static vector multiply_pairs16(vector a, vector weights) noexcept { return _mm256_madd_epi16(a, weights); }
    static vector shift_left16(vector a, int by) noexcept { return _mm256_sll_epi16(a, _mm_cvtsi32_si128(by)); }

    static vector abs32(vector a) noexcept { return _mm256_abs_epi32(a); }
    static vector min32(vector a, vector b) noexcept { return _mm256_min_epi32(a, b); }
    static vector add32(vector a, vector b) noexcept { return _mm256_add_epi32(a, b); }
    static vector subtract32(vector a, vector b) noexcept { return _mm256_sub_epi32(a, b); }
    static vector multiply_low32(vector a, vector b) noexcept { return _mm256_mullo_epi32(a, b); }
    template <int By>
    static vector shift_left32(vector a) noexcept
    {
        return _mm256_slli_epi32(a, By);
    }
    template <int By>
    static vector shift_right32(vector a) noexcept
    {
        return _mm256_srai_epi32(a, By);
    }
    // a * b >> by in 64 bits; the results fit 32.
    static vector multiply_wide32(vector a, vector b, int by) noexcept
    {
        const __m128i shift = _mm_cvtsi32_si128(by);
        const vector even = _mm256_srl_epi64(_mm256_mul_epu32(a, b), shift);
        const vector odd = _mm256_srl_epi64(_mm256_mul_epu32(_mm256_srli_epi64(a, 32), b), shift);
        return _mm256_or_si256(even, _mm256_slli_epi64(odd, 32));
    }
};

struct avx2_gathers : avx2 {
    static vector look_up16(const void *table, vector at) noexcept
    {
        return both(_mm256_i32gather_epi32(static_cast<const int *>(table), at, 2), set32(0xFFFF));
    }
};

struct avx2_loads : avx2 {
    static vector look_up16(const void *table, vector at) noexcept
    {
        const auto *const words = static_cast<const std::uint16_t *>(table);
        std::int32_t i[8];
        store(i, at);
        __m128i found = _mm_setzero_si128();
        found = _mm_insert_epi16(found, words[i[0]], 0);
        found = _mm_insert_epi16(found, words[i[1]], 1);
        found = _mm_insert_epi16(found, words[i[2]], 2);
        found = _mm_insert_epi16(found, words[i[3]], 3);
        found = _mm_insert_epi16(found, words[i[4]], 4);
        found = _mm_insert_epi16(found, words[i[5]], 5);
        found = _mm_insert_epi16(found, words[i[6]], 6);
        found = _mm_insert_epi16(found, words[i[7]], 7);
        return _mm256_cvtepu16_epi32(found);
    }
};

}  // namespace

void install_avx2(fusm_kernels &table, bool gathers) noexcept
{
    if (gathers)
        fusm_install<avx2, avx2_gathers>(table);
    else
        fusm_install<avx2, avx2_loads>(table);
}

}  // namespace teska
