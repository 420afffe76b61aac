// md_tetrab_bench - conversion of 8-bit lines beside Little CMS, OpenColorIO and FFmpeg, 17 points, one thread

#include "md_tetrab.h"

#include "support/cap.h"
#include "support/ffmpeg_peer.h"
#include "support/lines.h"
#include "support/ocio_peer.h"
#include "support/pairs.h"
#include "support/peer.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

namespace
{

using bench::line_pixels;
using bench::Texture;
using Bytes = std::vector<std::uint8_t>;

constexpr int points = 17;

class Ours
{
public:
    Ours(int inputs, int outputs, const Bytes &grid)
        : table_(md_tetrab_new(inputs, outputs, points)), inputs_(inputs), outputs_(outputs)
    {
        // Our walk runs input 0 fastest, the grid's bytes the last one.
        int coord[4] = {};
        do {
            int vertex = 0;
            for (int d = 0; d < inputs; ++d)
                vertex = vertex * points + coord[d];
            std::memcpy(md_tetrab_vertex_get(table_, coord, nullptr), &grid[static_cast<std::size_t>(vertex * outputs)],
                        static_cast<std::size_t>(outputs));
        } while (md_tetrab_scan_vertex(table_, coord) != 0);
    }
    Ours(const Ours &) = delete;
    Ours &operator=(const Ours &) = delete;
    ~Ours() { md_tetrab_kill(table_); }

    void set_curves(Bytes in_curve, Bytes out_curve) const
    {
        unsigned char *in[] = {in_curve.data(), in_curve.data(), in_curve.data(), in_curve.data()};
        unsigned char *out[] = {out_curve.data(), out_curve.data(), out_curve.data(), out_curve.data()};
        md_tetrab_LUT(table_, in, out);
    }

    void convert(Bytes &in, Bytes &out) const
    {
        unsigned char *sources[4];
        unsigned char *targets[4];
        for (int d = 0; d < inputs_; ++d)
            sources[d] = in.data() + d;
        for (int c = 0; c < outputs_; ++c)
            targets[c] = out.data() + c;
        md_tetrab_interp(table_, sources, inputs_, targets, outputs_, line_pixels, nullptr, 0);
    }

    // Three planes of any length.
    void convert_planes(Bytes *in, Bytes *out) const
    {
        unsigned char *sources[] = {in[0].data(), in[1].data(), in[2].data()};
        unsigned char *targets[] = {out[0].data(), out[1].data(), out[2].data()};
        md_tetrab_interp(table_, sources, 1, targets, 1, static_cast<int>(in[0].size()), nullptr, 0);
    }

private:
    md_tetrab *table_;
    int inputs_;
    int outputs_;
};

// Both must do the same work: beyond the rounding of either side, results may only differ by the shape of the cells.
void check(const std::string &name, const Bytes &ours, const Bytes &theirs, int tolerance = 4)
{
    for (std::size_t i = 0; i < ours.size(); ++i)
        if (std::abs(ours[i] - theirs[i]) > tolerance) {
            std::fprintf(stderr, "%s: sample %zu is %d here, %d there\n", name.c_str(), i, ours[i], theirs[i]);
            std::exit(1);
        }
}

// One side at a level; an item is a pixel.
void add_side(const std::string &name, teska::simd_level level, int pixels, std::function<void()> run)
{
    benchmark::RegisterBenchmark(name.c_str(), [level, pixels, run = std::move(run)](benchmark::State &state) {
        const bench::Cap cap(level);
        for (auto _ : state) {
            run();
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * pixels);
    });
}

// The pair as the processor allows, and once more at each lower level that matters.
void add_pair(const std::string &name, int pixels, const std::function<void()> &ours, const std::function<void()> &peer)
{
    const std::pair<teska::simd_level, const char *> levels[] = {
        {teska::simd_level::avx512, ""}, {teska::simd_level::avx2, " (AVX2)"}, {teska::simd_level::v128, " (SSE4.1)"}};
    for (const auto &[level, suffix] : levels) {
        if (level > teska::simd_available())
            continue;
        add_side(name + suffix + "/ours", level, pixels, ours);
        add_side(name + suffix + "/peer", level, pixels, peer);
    }
}

// What all pairs on one interleaved line share.
struct Case {
    Case(int inputs, int outputs, Texture texture)
        : name(std::to_string(inputs) + " to " + std::to_string(outputs) + ", " + bench::name(texture)),
          grid(bench::make_grid(points, inputs, outputs)), line(bench::make_line(texture, inputs)),
          out(static_cast<std::size_t>(line_pixels * outputs)), peer_out(out.size()), ours(inputs, outputs, grid)
    {
    }

