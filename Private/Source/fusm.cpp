// fusm - unsharp masking of an image that comes line by line (image)
//
// The lines of the window wait in a ring, line n of the image in slot n modulo the lines of the window; slots hold
// pointers, and with a conversion the lines it filled. Example of radius 1, reach 2, and an image of 7 lines:
//
//     fed          0   1   2   3   4   5   6
//     handed over  0*  1*  -   -   2   3   4, 5*, 6*       * copied
//
// Pixels are calculated in integers. The tables that say how much is corrected are made from strengths, noise and level
// curves, between images, by fusm/tables.cpp.
//
// Components that lie side by side in the lines fed, and are corrected by the same numbers, are sharpened as one run of
// samples, whose neighbours are then a pixel apart.
//
// No process-wide state. A pixel costs O(1) per component, an image O(width) of memory.

#include "fusm.h"

#include "Kernels/kernels.h"
#include "Source/fusm/fusm_priv.h"
#include "Support/checked_size.h"
#include "Support/line_callback.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <climits>
#include <cstring>

using std::int32_t;
using std::ptrdiff_t;
using std::size_t;
using std::uint16_t;
using std::uint64_t;
using teska::heap_block;
using teska::fusm_numbers::max_processed;

namespace
{

constexpr int max_components = 10;
constexpr int max_window = 5;  // lines

// Fills lines for the high-pass, if there is one: a function with the user's pointer or one without.
struct line_conversion {
    fusm_conversion plain = nullptr;
    fusm_conversion_with with = nullptr;
    void *context = nullptr;

    [[nodiscard]] bool given() const { return plain != nullptr || with != nullptr; }
    void operator()(void **in, int in_step, void **out, int width) const
    {
        if (with != nullptr)
            with(context, in, in_step, out, 1, width);
        else
            plain(in, in_step, out, 1, width);
    }
};

struct ring_line {
    const void *samples[max_processed];  // as they were fed
    const void *rows[max_processed];     // what the high-pass reads: the same, or converted lines
    const void *limits;
};

}  // namespace

struct fusm {
    teska::fusm_numbers::corrections corrections;
    int radius = 0;
    int reach = 0;   // lines of the window before and after the middle
    int window = 0;  // lines
    int processed = 0;
    int components = 0;
    int list[max_processed]{};
    line_conversion conversion;

    int height = 0;  // lines of the image; 0 while none is expected
    int width = 0;
    int fed = 0;  // lines of the image
    teska::line_callback callback;
    int in_step = 0;
    int limit_step = 0;
    int out_step = 0;
    ring_line ring[max_window]{};
    heap_block<uint16_t> converted;  // a row of `width` for each component of each line of the window
    heap_block<int32_t> high_pass;   // a row of `width` for each component; then room for C * width samples
};

