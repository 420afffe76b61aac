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

    static vector load(const std::uint32_t *at) noexcept
    {
        return _mm256_loadu_si256(reinterpret_cast<const vector *>(at));
    }
    static vector load(const std::uint8_t *at) noexcept
    {
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(at)));
    }
    static vector load(const std::uint16_t *at) noexcept
    {
        return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
    }
    static vector all(std::uint32_t value) noexcept { return _mm256_set1_epi32(static_cast<int>(value)); }
    static vector add(vector a, vector b) noexcept { return _mm256_add_epi32(a, b); }
    static vector multiply_add(vector a, vector b) noexcept { return _mm256_madd_epi16(a, b); }
    static vector shift_up(vector a) noexcept { return _mm256_slli_epi32(a, 16); }

    // The high halves of `before` become the low ones, the samples the high ones.
    static vector halves(vector before, vector samples, vector offset) noexcept
    {
        return _mm256_or_si256(_mm256_srli_epi32(before, 16), _mm256_xor_si256(shift_up(samples), offset));
    }

    static void store(std::uint32_t *at, vector value) noexcept
    {
        _mm256_storeu_si256(reinterpret_cast<vector *>(at), value);
    }

    // Clips two vectors; quarters come out in the order 0 2 1 3.
    static vector clip(const vector *sums, std::uint16_t maximum) noexcept
    {
        const auto positive = [](vector sum) {
            return _mm256_srli_epi32(_mm256_max_epi32(sum, _mm256_setzero_si256()), 16);
        };
        return _mm256_min_epu16(_mm256_packus_epi32(positive(sums[0]), positive(sums[1])),
                                _mm256_set1_epi16(static_cast<short>(maximum)));
    }

    static void store(std::uint16_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        for (int v = 0; v < 4; v += 2)
            _mm256_storeu_si256(reinterpret_cast<vector *>(at + v * lanes),
                                _mm256_permute4x64_epi64(clip(sums + v, maximum), 0xD8));
    }

    // A maximum above 255 leaves the low bytes, as an assignment does.
    static void store(std::uint8_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        const vector low_byte = _mm256_set1_epi16(0xFF);
        const vector bytes = _mm256_packus_epi16(_mm256_and_si256(clip(sums, maximum), low_byte),
                                                 _mm256_and_si256(clip(sums + 2, maximum), low_byte));
        _mm256_storeu_si256(reinterpret_cast<vector *>(at),
                            _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
    }
};

}  // namespace

void install_avx2(fir_kernels &table) noexcept { fir_kernel<avx2>::install(table); }

}  // namespace teska
