// tetra/tiling - the hull of points filled with tetrahedra, one point after another (geometry)
//
// The tetrahedra are cells that know their neighbours: across[k] is the cell beyond the face opposite to corner k. All
// cells have the same orientation (p0, p1, p2 counterclockwise from outside the cell, seen from the side away from p3),
// and all decisions are exact (Support/orient.h), so the cells fill the hull without gap or overlap at every step.
//
// Adding a point:
//
//     hole    the cell that holds it, and from there across each face that it lies on or beyond, until it sees all
//     faces
//             around the hole from within: 1 cell inside, 2 at a face, the ring around an edge
//     cells   the point with each face around the hole. The first new cell on the faces of an old one takes its place,
//             the others go to the end
//
// A face so near that the cell would be a sliver, with a determinant that tetra_new cannot describe, is crossed as if
// the point lay on it: the cells around a hole that sees all its faces from within fill it whatever their shape. Where
// that is impossible, at the surface of the hull, slivers are made. They take part in everything but are not given out.
//
// Finding the cell: a walk across faces that the point lies beyond, from a cell where the last point of the same box
// went. A point beyond the surface, by what rounding or the tolerance of the hull leave, goes into the cell next to it:
// the faces that it sees from without are given up, and the surface moves out to it.

#include "Source/tetra/tiling.h"

#include "Source/tetra/tetra_priv.h"
#include "Support/orient.h"

#include <algorithm>
#include <utility>

