// conversion - from one space to another through profiles, device links and cubes: directly, or by a table

#include "conversion.h"

#include "frame/failure.h"
#include "pictures/bands.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace tool
{

namespace
{

constexpr std::size_t most_channels = 16;
constexpr std::size_t at_once = 256;  // pixels that pass all steps together

std::size_t size_of(int channels) { return static_cast<std::size_t>(channels); }

// Lightness 0 .. 1 along the neutral of a gray or RGB source, at evenly spaced samples.
std::vector<double> neutral_lightness(const transform &to_lab, int channels)
{
    constexpr std::size_t points = 4097;
    words ramp(points * size_of(channels));
    for (std::size_t i = 0; i < points; ++i)
        for (std::size_t c = 0; c < size_of(channels); ++c)
            ramp[i * size_of(channels) + c] = static_cast<std::uint16_t>((i * 65535 + (points - 1) / 2) / (points - 1));
    std::vector<lab_colour> lab(points);
    to_lab.run(ramp.data(), lab.data(), points);
    std::vector<double> lightness;
    double last = 0;
    for (const lab_colour &colour : lab) {
        last = std::clamp(colour[0] / 100, last, 1.0);
        lightness.push_back(last);
    }
    return lightness;
}

// Exponent of a tone curve by the luminance of its middle.
double gamma_of(const std::vector<double> &lightness)
{
    const double middle = lightness[lightness.size() / 2];
    const double white = lightness.back();
    const auto luminance = [](double l) {
        const double f = (100 * l + 16) / 116;
        return f > 6.0 / 29 ? f * f * f : (f - 16.0 / 116) * 3 * 36 / 841;
    };
    if (!(middle > 0) || !(white > 0))
        return 0;
    return std::log(luminance(middle) / luminance(white)) / std::log(0.5);
}

// 65536 samples of a curve given at fewer points, scaled to its own range.
words spread(const std::vector<double> &values)
{
    words curve(65536);
    const double least = values.front();
    const double most = values.back();
    for (std::size_t v = 0; v < curve.size(); ++v) {
        const double at = static_cast<double>(v) / 65535 * static_cast<double>(values.size() - 1);
        const std::size_t cell = std::min(static_cast<std::size_t>(at), values.size() - 2);
        const double part = at - static_cast<double>(cell);
        const double value = values[cell] * (1 - part) + values[cell + 1] * part;
        curve[v] = static_cast<std::uint16_t>(std::lround((value - least) / (most - least) * 65535));
    }
    return curve;
}

// The input whose sample of a rising curve is nearest to a value.
std::uint16_t inverse(const words &curve, double value)
{
    const auto above = std::lower_bound(curve.begin(), curve.end(), value);
    if (above == curve.end())
        return 65535;
    if (above == curve.begin() || *above - value < value - *(above - 1))
        return static_cast<std::uint16_t>(above - curve.begin());
    return static_cast<std::uint16_t>(above - curve.begin() - 1);
}

}  // namespace

void conversion::add(colour_space from, step made)
{
    if (steps_.empty())
        from_ = from;
    to_ = made.to;
    steps_.push_back(std::move(made));
}

void conversion::add_profiles(colour_engine &engine, const colour_profile &from, const colour_profile &to,
                              cmsUInt32Number intent, bool bpc)
{
    from.require_source();
    to.require_target(intent);
    const auto made = std::make_shared<const transform>(engine.connect(from, to, intent, bpc));
    if (steps_.empty() && (from.space()->kind == colour_kind::rgb || from.space()->kind == colour_kind::gray))
        from_lab_source_ = std::make_shared<const transform>(engine.to_lab(from, INTENT_RELATIVE_COLORIMETRIC, false));
    add(*from.space(),
        {*to.space(),
         [made](const std::uint16_t *in, std::uint16_t *out, std::size_t pixels) { made->run(in, out, pixels); },
         nullptr});
    to_lab_.reset();
    if (to.is_source())
        to_lab_ = std::make_shared<const transform>(engine.to_lab(to, INTENT_RELATIVE_COLORIMETRIC, false));
}

void conversion::add_link(colour_engine &engine, const colour_profile &link, cmsUInt32Number intent)
{
    const bool abstract = link.device_class() == cmsSigAbstractClass;
    if (link.device_class() != cmsSigLinkClass && !abstract)
        throw failure(link.shown(), "--link takes device links, this is a profile for " + space_name(link.signature()));
    const std::optional<colour_space> from = link.space();
    const std::optional<colour_space> to = space_of(cmsGetPCS(link.get()));
    if (!from || !to)
        throw failure(link.shown(), "is for " +
                                        (from ? space_name(cmsGetPCS(link.get())) : space_name(link.signature())) +
                                        ", which no picture has");
    const auto made = std::make_shared<const transform>(engine.link(link, intent));
    add(*from,
        {*to, [made](const std::uint16_t *in, std::uint16_t *out, std::size_t pixels) { made->run(in, out, pixels); },
         nullptr});
    to_lab_.reset();
}

void conversion::add_table(std::shared_ptr<const colour_table> table, colour_space from, colour_space to)
{
    const auto run = [table](const std::uint16_t *in, std::uint16_t *out, std::size_t pixels) {
        table->run(in, 16, table->inputs(), out, 16, table->outputs(), pixels);
    };
    add(from, {to, run, table});
    to_lab_.reset();
}

void conversion::limit_ink(std::uint16_t *pixel) const
{
    const std::size_t channels = size_of(to_.channels);
    const double most = ink_limit_ * 655.35;
    const double sum = std::accumulate(pixel, pixel + channels, 0.0);
    if (sum <= most)
        return;
    // Black stays: it makes the picture's drawing with the least ink.
    const bool keeps_black = to_.kind == colour_kind::cmyk;
    if (keeps_black && pixel[3] >= most) {
        std::fill(pixel, pixel + 3, std::uint16_t{0});
        pixel[3] = static_cast<std::uint16_t>(most);
        return;
    }
    const double kept = keeps_black ? pixel[3] : 0;
    const double factor = (most - kept) / (sum - kept);
    for (std::size_t c = 0; c < channels - (keeps_black ? 1 : 0); ++c)
        pixel[c] = static_cast<std::uint16_t>(pixel[c] * factor);
}

void conversion::direct(const std::uint16_t *in, std::uint16_t *out, std::size_t pixels) const
{
    std::array<std::array<std::uint16_t, at_once * most_channels>, 2> held;
    while (pixels > 0) {
        const std::size_t count = std::min(pixels, at_once);
        const std::uint16_t *at = in;
        for (std::size_t i = 0; i < steps_.size(); ++i) {
            std::uint16_t *to = i + 1 == steps_.size() ? out : held[i % 2].data();
            steps_[i].run(at, to, count);
            at = to;
        }
        if (ink_limit_ > 0)
            for (std::size_t p = 0; p < count; ++p)
                limit_ink(out + p * size_of(to_.channels));
        in += count * size_of(from_.channels);
        out += count * size_of(to_.channels);
        pixels -= count;
    }
}

std::shared_ptr<const colour_table> conversion::only_table() const
{
    return steps_.size() == 1 && ink_limit_ == 0 ? steps_.front().table : nullptr;
}

// Points stand evenly in lightness when the source's own tones do not nearly do so already.
std::vector<words> conversion::curves() const
{
    std::vector<words> none(size_of(from_.channels));
    if (!from_lab_source_)
        return none;
    const std::vector<double> lightness = neutral_lightness(*from_lab_source_, from_.channels);
    const double gamma = gamma_of(lightness);
    constexpr double least_even = 1.7;
    constexpr double most_even = 2.6;
    if ((gamma >= least_even && gamma <= most_even) || !(lightness.back() > lightness.front()))
        return none;
    return {size_of(from_.channels), spread(lightness)};
}

std::shared_ptr<const colour_table> conversion::build(int points, int threads, bool with_curves) const
{
    auto table = std::make_shared<colour_table>(from_.channels, to_.channels, points);
    const std::vector<words> curve = with_curves ? curves() : std::vector<words>(size_of(from_.channels));
    const auto inputs = size_of(from_.channels);
    const auto outputs = size_of(to_.channels);
    // Inputs of the vertices along each axis.
    std::vector<words> stands(inputs);
    for (std::size_t d = 0; d < inputs; ++d)
        for (int i = 0; i < points; ++i) {
            const double value = i * 65535.0 / (points - 1);
            stands[d].push_back(curve[d].empty() ? static_cast<std::uint16_t>(std::lround(value))
                                                 : inverse(curve[d], value));
        }
    std::uint16_t *vertices = table->vertices();
    const std::size_t count = table->samples() / outputs;
    constexpr std::size_t chunk = 4096;  // vertices
    const auto chunks = static_cast<std::uint32_t>((count + chunk - 1) / chunk);
    for_each(threads, chunks, [&](std::uint32_t number) {
        const std::size_t first = number * chunk;
        const std::size_t size = std::min(chunk, count - first);
        words in(size * inputs);
        for (std::size_t v = 0; v < size; ++v) {
            std::size_t rest = first + v;
            for (std::size_t d = inputs; d-- > 0; rest /= static_cast<std::size_t>(points))
                in[v * inputs + d] = stands[d][rest % static_cast<std::size_t>(points)];
        }
        direct(in.data(), vertices + first * outputs, size);
    });
    for (std::size_t d = 0; d < inputs; ++d)
        if (!curve[d].empty())
            table->set_curve(static_cast<int>(d), curve[d]);
    return table;
}

std::vector<int> conversion::points() const
{
    switch (from_.channels) {
    case 1:
        return {4096};
    case 2:
        return {256};
    case 3:
        return {33, 49, 65, 97, 129};
    case 4:
        return {17, 25, 33};
    case 5:
        return {9, 13, 17};
    case 6:
        return {7, 9};
    default:
        break;
    }
    constexpr double most_samples_of_a_table = 1 << 26;
    int points = 2;
    while (std::pow(points + 1, from_.channels) * to_.channels <= most_samples_of_a_table)
        ++points;
    return {points};
}

std::uint64_t splitmix64(std::uint64_t number)
{
    std::uint64_t z = number + 0x9E3779B97F4A7C15U;
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31U);
}

