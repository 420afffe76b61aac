#include "faults/sweep.h"

#include "dhsm.h"

namespace teska_test
{

namespace
{

double constant(void *, void *, const double *) { return 5; }

const SweepRows rows({
    {.name = "dhsm_new",
     .make =
         [] {
             return SweepCase{.call = [] {
                 dhsm *d = dhsm_new(constant, nullptr, 3);
                 return dhsm_kill(d), d != nullptr;
             }};
         },
     .failures = {{.count = 6,
                   .once = {"nr: 1, kind: 0, sys: 12, file: Private/Source/dhsm.cpp, line: #, info: No resources "
                            "available"}}}},
});

}  // namespace

}  // namespace teska_test
