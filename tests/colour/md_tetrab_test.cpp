#include "md_tetrab.h"

#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
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
    Lines out(s.M, count, layout.out_step, 77);
    Bytes expected = out.buffer;
    std::vector<unsigned char *> call = out.at;
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

TEST_P(MdTetrabInterp, FollowsStepsOfAnySign)
{
    for (const Layout &layout : {Layout{s.N, s.M}, Layout{2, -1}, Layout{-3, s.M}, Layout{0, 2}, Layout{1, 0}})
        expect_conversion(table, s, reference, layout, random);
}

TEST_P(MdTetrabInterp, LeavesSkippedOutputsAndMaskedPixelsAlone)
{
    set_random_curves(table, reference, random);
    Bytes mask(count);
    std::generate(mask.begin(), mask.end(), [&] { return static_cast<unsigned char>(127 + random.below(3)); });
    for (const unsigned skipped : {0U, 1U, 10U, 0xFFU})
        for (const double threshold : {127.0, 127.5, 128.0})
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

TEST(MdTetrabInterpValues, ConvertsLinesInPlace)
{
    for (const Shape &s : {Shape{3, 3, 17}, Shape{4, 3, 6}, Shape{5, 5, 3}, Shape{3, 2, 5, 16, 235}}) {
        Generator random(5);
        const Table table = make(s);
        const Reference reference = fill(table, s, random);
        Lines line(s.N, count, s.N, 0);
        put_pixels(line, s.N, random);
        Bytes expected = line.buffer;
        for (std::size_t p = 0; p < count; ++p) {
            const auto at = expected.begin() + static_cast<std::ptrdiff_t>(p) * s.N;
            const Bytes result = reference.pixel(Bytes(at, at + s.N));
            std::copy(result.begin(), result.end(), at);
        }
        std::vector<unsigned char *> out(line.at.begin(), line.at.begin() + s.M);
        md_tetrab_interp(table.get(), line.at.data(), s.N, out.data(), s.N, count, nullptr, 0);
        EXPECT_EQ(line.buffer, expected);
    }
}

TEST(MdTetrabInterpValues, GivesBackVerticesWhoseInputIsExact)
{
    for (const int R : {2, 3, 4, 6, 16, 18}) {
        const Shape s{2, 2, R};
        Generator random(static_cast<std::uint64_t>(R));
        const Table table = make(s);
        fill(table, s, random);
        int coord[2] = {0, 0};
        do {
            Bytes input(2);
            const unsigned char *vertex = md_tetrab_vertex_get(table.get(), coord, input.data());
            EXPECT_EQ(convert(table, input, 2), Bytes(vertex, vertex + 2));
        } while (md_tetrab_scan_vertex(table.get(), coord) != 0);
    }
}

TEST(MdTetrabInterpValues, TakesTheTopVertexForTheTopByte)
{
    for (const int R : {14, 27, 32, 53, 17}) {
        const Table table = make({1, 1, R});
        *md_tetrab_vertex_get(table.get(), std::vector<int>{R - 1}.data(), nullptr) = 255;
        EXPECT_EQ(convert(table, {255}, 1), Bytes{255}) << R;
    }
}

TEST(MdTetrabInterpValues, RoundsEachProductByItself)
{
    const Table line = make({1, 1, 2});
    md_tetrab_dataptr(line.get(), nullptr)[1] = 200;
    EXPECT_EQ(convert(line, {128}, 1), Bytes{100});  // 200 * 128 / 255 = 100.39
    EXPECT_EQ(convert(line, {127}, 1), Bytes{100});  // 200 * 127 / 255 = 99.61

    // Doubles as they stand: 129 lies at 1.01176.. of step 127.5, times 255 just below 3.
    const Table half = make({1, 1, 3});
    md_tetrab_dataptr(half.get(), nullptr)[2] = 255;
    EXPECT_EQ(convert(half, {129}, 1), Bytes{2});
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

TEST(MdTetrabInterpValues, ConvertsNothingForAnEmptyRunOrAThresholdThatIsNoNumber)
{
    const Table table = make({1, 1, 2});
    unsigned char input[2] = {1, 2};
    unsigned char output[2] = {77, 77};
    const unsigned char mask[2] = {255, 255};
    unsigned char *in = input;
    unsigned char *out = output;
    for (const int pixels : {0, -1})
        EXPECT_EQ(md_tetrab_interp(table.get(), &in, 1, &out, 1, pixels, nullptr, 0), 1);
    EXPECT_EQ(out, output);
    const double no_number = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(md_tetrab_interp(table.get(), &in, 1, &out, 1, 2, mask, no_number), 1);
    EXPECT_EQ(out, output + 2);
    EXPECT_EQ(output[0] + output[1], 2 * 77);
    out = output;
    EXPECT_EQ(md_tetrab_interp(table.get(), &in, 1, &out, 1, 2, mask, -1e300), 1);
    EXPECT_EQ(output[0] + output[1], 0);
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
    for (const int outside : {-1, 2}) {
        EXPECT_EQ(md_tetrab_ilutptr(table.get(), outside), nullptr);
        EXPECT_EQ(md_tetrab_olutptr(table.get(), outside), nullptr);
    }
}

TEST(MdTetrabLut, BytesWrittenThroughThePointersCountAtOnce)
{
    const Table table = make({1, 1, 2});
    md_tetrab_dataptr(table.get(), nullptr)[1] = 255;
    EXPECT_EQ(convert(table, {9}, 1), Bytes{9});
    md_tetrab_ilutptr(table.get(), 0)[9] = 200;
    EXPECT_EQ(convert(table, {9}, 1), Bytes{200});
    md_tetrab_olutptr(table.get(), 0)[200] = 33;
    EXPECT_EQ(convert(table, {9}, 1), Bytes{33});
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

// ---- Expansion

TEST(MdTetrabExpand, SubdividesCellsExactlyAtWholeRatios)
{
    for (const auto &[s, ratio] : {std::pair{Shape{1, 2, 5}, 1},
                                   {Shape{2, 3, 4}, 3},
                                   {Shape{3, 3, 3}, 4},
                                   {Shape{4, 4, 2}, 5},
                                   {Shape{5, 1, 2}, 2},
                                   {Shape{3, 2, 3, 16, 235, 0}, 2},
                                   {Shape{1, 1, 2}, 700}}) {
        SCOPED_TRACE(testing::PrintToString(s));
        Generator random(11);
        const Table source = make(s);
        Reference reference = fill(source, s, random);
        set_random_curves(source, reference, random);  // must not count
        int size = 0;
        const unsigned char *data = md_tetrab_dataptr(source.get(), &size);
        const Reference grid({s.N, s.M, s.R, 0, 255, s.E}, Bytes(data, data + size));

        const Table fine{md_tetrab_expand(source.get(), ratio * (s.R - 1) + 1), md_tetrab_kill};
        std::vector<int> coord(static_cast<std::size_t>(s.N), 0);
        do {
            std::vector<int> cell;
            std::vector<int> fraction;
            for (const int g : coord) {
                cell.push_back(g / ratio);
                fraction.push_back(255 * (g % ratio) / ratio);
            }
            const unsigned char *vertex = md_tetrab_vertex_get(fine.get(), coord.data(), nullptr);
            ASSERT_EQ(Bytes(vertex, vertex + s.M), grid.simplex(cell, fraction));
        } while (md_tetrab_scan_vertex(fine.get(), coord.data()) != 0);
    }
}

TEST(MdTetrabExpand, KeptConvertsThroughTheCurvesAtOtherRatios)
{
    for (const auto &[s, newR] : {std::pair{Shape{3, 3, 5}, 8}, {Shape{2, 5, 17}, 9}, {Shape{5, 4, 3, 0, 100}, 4}}) {
        Generator random(12);
        const Table source = make(s);
        Reference reference = fill(source, s, random);
        set_random_curves(source, reference, random);

        const Table target{md_tetrab_expand(source.get(), newR), md_tetrab_kill};
        std::vector<int> coord(static_cast<std::size_t>(s.N), 0);
        do {
            Bytes input(coord.size());
            const unsigned char *vertex = md_tetrab_vertex_get(target.get(), coord.data(), input.data());
            ASSERT_EQ(Bytes(vertex, vertex + s.M), reference.pixel(input));
        } while (md_tetrab_scan_vertex(target.get(), coord.data()) != 0);
        EXPECT_EQ(std::memcmp(md_tetrab_ilutptr(target.get(), 0), Reference::identity().data(), 256), 0);
    }
}

// ---- Messages

TEST(MdTetrabNew, KeptNamesARelativeInItsMessages)
{
    Reports reports;
    const char *dimension = "md_tetra_new: illegal dimension";
    const char *memory = "md_tetrab_new: malloc failure";
    const std::pair<Shape, const char *> rows[] = {{{0, 3, 17}, dimension},
                                                   {{3, 0, 17}, dimension},
                                                   {{3, 3, 1}, dimension},
                                                   {{3, 3, 17, -1}, dimension},
                                                   {{3, 3, 17, 0, 256}, dimension},
                                                   {{3, 3, 17, 8, 8}, dimension},
                                                   {{3, 3, 17, 0, 255, -1}, dimension},
                                                   {{31, 1, 2}, memory},
                                                   {{INT_MAX, 1, 2}, memory},
                                                   {{4, 1, 300}, memory},
                                                   {{1, INT_MAX, 2}, memory},
                                                   {{2, 1, 2, 0, 255, INT_MAX}, memory}};
    for (const auto &[shape, message] : rows) {
        EXPECT_EQ(make(shape), nullptr);
        EXPECT_EQ(reports.take(), lines{message}) << testing::PrintToString(shape);
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
