#include "md_tetrad.h"

#include "support/generator.h"
#include "support/reports.h"
#include "support/samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

using teska_test::Generator;
using teska_test::lines;
using teska_test::Reports;

namespace
{

using Doubles = std::vector<double>;
using Coords = std::vector<int>;
using Samples = teska_test::Samples<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

// A table and its definition once more, without regard to speed.
struct Table {
    Table(int inputs, int outputs, int resolution, double low = 0, double high = 1)
        : n(static_cast<std::size_t>(inputs)), m(outputs), r(resolution), lo(low), hi(high),
          owner(md_tetrad_new(inputs, m, r, lo, hi), md_tetrad_kill), data(md_tetrad_dataptr(get(), &size))
    {
    }

    md_tetrad *get() const { return owner.get(); }
    void fill(Generator &random) const
    {
        std::generate_n(data, size, [&] { return random.between(-100, 100); });
    }
    double *vertex(const Coords &coord) const { return md_tetrad_vertex_get(get(), coord.data(), nullptr); }

    Doubles at(const Doubles &point) const
    {
        Samples in(point), out(Doubles(static_cast<std::size_t>(m)));
        EXPECT_EQ(md_tetrad_interp(get(), in.at.data(), 1, out.at.data(), 1, 1), 1);
        return out.buffer;
    }

    double expected(const Doubles &in, std::size_t channel) const
    {
        const double step = (hi - lo) / (r - 1);
        const double *at = data + channel;
        std::vector<std::pair<double, std::ptrdiff_t>> steps;
        std::ptrdiff_t stride = size;
        for (const double x : in) {
            stride /= r + 1;
            const double t = (x - lo) / step;
            int i = std::isnan(t) || t < 0 ? 0 : t >= r - 1 ? r - 1 : static_cast<int>(t);
            const bool next = i + 1 < r && (i + 1) * step + lo == x;
            const bool exact = x == hi || i * step + lo == x || next;
            i = x == hi ? r - 1 : i * step + lo != x && next ? i + 1 : i;
            at += i * stride;
            steps.emplace_back(exact ? 0 : t - i, stride);
        }
        std::stable_sort(steps.begin(), steps.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
        steps.emplace_back(0, 0);
        volatile double sum = (1 - steps[0].first) * *at;
        for (std::size_t i = 0; i < n; ++i) {
            at += steps[i].second;
            volatile const double term = (steps[i].first - steps[i + 1].first) * *at;
            sum = sum + term;
        }
        return sum;
    }

    const std::size_t n;
    const int m, r;
    const double lo, hi;
    std::unique_ptr<md_tetrad, md_tetrad *(*)(md_tetrad *)> owner;
    int size = 0;
    double *const data;
};

std::vector<std::uint64_t> bits(const Doubles &values)
{
    std::vector<std::uint64_t> result;
    for (const double v : values)
        result.push_back(std::bit_cast<std::uint64_t>(v));
    return result;
}

TEST(MdTetradNew, KeptReportsRefusalsUnderOtherNames)
{
    Reports reports;
    const struct {
        int n, m, r;
        const char *message;
    } rows[] = {
        {0, 1, 2, "md_tetra_new: illegal dimension"},         {1, 0, 2, "md_tetra_new: illegal dimension"},
        {1, 1, 1, "md_tetra_new: illegal dimension"},         {-1, -1, -1, "md_tetra_new: illegal dimension"},
        {31, 1, 2, "md_tetra_new: insufficient memory"},      {2, 1, 1 << 16, "md_tetra_new: insufficient memory"},
        {1, INT_MAX, 2, "md_tetra_new: insufficient memory"}, {1, 1, INT_MAX, "md_tetra_new: insufficient memory"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(md_tetrad_new(row.n, row.m, row.r, 0, 1), nullptr);
        EXPECT_EQ(reports.take(), lines{row.message}) << row.n << ' ' << row.m << ' ' << row.r;
    }
    EXPECT_EQ(md_tetrad_kill(nullptr), nullptr);
}

// Inputs inside, outside, on vertices, at the ends and equal to each other; steps of any sign, outputs left out.
TEST(MdTetradInterp, EqualsTheDefinitionBitForBit)
{
    Generator random(71);
    for (int i = 0; i < 400; ++i) {
        const int n = 1 + i % 6, m = 1 + i / 6 % 6, count = random.below(9) == 0 ? random.below(2) - 1 : 40;
        const double lo = random.between(-5, 5), hi = i % 5 == 0 ? lo - 2 : lo + random.between(0.1, 100);
        const Table table(n, m, 2 + random.below(n < 4 ? 12 : 3), lo, hi);
        EXPECT_EQ(std::count(table.data, table.data + table.size, 0.0), m * std::lround(std::pow(table.r + 1, n)));
        table.fill(random);
        Samples in(n, 40, random.below(7) - 3), out(m, 40, i % 4 == 0 ? m : random.below(7) - 3, 99);
        for (double &x : in.buffer) {
            const double choices[] = {random.below(table.r) * ((hi - lo) / (table.r - 1)) + lo,
                                      random.below(2) == 0 ? lo : hi, random.between(2 * lo - hi, 2 * hi - lo),
                                      in.buffer[0], random.between(lo, hi)};
            x = choices[std::min(random.below(8), 4)];
        }
        if (i % 3 == 0)
            out.at[static_cast<std::size_t>(random.below(m))] = nullptr;
        Doubles expected = out.buffer;
        std::vector<double *> behind = out.at;
        const std::vector<double *> sources = in.at;
        for (std::size_t c = 0; c < out.at.size(); ++c)
            for (int p = 0; p < count && out.at[c] != nullptr; ++p, behind[c] += out.step)
                expected.data()[behind[c] - out.buffer.data()] = table.expected(in.point(p), c);
        EXPECT_EQ(md_tetrad_interp(table.get(), in.at.data(), in.step, out.at.data(), out.step, count), 1);
        ASSERT_EQ(bits(out.buffer), bits(expected)) << n << " to " << m << ", steps " << in.step << " and " << out.step;
        EXPECT_EQ(out.at, behind);
        EXPECT_EQ(in.at, sources);
    }
}

// Quotients alone would miss some vertex of most of these grids.
TEST(MdTetradInterp, GivesEveryVertexExactly)
{
    Generator random(72);
    std::vector<Table> tables;
    for (int r = 2; r <= 300; ++r)
        for (const auto &[lo, hi] :
             {std::pair{0.0, 1.0}, std::pair{0.0, 100.0}, std::pair{-128.0, 127.0}, std::pair{0.1, 0.7}})
            tables.emplace_back(1, 1, r, lo, hi);
    for (const auto &[n, r] : {std::pair{2, 50}, std::pair{3, 12}, std::pair{4, 6}, std::pair{5, 6}})
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
            *table.vertex(coord) = inf;
            EXPECT_EQ(std::isnan(table.at(Doubles(table.n, 0.5))[0]), d == 0) << n << " inputs, along " << d;
        }
}

// A NaN among smaller and larger fractions: no comparison finds its place, and yet it must not get lost.
TEST(MdTetradInterp, ReadsNothingOutsideTheDataForAnyInput)
{
    const double inputs[] = {nan, inf, -inf, 1e300, -1e300, -0.001, 1.001, 3e9, -3e9, 0.2, 0.7, 0.9};
    Generator random(73);
    for (const auto &[lo, hi] :
         {std::pair{0.0, 1.0}, std::pair{1.0, 1.0}, std::pair{1.0, 0.0}, std::pair{-inf, inf}, std::pair{nan, 0.0}})
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
