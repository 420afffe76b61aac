// separation_section - a photograph on its way to the press and back

#include "support/colour_engine.h"
#include "support/heat.h"
#include "support/machine.h"
#include "support/png_file.h"

#include "gallery/html.h"
#include "gallery/sections.h"
#include "separation/job.h"

#include <algorithm>
#include <fstream>

namespace examples
{

namespace
{

// Odd, so that the median is a round that took place.
constexpr int measured_rounds = 9;

// The lightest colour of the map of differences.
constexpr double most_shown = 4;

constexpr std::array<const char *, inks> ink_ids = {"cyan", "magenta", "yellow", "black"};
constexpr std::array<const char *, inks> ink_names = {"Cyan", "Magenta", "Yellow", "Black"};

// A photograph may have a text file beside it: a line that says what is to be seen, and one about its origin.
struct photo_text {
    std::string alt = "the photograph";
    std::string origin;
};

photo_text text_beside(std::filesystem::path photo)
{
    photo_text text;
    std::ifstream lines(photo.replace_extension(".txt"));
    if (std::string alt; std::getline(lines, alt))
        text.alt = alt;
    std::getline(lines, text.origin);
    return text;
}

// ---- Key figures ----------------------------------------------------------------------------------------------------

std::string ratio(const speed &ours, const speeds &measured) { return decimals(ours.median / measured.peer.median, 2); }

std::string key_figures(const separation_results &r)
{
    return expanded(R"(<dl class="key-figures">
<div><dt>separation, RGB to CMYK: {separation_ratio} times the speed of Little CMS</dt>
<dd>{separation} <small>Mpx/s</small></dd></div>
<div><dt>proof, CMYK to RGB: {proofing_ratio} times the speed of Little CMS</dt>
<dd>{proofing} <small>Mpx/s</small></dd></div>
<div><dt>mean colour difference between the proof and direct evaluation</dt>
<dd>{colour} <small>ΔE₀₀</small></dd></div>
<div><dt>to fill both tables through Little CMS, once per press</dt>
<dd>{filling} <small>s</small></dd></div>
</dl>
)",
                    {{"separation", decimals(r.separation_speed.words.median, 0)},
                     {"separation_ratio", ratio(r.separation_speed.words, r.separation_speed)},
                     {"proofing", decimals(r.proofing_speed.words.median, 0)},
                     {"proofing_ratio", ratio(r.proofing_speed.words, r.proofing_speed)},
                     {"colour", decimals(r.chain_colour.words.mean, 2)},
                     {"filling", decimals(r.to_press[0].fill_seconds + r.to_screen[0].fill_seconds, 2)}});
}

// ---- Pictures -------------------------------------------------------------------------------------------------------

std::string before_and_after(const separation_results &r, const photo_text &text, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/separation/job.cpp", "From photograph to proof");
    return expanded(R"(<h3>The photograph and its proof</h3>
<p>A press cannot print every colour a screen shows. The proof is a promise about the sheet: what comes back when the
four plates are turned into screen colours again.</p>
<div class="pair compare">
{photograph}{proof}</div>
)",
                    {{"photograph", folder.figure("photograph", r.photograph, text.alt,
                                                  "<b>The photograph.</b> " + escaped(text.origin))},
                     {"proof", folder.figure("proof", r.proof, "The same picture as it will print",
                                             R"(<b>The proof.</b> Through the table RGB to CMYK, then through the table
CMYK to RGB back to the screen. Saturated colours become duller and deep black a little lighter: that is the press, not
the tables.)")}});
}

std::string plate_figures(const separation_results &r, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/separation/job.cpp", "Plates");
    std::string figures;
    for (std::size_t i = 0; i < inks; ++i) {
        const std::string caption =
            expanded(R"(<b class="{id}">{name}</b>, mean {mean} %)",
                     {{"id", ink_ids[i]}, {"name", ink_names[i]}, {"mean", decimals(r.ink[i].mean, 0)}});
        figures += folder.figure(std::string("plate-") + ink_ids[i], r.plate_views[i],
                                 std::string(ink_names[i]) + " plate, in the colour of its ink", caption);
    }
    return "<div class=\"plates\">\n" + figures + "</div>\n";
}

// The four plates over each other; a box below them takes an ink away. The style sheet does it, without a script.
std::string mixer(const section_folder &folder)
{
    std::string boxes;
    std::string images;
    for (std::size_t i = 0; i < inks; ++i) {
        const std::string id = ink_ids[i];
        boxes +=
            expanded(R"(<input type="checkbox" id="ink-{id}" checked><label class="{id}" for="ink-{id}">{name}</label>
)",
                     {{"id", id}, {"name", ink_names[i]}});
        images +=
            expanded(R"(<img class="{id}" src="{at}" alt="">)", {{"id", id}, {"at", folder.address("plate-" + id)}});
    }
    return expanded(R"(<figure class="mixer">
{boxes}<div class="press" role="img" aria-label="The chosen plates printed over each other">{images}</div>
<figcaption><b>Print it yourself.</b> Switch inks on and off. Your browser multiplies the plates, which comes close to
the press; the proof also knows how the real inks mix. {code}</figcaption></figure>
)",
                    {{"boxes", boxes},
                     {"images", images},
                     {"code", folder.made_by("examples/separation/job.cpp", "Plates").code_link()}});
}

std::string plates(const separation_results &r, const section_folder &folder)
{
    return expanded(
        R"(<h3>Four plates</h3>
<p>Each plate is shown as it prints when it is the only one on the press. The profile keeps the sum of the inks low enough
to dry: no pixel carries more than {heaviest} %, where four solid inks would be 400 %.</p>
<div class="pair">
{mixer}{plates}</div>
)",
        {{"heaviest", decimals(r.heaviest, 0)}, {"mixer", mixer(folder)}, {"plates", plate_figures(r, folder)}});
}

