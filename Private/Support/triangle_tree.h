// triangle_tree - the triangle of a surface that is nearest to a query point, found through a tree of boxes
//
// Each node has four children, nodes or packets of four triangles, halved twice where their middles lie farthest apart.
// Of triangles equally near the lowest one answers: the result is that of asking all triangles in their order, bit for
// bit, however the tree is built.
//
// The bound. The point found on a triangle of coordinates up to m is off by less than 2^-48 m, so that it lies in the
// box of the triangle made larger by 2^-46 m on every side. The squares of both distances are then off by less than
// 2^-48 of themselves; a box is left out when its own, less 2^-46, is more than the best one.
//
// Used by convex_hull and tetra.

#ifndef TESKA_SUPPORT_TRIANGLE_TREE_H
#define TESKA_SUPPORT_TRIANGLE_TREE_H

#include "Kernels/kernels.h"
#include "Support/memory.h"
#include "Support/nearest_triangle.h"
#include "Support/vec.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace teska
{

inline bool is_finite(const vec3 &p) noexcept { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }
inline bool is_finite(const triangle_corners &t) noexcept
{
    return is_finite(t.at[0]) && is_finite(t.at[1]) && is_finite(t.at[2]);
}

class triangle_tree
{
public:
    static constexpr int none = -1;

    // Takes the triangles of a surface; corners(i) gives number i as triangle_corners. Those with a corner that is not
    // finite are passed over. False: memory is short.
    template <class Corners>
    [[nodiscard]] bool build(int count, Corners corners) noexcept
    {
        clear();
        if (count == 0)
            return true;
        auto boxes = zeroed_block<box>(static_cast<std::size_t>(count));
        auto order = zeroed_block<int>(static_cast<std::size_t>(count));
        // Every packet but the last is full, and every node but the root has at least two children.
        const auto packets = static_cast<std::size_t>(count) / 4 + 1;
        packets_ = zeroed_block<nearest_packet>(packets);
        nodes_ = zeroed_block<nearest_node>(packets);
        if (!boxes || !order || !packets_ || !nodes_) {
            clear();
            return false;
        }
        int taken = 0;
        double largest = 0.0;
        for (int i = 0; i < count; ++i) {
            const triangle_corners t = corners(i);
            if (!is_finite(t))
                continue;
            boxes[i] = box_of(t);
            order[taken++] = i;
            for (int k = 0; k < 3; ++k)
                largest = std::max({largest, std::fabs(boxes[i].low[k]), std::fabs(boxes[i].high[k])});
        }
        margin_ = 0x1p-46 * largest;
        if (taken != 0)
            split(order.get(), order.get() + taken, boxes);
        for (int i = 0; i < 4 * nr_packets_; ++i)
            put_triangle(corners(packets_[i / 4].number[i % 4]), packets_[i / 4], i % 4);
        return true;
    }

    void clear() noexcept
    {
        packets_.reset();
        nodes_.reset();
        nr_nodes_ = nr_packets_ = 0;
    }

    // The number of the triangle nearest to a point; none when there is none, for a point that is not finite, and when
    // all squares of distances overflow.
    [[nodiscard]] int nearest(const vec3 &q) const noexcept
    {
        if (nr_nodes_ == 0 || !is_finite(q))
            return none;
        const double point[3] = {q.x, q.y, q.z};
        return kernels().nearest.triangle({nodes_.get(), packets_.get()}, point);
    }

private:
    struct box {
        double low[3];
        double high[3];

        // Twice the middle.
        [[nodiscard]] double middle(int axis) const noexcept { return low[axis] + high[axis]; }
        void add(const box &other) noexcept
        {
            for (int k = 0; k < 3; ++k) {
                low[k] = std::min(low[k], other.low[k]);
                high[k] = std::max(high[k], other.high[k]);
            }
        }
    };

    static box box_of(const triangle_corners &t) noexcept
    {
        box all{};
        for (int i = 0; i < 3; ++i) {
            box one;
            store(t.at[i], one.low);
            store(t.at[i], one.high);
            if (i == 0)
                all = one;
            all.add(one);
        }
        return all;
    }

    static box around(const int *from, const int *to, const heap_block<box> &boxes) noexcept
    {
        box all = boxes[*from];
        for (; from != to; ++from)
            all.add(boxes[*from]);
        return all;
    }

    static int longest_axis(const int *from, const int *to, const heap_block<box> &boxes) noexcept
    {
        int longest = 0;
        double most = -1.0;
        for (int axis = 0; axis < 3; ++axis) {
            const auto before = [&](int a, int b) { return boxes[a].middle(axis) < boxes[b].middle(axis); };
            const auto [low, high] = std::minmax_element(from, to, before);
            const double extent = boxes[*high].middle(axis) - boxes[*low].middle(axis);
            if (extent > most) {
                most = extent;
                longest = axis;
            }
        }
        return longest;
    }

    // Halves a range in whole packets.
    static int *halve(int *from, int *to, const heap_block<box> &boxes) noexcept
    {
        if (to - from <= 4)
            return to;
        const int axis = longest_axis(from, to, boxes);
        int *const middle = from + ((to - from) / 2 + 3) / 4 * 4;
        std::nth_element(from, middle, to, [&boxes, axis](int a, int b) {
            const double at_a = boxes[a].middle(axis), at_b = boxes[b].middle(axis);
            return at_a != at_b ? at_a < at_b : a < b;
        });
        return middle;
    }

    // Makes the node of a range and all below it; returns its number.
    std::int32_t split(int *from, int *to, const heap_block<box> &boxes) noexcept
    {
        const std::int32_t made = nr_nodes_++;
        int *const middle = halve(from, to, boxes);
        int *const end[5] = {from, halve(from, middle, boxes), middle, halve(middle, to, boxes), to};
        for (int k = 0; k < 4; ++k) {
            put_box(nodes_[made], k, end[k], end[k + 1], boxes);
            const std::ptrdiff_t count = end[k + 1] - end[k];
            if (count > 4) {
                const std::int32_t child = split(end[k], end[k + 1], boxes);
                nodes_[made].child[k] = child;
            } else if (count > 0) {
                for (std::ptrdiff_t i = 0; i < 4; ++i)
                    packets_[nr_packets_].number[i] = end[k][std::min(i, count - 1)];
                nodes_[made].child[k] = -nr_packets_++;
            }
        }
        return made;
    }

    void put_box(nearest_node &node, int k, const int *from, const int *to, const heap_block<box> &boxes) noexcept
    {
        const double infinity = std::numeric_limits<double>::infinity();
        const box b =
            from != to ? around(from, to, boxes) : box{{infinity, infinity, infinity}, {infinity, infinity, infinity}};
        for (int axis = 0; axis < 3; ++axis) {
            node.low[axis][k] = b.low[axis] - margin_;
            node.high[axis][k] = b.high[axis] + margin_;
        }
    }

    heap_block<nearest_packet> packets_;
    heap_block<nearest_node> nodes_;
    std::int32_t nr_nodes_ = 0;
    std::int32_t nr_packets_ = 0;
    double margin_ = 0.0;
};

// What a tree of the same triangles answers, without one: all are asked, three at a time against the best so far.
template <class Corners>
int nearest_of_all(int count, Corners corners, const vec3 &q) noexcept
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    nearest_node everywhere{};
    for (int axis = 0; axis < 3; ++axis)
        for (int k = 0; k < 4; ++k) {
            everywhere.low[axis][k] = k == 0 ? -infinity : infinity;
            everywhere.high[axis][k] = infinity;
        }
    const double point[3] = {q.x, q.y, q.z};
    nearest_packet packet;
    int held = 0;
    const auto put = [&](int number) {
        put_triangle(corners(number), packet, held);
        packet.number[held++] = number;
    };
    for (int i = 0; i < count; ++i) {
        if (is_finite(corners(i)))
            put(i);
        if (held == 0 || (held < 4 && i + 1 < count))
            continue;
        while (held < 4)
            put(packet.number[0]);
        const int best = kernels().nearest.triangle({&everywhere, &packet}, point);
        held = 0;
        if (best != triangle_tree::none)
            put(best);
    }
    return held != 0 && is_finite(q) ? packet.number[0] : triangle_tree::none;
}

// Where the nearest point goes; all may be null.
struct nearest_answer {
    double *point;
    double *distance;
    int *triangle;
    double *weights;

    void write(int number, const nearest_on_triangle &found) const noexcept
    {
        if (point != nullptr)
            store(found.point, point);
        if (distance != nullptr)
            *distance = found.distance;
        if (triangle != nullptr)
            *triangle = number;
        for (int i = 0; weights != nullptr && i < 3; ++i)
            weights[i] = found.weight[i];
    }
};

}  // namespace teska

#endif
