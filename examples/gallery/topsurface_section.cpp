// topsurface_section - the umbrella of the press and of a printer with six inks

#include "gallery/html.h"
#include "gallery/plot.h"
#include "gallery/sections.h"
#include "topsurface/job.h"

#include <algorithm>

namespace examples
{

namespace
{

constexpr int size = 500;
constexpr scale ab = {-reach, reach, 50};

std::string umbrella_figure(umbrella &shown, const char *name, const char *what, const section_folder &folder)
{
    return folder.made_by("examples/topsurface/job.cpp", "Seen from above")
        .pixels(std::string("umbrella-") + name, shown.seen_from_above(size),
                "Coloured patches around white, inside a dark curve",
                expanded("<b>{what}</b>: {parts} parts. a to the right, b upwards; white in the middle.",
                         {{"what", what}, {"parts", std::to_string(shown.parts())}}),
                1, ab, ab);
}

std::string edges(umbrella &press, umbrella &six, const section_folder &plain)
{
    std::vector<xy> angles[2];
    std::vector<xy> heights[2];
    umbrella *const shown[] = {&press, &six};
    double steepest = 0;
    for (std::size_t i = 0; i < 2; ++i)
        for (const edge_point &p : shown[i]->edge()) {
            angles[i].push_back({p.hue, p.angle});
            heights[i].push_back({p.hue, p.lightness});
            steepest = std::max(steepest, p.angle);
        }
    plot angle({0, 360}, {0, 10 * std::ceil(steepest / 10)}, 420, 240);
    angle.grid(60, 10);
    plot height({0, 360}, {0, 100}, 420, 240);
    height.grid(60, 20);
    const section_folder folder = plain.made_by("examples/topsurface/job.cpp", "The edge");
    const char *const kinds[] = {"curve first", "curve second"};
    for (std::size_t i = 0; i < 2; ++i) {
        angle.line(angles[i], kinds[i]);
        height.line(heights[i], kinds[i]);
    }
    return expanded(
        R"(<h3>The edge, over the hue</h3>
<div class="pair">
{angle}{height}</div>
)",
        {{"angle", folder.framed("<div class=\"card\">" + angle.svg("Two curves of the angle over hue") + "</div>",
                                 R"(<b>Angle of the edge</b> from the lightness axis, over the hue, both in
degrees. <i class="first"></i>The press. <i class="second"></i>Six inks.)")},
         {"height",
          folder.framed("<div class=\"card\">" + height.svg("Two curves of the lightness over hue") + "</div>",
                        R"(<b>Lightness of the edge</b> over the hue. It is low where an ink is dark:
blue, and high for yellow.)")}});
}

std::string penalty_figures(umbrella &press, const section_folder &folder)
{
    std::string figures;
    for (const int hue : {40, 95})
        figures += folder.made_by("examples/topsurface/job.cpp", "Penalties")
                       .pixels("penalty-" + std::to_string(hue), press.penalties(hue, size, size / 2),
                               "A coloured wedge on grey with dark lines",
                               expanded("<b>Hue {hue}° and the one opposite.</b> Chroma across, lightness upwards.",
                                        {{"hue", std::to_string(hue)}}),
                               1, ab, {0, 100, 20});
    return expanded(R"(<h3>Penalties</h3>
<p><code>DetermineNormCoord</code> gives each colour its place relative to the umbrella: how far from the axis, which hue, how
high. A colour outside the cone of the edge costs the more, the farther outside it lies; the dark lines are a quarter apart.
A height above the umbrella costs nothing, it is only cut.</p>
<div class="pair">
{figures}</div>
)",
                    {{"figures", figures}});
}

constexpr const char *lead =
    R"(<p class="lead">Seen from black, the light side of what inks can do is an umbrella: white near
its top, the ramps of the full inks along its rim, two inks varying over each part. The library finds the parts, hides those
that lie behind others, and gives every colour coordinates relative to them.</p>
)";

}  // namespace

section topsurface_section(const gallery_inputs &inputs)
{
    colour_engine engine;
    const profile profile_of_press = engine.open_press(inputs.profile);
    const section_folder folder(inputs.output, "topsurface");
    umbrella press(press_device(profile_of_press, engine), 11);
    umbrella six(printer("CMYKOG"), 6);
    const std::string above = umbrella_figure(press, "press", "The press", folder) +
                              umbrella_figure(six, "six", "Six inks, with orange and green", folder);
    return {"topsurface", "The umbrella of the inks",
            expanded("  the press: {press} parts; six inks: {six} parts\n",
                     {{"press", std::to_string(press.parts())}, {"six", std::to_string(six.parts())}}),
            lead +
                expanded(R"(<h3>Along the lightness axis</h3>
<p>Each part in the colour of its two inks. What other parts hide is hatched; the dark curve is the edge, widened where dark
colours bulge out of the cone.</p>
<div class="pair">
{above}</div>
)",
                         {{"above", above}}) +
                edges(press, six, folder) + penalty_figures(press, folder)};
}

}  // namespace examples
