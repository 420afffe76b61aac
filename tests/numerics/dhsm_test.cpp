#include "dhsm.h"

#include "support/test.h"

#include "numerics/problems.h"

namespace
{

using teska_test::Objective;
using Values = std::vector<double>;

struct Outcome {
    int result;
    Values x;
    double least;
    int evaluations;
};

double always_zero(dhsm *, void *, void *, int, int) { return 0.0; }
double never(dhsm *, void *, void *, int, int) { return 1.0; }

struct Search {
    Search(Objective f, std::size_t variables, dhsm_conv_test test = nullptr)
        : n(static_cast<int>(variables)), d(dhsm_new(f, test, n), dhsm_kill)
    {
    }

    Outcome solve(Values x, double tolerance, int max_iter)
    {
        Outcome run{-9, std::move(x), 0, 0};
        run.result = dhsm_solve(d.get(), &run.evaluations, &n, tolerance, run.x.data(), max_iter, &run.least);
        return run;
    }

    int n;
    std::unique_ptr<dhsm, dhsm *(*)(dhsm *)> d;
};

double gentle(void *evaluations, void *, const double *x)
{
    return ++*static_cast<int *>(evaluations), teska_test::square(x[0] - 1) + teska_test::square(x[1] + 2);
}

double undefined(void *, void *, const double *) { return NAN; }
double constant(void *evaluations, void *, const double *) { return ++*static_cast<int *>(evaluations), 5; }

// Level ground around a hole at 0, higher to its left.
double hole(void *evaluations, void *, const double *x)
{
    return ++*static_cast<int *>(evaluations), x[0] == 0 ? 0 : x[0] < 0 ? 6 : 5;
}

double pitted(void *evaluations, void *, const double *x)
{
    return ++*static_cast<int *>(evaluations), x[0] == 1 - 0.005 ? -1 : std::fabs(x[0] - 1);
}

// 0 at (0.5, beside), but for a pit that is looked for there when the second coordinate counts as 0.
double beside;
double hollow(void *evaluations, void *, const double *x)
{
    ++*static_cast<int *>(evaluations);
    return x[0] == 0.5 && x[1] == 0.0025 ? -1 : std::fabs(x[0] - 0.5) + std::fabs(x[1] - beside);
}

}  // namespace

TEST(DhsmSolve, EndsAtAKnownMinimum)
{
    for (const Objective f : {teska_test::rosenbrock, teska_test::half_undefined}) {
        Search search(f, 2);
        const Outcome first = search.solve({-1.2, 1}, 1e-9, 20000);
        EXPECT_EQ(first.result, 0);
        EXPECT_NEAR(first.least, 0, 1e-6);
        // The search starts anew around the point it is given.
        EXPECT_LE(search.solve(first.x, 1e-9, 20000).least, first.least);
    }
}

TEST(DhsmSolve, TakesTheStepsOfTheMethodAsManyAsItIsAllowed)
{
    constexpr int any = -2;
    const std::tuple<Objective, Values, double, int, int, int> rows[] = {
        {gentle, {0, 0}, 0, -1, -1, 3},
        {gentle, {0, 0}, 0, 1, -1, 7},
        {gentle, {0, 0}, -1, 50, -1, any},  // no measure is below a negative tolerance
        // Equal values: only reflections, and nothing shrinks.
        {constant, {0, 0}, 0, 0, -1, 3 + 2 * 1001},
        {constant, {0, 0}, 0, 5, -1, 3 + 2 * 6},
        {hole, {0}, 0, 1, -1, 2 + 2 * 3},  // a contraction that gains nothing shrinks
        {undefined, {0, 0}, 0, INT_MAX, 0, any},
        {pitted, {1}, 1e-3, 50, -1, any},  // only the built-in test sees the pit
        // Counted in a plain form of the method, with a point for every vertex; it counts each of its terms.
        {teska_test::rosenbrock, {-1.2, 1, -1.2, 1}, 1e-3, 0, 0, 4 * 387},
    };
    for (const auto &[f, start, tolerance, max_iter, result, evaluations] : rows) {
        const Outcome run = Search(f, start.size()).solve(start, tolerance, max_iter);
        EXPECT_EQ(run.result, result) << evaluations;
        EXPECT_EQ(evaluations == any ? any : run.evaluations, evaluations) << max_iter;
    }
    EXPECT_EQ(Search(gentle, 2, never).solve({0, 0}, 0, 0).result, -1);
    const auto measure = [](dhsm *, void *, void *at, int, int) {
        return *static_cast<int *>(at) == 2 ? 0.99e-7 : 1.01e-7;
    };
    for (const std::size_t n : {2U, 3U})
        EXPECT_EQ(Search(constant, n, measure).solve(Values(n), 0, 0).result, n == 2 ? 0 : -1)
            << "1e-7 for no tolerance";
    for (const double near : {0.0, 9.9e-21, 1.01e-20})
        EXPECT_EQ(Search(hollow, 2).solve({0.5, beside = near}, 1e-3, 50).result, near < 1e-20 ? -1 : 0) << near;
}

TEST(DhsmSolve, TakesTheFirstSimplexFromTheStartOrFromInit)
{
    const int yes[] = {1, 1}, no[] = {0, 0};
    const double lower[] = {-10, -10}, step[] = {0.2, 0.2}, start[] = {3, 1};
    const std::tuple<const int *, const int *, double, double> rows[] = {{nullptr, yes, 3.1, 3},
                                                                         {yes, nullptr, 3.1, 3},
                                                                         {yes, yes, 3.1, 1.7},
                                                                         {no, yes, 3.1, 2.6},
                                                                         {yes, yes, 3 + 0.2, 3}};  // on the bound
    for (const auto &[lower_given, upper_given, limit, best] : rows) {
        Search search(gentle, 2, always_zero);
        const double upper[] = {limit, 9};
        dhsm_init(search.d.get(), lower_given, upper_given, lower, upper, step, start);
        const Outcome run = search.solve({77, 77}, 0, 0);
        EXPECT_DOUBLE_EQ(run.x[0], best);
        EXPECT_EQ(run.x[1], 1);
        EXPECT_EQ(search.solve({0, 0}, 0, 0).x, (Values{0.1, 0})) << "init serves one search";
    }
    EXPECT_EQ(Search(gentle, 2, always_zero).solve({0, 0}, 0, 0).x, (Values{0.1, 0}));
    EXPECT_EQ(Search(gentle, 2, always_zero).solve({3, 1}, 0, 0).x, (Values{3, 1}));
    EXPECT_EQ(Search(constant, 1, always_zero).solve({0}, 0, 0).x, Values{0.1}) << "of equals the last is the best";
}
