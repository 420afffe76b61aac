#include "bezierd_base.h"

#include "curves/segments.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <tuple>

using namespace teska_test;
using namespace teska;

namespace
{

using Solver = int (*)(bezier *, double, double *);

// The values a solver writes, ascending; the slots behind them have to stay as they were.
numbers solutions(Solver solver, const Segment &b, double value)
{
    numbers found(5, 77.0);
    const int count = solver(b.get(), value, found.data());
    EXPECT_TRUE(count >= 0 && count <= 4 && found[static_cast<std::size_t>(count)] == 77.0) << count;
    found.resize(static_cast<std::size_t>(count));
    std::sort(found.begin(), found.end());
    return found;
}

void expect_near(const numbers &found, const numbers &expected, double tolerance)
{
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i)
        EXPECT_NEAR(found[i], expected[i], tolerance);
}

// The y values at x by sign changes on a fine grid; empty with `sure` false when one is near an extreme or an end.
numbers bracketed(const bezier &b, double x, bool &sure)
{
    constexpr int steps = 400;
    numbers found;
    sure = true;
    const auto off = [&](double t) { return casteljau(b.x, b.degree, t) - x; };
    for (int i = 0; i < steps; ++i) {
        double lo = 1.0 * i / steps;
        double hi = (i + 1.0) / steps;
        const double least = std::min(std::fabs(off(lo)), std::fabs(off(hi)));
        const double before = off(lo - 1.0 / steps);
        const bool extreme = (off(lo) - before) * (off(hi) - off(lo)) <= 0.0;
        if ((extreme && least < 3e-3) || ((i == 0 || i == steps - 1) && least < 3e-3))
            sure = false;
        if ((off(lo) < 0.0) == (off(hi) < 0.0))
            continue;
        for (int k = 0; k < 60; ++k) {
            const double t = (lo + hi) / 2.0;
            ((off(t) < 0.0) == (off(lo) < 0.0) ? lo : hi) = t;
        }
        found.push_back(casteljau(b.y, b.degree, lo));
    }
    std::sort(found.begin(), found.end());
    return found;
}

void expect_bracketed(Solver solver, int degree, double tolerance)
{
    Generator input(51);
    int compared = 0;
    for (int i = 0; i < 1500; ++i) {
        const Segment b = random_segment(input, degree);
        const double x = input.between(-1, 1);
        bool sure = false;
        const numbers expected = bracketed(*b, x, sure);
        if (!sure)
            continue;
        ++compared;
        expect_near(solutions(solver, b, x), expected, tolerance);
    }
    EXPECT_GT(compared, 1200);
}

}  // namespace

TEST(BezierNew, RefusesOtherDegreesAndStartsWithInnerPointsOfZero)
{
    Reports reports;
    for (const int degree : {1, 5, -3})
        EXPECT_EQ(bezier_new(degree, 0, 0, 1, 1), nullptr);
    EXPECT_EQ(reports.take(), lines(3, "Bezier_new : illegal degree"));
    EXPECT_EQ(bezier_kill(segment({1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}).release()), 1);
    numbers xs(5, 77.0);
    numbers ys(5, 77.0);
    EXPECT_EQ(bezier_get_control_poly(Segment(bezier_new(3, 1, 2, 3, 4)).get(), xs.data(), ys.data()), 1);
    EXPECT_EQ(xs, (numbers{1, 0, 0, 3, 77}));
    EXPECT_EQ(ys, (numbers{2, 0, 0, 4, 77}));
    EXPECT_EQ(bezier_kill(nullptr), 1);
}

TEST(BezierSetEndp, TakesTheNeighbourAlongFromDegree3On)
{
    const std::tuple<int, int, numbers> cases[] = {{2, 0, {9, 2, 4}},         {2, 1, {1, 2, 9}},
                                                   {3, 0, {9, 10, 4, 7}},     {3, 1, {1, 2, 6, 9}},
                                                   {4, 0, {9, 10, 4, 7, 11}}, {4, 1, {1, 2, 4, 5, 9}}};
    for (const auto &[degree, which, expected] : cases) {
        numbers values{1, 2, 4, 7, 11};
        values.resize(static_cast<std::size_t>(degree) + 1);
        const Segment b = segment(values, numbers(values.size(), 5.0));
        EXPECT_EQ(bezier_set_endp(b.get(), which, 9, 6), 1);
        EXPECT_EQ(numbers(b->x, b->x + degree + 1), expected);
        EXPECT_EQ(std::count(b->y, b->y + degree + 1, 6.0), degree == 2 ? 1 : 2);
        point end{};
        EXPECT_EQ(bezier_get_endp(b.get(), which, &end.x, &end.y), 1);
        EXPECT_EQ(end - point({9, 6}), 0);
    }
}

