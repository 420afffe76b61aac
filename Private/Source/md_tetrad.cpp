// md_tetrad - evaluation of points through a regular grid of doubles (colour)
//
// The grid has R vertices per dimension that callers fill and one further layer after them, so that the cell that
// begins at a top vertex exists; it is read with weight 0:
//
//     |<- (R + 1)^N * M doubles, dimension 0 slowest ->|
//
// With step = (hi - lo) / (R - 1), vertex i of a dimension represents the input i * step + lo. Example: R = 5, lo = 0,
// hi = 100, step 25: x = 30 gives index 1 and fraction 0.2.
//
// Evaluation writes to the outputs and the stack only. No process-wide state. Creation takes O((R + 1)^N * M),
// evaluation O(N * M) per point and a sort of N numbers.

#include "md_tetrad.h"

#include "Kernels/kernels.h"
#include "Support/grid.h"
#include "Support/memory.h"
#include "Support/report.h"
#include "Support/table_shape.h"

#include <cstddef>
#include <cstring>

using std::ptrdiff_t;
using std::size_t;
using teska::heap_block;

namespace
{

constexpr size_t cache_line = 64;  // bytes

}  // namespace

struct md_tetrad {
    teska::grid_shape shape{};
    int points = 0;         // R^N
    int data_size = 0;      // (R + 1)^N * M
    double input_step = 0;  // from vertex to vertex
    double input_low = 0;
    double input_high = 0;
    int far_corner = 0;                     // sum of the strides
    int strides[teska::grid_max_inputs]{};  // N, doubles between neighbouring vertices
    heap_block<const int *> offsets;        // N rows of R: where the vertices of an index begin
    heap_block<int> positions;              // the rows, one after the other
    heap_block<double> data;
};

namespace
{

// ---- Creation, in its order -----------------------------------------------------------------------------------------

bool make_data(md_tetrad &table)
{
    if (!teska::grid_fits(table.shape))
        return false;
    table.points = static_cast<int>(teska::grid_points(table.shape).get());
    table.data_size = static_cast<int>(teska::grid_values(table.shape).get());
    table.far_corner = teska::grid_strides(table.shape, table.strides);
    constexpr size_t room = 1;  // kernels read four values where three are needed
    table.data = teska::zeroed_block<double>(static_cast<size_t>(table.data_size) + room);
    return static_cast<bool>(table.data);
}

bool make_offsets(md_tetrad &table)
{
    table.offsets = teska::zeroed_block<const int *>(static_cast<size_t>(table.shape.inputs));
    return static_cast<bool>(table.offsets);
}

bool make_positions(md_tetrad &table)
{
    const int resolution = table.shape.resolution;
    table.positions =
        teska::zeroed_block<int>(static_cast<size_t>(table.shape.inputs) * static_cast<size_t>(resolution));
    if (!table.positions)
        return false;
    for (int d = 0; d < table.shape.inputs; ++d) {
        int *row = table.positions.get() + static_cast<ptrdiff_t>(d) * resolution;
        for (int i = 0; i < resolution; ++i)
            row[i] = i * table.strides[d];
        table.offsets[d] = row;
    }
    return true;
}

// What evaluation of five and more inputs works in. Aligned so that six inputs do not take 10 % longer in some callers.
struct scratch {
    alignas(cache_line) double fractions[teska::grid_max_inputs];
    alignas(cache_line) int order[teska::grid_max_inputs];
    alignas(cache_line) double weights[teska::grid_max_inputs + 1];
    alignas(cache_line) const double *path[teska::grid_max_inputs + 1];
};

teska::md_tetrad_table kernel_view(const md_tetrad &table, scratch &work)
{
    return {.inputs = table.shape.inputs,
            .outputs = table.shape.outputs,
            .resolution = table.shape.resolution,
            .low = table.input_low,
            .high = table.input_high,
            .step = table.input_step,
            .data = table.data.get(),
            .offsets = table.offsets.get(),
            .strides = table.strides,
            .far_corner = table.far_corner,
            .fractions = work.fractions,
            .order = work.order,
            .weights = work.weights,
            .path = work.path};
}

}  // namespace

