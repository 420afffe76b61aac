// search - how the quadtree is asked: by a shape, in the order of the nodes, or by distance, nearest first
//
// Both keep the nodes still to be looked at on a stack of a fixed size: a node that is taken leaves at most three
// others behind, and the last one four.

#ifndef TESKA_TQUADTREE_SEARCH_H
#define TESKA_TQUADTREE_SEARCH_H

#include "tree.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace teska::quad
{

constexpr int max_pending = 3 * max_levels + 1;

// ---- By a shape -----------------------------------------------------------------------------------------------------

// A shape says of four boxes which ones it shares a point with, the first in bit 0. Of those with a place in common it
// must miss none that lies in one it meets.
struct window {
    TQuadBox box;

    template <int coordinates>
    unsigned meets(const four_shapes<coordinates> &boxes) const noexcept
    {
        unsigned met = 0;
        for (int i = 0; i < 4; ++i) {
            // Without branches: the compiler takes the four side by side.
            const unsigned in_x = unsigned{boxes.x0()[i] <= box.x1} & unsigned{boxes.x1()[i] >= box.x0};
            const unsigned in_y = unsigned{boxes.y0()[i] <= box.y1} & unsigned{boxes.y1()[i] >= box.y0};
            met |= (in_x & in_y) << i;
        }
        return met;
    }
    double distance(const TQuadBox & /*box*/) const noexcept { return 0.0; }
};

// The squares of the distances from a place, none of them NaN unless its box is nowhere.
template <int coordinates>
void square_distances(const four_shapes<coordinates> &boxes, place from, double *squares) noexcept
{
    for (int i = 0; i < 4; ++i) {
        const double dx = beyond(from.x, boxes.x0()[i], boxes.x1()[i]);
        const double dy = beyond(from.y, boxes.y0()[i], boxes.y1()[i]);
        squares[i] = dx * dx + dy * dy;
    }
}

// The largest square whose root is not above a reach, which is at least 0: roots rise with squares, so comparing
// squares with it is comparing roots with the reach.
inline double largest_square(double reach) noexcept
{
    constexpr double endless = std::numeric_limits<double>::infinity();
    double square = reach * reach;
    while (std::sqrt(square) > reach)
        square = std::nextafter(square, 0.0);
    while (square < endless && std::sqrt(std::nextafter(square, endless)) <= reach)
        square = std::nextafter(square, endless);
    return square;
}

struct disc {
    place centre;
    double square;  // by largest_square

    template <int coordinates>
    unsigned meets(const four_shapes<coordinates> &boxes) const noexcept
    {
        double squares[4];
        square_distances(boxes, centre, squares);
        unsigned met = 0;
        for (int i = 0; i < 4; ++i)
            met |= static_cast<unsigned>(squares[i] <= square) << i;
        return met;
    }
    double distance(const TQuadBox &box) const noexcept { return std::sqrt(square_distance(box, centre)); }
};

// The caller's function, and how often it was called.
struct visitor {
    TQuadVisit visit;
    void *context;
    int visits;

    // False when the caller has seen enough.
    bool see(const TQuadBox &box, void *item, double distance)
    {
        const TQuadHit hit{.item = item, .box = box, .distance = distance};
        ++visits;
        return visit(&hit, context) == 0;
    }
};

template <int coordinates, class Shape>
bool visit_entries(const block_of_four<coordinates> &b, int held, const Shape &shape, visitor &caller)
{
    const unsigned met = shape.meets(b.shapes);
    for (int i = 0; i < held; ++i)
        if ((met >> i & 1) != 0) {
            const TQuadBox box = b.shapes.box(i);
            if (!caller.see(box, b.entries[i].item, shape.distance(box)))
                return false;
        }
    return true;
}

// Visits each entry that the shape meets. False when the caller has seen enough.
template <int coordinates, class Shape>
bool visit_met(const tree<coordinates> &of, const Shape &shape, visitor &caller)
{
    if (!of.made())
        return true;
    int pending[max_pending] = {root};
    int count = 1;
    while (count > 0) {
        const int node = pending[--count];
        if (of.is_divided(node)) {
            const unsigned met = shape.meets(of.children(node).bounds);
            for (int i = 3; i >= 0; --i)
                if ((met >> i & 1) != 0)
                    pending[count++] = of.first_child(node) + i;
            continue;
        }
        const bool more = of.each_block(
            node, [&](const block_of_four<coordinates> &b, int held) { return visit_entries(b, held, shape, caller); });
        if (!more)
            return false;
    }
    return true;
}

// ---- By distance ----------------------------------------------------------------------------------------------------

// The nearest entries so far, in the caller's room: a heap with the farthest one on top. While the search runs an item
// points to its entry, and the distance is squared.
class nearest_hits
{
public:
    nearest_hits(TQuadHit *hits, int room, double square) noexcept : hits_(hits), room_(room), square_(square) {}

    // What is farther cannot become one of them; what is as far can.
    [[nodiscard]] double square() const noexcept { return square_; }

    void offer(double square, const TQuadBox &box, const entry &offered) noexcept
    {
        const TQuadHit hit{.item = const_cast<entry *>(&offered), .box = box, .distance = square};
        if (count_ == room_) {
            if (!before(hit, hits_[0]))
                return;
            std::pop_heap(hits_, hits_ + count_--, before);
        }
        hits_[count_++] = hit;
        std::push_heap(hits_, hits_ + count_, before);
        if (count_ == room_)
            square_ = hits_[0].distance;
    }

    // Puts them into their order, and what the caller wants to know into them. Returns how many there are.
    int finish() noexcept
    {
        std::sort_heap(hits_, hits_ + count_, before);
        for (int i = 0; i < count_; ++i) {
            hits_[i].item = entry_of(hits_[i]).item;
            hits_[i].distance = std::sqrt(hits_[i].distance);
        }
        return count_;
    }

private:
    static const entry &entry_of(const TQuadHit &hit) noexcept { return *static_cast<const entry *>(hit.item); }

    static bool before(const TQuadHit &a, const TQuadHit &b) noexcept
    {
        return a.distance < b.distance || (a.distance == b.distance && entry_of(a).number < entry_of(b).number);
    }

    TQuadHit *hits_;
    int room_;
    double square_;
    int count_ = 0;
};

template <int coordinates>
void offer_entries(const tree<coordinates> &of, int leaf, place from, nearest_hits &hits) noexcept
{
    of.each_block(leaf, [&](const block_of_four<coordinates> &b, int held) {
        double squares[4];
        square_distances(b.shapes, from, squares);
        for (int i = 0; i < held; ++i)
            if (squares[i] <= hits.square())
                hits.offer(squares[i], b.shapes.box(i), b.entries[i]);
        return true;
    });
}

template <int coordinates>
void offer_nearest(const tree<coordinates> &of, place from, nearest_hits &hits) noexcept
{
    struct pending_node {
        double square;
        int node;
    };
    if (!of.made())
        return;
    pending_node pending[max_pending];
    pending[0] = {0.0, root};
    int count = 1;
    while (count > 0) {
        const pending_node next = pending[--count];
        if (next.square > hits.square())
            continue;
        if (!of.is_divided(next.node)) {
            offer_entries(of, next.node, from, hits);
            continue;
        }
        double squares[4];
        square_distances(of.children(next.node).bounds, from, squares);
        // The nearest child comes to lie on top.
        for (int i = 0, first = count; i < 4; ++i) {
            if (squares[i] > hits.square())
                continue;
            int at = count++;
            for (; at > first && pending[at - 1].square < squares[i]; --at)
                pending[at] = pending[at - 1];
            pending[at] = {squares[i], of.first_child(next.node) + i};
        }
    }
}

}  // namespace teska::quad

#endif
