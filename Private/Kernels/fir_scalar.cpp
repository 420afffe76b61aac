// fir_scalar - one filtered line: the definition
//
// With L the size of the kernel, the result at x is
//
//     sum = sum over i, j = 0 .. L - 1 of line i at x + j times kernel(i, j), modulo 2^32, read as signed
//     min(max(sum, 0) / 65536, maximum), rounded down
//
// The sum is exact modulo 2^32, so its terms may be taken in any order and in parts.

#include "Kernels/fir_kernels.h"

namespace teska
{

namespace
{

template <class Sample>
void filter(const fir_window &w, const Sample *const *lines, Sample *out) noexcept
{
    for (std::ptrdiff_t x = 0; x < w.count; ++x) {
        std::uint32_t sum = 0;
        const std::int32_t *coefficient = w.kernel;
        for (int i = 0; i < w.size; ++i)
            for (std::ptrdiff_t j = 0; j < w.size; ++j)
                sum += lines[i][(x + j) * w.in_step] * static_cast<std::uint32_t>(*coefficient++);
        const auto signed_sum = static_cast<std::int32_t>(sum);
        const int result = signed_sum < 0 ? 0 : signed_sum >> 16;
        out[x * w.out_step] = static_cast<Sample>(result < w.maximum ? result : w.maximum);
    }
}

}  // namespace

void install_scalar(fir_kernels &table, bool /*gathers*/) noexcept
{
    table.bytes = {.filter = filter<std::uint8_t>, .pack = nullptr, .filter_words = nullptr};
    table.shorts = {.filter = filter<std::uint16_t>, .pack = nullptr, .filter_words = nullptr};
}

}  // namespace teska
