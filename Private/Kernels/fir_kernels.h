// fir_kernels - one filtered line: what the inner loops see, and their entries of the table

#ifndef TESKA_FIR_KERNELS_H
#define TESKA_FIR_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

// The definition's view: the lines under the kernel as the caller gave them.
struct fir_window {
    const std::int32_t *kernel;  // size * size coefficients in units of 1/65536, oldest line and leftmost pixel first
    int size;
    std::ptrdiff_t in_step;
    std::ptrdiff_t out_step;
    int count;    // pixels of the result
    int maximum;  // of the result
};

// The variants' view: words of two samples of one column, the line before in the low half, the line itself
// in the high one; 16-bit samples less 32768. A tap adds, to the pixel x of the result, the products of the halves of
// words[x] and of the factors, all signed.
struct fir_tap {
    const std::uint32_t *words;
    std::uint32_t factors;
};

struct fir_taps {
    const fir_tap *low;  // add to the sum
    int lows;
    const fir_tap *high;  // add 65536 times to the sum
    int highs;
    std::uint32_t start;    // of the sum
    std::uint16_t maximum;  // of the result, at most 32767
};

// Words may be read and written up to here after the last pixel.
constexpr int fir_spare_words = 128;

template <class Sample>
struct fir_sample_kernels {
    // out[x * out_step], 0 <= x < count, from lines[i][(x + j) * in_step].
    void (*filter)(const fir_window &window, const Sample *const *lines, Sample *out) noexcept;
    // The words of a line and the one before it. Null in the scalar set, as filter_words.
    void (*pack)(std::uint32_t *words, const Sample *before, const Sample *line, std::ptrdiff_t step,
                 int count) noexcept;
    // Pixels first .. first + count - 1 of the result, to out[0 ..].
    void (*filter_words)(const fir_taps &taps, int first, int count, Sample *out) noexcept;
};

struct fir_kernels {
    fir_sample_kernels<std::uint8_t> bytes;
    fir_sample_kernels<std::uint16_t> shorts;
};

}  // namespace teska

#endif
