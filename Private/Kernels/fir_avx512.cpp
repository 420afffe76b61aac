// fir_avx512 - one filtered line. Vectors of 16 sums.

#include "Kernels/fir_vector.h"

namespace teska
{

namespace
{

struct avx512 {
    using vector = __m512i;
    static constexpr int lanes = 16;
    static constexpr int vectors = 8;

    static vector load(const std::uint32_t *at) noexcept { return _mm512_loadu_si512(at); }
    static vector all(std::uint32_t value) noexcept { return _mm512_set1_epi32(static_cast<int>(value)); }
    static vector add(vector a, vector b) noexcept { return _mm512_add_epi32(a, b); }
    static vector multiply_add(vector a, vector b) noexcept { return _mm512_madd_epi16(a, b); }
    static vector shift_up(vector a) noexcept { return _mm512_slli_epi32(a, 16); }

    static void store(std::uint32_t *at, vector value) noexcept { _mm512_storeu_si512(at, value); }

    static vector widen(const std::uint8_t *at) noexcept
    {
        return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
    }
    static vector widen(const std::uint16_t *at) noexcept
    {
        const __m256i samples = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(at));
        return _mm512_cvtepu16_epi32(_mm256_xor_si256(samples, _mm256_set1_epi16(-0x8000)));
    }

    // As many adjacent pixels as fill vectors; returns how many.
    template <class Sample>
    static std::ptrdiff_t pack(std::uint32_t *words, const Sample *before, const Sample *line, int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + lanes <= count; x += lanes)
            store(words + x, _mm512_or_si512(widen(before + x), shift_up(widen(line + x))));
        return x;
    }

    static vector clip(vector sum, std::uint16_t maximum) noexcept
    {
        return _mm512_min_epi32(_mm512_srli_epi32(_mm512_max_epi32(sum, _mm512_setzero_si512()), 16),
                                _mm512_set1_epi32(maximum));
    }

    static void store(std::uint16_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        for (int v = 0; v < 4; ++v)
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(at + v * lanes),
                                _mm512_cvtepi32_epi16(clip(sums[v], maximum)));
    }

    // A maximum above 255 leaves the low bytes, as an assignment does.
    static void store(std::uint8_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        for (int v = 0; v < 4; ++v)
            _mm_storeu_si128(reinterpret_cast<__m128i *>(at + v * lanes), _mm512_cvtepi32_epi8(clip(sums[v], maximum)));
    }
};

}  // namespace

void install_avx512(fir_kernels &table, bool /*gathers*/) noexcept { fir_kernel<avx512>::install(table); }

}  // namespace teska
