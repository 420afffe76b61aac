#include "restriction.h"

#include "support/test.h"

namespace
{

using Values = std::vector<double>;
using Restriction = std::unique_ptr<restriction, restriction *(*)(restriction *)>;

Restriction restricted(int nx, const Values &eq, const Values &ineq)
{
    const auto rows = [nx](const Values &v) { return static_cast<int>(v.size()) / (nx + 1); };
    return {restriction_new(nx, rows(eq), eq.data(), rows(ineq), ineq.data()), restriction_kill};
}

Values full(const Restriction &r, const Values &free_vars, std::size_t nx)
{
    Values x(nx);
    EXPECT_EQ(restriction_makeX(r.get(), free_vars.data(), x.data()), 0);
    return x;
}

}  // namespace

TEST(RestrictionNew, MakesCoordinatesDependOnTheOthers)
{
    const std::tuple<Values, int, Values, Values> rows[] = {
        {{}, 3, {7, 8, 9}, {7, 8, 9}},
        {{1, 1, 1, 6, 1, -1, 0, -1}, 1, {3}, {1, 2, 3}},
        {{1, 1, 1, 6, 2, 2, 2, 12}, 2, {2, 3}, {1, 2, 3}},  // the second says nothing new
        {{1, 1, 1, 6, 1, -1, 0, -1, 0, 0, 4, 12}, 0, {}, {1, 2, 3}},
        {{0, 0x1p-60, 0, 0x1p-59}, 2, {1, 3}, {1, 2, 3}},
        {{1, 2, -8, 0}, 2, {1, 2}, {1, 2, 0.625}},  // the largest magnitude is the pivot
        {{1, 1, 0x1p20, 0x1p20 + 5, 1, 1 + 0x1p-30, 0x1p20, 0x1p20 + 5}, 2, {2, 3}, {2, 3, 1}},  // rounding beside 2^20
    };
    for (const auto &[eq, free, free_vars, x] : rows) {
        const Restriction r = restricted(3, eq, {});
        EXPECT_EQ(restriction_get_num_of_var(r.get()), free);
        EXPECT_EQ(full(r, free_vars, 3), x);
    }
    EXPECT_EQ(restriction_get_num_of_var(nullptr), 0);
    teska_test::Reports reports;
    EXPECT_EQ(restricted(2, {1, 1, 1, 1, 1, 2}, {}), nullptr);
    EXPECT_EQ(reports.take(), teska_test::lines{"restriction_new: inconsistent restrictions"});
    for (const int nx : {0, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(restriction_new(nx, 0, nullptr, 0, nullptr), nullptr);
    for (const int eq : {-1, 0})
        EXPECT_EQ(restriction_new(2, eq, nullptr, -1 - eq, nullptr), nullptr);
    EXPECT_EQ(reports.take(), teska_test::lines(6, "restriction_new: malloc failed"));
}

TEST(RestrictionNewCheck, StopsAStepAtTheFirstInequality)
{
    // y <= 4, y + z <= 6, 2 y <= 8, and one that follows from x = 1.
    const Restriction r = restricted(3, {1, 0, 0, 1}, {0, 1, 0, 4, 0, 1, 1, 6, 0, 2, 0, 8, 1, 0, 0, 1});
    // The reduced restriction with its one free variable 5; empty when nothing stops.
    const std::tuple<Values, double, Values> rows[] = {
        {{1, 1}, 1, {}},           {{4, 0}, 1, {}},
        {{8, -8}, 0.5, {1, 4, 5}}, {{0, 12}, 0.5, {1, 1, 5}},
        {{8, 4}, 0.5, {1, 4, 5}},  {{-100, 5}, 1, {}},
        {{4 + 0x1p-38, 0}, 1, {}}, {{4 + 0x1p-36, 0}, 4 / (4 + 0x1p-36), {1, 4, 5}}};
    for (const auto &[step, expected, x] : rows) {
        double alpha = -9;
        const Restriction reduced(restriction_new_check(r.get(), nullptr, Values{0, 0}.data(), step.data(), &alpha),
                                  restriction_kill);
        EXPECT_EQ(alpha, expected);
        ASSERT_EQ(reduced == nullptr, x.empty());
        if (!reduced)
            continue;
        EXPECT_EQ(full(reduced, {5}, 3), x);
        Values back(2);
        EXPECT_EQ(restriction_get_back(reduced.get(), r.get(), Values{5}.data(), back.data()), 0);
        EXPECT_EQ(back, Values(x.begin() + 1, x.end()));
        const Restriction twice(restriction_new_check(reduced.get(), nullptr, Values{2}.data(),
                                                      Values{x[1] == 4 ? 36.0 : -36.0}.data(), &alpha),
                                restriction_kill);
        EXPECT_NE(twice, nullptr) << "the other inequalities hold too";
    }
    // Other limits count instead; a start that violates one goes nowhere.
    const Restriction tighter = restricted(3, {}, {0, 1, 0, -1});
    double alpha = -9;
    const Restriction stuck(
        restriction_new_check(r.get(), tighter.get(), Values{0, 0}.data(), Values{1, 0}.data(), &alpha),
        restriction_kill);
    EXPECT_EQ(alpha, 0);
    EXPECT_EQ(full(stuck, {5}, 3), (Values{1, -1, 5}));
    // So does one that comes nearer, but not far enough; and one at infinity. No step aside does, nor what is none.
    const std::tuple<Values, Values, double> starts[] = {{{0, 0}, {-0.5, 0}, 0},
                                                         {{-HUGE_VAL, 0}, {HUGE_VAL, 0}, 0},
                                                         {{3, 0}, {0, 1}, 1},
                                                         {{0, 0}, {9.9e-21, 0}, 1},
                                                         {{0, 0}, {1.01e-20, 0}, 0}};
    for (const auto &[from, step, part] : starts) {
        restriction_kill(restriction_new_check(r.get(), tighter.get(), from.data(), step.data(), &alpha));
        EXPECT_EQ(alpha, part) << from[0] << " " << step[0];
    }
    Values row(41), step(40);  // more coordinates than there is room for on the stack
    row[39] = row[40] = step[39] = 4;
    restriction_kill(
        restriction_new_check(restricted(40, {}, row).get(), nullptr, Values(40).data(), step.data(), &alpha));
    EXPECT_EQ(alpha, 0.25);
}
