#include "bezierd_fit.h"
#include "faults/sweep.h"

#include <gtest/gtest.h>

#include <memory>

namespace teska_test
{

namespace
{

using Curve = std::shared_ptr<bezier>;

bool fit(const Curve &b)
{
    const double xs[] = {0, 1, 2, 3, 4};
    const double ys[] = {0, 2, 3, 2, 0};
    double lse = 77;
    double max_e = 77;
    const int result = bezier_fit(b.get(), 5, xs, ys, 1, 1, 2, 0, 0, 0, &lse, &max_e, 0);
    EXPECT_EQ(lse != 77 && max_e != 77, result == 1);
    return result == 1;
}

std::string control_points(const Curve &b)
{
    double p[8];
    bezier_get_control_poly(b.get(), p, p + 4);
    std::string text;
    for (const double value : p)
        text += std::to_string(value) + ' ';
    return text;
}

const SweepRows rows({changing<Curve>("bezier_fit", [] { return Curve(bezier_new(3, 5, 6, 7, 8), bezier_kill); }, fit,
                                      control_points,
                                      {{.count = 1, .once = {"Bezier_fit : allocation of s failed"}}})});

}  // namespace

}  // namespace teska_test
