#include "md_tetrab.h"

#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

using teska_test::Generator;
using teska_test::lines;
using teska_test::Reports;

namespace
{

using Bytes = std::vector<unsigned char>;
using Table = std::unique_ptr<md_tetrab, md_tetrab *(*)(md_tetrab *)>;

struct Shape {
    int N, M, R;
    int L = 0, H = 255, E = 1;
};

void PrintTo(const Shape &s, std::ostream *out)
{
    *out << s.N << " to " << s.M << ", R " << s.R << ", weights " << s.L << ".." << s.H << ", E " << s.E;
}

Table make(const Shape &s) { return {md_tetrab_new_special(s.N, s.M, s.R, s.L, s.H, s.E), md_tetrab_kill}; }

// The definition once more, in doubles and loops, without regard to speed.
class Reference
{
public:
    explicit Reference(const Shape &s, Bytes data)
        : s_(s), data_(std::move(data)), stride_(static_cast<std::size_t>(s.N)), products_(65536, 255),
          in_(static_cast<std::size_t>(s.N), identity()), out_(static_cast<std::size_t>(s.M), identity())
    {
        int stride = s.M;
        for (int k = s.N - 1; k >= 0; --k, stride *= s.R + s.E)
            stride_[static_cast<std::size_t>(k)] = static_cast<std::size_t>(stride);
        for (int k = 0; k <= s.H - s.L; ++k)
            for (int j = 0; j <= s.H - s.L; ++j)
                products_[static_cast<std::size_t>((s.L + k) * 256 + s.L + j)] =
                    static_cast<unsigned char>(std::floor(static_cast<double>(j) * k / (s.H - s.L) + s.L + 0.5));
    }

    static Bytes identity()
    {
        Bytes curve(256);
        std::iota(curve.begin(), curve.end(), static_cast<unsigned char>(0));
        return curve;
    }

    std::vector<Bytes> &in_curves() { return in_; }
    std::vector<Bytes> &out_curves() { return out_; }
    const Bytes &data() const { return data_; }

    // The output before the output curves, at fractions of the cell with the given lower vertex.
    Bytes simplex(const std::vector<int> &vertex, const std::vector<int> &fraction) const
    {
        std::vector<std::size_t> order(fraction.size());
        std::iota(order.begin(), order.end(), 0U);
        std::stable_sort(order.begin(), order.end(), [&](auto a, auto b) { return fraction[a] > fraction[b]; });
        std::size_t at = 0;
        for (std::size_t d = 0; d < vertex.size(); ++d)
            at += static_cast<std::size_t>(vertex[d]) * stride_[d];
        Bytes sum(out_.size(), 0);
        for (std::size_t i = 0; i <= order.size(); ++i) {
            const int before = i == 0 ? s_.H : fraction[order[i - 1]];
            const int weight = before - (i < order.size() ? fraction[order[i]] : 0);
            for (std::size_t c = 0; c < sum.size(); ++c)
                sum[c] = static_cast<unsigned char>(sum[c] + product(value(at + c), weight));
            if (i < order.size())
                at += stride_[order[i]];
        }
        return sum;
    }

    Bytes pixel(const Bytes &bytes) const
    {
        const double step = 255.0 / (s_.R - 1);
        std::vector<int> vertex;
        std::vector<int> fraction;
        for (std::size_t d = 0; d < bytes.size(); ++d) {
            const int u = in_[d][bytes[d]];
            const double t = u / step;
            const int i = u == 255 ? s_.R - 1 : static_cast<int>(std::floor(t));
            vertex.push_back(i);
            fraction.push_back(i < s_.R - 1 ? static_cast<int>(std::floor((t - i) * (s_.H - s_.L) + s_.L)) : s_.L);
        }
        Bytes result = simplex(vertex, fraction);
        for (std::size_t c = 0; c < result.size(); ++c)
            result[c] = out_[c][result[c]];
        return result;
    }

private:
    int product(int a, int w) const { return products_[static_cast<std::size_t>(a * 256 + w)]; }
    int value(std::size_t at) const { return at < data_.size() ? data_[at] : 0; }  // zero behind the grid

