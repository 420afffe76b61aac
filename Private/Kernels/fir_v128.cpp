// fir_v128 - one filtered line. Vectors of 4 sums.

#include "Kernels/fir_vector.h"

namespace teska
{

namespace
{

struct v128 {
    using vector = __m128i;
    static constexpr int lanes = 4;
    static constexpr int vectors = 8;

    static vector load(const void *at) noexcept { return _mm_loadu_si128(static_cast<const vector *>(at)); }
    static vector all(std::uint32_t value) noexcept { return _mm_set1_epi32(static_cast<int>(value)); }
    static vector add(vector a, vector b) noexcept { return _mm_add_epi32(a, b); }
    static vector multiply_add(vector a, vector b) noexcept { return _mm_madd_epi16(a, b); }
    static vector shift_up(vector a) noexcept { return _mm_slli_epi32(a, 16); }

    static void store(void *at, vector value) noexcept { _mm_storeu_si128(static_cast<vector *>(at), value); }

    // As many adjacent pixels as fill vectors; returns how many.
    static std::ptrdiff_t pack(std::uint32_t *words, const std::uint8_t *before, const std::uint8_t *line,
                               int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + 8 <= count; x += 8) {
            const vector pairs = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const vector *>(before + x)),
                                                   _mm_loadl_epi64(reinterpret_cast<const vector *>(line + x)));
            store(words + x, _mm_cvtepu8_epi16(pairs));
            store(words + x + lanes, _mm_unpackhi_epi8(pairs, _mm_setzero_si128()));
        }
        return x;
    }
    static std::ptrdiff_t pack(std::uint32_t *words, const std::uint16_t *before, const std::uint16_t *line,
                               int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + 8 <= count; x += 8) {
            const vector offset = _mm_set1_epi16(-0x8000);
            const vector a = _mm_xor_si128(load(before + x), offset);
            const vector b = _mm_xor_si128(load(line + x), offset);
            store(words + x, _mm_unpacklo_epi16(a, b));
            store(words + x + lanes, _mm_unpackhi_epi16(a, b));
        }
        return x;
    }

    // The results of two vectors, not below -32768 but not clipped.
    static vector results(const vector *sums) noexcept
    {
        return _mm_packs_epi32(_mm_srai_epi32(sums[0], 16), _mm_srai_epi32(sums[1], 16));
    }
    static vector clip(vector values, std::uint16_t maximum) noexcept
    {
        return _mm_min_epi16(_mm_max_epi16(values, _mm_setzero_si128()), _mm_set1_epi16(static_cast<short>(maximum)));
    }

    static void store(std::uint16_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        for (int v = 0; v < 4; v += 2)
            store(at + v * lanes, clip(results(sums + v), maximum));
    }

    static void store(std::uint8_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        vector low = results(sums);
        vector high = results(sums + 2);
        if (maximum > 255) {
            // The low bytes remain, as of an assignment.
            low = _mm_and_si128(clip(low, maximum), _mm_set1_epi16(255));
            high = _mm_and_si128(clip(high, maximum), _mm_set1_epi16(255));
        }
        store(at, _mm_min_epu8(_mm_packus_epi16(low, high),
                               _mm_set1_epi8(static_cast<char>(maximum > 255 ? 255 : maximum))));
    }
};

}  // namespace

void install_v128(fir_kernels &table, bool /*gathers*/) noexcept { fir_kernel<v128>::install(table); }

}  // namespace teska
