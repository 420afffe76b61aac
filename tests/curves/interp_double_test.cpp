#include "interp_double.h"

#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

using teska_test::Generator;
using teska_test::lines;
using teska_test::Reports;

namespace
{

using Curve = std::unique_ptr<lin_interp_double, int (*)(lin_interp_double *)>;
using Points = std::vector<std::pair<double, double>>;
using Evaluate = int (*)(const lin_interp_double *, double, double *);

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double no_number = std::numeric_limits<double>::quiet_NaN();
constexpr double none = 12345.0;  // what y keeps when the evaluation is refused
const lines too_close = {"lin_interp : not a function !!"};

Curve curve(const Points &points, func_order order = nullptr, int ext = 2)
{
    Curve li(lin_interp_double_new(ext, order), lin_interp_double_kill);
    for (const auto &[x, y] : points)
        EXPECT_EQ(lin_interp_double_insert(li.get(), x, y), 0);
    return li;
}

Points contents(const Curve &li)
{
    Points points;
    for (double x = 0, y = 0; lin_interp_double_getp(li.get(), static_cast<int>(points.size()), &x, &y) == 0;)
        points.emplace_back(x, y);
    EXPECT_EQ(lin_interp_double_num(li.get()), static_cast<int>(points.size()));
    return points;
}

int descending(const void *element, const void *key)
{
    return *static_cast<const double *>(element) < *static_cast<const double *>(key) ? 1 : 0;
}

// The bits of the value, those of none after a refusal as "not a function"; one pattern for every NaN.
std::uint64_t bits(double value) { return std::isnan(value) ? 1 : std::bit_cast<std::uint64_t>(value); }

std::uint64_t bits(Evaluate evaluate, const Curve &li, double x, Reports &reports)
{
    double y = none;
    const int result = evaluate(li.get(), x, &y);
    EXPECT_EQ(result, y == none ? -1 : 0);
    EXPECT_EQ(reports.take(), y == none ? too_close : lines{});
    return bits(y);
}

double model_line(const Points &points, std::size_t i, std::size_t j, double x)
{
    const auto [x_i, y_i] = points[i];
    const auto [x_j, y_j] = points[j];
    const double d = x_j - x_i;
    return std::fabs(d) <= 1e-20 || std::isnan(d) ? none : y_i + ((x - x_i) * (y_j - y_i)) / d;
}

// The segment by a walk over the points. Beyond the ends the lines continue, or the values.
double model(const Points &points, double x, bool lines_continue)
{
    const std::size_t n = points.size();
    std::size_t i = 0;
    while (i < n && !(points[i].first > x))
        ++i;
    if (!lines_continue && (i == 0 || i == n))
        return points[i == 0 ? 0 : n - 1].second;
    i = std::min(i, n - 1);
    return model_line(points, i, i == 0 ? 1 : i - 1, x);
}

// Coordinates that fall together, lie nearer than 1e-20 or far apart.
double coordinate(Generator &random)
{
    const double far = std::ldexp(random.between(-1, 1), random.below(2000) - 1000);
    const double choices[] = {
        random.below(4) - 1.0, random.between(-3e-20, 3e-20), far, random.between(-2, 2), 0.5, inf};
    return choices[random.below(50) == 0 ? 5 : random.below(5)];
}

}  // namespace

TEST(LinInterpDoubleInter, AgreesWithAWalkOverThePointsBitForBit)
{
    Reports reports;
    Generator random(5411);
    int refused = 0;
    for (int round = 0; round < 500; ++round) {
        Points points;
        for (int n = 2 + random.below(12); n > 0; --n) {
            const double x = coordinate(random);
            points.emplace_back(x, random.below(20) == 0 ? no_number : coordinate(random));
        }
        const Curve li = curve(points, nullptr, random.below(4));
        std::stable_sort(points.begin(), points.end(), [](auto &a, auto &b) { return a.first < b.first; });
        for (int query = 0; query < 40; ++query) {
            const double own = points[static_cast<std::size_t>(query) % points.size()].first;
            const double x = query == 0 ? no_number : query % 3 == 0 ? own : coordinate(random);
            const double expected = model(points, x, true);
            ASSERT_EQ(bits(lin_interp_double_inter, li, x, reports), bits(expected))
                << "round " << round << ", x " << x;
            ASSERT_EQ(bits(lin_interp_double_inextp, li, x, reports), bits(model(points, x, false))) << x;
            refused += expected == none ? 1 : 0;
        }
    }
    EXPECT_GT(refused, 500) << "too few of the curves have points too close";
}