    Shape s_;
    Bytes data_;
    std::vector<std::size_t> stride_;
    Bytes products_;
    std::vector<Bytes> in_;
    std::vector<Bytes> out_;
};

// Fills every byte of the grid, the extension too, and gives the reference the same.
Reference fill(const Table &table, const Shape &s, Generator &random)
{
    int size = 0;
    unsigned char *data = md_tetrab_dataptr(table.get(), &size);
    std::generate(data, data + size, [&] { return random.byte(); });
    return Reference(s, Bytes(data, data + size));
}

void set_random_curves(const Table &table, Reference &reference, Generator &random)
{
    std::vector<unsigned char *> in;
    std::vector<unsigned char *> out;
    for (Bytes &curve : reference.in_curves()) {
        std::generate(curve.begin(), curve.end(), [&] { return random.byte(); });
        in.push_back(curve.data());
    }
    for (Bytes &curve : reference.out_curves()) {
        std::generate(curve.begin(), curve.end(), [&] { return random.byte(); });
        out.push_back(curve.data());
    }
    EXPECT_EQ(md_tetrab_LUT(table.get(), in.data(), out.data()), 1);
}

// Lines of pixels in one buffer: interleaved when the step is as large as the number of channels, else one after another.
struct Lines {
    Lines(int channels, int count, int step, unsigned char content)
        : buffer(static_cast<std::size_t>(channels * (std::abs(step) + 1) * (count + 1)), content)
    {
        const int apart = step == channels ? 1 : (std::abs(step) + 1) * count;
        const int start = step < 0 ? (count - 1) * -step : 0;
        for (int c = 0; c < channels; ++c)
            at.push_back(buffer.data() + start + c * apart);
    }