TEST(BezierSetControlp, AndTheOthersRefuseIndicesTheSegmentLacks)
{
    Reports reports;
    const Segment b = segment({1, 2, 3, 4}, {1, 2, 3, 4});
    double x = 77.0;
    for (const int i : {-1, 2}) {
        EXPECT_EQ(bezier_set_endp(b.get(), i, 0, 0) + bezier_get_endp(b.get(), i, &x, &x), 0);
        EXPECT_EQ(bezier_set_controlp(b.get(), i, 0, 0) + bezier_get_controlp(b.get(), i, &x, &x), 0);
        EXPECT_EQ(reports.take(), (lines{"Bezier_get_controlp : illegal ind", "Bezier_get_endp : illegal index",
                                         "Bezier_set_controlp : illegal ind", "Bezier_set_endp : illegal index"}));
    }
    EXPECT_EQ(x, 77.0);
    EXPECT_EQ(numbers(b->x, b->x + 5), (numbers{1, 2, 3, 4, 0}));
}

TEST(BezierGet, AgreesWithRepeatedInterpolationAfterEveryKindOfChange)
{
    Generator input(5);
    for (int i = 0; i < 600; ++i) {
        const Segment b = random_segment(input, 2 + i % 3);
        for (int change = 0; change < 4; ++change) {
            const double t = input.between(-0.5, 1.5);
            point p{};
            EXPECT_EQ(bezier_get(b.get(), t, &p.x, &p.y), 1);
            EXPECT_LT(p - casteljau(*b, t), 1e-13);
            if (change == 0)
                bezier_set_controlp(b.get(), b->degree - 2, input.unit(), input.unit());
            else if (change == 1)
                bezier_set_endp(b.get(), i % 2, input.unit(), input.unit());
            else
                bezier_set_control_poly(b.get(), random_numbers(input, 5).data(), random_numbers(input, 5).data());
        }
    }
}

TEST(BezierGetY, KeptCountsDoubleRootsOfCubicsTwiceAndThoseOfQuadraticsNot)
{
    const double below = -1e-5;
    const double outside = -1.2e-5;
    // y(t) = t unless given otherwise, so that the roots themselves come out.
    const std::tuple<numbers, double, numbers> cases[] = {
        {{0, 1, 2, 3}, 1.5, {0.5}},
        {{0, 1, 2, 3}, 3 * below, {below}},
        {{0, 1, 2, 3}, 3 * outside, {}},
        {{0, 1, 2, 3}, 3 - 3 * below, {1 - below}},
        {{0, 1, 2, 3}, 3 - 3 * outside, {}},
        {{1, 0, 0.5}, 0.5, {1 / 3.0, 1}},
        {{1, 0, 1}, 0.5, {}},
        {{1, 0, 1}, 0.58, {0.3, 0.7}},
        {{0, 0, 0, 1}, 0.001, {0.1}},
        {{0, 0, 0, 1}, 0, {0, 0, 0}},
        {{0, 0, 1, 1}, 1, {1, 1}},
        {{0, 0, 1, 1}, 0, {0, 0}},
        {{0, 0, 1, 1}, 0.5, {0.5}},
        {{0, 2, -1, 1}, 0.5, {(5 - std::sqrt(15.0)) / 10, 0.5, (5 + std::sqrt(15.0)) / 10}},
        {{0, 1 / 3.0, 1, 2, 10 / 3.0}, 10 / 3.0, {1}},
        {{0, 1, 2, 3}, NAN, {}},
        {{0, 1e300, 1e300, 0}, 1e300, {}},
        {{0, INFINITY, 2, 3}, 1, {}}};
    for (const auto &[xs, x, expected] : cases) {
        numbers ys;
        for (std::size_t i = 0; i < xs.size(); ++i)
            ys.push_back(static_cast<double>(i) / static_cast<double>(xs.size() - 1));
        SCOPED_TRACE(testing::PrintToString(xs) + " at " + std::to_string(x));
        expect_near(solutions(bezier_get_y, segment(xs, ys), x), expected, 1e-12);
        expect_near(solutions(bezier_get_x, segment(ys, xs), x), expected, 1e-12);
    }
}

