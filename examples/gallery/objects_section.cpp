// objects_section - one page, its photograph, graphic and text through tables of their own

#include "support/colour_engine.h"
#include "support/png_file.h"

#include "gallery/html.h"
#include "gallery/sections.h"
#include "objects/job.h"

namespace examples
{

namespace
{

// Odd, so that the median is a round that took place.
constexpr int measured_rounds = 9;

constexpr std::array<const char *, object_kinds> object_names = {"photograph", "graphic", "text"};
constexpr std::array<const char *, object_kinds> object_ways = {"perceptual", "pure inks", "black ink only"};

std::string colour_key()
{
    std::string key;
    for (int object = 0; object < object_kinds; ++object) {
        const auto colour = tag_colour(object);
        key += expanded(R"html( <span class="key"><span style="background: rgb({r} {g} {b})"></span>{name}</span>)html",
                        {{"r", std::to_string(colour[0])},
                         {"g", std::to_string(colour[1])},
                         {"b", std::to_string(colour[2])},
                         {"name", object_names[static_cast<std::size_t>(object)]}});
    }
    return key;
}

std::string pictures(const objects_results &r, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/objects/job.cpp", "Tables by tag");
    return expanded(
        R"(<div class="pair">
{page}{tags}{proof}{one}{coloured}{coloured_one}</div>
)",
        {{"page",
          folder.figure("page", r.page.colours, "A page with a headline, a portrait, a colour wheel and three notes",
                        "<b>The page</b> in sRGB.")},
         {"tags",
          folder.figure("tags", r.tag_colours, "The same page in flat colours, one for each kind of object",
                        "<b>The tags</b>, one byte a pixel:" + colour_key() + ". Paper has none: no ink goes there.")},
         {"proof", folder.figure(
                       "proof", r.by_tag.proof, "The page as it will print",
                       "<b>Through three tables by tag</b>: the proof. The wheel is in solid inks; the letters, in one "
                       "ink instead of four, are a little lighter.")},
         {"one", folder.figure("proof-one", r.by_one.proof, "The page as it will print, with a duller wheel",
                               "<b>Through one table</b>, the one for photographs: the proof.")},
         {"coloured", folder.figure("without-black", r.by_tag.without_black,
                                    "The page without black: photograph and wheel, no letters",
                                    "<b>By tag, without the black plate.</b> The text has no other ink.")},
         {"coloured_one",
          folder.figure("without-black-one", r.by_one.without_black, "The page without black: the letters are grey",
                        "<b>Through one table, without the black plate.</b> The letters are in all four "
                        "inks, and a plate that lies askew gives them coloured rims.")}});
}

std::string load_row(const objects_results &r, std::size_t object)
{
    const ink_load &own = r.by_tag.loads[object];
    const ink_load &one = r.by_one.loads[object];
    return expanded(
        R"(<tr><th scope="row">{name}, {way}</th><td class="ours">{own}</td><td class="ours">{own_coloured}</td>
<td>{one}</td><td>{one_coloured}</td></tr>
)",
        {{"name", object_names[object]},
         {"way", object_ways[object]},
         {"own", decimals(own.heaviest, 0)},
         {"own_coloured", decimals(own.coloured, 0)},
         {"one", decimals(one.heaviest, 0)},
         {"one_coloured", decimals(one.coloured, 0)}});
}

std::string loads(const objects_results &r)
{
    std::string rows;
    for (std::size_t object = 0; object < object_kinds; ++object)
        rows += load_row(r, object);
    return expanded(
        R"(<div class="scroll" tabindex="0"><table>
<caption>Inks <span>per cent of one full ink</span></caption>
<thead><tr><td rowspan="2"></td><th colspan="2" scope="colgroup">through its own table</th>
<th colspan="2" scope="colgroup">through the photograph's</th></tr>
<tr><th scope="col">heaviest pixel</th><th scope="col">mean without black</th>
<th scope="col">heaviest pixel</th><th scope="col">mean without black</th></tr></thead>
<tbody>
{rows}</tbody></table></div>
<p>One call of <code>mmd_tetras_interp_tag_b</code> a line converts the page at {tag} megapixels per second, paper
included; one table alone, without tags, does {one}.</p>
)",
        {{"rows", rows}, {"tag", decimals(r.tag_speed.median, 0)}, {"one", decimals(r.one_speed.median, 0)}});
}

std::string summary(const objects_results &r)
{
    return expanded("  by tag {tag} Mpx/s, one table {one} Mpx/s; heaviest pixel of text {own} % instead of {all} %\n",
                    {{"tag", decimals(r.tag_speed.median, 1)},
                     {"one", decimals(r.one_speed.median, 1)},
                     {"own", decimals(r.by_tag.loads[text_object].heaviest, 0)},
                     {"all", decimals(r.by_one.loads[text_object].heaviest, 0)}});
}

constexpr const char *lead =
    R"(<p class="lead">A photograph wants its tones kept, a graphic its colours full, and text sharp
edges. A set of tables converts them side by side: a tag for each pixel says which table it takes.</p>
)";

}  // namespace

section objects_section(const gallery_inputs &inputs)
{
    colour_engine engine;
    const profile press = engine.open_press(inputs.profile);
    const picture photograph = read_png(inputs.photo);
    const section_folder folder(inputs.output, "objects");
    const objects_results r = run_objects(photograph, press, engine, measured_rounds);
    return {"objects", "One page, three tables", summary(r), lead + pictures(r, folder) + loads(r)};
}

}  // namespace examples
