#include "faults/sweep.h"
#include "md_tetrab.h"

#include <memory>

namespace teska_test
{

namespace
{

constexpr const char *no_memory = "md_tetra_new: insufficient memory";  // all else
constexpr const char *no_grid = "md_tetrab_new: malloc failure";        // data, positions
constexpr const char *no_products = "md_tetrab_new: insuff. mem.";
constexpr const char *no_expansion = "md_tetrab_expand: error in md_tetrab_new";

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
    return {.name = name,
            .make = make,
            .failures = {{.count = 1, .once = {no_expansion, no_memory}},
                         {.count = 2, .once = {no_expansion, no_grid}},
                         {.count = 11, .once = {no_expansion, no_memory}}}};
}

const SweepRows rows({
    calling("md_tetrab_new, 3 inputs", [] { return made(md_tetrab_new(3, 4, 5), md_tetrab_kill); },
            {{.count = 1, .once = {no_memory}}, {.count = 2, .once = {no_grid}}, {.count = 11, .once = {no_memory}}}),
    calling("md_tetrab_new_special, other weights",
            [] { return made(md_tetrab_new_special(5, 3, 2, 16, 235, 0), md_tetrab_kill); },
            {{.count = 1, .once = {no_memory}},
             {.count = 2, .once = {no_grid}},
             {.count = 2, .once = {no_memory}},
             {.count = 1, .once = {no_products}},
             {.count = 9, .once = {no_memory}}}),
    expansion("md_tetrab_expand, 3 inputs, whole ratio", 3, 5),
    expansion("md_tetrab_expand, 5 inputs, other ratio", 5, 4),
});

}  // namespace

}  // namespace teska_test
