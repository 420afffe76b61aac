// izat - resampling of images that come line by line, by area and taps (image)
//
// A line that some destination line needs is summed along its direction (Kernels/izat_kernels.h), each component by
// itself, into a ring of as many lines as the tallest destination line has. Source line n lies in slot n modulo their
// number: while destination line y waits, its lines are first .. n with n < first + slots, so none of them is
// overwritten. When its last line has come, the ring is summed down and the samples are handed out.
//
// An area brought to half its size has no weights: the ring keeps the first line of a pair as it is, and the second one
// makes the samples.
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
#include <functional>
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
    int source_width = 0;
    int destination_lines = 0;  // the first one that is not handed out
    int components = 0;
    std::ptrdiff_t in_step = 0;
    std::ptrdiff_t out_step = 0;
    izat_callback callback = nullptr;
    void *context = nullptr;

    izat_axis lines;
    teska::izat_columns columns{};
    heap_block<std::int32_t> column_first;
    heap_block<std::int16_t> column_weights;
    heap_block<std::uint8_t> column_picks;
    bool halves = false;  // every sample is the mean of four, from this source column on
    int halves_first = 0;

    int width = 0;                    // of a destination line
    std::ptrdiff_t room = 0;          // samples of a component
    int slots = 0;                    // lines of the ring
    heap_block<std::uint16_t> ring;   // slots times components times upper halves and lower halves
    heap_block<izat_halves> ordered;  // the lines of a destination line, from its first
    heap_block<std::int16_t> line_weights;
    heap_block<std::int16_t> centred;   // a component of a source line
    heap_block<std::uint16_t> samples;  // a component of a destination line, of either depth

    int fed = 0;        // source lines
    int delivered = 0;  // destination lines
    izat_reach next{};  // of the next destination line
};

}  // namespace

