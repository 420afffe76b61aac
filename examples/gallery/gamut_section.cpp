// gamut_section - the colours of the press as a solid

#include "gallery/html.h"
#include "gallery/plot.h"
#include "gallery/sections.h"
#include "gamut/job.h"

#include <numeric>

namespace examples
{

namespace
{

std::string solid_figures(const gamut &solid, const section_folder &folder)
{
    std::string figures;
    for (const auto &[name, round, above] : {std::tuple{"front", 35.0, 25.0}, {"back", 215.0, 25.0}})
        figures +=
            folder.figure(std::string("solid-") + name, shaded(solid, round, above, 520),
                          "A rounded solid in the colours it stands for",
                          name == std::string("front") ? "<b>From the side of red and yellow.</b> Lightness points up."
                                                       : "<b>From the other side</b>, green and blue.");
    return expanded(R"(<h3>The solid</h3>
<p>{count} combinations of the four inks, through the profile, give the colours; <code>tetra_volume_new</code> finds the
{faces} triangles around them. <a href="gamut/turn.html">Turn it with the mouse</a>; or take the scene,
<a href="gamut/faces.wrl">faces</a> and <a href="gamut/points.wrl">corners</a>, as <code>writeVRML</code> writes it.</p>
<div class="pair">
{figures}</div>
)",
                    {{"count", grouped(static_cast<long>(solid.colours().size()))},
                     {"faces", grouped(static_cast<long>(solid.faces().size()))},
                     {"figures", figures}});
}

std::string slices(const gamut &solid, const section_folder &folder)
{
    std::string planes;
    for (const int lightness : {30, 50, 70, 85})
        planes += folder.figure("lightness-" + std::to_string(lightness), slice_of_lightness(solid, lightness, 300),
                                "A coloured patch on grey, with grid lines",
                                "lightness " + std::to_string(lightness) + ": a to the right, b upwards");
    std::string hues;
    for (const int hue : {40, 95})
        hues += folder.figure("hue-" + std::to_string(hue), slice_of_hue(solid, hue, 600),
                              "A coloured patch on grey, with grid lines",
                              expanded("<b>Hue {hue}° and the one opposite.</b> Chroma across, lightness upwards.",
                                       {{"hue", std::to_string(hue)}}));
    return expanded(R"(<h3>Slices</h3>
<p><code>TPlane</code> gives the colour of each pixel, <code>TConvexHull::InsideHull</code> says whether it prints. The grid
lines are those of <code>GetXGridPoints</code> and <code>GetYGridPoints</code>: 25 units of a and b, 10 of lightness.</p>
<div class="strip">
{planes}</div>
<div class="pair below">
{hues}</div>
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
    return expanded(R"(<h3>Colours that do not print</h3>
<div class="pair">
<figure><div class="card">{plot}</div>
<figcaption><b>The most vivid colours of the screen</b>, seen along the lightness, and the nearest colours that print:
<code>proj_on_triangle</code> over all faces. Many lie above or below their goal rather than beside it.</figcaption></figure>
<figure><a href="gamut/hull.ps"><img src="gamut/hull-postscript.png" alt="Triangles as lines" loading="lazy"></a>
<figcaption><b>The hull as PostScript</b>, as <code>TConvexHull</code> prints it for those who look for a fault: the faces
that look up, a to the right and b upwards.</figcaption></figure>
</div>
)",
                    {{"plot", drawing.svg("Arrows from vivid colours to the edge of the printable ones")}});
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
    return {
        "gamut", "What the press can print",
        expanded("  {faces} faces around {count} colours; {ways} vivid screen colours lie {mean} outside on average\n",
                 {{"faces", std::to_string(solid.faces().size())},
                  {"count", std::to_string(solid.colours().size())},
                  {"ways", std::to_string(ways.size())},
                  {"mean", decimals(ways.empty() ? 0 : sum / static_cast<double>(ways.size()), 1)}}),
        lead + solid_figures(solid, folder) + slices(solid, folder) + way_home(ways, folder, solid)};
}

}  // namespace examples
