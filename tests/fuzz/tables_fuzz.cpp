// tables - the three kinds of grids with any arguments: which are refused, and points in runs against points alone
//
// An input is the kind, the arguments, the values of the grid over and over, and coordinates to the end. Runs go by the
// fastest loops of the processor, points alone by the plain ones.

#include "Kernels/kernels.h"
#include "support/owned_clut.h"

#include "error_mess.h"
#include "fuzz/target.h"
#include "md_tetrab.h"
#include "md_tetrad.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

using fuzz::expect;
using fuzz::Input;

namespace
{

using Bytes = std::vector<unsigned char>;
using Numbers = std::vector<double>;

constexpr double largest = 20000;  // values of a grid that is made
constexpr int points_max = 70;

// 0 .. 7 as a rule.
int small(Input &input)
{
    const int value = input.byte();
    return value < 240 ? value % 8 : input.integer();
}

template <class T, class Next>
void fill(T *values, int count, const Next &next)
{
    std::vector<T> pattern(static_cast<std::size_t>(std::min(count, 100)));
    std::generate(pattern.begin(), pattern.end(), next);
    for (int i = 0; i < count; ++i)
        values[i] = pattern[static_cast<std::size_t>(i) % pattern.size()];
}

// Also when both are no numbers; the others bit by bit.
template <class T>
bool same(const std::vector<T> &a, const std::vector<T> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](T one, T other) {
        return (one != one && other != other) || std::memcmp(&one, &other, sizeof one) == 0;
    });
}

// convert(in, out, count) for interleaved points: all at once, and one by one by the plain loops. Returns the results.
template <class T, class Next, class Convert>
std::vector<T> expect_runs(Input &input, int inputs, int outputs, const Next &next, const Convert &convert)
{
    const int count = std::min(points_max, 1 + static_cast<int>(input.left) / inputs);
    std::vector<T> in(static_cast<std::size_t>(count * inputs)), out(static_cast<std::size_t>(count * outputs));
    std::generate(in.begin(), in.end(), next);
    std::vector<T> alone = out;
    convert(in.data(), out.data(), count);
    const teska::simd_level before = teska::simd_limit(teska::simd_level::scalar);
    for (int p = 0; p < count; ++p)
        convert(in.data() + p * inputs, alone.data() + p * outputs, 1);
    teska::simd_limit(before);
    expect(same(out, alone));
    return out;
}

// The addresses of the first values of one point.
template <class T>
std::vector<T *> channels(T *point, int count)
{
    std::vector<T *> lines;
    for (int c = 0; c < count; ++c)
        lines.push_back(point + c);
    return lines;
}

// Whether there is a table, which is as its arguments say.
template <class Table>
bool expect_made(const Table &table, bool legal, double values)
{
    expect((table != nullptr) == (legal && values <= INT_MAX));
    return table != nullptr;
}

void bytes_table(Input &input)
{
    const int n = small(input), m = small(input), r = small(input), e = input.below(4) - 1;
    const bool usual = input.below(2) == 0;
    const int low = usual ? 0 : input.integer(), high = usual ? 255 : input.integer();
    const bool legal = n >= 1 && m >= 1 && r >= 2 && e >= 0 && 0 <= low && low < high && high <= 255;
    const double values = m * std::pow(1.0 * r + e, n);
    if (legal && values > largest && values <= INT_MAX)
        return;
    using Table = std::unique_ptr<md_tetrab, md_tetrab *(*)(md_tetrab *)>;
    const Table table(md_tetrab_new_special(n, m, r, low, high, e), md_tetrab_kill);
    if (!expect_made(table, legal, values))
        return;
    const auto next = [&] { return static_cast<unsigned char>(input.byte()); };
    int size = 0;
    unsigned char *const grid = md_tetrab_dataptr(table.get(), &size);
    fill(grid, size, next);
    expect(size == static_cast<int>(values) && md_tetrab_get_nrpoints(table.get()) == std::pow(r, n));
    if (input.below(2) == 0)
        fill(md_tetrab_ilutptr(table.get(), n - 1), 256, next);
    const auto convert = [&](md_tetrab *by, unsigned char *in, unsigned char *out, int count) {
        md_tetrab_interp(by, channels(in, n).data(), n, channels(out, m).data(), m, count, nullptr, 0);
    };
    expect_runs<unsigned char>(input, n, m, next,
                               [&](auto *in, auto *out, int count) { convert(table.get(), in, out, count); });

    const int finer = input.below(9);
    const Table expanded(md_tetrab_expand(table.get(), finer), md_tetrab_kill);
    expect((expanded != nullptr) == (finer >= 2));
    std::vector<int> at(static_cast<std::size_t>(n), 0);
    for (int left = 1, step = 0; finer >= 2 && left != 0 && step < 50; ++step) {
        Bytes in(at.size()), out(static_cast<std::size_t>(m));
        const unsigned char *vertex = md_tetrab_vertex_get(expanded.get(), at.data(), in.data());
        convert(table.get(), in.data(), out.data(), 1);
        expect((finer - 1) % (r - 1) == 0 || std::equal(out.begin(), out.end(), vertex));
        left = md_tetrab_scan_vertex(expanded.get(), at.data());
    }
}

