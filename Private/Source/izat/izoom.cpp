// izat/izoom - resampling of images that come line by line, by picking samples (image)
//
// The samples of a source line are picked once, side by side, and copied to each of its destination lines: a callback
// may write over the one before. Where there is one line only, they are picked into it. No process-wide state.

#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "izat.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <utility>

namespace
{

using teska::checked_size;
using teska::heap_block;

constexpr int most_components = 16;

struct window {
    int left = 0, top = 0, width = 0, height = 0;
};

// An image that has begun; with no lines there is none.
struct image {
    window shown;
    int source_lines = 0;
    int lines = 0;
    int width = 0;
    int components = 0;
    std::ptrdiff_t in_step = 0;
    std::ptrdiff_t out_step = 0;
    izoom_callback callback = nullptr;
    void *context = nullptr;
    heap_block<int> columns;           // of the source, by columns of the destination
    heap_block<std::uint16_t> picked;  // samples of one line, of either depth
    int fed = 0;                       // source lines
    int delivered = 0;                 // destination lines
};

}  // namespace

struct izoom {
    window shown;
    image now;
};

namespace
{

// The source pixel in which the centre of destination pixel x lies; at most 2^62 on the way.
int picked_pixel(int start, int extent, int destination, int x)
{
    return start + static_cast<int>((2 * std::int64_t{x} + 1) * extent / (2 * std::int64_t{destination}));
}

int source_line(const image &i, int y) { return picked_pixel(i.shown.top, i.shown.height, i.lines, y); }

bool lies_in(const window &w, int width, int lines)
{
    return w.left >= 0 && w.top >= 0 && w.width >= 1 && w.height >= 1 && w.left <= width - w.width &&
           w.top <= lines - w.height;
}

bool make_blocks(image &i)
{
    const auto width = static_cast<std::uint64_t>(i.width);
    checked_size samples(width, INT_MAX / sizeof(std::uint16_t));
    samples *= static_cast<std::uint64_t>(i.components);
    if (width > INT_MAX / sizeof(int) || !samples.valid())
        return false;
    i.columns = teska::zeroed_block<int>(static_cast<std::size_t>(width));
    i.picked = teska::zeroed_block<std::uint16_t>(samples.get());
    if (!i.columns || !i.picked)
        return false;
    for (int x = 0; x < i.width; ++x)
        i.columns[x] = picked_pixel(i.shown.left, i.shown.width, i.width, x);
    return true;
}

// Pixels of a number of components that the compiler knows.
template <int Components, class Sample>
void pick_pixels(const image &i, const Sample *line, Sample *picked)
{
    for (const int column : i.columns.first(i.width)) {
        std::copy_n(line + column * i.in_step, Components, picked);
        picked += Components;
    }
}

// Single samples. Bytes that are written might be those of `i`: what is read in the loop is no part of it.
template <class Sample>
void pick_samples(const image &i, const Sample *line, Sample *picked)
{
    const int *const columns = i.columns.get();
    const std::ptrdiff_t width = i.width;
#pragma GCC unroll 8
    for (std::ptrdiff_t x = 0; x < width; ++x)
        picked[x] = line[columns[x]];
}

template <int Factor, class Sample>
void repeat(const Sample *line, std::ptrdiff_t count, Sample *picked)
{
    for (std::ptrdiff_t x = 0; x < count; ++x)
        for (int k = 0; k < Factor; ++k)
            picked[x * Factor + k] = line[x];
}

// Samples that are adjacent in the source line and at a whole factor; false where they are not.
template <class Sample>
bool pick_by_factor(const image &i, const Sample *line, Sample *picked)
{
    const std::ptrdiff_t source = i.shown.width, made = i.width;
    line += i.shown.left;
    if (made == source)
        std::copy_n(line, made, picked);
    else if (made == 2 * source)
        repeat<2>(line, source, picked);
    else if (made == 3 * source)
        repeat<3>(line, source, picked);
    else if (made == 4 * source)
        repeat<4>(line, source, picked);
    else if (source == 2 * made)
        for (std::ptrdiff_t x = 0; x < made; ++x)
            picked[x] = line[2 * x + 1];
    else
        return false;
    return true;
}

template <class Sample>
void pick(const image &i, const Sample *line, Sample *picked)
{
    const std::ptrdiff_t n = i.components;
    if (n == 1 && i.in_step == 1) {
        if (!pick_by_factor(i, line, picked))
            pick_samples(i, line, picked);
    } else if (n == 1)
        pick_pixels<1>(i, line, picked);
    else if (n == 3)
        pick_pixels<3>(i, line, picked);
    else if (n == 4)
        pick_pixels<4>(i, line, picked);
    else
        for (const int column : i.columns.first(i.width)) {
            std::copy_n(line + column * i.in_step, n, picked);
            picked += n;
        }
}

template <class Sample>
void spread(const image &i, const Sample *picked, Sample *out)
{
    const std::ptrdiff_t n = i.components;
    if (i.out_step == n) {
        std::copy_n(picked, n * i.width, out);
        return;
    }
    for (int x = 0; x < i.width; ++x, picked += n, out += i.out_step)
        std::copy_n(picked, n, out);
}

// Whether the next destination line is the only one that the source line still makes.
bool is_last_of(const image &i, int line)
{
    return i.delivered + 1 == i.lines || source_line(i, i.delivered + 1) != line;
}

template <class Sample>
int feed(image &i, const Sample *line, Sample **out)
{
    if (i.fed >= i.source_lines)
        return 0;
    const int n = i.fed++;
    const int before = i.delivered;
    auto *const picked = reinterpret_cast<Sample *>(i.picked.get());
    for (bool ready = false; i.delivered < i.lines && source_line(i, i.delivered) == n;) {
        if (*out != nullptr && !ready && i.out_step == i.components && is_last_of(i, n))
            pick(i, line, *out);
        else if (*out != nullptr) {
            if (!ready)
                pick(i, line, picked);
            ready = true;
            spread(i, picked, *out);
        }
        const int y = i.delivered++;
        if (i.callback != nullptr)
            i.callback(i.context, y);
    }
    return i.delivered - before;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

izoom *izoom_new(void) TESKA_NOTHROW
{
    auto record = teska::make_record<izoom>();
    if (!record)
        TESKA_ERR("izoom_new: insufficient memory");
    return record.release();
}

int izoom_kill(izoom *record) TESKA_NOTHROW
{
    teska::kill_record(record);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int izoom_window_set(izoom *record, int left, int top, int width, int height) TESKA_NOTHROW
{
    record->shown = {.left = left, .top = top, .width = width, .height = height};
    return 1;
}

int izoom_start(izoom *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth,
                izoom_callback callback, void *context, int inStep, int outStep) TESKA_NOTHROW
{
    record->now = image();
    if (nComponents < 1 || nComponents > most_components || srcLines < 1 || srcWidth < 1 || dstLines < 1 ||
        dstWidth < 1) {
        TESKA_ERR("izoom_start: illegal image");
        return 0;
    }
    image i;
    i.shown = record->shown;
    if (i.shown.left == 0 && i.shown.top == 0 && i.shown.width == 0 && i.shown.height == 0)
        i.shown = {.left = 0, .top = 0, .width = srcWidth, .height = srcLines};
    if (!lies_in(i.shown, srcWidth, srcLines)) {
        TESKA_ERR("izoom_start: illegal window");
        return 0;
    }
    i.source_lines = srcLines;
    i.lines = dstLines;
    i.width = dstWidth;
    i.components = nComponents;
    i.in_step = inStep;
    i.out_step = outStep;
    i.callback = callback;
    i.context = context;
    if (!make_blocks(i)) {
        TESKA_ERR("izoom_start: insufficient memory");
        return 0;
    }
    record->now = std::move(i);
    return 1;
}

// ---- Process --------------------------------------------------------------------------------------------------------

int izoom_line(izoom *record, const unsigned short *line, unsigned short **out) TESKA_NOTHROW
{
    return feed(record->now, line, out);
}

int izoom_line_b(izoom *record, const unsigned char *line, unsigned char **out) TESKA_NOTHROW
{
    return feed(record->now, line, out);
}
