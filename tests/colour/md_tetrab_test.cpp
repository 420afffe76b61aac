#include "md_tetrab.h"

#include "support/runs.h"

using namespace teska_test;

namespace
{

using Bytes = std::vector<unsigned char>;

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
    Table(const Shape &shape, md_tetrab *table) : s(shape), data(md_tetrab_dataptr(table, &size)), owner(table) {}

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

    // Every curve is the identity then; there are no others.
    void reset_curves() const
    {
        EXPECT_EQ(md_tetrab_LUT(get(), nullptr, nullptr), 1);
        for (const auto &[curve_of, count] : {std::pair(&md_tetrab_ilutptr, s.N), {&md_tetrab_olutptr, s.M}})
            for (int curve = -1; curve <= count; ++curve) {
                const unsigned char *const entries = curve_of(get(), curve);
                ASSERT_EQ(entries == nullptr, curve < 0 || curve == count) << curve;
                for (int v = 0; entries != nullptr && v < 256; ++v)
                    EXPECT_EQ(entries[v], v) << curve;
            }
    }

    Bytes convert(const Bytes &pixel) const { return converted(get(), pixel, s.M, md_tetrab_interp, nullptr, 0); }

    const Shape s;
    int size = 0;
    unsigned char *const data;
    teska::handle<md_tetrab, md_tetrab_kill> owner;
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

// A line with masks; a fourth channel may be beside three. In a quarter of all cases a clone converts.
void expect_conversion(const Table &table, Generator &random)
{
    const auto one_of = [&](const auto &values) { return values[random.below(static_cast<int>(std::size(values)))]; };
    const int channels = random.below(2) == 0 ? table.s.N : std::max(table.s.N, 4), pixels = 1 + random.below(129);
    const int in_steps[] = {1, 2, -3, 0, channels, channels}, out_steps[] = {1, 2, -1, 0, table.s.M, table.s.M};
    Run run{channels, table.s.M, pixels, one_of(in_steps), one_of(out_steps)};
    run.over_inputs = random.below(3) == 0;
    run.advances = true;
    const double thresholds[] = {-0.5, 0, 127.5, 254.5, 255, NAN}, threshold = one_of(thresholds);
    const unsigned char mask_bytes[] = {0, 1, 127, 128, 254, 255};
    const int repeated = random.below(5);
    Bytes mask(static_cast<std::size_t>(pixels), 128);
    for (std::size_t p = 1; p < mask.size(); ++p)
        mask[p] = random.below(4) < repeated ? mask[p - 1] : one_of(mask_bytes);
    const unsigned char *const used = random.below(2) == 0 ? nullptr : mask.data();
    run.pixels = random.below(4) > 0 ? pixels : -random.below(2);
    const teska::handle<md_tetrab, md_tetrab_kill> clone(random.below(4) == 0 ? md_tetrab_clone(table.get()) : nullptr);
    check_run<unsigned char, unsigned char>(
        run, random,
        [&] {
            const unsigned char fresh[] = {0, 255, random.byte(), random.byte()};
            return one_of(fresh);
        },
        [&](int p, const Bytes &pixel) {
            return used == nullptr || used[p] > threshold ? model(table, pixel) : Bytes();
        },
        [&](auto... arguments) {
            return md_tetrab_interp(clone ? clone.get() : table.get(), arguments..., used, threshold);
        });
}

TEST(MdTetrabInterp, ConvertsLinesOfAnyLayoutAsTheModelDoes)
{
    Generator random(62);
    // R = 82 and sides above 127 have no even positions, 1000 and 65 points no small strides or offsets; the last grid
    // has more than 2^24 bytes.
    std::vector<Shape> shapes = {
        {1, 5, 27, 0, 255, 1}, {1, 5, 14, 0, 255, 1}, {2, 2, 17, 0, 255, 0}, {3, 3, 17, 0, 255, 1},
        {3, 4, 33, 0, 255, 1}, {3, 1, 82, 0, 255, 1}, {3, 7, 2, 0, 255, 1},  {3, 2, 130, 0, 255, 1},
        {3, 4, 9, 16, 235, 0}, {4, 3, 17, 0, 255, 1}, {4, 4, 2, 0, 3, 2},    {4, 9, 3, 0, 255, 1},
        {4, 4, 33, 0, 255, 1}, {4, 1, 64, 0, 255, 1}, {5, 3, 3, 0, 255, 1},  {6, 17, 2, 0, 255, 1},
        {6, 6, 2, 30, 31, 1},  {3, 3, 5, 0, 255, 0},  {5, 16, 4, 0, 255, 0}, {3, 5, 150, 0, 255, 0}};
    for (int R = 2; R < 60; ++R)
        shapes.push_back({3, 1, R});
    for (const Shape &s : shapes) {
        const Table table(s);
        table.randomize(random);
        SCOPED_TRACE(testing::Message() << s.N << " to " << s.M << ", " << s.R << " points");
        EXPECT_EQ(md_tetrab_get_nrpoints(table.get()), std::pow(s.R, s.N));
        for (int lines = 0; lines < 24; ++lines) {
            const auto use = lines < 12 ? teska::gather_use::never : teska::gather_use::always;
            const teska::gather_use before = teska::gather_limit(use);
            lines % 2 == 0 ? table.randomize_curves(random) : table.reset_curves();
            expect_conversion(table, random);
            teska::gather_limit(before);
        }
    }
}

TEST(MdTetrabInterp, ReadsNothingAfterTheLastSample)
{
    const Table table({3, 3, 17});
    for (std::size_t pixels = 1; pixels <= 130; ++pixels)
        at_every_level([&](teska::simd_level) {
            Bytes fours(4 * pixels - 1), x(pixels, 9), y(x), z(x);  // what is read after them, a sanitizer sees
            unsigned char *in[] = {&fours[0], &fours[1], &fours[2]}, *planes[] = {&x[0], &y[0], &z[0]}, *none[3] = {};
            md_tetrab_interp(table.get(), planes, 1, none, 1, static_cast<int>(pixels), nullptr, 0);
            md_tetrab_interp(table.get(), in, 4, planes, 1, static_cast<int>(pixels), nullptr, 0);
            EXPECT_EQ(z, Bytes(pixels));
        });
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
    const Table source({2, 3, 4});
    source.randomize(random);
    for (const int fine : {10, 8}) {
        const Table expanded({2, 3, fine}, md_tetrab_expand(source.get(), fine));
        const bool whole = fine == 10;
        int at[2] = {}, left = fine * fine;
        do {
            EXPECT_EQ(at[0] + at[1] * fine, fine * fine - left) << "the first coordinate is the fastest";
            const int kept_at[] = {at[0] / 3, at[1] / 3};
            unsigned char input[2];
            const unsigned char *vertex = md_tetrab_vertex_get(expanded.get(), at, input);
            const unsigned char *kept = md_tetrab_vertex_get(source.get(), kept_at, nullptr);
            if (!whole || (at[0] % 3 == 0 && at[1] % 3 == 0)) {
                ASSERT_EQ(Bytes(vertex, vertex + 3),
                          whole ? Bytes(kept, kept + 3) : source.convert({input[0], input[1]}));
            }
        } while ((left = md_tetrab_scan_vertex(expanded.get(), at)) > 0);
        EXPECT_EQ(at[0] + at[1], 0);
    }
}

TEST(MdTetrabNew, KeptNamesARelativeInItsMessages)
{
    Reports reports;
    for (const Shape &s : {Shape{0, 3, 17}, Shape{3, 0, 17}, Shape{3, 3, 1}, Shape{3, 3, 17, -1},
                           Shape{3, 3, 17, 0, 256}, Shape{3, 3, 17, 8, 8}, Shape{3, 3, 17, 0, 255, -1}})
        EXPECT_EQ(reports.refusal(create(s)), "md_tetra_new: illegal dimension") << s.N << ' ' << s.M << ' ' << s.R;
    for (const Shape &s : {Shape{31, 1, 2}, Shape{INT_MAX, 1, 2}, Shape{4, 1, 300}, Shape{1, INT_MAX, 2},
                           Shape{2, 1, 2, 0, 255, INT_MAX}})
        EXPECT_EQ(reports.refusal(create(s)), "md_tetrab_new: malloc failure") << s.N << ' ' << s.M << ' ' << s.R;
    const Table table({2, 1, 3});
    EXPECT_EQ(md_tetrab_expand(table.get(), 1), nullptr);
    EXPECT_EQ(reports.take(), (lines{"md_tetrab_expand: error in md_tetrab_new", "md_tetra_new: illegal dimension"}));
}

TEST(MdTetrabFillDouble, RoundsToTheNearestByteAndRefusesWithoutAChange)
{
    Reports reports;
    const Table table({1, 1, 3});
    std::fill_n(table.data, table.size, 9);
    const double inf = HUGE_VAL, values[] = {-0.1, 0.5, 1.1}, bad[] = {0, 1, std::nan("")};
    EXPECT_EQ(md_tetrab_fill_double(table.get(), values, 0, 0, 1), 1);
    EXPECT_EQ(Bytes(table.data, table.data + 4), (Bytes{0, 128, 255, 9}));
    for (const auto &[lo, hi, layers] : {std::tuple(1.0, 1.0, 0), {0.0, inf, 0}, {0.0, 1.0, -1}, {0.0, 1.0, INT_MAX}})
        EXPECT_EQ(md_tetrab_fill_double(table.get(), values, layers, lo, hi), 0);
    EXPECT_EQ(reports.take(), lines(4, "md_tetrab_fill_double: illegal range"));
    EXPECT_EQ(reports.refusal(md_tetrab_fill_double(table.get(), bad, 0, 0, 1)),
              "md_tetrab_fill_double: illegal value");
    EXPECT_EQ(Bytes(table.data, table.data + 4), (Bytes{0, 128, 255, 9}));
}

}  // namespace
