#include "md_tetrad.h"

#include "support/runs.h"

using teska_test::Generator, teska_test::Reports;

namespace
{

using Doubles = std::vector<double>;
using Coords = std::vector<int>;
using Samples = teska_test::Samples<double>;

struct Table {
    Table(int inputs, int outputs, int resolution, double low = 0, double high = 1)
        : n(static_cast<std::size_t>(inputs)), m(outputs), r(resolution), lo(low), hi(high),
          owner(md_tetrad_new(inputs, m, r, lo, hi)), data(md_tetrad_dataptr(get(), &size))
    {
    }

    md_tetrad *get() const { return owner.get(); }
    void fill(Generator &random) const
    {
        std::generate_n(data, size, [&] { return random.between(-100, 100); });
    }
    double *vertex(const Coords &coord) const { return md_tetrad_vertex_get(get(), coord.data(), nullptr); }

    Doubles at(const Doubles &point) const { return teska_test::converted(get(), point, m, md_tetrad_interp); }

    const std::size_t n;
    const int m, r;
    const double lo, hi;
    teska::handle<md_tetrad, md_tetrad_kill> owner;
    int size = 0;
    double *const data;
};

TEST(MdTetradNew, KeptReportsRefusalsUnderOtherNames)
{
    Reports reports;
    for (const auto &[n, m, r] : {std::array{0, 1, 2}, {1, 0, 2}, {1, 1, 1}, {-1, -1, -1}})
        EXPECT_EQ(reports.refusal(md_tetrad_new(n, m, r, 0, 1)), "md_tetra_new: illegal dimension")
            << n << ' ' << m << ' ' << r;
    for (const auto &[n, m, r] : {std::array{31, 1, 2}, {2, 1, 1 << 16}, {1, INT_MAX, 2}, {1, 1, INT_MAX}})
        EXPECT_EQ(reports.refusal(md_tetrad_new(n, m, r, 0, 1)), "md_tetra_new: insufficient memory")
            << n << ' ' << m << ' ' << r;
}

// Points inside and outside, on vertices and with equal fractions; lines go through a clone.
TEST(MdTetradInterp, EvaluatesLinesOfAnyLayoutAsPointsOneByOne)
{
    Generator random(71);
    for (int i = 0; i < 400; ++i) {
        const int n = 1 + i % 9, m = 1 + i / 9 % 6, in_step = random.below(7) - 3;
        const Table table(n, m, 2 + random.below(n < 4 ? 12 : n < 7 ? 3 : 1), 3, i % 5 == 0 ? 1 : 100);
        EXPECT_EQ(std::count(table.data, table.data + table.size, 0.0), m * std::lround(std::pow(table.r + 1, n)));
        table.fill(random);
        const double half_step = (table.hi - table.lo) / (table.r - 1) / 2;
        const teska::handle<md_tetrad, md_tetrad_kill> clone(md_tetrad_clone(table.get()));
        teska_test::Run run{n, m, i % 7 == 0 ? i % 2 - 1 : i % 71, in_step, i % 4 == 0 ? m : random.below(7) - 3};
        run.crossed = i % 3 == 0;
        run.advances = true;
        teska_test::check_run<double, double>(
            run, random,
            [&] { return i % 2 == 0 ? random.between(-20, 120) : random.below(2 * table.r) * half_step + table.lo; },
            [&](int, const Doubles &point) { return table.at(point); },
            [&](auto... arguments) { return md_tetrad_interp(clone.get(), arguments...); });
    }
}

// Quotients alone would miss some vertex of most of these grids.
TEST(MdTetradInterp, GivesEveryVertexExactly)
{
    Generator random(72);
    std::vector<Table> tables;
    for (int r = 2; r <= 300; ++r)
        for (const auto &[lo, hi] : {std::pair{0.0, 1.0}, {0.0, 100.0}, {-128.0, 127.0}, {0.1, 0.7}})
            tables.emplace_back(1, 1, r, lo, hi);
    for (const auto &[n, r] : {std::pair{2, 50}, {3, 12}, {4, 6}, {5, 6}})
        tables.emplace_back(n, 2, r, 0.0, 100.0);
    for (const Table &table : tables) {
        table.fill(random);
        Coords coord(table.n, 0);
        for (int left = md_tetrad_get_nrpoints(table.get()); left-- > 0;) {
            Doubles in(table.n);
            const double *vertex = md_tetrad_vertex_get(table.get(), coord.data(), in.data());
            ASSERT_EQ(table.at(in), Doubles(vertex, vertex + table.m)) << testing::PrintToString(in) << table.r;
            ASSERT_EQ(md_tetrad_scan_vertex(table.get(), coord.data()), left);
        }
        const double *top = table.vertex(Coords(table.n, table.r - 1));
        ASSERT_EQ(table.at(Doubles(table.n, table.hi)), Doubles(top, top + table.m)) << table.r;
    }
}

// The vertex between two equal fractions has weight 0; which one it is can only be told by an infinity.
TEST(MdTetradInterp, StepsAlongEqualFractionsInTheOrderOfTheInputs)
{
    for (int n = 2; n <= 6; ++n)
        for (int d = 0; d < n; ++d) {
            const Table table(n, 1, 2);
            Coords coord(table.n, 0);
            coord.data()[d] = 1;
            *table.vertex(coord) = HUGE_VAL;
            teska_test::at_every_level([&](teska::simd_level) {
                Samples in(n, 4, 1, 0.5), out(1, 4, 1);
                md_tetrad_interp(table.get(), in.at.data(), 1, out.at.data(), 1, 4);
                EXPECT_EQ(std::isnan(out.buffer[3]), d == 0) << n << " inputs, along " << d;
            });
        }
}

// A NaN among smaller and larger fractions: no comparison finds its place, and yet it must not get lost.
TEST(MdTetradInterp, ReadsNothingOutsideTheDataForAnyInput)
{
    const double inputs[] = {NAN, HUGE_VAL, -HUGE_VAL, 1e300, -1e300, -0.001, 1.001, 3e9, -3e9, 0.2, 0.7, 0.9};
    Generator random(73);
    for (const auto &[lo, hi] : {std::pair{0.0, 1.0}, {1.0, 1.0}, {1.0, 0.0}, {-HUGE_VAL, HUGE_VAL}, {NAN, 0.0}})
        for (int i = 0; i < 3000; ++i) {
            const Table table(1 + i % 6, 2, 3, lo, hi);
            Doubles in(table.n);
            std::generate(in.begin(), in.end(), [&] { return inputs[random.below(12)]; });
            const Doubles out = table.at(in);
            const bool spoiled = std::any_of(in.begin(), in.end(), [](double v) { return std::isnan(v); });
            EXPECT_TRUE(!spoiled || (std::isnan(out[0]) && std::isnan(out[1]))) << testing::PrintToString(in);
        }
    const Table empty_range(2, 1, 3, 5, 5);
    *empty_range.vertex({2, 2}) = 7;
    EXPECT_EQ(empty_range.at({5, 5})[0], 7);
}

}  // namespace