TEST(LinInterpDoubleInter, ContinuesLinesWhereInextpContinuesValues)
{
    const Points line = {{1, 10}, {0, 0}};
    const Points step = {{1, 0}, {1, 5}, {2, 7}};
    const Points last = {{0, 0}, {1, 4}, {1, 8}};
    const Points tight = {{0, 1}, {1e-20, 2}};
    const Points apart = {{0, 1}, {1.0001e-20, 2}};
    const Points unordered = {{0, 1}, {no_number, 2}};
    const struct {
        const Points &points;
        double x;
        double inter, inextp;
    } cases[] = {{line, 2, 20, 10},    {line, -1, -10, 0},     {line, 0.5, 5, 5},
                 {line, 1, 10, 10},    {line, 0, 0, 0},        {line, no_number, no_number, 10},
                 {line, inf, inf, 10}, {step, 1.5, 6, 6},      {step, 0.5, none, 0},
                 {step, 1, 5, 5},      {last, 1, none, 8},     {last, 2, none, 8},
                 {last, 0.5, 2, 2},    {tight, 0, none, none}, {tight, 5, none, 2},
                 {apart, 0, 1, 1},     {unordered, 0, none, 2}};
    Reports reports;
    for (const auto &[points, x, inter, inextp] : cases) {
        const Curve li = curve(points);
        EXPECT_EQ(bits(lin_interp_double_inter, li, x, reports), bits(inter)) << x;
        EXPECT_EQ(bits(lin_interp_double_inextp, li, x, reports), bits(inextp)) << x;
    }
}

TEST(LinInterpDoubleInextp, KeptRefusesASinglePointToo)
{
    Reports reports;
    for (const Points &points : {Points{}, Points{{1, 2}}}) {
        const Curve li = curve(points);
        double y = 7;
        for (const Evaluate evaluate : {lin_interp_double_inter, lin_interp_double_inextp}) {
            EXPECT_EQ(evaluate(li.get(), 1, &y), -1);
            EXPECT_EQ(reports.take(), lines{"lin_interp : too little function points"});
        }
        EXPECT_EQ(y, 7);
    }
}

TEST(LinInterpDoubleNew, FollowsAnOrderOfTheCaller)
{
    Reports reports;
    const Curve li = curve({{0, 0}, {2, 30}, {1, 10}}, descending);
    EXPECT_EQ(contents(li), (Points{{2, 30}, {1, 10}, {0, 0}}));
    EXPECT_EQ(bits(lin_interp_double_inter, li, 3, reports), bits(50));
    EXPECT_EQ(bits(lin_interp_double_inextp, li, 3, reports), bits(30));
    EXPECT_EQ(bits(lin_interp_double_inter, li, 0.5, reports), bits(5));
}

TEST(LinInterpDoubleChangep, KeptLeavesAMovedPointWhereItIs)
{
    const Curve li = curve({{1, 10}, {2, 20}, {3, 30}});
    EXPECT_EQ(lin_interp_double_changep(li.get(), 2, 0, 5), 0);
    EXPECT_EQ(contents(li), (Points{{1, 10}, {2, 20}, {0, 5}}));
}

TEST(LinInterpDoubleGetp, KeptIsSilentAboutAnIndexWithoutPointThatChangepReports)
{
    Reports reports;
    const Curve li = curve({{1, 10}, {2, 20}});
    for (const int index : {INT_MIN, -1, 2, INT_MAX}) {
        double x = 7;
        double y = 8;
        EXPECT_EQ(lin_interp_double_getp(li.get(), index, &x, &y), -1);
        EXPECT_TRUE(x == 7 && y == 8);
        EXPECT_EQ(reports.take(), lines{});
        EXPECT_EQ(lin_interp_double_changep(li.get(), index, 0, 0), -1);
        EXPECT_EQ(reports.take(), lines{"list_changep : index out of bound"});
    }
    EXPECT_EQ(contents(li), (Points{{1, 10}, {2, 20}}));
}

