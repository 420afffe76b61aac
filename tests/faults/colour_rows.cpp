// Colour tables and models when memory is short
#include "support/owned_clut.h"

#include "archive.h"
#include "clg.h"
#include "clut_table.h"
#include "faults/sweep.h"
#include "izat.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "md_tetras.h"
#include "mmd_tetras.h"
#include "whole_image.h"

#include <new>

using namespace teska_test;

namespace
{

// Nothing is reported: the failure is an exception.
template <int inputs>
bool clut()
{
    unsigned char grid[] = {2, 2, 2, 2, 2, 2, 2};
    float values[128] = {};
    try {
        return OwnedClut(inputs, grid, 1, 0, values).NumPoints() == 1U << inputs;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

const lines no_memory{"md_tetra_new: insufficient memory"};  // all else
const lines no_grid{"md_tetrab_new: malloc failure"};        // data, positions

template <int inputs, int resolution>
SweepRow expansion(const char *name)
{
    const std::string nothing = "md_tetrab_expand: error in md_tetrab_new";
    const std::shared_ptr<md_tetrab> source(md_tetrab_new(inputs, 3, 3), md_tetrab_kill);
    return creating(name, [=] { return md_tetrab_expand(source.get(), resolution); }, md_tetrab_kill,
                    {{nothing, no_memory[0]}, {nothing, no_grid[0]}});
}

constexpr unsigned short inversion[] = {65535, 0};

md_tetras *rising(int inputs = 1, int outputs = 1)
{
    md_tetras *table = md_tetras_new(inputs, outputs, 2);
    md_tetras_dataptr(table, nullptr)[1] = 50000;
    return table;
}

md_tetras *curved()
{
    md_tetras *table = rising(3, 2);
    md_tetras_ilut_set(table, 2, 2, inversion);
    md_tetras_olut_set(table, 0, 2, inversion);
    return table;
}

template <class Table>
SweepRow clone(const char *name, Table *source, Table *(*copy)(const Table *), Table *(*kill)(Table *))
{
    const std::shared_ptr<Table> owned(source, kill);
    return creating(name, [=] { return copy(owned.get()); }, kill, {{std::string(name) + ": insufficient memory"}});
}

// The first curve of an input or output takes a block; what a sample is converted to shows whether it counts.
template <class Table>
SweepRow curve(const char *name, int (*set)(Table *table))
{
    constexpr bool one = std::is_same_v<Table, md_tetras>;
    const auto fresh = [] {
        if constexpr (one)
            return std::shared_ptr<Table>(rising(), md_tetras_kill);
        else
            return std::shared_ptr<Table>(mmd_tetras_new(2, 1, 1, 2), mmd_tetras_kill);
    };
    const auto converted = [](const std::shared_ptr<Table> &table) {
        const unsigned short sample = 1000, *in[] = {&sample};
        unsigned short result[2] = {}, *out[] = {result, result + 1};
        if constexpr (one)
            md_tetras_interp(table.get(), in, 1, out, 1, 1, nullptr, 0);
        else
            mmd_tetras_interp_all(table.get(), in, 1, out, 1, 1);
        return std::to_string(result[0]) + " " + std::to_string(result[1]);
    };
    return changing(name, fresh, [=](const std::shared_ptr<Table> &table) { return set(table.get()) == 1; }, converted,
                    {{std::string(name) + ": insufficient memory"}});
}

using Cloud = std::shared_ptr<clg>;

// A model of eight corners, and so many pairs that it does not have yet that the cells of former holes are used again,
// and arrays grow.
template <int channels>
Cloud half_built()
{
    Cloud cloud(clg_new(channels, channels, 0, 1), clg_kill);
    for (int i = 0; i < 1 << channels; ++i) {
        const double device[] = {i & 1 ? 1.0 : 0.0, i & 2 ? 1.0 : 0.0, i & 4 ? 1.0 : 0.0, i & 8 ? 1.0 : 0.0};
        clg_add(cloud.get(), device, device);
    }
    EXPECT_EQ(clg_build(cloud.get()), 0);
    for (int i = 0; i < 125; ++i) {
        double device[4] = {};
        for (int k = 0, rest = i; k < channels; ++k, rest /= 5)
            device[k] = 0.24 * (rest % 5) + 0.001 * k * (i % 7);
        device[3] = channels == 4 ? i % 11 * 0.09 : 0.0;
        const double colour[] = {device[0] + device[3], device[1] + device[3] * device[0], device[2] - device[3]};
        clg_add(cloud.get(), device, colour);
    }
    return cloud;
}

std::string model(const Cloud &cloud)
{
    const double colour[] = {0.4, 0.3, 2.0};
    double device[4] = {}, dist = 0;
    clg_find(cloud.get(), colour, device, &dist);
    return std::to_string(clg_num_points(cloud.get())) + " " + std::to_string(clg_num_cells(cloud.get())) + " " +
           std::to_string(device[0]) + " " + std::to_string(dist);
}

// As many pairs as there is room for.
Cloud full()
{
    Cloud cloud(clg_new(3, 3, 0, 1), clg_kill);
    for (int i = 0; i < 64; ++i) {
        const double device[] = {i / 63.0, i % 3 * 0.5, i % 2 * 1.0};
        clg_add(cloud.get(), device, device);
    }
    EXPECT_EQ(clg_build(cloud.get()), 0);
    return cloud;
}

const double middle[] = {0.5, 0.5, 0.5};

template <int channels>
SweepRow build_row(const char *name)
{
    return changing(name, half_built<channels>, [](const Cloud &cloud) { return gave(0, clg_build(cloud.get())); },
                    model, {{"clg_build: malloc failure"}});
}

constexpr int points[] = {2, 2, 2};
unsigned char pixels[64], result[64];
const whole_image from{pixels, 4, 4, 3, 8, 12, 3, 1}, to{result, 4, 4, 3, 8, 12, 3, 1};

const SweepRows rows({
    calling("CLUT, 3 inputs", clut<3>, {{}}),
    calling("CLUT, 7 inputs", clut<7>, {{}}),
    creating("md_tetrab_new, 3 inputs", md_tetrab_new, md_tetrab_kill, {no_memory, no_grid}, 3, 4, 5),
    creating("md_tetrab_new_special, other weights", md_tetrab_new_special, md_tetrab_kill,
             {no_memory, no_grid, {"md_tetrab_new: insuff. mem."}}, 5, 3, 2, 16, 235, 0),
    expansion<3, 5>("md_tetrab_expand, 3 inputs, whole ratio"),
    expansion<5, 4>("md_tetrab_expand, 5 inputs, other ratio"),
    creating("md_tetrad_new", md_tetrad_new, md_tetrad_kill, {no_memory, no_grid, {"md_tetrad_new: insuff. mem."}}, 6,
             2, 3, 0.0, 1.0),
    clone("md_tetrab_clone", md_tetrab_new_special(3, 2, 4, 16, 235, 0), md_tetrab_clone, md_tetrab_kill),
    clone("md_tetrad_clone", md_tetrad_new(3, 2, 4, 0, 1), md_tetrad_clone, md_tetrad_kill),
    clone("md_tetras_clone", curved(), md_tetras_clone, md_tetras_kill),
    clone("mmd_tetras_clone", mmd_tetras_new(3, 2, 4, 5), mmd_tetras_clone, mmd_tetras_kill),
    creating("md_tetras_new", md_tetras_new, md_tetras_kill, {{"md_tetras_new: insufficient memory"}}, 3, 4, 5),
    creating("mmd_tetras_new", mmd_tetras_new, mmd_tetras_kill, {{"mmd_tetras_new: insufficient memory"}}, 3, 2, 4, 5),
    curve<md_tetras>("md_tetras_ilut_set", [](md_tetras *t) { return md_tetras_ilut_set(t, 0, 2, inversion); }),
    curve<md_tetras>("md_tetras_olut_set", [](md_tetras *t) { return md_tetras_olut_set(t, 0, 2, inversion); }),
    curve<mmd_tetras>("mmd_tetras_ilut_set", [](mmd_tetras *set) { return mmd_tetras_ilut_set(set, 0, 2, inversion); }),
    curve<mmd_tetras>("mmd_tetras_olut_set",
                      [](mmd_tetras *set) { return mmd_tetras_olut_set(set, 1, 0, 2, inversion); }),
    creating("clg_new", clg_new, clg_kill, {{"clg_new: malloc failure"}}, 4, 4, 0, 1),
    changing("clg_add", full, [](const Cloud &cloud) { return gave(0, clg_add(cloud.get(), middle, middle)); }, model,
             {{"clg_add: malloc failure"}}),
    build_row<1>("clg_build, 1 channel"),
    build_row<3>("clg_build, 3 channels"),
    build_row<4>("clg_build, 4 channels"),
    creating("archive_create", archive_create, archive_kill,
             {{"archive_create: insufficient memory"},
              {"archive_create: cannot create archive"},
              {"archive_create: insufficient memory", "list_new : Not enough resources to create list"}},
             "/dev/null", "", nullptr),
    creating("clut_table_new", clut_table_new, clut_table_kill, {{"clut_table_new: insufficient memory"}}, 3, points, 1,
             nullptr),
    calling("whole_image_resize", [] { return whole_image_resize(IZAT_TRIANGLE, &from, &to, nullptr, 0, 4) == 1; },
            {{"izat_new: insufficient memory"}, {"izat_start: insufficient memory"}}),
    calling("whole_image_resize, picking",
            [] { return whole_image_resize(WHOLE_IMAGE_PICK, &from, &to, nullptr, 0, 4) == 1; },
            {{"izoom_new: insufficient memory"}, {"izoom_start: insufficient memory"}}),
});

}  // namespace
