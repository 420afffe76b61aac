// lines_section - what the line filters, the flood fill and the three kinds of tables do to pictures

#include "support/png_file.h"

#include "gallery/html.h"
#include "gallery/sections.h"
#include "lines/job.h"

#include <algorithm>
#include <array>

namespace examples
{

namespace
{

// A part of the photograph with fine and with soft detail: above the middle.
picture detail(const picture &photograph, int size)
{
    const int side = std::min({size, photograph.width, photograph.height});
    return cropped(photograph, (photograph.width - side) * 2 / 5, (photograph.height - side) / 7, side, side);
}

// ---- Sharpening -----------------------------------------------------------------------------------------------------

std::string sharpening_strip(const picture &photograph, const section_folder &plain)
{
    const picture part = detail(photograph, 128);
    const section_folder folder = plain.made_by("examples/lines/filters.cpp", "Sharpening");
    std::string figures = folder.pixels("sharp-none", magnified(part, 2), "A part of the photograph", "as it is", 2);
    const struct {
        const char *id;
        int radius;
        double strength, noise;
    } rows[] = {{"a", 1, 0.2, 0},   {"b", 1, 0.4, 0}, {"c", 1, 0.8, 0}, {"d", 1, 0.8, 0.1},
                {"e", 1, 0.8, 0.3}, {"f", 0, 0.8, 0}, {"g", 2, 0.8, 0}};
    for (const auto &row : rows)
        figures += folder.pixels(
            std::string("sharp-") + row.id, magnified(sharpened(part, row.radius, row.strength, row.noise), 2),
            "The same part, sharpened",
            expanded("radius {radius}, strength {strength}, coring {noise}", {{"radius", std::to_string(row.radius)},
                                                                              {"strength", decimals(row.strength, 1)},
                                                                              {"noise", decimals(row.noise, 1)}}),
            2);
    return expanded(R"(<h3>Unsharp masking</h3>
<p>A high-pass of three or five lines is scaled and added to each pixel. Coring leaves small differences alone, which are
noise more often than detail: the skin stays smooth and the edges still gain. Radius 2 is a band-pass and brings out coarser
structure.</p>
<div class="strip">
{figures}</div>
)",
                    {{"figures", figures}});
}

std::string borders(const picture &photograph, const section_folder &folder)
{
    constexpr int side = 28;
    constexpr int factor = 8;
    const picture part = cropped(photograph, 0, 0, side, side);
    return expanded(
        R"(<h3>Where the window ends</h3>
<div class="pair">
{sharpening}{filter}</div>
)",
        {{"sharpening",
          folder.made_by("examples/lines/filters.cpp", "Sharpening")
              .pixels("border-sharpening",
                      magnified(distance(part, cropped(sharpened(photograph, 1, 0.8, 0), 0, 0, side, side), 6), factor),
                      "Coloured pixels inside a dark frame of two pixels",
                      R"(<b>What sharpening changed</b> in the upper left corner, times 6. The window of
radius 1 reaches two pixels: so many lines and columns pass as they are.)",
                      factor)},
         {"filter",
          folder.made_by("examples/lines/filters.cpp", "A filter of the caller's")
              .pixels("border-filter", magnified(cropped(borders_of_filter(photograph, 6), 0, 0, side, side), factor),
                      "Six rows and columns of the photograph around a black square",
                      R"(<b>A FIR filter of radius 6</b> as it is made, with all coefficients 0: what is not
black has passed it by.)",
                      factor)}});
}

// ---- Resampling -----------------------------------------------------------------------------------------------------

// Pictures of the zone plate are shown pixel for pixel, or every pixel as a square of pixels: other sizes would add
// rings of their own.
constexpr int plate_size = 336;

