// gamut_section - the colours of the press as a solid

#include "gallery/html.h"
#include "gallery/plot.h"
#include "gallery/sections.h"
#include "gamut/job.h"

#include <numeric>
#include <tuple>
#include <vector>

namespace examples
{

namespace
{

constexpr double visible = 3;  // colour difference

std::string share(long part, long whole)
{
    return decimals(whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole), 1);
}

constexpr int view_size = 500;
constexpr int slice_size = 301;  // 25 units are 30 pixels
constexpr scale ab = {-125, 125, 50};
constexpr scale lightnesses = {0, 100, 20};

// L, a and b with their numbers, drawn over a view of the solid.
std::string axes(double round, double above)
{
    std::string drawn;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto at = [&](double value) {
            colour lab = {50, 0, 0};
            lab[axis] = value;
            return place_in_view(lab, round, above, view_size);
        };
        const double first = axis == 0 ? 0 : -75;
        drawn +=
            expanded(R"(<path d="M{x} {y}L{to_x} {to_y}"/>)", {{"x", decimals(at(first)[0], 1)},
                                                               {"y", decimals(at(first)[1], 1)},
                                                               {"to_x", decimals(at(first == 0 ? 100 : 75)[0], 1)},
                                                               {"to_y", decimals(at(first == 0 ? 100 : 75)[1], 1)}});
        for (const double value : axis == 0 ? std::vector<double>{0, 50, 100} : std::vector<double>{-75, 75})
            drawn += expanded(R"(<text x="{x}" y="{y}">{name} {value}</text>)", {{"x", decimals(at(value)[0] + 4, 1)},
                                                                                 {"y", decimals(at(value)[1] - 4, 1)},
                                                                                 {"name", std::string(1, "Lab"[axis])},
                                                                                 {"value", decimals(value, 0)}});
    }
    return expanded(R"(<svg class="over" viewBox="0 0 {size} {size}" aria-hidden="true">{drawn}</svg>)",
                    {{"size", std::to_string(view_size)}, {"drawn", drawn}});
}

std::string solid_figures(const gamut &solid, const missed_colours &missed, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/gamut/pictures.cpp", "Shading");
    std::string figures;
    for (const auto &[name, round, above] : {std::tuple{"front", 35.0, 25.0}, {"back", 215.0, 25.0}})
        figures +=
            folder.pixels(std::string("solid-") + name, shaded(solid, round, above, view_size),
                          "A rounded solid in the colours it stands for",
                          name == std::string("front") ? "<b>From the side of red and yellow.</b> Lightness points up."
                                                       : "<b>From the other side</b>, green and blue.",
                          1, {}, {}, axes(round, above));
    return expanded(R"(<h3>The solid</h3>
<p>{count} combinations of the four inks, through the profile, give the colours; <code>tetra_volume_new</code> finds the
{faces} triangles around them: their convex hull. That promises too much where the press is hollow: of {asked} colours spread
evenly inside, {missed} % come back more than ΔE {bound} away when they are sent through the profile to the press and back,
{missed_2000} % more than ΔE₀₀ {bound}.
<a href="#live">Turn it</a>; or take the scene, <a href="gamut/faces.wrl">faces</a> and
<a href="gamut/points.wrl">corners</a>, as <code>writeVRML</code> writes it, or <a href="gamut/turn.html">a page of its
own</a>.</p>
<div class="pair">
{figures}</div>
)",
                    {{"count", grouped(static_cast<long>(solid.colours().size()))},
                     {"faces", grouped(static_cast<long>(solid.faces().size()))},
                     {"asked", grouped(missed.colours)},
                     {"missed", share(missed.missed, missed.colours)},
                     {"missed_2000", share(missed.missed_2000, missed.colours)},
                     {"bound", decimals(missed.bound, 0)},
                     {"figures", figures}});
}

