#include "bezierd_base.h"

#include "support/test.h"

#include "curves/segments.h"

using namespace teska_test;

namespace
{

using Solver = int (*)(bezier *, double, double *);
using Solvers = std::pair<Solver, Solver>;

constexpr Solvers closed{bezier_get_y, bezier_get_x}, iterated{bezier_fget_y, bezier_fget_x};

// The t, ascending, where xs makes `value`: what the solver finds on a curve whose other coordinate is t. The slots
// after them have to stay as they were.
numbers met(const Solvers &solvers, const numbers &xs, double value, bool exchanged)
{
    numbers ts;
    for (std::size_t i = 0; i < xs.size(); ++i)
        ts.push_back(static_cast<double>(i) / static_cast<double>(xs.size() - 1));
    numbers found(5, 77.0);
    const int count = exchanged ? solvers.second(segment(ts, xs).get(), value, found.data())
                                : solvers.first(segment(xs, ts).get(), value, found.data());
    found.resize(static_cast<std::size_t>(count));
    EXPECT_EQ(std::count(found.begin(), found.end(), 77.0), 0);
    std::sort(found.begin(), found.end());
    return found;
}

void expect_near(const numbers &found, const numbers &expected, const numbers &of)
{
    EXPECT_TRUE(std::equal(found.begin(), found.end(), expected.begin(), expected.end(),
                           [](double a, double b) { return std::fabs(a - b) <= 1e-8; }))
        << testing::PrintToString(found) << " of " << testing::PrintToString(of);
}

}  // namespace

TEST(BPoly, RefusesOtherDegreesAndIndices)
{
    Reports reports;
    for (const auto &[n, i] : {std::pair{2, 3}, {3, 4}, {4, -1}, {5, 0}})
        EXPECT_EQ(teska::B_poly(n, i, 0.5), -1.0);
    EXPECT_EQ(reports.take(), (lines{"B_poly : illegal degree ", "B_poly : illegal index", "B_poly : illegal index ",
                                     "B_poly : illegal index "}));
}

TEST(BezierSetEndp, TakesTheNeighbourAlongFromDegree3On)
{
    const std::pair<int, numbers> cases[] = {{0, {9, 2, 4}},    {1, {1, 2, 9}},        {0, {9, 10, 4, 7}},
                                             {1, {1, 2, 6, 9}}, {0, {9, 10, 4, 7, 8}}, {1, {1, 2, 4, 8, 9}}};
    for (const auto &[which, expected] : cases) {
        numbers values{1, 2, 4, 7, 8};
        values.resize(expected.size());
        const Segment b = segment(values, values);
        point end{};
        EXPECT_EQ(bezier_set_endp(b.get(), which, 9, 9), 1);
        EXPECT_EQ(bezier_get_endp(b.get(), which, &end.x, &end.y), 1);
        EXPECT_EQ(end - point({9, 9}), 0);
        for (const double *coordinate : {b->x, b->y})
            EXPECT_EQ(numbers(coordinate, coordinate + expected.size()), expected);
    }
}

TEST(BezierGet, AgreesWithRepeatedInterpolationAfterEveryKindOfChangeAndWithItsInverse)
{
    Generator input(5);
    for (int i = 0; i < 6000; ++i) {
        const int degree = 2 + i % 3;
        const Segment b = segment(random_numbers(input, degree + 1), random_numbers(input, degree + 1));
        point p{};
        for (int change = 0; change < 3; ++change) {
            EXPECT_EQ(bezier_get(b.get(), 1.5 - change, &p.x, &p.y), 1);
            EXPECT_LT(p - casteljau(*b, 1.5 - change), 1e-13);
            const point to{input.unit(), input.unit()};
            if (change > 0) {
                bezier_set_endp(b.get(), i % 2, to.x, to.y);
                continue;
            }
            EXPECT_EQ(bezier_set_controlp(b.get(), degree - 2, to.x, to.y), 1);
            EXPECT_EQ(point({b->x[degree - 1], b->y[degree - 1]}) - to, 0.0);
        }
        bezier_get_controlp(b.get(), degree - 2, &p.x, &p.y);
        EXPECT_EQ(p - point({b->x[degree - 1], b->y[degree - 1]}), 0.0);
        // The t that makes an x is found again, and every other that is found makes this x too.
        const numbers xs(b->x, b->x + degree + 1);
        const double t = input.unit();
        const double x = casteljau(*b, t).x;
        double least = 1.0;
        for (const double at : met(degree == 4 ? iterated : closed, xs, x, i % 2 == 0)) {
            EXPECT_NEAR(casteljau(*b, at).x, x, 1e-12);
            least = std::min(least, std::fabs(at - t));
        }
        EXPECT_LT(least, 1e-9);
    }
}