    Bytes buffer;
    std::vector<unsigned char *> at;
};

struct Layout {
    int in_step;
    int out_step;
    unsigned skipped = 0;  // one bit per output
    const unsigned char *mask = nullptr;
    double threshold = 0;
    bool in_place = false;
};

constexpr int count = 97;

// Pixels at both ends of the range, random ones, and repetitions.
void put_pixels(const Lines &in, int step, Generator &random)
{
    for (int p = 0; p < count; ++p) {
        const bool repeat = p > 0 && random.below(3) == 0;
        for (unsigned char *line : in.at) {
            const int kind = random.below(8);
            const unsigned char fresh = kind == 0 ? 0 : kind == 1 ? 255 : random.byte();
            line[p * step] = repeat ? line[(p - 1) * step] : fresh;
        }
    }
}

// Converts a line with the module and with the reference and compares everything the call may have touched.
void expect_conversion(const Table &table, const Shape &s, const Reference &reference, const Layout &layout,
                       Generator &random)
{
    Lines in(s.N, count, layout.in_step, 0);
    put_pixels(in, layout.in_step, random);
    Lines apart(s.M, count, layout.out_step, 77);
    Lines &out = layout.in_place ? in : apart;
    Bytes expected = out.buffer;
    std::vector<unsigned char *> call(out.at.begin(), out.at.begin() + s.M);
    std::vector<unsigned char *> behind;
    for (std::size_t c = 0; c < call.size(); ++c) {
        call[c] = (layout.skipped >> c & 1) != 0 ? nullptr : call[c];
        behind.push_back(call[c] == nullptr ? nullptr : call[c] + count * layout.out_step);
    }
    for (int p = 0; p < count; ++p) {
        if (layout.mask != nullptr && !(layout.mask[p] > layout.threshold))
            continue;
        Bytes bytes;
        for (const unsigned char *line : in.at)
            bytes.push_back(line[p * layout.in_step]);
        const Bytes result = reference.pixel(bytes);
        for (std::size_t c = 0; c < call.size(); ++c)
            if (call[c] != nullptr)
                expected[static_cast<std::size_t>(call[c] - out.buffer.data() + p * layout.out_step)] = result[c];
    }
    const std::vector<unsigned char *> lines_before = in.at;
    EXPECT_EQ(md_tetrab_interp(table.get(), in.at.data(), layout.in_step, call.data(), layout.out_step, count,
                               layout.mask, layout.threshold),
              1);
    EXPECT_EQ(out.buffer, expected);
    EXPECT_EQ(call, behind);
    EXPECT_EQ(in.at, lines_before);
}

class MdTetrabInterp : public testing::TestWithParam<Shape>
{
protected:
    Shape s = GetParam();
    Generator random{static_cast<std::uint64_t>(s.N * 1000 + s.M * 100 + s.R)};
    Table table = make(s);
    Reference reference = fill(table, s, random);
};

TEST_P(MdTetrabInterp, EqualsTheDefinitionWithAndWithoutCurves)
{
    expect_conversion(table, s, reference, {.in_step = 1, .out_step = 1}, random);
    set_random_curves(table, reference, random);
    expect_conversion(table, s, reference, {.in_step = 1, .out_step = 1}, random);
}

TEST_P(MdTetrabInterp, FollowsStepsOfAnySignAndWorksInPlace)
{
    for (const Layout &layout : {Layout{s.N, s.M}, Layout{2, -1}, Layout{-3, s.M}, Layout{0, 2}, Layout{1, 0}})
        expect_conversion(table, s, reference, layout, random);
    if (s.M <= s.N)
        expect_conversion(table, s, reference, {.in_step = s.N, .out_step = s.N, .in_place = true}, random);
}

TEST_P(MdTetrabInterp, LeavesSkippedOutputsAndMaskedPixelsAlone)
{
    set_random_curves(table, reference, random);
    Bytes mask(count);
    std::generate(mask.begin(), mask.end(), [&] { return static_cast<unsigned char>(127 + random.below(3)); });
    for (const unsigned skipped : {0U, 1U, 10U, 0xFFU})
        for (const double threshold : {127.0, 127.5, 128.0, 1e300, -1e300, std::nan("")})
            expect_conversion(table, s, reference, {s.N, 1, skipped, mask.data(), threshold}, random);
}

INSTANTIATE_TEST_SUITE_P(Shapes, MdTetrabInterp,
                         testing::Values(Shape{1, 1, 2}, Shape{1, 3, 300}, Shape{1, 5, 14, 0, 255, 0}, Shape{2, 1, 3},
                                         Shape{2, 2, 17, 0, 255, 0}, Shape{3, 3, 17}, Shape{3, 4, 9, 0, 255, 2},
                                         Shape{3, 6, 27}, Shape{4, 3, 6, 0, 255, 0}, Shape{4, 4, 17}, Shape{4, 9, 3},
                                         Shape{5, 3, 3}, Shape{5, 6, 2, 0, 255, 0}, Shape{6, 1, 2},
                                         Shape{6, 5, 3, 0, 255, 2}));

// Sums wrap there, and equal weights count in the order of their dimensions.
INSTANTIATE_TEST_SUITE_P(WeightsKept, MdTetrabInterp,
                         testing::Values(Shape{1, 2, 4, 10, 200}, Shape{2, 3, 3, 0, 100}, Shape{3, 3, 5, 16, 235, 0},
                                         Shape{3, 4, 2, 0, 1}, Shape{4, 5, 3, 1, 254, 0}, Shape{4, 4, 2, 0, 3, 2},
                                         Shape{5, 4, 2, 0, 128, 2}, Shape{6, 6, 2, 30, 31}));

Bytes convert(const Table &table, Bytes pixel, std::size_t outputs)
{
    Bytes result(outputs);
    std::vector<unsigned char *> in;
    std::vector<unsigned char *> out;
    for (unsigned char &byte : pixel)
        in.push_back(&byte);
    for (unsigned char &byte : result)
        out.push_back(&byte);
    md_tetrab_interp(table.get(), in.data(), 1, out.data(), 1, 1, nullptr, 0);
    return result;
}

void fill_evenly(const Table &table, int value)
{
    int size = 0;
    unsigned char *data = md_tetrab_dataptr(table.get(), &size);
    std::memset(data, value, static_cast<std::size_t>(size));
}

TEST(MdTetrabInterpValues, AreThoseComputedByHand)
{
    // One byte of an empty grid with one input is set, one pixel converted.
    const struct {
        int R, at, value, pixel, result;
    } rows[] = {
        {2, 1, 200, 128, 100},   // 200 * 128 / 255 = 100.39
        {2, 1, 200, 127, 100},   // 99.61
        {3, 2, 255, 129, 2},     // doubles as they stand: (129 / 127.5 - 1) * 255 comes out just below 3
        {17, 7, 255, 112, 249},  // just below 7 likewise: the lower vertex keeps 255 - 6
        {14, 13, 255, 255, 255}, {27, 26, 255, 255, 255}, {32, 31, 255, 255, 255},  // 255 is the top vertex
    };
    for (const auto &row : rows) {
        const Table table = make({1, 1, row.R});
        md_tetrab_dataptr(table.get(), nullptr)[row.at] = static_cast<unsigned char>(row.value);
        EXPECT_EQ(convert(table, {static_cast<unsigned char>(row.pixel)}, 1)[0], row.result) << row.R;
    }
}

TEST(MdTetrabInterpValues, KeptAnEvenGridIsEvenOnlyForOneInputAndTheEndsOfTheRange)
{
    const Table line = make({1, 1, 17});
    for (int v = 0; v < 256; ++v) {
        fill_evenly(line, v);
        for (int u = 0; u < 256; ++u)
            ASSERT_EQ(convert(line, {static_cast<unsigned char>(u)}, 1)[0], v);
    }
    const Table plane = make({2, 1, 2});
    fill_evenly(plane, 1);
    EXPECT_EQ(convert(plane, {170, 85}, 1), Bytes{0});  // three times round(85 / 255)
    for (const int v : {0, 255}) {
        fill_evenly(plane, v);
        EXPECT_EQ(convert(plane, {170, 85}, 1)[0], v);
    }
}

TEST(MdTetrabInterpValues, ConvertsNothingForAnEmptyRun)
{
    const Table table = make({1, 1, 2});
    unsigned char byte = 77;
    unsigned char *in = &byte;
    unsigned char *out = &byte;
    for (const int pixels : {0, -1})
        EXPECT_EQ(md_tetrab_interp(table.get(), &in, 1, &out, 1, pixels, nullptr, 0), 1);
    EXPECT_EQ(out, &byte);
}

TEST(MdTetrabLut, SetsCopiesAndResetsCurves)
{
    const Table table = make({2, 2, 2});
    Bytes inverse = Reference::identity();
    std::reverse(inverse.begin(), inverse.end());
    unsigned char *curves[2] = {nullptr, inverse.data()};
    const auto curve = [](const unsigned char *at) { return Bytes(at, at + 256); };

    EXPECT_EQ(md_tetrab_LUT(table.get(), curves, curves), 1);
    EXPECT_EQ(curve(md_tetrab_ilutptr(table.get(), 0)), Reference::identity());
    EXPECT_EQ(curve(md_tetrab_ilutptr(table.get(), 1)), inverse);
    EXPECT_EQ(curve(md_tetrab_olutptr(table.get(), 1)), inverse);
    md_tetrab_LUT(table.get(), curves, nullptr);
    EXPECT_EQ(curve(md_tetrab_ilutptr(table.get(), 1)), inverse);
    EXPECT_EQ(curve(md_tetrab_olutptr(table.get(), 1)), Reference::identity());
}

TEST(MdTetrabLut, PointersShowTheCurvesInForce)
{
    const Table table = make({1, 1, 2});
    md_tetrab_dataptr(table.get(), nullptr)[1] = 255;
    EXPECT_EQ(convert(table, {9}, 1), Bytes{9});
    md_tetrab_ilutptr(table.get(), 0)[9] = 200;
    md_tetrab_olutptr(table.get(), 0)[200] = 33;
    EXPECT_EQ(convert(table, {9}, 1), Bytes{33});
    for (const int outside : {-1, 1}) {
        EXPECT_EQ(md_tetrab_ilutptr(table.get(), outside), nullptr);
        EXPECT_EQ(md_tetrab_olutptr(table.get(), outside), nullptr);
    }
}

TEST(MdTetrabScanVertex, WalksTheFilledVerticesFirstCoordinateFastest)
{
    const Table table = make({3, 2, 3, 0, 255, 2});
    int size = 0;
    const unsigned char *data = md_tetrab_dataptr(table.get(), &size);
    EXPECT_EQ(size, 5 * 5 * 5 * 2);
    EXPECT_EQ(std::count(data, data + size, 0), size);
    EXPECT_EQ(md_tetrab_get_nrpoints(table.get()), 27);
    int coord[3] = {0, 0, 0};
    for (int number = 1; number <= 27; ++number) {
        const int g[3] = {(number - 1) % 3, (number - 1) / 3 % 3, (number - 1) / 9};
        EXPECT_TRUE(std::equal(g, g + 3, coord)) << number;
        unsigned char input[3];
        EXPECT_EQ(md_tetrab_vertex_get(table.get(), coord, input) - data, g[0] * 50 + g[1] * 10 + g[2] * 2);
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(input[k], (g[k] * 255 + 1) / 2);
        EXPECT_EQ(md_tetrab_scan_vertex(table.get(), coord), 27 - number);
    }
    EXPECT_EQ(coord[0] + coord[1] + coord[2], 0);
}

TEST(MdTetrabVertexGet, KeptRoundsInputBytesInDoubles)
{
    const Table table = make({1, 1, 51});
    unsigned char input = 0;
    for (const auto &[coord, byte] : {std::pair{25, 127}, {45, 229}, {26, 133}, {50, 255}}) {
        md_tetrab_vertex_get(table.get(), &coord, &input);
        EXPECT_EQ(input, byte);  // exactly, 25 lies at 127.5 and 45 at 229.5
    }
}

// Compares every vertex of an expanded table with the values expected at its coordinates and input bytes.
template <class Expected>
void expect_vertices(const Table &table, const Shape &s, Expected expected)
{
    std::vector<int> coord(static_cast<std::size_t>(s.N), 0);
    do {
        Bytes input(coord.size());
        const unsigned char *vertex = md_tetrab_vertex_get(table.get(), coord.data(), input.data());
        ASSERT_EQ(Bytes(vertex, vertex + s.M), expected(coord, input)) << testing::PrintToString(s);
    } while (md_tetrab_scan_vertex(table.get(), coord.data()) != 0);
}

// A table of random vertices and curves, what it must do, and the same grid with weights 0 .. 255 and no curves.
struct Source {
    explicit Source(const Shape &s)
        : table(make(s)), reference(fill(table, s, random)), grid({s.N, s.M, s.R, 0, 255, s.E}, reference.data())
    {
        set_random_curves(table, reference, random);
    }

