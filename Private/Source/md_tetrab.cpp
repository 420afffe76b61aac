// md_tetrab - conversion of 8-bit pixels through a regular grid of bytes (colour)
//
// The grid has R vertices per dimension that callers fill and E further layers after them. Layer R is reached only as
// the far side of the top vertices, with the lowest weight. Then come the bytes of padding:
//
//     |<- (R + E)^N * M: vertices, dimension 0 slowest ->|<- far corner + 64 ->|
//
// The padding is zero and not counted. It lets kernels read whole words at the last vertex, and with E = 0 it takes the
// place of the missing layer of dimension 0 (that of the others is the next row of the grid).
//
// What conversion needs of a byte is looked up (md_tetrab/positions.h). Example with R = 17, L = 0, H = 255: the step
// is 15.9375, byte 100 lies at 6.27, so it has index 6 and weight 69.
//
// Conversion writes to the outputs and the stack only, but for the rows that the faster kernels look up, which are made
// again, by one thread, once the curves have changed.
//
// No process-wide state. Creation takes O((R + E)^N * M), conversion O(N * M) per pixel and a sort of N numbers.

#include "md_tetrab.h"

#include "Kernels/kernels.h"
#include "Kernels/simplex.h"
#include "Source/md_tetrab/positions.h"
#include "Support/grid.h"
#include "Support/grid_fill.h"
#include "Support/memory.h"
#include "Support/report.h"
#include "Support/table_shape.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

using std::ptrdiff_t;
using std::size_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;
using teska::heap_block;
using teska::md_tetrab_rows;
using teska::md_tetrab_run;

namespace
{

constexpr size_t curve_size = teska::md_tetrab_curve;
constexpr double input_range = 255;  // onto which input curves map
constexpr int default_low = 0;       // the weights with which kernels multiply instead of looking products up
constexpr int default_high = 255;
constexpr size_t read_ahead = 64;            // bytes that a kernel may read after the far corner of a cell
constexpr uint64_t max_byte_side = 127;      // of grids whose indices kernels multiply as signed bytes,
constexpr uint64_t max_byte_stride = 32767;  // and strides as signed halves
constexpr int short_run = 16;                // pixels; what shorter runs gain is lost again on comparisons

}  // namespace

struct md_tetrab {
    teska::grid_shape shape{};
    int points = 0;                              // R^N
    int weight_low = 0;                          // L, the weight at the lower vertex of a cell
    int weight_high = 0;                         // H, the weight of a whole cell
    int data_size = 0;                           // bytes, without the padding
    uint64_t strides[teska::grid_max_inputs]{};  // N, bytes between neighbouring vertices
    uint64_t far_corner = 0;                     // sum of the strides
    double input_step = 0;                       // from vertex to vertex, in input bytes
    teska::md_tetrab_positions positions;
    heap_block<uint8_t> data;        // vertices and padding
    heap_block<uint8_t> in_curves;   // N rows of 256
    heap_block<uint8_t> out_curves;  // M rows of 256
    heap_block<uint8_t> products;    // 256 rows of 256; empty for the default weights
    teska::md_tetrab_row_sets row_sets;
    heap_block<uint8_t *> lines;  // M; what md_tetrab_expand hands to the conversion as outputs
};

