// ibilin - bilinear resampling of images that come line by line (image)
//
// A line that the next destination line needs is resampled in its own direction at once, into one of two buffers; then
// the buffers are blended from line to line:
//
//     source line s, s + 1    a0 a1 a2 a3 a4       where each column lies is computed once, by ibilin_start
//                               \ | \ | \ |
//     previous, current        b0  b1  b2          the roles change with every line used
//                               |   |   |
//     destination line         c0  c1  c2          where the row lies is computed when it is the next one
//
// Memory does not depend on the number of lines. Components whose samples are adjacent in the lines fed are joined:
// they pass the kernels as one line, and their buffers are interleaved too. What a kernel needs to know of the columns,
// a plan, is made when the first line shows the depth of the samples.
//
// A line is not resampled when no destination line gives it a weight: halving uses every other line only.
//
// All this holds while each call feeds all components. Once a call has fed some of them only, every component is
// resampled and blended by itself, sample by sample.
//
// Example: 4 samples brought to 3 lie at 0, 1 1/3, 2 2/3, with weights 0, 21845, 43690 of 65536.
//
// No process-wide state. O(width) for each line fed and each line handed out.

#include "ibilin.h"

#include "Kernels/kernels.h"
#include "Source/ibilin/plan.h"
#include "Support/checked_size.h"
#include "Support/line_callback.h"
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

// What ibilin_start was given.
struct image {
    int components = 0;  // 0: lines are ignored
    int source_lines = 0;
    int source_width = 0;
    int lines = 0;
    int width = 0;
    ptrdiff_t in_step = 0;
    ptrdiff_t out_step = 0;
    teska::line_callback callback;

    // Whether all components of a line are one line of the buffers, interleaved.
    [[nodiscard]] bool joined() const { return components > 1 && in_step == components; }

    // Components of a line of the buffers, and lines of one image line.
    [[nodiscard]] int line_components() const { return joined() ? components : 1; }
    [[nodiscard]] int line_count() const { return joined() ? 1 : components; }

    // Samples of a line of the buffers.
    [[nodiscard]] ptrdiff_t line_samples() const { return static_cast<ptrdiff_t>(width) * line_components(); }
};

}  // namespace

struct ibilin {
    int value = 0;
    image shape;
    component at[most_components];
    int delivered = 0;     // destination lines
    ibilin_place row{};    // where the next one lies
    bool together = true;  // all calls so far fed all components
    teska::ibilin_kernels kernels{};
    heap_block<ibilin_place> columns;
    ptrdiff_t buffer_line = 0;     // samples from one line of the buffers to the next
    heap_block<uint16_t> buffers;  // previous lines, current lines, one line for what is written by samples
    teska::ibilin_planner planner;
};

