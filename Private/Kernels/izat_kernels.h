// izat_kernels - resampling by weighted sums: what the inner loops see, and their entries of the table
//
// Samples are taken less the middle of their range, 128 or 32768. The sum of a line along its own direction is then at
// most 25800 * 2^7 or 2^15 in magnitude; it is kept in two 16-bit halves, sum = upper * 2^7 + lower or upper * 2^15 +
// lower, with 0 <= lower < 2^7 or 2^15. The lines of a destination line are summed half by half: no intermediate leaves
// 32 signed bits. The middle returns unchanged, because weights sum to izat_one.
//
// Every component is a line of its own here. Lines have room up to a multiple of izat_padding samples, which may be
// read and written.

#ifndef TESKA_IZAT_KERNELS_H
#define TESKA_IZAT_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

constexpr int izat_one = 16384;
constexpr std::ptrdiff_t izat_padding = 64;
constexpr std::ptrdiff_t izat_row = 8;
constexpr std::ptrdiff_t izat_pair = 2;

// The weights of all columns: column x has `taps` of them, for the samples from first[x] on. Taps are filled up with
// zeros to a multiple of a row or of a pair, and so are the columns to a multiple of izat_padding. What lies beyond the
// last sample may be read as far as izat_padding. There are two orders of weights, each that in which vectors of any
// length read it.
//
// By rows, for any columns: of 16 columns the weights of izat_row taps, those of columns 0, 4, 8, 12, then 1, 5 .., and
// so on for the next taps.
//
// By pairs, where the first samples of columns 4 q .. 4 q + 3 lie within izat_near of each other: of 16 columns in
// order the weights of two taps, then those of the next two. The 8 samples from first[4 q] + k on then hold taps k and
// k + 1 of all four columns, and the 16 bytes from picks[16 q] on, the same ones for every k, say where.
struct izat_columns {
    const std::int32_t *first;
    const std::int16_t *weights;
    const std::uint8_t *picks;  // null: by rows
    std::ptrdiff_t taps;
    std::ptrdiff_t count;
};

constexpr std::int32_t izat_near = 6;

// Where the first weights of column x lie; the next ones are as far further as 16 columns have.
constexpr std::ptrdiff_t izat_first_row(std::ptrdiff_t taps, std::ptrdiff_t x)
{
    return x / 16 * 16 * taps + (x % 4 * 4 + x % 16 / 4) * izat_row;
}
constexpr std::ptrdiff_t izat_first_pair(std::ptrdiff_t taps, std::ptrdiff_t x)
{
    return x / 16 * 16 * taps + x % 16 * izat_pair;
}
constexpr std::ptrdiff_t izat_next_row = 16 * izat_row;
constexpr std::ptrdiff_t izat_next_pair = 16 * izat_pair;

// A line that has been summed along its direction.
struct izat_halves {
    std::int16_t *upper;
    std::uint16_t *lower;
};

template <class Sample>
struct izat_depth {
    // centred[x] = line[x * step] - middle
    void (*centre)(const Sample *line, std::ptrdiff_t step, std::ptrdiff_t count, std::int16_t *centred) noexcept;
    void (*across)(const izat_columns &columns, const std::int16_t *centred, const izat_halves &out) noexcept;
    // The first `count` samples of a destination line from the weighted lines, each cut to the range of its depth.
    // After the last line there is one more of weight 0.
    void (*down)(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps, std::ptrdiff_t count,
                 Sample *out) noexcept;
    // All weights of columns and lines one half: out[x] = (a[2x] + a[2x + 1] + b[2x] + b[2x + 1] + 2) >> 2. Nothing
    // beyond the ends of a and b is read.
    void (*halve)(const Sample *a, const Sample *b, std::ptrdiff_t count, Sample *out) noexcept;
};

struct izat_kernels {
    izat_depth<std::uint8_t> bytes;
    izat_depth<std::uint16_t> words;
};

}  // namespace teska

#endif