namespace
{

// ---- Creation, in its order -----------------------------------------------------------------------------------------

bool legal(const teska::grid_shape &shape, int low, int high)
{
    return shape.inputs >= 1 && shape.outputs >= 1 && shape.resolution >= 2 && shape.extension >= 0 && low >= 0 &&
           low < high && high <= 255;
}

bool make_data(md_tetrab &table)
{
    if (!teska::grid_fits(table.shape))
        return false;
    table.points = static_cast<int>(teska::grid_points(table.shape).get());
    table.data_size = static_cast<int>(teska::grid_values(table.shape).get());
    table.far_corner = teska::grid_strides(table.shape, table.strides);
    table.input_step = input_range / (table.shape.resolution - 1);
    // Each term is at most INT_MAX.
    teska::checked_size bytes(table.far_corner, PTRDIFF_MAX);
    bytes += static_cast<uint64_t>(table.data_size);
    bytes += read_ahead;
    if (bytes.valid())
        table.data = teska::zeroed_block<uint8_t>(bytes.get());
    return static_cast<bool>(table.data);
}

// Sets `count` curves of 256 bytes; a null source makes the identity.
void set_curves(uint8_t *curves, int count, const uint8_t *const *sources)
{
    for (int i = 0; i < count; ++i, curves += curve_size) {
        const bool given = sources != nullptr && sources[i] != nullptr;
        std::memmove(curves, given ? sources[i] : teska::md_tetrab_identity(), curve_size);
    }
}

bool make_curves(md_tetrab &table)
{
    table.in_curves = teska::zeroed_block<uint8_t>(static_cast<size_t>(table.shape.inputs) * curve_size);
    table.out_curves = teska::zeroed_block<uint8_t>(static_cast<size_t>(table.shape.outputs) * curve_size);
    if (!table.in_curves || !table.out_curves)
        return false;
    set_curves(table.in_curves.get(), table.shape.inputs, nullptr);
    set_curves(table.out_curves.get(), table.shape.outputs, nullptr);
    return true;
}

// a * w / range, rounded; a tie goes up.
constexpr uint32_t rounded_product(uint32_t a, uint32_t w, uint32_t range) { return (2 * a * w + range) / (2 * range); }

// Products of weights other than the default. Rows and columns outside L .. H stay 255.
bool make_products(md_tetrab &table)
{
    if (table.weight_low == default_low && table.weight_high == default_high)
        return true;
    table.products = teska::zeroed_block<uint8_t>(curve_size * curve_size);
    if (!table.products)
        return false;
    std::memset(table.products.get(), 255, curve_size * curve_size);
    const auto low = static_cast<uint32_t>(table.weight_low);
    const auto range = static_cast<uint32_t>(table.weight_high) - low;
    for (uint32_t k = 0; k <= range; ++k)
        for (uint32_t j = 0; j <= range; ++j)
            table.products[(low + k) * curve_size + low + j] = static_cast<uint8_t>(rounded_product(k, j, range) + low);
    return true;
}

bool make_row_sets(md_tetrab &table)
{
    table.lines = teska::zeroed_block<uint8_t *>(static_cast<size_t>(table.shape.outputs));
    return table.lines && table.row_sets.reserve(table.shape.inputs);
}

// A table of the same shape and weights, empty. False: memory is short.
bool make_like(const md_tetrab &model, md_tetrab &table)
{
    table.shape = model.shape;
    table.weight_low = model.weight_low;
    table.weight_high = model.weight_high;
    return make_data(table) && table.positions.make(table.shape, table.strides, table.weight_low, table.weight_high) &&
           make_curves(table) && make_products(table) && make_row_sets(table);
}

// ---- Conversion -----------------------------------------------------------------------------------------------------

// What kernels see of the table. What only convert_line needs is there only with rows.
teska::md_tetrab_table kernel_view(const md_tetrab &table, const md_tetrab_rows *rows)
{
    const bool for_lines = rows != nullptr;
    const bool small = for_lines && table.shape.side() <= max_byte_side && table.shape.inputs >= 3 &&
                       table.strides[1] <= max_byte_stride;
    return {.inputs = table.shape.inputs,
            .outputs = table.shape.outputs,
            .data = table.data.get(),
            .in_curves = table.in_curves.get(),
            .out_curves = table.out_curves.get(),
            .offsets = table.positions.offsets.get(),
            .fractions = table.positions.weights,
            .strides = table.strides,
            .far_corner = table.far_corner,
            .high = static_cast<uint32_t>(table.weight_high),
            .products = table.products.get(),
            .places = for_lines ? rows->places.get() : nullptr,
            .indices = small ? rows->indices.get() : nullptr,
            .weights = for_lines ? rows->weights.get() : nullptr,
            .late = small && table.positions.calculable ? table.positions.late : nullptr,
            .cells = table.shape.resolution - 1,
            .curved_inputs = for_lines && rows->curved,
            .curved_outputs = for_lines && teska::md_tetrab_curved(table.out_curves.get(), table.shape.outputs)};
}

// Whether the table is one that the faster kernels take: they look positions up by 24 bits.
bool fits_lines(const md_tetrab &table)
{
    return !table.products && table.shape.outputs <= teska::md_tetrab_line_outputs &&
           static_cast<uint64_t>(table.data_size) + table.far_corner < teska::md_tetrab_line_data;
}

// Whether a byte of line b may be one of line a, which is not that of the same pixel.
bool collide(const uint8_t *a, ptrdiff_t a_step, const uint8_t *b, ptrdiff_t b_step, ptrdiff_t count)
{
    const ptrdiff_t distance = b - a;
    const ptrdiff_t a_end = a_step * (count - 1);
    const ptrdiff_t b_end = distance + b_step * (count - 1);
    if (std::max(distance, b_end) < std::min<ptrdiff_t>(0, a_end) ||
        std::max<ptrdiff_t>(0, a_end) < std::min(distance, b_end))
        return false;
    return a_step != b_step || std::abs(distance) >= std::abs(a_step);
}

// Whether the outcome is the same when several pixels are read before they are stored, output by output.
bool independent(const md_tetrab &table, const md_tetrab_run &run, ptrdiff_t count)
{
    for (int c = 0; c < table.shape.outputs; ++c) {
        if (run.out[c] == nullptr)
            continue;
        for (int d = 0; d < table.shape.inputs; ++d)
            if (collide(run.out[c], run.out_step, run.in[d], run.in_step, count))
                return false;
        for (int other = 0; other < c; ++other)
            if (run.out[other] != nullptr && (run.out[c] == run.out[other] ||
                                              collide(run.out[c], run.out_step, run.out[other], run.out_step, count)))
                return false;
    }
    return true;
}

// The smallest mask byte above the threshold; 256 when there is none, as for not-a-number.
int first_above(double threshold)
{
    if (!(threshold < 255))
        return 256;
    return threshold < 0 ? 0 : static_cast<int>(std::floor(threshold)) + 1;
}

// Which pixels are converted: all, or those whose byte is not below the lowest.
struct mask_rule {
    const uint8_t *bytes;
    int lowest;
};

// Converts the pixels of a run that pass the mask; leaves the run at its end.
void convert(const md_tetrab &table, md_tetrab_run &run, const mask_rule &mask)
{
    const ptrdiff_t count = run.end;
    const teska::md_tetrab_kernels &kernels = teska::kernels().md_tetrab;
    const int entry = std::min(table.shape.inputs, 5) - 1;
    const auto convert_any = kernels.convert[entry];
    auto convert_line = kernels.convert_line[entry];
    const bool for_lines =
        convert_line != nullptr && count >= short_run && fits_lines(table) && independent(table, run, count);
    const md_tetrab_rows *const rows =
        for_lines ? table.row_sets.rows(table.positions, table.in_curves.get()) : nullptr;
    if (rows == nullptr)
        convert_line = convert_any;
    const teska::md_tetrab_table view = kernel_view(table, rows);
    if (mask.bytes == nullptr)
        return convert_line(view, run);
    // A run of the kernel is a run of the mask: after a masked pixel nothing is taken over from the one before.
    for (ptrdiff_t p = 0; p < count; p = run.end) {
        for (run.first = p; run.first < count && mask.bytes[run.first] < mask.lowest;)
            ++run.first;
        for (run.end = run.first; run.end < count && mask.bytes[run.end] >= mask.lowest;)
            ++run.end;
        if (run.first < run.end)
            (run.end - run.first < short_run ? convert_any : convert_line)(view, run);
    }
}

// ---- Expansion ------------------------------------------------------------------------------------------------------

// The values at one vertex of a grid that is `ratio` times as fine: its place in the source's cell is exact, j / ratio.
void subdivide(const md_tetrab &source, const int *coord, int ratio, uint8_t *vertex)
{
    const int n = source.shape.inputs;
    uint32_t fraction[teska::grid_max_inputs];
    uint64_t stride[teska::grid_max_inputs];
    const uint8_t *base = source.data.get();
    for (int d = 0; d < n; ++d) {
        const int last_cell = source.shape.resolution - 2;
        const int cell = coord[d] / ratio < last_cell ? coord[d] / ratio : last_cell;
        const auto inside = static_cast<uint64_t>(coord[d] - cell * ratio);
        base += static_cast<uint64_t>(cell) * source.strides[d];
        fraction[d] = static_cast<uint32_t>(default_high * inside / static_cast<uint64_t>(ratio));
        stride[d] = source.strides[d];
    }
    teska::sort_descending(fraction, stride, n);

    for (int c = 0; c < source.shape.outputs; ++c) {
        const uint8_t *at = base + c;
        uint32_t sum = rounded_product(*at, default_high - fraction[0], default_high);
        for (int i = 0; i < n; ++i) {
            const uint32_t weight = fraction[i] - (i + 1 < n ? fraction[i + 1] : 0);
            at += stride[i];
            sum += rounded_product(*at, weight, default_high);
        }
        vertex[c] = static_cast<uint8_t>(sum);
    }
}

// The values at one vertex by conversion of its input bytes, as one pixel.
void convert_vertex(md_tetrab &source, md_tetrab &target, const int *coord)
{
    uint8_t bytes[teska::grid_max_inputs];
    uint8_t *in[teska::grid_max_inputs];
    uint8_t *vertex = md_tetrab_vertex_get(&target, coord, bytes);
    for (int d = 0; d < target.shape.inputs; ++d)
        in[d] = bytes + d;
    for (int c = 0; c < target.shape.outputs; ++c)
        target.lines[static_cast<size_t>(c)] = vertex + c;
    md_tetrab_interp(&source, in, 1, target.lines.get(), 1, 1, nullptr, 0);
}

}  // namespace

