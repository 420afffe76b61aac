// md_tetrab_avx512 - conversion of bytes over a simplex, sixteen pixels at a time

#include "Kernels/md_tetrab_vector.h"

namespace teska
{

namespace
{

struct avx512 {
    static constexpr bool reads_byte_tables = true;
    using raw = __m512i;
    static constexpr int lanes = 16;

    static raw max(raw a, raw b) noexcept { return _mm512_max_epu32(a, b); }
    static raw min(raw a, raw b) noexcept { return _mm512_min_epu32(a, b); }
    static raw multiply_high(raw a, raw b) noexcept { return _mm512_mulhi_epu16(a, b); }
    static raw add_pairs_of_bytes(raw a, raw b) noexcept { return _mm512_maddubs_epi16(a, b); }
    static raw add_pairs_of_halves(raw a, raw b) noexcept { return _mm512_madd_epi16(a, b); }
    static raw zip_bytes_low(raw a, raw b) noexcept { return _mm512_unpacklo_epi8(a, b); }
    static raw zip_bytes_high(raw a, raw b) noexcept { return _mm512_unpackhi_epi8(a, b); }
    static raw zip_halves_low(raw a, raw b) noexcept { return _mm512_unpacklo_epi16(a, b); }
    static raw zip_halves_high(raw a, raw b) noexcept { return _mm512_unpackhi_epi16(a, b); }
    static raw pack(raw a, raw b) noexcept { return _mm512_packus_epi16(a, b); }
    static raw shuffle(raw a, raw control) noexcept { return _mm512_shuffle_epi8(a, control); }
    static raw subtract_saturated(raw a, raw b) noexcept { return _mm512_subs_epi8(a, b); }
    static bool is_zero(raw a) noexcept { return _mm512_test_epi64_mask(a, a) == 0; }
    static raw broadcast(__m128i a) noexcept { return _mm512_broadcast_i32x4(a); }
    static raw load(const void *at) noexcept { return _mm512_loadu_si512(at); }
    static void store(void *at, raw a) noexcept { _mm512_storeu_si512(at, a); }
    static void store_fours(uint32_t *at, raw a) noexcept
    {
        store_16(at, _mm512_castsi512_si128(a));
        store_16(at + 16, _mm512_extracti32x4_epi32(a, 1));
        store_16(at + 32, _mm512_extracti32x4_epi32(a, 2));
        store_16(at + 48, _mm512_extracti32x4_epi32(a, 3));
    }
    static raw widen(const uint8_t *bytes) noexcept { return _mm512_cvtepu8_epi32(load_16(bytes)); }
    template <int Scale>
    static raw gather(const void *base, raw index) noexcept
    {
        return _mm512_i32gather_epi32(index, base, Scale);
    }
    // Bytes 0 .. 255 of a table.
    static raw look_up(const uint8_t *table, raw at) noexcept
    {
        const raw low = _mm512_permutex2var_epi8(load(table), at, load(table + 64));
        const raw high = _mm512_permutex2var_epi8(load(table + 128), at, load(table + 192));
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(at), low, high);
    }
};

}  // namespace

void install_avx512(md_tetrab_kernels &table, bool /*gathers*/) noexcept { md_tetrab_line<avx512>::install(table); }

}  // namespace teska