TEST(LinInterpDoubleSubst, KeptOverwritesTheNearestPointWithoutSortingAgain)
{
    const Points three = {{1, 1}, {2, 2}, {3, 3}};
    const struct {
        Points points;
        double x, tolerance;
        Points expected;
    } cases[] = {
        {{}, 1, 0.1, {{1, 9}}},
        {{{1.05, 4}}, 1, 0.1, {{1, 9}}},
        {three, 2.5, 0.6, {{1, 1}, {2.5, 9}, {3, 3}}},          // a tie: the lower index
        {three, 2.5, 0.5, {{1, 1}, {2, 2}, {2.5, 9}, {3, 3}}},  // as far as the tolerance
        {three, 2, 0, {{1, 1}, {2, 2}, {2, 9}, {3, 3}}},
        {three, 2, no_number, {{1, 1}, {2, 2}, {2, 9}, {3, 3}}},
        {three, 7, inf, {{1, 1}, {2, 2}, {7, 9}}},
        {{{0, 0}, {5, 5}, {-1, -1}}, 4, 2, {{-1, -1}, {0, 0}, {4, 9}}},
    };
    for (const auto &[points, x, tolerance, expected] : cases) {
        const Curve li = curve(points);
        EXPECT_EQ(lin_interp_double_subst(li.get(), x, 9, tolerance), 0);
        EXPECT_EQ(contents(li), expected);
    }
}

TEST(LinInterpDoubleSubst, InsertsWhenTheNearestDistanceIsNaN)
{
    const Curve li = curve({{no_number, 1}, {2, 2}});
    EXPECT_EQ(lin_interp_double_subst(li.get(), 2, 9, inf), 0);
    EXPECT_EQ(lin_interp_double_subst(li.get(), no_number, 9, inf), 0);
    EXPECT_EQ(lin_interp_double_num(li.get()), 4);
}

TEST(LinInterpDoubleInvert, SortsThePointsByTheirY)
{
    const struct {
        Points points;
        func_order order;
        Points expected;
    } cases[] = {
        {{}, nullptr, {}},
        {{{0, 0}, {1, 2}, {2, 4}}, nullptr, {{0, 0}, {2, 1}, {4, 2}}},
        {{{0, 4}, {1, 1}, {2, 4}, {3, 1}}, nullptr, {{1, 1}, {1, 3}, {4, 0}, {4, 2}}},
        {{{0, 4}, {1, 1}, {2, 5}}, descending, {{5, 2}, {4, 0}, {1, 1}}},
    };
    for (const auto &[points, order, expected] : cases) {
        const Curve li = curve(points, nullptr, 1);
        const Curve inverse(lin_interp_double_invert(li.get(), order), lin_interp_double_kill);
        EXPECT_EQ(contents(inverse), expected);
        EXPECT_EQ(contents(li), points);
    }
}

TEST(LinInterpDoubleGetp, KeptStandsInTheReportOfEveryFunctionThatFindsANullCurve)
{
    Reports reports;
    double y = 7;
    const std::pair<int, std::function<int()>> calls[] = {
        {-1, [] { return lin_interp_double_insert(nullptr, 1, 2); }},
        {-1, [] { return lin_interp_double_changep(nullptr, 0, 1, 2); }},
        {-1, [&] { return lin_interp_double_getp(nullptr, 0, &y, &y); }},
        {-1, [] { return lin_interp_double_num(nullptr); }},
        {-1, [&] { return lin_interp_double_inter(nullptr, 1, &y); }},
        {-1, [&] { return lin_interp_double_inextp(nullptr, 1, &y); }},
        {0, [] { return lin_interp_double_subst(nullptr, 1, 2, 3); }},
    };
    for (const auto &[result, call] : calls) {
        EXPECT_EQ(call(), result);
        EXPECT_EQ(reports.take(), lines{"lin_interp_double_getp : Not properly initialized"});
    }
    EXPECT_EQ(lin_interp_double_invert(nullptr, nullptr), nullptr);
    EXPECT_EQ(reports.take(), lines{"lin_interp_double : cannot create inverted object"});
    EXPECT_EQ(lin_interp_double_kill(nullptr), 0);
    EXPECT_EQ(reports.take(), lines{});
}