words check_points(colour_space space)
{
    constexpr std::size_t uniform = 20000;
    constexpr std::size_t dark = 2000;
    constexpr std::size_t ramp = 1024;
    const std::size_t channels = size_of(space.channels);
    words points;
    std::uint64_t state = 1;
    const auto next = [&state] {
        const std::uint64_t number = splitmix64(state);
        state += 0x9E3779B97F4A7C15U;
        return static_cast<std::uint16_t>(number >> 48U);
    };
    for (std::size_t i = 0; i < uniform * channels; ++i)
        points.push_back(next());
    for (std::size_t i = 0; i < dark * channels; ++i) {
        const double x = next() / 65535.0;
        points.push_back(static_cast<std::uint16_t>(x * x * x * 65535 + 0.5));
    }
    const bool inks = space.kind == colour_kind::cmyk || space.kind == colour_kind::inks;
    const std::size_t each = inks ? ramp / channels : ramp;
    for (std::size_t i = 0; i < ramp; ++i) {
        const auto value = static_cast<std::uint16_t>((i % each) * 65535 / (each - 1));
        for (std::size_t c = 0; c < channels; ++c) {
            if (inks)
                points.push_back(i / each == c ? value : 0);
            else
                points.push_back(space.kind == colour_kind::lab && c > 0 ? 32896 : value);
        }
    }
    return points;
}

