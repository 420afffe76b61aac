#include "faults/sweep.h"
#include "random.h"
#include "rdither.h"

namespace teska_test
{

namespace
{

const SweepRows rows({
    {.name = "random_new",
     .make = [] { return SweepCase{.call = [] { return made(random_new(1), random_kill); }}; },
     .failures = {{.count = 1, .once = {"Random_new : allocation failed"}}}},
    {.name = "rdither_new",
     .make = [] { return SweepCase{.call = [] { return made(rdither_new(4, 1), rdither_kill); }}; },
     .failures = {{.count = 1, .once = {"rdither_new:unable to create rdither"}},
                  {.count = 1, .once = {"rdither_new: malloc failed"}}}},
});

}  // namespace

}  // namespace teska_test