TEST(BezierGetY, RefusesConstantsAndDegree4)
{
    Reports reports;
    const Segment constant = segment({1, 1, 1, 1 + 1e-5}, {0, 1, 2, 3});
    const Segment flat = segment({0, 1, 2, 3}, {2, 2, 2, 2});
    for (const Solver solver : {bezier_get_y, bezier_fget_y})
        EXPECT_EQ(solutions(solver, constant, 1), numbers{});
    for (const Solver solver : {bezier_get_x, bezier_fget_x})
        EXPECT_EQ(solutions(solver, flat, 2), numbers{}) << "Kept: names get_y";
    EXPECT_EQ(reports.take(), lines(4, "Bezier_get_y : invalid degree "));
    const Segment quartic = segment({0, 0, 0, 0, 1}, {0, 0, 0, 0, 1});
    EXPECT_EQ(solutions(bezier_get_x, quartic, 0.5), numbers{});
    EXPECT_EQ(solutions(bezier_get_y, quartic, 0.5), numbers{});
    EXPECT_EQ(reports.take(), (lines{"Bezier_get_x : Sorry no support for higher order (>3)",
                                     "Bezier_get_y : Sorry no support for higher order (>3)"}));
}

TEST(BezierGetY, FindsWhatASearchOfTheCurveFinds)
{
    expect_bracketed(bezier_get_y, 2, 1e-12);
    expect_bracketed(bezier_get_y, 3, 1e-12);
    expect_bracketed(bezier_fget_y, 4, 1e-9);
}

TEST(BezierFgetY, KeptFindsOneRootOfACubicByNewtonsMethod)
{
    const numbers line{0, 1 / 3.0, 2 / 3.0, 1};
    const std::tuple<numbers, double, numbers> cases[] = {{{0, 2, -1, 1}, 0.5, {0.5}},
                                                          {{0, 0, 0, 1}, 0, {}},
                                                          {{0, 0, 0, 1}, 0.001, {0.1}},
                                                          {{0, 1, 0, 1}, 0.4, {}},
                                                          {{0, 1, 2, 3}, 1.5, {0.5}}};
    for (const auto &[xs, x, expected] : cases) {
        expect_near(solutions(bezier_fget_y, segment(xs, line), x), expected, 1e-12);
        expect_near(solutions(bezier_fget_x, segment(line, xs), x), expected, 1e-12);
    }
}

TEST(PolyQuarticRoots, AreThoseInTheIntervalMultipleOnesOnce)
{
    const std::tuple<numbers, numbers> cases[] = {{{0.1, 0.2, 0.3, 0.4}, {0.1, 0.2, 0.3, 0.4}},
                                                  {{0.25, 0.25, 0.75, 0.75}, {0.25, 0.75}},
                                                  {{0.3, 0.3, 0.3, 0.9}, {0.3, 0.9}},
                                                  {{0.7, 0.7, 0.7, 0.7}, {0.7}},
                                                  {{-0.5, 1.5, 3, -2}, {-0.5, 1.5}},
                                                  {{-0.6, 1.6, 3, 9}, {}},
                                                  {{0, 0, 0, 1}, {0, 1}},
                                                  {{0.5, 0.5 + 1e-5, 7, 8}, {0.5, 0.5 + 1e-5}}};
    for (const auto &[made_of, expected] : cases) {
        double c[5] = {1};
        for (int k = 0; k < 4; ++k)
            for (int i = k; i >= 0; --i) {
                c[i + 1] += c[i];
                c[i] *= -made_of[static_cast<std::size_t>(k)];
            }
        numbers roots(4);
        const int count = poly_quartic_roots(c, -0.5, 1.5, roots.data());
        roots.resize(static_cast<std::size_t>(count));
        SCOPED_TRACE(testing::PrintToString(made_of));
        expect_near(roots, expected, 1e-9);
    }
    const double none[] = {1, 0, 0, 0};
    const double unknown[] = {1, NAN, INFINITY, 0};
    double roots[4];
    EXPECT_EQ(poly_quartic_roots(none, -0.5, 1.5, roots), 0);
    EXPECT_EQ(poly_quartic_roots(unknown, -0.5, 1.5, roots), 0);
}

TEST(BPoly, IsTheBernsteinBasisAndReportsWhatIsNone)
{
    for (const int n : {2, 3, 4})
        for (const double t : {0.0, 0.3, 1.0, -0.7}) {
            for (int i = 0; i <= n; ++i) {
                numbers unit(static_cast<std::size_t>(n) + 1);
                unit[static_cast<std::size_t>(i)] = 1.0;
                EXPECT_NEAR(B_poly(n, i, t), casteljau(unit.data(), n, t), 1e-15) << n << ' ' << i << ' ' << t;
            }
        }
    Reports reports;
    for (const auto &[n, i] : {std::pair{2, 3}, {3, 4}, {4, -1}, {5, 0}})
        EXPECT_EQ(B_poly(n, i, 0.5), -1.0);
    EXPECT_EQ(reports.take(), (lines{"B_poly : illegal degree ", "B_poly : illegal index", "B_poly : illegal index ",
                                     "B_poly : illegal index "}));
}
