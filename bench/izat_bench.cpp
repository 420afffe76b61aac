// izat_bench - whole images brought to another size, beside OpenCV, libswscale and libvips, one thread
//
// One item: a pixel of the destination. One component; our lines are written to their places in the image, and the
// callback says where the next one goes. When reducing, the cubic and Lanczos kernels of OpenCV keep their 4 and 8
// taps, while ours grow, as those of the other two do.

#include "izat.h"

#include "support/cap.h"
#include "support/pairs.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>
#include <vips/vips.h>

extern "C" {
#include <libswscale/swscale.h>
}

#include <algorithm>
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
constexpr int strip_lines = 16;

struct Ratio {
    const char *name;
    int numerator, denominator;
};
constexpr Ratio half{"1/2", 1, 2}, third{"1/3", 1, 3}, three_quarters{"3/4", 3, 4}, larger{"3/2", 3, 2},
    doubled{"2", 2, 1};

int feed(izat *record, const std::uint8_t *line, std::uint8_t **out) { return izat_line_b(record, line, out); }
int feed(izat *record, const std::uint16_t *line, std::uint16_t **out) { return izat_line(record, line, out); }
int feed(izoom *record, const std::uint8_t *line, std::uint8_t **out) { return izoom_line_b(record, line, out); }
int feed(izoom *record, const std::uint16_t *line, std::uint16_t **out) { return izoom_line(record, line, out); }

// Where our destination lines go.
template <class Sample>
struct Place {
    Sample *row;
    std::size_t width;

    static void advance(void *context, int)
    {
        auto *const own = static_cast<Place *>(context);
        own->row += own->width;
    }
};

template <class Sample>
class Case
{
public:
    explicit Case(Ratio ratio)
        : source_(source_height, source_width, type()),
          ours_(source_height * ratio.numerator / ratio.denominator, source_width * ratio.numerator / ratio.denominator,
                type()),
          peers_(ours_.size(), type())
    {
        // Slopes, so that the shapes of kernels make little difference.
        for (int y = 0; y < source_height; ++y)
            for (int x = 0; x < source_width; ++x)
                source_.ptr<Sample>(y)[x] = static_cast<Sample>(unit() * (20 + x / 16 + y / 16));
    }

    void resample_ours(izat *record)
    {
        izat_start(record, 1, source_.rows, source_.cols, ours_.rows, ours_.cols, Place<Sample>::advance, &place_, 1,
                   1);
        feed_all(record);
    }
    void resample_ours(izoom *record)
    {
        izoom_start(record, 1, source_.rows, source_.cols, ours_.rows, ours_.cols, Place<Sample>::advance, &place_, 1,
                    1);
        feed_all(record);
    }

    void resample_by_opencv(int method) { cv::resize(source_, peers_, peers_.size(), 0, 0, method); }

    void resample_by_swscale(int method)
    {
        const AVPixelFormat format = sizeof(Sample) == 1 ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_GRAY16;
        // Of the cubic kernels that of Catmull and Rom; 3 lobes.
        const double parameters[2] = {method == SWS_BICUBIC ? 0.0 : 3.0, 0.5};
        SwsContext *const context = sws_getContext(source_.cols, source_.rows, format, peers_.cols, peers_.rows, format,
                                                   method, nullptr, nullptr, parameters);
        const int from_step = static_cast<int>(source_.step), to_step = static_cast<int>(peers_.step);
        sws_scale(context, &source_.data, &from_step, 0, source_.rows, &peers_.data, &to_step);
        sws_freeContext(context);
    }

    // In strips on this thread: its own sinks work on others, whose time would not be seen.
    void resample_by_vips(int method)
    {
        const VipsBandFormat format = sizeof(Sample) == 1 ? VIPS_FORMAT_UCHAR : VIPS_FORMAT_USHORT;
        VipsImage *const from = vips_image_new_from_memory(
            source_.data, source_.step * static_cast<std::size_t>(source_.rows), source_.cols, source_.rows, 1, format);
        VipsImage *reduced = nullptr;
        const double factor = static_cast<double>(source_.cols) / peers_.cols;
        vips_reduce(from, &reduced, factor, factor, "kernel", method, nullptr);
        VipsRegion *const region = vips_region_new(reduced);
        for (VipsRect strip{0, 0, peers_.cols, strip_lines}; strip.top < peers_.rows; strip.top += strip_lines) {
            strip.height = std::min(strip_lines, peers_.rows - strip.top);
            vips_region_prepare(region, &strip);
            for (int y = strip.top; y < strip.top + strip.height; ++y)
                std::memcpy(peers_.ptr(y), VIPS_REGION_ADDR(region, 0, y), peers_.step);
        }
        g_object_unref(region);
        g_object_unref(reduced);
        g_object_unref(from);
    }

