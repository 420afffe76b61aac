// round_trip - colours to inks by models of charts, and back by the profile

#include "support/failure.h"

#include "cloud/job.h"

#include <functional>
#include <random>

namespace examples
{

namespace
{

constexpr int colours_asked = 500;
constexpr double patch_noise = 0.3;

using finder = std::function<ink_set(const colour &)>;

// ---- There and back -------------------------------------------------------------------------------------------------

difference there_and_back(int free_inks, const transform &print, const finder &inks_for)
{
    std::mt19937 numbers(2);
    std::uniform_real_distribution<double> ink(0, 100);
    std::vector<double> distances;
    for (int i = 0; i < colours_asked; ++i) {
        ink_set inks{};
        for (int k = 0; k < free_inks; ++k)
            inks[static_cast<std::size_t>(k)] = ink(numbers);
        cmsCIELab wanted, got;
        print.run(inks.data(), &wanted, 1);
        inks = inks_for({wanted.L, wanted.a, wanted.b});
        print.run(inks.data(), &got, 1);
        distances.push_back(cmsCIE2000DeltaE(&wanted, &got, 1, 1, 1));
    }
    return summarise(distances);
}

difference by_model(const chart &asked, const transform &print, double noise)
{
    const cloud model(printed(asked, print, noise));
    return there_and_back(asked.free_inks, print, [&](const colour &lab) { return model.way_to(lab).inks; });
}

finder by_profile(const transform &to_inks, md_tetrad *table)
{
    std::array<int, 3> index{};
    do {
        const colour lab = {100 * index[0] / 16.0, 255 * index[1] / 16.0 - 128, 255 * index[2] / 16.0 - 128};
        to_inks.run(lab.data(), md_tetrad_vertex_get(table, index.data(), nullptr), 1);
    } while (md_tetrad_scan_vertex(table, index.data()) != 0);
    return [table](const colour &lab) {
        colour place = {lab[0] / 100, (lab[1] + 128) / 255, (lab[2] + 128) / 255};
        ink_set inks;
        std::array<double *, 3> from = {place.data(), &place[1], &place[2]};
        std::array<double *, 4> to = {inks.data(), &inks[1], &inks[2], &inks[3]};
        md_tetrad_interp(table, from.data(), 1, to.data(), 1, 1);
        return inks;
    };
}

}  // namespace

std::vector<round_trips> compare_round_trips(const std::vector<chart> &charts, const profile &press,
                                             colour_engine &engine)
{
    const profile lab = engine.lab();
    const cmsUInt32Number intent = INTENT_RELATIVE_COLORIMETRIC;
    const transform print = engine.connect({press, TYPE_CMYK_DBL, lab, TYPE_Lab_DBL, intent}, evaluation::direct);
    const transform to_inks = engine.connect({lab, TYPE_Lab_DBL, press, TYPE_CMYK_DBL, intent}, evaluation::direct);
    std::vector<round_trips> rows;
    for (const chart &asked : charts)
        rows.push_back({(asked.free_inks == 3 ? "CMY, " : "CMYK, ") + asked.name, int(asked.patches.size()),
                        by_model(asked, print, 0), by_model(asked, print, patch_noise)});
    const foreign<md_tetrad, md_tetrad_kill> table(md_tetrad_new(3, 4, 17, 0, 1));
    if (!table)
        throw_report();
    const difference own = there_and_back(4, print, by_profile(to_inks, table.get()));
    rows.push_back({"the profile's own direction, CMYK", 0, own, own});
    return rows;
}

}  // namespace examples
