// izat - resampling of images that come line by line, by area and taps (image)
//
// A line that some destination line needs is summed along its direction (Kernels/izat_kernels.h) into a ring of as many
// lines as the tallest destination line has. Source line n lies in slot n modulo their number: while destination line y
// waits, its lines are first .. n with n < first + slots, so none of them is overwritten. When its last line has come,
// the ring is summed down and the samples are handed out.
//
// Weights of columns are kept; those of lines are made for one destination line at a time, so that memory does not
// depend on the number of lines.
//
// izoom is in izat/izoom.cpp, the weights in izat/plan.cpp. No process-wide state.

#include "izat.h"

#include "Kernels/kernels.h"
#include "Source/izat/plan.h"
#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <utility>

namespace
{

using teska::checked_size;
using teska::heap_block;
using teska::izat_axis;
using teska::izat_halves;
using teska::izat_reach;

constexpr int most_components = 16;

struct window {
    double left = 0.0, top = 0.0, width = 0.0, height = 0.0;
};

// An image that has begun; with no lines there is none.
struct image {
    int source_lines = 0;
    int destination_lines = 0;
    int components = 0;
    std::ptrdiff_t in_step = 0;
    std::ptrdiff_t out_step = 0;
    izat_callback callback = nullptr;
    void *context = nullptr;

    izat_axis lines;
    teska::izat_columns columns{};
    heap_block<std::int32_t> column_first;
    heap_block<std::int16_t> column_weights;

    int slots = 0;                    // lines of the ring
    std::ptrdiff_t line_samples = 0;  // of a destination line
    heap_block<std::uint16_t> ring;   // slots times upper halves and lower halves
    heap_block<izat_halves> slot;     // where those of each slot are
    heap_block<izat_halves> ordered;  // the lines of a destination line, from its first
    heap_block<std::int16_t> line_weights;
    heap_block<std::uint16_t> samples;  // of a destination line, before they are spread to the caller's step

    int fed = 0;        // source lines
    int delivered = 0;  // destination lines
    izat_reach next{};  // of the next destination line
};

}  // namespace

struct izat {
    int kernel = IZAT_AREA;
    window shown;
    image now;
};

