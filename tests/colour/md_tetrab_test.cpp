#include "md_tetrab.h"

#include "support/generator.h"
#include "support/levels.h"
#include "support/reports.h"
#include "support/samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <tuple>

using namespace teska_test;

namespace
{

using Bytes = std::vector<unsigned char>;
using Coords = std::vector<int>;
using ByteSamples = Samples<unsigned char>;

struct Shape {
    int N, M, R, L = 0, H = 255, E = 1;
};

md_tetrab *create(const Shape &s)
{
    const bool usual = s.L == 0 && s.H == 255 && s.E == 1;
    return usual ? md_tetrab_new(s.N, s.M, s.R) : md_tetrab_new_special(s.N, s.M, s.R, s.L, s.H, s.E);
}

struct Table {
    explicit Table(const Shape &shape) : Table(shape, create(shape)) {}
    Table(const Shape &shape, md_tetrab *table)
        : s(shape), data(md_tetrab_dataptr(table, &size)), owner(table, md_tetrab_kill)
    {
    }

    md_tetrab *get() const { return owner.get(); }

    // Every byte of the grid, the curve of some input and of the last output.
    void randomize(Generator &random) const
    {
        std::generate_n(data, size, [&] { return random.byte(); });
        randomize_curves(random);
    }

    void randomize_curves(Generator &random) const
    {
        for (unsigned char *curve : {md_tetrab_ilutptr(get(), random.below(s.N)), md_tetrab_olutptr(get(), s.M - 1)})
            std::generate_n(curve, 256, [&] { return random.byte(); });
    }

    Bytes convert(const Bytes &pixel) const
    {
        ByteSamples in(pixel), out(Bytes(static_cast<std::size_t>(s.M)));
        EXPECT_EQ(md_tetrab_interp(get(), in.at.data(), 1, out.at.data(), 1, 1, nullptr, 0), 1);
        return out.buffer;
    }

