// clg/tiling - the Delaunay tiling of points of a lattice, for the length q(v) = 16 sum v_j^2 - (sum v_j)^2 (geometry)
//
// With q no two cells of a regular grid share a sphere: every cube is cut along (1, .., 1) into the simplices that
// tables interpolate over, whatever the order of the points.
//
// Points come in one by one. A vertex at infinity closes the tiling to a sphere: every face of the hull has a cell
// between it and infinity. The cells whose sphere holds the new point, and the infinite ones whose face it sees, are a
// hole that is connected and whose rim the point sees everywhere; cells from the rim to the point fill it:
//
//     +-------+                +-------+
//     |\  .  /|  the spheres   |\     /|
//     | \   / |  of four cells |  \ /  |
//     |  \ /  |  hold the      |   p   |
//     |  / \  |  point         |  / \  |
//     | /   \ |                | /   \ |
//     +-------+                +-------+
//
// A point on a sphere is not inside it, and one in the plane of a face of the hull asks the finite cell there: so a
// face of the rim is never in one plane with the point, and every new cell has a volume.
//
// The order of points is random in rounds of doubling size, and in a round that of the caller, so that the walk to the
// first cell of the hole, from the cell made last, is short.
//
// Sources: A. Bowyer, The Computer Journal 24 (1981) 162-166; D. Watson, ibid. 167-172; N. Amenta, S. Choi, G. Rote,
// Incremental constructions con BRIO, Symposium on Computational Geometry 2003, 211-219.
// No process-wide state.

#include "Source/clg/tiling.h"

#include "Source/clg/sides.h"
#include "Support/growing.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <utility>

namespace teska::cloud
{

namespace
{

// ---- The tiling -----------------------------------------------------------------------------------------------------

struct new_cell {
    int cell;
    int from;  // the cell of the hole with which it shares a face of the rim,
    int face;  // opposite this place of both
};

template <int D>
class tiling
{
public:
    explicit tiling(std::span<const lattice_point> points) : count_(static_cast<int>(points.size())), sides_(points) {}

    tiling_result make(tiles &made)
    {
        if (count_ < D + 1)
            return tiling_result::too_few;
        if (!set_order())
            return tiling_result::no_memory;
        int first[D + 1];
        if (!find_simplex(first))
            return tiling_result::flat;
        if (!begin(first))
            return tiling_result::no_memory;
        for (const int p : order_.all())
            if (std::find(first, first + D + 1, p) == first + D + 1 && !insert(p))
                return tiling_result::no_memory;
        return hand_out(made) ? tiling_result::made : tiling_result::no_memory;
    }

private:
    static constexpr int nobody = -1;  // has asked
    static constexpr int unused = -2;  // as the last point that asked

    // ---- Order

    // 0 for half of the numbers, 1 for a quarter .. 32, as a multiplicative hash deals them out.
    static int round_of(int i)
    {
        std::uint64_t h = (static_cast<std::uint64_t>(i) + 1) * 0x9e3779b97f4a7c15U;
        h = (h ^ (h >> 31)) * 0xbf58476d1ce4e5b9U;
        return std::countl_zero(static_cast<std::uint32_t>((h ^ (h >> 29)) >> 32));
    }

    bool set_order()
    {
        constexpr int last_round = 32;
        if (!order_.reserve(count_))
            return false;
        for (int round = last_round; round >= 0; --round)
            for (int i = 0; i < count_; ++i)
                if (round_of(i) == round && !order_.push(i))
                    return false;
        return true;
    }

    // ---- The hole

    // Whether a cell belongs to the hole of a point.
    bool holds(cell<D> &c, int p) const
    {
        if (c.tested == p)
            return c.holds;
        int s = sides_.side(c, p);
        if (s == 0) {
            const int place = place_of_infinity(c);
            if (place <= D)
                s = sides_.side(cells_[c.next[place]], p);
        }
        c.tested = p;
        c.holds = s > 0;
        return c.holds;
    }

    // ---- The first cells

    // Whether the points 0 .. k span k dimensions: with some of the coordinate axes, as rows, all of them.
    bool independent(const int *first, int k) const
    {
        for (unsigned axes = 0; axes < 1U << D; ++axes) {
            if (members[axes] != D - k)
                continue;
            std::int64_t rows[most_corners][most_corners] = {};
            for (int r = 0; r < k; ++r)
                sides_.difference(first[r + 1], first[0], rows[r]);
            for (int j = 0, r = k; j < D; ++j)
                if ((axes >> j & 1) != 0)
                    rows[r++][j] = 1;
            if (exact_sign<D, false>(rows) != 0)
                return true;
        }
        return false;
    }

    bool find_simplex(int (&first)[D + 1]) const
    {
        int found = 0;
        for (const int p : order_.all()) {
            first[found] = p;
            if (found == 0 || independent(first, found))
                ++found;
            if (found == D + 1)
                return true;
        }
        return false;
    }

