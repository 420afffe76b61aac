// nearest_kernels - which triangle of a surface is nearest to a point: the search through a tree of boxes

#ifndef TESKA_NEAREST_KERNELS_H
#define TESKA_NEAREST_KERNELS_H

#include <cstdint>

namespace teska
{

// Four triangles side by side, as nearest_measure.h sees them; one that is missing is another one again.
struct nearest_packet {
    double base[3][4];
    double bottom[3][4];
    double left[3][4];
    double height[3][4];
    double slant[4];
    double per_bottom[4];
    double per_left[4];
    double per_right[4];
    double per_height[4];
    std::int32_t number[4];
};

// The boxes of four children, each a little larger than what is in it (Support/triangle_tree.h).
struct nearest_node {
    double low[3][4];  // infinite for a child that is missing
    double high[3][4];
    std::int32_t child[4];  // above 0 a node, else a packet, negated
};

struct nearest_tree {
    // Levels of four children each, of which three wait: enough for 2^31 triangles.
    static constexpr int most_waiting = 64;
    // By how much less the square of the distance of a box counts.
    static constexpr double less = 1.0 - 0x1p-46;

    const nearest_node *nodes;  // the first is the root
    const nearest_packet *packets;
};

struct nearest_kernels {
    // The number of the triangle with the least square of a distance, of equals the lowest number; -1 when no square
    // is a finite number. The point is finite.
    std::int32_t (*triangle)(const nearest_tree &tree, const double *point) noexcept;
};

// Not to be called on a processor without the instructions.

}  // namespace teska

#endif
