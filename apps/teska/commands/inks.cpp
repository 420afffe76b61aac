// inks - the umbrella of a device: which pairs of inks make its light side, its rim, pictures

#include "frame/command.h"
#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/text.h"
#include "ink_device.h"
#include "plot.h"
#include "profiles.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

namespace tool
{

namespace
{

constexpr int sampled_hues = 181;
constexpr int rim_points = 360;

// Two inks that vary, and those with their full amount.
struct umbrella_part {
    std::vector<int> varying;
    std::vector<int> full;
};

struct umbrella_triangle {
    std::array<lab_colour, 3> corners;
    int part;
};

class umbrella
{
public:
    umbrella(std::string path, ink_device &device, int levels, int vertical) : path_(std::move(path)), device_(device)
    {
        std::vector<double> steps;
        for (int i = 0; i < levels; ++i)
            steps.push_back(1 - static_cast<double>(i) / (levels - 1));
        std::vector<const double *> of_each(device.inks().size(), steps.data());
        const std::vector<int> counts(device.inks().size(), levels);
        surface_ = std::make_unique<TTriangularTopSurface>(device.count(), of_each.data(), counts.data(), this,
                                                           vertical, answer, sampled_hues, sampled_hues);
        require_all_patches();
        if (surface_->ErrNo() != 0)
            throw_report(path_);
        report_ = take_report();
        take_parts();
        if (parts_.empty())
            throw failure(path_, "its colours have no light side");
        take_triangles();
        take_rim();
    }

    // The library holds its address.
    umbrella(const umbrella &) = delete;
    umbrella &operator=(const umbrella &) = delete;
    ~umbrella() = default;

    // What the library said of pairs that it left out; empty when there are none.
    [[nodiscard]] const std::string &report() const { return report_; }

    [[nodiscard]] const std::vector<umbrella_part> &parts() const { return parts_; }
    [[nodiscard]] const std::vector<umbrella_triangle> &triangles() const { return triangles_; }

    // Once around; the last point is the first where the inks reach all hues.
    [[nodiscard]] const std::vector<lab_colour> &rim() const { return rim_; }

private:
    static int answer(void *self, const double *values, double *colour)
    {
        auto *const made = static_cast<umbrella *>(self);
        lab_colour lab{};
        if (!made->device_.colour(values, lab)) {
            made->missing_.assign(values, values + made->device_.count());
            return -1;
        }
        std::copy(lab.begin(), lab.end(), colour);
        return std::all_of(lab.begin(), lab.end(), [](double value) { return std::isfinite(value); }) ? 0 : -1;
    }

    // That a chart lacks none.
    void require_all_patches() const
    {
        if (missing_.empty())
            return;
        std::string inks;
        for (std::size_t c = 0; c < missing_.size(); ++c)
            if (missing_[c] < 0.5)
                inks += (inks.empty() ? "" : " + ") + device_.inks()[c];
        throw failure(path_, "has no patch of " + (inks.empty() ? "no ink at all" : inks + " in full"),
                      "solids and overprints are needed");
    }

    void take_parts()
    {
        std::vector<double> values(device_.inks().size());
        for (int part = 0; part < surface_->GetNrDifferentPrimCombs(); ++part) {
            surface_->GetPrimComb(part, values.data());
            parts_.emplace_back();
            for (std::size_t c = 0; c < values.size(); ++c) {
                if (values[c] < 0)
                    parts_.back().varying.push_back(static_cast<int>(c));
                else if (values[c] < 0.5)
                    parts_.back().full.push_back(static_cast<int>(c));
            }
        }
    }

    void take_triangles()
    {
        double corners[3][3];
        double coords[3][3];
        int part = -1;
        for (int more = surface_->ScanTriangles(1, corners, coords); more >= 0;
             more = surface_->ScanTriangles(0, corners, coords)) {
            part += part < 0 || more == 1 ? 1 : 0;
            triangles_.push_back({{}, part});
            for (std::size_t i = 0; i < 3; ++i)
                std::copy(corners[i], corners[i] + 3, triangles_.back().corners[i].begin());
        }
    }

    void take_rim()
    {
        for (int i = 0; i <= rim_points; ++i) {
            const double norm[3] = {1, static_cast<double>(i) / rim_points, 1};
            lab_colour colour{};
            double penalty = 0;
            if (surface_->DetermineXYZMinGam(norm, colour.data(), &penalty, 1) != 0)
                throw_report(path_);
            rim_.push_back(colour);
        }
    }

    std::string path_;
    ink_device &device_;
    std::string report_;
    std::vector<double> missing_;  // device values that a chart has not
    std::unique_ptr<TTriangularTopSurface> surface_;
    std::vector<umbrella_part> parts_;
    std::vector<umbrella_triangle> triangles_;
    std::vector<lab_colour> rim_;
};

// ---- Pictures -------------------------------------------------------------------------------------------------------

class colours_of_screen
{
public:
    colours_of_screen(job &work, colour_engine &engine)
        : to_srgb_(engine.from_lab(engine.open(work, "srgb"), INTENT_RELATIVE_COLORIMETRIC, false))
    {
    }

