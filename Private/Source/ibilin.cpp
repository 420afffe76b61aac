// ibilin - bilinear resampling of images that come line by line (image)
//
// A line that the next destination line needs is resampled in its own direction at once, into one of two buffers; then
// the buffers are blended from line to line:
//
//     source line s, s + 1    a0 a1 a2 a3 a4       columns: places, computed once
//                               \ | \ | \ |
//     previous, current        b0  b1  b2          the roles change with every line used
//                               |   |   |
//     destination line         c0  c1  c2          place of the line, computed when it is the next one
//
// Memory does not depend on the number of lines. Interleaved components, recognised by steps and pointers, pass the
// kernels as one line: their buffers are interleaved too. What a kernel needs to know of the columns, a plan, is made
// when the first line shows the depth of the samples.
//
// A line is not resampled when no destination line gives it a weight: halving uses every other line only.
//
// All this holds while the components are fed together. Once a call has fed some of them only, each goes its own way,
// sample by sample.
//
// Example: 4 samples brought to 3 lie at 0, 1 1/3, 2 2/3, with weights 0, 21845, 43690 of 65536.
//
// No process-wide state. O(width) for each line fed and each line handed out.

#include "ibilin.h"

#include "Kernels/kernels.h"
#include "Source/ibilin/plan.h"
#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <climits>
#include <utility>

using std::ptrdiff_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;
using teska::heap_block;
using teska::ibilin_place;
using teska::ibilin_run;

namespace
{

constexpr int most_components = 4;

struct component {
    int fed = 0;          // source lines
    bool used = false;    // a line has been used
    bool alone = false;   // only one line has been used
    int current = 0;      // the buffer of the line used last, 0 or 1
    void *out = nullptr;  // the caller's output line when that one was fed
};

}  // namespace

struct ibilin {
    int value = 0;
    int components = 0;  // 0: lines are ignored
    int source_lines = 0;
    int source_width = 0;
    int lines = 0;
    int width = 0;
    ptrdiff_t in_step = 0;
    ptrdiff_t out_step = 0;
    ibilin_callback callback = nullptr;
    component at[most_components];
    int delivered = 0;     // destination lines
    ibilin_place row{};    // of the next one
    ibilin_place later{};  // of the one after it
    bool together = true;  // all calls so far fed all components
    bool joined = false;   // buffers are interleaved
    bool picks = false;    // all weights of columns are 0
    int depth = 0;         // bytes of a sample for which a plan was tried; 0: none
    bool planned = false;  // there is a plan
    teska::ibilin_kernels kernels{};
    heap_block<ibilin_place> columns;
    heap_block<uint16_t> buffers;  // previous and current of all components, one line for what is written by samples
    ptrdiff_t buffer_size = 0;     // samples of a line of one component, or of all if they are joined
    teska::ibilin_planner planner;
};

