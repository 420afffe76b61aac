#include "condirmin.h"

#include "support/test.h"

#include "error_mess.h"
#include "numerics/problems.h"

namespace
{

using teska_test::lines, teska_test::square;
using Values = std::vector<double>;
using Restriction = std::unique_ptr<restriction, restriction *(*)(restriction *)>;

// Searches are silent, and the absolute stop is off afterwards.
class Condirmin : public testing::Test
{
protected:
    ~Condirmin() override
    {
        teska_warn_level(level);
        condirmin_set_abs_tol(0, 0.0, nullptr);
    }

    int level = teska_warn_level(1);
};

struct Outcome {
    int result;
    Values x;
    double least = -9;
    int passes = -9;
    int evaluations = 0;
};

Outcome search(condirmin_function f, Values start, double ftol)
{
    Outcome o{-9, std::move(start)};
    int n = static_cast<int>(o.x.size());
    o.result = condirmin(o.x.data(), n, ftol, &o.passes, &o.least, f, &o.evaluations, &n);
    return o;
}

double constant(void *, void *, const double *) { return 5; }
double drop(void *values, void *, const double *x) { return static_cast<double *>(values)[x[0] == 0 ? 0 : 1]; }
double slope(void *evaluations, void *, const double *x) { return ++*static_cast<int *>(evaluations), x[0]; }
// The parabola through the first three points leads to one as low as the second.
double pits(void *, void *, const double *x)
{
    return std::fabs(x[0] - 2.62) < 0.05 ? 0 : std::fabs(x[0] - 1.92) < 0.05 || std::fabs(x[0] - 1) < 0.05 ? 1 : 9;
}
template <int sign>
double not_a_number(void *evaluations, void *, const double *)
{
    return ++*static_cast<int *>(evaluations), std::copysign(std::nan(""), sign);
}

// Around (1, 2, 3), as steep everywhere.
double round_bowl(void *, void *, const double *x) { return square(x[0] - 1) + square(x[1] - 2) + square(x[2] - 3); }

Restriction restricted(const Values &eq, const Values &ineq)
{
    const auto rows = [](const Values &v) { return static_cast<int>(v.size()) / 4; };
    return {restriction_new(3, rows(eq), eq.data(), rows(ineq), ineq.data()), restriction_kill};
}

}  // namespace

TEST_F(Condirmin, EndsAtAKnownMinimum)
{
    for (const condirmin_function f : {teska_test::rosenbrock, teska_test::half_undefined}) {
        const Outcome first = search(f, {-1.2, 1}, 1e-12);
        EXPECT_EQ(first.result, 1);
        EXPECT_NEAR(first.least, 0, 1e-6);
        EXPECT_LT(first.passes, 200);
        EXPECT_LE(search(f, first.x, 1e-12).least, first.least);
    }
    EXPECT_EQ(search(pits, {0}, 1e-8).least, 0);
}

TEST_F(Condirmin, ConvergesWhenAPassChangesTheValueByLittle)
{
    const double rows[][4] = {{3, 1, 1, 1}, {3, 1, 0.99, 2}, {-1, -3, 1, 1},     {-1, -3, 0.99, 2},
                              {1, 0, 1, 1}, {1, 0, 0.99, 2}, {1.5, 0.25, 1.3, 2}};
    for (const auto &[before, after, ftol, expected] : rows) {
        double values[] = {before, after}, x = 0, least = 9;
        int passes = -9;
        EXPECT_EQ(condirmin(&x, 1, ftol, &passes, &least, drop, values, nullptr), 1);
        EXPECT_EQ(passes, expected) << before << " " << ftol;
    }
}

TEST_F(Condirmin, EndsWithoutAMinimumToo)
{
    teska_test::Reports reports;
    // The sign of what is no number must not lead the search.
    const std::tuple<condirmin_function, Values, int, double, int, lines> rows[] = {
        {slope, {0}, 1, -HUGE_VAL, 1678, {"brent: too many iter"}},
        {not_a_number<1>, {0}, 0, 0, 6600, {"condirmin: maxiter"}},
        {not_a_number<-1>, {0}, 0, 0, 6600, {"condirmin: maxiter"}},
        {constant, {}, 1, 5, 0, {}},
    };
    for (const auto &[f, start, result, least, evaluations, reported] : rows) {
        const Outcome o = search(f, start, 1e-8);
        EXPECT_EQ(o.result, result) << least;
        EXPECT_EQ(reports.take(), reported) << least;
        EXPECT_EQ(o.evaluations, evaluations) << least;
        EXPECT_EQ(result == 0 ? 0 : o.least, least);
    }
    const Outcome o = search(constant, {1, 2}, 1e-8);
    EXPECT_EQ(o.result, 1);
    EXPECT_EQ(o.least, 5);
    EXPECT_EQ(o.passes, 1);
    EXPECT_GT(o.x[0], 3) << "Kept: the point moves on level ground";
    EXPECT_EQ(reports.take(), lines{});
    EXPECT_EQ(condirmin(nullptr, INT_MIN, 0, nullptr, nullptr, slope, nullptr, nullptr), 0);
    EXPECT_EQ(reports.take(), lines{"condirmin: malloc failed"});
}

