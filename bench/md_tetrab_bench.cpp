// md_tetrab_bench - conversion of 8-bit lines beside Little CMS, 17 points, one thread

#include "md_tetrab.h"

#include "support/lines.h"
#include "support/pairs.h"
#include "support/peer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

private:
    md_tetrab *table_;
    int inputs_;
    int outputs_;
};

// One pair on one line.
struct Case {
    Case(int inputs, int outputs, Texture texture)
        : name(std::to_string(inputs) + " to " + std::to_string(outputs) + ", " + bench::name(texture)),
          grid(bench::make_grid(points, inputs, outputs)), line(bench::make_line(texture, inputs)),
          out(static_cast<std::size_t>(line_pixels * outputs)), ours(inputs, outputs, grid),
          peer(inputs, outputs, points, grid, bench::Samples::bytes)
    {
    }

    std::string name;
    Bytes grid;
    Bytes line;
    Bytes out;
    Ours ours;
    bench::Peer peer;
};

// Both must do the same work: beyond the rounding of either side, results may only differ by the shape of the cells.
void check(Case &c)
{
    constexpr int tolerance = 4;
    Bytes expected(c.out.size());
    c.peer.convert(c.line.data(), expected.data(), line_pixels);
    c.ours.convert(c.line, c.out);
    for (std::size_t i = 0; i < c.out.size(); ++i)
        if (std::abs(c.out[i] - expected[i]) > tolerance) {
            std::fprintf(stderr, "%s: sample %zu is %d here, %d there\n", c.name.c_str(), i, c.out[i], expected[i]);
            std::exit(1);
        }
}

void add(std::shared_ptr<Case> c)
{
    check(*c);
    benchmark::RegisterBenchmark((c->name + "/ours").c_str(), [c](benchmark::State &state) {
        for (auto _ : state) {
            c->ours.convert(c->line, c->out);
            benchmark::DoNotOptimize(c->out.data());
        }
        state.SetItemsProcessed(state.iterations() * line_pixels);
    });
    benchmark::RegisterBenchmark((c->name + "/peer").c_str(), [c](benchmark::State &state) {
        for (auto _ : state) {
            c->peer.convert(c->line.data(), c->out.data(), line_pixels);
            benchmark::DoNotOptimize(c->out.data());
        }
        state.SetItemsProcessed(state.iterations() * line_pixels);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    for (const auto &[inputs, outputs] : {std::pair{3, 3}, {4, 3}, {4, 4}})
        for (const Texture texture : {Texture::random, Texture::smooth})
            add(std::make_shared<Case>(inputs, outputs, texture));
    return bench::run_pairs(argc, argv);
}
