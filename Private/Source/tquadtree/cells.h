// cells - squares of a fixed division of the plane into halves of halves
//
// A cell of level L has the side 2^L and its corner at multiples of that: low <= x < low + 2^L. Two places have a
// smallest cell in common, whatever was inserted before. Zero is a border at every level, so one more cell holds the
// whole plane and has its middle at 0.
//
// All numbers are exact: a corner is a coordinate with its last bits cut off. Where 2^L is less than the distance of
// neighbouring doubles, a cell holds one of them.

#ifndef TESKA_TQUADTREE_CELLS_H
#define TESKA_TQUADTREE_CELLS_H

namespace teska::quad
{

struct place {
    double x;
    double y;
};

struct cell {
    place low;
    double side;

    [[nodiscard]] bool holds(place p) const noexcept { return holds(p.x, low.x, side) && holds(p.y, low.y, side); }

    [[nodiscard]] place middle() const noexcept { return {low.x + side / 2, low.y + side / 2}; }

private:
    static bool holds(double x, double low, double side) noexcept { return x == low || (x > low && x < low + side); }
};

// The smallest cell that holds all of low.x .. high.x and low.y .. high.y, of which at least one is not a single value.
cell common_cell(place low, place high) noexcept;

// The smallest cell that holds a cell and a place outside it.
cell common_cell(const cell &of, place p) noexcept;

}  // namespace teska::quad

#endif