    Generator random{11};
    Table table;
    Reference reference;
    Reference grid;
};

TEST(MdTetrabExpand, KeptSubdividesCellsAtWholeRatiosWithoutCurves)
{
    const Shape shapes[] = {{1, 2, 5}, {2, 3, 4}, {3, 3, 3}, {5, 1, 2}, {3, 2, 3, 16, 235, 0}, {1, 1, 2}};
    const int ratios[] = {1, 3, 4, 2, 2, 700};
    for (std::size_t i = 0; i < std::size(shapes); ++i) {
        const Source source(shapes[i]);
        const int ratio = ratios[i];
        const Table fine{md_tetrab_expand(source.table.get(), ratio * (shapes[i].R - 1) + 1), md_tetrab_kill};
        expect_vertices(fine, shapes[i], [&](const std::vector<int> &coord, const Bytes &) {
            std::vector<int> cell;
            std::vector<int> fraction;
            for (const int g : coord) {
                cell.push_back(g / ratio);
                fraction.push_back(255 * (g % ratio) / ratio);
            }
            return source.grid.simplex(cell, fraction);
        });
    }
}

TEST(MdTetrabExpand, KeptConvertsThroughTheCurvesAtOtherRatios)
{
    for (const auto &[s, newR] : {std::pair{Shape{3, 3, 5}, 8}, {Shape{2, 5, 17}, 9}, {Shape{5, 4, 3, 0, 100}, 4}}) {
        const Source source(s);
        const Table target{md_tetrab_expand(source.table.get(), newR), md_tetrab_kill};
        expect_vertices(target, s,
                        [&](const std::vector<int> &, const Bytes &input) { return source.reference.pixel(input); });
        EXPECT_EQ(std::memcmp(md_tetrab_ilutptr(target.get(), 0), Reference::identity().data(), 256), 0);
    }
}

TEST(MdTetrabNew, KeptNamesARelativeInItsMessages)
{
    Reports reports;
    for (const Shape &s : {Shape{0, 3, 17}, Shape{3, 0, 17}, Shape{3, 3, 1}, Shape{3, 3, 17, -1},
                           Shape{3, 3, 17, 0, 256}, Shape{3, 3, 17, 8, 8}, Shape{3, 3, 17, 0, 255, -1}}) {
        EXPECT_EQ(make(s), nullptr);
        EXPECT_EQ(reports.take(), lines{"md_tetra_new: illegal dimension"}) << testing::PrintToString(s);
    }
    for (const Shape &s : {Shape{31, 1, 2}, Shape{INT_MAX, 1, 2}, Shape{4, 1, 300}, Shape{1, INT_MAX, 2},
                           Shape{2, 1, 2, 0, 255, INT_MAX}}) {
        EXPECT_EQ(make(s), nullptr);
        EXPECT_EQ(reports.take(), lines{"md_tetrab_new: malloc failure"}) << testing::PrintToString(s);
    }
    EXPECT_EQ(md_tetrab_kill(nullptr), nullptr);
}

TEST(MdTetrabExpand, ReportsTheFailureOfCreationAndItsOwn)
{
    Reports reports;
    const Table table = make({2, 1, 3});
    EXPECT_EQ(md_tetrab_expand(table.get(), 1), nullptr);
    EXPECT_EQ(reports.take(), (lines{"md_tetrab_expand: error in md_tetrab_new", "md_tetra_new: illegal dimension"}));
}

}  // namespace