    std::string name;
    Bytes grid;
    Bytes line;
    Bytes out;
    Bytes peer_out;
    Ours ours;
};

void add_lcms(int inputs, int outputs, Texture texture, const std::string &title, const bench::PeerExtras &extras)
{
    const auto c = std::make_shared<Case>(inputs, outputs, texture);
    const auto peer = std::make_shared<bench::Peer>(inputs, outputs, points, c->grid, bench::Samples::bytes, extras);
    if (!extras.in_curve.empty())
        c->ours.set_curves(extras.in_curve, extras.out_curve);
    const auto ours = [=] { c->ours.convert(c->line, c->out); };
    const auto theirs = [=] { peer->convert(c->line.data(), c->peer_out.data(), line_pixels); };
    ours();
    theirs();
    check(c->name + title, c->out, c->peer_out);
    add_pair(c->name + title, line_pixels, ours, theirs);
}

void add_ocio(Texture texture)
{
    const auto c = std::make_shared<Case>(3, 3, texture);
    const auto peer = std::make_shared<bench::OcioPeer>(points, c->grid, bench::OcioPeer::Depth::bytes);
    const auto ours = [=] { c->ours.convert(c->line, c->out); };
    const auto theirs = [=] { peer->convert(c->line.data(), c->peer_out.data(), line_pixels); };
    ours();
    theirs();
    check(c->name + ", OpenColorIO", c->out, c->peer_out);
    add_pair(c->name + ", OpenColorIO", line_pixels, ours, theirs);
}

// Planes; an image of many lines, so that what the filter graph does for each does not count.
void add_ffmpeg(Texture texture, const std::string &interpolation)
{
    constexpr int lines = 16;
    const auto c = std::make_shared<Case>(3, 3, texture);
    const auto in = std::make_shared<std::vector<Bytes>>(3);
    for (int i = 0; i < lines * line_pixels * 3; ++i)
        (*in)[static_cast<std::size_t>(i % 3)].push_back(c->line[static_cast<std::size_t>(i) % c->line.size()]);
    const auto out = std::make_shared<std::vector<Bytes>>(*in);
    const auto peer = std::make_shared<bench::FfmpegPeer>(points, c->grid, interpolation, line_pixels, lines);
    peer->load((*in)[0], (*in)[1], (*in)[2]);
    const auto ours = [=] { c->ours.convert_planes(in->data(), out->data()); };
    const auto theirs = [=] { peer->convert(); };
    ours();
    theirs();
    const std::string name = c->name + ", FFmpeg " + interpolation;
    for (int channel = 0; channel < 3; ++channel)
        check(name, (*out)[static_cast<std::size_t>(channel)], peer->plane(channel));
    add_pair(name, lines * line_pixels, ours, theirs);
}

Bytes bent(double exponent)
{
    Bytes curve;
    for (int v = 0; v < 256; ++v)
        curve.push_back(static_cast<std::uint8_t>(std::lround(255 * std::pow(v / 255.0, exponent))));
    return curve;
}

}  // namespace

int main(int argc, char **argv)
{
    for (const Texture texture : {Texture::random, Texture::smooth}) {
        for (const auto &[inputs, outputs] : {std::pair{3, 3}, {4, 3}, {4, 4}})
            add_lcms(inputs, outputs, texture, ", Little CMS", {});
        add_lcms(3, 3, texture, ", curves, Little CMS", {.in_curve = bent(1.2), .out_curve = bent(0.8)});
        add_ocio(texture);
        add_ffmpeg(texture, "tetrahedral");
    }
    add_lcms(3, 3, Texture::graphics, ", Little CMS with cache", {.in_curve = {}, .out_curve = {}, .cache = true});
    return bench::run_pairs(argc, argv);
}
