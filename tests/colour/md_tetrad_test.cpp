#include "md_tetrad.h"

#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

using teska_test::Generator;
using teska_test::lines;
using teska_test::Reports;

namespace
{

using Doubles = std::vector<double>;
using Coords = std::vector<int>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

// A table with its inputs and outputs of one point.
class Table
{
public:
    Table(int n, int m, int r, double lo = 0, double hi = 1)
        : table_(md_tetrad_new(n, m, r, lo, hi), md_tetrad_kill), outputs_(static_cast<std::size_t>(m))
    {
    }

    md_tetrad *get() const { return table_.get(); }
    double *data() const { return md_tetrad_dataptr(get(), nullptr); }
    Doubles contents() const
    {
        int size = 0;
        const double *values = md_tetrad_dataptr(get(), &size);
        return {values, values + size};
    }
    double *vertex(const Coords &coord, double *inputs = nullptr) const
    {
        return md_tetrad_vertex_get(get(), coord.data(), inputs);
    }
    Doubles at(Doubles in) const
    {
        Doubles out(outputs_);
        std::vector<double *> from, to;
        for (double &x : in)
            from.push_back(&x);
        for (double &y : out)
            to.push_back(&y);
        EXPECT_EQ(md_tetrad_interp(get(), from.data(), 1, to.data(), 1, 1), 1);
        return out;
    }
    void fill(Generator &random) const
    {
        const std::size_t count = contents().size();
        for (std::size_t i = 0; i < count; ++i)
            data()[i] = random.between(-100, 100);
    }

private:
    std::unique_ptr<md_tetrad, md_tetrad *(*)(md_tetrad *)> table_;
    std::size_t outputs_;
};

// The definition once more, without regard to speed.
Doubles reference(const Table &table, int m, int r, double lo, double hi, const Doubles &in)
{
    const double step = (hi - lo) / (r - 1);
    std::vector<std::ptrdiff_t> stride(in.size(), m);
    for (std::size_t k = in.size() - 1; k-- > 0;)
        stride[k] = stride[k + 1] * (r + 1);
    const double *vertex = table.data();
    std::vector<std::pair<double, std::ptrdiff_t>> steps;
    for (std::size_t d = 0; d < in.size(); ++d) {
        const double t = (in[d] - lo) / step;
        int i = std::isnan(t) || t < 0 ? 0 : t >= r - 1 ? r - 1 : static_cast<int>(t);
        double f = t - i;
        if (in[d] == hi) {
            i = r - 1;
            f = 0;
        } else if (i * step + lo == in[d]) {
            f = 0;
        } else if (i + 1 < r && (i + 1) * step + lo == in[d]) {
            ++i;
            f = 0;
        }
        vertex += i * stride[d];
        steps.emplace_back(f, stride[d]);
    }
    std::stable_sort(steps.begin(), steps.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
    Doubles out;
    for (int c = 0; c < m; ++c) {
        const double *at = vertex + c;
        volatile double sum = (1 - steps[0].first) * *at;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            at += steps[i].second;
            const double next = i + 1 < steps.size() ? steps[i + 1].first : 0;
            volatile const double term = (steps[i].first - next) * *at;
            sum = sum + term;
        }
        out.push_back(double{sum});
    }
    return out;
}

std::vector<std::uint64_t> bits(const Doubles &values)
{
    std::vector<std::uint64_t> result;
    for (const double v : values)
        result.push_back(std::bit_cast<std::uint64_t>(v));
    return result;
}

TEST(MdTetradNew, HoldsZerosAndTellsItsSize)
{
    const Table table(3, 2, 4, -1, 2);
    EXPECT_EQ(table.contents(), Doubles(5 * 5 * 5 * 2, 0.0));
    EXPECT_EQ(md_tetrad_get_nrpoints(table.get()), 64);
    EXPECT_EQ(table.at({0.3, 1.7, -0.4}), Doubles(2, 0.0));
    EXPECT_EQ(md_tetrad_kill(nullptr), nullptr);
}

TEST(MdTetradNew, KeptReportsRefusalsUnderOtherNames)
{
    Reports reports;
    struct {
        int n, m, r;
        const char *message;
    } const cases[] = {
        {0, 1, 2, "md_tetra_new: illegal dimension"},         {1, 0, 2, "md_tetra_new: illegal dimension"},
        {1, 1, 1, "md_tetra_new: illegal dimension"},         {-1, -1, -1, "md_tetra_new: illegal dimension"},
        {31, 1, 2, "md_tetra_new: insufficient memory"},      {2, 1, 1 << 16, "md_tetra_new: insufficient memory"},
        {1, INT_MAX, 2, "md_tetra_new: insufficient memory"}, {1, 1, INT_MAX, "md_tetra_new: insufficient memory"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(md_tetrad_new(c.n, c.m, c.r, 0, 1), nullptr);
        EXPECT_EQ(reports.take(), lines{c.message}) << c.n << ' ' << c.m << ' ' << c.r;
    }
}

TEST(MdTetradScanVertex, WalksOverAllVerticesCoordinateZeroFastest)
{
    const Table table(3, 2, 3, 10, 30);
    Coords coord(3, 0);
    for (int number = 0; number < 27; ++number) {
        const Coords expected = {number % 3, number / 3 % 3, number / 9};
        EXPECT_EQ(coord, expected);
        double in[3];
        EXPECT_EQ(table.vertex(coord, in) - table.data(), expected[0] * 32 + expected[1] * 8 + expected[2] * 2);
        EXPECT_EQ(table.vertex(coord), table.vertex(coord, in));
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(in[k], coord[static_cast<std::size_t>(k)] * 10 + 10);
        EXPECT_EQ(md_tetrad_scan_vertex(table.get(), coord.data()), 26 - number);
    }
    EXPECT_EQ(coord, Coords(3, 0));
}

// Inputs inside, outside, on vertices, at the ends and equal to each other.
TEST(MdTetradInterp, EqualsTheDefinitionBitForBit)
{
    Generator random(71);
    for (int n = 1; n <= 6; ++n)
        for (int m = 1; m <= 6; ++m) {
            SCOPED_TRACE(testing::Message() << n << " to " << m);
            const int r = 2 + random.below(n < 4 ? 12 : 3);
            const double lo = random.between(-5, 5);
            const double hi = m == 3 ? lo - 2 : lo + random.between(0.1, 100);
            const Table table(n, m, r, lo, hi);
            table.fill(random);
            for (int i = 0; i < 400; ++i) {
                Doubles in;
                while (in.size() < static_cast<std::size_t>(n)) {
                    const double choices[] = {random.below(r) * ((hi - lo) / (r - 1)) + lo,
                                              random.below(2) == 0 ? lo : hi, random.between(2 * lo - hi, 2 * hi - lo),
                                              in.empty() ? lo : in.front(), random.between(lo, hi)};
                    in.push_back(choices[std::min(random.below(8), 4)]);
                }
                ASSERT_EQ(bits(table.at(in)), bits(reference(table, m, r, lo, hi, in))) << testing::PrintToString(in);
            }
        }
}

// Quotients alone would miss some vertex of most of these grids.
TEST(MdTetradInterp, GivesEveryVertexExactly)
{
    const double ranges[][2] = {{0, 1}, {0, 100}, {-128, 127}, {0.1, 0.7}};
    for (const auto &[lo, hi] : ranges)
        for (int r = 2; r <= 300; ++r) {
            const Table table(1, 1, r, lo, hi);
            for (int i = 0; i < r; ++i) {
                double x = 0;
                *table.vertex({i}, &x) = i + 0.1;
                ASSERT_EQ(table.at({x})[0], i + 0.1) << "vertex " << i << " of " << r << " in " << lo << ".." << hi;
            }
            ASSERT_EQ(table.at({hi})[0], r - 1 + 0.1) << r;
        }
    for (const auto &[n, r] : {std::pair{2, 50}, {3, 12}, {4, 6}, {5, 6}}) {
        const Table table(n, 2, r, 0, 100);
        Generator random(72);
        table.fill(random);
        Coords coord(static_cast<std::size_t>(n), 0);
        int left = 0;
        do {
            Doubles in(coord.size());
            const double *vertex = table.vertex(coord, in.data());
            ASSERT_EQ(table.at(in), Doubles(vertex, vertex + 2)) << testing::PrintToString(coord);
            left = md_tetrad_scan_vertex(table.get(), coord.data());
        } while (left != 0);
        const Coords top(coord.size(), r - 1);
        EXPECT_EQ(table.at(Doubles(coord.size(), 100))[1], table.vertex(top)[1]);
    }
}

// The vertex between two equal fractions has weight 0; which one it is can only be told by an infinity.
TEST(MdTetradInterp, StepsAlongEqualFractionsInTheOrderOfTheInputs)
{
    for (int n = 2; n <= 6; ++n)
        for (int d = 0; d < n; ++d) {
            const Table table(n, 1, 2);
            Coords coord(static_cast<std::size_t>(n), 0);
            coord[static_cast<std::size_t>(d)] = 1;
            *table.vertex(coord) = inf;
            EXPECT_EQ(std::isnan(table.at(Doubles(coord.size(), 0.5))[0]), d == 0) << n << " inputs, along " << d;
        }
}

TEST(MdTetradInterp, ReadsNothingOutsideTheDataForAnyInput)
{
    const double inputs[] = {nan, inf, -inf, 1e300, -1e300, -0.001, 1.001, 3e9, -3e9};
    for (const auto &[lo, hi] : {std::pair{0.0, 1.0}, {1.0, 1.0}, {1.0, 0.0}, {-inf, inf}, {nan, 0.0}})
        for (int n = 1; n <= 6; ++n)
            for (const double x : inputs)
                for (const double y : inputs) {
                    const Table table(n, 2, 3, lo, hi);
                    Doubles in(static_cast<std::size_t>(n), x);
                    in.back() = y;
                    const Doubles out = table.at(in);
                    const bool spoiled = std::any_of(in.begin(), in.end(), [](double v) { return std::isnan(v); });
                    EXPECT_TRUE(!spoiled || (std::isnan(out[0]) && std::isnan(out[1]))) << testing::PrintToString(in);
                }
    // A NaN between smaller and larger fractions: no comparison finds its place, and yet it must not get lost.
    for (std::size_t n = 3; n <= 6; ++n)
        for (std::size_t k = 0; k < n; ++k) {
            const Table table(static_cast<int>(n), 1, 2);
            Doubles in = {0.2, 0.7, 0.1, 0.8, 0.3, 0.9};
            in.resize(n);
            in[k] = nan;
            EXPECT_TRUE(std::isnan(table.at(in)[0])) << testing::PrintToString(in);
            std::reverse(in.begin(), in.end());
            EXPECT_TRUE(std::isnan(table.at(in)[0])) << testing::PrintToString(in);
        }
    const Table empty_range(2, 1, 3, 5, 5);
    *empty_range.vertex({2, 2}) = 7;
    EXPECT_EQ(empty_range.at({5, 5})[0], 7);
}

// Five points: inputs planar and read backwards, outputs interleaved with one double between.
TEST(MdTetradInterp, StepsAdvancesAndSkipsOutputs)
{
    constexpr int count = 5;
    for (const int n : {1, 2, 3, 4, 5})
        for (const int skipped : {-1, 1}) {
            SCOPED_TRACE(testing::Message() << n << " inputs, output " << skipped << " skipped");
            Generator random(73);
            const Table table(n, 3, 4);
            table.fill(random);
            Doubles in(static_cast<std::size_t>(n * count));
            std::generate(in.begin(), in.end(), [&] { return random.unit(); });
            std::vector<double *> from;
            for (int d = 1; d <= n; ++d)
                from.push_back(in.data() + d * count - 1);
            const std::vector<double *> from_before = from;
            Doubles out(count * 4, 99);
            double *to[] = {&out[0], skipped == 1 ? nullptr : &out[1], &out[2]};

            md_tetrad_interp(table.get(), from.data(), -1, to, 4, count);
            EXPECT_EQ(from, from_before);
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(to[c], c == skipped ? nullptr : out.data() + 4 * count + c);
            for (int p = 0; p < count; ++p) {
                Doubles point;
                for (const double *last : from)
                    point.push_back(last[-p]);
                Doubles expected = table.at(point);
                expected.push_back(99);
                if (skipped == 1)
                    expected[1] = 99;
                EXPECT_EQ(Doubles(out.begin() + 4 * p, out.begin() + 4 * p + 4), expected);
            }
        }
}

TEST(MdTetradInterp, DoesNothingForNoPoints)
{
    const Table table(2, 1, 2);
    double x = 0.5, y = 99;
    double *from[] = {&x, &x};
    double *to[] = {&y};
    for (const int count : {0, -1, INT_MIN}) {
        EXPECT_EQ(md_tetrad_interp(table.get(), from, 1, to, 1, count), 1);
        EXPECT_EQ(to[0], &y);
    }
    EXPECT_EQ(y, 99);
    // One place for all points: the last one stays.
    EXPECT_EQ(md_tetrad_interp(table.get(), from, 0, to, 0, 3), 1);
    EXPECT_EQ(to[0], &y);
    EXPECT_EQ(y, 0);
}

}  // namespace
