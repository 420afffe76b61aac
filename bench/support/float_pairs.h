// float_pairs - a table of floating-point values beside Little CMS, 17 points, one thread
//
// The peer converts the same points twice over: one by one through the grid, and as a line through a transform.

#ifndef BENCH_FLOAT_PAIRS_H
#define BENCH_FLOAT_PAIRS_H

#include "support/lines.h"
#include "support/pairs.h"
#include "support/peer.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace bench
{

constexpr int float_points = 17;

// Table: a constructor from inputs, outputs and a grid of float_points as make_grid gives it, divided by 255; and
// convert(in, out), which evaluates line_pixels interleaved points.
template <class Table>
class FloatCase
{
public:
    FloatCase(int inputs, int outputs, Texture texture)
        : name_(std::to_string(inputs) + " to " + std::to_string(outputs) + ", " + bench::name(texture)),
          ink_(inputs == 4 ? 100.0F : 1.0F), out_ink_(outputs == 4 ? 100.0F : 1.0F),
          out_(static_cast<std::size_t>(line_pixels * outputs)), peer_out_(out_.size()),
          peer_(inputs, outputs, float_points, make_grid(float_points, inputs, outputs), Samples::floats),
          table_(inputs, outputs, grid(inputs, outputs))
    {
        for (const std::uint8_t byte : make_line(texture, inputs)) {
            line_.push_back(byte / 255.0);
            peer_points_.push_back(static_cast<float>(line_.back()));
            peer_line_.push_back(peer_points_.back() * ink_);
        }
    }

    const std::string &name() const { return name_; }
    void ours() { table_.convert(line_.data(), out_.data()); }
    void peer_by_points() { peer_.evaluate(peer_points_.data(), peer_out_.data(), line_pixels); }
    void peer_as_line() { peer_.convert(peer_line_.data(), peer_out_.data(), line_pixels); }

    // All must do the same work: results differ by the shape of the cells.
    void check()
    {
        ours();
        peer_by_points();
        compare(1.0F);
        peer_as_line();
        compare(out_ink_);
    }

private:
    static std::vector<float> grid(int inputs, int outputs)
    {
        std::vector<float> values;
        for (const std::uint8_t byte : make_grid(float_points, inputs, outputs))
            values.push_back(static_cast<float>(byte) / 255.0F);
        return values;
    }

    void compare(float unit) const
    {
        constexpr double tolerance = 0.01;
        for (std::size_t i = 0; i < out_.size(); ++i)
            if (!(std::abs(out_[i] - static_cast<double>(peer_out_[i] / unit)) < tolerance)) {
                std::fprintf(stderr, "%s: sample %zu is %g here, %g there\n", name_.c_str(), i, out_[i],
                             static_cast<double>(peer_out_[i] / unit));
                std::exit(1);
            }
    }

    std::string name_;
    float ink_;
    float out_ink_;
    std::vector<double> line_;
    std::vector<float> peer_points_;
    std::vector<float> peer_line_;
    std::vector<double> out_;
    std::vector<float> peer_out_;
    Peer peer_;
    Table table_;
};

template <class Case>
void add_float_benchmark(const std::string &name, std::shared_ptr<Case> c, void (Case::*run)())
{
    benchmark::RegisterBenchmark(name.c_str(), [c, run](benchmark::State &state) {
        for (auto _ : state) {
            ((*c).*run)();
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * line_pixels);
    });
}

// The body of main.
template <class Table>
int run_float_pairs(int argc, char **argv)
{
    using Case = FloatCase<Table>;
    for (const auto &[inputs, outputs] : {std::pair{3, 3}, {4, 3}, {4, 4}})
        for (const Texture texture : {Texture::random, Texture::smooth}) {
            const auto c = std::make_shared<Case>(inputs, outputs, texture);
            c->check();
            const std::string names[] = {c->name() + ", peer by points", c->name() + ", peer as a line"};
            add_float_benchmark(names[0] + "/ours", c, &Case::ours);
            add_float_benchmark(names[0] + "/peer", c, &Case::peer_by_points);
            add_float_benchmark(names[1] + "/ours", c, &Case::ours);
            add_float_benchmark(names[1] + "/peer", c, &Case::peer_as_line);
        }
    return run_pairs(argc, argv);
}

}  // namespace bench

#endif
