#include "faults/sweep.h"
#include "md_tetras.h"
#include "mmd_tetras.h"

#include <memory>

namespace teska_test
{

namespace
{

constexpr unsigned short inversion[] = {65535, 0};

// The first curve of an input or output takes a block; what the table converts a sample to shows whether it counts.
SweepRow curve(const char *name, int (*set)(md_tetras *, int, int, const unsigned short *), const char *no_memory)
{
    const auto make = [=] {
        std::shared_ptr<md_tetras> table(md_tetras_new(1, 1, 2), md_tetras_kill);
        md_tetras_dataptr(table.get(), nullptr)[1] = 50000;
        const auto state = [=] {
            const unsigned short sample = 1000;
            unsigned short result = 0;
            const unsigned short *in[] = {&sample};
            unsigned short *out[] = {&result};
            md_tetras_interp(table.get(), in, 1, out, 1, 1, nullptr, 0);
            return std::to_string(result);
        };
        return SweepCase{.call = [=] { return set(table.get(), 0, 2, inversion) == 1; }, .state = state};
    };
    return {.name = name, .make = make, .once = {{no_memory}}};
}

SweepRow set_curve(const char *name, std::function<int(mmd_tetras *)> change, const char *no_memory)
{
    const auto make = [=] {
        std::shared_ptr<mmd_tetras> set(mmd_tetras_new(2, 1, 1, 2), mmd_tetras_kill);
        return SweepCase{.call = [=] { return change(set.get()) == 1; }};
    };
    return {.name = name, .make = make, .once = {{no_memory}}};
}

const SweepRows rows({
    calling("md_tetras_new", [] { return made(md_tetras_new(3, 4, 5), md_tetras_kill); },
            {{"md_tetras_new: insufficient memory"}}),
    calling("mmd_tetras_new", [] { return made(mmd_tetras_new(3, 2, 4, 5), mmd_tetras_kill); },
            {{"mmd_tetras_new: insufficient memory"}}),
    curve("md_tetras_ilut_set", md_tetras_ilut_set, "md_tetras_ilut_set: insufficient memory"),
    curve("md_tetras_olut_set", md_tetras_olut_set, "md_tetras_olut_set: insufficient memory"),
    set_curve(
        "mmd_tetras_ilut_set", [](mmd_tetras *set) { return mmd_tetras_ilut_set(set, 0, 2, inversion); },
        "mmd_tetras_ilut_set: insufficient memory"),
    set_curve(
        "mmd_tetras_olut_set", [](mmd_tetras *set) { return mmd_tetras_olut_set(set, 1, 0, 2, inversion); },
        "mmd_tetras_olut_set: insufficient memory"),
});

}  // namespace

}  // namespace teska_test