    [[nodiscard]] plot::pixel operator()(const lab_colour &lab) const
    {
        std::uint16_t rgb[3];
        to_srgb_.run(lab.data(), rgb, 1);
        plot::pixel shown{};
        for (std::size_t c = 0; c < 3; ++c)
            shown[c] = static_cast<std::uint8_t>((rgb[c] + 128) / 257);
        return shown;
    }

private:
    transform to_srgb_;
};

// The umbrella as one sees it who looks along the vertical axis: the other two are -128 .. 128.
class view
{
public:
    view(const umbrella &shown, const colours_of_screen &screen, int vertical)
        : screen_(screen), vertical_(static_cast<std::size_t>(vertical)), across_(vertical_ == 0 ? 1 : 0),
          along_(vertical_ == 2 ? 1 : 2), picture_(side, side), parts_(std::size_t{side} * side, -1),
          heights_(parts_.size(), 0)
    {
        for (const umbrella_triangle &triangle : shown.triangles())
            fill(triangle);
        draw_bounds();
        picture_.draw_axes(0, 0, scale);
        for (std::size_t i = 1; i < shown.rim().size(); ++i)
            draw_line(shown.rim()[i - 1], shown.rim()[i]);
    }

    [[nodiscard]] const plot &picture() const { return picture_; }

private:
    static constexpr int scale = 3;  // pixels in a unit
    static constexpr int side = 256 * scale;

    struct spot {
        double x, y;
    };

    [[nodiscard]] spot spot_of(const lab_colour &colour) const
    {
        return {side / 2 + colour[across_] * scale, side / 2 - colour[along_] * scale};
    }

    static double cross(const spot &a, const spot &b, const spot &c)
    {
        return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    }

    static std::size_t index(int x, int y) { return static_cast<std::size_t>(y) * side + static_cast<std::size_t>(x); }

    // Pixels from the least to the largest of three, as far as they are in the picture.
    static std::array<int, 2> span(double a, double b, double c)
    {
        const auto [least, largest] = std::minmax({a, b, c});
        return {static_cast<int>(std::clamp(least, 0.0, side - 1.0)),
                static_cast<int>(std::clamp(largest, 0.0, side - 1.0))};
    }

    void fill(const umbrella_triangle &triangle)
    {
        const spot a = spot_of(triangle.corners[0]);
        const spot b = spot_of(triangle.corners[1]);
        const spot c = spot_of(triangle.corners[2]);
        const double area = cross(a, b, c);
        if (!(std::abs(area) > 1e-9))
            return;
        const auto [left, right] = span(a.x, b.x, c.x);
        const auto [top, bottom] = span(a.y, b.y, c.y);
        for (int y = top; y <= bottom; ++y)
            for (int x = left; x <= right; ++x) {
                const spot here = {x + 0.5, y + 0.5};
                const double weights[3] = {cross(b, c, here) / area, cross(c, a, here) / area,
                                           cross(a, b, here) / area};
                if (weights[0] >= 0 && weights[1] >= 0 && weights[2] >= 0)
                    put(x, y, triangle, weights);
            }
    }

    // Of parts one above the other the upper one is seen.
    void put(int x, int y, const umbrella_triangle &triangle, const double *weights)
    {
        lab_colour colour{};
        for (std::size_t corner = 0; corner < 3; ++corner)
            for (std::size_t i = 0; i < 3; ++i)
                colour[i] += weights[corner] * triangle.corners[corner][i];
        const std::size_t at = index(x, y);
        if (parts_[at] >= 0 && heights_[at] >= colour[vertical_])
            return;
        parts_[at] = triangle.part;
        heights_[at] = colour[vertical_];
        picture_.at(x, y) = screen_(colour);
    }

    void draw_bounds()
    {
        for (int y = 0; y + 1 < side; ++y)
            for (int x = 0; x + 1 < side; ++x)
                if (parts_[index(x, y)] != parts_[index(x + 1, y)] || parts_[index(x, y)] != parts_[index(x, y + 1)])
                    picture_.at(x, y) = {64, 64, 64};
    }

    void draw_line(const lab_colour &from, const lab_colour &to)
    {
        const spot a = spot_of(from);
        const spot b = spot_of(to);
        const double steps = std::ceil(std::max({std::abs(b.x - a.x), std::abs(b.y - a.y), 1.0}));
        for (double i = 0; i <= std::min(steps, 4.0 * side); ++i) {
            const double x = a.x + (b.x - a.x) * i / steps;
            const double y = a.y + (b.y - a.y) * i / steps;
            if (x >= 0 && y >= 0 && x < side - 1 && y < side - 1)
                for (int dot = 0; dot < 4; ++dot)
                    picture_.at(static_cast<int>(x) + dot % 2, static_cast<int>(y) + dot / 2) = {0, 0, 0};
        }
    }

