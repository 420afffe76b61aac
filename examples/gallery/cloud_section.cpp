// cloud_section - a press known by its chart alone

#include "support/png_file.h"

#include "cloud/job.h"
#include "gallery/html.h"
#include "gallery/plot.h"
#include "gallery/sections.h"
#include "gamut/job.h"
#include "lines/job.h"

namespace examples
{

namespace
{

constexpr scale ab = {-125, 125, 50};
constexpr int plate_size = 256;

std::string hollow(const cloud &press, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/cloud/pictures.cpp");
    std::string planes, hues;
    for (const int lightness : {20, 35, 60})
        planes +=
            folder.pixels("lightness-" + std::to_string(lightness), hollow_at_lightness(press, lightness, 300),
                          "A coloured patch with a hatched rim on grey",
                          "<b>Lightness " + std::to_string(lightness) + ":</b> a to the right, b upwards.", 1, ab, ab);
    for (const int hue : {40, 135})
        hues += folder.pixels("hue-" + std::to_string(hue), hollow_at_hue(press, hue, 500),
                              "A coloured patch with a hatched rim on grey",
                              expanded("<b>Hue {hue}° and the one opposite.</b> Chroma across, lightness upwards.",
                                       {{"hue", std::to_string(hue)}}),
                              1, ab, {0, 100, 20});
    return expanded(R"(<h3>A solid with its hollows</h3>
<p><code>clg_build</code> tiles the inks of the patches with simplices, and each is a small solid in CIELAB: what one of them
reaches prints (<code>clg_inside</code>). What only the convex hull around all patches holds is hatched: {part} % of the hull.</p>
<div class="strip exact">
{planes}</div>
<div class="pair below">
{hues}</div>
)",
                    {{"part", decimals(100 * hollow_part(press), 1)}, {"planes", planes}, {"hues", hues}});
}

std::string way_home(const cloud &press, const section_folder &folder)
{
    plot drawing({-125, 125}, {-125, 125}, 380, 380);
    drawing.grid(25, 25);
    std::string rows;
    constexpr std::array<const char *, 6> names = {"red", "yellow", "green", "cyan", "blue", "magenta"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        const double r = i == 0 || i == 1 || i == 5, g = i >= 1 && i <= 3, b = i >= 3;
        const colour wanted = lab_of_screen({r, g, b});
        const way_to_print way = press.way_to(wanted);
        drawing.line({{wanted[1], wanted[2]}, {way.printed[1], way.printed[2]}}, "way first");
        drawing.dot({wanted[1], wanted[2]}, 4, "dot second", names[i]);
        drawing.dot({way.printed[1], way.printed[2]}, 3, "dot first");
        std::string inks;
        for (const double ink : way.inks)
            inks += "<td>" + decimals(ink, 0) + "</td>";
        rows += expanded(R"(<tr><th scope="row">{name}</th>{inks}<td>{distance}</td></tr>
)",
                         {{"name", names[i]}, {"inks", inks}, {"distance", decimals(way.distance, 1)}});
    }
    return expanded(
        R"(<h3>The way home of a colour</h3>
<div class="pair">
{ways}<div><div class="scroll" tabindex="0"><table>
<caption>What to send <span>for the pure colours of the screen, in per cent</span></caption>
<thead><tr><td></td><th scope="col">C</th><th scope="col">M</th><th scope="col">Y</th><th scope="col">K</th>
<th scope="col">away</th></tr></thead>
<tbody>
{rows}</tbody></table></div></div>
</div>
)",
        {{"ways", folder.made_by("examples/cloud/cloud.cpp")
                      .framed("<div class=\"card\">" +
                                  drawing.svg("Arrows from the pure colours of the screen to what prints") + "</div>",
                              R"(<b>The pure colours of the screen</b> and the nearest that print, by
<code>clg_nearest</code>, seen along the lightness: a to the right, b upwards.)")},
         {"rows", rows}});
}

