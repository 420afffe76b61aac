// Colour tables when memory is short
#include "support/owned_clut.h"

#include "faults/sweep.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "md_tetras.h"
#include "mmd_tetras.h"

#include <memory>
#include <new>

namespace teska_test
{

namespace
{

// Nothing is reported: the failure is an exception.
SweepRow clut(const char *name, unsigned char inputs)
{
    const auto build = [inputs] {
        unsigned char grid[] = {2, 2, 2, 2, 2, 2, 2};
        float values[128] = {};
        try {
            return OwnedClut(inputs, grid, 1, 0, values).NumPoints() == 1U << inputs;
        } catch (const std::bad_alloc &) {
            return false;
        }
    };
    return calling(name, build, {{}});
}

const lines no_memory{"md_tetra_new: insufficient memory"};  // all else
const lines no_grid{"md_tetrab_new: malloc failure"};        // data, positions
const std::string no_expansion = "md_tetrab_expand: error in md_tetrab_new";

SweepRow expansion(const char *name, int inputs, int resolution)
{
    const auto make = [=] {
        std::shared_ptr<md_tetrab> source(md_tetrab_new(inputs, 3, 3), md_tetrab_kill);
        int size = 0;
        unsigned char *data = md_tetrab_dataptr(source.get(), &size);
        data[5] = 55;
        return SweepCase{.call = [=] { return made(md_tetrab_expand(source.get(), resolution), md_tetrab_kill); },
                         .state = [=] { return std::string(data, data + size); }};
    };
    const lines nothing{no_expansion, no_memory[0]};
    return {.name = name, .make = make, .once = {nothing, {no_expansion, no_grid[0]}, nothing}};
}

SweepRow tetrad(const char *name, int inputs)
{
    return calling(name, [=] { return made(md_tetrad_new(inputs, 2, 3, 0.0, 1.0), md_tetrad_kill); },
                   {no_memory, no_grid, {"md_tetrad_new: insuff. mem."}});
}

md_tetras *curved(md_tetras *table)
{
    const unsigned short inversion[] = {65535, 0};
    md_tetras_ilut_set(table, 2, 2, inversion);
    md_tetras_olut_set(table, 0, 2, inversion);
    return table;
}

template <class Create, class Table>
SweepRow clone(const char *name, Create create, Table *(*copy)(const Table *), Table *(*kill)(Table *),
               const char *no_memory_for_it)
{
    const auto make = [=] {
        const std::shared_ptr<Table> source(create(), kill);
        return SweepCase{.call = [=] { return made(copy(source.get()), kill); }};
    };
    return {.name = name, .make = make, .once = {{no_memory_for_it}}};
}

const SweepRows rows({
    clut("CLUT, 1 input", 1),
    clut("CLUT, 3 inputs", 3),
    clut("CLUT, 6 inputs", 6),
    clut("CLUT, 7 inputs", 7),
    calling("md_tetrab_new, 3 inputs", [] { return made(md_tetrab_new(3, 4, 5), md_tetrab_kill); },
            {no_memory, no_grid, no_memory}),
    calling("md_tetrab_new_special, other weights",
            [] { return made(md_tetrab_new_special(5, 3, 2, 16, 235, 0), md_tetrab_kill); },
            {no_memory, no_grid, no_memory, {"md_tetrab_new: insuff. mem."}, no_memory}),
    expansion("md_tetrab_expand, 3 inputs, whole ratio", 3, 5),
    expansion("md_tetrab_expand, 5 inputs, other ratio", 5, 4),
    tetrad("md_tetrad_new, 1 input", 1),
    tetrad("md_tetrad_new, 6 inputs", 6),
    clone(
        "md_tetrab_clone", [] { return md_tetrab_new_special(3, 2, 4, 16, 235, 0); }, md_tetrab_clone, md_tetrab_kill,
        "md_tetrab_clone: insufficient memory"),
    clone(
        "md_tetrad_clone", [] { return md_tetrad_new(3, 2, 4, 0, 1); }, md_tetrad_clone, md_tetrad_kill,
        "md_tetrad_clone: insufficient memory"),
    clone(
        "md_tetras_clone", [] { return curved(md_tetras_new(3, 2, 4)); }, md_tetras_clone, md_tetras_kill,
        "md_tetras_clone: insufficient memory"),
    clone(
        "mmd_tetras_clone", [] { return mmd_tetras_new(3, 2, 4, 5); }, mmd_tetras_clone, mmd_tetras_kill,
        "mmd_tetras_clone: insufficient memory"),
});

}  // namespace

}  // namespace teska_test
