// scaling_bench - evaluation of one object by two threads beside one thread
//
// "ours" are two threads, "peer" is one; the ratio is 2 when threads do not meet anywhere. It tells on an idle machine
// of two cores and more. One item: a pixel, a point or a colour. Where an object serves one image, each thread has one.

#include "support/devices.h"
#include "support/pairs.h"

#include "clut.h"
#include "convex_hull.h"
#include "ibilin.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "tconvexhull.h"
#include "ttriangulartopsurface.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int points = 17;
constexpr int items = 1024;

// One piece of work of `items` items. Each thread has its own, for what it writes to.
using Piece = std::function<void()>;
using MakePiece = std::function<Piece()>;

// Numbers 0 .. 1, the same for every piece.
std::vector<double> numbers(std::size_t n)
{
    std::mt19937 random(7);
    std::vector<double> result(n);
    std::generate(result.begin(), result.end(), [&] { return static_cast<double>(random()) * 0x1p-32; });
    return result;
}

// The other thread goes on until this one is done; both count what they did in the same time.
void run(benchmark::State &state, bool together, const MakePiece &make)
{
    const Piece mine = make();
    const Piece others = make();
    std::atomic<bool> begun = !together, over = false;
    long pieces = 0, other_pieces = 0;
    std::thread other;
    if (together)
        other = std::thread([&] {
            others();
            begun = true;
            for (; !over; ++other_pieces)
                others();
        });
    mine();
    while (!begun)
        std::this_thread::yield();
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) {
        mine();
        ++pieces;
    }
    over = true;
    if (other.joinable())
        other.join();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    state.counters["items_per_second"] = static_cast<double>((pieces + other_pieces) * items) / passed.count();
}

void add(const std::string &name, const MakePiece &make)
{
    benchmark::RegisterBenchmark((name + "/ours").c_str(), [=](benchmark::State &state) { run(state, true, make); });
    benchmark::RegisterBenchmark((name + "/peer").c_str(), [=](benchmark::State &state) { run(state, false, make); });
}

MakePiece tetrab()
{
    const std::shared_ptr<md_tetrab> table(md_tetrab_new(3, 4, points), md_tetrab_kill);
    int size;
    unsigned char *const data = md_tetrab_dataptr(table.get(), &size);
    std::generate(data, data + size, std::mt19937(1));
    return [=] {
        std::vector<unsigned char> in(3 * items), out(4 * items);
        std::generate(in.begin(), in.end(), std::mt19937(2));
        return [=]() mutable {
            unsigned char *ins[] = {in.data(), in.data() + 1, in.data() + 2};
            unsigned char *outs[] = {out.data(), out.data() + 1, out.data() + 2, out.data() + 3};
            md_tetrab_interp(table.get(), ins, 3, outs, 4, items, nullptr, 0);
        };
    };
}

MakePiece tetrad()
{
    const std::shared_ptr<md_tetrad> table(md_tetrad_new(3, 3, points, 0, 1), md_tetrad_kill);
    int size;
    double *const data = md_tetrad_dataptr(table.get(), &size);
    std::ranges::copy(numbers(static_cast<std::size_t>(size)), data);
    return [=] {
        return [=, in = numbers(3 * items), out = std::vector<double>(3 * items)]() mutable {
            double *ins[] = {in.data(), in.data() + 1, in.data() + 2};
            double *outs[] = {out.data(), out.data() + 1, out.data() + 2};
            md_tetrad_interp(table.get(), ins, 3, outs, 3, items);
        };
    };
}

// As the class says, a table stays until the end of the process.
MakePiece clut(int inputs, unsigned char grid)
{
    std::vector<unsigned char> counts(static_cast<std::size_t>(inputs), grid);
    std::vector<float> values;
    for (const double value : numbers(static_cast<std::size_t>(3 * std::pow(grid, inputs))))
        values.push_back(static_cast<float>(value));
    const auto table =
        std::make_shared<CLUT>(static_cast<unsigned char>(inputs), counts.data(), static_cast<unsigned char>(3),
                               static_cast<unsigned char>(0), values.data());
    return [=] {
        return [=, in = numbers(static_cast<std::size_t>(inputs * items))]() {
            double out[3];
            for (int i = 0; i < items; ++i) {
                table->Interpolate(out, in.data() + i * inputs);
                benchmark::DoNotOptimize(out);
            }
        };
    };
}

