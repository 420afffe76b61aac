// md_tetras_layout - lines of words and bytes to planes of words, and words of four outputs to lines
//
// A plane is 64 samples of one input, a result 64 times four outputs. Lines are packed when the samples of a pixel are
// 3 or 4 adjacent ones, one of each of as many lines (md_tetrab_layout.h, which also has the shuffles of bytes).
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_MD_TETRAS_LAYOUT_H
#define TESKA_MD_TETRAS_LAYOUT_H

#include "Kernels/md_tetrab_layout.h"
#include "Kernels/md_tetras_block.h"

namespace teska
{

namespace
{

// ---- Words ----------------------------------------------------------------------------------------------------------

// 64 pixels of 4 words to 4 planes; a null plane is skipped.
inline void split_4_words(const uint16_t *pixels, uint16_t *const *planes) noexcept
{
    for (int p = 0; p < tetras_block; p += 8, pixels += 32) {
        // Channels 0 and 1, then 2 and 3, of four pixels each.
        v128::vector first[2];
        v128::vector last[2];
        for (int i = 0; i < 2; ++i) {
            const v128::vector pairs[] = {v128::load(pixels + 16 * i), v128::load(pixels + 16 * i + 8)};
            const v128::vector even = v128::zip_low16(pairs[0], pairs[1]);
            const v128::vector odd = v128::zip_high16(pairs[0], pairs[1]);
            first[i] = v128::zip_low16(even, odd);
            last[i] = v128::zip_high16(even, odd);
        }
        const v128::vector channels[] = {v128::zip_low64(first[0], first[1]), v128::zip_high64(first[0], first[1]),
                                         v128::zip_low64(last[0], last[1]), v128::zip_high64(last[0], last[1])};
        for (int c = 0; c < 4; ++c)
            if (planes[c] != nullptr)
                v128::store(planes[c] + p, channels[c]);
    }
}

// Shuffles between 8 pixels of 3 words, in thirds of 16 bytes, and 8 words of each channel; -1 gives 0.
struct word_third_shuffles {
    signed char split[3][3][16];  // by channel and third

    constexpr word_third_shuffles() noexcept : split()
    {
        for (int third = 0; third < 3; ++third)
            for (int k = 0; k < 3; ++k)
                for (int i = 0; i < 16; ++i) {
                    const int source = 6 * (i / 2) + 2 * k + i % 2 - 16 * third;
                    split[k][third][i] = static_cast<signed char>(source >= 0 && source < 16 ? source : -1);
                }
    }
};

constexpr word_third_shuffles thirds_of_8;

// 64 pixels of 3 words to 3 planes.
inline void split_3_words(const uint16_t *pixels, uint16_t *const *planes) noexcept
{
    for (int p = 0; p < tetras_block; p += 8, pixels += 24) {
        const v128::vector thirds[] = {v128::load(pixels), v128::load(pixels + 8), v128::load(pixels + 16)};
        for (int k = 0; k < 3; ++k) {
            v128::vector channel = v128::zero();
            for (int third = 0; third < 3; ++third)
                channel |= v128::shuffle8(thirds[third], v128::load(thirds_of_8.split[k][third]));
            v128::store(planes[k] + p, channel);
        }
    }
}

inline void split(const uint16_t *pixels, ptrdiff_t step, uint16_t *const *planes) noexcept
{
    step == 3 ? split_3_words(pixels, planes) : split_4_words(pixels, planes);
}

inline void split(const uint8_t *pixels, ptrdiff_t step, uint8_t *const *planes) noexcept
{
    step == 3 ? split_3(pixels, planes) : split_4(pixels, planes);
}

// ---- Fetch ----------------------------------------------------------------------------------------------------------

// Samples of N inputs, or any number when N is 0. After the last pixel come zeros.
template <class Sample, unsigned Inputs>
struct tetras_planes {
    alignas(64) Sample of[Inputs][tetras_block];
};

template <class Sample, unsigned Inputs>
inline void fetch(const Sample *const *lines, int n, ptrdiff_t step, ptrdiff_t first, int count, bool last,
                  const pixel_layout &layout, tetras_planes<Sample, Inputs> &planes) noexcept
{
    // A pixel of 4 samples with 3 inputs may end with its third, if it is the last one.
    if (count == tetras_block && layout.packed && (n == step || !last)) {
        Sample unused[tetras_block];
        Sample *targets[4];
        for (int k = 0; k < 4; ++k)
            targets[k] = layout.line[k] >= 0 ? planes.of[layout.line[k]] : unused;
        return split(lines[0] + layout.first + first * step, step, targets);
    }
    for (int d = 0; d < n; ++d) {
        const Sample *line = lines[d] + first * step;
        Sample *const plane = planes.of[d];
        if (count == tetras_block && step == 1) {
            __builtin_memcpy(plane, line, sizeof(planes.of[d]));
            continue;
        }
        int p = 0;
        for (; p < count; ++p, line += step)
            plane[p] = *line;
        for (; p < tetras_block; ++p)
            plane[p] = 0;
    }
}

// ---- Store ----------------------------------------------------------------------------------------------------------

// How packed lines take the four outputs of two pixels.
struct word_control {
    alignas(16) signed char bytes[16] = {};
};

// Of the lines from `line` on; -1: not known yet.
struct line_layout {
    ptrdiff_t line = -1;
    pixel_layout pixel;
    word_control words;
};

inline word_control find_control(const pixel_layout &layout, int outputs) noexcept
{
    word_control control;
    for (int i = 0; i < 2 && layout.packed; ++i)
        for (int k = 0; k < outputs; ++k)
            for (int b = 0; b < 2; ++b)
                control.bytes[2 * (i * outputs + k) + b] = static_cast<signed char>(8 * i + 2 * layout.line[k] + b);
    return control;
}

// 64 pixels to packed ones of 3 or 4 words.
inline void store_packed_words(const md_tetras_results &results, const word_control &words, ptrdiff_t step,
                               uint16_t *pixels) noexcept
{
    // What a vector writes after its two pixels, the next one overwrites.
    const v128::vector control = v128::load(words.bytes);
    int p = 0;
    for (; p + 2 < tetras_block; p += 2)
        v128::store(pixels + p * step, v128::shuffle8(v128::load(results.of[p]), control));
    const v128::vector last = v128::shuffle8(v128::load(results.of[p]), control);
    if (step == 4)
        return v128::store(pixels + 4 * p, last);
    // Nothing is written after the last pixel: 12 bytes.
    v128::store_8_bytes(pixels + 3 * p, last);
    const uint32_t third = v128::lane32<2>(last);
    __builtin_memcpy(pixels + 3 * p + 4, &third, sizeof(third));
}

}  // namespace

}  // namespace teska

#endif
