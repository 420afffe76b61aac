// boxes - a binary tree of boxes: those that hold a point, and those nearest to it first

#ifndef TESKA_CLG_BOXES_H
#define TESKA_CLG_BOXES_H

#include "Support/memory.h"

#include <algorithm>
#include <cstddef>

namespace teska::cloud
{

template <int K>
struct box {
    double lo[K], hi[K];

    [[nodiscard]] bool has(const double *p) const noexcept
    {
        // Without branches: which side decides differs from box to box.
        int inside = 1;
        for (int k = 0; k < K; ++k)
            inside &= (p[k] >= lo[k] ? 1 : 0) & (p[k] <= hi[k] ? 1 : 0);
        return inside != 0;
    }

    // The square of the distance.
    [[nodiscard]] double square_to(const double *p) const noexcept
    {
        double square = 0.0;
        for (int k = 0; k < K; ++k) {
            const double apart = std::max(std::max(lo[k] - p[k], p[k] - hi[k]), 0.0);
            square += apart * apart;
        }
        return square;
    }

    void take(const double *p) noexcept
    {
        for (int k = 0; k < K; ++k) {
            lo[k] = std::min(lo[k], p[k]);
            hi[k] = std::max(hi[k], p[k]);
        }
    }

    void take(const box &b) noexcept
    {
        take(b.lo);
        take(b.hi);
    }
};

template <int K>
constexpr box<K> box_at(const double *p) noexcept
{
    box<K> b{};
    for (int k = 0; k < K; ++k)
        b.lo[k] = b.hi[k] = p[k];
    return b;
}

// Each node divides its boxes at the median of their centres along its longest side, down to leaves of at most four.
// What visits the boxes must not depend on their order, which differs between the sorting functions of hosts.
template <int K>
class box_tree
{
public:
    // Of count boxes, at least one: box_of(i) is that of item i. False when memory is short.
    template <class BoxOf>
    bool build(int count, const BoxOf &box_of) noexcept
    {
        // Leaves have two boxes and more, but that of a tree of one box.
        nodes_ = zeroed_block<node>(static_cast<std::size_t>(count));
        entries_ = zeroed_block<entry>(static_cast<std::size_t>(count));
        if (!nodes_ || !entries_)
            return false;
        for (int i = 0; i < count; ++i)
            entries_[i] = {.bounds = box_of(i), .item = i};
        node_count_ = 1;
        divide(0, 0, count);
        return true;
    }

    // Calls visit(item) for every box that holds the point, until it returns true.
    template <class Visit>
    void holding(const double *p, const Visit &visit) const noexcept
    {
        int pending[deepest];
        int count = 0;
        if (nodes_[0].bounds.has(p))
            pending[count++] = 0;
        while (count > 0) {
            const node &n = nodes_[pending[--count]];
            if (n.count == 0) {
                for (int child = n.first; child < n.first + 2; ++child)
                    if (nodes_[child].bounds.has(p))
                        pending[count++] = child;
                continue;
            }
            for (int i = n.first; i < n.first + n.count; ++i)
                if (entries_[i].bounds.has(p) && visit(entries_[i].item))
                    return;
        }
    }

    // Calls visit(item) for boxes, the nearer half first, as long as they are not farther than the square of a distance
    // that visit lowers.
    template <class Visit>
    void nearest(const double *p, const double &square, const Visit &visit) const noexcept
    {
        struct {
            int node;
            double square;
        } pending[deepest];
        pending[0] = {0, 0.0};
        int count = 1;
        while (count > 0) {
            const auto at = pending[--count];
            if (at.square > square)
                continue;
            const node &n = nodes_[at.node];
            if (n.count == 0) {
                const double a = nodes_[n.first].bounds.square_to(p), b = nodes_[n.first + 1].bounds.square_to(p);
                const int nearer = a <= b ? 0 : 1;
                pending[count++] = {n.first + 1 - nearer, nearer == 0 ? b : a};
                pending[count++] = {n.first + nearer, nearer == 0 ? a : b};
                continue;
            }
            for (int i = n.first; i < n.first + n.count; ++i)
                if (!(entries_[i].bounds.square_to(p) > square))
                    visit(entries_[i].item);
        }
    }

private:
    static constexpr int leaf_size = 4;
    static constexpr int deepest = 64;  // halves of 2^31 boxes, and one more

    struct node {
        box<K> bounds;
        int first;  // of its entries, or of its two children
        int count;  // of entries; 0: it has children
    };

    struct entry {
        box<K> bounds;
        int item;
    };

    // Twice the centre.
    static double centre(const entry &e, int k) noexcept { return e.bounds.lo[k] + e.bounds.hi[k]; }

    void divide(int number, int first, int count) noexcept
    {
        entry *const entries = entries_.get() + first;
        node &n = nodes_[number];
        n.bounds = entries[0].bounds;
        for (int i = 1; i < count; ++i)
            n.bounds.take(entries[i].bounds);
        if (count <= leaf_size) {
            n.first = first;
            n.count = count;
            return;
        }
        int longest = 0;
        for (int k = 1; k < K; ++k)
            if (n.bounds.hi[k] - n.bounds.lo[k] > n.bounds.hi[longest] - n.bounds.lo[longest])
                longest = k;
        const int half = count / 2;
        std::nth_element(entries, entries + half, entries + count, [longest](const entry &a, const entry &b) {
            const double centre_a = centre(a, longest), centre_b = centre(b, longest);
            return centre_a != centre_b ? centre_a < centre_b : a.item < b.item;
        });
        n.first = node_count_;
        n.count = 0;
        node_count_ += 2;
        divide(n.first, first, half);
        divide(n.first + 1, first + half, count - half);
    }

    heap_block<node> nodes_;
    heap_block<entry> entries_;
    int node_count_ = 0;
};

}  // namespace teska::cloud

#endif
