// gamut - the solid of printable colours, and what lies outside it

#include "support/failure.h"

#include "gamut/job.h"
#include "volume_export.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <numbers>

// The hull shows its debug output to this class alone.
struct TConvexHullTest {
    static void print(const TConvexHull &hull) { hull.Print(); }
};

namespace examples
{

namespace
{

constexpr int ink_steps = 8;  // of each ink
constexpr int first_size = 1000;
constexpr int screen_hues = 36;

using volume = foreign<tetra_volume, tetra_volume_kill>;

std::vector<colour> printed_colours(const profile &press, colour_engine &engine)
{
    const transform print = engine.connect(
        {press, TYPE_CMYK_DBL, engine.lab(), TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC}, evaluation::direct);
    std::vector<colour> colours;
    for (int i = 0; i < ink_steps * ink_steps * ink_steps * ink_steps; ++i) {
        std::array<double, 4> inks;
        int rest = i;
        for (double &ink : inks) {
            ink = 100.0 * (rest % ink_steps) / (ink_steps - 1);
            rest /= ink_steps;
        }
        cmsCIELab lab;
        print.run(inks.data(), &lab, 1);
        colours.push_back({lab.L, lab.a, lab.b});
    }
    return colours;
}

tetra_point point_of(const colour &lab, double number) { return {lab[0], lab[1], lab[2], number}; }
colour colour_of(const tetra_point &p) { return {p.x, p.y, p.z}; }

// ---- The solid ------------------------------------------------------------------------------------------------------

volume volume_of(const std::vector<colour> &colours)
{
    const foreign<list_rec, list_kill> points(list_new(first_size, sizeof(tetra_point), nullptr));
    if (!points)
        throw failure("no memory for the colours of the press");
    double number = 0;
    for (const colour &lab : colours) {
        const tetra_point p = point_of(lab, number++);
        list_insert(points.get(), &p);
    }
    volume made(tetra_volume_new(points.get()));
    if (!made || made->nr_planes == 0)
        throw failure("the colours of the press enclose nothing");
    return made;
}

}  // namespace

gamut::gamut(const profile &press, colour_engine &engine)
    : colours_(printed_colours(press, engine)), volume_(volume_of(colours_))
{
    for (int i = 0; i < volume_->nr_planes; ++i) {
        const tetra_plane *plane = *static_cast<tetra_plane **>(list_get_element(volume_->planes, i));
        faces_.push_back({{colour_of(plane->p[0]), colour_of(plane->p[1]), colour_of(plane->p[2])}});
    }
    for (const colour &lab : colours_)
        hull_.AddPoint(lab[0], lab[1], lab[2]);
    if (hull_.Construct() != 0)
        throw failure("the colours of the press have no hull");
}

colour gamut::nearest(const colour &lab) const
{
    colour found{};
    if (tetra_volume_nearest(volume_.get(), lab.data(), found.data(), nullptr, nullptr, nullptr) != 0)
        throw failure("no colour of the press is near");
    return found;
}

// ---- Scenes and drawings --------------------------------------------------------------------------------------------

void gamut::write_scenes(const std::filesystem::path &faces, const std::filesystem::path &points) const
{
    if (writeVRML(volume_.get(), faces.string().c_str(), points.string().c_str()) != 0)
        throw failure("cannot write " + faces.string());
}

// The hull prints to standard output, and shows the first two coordinates.
void gamut::write_postscript(const std::filesystem::path &file) const
{
    TConvexHull seen_from_above;
    for (const colour &lab : colours_)
        seen_from_above.AddPoint(lab[1], lab[2], lab[0]);
    std::fflush(stdout);
    const int terminal = dup(STDOUT_FILENO);
    if (seen_from_above.Construct() != 0 || terminal < 0 || std::freopen(file.string().c_str(), "w", stdout) == nullptr)
        throw failure("cannot write " + file.string());
    TConvexHullTest::print(seen_from_above);
    std::fflush(stdout);
    dup2(terminal, STDOUT_FILENO);
    close(terminal);
}

// ---- The way home ---------------------------------------------------------------------------------------------------

std::vector<shortcut> shortcuts(const gamut &solid)
{
    std::vector<shortcut> ways;
    for (int i = 0; i < screen_hues; ++i) {
        // Round the edge of the screen's colours: one channel full, one empty, one between.
        const double sixth = 6.0 * i / screen_hues;
        const auto channel = [sixth](double shift) {
            const double at = std::fmod(sixth + shift, 6.0);
            return std::clamp(std::abs(at - 3.0) - 1.0, 0.0, 1.0);
        };
        const colour lab = lab_of_screen({channel(0), channel(4), channel(2)});
        if (solid.holds(lab))
            continue;
        const colour found = solid.nearest(lab);
        ways.push_back({lab, found, std::hypot(lab[0] - found[0], lab[1] - found[1], lab[2] - found[2])});
    }
    return ways;
}

}  // namespace examples
