// ibilin_kernels - bilinear resampling of lines: what the inner loops see, and their entries of the table
//
// Lines that have been resampled in their own direction stand as 16-bit samples, whatever their depth. Such a line is
// followed by room up to a multiple of bilin_padding samples, which may be read and written.

#ifndef TESKA_IBILIN_KERNELS_H
#define TESKA_IBILIN_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

constexpr std::ptrdiff_t bilin_padding = 64;

// Where one destination place lies in the source.
struct bilin_place {
    int first;             // the sample or line before it
    int second;            // the one behind it; the last one at the end
    std::uint32_t weight;  // of the second, 0 .. 65535; that of the first is 65536 - weight
};

// A component inside a line of several: sample x is at[x * step].
template <class T>
struct bilin_run {
    T *at;
    std::ptrdiff_t step;
};

// Which bytes of a line become which samples, for one length of vectors. A vector consists of units; inside a unit of
// U bytes a shuffle reaches every byte. Of each unit's output samples, equal shares come from `windows` windows, runs
// of U bytes anywhere in the line. Masks hold the place of a byte in its window, or 0x80 for a zero byte.
//
//     windows  masks of a vector
//        1     nearer samples; further samples
//        2     of each window: nearer samples in the lower half of the unit, further ones in the upper half
//        4     likewise, of windows 0 and 1 together, and of 2 and 3 together
//
// Behind the masks of a vector stand its weights, 16 bits each: for 16-bit samples the weight of the right sample, the
// left one being the nearer; for bytes the weight of the further sample, negated, at least -32768. The right sample is
// not read where its weight is 0. Plans that only pick samples have no further ones and no weights, and their samples
// stay as wide as they are.
struct bilin_plan {
    int windows;                    // 0: there is no plan
    std::ptrdiff_t vectors;         // of output
    const std::ptrdiff_t *offsets;  // of a vector's windows: number 0 of all units, number 1 ..; in bytes
    const std::uint8_t *tables;     // masks and weights by vector
};

struct bilin_kernels {
    // The shape of plans; no units: plans are not used.
    int unit;
    int units;

    // Inside a line, sample by sample.
    void (*columns_b)(const bilin_place *places, std::ptrdiff_t count, bilin_run<const std::uint8_t> in,
                      bilin_run<std::uint16_t> out) noexcept;
    void (*columns)(const bilin_place *places, std::ptrdiff_t count, bilin_run<const std::uint16_t> in,
                    bilin_run<std::uint16_t> out) noexcept;

    // The same by a plan; whole vectors are written. Picking writes samples as they were.
    void (*across_b)(const bilin_plan &plan, const std::uint8_t *in, std::uint16_t *out) noexcept;
    void (*across)(const bilin_plan &plan, const std::uint16_t *in, std::uint16_t *out) noexcept;
    void (*pick)(const bilin_plan &plan, const void *in, void *out) noexcept;

    // From line to line; weight is that of the lower one.
    void (*down_b)(const std::uint16_t *upper, const std::uint16_t *lower, std::uint32_t weight, std::ptrdiff_t count,
                   std::uint8_t *out) noexcept;
    void (*down)(const std::uint16_t *upper, const std::uint16_t *lower, std::uint32_t weight, std::ptrdiff_t count,
                 std::uint16_t *out) noexcept;

    // Component c of n, 2 .. 4, out of one interleaved line of `count` samples into another; the other samples of
    // `out` stay as they are, but may be written.
    void (*spread_b)(const std::uint8_t *in, int c, int n, std::ptrdiff_t count, std::uint8_t *out) noexcept;
    void (*spread)(const std::uint16_t *in, int c, int n, std::ptrdiff_t count, std::uint16_t *out) noexcept;
};

void install_scalar(bilin_kernels &table) noexcept;
void install_sse41(bilin_kernels &table) noexcept;
void install_avx2(bilin_kernels &table) noexcept;
void install_avx512(bilin_kernels &table) noexcept;

}  // namespace teska

#endif
