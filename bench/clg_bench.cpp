// clg_bench - building the model of a cloud beside the Delaunay tiling by Qhull
//
// One item: a point. Ours makes the cloud from its first pair and builds everything that queries use, the tiling, the
// surface and the trees of boxes; the peer makes the tiling alone, for the plain length. Device values are random, or
// those of a grid; colours are a smooth function of them.

#include "clg.h"

#include "support/pairs.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <libqhull_r/libqhull_r.h>
}

namespace
{

struct Case {
    std::string name;
    int channels;
    std::vector<double> device;

    [[nodiscard]] int points() const { return static_cast<int>(device.size()) / channels; }

    [[nodiscard]] std::unique_ptr<clg, clg *(*)(clg *)> ours() const
    {
        std::unique_ptr<clg, clg *(*)(clg *)> made(clg_new(channels, channels, 0.0, 1.0), clg_kill);
        for (std::size_t i = 0; i < device.size(); i += static_cast<std::size_t>(channels)) {
            const double *const d = &device[i];
            const double k = channels == 4 ? d[3] : 0.0;
            const double colour[3] = {100 * (1 - d[0] * 0.4 - d[1] * 0.5 - d[2] * d[2] * 0.1) * (1 - 0.9 * k),
                                      80 * (d[1] - d[0] + 0.1 * d[1] * d[2]) * (1 - k),
                                      90 * (d[2] - 0.5 * d[0] + 0.2 * d[0] * d[1]) * (1 - k)};
            clg_add(made.get(), d, colour);
        }
        if (clg_build(made.get()) != 0)
            std::exit(1);
        return made;
    }

    // The number of cells.
    [[nodiscard]] int peer() const
    {
        char options[] = "qhull d Qbb";
        std::vector<double> copy = device;
        qhT qh;
        qh_zero(&qh, nullptr);
        if (qh_new_qhull(&qh, channels, points(), copy.data(), 0, options, nullptr, stderr) != 0)
            std::exit(1);
        int cells = 0;
        for (const facetT *f = qh.facet_list; f != nullptr && f->next != nullptr; f = f->next)
            cells += f->upperdelaunay ? 0 : 1;
        qh_freeqhull(&qh, !qh_ALL);
        int current = 0;
        int total = 0;
        qh_memfreeshort(&qh, &current, &total);
        return cells;
    }
};

std::shared_ptr<Case> random_case(int points, int channels)
{
    auto c = std::make_shared<Case>();
    c->name = std::to_string(points) + " random points, " + std::to_string(channels) + " channels";
    c->channels = channels;
    std::mt19937 random(static_cast<unsigned>(points));
    for (int i = 0; i < points * channels; ++i)
        c->device.push_back(static_cast<double>(random() >> 16) / 65535.0);
    return c;
}

template <class Run>
void add(const std::string &name, const Case &c, Run run)
{
    const int items = c.points();
    auto *const added = benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        for (auto _ : state)
            run();
        state.SetItemsProcessed(state.iterations() * items);
    });
    // Seconds each.
    if (c.channels == 4 && items > 10000)
        added->Repetitions(3);
}

}  // namespace

int main(int argc, char **argv)
{
    const struct {
        int points, channels;
    } sizes[] = {{729, 3}, {20000, 3}, {1485, 4}, {20000, 4}};
    for (const auto &size : sizes) {
        const auto c = random_case(size.points, size.channels);
        add("build, " + c->name + "/ours", *c, [=] { benchmark::DoNotOptimize(clg_num_cells(c->ours().get())); });
        add("build, " + c->name + "/peer", *c, [=] { benchmark::DoNotOptimize(c->peer()); });
    }
    return bench::run_pairs(argc, argv);
}