std::string resampling(const picture &photograph, const picture &plate, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/lines/filters.cpp", "Bilinear resampling");
    const picture part = detail(photograph, 87);
    const picture larger = resampled(plate, plate_size * 3 / 2, plate_size * 3 / 2);
    const int rest = larger.width - plate_size;
    return expanded(
        R"(<h3>Bilinear resampling</h3>
<p>Sample 0 lies on sample 0, and two neighbours are blended in each direction, in integers. That is fast and smooth going
up. Going down, two samples out of many are looked at: whatever is finer than the new pixels comes back as rings that are not
there. The zone plate shows where.</p>
<div class="strip exact">
{plate}{up}{down}</div>
<div class="pair below">
{small}{large}</div>
)",
        {{"plate", folder.pixels("zone", plate, "Rings that become finer outwards",
                                 expanded("zone plate, {size} pixels", {{"size", std::to_string(plate_size)}}))},
         {"up", folder.pixels("zone-up", cropped(larger, rest, rest, plate_size, plate_size),
                              "A corner of the same, larger", "to 3/2, the lower right corner")},
         {"down", folder.pixels("zone-down", resampled(plate, plate_size * 3 / 4, plate_size * 3 / 4),
                                "The same, smaller, with faint rings around four more centres", "to 3/4")},
         {"small", folder.pixels("photo-small", magnified(resampled(part, part.width / 3, part.height / 3), 12),
                                 "A part of the photograph in large square pixels",
                                 "<b>A third of the size</b>, each pixel shown as a square.", 12)},
         {"large", folder.pixels("photo-large", resampled(part, part.width * 4, part.height * 4),
                                 "The same part, four times as large and soft", "<b>Four times the size.</b>")}});
}

std::string reducing(const reductions &reduced, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/lines/reductions.cpp");
    std::string figures;
    std::string rows;
    for (const reduction &one : reduced.made) {
        const std::string label =
            expanded("{name}, <code>{function}</code>", {{"name", one.name}, {"function", one.function}});
        figures +=
            folder.pixels("zone-" + one.name, magnified(one.half, 2), "The zone plate at half the size", label, 2);
        rows += expanded(R"(<tr><th scope="row">{label}</th><td>{kept} %</td><td>{false} %</td></tr>
)",
                         {{"label", label}, {"kept", decimals(one.kept, 1)}, {"false", decimals(one.false_rings, 1)}});
    }
    return expanded(R"(<h3>Five kernels for smaller pictures</h3>
<p>The same zone plate at half the size, every pixel shown as a square of two. Rings as fine as the new pixels or finer
cannot be shown: they should fade to grey. <code>ibilin</code> picks every second pixel and shows them all, the fine ones as coarse rings around centres that are not
there. The kernels of <code>izat</code> widen with the reduction and average what a new pixel covers. Lanczos-3, the widest,
parts most sharply what can be shown from what cannot.</p>
<div class="strip exact">
{figures}</div>
<div class="scroll" tabindex="0"><table>
<caption>Contrast of the rings <span>against the zone plate's own</span></caption>
<thead><tr><td></td><th scope="col">kept, where they can be shown</th><th scope="col">false, where they cannot</th></tr></thead>
<tbody>
{rows}</tbody></table></div>
)",
                    {{"figures", figures}, {"rows", rows}});
}

// ---- Filling --------------------------------------------------------------------------------------------------------

std::string filling(const filled_maze &maze, const section_folder &folder)
{
    return expanded(
        R"(<h3>Flood fill</h3>
{figure}
)",
        {{"figure",
          folder.made_by("examples/lines/maze.cpp", "Filling")
              .pixels("maze", magnified(maze.coloured, 2), "A maze whose ways change from dark blue to yellow",
                      expanded(
                          R"(<b>A maze, coloured by the order of filling</b>: from the
centre, dark blue, to the last corner, yellow. The library never sees the picture. It asked {tests} times whether a pixel
belongs to the region and filled {pixels} pixels in {runs} runs: {ratio} questions a pixel.)",
                          {{"tests", grouped(maze.tests)},
                           {"pixels", grouped(maze.pixels)},
                           {"runs", grouped(maze.runs)},
                           {"ratio", decimals(static_cast<double>(maze.tests) / static_cast<double>(maze.pixels), 2)}}),
                      2)}});
}

