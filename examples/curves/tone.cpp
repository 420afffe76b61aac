// tone - a photograph through a gradation table, and its histograms

#include "support/failure.h"
#include "support/foreign.h"

#include "curves/job.h"
#include "grad_tab.h"
#include "hist.h"
#include "rdither.h"

#include <algorithm>
#include <cmath>

namespace examples
{

namespace
{

constexpr int brightest = 255;
constexpr double same_level = 1e-9;
constexpr int levels_left = 4;
constexpr int magnification = 3;
constexpr int part_width = 176;
constexpr int part_height = 128;

using table = foreign<grad_tab, grad_tab_kill>;

void require(bool success, const char *what)
{
    if (!success)
        throw failure(what);
}

// ---- A tone curve ---------------------------------------------------------------------------------------------------

void save(const std::vector<xy> &points, const std::string &file)
{
    const table made(grad_tab_new(file.c_str(), 1, brightest, 0));
    require(made != nullptr, "cannot make the tone table");
    for (const xy &p : points) {
        const double pair[] = {p.x, p.y};
        require(grad_tab_add_point(made.get(), pair) == 0, "the tone table takes no more points");
    }
    require(grad_tab_save(made.get()) == 0, "cannot save the tone table");
}

std::vector<xy> listed(grad_tab *g)
{
    std::vector<xy> points;
    int cursor = 0;
    double pair[2];
    while (grad_tab_list(g, &cursor, pair) != nullptr)
        points.push_back({pair[0], pair[1]});
    std::sort(points.begin(), points.end(), [](const xy &a, const xy &b) { return a.x < b.x; });
    return points;
}

using conversion = int (*)(grad_tab *, const double *, int, double *, int, int);

std::vector<xy> sampled(grad_tab *g, conversion run)
{
    std::vector<xy> samples;
    for (int v = 0; v <= brightest; ++v)
        samples.push_back({static_cast<double>(v), static_cast<double>(v)});
    require(run(g, &samples[0].x, 2, &samples[0].y, 2, brightest + 1) == 0, "the tone table has no value");
    return samples;
}

// Straight lines can be inverted but for rounding.
void require_inverse(grad_tab *g)
{
    for (const xy &sample : sampled(g, grad_tab_do)) {
        double back = 0;
        require(grad_tab_do_inv(g, &sample.y, 1, &back, 1, 1) == 0 && std::fabs(back - sample.x) < same_level,
                "a level does not come back through curve and inverse");
    }
}

picture converted(grad_tab *g, const picture &photograph)
{
    picture toned = photograph;
    std::vector<double> values(photograph.samples.begin(), photograph.samples.end());
    require(grad_tab_do(g, values.data(), 1, values.data(), 1, static_cast<int>(values.size())) == 0,
            "the tone table has no value");
    std::transform(values.begin(), values.end(), toned.samples.begin(), [](double v) {
        return static_cast<unsigned char>(std::clamp(std::floor(v + 0.5), 0.0, double(brightest)));
    });
    return toned;
}

levels levels_of(const picture &shown)
{
    const foreign<hist, hist_kill> counted(hist_new(0, brightest));
    require(counted != nullptr, "no memory for a histogram");
    std::vector<int> values(shown.pixels());
    const unsigned char *p = shown.samples.data();
    for (int &value : values) {
        value = (2126 * p[0] + 7152 * p[1] + 722 * p[2] + 5000) / 10000;
        p += 3;
    }
    hist_point(counted.get(), values.data(), static_cast<int>(values.size()));
    const int *counts = hist_get(counted.get(), nullptr) + 1;  // behind those below 0
    levels found{{counts, counts + brightest + 1}, 0, 0, hist_percentile(counted.get(), 50) - 1};
    hist_med(counted.get(), &found.mean, &found.deviation);
    return found;
}

// ---- The dither cell ------------------------------------------------------------------------------------------------

picture middle_of(const picture &photograph)
{
    picture part(std::min(part_width, photograph.width), std::min(part_height, photograph.height), 3);
    const int left = (photograph.width - part.width) / 2;
    const int top = (photograph.height - part.height) / 2;
    for (int y = 0; y < part.height; ++y)
        std::copy_n(photograph.line(top + y) + 3 * left, 3 * part.width, part.line(y));
    return part;
}

picture enlarged(const picture &part)
{
    picture large(magnification * part.width, magnification * part.height, 3);
    for (int y = 0; y < large.height; ++y)
        for (int x = 0; x < large.width; ++x)
            std::copy_n(part.line(y / magnification) + 3 * (x / magnification), 3, large.line(y) + 3 * x);
    return large;
}

using cell = foreign<rdither, rdither_kill>;

picture dithered(picture part)
{
    const cell screen(rdither_new(brightest, levels_left - 1));
    require(screen != nullptr, "no memory for a dither table");
    for (int y = 0; y < part.height; ++y)
        for (int i = 0; i < 3 * part.width; ++i) {
            unsigned char &sample = part.line(y)[i];
            const int set = rdither_val(screen.get(), static_cast<unsigned>(y), static_cast<unsigned>(i / 3), sample);
            sample = static_cast<unsigned char>(set * brightest / (levels_left - 1));
        }
    return part;
}

}  // namespace

tone_results run_tone(const picture &photograph, const std::vector<xy> &points, const std::filesystem::path &file)
{
    save(points, file.string());
    const table g(grad_tab_new(file.string().c_str(), 0, brightest, 0));
    require(g != nullptr, "cannot read the tone table again");
    require_inverse(g.get());
    picture toned = converted(g.get(), photograph);
    const levels after = levels_of(toned);
    return {listed(g.get()),  sampled(g.get(), grad_tab_do), sampled(g.get(), grad_tab_do_inv),
            std::move(toned), levels_of(photograph),         after};
}

dither_results run_dither(const picture &photograph)
{
    constexpr unsigned pixels = 16;
    const cell screen(rdither_new(pixels, 1));
    require(screen != nullptr, "no memory for a dither table");
    dither_results r;
    for (unsigned level = 0; level <= pixels; ++level) {
        std::array<int, pixels> &set = r.cells.emplace_back();
        for (unsigned i = 0; i < pixels; ++i)
            set[i] = rdither_val(screen.get(), i / 4, i % 4, level);
    }
    const picture part = middle_of(photograph);
    r.before = enlarged(part);
    r.after = enlarged(dithered(part));
    return r;
}

}  // namespace examples
