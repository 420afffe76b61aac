// fir_bench - filtering images beside OpenCV, one component, one thread
//
// One item: a pixel. Kernels come in two kinds: all coefficients below 0.5 in magnitude, and all from 0.5 to 2. Cases
// marked (AVX2) cap our instruction set, not the peer's.

#include "fir.h"

#include "Source/fir/fir_priv.h"
#include "support/cap.h"
#include "support/pairs.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/ocl.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int width = 2048;  // in all, what the cache holds
constexpr int height = 256;
constexpr double fixed_units = 65536.0;

// What the callback writes next.
void *next_line;
std::size_t line_bytes;

void advance(int) { next_line = static_cast<char *>(next_line) + line_bytes; }

template <class Sample>
struct Case {
    Case(int radius, bool small)
        : in(height, width), ours(height, width), peers(height, width), kernel(2 * radius + 1, 2 * radius + 1),
          filter(fir_new(radius, sizeof(Sample) == 1 ? 255 : 32767), fir_kill)
    {
        std::mt19937 random(static_cast<unsigned>(radius));
        for (Sample &sample : in)
            sample = static_cast<Sample>(random() >> (sizeof(Sample) == 1 ? 24 : 22));
        // Signs alternate, so that results stay in the range of the samples.
        std::uniform_real_distribution<> magnitude(small ? 0.1 : 0.5, small ? 0.49 : 2.0);
        double sign = 1;
        for (float &coefficient : kernel) {
            const double value = sign * magnitude(random) * (small ? 4.0 / kernel.cols : 1);
            coefficient = static_cast<float>(std::floor(value * fixed_units) / fixed_units);
            sign = -sign;
        }
        const std::vector<double> coefficients(kernel.begin(), kernel.end());
        teska::fir_set_kernel(filter.get(), coefficients.data());
    }

    void filter_ours()
    {
        fir_start(filter.get(), 1, height, width, advance, 1, 1);
        next_line = ours[0];
        line_bytes = width * sizeof(Sample);
        for (int y = 0; y < height; ++y)
            if constexpr (sizeof(Sample) == 1)
                fir_mono_b(filter.get(), in[y], reinterpret_cast<Sample **>(&next_line));
            else
                fir_mono(filter.get(), in[y], reinterpret_cast<Sample **>(&next_line));
    }

    void filter_peers() { cv::filter2D(in, peers, -1, kernel, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE); }

    // Both must do the same work; the peer rounds and calculates in single precision.
    void check()
    {
        filter_ours();
        filter_peers();
        const int r = kernel.cols / 2;
        for (int y = r; y < height - r; ++y)
            for (int x = r; x < width - r; ++x)
                if (std::abs(ours(y, x) - std::min<int>(peers(y, x), sizeof(Sample) == 1 ? 255 : 32767)) > 1) {
                    std::fprintf(stderr, "%d x %d at %d, %d: %d here, %d there\n", kernel.cols, kernel.cols, x, y,
                                 ours(y, x), peers(y, x));
                    std::exit(1);
                }
    }

    cv::Mat_<Sample> in;
    cv::Mat_<Sample> ours;
    cv::Mat_<Sample> peers;
    cv::Mat_<float> kernel;
    std::unique_ptr<fir, int (*)(fir *)> filter;
};

template <class Sample>
void add(const std::string &name, const std::shared_ptr<Case<Sample>> &c, teska::simd_level level)
{
    for (const bool peer : {false, true})
        benchmark::RegisterBenchmark((name + (peer ? "/peer" : "/ours")).c_str(), [=](benchmark::State &state) {
            const bench::Cap cap(level);
            for ([[maybe_unused]] auto _ : state) {
                peer ? c->filter_peers() : c->filter_ours();
                benchmark::ClobberMemory();
            }
            state.SetItemsProcessed(state.iterations() * width * height);
        });
}

template <class Sample>
void add_cases(const std::string &depth)
{
    for (const int radius : {1, 2, 5})
        for (const bool small : {true, false}) {
            const auto c = std::make_shared<Case<Sample>>(radius, small);
            c->check();
            const std::string size = std::to_string(2 * radius + 1);
            const std::string name = depth + " " + size + "x" + size + (small ? ", below 0.5" : ", any");
            add(name + " (AVX2)", c, teska::simd_level::avx2);
            add(name, c, teska::simd_level::avx512);
        }
}

}  // namespace

int main(int argc, char **argv)
{
    cv::setNumThreads(1);
    cv::ocl::setUseOpenCL(false);
    add_cases<std::uint8_t>("8-bit");
    add_cases<std::uint16_t>("16-bit");
    return bench::run_pairs(argc, argv);
}
