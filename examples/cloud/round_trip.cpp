// round_trip - colours to inks by models of charts, and back by the profile

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

void fill_by_profile(md_tetrad *table, const transform &to_inks)
{
    std::array<int, 3> index{};
    do {
        colour lab;
        for (std::size_t k = 0; k < 3; ++k)
            lab[k] = backward_offset[k] + backward_scale[k] * index[k] / (backward_points - 1);
        to_inks.run(lab.data(), md_tetrad_vertex_get(table, index.data(), nullptr), 1);
    } while (md_tetrad_scan_vertex(table, index.data()) != 0);
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
    const backward_table table = new_backward_table();
    fill_by_profile(table.get(), to_inks);
    const difference own =
        there_and_back(4, print, [&](const colour &wanted) { return inks_from(table.get(), wanted); });
    rows.push_back({"the profile's own direction, CMYK", 0, own, own});
    return rows;
}

}  // namespace examples