const teska::grid_shape &teska::shape_of(const md_tetrab &table) noexcept { return table.shape; }

// ---- Life -----------------------------------------------------------------------------------------------------------

md_tetrab *md_tetrab_new(int N, int M, int R) TESKA_NOTHROW
{
    return md_tetrab_new_special(N, M, R, default_low, default_high, 1);
}

// Kept: some of the texts lack the b in the name, and one names new although new_special reports it.
md_tetrab *md_tetrab_new_special(int N, int M, int R, int L, int H, int E) TESKA_NOTHROW
{
    const teska::grid_shape shape{.inputs = N, .outputs = M, .resolution = R, .extension = E};
    if (!legal(shape, L, H)) {
        TESKA_ERR("md_tetra_new: illegal dimension");
        return nullptr;
    }
    auto table = teska::make_record<md_tetrab>();
    if (!table) {
        TESKA_ERR("md_tetra_new: insufficient memory");
        return nullptr;
    }
    table->shape = shape;
    table->weight_low = L;
    table->weight_high = H;
    if (!make_data(*table) || !table->positions.make(shape, table->strides, L, H)) {
        TESKA_ERR("md_tetrab_new: malloc failure");
        return nullptr;
    }
    if (!make_curves(*table)) {
        TESKA_ERR("md_tetra_new: insufficient memory");
        return nullptr;
    }
    if (!make_products(*table)) {
        TESKA_ERR("md_tetrab_new: insuff. mem.");
        return nullptr;
    }
    if (!make_row_sets(*table)) {
        TESKA_ERR("md_tetra_new: insufficient memory");
        return nullptr;
    }
    return table.release();
}

