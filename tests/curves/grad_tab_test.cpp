#include "grad_tab.h"

#include "support/test.h"

namespace
{

using Table = teska::handle<grad_tab, grad_tab_kill>;
using Values = std::vector<double>;

Table table(const teska_test::Folder &folder, int mode, double hi, double lo)
{
    return Table(grad_tab_new(folder.path("curve.rec").c_str(), mode, hi, lo));
}

void add(const Table &g, const std::vector<Values> &points, int result = 0)
{
    for (const Values &point : points)
        EXPECT_EQ(grad_tab_add_point(g.get(), point.data()), result) << point[0];
}

using Entries = std::vector<std::tuple<std::string, double, double>>;

Entries listed(const Table &g)
{
    Entries entries;
    double pair[2];
    int cursor = 0;
    while (const char *name = grad_tab_list(g.get(), &cursor, pair))
        entries.emplace_back(name, pair[0], pair[1]);
    return entries;
}

}  // namespace

TEST(GradTab, ComesBackFromItsFileWithItsInverse)
{
    const teska_test::Folder folder;
    const Table made = table(folder, 1, 300, 100);
    add(made, {{100, 100}, {200, 250}, {300, 300}});
    EXPECT_EQ(grad_tab_save(made.get()), 0);
    EXPECT_EQ(folder.read("curve.rec"), "[patches]\np100 = 0.000  0.000\np50 = 0.500  0.750\np0 = 1.000  1.000\n");

    const Table read = table(folder, 0, 300, 100);
    Values line{100, -1, 150, -1, 300, -1, 320, -1};
    EXPECT_EQ(grad_tab_do(read.get(), line.data(), 2, line.data(), 2, 4), 0);
    EXPECT_EQ(line, (Values{100, -1, 175, -1, 300, -1, 310, -1}));
    Values back(4);
    EXPECT_EQ(grad_tab_do_inv(read.get(), line.data() + 6, -2, back.data(), 1, 4), 0);
    EXPECT_EQ(back, (Values{320, 300, 150, 100}));
    EXPECT_EQ(listed(read), (Entries{{"p100", 100, 100}, {"p50", 200, 250}, {"p0", 300, 300}}));

    // The table that was saved needs no way through the file.
    EXPECT_EQ(grad_tab_invert(made.get()), 0);
    EXPECT_EQ(grad_tab_do_inv(made.get(), &line[2], 1, back.data(), 1, 1), 0);
    EXPECT_EQ(back[0], 150);
}

TEST(GradTab, KeptTheInverseIsMadeOnceAndNamesAreWholeParts)
{
    const teska_test::Folder folder;
    teska_test::Reports reports;
    const Table g = table(folder, 1, 1, 0);
    // Halves to even; below lo; above hi, where a minus stays; the same name again; no part at all.
    add(g, {{0.015, 0.1}, {-0.2, 0.2}, {1.001, 0.3}, {1.002, 0.4}});
    add(g, {{0.5, HUGE_VAL}, {-1e307, 0.5}}, -1);
    EXPECT_EQ(grad_tab_save(g.get()), 0);
    EXPECT_EQ(folder.read("curve.rec"), "[patches]\np98 = 0.015  0.100\np120 = -0.200  0.200\np-0 = 1.002  0.400\n");
    double y = 7;
    EXPECT_EQ(grad_tab_do_inv(g.get(), &y, 1, &y, 1, 1), -1);
    EXPECT_EQ(reports.take(), teska_test::lines{"lin_interp : too little function points"});
    EXPECT_EQ(y, 7);
    EXPECT_EQ(grad_tab_do(g.get(), nullptr, 1, nullptr, 1, 0), 0);
    add(table(folder, 1, 5, 5), {{5, 5}}, -1);  // a range without extent has no parts
    EXPECT_EQ(table(teska_test::Folder(), 0, 1, 0), nullptr) << "no file";
    EXPECT_EQ(grad_tab_save(nullptr), -1);
}

TEST(GradTabNewPoints, HasItsInverseAtOnceAndAllDigits)
{
    teska_test::Reports reports;
    const double points[] = {255, 255, 0, 0.123456789, 128, 150};
    const Table g(grad_tab_new_points(points, 3, 255, 0));
    Values line{64, 192, 0, 300}, back(4);
    const Values before = line;
    EXPECT_EQ(grad_tab_do(g.get(), line.data(), 1, line.data(), 1, 4), 0);
    EXPECT_NEAR(line[2], 0.123456789, 1e-13);
    EXPECT_NEAR(line[0], (0.123456789 + 150) / 2, 1e-12);
    EXPECT_EQ(grad_tab_do_inv(g.get(), line.data(), 1, back.data(), 1, 4), 0);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(back[i], before[i], 1e-12);

    // A further point is in the curve at once and in the inverse when asked for.
    add(g, {{64, 100}});
    add(g, {{std::nan(""), 1}, {1, HUGE_VAL}}, -1);
    const double xy[] = {64, 100};
    double found[3];
    grad_tab_do(g.get(), &xy[0], 1, &found[0], 1, 1);
    grad_tab_do_inv(g.get(), &xy[1], 1, &found[1], 1, 1);
    EXPECT_EQ(grad_tab_invert(g.get()), 0);
    grad_tab_do_inv(g.get(), &xy[1], 1, &found[2], 1, 1);
    EXPECT_EQ(found[0], 100);
    EXPECT_GT(found[1], 80);
    EXPECT_EQ(found[2], 64);
    EXPECT_EQ(listed(g), (Entries{{"p100", 0, 0.123456789}, {"p75", 64, 100}, {"p50", 128, 150}, {"p0", 255, 255}}));
    EXPECT_EQ(reports.take(), teska_test::lines{});
    EXPECT_EQ(grad_tab_save(g.get()), -1);
    EXPECT_EQ(reports.take(), teska_test::lines{"grad_tab_save: table without a file"});
}