TEST(BezierGetY, KeptCountsDoubleRootsOfCubicsTwiceAndFgetFindsOneRootOfThem)
{
    Reports reports;
    const double at = (5 - std::sqrt(15.0)) / 10;
    const std::tuple<bool, numbers, double, numbers> cases[] = {
        {false, {0, 1, 2, 3}, -3e-5, {-1e-5}},
        {false, {0, 1, 2, 3}, -3.6e-5, {}},
        {false, {0, 1, 2, 3}, 3.00003, {1.00001}},
        {false, {0, 1, 2, 3}, 3.000036, {}},
        {false, {1, 0, 0.5}, 0.5, {1 / 3.0, 1}},
        {false, {1, 0, 1}, 0.5, {}},
        {false, {0, 2, -1, 1}, 0.5, {at, 0.5, 1 - at}},
        {false, {0, 0, 0, 1}, 0, {0, 0, 0}},
        {false, {0, 0, 1, 1}, 1, {1, 1}},
        {false, {1, 0, 0, 1.00002}, 0.37000054, {0.3, 0.699994733135}},
        {false, {-0.036, 0.124, 0.284 - 1.3 / 3, 0.144}, -5e-6, {0.0999800016, 0.6000099992, 0.6000099992}},
        {false, {0, 1, 2, 3}, std::nan(""), {}},
        {false, {0, 1e300, 1e300, 0}, 1e300, {}},
        {false, {0.014000000000000002, -0.075999999999999984, 0.234, 1.9439999999999997}, 0, {0.1, 0.1}},
        {false, {0, INFINITY, 2, 3}, 1, {}},
        {false, {0, 1 / 3.0, 1, 2, 10 / 3.0}, 10 / 3.0, {1}},
        {true, {0, 2, -1, 1}, 0.5, {0.5}},
        {true, {0, 0, 0, 1}, 0, {}},
        {true, {0, 0, 0, 1}, 0.001, {0.1}},
        // Two double roots, one fourfold.
        {true, {27, -45, 59, -45, 27}, 0, {0.25, 0.75}},
        {true, {81, -27, 9, -3, 1}, 0, {0.75}}};
    for (const bool exchanged : {false, true}) {
        for (const auto &[iterate, xs, x, expected] : cases)
            expect_near(met(iterate ? iterated : closed, xs, x, exchanged), expected, xs);
        EXPECT_EQ(reports.take(), lines{});
        expect_near(met(closed, {1, 1, 1, 1.00001}, 1, exchanged), met(iterated, {2, 2, 2}, 2, exchanged), {});
        EXPECT_EQ(reports.take(), lines(2, "Bezier_get_y : invalid degree ")) << "Kept: names get_y";
        expect_near(met(closed, {0, 0, 0, 0, 1}, 0.5, exchanged), {}, {});
        const std::string name = exchanged ? "Bezier_get_x" : "Bezier_get_y";
        EXPECT_EQ(reports.take(), lines{name + " : Sorry no support for higher order (>3)"});
        // Three extremes between the ends, and a constant term so large that the quartic seems to vanish at all five.
        for (const double x : numbers{INFINITY, -INFINITY, 1e308})
            EXPECT_LE(met(iterated, {0, -0.045, 0.64 / 6, -0.045, 0}, x, exchanged).size(), 4U) << x;
    }
}