struct izat {
    int kernel = IZAT_AREA;
    window shown;
    int strip_first = 0;
    int strip_lines = 0;
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

std::uint64_t padded(std::uint64_t count, std::uint64_t unit) { return (count + unit - 1) / unit * unit; }

bool is_strip(int first, int lines, int all)
{
    return (first == 0 && lines == 0) || (first >= 0 && lines >= 1 && lines <= all && first <= all - lines);
}

// Columns beyond the last one begin where it does. Returns the most taps, or 0 where memory is short.
int make_first(image &i, const izat_axis &axis)
{
    i.column_first = block_of<std::int32_t>(static_cast<std::uint64_t>(i.room));
    if (!i.column_first)
        return 0;
    int most = 0;
    for (int x = 0; x < i.width; ++x) {
        const izat_reach reach = axis.reach(x);
        i.column_first[x] = reach.first;
        most = std::max(most, reach.count);
    }
    std::fill(i.column_first.get() + i.width, i.column_first.get() + i.room, i.column_first[i.width - 1]);
    return most;
}

bool are_near(const image &i)
{
    for (std::ptrdiff_t x = 0; x < i.room; x += 4)
        if (i.column_first[x + 3] - i.column_first[x] > teska::izat_near)
            return false;
    return true;
}

// Where the four bytes of a pair of samples lie.
bool make_picks(image &i)
{
    i.column_picks = block_of<std::uint8_t>(static_cast<std::uint64_t>(i.room), 4);
    if (!i.column_picks)
        return false;
    for (std::ptrdiff_t x = 0; x < i.room; ++x)
        for (int k = 0; k < 4; ++k)
            i.column_picks[4 * x + k] =
                static_cast<std::uint8_t>(2 * (i.column_first[x] - i.column_first[x / 4 * 4]) + k);
    return true;
}

bool make_columns(image &i, const izat_axis &axis)
{
    const int most = make_first(i, axis);
    if (most == 0)
        return false;
    const bool pairs = are_near(i);
    const std::ptrdiff_t run = pairs ? teska::izat_pair : teska::izat_row;
    const std::ptrdiff_t next = pairs ? teska::izat_next_pair : teska::izat_next_row;
    const std::uint64_t taps = padded(static_cast<std::uint64_t>(most), static_cast<std::uint64_t>(run));
    i.columns.taps = static_cast<std::ptrdiff_t>(taps);
    i.columns.count = i.room;
    i.column_weights = block_of<std::int16_t>(static_cast<std::uint64_t>(i.room), taps);
    const auto row = block_of<std::int16_t>(taps);
    if (!i.column_weights || !row || (pairs && !make_picks(i)))
        return false;
    const auto first_weights = pairs ? teska::izat_first_pair : teska::izat_first_row;
    for (int x = 0; x < i.width; ++x) {
        const int count = axis.reach(x).count;
        axis.weights(x, row.get());
        std::int16_t *to = i.column_weights.get() + first_weights(i.columns.taps, x);
        for (std::ptrdiff_t k = 0; k < count; k += run, to += next)
            std::copy_n(row.get() + k, std::min(count - k, run), to);
    }
    i.columns.first = i.column_first.get();
    i.columns.weights = i.column_weights.get();
    i.columns.picks = i.column_picks.get();
    return true;
}

// Weights end with zeros, whose samples may lie beyond the end of the line.
bool make_lines(image &i, int source_width)
{
    i.slots = i.lines.bound_of_taps();
    const auto slots = static_cast<std::uint64_t>(i.slots), room = static_cast<std::uint64_t>(i.room);
    i.ring = block_of<std::uint16_t>(2 * room * static_cast<std::uint64_t>(i.components), slots);
    i.ordered = block_of<izat_halves>(slots + 1);
    i.line_weights = block_of<std::int16_t>(slots + 1);
    i.centred = block_of<std::int16_t>(static_cast<std::uint64_t>(source_width) +
                                       static_cast<std::uint64_t>(i.columns.taps + teska::izat_padding));
    i.samples = block_of<std::uint16_t>(room);
    return i.ring && i.ordered && i.line_weights && i.centred && i.samples;
}

// Whether an axis makes pixels of two each, from a whole one on.
bool halves_axis(double start, double extent, int destination)
{
    return start == std::floor(start) && extent == 2.0 * destination;
}

// ---- Lines ----------------------------------------------------------------------------------------------------------

const teska::izat_depth<std::uint8_t> &kernels_for(const std::uint8_t *) { return teska::kernels().izat.bytes; }
const teska::izat_depth<std::uint16_t> &kernels_for(const std::uint16_t *) { return teska::kernels().izat.words; }

// Component c of the line in a slot.
izat_halves halves_of(const image &i, int line, int c)
{
    std::uint16_t *const at = i.ring.get() + 2 * i.room * ((line % i.slots) * std::ptrdiff_t{i.components} + c);
    // Signed and unsigned numbers of one width may share a block.
    return {.upper = reinterpret_cast<std::int16_t *>(at), .lower = at + i.room};
}

template <class Sample>
void take(image &i, int n, const Sample *line)
{
    const auto &kernels = kernels_for(line);
    for (int c = 0; c < i.components; ++c) {
        kernels.centre(line + c, i.in_step, i.source_width, i.centred.get());
        kernels.across(i.columns, i.centred.get(), halves_of(i, n, c));
    }
}

template <class Sample>
void spread(const image &i, const Sample *samples, std::ptrdiff_t count, Sample *out)
{
    if (i.out_step == 1)
        std::copy_n(samples, count, out);
    else
        for (std::ptrdiff_t x = 0; x < count; ++x)
            out[x * i.out_step] = samples[x];
}

// The lines of component c of the next destination line, and one more, whose weight is 0.
void put_in_order(image &i, int c)
{
    const int count = i.next.count;
    for (int k = 0; k < count; ++k)
        i.ordered[k] = halves_of(i, i.next.first + k, c);
    i.ordered[count] = i.ordered[count - 1];
}

// Kernels write whole vectors: as many samples as that allows go to their places at once.
template <class Sample>
void write(image &i, Sample *out)
{
    const auto &kernels = kernels_for(out);
    const std::int16_t *const weights = i.line_weights.get();
    auto *const samples = reinterpret_cast<Sample *>(i.samples.get());
    const std::ptrdiff_t placed = i.out_step == 1 ? i.width / teska::izat_padding * teska::izat_padding : 0;
    i.lines.weights(i.delivered, i.line_weights.get());
    i.line_weights[i.next.count] = 0;
    for (int c = 0; c < i.components; ++c) {
        put_in_order(i, c);
        kernels.down(i.ordered.get(), weights, i.next.count, placed, out + c);
        for (izat_halves &line : i.ordered.first(i.next.count + 1))
            line = {.upper = line.upper + placed, .lower = line.lower + placed};
        kernels.down(i.ordered.get(), weights, i.next.count, i.width - placed, samples);
        spread(i, samples, i.width - placed, out + c + placed);
    }
}

// Whether any of the places lies among the others.
template <class Sample>
bool overlap(const Sample *a, std::ptrdiff_t a_count, const Sample *b, std::ptrdiff_t b_count)
{
    return std::less<>()(a, b + b_count) && std::less<>()(b, a + a_count);
}

// The first line of a pair, from the first column that counts.
template <class Sample>
Sample *kept(const image &i)
{
    return reinterpret_cast<Sample *>(i.ring.get());
}

template <class Sample>
void write_halves(image &i, const Sample *line, Sample *out)
{
    const Sample *const second = line + i.halves_first;
    const auto halve = kernels_for(line).halve;
    if (i.out_step == 1 && !overlap<Sample>(second, 2 * std::ptrdiff_t{i.width}, out, i.width)) {
        halve(kept<Sample>(i), second, i.width, out);
        return;
    }
    auto *const samples = reinterpret_cast<Sample *>(i.samples.get());
    halve(kept<Sample>(i), second, i.width, samples);
    spread(i, samples, i.width, out);
}

template <class Sample>
int feed(image &i, const Sample *line, Sample **out)
{
    if (i.fed >= i.source_lines)
        return 0;
    const int n = i.fed++;
    const int before = i.delivered;
    if (i.delivered < i.destination_lines && n >= i.next.first) {
        if (!i.halves)
            take(i, n, line);
        else if (n == i.next.first)
            std::copy_n(line + i.halves_first, 2 * std::ptrdiff_t{i.width}, kept<Sample>(i));
    }
    while (i.delivered < i.destination_lines && i.next.first + i.next.count - 1 <= n) {
        if (*out != nullptr && i.halves)
            write_halves(i, line, *out);
        else if (*out != nullptr)
            write(i, *out);
        const int y = i.delivered++;
        i.next = i.lines.reach(i.delivered);
        if (i.callback != nullptr)
            i.callback(i.context, y);
    }
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

int izat_strip_set(izat *record, int first, int lines) TESKA_NOTHROW
{
    record->strip_first = first;
    record->strip_lines = lines;
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
    if (!is_strip(record->strip_first, record->strip_lines, dstLines)) {
        TESKA_ERR("izat_start: illegal strip");
        return 0;
    }
    image i;
    i.source_lines = srcLines;
    i.delivered = record->strip_first;
    i.destination_lines = record->strip_lines == 0 ? dstLines : record->strip_first + record->strip_lines;
    i.components = nComponents;
    i.in_step = inStep;
    i.out_step = outStep;
    i.callback = callback;
    i.context = context;
    i.source_width = srcWidth;
    i.width = dstWidth;
    i.room = static_cast<std::ptrdiff_t>(padded(static_cast<std::uint64_t>(dstWidth), teska::izat_padding));
    i.lines = izat_axis(record->kernel, w.top, w.height, srcLines, dstLines);
    i.next = i.lines.reach(i.delivered);
    i.halves = record->kernel == IZAT_AREA && nComponents == 1 && inStep == 1 &&
               halves_axis(w.left, w.width, dstWidth) && halves_axis(w.top, w.height, dstLines);
    i.halves_first = i.halves ? static_cast<int>(w.left) : 0;
    if ((!i.halves && !make_columns(i, izat_axis(record->kernel, w.left, w.width, srcWidth, dstWidth))) ||
        !make_lines(i, srcWidth)) {
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
