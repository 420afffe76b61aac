// cloud - the model of a press by its patches, and a table from colours to inks

#include "support/failure.h"

#include "cloud/job.h"

#include <algorithm>

namespace examples
{

cloud::cloud(const chart &measured) : cells_(clg_new(4, measured.free_inks, 0, 100)), hull_(convex_hull_new())
{
    if (!cells_ || !hull_)
        throw_report();
    for (const patch &one : measured.patches)
        if (clg_add(cells_.get(), one.inks.data(), one.lab.data()) != 0 ||
            convex_hull_add_points(hull_.get(), one.lab.data(), 1) != 0)
            throw_report();
    if (clg_build(cells_.get()) != 0 || convex_hull_construct(hull_.get()) != 0)
        throw_report();
    rule(0.5);
}

void cloud::rule(double place)
{
    constexpr ink_set black_alone = {0, 0, 0, 1};
    clg_rule(cells_.get(), black_alone.data(), place);
}

way_to_print cloud::way_to(const colour &lab) const
{
    way_to_print way{};
    if (clg_nearest(cells_.get(), lab.data(), way.printed.data(), way.inks.data(), &way.distance) < 0)
        throw_report();
    return way;
}

picture cloud::black_plate(const picture &photograph) const
{
    const backward_table table = new_backward_table();
    if (clg_fill_tetrad(cells_.get(), table.get(), backward_scale.data(), backward_offset.data()) < 0)
        throw_report();
    picture plate(photograph.width, photograph.height, 1);
    for (std::size_t i = 0; i < photograph.pixels(); ++i) {
        const unsigned char *rgb = &photograph.samples[3 * i];
        const colour lab = lab_of_screen({rgb[0] / 255.0, rgb[1] / 255.0, rgb[2] / 255.0});
        plate.samples[i] = sample_of(1 - inks_from(table.get(), lab)[3] / 100);
    }
    return plate;
}

backward_table new_backward_table()
{
    backward_table made(md_tetrad_new(3, 4, backward_points, 0, 1));
    if (!made)
        throw_report();
    return made;
}

ink_set inks_from(md_tetrad *table, const colour &lab)
{
    colour place;
    for (std::size_t k = 0; k < 3; ++k)
        place[k] = std::clamp((lab[k] - backward_offset[k]) / backward_scale[k], 0.0, 1.0);
    ink_set inks;
    std::array<double *, 3> from = {place.data(), &place[1], &place[2]};
    std::array<double *, 4> to = {inks.data(), &inks[1], &inks[2], &inks[3]};
    md_tetrad_interp(table, from.data(), 1, to.data(), 1, 1);
    return inks;
}

}  // namespace examples
