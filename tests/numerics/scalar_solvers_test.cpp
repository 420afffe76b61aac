#include "scalar_solvers.h"

#include "support/generator.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

namespace
{

using Values = std::vector<double>;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

int calls;

}  // namespace

TEST(Gaussd, KeptExchangesRowsOnlyForAPivotOfZero)
{
    // Coefficients, right-hand sides, solution; none for a singular system.
    const std::tuple<Values, Values, Values> cases[] = {{{0, 1, 1, 0}, {2, 3}, {3, 2}},
                                                        {{0, 0, 1, 0, 1, 0, 1, 0, 0}, {5, 6, 7}, {7, 6, 5}},
                                                        {{0, 2, 0, 0, 0, 3, 4, 1, 0}, {2, 6, 9}, {2, 1, 2}},
                                                        {{1e-20, 1, 1, 1}, {1, 2}, {0, 1}},
                                                        {{-0.0, 1, 1, 0}, {2, 3}, {3, 2}},
                                                        {{4}, {2}, {0.5}},
                                                        {{1, 2, 2, 4}, {1, 2}, {}},
                                                        {{0}, {1}, {}},
                                                        {{0, 1, 0, 1}, {1, 1}, {}}};
    for (auto [a, b, solution] : cases) {
        EXPECT_EQ(gaussd(a.data(), b.data(), static_cast<int>(b.size())), solution.empty() ? 0 : 1);
        if (!solution.empty()) {
            EXPECT_EQ(b, solution);
        }
    }
    for (const int n : {0, -1, INT_MIN})
        EXPECT_EQ(gaussd(nullptr, nullptr, n), 0);
    Values a = {not_a_number, 1, 1, infinity};
    Values b = {1, 2};
    EXPECT_EQ(gaussd(a.data(), b.data(), 2), 1);
    EXPECT_TRUE(std::isnan(b[0]));
}

TEST(Gaussd, SolvesLargerSystems)
{
    teska_test::Generator random(46);
    for (std::size_t n = 1; n <= 12; ++n) {
        Values a, solution, b(n, 0.0);
        for (std::size_t i = 0; i < n * n; ++i)
            a.push_back(random.between(-1, 1) + (i % (n + 1) == 0 ? static_cast<double>(n) : 0.0));
        for (std::size_t i = 0; i < n; ++i)
            solution.push_back(random.between(-1, 1));
        for (std::size_t i = 0; i < n * n; ++i)
            b[i / n] += a[i] * solution[i % n];
        EXPECT_EQ(gaussd(a.data(), b.data(), static_cast<int>(n)), 1);
        for (std::size_t i = 0; i < n; ++i)
            EXPECT_NEAR(b[i], solution[i], 1e-14) << n;
    }
}

TEST(FthirdOrderEq, KeptComparesTheUpperBoundWithTheStep)
{
    constexpr double none = -99;
    const std::tuple<Values, double, double, double, double> cases[] = {
        {{-0.125, 0, 0, 1}, 0, 1, 1e-12, 0.5},
        {{-2, 1, 0, 0}, 0, 1, 0, 2},
        {{9, 1, 0, 0}, -10, 0.5, 1e-9, none},
        {{5, 1, 0, 0}, -10, 0.5, 1e-9, -5},
        {{-6, 11, -6, 1}, 0.5, 1.6, 1e-9, 1},
        {{-6, 11, -6, 1}, 2.5, 9, 1e-9, 3},
        {{0.2, 1, 0, 0}, 0, 1, 1e-9, none},
        {{0, 0, 0, 1}, 0, 1, 1e-12, none},
        {{0, 0, 0, 1}, 0, 1, 7.5e-5, none},
        {{0, 0, 0, 1}, 0, 1, 7.6e-5, std::pow(2.0 / 3, 20) / 2},
        {{0, 1, 0, 0}, 0, 1, 0, 0},
        {{0, 0, 0, 1}, -1, 1, 1e-12, none},
        {{-0.125, 0, 0, 1}, 0, 1, -1, none},
        {{not_a_number, 0, 0, 1}, 0, 1, 1, none},
        {{1, 1, 1, 1}, -infinity, infinity, 1, none}};
    for (const auto &[c, lo, hi, tol, right] : cases) {
        double root = none;
        EXPECT_EQ(fthird_order_eq(c.data(), &root, lo, hi, tol), right != none) << right;
        EXPECT_NEAR(root, right, 1e-12);
    }
}

