#include "condirmin.h"

#include "support/reports.h"

#include "error_mess.h"
#include "numerics/problems.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <memory>
#include <vector>

namespace
{

using teska_test::lines;
using Values = std::vector<double>;
using Restriction = std::unique_ptr<restriction, restriction *(*)(restriction *)>;

// Searches are silent while it lives, and the absolute stop is off behind it.
class Quiet
{
public:
    Quiet() : level(teska_warn_level(1)) {}
    ~Quiet()
    {
        teska_warn_level(level);
        condirmin_set_abs_tol(0, 0.0, nullptr);
    }
    Quiet(const Quiet &) = delete;
    Quiet &operator=(const Quiet &) = delete;

private:
    int level;
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
double slope(void *, void *, const double *x) { return x[0]; }
double not_a_number(void *evaluations, void *sign, const double *)
{
    return ++*static_cast<int *>(evaluations), std::copysign(std::nan(""), *static_cast<double *>(sign));
}
double valley(void *, void *, const double *x) { return std::exp(x[0]); }

// Around (1, 2, 3), as steep everywhere.
double round_bowl(void *, void *, const double *x)
{
    return teska_test::square(x[0] - 1) + teska_test::square(x[1] - 2) + teska_test::square(x[2] - 3);
}

double flat_bowl(void *, void *, const double *x)
{
    return teska_test::square(x[0] - 1) + 10 * teska_test::square(x[1] + 2);
}

Restriction restricted(const Values &eq, const Values &ineq)
{
    const auto rows = [](const Values &v) { return static_cast<int>(v.size()) / 4; };
    return {restriction_new(3, rows(eq), eq.data(), rows(ineq), ineq.data()), restriction_kill};
}

}  // namespace

TEST(Condirmin, EndsAtTheMinimumOfKnownProblems)
{
    const Quiet quiet;
    for (const teska_test::Problem &problem : teska_test::problems()) {
        const Outcome first = search(problem.f, problem.start, 1e-12);
        EXPECT_EQ(first.result, 1) << problem.name;
        if (problem.f != teska_test::plateaus) {
            EXPECT_NEAR(first.least, problem.least, problem.within) << problem.name;
        }
        EXPECT_LT(first.passes, 200) << problem.name;
        EXPECT_LE(search(problem.f, first.x, 1e-12).least, first.least) << problem.name;
    }
}

TEST(Condirmin, EndsWithoutAMinimumToo)
{
    const Quiet quiet;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        condirmin_function f;
        Values start;
        int result;
        double least;
        lines reported;
    } rows[] = {
        {constant, {1, 2}, 1, 5, {}},
        {slope, {0}, 1, -infinity, {"brent: too many iter"}},
        {valley, {0}, 1, 0, {}},
        {teska_test::undefined, {0, 0}, 0, std::numeric_limits<double>::quiet_NaN(), {"condirmin: maxiter"}},
        {flat_bowl, {0, 0}, 1, 0, {}},
        {constant, {}, 1, 5, {}},
    };
    for (const auto &row : rows) {
        teska_test::Reports reports;
        const Outcome o = search(row.f, row.start, 1e-8);
        EXPECT_EQ(o.result, row.result);
        EXPECT_EQ(reports.take(), row.reported);
        if (row.f != flat_bowl && row.f != teska_test::undefined) {
            EXPECT_EQ(o.least, row.least);
        }
        if (row.f == constant && !row.start.empty()) {
            EXPECT_GT(o.x[0], row.start[0] + 2) << "Kept: the point moves on level ground";
            EXPECT_EQ(o.passes, 1);
        }
    }
    teska_test::Reports reports;
    for (double sign : {1.0, -1.0}) {
        Outcome o{-9, {0}};
        o.result = condirmin(o.x.data(), 1, 1e-8, &o.passes, &o.least, not_a_number, &o.evaluations, &sign);
        EXPECT_EQ(o.evaluations, 6600) << "the sign of what is no number must not lead the search";
    }
    EXPECT_EQ(reports.take(), lines(2, "condirmin: maxiter"));
    EXPECT_EQ(condirmin(nullptr, INT_MIN, 0, nullptr, nullptr, slope, nullptr, nullptr), 0);
    EXPECT_EQ(reports.take(), lines{"condirmin: malloc failed"});
}