const teska::grid_shape &teska::shape_of(const md_tetrad &table) noexcept { return table.shape; }

// ---- Life -----------------------------------------------------------------------------------------------------------

// Kept: the texts name other functions.
md_tetrad *md_tetrad_new(int N, int M, int R, double lo, double hi) TESKA_NOTHROW
{
    if (N < 1 || M < 1 || R < 2) {
        TESKA_ERR("md_tetra_new: illegal dimension");
        return nullptr;
    }
    auto table = teska::make_record<md_tetrad>();
    if (!table) {
        TESKA_ERR("md_tetra_new: insufficient memory");
        return nullptr;
    }
    table->shape = {.inputs = N, .outputs = M, .resolution = R, .extension = 1};
    table->input_low = lo;
    table->input_high = hi;
    table->input_step = (hi - lo) / (R - 1);
    if (!make_data(*table)) {
        TESKA_ERR("md_tetra_new: insufficient memory");
        return nullptr;
    }
    if (!make_offsets(*table)) {
        TESKA_ERR("md_tetrab_new: malloc failure");
        return nullptr;
    }
    if (!make_positions(*table)) {
        TESKA_ERR("md_tetrad_new: insuff. mem.");
        return nullptr;
    }
    return table.release();
}

md_tetrad *md_tetrad_clone(const md_tetrad *table) TESKA_NOTHROW
{
    auto copy = teska::make_record<md_tetrad>();
    if (copy) {
        copy->shape = table->shape;
        copy->input_step = table->input_step;
        copy->input_low = table->input_low;
        copy->input_high = table->input_high;
    }
    if (!copy || !make_data(*copy) || !make_offsets(*copy) || !make_positions(*copy)) {
        TESKA_ERR("md_tetrad_clone: insufficient memory");
        return nullptr;
    }
    std::memcpy(copy->data.get(), table->data.get(), static_cast<size_t>(table->data_size) * sizeof(double));
    return copy.release();
}

md_tetrad *md_tetrad_kill(md_tetrad *table) TESKA_NOTHROW
{
    teska::kill_record(table);
    return nullptr;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

double *md_tetrad_dataptr(md_tetrad *table, int *size) TESKA_NOTHROW
{
    if (size != nullptr)
        *size = table->data_size;
    return table->data.get();
}

int md_tetrad_get_nrpoints(md_tetrad *table) TESKA_NOTHROW { return table->points; }

double *md_tetrad_vertex_get(md_tetrad *table, const int *coord, double *inValues) TESKA_NOTHROW
{
    double *vertex = table->data.get();
    for (int k = 0; k < table->shape.inputs; ++k) {
        vertex += static_cast<ptrdiff_t>(coord[k]) * table->strides[k];
        if (inValues != nullptr)
            inValues[k] = coord[k] * table->input_step + table->input_low;
    }
    return vertex;
}

int md_tetrad_scan_vertex(md_tetrad *table, int *coord) TESKA_NOTHROW { return teska::grid_scan(table->shape, coord); }

// ---- Process --------------------------------------------------------------------------------------------------------

int md_tetrad_interp(md_tetrad *table, double **in, int inStep, double **out, int outStep, int count) TESKA_NOTHROW
{
    if (count <= 0)
        return 1;
    const int inputs = table->shape.inputs;
    constexpr int several = 4;  // from here on vectors of points pay
    const teska::md_tetrad_kernels &kernels = teska::kernels().md_tetrad;
    const auto &by_inputs = count < several ? kernels.evaluate : kernels.evaluate_long;
    scratch work;
    by_inputs[inputs < 5 ? inputs - 1 : 4](
        kernel_view(*table, work), {.in = in, .out = out, .in_step = inStep, .out_step = outStep, .count = count});
    for (int c = 0; c < table->shape.outputs; ++c)
        if (out[c] != nullptr)
            out[c] += count * static_cast<ptrdiff_t>(outStep);
    return 1;
}