std::string slices(const gamut &solid, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/gamut/pictures.cpp", "Slices");
    std::string planes;
    for (const int lightness : {20, 35, 50, 65, 80, 90})
        planes +=
            folder.pixels("lightness-" + std::to_string(lightness), slice_of_lightness(solid, lightness, slice_size),
                          "A coloured patch on grey, with grid lines",
                          "<b>Lightness " + std::to_string(lightness) + ":</b> a to the right, b upwards.", 1, ab, ab);
    std::string hues;
    for (const int hue : {0, 40, 95})
        hues += folder.pixels("hue-" + std::to_string(hue), slice_of_hue(solid, hue, slice_size),
                              "A coloured patch on grey, with grid lines",
                              expanded("<b>Hue {hue}° and the one opposite.</b> Chroma across, lightness upwards.",
                                       {{"hue", std::to_string(hue)}}),
                              1, ab, lightnesses);
    return expanded(R"(<h3>Slices</h3>
<p><code>TPlane</code> gives the colour of each pixel, <code>TConvexHull::InsideHull</code> says whether it lies in the solid. The
grid lines are those of <code>GetXGridPoints</code> and <code>GetYGridPoints</code>: 25 units of a and b, 10 of lightness.</p>
<div class="strip exact">
{planes}{hues}</div>
)",
                    {{"planes", planes}, {"hues", hues}});
}

std::string way_home(const std::vector<shortcut> &ways, const section_folder &folder, const gamut &solid)
{
    plot drawing({-125, 125}, {-125, 125}, 380, 380);
    drawing.grid(25, 25);
    for (const shortcut &way : ways) {
        drawing.line({{way.wanted[1], way.wanted[2]}, {way.printed[1], way.printed[2]}}, "way first");
        drawing.dot({way.wanted[1], way.wanted[2]}, 3.5, "dot second",
                    expanded("L {l}, {distance} from the solid",
                             {{"l", decimals(way.wanted[0], 0)}, {"distance", decimals(way.distance, 1)}}));
        drawing.dot({way.printed[1], way.printed[2]}, 2.5, "dot first");
    }
    solid.write_postscript(folder.file("hull.ps"));
    return expanded(
        R"(<h3>Colours outside</h3>
<div class="pair">
{ways}{drawing}</div>
)",
        {{"ways", folder.made_by("examples/gamut/gamut.cpp", "The way home")
                      .framed("<div class=\"card\">" +
                                  drawing.svg("Arrows from vivid colours to the surface of the solid") + "</div>",
                              R"(<b>The most vivid colours of the screen</b>, seen along the lightness, and the nearest
points of the solid, by <code>tetra_volume_nearest</code>. a to the right, b upwards. Many lie above or below their goal
rather than beside it.)")},
         {"drawing",
          folder.made_by("examples/gamut/gamut.cpp", "Scenes and drawings")
              .framed(R"(<a href="gamut/hull.ps"><img src="gamut/hull-postscript.png" alt="Triangles as lines"
loading="lazy"></a>)",
                      R"(<b>The hull as PostScript</b>, as <code>TConvexHull</code> prints it for those who
look for a fault: the faces that look up, a to the right and b upwards.)")}});
}

constexpr const char *lead = R"(<p class="lead">Which colours can this press print? The answer is a solid in CIELAB. Its
surface, its slices, and the way back for a colour that lies outside.</p>
)";

}  // namespace

section gamut_section(const gallery_inputs &inputs)
{
    colour_engine engine;
    const profile press = engine.open_press(inputs.profile);
    const gamut solid(press, engine);
    const section_folder folder(inputs.output, "gamut");
    write_turning_page(solid, folder.file("turn.html"));
    solid.write_scenes(folder.file("faces.wrl"), folder.file("points.wrl"));
    const std::vector<shortcut> ways = shortcuts(solid);
    const double sum = std::accumulate(ways.begin(), ways.end(), 0.0,
                                       [](double so_far, const shortcut &way) { return so_far + way.distance; });
    const missed_colours missed = round_trip(solid, press, engine, visible);
    return {
        "gamut", "What the press can print",
        expanded("  {faces} faces around {count} colours; {ways} vivid screen colours lie {mean} outside on average\n"
                 "  {missed} % of the colours inside come back more than {bound} away\n",
                 {{"faces", std::to_string(solid.faces().size())},
                  {"count", std::to_string(solid.colours().size())},
                  {"ways", std::to_string(ways.size())},
                  {"mean", decimals(ways.empty() ? 0 : sum / static_cast<double>(ways.size()), 1)},
                  {"missed", share(missed.missed, missed.colours)},
                  {"bound", decimals(visible, 0)}}),
        lead + solid_figures(solid, missed, folder) + slices(solid, folder) + way_home(ways, folder, solid)};
}

}  // namespace examples