// ---- Tables ---------------------------------------------------------------------------------------------------------

constexpr std::array<const char *, 3> samples_of = {"32-bit floats", "bytes", "doubles"};

std::string tables(const table_comparison &compared, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/lines/tables.cpp", "A formula in three tables");
    std::string figures = folder.pixels("exact", compared.exact, "A gradient in red and green",
                                        "<b>The formula</b>: red to the right, green upwards, blue 40 %");
    std::string rows;
    for (std::size_t i = 0; i < compared.answers.size(); ++i) {
        const table_answer &answer = compared.answers[i];
        figures += folder.pixels("errors-" + answer.name, answer.errors, "Coloured errors on black",
                                 expanded("<b><code>{name}</code></b>, {samples}: errors times 64",
                                          {{"name", answer.name}, {"samples", samples_of[i]}}));
        rows += expanded(R"(<tr><th scope="row">{name}</th><td>{samples}</td><td>{mean}</td><td>{largest}</td></tr>
)",
                         {{"name", answer.name},
                          {"samples", samples_of[i]},
                          {"mean", decimals(answer.mean, 3)},
                          {"largest", decimals(answer.largest, 2)}});
    }
    return expanded(R"(<h3>Three kinds of tables</h3>
<p>The formula doubles the chroma of a colour in CIELAB and cuts it where the screen ends. Each table knows it at {points}
points a side and interpolates over tetrahedra between them. The floating-point tables show what the grid costs: the bright
lines are the edges of the screen's gamut, where the formula bends inside a cell. <code>md_tetrab</code> adds the rounding of
bytes. <code>CLUT</code> follows another path through two of the six tetrahedra.</p>
<div class="strip">
{figures}</div>
<div class="scroll" tabindex="0"><table>
<caption>Distance from the formula <span>in steps of 255</span></caption>
<thead><tr><td></td><th scope="col">samples</th><th scope="col">mean</th><th scope="col">largest</th></tr></thead>
<tbody>
{rows}</tbody></table></div>
)",
                    {{"points", std::to_string(compared.points)}, {"figures", figures}, {"rows", rows}});
}

std::string summary(const reductions &reduced, const filled_maze &maze, const table_comparison &compared)
{
    std::string text = expanded("  a maze of {pixels} pixels filled in {runs} runs, {tests} inside tests\n",
                                {{"pixels", std::to_string(maze.pixels)},
                                 {"runs", std::to_string(maze.runs)},
                                 {"tests", std::to_string(maze.tests)}});
    for (const reduction &one : reduced.made)
        text +=
            expanded("  {name} to 1/2: {kept} % of the contrast kept, {false} % false\n",
                     {{"name", one.name}, {"kept", decimals(one.kept, 1)}, {"false", decimals(one.false_rings, 1)}});
    for (const table_answer &answer : compared.answers)
        text += expanded("  {name}: mean {mean} steps of 255 from the formula\n",
                         {{"name", answer.name}, {"mean", decimals(answer.mean, 3)}});
    return text;
}

constexpr const char *lead =
    R"(<p class="lead">Pictures come in lines: a filter holds as many as its window needs and hands
each finished line on. What follows took no more memory than a few lines, whatever the picture's height.</p>
)";

}  // namespace

section lines_section(const gallery_inputs &inputs)
{
    const picture photograph = read_png(inputs.photo);
    const section_folder folder(inputs.output, "lines");
    const reductions reduced = reduce_zone_plate(plate_size);
    const filled_maze maze = fill_maze(64, 40);
    const table_comparison compared = compare_tables();
    return {"lines", "Line by line", summary(reduced, maze, compared),
            lead + sharpening_strip(photograph, folder) + borders(photograph, folder) +
                resampling(photograph, reduced.plate, folder) + reducing(reduced, folder) + filling(maze, folder) +
                tables(compared, folder)};
}

}  // namespace examples