md_tetrab *md_tetrab_clone(const md_tetrab *table) TESKA_NOTHROW
{
    auto copy = teska::make_record<md_tetrab>();
    if (!copy || !make_like(*table, *copy)) {
        TESKA_ERR("md_tetrab_clone: insufficient memory");
        return nullptr;
    }
    const auto curves = [](int count) { return static_cast<size_t>(count) * curve_size; };
    std::memcpy(copy->data.get(), table->data.get(), static_cast<size_t>(table->data_size));
    std::memcpy(copy->in_curves.get(), table->in_curves.get(), curves(table->shape.inputs));
    std::memcpy(copy->out_curves.get(), table->out_curves.get(), curves(table->shape.outputs));
    return copy.release();
}

md_tetrab *md_tetrab_kill(md_tetrab *table) TESKA_NOTHROW
{
    teska::kill_record(table);
    return nullptr;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int md_tetrab_LUT(md_tetrab *table, unsigned char **inCurves, unsigned char **outCurves) TESKA_NOTHROW
{
    set_curves(table->in_curves.get(), table->shape.inputs, inCurves);
    set_curves(table->out_curves.get(), table->shape.outputs, outCurves);
    return 1;
}

unsigned char *md_tetrab_ilutptr(md_tetrab *table, int d) TESKA_NOTHROW
{
    const bool inside = d >= 0 && d < table->shape.inputs;
    return inside ? table->in_curves.get() + static_cast<size_t>(d) * curve_size : nullptr;
}

unsigned char *md_tetrab_olutptr(md_tetrab *table, int c) TESKA_NOTHROW
{
    const bool inside = c >= 0 && c < table->shape.outputs;
    return inside ? table->out_curves.get() + static_cast<size_t>(c) * curve_size : nullptr;
}

int md_tetrab_fill_double(md_tetrab *table, const double *values, int extension, double lo, double hi) TESKA_NOTHROW
{
    const teska::grid_source source{.values = values, .extension = extension, .low = lo, .high = hi};
    const teska::grid_filling filling = teska::fill_grid(table->shape, source, table->data.get());
    if (filling == teska::grid_filling::illegal_range)
        TESKA_ERR("md_tetrab_fill_double: illegal range");
    if (filling == teska::grid_filling::illegal_value)
        TESKA_ERR("md_tetrab_fill_double: illegal value");
    return filling == teska::grid_filling::done ? 1 : 0;
}

unsigned char *md_tetrab_dataptr(md_tetrab *table, int *size) TESKA_NOTHROW
{
    if (size != nullptr)
        *size = table->data_size;
    return table->data.get();
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int md_tetrab_get_nrpoints(md_tetrab *table) TESKA_NOTHROW { return table->points; }

unsigned char *md_tetrab_vertex_get(md_tetrab *table, const int *coord, unsigned char *inBytes) TESKA_NOTHROW
{
    uint8_t *vertex = table->data.get();
    for (int k = 0; k < table->shape.inputs; ++k) {
        vertex += static_cast<ptrdiff_t>(coord[k]) * static_cast<ptrdiff_t>(table->strides[k]);
        // Kept: doubles again; R = 51 and coordinate 25, exactly 127.5, gives 127.
        if (inBytes != nullptr)
            inBytes[k] = static_cast<uint8_t>(std::floor(coord[k] * table->input_step + 0.5));
    }
    return vertex;
}

int md_tetrab_scan_vertex(md_tetrab *table, int *coord) TESKA_NOTHROW { return teska::grid_scan(table->shape, coord); }

// ---- Process --------------------------------------------------------------------------------------------------------

int md_tetrab_interp(md_tetrab *table, unsigned char **in, int inStep, unsigned char **out, int outStep, int count,
                     const unsigned char *mask, double threshold) TESKA_NOTHROW
{
    if (count <= 0)
        return 1;
    const mask_rule masked{.bytes = mask, .lowest = mask != nullptr ? first_above(threshold) : 0};
    md_tetrab_run run{.in = in, .out = out, .in_step = inStep, .out_step = outStep, .first = 0, .end = count};
    convert(*table, run, masked);
    for (int c = 0; c < table->shape.outputs; ++c)
        if (out[c] != nullptr)
            out[c] += count * static_cast<ptrdiff_t>(outStep);
    return 1;
}

md_tetrab *md_tetrab_expand(md_tetrab *table, int newR) TESKA_NOTHROW
{
    md_tetrab *target = md_tetrab_new(table->shape.inputs, table->shape.outputs, newR);
    if (target == nullptr) {
        TESKA_ERR("md_tetrab_expand: error in md_tetrab_new");
        return nullptr;
    }
    const int cells = table->shape.resolution - 1;
    const int ratio = (newR - 1) % cells == 0 ? (newR - 1) / cells : 0;
    int coord[teska::grid_max_inputs] = {};
    do {
        // Kept: the source's curves count only between ratios, in the conversion.
        if (ratio != 0)
            subdivide(*table, coord, ratio, md_tetrab_vertex_get(target, coord, nullptr));
        else
            convert_vertex(*table, *target, coord);
    } while (md_tetrab_scan_vertex(target, coord) != 0);
    return target;
}
