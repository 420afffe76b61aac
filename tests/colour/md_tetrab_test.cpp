#include "md_tetrab.h"

#include "support/generator.h"
#include "support/reports.h"
#include "support/samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <numeric>

using teska_test::Generator;
using teska_test::lines;
using teska_test::Reports;

namespace
{

using Bytes = std::vector<unsigned char>;
using Coords = std::vector<int>;
using Samples = teska_test::Samples<unsigned char>;

struct Shape {
    int N, M, R, L = 0, H = 255, E = 1;
};

md_tetrab *create(const Shape &s) { return md_tetrab_new_special(s.N, s.M, s.R, s.L, s.H, s.E); }

// A table and its definition once more, in doubles and loops, on the bytes that the grid holds at the moment.
class Table
{
public:
    explicit Table(const Shape &shape) : Table(shape, create(shape)) {}
    Table(const Shape &shape, md_tetrab *table)
        : s(shape), data(md_tetrab_dataptr(table, &size)), table_(table, md_tetrab_kill),
          curves_(static_cast<std::size_t>(s.N + s.M), Bytes(256))
    {
    }

    md_tetrab *get() const { return table_.get(); }

    // Every byte of the grid, the extension too, and all curves; about every third becomes the identity.
    void randomize(Generator &random)
    {
        std::generate_n(data, size, [&] { return random.byte(); });
        std::vector<unsigned char *> sources;
        for (Bytes &curve : curves_) {
            sources.push_back(random.below(3) == 0 ? nullptr : curve.data());
            std::generate(curve.begin(), curve.end(), [&] { return random.byte(); });
            if (sources.back() == nullptr)
                std::iota(curve.begin(), curve.end(), static_cast<unsigned char>(0));
        }
        EXPECT_EQ(md_tetrab_LUT(get(), sources.data(), sources.data() + s.N), 1);
    }

    Bytes convert(const Bytes &pixel) const
    {
        Samples in(pixel), out(Bytes(static_cast<std::size_t>(s.M)));
        EXPECT_EQ(md_tetrab_interp(get(), in.at.data(), 1, out.at.data(), 1, 1, nullptr, 0), 1);
        return out.buffer;
    }

    Bytes expected(const Bytes &pixel) const
    {
        Coords vertex, fraction;
        for (const unsigned char byte : pixel) {
            const int u = curves_[vertex.size()][byte];
            const double t = u / (255.0 / (s.R - 1));
            vertex.push_back(u == 255 ? s.R - 1 : static_cast<int>(std::floor(t)));
            fraction.push_back(u == 255 ? s.L : static_cast<int>(std::floor((t - vertex.back()) * (s.H - s.L) + s.L)));
        }
        Bytes result = simplex(vertex, fraction);
        for (std::size_t c = 0; c < result.size(); ++c)
            result[c] = curves_[pixel.size() + c][result[c]];
        return result;
    }

    // The output before the output curves, at fractions of the cell with the given lower vertex.
    Bytes simplex(const Coords &vertex, const Coords &fraction) const
    {
        std::vector<std::size_t> order(fraction.size());
        std::iota(order.begin(), order.end(), 0U);
        std::stable_sort(order.begin(), order.end(), [&](auto a, auto b) { return fraction[a] > fraction[b]; });
        Bytes sum(static_cast<std::size_t>(s.M), 0);
        Coords at = vertex;
        for (std::size_t i = 0; i <= order.size(); ++i) {
            const int before = i == 0 ? s.H : fraction[order[i - 1]], after = i < order.size() ? fraction[order[i]] : 0;
            for (unsigned char &byte : sum)
                byte = static_cast<unsigned char>(byte + product(value(at, &byte - sum.data()), before - after));
            if (i < order.size())
                ++at[order[i]];
        }
        return sum;
    }

    const Shape s;
    int size = 0;
    unsigned char *const data;

private:
    int product(int a, int w) const
    {
        const bool inside = s.L <= std::min(a, w) && std::max(a, w) <= s.H;
        return inside ? static_cast<int>(std::floor((a - s.L) * (w - s.L) / (s.H - s.L + 0.0) + s.L + 0.5)) : 255;
    }

