// izat_scalar - resampling by weighted sums, the definition
//
//     out = [(sum over lines i and pixels j of V_i W_j sample(i, j) + 2^27) / 2^28], cut to the range of the depth
//
// With H_i = sum of W_j (sample(i, j) - middle) = upper_i * 2^b + lower_i, b = 7 or 15, and U and L the sums of V_i
// upper_i and V_i lower_i, this is middle + [(U * 2^b + L + 2^27) / 2^28] = middle + [(U + [(L + 2^27) / 2^b]) / 2^(28
// - b)].

#include "Kernels/izat_kernels.h"

namespace teska
{

namespace
{

template <class Sample>
constexpr int lower_bits = sizeof(Sample) == 1 ? 7 : 15;

template <class Sample>
constexpr std::int32_t middle = sizeof(Sample) == 1 ? 128 : 32768;

template <class Sample>
void centre(const Sample *line, std::ptrdiff_t step, std::ptrdiff_t count, std::int16_t *centred) noexcept
{
    for (std::ptrdiff_t x = 0; x < count; ++x)
        centred[x] = static_cast<std::int16_t>(line[x * step] - middle<Sample>);
}

// Weights in runs of `Run` taps, the next run `Next` further.
template <std::ptrdiff_t Run, std::ptrdiff_t Next>
std::int32_t weighted_sum(const std::int16_t *weights, std::ptrdiff_t taps, const std::int16_t *samples) noexcept
{
    std::int32_t sum = 0;
    for (std::ptrdiff_t j = 0; j < taps; j += Run, weights += Next)
        for (std::ptrdiff_t k = 0; k < Run; ++k)
            sum += weights[k] * samples[j + k];
    return sum;
}

template <class Sample>
void across(const izat_columns &columns, const std::int16_t *centred, const izat_halves &out) noexcept
{
    constexpr std::int32_t lower_mask = (std::int32_t{1} << lower_bits<Sample>)-1;
    const std::ptrdiff_t taps = columns.taps;
    for (std::ptrdiff_t x = 0; x < columns.count; ++x) {
        const std::int16_t *const first = centred + columns.first[x];
        const std::int32_t sum =
            columns.picks != nullptr
                ? weighted_sum<izat_pair, izat_next_pair>(columns.weights + izat_first_pair(taps, x), taps, first)
                : weighted_sum<izat_row, izat_next_row>(columns.weights + izat_first_row(taps, x), taps, first);
        out.upper[x] = static_cast<std::int16_t>(sum >> lower_bits<Sample>);
        out.lower[x] = static_cast<std::uint16_t>(sum & lower_mask);
    }
}

template <class Sample>
void down(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps, std::ptrdiff_t count,
          Sample *out) noexcept
{
    constexpr int b = lower_bits<Sample>;
    constexpr std::int32_t largest = 2 * middle<Sample> - 1;
    for (std::ptrdiff_t x = 0; x < count; ++x) {
        std::int32_t upper = 0, lower = std::int32_t{1} << 27;
        for (std::ptrdiff_t t = 0; t < taps; ++t) {
            upper += weights[t] * lines[t].upper[x];
            lower += weights[t] * lines[t].lower[x];
        }
        const std::int32_t sample = ((upper + (lower >> b)) >> (28 - b)) + middle<Sample>;
        out[x] = static_cast<Sample>(sample < 0 ? 0 : sample > largest ? largest : sample);
    }
}

template <class Sample>
void halve(const Sample *a, const Sample *b, std::ptrdiff_t count, Sample *out) noexcept
{
    for (std::ptrdiff_t x = 0; x < count; ++x)
        out[x] = static_cast<Sample>((std::uint32_t{a[2 * x]} + a[2 * x + 1] + b[2 * x] + b[2 * x + 1] + 2) >> 2);
}

template <class Sample>
constexpr izat_depth<Sample> by_samples = {
    .centre = centre<Sample>, .across = across<Sample>, .down = down<Sample>, .halve = halve<Sample>};

}  // namespace

void install_scalar(izat_kernels &table, bool /*gathers*/) noexcept
{
    table = {.bytes = by_samples<std::uint8_t>, .words = by_samples<std::uint16_t>};
}

}  // namespace teska
