// gamut - the body of colours that a device can show: its size, what is inside, what is nearest, what two share

#include "charts.h"
#include "frame/command.h"
#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/text.h"
#include "gamut_body.h"
#include "gamut_slices.h"
#include "ink_device.h"
#include "plot.h"
#include "profiles.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

namespace tool
{

namespace
{

constexpr std::uint64_t most_points = std::uint64_t{1} << 22;

// A profile or a chart, and the body of its colours.
struct gamut_source {
    std::string path;
    std::unique_ptr<const input_file> file;  // null for a built-in profile
    bool is_chart = false;
    std::vector<lab_colour> colours;
};

json colour_json(const lab_colour &colour) { return json::array({colour[0], colour[1], colour[2]}); }

std::string colour_text(const lab_colour &colour)
{
    return number_text(colour[0]) + " " + number_text(colour[1]) + " " + number_text(colour[2]);
}

std::string short_text(const lab_colour &colour)
{
    const auto shown = [](double value) { return fixed_text(std::abs(value) < 0.005 ? 0 : value, 2); };
    return shown(colour[0]) + " " + shown(colour[1]) + " " + shown(colour[2]);
}

// ---- Device points --------------------------------------------------------------------------------------------------

// Points of a grid; above most_points it may be too small.
std::uint64_t grid_size(int grid, int channels)
{
    std::uint64_t points = 1;
    for (int c = 0; c < channels && points <= most_points; ++c)
        points *= static_cast<std::uint64_t>(grid);
    return points;
}

// Less ink where the sum is above the limit: of all inks alike, but black of four inks stays.
void limit_ink(std::uint16_t *inks, int channels, double limit)
{
    const double most = limit / 100 * 65535;
    const int scaled = channels == 4 ? 3 : channels;
    double sum = 0;
    for (int c = 0; c < scaled; ++c)
        sum += inks[c];
    const double black = channels == 4 ? std::min<double>(inks[3], most) : 0;
    if (channels == 4)
        inks[3] = static_cast<std::uint16_t>(black);
    const double factor = std::min(1.0, (most - black) / std::max(sum, 1.0));
    if (factor < 1)
        for (int c = 0; c < scaled; ++c)
            inks[c] = static_cast<std::uint16_t>(inks[c] * factor);
}

bool has_inks(const colour_space &space) { return space.kind == colour_kind::cmyk || space.kind == colour_kind::inks; }

class gamut : public action
{
public:
    void describe(options &take) override
    {
        take.file("SOURCE", "an ICC profile, srgb, linear, or a chart of the CGATS form", source_);
        take.integer("--grid", "G", 2, 33,
                     "steps of each channel of a profile; without it 17, of four channels 9, of more 5", grid_);
        take.choice("--intent", "I", {"perceptual", "relative", "saturation", "absolute"},
                    "rendering intent of a profile; a chart is taken as measured", intent_);
        take.number("--tac", "T", 1, 1500, "most ink of a profile in percent, all inks together", ink_limit_);
        take.text("--sets", "NAME",
                  "of a chart with several tables those of this name (TABLE_NAME, TABLE_DESCRIPTOR, DESCRIPTOR or the "
                  "word in the first line) or of this number; without it the first with colours",
                  tables_);
        take.numbers("--inside", "L,a,b", 3, "tells whether a colour is inside", inside_);
        take.numbers("--nearest", "L,a,b", 3, "tells the nearest colour that can be shown", nearest_);
        take.path("--colours", "F", "a chart or lines of L a b: --inside and --nearest for each of its colours",
                  colours_);
        take.path("--compare", "SOURCE2", "tells what another profile or chart shares with this one", second_);
        take.path("--vrml", "F", "writes the body as a scene of VRML 2.0", vrml_);
        take.path("--slices", "F", "writes a PNG of the planes L = 10 .. 90", slices_);
        take.path("--out", "F", "writes the result as JSON", out_);
    }

