// md_tetrab - conversion of 8-bit pixels through a regular grid of bytes (colour)
//
// The grid has R vertices per dimension that callers fill and E further layers behind them. Layer R is reached only as
// the far side of the top vertices, with the lowest weight; then come the bytes of padding:
//
//     |<- (R + E)^N * M: vertices, dimension 0 slowest ->|<- far corner + 64 ->|
//
// The padding is zero and not counted. It lets kernels read whole words at the last vertex, and with E = 0 it stands
// for the missing layer of dimension 0 (that of the others is the next row of the grid).
//
// What conversion needs of a byte u behind its input curve is looked up. With step = 255 / (R - 1), t = u / step and
// i = floor(t):
//
//     offsets[d][u] = i * stride[d]        fractions[u] = floor((t - i) * (H - L) + L)
//
// Kept: in doubles as they stand, exact rational numbers would give other bytes for some u (R = 3, u = 129: 3 for 2).
// Example with R = 17, L = 0, H = 255: step 15.9375, u = 100 lies at 6.27, index 6, fraction 69.
//
// The faster kernels look both up at once, by the byte in front of the curve: places[d][v] = fraction << 24 | offset.
// Callers may write to a curve at any time, so each conversion compares the curves with those of the last one.
//
// No process-wide state. Creation takes O((R + E)^N * M), conversion O(N * M) per pixel and a sort of N numbers.

#include "md_tetrab.h"

#include "Kernels/kernels.h"
#include "Kernels/simplex.h"
#include "Support/grid.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

using std::ptrdiff_t;
using std::size_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;
using teska::heap_block;

namespace
{

constexpr size_t curve_size = 256;
constexpr int input_low = 0;  // the range onto which input curves map
constexpr int input_high = 255;
constexpr int default_low = 0;  // the weights with which kernels multiply instead of looking products up
constexpr int default_high = 255;
constexpr size_t read_ahead = 64;            // bytes that a kernel may read behind the far corner of a cell
constexpr uint64_t max_byte_side = 127;      // of grids whose indices kernels multiply as signed bytes,
constexpr uint64_t max_byte_stride = 32767;  // and strides as signed halves
constexpr int short_run = 16;                // pixels; what shorter runs gain is lost again on comparisons

constexpr auto identity_curve = [] {
    std::array<uint8_t, curve_size> curve{};
    for (size_t v = 0; v < curve_size; ++v)
        curve[v] = static_cast<uint8_t>(v);
    return curve;
}();

}  // namespace

struct md_tetrab {
    teska::grid_shape shape{};
    int points = 0;                              // R^N
    int weight_low = 0;                          // L, the weight at the lower vertex of a cell
    int weight_high = 0;                         // H, the weight of a whole cell
    heap_block<uint32_t> offsets;                // N rows of 256, and as many of places
    heap_block<uint8_t> in_curves;               // N rows of 256, N that the places were made of, N of indices, N of
                                                 // weights
    bool placed = false;                         // whether there are places
    heap_block<uint8_t> out_curves;              // M rows of 256
    uint64_t fractions[curve_size]{};            // shifted up by 32: kernels sort them together with the strides
    uint8_t late[32]{};                          // see md_tetrab_table
    bool even = false;                           // whether late describes the positions
    int data_size = 0;                           // bytes, without the padding
    double input_step = 0;                       // from vertex to vertex, in input bytes
    heap_block<uint8_t> data;                    // vertices and padding
    heap_block<uint8_t> products;                // 256 rows of 256; empty for the default weights
    uint64_t far_corner = 0;                     // sum of the strides
    uint64_t strides[teska::grid_max_inputs]{};  // N, bytes between neighbouring vertices
    heap_block<uint8_t *> lines;                 // M; what md_tetrab_expand hands to the conversion as outputs
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
    const size_t size = teska::grid_values(table.shape).get();
    table.points = static_cast<int>(teska::grid_points(table.shape).get());
    table.far_corner = teska::grid_strides(table.shape, table.strides);
    table.data_size = static_cast<int>(size);
    table.input_step = (input_high - input_low) / static_cast<double>(table.shape.resolution - 1);
    table.data = teska::zeroed_block<uint8_t>(size + table.far_corner + read_ahead);
    return static_cast<bool>(table.data);
}