    int value(const Coords &vertex, std::ptrdiff_t channel) const
    {
        std::ptrdiff_t number = 0;
        for (const int g : vertex)
            number = number * (s.R + s.E) + g;
        return number * s.M + channel < size ? data[number * s.M + channel] : 0;  // zero behind the grid
    }

    std::unique_ptr<md_tetrab, md_tetrab *(*)(md_tetrab *)> table_;
    std::vector<Bytes> curves_;  // of the inputs, then of the outputs
};

// Converts a line in some layout with the module and by the definition and compares everything the call may have touched.
// The line has pixels at both ends of the range, random ones, and repetitions.
void expect_conversion(const Table &table, Generator &random)
{
    constexpr int pixels = 97;
    const auto one_of = [&](const auto &values) { return values[random.below(static_cast<int>(std::size(values)))]; };
    const int in_steps[] = {1, 2, -3, 0, table.s.N}, out_steps[] = {1, 2, -1, 0, table.s.M};
    Samples in(table.s.N, pixels, one_of(in_steps)), apart(table.s.M, pixels, one_of(out_steps), 77);
    for (int p = 0; p < pixels; ++p) {
        const bool repeat = p > 0 && random.below(3) == 0;
        for (unsigned char *line : in.at) {
            const unsigned char fresh[] = {0, 255, random.byte(), random.byte()};
            line[p * in.step] = repeat ? line[(p - 1) * in.step] : one_of(fresh);
        }
    }
    const bool masked = random.below(2) == 0;
    const double thresholds[] = {-0.5, 0, 0.5, 127, 127.5, 254.5, 255, std::nan("")}, threshold = one_of(thresholds);
    const unsigned char mask_bytes[] = {0, 1, 127, 128, 254, 255};
    Bytes mask(pixels);
    std::generate(mask.begin(), mask.end(), [&] { return one_of(mask_bytes); });

    Samples &out = table.s.M <= table.s.N && in.step != 0 && random.below(3) == 0 ? in : apart;
    Bytes expected = out.buffer;
    std::vector<unsigned char *> call(out.at.begin(), out.at.begin() + table.s.M), behind, sources = in.at;
    const bool skips = random.below(2) == 0;
    const int count = random.below(9) == 0 ? random.below(2) - 1 : pixels;
    for (unsigned char *&line : call) {
        line = skips && random.below(3) == 0 ? nullptr : line;
        behind.push_back(line == nullptr ? nullptr : line + std::max(count, 0) * out.step);
    }
    for (int p = 0; p < count; ++p) {
        const Bytes result = table.expected(in.point(p));
        for (std::size_t c = 0; c < call.size(); ++c)
            if (call[c] != nullptr && (!masked || mask.data()[p] > threshold))
                expected.data()[call[c] - out.buffer.data() + p * out.step] = result[c];
    }
    EXPECT_EQ(md_tetrab_interp(table.get(), sources.data(), in.step, call.data(), out.step, count,
                               masked ? mask.data() : nullptr, threshold),
              1);
    EXPECT_EQ(out.buffer, expected) << "steps " << in.step << " and " << out.step;
    EXPECT_EQ(call, behind);
    EXPECT_EQ(sources, in.at);
}

void expect_definition(const std::vector<Shape> &shapes)
{
    Generator random(62);
    for (const Shape &s : shapes) {
        SCOPED_TRACE(testing::Message() << s.N << " to " << s.M << ", " << s.R << " points, " << s.L << " .. " << s.H);
        Table table(s);
        for (int i = 0; i < 40; ++i) {
            table.randomize(random);
            expect_conversion(table, random);
        }
    }
}

TEST(MdTetrabInterp, EqualsTheDefinition)
{
    expect_definition({Shape{1, 1, 2}, Shape{1, 3, 300}, Shape{1, 5, 14, 0, 255, 0}, Shape{2, 1, 3},
                       Shape{2, 2, 17, 0, 255, 0}, Shape{3, 3, 17}, Shape{3, 4, 9, 0, 255, 2}, Shape{3, 6, 27},
                       Shape{4, 3, 6, 0, 255, 0}, Shape{4, 4, 17}, Shape{4, 9, 3}, Shape{5, 3, 3},
                       Shape{5, 6, 2, 0, 255, 0}, Shape{6, 1, 2}, Shape{6, 5, 3, 0, 255, 2}});
}

// Equal fractions count in the order of their dimensions there.
TEST(MdTetrabInterp, KeptWrapsSumsWithOtherWeights)
{
    expect_definition({Shape{1, 2, 4, 10, 200}, Shape{2, 3, 3, 0, 100}, Shape{3, 3, 5, 16, 235, 0},
                       Shape{3, 4, 2, 0, 1}, Shape{4, 5, 3, 1, 254, 0}, Shape{4, 4, 2, 0, 3, 2},
                       Shape{5, 4, 2, 0, 128, 2}, Shape{6, 6, 2, 30, 31}});
}

TEST(MdTetrabInterp, GivesTheValuesComputedByHand)
{
    // One byte of an empty grid with one input is set, one pixel converted.
    const struct {
        int R, at;
        unsigned char value, pixel, result;
    } rows[] = {
        {2, 1, 200, 128, 100},   // 200 * 128 / 255 = 100.39
        {2, 1, 200, 127, 100},   // 99.61
        {3, 2, 255, 129, 2},     // doubles as they stand: (129 / 127.5 - 1) * 255 comes out just below 3
        {17, 7, 255, 112, 249},  // just below 7 likewise: the lower vertex keeps 255 - 6
        {14, 13, 255, 255, 255}, {27, 26, 255, 255, 255}, {32, 31, 255, 255, 255},  // 255 is the top vertex
    };
    for (const auto &row : rows) {
        const Table table({1, 1, row.R});
        table.data[row.at] = row.value;
        EXPECT_EQ(table.convert({row.pixel}), Bytes{row.result}) << row.R;
    }
}

// Three times round(85 / 255).
TEST(MdTetrabInterp, KeptRoundsEachProductOfAnEvenGrid)
{
    const Table table({2, 1, 2});
    for (const auto &[v, result] : {std::pair{0, 0}, std::pair{1, 0}, std::pair{255, 255}}) {
        std::fill_n(table.data, table.size, static_cast<unsigned char>(v));
        EXPECT_EQ(table.convert({170, 85})[0], result);
    }
}

TEST(MdTetrabLut, ResetsTheCurvesToWhichItsPointersLead)
{
    const Table table({1, 1, 2});
    table.data[1] = 255;
    md_tetrab_ilutptr(table.get(), 0)[9] = 200;
    md_tetrab_olutptr(table.get(), 0)[200] = 33;
    md_tetrab_olutptr(table.get(), 0)[9] = 44;
    EXPECT_EQ(table.convert({9}), Bytes{33});
    EXPECT_EQ(md_tetrab_LUT(table.get(), nullptr, nullptr), 1);
    EXPECT_EQ(table.convert({9}), Bytes{9});
    for (const int outside : {-1, 1})
        EXPECT_TRUE(!md_tetrab_ilutptr(table.get(), outside) && !md_tetrab_olutptr(table.get(), outside));
}

TEST(MdTetrabScanVertex, WalksTheFilledVerticesFirstCoordinateFastest)
{
    const Table table({3, 2, 3, 0, 255, 2});
    EXPECT_EQ(Bytes(table.data, table.data + table.size), Bytes(5 * 5 * 5 * 2, 0));
    EXPECT_EQ(md_tetrab_get_nrpoints(table.get()), 27);
    Coords coord(3, 0);
    for (int number = 0; number < 27; ++number) {
        const Coords g = {number % 3, number / 3 % 3, number / 9};
        EXPECT_EQ(coord, g);
        unsigned char input[3];
        EXPECT_EQ(md_tetrab_vertex_get(table.get(), g.data(), input) - table.data, g[0] * 50 + g[1] * 10 + g[2] * 2);
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_EQ(input[k], (g[k] * 255 + 1) / 2);
        EXPECT_EQ(md_tetrab_scan_vertex(table.get(), coord.data()), 26 - number);
    }
    EXPECT_EQ(coord, Coords(3, 0));
}

TEST(MdTetrabVertexGet, KeptRoundsInputBytesInDoubles)
{
    const int coord[] = {25, 45, 26, 50};
    Bytes input(4);
    md_tetrab_vertex_get(Table({4, 1, 51}).get(), coord, input.data());
    EXPECT_EQ(input, (Bytes{127, 229, 133, 255}));  // the first two lie exactly between two bytes
}

TEST(MdTetrabExpand, KeptCountsTheCurvesOnlyBetweenWholeRatios)
{
    const Shape shapes[] = {
        Shape{1, 2, 5}, Shape{2, 3, 4}, Shape{3, 3, 3},  Shape{5, 1, 2},        Shape{3, 2, 3, 16, 235, 0},
        Shape{1, 1, 2}, Shape{3, 3, 5}, Shape{2, 5, 17}, Shape{5, 4, 3, 0, 100}};
    const int resolutions[] = {5, 10, 9, 3, 5, 701, 8, 9, 4};
    Generator random(11);
    for (std::size_t i = 0; i < std::size(shapes); ++i) {
        const Shape &s = shapes[i];
        const int resolution = resolutions[i];
        Table source(s), grid({s.N, s.M, s.R, 0, 255, s.E});
        source.randomize(random);
        std::copy_n(source.data, source.size, grid.data);
        const Table fine({s.N, s.M, resolution}, md_tetrab_expand(source.get(), resolution));
        const bool whole = (resolution - 1) % (s.R - 1) == 0;
        const int ratio = whole ? (resolution - 1) / (s.R - 1) : 1;
        Coords coord(static_cast<std::size_t>(s.N), 0), cell = coord, fraction = coord;
        do {
            Bytes input(coord.size());
            const unsigned char *vertex = md_tetrab_vertex_get(fine.get(), coord.data(), input.data());
            for (std::size_t d = 0; d < coord.size(); ++d) {
                cell[d] = coord[d] / ratio;
                fraction[d] = 255 * (coord[d] % ratio) / ratio;
            }
            ASSERT_EQ(Bytes(vertex, vertex + s.M), whole ? grid.simplex(cell, fraction) : source.expected(input)) << i;
        } while (md_tetrab_scan_vertex(fine.get(), coord.data()) != 0);
    }
}

TEST(MdTetrabNew, KeptNamesARelativeInItsMessages)
{
    Reports reports;
    const Shape shapes[] = {Shape{0, 3, 17},
                            Shape{3, 0, 17},
                            Shape{3, 3, 1},
                            Shape{3, 3, 17, -1},
                            Shape{3, 3, 17, 0, 256},
                            Shape{3, 3, 17, 8, 8},
                            Shape{3, 3, 17, 0, 255, -1},
                            Shape{31, 1, 2},
                            Shape{INT_MAX, 1, 2},
                            Shape{4, 1, 300},
                            Shape{1, INT_MAX, 2},
                            Shape{2, 1, 2, 0, 255, INT_MAX}};
    for (std::size_t i = 0; i < std::size(shapes); ++i) {
        EXPECT_EQ(create(shapes[i]), nullptr) << i;
        EXPECT_EQ(reports.take(), lines{i < 7 ? "md_tetra_new: illegal dimension" : "md_tetrab_new: malloc failure"})
            << i;
    }
    EXPECT_EQ(md_tetrab_kill(nullptr), nullptr);
    const Table table({2, 1, 3});
    EXPECT_EQ(md_tetrab_expand(table.get(), 1), nullptr);
    EXPECT_EQ(reports.take(), (lines{"md_tetrab_expand: error in md_tetrab_new", "md_tetra_new: illegal dimension"}));
}

}  // namespace
