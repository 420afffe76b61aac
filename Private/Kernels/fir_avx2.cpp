// fir_avx2 - one filtered line. Eight vectors of 8 sums leave registers for the factors and the products.

#include "Kernels/fir_vector.h"

namespace teska
{

namespace
{

struct avx2 {
    using vector = __m256i;
    static constexpr int lanes = 8;
    static constexpr int vectors = 8;

    static vector load(const void *at) noexcept { return _mm256_loadu_si256(static_cast<const vector *>(at)); }
    static vector all(std::uint32_t value) noexcept { return _mm256_set1_epi32(static_cast<int>(value)); }
    static vector add(vector a, vector b) noexcept { return _mm256_add_epi32(a, b); }
    static vector multiply_add(vector a, vector b) noexcept { return _mm256_madd_epi16(a, b); }
    static vector shift_up(vector a) noexcept { return _mm256_slli_epi32(a, 16); }

    static void store(void *at, vector value) noexcept { _mm256_storeu_si256(static_cast<vector *>(at), value); }

    // As many adjacent pixels as fill vectors; returns how many.
    static std::ptrdiff_t pack(std::uint32_t *words, const std::uint8_t *before, const std::uint8_t *line,
                               int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + 16 <= count; x += 16) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(before + x));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(line + x));
            store(words + x, _mm256_cvtepu8_epi16(_mm_unpacklo_epi8(a, b)));
            store(words + x + lanes, _mm256_cvtepu8_epi16(_mm_unpackhi_epi8(a, b)));
        }
        return x;
    }
    static std::ptrdiff_t pack(std::uint32_t *words, const std::uint16_t *before, const std::uint16_t *line,
                               int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + 16 <= count; x += 16) {
            const vector offset = _mm256_set1_epi16(-0x8000);
            const vector a = _mm256_xor_si256(load(before + x), offset);
            const vector b = _mm256_xor_si256(load(line + x), offset);
            const vector low = _mm256_unpacklo_epi16(a, b);
            const vector high = _mm256_unpackhi_epi16(a, b);
            store(words + x, _mm256_permute2x128_si256(low, high, 0x20));
            store(words + x + lanes, _mm256_permute2x128_si256(low, high, 0x31));
        }
        return x;
    }

    // The results of two vectors, not below -32768 but not clipped; quarters come out in the order 0 2 1 3.
    static vector results(const vector *sums) noexcept
    {
        return _mm256_packs_epi32(_mm256_srai_epi32(sums[0], 16), _mm256_srai_epi32(sums[1], 16));
    }
    static vector clip(vector values, std::uint16_t maximum) noexcept
    {
        return _mm256_min_epi16(_mm256_max_epi16(values, _mm256_setzero_si256()),
                                _mm256_set1_epi16(static_cast<short>(maximum)));
    }

    static void store(std::uint16_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        for (int v = 0; v < 4; v += 2)
            store(at + v * lanes, _mm256_permute4x64_epi64(clip(results(sums + v), maximum), 0xD8));
    }

    static void store(std::uint8_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        vector low = results(sums);
        vector high = results(sums + 2);
        if (maximum > 255) {
            // The low bytes remain, as of an assignment.
            low = _mm256_and_si256(clip(low, maximum), _mm256_set1_epi16(255));
            high = _mm256_and_si256(clip(high, maximum), _mm256_set1_epi16(255));
        }
        const vector bytes = _mm256_min_epu8(_mm256_packus_epi16(low, high),
                                             _mm256_set1_epi8(static_cast<char>(maximum > 255 ? 255 : maximum)));
        store(at, _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
    }
};

}  // namespace

void install_avx2(fir_kernels &table, bool /*gathers*/) noexcept { fir_kernel<avx2>::install(table); }

}  // namespace teska
