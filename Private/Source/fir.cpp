// fir - a square filter with finite impulse response, for images that arrive line by line (image)
//
// With r the radius, L = 2 r + 1 lines under the kernel, H lines of the image, the line number c decides what comes
// out:
//
//     c < r               line c as it is
//     r <= c < L - 1      nothing
//     L - 1 <= c < H      line c - r, filtered
//     H <= c < H + r      line c - r as it is; the flush, which follows line H - 1 at once
//
// taken in this order, which gives each line once for H < L too.
//
// Coefficients are integers in units of 1/65536. Variants of the inner loop read words of two samples each
// (Kernels/fir_kernels.h): every line is packed with the line before it when it arrives, and L rows of words are kept
// per component. The window of line c takes every second one of them, and the last with the upper half only:
//
//     words of line       c-L+2    c-L+4  ..  c-1        c
//     lines             c-L+1,+2  +3,+4   ..  c-2,c-1   (c-1),c
//
// They need memory for each image, allocated by fir_start; without it the definition works on the caller's lines. A
// kernel of zeros needs neither. No process-wide state. O(W * L * L) for a line of W pixels.

#include "fir.h"

#include "Kernels/kernels.h"
#include "Source/fir/fir_priv.h"
#include "Support/checked_size.h"
#include "Support/line_callback.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

using std::ptrdiff_t;
using std::size_t;
using std::uint32_t;
using teska::fir_tap;
using teska::heap_block;

namespace
{

constexpr int max_radius = 10;
constexpr int max_size = 2 * max_radius + 1;
constexpr int max_components = 4;
constexpr int max_taps = (max_radius + 1) * max_size;
constexpr double one = 65536.0;       // coefficient 1
constexpr uint32_t half = 0x8000;     // what is taken off 16-bit samples
constexpr size_t line_words = 16;     // of a cache line, where rows begin
constexpr size_t page_words = 1024;   // rows whole pages apart would get in each other's way in the cache
constexpr size_t row_offset = 528;    // by which they miss it, in words: more than half, and whole cache lines
constexpr int max_result = 0x7FFF;    // of a signed sum
constexpr int strided_pixels = 1024;  // filtered at once when outputs are not adjacent

template <class Sample>
struct line_rings {
    const Sample *lines[max_components][max_size] = {};  // per component the last L lines, oldest first
    teska::fir_sample_kernels<Sample> kernels = {};
};

}  // namespace

struct fir {
    int radius = 0;
    int size = 0;
    int maximum = 0;
    int components = 0;
    int lines = 0;
    int width = 0;
    heap_block<double> kernel;
    heap_block<std::int32_t> fixed_kernel;  // the values in use
    std::int64_t counter = 0;               // line sets since fir_start
    ptrdiff_t in_step = 0;
    ptrdiff_t out_step = 0;
    line_rings<std::uint16_t> shorts;
    line_rings<std::uint8_t> bytes;
    teska::line_callback callback;
    bool all_zero = true;       // the fixed kernel
    heap_block<uint32_t> rows;  // L rows of words for each component; kept for the next image
    size_t rows_room = 0;       // words
    uint32_t *first_row = nullptr;
    size_t row_words = 0;  // from one row to the next; 0: the definition works
};