std::string plates(cloud &press, const picture &photograph, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/cloud/cloud.cpp");
    const picture small = averaged(photograph, plate_size, plate_size, 4);
    std::string figures;
    for (const auto &[place, name] : {std::pair{0.0, "least"}, {0.5, "middle"}, {1.0, "most"}}) {
        press.rule(place);
        figures += folder.pixels(
            std::string("black-") + name, press.black_plate(small), "A black plate",
            expanded("<b>Place {place}</b>, the {name} black.", {{"place", decimals(place, 1)}, {"name", name}}));
    }
    return expanded(R"(<h3>Black by a rule</h3>
<p>With four inks many mixtures print the same colour. A rule chooses: <code>clg_rule</code> with black as the cost gives the
least black that reaches the colour at place 0, the most at 1. <code>clg_fill_tetrad</code> fills a table of 17 points a side
from colours to inks, and this is its black plate of the photograph.</p>
<div class="strip">
{figures}</div>
)",
                    {{"figures", figures}});
}

std::string cells_of(const difference &d)
{
    return "<td>" + decimals(d.mean, 2) + "</td><td>" + decimals(d.percentile_95, 2) + "</td><td>" +
           decimals(d.largest, 2) + "</td>";
}

std::string trips(const std::vector<round_trips> &made, const section_folder &folder)
{
    std::string rows;
    for (const round_trips &one : made)
        rows += expanded(R"(<tr><th scope="row">{name}</th><td>{patches}</td>{exact}{noisy}</tr>
)",
                         {{"name", escaped(one.name)},
                          {"patches", one.patches > 0 ? grouped(one.patches) : "–"},
                          {"exact", cells_of(one.exact)},
                          {"noisy", one.patches > 0 ? cells_of(one.noisy) : "<td>–</td><td>–</td><td>–</td>"}});
    return expanded(
        R"(<h3>There and back</h3>
<p>Here the profile is the press, and prints charts of several sizes. Colours that it prints are sought in the model of each
chart; what the model says is printed by the profile again. The last row takes the profile's own direction from colours to
inks, as a table of 17 points a side. {code}</p>
<div class="scroll" tabindex="0"><table>
<caption>Colour difference ΔE₀₀ <span>between what was asked for and what was printed</span></caption>
<thead><tr><td rowspan="2"></td><td rowspan="2"></td><th colspan="3" scope="colgroup">exact patches</th>
<th colspan="3" scope="colgroup">0.3 of noise in each</th></tr>
<tr><th scope="col">mean</th><th scope="col">95 % within</th><th scope="col">largest</th><th scope="col">mean</th>
<th scope="col">95 % within</th><th scope="col">largest</th></tr></thead>
<tbody>
{rows}</tbody></table></div>
)",
        {{"code", folder.made_by("examples/cloud/round_trip.cpp", "There and back").code_link()}, {"rows", rows}});
}

constexpr const char *lead =
    R"(<p class="lead">A chart is printed and measured, and that is all there is to know. The library makes a model of its
patches: what prints, what to send for a colour, and tables from colours to inks.</p>
)";

}  // namespace

section cloud_section(const gallery_inputs &inputs)
{
    colour_engine engine;
    const profile press = engine.open_press(inputs.profile);
    const section_folder folder(inputs.output, "cloud");
    const transform print = engine.connect(
        {press, TYPE_CMYK_DBL, engine.lab(), TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC}, evaluation::direct);
    const bool measured = !inputs.chart.empty();
    const chart patches = measured ? read_chart(inputs.chart) : printed(even_chart(4, 6), print, 0);
    cloud model(patches);
    const std::string origin =
        expanded("<p>Shown is {kind}, {count} patches{name}.</p>\n",
                 {{"kind", measured ? "a measured chart" : "a chart that the profile of the press printed"},
                  {"count", grouped(static_cast<long>(patches.patches.size()))},
                  {"name", measured ? " of " + escaped(patches.name) : ""}});
    const std::string solid = hollow(model, folder), home = way_home(model, folder);
    std::vector<chart> charts = {even_chart(3, 5), even_chart(3, 9), even_chart(3, 16), even_chart(4, 6)};
    if (measured)
        charts.push_back(patches);
    const std::vector<round_trips> made = compare_round_trips(charts, press, engine);
    std::string summary;
    for (const round_trips &one : made)
        summary += expanded("  {name}: mean {mean}, 95 % within {most}, largest {largest}\n",
                            {{"name", one.name},
                             {"mean", decimals(one.exact.mean, 2)},
                             {"most", decimals(one.exact.percentile_95, 2)},
                             {"largest", decimals(one.exact.largest, 2)}});
    return {"cloud", "A press by its chart", summary,
            lead + origin + solid + home + plates(model, read_png(inputs.photo), folder) + trips(made, folder)};
}

}  // namespace examples
