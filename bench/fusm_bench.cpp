// fusm_bench - unsharp masking beside OpenCV's GaussianBlur and addWeighted, one thread
//
// One item: a sample. Both sides add to each sample its difference to a mean over 5 by 5 samples (radius 0: 3 by 3).
// The peer sees the whole image, we are fed line by line. Cases marked (AVX2) cap our instruction set; the
// peer always takes what it finds.

#include "fusm.h"

#include "Kernels/kernels.h"
#include "support/pairs.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/ocl.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <utility>

namespace
{

constexpr int width = 2048;
constexpr int height = 256;

struct Settings {
    const char *name;
    int depth;  // CV_8U or CV_16U
    int channels;
    int radius;
    double noise;
    bool levels;
};

// Where finished lines go.
std::uint8_t *next_line[3];
std::ptrdiff_t line_bytes;

void move_on(int k) { next_line[k] += line_bytes; }

template <class Sample>
int feed(fusm *f, Sample **in, Sample **out)
{
    if constexpr (sizeof(Sample) == 1)
        return fusm_b_do(f, in, out, nullptr);
    else
        return fusm_do(f, in, out, nullptr);
}

class Case
{
public:
    explicit Case(const Settings &settings)
        : s_(settings), top_(s_.depth == CV_8U ? 255 : 65535),
          image_(height, width, CV_MAKETYPE(s_.depth, s_.channels)), ours_(image_.clone()),
          filter_(fusm_new(s_.radius, top_, s_.channels, s_.channels, nullptr, nullptr), fusm_kill)
    {
        // The mean of the peer is that of our window, when our strength makes up for the sum of its weights.
        const double strength = s_.radius == 2 ? 0.5 : 0.25;
        const double strengths[] = {strength, strength, strength};
        const double noise[] = {s_.noise, s_.noise, s_.noise};
        fusm_stren_set(filter_.get(), strengths);
        fusm_noise_red_set(filter_.get(), noise);
        const double levels[] = {0, 0, 0, 1, 1, 1};
        const double factors[] = {1, 1, 1, 0.5, 0.5, 0.5};
        if (s_.levels)
            fusm_level_red_set(filter_.get(), 2, s_.channels == 3 ? levels : levels + 2,
                               s_.channels == 3 ? factors : factors + 2);
        draw();
    }

    // Gradients, edges and grain.
    void draw()
    {
        std::mt19937 random(72);
        std::normal_distribution<> grain(0, 0.02);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width * s_.channels; ++x) {
                const double slope = 0.5 + 0.3 * std::sin(x * 0.01) * std::cos(y * 0.03);
                const double value = slope + ((x / 97 + y / 31) % 2 == 0 ? 0.1 : -0.1) + grain(random);
                const auto sample = static_cast<int>(std::lround(top_ * std::min(std::max(value, 0.0), 1.0)));
                if (s_.depth == CV_8U)
                    image_.ptr<std::uint8_t>(y)[x] = static_cast<std::uint8_t>(sample);
                else
                    image_.ptr<std::uint16_t>(y)[x] = static_cast<std::uint16_t>(sample);
            }
    }

    template <class Sample>
    void sharpen()
    {
        line_bytes = static_cast<std::ptrdiff_t>(ours_.step[0]);
        for (int k = 0; k < s_.channels; ++k)
            next_line[k] = reinterpret_cast<std::uint8_t *>(ours_.ptr<Sample>(0) + k);
        fusm_start(filter_.get(), height, width, move_on, s_.channels, 0, s_.channels);
        for (int y = 0; y < height; ++y) {
            Sample *in[3];
            Sample *out[3];
            for (int k = 0; k < s_.channels; ++k) {
                in[k] = image_.ptr<Sample>(y) + k;
                out[k] = reinterpret_cast<Sample *>(next_line[k]);
            }
            // Only the last call hands over several lines, which then fall on each other.
            feed(filter_.get(), in, out);
        }
    }

    void run_ours()
    {
        if (s_.depth == CV_8U)
            sharpen<std::uint8_t>();
        else
            sharpen<std::uint16_t>();
    }

    void run_peer()
    {
        const int side = s_.radius == 0 ? 3 : 5;
        cv::GaussianBlur(image_, blurred_, cv::Size(side, side), 0, 0, cv::BORDER_REPLICATE);
        cv::addWeighted(image_, 2.0, blurred_, -1.0, 0, theirs_);
    }

    // Both must do comparable work, although the weights of their windows differ.
    void require_likeness()
    {
        run_ours();
        run_peer();
        const cv::Rect inner(8, 8, width - 16, height - 16);
        const double ours = cv::norm(ours_(inner), image_(inner), cv::NORM_L1);
        const double theirs = cv::norm(theirs_(inner), image_(inner), cv::NORM_L1);
        if (!(ours > theirs * 0.1 && ours < theirs * 4)) {
            std::fprintf(stderr, "%s: not the same work, changes of %g and %g\n", s_.name, ours, theirs);
            std::exit(1);
        }
    }

private:
    Settings s_;
    int top_;
    cv::Mat image_;
    cv::Mat ours_;
    cv::Mat theirs_;
    cv::Mat blurred_;
    std::unique_ptr<fusm, int (*)(fusm *)> filter_;
};

void add(const std::string &name, const std::shared_ptr<Case> &c, void (Case::*run)(), teska::simd_level level,
         std::int64_t items)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        const teska::simd_level before = teska::simd_limit(level);
        for (auto _ : state) {
            ((*c).*run)();
            benchmark::ClobberMemory();
        }
        teska::simd_limit(before);
        state.SetItemsProcessed(state.iterations() * items);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    cv::setNumThreads(1);
    cv::ocl::setUseOpenCL(false);
    // "Any table" has coring, which no single multiplication gives. Bytes need more noise for that: at this strength
    // the table of 0.05 is, rounded down, the one without coring.
    for (const Settings &s : {Settings{"8 bits, radius 1, no coring", CV_8U, 1, 1, 0, false},
                              {"8 bits, radius 1, any table", CV_8U, 1, 1, 0.2, false},
                              {"8 bits, radius 1, any table, levels", CV_8U, 1, 1, 0.2, true},
                              {"8 bits, radius 1, 3 interleaved", CV_8U, 3, 1, 0, false},
                              {"8 bits, radius 0, no coring", CV_8U, 1, 0, 0, false},
                              {"8 bits, radius 2, no coring", CV_8U, 1, 2, 0, false},
                              {"16 bits, radius 1, no coring", CV_16U, 1, 1, 0, false},
                              {"16 bits, radius 1, any table", CV_16U, 1, 1, 0.05, false},
                              {"16 bits, radius 1, any table, levels", CV_16U, 1, 1, 0.05, true}}) {
        const auto c = std::make_shared<Case>(s);
        c->require_likeness();
        const std::int64_t items = std::int64_t{width} * height * s.channels;
        for (const auto &[mark, level] :
             {std::pair{"", teska::simd_level::avx512}, {" (AVX2)", teska::simd_level::avx2}}) {
            add(std::string(s.name) + mark + "/ours", c, &Case::run_ours, level, items);
            add(std::string(s.name) + mark + "/peer", c, &Case::run_peer, level, items);
        }
    }
    return bench::run_pairs(argc, argv);
}