// Lower index and fraction of a byte behind its input curve. Byte 255 is forced to the top vertex: the quotient alone
// comes out below it for R = 14, 27, 32 and many more.
int place(const md_tetrab &table, size_t u, int &fraction)
{
    const int top = table.shape.resolution - 1;
    const double t = static_cast<double>(u) / table.input_step;
    const int i = u == curve_size - 1 ? top : static_cast<int>(std::floor(t));
    const int range = table.weight_high - table.weight_low;
    fraction = i < top ? static_cast<int>(std::floor((t - i) * range + table.weight_low)) : table.weight_low;
    return i;
}

// Adds byte u to the positions that kernels can calculate: quotient and remainder of u * cells / 255, or one less.
void compare_with_integers(md_tetrab &table, size_t u, size_t index, size_t fraction)
{
    const size_t product = u * static_cast<size_t>(table.shape.resolution - 1);
    const bool late = fraction + 1 == product % 255;
    table.even = table.even && index == product / 255 && (late || fraction == product % 255);
    if (late)
        table.late[u / 128 * 16 + u % 16] |= static_cast<uint8_t>(1 << u / 16 % 8);
}

bool make_positions(md_tetrab &table)
{
    const auto inputs = static_cast<size_t>(table.shape.inputs);
    table.offsets = teska::zeroed_block<uint32_t>(2 * inputs * curve_size);
    if (!table.offsets)
        return false;
    table.even = true;
    for (size_t u = 0; u < curve_size; ++u) {
        int fraction = 0;
        const auto index = static_cast<uint64_t>(place(table, u, fraction));
        compare_with_integers(table, u, index, static_cast<size_t>(fraction));
        table.fractions[u] = static_cast<uint64_t>(fraction) << 32;
        for (size_t d = 0; d < inputs; ++d)
            table.offsets[d * curve_size + u] = static_cast<uint32_t>(index * table.strides[d]);
    }
    return true;
}

// Sets `count` curves of 256 bytes; a null source makes the identity. Input curves map onto input_low .. input_high,
// which leaves every byte as it is.
void set_curves(uint8_t *curves, int count, const uint8_t *const *sources)
{
    for (int i = 0; i < count; ++i, curves += curve_size) {
        const bool given = sources != nullptr && sources[i] != nullptr;
        std::memmove(curves, given ? sources[i] : identity_curve.data(), curve_size);
    }
}

