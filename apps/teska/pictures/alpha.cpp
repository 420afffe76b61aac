// alpha - transparency while pixels are converted

#include "pictures/alpha.h"

#include <algorithm>

namespace tool
{

namespace
{

// White of a channel of a space, for samples up to `most`.
std::uint32_t white_of(colour_kind kind, int channel, std::uint32_t most)
{
    if (kind == colour_kind::cmyk || kind == colour_kind::inks)
        return 0;
    // Lab: a and b are 128 of 255 for both depths.
    return kind == colour_kind::lab && channel > 0 ? most / 255 * 128 : most;
}

template <class Sample>
void prepare(const page_facts &source, const extra_plan &plan, Sample *pixel, std::size_t count)
{
    constexpr std::uint64_t most = static_cast<Sample>(-1);
    const auto step = static_cast<std::size_t>(source.samples());
    for (std::size_t p = 0; p < count; ++p, pixel += step) {
        const std::uint64_t alpha = pixel[source.colours + plan.alpha];
        for (int c = 0; c < source.colours; ++c) {
            const std::uint64_t value = pixel[c];
            const std::uint64_t white = white_of(source.kind, c, static_cast<std::uint32_t>(most));
            std::uint64_t result = 0;
            if (plan.over_white)
                result = ((plan.divide ? value * most : value * alpha) + white * (most - alpha) + most / 2) / most;
            else if (alpha > 0)
                result = (value * most + alpha / 2) / alpha;
            pixel[c] = static_cast<Sample>(std::min(result, most));
        }
    }
}

template <class In, class Out>
void copy_extras(const page_facts &source, const page_facts &target, const extra_plan &plan, const In *in, Out *out,
                 std::size_t count)
{
    const auto in_step = static_cast<std::size_t>(source.samples());
    const auto out_step = static_cast<std::size_t>(target.samples());
    for (std::size_t e = 0; e < plan.copied.size(); ++e) {
        const In *from = in + source.colours + plan.copied[e];
        Out *to = out + target.colours + e;
        for (std::size_t p = 0; p < count; ++p, from += in_step, to += out_step) {
            if constexpr (sizeof(In) == sizeof(Out))
                *to = *from;
            else if constexpr (sizeof(In) == 1)
                *to = static_cast<Out>(*from * 257);
            else
                *to = static_cast<Out>((*from + 128) / 257);
        }
    }
}

template <class Sample>
void associate(const page_facts &target, std::size_t alpha_place, Sample *pixel, std::size_t count)
{
    constexpr std::uint32_t most = static_cast<Sample>(-1);
    const auto step = static_cast<std::size_t>(target.samples());
    for (std::size_t p = 0; p < count; ++p, pixel += step) {
        const std::uint32_t alpha = pixel[alpha_place];
        for (int c = 0; c < target.colours; ++c)
            pixel[c] = static_cast<Sample>((std::uint64_t{pixel[c]} * alpha + most / 2) / most);
    }
}

}  // namespace

extra_plan plan_extras(const page_facts &source, colour_kind target, const std::string &said)
{
    extra_plan plan;
    plan.alpha = source.alpha();
    const bool associated =
        plan.alpha >= 0 && source.extras[static_cast<std::size_t>(plan.alpha)] == extra_kind::associated;
    const bool inks = target == colour_kind::cmyk || target == colour_kind::inks;
    plan.divide = associated;
    plan.over_white = plan.alpha >= 0 && said == "white";
    for (int i = 0; i < static_cast<int>(source.extras.size()); ++i) {
        if (i == plan.alpha && said != "keep")
            continue;
        plan.copied.push_back(i);
        const extra_kind kind = source.extras[static_cast<std::size_t>(i)];
        plan.kinds.push_back(i == plan.alpha && inks ? extra_kind::unassociated : kind);
    }
    plan.multiply = associated && said == "keep" && !inks;
    return plan;
}

void prepare_colours(const page_facts &source, const extra_plan &plan, void *pixels, std::size_t count)
{
    if (!plan.divide && !plan.over_white)
        return;
    if (source.depth == 8)
        prepare(source, plan, static_cast<std::uint8_t *>(pixels), count);
    else
        prepare(source, plan, static_cast<std::uint16_t *>(pixels), count);
}

void finish_extras(const page_facts &source, const page_facts &target, const extra_plan &plan, const void *in,
                   void *out, std::size_t count)
{
    using byte = std::uint8_t;
    using word = std::uint16_t;
    if (source.depth == 8 && target.depth == 8)
        copy_extras(source, target, plan, static_cast<const byte *>(in), static_cast<byte *>(out), count);
    else if (source.depth == 8)
        copy_extras(source, target, plan, static_cast<const byte *>(in), static_cast<word *>(out), count);
    else if (target.depth == 8)
        copy_extras(source, target, plan, static_cast<const word *>(in), static_cast<byte *>(out), count);
    else
        copy_extras(source, target, plan, static_cast<const word *>(in), static_cast<word *>(out), count);
    if (!plan.multiply)
        return;
    const auto alpha = static_cast<std::size_t>(
        target.colours + (std::find(plan.copied.begin(), plan.copied.end(), plan.alpha) - plan.copied.begin()));
    if (target.depth == 8)
        associate(target, alpha, static_cast<byte *>(out), count);
    else
        associate(target, alpha, static_cast<word *>(out), count);
}

}  // namespace tool
