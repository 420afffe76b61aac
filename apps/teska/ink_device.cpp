// ink_device - colours of a device by the amounts of its inks: by a profile, or the solids and overprints of a chart

#include "ink_device.h"

#include "charts.h"
#include "frame/failure.h"
#include "frame/text.h"
#include "profiles.h"

#include <cmath>
#include <cstdint>

namespace tool
{

namespace
{

constexpr int fewest = 3;
constexpr int most = 8;

void require_inks(const std::string &path, int count)
{
    if (count < fewest || count > most)
        throw failure(path,
                      "has " + std::to_string(count) + (count == 1 ? " channel" : " channels") + ": 3 to 8 wanted");
}

class profile_device : public ink_device
{
public:
    profile_device(job &work, colour_engine &engine, const std::string &path)
        : profile_(engine.open(work, path)), space_(checked(profile_)),
          to_lab_(engine.to_lab(profile_, INTENT_RELATIVE_COLORIMETRIC, false))
    {
        inks_ = names();
    }

    [[nodiscard]] bool is_chart() const override { return false; }

    bool colour(const double *device, lab_colour &lab) override
    {
        std::array<std::uint16_t, most> values{};
        for (int c = 0; c < space_.channels; ++c) {
            const double amount = space_.kind == colour_kind::rgb ? device[c] : 1 - device[c];
            values[static_cast<std::size_t>(c)] = static_cast<std::uint16_t>(std::lround(65535 * amount));
        }
        to_lab_.run(values.data(), lab.data(), 1);
        return true;
    }

private:
    static colour_space checked(const colour_profile &profile)
    {
        profile.require_source();
        const std::optional<colour_space> space = profile.space();
        if (!space || space->kind == colour_kind::lab)
            throw failure(profile.shown(), "is for " + space_name(profile.signature()) + ", which no device has");
        require_inks(profile.shown(), space->channels);
        return *space;
    }

    // As the profile calls them, or as they are called.
    [[nodiscard]] std::vector<std::string> names() const
    {
        std::vector<std::string> known = channel_names(space_.channels, space_.kind == colour_kind::rgb);
        const auto *list = static_cast<const cmsNAMEDCOLORLIST *>(cmsReadTag(profile_.get(), cmsSigColorantTableTag));
        if (list == nullptr || cmsNamedColorCount(list) != known.size())
            return known;
        for (std::size_t i = 0; i < known.size(); ++i) {
            std::array<char, cmsMAX_PATH> name{};
            if (cmsNamedColorInfo(list, static_cast<cmsUInt32Number>(i), name.data(), nullptr, nullptr, nullptr,
                                  nullptr) != FALSE &&
                name[0] != '\0')
                known[i] = name.data();
        }
        return known;
    }

    colour_profile profile_;
    colour_space space_;
    transform to_lab_;
};

class chart_device : public ink_device
{
public:
    chart_device(job &work, const std::string &path)
    {
        const ink_chart chart = read_ink_chart(work, path);
        inks_ = chart.inks;
        require_inks(path, count());
        corners_.resize(std::size_t{1} << chart.inks.size());
        for (std::size_t i = 0; i < chart.colours.size(); ++i)
            take(chart, i);
    }

    [[nodiscard]] bool is_chart() const override { return true; }

    bool colour(const double *device, lab_colour &lab) override
    {
        std::size_t at = 0;
        for (std::size_t c = 0; c < inks_.size(); ++c)
            at |= static_cast<std::size_t>(device[c] < 0.5 ? 1 : 0) << c;
        const corner &found = corners_[at];
        if (found.times == 0)
            return false;
        for (std::size_t i = 0; i < 3; ++i)
            lab[i] = found.sum[i] / found.times;
        return true;
    }

private:
    // What was printed and measured more than once counts by its mean.
    struct corner {
        lab_colour sum{};
        int times = 0;
    };

    void take(const ink_chart &chart, std::size_t set)
    {
        constexpr double near = 0.005;
        std::size_t at = 0;
        for (std::size_t c = 0; c < inks_.size(); ++c) {
            const double amount = chart.amounts[set * inks_.size() + c];
            const bool full = std::abs(amount - 1) < near;
            if (!full && std::abs(amount) >= near)
                return;
            at |= static_cast<std::size_t>(full != chart.additive ? 1 : 0) << c;
        }
        for (std::size_t i = 0; i < 3; ++i)
            corners_[at].sum[i] += chart.colours[set][i];
        ++corners_[at].times;
    }

    std::vector<corner> corners_;  // by bits, the first ink the lowest: 1 is all of an ink
};

}  // namespace

bool is_built_in(const std::string &name)
{
    return name == "srgb" || name == "linear" || name == "gray" || name == "lab";
}

bool is_profile(const input_file &file)
{
    char mark[4];
    return file.read_at(36, mark, 4) == 4 && std::string_view(mark, 4) == "acsp";
}

std::unique_ptr<ink_device> ink_device::open(job &work, colour_engine &engine, const std::string &name,
                                             const input_file *file)
{
    if (file == nullptr || is_profile(*file))
        return std::make_unique<profile_device>(work, engine, name);
    return std::make_unique<chart_device>(work, name);
}

}  // namespace tool
