// md_tetras_bench - conversion of 16-bit lines beside Little CMS and OpenColorIO, and our own ways beside each other,
// 17 points, one thread

#include "md_tetras.h"

#include "support/cap.h"
#include "support/lines.h"
#include "support/ocio_peer.h"
#include "support/pairs.h"
#include "support/peer.h"

#include "md_tetrab.h"
#include "mmd_tetras.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>

namespace
{

using bench::line_pixels;
using bench::Texture;
using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

constexpr int points = 17;
constexpr int tables = 3;

// Bytes to the whole range of 16 bits.
Words wide(const Bytes &bytes)
{
    Words words;
    for (const std::uint8_t byte : bytes)
        words.push_back(static_cast<std::uint16_t>(byte * 257));
    return words;
}

// Bytes of a line as the upper halves of words, with something below.
Words deep(const Bytes &bytes)
{
    std::mt19937 random(1);
    Words words;
    for (const std::uint8_t byte : bytes)
        words.push_back(static_cast<std::uint16_t>(byte << 8 | random() >> 24));
    return words;
}

// Pointers to the channels of an interleaved line.
template <class Sample>
std::vector<Sample *> channels(Sample *line, int count)
{
    std::vector<Sample *> result;
    for (int c = 0; c < count; ++c)
        result.push_back(line + c);
    return result;
}

// One line and one grid in all our tables; the set holds it three times.
struct Case {
    Case(int inputs, int outputs, Texture texture)
        : name(std::to_string(inputs) + " to " + std::to_string(outputs) + ", " + bench::name(texture)), n(inputs),
          m(outputs), grid(bench::make_grid(points, inputs, outputs)), bytes(bench::make_line(texture, inputs)),
          words(deep(bytes)), out(static_cast<std::size_t>(tables * line_pixels * outputs)), peer_out(out.size()),
          byte_out(out.size()), peer_byte_out(out.size()),
          table(md_tetras_new(inputs, outputs, points), md_tetras_kill),
          set(mmd_tetras_new(tables, inputs, outputs, points), mmd_tetras_kill)
    {
        const Words samples = wide(grid);
        std::memcpy(md_tetras_dataptr(table.get(), nullptr), samples.data(), 2 * samples.size());
        for (int k = 0; k < tables; ++k)
            std::memcpy(mmd_tetras_dataptr(set.get(), k, nullptr), samples.data(), 2 * samples.size());
        std::mt19937 random(2);
        for (int p = 0; p < line_pixels; ++p)
            tags.push_back(static_cast<std::uint8_t>(random() % tables));
    }

    void convert() const
    {
        const auto in = channels<const std::uint16_t>(words.data(), n);
        const auto to = channels(out.data(), m);
        md_tetras_interp(table.get(), in.data(), n, to.data(), m, line_pixels, nullptr, 0);
    }
    void convert_bytes() const
    {
        const auto in = channels<const std::uint8_t>(bytes.data(), n);
        const auto to = channels(byte_out.data(), m);
        md_tetras_interp_b(table.get(), in.data(), n, to.data(), m, line_pixels, nullptr, 0);
    }

