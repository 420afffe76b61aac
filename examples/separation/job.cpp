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

// The same conversion in both kinds of Little CMS.
struct peer {
    transform direct;
    transform optimised;

    peer(colour_engine &engine, const ends &link)
        : direct(engine.connect(link, evaluation::direct)), optimised(engine.connect(link, evaluation::optimised))
    {
    }
};

struct filled_table {
    colour_table table;
    table_figures figures;
};

filled_table make_table(const char *label, int inputs, int outputs, int points, const transform &source)
{
    colour_table table(inputs, outputs, points);
    progress shown(label, table.vertices());
    const std::clock_t start = std::clock();
    table.fill([&](const unsigned char *in, unsigned char *out) { source.run(in, out, 1); }, shown);
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    const table_figures figures = {inputs, outputs, points, table.vertices(), table.bytes(), seconds};
    return {std::move(table), figures};
}

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

agreement against(const picture &direct, const picture &library, const picture &optimised)
{
    return {compare(library, direct), compare(optimised, direct)};
}

std::vector<cmsCIELab> in_lab(const picture &screen, const transform &to_lab)
{
    std::vector<cmsCIELab> lab(screen.pixels());
    to_lab.run(screen.samples.data(), lab.data(), static_cast<int>(lab.size()));
    return lab;
}

difference colour_difference(const std::vector<cmsCIELab> &a, const std::vector<cmsCIELab> &b)
{
    std::vector<double> values(a.size());
    std::transform(a.begin(), a.end(), b.begin(), values.begin(),
                   [](const cmsCIELab &x, const cmsCIELab &y) { return cmsCIE2000DeltaE(&x, &y, 1, 1, 1); });
    return summarise(std::move(values));
}

speeds measure(const char *label, picture &in, const colour_table &table, const peer &lcms, int rounds)
{
    picture out(in.width, in.height, table.outputs());
    progress shown(label, rounds);
    const auto result =
        race({[&] { table.convert(in, out); }, [&] { lcms.optimised.run(in, out); }, [&] { lcms.direct.run(in, out); }},
             static_cast<double>(in.pixels()), rounds, shown);
    return {result[0], result[1], result[2]};
}

}  // namespace

separation_results run_separation(picture photograph, const profile &press, colour_engine &engine, int rounds)
{
    const profile srgb = engine.srgb();
    const profile lab = engine.lab();
    const peer separate(engine, {srgb, TYPE_RGB_8, press, TYPE_CMYK_8, INTENT_PERCEPTUAL});
    const peer proof(engine, {press, TYPE_CMYK_8, srgb, TYPE_RGB_8, INTENT_RELATIVE_COLORIMETRIC});
    const transform to_lab =
        engine.connect({srgb, TYPE_RGB_8, lab, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC}, evaluation::direct);

    const auto to_press = make_table("filling RGB to CMYK", 3, inks, separation_points, separate.direct);
    const auto to_screen = make_table("filling CMYK to RGB", inks, 3, proofing_points, proof.direct);

    separation_results r{};
    r.photograph = std::move(photograph);
    r.press = description(press);
    r.to_press = to_press.figures;
    r.to_screen = to_screen.figures;
    r.rounds = rounds;

    r.plates = to_press.table.convert(r.photograph);
    r.proof = to_screen.table.convert(r.plates);
    for (int ink = 0; ink < inks; ++ink) {
        const auto i = static_cast<std::size_t>(ink);
        picture alone = single_ink(r.plates, ink);
        r.plate_views[i] = to_screen.table.convert(alone);
        r.ink[i] = coverage(r.plates, ink);
    }
    r.heaviest = heaviest_pixel(r.plates);

    const picture direct_plates = separate.direct.run(r.photograph);
    const picture peer_plates = separate.optimised.run(r.photograph);
    const picture peer_proof = proof.optimised.run(peer_plates);
    r.direct_proof = proof.direct.run(direct_plates);
    r.separation = against(direct_plates, r.plates, peer_plates);
    r.proofing = against(proof.direct.run(r.plates), r.proof, proof.optimised.run(r.plates));
    r.chain = against(r.direct_proof, r.proof, peer_proof);
    const auto truth = in_lab(r.direct_proof, to_lab);
    r.chain_colour = {colour_difference(in_lab(r.proof, to_lab), truth),
                      colour_difference(in_lab(peer_proof, to_lab), truth)};

    r.separation_speed = measure("timing the separation", r.photograph, to_press.table, separate, rounds);
    r.proofing_speed = measure("timing the proof", r.plates, to_screen.table, proof, rounds);
    return r;
}

}  // namespace examples