namespace
{

// ---- Start ----------------------------------------------------------------------------------------------------------

// An empty owner where memory, or what a block may have, is short.
template <class T>
heap_block<T> block_of(std::uint64_t count, std::uint64_t factor = 1)
{
    checked_size values(count, INT_MAX / sizeof(T));
    values *= factor;
    return values.valid() ? teska::zeroed_block<T>(values.get()) : heap_block<T>();
}

bool is_whole(const window &w) { return w.left == 0.0 && w.top == 0.0 && w.width == 0.0 && w.height == 0.0; }

// Not-a-number fails every comparison.
bool lies_in(const window &w, int width, int lines)
{
    return std::isfinite(w.left) && std::isfinite(w.top) && std::isfinite(w.width) && std::isfinite(w.height) &&
           w.left >= 0.0 && w.top >= 0.0 && w.width > 0.0 && w.height > 0.0 && w.left + w.width <= width &&
           w.top + w.height <= lines;
}

// Every column gets a row of as many weights as the widest has. Near the end of the line a row begins earlier, behind
// leading zeros, so that no weight belongs to a pixel outside.
bool make_columns(image &i, const izat_axis &axis, int source_width, int width)
{
    i.column_first = block_of<std::int32_t>(static_cast<std::uint64_t>(width));
    if (!i.column_first)
        return false;
    const int taps = axis.most_taps();
    i.column_weights = block_of<std::int16_t>(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(taps));
    if (!i.column_weights)
        return false;
    std::int16_t *row = i.column_weights.get();
    for (int x = 0; x < width; ++x, row += taps) {
        const int first = axis.reach(x).first;
        i.column_first[x] = std::min(first, source_width - taps);
        axis.weights(x, row + (first - i.column_first[x]));
    }
    i.columns = {.first = i.column_first.get(), .weights = i.column_weights.get(), .taps = taps, .count = width};
    return true;
}

bool make_ring(image &i, int width)
{
    constexpr std::uint64_t padding = teska::izat_padding;
    const std::uint64_t samples = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(i.components);
    const std::uint64_t room = (samples + padding - 1) / padding * padding;
    i.slots = i.lines.bound_of_taps();
    i.line_samples = static_cast<std::ptrdiff_t>(samples);
    const auto slots = static_cast<std::uint64_t>(i.slots);
    i.ring = block_of<std::uint16_t>(room, 2 * slots);
    i.slot = block_of<izat_halves>(slots);
    i.ordered = block_of<izat_halves>(slots);
    i.line_weights = block_of<std::int16_t>(slots);
    i.samples = block_of<std::uint16_t>(room);
    if (!i.ring || !i.slot || !i.ordered || !i.line_weights || !i.samples)
        return false;
    std::uint16_t *half = i.ring.get();
    for (izat_halves &slot : i.slot.first(i.slots)) {
        // The signed halves of a block of unsigned ones: the same object representation.
        slot = {.upper = reinterpret_cast<std::int16_t *>(half), .lower = half + room};
        half += 2 * room;
    }
    return true;
}

// ---- Lines ----------------------------------------------------------------------------------------------------------

const teska::izat_depth<std::uint8_t> &kernels_for(const std::uint8_t *) { return teska::kernels().izat.bytes; }
const teska::izat_depth<std::uint16_t> &kernels_for(const std::uint16_t *) { return teska::kernels().izat.words; }

// Brings samples that are side by side to where the caller wants them.
template <class Sample>
void spread(const image &i, const Sample *samples, Sample *out)
{
    if (i.out_step == i.components) {
        std::copy_n(samples, i.line_samples, out);
        return;
    }
    for (std::ptrdiff_t k = 0; k < i.line_samples; k += i.components, out += i.out_step)
        std::copy_n(samples + k, i.components, out);
}

template <class Sample>
void hand_out(image &i, Sample **out)
{
    if (*out != nullptr) {
        for (int k = 0; k < i.next.count; ++k)
            i.ordered[k] = i.slot[(i.next.first + k) % i.slots];
        i.lines.weights(i.delivered, i.line_weights.get());
        auto *const samples = reinterpret_cast<Sample *>(i.samples.get());
        kernels_for(samples).down(i.ordered.get(), i.line_weights.get(), i.next.count, i.line_samples, samples);
        spread(i, samples, *out);
    }
    const int line = i.delivered++;
    i.next = i.lines.reach(i.delivered);
    if (i.callback != nullptr)
        i.callback(i.context, line);
}

template <class Sample>
int feed(image &i, const Sample *line, Sample **out)
{
    if (i.fed >= i.source_lines)
        return 0;
    const int n = i.fed++;
    const int before = i.delivered;
    if (i.delivered < i.destination_lines && n >= i.next.first) {
        const teska::izat_source<Sample> source{.at = line, .step = i.in_step, .components = i.components};
        kernels_for(line).across(i.columns, source, i.slot[n % i.slots]);
    }
    while (i.delivered < i.destination_lines && i.next.first + i.next.count - 1 <= n)
        hand_out(i, out);
    return i.delivered - before;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

izat *izat_new(int kernel) TESKA_NOTHROW
{
    if (kernel < IZAT_AREA || kernel > IZAT_LANCZOS3) {
        TESKA_ERR("izat_new: illegal kernel");
        return nullptr;
    }
    auto record = teska::make_record<izat>();
    if (!record) {
        TESKA_ERR("izat_new: insufficient memory");
        return nullptr;
    }
    record->kernel = kernel;
    return record.release();
}

int izat_kill(izat *record) TESKA_NOTHROW
{
    teska::kill_record(record);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int izat_window_set(izat *record, double left, double top, double width, double height) TESKA_NOTHROW
{
    record->shown = {.left = left, .top = top, .width = width, .height = height};
    return 1;
}

int izat_start(izat *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth,
               izat_callback callback, void *context, int inStep, int outStep) TESKA_NOTHROW
{
    record->now = image();
    if (nComponents < 1 || nComponents > most_components || srcLines < 1 || srcWidth < 1 || dstLines < 1 ||
        dstWidth < 1) {
        TESKA_ERR("izat_start: illegal image");
        return 0;
    }
    window w = record->shown;
    if (is_whole(w))
        w = {.left = 0.0, .top = 0.0, .width = srcWidth + 0.0, .height = srcLines + 0.0};
    if (!lies_in(w, srcWidth, srcLines)) {
        TESKA_ERR("izat_start: illegal window");
        return 0;
    }
    image i;
    i.source_lines = srcLines;
    i.destination_lines = dstLines;
    i.components = nComponents;
    i.in_step = inStep;
    i.out_step = outStep;
    i.callback = callback;
    i.context = context;
    i.lines = izat_axis(record->kernel, w.top, w.height, srcLines, dstLines);
    i.next = i.lines.reach(0);
    if (!make_columns(i, izat_axis(record->kernel, w.left, w.width, srcWidth, dstWidth), srcWidth, dstWidth) ||
        !make_ring(i, dstWidth)) {
        TESKA_ERR("izat_start: insufficient memory");
        return 0;
    }
    record->now = std::move(i);
    return 1;
}

// ---- Process --------------------------------------------------------------------------------------------------------

int izat_line(izat *record, const unsigned short *line, unsigned short **out) TESKA_NOTHROW
{
    return feed(record->now, line, out);
}

int izat_line_b(izat *record, const unsigned char *line, unsigned char **out) TESKA_NOTHROW
{
    return feed(record->now, line, out);
}
