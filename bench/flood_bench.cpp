// flood_bench - filling regions of 8-bit images beside OpenCV, one thread
//
// One item: a filled pixel. The peer sees the image; we ask and fill through the caller's functions. Either side fills
// its region back and forth between two values, so nothing has to be restored.

#include "flood.h"

#include "support/pairs.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/ocl.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace
{

constexpr int size = 1000;  // pixels each way
constexpr std::uint8_t wall = 255;

struct Picture {
    std::uint8_t *pixels;
    std::uint8_t from;
    std::uint8_t to;
    long filled;
};

int inside(void *user, int x, int y)
{
    const auto *p = static_cast<const Picture *>(user);
    return static_cast<unsigned>(x) < size && static_cast<unsigned>(y) < size && p->pixels[y * size + x] == p->from;
}

void fill(void *user, int first, int last, int y)
{
    auto *p = static_cast<Picture *>(user);
    std::memset(p->pixels + y * size + first, p->to, static_cast<std::size_t>(last - first + 1));
    p->filled += last - first + 1;
}

long tests = 0;

int counted_inside(void *user, int x, int y)
{
    ++tests;
    return inside(user, x, y);
}

struct Case {
    explicit Case(double obstacles) : ours(size, size, std::uint8_t{0})
    {
        std::mt19937 random(7);
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                if (static_cast<double>(random()) < obstacles * 4294967296.0)
                    ours(y, x) = wall;
        ours(size / 2, size / 2) = 0;
        peers = ours.clone();
    }

    long fill_ours(flood *record)
    {
        Picture picture{ours.data, value, static_cast<std::uint8_t>(1 - value), 0};
        flood_do(record, &picture, size / 2, size / 2);
        value = picture.to;
        return picture.filled;
    }

    long fill_peers()
    {
        peers_value = static_cast<std::uint8_t>(1 - peers_value);
        return cv::floodFill(peers, cv::Point(size / 2, size / 2), peers_value, nullptr, 0, 0, 4);
    }

    cv::Mat_<std::uint8_t> ours;
    cv::Mat_<std::uint8_t> peers;
    std::uint8_t value = 0;
    std::uint8_t peers_value = 0;
};

void add(const std::string &name, double obstacles)
{
    const auto c = std::make_shared<Case>(obstacles);
    flood *const counting = flood_new(counted_inside, fill);
    tests = 0;
    const long filled = c->fill_ours(counting);
    flood_kill(counting);
    if (filled != c->fill_peers() || std::memcmp(c->ours.data, c->peers.data, size * size) != 0) {
        std::fprintf(stderr, "%s: the peer fills other pixels\n", name.c_str());
        std::exit(1);
    }
    std::printf("%s: %ld pixels, %.3f inside tests a pixel\n", name.c_str(), filled,
                static_cast<double>(tests) / static_cast<double>(filled));
    benchmark::RegisterBenchmark((name + "/ours").c_str(), [c, filled](benchmark::State &state) {
        flood *const record = flood_new(inside, fill);
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize(c->fill_ours(record));
        flood_kill(record);
        state.SetItemsProcessed(state.iterations() * filled);
    });
    benchmark::RegisterBenchmark((name + "/peer").c_str(), [c, filled](benchmark::State &state) {
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize(c->fill_peers());
        state.SetItemsProcessed(state.iterations() * filled);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    cv::setNumThreads(1);
    cv::ocl::setUseOpenCL(false);
    add("open area", 0.0);
    add("35 % obstacles", 0.35);
    return bench::run_pairs(argc, argv);
}
