// fusm - unsharp masking of an image that comes line by line (image)
//
// The lines of the window wait in a ring, line n of the image in slot n modulo the lines of the window; slots hold
// pointers, and with a conversion the lines it filled. Example of radius 1, reach 2, and an image of 7 lines:
//
//     fed          0   1   2   3   4   5   6
//     handed over  0*  1*  -   -   2   3   4, 5*, 6*       * copied
//
// Per pixel there are only integers: strength, coring and level factors stand in tables of V + 1 entries. Beside the
// tables stand forms of them that suit vectors. Corrections of bytes are cut to 255, which cannot be seen in a result;
// and a table without coring mostly is one multiplication:
//
//     table[d] = d * multiplier >> shift      for all d, or the table is used
//
// A multiplier fits when table[d] * 2^shift <= d * multiplier < (table[d] + 1) * 2^shift, so all that fit lie between
// two bounds. Example: strength 1.0, radius 1, V = 255, shift 16: 85 and 255 want 21846 at least, 2 wants 32767 at most,
// 254 wants 21931; the multiplier is 21846.
//
// No process-wide state. A pixel costs O(1) per component, an image O(width) of memory.

#include "fusm.h"

#include "Kernels/kernels.h"
#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/report.h"
#include "interp_double.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

using std::int16_t;
using std::int32_t;
using std::ptrdiff_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;
using teska::heap_block;

namespace
{

constexpr int max_processed = 4;
constexpr int max_components = 10;
constexpr int max_window = 5;  // lines
constexpr int byte_values = 256;
constexpr double factor_unit = 256.0;  // the level factor that changes nothing
constexpr size_t read_ahead = 1;       // entries that a kernel may read behind a table

// What stands in for a table there was no memory for.
constexpr uint16_t no_correction[1 + read_ahead] = {};

struct ring_line {
    const void *samples[max_processed];  // as they were fed
    const void *rows[max_processed];     // what the high-pass reads: the same, or converted lines
    const void *limits;
};

}  // namespace

struct fusm {
    int radius = 0;
    int reach = 0;   // lines of the window before and behind the middle
    int window = 0;  // lines
    int top = 0;     // V
    int processed = 0;
    int components = 0;
    int height = 0;  // lines of the image; 0 while none is expected
    int width = 0;
    double strengths[max_processed]{};
    double noise[max_processed]{};
    heap_block<int16_t> factors;  // K rows of V + 1; empty: no level reduction
    heap_block<uint16_t> tables;  // K rows of V + 1; empty when there was no memory for them
    ring_line ring[max_window]{};
    int fed = 0;  // lines of the image
    int in_step = 0;
    int out_step = 0;
    int limit_step = 0;
    int list[max_processed]{};
    fusm_conversion conversion = nullptr;
    fusm_callback callback = nullptr;
    heap_block<uint16_t> converted;  // a row of `width` for each component of each line of the window
    heap_block<int32_t> high_pass;   // a row of `width` for each component
    teska::usm_curve curves[max_processed]{};
};

