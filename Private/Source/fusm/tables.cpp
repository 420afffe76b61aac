// fusm/tables - the numbers by which a component is sharpened (image)
//
// Corrections and level factors are tables of V + 1 entries. For the kernels with vectors there are more forms. Bytes
// have tables of 256 entries, with corrections cut to 255, which no result shows. Level factors of bytes are a line for
// each row of 16 samples, but for a few rows with bends. And corrections without coring are mostly one multiplication:
//
//     table[d] = d * multiplier >> shift      for all d, or the table is used
//
// Bytes need that only from some d on: what coring takes away is repaired in the rows of 16 entries before it.
//
// A multiplier fits when table[d] * 2^shift <= d * multiplier < (table[d] + 1) * 2^shift, so all that fit lie between
// two bounds. Example: strength 1.0, radius 1, V = 255, shift 16: 3 wants 21846 at least, 254 wants 21931 at most.

#include "Kernels/kernels.h"
#include "Source/fusm/fusm_priv.h"
#include "Support/checked_size.h"
#include "Support/report.h"

#include "interp_double.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

using std::int16_t;
using std::int64_t;
using std::ptrdiff_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

namespace teska::fusm_numbers
{

namespace
{

constexpr int byte_values = 256;
constexpr double factor_unit = 256.0;  // the level factor that changes nothing
constexpr size_t read_ahead = 1;       // entries that a kernel may read after a table

// In the place of a table there was no memory for.
constexpr uint16_t no_correction[1 + read_ahead] = {};

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

// The form of the table that is one multiplication by a number of so many bits, for samples up to `largest`. There is
// none for magnitudes of more than 16 bits: their products would not fit. Every entry from `first` on narrows the
// multipliers to those between low and high; a correction that reaches `largest` has no upper bound, because it is cut.
// Entry 0 is 0 with any multiplier, so that `first` is at least 1; it may be after `last`, and all multipliers fit.
fusm_ramp find_ramp(const uint16_t *table, int first, int last, double g, int bits, int largest)
{
    // Gains from 1 on take some of the bits. From 128 on products would leave the lanes of a vector.
    int shift = bits;
    while (g >= 1 && shift > bits - 7) {
        g /= 2;
        --shift;
    }
    uint64_t low = 0;
    uint64_t high = (uint64_t{1} << bits) - 1;
    for (auto d = static_cast<uint64_t>(first); d <= static_cast<uint64_t>(last) && low <= high; ++d) {
        const uint64_t wanted = std::min<uint64_t>(table[d], static_cast<uint64_t>(largest));
        low = std::max(low, ((wanted << shift) + d - 1) / d);
        if (wanted < static_cast<uint64_t>(largest))
            high = std::min(high, (((wanted + 1) << shift) - 1) / d);
    }
    return {.fits = low <= high && last <= UINT16_MAX, .multiplier = static_cast<uint32_t>(low), .shift = shift};
}

// The ramp of bytes that leaves the least number of rows to repairs.
void find_byte_ramp(fusm_curve &curve, double g)
{
    const int last = std::min(curve.last, UINT8_MAX);  // bytes with longer tables go to the definition
    int rows = 0;
    do
        curve.byte_ramp = find_ramp(curve.table, std::max(rows * fusm_row, 1), last, g, 16, UINT8_MAX);
    while (!curve.byte_ramp.fits && ++rows <= fusm_most_repairs);
    curve.byte_repairs = curve.byte_ramp.fits ? rows : 0;
    // From the end: each row takes back those after it. The ramp is below 255 here: it is as flat as later entries, of
    // at most 255, allow.
    uint8_t after[fusm_row] = {};
    for (int d = curve.byte_repairs * fusm_row - 1; d >= 0; --d) {
        const uint32_t ramp = static_cast<uint32_t>(d) * curve.byte_ramp.multiplier >> curve.byte_ramp.shift;
        const auto wrong = static_cast<uint8_t>(ramp ^ curve.bytes[d]);
        curve.repairs[d] = static_cast<uint8_t>(wrong ^ after[d % fusm_row]);
        after[d % fusm_row] = wrong;
    }
}

// The other two forms of a table.
void fill_vector_forms(fusm_curve &curve, double g)
{
    for (int d = 0; d < byte_values; ++d)
        curve.bytes[d] = static_cast<uint8_t>(std::min<int>(curve.table[std::min(d, curve.last)], UINT8_MAX));
    find_byte_ramp(curve, g);
    curve.ramp = find_ramp(curve.table, 1, curve.last, g, 32, UINT16_MAX);
}

size_t row_length(const corrections &c) { return static_cast<size_t>(c.top) + 1; }

// A row of V + 1 two-byte entries for each processed component; empty when that is more than INT_MAX bytes.
template <class T>
heap_block<T> rows_of_entries(const corrections &c)
{
    checked_size bytes(static_cast<uint64_t>(c.top) + 1, INT_MAX);
    bytes *= static_cast<uint64_t>(c.processed) * sizeof(T);
    return bytes.valid() ? zeroed_block<T>(bytes.get() / sizeof(T) + read_ahead) : heap_block<T>();
}

// Notes whether all components are corrected by the same numbers.
void compare_curves(corrections &c)
{
    const auto differs = [&c](const void *first, const void *row) {
        return first != row && std::memcmp(first, row, row_length(c) * sizeof(uint16_t)) != 0;
    };
    c.alike = true;
    for (int k = 1; k < c.processed; ++k)
        if (differs(c.curves[0].table, c.curves[k].table) || differs(c.curves[0].factors, c.curves[k].factors))
            c.alike = false;
}

}  // namespace

void build_tables(corrections &c) noexcept
{
    // Kept: no report when there is no memory; "usm_new: unable to alloc usmval" is never said.
    if (!c.tables)
        c.tables = rows_of_entries<uint16_t>(c);
    for (int k = 0; k < c.processed; ++k) {
        fusm_curve &curve = c.curves[k];
        const double g = gain(c.radius, c.strengths[k]);
        curve.top = c.top;
        curve.table = no_correction;
        curve.last = 0;
        if (c.tables) {
            uint16_t *const table = c.tables.get() + static_cast<size_t>(k) * row_length(c);
            fill_table(table, c.top, g, c.noise[k]);
            curve.table = table;
            curve.last = c.top;
        }
        fill_vector_forms(curve, g);
    }
    compare_curves(c);
}

// ---- Level reduction ------------------------------------------------------------------------------------------------

namespace
{

using Curve = handle<lin_interp_double, lin_interp_double_kill>;

// The factors of one component; its points are `stride` numbers apart. False when there is no such curve.
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

struct factor_line {
    bool fits;
    int slope;   // in 256ths of a factor's unit
    int offset;  // likewise
};

// The line through a row of factors of bytes. For a slope m entry i wants an offset of at least 256 f[i] - i m, and
// entry j one below 256 (f[j] + 1) - j m. Where those cross, m is too large if j is the later entry, or else too small:
// the slopes that fit, if there are any, are found by halving.
factor_line find_line(const int *factors)
{
    constexpr int unit = 256;
    constexpr int steepest = 2150;
    static_assert((fusm_row - 1) * steepest + unit - 1 <= INT16_MAX, "kernels add in 16 bits");
    for (int low = -steepest, high = steepest; low <= high;) {
        const int slope = (low + high) / 2;
        int least = INT_MIN, most = INT_MAX;
        int latest_least = 0, latest_most = 0;
        for (int i = 0; i < fusm_row; ++i) {
            const int from = factors[i] * unit - i * slope;
            if (from > least) {
                least = from;
                latest_least = i;
            }
            if (from + unit - 1 < most) {
                most = from + unit - 1;
                latest_most = i;
            }
        }
        if (least <= most)
            return {.fits = true, .slope = slope, .offset = least};
        if (latest_most > latest_least)
            high = slope - 1;
        else
            low = slope + 1;
    }
    return {};
}

// The low and the high byte of a number.
void split(int number, uint8_t &low, uint8_t &high)
{
    low = static_cast<uint8_t>(number);
    high = static_cast<uint8_t>(static_cast<unsigned>(number) >> 8);
}

// A row of factors, which has no line yet. False when it would be one repair too many, or a factor is too large.
bool add_row(fusm_factor_rows &rows, int row, const int *factors)
{
    constexpr int unit = 1 << fusm_factor_shift;
    constexpr int largest = INT16_MAX / unit;
    const auto too_large = [](int factor) { return factor < -largest || factor > largest; };
    if (std::any_of(factors, factors + fusm_row, too_large))
        return false;
    const factor_line line = find_line(factors);
    if (line.fits) {
        split(factors[0] * unit, rows.start[0][row], rows.start[1][row]);
        split(line.slope, rows.slope[0][row], rows.slope[1][row]);
        rows.offset[row] = static_cast<uint8_t>(line.offset);
        return true;
    }
    // The line of zeros, and the factors themselves.
    if (rows.repairs == fusm_most_repairs)
        return false;
    const int r = rows.repairs++;
    rows.repaired[r] = static_cast<uint8_t>(row * fusm_row);
    for (int i = 0; i < fusm_row; ++i)
        split(factors[i] * unit, rows.repair[r][0][i], rows.repair[r][1][i]);
    return true;
}

fusm_factor_rows find_factor_rows(const fusm_curve &curve)
{
    fusm_factor_rows rows{};
    rows.fits = true;
    for (int row = 0; row < byte_values / fusm_row && rows.fits; ++row) {
        int factors[fusm_row];
        for (int i = 0; i < fusm_row; ++i)
            factors[i] = curve.factors[std::min(row * fusm_row + i, curve.top)];
        rows.fits = add_row(rows, row, factors);
    }
    return rows;
}

void use_factors(corrections &c)
{
    for (int k = 0; k < c.processed; ++k) {
        fusm_curve &curve = c.curves[k];
        curve.factors = c.factors ? c.factors.get() + static_cast<size_t>(k) * row_length(c) : nullptr;
        for (int v = 0; v < byte_values && curve.factors != nullptr; ++v) {
            const auto bits = static_cast<uint16_t>(curve.factors[std::min(v, c.top)]);
            curve.factor_bytes[0][v] = static_cast<uint8_t>(bits);
            curve.factor_bytes[1][v] = static_cast<uint8_t>(bits >> 8);
        }
        curve.factor_rows = curve.factors != nullptr ? find_factor_rows(curve) : fusm_factor_rows{};
    }
}

}  // namespace

bool set_levels(corrections &c, int points, const double *levels, const double *factors) noexcept
{
    c.factors.reset();
    use_factors(c);
    compare_curves(c);
    if (points <= 0)
        return true;
    auto rows = rows_of_entries<int16_t>(c);
    if (!rows)
        return false;
    for (int k = 0; k < c.processed; ++k) {
        int16_t *const row = rows.get() + static_cast<size_t>(k) * row_length(c);
        if (!fill_factors(row, c.top, points, levels + k, factors + k, c.processed))
            return false;
    }
    c.factors.swap(rows);
    use_factors(c);
    compare_curves(c);
    return true;
}

}  // namespace teska::fusm_numbers
