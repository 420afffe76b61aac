// ibilin_avx512 - bilinear resampling of lines. A shuffle reaches all 64 bytes of a vector, which is one unit; it does
// not look at the mask's mark of zero bytes, so that constants say which bytes of a result count.

#include "Kernels/ibilin_vector.h"

#include <immintrin.h>

namespace teska
{

namespace
{

// Where a shuffle leaves zeros: the upper byte of a widened one, and the quarters of the other window.
template <int Bytes, int Part>
constexpr std::uint64_t kept = (Bytes == 1 ? 0x5555555555555555 : ~std::uint64_t{0}) &
                               (Part == 0   ? ~std::uint64_t{0}
                                : Part == 1 ? 0x0000FFFF0000FFFF
                                            : 0xFFFF0000FFFF0000);

struct avx512 {
    using vector = __m512i;
    static constexpr int unit = 64;
    static constexpr int units = 1;

    static vector load(const void *at) noexcept { return _mm512_loadu_si512(at); }
    static void store(void *at, vector v) noexcept { _mm512_storeu_si512(at, v); }
    static vector same(int value) noexcept { return _mm512_set1_epi16(static_cast<short>(value)); }
    static vector same_pair(int value) noexcept { return _mm512_set1_epi32(value); }

    static vector add(vector a, vector b) noexcept { return _mm512_add_epi16(a, b); }
    static vector subtract(vector a, vector b) noexcept { return _mm512_sub_epi16(a, b); }
    static vector subtract_saturated(vector a, vector b) noexcept { return _mm512_subs_epu16(a, b); }
    static vector multiply(vector a, vector b) noexcept { return _mm512_mulhi_epu16(a, b); }
    static vector multiply_signed(vector a, vector b) noexcept { return _mm512_mulhi_epi16(a, b); }

    static vector windows(const std::uint8_t *in, const std::ptrdiff_t *offset) noexcept { return load(in + *offset); }
    template <int Bytes, int Part>
    static vector shuffle(vector window, vector mask) noexcept
    {
        if constexpr (kept<Bytes, Part> == ~std::uint64_t{0})
            return _mm512_permutexvar_epi8(mask, window);
        else
            return _mm512_maskz_permutexvar_epi8(kept<Bytes, Part>, mask, window);
    }
    static vector shuffle_pair(vector first, vector second, vector mask) noexcept
    {
        return _mm512_permutex2var_epi8(first, mask, second);
    }
    static vector both(vector a, vector b) noexcept { return _mm512_and_si512(a, b); }
    static vector either(vector a, vector b) noexcept { return _mm512_or_si512(a, b); }
    static vector join_lower(vector a, vector b) noexcept
    {
        return _mm512_inserti64x4(a, _mm512_castsi512_si256(b), 1);
    }
    static vector join_upper(vector a, vector b) noexcept { return _mm512_shuffle_i64x2(a, b, 0xEE); }
    static vector widen_lower(vector v) noexcept { return _mm512_unpacklo_epi8(v, _mm512_setzero_si512()); }
    static vector widen_upper(vector v) noexcept { return _mm512_unpackhi_epi8(v, _mm512_setzero_si512()); }
    static vector narrow_units(vector a, vector b) noexcept { return _mm512_packus_epi16(a, b); }
    static vector narrow_pairs(vector a, vector b) noexcept { return _mm512_packus_epi32(a, b); }
    static vector in_order(vector v) noexcept
    {
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), v);
    }
    static vector narrow(vector a, vector b) noexcept { return in_order(narrow_units(a, b)); }

    // One bit a sample.
    template <class T>
    using stripe = std::uint64_t;
    static std::uint64_t bits(const std::uint8_t *pattern) noexcept { return _mm512_movepi8_mask(load(pattern)); }
    static std::uint64_t bits(const std::uint16_t *pattern) noexcept { return _mm512_movepi16_mask(load(pattern)); }
    template <class T>
    static std::uint64_t stripe_at(const T *pattern) noexcept
    {
        return bits(pattern);
    }
    static void put(std::uint8_t *at, vector v, std::uint64_t chosen) noexcept
    {
        _mm512_mask_storeu_epi8(at, chosen, v);
    }
    static void put(std::uint16_t *at, vector v, std::uint64_t chosen) noexcept
    {
        _mm512_mask_storeu_epi16(at, static_cast<std::uint32_t>(chosen), v);
    }
};

}  // namespace

void install_avx512(ibilin_kernels &table, bool /*gathers*/) noexcept { ibilin_kernel<avx512>::install(table); }

}  // namespace teska
