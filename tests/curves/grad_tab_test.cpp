#include "grad_tab.h"

#include "support/folder.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace
{

using Table = std::unique_ptr<grad_tab, grad_tab *(*)(grad_tab *)>;
using Values = std::vector<double>;

Table table(const teska_test::Folder &folder, int mode, double hi, double lo)
{
    return {grad_tab_new(folder.path("curve.rec").c_str(), mode, hi, lo), grad_tab_kill};
}

// Adds points and returns how often that failed.
int add(const Table &g, const std::vector<Values> &points)
{
    int failed = 0;
    for (const Values &point : points)
        failed -= grad_tab_add_point(g.get(), point.data());
    return failed;
}

}  // namespace

TEST(GradTab, ComesBackFromItsFileWithItsInverse)
{
    const teska_test::Folder folder;
    const Table made = table(folder, 1, 300, 100);
    EXPECT_EQ(add(made, {{100, 100}, {200, 250}, {300, 300}}), 0);
    EXPECT_EQ(grad_tab_save(made.get()), 0);
    EXPECT_EQ(folder.read("curve.rec"), "[patches]\np100 = 0.000  0.000\np50 = 0.500  0.750\np0 = 1.000  1.000\n");

    const Table read = table(folder, 0, 300, 100);
    Values line{100, -1, 150, -1, 300, -1, 320, -1};
    EXPECT_EQ(grad_tab_do(read.get(), line.data(), 2, line.data(), 2, 4), 0);
    EXPECT_EQ(line, (Values{100, -1, 175, -1, 300, -1, 310, -1}));
    Values back(4);
    EXPECT_EQ(grad_tab_do_inv(read.get(), line.data() + 6, -2, back.data(), 1, 4), 0);
    EXPECT_EQ(back, (Values{320, 300, 150, 100}));

    double pair[2];
    int cursor = 0;
    std::vector<std::string> names;
    Values pairs;
    while (const char *name = grad_tab_list(read.get(), &cursor, pair)) {
        names.emplace_back(name);
        pairs.insert(pairs.end(), pair, pair + 2);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"p100", "p50", "p0"}));
    EXPECT_EQ(pairs, (Values{100, 100, 200, 250, 300, 300}));
}

TEST(GradTab, KeptTheInverseIsMadeOnceAndNamesAreWholeParts)
{
    const teska_test::Folder folder;
    teska_test::Reports reports;
    const Table g = table(folder, 1, 1, 0);
    // Halves to even; below lo; above hi, where a minus stays; the same name again; no part at all.
    EXPECT_EQ(add(g, {{0.015, 0.1}, {-0.2, 0.2}, {1.001, 0.3}, {1.002, 0.4}}), 0);
    EXPECT_EQ(add(g, {{0.5, std::numeric_limits<double>::infinity()}, {-1e307, 0.5}}), 2);
    EXPECT_EQ(grad_tab_save(g.get()), 0);
    EXPECT_EQ(folder.read("curve.rec"), "[patches]\np98 = 0.015  0.100\np120 = -0.200  0.200\np-0 = 1.002  0.400\n");
    double y = 7;
    EXPECT_EQ(grad_tab_do_inv(g.get(), &y, 1, &y, 1, 1), -1);
    EXPECT_EQ(reports.take(), teska_test::lines{"lin_interp : too little function points"});
    EXPECT_EQ(y, 7);
    EXPECT_EQ(grad_tab_do(g.get(), nullptr, 1, nullptr, 1, 0), 0);
    EXPECT_EQ(add(table(folder, 1, 5, 5), {{5, 5}}), 1) << "a range without extent has no parts";
}

TEST(GradTab, IsNotThereWithoutItsFile)
{
    const teska_test::Folder folder;
    EXPECT_EQ(table(folder, 0, 1, 0), nullptr);
    EXPECT_EQ(grad_tab_kill(nullptr), nullptr);
    EXPECT_EQ(grad_tab_save(nullptr), -1);
}