namespace teska::tetra
{

namespace
{

constexpr int most_merged = 1024;  // cells of a hole that is widened to avoid slivers

}  // namespace

// ---- Life
// ------------------------------------------------------------------------------------------------------------

// A cell for each triangle of the hull that does not lie in a plane with the apex, within the tolerance: flat cells
// would make neighbours of cells that are far from each other.
bool tiling::start(int nr_points, const growing<hull_triangle> &hull, int apex)
{
    const auto room = static_cast<std::size_t>(nr_points);
    stamp_ = zeroed_block<int>(room);
    last_in_box_ = zeroed_block<int>(boxes * boxes * boxes);
    growing<int> number;
    if (!stamp_ || !last_in_box_)
        return false;
    hull_ = &hull;
    set_boxes();
    for (const hull_triangle &t : hull) {
        cell c{.corner = {t.corner[0], t.corner[1], t.corner[2], apex}, .across = {none, none, none, none}, .stamp = 0};
        const bool solid = std::find(t.corner, t.corner + 3, apex) == t.corner + 3 && side(c.corner, 3, apex) > 0 &&
                           height(t.corner, apex) < -tolerance_;
        if (!number.push(solid ? cells_.size() : none) || (solid && !cells_.push(c)))
            return false;
    }
    // Neighbours in the hull are neighbours in the tiling; faces next to a triangle left out are at its surface.
    for (int i = 0; i < hull.size(); ++i)
        for (int k = 0; number[i] != none && k < 3; ++k)
            cells_[number[i]].across[k] = number[hull[i].across[(k + 1) % 3]];
    return true;
}

// ---- Finding the cell of a point ------------------------------------------------------------------------------------

// 1: a point is on the inner side of the face opposite to corner k; 0: on it; -1: beyond.
int tiling::side(const int *corner, int k, int point) const
{
    int c[4] = {corner[0], corner[1], corner[2], corner[3]};
    c[k] = point;
    return -orientation(at(c[0]), at(c[1]), at(c[2]), at(c[3]));
}

bool tiling::holds(const cell &c, int point) const
{
    return side(c.corner, 0, point) >= 0 && side(c.corner, 1, point) >= 0 && side(c.corner, 2, point) >= 0 &&
           side(c.corner, 3, point) >= 0;
}

bool tiling::is_sliver(const int *corner) const
{
    const double det = determinant(at(corner[0]), at(corner[1]), at(corner[2]), at(corner[3]));
    return std::fabs(det) < least_determinant;
}

// Distance of a point from the plane of a face, positive on the side from which its corners run counterclockwise.
double tiling::height(const int *face, int point) const
{
    const vec3 &a = at(face[0]), &b = at(face[1]), &c = at(face[2]);
    return determinant(a, b, c, at(point)) / length(cross(b - a, c - a));
}

bool tiling::is_outside(int point) const
{
    return std::any_of(hull_->begin(), hull_->end(),
                       [&](const hull_triangle &t) { return height(t.corner, point) > tolerance_; });
}

// Whether a point lies in a cell, or so little outside that the tolerance or a sliver covers the distance. A cell that
// is itself a sliver holds nothing in this way: all points of its plane would be near.
bool tiling::nearly_holds(const cell &c, int point) const
{
    if (is_sliver(c.corner))
        return false;
    for (int k = 0; k < 4; ++k) {
        if (side(c.corner, k, point) >= 0)
            continue;
        int corner[4] = {c.corner[0], c.corner[1], c.corner[2], c.corner[3]};
        corner[k] = point;
        const int face[3] = {c.corner[(k + 1) % 4], c.corner[(k + 2) % 4], c.corner[(k + 3) % 4]};
        if (!is_sliver(corner) && !(std::fabs(height(face, point)) <= tolerance_))
            return false;
    }
    return true;
}

// Steps across faces beyond which a point lies, from cell to cell. The result is a cell that holds the point, or one at
// the surface of the hull, which the point lies beyond. Where cells have any shape such a walk can go round in a
// circle; therefore each step tries the four faces in another order, and after too many steps any cell is the result.
int tiling::walk(int from, int point) const
{
    int here = from;
    for (int step = 0; step < cells_.size() + 100; ++step) {
        const cell &c = cells_[here];
        int next = none;
        for (int i = 0; i < 4 && next == none; ++i) {
            const int k = (step + i) % 4;
            if (c.across[k] != none && side(c.corner, k, point) < 0)
                next = c.across[k];
        }
        if (next == none)
            break;
        here = next;
    }
    return here;
}

// Asks all cells for one that holds a point, or else one that nearly does; none. Needed only for points at the surface,
// where a walk may end on the wrong side of a dent.
int tiling::search(int point) const
{
    int nearly = none;
    for (int i = 0; i < cells_.size(); ++i) {
        if (cells_[i].corner[0] == none)
            continue;
        if (holds(cells_[i], point))
            return i;
        if (nearly == none && nearly_holds(cells_[i], point))
            nearly = i;
    }
    return nearly;
}

// The box that a point lies in, or the nearest one.
int tiling::box_of(int point) const
{
    const auto along = [](double x, double low, double per_unit) {
        return static_cast<int>(std::clamp((x - low) * per_unit, 0.0, boxes - 1.0));
    };
    const vec3 &p = at(point);
    const int x = along(p.x, low_.x, per_unit_.x), y = along(p.y, low_.y, per_unit_.y);
    return boxes * (boxes * x + y) + along(p.z, low_.z, per_unit_.z);
}

// Lays the boxes over the corners of the hull.
void tiling::set_boxes()
{
    low_ = {HUGE_VAL, HUGE_VAL, HUGE_VAL};
    vec3 high{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    for (const hull_triangle &t : *hull_)
        for (const int corner : t.corner) {
            const vec3 &p = at(corner);
            low_ = {std::min(low_.x, p.x), std::min(low_.y, p.y), std::min(low_.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
    const vec3 extent = high - low_;
    per_unit_ = {boxes / extent.x, boxes / extent.y, boxes / extent.z};
}

// ---- Adding a point -------------------------------------------------------------------------------------------------

// Whether a hole around a point has to extend across a face of one of its cells.
bool tiling::crosses(const cell &c, int k, int point, bool merging) const
{
    if (side(c.corner, k, point) <= 0)
        return true;
    if (!merging)
        return false;
    int corner[4] = {c.corner[0], c.corner[1], c.corner[2], c.corner[3]};
    corner[k] = point;
    return is_sliver(corner);
}

// The cells of the hole are listed and stamped, beginning with one. Refused when slivers make it too large.
tiling::result tiling::grow_hole(int point, int first, bool merging)
{
    hole_.clear();
    ++hole_number_;
    cells_[first].stamp = hole_number_;
    if (!hole_.push(first))
        return result::no_memory;
    for (int i = 0; i < hole_.size(); ++i) {
        const cell c = cells_[hole_[i]];
        for (int k = 0; k < 4; ++k) {
            const int beyond = c.across[k];
            if (beyond == none || cells_[beyond].stamp == hole_number_ || !crosses(c, k, point, merging))
                continue;
            if (merging && hole_.size() == most_merged)
                return result::refused;
            cells_[beyond].stamp = hole_number_;
            if (!hole_.push(beyond))
                return result::no_memory;
        }
    }
    return result::done;
}

// The faces around the hole are listed. Left out are faces of the surface that the hole would extend across: the
// surface moves out to the point there.
tiling::result tiling::list_faces(int point, bool merging)
{
    faces_.clear();
    for (const int parent : hole_)
        for (int k = 0; k < 4; ++k) {
            const cell &c = cells_[parent];
            const int outer = c.across[k];
            if (outer != none ? cells_[outer].stamp == hole_number_ : crosses(c, k, point, merging))
                continue;
            hole_face f{.corner = {c.corner[0], c.corner[1], c.corner[2], c.corner[3]},
                        .apex = k,
                        .parent = parent,
                        .outer = outer,
                        .outer_face = none,
                        .made = none};
            f.corner[k] = point;
            for (int i = 0; outer != none && i < 4; ++i)
                if (cells_[outer].across[i] == parent)
                    f.outer_face = i;
            if (!faces_.push(f))
                return result::no_memory;
        }
    return result::done;
}

// Equal sides of the faces follow each other: new cells meet there. Refused when more than two faces share a side,
// which then do not enclose a hole.
tiling::result tiling::pair_sides()
{
    sides_.clear();
    for (int j = 0; j < faces_.size(); ++j) {
        const hole_face &f = faces_[j];
        for (int i = 0; i < 4; ++i) {
            if (i == f.apex)
                continue;
            int end[2], n = 0;
            for (int e = 0; e < 4; ++e)
                if (e != i && e != f.apex)
                    end[n++] = f.corner[e];
            const auto [low, high] = std::minmax(end[0], end[1]);
            if (!sides_.push({.ends = (std::int64_t{low} << 32) | high, .face = j, .cell_face = i}))
                return result::no_memory;
        }
    }
    std::sort(sides_.begin(), sides_.end());
    for (int i = 2; i < sides_.size(); ++i)
        if (sides_[i].ends == sides_[i - 2].ends)
            return result::refused;
    return result::done;
}

// Whether each corner of the hole's cells is a corner of a face around it too, so that no point is lost.
bool tiling::keeps_corners()
{
    for (const hole_face &f : faces_)
        for (const int c : f.corner)
            stamp_[c] = hole_number_;
    for (const int i : hole_)
        for (const int c : cells_[i].corner)
            if (stamp_[c] != hole_number_)
                return false;
    return true;
}

// The hole that a point makes in the tiling, and the faces and sides around it.
tiling::result tiling::make_hole(int point, int first, bool merging)
{
    result r = grow_hole(point, first, merging);
    if (r == result::done)
        r = list_faces(point, merging);
    if (r == result::done)
        r = pair_sides();
    return r == result::done && !keeps_corners() ? result::refused : r;
}

// A new cell is on each face around the hole, and all neighbours know each other. False when memory is short.
bool tiling::fill_hole(int point)
{
    for (const int i : hole_)
        cells_[i].corner[0] = none;
    for (hole_face &f : faces_) {
        f.made = cells_[f.parent].corner[0] == none ? f.parent : cells_.size();
        cell c{.corner = {f.corner[0], f.corner[1], f.corner[2], f.corner[3]},
               .across = {none, none, none, none},
               .stamp = 0};
        c.across[f.apex] = f.outer;
        if (f.made == f.parent)
            cells_[f.made] = c;
        else if (!cells_.push(c))
            return false;
        if (f.outer != none)
            cells_[f.outer].across[f.outer_face] = f.made;
    }
    for (int i = 1; i < sides_.size(); ++i) {
        const hole_side &a = sides_[i - 1], &b = sides_[i];
        if (a.ends != b.ends)
            continue;
        cells_[faces_[a.face].made].across[a.cell_face] = faces_[b.face].made;
        cells_[faces_[b.face].made].across[b.cell_face] = faces_[a.face].made;
    }
    last_of_all_ = last_in_box_[box_of(point)] = faces_[0].made;
    return true;
}

bool tiling::add(int point)
{
    const int last = last_in_box_[box_of(point)];
    int first = walk(cells_[last].corner[0] != none ? last : last_of_all_, point);
    if (!holds(cells_[first], point)) {
        if (is_outside(point))
            return true;
        if (!nearly_holds(cells_[first], point))
            first = search(point);
        if (first == none)
            return true;
    }
    result r = make_hole(point, first, true);
    if (r == result::refused)
        r = make_hole(point, first, false);
    // A point that equals a corner is still refused, and left out.
    return r != result::done ? r == result::refused : fill_hole(point);
}

}  // namespace teska::tetra