MakePiece bilinear()
{
    return [] {
        constexpr int side = 32;
        static_assert(side * side == items);
        const std::shared_ptr<ibilin> record(ibilin_new(0), ibilin_kill);
        return [=, in = std::vector<unsigned char>(3 * side * 3 / 2, 100),
                out = std::vector<unsigned char>(3 * side)]() mutable {
            ibilin_start(
                record.get(), 3, side * 3 / 2, side * 3 / 2, side, side, [](int) {}, 3, 3);
            unsigned char *outs[] = {out.data(), out.data() + 1, out.data() + 2};
            for (int y = 0; y < side * 3 / 2; ++y)
                ibilin_rgb_b(record.get(), in.data(), in.data() + 1, in.data() + 2, &outs[0], &outs[1], &outs[2]);
        };
    };
}

// Colours on a sphere of Lab, and asked for all over its box.
std::vector<double> colours(std::size_t n, bool on_the_sphere)
{
    std::vector<double> result = numbers(3 * n);
    for (std::size_t i = 0; i < result.size(); i += 3) {
        double *const p = &result[i];
        std::transform(p, p + 3, p, [](double x) { return 100 * x - 50; });
        const double radius = on_the_sphere ? std::hypot(p[0], p[1], p[2]) / 50 : 1;
        std::transform(p, p + 3, p, [radius](double x) { return x / radius; });
    }
    return result;
}

MakePiece inside()
{
    const auto hull = std::make_shared<TConvexHull>();
    const std::vector<double> on = colours(300, true);
    for (std::size_t i = 0; i < on.size(); i += 3)
        hull->AddPoint(on[i], on[i + 1], on[i + 2]);
    hull->Construct();
    return [=] {
        return [=, in = colours(items, false)] {
            for (std::size_t i = 0; i < in.size(); i += 3)
                benchmark::DoNotOptimize(hull->InsideHull(in[i], in[i + 1], in[i + 2]));
        };
    };
}

MakePiece nearest()
{
    const std::shared_ptr<convex_hull> hull(convex_hull_new(), convex_hull_kill);
    convex_hull_add_points(hull.get(), colours(300, true).data(), 300);
    convex_hull_construct(hull.get());
    return [=] {
        return [=, in = colours(items, false)] {
            double found[3], dist;
            for (std::size_t i = 0; i < in.size(); i += 3) {
                convex_hull_nearest(hull.get(), &in[i], found, &dist, nullptr, nullptr);
                benchmark::DoNotOptimize(found);
            }
        };
    };
}

MakePiece top_surface()
{
    const auto device = std::make_shared<examples::device>(examples::printer("CMYK"));
    const double ramp[] = {1, 0.75, 0.5, 0.25, 0};
    const double *levels[] = {ramp, ramp, ramp, ramp};
    const int counts[] = {5, 5, 5, 5};
    const auto top =
        std::make_shared<TTriangularTopSurface>(4, levels, counts, device.get(), 0, examples::device::answer, 91, 91);
    return [=] {
        std::vector<double> in = colours(items, false);
        for (std::size_t i = 0; i < in.size(); i += 3)
            in[i] += 60;
        return [=, held = device, out = std::vector<double>(3 * items)]() mutable {
            benchmark::DoNotOptimize(top->DetermineNormCoord(in.data(), out.data(), nullptr, items));
        };
    };
}

}  // namespace

int main(int argc, char **argv)
{
    add("md_tetrab, 3 to 4", tetrab());
    add("md_tetrad, 3 to 3", tetrad());
    add("CLUT, 3 to 3", clut(3, points));
    add("CLUT, 7 to 3", clut(7, 4));
    add("ibilin, an object each", bilinear());
    add("TConvexHull::InsideHull", inside());
    add("convex_hull_nearest", nearest());
    add("top surface, to normalised coordinates", top_surface());
    return bench::run_pairs(argc, argv);
}