    const colours_of_screen &screen_;
    std::size_t vertical_;
    std::size_t across_;
    std::size_t along_;
    plot picture_;
    std::vector<int> parts_;       // which part a pixel shows, -1 none
    std::vector<double> heights_;  // and how high it is
};

scene scene_of(const umbrella &shown, const colours_of_screen &screen)
{
    scene made = {{}, {}, {}, true};
    for (const umbrella_triangle &triangle : shown.triangles()) {
        const int first = static_cast<int>(made.corners.size());
        made.triangles.push_back({first, first + 1, first + 2});
        for (const lab_colour &corner : triangle.corners) {
            const plot::pixel rgb = screen(corner);
            made.corners.push_back(corner);
            made.colours.push_back({rgb[0] / 255.0, rgb[1] / 255.0, rgb[2] / 255.0});
        }
    }
    return made;
}

class inks : public action
{
public:
    void describe(options &take) override
    {
        take.file("SOURCE", "an ICC profile, srgb, linear, or a chart of the CGATS form", source_);
        take.integer("--levels", "N", 2, 33,
                     "steps of each ink of a profile; of a chart solids and overprints alone count", levels_);
        take.choice("--vert", "V", {"L", "a", "b"}, "the axis around which the umbrella opens", vertical_);
        take.path("--picture", "F", "writes a PNG of the umbrella seen along the axis", picture_);
        take.path("--vrml", "F", "writes the umbrella as a scene of VRML 2.0", vrml_);
    }

    void run(job &work) override
    {
        std::unique_ptr<const input_file> file;
        std::vector<const input_file *> files;
        if (!is_built_in(source_)) {
            file = std::make_unique<const input_file>(source_);
            files.push_back(file.get());
        }
        const std::unique_ptr<output_file> picture = output(work, picture_, files);
        const std::unique_ptr<output_file> vrml = output(work, vrml_, files);
        const std::unique_ptr<ink_device> device = ink_device::open(work, engine_, source_, file.get());
        const int vertical = vertical_ == "L" ? 0 : vertical_ == "a" ? 1 : 2;
        const umbrella shown(source_, *device, device->is_chart() ? 2 : levels_, vertical);
        // Around a or b half of the colours lie on the other side.
        if (!shown.report().empty() && vertical == 0)
            throw failure(source_, shown.report());
        if (!shown.report().empty())
            work.note(source_, "pairs of inks on the other side of the axis are left out");
        tell(work, *device, shown);
        const colours_of_screen screen(work, engine_);
        if (picture) {
            view(shown, screen, vertical).picture().write_png(work, *picture);
            picture->publish();
        }
        if (vrml) {
            vrml->write(vrml_text(scene_of(shown, screen)));
            vrml->publish();
        }
    }

private:
    static std::unique_ptr<output_file> output(const job &work, const std::string &path,
                                               const std::vector<const input_file *> &inputs)
    {
        return path.empty() ? nullptr : std::make_unique<output_file>(work, path, inputs);
    }

    static std::string names(const ink_device &device, const std::vector<int> &wanted)
    {
        std::string text;
        for (const int ink : wanted)
            text += (text.empty() ? "" : " + ") + printable(device.inks()[static_cast<std::size_t>(ink)]);
        return text;
    }

    static json numbers(const std::vector<int> &wanted)
    {
        json list = json::array();
        for (const int ink : wanted)
            list.push_back(ink);
        return list;
    }

    static void tell(job &work, const ink_device &device, const umbrella &shown)
    {
        json list = json::array();
        for (const std::string &name : device.inks()) {
            list.push_back(name);
            work.line("ink " + printable(name));
        }
        work.result["inks"] = std::move(list);
        json parts = json::array();
        for (const umbrella_part &part : shown.parts()) {
            json member = json::object();
            member["inks"] = numbers(part.varying);
            member["full"] = numbers(part.full);
            parts.push_back(std::move(member));
            work.line("part " + names(device, part.varying) +
                      (part.full.empty() ? "" : ", full " + names(device, part.full)));
        }
        work.result["parts"] = std::move(parts);
        json edge = json::array();
        for (const lab_colour &colour : shown.rim()) {
            edge.push_back(json::array({colour[0], colour[1], colour[2]}));
            const auto digits = [](double value) { return fixed_text(std::abs(value) < 0.005 ? 0 : value, 2); };
            work.line("edge " + digits(colour[0]) + " " + digits(colour[1]) + " " + digits(colour[2]));
        }
        work.result["edge"] = std::move(edge);
    }

    std::string source_;
    int levels_ = 9;
    std::string vertical_ = "L";
    std::string picture_;
    std::string vrml_;
    colour_engine engine_;
};

}  // namespace

extern const command inks_command;
const command inks_command = {
    "inks",
    "the umbrella of a device: which pairs of inks make its lightest colours",
    "The umbrella is the light side of what a device can show, seen from black: parts over which two inks vary while "
    "the others are left out or have their full amount. White is near its top; its rim is where the strongest colours "
    "are, told as Lab points once around. SOURCE has 3 to 8 inks; a chart needs their solids and overprints. Of red, "
    "green and blue, none of an ink is the light in full.",
    {{"teska inks press.icc --picture umbrella.png", "the parts and the rim of a press, and their picture"},
     {"teska inks press.txt --json", "the same of a measured chart, for another program"}},
    make_action<inks>};

}  // namespace tool