    // Both must have done the same work.
    void check(const std::string &name) const
    {
        for (int y = 0; y < ours_.rows; ++y)
            for (int x = 0; x < ours_.cols; ++x)
                if (std::abs(ours_.ptr<Sample>(y)[x] - peers_.ptr<Sample>(y)[x]) > 2 * unit()) {
                    std::fprintf(stderr, "%s: sample %d of line %d is %d here, %d there\n", name.c_str(), x, y,
                                 ours_.ptr<Sample>(y)[x], peers_.ptr<Sample>(y)[x]);
                    std::exit(1);
                }
    }

    long pixels() const { return static_cast<long>(ours_.total()); }

private:
    static int unit() { return sizeof(Sample) == 1 ? 1 : 256; }
    static int type() { return sizeof(Sample) == 1 ? CV_8UC1 : CV_16UC1; }

    template <class Record>
    void feed_all(Record *record)
    {
        place_ = {ours_.ptr<Sample>(0), static_cast<std::size_t>(ours_.cols)};
        for (int y = 0; y < source_.rows; ++y)
            feed(record, source_.ptr<Sample>(y), &place_.row);
    }

    cv::Mat source_;
    cv::Mat ours_;
    cv::Mat peers_;
    Place<Sample> place_{};
};

template <class Sample, class Record>
void add(std::string title, const std::shared_ptr<Record> &record, Ratio ratio, const char *peer_name,
         void (Case<Sample>::*method)(int), int argument)
{
    title = (sizeof(Sample) == 1 ? "8-bit " : "16-bit ") + title + " to " + ratio.name + ", " + peer_name;
    const auto c = std::make_shared<Case<Sample>>(ratio);
    c->resample_ours(record.get());
    ((*c).*method)(argument);
    c->check(title);
    for (const teska::simd_level level : {teska::simd_level::avx2, teska::simd_level::avx512}) {
        if (level > teska::simd_available())
            continue;
        const std::string name = title + (level == teska::simd_level::avx2 ? " (AVX2)" : "");
        for (const bool peer : {false, true})
            benchmark::RegisterBenchmark((name + (peer ? "/peer" : "/ours")).c_str(), [=](benchmark::State &state) {
                const bench::Cap cap(level);
                for (auto _ : state) {
                    if (peer)
                        ((*c).*method)(argument);
                    else
                        c->resample_ours(record.get());
                    benchmark::ClobberMemory();
                }
                state.SetItemsProcessed(state.iterations() * c->pixels());
            });
    }
}

template <class Sample>
void add_all()
{
    using Images = Case<Sample>;
    const auto zoom = [](int kernel) { return std::shared_ptr<izat>(izat_new(kernel), izat_kill); };
    const auto area = zoom(IZAT_AREA), cubic = zoom(IZAT_CATMULL_ROM), lanczos = zoom(IZAT_LANCZOS3);
    const std::shared_ptr<izoom> pick(izoom_new(), izoom_kill);

    for (const Ratio ratio : {half, third, three_quarters})
        add<Sample>("area", area, ratio, "OpenCV", &Images::resample_by_opencv, cv::INTER_AREA);
    for (const Ratio ratio : {half, larger}) {
        add<Sample>("Catmull-Rom", cubic, ratio, "OpenCV", &Images::resample_by_opencv, cv::INTER_CUBIC);
        add<Sample>("Lanczos-3", lanczos, ratio, "OpenCV", &Images::resample_by_opencv, cv::INTER_LANCZOS4);
        add<Sample>("Catmull-Rom", cubic, ratio, "libswscale", &Images::resample_by_swscale, SWS_BICUBIC);
        add<Sample>("Lanczos-3", lanczos, ratio, "libswscale", &Images::resample_by_swscale, SWS_LANCZOS);
    }
    for (const Ratio ratio : {half, three_quarters}) {
        add<Sample>("Catmull-Rom", cubic, ratio, "libvips", &Images::resample_by_vips, VIPS_KERNEL_CUBIC);
        add<Sample>("Lanczos-3", lanczos, ratio, "libvips", &Images::resample_by_vips, VIPS_KERNEL_LANCZOS3);
    }
    for (const Ratio ratio : {half, larger, doubled})
        add<Sample>("picks", pick, ratio, "OpenCV", &Images::resample_by_opencv, cv::INTER_NEAREST);
}

}  // namespace

int main(int argc, char **argv)
{
    cv::setNumThreads(1);
    if (VIPS_INIT(argv[0]) != 0)
        return 1;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    add_all<std::uint8_t>();
    add_all<std::uint16_t>();
    return bench::run_pairs(argc, argv);
}
