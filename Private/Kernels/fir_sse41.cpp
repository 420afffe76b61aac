// fir_sse41 - one filtered line. Vectors of 4 sums.

#include "Kernels/fir_vector.h"

namespace teska
{

namespace
{

struct sse41 {
    using vector = __m128i;
    static constexpr int lanes = 4;
    static constexpr int vectors = 8;

    static vector load(const std::uint32_t *at) noexcept
    {
        return _mm_loadu_si128(reinterpret_cast<const vector *>(at));
    }
    static vector load(const std::uint8_t *at) noexcept { return _mm_cvtepu8_epi32(_mm_loadu_si32(at)); }
    static vector load(const std::uint16_t *at) noexcept
    {
        return _mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<const vector *>(at)));
    }
    static vector all(std::uint32_t value) noexcept { return _mm_set1_epi32(static_cast<int>(value)); }
    static vector add(vector a, vector b) noexcept { return _mm_add_epi32(a, b); }
    static vector multiply_add(vector a, vector b) noexcept { return _mm_madd_epi16(a, b); }
    static vector shift_up(vector a) noexcept { return _mm_slli_epi32(a, 16); }

    // The high halves of `before` become the low ones, the samples the high ones.
    static vector halves(vector before, vector samples, vector offset) noexcept
    {
        return _mm_or_si128(_mm_srli_epi32(before, 16), _mm_xor_si128(shift_up(samples), offset));
    }

    static void store(std::uint32_t *at, vector value) noexcept
    {
        _mm_storeu_si128(reinterpret_cast<vector *>(at), value);
    }

    // Clips two vectors.
    static vector clip(const vector *sums, std::uint16_t maximum) noexcept
    {
        const auto positive = [](vector sum) { return _mm_srli_epi32(_mm_max_epi32(sum, _mm_setzero_si128()), 16); };
        return _mm_min_epu16(_mm_packus_epi32(positive(sums[0]), positive(sums[1])),
                             _mm_set1_epi16(static_cast<short>(maximum)));
    }

    static void store(std::uint16_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        for (int v = 0; v < 4; v += 2)
            _mm_storeu_si128(reinterpret_cast<vector *>(at + v * lanes), clip(sums + v, maximum));
    }

    // A maximum above 255 leaves the low bytes, as an assignment does.
    static void store(std::uint8_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        const vector low_byte = _mm_set1_epi16(0xFF);
        _mm_storeu_si128(reinterpret_cast<vector *>(at),
                         _mm_packus_epi16(_mm_and_si128(clip(sums, maximum), low_byte),
                                          _mm_and_si128(clip(sums + 2, maximum), low_byte)));
    }
};

}  // namespace

void install_sse41(fir_kernels &table) noexcept { fir_kernel<sse41>::install(table); }

}  // namespace teska
