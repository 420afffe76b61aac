// curves_section - tone curves, fits through measured tones, the dither cell, two ways down a valley

#include "support/png_file.h"

#include "curves/job.h"
#include "gallery/html.h"
#include "gallery/plot.h"
#include "gallery/sections.h"
#include "topsurface/job.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace examples
{

namespace
{

constexpr std::array<const char *, 4> ink_ids = {"cyan", "magenta", "yellow", "black"};
constexpr std::array<const char *, 4> ink_names = {"Cyan", "Magenta", "Yellow", "Black"};

std::string card(const std::string &drawing, const std::string &caption, const section_folder &folder)
{
    return folder.framed("<div class=\"card\">" + drawing + "</div>", caption);
}

std::string point_text(const xy &at, int digits)
{
    return expanded("({x}, {y})", {{"x", decimals(at.x, digits)}, {"y", decimals(at.y, digits)}});
}

// ---- The tone curve -------------------------------------------------------------------------------------------------

// Shadows open, highlights stay: a photograph that came out too dark.
const std::vector<xy> lightening = {{0, 0}, {24, 40}, {56, 92}, {96, 142}, {144, 188}, {200, 226}, {255, 255}};

std::string tone_plot(const tone_results &r, const section_folder &folder)
{
    plot drawing({0, 255}, {0, 255}, 380, 380);
    drawing.grid(51, 51);
    drawing.line({{0, 0}, {255, 255}}, "faint");
    drawing.line(r.inverse, "curve second");
    drawing.line(r.curve, "curve first");
    for (const xy &p : r.points) {
        drawing.dot({p.y, p.x}, 3.5, "dot second");
        drawing.dot(p, 5, "dot first", point_text(p, 1));
    }
    drawing.label({96, 142}, -14, -14, "curve", "note end");
    drawing.label({142, 96}, 14, 20, "inverse");
    return card(
        drawing.svg("A tone curve above the diagonal and its inverse below it"),
        expanded(R"(<b>The curve and its inverse.</b> {count} points out of the table file, straight lines between
them. Through both, one behind the other, every level comes back to itself, to a billionth.)",
                 {{"count", std::to_string(r.points.size())}}),
        folder);
}

// Heights are roots of the counts: photographs have many pixels of black alone.
std::vector<xy> outline(const levels &l)
{
    std::vector<xy> points = {{0, 0}};
    for (std::size_t v = 0; v < l.counts.size(); ++v)
        for (const double side : {0.0, 1.0})
            points.push_back({static_cast<double>(v) + side, std::sqrt(l.counts[v])});
    points.push_back({static_cast<double>(l.counts.size()), 0});
    return points;
}

std::string figures_of(const char *when, const levels &l)
{
    return expanded("{when}: mean {mean}, deviation {deviation}, median {median}",
                    {{"when", when},
                     {"mean", decimals(l.mean, 1)},
                     {"deviation", decimals(l.deviation, 1)},
                     {"median", std::to_string(l.median)}});
}

std::string histogram(const tone_results &r, const section_folder &folder)
{
    const double top = 1.1 * std::sqrt(std::max(*std::max_element(r.before.counts.begin(), r.before.counts.end()),
                                                *std::max_element(r.after.counts.begin(), r.after.counts.end())));
    plot drawing({0, 256}, {0, top}, 860, 220);
    drawing.grid(32, 2 * top);
    drawing.shape(outline(r.before), "area second");
    drawing.shape(outline(r.after), "area first");
    for (const auto &[l, kind] : {std::pair{&r.before, "median second"}, {&r.after, "median first"}}) {
        const double at = l->median + 0.5;
        drawing.line({{at, 0}, {at, top}}, kind);
        drawing.label({at, top}, 6, 14, std::to_string(l->median));
    }
    return card(
        drawing.svg("Histograms of the photograph before and after the curve"),
        expanded(
            R"(<b>The histogram</b> of brightness, with the medians; the heights are roots of the counts. <i class="second"></i>{before}.
<i class="first"></i>{after}. The gaps are levels that a steep curve skips.)",
            {{"before", figures_of("Before", r.before)}, {"after", figures_of("After", r.after)}}),
        folder);
}

