// tree - a quadtree of boxes, or of points, that goes by centres and searches by bounds
//
// A node is a leaf with a chain of blocks of four entries each, or it has four children, which are one record:
//
//     quad    bounds of the four children | middle, extent | what the children are | parent, height
//     block   shapes of four entries      | number of insertion and item of each   | next block
//
// Numbers of nodes are 4 * quad + child. The root is child 0 of quad 0, whose other children are never used. Of a chain
// only the first block may have room.
//
// Invariants
//   extent   a cell (cells.h) that holds all centres below; a centre goes to the child on its side of the middle. Cells
//            are fixed squares of the plane, so data that comes sorted makes no deeper tree, and a level that would
//            have one child only does not exist: two children of a quad at least have entries, and all together more
//            than four. So there are fewer quads than entries, however they are crowded.
//   bounds   of a node: the smallest box that holds all boxes below it; of an empty one x0 > x1.
//   height   of a quad: levels of quads from it down. At most 60 from the root: what would lie deeper shares a leaf.
//   leaf     more than eight entries only when all had one centre as they came, or at the deepest level.
//
// Two sorts of trees, because points take half the room: their low corner and their high one are the same numbers.

#ifndef TESKA_TQUADTREE_TREE_H
#define TESKA_TQUADTREE_TREE_H

#include "cells.h"
#include "pool.h"
#include "tquadtree.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <limits>

namespace teska::quad
{

constexpr int max_levels = 60;
constexpr int root = 0;

// Boxes nowhere: those of empty nodes.
inline constexpr TQuadBox no_box{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};

inline TQuadBox joined(const TQuadBox &a, const TQuadBox &b) noexcept
{
    return {std::min(a.x0, b.x0), std::min(a.y0, b.y0), std::max(a.x1, b.x1), std::max(a.y1, b.y1)};
}

inline bool equal(const TQuadBox &a, const TQuadBox &b) noexcept
{
    return a.x0 == b.x0 && a.y0 == b.y0 && a.x1 == b.x1 && a.y1 == b.y1;
}

// No sum that could overflow; halves of the smallest doubles are rounded, which must not lead out of the box.
inline place centre_of(const TQuadBox &box) noexcept
{
    return {std::clamp(box.x0 / 2 + box.x1 / 2, box.x0, box.x1), std::clamp(box.y0 / 2 + box.y1 / 2, box.y0, box.y1)};
}

// Of zero and the distances beyond either side, the largest.
inline double beyond(double x, double low, double high) noexcept { return std::max(std::max(low - x, x - high), 0.0); }

// The distance of a place to a box, squared.
inline double square_distance(const TQuadBox &box, place p) noexcept
{
    const double dx = beyond(p.x, box.x0, box.x1);
    const double dy = beyond(p.y, box.y0, box.y1);
    return dx * dx + dy * dy;
}

// Four boxes, or with two coordinates four points, coordinate by coordinate: compilers make vectors of them.
template <int coordinates>
struct four_shapes {
    double at[coordinates][4];

    [[nodiscard]] const double *x0() const noexcept { return at[0]; }
    [[nodiscard]] const double *y0() const noexcept { return at[1]; }
    [[nodiscard]] const double *x1() const noexcept { return at[coordinates - 2]; }
    [[nodiscard]] const double *y1() const noexcept { return at[coordinates - 1]; }

    [[nodiscard]] TQuadBox box(int i) const noexcept { return {x0()[i], y0()[i], x1()[i], y1()[i]}; }

    void set(int i, const TQuadBox &box) noexcept
    {
        const double values[4] = {box.x0, box.y0, box.x1, box.y1};
        for (int c = 0; c < coordinates; ++c)
            at[c][i] = values[c];
    }
};

// What the caller gave, and when.
struct entry {
    std::uint64_t number;
    void *item;
};

template <int coordinates>
struct block_of_four {
    four_shapes<coordinates> shapes;
    entry entries[4];
    int next;
};

struct quad_node {
    four_shapes<4> bounds;
    place middle;
    cell extent;
    int link[4];   // of a leaf its first block, else its quad
    int count[4];  // entries of a leaf, or `divided`
    int parent;    // the node whose children these are
    int height;
};

constexpr int divided = -1;

template <int coordinates>
class tree
{
public:
    using block = block_of_four<coordinates>;

    // Adds an entry; false with nothing changed when memory is short.
    [[nodiscard]] bool insert(const TQuadBox &box, const entry &added) noexcept;

    // Takes out the first inserted entry of this box and item. False when there is none.
    bool remove(const TQuadBox &box, const void *item) noexcept;

    // The bounds of all entries; no_box when there are none.
    [[nodiscard]] TQuadBox bounds() const noexcept { return made_ ? bounds(root) : no_box; }

    // For searches: whether there is a root, the children of a divided node, the entries of a leaf.
    [[nodiscard]] bool made() const noexcept { return made_; }
    [[nodiscard]] bool is_divided(int node) const noexcept { return count(node) == divided; }
    [[nodiscard]] const quad_node &children(int node) const noexcept { return quads_[link(node)]; }
    [[nodiscard]] int first_child(int node) const noexcept { return 4 * link(node); }

    // Calls visit(block, how many entries of it) for each block of a leaf until one returns false, and returns that.
    template <class Visit>
    bool each_block(int leaf, Visit visit) const
    {
        int left = count(leaf);
        for (int number = link(leaf); left > 0;) {
            const block &b = blocks_[number];
            const int held = (left - 1) % 4 + 1;
            if (!visit(b, held))
                return false;
            left -= held;
            number = b.next;
        }
        return true;
    }

private:
    struct position {
        int block;
        int at;
    };

    int &link(int node) const noexcept { return quads_[node / 4].link[node % 4]; }
    int &count(int node) const noexcept { return quads_[node / 4].count[node % 4]; }
    TQuadBox bounds(int node) const noexcept { return quads_[node / 4].bounds.box(node % 4); }
    void set_bounds(int node, const TQuadBox &box) noexcept { quads_[node / 4].bounds.set(node % 4, box); }
    void widen(int node, const TQuadBox &box) noexcept
    {
        const TQuadBox former = bounds(node);
        if (!(box.x0 >= former.x0 && box.y0 >= former.y0 && box.x1 <= former.x1 && box.y1 <= former.y1))
            set_bounds(node, joined(former, box));
    }
    int height(int node) const noexcept { return is_divided(node) ? quads_[link(node)].height : 0; }
    int child(int node, place centre) const noexcept;

    bool prepare() noexcept;
    int new_quad(int parent, const cell &extent) noexcept;
    void place_node(int node, int link, int count) noexcept;
    void settle_heights(int node) noexcept;
    void raise(int node, place centre) noexcept;
    bool divide(int leaf, place centre) noexcept;
    void append(int leaf, const TQuadBox &box, const entry &added) noexcept;
    entry drop_last(int leaf, TQuadBox &box) noexcept;
    position find(int leaf, const TQuadBox &box, const void *item) const noexcept;
    TQuadBox bounds_of_entries(int leaf) const noexcept;
    void renew_above(int leaf) noexcept;
    bool collapse(int quad) noexcept;

    pool<quad_node, INT_MAX / 4> quads_;
    pool<block, INT_MAX> blocks_;
    bool made_ = false;
};

extern template class tree<2>;
extern template class tree<4>;

}  // namespace teska::quad

#endif
