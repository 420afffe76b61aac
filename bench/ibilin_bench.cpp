// ibilin_bench - bilinear resampling of whole images beside OpenCV, one thread
//
// One item: a pixel of the destination. Components are interleaved on both sides. Where a source line gives one
// destination line at most, ours are written to their places in the image; where it can give more, they come through
// one line and the callback copies them. The peer centres pixels and averages four for halves; the work is alike.

#include "ibilin.h"

#include "support/cap.h"
#include "support/pairs.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{

constexpr int source_width = 1920;
constexpr int source_height = 1440;

// What the callback sees.
struct Target {
    std::uint8_t *row;
    std::size_t bytes;
    const void *line;  // null: lines are written to their rows
    int last_component;
};
Target target;

void consume(int component)
{
    if (component != target.last_component)
        return;
    if (target.line != nullptr)
        std::memcpy(target.row, target.line, target.bytes);
    target.row += target.bytes;
}

void feed(ibilin *record, int n, const std::uint8_t *in, std::uint8_t **out)
{
    if (n == 1)
        ibilin_mono_b(record, in, out);
    else
        ibilin_rgb_b(record, in, in + 1, in + 2, out, out + 1, out + 2);
}

void feed(ibilin *record, int n, const std::uint16_t *in, std::uint16_t **out)
{
    if (n == 1)
        ibilin_mono(record, in, out);
    else
        ibilin_rgb(record, in, in + 1, in + 2, out, out + 1, out + 2);
}

template <class Sample>
class Case
{
public:
    Case(int components, int numerator, int denominator)
        : n_(components), source_(source_height, source_width, type()),
          ours_(source_height * numerator / denominator, source_width * numerator / denominator, type()),
          peers_(ours_.size(), type()), record_(ibilin_new(0), ibilin_kill),
          line_(static_cast<std::size_t>(ours_.cols * n_))
    {
        // Slopes, so that centring makes little difference.
        for (int y = 0; y < source_height; ++y)
            for (int x = 0; x < source_width * n_; ++x)
                source_.ptr<Sample>(y)[x] = static_cast<Sample>(unit() * (20 + x / n_ / 16 + y / 16));
    }

    void resample_ours()
    {
        const bool direct = ours_.rows <= source_.rows;
        target = {ours_.data, ours_.step, direct ? nullptr : line_.data(), n_ - 1};
        ibilin_start(record_.get(), n_, source_.rows, source_.cols, ours_.rows, ours_.cols, consume, n_, n_);
        for (int y = 0; y < source_.rows; ++y) {
            Sample *const row = direct ? reinterpret_cast<Sample *>(target.row) : line_.data();
            Sample *outs[] = {row, row + 1, row + 2};
            feed(record_.get(), n_, source_.ptr<Sample>(y), outs);
        }
    }

    void resample_peers() { cv::resize(source_, peers_, peers_.size(), 0, 0, cv::INTER_LINEAR); }

    // Both must do the same work.
    void check(const std::string &name)
    {
        resample_ours();
        resample_peers();
        for (int y = 0; y < ours_.rows; ++y)
            for (int x = 0; x < ours_.cols * n_; ++x)
                if (std::abs(ours_.ptr<Sample>(y)[x] - peers_.ptr<Sample>(y)[x]) > 2 * unit()) {
                    std::fprintf(stderr, "%s: sample %d of line %d is %d here, %d there\n", name.c_str(), x, y,
                                 ours_.ptr<Sample>(y)[x], peers_.ptr<Sample>(y)[x]);
                    std::exit(1);
                }
    }

    long pixels() const { return static_cast<long>(ours_.total()); }

private:
    static int unit() { return sizeof(Sample) == 1 ? 1 : 256; }
    int type() const { return CV_MAKETYPE(sizeof(Sample) == 1 ? CV_8U : CV_16U, n_); }

    int n_;
    cv::Mat source_;
    cv::Mat ours_;
    cv::Mat peers_;
    std::unique_ptr<ibilin, int (*)(ibilin *)> record_;
    std::vector<Sample> line_;
};

template <class Sample>
void add(const std::string &title, int components, int numerator, int denominator)
{
    const auto c = std::make_shared<Case<Sample>>(components, numerator, denominator);
    c->check(title);
    for (const teska::simd_level level : {teska::simd_level::avx2, teska::simd_level::avx512}) {
        if (level > teska::simd_available())
            continue;
        const std::string name = title + (level == teska::simd_level::avx2 ? " (AVX2)" : "");
        for (const bool peer : {false, true})
            benchmark::RegisterBenchmark((name + (peer ? "/peer" : "/ours")).c_str(), [=](benchmark::State &state) {
                const bench::Cap cap(level);
                for (auto _ : state) {
                    peer ? c->resample_peers() : c->resample_ours();
                    benchmark::ClobberMemory();
                }
                state.SetItemsProcessed(state.iterations() * c->pixels());
            });
    }
}

}  // namespace

int main(int argc, char **argv)
{
    cv::setNumThreads(1);
    for (const int n : {1, 3})
        for (const auto &[name, numerator, denominator] : {std::tuple{"3/4", 3, 4}, {"3/2", 3, 2}, {"half", 1, 2}}) {
            const std::string rest =
                std::string(" to ") + name + ", " + std::to_string(n) + (n == 1 ? " component" : " components");
            add<std::uint8_t>("8-bit" + rest, n, numerator, denominator);
            add<std::uint16_t>("16-bit" + rest, n, numerator, denominator);
        }
    return bench::run_pairs(argc, argv);
}
