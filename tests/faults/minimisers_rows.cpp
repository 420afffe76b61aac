#include "condirmin.h"
#include "dhsm.h"
#include "error_mess.h"
#include "faults/injector.h"
#include "faults/sweep.h"

#include <gtest/gtest.h>

#include <memory>

namespace teska_test
{

namespace
{

double constant(void *, void *, const double *) { return 5; }

// From (1, 2) on level ground, where a search moves along every line for which there is memory. Returns whether it did.
bool search()
{
    const int level = teska_warn_level(1);
    double x[] = {1, 2};
    double least = 0;
    int passes = 0;
    const int result = condirmin(x, 2, 1e-8, &passes, &least, constant, nullptr, nullptr);
    teska_warn_level(level);
    return result == 1 && x[0] != 1 && x[1] != 2;
}

using Restriction = std::shared_ptr<restriction>;

Restriction corner()
{
    const double ineq[] = {1, 0, 0.5, 0, 1, 0.5};
    return {restriction_new(2, 0, nullptr, 2, ineq), restriction_kill};
}

const double origin[] = {0, 0};
const double step[] = {1, 0, 0};

// Half a step, with a restriction; without memory no step, and nothing.
bool stops(const Restriction &r)
{
    double alpha = -1;
    restriction *reduced = restriction_new_check(r.get(), nullptr, origin, step, &alpha);
    EXPECT_EQ(alpha, reduced != nullptr ? 0.5 : 0.0);
    return restriction_kill(reduced), alpha == 0.5;
}

const SweepRows rows({
    calling("condirmin", search,
            {{.count = 4, .once = {"condirmin: malloc failed"}},
             {.count = 1, .once = {"linmin: malloc failed"}, .sticky = lines(2, "linmin: malloc failed")}}),
    calling("restriction_new", [] { return made(restriction_new(2, 1, step, 0, nullptr), restriction_kill); },
            {{.count = 5, .once = {"restriction_new: malloc failed"}}}),
    changing<Restriction>("restriction_new_check", corner, stops, [](const Restriction &) { return std::string(); },
                          {{.count = 5, .once = {"restriction_new: malloc failed"}}}),
    calling("dhsm_new", [] { return made(dhsm_new(constant, nullptr, 3), dhsm_kill); },
            {{.count = 6,
              .once = {"nr: 1, kind: 0, sys: 12, file: Private/Source/dhsm.cpp, line: #, info: No resources "
                       "available"}}}),
});

}  // namespace

}  // namespace teska_test