    const Shape s;
    int size = 0;
    unsigned char *const data;
    std::unique_ptr<md_tetrab, md_tetrab *(*)(md_tetrab *)> owner;
};

// The conversion as the contract has it, a step after the other.
Bytes model(const Table &table, const Bytes &pixel)
{
    const Shape &s = table.s;
    const double step = 255.0 / (s.R - 1);
    std::vector<std::pair<int, int>> path;  // fraction and stride
    const unsigned char *base = table.data;
    for (int d = 0, stride = table.size; d < s.N; ++d) {
        stride /= s.R + s.E;
        const int u = md_tetrab_ilutptr(table.get(), d)[pixel[static_cast<std::size_t>(d)]];
        const int i = u == 255 ? s.R - 1 : static_cast<int>(std::floor(u / step));
        path.emplace_back(i < s.R - 1 ? static_cast<int>(std::floor((u / step - i) * (s.H - s.L) + s.L)) : s.L, stride);
        base += i * stride;
    }
    std::stable_sort(path.begin(), path.end(), [](auto &a, auto &b) { return a.first > b.first; });
    path.emplace_back(0, 0);
    Bytes result;
    for (int c = 0; c < s.M; ++c) {
        const unsigned char *vertex = base + c;
        int sum = 0, before = s.H;
        for (const auto &[fraction, stride] : path) {
            const int k = *vertex - s.L, j = before - fraction - s.L, range = s.H - s.L;
            const bool inside = k >= 0 && k <= range && j >= 0 && j <= range;
            sum += inside ? static_cast<int>(std::floor(1.0 * j * k / range + s.L + 0.5)) : 255;
            before = fraction;
            vertex += stride;
        }
        result.push_back(md_tetrab_olutptr(table.get(), c)[sum % 256]);
    }
    return result;
}

// Converts a line in some layout, with outputs left out and masks, and compares everything the call may have touched.
// The line has pixels at both ends of the range, random ones, and repetitions.
void expect_conversion(const Table &table, Generator &random)
{
    const auto one_of = [&](const auto &values) { return values[random.below(static_cast<int>(std::size(values)))]; };
    const int pixels = 1 + random.below(2 * 64 + 1), quarters = random.below(5);
    // A fourth channel may be beside three; channels may come in any order.
    const int channels[] = {table.s.N, std::max(table.s.N, 4)}, in_channels = one_of(channels);
    const int in_steps[] = {1, 2, -3, 0, in_channels, in_channels};
    const int out_steps[] = {1, 2, -1, 0, table.s.M, table.s.M};
    ByteSamples in(in_channels, pixels, one_of(in_steps)), apart(table.s.M, pixels, one_of(out_steps), 77);
    for (ByteSamples *samples : {&in, &apart})
        std::swap(samples->at.front(), random.below(2) == 0 ? samples->at.front() : samples->at.back());
    for (int p = 0; p < pixels; ++p) {
        const bool repeat = p > 0 && random.below(64) < 16 * quarters;
        for (unsigned char *line : in.at) {
            const unsigned char fresh[] = {0, 255, random.byte(), random.byte()};
            line[p * in.step] = repeat ? line[(p - 1) * in.step] : one_of(fresh);
        }
    }
    const double thresholds[] = {-0.5, 0, 127.5, 254.5, 255, NAN}, threshold = one_of(thresholds);
    const unsigned char mask_bytes[] = {0, 1, 127, 128, 254, 255};
    Bytes mask(static_cast<std::size_t>(pixels), 128);
    for (std::size_t p = 1; p < mask.size(); ++p)
        mask[p] = random.below(64) < 16 * quarters ? mask[p - 1] : one_of(mask_bytes);
    const unsigned char *const used = random.below(2) == 0 ? nullptr : mask.data();

    ByteSamples &out = table.s.M <= in_channels && in.step != 0 && random.below(3) == 0 ? in : apart;
    Bytes expected = out.buffer;
    std::vector<unsigned char *> call(out.at.begin(), out.at.begin() + table.s.M), after, sources = in.at;
    const int count = random.below(4) > 0 ? pixels : -random.below(2);
    const bool all = random.below(2) == 0;
    for (unsigned char *&line : call) {
        line = !all && random.below(4) == 0 ? nullptr : line;
        after.push_back(line == nullptr ? nullptr : line + std::max(count, 0) * out.step);
    }
    for (int p = 0; p < count; ++p) {
        const Bytes result = model(table, in.point(p));
        for (std::size_t c = 0; c < call.size(); ++c)
            if (call[c] != nullptr && (used == nullptr || used[p] > threshold))
                expected.data()[call[c] - out.buffer.data() + p * out.step] = result[c];
    }
    // In a quarter of all cases a clone converts.
    const std::unique_ptr<md_tetrab, md_tetrab *(*)(md_tetrab *)> clone(
        random.below(4) == 0 ? md_tetrab_clone(table.get()) : nullptr, md_tetrab_kill);
    EXPECT_EQ(md_tetrab_interp(clone ? clone.get() : table.get(), sources.data(), in.step, call.data(), out.step, count,
                               used, threshold),
              1);
    EXPECT_EQ(out.buffer, expected) << "steps " << in.step << " and " << out.step << ", " << count << " pixels";
    EXPECT_EQ(call, after);
    EXPECT_EQ(sources, in.at);
}

TEST(MdTetrabInterp, ConvertsLinesOfAnyLayoutAsTheModelDoes)
{
    Generator random(62);
    // R = 82 and sides above 127 have no even positions, 1000 and 65 points no small strides or offsets; the last grid
    // has more than 2^24 bytes.
    const Shape shapes[] = {
        {1, 5, 27, 0, 255, 1}, {1, 5, 14, 0, 255, 1}, {2, 2, 17, 0, 255, 0}, {3, 3, 17, 0, 255, 1},
        {3, 4, 33, 0, 255, 1}, {3, 1, 82, 0, 255, 1}, {3, 7, 2, 0, 255, 1},  {3, 2, 130, 0, 255, 1},
        {3, 4, 9, 16, 235, 0}, {4, 3, 17, 0, 255, 1}, {4, 4, 2, 0, 3, 2},    {4, 9, 3, 0, 255, 1},
        {4, 4, 33, 0, 255, 1}, {4, 1, 64, 0, 255, 1}, {5, 3, 3, 0, 255, 1},  {6, 17, 2, 0, 255, 1},
        {6, 6, 2, 30, 31, 1},  {3, 3, 5, 0, 255, 0},  {5, 16, 4, 0, 255, 0}, {3, 5, 150, 0, 255, 0}};
    for (const Shape &s : shapes) {
        const Table table(s);
        table.randomize(random);
        at_every_level([&](teska::simd_level) {
            SCOPED_TRACE(testing::Message() << s.N << " to " << s.M << ", " << s.R << " points");
            for (int lines = 0; lines < 24; ++lines) {
                const auto use = lines < 12 ? teska::gather_use::never : teska::gather_use::always;
                const teska::gather_use before = teska::gather_limit(use);
                if (lines % 2 == 0)
                    table.randomize_curves(random);
                else
                    md_tetrab_LUT(table.get(), nullptr, nullptr);
                expect_conversion(table, random);
                teska::gather_limit(before);
            }
        });
    }
}

TEST(MdTetrabLut, ResetsEveryCurve)
{
    const Table table({2, 2, 2});
    for (const auto curve_of : {md_tetrab_ilutptr, md_tetrab_olutptr}) {
        for (const int curve : {0, 1}) {
            unsigned char *const entries = curve_of(table.get(), curve);
            entries[9] = 44;
            EXPECT_EQ(md_tetrab_LUT(table.get(), nullptr, nullptr), 1);
            for (int v = 0; v < 256; ++v)
                EXPECT_EQ(entries[v], v) << curve;
        }
        for (const int outside : {-1, 2})
            EXPECT_EQ(curve_of(table.get(), outside), nullptr);
    }
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
    Generator random(11);
    const std::pair<Shape, int> cases[] = {{{2, 3, 4}, 10},  {{3, 2, 3, 16, 235, 0}, 5},
                                           {{1, 1, 2}, 701}, {{3, 3, 5}, 8},
                                           {{2, 5, 17}, 9},  {{5, 4, 3, 0, 100, 2}, 4}};
    for (const auto &[s, fine] : cases) {
        const Table source(s);
        source.randomize(random);
        const Table expanded({s.N, s.M, fine}, md_tetrab_expand(source.get(), fine));
        const bool whole = (fine - 1) % (s.R - 1) == 0;
        const int ratio = whole ? (fine - 1) / (s.R - 1) : 1;
        Coords at(static_cast<std::size_t>(s.N), 0), times = at, expected = at;
        Bytes input(at.size());
        md_tetrab *const scanned = whole ? source.get() : expanded.get();
        for (int left = md_tetrab_get_nrpoints(scanned); left-- > 0;) {
            ASSERT_EQ(at, expected) << "the first coordinate is the fastest";
            std::transform(at.begin(), at.end(), times.begin(), [=](int g) { return g * ratio; });
            const unsigned char *vertex = md_tetrab_vertex_get(expanded.get(), times.data(), input.data());
            const unsigned char *kept = md_tetrab_vertex_get(source.get(), at.data(), nullptr);
            ASSERT_EQ(Bytes(vertex, vertex + s.M), whole ? Bytes(kept, kept + s.M) : source.convert(input)) << fine;
            ASSERT_EQ(md_tetrab_scan_vertex(scanned, at.data()), left);
            for (std::size_t d = 0; d < at.size() && ++expected[d] == (whole ? s.R : fine); ++d)
                expected[d] = 0;
        }
        EXPECT_EQ(at, expected);
    }
}

TEST(MdTetrabNew, KeptNamesARelativeInItsMessages)
{
    Reports reports;
    for (const Shape &s : {Shape{0, 3, 17}, Shape{3, 0, 17}, Shape{3, 3, 1}, Shape{3, 3, 17, -1},
                           Shape{3, 3, 17, 0, 256}, Shape{3, 3, 17, 8, 8}, Shape{3, 3, 17, 0, 255, -1}})
        EXPECT_EQ(create(s), nullptr) << s.N << ' ' << s.M << ' ' << s.R << ' ' << s.L;
    EXPECT_EQ(reports.take(), lines(7, "md_tetra_new: illegal dimension"));
    for (const Shape &s : {Shape{31, 1, 2}, Shape{INT_MAX, 1, 2}, Shape{4, 1, 300}, Shape{1, INT_MAX, 2},
                           Shape{2, 1, 2, 0, 255, INT_MAX}})
        EXPECT_EQ(create(s), nullptr) << s.N << ' ' << s.M << ' ' << s.R;
    EXPECT_EQ(reports.take(), lines(5, "md_tetrab_new: malloc failure"));
    const Table table({2, 1, 3});
    EXPECT_EQ(md_tetrab_expand(table.get(), 1), nullptr);
    EXPECT_EQ(reports.take(), (lines{"md_tetrab_expand: error in md_tetrab_new", "md_tetra_new: illegal dimension"}));
}

TEST(MdTetrabFillDouble, RoundsEveryVertexToTheNearestByte)
{
    Generator random(12);
    for (const auto &[lo, hi] : {std::pair{0.0, 1.0}, {-128.0, 127.0}, {100.0, 0.0}, {0.0, 255.0}})
        for (const int layers : {0, 1, 2}) {
            const Table table({2, 3, 5});
            std::fill_n(table.data, table.size, 77);
            Bytes expected(table.data, table.data + table.size);
            std::vector<double> values(static_cast<std::size_t>((5 + layers) * (5 + layers) * 3), std::nan(""));
            for (int i = 0; i < 75; ++i) {
                const double share = i % 7 == 0 ? random.below(511) / 510.0 : random.between(-0.2, 1.2);
                const double value = lo + (hi - lo) * share, exact = 255 * (value - lo) / (hi - lo);
                values.data()[i / 15 * (5 + layers) * 3 + i % 15] = value;
                expected.data()[i / 15 * 6 * 3 + i % 15] =
                    static_cast<unsigned char>(std::floor(std::clamp(exact, 0.0, 255.0) + 0.5));
            }
            ASSERT_EQ(md_tetrab_fill_double(table.get(), values.data(), layers, lo, hi), 1);
            EXPECT_EQ(Bytes(table.data, table.data + table.size), expected) << lo << ", " << layers;
        }
}

TEST(MdTetrabFillDouble, RefusesRangesAndValuesWithoutAChange)
{
    Reports reports;
    const Table table({1, 1, 3});
    std::fill_n(table.data, table.size, 9);
    const double inf = HUGE_VAL, values[] = {0, 0.5, 1}, bad[] = {0, 1, std::nan("")};
    for (const auto &[lo, hi, layers] : {std::tuple(1.0, 1.0, 0), {0.0, inf, 0}, {0.0, 1.0, -1}, {0.0, 1.0, INT_MAX}})
        EXPECT_EQ(md_tetrab_fill_double(table.get(), values, layers, lo, hi), 0);
    EXPECT_EQ(reports.take(), lines(4, "md_tetrab_fill_double: illegal range"));
    EXPECT_EQ(md_tetrab_fill_double(table.get(), bad, 0, 0, 1), 0);
    EXPECT_EQ(reports.take(), lines{"md_tetrab_fill_double: illegal value"});
    EXPECT_EQ(Bytes(table.data, table.data + table.size), Bytes(4, 9));
}

}  // namespace
