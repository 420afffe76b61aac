// ibilin_kernels - bilinear resampling of lines: what the inner loops see, and their entries of the table
//
// Lines that have been resampled in their own direction keep their depth. Such a line is followed by room up to a
// multiple of ibilin_padding samples, which may be read and written.

#ifndef TESKA_IBILIN_KERNELS_H
#define TESKA_IBILIN_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

constexpr std::ptrdiff_t ibilin_padding = 64;

// Where one destination place lies in the source.
struct ibilin_place {
    int first;             // the sample or line before it
    int second;            // the one after it; the last one at the end
    std::uint32_t weight;  // of the second, 0 .. 65535; that of the first is 65536 - weight
};

// A component inside a line of several: sample x is at[x * step].
template <class T>
struct ibilin_run {
    T *at;
    std::ptrdiff_t step;
};

// Which bytes of a line become which samples, for one length of vectors. A vector consists of units; inside a unit of
// U bytes a shuffle reaches every byte. Samples are blended in lanes of 16 bits. Of a unit's lanes equal shares come
// from `windows` windows, runs of U bytes anywhere in the line. Masks hold the place of a byte in its window, or 0x80
// for a zero byte.
//
//     windows  masks of a vector of lanes
//        1     nearer samples; further samples
//        2     of each window: nearer samples in the lower half of the unit, further ones in the upper half
//        4     likewise, of windows 0 and 1 together, and of 2 and 3 together
//
// After the masks come the weights of the lanes, 16 bits each: for 16-bit samples the weight of the right sample, the
// left one being the nearer; for bytes the weight of the further sample, negated, at least -32768. Where a weight is 0
// both samples are the same. A vector of bytes is put together from two vectors of lanes, in whose units the runs of
// U / 2 samples alternate: unit 0 of the first, unit 0 of the second, unit 1 of the first ..
//
// A plan that only picks samples has no further ones and no weights, and its lanes are as wide as the samples. Windows
// come in pairs, one pair for a unit or one for each half; the first of a pair serves as many samples as it reaches,
// the second the others. One mask for both holds the place of a byte in the first window, or U + that in the second.
// With one window it needs no tables: it picks every other sample.
//
// The same vectors are made `repeats` times, each time `advance` bytes later in the line.
struct ibilin_plan {
    int windows;
    std::ptrdiff_t repeats;
    std::ptrdiff_t advance;
    std::ptrdiff_t vectors;         // of samples, for one time
    const std::ptrdiff_t *offsets;  // of a vector's windows: number 0 of all units, number 1 ..; in bytes
    const std::uint8_t *tables;     // masks and weights by vector
};

// What depends on the depth.
template <class T>
struct ibilin_depth {
    // Inside a line, sample by sample.
    void (*columns)(const ibilin_place *places, std::ptrdiff_t count, ibilin_run<const T> in,
                    ibilin_run<T> out) noexcept;

    // The same by a plan; whole vectors are written.
    void (*across)(const ibilin_plan &plan, const T *in, T *out) noexcept;

    // The same by a plan that only picks.
    void (*pick)(const ibilin_plan &plan, const T *in, T *out) noexcept;

    // From line to line; weight is that of the lower one. Lines are read as far as the padding goes.
    void (*down)(const T *upper, const T *lower, std::uint32_t weight, std::ptrdiff_t count, T *out) noexcept;

    // Component c of n, 2 .. 4, out of one interleaved line of `count` samples into another; the other samples of
    // `out` stay as they are, but may be written.
    void (*spread)(const T *in, int c, int n, std::ptrdiff_t count, T *out) noexcept;
};

struct ibilin_kernels {
    // The shape of plans; no units: plans are not used.
    int unit;
    int units;

    ibilin_depth<std::uint8_t> bytes;
    ibilin_depth<std::uint16_t> words;
};

}  // namespace teska

#endif