// The colours of the map, as a ramp with its numbers.
std::string colour_scale(double top)
{
    std::string stops, numbers;
    constexpr int parts = 16;
    for (int i = 0; i <= parts; ++i) {
        const auto shade = heat(static_cast<double>(i) / parts);
        stops += expanded(
            ",rgb({r} {g} {b})",
            {{"r", std::to_string(shade[0])}, {"g", std::to_string(shade[1])}, {"b", std::to_string(shade[2])}});
    }
    for (int i = 0; i <= 4; ++i)
        numbers += expanded(
            R"(<span style="left:{at}%">{value}{more}</span>)",
            {{"at", std::to_string(25 * i)}, {"value", decimals(top * i / 4, 0)}, {"more", i == 4 ? " and more" : ""}});
    return "<div class=\"colour-scale\"><i style=\"background:linear-gradient(90deg" + stops + ")\"></i>" + numbers +
           "</div>\n";
}

std::string difference_figure(const separation_results &r, const section_folder &folder)
{
    const double above = 100.0 *
                         static_cast<double>(std::count_if(r.proof_distances.begin(), r.proof_distances.end(),
                                                           [](double e) { return e > 1; })) /
                         static_cast<double>(r.proof_distances.size());
    return folder.made_by("examples/separation/difference.cpp")
        .pixels("difference", difference_map(r.proof_distances, r.photograph.width, r.photograph.height, most_shown),
                "A dark map with lighter specks where the proofs differ",
                colour_scale(most_shown) +
                    expanded("<b>The colour difference ΔE₀₀</b> between the proof and the direct one, pixel by pixel: "
                             "{above} % of the pixels differ by more than 1.",
                             {{"above", decimals(above, 1)}}));
}

std::string differences(const separation_results &r, const section_folder &folder)
{
    return expanded(R"(<h3>What the tables cost</h3>
<div class="pair">
{figure}<div>
<p>A table knows the answer at its grid points and interpolates between them. To see the price, Little CMS also does the
whole job directly: every pixel through every stage of the profiles, no table in between.</p>
<p>The two proofs differ by {mean} of 255 steps on average, and 95 of 100 samples by no more than {most}. The largest
single difference is {largest} steps. As an eye sees it that is a colour difference ΔE₀₀ of {colour} on average; about 1 is
the least that can be told apart side by side.</p>
<p>Little CMS' own fast way is a table too, with 16 bits in every grid point like ours. Measured against the same direct
evaluation it is {peer} steps away on average. Grids of bytes cost about half the memory and round every grid point: with them
the proof is {bytes} steps away.</p>
</div>
</div>
)",
                    {{"figure", difference_figure(r, folder)},
                     {"mean", decimals(r.chain.words.mean, 2)},
                     {"most", decimals(r.chain.words.percentile_95, 0)},
                     {"largest", decimals(r.chain.words.largest, 0)},
                     {"colour", decimals(r.chain_colour.words.mean, 2)},
                     {"peer", decimals(r.chain.peer.mean, 2)},
                     {"bytes", decimals(r.chain.bytes.mean, 2)}});
}

