// ibilin_avx2 - bilinear resampling of lines. Shuffles stay inside 16 bytes, so a vector has two units.

#include "Kernels/ibilin_vector.h"

#include <immintrin.h>

namespace teska
{

namespace
{

struct avx2 {
    using vector = __m256i;
    static constexpr int unit = 16;
    static constexpr int units = 2;

    static vector load(const void *at) noexcept { return _mm256_loadu_si256(static_cast<const __m256i *>(at)); }
    static void store(void *at, vector v) noexcept { _mm256_storeu_si256(static_cast<__m256i *>(at), v); }
    static vector same(int value) noexcept { return _mm256_set1_epi16(static_cast<short>(value)); }
    static vector same_pair(int value) noexcept { return _mm256_set1_epi32(value); }

    static vector add(vector a, vector b) noexcept { return _mm256_add_epi16(a, b); }
    static vector subtract(vector a, vector b) noexcept { return _mm256_sub_epi16(a, b); }
    static vector subtract_saturated(vector a, vector b) noexcept { return _mm256_subs_epu16(a, b); }
    static vector multiply(vector a, vector b) noexcept { return _mm256_mulhi_epu16(a, b); }
    static vector multiply_signed(vector a, vector b) noexcept { return _mm256_mulhi_epi16(a, b); }

    static vector windows(const std::uint8_t *in, const std::ptrdiff_t *offset) noexcept
    {
        const __m128i lower = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + offset[0]));
        const __m128i upper = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + offset[1]));
        return _mm256_inserti128_si256(_mm256_castsi128_si256(lower), upper, 1);
    }
    template <int Bytes, int Part>
    static vector shuffle(vector window, vector mask) noexcept
    {
        return _mm256_shuffle_epi8(window, mask);
    }
    // The mask with the places of either window below 0x80, those of the other one not.
    static vector shuffle_pair(vector first, vector second, vector mask) noexcept
    {
        const vector of_first = _mm256_add_epi8(mask, _mm256_set1_epi8(0x70));
        const vector of_second = _mm256_sub_epi8(mask, _mm256_set1_epi8(0x10));
        return either(_mm256_shuffle_epi8(first, of_first), _mm256_shuffle_epi8(second, of_second));
    }
    static vector both(vector a, vector b) noexcept { return _mm256_and_si256(a, b); }
    static vector either(vector a, vector b) noexcept { return _mm256_or_si256(a, b); }
    static vector join_lower(vector a, vector b) noexcept { return _mm256_unpacklo_epi64(a, b); }
    static vector join_upper(vector a, vector b) noexcept { return _mm256_unpackhi_epi64(a, b); }
    static vector widen_lower(vector v) noexcept { return _mm256_unpacklo_epi8(v, _mm256_setzero_si256()); }
    static vector widen_upper(vector v) noexcept { return _mm256_unpackhi_epi8(v, _mm256_setzero_si256()); }
    static vector narrow_units(vector a, vector b) noexcept { return _mm256_packus_epi16(a, b); }
    static vector narrow_pairs(vector a, vector b) noexcept { return _mm256_packus_epi32(a, b); }
    static vector in_order(vector v) noexcept { return _mm256_permute4x64_epi64(v, 0xD8); }
    static vector narrow(vector a, vector b) noexcept { return narrow_units(a, b); }

    template <class T>
    using stripe = __m256i;
    template <class T>
    static vector stripe_at(const T *pattern) noexcept
    {
        return load(pattern);
    }
    template <class T>
    static void put(T *at, vector v, vector chosen) noexcept
    {
        store(at, _mm256_blendv_epi8(load(at), v, chosen));
    }
};

}  // namespace

void install_avx2(ibilin_kernels &table, bool /*gathers*/) noexcept { ibilin_kernel<avx2>::install(table); }

}  // namespace teska
