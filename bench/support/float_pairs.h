// float_pairs - points through a table of floating-point values, 17 points, beside a peer, one thread

#ifndef BENCH_FLOAT_PAIRS_H
#define BENCH_FLOAT_PAIRS_H

#include "support/cap.h"
#include "support/lines.h"
#include "support/pairs.h"
#include "support/peer.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace bench
{

constexpr int float_points = 17;

// Both sides of one table and one line; all values 0 .. 1.
struct FloatCase {
    FloatCase(int inputs, int outputs, Texture texture)
        : name(std::to_string(inputs) + " to " + std::to_string(outputs) + ", " + bench::name(texture)),
          grid(make_grid(float_points, inputs, outputs)), out(static_cast<std::size_t>(line_pixels * outputs)),
          peer_out(out.size())
    {
        for (const std::uint8_t byte : make_line(texture, inputs)) {
            line.push_back(byte / 255.0);
            peer_line.push_back(static_cast<float>(line.back()));
        }
    }

    [[nodiscard]] std::vector<float> values() const
    {
        std::vector<float> result;
        for (const std::uint8_t byte : grid)
            result.push_back(static_cast<float>(byte) / 255.0F);
        return result;
    }

    std::string name;
    std::vector<std::uint8_t> grid;
    std::vector<double> line;
    std::vector<double> out;
    std::vector<float> peer_line;
    std::vector<float> peer_out;
};

// Both must do the same work: results only differ by the shape of the cells.
template <class Theirs>
void compare(const std::string &name, const std::vector<double> &ours, const std::vector<Theirs> &theirs,
             double unit = 1.0)
{
    constexpr double tolerance = 0.01;
    for (std::size_t i = 0; i < ours.size(); ++i)
        if (!(std::abs(ours[i] - static_cast<double>(theirs[i]) / unit) < tolerance)) {
            std::fprintf(stderr, "%s: sample %zu is %g here, %g there\n", name.c_str(), i, ours[i],
                         static_cast<double>(theirs[i]) / unit);
            std::exit(1);
        }
}

// One side at a level; an item is a point.
inline void add_side(const std::string &name, teska::simd_level level, std::function<void()> run)
{
    benchmark::RegisterBenchmark(name.c_str(), [level, run = std::move(run)](benchmark::State &state) {
        const Cap cap(level);
        for (auto _ : state) {
            run();
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * line_pixels);
    });
}

// The pair as the processor allows, and once more with AVX2 at most.
inline void add_pair(const std::string &name, const std::function<void()> &ours, const std::function<void()> &peer)
{
    for (const teska::simd_level level : {teska::simd_level::avx512, teska::simd_level::avx2}) {
        if (level > teska::simd_available())
            continue;
        const std::string title = name + (level == teska::simd_level::avx2 ? " (AVX2)" : "");
        add_side(title + "/ours", level, ours);
        add_side(title + "/peer", level, peer);
    }
}

}  // namespace bench

#endif