// ---- Tables of figures ----------------------------------------------------------------------------------------------

std::string both(const speed &measured, int digits)
{
    return decimals(measured.median, digits) + " (" + decimals(measured.best, digits) + ")";
}

std::string speed_row(const char *name, const speeds &measured)
{
    return expanded(R"(<tr><th scope="row">{name}</th><td class="ours">{words}</td><td class="ours">{bytes}</td>
<td>{peer}</td><td>{direct}</td><td>{ratio}</td><td>{bytes_ratio}</td></tr>
)",
                    {{"name", name},
                     {"words", both(measured.words, 1)},
                     {"bytes", both(measured.bytes, 1)},
                     {"peer", both(measured.peer, 1)},
                     {"direct", both(measured.direct, 2)},
                     {"ratio", ratio(measured.words, measured)},
                     {"bytes_ratio", ratio(measured.bytes, measured)}});
}

std::string speed_table(const separation_results &r)
{
    return expanded(R"(<div class="scroll" tabindex="0"><table>
<caption>Speed <span>in megapixels per second, median (best)</span></caption>
<thead><tr><td rowspan="2"></td><th colspan="2" scope="colgroup">library table</th>
<th colspan="2" scope="colgroup">Little CMS</th><th colspan="2" scope="colgroup">times its fast way</th></tr>
<tr><th scope="col">16 bits</th><th scope="col">bytes</th><th scope="col">its fast way</th><th scope="col">direct</th>
<th scope="col">16 bits</th><th scope="col">bytes</th></tr></thead>
<tbody>
{separation}{proofing}</tbody></table></div>
)",
                    {{"separation", speed_row("RGB to CMYK", r.separation_speed)},
                     {"proofing", speed_row("CMYK to RGB", r.proofing_speed)}});
}

std::string difference_row(const char *name, const char *kind, const difference &d, int digits)
{
    return expanded(
        R"(<tr class="{kind}"><th scope="row">{name}</th><td>{mean}</td><td>{most}</td><td>{largest}</td></tr>
)",
        {{"kind", kind},
         {"name", name},
         {"mean", decimals(d.mean, 2)},
         {"most", decimals(d.percentile_95, digits)},
         {"largest", decimals(d.largest, digits)}});
}

// Steps are whole numbers; colour differences are not.
std::string agreement_rows(const char *name, const agreement &a, int digits)
{
    return expanded(R"(<tbody>
<tr class="group"><th colspan="4" scope="rowgroup">{name}</th></tr>
{words}{bytes}{peer}</tbody>
)",
                    {{"name", name},
                     {"words", difference_row("library, 16-bit tables", "ours", a.words, digits)},
                     {"bytes", difference_row("library, byte tables", "", a.bytes, digits)},
                     {"peer", difference_row("Little CMS, its fast way", "", a.peer, digits)}});
}

std::string agreement_table(const separation_results &r)
{
    return expanded(R"(<div class="scroll" tabindex="0"><table>
<caption>Difference <span>from Little CMS evaluated directly, in steps of 255 unless said otherwise</span></caption>
<thead><tr><td></td><th scope="col">mean</th><th scope="col">95 % within</th><th scope="col">largest</th></tr></thead>
{rows}</table></div>
)",
                    {{"rows", agreement_rows("Separation", r.separation, 0) +
                                  agreement_rows("Proof of the same plates", r.proofing, 0) +
                                  agreement_rows("Photograph to proof", r.chain, 0) +
                                  agreement_rows("Photograph to proof, ΔE₀₀", r.chain_colour, 2)}});
}

std::string grid_row(const char *name, const table_figures &t)
{
    return expanded(
        R"(<tr><th scope="row">{name}, {bits} bits</th><td>{points}<sup>{inputs}</sup></td><td>{vertices}</td>
<td>{kib} KiB</td><td>{ms} ms</td></tr>
)",
        {{"name", name},
         {"bits", std::to_string(t.bits)},
         {"points", std::to_string(t.points)},
         {"inputs", std::to_string(t.inputs)},
         {"vertices", grouped(t.vertices)},
         {"kib", grouped(t.bytes / 1024)},
         {"ms", decimals(1000 * t.fill_seconds, 0)}});
}