std::string tone(const tone_results &r, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/curves/tone.cpp", "A tone curve");
    return expanded(R"(<h3>A tone curve</h3>
<div class="pair">
{plot}{toned}</div>
<div class="below">{histogram}</div>
)",
                    {{"plot", tone_plot(r, folder)},
                     {"toned", folder.figure("toned", r.toned, "The photograph, its shadows opened",
                                             "<b>The photograph through the curve.</b> <code>grad_tab_do</code>, the "
                                             "same for all three channels.")},
                     {"histogram", histogram(r, folder)}});
}

// ---- One colour alone -----------------------------------------------------------------------------------------------

std::string selective(const selective_results &r, const picture &photograph, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/curves/selective.cpp");
    return expanded(
        R"(<h3>One colour alone</h3>
<p>A lobe is a bell over an ellipsoid of colours, here around orange. What lies in it is moved, the middle most; what lies
outside stays as it is, bit for bit: {moved} % of the pixels are moved. The shift may be {limit} times as large before two
colours would become one.</p>
<div class="pair compare">
{before}{after}</div>
)",
        {{"moved", decimals(100.0 * static_cast<double>(r.moved) / static_cast<double>(photograph.pixels()), 0)},
         {"limit", decimals(r.limit, 1)},
         {"before", folder.figure("orange", photograph, "The photograph", "<b>The photograph.</b>")},
         {"after", folder.figure("redder", r.corrected, "The photograph with orange made redder",
                                 "<b>Orange made redder</b> by <code>vect_lobe_stretch</code>.")}});
}

// ---- An outline -----------------------------------------------------------------------------------------------------

std::string outline(const std::vector<xy> &points, const section_folder &folder)
{
    constexpr double bound = 0.5, corner = 25;
    const fitted_outline fit = fit_outline(points, bound, corner);
    plot drawing({-100, 100}, {-100, 110}, 400, 420);
    drawing.grid(25, 25);
    for (const std::vector<xy> &controls : fit.segments)
        drawing.line(controls, "polygon");
    drawing.line(fit.curve, "curve first");
    for (const std::vector<xy> &controls : fit.segments) {
        drawing.dot(controls.front(), 4, "dot first", point_text(controls.front(), 1));
        for (std::size_t i = 1; i + 1 < controls.size(); ++i)
            drawing.dot(controls[i], 3, "control", point_text(controls[i], 1));
    }
    return expanded(
        R"(<h3>An outline</h3>
<div class="pair">
{plot}<div><p>The edge of the umbrella of the press, seen along the lightness, comes as {points} points. <code>poly_bezier_fit</code>
finds its corners and lays {segments} cubics through them: no point is farther than {farthest} from the curve, {bound} were
allowed. The chain is {length} long and goes round an area of {area}.</p></div>
</div>
)",
        {{"plot", card(drawing.svg("A closed curve with its control points"),
                       "<b>The chain</b>: blue where segments meet, grey their control points. a to the right, "
                       "b upwards.",
                       folder.made_by("examples/curves/outline.cpp"))},
         {"points", std::to_string(points.size())},
         {"segments", std::to_string(fit.segments.size())},
         {"farthest", decimals(fit.farthest, 2)},
         {"bound", decimals(bound, 1)},
         {"length", decimals(fit.length, 0)},
         {"area", grouped(std::lround(fit.area))}});
}

std::vector<xy> edge_of_press(const profile &press, colour_engine &engine)
{
    std::vector<xy> points;
    for (const edge_point &p : umbrella(press_device(press, engine), 11).edge())
        points.push_back({p.a, p.b});
    return points;
}

// ---- Fits -----------------------------------------------------------------------------------------------------------