    void run(job &work) override
    {
        gamut_source first = open(source_);
        std::optional<gamut_source> second;
        if (!second_.empty())
            second = open(second_);
        std::unique_ptr<const input_file> asked;
        if (!colours_.empty())
            asked = std::make_unique<const input_file>(colours_);
        const std::vector<const input_file *> inputs = {first.file.get(), second ? second->file.get() : nullptr,
                                                        asked.get()};
        const std::unique_ptr<output_file> vrml = output(work, vrml_, inputs);
        const std::unique_ptr<output_file> slices = output(work, slices_, inputs);
        const std::unique_ptr<output_file> out = output(work, out_, inputs);
        if (!tables_.empty() && !first.is_chart)
            throw failure(source_, "is a profile", "--sets chooses a table of a chart");
        take_colours(work, first, tables_);
        if (second)
            take_colours(work, *second, "");
        const gamut_body body(source_, first.colours);
        work.note(source_, "hull: what lies in its hollows counts as inside");
        tell(work, first, body);
        answer(work, body);
        if (second)
            compare(work, body, gamut_body(second_, second->colours));
        if (vrml) {
            vrml->write(drawn(body));
            vrml->publish();
        }
        if (slices) {
            write_slices(work, engine_, body, *slices);
            slices->publish();
        }
        if (out) {
            json whole = json::object();
            whole["ok"] = true;
            whole.take_members(work.result);
            out->write(whole.text() + "\n");
            out->publish();
        }
    }

private:
    // ---- Sources ----------------------------------------------------------------------------------------------------

    static gamut_source open(const std::string &path)
    {
        gamut_source source;
        source.path = path;
        if (!is_built_in(path)) {
            source.file = std::make_unique<const input_file>(path);
            source.is_chart = !is_profile(*source.file);
        }
        return source;
    }

    static std::unique_ptr<output_file> output(const job &work, const std::string &path,
                                               const std::vector<const input_file *> &inputs)
    {
        if (path.empty())
            return nullptr;
        std::vector<const input_file *> files;
        std::copy_if(inputs.begin(), inputs.end(), std::back_inserter(files), [](const auto *file) { return file; });
        return std::make_unique<output_file>(work, path, files);
    }

    void take_colours(job &work, gamut_source &source, const std::string &tables)
    {
        source.colours =
            source.is_chart ? read_chart(work, source.path, tables).colours : profile_colours(work, source.path);
    }

    std::vector<lab_colour> profile_colours(job &work, const std::string &path)
    {
        const colour_profile profile = engine_.open(work, path);
        profile.require_source();
        const std::optional<colour_space> space = profile.space();
        if (!space)
            throw failure(path, "is for " + space_name(profile.signature()) + ", which no device has");
        if (ink_limit_ && path == source_ && !has_inks(*space))
            throw failure(path, "has no inks that --tac could limit");
        return grid_colours(profile, *space, grid_of(path, space->channels));
    }

    [[nodiscard]] int grid_of(const std::string &path, int channels) const
    {
        if (grid_) {
            if (grid_size(*grid_, channels) > most_points)
                throw usage_failure("--grid " + std::to_string(*grid_), path + " has " + std::to_string(channels) +
                                                                            " channels, these are more than " +
                                                                            std::to_string(most_points) + " points");
            return *grid_;
        }
        int steps = channels <= 3 ? 17 : channels == 4 ? 9 : 5;
        while (steps > 2 && grid_size(steps, channels) > most_points)
            --steps;
        return steps;
    }

    std::vector<lab_colour> grid_colours(const colour_profile &profile, const colour_space &space, int steps)
    {
        const transform to_lab = engine_.to_lab(profile, intent_of(intent_), false);
        const auto channels = static_cast<std::size_t>(space.channels);
        const std::size_t points = grid_size(steps, space.channels);
        std::vector<lab_colour> colours(points);
        std::vector<std::uint16_t> device(channels);
        for (std::size_t p = 0; p < points; ++p) {
            std::size_t rest = p;
            for (std::uint16_t &value : device) {
                const std::size_t step = rest % static_cast<std::size_t>(steps);
                value = static_cast<std::uint16_t>(std::lround(65535.0 * static_cast<double>(step) / (steps - 1)));
                rest /= static_cast<std::size_t>(steps);
            }
            if (ink_limit_ && has_inks(space))
                limit_ink(device.data(), space.channels, *ink_limit_);
            to_lab.run(device.data(), colours[p].data(), 1);
        }
        if (!std::all_of(colours.begin(), colours.end(), [](const lab_colour &colour) {
                return std::isfinite(colour[0]) && std::isfinite(colour[1]) && std::isfinite(colour[2]);
            }))
            throw failure(profile.shown(), "damaged: it gives colours that are no finite numbers");
        return colours;
    }

    // ---- Answers ----------------------------------------------------------------------------------------------------

