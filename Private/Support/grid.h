// grid - shape, storage and walk of a regular N-dimensional grid of vertices
//
// The values of vertex (g[0] .. g[N-1]) start at element sum g[k] * stride[k]; the values of one vertex are adjacent
// and dimension 0 varies slowest:
//
//     stride[N-1] = outputs,   stride[k] = (resolution + extension) * stride[k+1]
//
// Strides fall strictly from dimension to dimension. The walk over the vertices is in the opposite order, coordinate 0
// fastest.
//
//     const grid_shape shape{.inputs = 3, .outputs = 4, .resolution = 17, .extension = 1};
//     if (grid_fits(shape))
//         data = zeroed_block<double>(grid_values(shape).get());

#ifndef TESKA_SUPPORT_GRID_H
#define TESKA_SUPPORT_GRID_H

#include "Support/checked_size.h"

#include <climits>

namespace teska
{

// A grid that fits has at least two points per dimension and at most INT_MAX points, so its coordinates fit local
// arrays.
constexpr int grid_max_inputs = 30;

struct grid_shape {
    int inputs;      // N, at least 1
    int outputs;     // values per vertex, at least 1
    int resolution;  // R, points per dimension that callers fill, at least 2
    int extension;   // E, further points per dimension, at least 0

    [[nodiscard]] constexpr std::uint64_t side() const noexcept
    {
        return static_cast<std::uint64_t>(resolution) + static_cast<std::uint64_t>(extension);
    }
};

// R^N, at most INT_MAX.
constexpr checked_size grid_points(const grid_shape &shape) noexcept
{
    return checked_power(static_cast<std::uint64_t>(shape.resolution), shape.inputs, INT_MAX);
}

// (R + E)^N * outputs, at most INT_MAX.
constexpr checked_size grid_values(const grid_shape &shape) noexcept
{
    checked_size values = checked_power(shape.side(), shape.inputs, INT_MAX);
    values *= static_cast<std::uint64_t>(shape.outputs);
    return values;
}

// Both numbers above are valid. Strides, their sum and element numbers are then ints too.
constexpr bool grid_fits(const grid_shape &shape) noexcept
{
    return grid_points(shape).valid() && grid_values(shape).valid();
}

// Writes the N strides of a grid that fits; returns their sum, which leads to the far corner of a cell.
template <class Stride>
constexpr Stride grid_strides(const grid_shape &shape, Stride *stride) noexcept
{
    Stride next = static_cast<Stride>(shape.outputs);
    Stride sum = 0;
    for (int k = shape.inputs - 1; k >= 0; --k) {
        stride[k] = next;
        sum = static_cast<Stride>(sum + next);
        if (k > 0)
            next = static_cast<Stride>(next * static_cast<Stride>(shape.side()));
    }
    return sum;
}

// The walk: steps coord to the next vertex (all zeros after the last) and returns how many follow the one it was at.
constexpr int grid_scan(const grid_shape &shape, int *coord) noexcept
{
    std::int64_t number = 1;
    std::int64_t weight = 1;
    for (int k = 0; k < shape.inputs; ++k) {
        number += coord[k] * weight;
        weight *= shape.resolution;
    }
    for (int k = 0; k < shape.inputs; ++k) {
        if (++coord[k] < shape.resolution)
            break;
        coord[k] = 0;
    }
    return static_cast<int>(weight - number);
}

}  // namespace teska

#endif