    std::string name;
    int n, m;
    Bytes grid, bytes;
    Words words;
    mutable Words out, peer_out;
    mutable Bytes byte_out, peer_byte_out;
    std::unique_ptr<md_tetras, md_tetras *(*)(md_tetras *)> table;
    std::unique_ptr<mmd_tetras, mmd_tetras *(*)(mmd_tetras *)> set;
    Bytes tags;
};

// Both must do the same work: beyond the rounding of either side, results may only differ by the shape of the cells.
template <class Sample>
void check(const std::string &name, const std::vector<Sample> &ours, const std::vector<Sample> &theirs, int tolerance)
{
    for (std::size_t i = 0; i < ours.size(); ++i)
        if (std::abs(ours[i] - theirs[i]) > tolerance) {
            std::fprintf(stderr, "%s: sample %zu is %d here, %d there\n", name.c_str(), i, ours[i], theirs[i]);
            std::exit(1);
        }
}

constexpr int word_tolerance = 4 * 257;

void add_side(const std::string &name, teska::simd_level level, std::function<void()> run)
{
    benchmark::RegisterBenchmark(name.c_str(), [level, run = std::move(run)](benchmark::State &state) {
        const bench::Cap cap(level);
        for (auto _ : state) {
            run();
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * line_pixels);
    });
}

// The pair as the processor allows, and once more at each lower level.
void add_pair(const std::string &name, const std::function<void()> &ours, const std::function<void()> &peer)
{
    const std::pair<teska::simd_level, const char *> levels[] = {{teska::simd_level::avx512, ""},
                                                                 {teska::simd_level::avx2, " (AVX2)"},
                                                                 {teska::simd_level::v128, " (128 bits)"},
                                                                 {teska::simd_level::scalar, " (scalar)"}};
    for (const auto &[level, suffix] : levels) {
        if (level > teska::simd_available())
            continue;
        add_side(name + suffix + "/ours", level, ours);
        add_side(name + suffix + "/peer", level, peer);
    }
}

void add_lcms(int inputs, int outputs, Texture texture)
{
    const auto c = std::make_shared<Case>(inputs, outputs, texture);
    const auto peer = std::make_shared<bench::Peer>(inputs, outputs, points, c->grid, bench::Samples::words);
    const auto ours = [=] { c->convert(); };
    const auto theirs = [=] { peer->convert(c->words.data(), c->peer_out.data(), line_pixels); };
    ours();
    theirs();
    check(c->name, c->out, c->peer_out, word_tolerance);
    add_pair(c->name + ", Little CMS", ours, theirs);
}

void add_ocio(Texture texture)
{
    const auto c = std::make_shared<Case>(3, 3, texture);
    const auto peer = std::make_shared<bench::OcioPeer>(points, c->grid, bench::OcioPeer::Depth::words);
    const auto ours = [=] { c->convert(); };
    const auto theirs = [=] { peer->convert(c->words.data(), c->peer_out.data(), line_pixels); };
    ours();
    theirs();
    check(c->name, c->out, c->peer_out, word_tolerance);
    add_pair(c->name + ", OpenColorIO", ours, theirs);
}

// Bytes through grids of words beside bytes through grids of bytes.
void add_tetrab(int inputs, int outputs, Texture texture)
{
    const auto c = std::make_shared<Case>(inputs, outputs, texture);
    const std::shared_ptr<md_tetrab> peer(md_tetrab_new_special(inputs, outputs, points, 0, 255, 0), md_tetrab_kill);
    std::memcpy(md_tetrab_dataptr(peer.get(), nullptr), c->grid.data(), c->grid.size());
    const auto ours = [=] { c->convert_bytes(); };
    const auto theirs = [=] {
        auto in = channels(c->bytes.data(), inputs);
        auto to = channels(c->peer_byte_out.data(), outputs);
        md_tetrab_interp(peer.get(), in.data(), inputs, to.data(), outputs, line_pixels, nullptr, 0);
    };
    ours();
    theirs();
    check(c->name, c->byte_out, c->peer_byte_out, 3);
    add_pair(c->name + ", bytes, md_tetrab", ours, theirs);
}

// What the ways through a set cost in conversions by one table: the ratio is below 1.
void add_set(Texture texture)
{
    const auto c = std::make_shared<Case>(3, 3, texture);
    const auto one = [=] { c->convert(); };
    const auto in = channels<const std::uint16_t>(c->words.data(), 3);
    const auto to = channels(c->out.data(), 3);
    std::vector<std::uint16_t *> all;
    for (int k = 0; k < 3 * tables; ++k)
        all.push_back(c->out.data() + k / 3 * 3 * line_pixels + k % 3);
    add_pair(
        c->name + ", all 3 tables, one table",
        [=] { mmd_tetras_interp_all(c->set.get(), in.data(), 3, all.data(), 3, line_pixels); }, one);
    add_pair(
        c->name + ", table by tag, one table",
        [=] { mmd_tetras_interp_tag(c->set.get(), in.data(), 3, to.data(), 3, line_pixels, c->tags.data()); }, one);
    add_pair(
        c->name + ", blend of 2 tables, one table",
        [=] { mmd_tetras_interp_mix(c->set.get(), 0, 1, in.data(), 3, to.data(), 3, line_pixels, nullptr, 9999); },
        one);
}

}  // namespace

int main(int argc, char **argv)
{
    for (const Texture texture : {Texture::random, Texture::smooth}) {
        for (const auto &[inputs, outputs] : {std::pair{3, 3}, {4, 3}, {4, 4}}) {
            add_lcms(inputs, outputs, texture);
            add_tetrab(inputs, outputs, texture);
        }
        add_ocio(texture);
        add_set(texture);
    }
    return bench::run_pairs(argc, argv);
}