namespace
{

void convert_kernel(fir &f)
{
    const ptrdiff_t count = ptrdiff_t{f.size} * f.size;
    for (ptrdiff_t i = 0; i < count; ++i)
        f.fixed_kernel[static_cast<size_t>(i)] =
            static_cast<std::int32_t>(std::floor(f.kernel[static_cast<size_t>(i)] * one));
    f.all_zero = std::all_of(f.fixed_kernel.get(), f.fixed_kernel.get() + count, [](auto c) { return c == 0; });
}

template <class Sample>
line_rings<Sample> &rings_of(fir &f)
{
    if constexpr (sizeof(Sample) == 1)
        return f.bytes;
    else
        return f.shorts;
}

// ---- Words ----------------------------------------------------------------------------------------------------------

// Rows of words for the image that begins, where they are needed and there is memory.
void prepare_rows(fir &f)
{
    f.row_words = 0;
    if (f.all_zero || f.width < f.size || f.lines < f.size || f.bytes.kernels.pack == nullptr)
        return;
    const size_t least = static_cast<size_t>(f.width) + teska::fir_spare_words;
    const size_t row_words = (least + page_words - 1 - row_offset) / page_words * page_words + row_offset;
    teska::checked_size words(row_words, PTRDIFF_MAX / sizeof(uint32_t));
    words *= static_cast<uint32_t>(f.size * std::clamp(f.components, 1, max_components));
    words += line_words;
    if (!words.valid())
        return;
    if (words.get() > f.rows_room) {
        f.rows_room = 0;
        f.rows.reset();
        f.rows = teska::zeroed_block<uint32_t>(words.get());
        if (!f.rows)
            return;
        f.rows_room = words.get();
    }
    const size_t address = reinterpret_cast<size_t>(f.rows.get()) / sizeof(uint32_t);
    f.first_row = f.rows.get() + (line_words - address % line_words) % line_words;
    f.row_words = row_words;
}

bool has_rows(const fir &f, int component) { return f.row_words != 0 && component < std::max(f.components, 1); }

// The words of a line and the one before it.
uint32_t *row(const fir &f, int component, std::int64_t line)
{
    const auto slot = static_cast<size_t>(line % f.size);
    return f.first_row + (static_cast<size_t>(component * f.size) + slot) * f.row_words;
}

// One half of every coefficient, two lines together; pairs of zeros are left out. Returns the number of taps.
template <class Half>
int collect_taps(const fir &f, int component, const Half &half_of, fir_tap *taps)
{
    fir_tap *tap = taps;
    for (int i = 1; i <= f.size; i += 2) {
        // The last row is left alone: its words begin with the line of the row before.
        const bool alone = i == f.size;
        const std::int32_t *const newer = f.fixed_kernel.get() + (alone ? i - 1 : i) * f.size;
        const uint32_t *const words = row(f, component, f.counter - f.size + 1 + (alone ? i - 1 : i));
        for (int j = 0; j < f.size; ++j) {
            const uint32_t older = alone ? 0 : half_of(newer[j - f.size]);
            if (const uint32_t factors = older | half_of(newer[j]) << 16; factors != 0)
                *tap++ = {.words = words + j, .factors = factors};
        }
    }
    return static_cast<int>(tap - taps);
}

// The interior of a line from the words of its window.
template <class Sample>
void filter_words(fir &f, int component, int count, Sample *out)
{
    fir_tap low[max_taps];
    fir_tap high[max_taps];
    teska::fir_taps taps{.low = low, .lows = 0, .high = high, .highs = 0, .start = 0, .maximum = 0};
    taps.lows = collect_taps(
        f, component, [](std::int32_t c) { return static_cast<uint32_t>(c) & 0xFFFF; }, low);
    taps.highs = collect_taps(
        f, component, [](std::int32_t c) { return (static_cast<uint32_t>(c) + half) >> 16; }, high);
    taps.maximum = static_cast<std::uint16_t>(std::min(f.maximum, max_result));
    if (sizeof(Sample) > 1)
        for (int i = 0; i < f.size * f.size; ++i)
            taps.start += half * static_cast<uint32_t>(f.fixed_kernel[static_cast<size_t>(i)]);

    const auto &kernels = rings_of<Sample>(f).kernels;
    if (f.out_step == 1) {
        kernels.filter_words(taps, 0, count, out);
        return;
    }
    Sample adjacent[strided_pixels];
    for (int first = 0; first < count; first += strided_pixels) {
        const int n = std::min(count - first, strided_pixels);
        kernels.filter_words(taps, first, n, adjacent);
        for (int x = 0; x < n; ++x, out += f.out_step)
            *out = adjacent[x];
    }
}

// ---- Lines ----------------------------------------------------------------------------------------------------------

template <class Sample>
void copy_pixels(const fir &f, const Sample *line, Sample *out, ptrdiff_t first, ptrdiff_t end)
{
    if (f.in_step == 1 && f.out_step == 1 && first < end) {
        std::memmove(out + first, line + first, static_cast<size_t>(end - first) * sizeof(Sample));
        return;
    }
    for (ptrdiff_t x = first; x < end; ++x)
        out[x * f.out_step] = line[x * f.in_step];
}

// The pixels that have r others on either side.
template <class Sample>
void filter_interior(fir &f, int component, Sample *out)
{
    const int count = f.width - 2 * f.radius;
    out += f.radius * f.out_step;
    if (f.all_zero) {
        for (ptrdiff_t x = 0; x < count; ++x)
            out[x * f.out_step] = 0;
    } else if (has_rows(f, component)) {
        filter_words(f, component, count, out);
    } else {
        const auto &rings = rings_of<Sample>(f);
        const teska::fir_window window{.kernel = f.fixed_kernel.get(),
                                       .size = f.size,
                                       .in_step = f.in_step,
                                       .out_step = f.out_step,
                                       .count = count,
                                       .maximum = f.maximum};
        rings.kernels.filter(window, rings.lines[component], out);
    }
}

// One line of one component; from line H on it only takes a place.
template <class Sample>
void take_line(fir &f, int component, const Sample *line, Sample **out)
{
    auto &rings = rings_of<Sample>(f);
    const Sample **const ring = rings.lines[component];
    std::copy(ring + 1, ring + f.size, ring);
    ring[f.size - 1] = line;
    const Sample *const centre = ring[f.radius];

    const std::int64_t c = f.counter;
    if (c < f.lines && has_rows(f, component))
        rings.kernels.pack(row(f, component, c), c > 0 && f.radius > 0 ? ring[f.size - 2] : line, line, f.in_step,
                           f.width);
    if (c < f.radius) {
        // The flush of an image of fewer than r lines passes here too.
        if (c >= f.lines)
            return;
        copy_pixels(f, line, *out, 0, f.width);
    } else if (c < f.size - 1 || c >= std::int64_t{f.lines} + f.radius) {
        return;
    } else {
        copy_pixels(f, centre, *out, 0, f.width);
        if (c < f.lines && f.width >= f.size)
            filter_interior(f, component, *out);
    }
    f.callback(component);
}

template <class Sample, int n>
int take_lines(fir &f, const Sample *const (&lines)[n], Sample **const (&outs)[n])
{
    for (int component = 0; component < n; ++component)
        take_line(f, component, lines[component], outs[component]);
    ++f.counter;
    if (f.counter == f.lines)
        for (int i = 0; i < f.radius; ++i, ++f.counter)
            for (int component = 0; component < n; ++component)
                take_line(f, component, lines[component], outs[component]);
    return 1;
}

}  // namespace

