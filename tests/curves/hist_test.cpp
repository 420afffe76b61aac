#include "hist.h"

#include "support/test.h"

using namespace teska_test;

namespace
{

using Hist = teska::handle<hist, hist_kill>;

Hist filled(int lo, int hi, const std::vector<int> &values)
{
    Hist h(hist_new(lo, hi));
    EXPECT_EQ(hist_point(h.get(), values.data(), static_cast<int>(values.size())), 0);
    return h;
}

}  // namespace

TEST(HistNew, RefusesBoundsWithoutABinAndMoreBinsThanThereCanBe)
{
    Reports reports;
    for (const auto &[lo, hi] : {std::pair{5, 2}, {5, 1}, {INT_MAX, INT_MIN}, {INT_MIN, INT_MAX}, {-3, INT_MAX - 5}})
        EXPECT_EQ(hist_new(lo, hi), nullptr);
    EXPECT_EQ(reports.take(), lines(5, "hist_new: illegal bounds"));
}

TEST(HistPoint, KeptAddsANegativeNumberToTheTotal)
{
    const std::tuple<int, int, std::vector<int>, std::vector<int>> cases[] = {
        {0, 3, {-5, 0, 3, 3, 12, INT_MIN, INT_MAX}, {2, 1, 0, 0, 2, 2}},
        {5, 4, {4, 5, 6}, {1, 2}},
        {INT_MAX - 1, INT_MAX, {INT_MIN, INT_MAX - 2, INT_MAX - 1, INT_MAX}, {2, 1, 1, 0}},
        {INT_MIN, INT_MIN, {INT_MIN, INT_MAX}, {0, 1, 1}}};
    for (const auto &[lo, hi, values, counts] : cases) {
        const Hist h = filled(lo, hi, values);
        int total = 0;
        const int *bins = hist_get(h.get(), nullptr);
        EXPECT_EQ(std::vector<int>(bins, bins + counts.size()), counts);
        hist_point(h.get(), nullptr, -5);
        EXPECT_EQ(hist_get(h.get(), &total), bins);
        EXPECT_EQ(total, static_cast<int>(values.size()) - 5);
    }
}

TEST(HistMed, KeptLeavesTheOuterBinsInTheTotalAndDividesByNoZero)
{
    const std::tuple<std::vector<int>, int, double, double> cases[] = {
        {{-1, 2, 6, 10}, 4, 2, 2}, {{}, 0, 0, 0}, {{2, 4}, 0, 6, std::sqrt(20.0)}, {{2, 4}, -1, -6, -1}};  // -1: NaN
    for (const auto &[values, total, mean, sd] : cases) {
        const Hist h = filled(0, 9, values);
        double found[2];
        EXPECT_EQ(hist_set(h.get(), total), total);
        EXPECT_EQ(hist_med(h.get(), &found[0], &found[1]), 0);
        EXPECT_EQ(found[0], mean);
        EXPECT_EQ(std::isnan(found[1]) ? -1 : found[1], sd);
    }
}

TEST(HistPercentile, KeptIsOneAboveTheValueThatReachesTheTarget)
{
    const std::pair<double, int> of_three[] = {{50, 2}, {0, -1}, {33, -1}, {100, 4}, {HUGE_VAL, 10}, {NAN, -1}};
    for (const auto &[percent, value] : of_three)
        EXPECT_EQ(hist_percentile(filled(0, 9, {1, 2, 3}).get(), percent), value) << percent;
    EXPECT_EQ(hist_percentile(filled(0, 9, {-4, 2}).get(), 50), 0);
    EXPECT_EQ(hist_percentile(filled(0, 9, {2, 40}).get(), 100), 10);
    EXPECT_EQ(hist_percentile(filled(5, 3, {1, 5}).get(), 100), 4);
}
