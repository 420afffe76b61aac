// topsurface_bench - what it takes to find the top surface of a press and to convert colours with it; there is no peer
//
// Construction is timed with the callback's share in it; "callback" tells what that is: the same number of calls alone.

#include "support/devices.h"

#include "ttriangulartopsurface.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace
{

constexpr int steps = 181;

struct Press {
    Press(const char *inks, int count) : model(examples::printer(inks))
    {
        for (int i = 0; i < count; ++i)
            axis.push_back(1.0 - static_cast<double>(i) / (count - 1));
        levels.assign(static_cast<std::size_t>(model.colorants), axis.data());
        counts.assign(levels.size(), count);
    }
    TTriangularTopSurface surface()
    {
        return {model.colorants, levels.data(), counts.data(), this, 0, answer, steps, steps};
    }
    static int answer(void *self, const double *device, double *lab)
    {
        auto *press = static_cast<Press *>(self);
        ++press->calls;
        return examples::device::answer(&press->model, device, lab);
    }

    examples::device model;
    std::vector<double> axis;
    std::vector<const double *> levels;
    std::vector<int> counts;
    long calls = 0;
};

void construct(benchmark::State &state, const char *inks)
{
    Press press(inks, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        press.calls = 0;
        TTriangularTopSurface top = press.surface();
        benchmark::DoNotOptimize(top.ErrNo());
    }
    state.counters["calls"] = static_cast<double>(press.calls);
}

void callback(benchmark::State &state, const char *inks)
{
    Press press(inks, 2);
    std::vector<double> device(press.counts.size(), 0.3);
    double lab[3];
    for (auto _ : state) {
        Press::answer(&press, device.data(), lab);
        benchmark::DoNotOptimize(lab);
    }
}

using Convert = int (TTriangularTopSurface::*)(const double *, double *, double *, int);

void convert(benchmark::State &state, const char *inks, int levels, Convert method)
{
    constexpr int colours = 10000;
    Press press(inks, levels);
    TTriangularTopSurface top = press.surface();
    std::vector<double> xyz(3 * colours), norm(xyz.size()), penalty(colours);
    for (std::size_t i = 0; i < xyz.size(); i += 3) {
        const auto k = static_cast<double>(i);
        xyz[i] = 20.0 + 0.002 * k;
        xyz[i + 1] = static_cast<double>(i * 7919 % 60) - 30.0;
        xyz[i + 2] = static_cast<double>(i * 104729 % 70) - 35.0;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize((top.*method)(xyz.data(), norm.data(), penalty.data(), colours));
    state.SetItemsProcessed(state.iterations() * colours);
}

void edge(benchmark::State &state, const char *inks, int levels)
{
    Press press(inks, levels);
    const TTriangularTopSurface fresh = press.surface();
    for (auto _ : state) {
        TTriangularTopSurface top(fresh);
        double teta = 0.0, height = 0.0;
        benchmark::DoNotOptimize(top.UmbrellaEdge(1.0, &teta, &height));
    }
}

BENCHMARK_CAPTURE(construct, CMYK, "CMYK")->Arg(3)->Arg(6)->Arg(11)->Arg(17)->Arg(33)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(construct, CMYKO, "CMYKO")->Arg(6)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(construct, CMYKOG, "CMYKOG")->Arg(6)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(construct, CMYKOGV, "CMYKOGV")->Arg(6)->Arg(11)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(construct, CMYKcm, "CMYKcm")->Arg(6)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(callback, CMYK, "CMYK");
BENCHMARK_CAPTURE(callback, CMYKOGV, "CMYKOGV");
BENCHMARK_CAPTURE(edge, CMYK, "CMYK", 11)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(edge, CMYKOGV, "CMYKOGV", 6)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convert, norm_CMYK, "CMYK", 11, &TTriangularTopSurface::DetermineNormCoord);
BENCHMARK_CAPTURE(convert, norm_CMYKOGV, "CMYKOGV", 6, &TTriangularTopSurface::DetermineNormCoord);
BENCHMARK_CAPTURE(convert, xyz_CMYK, "CMYK", 11, &TTriangularTopSurface::DetermineXYZ);
BENCHMARK_CAPTURE(convert, smaller_CMYK, "CMYK", 11, &TTriangularTopSurface::DetermineNormCoordMinGam);

}  // namespace

BENCHMARK_MAIN();