namespace
{

// ---- Correction tables ----------------------------------------------------------------------------------------------

// Cut to an integer between the bounds; NaN gives 0.
int cut(double value, int low, int high)
{
    if (std::isnan(value))
        return 0;
    return value <= low ? low : value >= high ? high : static_cast<int>(value);
}

double gain(int radius, double strength)
{
    return radius == 0 ? strength : radius == 1 ? strength / 3 : strength * 0.25;
}

void fill_table(uint16_t *table, int top, double g, double noise)
{
    const int threshold = cut(top * noise, INT_MIN, INT_MAX);
    const int half = threshold / 2;
    for (int64_t d = 0; d <= top; ++d) {
        double value = static_cast<double>(d) * g;
        if (d < half || (d < threshold && half == 0))
            value = 0;
        else if (d < threshold)
            value = value * static_cast<double>(d - half) / half;
        table[d] = static_cast<uint16_t>(cut(std::floor(value), 0, UINT16_MAX));
    }
}

// The form of the table that is one multiplication by a number of so many bits, for samples up to `largest`.
teska::usm_ramp find_ramp(const uint16_t *table, int last, double g, int bits, int largest)
{
    // Gains above 1 take some of the bits. From 128 on products would leave the lanes of a vector.
    int shift = bits;
    while (g > 1 && shift > bits - 7) {
        g /= 2;
        --shift;
    }
    uint64_t low = 0;
    uint64_t high = (uint64_t{1} << bits) - 1;
    for (uint64_t d = 1; d <= static_cast<uint64_t>(last) && low <= high; ++d) {
        const uint64_t wanted = std::min<uint64_t>(table[d], static_cast<uint64_t>(largest));
        low = std::max(low, ((wanted << shift) + d - 1) / d);
        if (wanted < static_cast<uint64_t>(largest))
            high = std::min(high, (((wanted + 1) << shift) - 1) / d);
    }
    return {.fits = low <= high, .multiplier = static_cast<uint32_t>(low), .shift = shift};
}

void fill_bytes(teska::usm_curve &curve, double g)
{
    for (int d = 0; d < byte_values; ++d)
        curve.bytes[d] = static_cast<uint8_t>(std::min<int>(curve.table[std::min(d, curve.last)], UINT8_MAX));
    curve.byte_ramp = find_ramp(curve.table, std::min(curve.last, UINT8_MAX), g, 16, UINT8_MAX);
    curve.ramp = find_ramp(curve.table, curve.last, g, 32, UINT16_MAX);
}

size_t row_length(const fusm &f) { return static_cast<size_t>(f.top) + 1; }

// A row of V + 1 two-byte entries for each processed component; empty when that is more than INT_MAX bytes.
template <class T>
heap_block<T> rows_of_entries(const fusm &f)
{
    teska::checked_size bytes(static_cast<uint64_t>(f.top) + 1, INT_MAX);
    bytes *= static_cast<uint64_t>(f.processed) * sizeof(T);
    return bytes.valid() ? teska::zeroed_block<T>(bytes.get() / sizeof(T) + read_ahead) : heap_block<T>();
}

void build_tables(fusm &f)
{
    // Kept: no report when there is no memory.
    if (!f.tables)
        f.tables = rows_of_entries<uint16_t>(f);
    for (int k = 0; k < f.processed; ++k) {
        teska::usm_curve &curve = f.curves[k];
        const double g = gain(f.radius, f.strengths[k]);
        curve.top = f.top;
        curve.table = no_correction;
        curve.last = 0;
        if (f.tables) {
            uint16_t *const table = f.tables.get() + static_cast<size_t>(k) * row_length(f);
            fill_table(table, f.top, g, f.noise[k]);
            curve.table = table;
            curve.last = f.top;
        }
        fill_bytes(curve, g);
    }
}

// ---- Level reduction ------------------------------------------------------------------------------------------------

using Curve = teska::handle<lin_interp_double, lin_interp_double_kill>;

// The factors of one component; its points stand `stride` numbers apart. False when the curve is none.
bool fill_factors(int16_t *row, int top, int points, const double *levels, const double *factors, int stride)
{
    const Curve curve(lin_interp_double_new(points, nullptr));
    if (!curve) {
        TESKA_ERR("fusm_level_red_set: unable to create lin interp");
        return false;
    }
    for (ptrdiff_t p = 0; p < points; ++p)
        if (lin_interp_double_insert(curve.get(), levels[p * stride], factors[p * stride]) < 0)
            return false;
    for (ptrdiff_t v = 0; v <= top; ++v) {
        double factor = 0;
        if (lin_interp_double_inter(curve.get(), top > 0 ? static_cast<double>(v) / top : 0, &factor) < 0)
            return false;
        row[v] = static_cast<int16_t>(cut(std::floor(factor_unit * factor), INT16_MIN, INT16_MAX));
    }
    return true;
}

void use_factors(fusm &f)
{
    for (int k = 0; k < f.processed; ++k) {
        teska::usm_curve &curve = f.curves[k];
        curve.factors = f.factors ? f.factors.get() + static_cast<size_t>(k) * row_length(f) : nullptr;
        for (int v = 0; v < byte_values && curve.factors != nullptr; ++v) {
            const auto bits = static_cast<uint16_t>(curve.factors[std::min(v, f.top)]);
            curve.factor_bytes[0][v] = static_cast<uint8_t>(bits);
            curve.factor_bytes[1][v] = static_cast<uint8_t>(bits >> 8);
        }
    }
}

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
    f.conversion(sources, f.in_step, rows, 1, f.width);
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
    if (f.conversion != nullptr)
        convert(f, line, newest, sources);
}

template <class Sample>
void copy_line(fusm &f, int line, Sample *const *out)
{
    const ptrdiff_t in_step = f.in_step;
    const ptrdiff_t out_step = f.out_step;
    for (int k = 0; k < f.processed; ++k) {
        const auto *const samples = static_cast<const Sample *>(slot(f, line).samples[k]);
        Sample *const to = out[k];
        if (in_step == 1 && out_step == 1)
            std::memmove(to, samples, static_cast<size_t>(f.width) * sizeof(Sample));
        else
            for (ptrdiff_t x = 0; x < f.width; ++x)
                to[x * out_step] = samples[x * in_step];
        f.callback(k);
    }
}

