// izat_scalar - resampling by weighted sums, the definition
//
//     out = [(sum over lines i and pixels j of V_i W_j sample(i, j) + 2^27) / 2^28], cut to the range of the depth
//
// With H_i = sum of W_j (sample(i, j) - middle) = upper_i * 2^b + lower_i, b = 7 or 15, and U and L the sums of V_i
// upper_i and V_i lower_i, this is middle + [(U * 2^b + L + 2^27) / 2^28] = middle + [(U + [(L + 2^27) / 2^b]) / 2^(28
// - b)].

#include "Kernels/izat_kernels.h"
#include "Kernels/kernels.h"

namespace teska
{

namespace
{

template <class Sample>
constexpr int lower_bits = sizeof(Sample) == 1 ? 7 : 15;

template <class Sample>
constexpr std::int32_t middle = sizeof(Sample) == 1 ? 128 : 32768;

template <class Sample>
void across(const izat_columns &columns, const izat_source<Sample> &line, const izat_halves &out) noexcept
{
    const std::int16_t *weights = columns.weights;
    std::ptrdiff_t to = 0;
    for (std::ptrdiff_t x = 0; x < columns.count; ++x, weights += columns.taps) {
        const Sample *const first = line.at + columns.first[x] * line.step;
        for (std::ptrdiff_t c = 0; c < line.components; ++c, ++to) {
            std::int32_t sum = 0;
            for (std::ptrdiff_t j = 0; j < columns.taps; ++j)
                sum += weights[j] * (static_cast<std::int32_t>(first[j * line.step + c]) - middle<Sample>);
            out.upper[to] = static_cast<std::int16_t>(sum >> lower_bits<Sample>);
            out.lower[to] = static_cast<std::uint16_t>(sum & ((1 << lower_bits<Sample>)-1));
        }
    }
}

template <class Sample>
void down(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps, std::ptrdiff_t count,
          Sample *out) noexcept
{
    constexpr int b = lower_bits<Sample>;
    constexpr std::int32_t largest = 2 * middle<Sample> - 1;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::int32_t upper = 0, lower = 1 << 27;
        for (std::ptrdiff_t t = 0; t < taps; ++t) {
            upper += weights[t] * lines[t].upper[i];
            lower += weights[t] * lines[t].lower[i];
        }
        const std::int32_t sample = ((upper + (lower >> b)) >> (28 - b)) + middle<Sample>;
        out[i] = static_cast<Sample>(sample < 0 ? 0 : sample > largest ? largest : sample);
    }
}

}  // namespace

void install_scalar(izat_kernels &table, bool /*gathers*/) noexcept
{
    table = {.bytes = {.across = across<std::uint8_t>, .down = down<std::uint8_t>},
             .words = {.across = across<std::uint16_t>, .down = down<std::uint16_t>}};
}

}  // namespace teska
