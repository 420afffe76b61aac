// job - the colours a press can print, as a solid in CIELAB
//
//     ink steps --(press profile)--> colours --(tetra_volume_new)--> faces          --> shaded pictures, a scene
//                                    colours --(TConvexHull)--> inside or outside   --> slices through TPlane
//     vivid screen colours --(tetra_volume_nearest)--> the nearest colours of the solid

#ifndef EXAMPLES_GAMUT_JOB_H
#define EXAMPLES_GAMUT_JOB_H

#include "support/cie.h"
#include "support/colour_engine.h"
#include "support/foreign.h"
#include "support/picture.h"

#include "tconvexhull.h"
#include "tetra.h"

#include <array>
#include <filesystem>
#include <vector>

namespace examples
{

struct face {
    std::array<colour, 3> corners;  // counterclockwise seen from outside
};

// The convex solid around what a press prints.
class gamut
{
public:
    // All combinations of ink steps, through the profile. Throws failure when they enclose nothing.
    gamut(const profile &press, colour_engine &engine);

    [[nodiscard]] const std::vector<colour> &colours() const { return colours_; }
    [[nodiscard]] const std::vector<face> &faces() const { return faces_; }
    [[nodiscard]] bool holds(const colour &lab) const { return hull_.InsideHull(lab[0], lab[1], lab[2]) != 0; }

    // The nearest point of the surface.
    [[nodiscard]] colour nearest(const colour &lab) const;

    // The faces as a VRML scene and the corners as another.
    void write_scenes(const std::filesystem::path &faces, const std::filesystem::path &points) const;

    // What the hull prints of itself: PostScript, seen along the lightness.
    void write_postscript(const std::filesystem::path &file) const;

private:
    std::vector<colour> colours_;
    foreign<tetra_volume, tetra_volume_kill> volume_;
    std::vector<face> faces_;
    TConvexHull hull_;
};

// Where a colour stands in the picture of the solid that `shaded` makes: from the left and from the top.
std::array<double, 2> place_in_view(const colour &lab, double round, double above, int size);

// Seen from a direction, degrees round the lightness axis and above the plane of a and b, lit from the upper left.
picture shaded(const gamut &solid, double round, double above, int size);

// One page with the faces that turns them under the mouse; no network.
void write_turning_page(const gamut &solid, const std::filesystem::path &file);

// A plane of constant lightness or, with a hue in degrees, through the lightness axis: what prints in its colour, what
// does not in grey, the library's grid lines over it.
picture slice_of_lightness(const gamut &solid, double lightness, int size);
picture slice_of_hue(const gamut &solid, double hue, int size);

struct shortcut {
    colour wanted;
    colour printed;
    double distance;
};

struct missed_colours {
    double bound;
    long colours;      // asked for, evenly over the inside of the solid
    long missed;       // of these, printed farther away than the bound in CIELAB
    long missed_2000;  // likewise, by the difference CIEDE2000
};

// Colours of the solid through the profile to inks and back, both colorimetric.
missed_colours round_trip(const gamut &solid, const profile &press, colour_engine &engine, double bound);

// The most vivid colours of the screen, once round, that do not print.
std::vector<shortcut> shortcuts(const gamut &solid);

}  // namespace examples

#endif
