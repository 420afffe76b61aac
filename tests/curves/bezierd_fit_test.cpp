#include "bezierd_fit.h"

#include "curves/segments.h"
#include "support/host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <limits>
#include <tuple>

using namespace teska_test;

namespace
{

struct Points {
    numbers x, y;
};

struct Tangents {
    bool start = false;
    bool end = false;
    point at_start{};
    point at_end{};
};

struct Fit {
    Segment b = segment({9, 9, 9, 9}, {9, 9, 9, 9});
    double lse = 77;
    double max_e = 77;
    int result;

    explicit Fit(const Points &p, const Tangents &t = {}, int verbose = 0)
    {
        teska::bezier_coef(*b);  // what the fit leaves stale shows
        result = bezier_fit(b.get(), static_cast<int>(p.x.size()), p.x.data(), p.y.data(), t.start ? 2 : 0,
                            t.at_start.x, t.at_start.y, t.end ? 2 : 0, t.at_end.x, t.at_end.y, &lse, &max_e, verbose);
    }
};

// count points of a segment at even steps of t, each off by up to noise.
Points sampled(const bezier &b, int count, double noise = 0.0)
{
    Generator input(52);
    Points p;
    for (int i = 0; i < count; ++i) {
        const point at = casteljau(b, 1.0 * i / (count - 1));
        p.x.push_back(at.x + input.between(-noise, noise));
        p.y.push_back(at.y + input.between(-noise, noise));
    }
    return p;
}

void expect_controls(const bezier &b, const numbers &xs, const numbers &ys, double tolerance)
{
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(b.x[i], xs[i], tolerance) << i;
        EXPECT_NEAR(b.y[i], ys[i], tolerance) << i;
    }
}

}  // namespace

TEST(BezierFit, RefusesOtherDegreesAndTooFewPoints)
{
    Reports reports;
    const Host host;
    double lse = 77;
    double max_e = 77;
    const Segment quadratic = segment({1, 2, 3}, {1, 2, 3});
    EXPECT_EQ(bezier_fit(quadratic.get(), 1, nullptr, nullptr, 0, 0, 0, 0, 0, 0, &lse, &max_e, 1), 0);
    EXPECT_EQ(Host::take(), lines{});
    const Segment cubic = segment({1, 2, 3, 4}, {1, 2, 3, 4});
    for (const int n : {1, 0, std::numeric_limits<int>::min()})
        EXPECT_EQ(bezier_fit(cubic.get(), n, nullptr, nullptr, 0, 0, 0, 0, 0, 0, &lse, &max_e, 1), 0);
    EXPECT_EQ(Host::take(), lines(3, "Bezier_fit"));
    EXPECT_EQ(reports.take(),
              (lines{"Bezier_fit : degrees other than 3 not implemented yet", "Bezier_fit : nr_points too small ",
                     "Bezier_fit : nr_points too small ", "Bezier_fit : nr_points too small "}));
    EXPECT_EQ(lse + max_e, 154);
    expect_controls(*cubic, {1, 2, 3, 4}, {1, 2, 3, 4}, 0);
}

TEST(BezierFit, ReproducesAGentleArch)
{
    const Fit fit(sampled(*segment({0, 1, 3, 4}, {0, 2, 2, 0}), 11));
    expect_controls(*fit.b, {0, 1, 3, 4}, {0, 2, 2, 0}, 0.07);
    EXPECT_NEAR(fit.lse, 0.0195, 5e-5);
}
