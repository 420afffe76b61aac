// md_tetrab_avx2 - conversion of bytes over a simplex, eight pixels at a time, with gathers or without

#include "Kernels/md_tetrab_vector.h"

namespace teska
{

namespace
{

struct avx2 {
    static constexpr bool reads_byte_tables = false;
    using raw = __m256i;
    static constexpr int lanes = 8;

    static raw max(raw a, raw b) noexcept { return _mm256_max_epu32(a, b); }
    static raw min(raw a, raw b) noexcept { return _mm256_min_epu32(a, b); }
    static raw multiply_high(raw a, raw b) noexcept { return _mm256_mulhi_epu16(a, b); }
    static raw add_pairs_of_bytes(raw a, raw b) noexcept { return _mm256_maddubs_epi16(a, b); }
    static raw add_pairs_of_halves(raw a, raw b) noexcept { return _mm256_madd_epi16(a, b); }
    static raw zip_bytes_low(raw a, raw b) noexcept { return _mm256_unpacklo_epi8(a, b); }
    static raw zip_bytes_high(raw a, raw b) noexcept { return _mm256_unpackhi_epi8(a, b); }
    static raw zip_halves_low(raw a, raw b) noexcept { return _mm256_unpacklo_epi16(a, b); }
    static raw zip_halves_high(raw a, raw b) noexcept { return _mm256_unpackhi_epi16(a, b); }
    static raw pack(raw a, raw b) noexcept { return _mm256_packus_epi16(a, b); }
    static raw shuffle(raw a, raw control) noexcept { return _mm256_shuffle_epi8(a, control); }
    static raw subtract_saturated(raw a, raw b) noexcept { return _mm256_subs_epi8(a, b); }
    static bool is_zero(raw a) noexcept { return _mm256_testz_si256(a, a) != 0; }
    static raw broadcast(__m128i a) noexcept { return _mm256_broadcastsi128_si256(a); }
    static raw load(const void *at) noexcept { return _mm256_loadu_si256(static_cast<const raw *>(at)); }
    static void store(void *at, raw a) noexcept { _mm256_storeu_si256(static_cast<raw *>(at), a); }
    static void store_fours(uint32_t *at, raw a) noexcept
    {
        store_16(at, _mm256_castsi256_si128(a));
        store_16(at + 16, _mm256_extracti128_si256(a, 1));
    }
    static raw widen(const uint8_t *bytes) noexcept
    {
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(bytes)));
    }
    template <int Scale>
    static raw gather(const void *base, raw index) noexcept
    {
        return _mm256_i32gather_epi32(static_cast<const int *>(base), index, Scale);
    }
};

struct avx2_without_gather : avx2 {
    template <int Scale>
    static raw gather(const void *base, raw index) noexcept
    {
        return _mm256_set_m128i(load_4_words<Scale>(base, _mm256_extracti128_si256(index, 1)),
                                load_4_words<Scale>(base, _mm256_castsi256_si128(index)));
    }
};

}  // namespace

void install_avx2(md_tetrab_kernels &table, bool gathers) noexcept
{
    if (gathers)
        md_tetrab_line<avx2>::install(table);
    else
        md_tetrab_line<avx2_without_gather>::install(table);
}

}  // namespace teska
