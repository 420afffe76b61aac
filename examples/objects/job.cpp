// job - a page whose objects go to the press through tables of their own

#include "objects/job.h"

#include "support/cie.h"
#include "support/failure.h"
#include "support/foreign.h"
#include "support/progress.h"

#include "mmd_tetras.h"
#include "separation/colour_table.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

namespace examples
{

namespace
{

constexpr int inks = 4;
constexpr int black = 3;
constexpr int points = 33;
constexpr double full_sample = 65535.0;
constexpr double full_ink = 255.0;

using word_source = word_table::vertex_source;

// ---- Tables by tag --------------------------------------------------------------------------------------------------

// The tables of all kinds of objects, from RGB to inks.
class table_set
{
public:
    table_set() : set_(mmd_tetras_new(object_kinds, 3, inks, points))
    {
        if (!set_)
            throw_report();
    }

    void fill(int object, const word_source &source)
    {
        std::array<int, 3> coord{};
        std::array<unsigned short, 3> in{};
        do {
            unsigned short *out = mmd_tetras_vertex_get(set_.get(), object, coord.data(), in.data());
            source(in.data(), out);
        } while (mmd_tetras_scan_vertex(set_.get(), coord.data()) != 0);
    }

    // Where the tags name no table the plates stay as they are.
    void convert(const picture &colours, const picture &tags, picture &plates) const
    {
        for (int y = 0; y < colours.height; ++y) {
            const unsigned char *in = colours.line(y);
            unsigned char *out = plates.line(y);
            const std::array<const unsigned char *, 3> from = {in, in + 1, in + 2};
            const std::array<unsigned char *, inks> to = {out, out + 1, out + 2, out + 3};
            mmd_tetras_interp_tag_b(set_.get(), from.data(), 3, to.data(), inks, colours.width, tags.line(y));
        }
    }

private:
    foreign<mmd_tetras, mmd_tetras_kill> set_;
};

word_source through(const transform &link)
{
    return [&link](const unsigned short *in, unsigned short *out) { link.run(in, out, 1); };
}

// Each ink as much as its opposite is missing, and black instead of what all three have in common: the vivid colours of
// the screen become solid inks, whatever they look like.
void pure_inks(const unsigned short *in, unsigned short *out)
{
    const unsigned short lightest = std::max({in[0], in[1], in[2]});
    for (int i = 0; i < black; ++i)
        *out++ = static_cast<unsigned short>(lightest - in[i]);
    *out = static_cast<unsigned short>(65535 - lightest);
}

// Black as much as the colour is darker than white, and no other ink.
void black_alone(const unsigned short *in, unsigned short *out)
{
    const colour lab = lab_of_screen({in[0] / full_sample, in[1] / full_sample, in[2] / full_sample});
    std::fill_n(out, black, static_cast<unsigned short>(0));
    out[black] = static_cast<unsigned short>(std::lround(full_sample * std::clamp(1 - lab[0] / 100, 0.0, 1.0)));
}

ink_load load_of(const picture &plates, const picture &tags, int object)
{
    double heaviest = 0, coloured = 0, pixels = 0;
    for (std::size_t i = 0; i < tags.samples.size(); ++i)
        if (tags.samples[i] == object) {
            const unsigned char *ink = &plates.samples[i * inks];
            const double three = std::accumulate(ink, ink + black, 0.0);
            heaviest = std::max(heaviest, three + ink[black]);
            coloured += three;
            ++pixels;
        }
    return {100 * heaviest / full_ink, 100 * coloured / (full_ink * pixels)};
}

// ---- A page through its tables --------------------------------------------------------------------------------------

printed_page print(const table_set &tables, const tagged_page &page, const picture &tags, const transform &to_screen)
{
    printed_page made;
    made.plates = picture(tags.width, tags.height, inks);
    tables.convert(page.colours, tags, made.plates);
    made.proof = to_screen.run(made.plates);
    picture three = made.plates;
    for (std::size_t i = black; i < three.samples.size(); i += inks)
        three.samples[i] = 0;
    made.without_black = to_screen.run(three);
    for (int object = 0; object < object_kinds; ++object)
        made.loads[static_cast<std::size_t>(object)] = load_of(made.plates, page.tags, object);
    return made;
}

picture colours_of(const picture &tags)
{
    picture shown(tags.width, tags.height, 3);
    unsigned char *sample = shown.samples.data();
    for (const unsigned char object : tags.samples) {
        const auto colour = tag_colour(object);
        sample = std::copy(colour.begin(), colour.end(), sample);
    }
    return shown;
}

}  // namespace

std::array<unsigned char, 3> tag_colour(int object)
{
    switch (object) {
    case photograph_object:
        return {0, 97, 143};
    case graphic_object:
        return {224, 112, 44};
    case text_object:
        return {35, 31, 32};
    default:
        return {255, 255, 255};
    }
}

objects_results run_objects(const picture &photograph, const profile &press, colour_engine &engine, int rounds)
{
    const profile srgb = engine.srgb();
    const transform tones =
        engine.connect({srgb, TYPE_RGB_16, press, TYPE_CMYK_16, INTENT_PERCEPTUAL}, evaluation::direct);
    const transform to_screen =
        engine.connect({press, TYPE_CMYK_8, srgb, TYPE_RGB_8, INTENT_RELATIVE_COLORIMETRIC}, evaluation::direct);
    table_set tables;
    tables.fill(photograph_object, through(tones));
    tables.fill(graphic_object, pure_inks);
    tables.fill(text_object, black_alone);

    objects_results r;
    r.page = compose_page(photograph);
    r.tag_colours = colours_of(r.page.tags);
    r.by_tag = print(tables, r.page, r.page.tags, to_screen);
    picture one = r.page.tags;
    std::replace_if(
        one.samples.begin(), one.samples.end(), [](unsigned char object) { return object != paper; },
        static_cast<unsigned char>(photograph_object));
    r.by_one = print(tables, r.page, one, to_screen);

    word_table alone(3, inks, points);
    progress filled("filling the table for photographs", alone.vertices());
    alone.fill(through(tones), filled);
    picture out(r.page.tags.width, r.page.tags.height, inks);
    progress shown("timing the page", rounds);
    const auto speeds =
        race({[&] { tables.convert(r.page.colours, r.page.tags, out); }, [&] { alone.convert(r.page.colours, out); }},
             static_cast<double>(out.pixels()), rounds, shown);
    r.tag_speed = speeds[0];
    r.one_speed = speeds[1];
    return r;
}

}  // namespace examples
