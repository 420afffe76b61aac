#include "md_tetras.h"

#include "support/runs.h"

using teska_test::Generator, teska_test::lines, teska_test::Reports, teska_test::Run;

namespace
{

using Words = std::vector<unsigned short>;

// Output c at the point u, exact and rounded once, through a dense grid; dimension 0 slowest. Walks from the lower
// vertex of the cell and adds, for each input in turn, its fraction of the change along it.
unsigned short exact(const unsigned short *grid, int outputs, int resolution, const Words &u, int c)
{
    std::vector<std::pair<std::int64_t, std::int64_t>> steps;  // fraction in 65535ths, and stride
    std::int64_t at = c, stride = outputs;
    for (std::size_t d = u.size(); d-- > 0; stride *= resolution) {
        const std::int64_t x = std::int64_t{u[d]} * (resolution - 1);
        const std::int64_t cell = std::min<std::int64_t>(x / 65535, resolution - 2);
        steps.emplace_back(x - 65535 * cell, stride);
        at += cell * stride;
    }
    std::sort(steps.rbegin(), steps.rend());
    std::int64_t value = std::int64_t{grid[at]} * 65535;
    for (const auto &[fraction, step] : steps) {
        value += fraction * (grid[at + step] - std::int64_t{grid[at]});
        at += step;
    }
    return static_cast<unsigned short>((2 * value + 65535) / (2 * 65535));
}

// Without entries the identity.
unsigned short on_curve(const Words &entries, unsigned short v)
{
    return entries.empty() ? v : exact(entries.data(), 1, static_cast<int>(entries.size()), {v}, 0);
}

struct Table {
    Table(int inputs, int outputs, int resolution)
        : n(inputs), m(outputs), r(resolution), owner(md_tetras_new(n, m, r)), data(md_tetras_dataptr(get(), &size)),
          in_curves(static_cast<std::size_t>(n)), out_curves(static_cast<std::size_t>(m))
    {
    }

    md_tetras *get() const { return owner.get(); }
    void fill(Generator &random) const { random.fill(data, static_cast<std::size_t>(size)); }
    void set_in(int d, const Words &entries) { set(md_tetras_ilut_set, in_curves, d, entries); }
    void set_out(int c, const Words &entries) { set(md_tetras_olut_set, out_curves, c, entries); }
    // No entries: the identity.
    void set(auto curve_set, std::vector<Words> &curves, int k, const Words &entries) const
    {
        const int count = entries.empty() ? -1 : static_cast<int>(entries.size());
        EXPECT_EQ(curve_set(get(), k, count, entries.data()), 1);
        curves.at(static_cast<std::size_t>(k)) = entries;
    }

    // What a pixel must become, by exact arithmetic.
    Words expected(Words point) const
    {
        for (std::size_t d = 0; d < in_curves.size(); ++d)
            point[d] = on_curve(in_curves[d], point[d]);
        Words result(out_curves.size());
        for (std::size_t c = 0; c < result.size(); ++c)
            result[c] = on_curve(out_curves[c], exact(data, m, r, point, static_cast<int>(c)));
        return result;
    }

    Words at(const Words &point) const { return teska_test::converted(get(), point, m, md_tetras_interp, nullptr, 0); }

