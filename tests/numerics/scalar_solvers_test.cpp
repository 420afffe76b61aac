#include "scalar_solvers.h"

#include "support/test.h"

static int calls;

TEST(Gaussd, KeptExchangesRowsOnlyForAPivotOfZero)
{
    // Coefficients, right-hand sides, solution; none for a singular system.
    const std::vector<double> cases[][3] = {{{0, 0, 1, 0, 1, 0, 1, 0, 0}, {5, 6, 7}, {7, 6, 5}},
                                            {{0, 2, 0, 0, 0, 3, 4, 1, 0}, {2, 6, 9}, {2, 1, 2}},
                                            {{1e-20, 1, 1, 1}, {1, 2}, {0, 1}},
                                            {{-0.0, 1, 1, 0}, {2, 3}, {3, 2}},
                                            {{1, 2, 2, 4}, {1, 2}, {}},
                                            {{0, 1, 0, 1}, {1, 1}, {}}};
    for (const auto &[coefficients, sides, solution] : cases) {
        std::vector<double> a = coefficients, b = sides;
        EXPECT_EQ(gaussd(a.data(), b.data(), static_cast<int>(b.size())), solution.empty() ? 0 : 1);
        EXPECT_EQ(solution.empty() ? solution : b, solution);
    }
    for (const int n : {0, INT_MIN})
        EXPECT_EQ(gaussd(nullptr, nullptr, n), 0);
    double a[] = {NAN, 1, 1, INFINITY}, b[] = {1, 2};
    EXPECT_EQ(gaussd(a, b, 2), 1);
    EXPECT_TRUE(std::isnan(b[0]));
}

TEST(FthirdOrderEq, KeptComparesTheUpperBoundWithTheStep)
{
    // The slow cubic comes to a step of 7.5e-5 with the twentieth.
    constexpr double none = -99;
    const struct {
        double c[4], lo, hi, tol, right;
    } cases[] = {{{-0.125, 0, 0, 1}, 0, 1, 1e-12, 0.5},    {{-2, 1, 0, 0}, 0, 1, 0, 2},
                 {{9, 1, 0, 0}, -10, 0.5, 1e-9, none},     {{5, 1, 0, 0}, -10, 0.5, 1e-9, -5},
                 {{-6, 11, -6, 1}, 0.5, 1.6, 1e-9, 1},     {{-6, 11, -6, 1}, 2.5, 9, 1e-9, 3},
                 {{0.2, 1, 0, 0}, 0, 1, 1e-9, none},       {{0, 0, 0, 1}, 0, 1, 7.5e-5, none},
                 {{0, 0, 0, 1}, 0, 1, 7.6e-5, 1.50365e-4}, {{0, 1, 0, 0}, 0, 1, 0, 0},
                 {{0, 0, 0, 1}, -1, 1, 1e-12, none},       {{-0.125, 0, 0, 1}, 0, 1, -1, none},
                 {{NAN, 0, 0, 1}, 0, 1, 1, none},          {{1, 1, 1, 1}, -INFINITY, INFINITY, 1, none}};
    for (const auto &[c, lo, hi, tol, right] : cases) {
        double root = none;
        EXPECT_EQ(fthird_order_eq(c, &root, lo, hi, tol), right != none) << right;
        EXPECT_NEAR(root, right, tol == 7.6e-5 ? 1e-9 : 1e-12);
    }
}

TEST(GsectMin, FindsTheBottomFromEitherSideForEveryTolerance)
{
    const gsect_function cosine = [](double x) { return ++calls, std::cos(x); };
    const gsect_function flat = [](double) { return ++calls > 0 ? 1.0 : 0.0; };
    double least = 0;
    for (const auto &[ax, bx, cx] : {std::array{2.0, 3.0, 4.0}, {5, 3, 1}, {2, 5, 5}})
        for (const double tol : {1e-6, 0.0, -1.0, 1e-300}) {
            calls = 0;
            EXPECT_NEAR(gsect_min(ax, bx, cx, tol, cosine, &least), 3.14159265, 1e-5) << ax << ", " << tol;
            EXPECT_NEAR(least, -1, 1e-10);
            EXPECT_LE(calls, ax < cx ? 100 : 5002) << ax << ", " << tol;
        }
    EXPECT_EQ(gsect_min(2, 3, HUGE_VAL, 0, cosine, &least), HUGE_VAL);
    // Of equal values the left one is followed and the right one taken; the value is that of the place given back.
    calls = 0;
    EXPECT_EQ(gsect_min(0, 1, 3, 4, flat, &least), 1 + 0.38196601 * 2);
    EXPECT_EQ(gsect_min(0, 1, 2, 4, flat, &least), 1);
    EXPECT_EQ(calls, 4);
    EXPECT_EQ(gsect_min(3, 2, 0, 4, cosine, &least), 2);
    EXPECT_EQ(least, std::cos(2.0));
}

TEST(RealAtan2PI, KeptAddsCutMultiplesOfPi)
{
    const std::array<double, 4> cases[] = {{-1, -0.0, 3.1415926535, 0},
                                           {1, -1, 6.283185307 - 0.78539816339744831, 0},
                                           {1, -1e-30, 6.283185307, 0},
                                           {-0.0, -2, 6.283185307 - 1.57079632675, 0},
                                           {0, 0.001, 0, -1},
                                           {0, -0.001, 0, -1},
                                           {0, 0.0011, 1.57079632675, 0}};
    for (const auto &[x, y, angle, failed] : cases) {
        int err[] = {7, 7};
        EXPECT_NEAR(real_atan2PI(x, y, &err[0]), angle, 1e-12) << x << ", " << y;
        EXPECT_NEAR(real_atan(x, y, &err[1]), angle * 180 / 3.1415926535, 1e-10);
        EXPECT_EQ(err[0], failed) << x << ", " << y;
        EXPECT_EQ(err[1], failed) << x << ", " << y;
    }
    int err = 7;
    EXPECT_TRUE(std::isnan(real_atan2PI(NAN, 1, &err)));
    EXPECT_EQ(err, 0);
}
