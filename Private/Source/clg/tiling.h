// tiling - simplices that fill the hull of points of a lattice: the Delaunay tiling for a skew length

#ifndef TESKA_CLG_TILING_H
#define TESKA_CLG_TILING_H

#include "Support/memory.h"

#include <cstdint>
#include <span>

namespace teska::cloud
{

constexpr int most_free = 4;                   // dimensions of the lattice
constexpr int most_corners = most_free + 1;    // of a cell
constexpr std::int32_t lattice_limit = 65535;  // the largest coordinate; the least is 0

// Coordinates from the number of dimensions on are 0.
struct lattice_point {
    std::int32_t x[most_free];
};

// Cells by their corners, numbers of points, in an order in which determinants are positive; and by the cells opposite
// these corners, -1 where there is none. dims + 1 of each for every cell.
struct tiles {
    int dims = 0;
    int count = 0;
    heap_block<int> corner;
    heap_block<int> next;
};

enum class tiling_result { made, too_few, flat, no_memory };

// Tiles points that all differ; neighbours should be near each other in the order of the points. `made` is written
// when that is the result. Where points lie on one sphere, which cells fill it depends on the order of the points.
tiling_result tile(int dims, std::span<const lattice_point> points, tiles &made) noexcept;

}  // namespace teska::cloud

#endif
