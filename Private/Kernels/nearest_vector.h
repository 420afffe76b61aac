// nearest_vector - the search for the nearest triangle, the four children of a node and four triangles at a time
//
// The nearest box first; boxes farther than the best triangle so far are left out. All triangles that may be the answer
// are measured, so the answer does not depend on the order.

#ifndef TESKA_NEAREST_VECTOR_H
#define TESKA_NEAREST_VECTOR_H

#include "Kernels/nearest_kernels.h"
#include "Kernels/nearest_measure.h"

namespace teska
{

namespace
{

template <class Isa>  // of doubles
struct nearest_kernel {
    using vector = typename Isa::vector;
    using point = vec3_of<Isa>;
    using key = std::uint64_t;

    // What is looked at later. Distances that are not negative have the order of their bits.
    struct waiting {
        key distance;
        std::int32_t child;
    };

    struct search {
        point q;
        double square = 0x1.fffffffffffffp+1023;  // of the best triangle so far
        std::int32_t number = -1;
        int height = 0;
        waiting stack[nearest_tree::most_waiting];

        // What may still have the answer is not above this.
        [[nodiscard]] key limit() const noexcept { return __builtin_bit_cast(key, square) | 3U; }
    };

    static point load(const double (&values)[3][4], int k) noexcept
    {
        return {Isa::load(values[0] + k), Isa::load(values[1] + k), Isa::load(values[2] + k)};
    }

    static void measure(search &s, const nearest_packet &p) noexcept
    {
        double square[4];
        for (int k = 0; k < 4; k += Isa::lanes) {
            const triangle_frame<Isa> frame{
                load(p.base, k),           load(p.bottom, k),          load(p.left, k),
                load(p.height, k),         Isa::load(p.slant + k),     Isa::load(p.per_bottom + k),
                Isa::load(p.per_left + k), Isa::load(p.per_right + k), Isa::load(p.per_height + k)};
            Isa::store(square + k, triangle_measure<Isa>(frame, s.q).nearest());
        }
        for (int k = 0; k < 4; ++k)
            if (square[k] < s.square || (square[k] == s.square && p.number[k] < s.number)) {
                s.square = square[k];
                s.number = p.number[k];
            }
    }

    // How far a point is outside a range.
    static vector outside(vector q, const double *low, const double *high) noexcept
    {
        return Isa::max(Isa::max(Isa::load(low) - q, q - Isa::load(high)), Isa::all(0.0));
    }

    // The distances of the children in rising order; the number of a child takes the place of the two lowest bits.
    static void sort_children(const nearest_node &n, const point &q, key (&children)[4]) noexcept
    {
        double square[4];
        for (int k = 0; k < 4; k += Isa::lanes) {
            const vector x = outside(q.x, n.low[0] + k, n.high[0] + k);
            const vector y = outside(q.y, n.low[1] + k, n.high[1] + k);
            const vector z = outside(q.z, n.low[2] + k, n.high[2] + k);
            Isa::store(square + k, (x * x + y * y + z * z) * Isa::all(nearest_tree::less));
        }
        for (unsigned k = 0; k < 4; ++k)
            children[k] = (__builtin_bit_cast(key, square[k]) & ~key{3}) | k;
        const auto order = [&children](int a, int b) {
            const key first = children[a], second = children[b];
            children[a] = first < second ? first : second;
            children[b] = first < second ? second : first;
        };
        order(0, 1);
        order(2, 3);
        order(0, 2);
        order(1, 3);
        order(1, 2);
    }

    // The nearest child ends up on top of the stack.
    static void open(search &s, const nearest_node &n) noexcept
    {
        key children[4];
        sort_children(n, s.q, children);
        const key limit = s.limit();
        for (int k = 3; k >= 0; --k) {
            s.stack[s.height] = {children[k], n.child[children[k] & 3U]};
            s.height += children[k] <= limit ? 1 : 0;
        }
    }

    static std::int32_t triangle(const nearest_tree &tree, const double *at) noexcept
    {
        search s;
        s.q = {Isa::all(at[0]), Isa::all(at[1]), Isa::all(at[2])};
        open(s, tree.nodes[0]);
        while (s.height > 0) {
            const waiting next = s.stack[--s.height];
            if (next.distance > s.limit())
                continue;
            if (next.child > 0)
                open(s, tree.nodes[next.child]);
            else
                measure(s, tree.packets[-next.child]);
        }
        return s.number;
    }
};

}  // namespace

}  // namespace teska

#endif
