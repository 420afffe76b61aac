// izat_kernels - resampling by weighted sums: what the inner loops see, and their entries of the table
//
// A line is first summed along its own direction. Samples are taken less the middle of their range, 128 or 32768, so
// that such a sum is at most 25800 * 2^7 or 2^15 in magnitude; it is kept in two 16-bit halves, sum = upper * 2^7 +
// lower or upper * 2^15 + lower, with 0 <= lower < 2^7 or 2^15. The lines of a destination line are then summed half by
// half: no intermediate leaves 32 signed bits. The middle returns unchanged, because weights sum to izat_one.

#ifndef TESKA_IZAT_KERNELS_H
#define TESKA_IZAT_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

constexpr int izat_one = 16384;

// Lines of halves have room up to a multiple of this many samples, which may be read and written.
constexpr std::ptrdiff_t izat_padding = 64;

// The weights of all columns: those of column x are weights[x * taps ..], of the pixels first[x] .. first[x] + taps -
// 1, all of which are in the line.
struct izat_columns {
    const std::int32_t *first;
    const std::int16_t *weights;
    std::ptrdiff_t taps;
    std::ptrdiff_t count;
};

// Components 0 .. components - 1 of pixel x of the line are at[x * step ..].
template <class Sample>
struct izat_source {
    const Sample *at;
    std::ptrdiff_t step;
    std::ptrdiff_t components;
};

// A line that has been summed along its direction, components interleaved.
struct izat_halves {
    std::int16_t *upper;
    std::uint16_t *lower;
};

template <class Sample>
struct izat_depth {
    void (*across)(const izat_columns &columns, const izat_source<Sample> &line, const izat_halves &out) noexcept;
    // Samples 0 .. count - 1 of a destination line from the weighted lines, each cut to the range of its depth.
    void (*down)(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps, std::ptrdiff_t count,
                 Sample *out) noexcept;
};

struct izat_kernels {
    izat_depth<std::uint8_t> bytes;
    izat_depth<std::uint16_t> words;
};

}  // namespace teska

#endif
