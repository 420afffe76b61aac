// md_tetrab_v128 - conversion of bytes over a simplex, four pixels at a time

#include "Kernels/md_tetrab_vector.h"

namespace teska
{

namespace
{

struct v128 {
    static constexpr bool reads_byte_tables = false;
    using raw = __m128i;
    static constexpr int lanes = 4;

    static raw max(raw a, raw b) noexcept { return _mm_max_epu32(a, b); }
    static raw min(raw a, raw b) noexcept { return _mm_min_epu32(a, b); }
    static raw multiply_high(raw a, raw b) noexcept { return _mm_mulhi_epu16(a, b); }
    static raw add_pairs_of_bytes(raw a, raw b) noexcept { return _mm_maddubs_epi16(a, b); }
    static raw add_pairs_of_halves(raw a, raw b) noexcept { return _mm_madd_epi16(a, b); }
    static raw zip_bytes_low(raw a, raw b) noexcept { return _mm_unpacklo_epi8(a, b); }
    static raw zip_bytes_high(raw a, raw b) noexcept { return _mm_unpackhi_epi8(a, b); }
    static raw zip_halves_low(raw a, raw b) noexcept { return _mm_unpacklo_epi16(a, b); }
    static raw zip_halves_high(raw a, raw b) noexcept { return _mm_unpackhi_epi16(a, b); }
    static raw pack(raw a, raw b) noexcept { return _mm_packus_epi16(a, b); }
    static raw shuffle(raw a, raw control) noexcept { return _mm_shuffle_epi8(a, control); }
    static raw subtract_saturated(raw a, raw b) noexcept { return _mm_subs_epi8(a, b); }
    static bool is_zero(raw a) noexcept { return _mm_testz_si128(a, a) != 0; }
    static raw broadcast(__m128i a) noexcept { return a; }
    static raw load(const void *at) noexcept { return load_16(at); }
    static void store(void *at, raw a) noexcept { store_16(at, a); }
    static void store_fours(uint32_t *at, raw a) noexcept { store_16(at, a); }
    static raw widen(const uint8_t *bytes) noexcept
    {
        int four;
        __builtin_memcpy(&four, bytes, 4);
        return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(four));
    }
    template <int Scale>
    static raw gather(const void *base, raw index) noexcept
    {
        return load_4_words<Scale>(base, index);
    }
};

}  // namespace

void install_v128(md_tetrab_kernels &table, bool /*gathers*/) noexcept { md_tetrab_line<v128>::install(table); }

}  // namespace teska