namespace
{

// ---- Flow of lines --------------------------------------------------------------------------------------------------

ring_line &slot(fusm &f, int line) { return f.ring[line % f.window]; }

uint16_t *converted_row(const fusm &f, int line, int component)
{
    const ptrdiff_t row = static_cast<ptrdiff_t>(line % f.window) * f.components + component;
    return f.converted.get() + row * f.width;
}

void convert(const fusm &f, int line, ring_line &newest, void *const *in)
{
    void *sources[max_processed];
    void *rows[max_components];
    std::copy_n(in, f.processed, sources);
    for (int c = 0; c < f.components; ++c)
        rows[c] = converted_row(f, line, c);
    f.conversion(sources, f.in_step, rows, f.width);
    for (int k = 0; k < f.processed; ++k)
        newest.rows[k] = converted_row(f, line, f.list[k]);
}

template <class Sample>
void take_line(fusm &f, int line, Sample *const *in, const Sample *limits)
{
    ring_line &newest = slot(f, line);
    void *sources[max_processed];
    for (int k = 0; k < f.processed; ++k)
        newest.samples[k] = newest.rows[k] = sources[k] = in[k];
    newest.limits = limits;
    if (f.conversion.given())
        convert(f, line, newest, sources);
}

template <class Sample>
void copy_samples(const Sample *from, ptrdiff_t step, Sample *to, ptrdiff_t out_step, ptrdiff_t count)
{
    if (step == 1 && out_step == 1 && count > 0) {
        std::memmove(to, from, static_cast<size_t>(count) * sizeof(Sample));
        return;
    }
#pragma GCC unroll 8
    for (ptrdiff_t x = 0; x < count; ++x)
        to[x * out_step] = from[x * step];
}

template <class Sample>
void copy_line(fusm &f, int line, Sample *const *out)
{
    for (int k = 0; k < f.processed; ++k) {
        copy_samples(static_cast<const Sample *>(slot(f, line).samples[k]), f.in_step, out[k], f.out_step, f.width);
        f.callback(k);
    }
}

void sharpen(int radius, const teska::fusm_curve &curve, const teska::fusm_bytes &line)
{
    teska::kernels().fusm.bytes[radius](curve, line);
}

void sharpen(int radius, const teska::fusm_curve &curve, const teska::fusm_words &line)
{
    teska::kernels().fusm.words[radius](curve, line);
}

template <class Sample>
teska::fusm_line<Sample> window_around(fusm &f, int line, int k)
{
    teska::fusm_line<Sample> work{};
    for (int i = 0; i < f.window; ++i)
        work.rows[i] = static_cast<const Sample *>(slot(f, line - f.reach + i).rows[k]);
    work.row_step = work.distance = f.conversion.given() ? 1 : f.in_step;
    work.border = f.reach;
    work.samples = static_cast<const Sample *>(slot(f, line).samples[k]);
    work.step = f.in_step;
    work.limits = static_cast<const Sample *>(slot(f, line).limits);
    work.limit_step = f.limit_step;
    work.width = f.width;
    work.high_pass = f.high_pass.get() + static_cast<ptrdiff_t>(f.list[k]) * f.width;
    return work;
}

// Whether the components lie side by side in all lines of the window, and can be sharpened as one run of samples: also
// when other components lie between them, whose results are not used.
template <class Sample>
bool side_by_side(fusm &f, int line)
{
    if (f.processed == 1 || !f.corrections.alike || f.conversion.given() || f.in_step < f.processed ||
        f.in_step > f.components || f.width == 0 || slot(f, line).limits != nullptr)
        return false;
    for (const ring_line &fed : f.ring)
        for (int k = 0; k < f.processed && fed.rows[0] != nullptr; ++k)
            if (fed.rows[k] != static_cast<const Sample *>(fed.rows[0]) + k)
                return false;
    return true;
}

// Sharpens all components at once, after the rows of the high-pass, and hands them over one by one.
template <class Sample>
void sharpen_together(fusm &f, int line, Sample *const *out)
{
    const ptrdiff_t step = f.in_step;
    auto *const results =
        reinterpret_cast<Sample *>(f.high_pass.get() + static_cast<ptrdiff_t>(f.components) * f.width);
    teska::fusm_line<Sample> work = window_around<Sample>(f, line, 0);
    work.row_step = work.step = work.out_step = 1;
    work.distance = step;
    work.border = f.reach * step;
    work.width = (f.width - 1) * step + f.processed;
    work.out = results;
    work.high_pass = f.high_pass.get();
    sharpen(f.radius, f.corrections.curves[0], work);
    for (int k = 0; k < f.processed; ++k) {
        copy_samples<Sample>(results + k, step, out[k], f.out_step, f.width);
        f.callback(k);
    }
}

template <class Sample>
void sharpen_line(fusm &f, int line, Sample *const *out)
{
    if (side_by_side<Sample>(f, line)) {
        sharpen_together(f, line, out);
        return;
    }
    for (int k = 0; k < f.processed; ++k) {
        teska::fusm_line<Sample> work = window_around<Sample>(f, line, k);
        work.out = out[k];
        work.out_step = f.out_step;
        sharpen(f.radius, f.corrections.curves[k], work);
        f.callback(k);
    }
}

template <class Sample>
int feed(fusm &f, Sample *const *in, Sample *const *out, const Sample *limits)
{
    if (f.fed >= f.height)
        return 1;
    const int line = f.fed++;
    take_line(f, line, in, limits);
    if (line < f.reach)
        copy_line(f, line, out);
    else if (line >= f.window - 1)
        sharpen_line(f, line - f.reach, out);
    if (f.fed == f.height)
        for (int rest = std::max(f.reach, f.height - f.reach); rest < f.height; ++rest)
            copy_line(f, rest, out);
    return 1;
}

bool legal_components(int processed, int components, const int *list)
{
    if (processed < 1 || processed > max_processed || components < 1 || components > max_components)
        return false;
    if (list == nullptr)
        return processed <= components;
    return std::all_of(list, list + processed, [=](int c) { return c >= 0 && c < components; });
}

// Room for rows of the image's width; empty when that is more than INT_MAX bytes.
template <class T>
heap_block<T> image_rows(int rows, int width)
{
    teska::checked_size bytes(static_cast<uint64_t>(width), INT_MAX);
    bytes *= static_cast<uint64_t>(rows) * sizeof(T);
    return bytes.valid() ? teska::zeroed_block<T>(bytes.get() / sizeof(T)) : heap_block<T>();
}

// A filter, or null with the report of why not.
fusm *create(int radius, int maxValue, int nProcessed, int nComponents, const int *componentList,
             const line_conversion &conversion)
{
    if (radius < 0 || radius > 2) {
        TESKA_ERR("usm_new: illegal radius");
        return nullptr;
    }
    if (!legal_components(nProcessed, nComponents, componentList)) {
        TESKA_ERR("usm_new: illegal nr comp");
        return nullptr;
    }
    auto f = teska::make_record<fusm>();
    if (!f) {
        TESKA_ERR("usm_new: unable to malloc");
        return nullptr;
    }
    f->radius = f->corrections.radius = radius;
    f->reach = radius == 0 ? 1 : 2;
    f->window = 2 * f->reach + 1;
    f->corrections.top = std::max(maxValue, 0);
    f->processed = f->corrections.processed = nProcessed;
    f->components = nComponents;
    f->conversion = conversion;
    for (int k = 0; k < nProcessed; ++k) {
        f->list[k] = componentList != nullptr ? componentList[k] : k;
        f->corrections.strengths[k] = 1.0;
    }
    teska::fusm_numbers::build_tables(f->corrections);
    return f.release();
}

struct image_shape {
    int lines;
    int width;
    int in_step;
    int limit_step;
    int out_step;
};

// Begins an image, or reports why not; feeding does nothing then.
int start(fusm &f, const image_shape &image, const teska::line_callback &callback)
{
    f.height = 0;
    f.fed = 0;
    f.width = std::max(image.width, 0);
    f.converted.reset();
    f.high_pass.reset();
    heap_block<uint16_t> converted;
    if (f.conversion.given()) {
        converted = image_rows<uint16_t>(f.components * f.window, f.width);
        if (!converted) {
            TESKA_ERR("fusm_start: malloc comps_buf failed");
            return 0;
        }
    }
    f.high_pass = image_rows<int32_t>(f.components + (f.components + 1) / 2, f.width);
    if (!f.high_pass) {
        TESKA_ERR("fusm_start: malloc HPFc_buf failed");
        return 0;
    }
    f.converted.swap(converted);
    f.callback = callback;
    f.in_step = image.in_step;
    f.limit_step = image.limit_step;
    f.out_step = image.out_step;
    f.height = image.lines;
    return 1;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

fusm *fusm_new(int radius, int maxValue, int nProcessed, int nComponents, const int *componentList,
               fusm_conversion conversion) TESKA_NOTHROW
{
    return create(radius, maxValue, nProcessed, nComponents, componentList, {.plain = conversion});
}

fusm *fusm_new_with(int radius, int maxValue, int nProcessed, int nComponents, const int *componentList,
                    fusm_conversion_with conversion, void *context) TESKA_NOTHROW
{
    return create(radius, maxValue, nProcessed, nComponents, componentList, {.with = conversion, .context = context});
}

int fusm_kill(fusm *record) TESKA_NOTHROW
{
    teska::kill_record(record);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int fusm_stren_set(fusm *record, const double *strengths) TESKA_NOTHROW
{
    std::copy_n(strengths, record->processed, record->corrections.strengths);
    teska::fusm_numbers::build_tables(record->corrections);
    return 1;
}

int fusm_noise_red_set(fusm *record, const double *noise) TESKA_NOTHROW
{
    std::copy_n(noise, record->processed, record->corrections.noise);
    teska::fusm_numbers::build_tables(record->corrections);
    return 1;
}

int fusm_level_red_set(fusm *record, int nPoints, const double *levels, const double *factors) TESKA_NOTHROW
{
    return teska::fusm_numbers::set_levels(record->corrections, nPoints, levels, factors) ? 1 : 0;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

double *fusm_stren_get(fusm *record) TESKA_NOTHROW { return record->corrections.strengths; }

double *fusm_noise_red_get(fusm *record) TESKA_NOTHROW { return record->corrections.noise; }

// ---- Process --------------------------------------------------------------------------------------------------------

int fusm_start(fusm *record, int nLines, int width, fusm_callback callback, int inStep, int limitStep,
               int outStep) TESKA_NOTHROW
{
    return start(*record, {nLines, width, inStep, limitStep, outStep}, {.plain = callback});
}

int fusm_start_with(fusm *record, int nLines, int width, fusm_callback_with callback, void *context, int inStep,
                    int limitStep, int outStep) TESKA_NOTHROW
{
    return start(*record, {nLines, width, inStep, limitStep, outStep}, {.with = callback, .context = context});
}

int fusm_b_do(fusm *record, unsigned char **inLine, unsigned char **outLine,
              const unsigned char *limitLine) TESKA_NOTHROW
{
    return feed<unsigned char>(*record, inLine, outLine, limitLine);
}

int fusm_do(fusm *record, unsigned short **inLine, unsigned short **outLine,
            const unsigned short *limitLine) TESKA_NOTHROW
{
    return feed<unsigned short>(*record, inLine, outLine, limitLine);
}