    // A cell, and one between each of its faces and infinity; cell k + 1 lacks point k, cell 0 infinity.
    bool begin(int (&first)[D + 1])
    {
        if (sides_.exact_orientation(first, 0, first[0]) < 0)
            std::swap(first[0], first[1]);
        for (int lacking = -1; lacking <= D; ++lacking) {
            cell<D> c{};
            for (int k = 0; k <= D; ++k) {
                c.corner[k] = k == lacking ? infinity : first[k];
                c.next[k] = k == lacking ? 0 : k + 1;
            }
            c.tested = nobody;
            if (lacking < 0) {
                sides_.set_plane(c);
            } else {
                // From the far side of the face the corners have the other order.
                std::swap(c.corner[0], c.corner[1]);
                std::swap(c.next[0], c.next[1]);
                sides_.set_upright_plane(c, place_of_infinity(c));
            }
            if (!cells_.push(c))
                return false;
        }
        last_ = 0;
        return true;
    }

    // ---- Insertion

    // A cell of the hole. A walk from cell to cell, through a face that hides the point, does not come back in a
    // Delaunay tiling; it ends outside the hull, or at the latest at the cell that has the point in it.
    int find(int p) const
    {
        int at = last_;
        while (!holds(cells_[at], p)) {
            const cell<D> &c = cells_[at];
            int face = 0;
            while (face < D && !sides_.hides(c, face, p))
                ++face;
            at = c.next[face];
        }
        return at;
    }

    bool insert(int p)
    {
        hole_.clear();
        made_.clear();
        if (!hole_.push(find(p)))
            return false;
        for (int i = 0; i < hole_.size(); ++i)
            for (const int n : cells_[hole_[i]].next) {
                const bool known = cells_[n].tested == p;
                if (!known && holds(cells_[n], p) && !hole_.push(n))
                    return false;
            }
        for (const int h : hole_.all())
            for (int face = 0; face <= D; ++face)
                if (!cells_[cells_[h].next[face]].holds && !add_cell(h, face, p))
                    return false;
        for (const new_cell &n : made_.all())
            for (int place = 0; place <= D; ++place)
                if (cells_[n.cell].next[place] < 0)
                    join(n, place);
        for (const int h : hole_.all()) {
            cells_[h].tested = unused;
            if (!unused_.push(h))
                return false;
        }
        return true;
    }

    // Fills the hole between a face of its rim, of the hole's cell `from`, and the point, which takes the place of the
    // corner opposite. The neighbours around the point are not known yet.
    bool add_cell(int from, int face, int p)
    {
        const int beyond = cells_[from].next[face];
        cell<D> c;
        for (int k = 0; k <= D; ++k) {
            c.corner[k] = k == face ? p : cells_[from].corner[k];
            c.next[k] = k == face ? beyond : nobody;
        }
        c.tested = nobody;
        c.holds = false;
        const int place = place_of_infinity(c);
        if (place <= D)
            sides_.set_upright_plane(c, place);
        else
            sides_.set_plane(c);
        int number = cells_.size();
        if (unused_.size() > 0) {
            number = unused_.last();
            unused_.pop();
            cells_[number] = c;
        } else if (!cells_.push(c)) {
            return false;
        }
        if (place > D)
            last_ = number;
        cells_[beyond].next[place_of_next(cells_[beyond], from)] = number;
        cells_[from].next[face] = ~number;
        return made_.push({.cell = number, .from = from, .face = face});
    }

    // Finds the other new cell on a face of a new one that has the point: turns around the D - 1 corners that the face
    // has beside the point, through the cells of the hole, from one face of the rim to the other.
    void join(const new_cell &n, int place)
    {
        int at = n.from;
        int out = place;     // of the two corners not turned around: that opposite the face to leave through,
        int ahead = n.face;  // and the other one
        while (cells_[at].next[out] >= 0) {
            const int before = at;
            const int corner = cells_[at].corner[ahead];
            at = cells_[at].next[out];
            out = place_of(cells_[at], corner);
            ahead = place_of_next(cells_[at], before);
        }
        const int other = ~cells_[at].next[out];
        cells_[n.cell].next[place] = other;
        cells_[other].next[ahead] = n.cell;
    }

    // ---- The end

    bool hand_out(tiles &made)
    {
        int count = 0;
        for (cell<D> &c : cells_.all())
            c.tested = c.tested != unused && place_of_infinity(c) > D ? count++ : -1;
        const std::size_t size = static_cast<std::size_t>(count) * (D + 1);
        made.corner = zeroed_block<int>(size);
        made.next = zeroed_block<int>(size);
        if (!made.corner || !made.next)
            return false;
        made.dims = D;
        made.count = count;
        int *corner = made.corner.get(), *next = made.next.get();
        for (const cell<D> &c : cells_.all()) {
            if (c.tested < 0)
                continue;
            for (int k = 0; k <= D; ++k) {
                *corner++ = c.corner[k];
                *next++ = cells_[c.next[k]].tested;
            }
        }
        return true;
    }

    int count_;
    sides<D> sides_;
    growing<int> order_;  // of the points
    growing<cell<D>> cells_;
    growing<int> unused_;     // cells of former holes
    growing<int> hole_;       // of the point at hand
    growing<new_cell> made_;  // that fill it
    int last_ = 0;            // the finite cell made last
};

}  // namespace

tiling_result tile(int dims, std::span<const lattice_point> points, tiles &made) noexcept
{
    switch (dims) {
    case 1:
        return tiling<1>(points).make(made);
    case 2:
        return tiling<2>(points).make(made);
    case 3:
        return tiling<3>(points).make(made);
    default:
        return tiling<4>(points).make(made);
    }
}

}  // namespace teska::cloud
