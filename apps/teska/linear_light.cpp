// linear_light - samples of RGB and gray pictures through the curves of their profile, and back

#include "linear_light.h"

#include "frame/failure.h"
#include "frame/job.h"
#include "profiles.h"

#include <algorithm>

namespace tool
{

namespace
{

constexpr std::size_t table_size = 65536;
constexpr double most = 65535;

colour_profile profile_of(job &work, colour_engine &engine, const std::string &file, const page_facts &page)
{
    if (!page.profile.empty()) {
        colour_profile own = engine.open_embedded(work, file, page.profile);
        const std::optional<colour_space> space = own.space();
        if (!space || space->kind != page.kind)
            throw failure(file, "its profile \"" + own.description() + "\" is for " + space_name(own.signature()) +
                                    ", the picture is " + name_of(page.kind, page.colours));
        return own;
    }
    if (page.gamma)
        return engine.from_gamma(*page.gamma, page.kind);
    const bool gray = page.kind == colour_kind::gray;
    if (!page.said_srgb)
        work.note(file, gray ? "no profile, taken as gray with the curve of sRGB" : "no profile, taken as sRGB");
    return engine.open(work, gray ? "gray" : "srgb");
}

void add_curve(const cmsToneCurve *curve, light_curves &curves)
{
    std::vector<double> light(table_size);
    double highest = 0;
    for (std::size_t i = 0; i < table_size; ++i) {
        const double value = cmsEvalToneCurveFloat(curve, static_cast<cmsFloat32Number>(static_cast<double>(i) / most));
        // A curve that falls somewhere is held there, so that there is a way back.
        highest = std::max(highest, std::clamp(value, 0.0, 1.0) * most);
        light[i] = highest;
    }
    std::vector<std::uint16_t> there(table_size);
    std::vector<std::uint16_t> back(table_size);
    for (std::size_t i = 0; i < table_size; ++i) {
        there[i] = static_cast<std::uint16_t>(light[i] + 0.5);
        const auto value = static_cast<double>(i);
        std::size_t at = static_cast<std::size_t>(std::lower_bound(light.begin(), light.end(), value) - light.begin());
        at = std::min(at, table_size - 1);
        if (at > 0 && value - light[at - 1] < light[at] - value)
            --at;
        back[i] = static_cast<std::uint16_t>(at);
    }
    // White stays white, however flat the curve ends.
    back[there.back()] = static_cast<std::uint16_t>(most);
    curves.to_linear.push_back(std::move(there));
    curves.from_linear.push_back(std::move(back));
}

}  // namespace

light_curves curves_of(job &work, const std::string &file, const page_facts &page)
{
    if (page.kind != colour_kind::rgb && page.kind != colour_kind::gray)
        throw failure(file, "--linear works on RGB and gray, this is " + name_of(page.kind, page.colours));
    colour_engine engine;
    const colour_profile profile = profile_of(work, engine, file, page);
    std::vector<cmsTagSignature> tags = {cmsSigGrayTRCTag};
    if (page.kind == colour_kind::rgb)
        tags = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    light_curves curves;
    for (const cmsTagSignature tag : tags) {
        const auto *curve = static_cast<const cmsToneCurve *>(cmsReadTag(profile.get(), tag));
        if (curve == nullptr)
            throw failure(file, "its profile \"" + profile.description() + "\" has no curves for --linear");
        add_curve(curve, curves);
    }
    return curves;
}

}  // namespace tool