namespace
{

std::vector<double> steps_between(const conversion &chain, const words &first, const words &second)
{
    const std::size_t channels = size_of(chain.to().channels);
    const std::size_t count = first.size() / channels;
    std::vector<double> steps(count);
    if (chain.to_lab() != nullptr) {
        std::vector<lab_colour> a(count);
        std::vector<lab_colour> b(count);
        chain.to_lab()->run(first.data(), a.data(), count);
        chain.to_lab()->run(second.data(), b.data(), count);
        std::transform(a.begin(), a.end(), b.begin(), steps.begin(), delta_e_2000);
        return steps;
    }
    for (std::size_t p = 0; p < count; ++p)
        for (std::size_t c = 0; c < channels; ++c)
            steps[p] = std::max(steps[p], std::abs(first[p * channels + c] - second[p * channels + c]) / 655.35);
    return steps;
}

differences summary(const std::vector<double> &steps, const words &inputs)
{
    differences found;
    found.count = steps.size();
    if (steps.empty())
        return found;
    const std::size_t channels = inputs.size() / steps.size();
    const auto worst = std::max_element(steps.begin(), steps.end());
    const auto place = static_cast<std::ptrdiff_t>(static_cast<std::size_t>(worst - steps.begin()) * channels);
    found.worst.assign(inputs.begin() + place, inputs.begin() + place + static_cast<std::ptrdiff_t>(channels));
    found.largest = *worst;
    found.mean = std::accumulate(steps.begin(), steps.end(), 0.0) / static_cast<double>(steps.size());
    std::vector<double> sorted = steps;
    const std::size_t rank = (sorted.size() - 1) * 95 / 100;
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(rank), sorted.end());
    found.p95 = sorted[rank];
    return found;
}

}  // namespace

measured measure(const conversion &chain, const words &inputs, const pixel_function &run, int depth)
{
    const std::size_t count = inputs.size() / size_of(chain.from().channels);
    words wanted(count * size_of(chain.to().channels));
    words made(wanted.size());
    chain.direct(inputs.data(), wanted.data(), count);
    run(inputs.data(), made.data(), count);
    measured found;
    found.exact = summary(steps_between(chain, wanted, made), inputs);
    found.written = found.exact;
    if (depth == 8) {
        words rounded = made;
        for (std::uint16_t &sample : rounded)
            sample = static_cast<std::uint16_t>((sample + 128) / 257 * 257);
        found.written = summary(steps_between(chain, wanted, rounded), inputs);
        found.rounding = summary(steps_between(chain, made, rounded), inputs).largest;
    }
    return found;
}

}  // namespace tool
