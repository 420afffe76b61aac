// fusm_avx512 - sharpening of image lines. Vectors of 64 bytes; a table of 256 bytes fills four of them, tables of words
// are read with and without gathers.

#include "Kernels/fusm_vector.h"

#include <immintrin.h>

namespace teska
{

namespace
{

// A table of 256 bytes, each half of which one permutation reads.
class permuted_table
{
public:
    permuted_table(const std::uint8_t *bytes, bool) noexcept
    {
        for (int i = 0; i < 4; ++i)
            rows_[i] = _mm512_loadu_si512(bytes + 64 * i);
    }

    __m512i look_up(__m512i x) const noexcept
    {
        const __m512i lower = _mm512_permutex2var_epi8(rows_[0], x, rows_[1]);
        const __m512i upper = _mm512_permutex2var_epi8(rows_[2], x, rows_[3]);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(x), lower, upper);
    }

private:
    __m512i rows_[4];
};

struct avx512 {
    using vector = __m512i;
    using byte_table = permuted_table;

    static vector load(const void *at) noexcept { return _mm512_loadu_si512(at); }
    static void store(void *at, vector v) noexcept { _mm512_storeu_si512(at, v); }
    static vector set8(int value) noexcept { return _mm512_set1_epi8(static_cast<char>(value)); }
    static vector set16(int value) noexcept { return _mm512_set1_epi16(static_cast<short>(value)); }
    static vector set32(int value) noexcept { return _mm512_set1_epi32(value); }
    static vector both(vector a, vector b) noexcept { return _mm512_and_si512(a, b); }
    static vector exclusive_or(vector a, vector b) noexcept { return _mm512_xor_si512(a, b); }
    // b where the sign bit of a byte is not set, else a.
    static vector choose(vector sign, vector a, vector b) noexcept
    {
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(sign), b, a);
    }

    static vector low8(vector a, vector b) noexcept { return _mm512_unpacklo_epi8(a, b); }
    static vector high8(vector a, vector b) noexcept { return _mm512_unpackhi_epi8(a, b); }
    static vector low16(vector a, vector b) noexcept { return _mm512_unpacklo_epi16(a, b); }
    static vector high16(vector a, vector b) noexcept { return _mm512_unpackhi_epi16(a, b); }
    static vector narrow16(vector low, vector high) noexcept { return _mm512_packus_epi16(low, high); }
    static vector narrow_signed16(vector low, vector high) noexcept { return _mm512_packs_epi16(low, high); }
    static vector narrow32(vector low, vector high) noexcept { return _mm512_packus_epi32(low, high); }
    static vector narrow_signed32(vector low, vector high) noexcept { return _mm512_packs_epi32(low, high); }

    static vector min8(vector a, vector b) noexcept { return _mm512_min_epu8(a, b); }
    static vector add_cut8(vector a, vector b) noexcept { return _mm512_adds_epu8(a, b); }
    static vector subtract_cut8(vector a, vector b) noexcept { return _mm512_subs_epu8(a, b); }
    static vector multiply_pairs8(vector a, vector weights) noexcept { return _mm512_maddubs_epi16(a, weights); }

    static vector abs16(vector a) noexcept { return _mm512_abs_epi16(a); }
    static vector min16(vector a, vector b) noexcept { return _mm512_min_epu16(a, b); }
    static vector add16(vector a, vector b) noexcept { return _mm512_add_epi16(a, b); }
    static vector multiply_low16(vector a, vector b) noexcept { return _mm512_mullo_epi16(a, b); }
    static vector multiply_high16(vector a, vector b) noexcept { return _mm512_mulhi_epu16(a, b); }
    static vector multiply_high_signed16(vector a, vector b) noexcept { return _mm512_mulhi_epi16(a, b); }
    static vector multiply_pairs16(vector a, vector weights) noexcept { return _mm512_madd_epi16(a, weights); }
    static vector shift_left16(vector a, int by) noexcept { return _mm512_sll_epi16(a, _mm_cvtsi32_si128(by)); }

    static vector abs32(vector a) noexcept { return _mm512_abs_epi32(a); }
    static vector min32(vector a, vector b) noexcept { return _mm512_min_epi32(a, b); }
    static vector add32(vector a, vector b) noexcept { return _mm512_add_epi32(a, b); }
    static vector subtract32(vector a, vector b) noexcept { return _mm512_sub_epi32(a, b); }
    static vector multiply_low32(vector a, vector b) noexcept { return _mm512_mullo_epi32(a, b); }
    template <int By>
    static vector shift_left32(vector a) noexcept
    {
        return _mm512_slli_epi32(a, By);
    }
    template <int By>
    static vector shift_right32(vector a) noexcept
    {
        return _mm512_srai_epi32(a, By);
    }
    // a * b >> by in 64 bits; the results fit 32.
    static vector multiply_wide32(vector a, vector b, int by) noexcept
    {
        const __m128i shift = _mm_cvtsi32_si128(by);
        const vector even = _mm512_srl_epi64(_mm512_mul_epu32(a, b), shift);
        const vector odd = _mm512_srl_epi64(_mm512_mul_epu32(_mm512_srli_epi64(a, 32), b), shift);
        return _mm512_or_si512(even, _mm512_slli_epi64(odd, 32));
    }
};

struct avx512_gathers : avx512 {
    static vector look_up16(const void *table, vector at) noexcept
    {
        return both(_mm512_i32gather_epi32(at, table, 2), set32(0xFFFF));
    }
};

struct avx512_loads : avx512 {
    static vector look_up16(const void *table, vector at) noexcept
    {
        const auto *const words = static_cast<const std::uint16_t *>(table);
        std::int32_t i[16];
        store(i, at);
        __m128i low = _mm_setzero_si128();
        low = _mm_insert_epi16(low, words[i[0]], 0);
        low = _mm_insert_epi16(low, words[i[1]], 1);
        low = _mm_insert_epi16(low, words[i[2]], 2);
        low = _mm_insert_epi16(low, words[i[3]], 3);
        low = _mm_insert_epi16(low, words[i[4]], 4);
        low = _mm_insert_epi16(low, words[i[5]], 5);
        low = _mm_insert_epi16(low, words[i[6]], 6);
        low = _mm_insert_epi16(low, words[i[7]], 7);
        __m128i high = _mm_setzero_si128();
        high = _mm_insert_epi16(high, words[i[8]], 0);
        high = _mm_insert_epi16(high, words[i[9]], 1);
        high = _mm_insert_epi16(high, words[i[10]], 2);
        high = _mm_insert_epi16(high, words[i[11]], 3);
        high = _mm_insert_epi16(high, words[i[12]], 4);
        high = _mm_insert_epi16(high, words[i[13]], 5);
        high = _mm_insert_epi16(high, words[i[14]], 6);
        high = _mm_insert_epi16(high, words[i[15]], 7);
        return _mm512_cvtepu16_epi32(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1));
    }
};

}  // namespace

void install_avx512(fusm_kernels &table, bool gathers) noexcept
{
    if (gathers)
        fusm_install<avx512, avx512_gathers>(table);
    else
        fusm_install<avx512, avx512_loads>(table);
}

}  // namespace teska
