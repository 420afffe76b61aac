// grid_fill - the vertices of a grid of whole samples, rounded from doubles
//
// Used by md_tetrab and md_tetras.

#ifndef TESKA_SUPPORT_GRID_FILL_H
#define TESKA_SUPPORT_GRID_FILL_H

#include "Support/grid.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace teska
{

// Doubles that lie like the vertices of a grid, with layers of their own after them.
struct grid_source {
    const double *values;
    int extension;
    double low;   // becomes 0
    double high;  // becomes the largest sample
};

enum class grid_filling { done, illegal_range, illegal_value };

// Calls visit(target, source) with the places of the values of every vertex, in the order of the walk.
template <class Visit>
void each_vertex(const grid_shape &target, const grid_shape &source, Visit visit) noexcept
{
    std::int64_t to[grid_max_inputs], from[grid_max_inputs];
    grid_strides(target, to);
    grid_strides(source, from);
    int coord[grid_max_inputs] = {};
    do {
        std::int64_t at = 0, in = 0;
        for (int k = 0; k < target.inputs; ++k) {
            at += coord[k] * to[k];
            in += coord[k] * from[k];
        }
        visit(static_cast<std::ptrdiff_t>(at), static_cast<std::ptrdiff_t>(in));
    } while (grid_scan(target, coord) != 0);
}

// Fills the vertices of the walk. Unless it is done, nothing is written.
template <class Sample>
grid_filling fill_grid(const grid_shape &shape, const grid_source &source, Sample *data) noexcept
{
    constexpr double largest = std::numeric_limits<Sample>::max();
    grid_shape from = shape;
    from.extension = source.extension;
    const double extent = source.high - source.low;
    if (source.extension < 0 || !grid_fits(from) || !std::isfinite(extent) || extent == 0.0)
        return grid_filling::illegal_range;
    bool finite = true;
    each_vertex(shape, from, [&](std::ptrdiff_t, std::ptrdiff_t in) {
        const double *const values = source.values + in;
        finite = finite && std::all_of(values, values + shape.outputs, [](double v) { return std::isfinite(v); });
    });
    if (!finite)
        return grid_filling::illegal_value;
    each_vertex(shape, from, [&](std::ptrdiff_t at, std::ptrdiff_t in) {
        for (int c = 0; c < shape.outputs; ++c) {
            const double sample = std::floor(largest * (source.values[in + c] - source.low) / extent + 0.5);
            data[at + c] = static_cast<Sample>(std::clamp(sample, 0.0, largest));
        }
    });
    return grid_filling::done;
}

}  // namespace teska

#endif
