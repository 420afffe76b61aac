// job - a photograph separated for a press, proofed back and compared

#include "separation/job.h"

#include "support/progress.h"

#include "separation/colour_table.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace examples
{

namespace
{

constexpr int separation_points = 33;
constexpr int proofing_points = 17;
constexpr double full_ink = 255.0;

// ---- The tables -----------------------------------------------------------------------------------------------------

// The same conversion in both kinds of Little CMS, and the one that answers in 16 bits.
struct peer {
    transform direct;
    transform direct_words;
    transform optimised;

    peer(colour_engine &engine, const ends &link, const ends &words)
        : direct(engine.connect(link, evaluation::direct)), direct_words(engine.connect(words, evaluation::direct)),
          optimised(engine.connect(link, evaluation::optimised))
    {
    }
};

template <class sample>
table_figures fill(colour_table<sample> &table, const char *label, const transform &source)
{
    progress shown(label, table.vertices());
    const std::clock_t start = std::clock();
    table.fill([&](const sample *in, sample *out) { source.run(in, out, 1); }, shown);
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    const int bits = 8 * static_cast<int>(sizeof(sample));
    return {table.inputs(), table.outputs(), bits, table.points(), table.vertices(), table.bytes(), seconds};
}

// One conversion in tables of both kinds, with the same grid.
struct table_pair {
    word_table words;
    byte_table bytes;
    std::array<table_figures, 2> figures;

    table_pair(const char *label, int inputs, int outputs, int points, const peer &source)
        : words(inputs, outputs, points),
          bytes(inputs, outputs, points), figures{fill(words, label, source.direct_words),
                                                  fill(bytes, label, source.direct)}
    {
    }
};

// ---- Plates ---------------------------------------------------------------------------------------------------------

// The plates with every ink but one taken away.
picture single_ink(const picture &plates, int ink)
{
    picture alone(plates.width, plates.height, inks);
    for (std::size_t i = static_cast<std::size_t>(ink); i < plates.samples.size(); i += inks)
        alone.samples[i] = plates.samples[i];
    return alone;
}

ink_figures coverage(const picture &plates, int ink)
{
    double sum = 0;
    int largest = 0;
    for (std::size_t i = static_cast<std::size_t>(ink); i < plates.samples.size(); i += inks) {
        sum += plates.samples[i];
        largest = std::max(largest, int{plates.samples[i]});
    }
    return {100 * sum / (full_ink * static_cast<double>(plates.pixels())), 100 * largest / full_ink};
}

double heaviest_pixel(const picture &plates)
{
    int largest = 0;
    for (std::size_t i = 0; i < plates.samples.size(); i += inks) {
        const unsigned char *ink = &plates.samples[i];
        largest = std::max(largest, ink[0] + ink[1] + ink[2] + ink[3]);
    }
    return 100 * largest / full_ink;
}

// ---- All ways compared ----------------------------------------------------------------------------------------------

// What all ways make of one picture.
struct answers {
    picture words;
    picture bytes;
    picture peer;
    picture direct;
};

answers convert(const table_pair &tables, const peer &lcms, answers in)
{
    return {tables.words.convert(in.words), tables.bytes.convert(in.bytes), lcms.optimised.run(in.peer),
            lcms.direct.run(in.direct)};
}

agreement compare(const answers &made)
{
    return {compare(made.words, made.direct), compare(made.bytes, made.direct), compare(made.peer, made.direct)};
}

std::vector<cmsCIELab> in_lab(const picture &screen, const transform &to_lab)
{
    std::vector<cmsCIELab> lab(screen.pixels());
    to_lab.run(screen.samples.data(), lab.data(), static_cast<int>(lab.size()));
    return lab;
}

std::vector<double> colour_distances(const std::vector<cmsCIELab> &a, const std::vector<cmsCIELab> &b)
{
    std::vector<double> values(a.size());
    std::transform(a.begin(), a.end(), b.begin(), values.begin(),
                   [](const cmsCIELab &x, const cmsCIELab &y) { return cmsCIE2000DeltaE(&x, &y, 1, 1, 1); });
    return values;
}

difference colour_difference(const std::vector<cmsCIELab> &a, const std::vector<cmsCIELab> &b)
{
    return summarise(colour_distances(a, b));
}

agreement compare_colours(const answers &made, const transform &to_lab)
{
    const auto truth = in_lab(made.direct, to_lab);
    return {colour_difference(in_lab(made.words, to_lab), truth), colour_difference(in_lab(made.bytes, to_lab), truth),
            colour_difference(in_lab(made.peer, to_lab), truth)};
}

speeds measure(const char *label, picture &in, const table_pair &tables, const peer &lcms, int rounds)
{
    picture out(in.width, in.height, tables.words.outputs());
    progress shown(label, rounds);
    const auto result = race({[&] { tables.words.convert(in, out); }, [&] { tables.bytes.convert(in, out); },
                              [&] { lcms.optimised.run(in, out); }, [&] { lcms.direct.run(in, out); }},
                             static_cast<double>(in.pixels()), rounds, shown);
    return {result[0], result[1], result[2], result[3]};
}

}  // namespace

// ---- From photograph to proof ---------------------------------------------------------------------------------------

separation_results run_separation(picture photograph, const profile &press, colour_engine &engine, int rounds)
{
    const profile srgb = engine.srgb();
    const profile lab = engine.lab();
    const peer separate(engine, {srgb, TYPE_RGB_8, press, TYPE_CMYK_8, INTENT_PERCEPTUAL},
                        {srgb, TYPE_RGB_16, press, TYPE_CMYK_16, INTENT_PERCEPTUAL});
    const peer proof(engine, {press, TYPE_CMYK_8, srgb, TYPE_RGB_8, INTENT_RELATIVE_COLORIMETRIC},
                     {press, TYPE_CMYK_16, srgb, TYPE_RGB_16, INTENT_RELATIVE_COLORIMETRIC});
    const transform to_lab =
        engine.connect({srgb, TYPE_RGB_8, lab, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC}, evaluation::direct);

    const table_pair to_press("filling RGB to CMYK", 3, inks, separation_points, separate);
    const table_pair to_screen("filling CMYK to RGB", inks, 3, proofing_points, proof);

    separation_results r{};
    r.press = description(press);
    r.to_press = to_press.figures;
    r.to_screen = to_screen.figures;
    r.rounds = rounds;

    answers plates = convert(to_press, separate, {photograph, photograph, photograph, photograph});
    answers proofs = convert(to_screen, proof, plates);
    r.separation = compare(plates);
    r.proofing = compare(convert(to_screen, proof, {plates.words, plates.words, plates.words, plates.words}));
    r.chain = compare(proofs);
    r.chain_colour = compare_colours(proofs, to_lab);
    r.proof_distances = colour_distances(in_lab(proofs.words, to_lab), in_lab(proofs.direct, to_lab));

    r.photograph = std::move(photograph);
    r.plates = std::move(plates.words);
    r.proof = std::move(proofs.words);
    r.direct_proof = std::move(proofs.direct);
    for (int ink = 0; ink < inks; ++ink) {
        const auto i = static_cast<std::size_t>(ink);
        picture alone = single_ink(r.plates, ink);
        r.plate_views[i] = to_screen.words.convert(alone);
        r.ink[i] = coverage(r.plates, ink);
    }
    r.heaviest = heaviest_pixel(r.plates);

    r.separation_speed = measure("timing the separation", r.photograph, to_press, separate, rounds);
    r.proofing_speed = measure("timing the proof", r.plates, to_screen, proof, rounds);
    return r;
}

}  // namespace examples