    const int n, m, r;
    teska::handle<md_tetras, md_tetras_kill> owner;
    int size = 0;
    unsigned short *const data;
    std::vector<Words> in_curves, out_curves;
};

template <class Sample>
Sample any_sample(Generator &random, int resolution)
{
    const auto word = static_cast<unsigned short>(random.next());
    const std::int64_t near = std::int64_t{random.below(resolution)} * 65535 / (resolution - 1);
    const std::int64_t choices[] = {0, 65535, near, word, word, word, word, word}, v = choices[random.below(8)];
    return static_cast<Sample>(sizeof(Sample) == 1 ? v >> 8 : v);
}

// A run through a clone, pixel by pixel against exact arithmetic.
template <class In, class Out>
void check_run(const Table &table, const Run &run, bool masked, Generator &random, auto convert)
{
    std::vector<unsigned char> mask(200);
    random.fill(mask.data(), mask.size());
    const int threshold = random.below(4) == 0 ? -1 : 255 - random.below(2) * random.below(256);
    const teska::handle<md_tetras, md_tetras_kill> clone(md_tetras_clone(table.get()));
    teska_test::check_run<In, Out>(
        run, random, [&] { return any_sample<In>(random, table.r); },
        [&](int p, const std::vector<In> &point) {
            const bool converted = !masked || mask[static_cast<std::size_t>(p)] > threshold;
            return teska_test::narrowed<Out>(converted ? table.expected(teska_test::widened(point)) : Words());
        },
        [&](auto... arguments) {
            return convert(clone.get(), arguments..., masked ? mask.data() : nullptr, threshold);
        });
}

void check_depths(const Table &table, int pixels, int in_step, int out_step, bool masked, Generator &random)
{
    Run layout{table.n, table.m, pixels, in_step, out_step};
    layout.over_inputs = random.below(3) > 0 && in_step == out_step;
    layout.crossed = random.below(2) == 0;
    using Byte = unsigned char;
    using Word = unsigned short;
    check_run<Word, Word>(table, layout, masked, random, md_tetras_interp);
    check_run<Byte, Byte>(table, layout, masked, random, md_tetras_interp_b);
    check_run<Byte, Word>(table, layout, masked, random, md_tetras_interp_bs);
    check_run<Word, Byte>(table, layout, masked, random, md_tetras_interp_sb);
}

TEST(MdTetrasNew, RefusesWhatCannotBe)
{
    Reports reports;
    for (const auto &[n, m, r] : {std::array{0, 1, 2}, {1, 0, 2}, {1, 1, 1}, {1, 1, 65537}, {-1, -1, -1}, {99, 1, 1}})
        EXPECT_EQ(reports.refusal(md_tetras_new(n, m, r)), "md_tetras_new: illegal dimension")
            << n << ' ' << m << ' ' << r;
    for (const auto &[n, m, r] : {std::array{31, 1, 2}, {2, 1, 65536}, {1, INT_MAX, 2}, {INT_MAX, INT_MAX, 65536}})
        EXPECT_EQ(reports.refusal(md_tetras_new(n, m, r)), "md_tetras_new: insufficient memory")
            << n << ' ' << m << ' ' << r;
}

TEST(MdTetrasCurves, RefuseWhatCannotBeAndStayAsTheyAre)
{
    Reports reports;
    Table table(2, 3, 2);
    const Words entries(2, 7);
    table.set_in(1, {65535, 0});
    table.set_out(2, {0, 9, 65535});
    for (const auto &[index, n] : {std::array{-1, 2}, {3, 2}, {1, 1}, {1, 0}, {1, 65537}, {1, -5}}) {
        EXPECT_EQ(md_tetras_ilut_set(table.get(), index, n, entries.data()), 0) << index << ' ' << n;
        EXPECT_EQ(md_tetras_olut_set(table.get(), index, n, entries.data()), 0) << index << ' ' << n;
        EXPECT_EQ(reports.take(), (lines{"md_tetras_ilut_set: illegal curve", "md_tetras_olut_set: illegal curve"}));
    }
    EXPECT_EQ(reports.refusal(md_tetras_ilut_set(table.get(), 2, 2, nullptr)), "md_tetras_ilut_set: illegal curve");
    Generator random(31);
    table.fill(random);
    check_depths(table, 70, 2, 3, false, random);
    Table step(1, 1, 2);  // rounds as near to a half as can be
    step.data[1] = 65535;
    step.set_out(0, {0, 1});
    EXPECT_EQ(step.at({32767}), Words{0});
    EXPECT_EQ(step.at({32768}), Words{1});
}

TEST(MdTetrasInterp, EqualsExactArithmeticRoundedOnceForRunsOfAnyLayout)
{
    Generator random(33);
    // The first ones have strides, indices or inputs that are more than vectors take.
    const std::array<int, 3> shapes[] = {{1, 1, 65536}, {1, 9, 40000}, {2, 3, 1000}, {3, 4, 129},
                                         {3, 3, 9},     {4, 4, 33},    {20, 1, 2},   {3, 30, 5}};
    for (int i = 0; i < 500; ++i) {
        const int any_n = 1 + i % 9, points = any_n == 1 ? 400 : any_n < 4 ? 20 : any_n < 5 ? 9 : any_n < 7 ? 2 : 1;
        const auto [n, m, r] = i < 24 ? shapes[i % 8] : std::array{any_n, 1 + i / 9 % 7, 2 + random.below(points)};
        Table table(n, m, r);
        table.fill(random);
        const int counts[] = {2, 3, 4, 7, 300, 65535, 65536}, input = random.below(n), output = random.below(m);
        Words curve(static_cast<std::size_t>(counts[random.below(7)]));
        random.fill(curve.data(), curve.size());
        if (i % 5 == 1)
            table.set_in(input, curve);
        if (i % 5 == 2)
            table.set_out(output, curve);
        if (i % 10 == 1)
            table.set_in(input, {});
        if (i % 10 == 2)
            table.set_out(output, {});
        const int any = random.below(9) - 4;
        const std::array<int, 3> layouts[] = {
            {random.below(200), n, m}, {random.below(200), 1, 1}, {64, any, any + 1}, {i % 2 - 1, 1, 1}};
        const auto [pixels, in_step, out_step] = layouts[random.below(4)];
        check_depths(table, pixels, in_step, out_step, random.below(4) == 0, random);
    }
}

TEST(MdTetrasInterp, GivesEveryVertexOfGridsThatDivideTheRange)
{
    Generator random(35);
    for (const auto &[n, r] : {std::pair{1, 65536}, {3, 18}, {6, 4}}) {
        const Table table(n, 2, r);
        table.fill(random);
        std::vector<int> coord(static_cast<std::size_t>(n));
        for (int left = md_tetras_get_nrpoints(table.get()); left-- > 0;) {
            Words in(coord.size());
            const unsigned short *vertex = md_tetras_vertex_get(table.get(), coord.data(), in.data());
            ASSERT_EQ(table.at(in), Words(vertex, vertex + 2)) << testing::PrintToString(in) << " of " << r;
            ASSERT_EQ(md_tetras_scan_vertex(table.get(), coord.data()), left);
        }
        EXPECT_EQ(coord, std::vector<int>(coord.size()));
    }
    const Table rounded(1, 1, 3);
    const int middle = 1;
    unsigned short sample = 0;
    EXPECT_EQ(md_tetras_vertex_get(rounded.get(), &middle, &sample), rounded.data + 1);
    EXPECT_EQ(sample, 32768);
}

TEST(MdTetrasFillDouble, RoundsEveryVertexToTheNearestSample)
{
    Reports reports;
    const Table table(2, 1, 2);
    const double values[] = {0, 1.0 / 3, 0.5, 2, -1, 0.25, 0.25, 0.25, 1}, bad[] = {0, 0, 0, HUGE_VAL};
    EXPECT_EQ(md_tetras_fill_double(table.get(), values, 0, 0, 1), 1);
    EXPECT_EQ(Words(table.data, table.data + 4), (Words{0, 21845, 32768, 65535}));
    EXPECT_EQ(md_tetras_fill_double(table.get(), values, 1, 1, 0), 1);
    EXPECT_EQ(Words(table.data, table.data + 4), (Words{65535, 43690, 0, 65535}));
    EXPECT_EQ(md_tetras_fill_double(table.get(), bad, 0, 0, 1), 0);
    EXPECT_EQ(md_tetras_fill_double(table.get(), values, 0, 3, 3), 0);
    EXPECT_EQ(reports.take(), (lines{"md_tetras_fill_double: illegal range", "md_tetras_fill_double: illegal value"}));
    EXPECT_EQ(Words(table.data, table.data + 4), (Words{65535, 43690, 0, 65535}));
}

}  // namespace