void doubles_table(Input &input)
{
    const int n = small(input), m = small(input), r = small(input);
    const double lo = input.number(), hi = input.number(), values = m * std::pow(r + 1.0, n);
    const bool legal = n >= 1 && m >= 1 && r >= 2;
    if (legal && values > largest && values <= INT_MAX)
        return;
    const std::unique_ptr<md_tetrad, md_tetrad *(*)(md_tetrad *)> table(md_tetrad_new(n, m, r, lo, hi), md_tetrad_kill);
    if (!expect_made(table, legal, values))
        return;
    int size = 0;
    double *const grid = md_tetrad_dataptr(table.get(), &size);
    expect(size == static_cast<int>(values));
    fill(grid, size, [&] { return input.number(); });
    const auto convert = [&](double *in, double *out, int count) {
        md_tetrad_interp(table.get(), channels(in, n).data(), n, channels(out, m).data(), m, count);
    };
    expect_runs<double>(
        input, n, m, [&] { return input.number(); }, convert);

    // A vertex has its values, when those beside it are numbers and the way there is one.
    std::vector<int> at(static_cast<std::size_t>(n), input.below(r));
    Numbers in(at.size()), out(static_cast<std::size_t>(m));
    const double *vertex = md_tetrad_vertex_get(table.get(), at.data(), in.data());
    convert(in.data(), out.data(), 1);
    const bool plain = std::all_of(grid, grid + size, [](double v) { return std::isfinite(v); }) &&
                       std::isfinite(hi - lo) && std::fabs(lo) < 1e6 && std::fabs(hi - lo) > 1e-3;
    for (int c = 0; c < m && plain; ++c)
        expect(out[static_cast<std::size_t>(c)] == vertex[c]);
}

void floats_table(Input &input)
{
    const int n = input.below(18), m = input.below(6);
    Bytes counts(static_cast<std::size_t>(n));
    double values = m, nodes = 1;
    bool legal = true;
    for (int k = 0; k < n; ++k) {
        counts[static_cast<std::size_t>(k)] = static_cast<unsigned char>(small(input));
        const int count = counts[static_cast<std::size_t>(k)];
        legal = legal && (k >= 16 || count >= 2);
        values *= k < 16 ? count : 1;
        nodes *= k < 16 ? count : 1;
    }
    const double most = std::max(values, nodes);
    if (legal && most > largest && most < 0x1p32)
        return;
    std::vector<float> grid(static_cast<std::size_t>(legal && most <= largest ? values : 1));
    fill(grid.data(), static_cast<int>(grid.size()), [&] { return static_cast<float>(input.byte() - 60) / 128; });
    std::unique_ptr<teska_test::OwnedClut> table;
    try {
        table = std::make_unique<teska_test::OwnedClut>(counts, m, grid);
    } catch (const std::bad_alloc &) {
    }
    expect((table != nullptr) == (legal && most <= largest));
    if (table == nullptr || n == 0)
        return;
    const int inputs = std::min(n, 16);
    const auto convert = [&](double *in, double *out, int count) {
        for (int p = 0; p < count; ++p)
            table->Interpolate(out + p * m, in + p * inputs);
    };
    for (const double value : expect_runs<double>(
             input, inputs, m, [&] { return input.number(); }, convert))
        expect(!(value < 0 || value > 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    error_set(0);
    Input input{data, size};
    constexpr void (*kinds[])(Input &) = {bytes_table, doubles_table, floats_table};
    kinds[input.below(3)](input);
    return 0;
}
