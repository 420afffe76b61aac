#include "support/owned_clut.h"

#include "faults/sweep.h"

#include <new>

namespace teska_test
{

namespace
{

// Nothing is reported: the failure is an exception.
SweepRow constructor(const char *name, unsigned char inputs, int allocations)
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
    return calling(name, build, {{.count = allocations, .once = {}}});
}

const SweepRows rows({
    constructor("CLUT, 1 input", 1, 6),
    constructor("CLUT, 3 inputs", 3, 2),
    constructor("CLUT, 6 inputs", 6, 2),
    constructor("CLUT, 7 inputs", 7, 6),
});

}  // namespace

}  // namespace teska_test