bool make_curves(md_tetrab &table)
{
    table.in_curves = teska::zeroed_block<uint8_t>(4 * static_cast<size_t>(table.shape.inputs) * curve_size);
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

bool make_lines(md_tetrab &table)
{
    table.lines = teska::zeroed_block<uint8_t *>(static_cast<size_t>(table.shape.outputs));
    return static_cast<bool>(table.lines);
}

// ---- Conversion -----------------------------------------------------------------------------------------------------

bool curved(const uint8_t *curves, int count)
{
    for (int i = 0; i < count; ++i, curves += curve_size)
        if (std::memcmp(curves, identity_curve.data(), curve_size) != 0)
            return true;
    return false;
}

// What kernels see of the table. What depends on the curves takes a look at each of them, which costs more than a pixel:
// it is there `for_lines` only, and up to date after update_places.
teska::md_tetrab_table kernel_view(const md_tetrab &table, bool for_lines)
{
    const size_t entries = static_cast<size_t>(table.shape.inputs) * curve_size;
    const bool small =
        table.shape.side() <= max_byte_side && table.shape.inputs >= 3 && table.strides[1] <= max_byte_stride;
    const uint8_t *const rows = table.in_curves.get();
    return {.inputs = table.shape.inputs,
            .outputs = table.shape.outputs,
            .data = table.data.get(),
            .in_curves = table.in_curves.get(),
            .out_curves = table.out_curves.get(),
            .offsets = table.offsets.get(),
            .fractions = table.fractions,
            .strides = table.strides,
            .far_corner = table.far_corner,
            .high = static_cast<uint32_t>(table.weight_high),
            .products = table.products.get(),
            .places = table.offsets.get() + entries,
            .indices = small ? rows + 2 * entries : nullptr,
            .weights = rows + 3 * entries,
            .late = small && table.even ? table.late : nullptr,
            .cells = table.shape.resolution - 1,
            .curved_inputs = for_lines && curved(rows, table.shape.inputs),
            .curved_outputs = for_lines && curved(table.out_curves.get(), table.shape.outputs)};
}

// Whether the table is one that the faster kernels take.
bool fits_lines(const md_tetrab &table)
{
    return !table.products && table.shape.outputs <= teska::md_tetrab_line_outputs &&
           static_cast<size_t>(table.data_size) + table.far_corner < teska::md_tetrab_line_data;
}

// Places, indices and weights of the curves as they are now.
void update_places(md_tetrab &table)
{
    const size_t entries = static_cast<size_t>(table.shape.inputs) * curve_size;
    uint8_t *const placed_curves = table.in_curves.get() + entries;
    uint8_t *const indices = placed_curves + entries;
    uint8_t *const weights = indices + entries;
    if (table.placed && std::memcmp(table.in_curves.get(), placed_curves, entries) == 0)
        return;
    std::memcpy(placed_curves, table.in_curves.get(), entries);
    for (size_t i = 0; i < entries; ++i) {
        const uint32_t offset = table.offsets[i / curve_size * curve_size + placed_curves[i]];
        weights[i] = static_cast<uint8_t>(table.fractions[placed_curves[i]] >> 32);
        indices[i] = static_cast<uint8_t>(offset / table.strides[i / curve_size]);
        table.offsets[entries + i] = uint32_t{weights[i]} << 24 | offset;
    }
    table.placed = true;
}

// Whether the samples that one line has in a run may be in the place of another's, those of the same pixel apart.
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
bool independent(const md_tetrab &table, const teska::md_tetrab_run &run, ptrdiff_t count)
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

// ---- Life -----------------------------------------------------------------------------------------------------------

md_tetrab *md_tetrab_new(int N, int M, int R) TESKA_NOTHROW
{
    return md_tetrab_new_special(N, M, R, default_low, default_high, 1);
}

// Kept: some of the texts lack the b in the name, and one stands for new although new_special reports it.
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
    if (!make_data(*table) || !make_positions(*table)) {
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
    if (!make_lines(*table)) {
        TESKA_ERR("md_tetra_new: insufficient memory");
        return nullptr;
    }
    return table.release();
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
            inBytes[k] = static_cast<uint8_t>(std::floor(coord[k] * table->input_step + input_low + 0.5));
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
    teska::md_tetrab_run run{.in = in, .out = out, .in_step = inStep, .out_step = outStep, .first = 0, .end = count};
    const teska::md_tetrab_kernels &kernels = teska::kernels().md_tetrab;
    const int entry = std::min(table->shape.inputs, 5) - 1;
    const auto convert = kernels.convert[entry];
    auto convert_line = kernels.convert_line[entry];
    const bool for_lines =
        convert_line != nullptr && count >= short_run && fits_lines(*table) && independent(*table, run, count);
    if (for_lines)
        update_places(*table);
    else
        convert_line = convert;
    const teska::md_tetrab_table view = kernel_view(*table, for_lines);
    if (mask == nullptr) {
        convert_line(view, run);
    } else {
        // A run of the kernel is a run of the mask: behind a masked pixel nothing is taken over from the one before.
        const int lowest = first_above(threshold);
        for (ptrdiff_t p = 0; p < count; p = run.end) {
            for (run.first = p; run.first < count && mask[run.first] < lowest;)
                ++run.first;
            for (run.end = run.first; run.end < count && mask[run.end] >= lowest;)
                ++run.end;
            if (run.first < run.end)
                (run.end - run.first < short_run ? convert : convert_line)(view, run);
        }
    }
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