void sharpen(int radius, const teska::usm_curve &curve, const teska::usm_bytes &line)
{
    teska::kernels().usm.bytes[radius](curve, line);
}

void sharpen(int radius, const teska::usm_curve &curve, const teska::usm_words &line)
{
    teska::kernels().usm.words[radius](curve, line);
}

template <class Sample>
void sharpen_line(fusm &f, int line, Sample *const *out)
{
    const ring_line &middle = slot(f, line);
    for (int k = 0; k < f.processed; ++k) {
        teska::usm_line<Sample> work{};
        for (int i = 0; i < f.window; ++i)
            work.rows[i] = static_cast<const Sample *>(slot(f, line - f.reach + i).rows[k]);
        work.row_step = f.conversion != nullptr ? 1 : f.in_step;
        work.samples = static_cast<const Sample *>(middle.samples[k]);
        work.step = f.in_step;
        work.limits = static_cast<const Sample *>(middle.limits);
        work.limit_step = f.limit_step;
        work.out = out[k];
        work.out_step = f.out_step;
        work.width = f.width;
        work.high_pass = f.high_pass.get() + static_cast<ptrdiff_t>(f.list[k]) * f.width;
        sharpen(f.radius, f.curves[k], work);
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

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

fusm *fusm_new(int radius, int maxValue, int nProcessed, int nComponents, const int *componentList,
               fusm_conversion conversion) TESKA_NOTHROW
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
    f->radius = radius;
    f->reach = radius == 0 ? 1 : 2;
    f->window = 2 * f->reach + 1;
    f->top = std::max(maxValue, 0);
    f->processed = nProcessed;
    f->components = nComponents;
    f->conversion = conversion;
    for (int k = 0; k < nProcessed; ++k) {
        f->list[k] = componentList != nullptr ? componentList[k] : k;
        f->strengths[k] = 1.0;
    }
    build_tables(*f);
    return f.release();
}

int fusm_kill(fusm *record) TESKA_NOTHROW
{
    teska::kill_record(record);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int fusm_stren_set(fusm *record, const double *strengths) TESKA_NOTHROW
{
    std::copy_n(strengths, record->processed, record->strengths);
    build_tables(*record);
    return 1;
}

int fusm_noise_red_set(fusm *record, const double *noise) TESKA_NOTHROW
{
    std::copy_n(noise, record->processed, record->noise);
    build_tables(*record);
    return 1;
}

int fusm_level_red_set(fusm *record, int nPoints, const double *levels, const double *factors) TESKA_NOTHROW
{
    record->factors.reset();
    use_factors(*record);
    if (nPoints <= 0)
        return 1;
    auto rows = rows_of_entries<int16_t>(*record);
    if (!rows)
        return 0;
    for (int k = 0; k < record->processed; ++k) {
        int16_t *const row = rows.get() + static_cast<size_t>(k) * row_length(*record);
        if (!fill_factors(row, record->top, nPoints, levels + k, factors + k, record->processed))
            return 0;
    }
    record->factors.swap(rows);
    use_factors(*record);
    return 1;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

double *fusm_stren_get(fusm *record) TESKA_NOTHROW { return record->strengths; }

double *fusm_noise_red_get(fusm *record) TESKA_NOTHROW { return record->noise; }

// ---- Process --------------------------------------------------------------------------------------------------------

int fusm_start(fusm *record, int nLines, int width, fusm_callback callback, int inStep, int limitStep,
               int outStep) TESKA_NOTHROW
{
    fusm &f = *record;
    f.height = 0;
    f.fed = 0;
    f.width = std::max(width, 0);
    if (f.conversion != nullptr) {
        f.converted.reset();
        f.converted = image_rows<uint16_t>(f.components * f.window, f.width);
        if (!f.converted) {
            TESKA_ERR("fusm_start: malloc comps_buf failed");
            return 0;
        }
    }
    f.high_pass.reset();
    f.high_pass = image_rows<int32_t>(f.components, f.width);
    if (!f.high_pass) {
        TESKA_ERR("fusm_start: malloc HPFc_buf failed");
        return 0;
    }
    f.callback = callback;
    f.in_step = inStep;
    f.limit_step = limitStep;
    f.out_step = outStep;
    f.height = nLines;
    return 1;
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