    void tell(job &work, const gamut_source &source, const gamut_body &body) const
    {
        const auto darker = [](const lab_colour &a, const lab_colour &b) { return a[0] < b[0]; };
        const auto white = std::max_element(source.colours.begin(), source.colours.end(), darker);
        const auto black = std::min_element(source.colours.begin(), source.colours.end(), darker);
        work.result["source"] = source.path;
        work.result["kind"] = source.is_chart ? "chart" : "profile";
        work.result["colours"] = source.colours.size();
        work.result["intent"] = source.is_chart ? json(nullptr) : json(intent_);
        work.result["volume"] = body.volume();
        work.result["area"] = body.area();
        work.result["vertices"] = body.vertices().size();
        work.result["triangles"] = body.faces().size();
        work.result["white"] = colour_json(*white);
        work.result["black"] = colour_json(*black);
        work.line("colours " + std::to_string(source.colours.size()));
        work.line("volume " + fixed_text(body.volume(), 2));
        work.line("area " + fixed_text(body.area(), 2));
        work.line("vertices " + std::to_string(body.vertices().size()));
        work.line("triangles " + std::to_string(body.faces().size()));
        work.line("white " + short_text(*white));
        work.line("black " + short_text(*black));
    }

    void answer(job &work, const gamut_body &body)
    {
        const auto colours_of = [](const std::vector<std::vector<double>> &given) {
            std::vector<lab_colour> colours;
            for (const std::vector<double> &colour : given)
                colours.push_back({colour[0], colour[1], colour[2]});
            return colours;
        };
        std::vector<lab_colour> inside = colours_of(inside_);
        std::vector<lab_colour> nearest = colours_of(nearest_);
        if (!colours_.empty()) {
            const std::vector<lab_colour> more = read_colours(work, colours_);
            inside.insert(inside.end(), more.begin(), more.end());
            nearest.insert(nearest.end(), more.begin(), more.end());
        }
        for (const lab_colour &colour : inside) {
            json member = json::object();
            member["lab"] = colour_json(colour);
            member["inside"] = body.inside(colour);
            work.result["inside"].push_back(std::move(member));
            work.line("inside " + colour_text(colour) + " " + (body.inside(colour) ? "1" : "0"));
        }
        for (const lab_colour &colour : nearest) {
            const lab_colour found = body.nearest(colour);
            const double distance = std::sqrt((found[0] - colour[0]) * (found[0] - colour[0]) +
                                              (found[1] - colour[1]) * (found[1] - colour[1]) +
                                              (found[2] - colour[2]) * (found[2] - colour[2]));
            const double difference = delta_e_2000(colour, found);
            json member = json::object();
            member["lab"] = colour_json(colour);
            member["nearest"] = colour_json(found);
            member["distance"] = distance;
            member["dE2000"] = difference;
            work.result["nearest"].push_back(std::move(member));
            work.line("nearest " + colour_text(colour) + " is " + short_text(found) + " distance " +
                      fixed_text(distance, 3) + " dE2000 " + fixed_text(difference, 3));
        }
    }

    static void compare(job &work, const gamut_body &first, const gamut_body &second)
    {
        const double shared = shared_volume(first, second);
        const double both = first.volume() + second.volume() - shared;
        const double coverage = shared / second.volume();
        json member = json::object();
        member["volume"] = second.volume();
        member["intersection"] = shared;
        member["union"] = both;
        member["coverage"] = coverage;
        work.result["compare"] = std::move(member);
        work.line("compare " + fixed_text(second.volume(), 2));
        work.line("intersection " + fixed_text(shared, 2));
        work.line("union " + fixed_text(both, 2));
        work.line("coverage " + fixed_text(coverage, 4));
    }

    // The body in triangles, coloured by where they face.
    static std::string drawn(const gamut_body &body)
    {
        scene shown = {body.vertices(), body.faces(), {}, false};
        for (const auto &face : body.faces())
            shown.colours.push_back(body.facing(face));
        return vrml_text(shown);
    }

    std::string source_;
    std::optional<int> grid_;
    std::string intent_ = "relative";
    std::optional<double> ink_limit_;
    std::string tables_;
    std::vector<std::vector<double>> inside_;
    std::vector<std::vector<double>> nearest_;
    std::string colours_;
    std::string second_;
    std::string vrml_;
    std::string slices_;
    std::string out_;
    colour_engine engine_;
};

}  // namespace

extern const command gamut_command;
const command gamut_command = {
    "gamut",
    "size of a gamut, colours inside it, and what two gamuts share",
    "The gamut is the convex hull of the Lab colours of a grid of device values of a profile, or of the colours of a "
    "measured chart; what lies in hollows of the true body counts as inside. The volume is that of the hull in cubic "
    "Lab units. With --compare the two hulls are cut exactly; coverage is the shared volume by that of SOURCE2.",
    {{"teska gamut press.icc --nearest=50,-80,20", "the volume, and the colour nearest to a green that is too strong"},
     {"teska gamut press.txt --compare srgb", "how much of sRGB a measured press can show"}},
    make_action<gamut>};

}  // namespace tool
