// md_tetrad - evaluation of points through a regular grid of doubles (colour)
//
// The grid has R vertices per dimension that callers fill and one further layer behind them, so that the cell that
// begins at a top vertex exists; it is read with weight 0:
//
//     |<- (R + 1)^N * M doubles, dimension 0 slowest ->|
//
// With step = (hi - lo) / (R - 1), vertex i of a dimension stands for i * step + lo. Example: R = 5, lo = 0, hi = 100,
// step 25: x = 30 gives index 1 and fraction 0.2.
//
// No process-wide state. Creation takes O((R + 1)^N * M), evaluation O(N * M) per point and a sort of N numbers.

#include "md_tetrad.h"

#include "Kernels/kernels.h"
#include "Support/grid.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <cstddef>

using std::size_t;
using teska::heap_block;

struct md_tetrad {
    teska::grid_shape shape{};
    int points = 0;         // R^N
    int data_size = 0;      // (R + 1)^N * M
    double input_step = 0;  // from vertex to vertex
    double input_low = 0;
    double input_high = 0;
    int far_corner = 0;                     // sum of the strides
    int strides[teska::grid_max_inputs]{};  // N, doubles between neighbouring vertices
    // What evaluation of five and more inputs works in.
    heap_block<double> fractions;     // N
    heap_block<int> order;            // N
    heap_block<double> weights;       // N + 1
    heap_block<const double *> path;  // N + 1
    heap_block<const int *> offsets;  // N rows of R
    heap_block<int> positions;        // the rows, one behind the other
    heap_block<double> data;
};

namespace
{

// ---- Creation, in its order -----------------------------------------------------------------------------------------

bool make_data(md_tetrad &table)
{
    if (!teska::grid_fits(table.shape))
        return false;
    const size_t size = teska::grid_values(table.shape).get();
    table.points = static_cast<int>(teska::grid_points(table.shape).get());
    table.data_size = static_cast<int>(size);
    table.far_corner = teska::grid_strides(table.shape, table.strides);
    constexpr size_t room = 1;  // kernels read four values where three are needed
    table.data = teska::zeroed_block<double>(size + room);
    return static_cast<bool>(table.data);
}

bool make_positions(md_tetrad &table)
{
    const auto resolution = static_cast<size_t>(table.shape.resolution);
    table.positions = teska::zeroed_block<int>(static_cast<size_t>(table.shape.inputs) * resolution);
    if (!table.positions)
        return false;
    for (size_t d = 0; d < static_cast<size_t>(table.shape.inputs); ++d) {
        int *row = table.positions.get() + d * resolution;
        for (int i = 0; i < table.shape.resolution; ++i)
            row[i] = i * table.strides[d];
        table.offsets[d] = row;
    }
    return true;
}

bool make_work_arrays(md_tetrad &table)
{
    const auto inputs = static_cast<size_t>(table.shape.inputs);
    table.fractions = teska::zeroed_block<double>(inputs);
    table.order = teska::zeroed_block<int>(inputs);
    table.weights = teska::zeroed_block<double>(inputs + 1);
    table.path = teska::zeroed_block<const double *>(inputs + 1);
    return table.fractions && table.order && table.weights && table.path;
}

teska::md_tetrad_table kernel_view(const md_tetrad &table)
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
            .fractions = table.fractions.get(),
            .order = table.order.get(),
            .weights = table.weights.get(),
            .path = table.path.get()};
}

}  // namespace

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
    table->offsets = teska::zeroed_block<const int *>(static_cast<size_t>(N));
    if (!table->offsets) {
        TESKA_ERR("md_tetrab_new: malloc failure");
        return nullptr;
    }
    if (!make_positions(*table)) {
        TESKA_ERR("md_tetrad_new: insuff. mem.");
        return nullptr;
    }
    if (!make_work_arrays(*table)) {
        TESKA_ERR("md_tetra_new: insufficient memory");
        return nullptr;
    }
    return table.release();
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
        vertex += static_cast<std::ptrdiff_t>(coord[k]) * table->strides[k];
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
    by_inputs[inputs < 5 ? inputs - 1 : 4](
        kernel_view(*table), {.in = in, .out = out, .in_step = inStep, .out_step = outStep, .count = count});
    for (int c = 0; c < table->shape.outputs; ++c)
        if (out[c] != nullptr)
            out[c] += count * static_cast<std::ptrdiff_t>(outStep);
    return 1;
}
