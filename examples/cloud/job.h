// job - a press known by its chart alone: what it reaches, what to send, tables backwards
//
//     chart file, or profile --> patches of inks and colours --(clg)--> colours that print, the nearest, their inks
//     colours --(clg_fill_tetrad)--> a table from colours to inks --> the black plate of a photograph, by three rules
//
// Colours are CIELAB relative to the paper, inks per cent.

#ifndef EXAMPLES_CLOUD_JOB_H
#define EXAMPLES_CLOUD_JOB_H

#include "support/cie.h"
#include "support/colour_engine.h"
#include "support/foreign.h"
#include "support/picture.h"

#include "clg.h"
#include "convex_hull.h"
#include "separation/difference.h"

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace examples
{

using ink_set = std::array<double, 4>;

struct patch {
    ink_set inks;
    colour lab;
};

struct chart {
    std::string name;
    int free_inks;  // of the first so many every mixture is there
    std::vector<patch> patches;
};

// ---- Charts ---------------------------------------------------------------------------------------------------------

// A text file of measured patches: columns CMYK_C .. CMYK_K and XYZ_X .. XYZ_Z between BEGIN_DATA and END_DATA. Throws
// failure when it is none, or has no patch of bare paper.
chart read_chart(const std::filesystem::path &file);

// The patches of a chart, or all mixtures of so many steps of three or four inks, as the profile prints them. noise:
// mean distance that is added to each colour.
chart printed(chart asked, const transform &print, double noise);
chart even_chart(int free_inks, int steps);

// ---- The model ------------------------------------------------------------------------------------------------------

struct way_to_print {
    ink_set inks;
    colour printed;
    double distance;  // 0 for a colour that prints
};

// A table from colours to inks: 17 points a side, from 0 to 1 along L 0 .. 100, a and b -128 .. 127.
using backward_table = foreign<md_tetrad, md_tetrad_kill>;
constexpr int backward_points = 17;
constexpr colour backward_scale = {100, 255, 255}, backward_offset = {0, -128, -128};
backward_table new_backward_table();  // throws failure with the library's own line when there is no memory
ink_set inks_from(md_tetrad *table, const colour &lab);

class cloud
{
public:
    // Throws failure with the library's own line when the patches span nothing.
    explicit cloud(const chart &measured);

    // place: 0 the least black that reaches a colour, 1 the most.
    void rule(double place);
    [[nodiscard]] bool holds(const colour &lab) const { return clg_inside(cells_.get(), lab.data()) == 1; }
    [[nodiscard]] bool hull_holds(const colour &lab) const { return convex_hull_inside(hull_.get(), lab.data()) != 0; }
    [[nodiscard]] way_to_print way_to(const colour &lab) const;

    // The black that a photograph gets from a table of 17 points a side, dark where there is much.
    [[nodiscard]] picture black_plate(const picture &photograph) const;

private:
    foreign<clg, clg_kill> cells_;
    foreign<convex_hull, convex_hull_kill> hull_;
};

// A plane of constant lightness or, with a hue in degrees, through the lightness axis: what prints in its colour; what
// only the convex hull holds hatched; the rest grey.
picture hollow_at_lightness(const cloud &press, double lightness, int size);
picture hollow_at_hue(const cloud &press, double hue, int size);

// The part of the convex hull that does not print, 0 .. 1, from colours spread evenly over it.
double hollow_part(const cloud &press);

// ---- There and back -------------------------------------------------------------------------------------------------

struct round_trips {
    std::string name;
    int patches;
    difference exact, noisy;  // colour difference CIEDE2000 between colours asked for and printed
};

// Colours that print are sought in models of the charts, their patches printed by the profile, and in the profile's own
// direction from colours to inks as a table of 17 points a side; what is found is printed by the profile.
std::vector<round_trips> compare_round_trips(const std::vector<chart> &charts, const profile &press,
                                             colour_engine &engine);

}  // namespace examples

#endif
