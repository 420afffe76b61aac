#include "faults/sweep.h"
#include "md_tetrad.h"

namespace teska_test
{

namespace
{

constexpr const char *no_memory = "md_tetra_new: insufficient memory";  // record, data

SweepRow creation(const char *name, int inputs)
{
    const auto call = [=] {
        md_tetrad *table = md_tetrad_new(inputs, 2, 3, 0.0, 1.0);
        return table != nullptr && md_tetrad_kill(table) == nullptr;
    };
    return calling(name, call,
                   {{.count = 2, .once = {no_memory}},
                    {.count = 1, .once = {"md_tetrab_new: malloc failure"}},
                    {.count = 1, .once = {"md_tetrad_new: insuff. mem."}}});
}

const SweepRows rows({creation("md_tetrad_new, 1 input", 1), creation("md_tetrad_new, 6 inputs", 6)});

}  // namespace

}  // namespace teska_test