TEST(Condirmin, StopsAtASmallValueWhenToldTo)
{
    const Quiet quiet;
    double old = -9;
    EXPECT_EQ(condirmin_set_abs_tol(1, 1e-3, &old), 0);
    EXPECT_EQ(old, 0);
    const Outcome at_once = search(flat_bowl, {1.01, -2}, 1e-12);
    EXPECT_EQ(at_once.result, 1);
    EXPECT_EQ(at_once.passes, -9) << "no pass was begun";
    const Outcome early = search(teska_test::rosenbrock, {-1.2, 1}, 1e-12);
    EXPECT_EQ(early.result, 1);
    EXPECT_LT(early.least, 1e-3);
    EXPECT_EQ(condirmin_set_abs_tol(0, 5, &old), 1);
    EXPECT_EQ(old, 1e-3);
    EXPECT_LT(early.evaluations, search(teska_test::rosenbrock, {-1.2, 1}, 1e-12).evaluations);
}

TEST(Condirmin, TracesPassesAndLinesAsWarningsOfLevelOne)
{
    testing::internal::CaptureStdout();
    search(constant, {1}, 1e-8);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "WARNING  : 'condirmin: iter= 1\n'\nWARNING  : '  dir 0 -> meddE = 5.000000\n'\n");
}

TEST(CondirminRestr, EndsAtTheMinimumThatTheRestrictionsLeave)
{
    const Quiet quiet;
    const Values sum{1, 1, 1, 3};
    const struct {
        Values eq, ineq, start;  // start: free variables
        int result;
        Values x;
    } rows[] = {
        {{}, {}, {0, 0, 0}, 1, {1, 2, 3}},
        {sum, {}, {0, 0}, 1, {0, 1, 2}},
        {{}, {0, 0, 1, 2}, {0, 0, 0}, 1, {1, 2, 2}},                             // an active plane
        {{}, {0, 0, 1, 2, 0, 1, 0, 1}, {0, 0, 0}, 1, {1, 1, 2}},                 // two
        {{}, {0, 0, 1, 2, 0, 1, 0, 1, 1, 0, 0, -1}, {-5, 0, 0}, 1, {-1, 1, 2}},  // a vertex
        {{}, {0, 0, 1, 2}, {0, 0, 2}, 1, {1, 2, 2}},                             // from the boundary
        {sum, {-1, 0, 0, -0.5}, {1, 1}, 1, {0.5, 0.75, 1.75}},                   // on a plane, bounded
        {sum, {-1, 0, 0, -0.5, 0, 0, 1, 1.5}, {1, 1}, 1, {0.5, 1, 1.5}},
        {{}, {0, 0, 1, 2}, {0, 0, 2.1}, 0, {0, 0, 2.1}},               // infeasible
        {{1, 0, 0, 4, 0, 1, 0, 5, 0, 0, 1, 6}, {}, {}, 1, {4, 5, 6}},  // nothing to choose
    };
    for (const auto &row : rows) {
        const Restriction r = restricted(row.eq, row.ineq);
        Values free_vars = row.start;
        EXPECT_EQ(condirmin_restr(free_vars.data(), static_cast<int>(free_vars.size()), 1e-12, r.get(), nullptr,
                                  nullptr, round_bowl, nullptr, nullptr),
                  row.result);
        Values x(3);
        restriction_makeX(r.get(), free_vars.data(), x.data());
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_NEAR(x[k], row.x[k], 2e-4) << "row " << &row - rows << ", coordinate " << k;
    }
    const Restriction plane = restricted(sum, {});
    Values wrong{0, 0, 0};
    EXPECT_EQ(condirmin_restr(wrong.data(), 3, 1e-8, plane.get(), nullptr, nullptr, round_bowl, nullptr, nullptr), 0);
    // A function that falls for ever ends where it is stopped.
    const Restriction half = restricted({}, {-1, 0, 0, 3});
    Values low{0, 0, 0};
    EXPECT_EQ(condirmin_restr(low.data(), 3, 1e-8, half.get(), nullptr, nullptr, slope, nullptr, nullptr), 1);
    EXPECT_EQ(low[0], -3);
    EXPECT_TRUE(std::isfinite(low[1]));
    EXPECT_TRUE(std::isfinite(low[2]));
}