TEST(GsectMin, FindsTheBottomFromEitherSide)
{
    const gsect_function bowl = [](double x) { return (x - 2) * (x - 2) - 1; };
    const std::tuple<double, double, double> cases[] = {{0, 1, 5}, {5, 1, 0}, {0, 4, 5}, {-1e6, 3, 1e6}, {0, 5, 5}};
    for (const auto &[ax, bx, cx] : cases) {
        double least = 0;
        EXPECT_NEAR(gsect_min(ax, bx, cx, 1e-6, bowl, &least), 2, 2e-6) << ax << ", " << bx << ", " << cx;
        EXPECT_NEAR(least, -1, 1e-11);
    }
}

TEST(GsectMin, FollowsTheLeftOfEqualValuesAndAsksOnceARound)
{
    const gsect_function flat = [](double) { return ++calls > 0 ? 1.0 : 0.0; };
    double least = 0;
    calls = 0;
    EXPECT_EQ(gsect_min(0, 1, 3, 4, flat, &least), 1 + 0.38196601 * 2) << "no round, the right one of equals";
    EXPECT_EQ(gsect_min(0, 1, 2, 4, flat, &least), 1) << "of equal parts the first is divided";
    EXPECT_EQ(calls, 4);
    EXPECT_NEAR(gsect_min(0, 1, 3, 1, flat, &least), 0.38196601 + 0.2, 0.2);
    EXPECT_EQ(least, 1);
}

TEST(GsectMin, EndsForEveryToleranceAndBracket)
{
    const gsect_function cosine = [](double x) { return ++calls, std::cos(x); };
    for (const double tol : {0.0, -1.0, 1e-300})
        for (const double end : {4.0, 1e300, infinity}) {
            double least = not_a_number;
            calls = 0;
            const double where = gsect_min(2, 3, end, tol, cosine, &least);
            EXPECT_LE(calls, 5002);
            if (end == 4) {
                EXPECT_NEAR(where, 3.14159265, 1e-7) << tol;
                EXPECT_LT(calls, 100);
            }
        }
    double least = 0;
    const gsect_function restless = [](double x) { return ++calls, std::fabs(x + 0.5); };
    calls = 0;
    EXPECT_NEAR(gsect_min(-5, -2, 3, -1, restless, &least), -0.5, 1e-11) << "the places go on moving";
    calls = 0;
    EXPECT_TRUE(std::isnan(gsect_min(not_a_number, not_a_number, not_a_number, 0, cosine, &least)) &&
                std::isnan(least) && calls == 2);
}

TEST(RealAtan2PI, KeptAddsCutMultiplesOfPi)
{
    const std::tuple<double, double, double, int> cases[] = {{-1, 0, 3.1415926535, 0},
                                                             {-1, -0.0, 3.1415926535, 0},
                                                             {1, 0, 0, 0},
                                                             {1, -1, 6.283185307 - 0.78539816339744831, 0},
                                                             {1, -1e-30, 6.283185307, 0},
                                                             {0, 2, 1.57079632675, 0},
                                                             {-0.0, -2, 6.283185307 - 1.57079632675, 0},
                                                             {0, 0.001, 0, -1},
                                                             {0, -0.001, 0, -1},
                                                             {0, 0.0011, 1.57079632675, 0}};
    for (const auto &[x, y, angle, failed] : cases) {
        int err = 7;
        EXPECT_NEAR(real_atan2PI(x, y, &err), angle, 1e-12) << x << ", " << y;
        EXPECT_EQ(err, failed) << x << ", " << y;
        EXPECT_NEAR(real_atan(x, y, &err), angle * 180 / 3.1415926535, 1e-10);
        EXPECT_EQ(err, failed) << x << ", " << y;
    }
    int err = 7;
    EXPECT_TRUE(std::isnan(real_atan2PI(not_a_number, 1, &err)) && err == 0);
    for (int degrees = 0; degrees < 360; ++degrees)
        EXPECT_NEAR(real_atan(std::cos(degrees * 0.017453292519943295), std::sin(degrees * 0.017453292519943295), &err),
                    degrees == 0 ? 0 : degrees, 1e-8);
}