std::string fit_plot(const tone_fit &fit, std::size_t ink, const section_folder &folder)
{
    plot drawing({0, 100}, {0, 100}, 380, 260);
    drawing.grid(25, 25);
    drawing.line({{0, 0}, {100, 100}}, "faint");
    drawing.line({fit.controls.begin(), fit.controls.end()}, "polygon");
    drawing.line(fit.curve, std::string("curve ") + ink_ids[ink]);
    for (const xy &p : fit.points)
        drawing.dot(p, 3.2, std::string("dot ") + ink_ids[ink], decimals(p.x, 0) + " %: " + decimals(p.y, 1) + " %");
    for (const xy &p : fit.controls)
        drawing.dot(p, 4.5, "control", point_text(p, 1));
    return card(
        drawing.svg(std::string("Measured tones of ") + ink_names[ink] + " and the curve through them"),
        expanded(
            "<b>{name}</b>, {gain} % more at half ink; no point farther than {error} % from the curve.",
            {{"name", ink_names[ink]}, {"gain", decimals(fit.gain, 1)}, {"error", decimals(fit.largest_error, 2)}}),
        folder);
}

std::string fits_text(const std::array<tone_fit, 4> &fits, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/curves/fits.cpp", "Tones and their fits");
    std::string plots;
    for (std::size_t ink = 0; ink < fits.size(); ++ink)
        plots += fit_plot(fits[ink], ink, folder);
    return expanded(R"(<h3>One cubic for {count} measurements</h3>
<p>A dot on paper comes out larger than on the plate. Each ink of the press profile was printed alone in steps of 5 %; the
tone on paper is the light it holds back. <code>bezier_fit</code> lays one cubic Bezier segment through the steps: two
control points, the grey dots off the curve, say what {count} measurements said.</p>
<div class="pair">
{plots}</div>
)",
                    {{"count", std::to_string(fits[0].points.size())}, {"plots", plots}});
}

// ---- The dither cell ------------------------------------------------------------------------------------------------

std::string cell_drawing(const std::vector<std::array<int, 16>> &cells)
{
    constexpr int distance = 5;
    std::string squares;
    for (std::size_t level = 0; level < cells.size(); ++level)
        for (std::size_t i = 0; i < cells[level].size(); ++i)
            squares += expanded(R"(<rect class="{kind}" x="{x}" y="{y}" width="1" height="1"/>)",
                                {{"kind", cells[level][i] != 0 ? "lit" : "dark"},
                                 {"x", std::to_string(distance * level + i % 4)},
                                 {"y", std::to_string(i / 4)}});
    return expanded(R"(<svg class="plot cells" viewBox="0 0 {w} 4" role="img"
aria-label="The cell of 4 by 4 pixels at every level, from none set to all">{squares}</svg>
)",
                    {{"w", std::to_string(distance * cells.size() - 1)}, {"squares", squares}});
}

std::string dither(const dither_results &r, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/curves/tone.cpp", "The dither cell");
    return expanded(
        R"(<h3>Sixteen pixels, seventeen levels</h3>
{cells}<div class="pair">
{before}{after}</div>
)",
        {{"cells", card(cell_drawing(r.cells),
                        "<b>The dither cell</b> from level 0 to 16, as <code>rdither_val</code> sets it.", folder)},
         {"before", folder.pixels("continuous", r.before, "A part of the photograph",
                                  "<b>A part of the photograph</b>, 256 levels in each channel.", 3)},
         {"after", folder.pixels("dithered", r.after, "The same part made of 64 colours",
                                 "<b>The same with four levels</b> in each channel, 64 colours in all.", 3)}});
}

// ---- Down the valley ------------------------------------------------------------------------------------------------

// Where 100 (y - x^2)^2 + (1 - x)^2 has a value: a bent ellipse.
std::vector<xy> contour(double value)
{
    constexpr int corners = 360;
    std::vector<xy> points;
    for (int i = 0; i < corners; ++i) {
        const double angle = 2 * std::numbers::pi * i / corners;
        const double x = 1 + std::sqrt(value) * std::cos(angle);
        points.push_back({x, x * x + std::sqrt(value) * std::sin(angle) / 10});
    }
    return points;
}

