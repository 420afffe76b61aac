// ibilin_v128 - bilinear resampling of lines, one unit a vector

#include "Kernels/ibilin_vector.h"

#include <smmintrin.h>

namespace teska
{

namespace
{

struct v128 {
    using vector = __m128i;
    static constexpr int unit = 16;
    static constexpr int units = 1;

    static vector load(const void *at) noexcept { return _mm_loadu_si128(static_cast<const __m128i *>(at)); }
    static void store(void *at, vector v) noexcept { _mm_storeu_si128(static_cast<__m128i *>(at), v); }
    static vector same(int value) noexcept { return _mm_set1_epi16(static_cast<short>(value)); }
    static vector same_pair(int value) noexcept { return _mm_set1_epi32(value); }

    static vector add(vector a, vector b) noexcept { return _mm_add_epi16(a, b); }
    static vector subtract(vector a, vector b) noexcept { return _mm_sub_epi16(a, b); }
    static vector subtract_saturated(vector a, vector b) noexcept { return _mm_subs_epu16(a, b); }
    static vector multiply(vector a, vector b) noexcept { return _mm_mulhi_epu16(a, b); }
    static vector multiply_signed(vector a, vector b) noexcept { return _mm_mulhi_epi16(a, b); }

    static vector windows(const std::uint8_t *in, const std::ptrdiff_t *offset) noexcept { return load(in + *offset); }
    template <int Bytes, int Part>
    static vector shuffle(vector window, vector mask) noexcept
    {
        return _mm_shuffle_epi8(window, mask);
    }
    // The mask with the places of either window below 0x80, those of the other one not.
    static vector shuffle_pair(vector first, vector second, vector mask) noexcept
    {
        const vector of_first = _mm_add_epi8(mask, _mm_set1_epi8(0x70));
        const vector of_second = _mm_sub_epi8(mask, _mm_set1_epi8(0x10));
        return either(_mm_shuffle_epi8(first, of_first), _mm_shuffle_epi8(second, of_second));
    }
    static vector both(vector a, vector b) noexcept { return _mm_and_si128(a, b); }
    static vector either(vector a, vector b) noexcept { return _mm_or_si128(a, b); }
    static vector join_lower(vector a, vector b) noexcept { return _mm_unpacklo_epi64(a, b); }
    static vector join_upper(vector a, vector b) noexcept { return _mm_unpackhi_epi64(a, b); }
    static vector widen_lower(vector v) noexcept { return _mm_unpacklo_epi8(v, _mm_setzero_si128()); }
    static vector widen_upper(vector v) noexcept { return _mm_unpackhi_epi8(v, _mm_setzero_si128()); }
    static vector narrow_units(vector a, vector b) noexcept { return _mm_packus_epi16(a, b); }
    static vector narrow_pairs(vector a, vector b) noexcept { return _mm_packus_epi32(a, b); }
    static vector in_order(vector v) noexcept { return v; }
    static vector narrow(vector a, vector b) noexcept { return narrow_units(a, b); }

    template <class T>
    using stripe = __m128i;
    template <class T>
    static vector stripe_at(const T *pattern) noexcept
    {
        return load(pattern);
    }
    template <class T>
    static void put(T *at, vector v, vector chosen) noexcept
    {
        store(at, _mm_blendv_epi8(load(at), v, chosen));
    }
};

}  // namespace

void install_v128(ibilin_kernels &table, bool /*gathers*/) noexcept { ibilin_kernel<v128>::install(table); }

}  // namespace teska
