// ibilin_scalar - bilinear resampling of lines, the definition
//
//     blend(a, b, w) = (a * (65536 - w) + b * w) >> 16,   0 <= w <= 65535
//
// The weights sum to 65536, so that the sum stays below 2^32 for all 16-bit samples.
//
// Variants write the same number in 16 bits: blend = a + ((b - a) * w >> 16), the shift rounding down.

#include "Kernels/ibilin_kernels.h"

namespace teska
{

namespace
{

constexpr std::uint32_t one = 65536;

template <class T>
T blend(std::uint32_t a, std::uint32_t b, std::uint32_t weight) noexcept
{
    return static_cast<T>((a * (one - weight) + b * weight) >> 16);
}

template <class T>
void columns(const ibilin_place *places, std::ptrdiff_t count, ibilin_run<const T> in, ibilin_run<T> out) noexcept
{
    for (std::ptrdiff_t x = 0; x < count; ++x)
        out.at[x * out.step] =
            blend<T>(in.at[places[x].first * in.step], in.at[places[x].second * in.step], places[x].weight);
}

template <class T>
void down(const T *upper, const T *lower, std::uint32_t weight, std::ptrdiff_t count, T *out) noexcept
{
    for (std::ptrdiff_t i = 0; i < count; ++i)
        out[i] = blend<T>(upper[i], lower[i], weight);
}

template <class T>
void spread(const T *in, int c, int n, std::ptrdiff_t count, T *out) noexcept
{
    for (std::ptrdiff_t i = c; i < count; i += n)
        out[i] = in[i];
}

template <class T>
constexpr ibilin_depth<T> by_samples = {
    .columns = columns<T>, .across = nullptr, .pick = nullptr, .down = down<T>, .spread = spread<T>};

}  // namespace

void install_scalar(ibilin_kernels &table, bool /*gathers*/) noexcept
{
    table = {.unit = 0, .units = 0, .bytes = by_samples<std::uint8_t>, .words = by_samples<std::uint16_t>};
}

}  // namespace teska
