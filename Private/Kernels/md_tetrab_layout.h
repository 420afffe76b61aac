// md_tetrab_layout - how pixels lie in the lines of a caller, and shuffles between these and planes
//
// A plane is 64 bytes of one channel. A packed pixel is 3 or 4 adjacent bytes, one of each of as many lines.
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_MD_TETRAB_LAYOUT_H
#define TESKA_MD_TETRAB_LAYOUT_H

#include "Kernels/md_tetrab_kernels.h"
#include "Kernels/v128.h"

namespace teska
{

namespace
{

using std::ptrdiff_t;
using std::uint32_t;
using std::uint8_t;

constexpr int block_pixels = 64;

// ---- Layouts --------------------------------------------------------------------------------------------------------

// Lines whose samples share packed pixels: channel k of the pixel belongs to line line[k], or to none (-1).
struct pixel_layout {
    bool packed = false;
    ptrdiff_t first = 0;  // from the first sample of line 0 to the first byte of its pixel
    int line[4] = {-1, -1, -1, -1};
    alignas(16) signed char control[16] = {};  // shuffles four words with a byte of each line to the first bytes
};

template <class Byte>
inline pixel_layout find_layout(Byte *const *lines, int count, ptrdiff_t step) noexcept
{
    pixel_layout layout;
    if (count > step || step < 3 || step > 4 || lines[0] == nullptr)
        return layout;
    // The pixel begins with the lowest of the lines.
    for (int i = 1; i < count; ++i) {
        if (lines[i] == nullptr)
            return layout;
        if (lines[i] - lines[0] < layout.first)
            layout.first = lines[i] - lines[0];
    }
    // Each line has a byte of its own in the pixel.
    for (int i = 0; i < count; ++i) {
        const ptrdiff_t k = lines[i] - lines[0] - layout.first;
        if (k >= step || layout.line[k] != -1)
            return layout;
        layout.line[k] = i;
    }
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < count; ++k)
            layout.control[i * count + k] = static_cast<signed char>(4 * i + layout.line[k]);
    layout.packed = true;
    return layout;
}

// ---- Pixels of 4 bytes ----------------------------------------------------------------------------------------------

// Gathers the bytes of each channel of four pixels.
alignas(16) constexpr uint8_t by_channel[16] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};

// 64 pixels to 4 planes.
inline void split_4(const uint8_t *pixels, uint8_t *const *planes) noexcept
{
    for (int p = 0; p < block_pixels; p += 16) {
        // Words of four pixels each, by channel.
        v128::vector four[4];
        for (int i = 0; i < 4; ++i)
            four[i] = v128::shuffle8(v128::load(pixels + 4 * p + 16 * i), v128::load(by_channel));
        // Channels 0 and 1, then 2 and 3, of eight pixels each.
        const v128::vector low[] = {v128::zip_low32(four[0], four[1]), v128::zip_low32(four[2], four[3])};
        const v128::vector high[] = {v128::zip_high32(four[0], four[1]), v128::zip_high32(four[2], four[3])};
        v128::store(planes[0] + p, v128::zip_low64(low[0], low[1]));
        v128::store(planes[1] + p, v128::zip_high64(low[0], low[1]));
        v128::store(planes[2] + p, v128::zip_low64(high[0], high[1]));
        v128::store(planes[3] + p, v128::zip_high64(high[0], high[1]));
    }
}

// 4 planes to 64 pixels.
inline void join_4(const uint8_t *const *planes, uint8_t *pixels) noexcept
{
    for (int p = 0; p < block_pixels; p += 16) {
        // Channels 0 and 1, then 2 and 3, in pairs: of the lower eight pixels and of the upper eight.
        const v128::vector first[] = {v128::load(planes[0] + p), v128::load(planes[1] + p)};
        const v128::vector last[] = {v128::load(planes[2] + p), v128::load(planes[3] + p)};
        const v128::vector low[] = {v128::zip_low8(first[0], first[1]), v128::zip_low8(last[0], last[1])};
        const v128::vector high[] = {v128::zip_high8(first[0], first[1]), v128::zip_high8(last[0], last[1])};
        v128::store(pixels + 4 * p, v128::zip_low16(low[0], low[1]));
        v128::store(pixels + 4 * p + 16, v128::zip_high16(low[0], low[1]));
        v128::store(pixels + 4 * p + 32, v128::zip_low16(high[0], high[1]));
        v128::store(pixels + 4 * p + 48, v128::zip_high16(high[0], high[1]));
    }
}

// ---- Pixels of 3 bytes ----------------------------------------------------------------------------------------------

// Shuffles between 16 pixels of 3 bytes, in thirds of 16 bytes, and 16 bytes of each channel; -1 gives 0.
struct third_shuffles {
    signed char split[3][3][16];  // by channel and third
    signed char join[3][3][16];   // by third and channel

    constexpr third_shuffles() noexcept : split(), join()
    {
        for (int third = 0; third < 3; ++third)
            for (int k = 0; k < 3; ++k)
                for (int i = 0; i < 16; ++i) {
                    const int source = 3 * i + k - 16 * third;
                    split[k][third][i] = static_cast<signed char>(source >= 0 && source < 16 ? source : -1);
                    const int target = 16 * third + i;
                    join[third][k][i] = static_cast<signed char>(target % 3 == k ? target / 3 : -1);
                }
    }
};

constexpr third_shuffles thirds_of_16;

// 64 pixels to 3 planes.
inline void split_3(const uint8_t *pixels, uint8_t *const *planes) noexcept
{
    for (int p = 0; p < block_pixels; p += 16) {
        const v128::vector thirds[] = {v128::load(pixels + 3 * p), v128::load(pixels + 3 * p + 16),
                                       v128::load(pixels + 3 * p + 32)};
        for (int k = 0; k < 3; ++k) {
            v128::vector channel = v128::zero();
            for (int third = 0; third < 3; ++third)
                channel |= v128::shuffle8(thirds[third], v128::load(thirds_of_16.split[k][third]));
            v128::store(planes[k] + p, channel);
        }
    }
}

// 3 planes to 64 pixels.
inline void join_3(const uint8_t *const *planes, uint8_t *pixels) noexcept
{
    for (int p = 0; p < block_pixels; p += 16)
        for (int third = 0; third < 3; ++third) {
            v128::vector bytes = v128::zero();
            for (int k = 0; k < 3; ++k)
                bytes |= v128::shuffle8(v128::load(planes[k] + p), v128::load(thirds_of_16.join[third][k]));
            v128::store(pixels + 3 * p + 16 * third, bytes);
        }
}

// ---- Words ----------------------------------------------------------------------------------------------------------

// 64 words of four outputs to pixels of 3 or 4 bytes in the order that `control` gives: it shuffles the bytes of four
// words that count to the lower bytes.
inline void store_packed(const uint32_t *words, v128::vector control, ptrdiff_t step, uint8_t *pixels) noexcept
{
    // What a vector writes after its four pixels, the next one overwrites.
    int p = 0;
    for (; p + 4 < block_pixels; p += 4)
        v128::store(pixels + p * step, v128::shuffle8(v128::load(words + p), control));
    const v128::vector last = v128::shuffle8(v128::load(words + p), control);
    if (step == 4)
        return v128::store(pixels + 4 * p, last);
    // Nothing is written after the last pixel: 12 bytes.
    v128::store_8_bytes(pixels + 3 * p, last);
    const uint32_t third = v128::lane32<2>(last);
    __builtin_memcpy(pixels + 3 * p + 8, &third, sizeof(third));
}

}  // namespace

}  // namespace teska

#endif