namespace
{

// ---- Start ----------------------------------------------------------------------------------------------------------

// In doubles, operation by operation. Nothing is negative, so conversion rounds down.
ibilin_place place_of(int i, int source, int destination)
{
    const double f = static_cast<double>(i) * source / destination;
    const int first = static_cast<int>(f);
    return {.first = first,
            .second = std::min(first + 1, source - 1),
            .weight = static_cast<uint32_t>((f - first) * 65536)};
}

// After the last row it is the last one.
ibilin_place row_of(const image &of, int i) { return place_of(std::min(i, of.lines - 1), of.source_lines, of.lines); }

bool make_buffers(ibilin &record)
{
    const image &of = record.shape;
    teska::checked_size samples(static_cast<std::uint64_t>(of.width), INT_MAX / sizeof(uint16_t));
    samples *= static_cast<std::uint64_t>(of.line_components());
    samples += teska::ibilin_padding;
    samples *= static_cast<std::uint64_t>(2 * of.line_count() + 1);
    if (!samples.valid())
        return false;
    record.buffer_line = (of.line_samples() / teska::ibilin_padding + 1) * teska::ibilin_padding;
    record.buffers = teska::zeroed_block<uint16_t>(samples.get());
    return static_cast<bool>(record.buffers);
}

bool make_columns(ibilin &record)
{
    const image &of = record.shape;
    if (!teska::checked_size(static_cast<std::uint64_t>(of.width), INT_MAX / sizeof(ibilin_place)).valid())
        return false;
    record.columns = teska::zeroed_block<ibilin_place>(static_cast<size_t>(of.width));
    for (int x = 0; record.columns && x < of.width; ++x)
        record.columns[x] = place_of(x, of.source_width, of.width);
    return static_cast<bool>(record.columns);
}

bool make_plan_room(ibilin &record)
{
    record.kernels = teska::kernels().ibilin;
    return record.planner.reserve(record.kernels, record.shape.line_samples());
}

// Begins an image, or reports why not; the record ignores lines then.
int start(ibilin &record, const image &shape)
{
    ibilin next;
    next.value = record.value;
    record = std::move(next);
    if (shape.lines <= 0 || shape.width <= 0 || shape.source_lines <= 0 || shape.source_width <= 0 ||
        shape.components < 1 || shape.components > most_components) {
        TESKA_ERR("ibilin_start: illegal dest image");
        return 0;
    }
    next = {};
    next.value = record.value;
    next.shape = shape;
    next.row = row_of(next.shape, 0);
    if (!make_buffers(next) || !make_columns(next) || !make_plan_room(next)) {
        TESKA_ERR("ibilin_start: unsufficient resources");
        return 0;
    }
    record = std::move(next);
    return 1;
}

// ---- What depends on the depth, and where samples are ---------------------------------------------------------------

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
    const image &of = record.shape;
    const ptrdiff_t line = which * of.line_count() + (of.joined() ? 0 : c);
    T *const begin = reinterpret_cast<T *>(record.buffers.get()) + line * record.buffer_line;
    return {.at = begin + (of.joined() ? c : 0), .step = of.line_components()};
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

// Where a finished line waits that cannot be written to the output at once.
template <class T>
T *aside(const ibilin &record)
{
    return reinterpret_cast<T *>(record.buffers.get()) + 2 * record.shape.line_count() * record.buffer_line;
}

// ---- A line is fed --------------------------------------------------------------------------------------------------

bool wanted(const ibilin &record, int line)
{
    return record.delivered < record.shape.lines && (line == record.row.first || line == record.row.second);
}

// Whether a line that is wanted will have a weight, as the current one now or as the previous one later.
bool needed(const ibilin &record, int line)
{
    if (record.shape.source_lines == 1)
        return true;
    ibilin_place row = record.row;
    for (int i = record.delivered; i < record.shape.lines; row = row_of(record.shape, ++i)) {
        if (row.second > line)
            return row.first <= line;
        if (row.weight != 0)
            return true;
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
        .columns(record.columns.get(), record.shape.width, {.at = line, .step = record.shape.in_step},
                 current<T>(record, c));
}

// A component, or all that are joined.
template <class T>
void resample_planned(const ibilin &record, int c, const T *line)
{
    T *const out = current<T>(record, c).at;
    T *const rest = out + record.planner.rest_at() / static_cast<ptrdiff_t>(sizeof(T));
    const teska::ibilin_depth<T> &kernels = depth<T>(record.kernels);
    const auto make = record.planner.picks() ? kernels.pick : kernels.across;
    make(record.planner.repeated(), line, out);
    make(record.planner.rest(), line, rest);
}

template <class T>
bool interleaved(const image &of, const T *const *lines)
{
    for (int c = 1; c < of.components; ++c)
        if (lines[c] != lines[0] + c)
            return false;
    return true;
}

template <class T>
void resample(ibilin &record, const T *const *lines)
{
    const image &of = record.shape;
    const bool joined = of.joined();
    if (record.planner.depth() != sizeof(T))
        record.planner.make({.places = record.columns.get(),
                             .pixels = of.width,
                             .source_pixels = of.source_width,
                             .together = of.line_components(),
                             .step = static_cast<int>(of.in_step)},
                            sizeof(T));
    const bool planned = record.planner.made() && (!joined || interleaved(of, lines));
    if (planned && joined)
        return resample_planned(record, 0, lines[0]);
    for (int c = 0; c < of.components; ++c)
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
        .down(previous<T>(record, c).at, current<T>(record, c).at, record.row.weight, record.shape.line_samples(), out);
}

template <class T>
void copy_pixels(const image &of, const T *in, ptrdiff_t step, T *out)
{
    for (ptrdiff_t x = 0; x < of.width; ++x)
        out[x * of.out_step] = in[x * step];
}

// A component of joined lines by itself, sample by sample.
template <class T>
void write_singly(const ibilin &record, int c, T *out)
{
    const ibilin_run<T> upper = previous<T>(record, c);
    const ibilin_run<T> lower = current<T>(record, c);
    for (ptrdiff_t x = 0; x < record.shape.width; ++x)
        depth<T>(record.kernels)
            .down(upper.at + x * upper.step, lower.at + x * lower.step, record.row.weight, 1,
                  out + x * record.shape.out_step);
}

// A component of lines that are not joined.
template <class T>
void write_plane(const ibilin &record, int c, T *out)
{
    if (record.shape.out_step == 1)
        return blend_rows(record, c, out);
    blend_rows(record, c, aside<T>(record));
    copy_pixels(record.shape, aside<T>(record), 1, out);
}

// A component of joined lines: with the first one all are blended, each is written when its turn comes.
template <class T>
void write_joined(const ibilin &record, int c, T *out)
{
    const image &of = record.shape;
    if (c == 0 && record.row.weight != 0)
        blend_rows(record, 0, aside<T>(record));
    const T *const line = record.row.weight != 0 ? aside<T>(record) : previous<T>(record, 0).at;
    const T *outs[most_components];
    for (int k = 0; k < of.components; ++k)
        outs[k] = static_cast<const T *>(record.at[k].out);
    if (of.out_step == of.components && interleaved(of, outs))
        depth<T>(record.kernels).spread(line, c, of.components, of.line_samples(), out - c);
    else
        copy_pixels(of, line + c, of.components, out);
}

template <class T>
void deliver(ibilin &record, int line)
{
    const image &of = record.shape;
    while (record.delivered < of.lines && line >= record.row.second) {
        for (int c = 0; c < of.components; ++c) {
            T *const out = static_cast<T *>(record.at[c].out);
            if (!of.joined())
                write_plane(record, c, out);
            else if (record.together)
                write_joined(record, c, out);
            else
                write_singly(record, c, out);
            of.callback(c);
        }
        record.row = row_of(of, ++record.delivered);
    }
}

template <class T>
void feed_together(ibilin &record, const T *const *lines, T **const *outs)
{
    const int line = record.at[0].fed;
    if (wanted(record, line)) {
        for (int c = 0; c < record.shape.components; ++c)
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
    const int components = record.shape.components;
    if (components == 0)
        return 1;
    record.together = record.together && count >= components;
    if (record.together) {
        feed_together(record, lines, outs);
        return 1;
    }
    for (int c = 0; c < std::min(count, components); ++c) {
        const int line = record.at[c].fed;
        if (wanted(record, line)) {
            take(record.at[c], *outs[c]);
            resample_singly(record, c, lines[c]);
        }
        if (c == components - 1)
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
    return start(*record, {.components = nComponents,
                           .source_lines = srcLines,
                           .source_width = srcWidth,
                           .lines = dstLines,
                           .width = dstWidth,
                           .in_step = inStep,
                           .out_step = outStep,
                           .callback = {.plain = callback}});
}

int ibilin_start_with(ibilin *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth,
                      ibilin_callback_with callback, void *context, int inStep, int outStep) TESKA_NOTHROW
{
    return start(*record, {.components = nComponents,
                           .source_lines = srcLines,
                           .source_width = srcWidth,
                           .lines = dstLines,
                           .width = dstWidth,
                           .in_step = inStep,
                           .out_step = outStep,
                           .callback = {.with = callback, .context = context}});
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