void teska::fir_set_kernel(fir *record, const double *coefficients) noexcept
{
    std::copy_n(coefficients, record->size * record->size, record->kernel.get());
    convert_kernel(*record);
}

// ---- Life -----------------------------------------------------------------------------------------------------------

fir *fir_new(int radius, int maxValue) TESKA_NOTHROW
{
    if (radius < 0 || radius > max_radius) {
        TESKA_ERR("fir_new: illegal radius");
        return nullptr;
    }
    auto f = teska::make_record<fir>();
    if (f) {
        f->radius = radius;
        f->size = 2 * radius + 1;
        f->maximum = maxValue;
        const auto count = static_cast<size_t>(f->size * f->size);
        f->kernel = teska::zeroed_block<double>(count);
        if (f->kernel)
            f->fixed_kernel = teska::zeroed_block<std::int32_t>(count);
    }
    if (!f || !f->fixed_kernel) {
        TESKA_ERR("fir_new: unable to malloc");
        return nullptr;
    }
    // Kept: the only conversion, of coefficients that are all 0.
    convert_kernel(*f);
    return f.release();
}

int fir_kill(fir *record) TESKA_NOTHROW
{
    teska::kill_record(record);
    return 0;
}

// ---- Process --------------------------------------------------------------------------------------------------------

fir *fir_start(fir *record, int nComponents, int nLines, int width, fir_callback callback, int inStep,
               int outStep) TESKA_NOTHROW
{
    fir &f = *record;
    f.components = nComponents;
    f.lines = nLines;
    f.width = width;
    f.callback = {.plain = callback};
    f.in_step = inStep;
    f.out_step = outStep;
    f.counter = 0;
    f.shorts.kernels = teska::kernels().fir.shorts;
    f.bytes.kernels = teska::kernels().fir.bytes;
    prepare_rows(f);
    return record;
}

fir *fir_start_with(fir *record, int nComponents, int nLines, int width, fir_callback_with callback, void *context,
                    int inStep, int outStep) TESKA_NOTHROW
{
    fir_start(record, nComponents, nLines, width, nullptr, inStep, outStep);
    record->callback = {.with = callback, .context = context};
    return record;
}

int fir_mono(fir *record, const unsigned short *line, unsigned short **out) TESKA_NOTHROW
{
    return take_lines<unsigned short, 1>(*record, {line}, {out});
}

int fir_rgb(fir *record, const unsigned short *line0, const unsigned short *line1, const unsigned short *line2,
            unsigned short **out0, unsigned short **out1, unsigned short **out2) TESKA_NOTHROW
{
    return take_lines<unsigned short, 3>(*record, {line0, line1, line2}, {out0, out1, out2});
}

int fir_cmyk(fir *record, const unsigned short *line0, const unsigned short *line1, const unsigned short *line2,
             const unsigned short *line3, unsigned short **out0, unsigned short **out1, unsigned short **out2,
             unsigned short **out3) TESKA_NOTHROW
{
    return take_lines<unsigned short, 4>(*record, {line0, line1, line2, line3}, {out0, out1, out2, out3});
}

int fir_mono_b(fir *record, const unsigned char *line, unsigned char **out) TESKA_NOTHROW
{
    return take_lines<unsigned char, 1>(*record, {line}, {out});
}

int fir_rgb_b(fir *record, const unsigned char *line0, const unsigned char *line1, const unsigned char *line2,
              unsigned char **out0, unsigned char **out1, unsigned char **out2) TESKA_NOTHROW
{
    return take_lines<unsigned char, 3>(*record, {line0, line1, line2}, {out0, out1, out2});
}

int fir_cmyk_b(fir *record, const unsigned char *line0, const unsigned char *line1, const unsigned char *line2,
               const unsigned char *line3, unsigned char **out0, unsigned char **out1, unsigned char **out2,
               unsigned char **out3) TESKA_NOTHROW
{
    return take_lines<unsigned char, 4>(*record, {line0, line1, line2, line3}, {out0, out1, out2, out3});
}