std::string valley_plot(const descent &d, const char *name, const char *kind, const section_folder &folder)
{
    plot drawing({-1.6, 1.6}, {-0.6, 1.7}, 430, 310);
    for (double value = 1024; value > 0.01; value /= 3)
        drawing.shape(contour(value), "contour");
    drawing.grid(0.5, 0.5, 1);
    std::vector<xy> best;
    double least = d.asked.front().value + 1;
    for (std::size_t i = 0; i < d.asked.size(); ++i) {
        const question &q = d.asked[i];
        drawing.dot(q.at, 2, std::string("asked ") + kind,
                    expanded("value {number}: {at}, {value}", {{"number", std::to_string(i + 1)},
                                                               {"at", point_text(q.at, 3)},
                                                               {"value", decimals(q.value, 6)}}));
        if (q.value < least)
            best.push_back(q.at);
        least = std::min(least, q.value);
    }
    drawing.line(best, std::string("way ") + kind);
    drawing.dot({1, 1}, 5, "goal", "the minimum, (1, 1)");
    return card(
        drawing.svg(std::string(name) + " on its way down a bent valley"),
        expanded("<b>{name}</b>: {count} values asked for, the last best one 10<sup>{error}</sup> from the minimum.",
                 {{"name", name},
                  {"count", std::to_string(d.asked.size())},
                  {"error", decimals(std::log10(std::hypot(d.found.x - 1, d.found.y - 1)), 1)}}),
        folder);
}

std::string valley(const descent &simplex, const descent &directions, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/curves/fits.cpp", "The valley");
    return expanded(R"(<h3>Down Rosenbrock's valley</h3>
<p>Its floor is bent and nearly level: easy to find, hard to follow. Both searches start at (−1.2, 1) and know nothing but
the values they ask for. Every dot on the map is one; the line joins those that were better than all before.</p>
<div class="pair">
{simplex}{directions}</div>
)",
                    {{"simplex", valley_plot(simplex, "Downhill simplex", "first", folder)},
                     {"directions", valley_plot(directions, "Conjugate directions", "second", folder)}});
}

std::string summary(const std::array<tone_fit, 4> &fits, const descent &simplex, const descent &directions)
{
    double largest = 0;
    for (const tone_fit &fit : fits)
        largest = std::max(largest, fit.largest_error);
    return expanded("  tones of four inks within {largest} % of their fits\n"
                    "  Rosenbrock's valley: {simplex} values by simplex, {directions} by directions\n",
                    {{"largest", decimals(largest, 2)},
                     {"simplex", std::to_string(simplex.asked.size())},
                     {"directions", std::to_string(directions.asked.size())}});
}

constexpr const char *lead = R"(<p class="lead">Tables of one dimension, curves of two, and searches in as many as you
like: the small tools beside the colour tables.</p>
)";

}  // namespace

section curves_section(const gallery_inputs &inputs)
{
    colour_engine engine;
    const profile press = engine.open_press(inputs.profile);
    const picture photograph = read_png(inputs.photo);
    const section_folder folder(inputs.output, "curves");

    const tone_results toned = run_tone(photograph, lightening, inputs.output / "curves" / "tone.rec");
    const std::array<tone_fit, 4> fits = run_tone_fits(press, engine);
    const descent simplex = descend_by_simplex();
    const descent directions = descend_by_directions();
    return {"curves", "Curves, and the shortest way down", summary(fits, simplex, directions),
            lead + tone(toned, folder) + selective(correct_selectively(photograph), photograph, folder) +
                fits_text(fits, folder) + outline(edge_of_press(press, engine), folder) +
                dither(run_dither(photograph), folder) + valley(simplex, directions, folder)};
}

}  // namespace examples
