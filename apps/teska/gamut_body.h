// gamut_body - the body of colours that a device can show: the convex hull of what was measured or computed
//
//     const gamut_body body(path, colours);
//     body.volume();                                    cubic Lab units
//     body.inside({50, 0, 0});

#ifndef TESKA_TOOL_GAMUT_BODY_H
#define TESKA_TOOL_GAMUT_BODY_H

#include "convex_hull.h"
#include "delta_e.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tool
{

class gamut_body
{
public:
    // Throws a failure about the file when the colours span no volume.
    gamut_body(const std::string &file, const std::vector<lab_colour> &colours);

    [[nodiscard]] const std::vector<lab_colour> &vertices() const { return vertices_; }
    [[nodiscard]] const std::vector<std::array<int, 3>> &faces() const { return faces_; }  // counterclockwise
    [[nodiscard]] double volume() const { return convex_hull_get_volume(hull_.get()); }
    [[nodiscard]] double area() const { return convex_hull_get_area(hull_.get()); }

    // Where a face looks: its normal of length 1, each part as 0 .. 1 in place of -1 .. 1.
    [[nodiscard]] lab_colour facing(const std::array<int, 3> &face) const;

    // Also for what lies outside by at most 1e-6.
    [[nodiscard]] bool inside(const lab_colour &colour) const;

    // The nearest colour of the body: the colour itself when it is inside.
    [[nodiscard]] lab_colour nearest(const lab_colour &colour) const;

    // From which a to which the body reaches at this L and b; empty where it does not.
    [[nodiscard]] std::optional<std::array<double, 2>> reach(double lightness, double b) const;

private:
    struct kills {
        void operator()(convex_hull *hull) const { convex_hull_kill(hull); }
    };

    std::unique_ptr<convex_hull, kills> hull_;
    std::vector<lab_colour> vertices_;
    std::vector<std::array<int, 3>> faces_;
};

// The volume that two bodies share: one is cut by the planes of the faces of the other.
double shared_volume(const gamut_body &first, const gamut_body &second);

}  // namespace tool

#endif