TEST_F(Condirmin, StopsAtASmallValueWhenToldTo)
{
    double old = -9;
    EXPECT_EQ(condirmin_set_abs_tol(1, 1e-3, &old), 0);
    EXPECT_EQ(old, 0);
    const Outcome at_once = search(round_bowl, {1.01, 2, 3}, 1e-12);
    EXPECT_EQ(at_once.result, 1);
    EXPECT_EQ(at_once.passes, -9) << "no pass was begun";
    const Outcome early = search(teska_test::rosenbrock, {-1.2, 1}, 1e-12);
    EXPECT_EQ(early.result, 1);
    EXPECT_EQ(condirmin_set_abs_tol(0, 5, &old), 1);
    EXPECT_EQ(old, 1e-3);
    EXPECT_LT(early.least, 1e-3);
    EXPECT_LT(early.evaluations, search(teska_test::rosenbrock, {-1.2, 1}, 1e-12).evaluations);
}

TEST(CondirminTrace, WritesPassesAndLinesAsWarningsOfLevelOne)
{
    testing::internal::CaptureStdout();
    search(constant, {1}, 1e-8);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "WARNING  : 'condirmin: iter= 1\n'\nWARNING  : '  dir 0 -> meddE = 5.000000\n'\n");
}

TEST_F(Condirmin, EndsAtTheMinimumThatTheRestrictionsLeave)
{
    const Values sum{1, 1, 1, 3};
    // Both kinds of restrictions, the free variables, the result and the place.
    const std::tuple<Values, Values, Values, int, Values> rows[] = {
        {{}, {}, {0, 0, 0}, 1, {1, 2, 3}},
        {sum, {}, {0, 0}, 1, {0, 1, 2}},
        {{}, {0, 0, 1, 2}, {0, 0, 0}, 1, {1, 2, 2}},                             // an active plane
        {{}, {0, 0, 1, 2, 0, 1, 0, 1, 1, 0, 0, -1}, {-5, 0, 0}, 1, {-1, 1, 2}},  // a vertex
        {{}, {0, 0, 1, 2}, {0, 0, 2}, 1, {1, 2, 2}},                             // from the boundary
        {sum, {-1, 0, 0, -0.5, 0, 0, 1, 1.5}, {1, 1}, 1, {0.5, 1, 1.5}},
        {{}, {0, 0, 1, 2}, {0, 0, 2.1}, 0, {0, 0, 2.1}},               // infeasible
        {{1, 0, 0, 4, 0, 1, 0, 5, 0, 0, 1, 6}, {}, {}, 1, {4, 5, 6}},  // nothing to choose
    };
    for (const auto &[eq, ineq, start, result, expected] : rows) {
        const Restriction r = restricted(eq, ineq);
        Values free_vars = start, x(3);
        EXPECT_EQ(condirmin_restr(free_vars.data(), static_cast<int>(free_vars.size()), 1e-12, r.get(), nullptr,
                                  nullptr, round_bowl, nullptr, nullptr),
                  result);
        restriction_makeX(r.get(), free_vars.data(), x.data());
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_NEAR(x[k], expected[k], 2e-4) << testing::PrintToString(ineq) << ", coordinate " << k;
    }
    const Restriction plane = restricted(sum, {});
    Values wrong{0, 0, 0};
    EXPECT_EQ(condirmin_restr(wrong.data(), 3, 1e-8, plane.get(), nullptr, nullptr, round_bowl, nullptr, nullptr), 0);
    // A function that falls for ever ends where it is stopped.
    const Restriction half = restricted({}, {-1, 0, 0, 3});
    Values low{0, 0, 0};
    int calls = 0;
    EXPECT_EQ(condirmin_restr(low.data(), 3, 1e-8, half.get(), nullptr, nullptr, slope, &calls, nullptr), 1);
    EXPECT_EQ(low[0], -3);
    for (const double coordinate : low)
        EXPECT_TRUE(std::isfinite(coordinate)) << coordinate;
}