std::string grid_table(const separation_results &r)
{
    return expanded(R"(<div class="scroll" tabindex="0"><table>
<caption>The tables</caption>
<thead><tr><td></td><th scope="col">grid</th><th scope="col">vertices</th><th scope="col">size</th>
<th scope="col">time to fill</th></tr></thead>
<tbody>
{rows}</tbody></table></div>
)",
                    {{"rows", grid_row("RGB to CMYK", r.to_press[0]) + grid_row("RGB to CMYK", r.to_press[1]) +
                                  grid_row("CMYK to RGB", r.to_screen[0]) + grid_row("CMYK to RGB", r.to_screen[1])}});
}

std::string figures(const separation_results &r)
{
    const std::string processor = processor_name();
    return expanded(R"(<h3>The figures</h3>
{speed}{agreement}{grids}<p>Measured in this run, in processor time of one thread{processor}: {rounds} rounds, in each of which
every way converts the picture of {width} × {height} pixels, line by line, again and again for at least {milliseconds}
milliseconds. Both sides read and write the same interleaved bytes.</p>
)",
                    {{"speed", speed_table(r)},
                     {"agreement", agreement_table(r)},
                     {"grids", grid_table(r)},
                     {"processor", processor.empty() ? "" : " of " + escaped(processor)},
                     {"rounds", std::to_string(r.rounds)},
                     {"width", std::to_string(r.photograph.width)},
                     {"height", std::to_string(r.photograph.height)},
                     {"milliseconds", decimals(1000 * least_round_seconds, 0)}});
}

std::string method(const separation_results &r)
{
    return expanded(R"(<h3>How it is done</h3>
<ol class="steps">
<li>Little CMS opens the press profile, “{press}”, and its own sRGB. Towards the press the rendering intent is
perceptual, which is meant for photographs; back it is relative colorimetric, which shows the inks as they are, on a paper
white that stands for the white of the screen.</li>
<li><code>md_tetras_new</code> makes the two tables of 16 bits. <code>md_tetras_vertex_get</code> names the colour of a
vertex, Little CMS gives the answer in 16 bits, and <code>md_tetras_scan_vertex</code> steps on, until all are filled. The
tables of bytes are made likewise by the functions of <code>md_tetrab</code>.</li>
<li><code>md_tetras_interp_b</code> converts the photograph line by line into plates, and the plates line by line into the
proof: in integers only, with one rounding, the same bytes on every machine.</li>
<li>The views of the single plates go through the same CMYK table, with the other three inks at zero.</li>
</ol>
)",
                    {{"press", escaped(r.press)}});
}

std::string speed_line(const char *name, const speeds &measured)
{
    return expanded("  {name}: {words} Mpx/s, Little CMS {peer} Mpx/s: {ratio} times as fast; with bytes {bytes}\n",
                    {{"name", name},
                     {"words", decimals(measured.words.median, 1)},
                     {"peer", decimals(measured.peer.median, 1)},
                     {"ratio", ratio(measured.words, measured)},
                     {"bytes", ratio(measured.bytes, measured)}});
}

std::string summary(const separation_results &r)
{
    return speed_line("RGB to CMYK", r.separation_speed) + speed_line("CMYK to RGB", r.proofing_speed) +
           expanded(
               "  proof against direct evaluation: mean {mean}, 95 % within {most}, largest {largest} steps of 255\n",
               {{"mean", decimals(r.chain.words.mean, 2)},
                {"most", decimals(r.chain.words.percentile_95, 0)},
                {"largest", decimals(r.chain.words.largest, 0)}});
}

constexpr const char *lead =
    R"(<p class="lead">A photograph is separated into four inks for a printing press and proofed
back on the screen. Both conversions run through multidimensional 16-bit tables of the library, and both are compared
with Little CMS, pixel by pixel.</p>
)";

}  // namespace

section separation_section(const gallery_inputs &inputs)
{
    colour_engine engine;
    const profile press = engine.open_press(inputs.profile);
    picture photograph = read_png(inputs.photo);
    const photo_text text = text_beside(inputs.photo);
    // Made first: nobody should wait for the measurements to learn that the output cannot be written.
    const section_folder folder(inputs.output, "separation");

    const separation_results r = run_separation(std::move(photograph), press, engine, measured_rounds);
    return {"separation", "From photograph to press and back", summary(r),
            lead + key_figures(r) + before_and_after(r, text, folder) + plates(r, folder) + differences(r, folder) +
                figures(r) + method(r)};
}

}  // namespace examples