namespace
{

// ---- Start ----------------------------------------------------------------------------------------------------------

// In doubles as they stand. Nothing is negative, so conversion rounds down.
ibilin_place place_of(int i, int source, int destination)
{
    const double f = static_cast<double>(i) * source / destination;
    const int first = static_cast<int>(f);
    return {.first = first,
            .second = std::min(first + 1, source - 1),
            .weight = static_cast<uint32_t>((f - first) * 65536)};
}

// Behind the last one it is the last one.
ibilin_place row_of(const ibilin &record, int i)
{
    return place_of(std::min(i, record.lines - 1), record.source_lines, record.lines);
}

int joined_components(const ibilin &record) { return record.joined ? record.components : 1; }

bool make_buffers(ibilin &record)
{
    const auto width = static_cast<std::uint64_t>(record.width);
    const auto components = static_cast<std::uint64_t>(record.components);
    const auto joined = static_cast<std::uint64_t>(joined_components(record));
    const std::uint64_t size = (width * joined + teska::ibilin_padding) / teska::ibilin_padding * teska::ibilin_padding;
    teska::checked_size samples(2 * components / joined + 1, INT_MAX / sizeof(uint16_t));
    samples *= size;
    if (!samples.valid())
        return false;
    record.buffer_size = static_cast<ptrdiff_t>(size);
    record.buffers = teska::zeroed_block<uint16_t>(samples.get());
    return static_cast<bool>(record.buffers);
}

bool make_columns(ibilin &record)
{
    if (!teska::checked_size(static_cast<std::uint64_t>(record.width), INT_MAX / sizeof(ibilin_place)).valid())
        return false;
    record.columns = teska::zeroed_block<ibilin_place>(static_cast<size_t>(record.width));
    for (int x = 0; record.columns && x < record.width; ++x)
        record.columns[static_cast<size_t>(x)] = place_of(x, record.source_width, record.width);
    return static_cast<bool>(record.columns);
}

bool make_plan_room(ibilin &record)
{
    record.kernels = teska::kernels().ibilin;
    return record.planner.reserve(record.kernels, static_cast<ptrdiff_t>(record.width) * joined_components(record));
}

// ---- What depends on the depth, and places of samples ----------------------------------------------------------------------------------------------

template <class T>
const teska::ibilin_depth<T> &depth(const teska::ibilin_kernels &kernels)
{
    if constexpr (sizeof(T) == 1)
        return kernels.bytes;
    else
        return kernels.words;
}

// Buffer 0 or 1 of a component.
template <class T>
ibilin_run<T> buffer(const ibilin &record, int c, int which)
{
    const ptrdiff_t lines = record.joined ? 1 : record.components;
    const ptrdiff_t line = which * lines + (record.joined ? 0 : c);
    T *const begin = reinterpret_cast<T *>(record.buffers.get()) + line * record.buffer_size;
    return {.at = begin + (record.joined ? c : 0), .step = joined_components(record)};
}

template <class T>
ibilin_run<T> current(const ibilin &record, int c)
{
    return buffer<T>(record, c, record.at[c].current);
}

template <class T>
ibilin_run<T> previous(const ibilin &record, int c)
{
    return buffer<T>(record, c, record.at[c].alone ? record.at[c].current : 1 - record.at[c].current);
}

// A finished line, where it cannot go to its place at once.
template <class T>
T *aside(const ibilin &record)
{
    const ptrdiff_t lines = record.joined ? 1 : record.components;
    return reinterpret_cast<T *>(record.buffers.get()) + 2 * lines * record.buffer_size;
}

ptrdiff_t line_samples(const ibilin &record)
{
    return static_cast<ptrdiff_t>(record.width) * joined_components(record);
}

// ---- A line is fed --------------------------------------------------------------------------------------------------

bool wanted(const ibilin &record, int line)
{
    return record.delivered < record.lines && (line == record.row.first || line == record.row.second);
}

// Whether a line that is wanted will have a weight, as the current one now or as the previous one later.
bool needed(const ibilin &record, int line)
{
    if (record.source_lines == 1)
        return true;
    ibilin_place row = record.row;
    for (int i = record.delivered; i < record.lines; ++i) {
        if (row.second > line)
            return row.first <= line;
        if (row.weight != 0)
            return true;
        row = i == record.delivered ? record.later : row_of(record, i + 1);
    }
    return false;
}

void take(component &c, void *out)
{
    c.alone = !c.used;
    c.used = true;
    c.current = 1 - c.current;
    c.out = out;
}

// One component, sample by sample.
template <class T>
void resample_singly(const ibilin &record, int c, const T *line)
{
    depth<T>(record.kernels)
        .columns(record.columns.get(), record.width, {.at = line, .step = record.in_step}, current<T>(record, c));
}

// A component, or all that are joined.
template <class T>
void resample_planned(const ibilin &record, int c, const T *line)
{
    T *const out = current<T>(record, c).at;
    T *const rest = out + record.planner.rest_at() / static_cast<ptrdiff_t>(sizeof(T));
    const teska::ibilin_depth<T> &kernels = depth<T>(record.kernels);
    const auto make = record.picks ? kernels.pick : kernels.across;
    make(record.planner.repeated(), line, out);
    make(record.planner.rest(), line, rest);
}

template <class T>
bool interleaved(const ibilin &record, const T *const *lines)
{
    for (int c = 1; c < record.components; ++c)
        if (lines[c] != lines[0] + c)
            return false;
    return true;
}

template <class T>
void make_plan(ibilin &record)
{
    record.depth = sizeof(T);
    record.planned = record.planner.make({.places = record.columns.get(),
                                          .pixels = record.width,
                                          .source_pixels = record.source_width,
                                          .together = joined_components(record),
                                          .step = static_cast<int>(record.in_step),
                                          .picks = record.picks},
                                         sizeof(T));
}

template <class T>
void resample(ibilin &record, const T *const *lines)
{
    if (record.depth != sizeof(T))
        make_plan<T>(record);
    const bool planned = record.planned && (!record.joined || interleaved(record, lines));
    if (planned && record.joined)
        return resample_planned(record, 0, lines[0]);
    for (int c = 0; c < record.components; ++c)
        if (planned)
            resample_planned(record, c, lines[c]);
        else
            resample_singly(record, c, lines[c]);
}

// ---- Destination lines are handed out -------------------------------------------------------------------------------

template <class T>
void blend_rows(const ibilin &record, int c, T *out)
{
    depth<T>(record.kernels)
        .down(previous<T>(record, c).at, current<T>(record, c).at, record.row.weight, line_samples(record), out);
}

template <class T>
void copy_pixels(const ibilin &record, const T *in, ptrdiff_t step, T *out)
{
    for (ptrdiff_t x = 0; x < record.width; ++x)
        out[x * record.out_step] = in[x * step];
}

// A component of joined lines that goes its own way, sample by sample.
template <class T>
void write_singly(const ibilin &record, int c, T *out)
{
    const ibilin_run<T> upper = previous<T>(record, c);
    const ibilin_run<T> lower = current<T>(record, c);
    for (ptrdiff_t x = 0; x < record.width; ++x)
        depth<T>(record.kernels)
            .down(upper.at + x * upper.step, lower.at + x * lower.step, record.row.weight, 1,
                  out + x * record.out_step);
}

// A component of lines that are not joined.
template <class T>
void write_plane(const ibilin &record, int c, T *out)
{
    if (record.out_step == 1)
        return blend_rows(record, c, out);
    blend_rows(record, c, aside<T>(record));
    copy_pixels(record, aside<T>(record), 1, out);
}

// A component of joined lines: with the first one all are blended, each is written when its turn comes.
template <class T>
void write_joined(const ibilin &record, int c, T *out)
{
    if (c == 0 && record.row.weight != 0)
        blend_rows(record, 0, aside<T>(record));
    const T *const line = record.row.weight != 0 ? aside<T>(record) : previous<T>(record, 0).at;
    const T *outs[most_components];
    for (int k = 0; k < record.components; ++k)
        outs[k] = static_cast<const T *>(record.at[k].out);
    if (record.out_step == record.components && interleaved(record, outs))
        depth<T>(record.kernels).spread(line, c, record.components, line_samples(record), out - c);
    else
        copy_pixels(record, line + c, record.components, out);
}

template <class T>
void deliver(ibilin &record, int line)
{
    while (record.delivered < record.lines && line >= record.row.second) {
        for (int c = 0; c < record.components; ++c) {
            T *const out = static_cast<T *>(record.at[c].out);
            if (!record.joined)
                write_plane(record, c, out);
            else if (record.together)
                write_joined(record, c, out);
            else
                write_singly(record, c, out);
            record.callback(c);
        }
        ++record.delivered;
        record.row = record.later;
        record.later = row_of(record, record.delivered + 1);
    }
}

template <class T>
void feed_together(ibilin &record, const T *const *lines, T **const *outs)
{
    const int line = record.at[0].fed;
    if (wanted(record, line)) {
        for (int c = 0; c < record.components; ++c)
            take(record.at[c], *outs[c]);
        if (needed(record, line))
            resample(record, lines);
    }
    deliver<T>(record, line);
    for (component &c : record.at)
        ++c.fed;
}

// count: components of the call.
template <class T>
int feed(ibilin &record, int count, const T *const *lines, T **const *outs)
{
    if (record.components == 0)
        return 1;
    record.together = record.together && count >= record.components;
    if (record.together) {
        feed_together(record, lines, outs);
        return 1;
    }
    for (int c = 0; c < std::min(count, record.components); ++c) {
        const int line = record.at[c].fed;
        if (wanted(record, line)) {
            take(record.at[c], *outs[c]);
            resample_singly(record, c, lines[c]);
        }
        if (c == record.components - 1)
            deliver<T>(record, line);
        ++record.at[c].fed;
    }
    return 1;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

ibilin *ibilin_new(int value) TESKA_NOTHROW
{
    auto record = teska::make_record<ibilin>();
    if (!record) {
        TESKA_ERR("ibilin_new:unable to create ibilin");
        return nullptr;
    }
    record->value = value;
    return record.release();
}

int ibilin_kill(ibilin *record) TESKA_NOTHROW
{
    teska::kill_record(record);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int ibilin_start(ibilin *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth,
                 ibilin_callback callback, int inStep, int outStep) TESKA_NOTHROW
{
    ibilin fresh;
    fresh.value = record->value;
    *record = std::move(fresh);
    if (dstLines <= 0 || dstWidth <= 0 || srcLines <= 0 || srcWidth <= 0 || nComponents < 1 ||
        nComponents > most_components) {
        TESKA_ERR("ibilin_start: illegal dest image");
        return 0;
    }
    ibilin image;
    image.value = record->value;
    image.components = nComponents;
    image.source_lines = srcLines;
    image.source_width = srcWidth;
    image.lines = dstLines;
    image.width = dstWidth;
    image.in_step = inStep;
    image.out_step = outStep;
    image.callback = callback;
    image.row = row_of(image, 0);
    image.later = row_of(image, 1);
    image.joined = nComponents > 1 && inStep == nComponents;
    image.picks = srcWidth % dstWidth == 0;
    if (!make_buffers(image) || !make_columns(image) || !make_plan_room(image)) {
        TESKA_ERR("ibilin_start: unsufficient resources");
        return 0;
    }
    *record = std::move(image);
    return 1;
}

// ---- Process --------------------------------------------------------------------------------------------------------

int ibilin_mono(ibilin *record, const unsigned short *line, unsigned short **out) TESKA_NOTHROW
{
    return feed<uint16_t>(*record, 1, &line, &out);
}

int ibilin_rgb(ibilin *record, const unsigned short *line0, const unsigned short *line1, const unsigned short *line2,
               unsigned short **out0, unsigned short **out1, unsigned short **out2) TESKA_NOTHROW
{
    const uint16_t *const lines[] = {line0, line1, line2};
    uint16_t **const outs[] = {out0, out1, out2};
    return feed(*record, 3, lines, outs);
}

int ibilin_cmyk(ibilin *record, const unsigned short *line0, const unsigned short *line1, const unsigned short *line2,
                const unsigned short *line3, unsigned short **out0, unsigned short **out1, unsigned short **out2,
                unsigned short **out3) TESKA_NOTHROW
{
    const uint16_t *const lines[] = {line0, line1, line2, line3};
    uint16_t **const outs[] = {out0, out1, out2, out3};
    return feed(*record, 4, lines, outs);
}

int ibilin_mono_b(ibilin *record, const unsigned char *line, unsigned char **out) TESKA_NOTHROW
{
    return feed<uint8_t>(*record, 1, &line, &out);
}

int ibilin_rgb_b(ibilin *record, const unsigned char *line0, const unsigned char *line1, const unsigned char *line2,
                 unsigned char **out0, unsigned char **out1, unsigned char **out2) TESKA_NOTHROW
{
    const uint8_t *const lines[] = {line0, line1, line2};
    uint8_t **const outs[] = {out0, out1, out2};
    return feed(*record, 3, lines, outs);
}

int ibilin_cmyk_b(ibilin *record, const unsigned char *line0, const unsigned char *line1, const unsigned char *line2,
                  const unsigned char *line3, unsigned char **out0, unsigned char **out1, unsigned char **out2,
                  unsigned char **out3) TESKA_NOTHROW
{
    const uint8_t *const lines[] = {line0, line1, line2, line3};
    uint8_t **const outs[] = {out0, out1, out2, out3};
    return feed(*record, 4, lines, outs);
}
