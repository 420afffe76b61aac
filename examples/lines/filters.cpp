// filters - the line filters of the library on whole pictures
//
// The callbacks of the older filters know the component only, so the picture that is being made stands in one place of
// this file.

#include "support/failure.h"
#include "support/foreign.h"

#include "fir.h"
#include "fusm.h"
#include "ibilin.h"
#include "izat.h"
#include "lines/job.h"

#include <algorithm>
#include <array>
#include <utility>

namespace examples
{

namespace
{

constexpr int most_channels = 3;

// Where output lines go: sample pointers of the next line, one per channel.
struct receiver {
    explicit receiver(picture &target) : stride(target.width * target.channels)
    {
        for (int c = 0; c < most_channels; ++c)
            next[static_cast<std::size_t>(c)] = target.samples.data() + c;
    }

    std::array<unsigned char *, most_channels> next{};
    std::ptrdiff_t stride;
};

receiver *receiving = nullptr;

// For filters that read the output pointer again for each line.
void step_on(int component) { receiving->next[static_cast<std::size_t>(component)] += receiving->stride; }

// The channels of a line.
std::array<unsigned char *, most_channels> channels_of(const picture &source, int y)
{
    // The filters' interface leaves input lines alone but does not say so.
    auto *line = const_cast<unsigned char *>(source.line(y));
    return {line, line + 1, line + 2};
}

// For the resampler, which hands out several lines in one place: a row that is copied away when it is complete.
struct collector {
    explicit collector(picture &target)
        : made(target),
          row(static_cast<std::size_t>(target.width * target.channels)), at{row.data(), row.data() + 1, row.data() + 2}
    {
    }

    picture &made;
    int y = 0;
    std::vector<unsigned char> row;
    std::array<unsigned char *, most_channels> at;
};

collector *collecting = nullptr;

void collect(int component)
{
    if (component + 1 == collecting->made.channels)
        std::copy(collecting->row.begin(), collecting->row.end(), collecting->made.line(collecting->y++));
}

// The next line of a picture that is filled from above.
struct filling {
    picture made;
    unsigned char *next;
};

void fill_next(void *context, int line)
{
    auto *to = static_cast<filling *>(context);
    to->next = line + 1 < to->made.height ? to->made.line(line + 1) : nullptr;
}

}  // namespace

// ---- Sharpening -----------------------------------------------------------------------------------------------------

picture sharpened(const picture &source, int radius, double strength, double noise)
{
    const foreign<fusm, fusm_kill> filter(fusm_new(radius, 255, source.channels, source.channels, nullptr, nullptr));
    if (!filter)
        throw failure("no filter for sharpening");
    const std::array<double, most_channels> strengths = {strength, strength, strength};
    const std::array<double, most_channels> noises = {noise, noise, noise};
    fusm_stren_set(filter.get(), strengths.data());
    fusm_noise_red_set(filter.get(), noises.data());
    if (fusm_start(filter.get(), source.height, source.width, step_on, source.channels, 0, source.channels) == 0)
        throw failure("no memory for sharpening");
    picture made(source.width, source.height, source.channels);
    receiver lines(made);
    receiving = &lines;
    for (int y = 0; y < source.height; ++y) {
        auto in = channels_of(source, y);
        fusm_b_do(filter.get(), in.data(), lines.next.data(), nullptr);
    }
    return made;
}

// ---- A filter of the caller's ---------------------------------------------------------------------------------------

picture borders_of_filter(const picture &source, int radius)
{
    const foreign<fir, fir_kill> filter(fir_new(radius, 255));
    if (!filter)
        throw failure("no filter");
    fir_start(filter.get(), source.channels, source.height, source.width, step_on, source.channels, source.channels);
    picture made(source.width, source.height, source.channels);
    receiver lines(made);
    receiving = &lines;
    for (int y = 0; y < source.height; ++y) {
        const auto in = channels_of(source, y);
        fir_rgb_b(filter.get(), in[0], in[1], in[2], lines.next.data(), &lines.next[1], &lines.next[2]);
    }
    return made;
}

// ---- Bilinear resampling --------------------------------------------------------------------------------------------

picture resampled(const picture &source, int width, int height)
{
    const foreign<ibilin, ibilin_kill> filter(ibilin_new(0));
    if (!filter || ibilin_start(filter.get(), source.channels, source.height, source.width, height, width, collect,
                                source.channels, source.channels) == 0)
        throw failure("no memory for resampling");
    picture made(width, height, source.channels);
    collector lines(made);
    collecting = &lines;
    for (int y = 0; y < source.height; ++y) {
        const auto in = channels_of(source, y);
        if (source.channels == 1)
            ibilin_mono_b(filter.get(), in[0], lines.at.data());
        else
            ibilin_rgb_b(filter.get(), in[0], in[1], in[2], lines.at.data(), &lines.at[1], &lines.at[2]);
    }
    return made;
}

// ---- Resampling by area and taps ------------------------------------------------------------------------------------

picture averaged(const picture &source, int width, int height, int kernel)
{
    const foreign<izat, izat_kill> filter(izat_new(kernel));
    filling to{picture(width, height, source.channels), nullptr};
    to.next = to.made.line(0);
    if (!filter || izat_start(filter.get(), source.channels, source.height, source.width, height, width, fill_next, &to,
                              source.channels, source.channels) == 0)
        throw_report();
    for (int y = 0; y < source.height; ++y)
        izat_line_b(filter.get(), source.line(y), &to.next);
    return std::move(to.made);
}

}  // namespace examples
