// tetra/tiling - the convex hull of points, cut into tetrahedra that have every point as a corner (geometry)
//
// The tetrahedra are cells that know their neighbours: across[k] is the cell beyond the face opposite to corner k. All
// cells run the same way round (p0, p1, p2 counterclockwise from outside the cell, seen from the side away from p3), and
// all decisions are exact (Support/orient.h), so the cells fill the hull without gap or overlap at every step.
//
// Taking up a point:
//
//     hole    the cell that holds it, and from there across each face that it lies on or beyond, until it sees all faces
//             around the hole from within: 1 cell inside, 2 at a face, the ring around an edge
//     cells   the point with each face around the hole. The first of those that came of a cell takes its place, the
//             others go to the end
//
// A face so near that the cell would be a sliver, with a determinant that tetra_new cannot describe, is crossed as if the
// point lay on it: the cells around a hole that sees all its faces from within fill it whatever their shape. Where that
// is impossible, at the surface of the hull, slivers are made. They take part in everything but are not given out.
//
// Finding the cell: a walk across faces that the point lies beyond, from a cell where the last point of the same region
// went. A point beyond the surface, by what rounding or the tolerance of the hull leave, goes into the cell next to it:
// the faces that it sees from without are given up, and the surface moves out to it.

#include "Source/tetra/tetra_priv.h"
#include "Support/growing.h"
#include "Support/memory.h"
#include "Support/orient.h"

#include "tetra.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace
{

namespace tp = teska::tetra;

using teska::growing;
using tp::coordinates;
using tp::hull_triangle;
using tp::place;

constexpr int none = -1;
constexpr int most_merged = 1024;  // cells of a hole that is widened to avoid slivers

struct cell {
    int corner[4];  // points; corner[0] is none in a cell that is gone
    int across[4];
    int stamp;  // the last hole it was part of
};

// A face around a hole, with the cell that is to stand on it.
struct hole_face {
    int corner[4];  // those of the cell
    int apex;       // which corner is the point
    int parent;     // the cell of the hole
    int outer;      // the cell beyond, or none
    int outer_face;
    int made;
};

// A side of such a face, with the face of the new cell that stands on it.
struct hole_side {
    std::int64_t ends;  // its corners
    int face;
    int cell_face;

    bool operator<(const hole_side &other) const { return ends != other.ends ? ends < other.ends : face < other.face; }
};

class tiling
{
public:
    tiling(const place *points, double tolerance) : points_(points), tolerance_(tolerance) {}

    bool start(int nr_points, const growing<hull_triangle> &hull, int apex);
    bool take_up(int point);
    [[nodiscard]] const growing<cell> &cells() const { return cells_; }
    [[nodiscard]] bool is_sliver(const int *corner) const;

private:
    enum class result { done, refused, no_memory };

    const double *where(int point) const { return coordinates(points_[point]); }
    int side(const int *corner, int k, int point) const;
    bool holds(const cell &c, int point) const;
    int walk(int from, int point) const;
    bool nearly_holds(const cell &c, int point) const;
    int search(int point) const;
    int region(int point) const;
    bool crosses(const cell &c, int k, int point, bool merging) const;
    result dig(int point, int first, bool merging);
    result widen(int point, int first, bool merging);
    result list_faces(int point, bool merging);
    result pair_sides();
    bool keeps_corners();
    bool fill(int point);
    void set_boxes();
    double height(const int *face, int point) const;
    bool is_outside(int point) const;

    const place *points_;
    double tolerance_;
    growing<cell> cells_;
    growing<int> hole_;
    growing<hole_face> faces_;
    growing<hole_side> sides_;
    teska::heap_block<int> stamp_;  // of each corner: the last hole around which it stood
    int hole_number_ = 0;

    // Boxes over the hull's extent; of each the cell where its last point went. 0 at first, which is a cell too.
    static constexpr int boxes = 16;
    teska::heap_block<int> latest_;
    int youngest_ = 0;  // the cell where the last point of all went
    double low_[3] = {HUGE_VAL, HUGE_VAL, HUGE_VAL};
    double per_unit_[3] = {0.0, 0.0, 0.0};
    const growing<hull_triangle> *hull_ = nullptr;
};

// 1: a point is on the inner side of the face opposite to corner k; 0: on it; -1: beyond.
int tiling::side(const int *corner, int k, int point) const
{
    int c[4] = {corner[0], corner[1], corner[2], corner[3]};
    c[k] = point;
    return -teska::orientation(where(c[0]), where(c[1]), where(c[2]), where(c[3]));
}

bool tiling::holds(const cell &c, int point) const
{
    return side(c.corner, 0, point) >= 0 && side(c.corner, 1, point) >= 0 && side(c.corner, 2, point) >= 0 &&
           side(c.corner, 3, point) >= 0;
}

bool tiling::is_sliver(const int *corner) const
{
    const double det = tp::spanned(points_[corner[0]], points_[corner[1]], points_[corner[2]], points_[corner[3]]);
    return std::fabs(det) < tp::least_determinant;
}

// Distance of a point from the plane of a face, positive on the side from which its corners run counterclockwise.
double tiling::height(const int *face, int point) const
{
    const place &a = points_[face[0]], &b = points_[face[1]], &c = points_[face[2]];
    const place u{b.x - a.x, b.y - a.y, b.z - a.z}, v{c.x - a.x, c.y - a.y, c.z - a.z};
    const place n{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
    return tp::spanned(a, b, c, points_[point]) / std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
}

bool tiling::is_outside(int point) const
{
    return std::any_of(hull_->begin(), hull_->end(),
                       [&](const hull_triangle &t) { return height(t.corner, point) > tolerance_; });
}

// Whether what a point is outside of a cell, if it is, comes of rounding or is a sliver. To a cell that is itself a
// sliver all points of its plane would seem near.
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

// The cell where a walk across faces ends beyond which a point lies: one that holds it, or one from which the way leads
// outside. Among cells of any shape a walk may turn in a circle, so each step begins with another face, and one that goes
// on for too long is given up.
int tiling::walk(int from, int point) const
{
    int at = from;
    for (int step = 0; step < cells_.size() + 100; ++step) {
        const cell &c = cells_[at];
        int next = none;
        for (int i = 0; i < 4 && next == none; ++i) {
            const int k = (step + i) % 4;
            if (c.across[k] != none && side(c.corner, k, point) < 0)
                next = c.across[k];
        }
        if (next == none)
            break;
        at = next;
    }
    return at;
}

// A cell that holds a point, or else nearly, or none: all are asked. Needed only for points at the surface, where the
// walk may end at the wrong side of a dent.
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
int tiling::region(int point) const
{
    int box = 0;
    for (int i = 0; i < 3; ++i) {
        const double at = (where(point)[i] - low_[i]) * per_unit_[i];
        box = boxes * box + static_cast<int>(std::clamp(at, 0.0, boxes - 1.0));
    }
    return box;
}

// Whether the hole goes on across a face, where there is a cell beyond it.
bool tiling::crosses(const cell &c, int k, int point, bool merging) const
{
    if (side(c.corner, k, point) <= 0 || !merging)
        return side(c.corner, k, point) <= 0;
    int corner[4] = {c.corner[0], c.corner[1], c.corner[2], c.corner[3]};
    corner[k] = point;
    return is_sliver(corner);
}

// The cells of the hole, beginning with one.
tiling::result tiling::widen(int point, int first, bool merging)
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

// The faces around the hole. Those to the outside that it would go on across are no more.
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

// Brings the sides of the faces together that are neighbours. More than two at one place: not the border of a hole.
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

// Whether each corner of the hole's cells is one of the faces around it too: none is lost.
bool tiling::keeps_corners()
{
    for (const hole_face &f : faces_)
        for (const int c : f.corner)
            stamp_[static_cast<std::size_t>(c)] = hole_number_;
    for (const int i : hole_)
        for (const int c : cells_[i].corner)
            if (stamp_[static_cast<std::size_t>(c)] != hole_number_)
                return false;
    return true;
}

tiling::result tiling::dig(int point, int first, bool merging)
{
    result r = widen(point, first, merging);
    if (r == result::done)
        r = list_faces(point, merging);
    if (r == result::done)
        r = pair_sides();
    return r == result::done && !keeps_corners() ? result::refused : r;
}

// Puts a cell on each face around the hole. False when memory is short.
bool tiling::fill(int point)
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
    youngest_ = latest_[static_cast<std::size_t>(region(point))] = faces_[0].made;
    return true;
}

void tiling::set_boxes()
{
    double high[3] = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    for (const hull_triangle &t : *hull_)
        for (const int corner : t.corner)
            for (int i = 0; i < 3; ++i) {
                low_[i] = std::min(low_[i], where(corner)[i]);
                high[i] = std::max(high[i], where(corner)[i]);
            }
    for (int i = 0; i < 3; ++i)
        per_unit_[i] = boxes / (high[i] - low_[i]);
}

// The fan of the apex: a cell for each triangle of the hull that does not lie in a plane with it, up to the tolerance: a
// flat cell would make neighbours of cells that are far from each other. False when memory is short.
bool tiling::start(int nr_points, const growing<hull_triangle> &hull, int apex)
{
    const auto room = static_cast<std::size_t>(nr_points);
    stamp_ = teska::zeroed_block<int>(room);
    latest_ = teska::zeroed_block<int>(boxes * boxes * boxes);
    growing<int> number;
    if (!stamp_ || !latest_)
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
    for (int i = 0; i < hull.size(); ++i)
        for (int k = 0; number[i] != none && k < 3; ++k)
            cells_[number[i]].across[k] = number[hull[i].across[(k + 1) % 3]];
    return true;
}

// Makes a point a corner. False when memory is short.
bool tiling::take_up(int point)
{
    const int latest = latest_[static_cast<std::size_t>(region(point))];
    int at = walk(cells_[latest].corner[0] != none ? latest : youngest_, point);
    if (!holds(cells_[at], point)) {
        if (is_outside(point))
            return true;
        if (!nearly_holds(cells_[at], point))
            at = search(point);
        if (at == none)
            return true;
    }
    result r = dig(point, at, true);
    if (r == result::refused)
        r = dig(point, at, false);
    // A point that equals a corner is still refused, and left out.
    return r != result::done ? r == result::refused : fill(point);
}

// What tetra_volume_new2 works with.
struct point_set {
    const tetra_point *points;
    int count;
    teska::heap_block<place> places;
    teska::heap_block<char> usable;
    teska::heap_block<char> may_bound;  // usable, and selected
    growing<int> chosen;                // for the hull
    growing<hull_triangle> hull;
    int apex;

    [[nodiscard]] bool is_usable(int i) const { return usable[static_cast<std::size_t>(i)] != 0; }
    [[nodiscard]] bool is_selected(int i) const { return may_bound[static_cast<std::size_t>(i)] != 0; }
};

bool read_points(point_set &set, list_rec *points, tetra_point_select_fn select)
{
    set.count = list_num(points);
    set.points = static_cast<const tetra_point *>(list_get_element(points, 0));
    const auto room = static_cast<std::size_t>(set.count);
    set.places = teska::zeroed_block<place>(room);
    set.usable = teska::zeroed_block<char>(room);
    set.may_bound = teska::zeroed_block<char>(room);
    if (!set.places || !set.usable || !set.may_bound)
        return false;
    for (int i = 0; i < set.count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const tetra_point &p = set.points[i];
        const bool selected = select == nullptr || select(&p, i) != 0;
        if (!teska::orient_takes(p.x) || !teska::orient_takes(p.y) || !teska::orient_takes(p.z))
            continue;
        set.usable[at] = 1;
        set.may_bound[at] = selected ? 1 : 0;
        set.places[at] = {teska::orient_coordinate(p.x), teska::orient_coordinate(p.y), teska::orient_coordinate(p.z)};
    }
    return true;
}

// The hull of what may bound, without what is near the apex: the fan would lack the triangles at such a corner.
bool bound(point_set &set, const char *apex_mark)
{
    const char *end = apex_mark + set.count;
    set.apex = static_cast<int>(std::find(apex_mark, end, 1) - apex_mark);
    set.chosen.clear();
    for (int i = 0; set.apex < set.count && i < set.count; ++i) {
        const bool at_apex = tp::near_points(coordinates(set.places[static_cast<std::size_t>(i)]),
                                             coordinates(set.places[static_cast<std::size_t>(set.apex)]));
        if (set.is_selected(i) && (i == set.apex || !at_apex) && !set.chosen.push(i))
            return false;
    }
    return tp::convex_hull(set.places.get(), set.count, set.chosen, set.hull);
}

bool apex_is_outside(const point_set &set)
{
    const auto at = [&](int i) { return coordinates(set.places[static_cast<std::size_t>(i)]); };
    return std::any_of(set.hull.begin(), set.hull.end(), [&](const hull_triangle &t) {
        return teska::orientation(at(t.corner[0]), at(t.corner[1]), at(t.corner[2]), at(set.apex)) > 0;
    });
}

bool add_planes(tetra_volume *v, const point_set &set)
{
    return std::all_of(set.hull.begin(), set.hull.end(), [&](const hull_triangle &t) {
        const tetra_point *p = set.points;
        return tetra_volume_add_plane(v, p + t.corner[0], p + t.corner[1], p + t.corner[2]) == 0;
    });
}

// Makes corners of the other points in list order, but for those near a corner of the fan or near one before. A corner of
// the hull whose triangles all lie in a plane with the apex is not in the fan: it is one of the others.
bool take_up_others(const point_set &set, tiling &cells)
{
    tp::distinct_points taken;
    if (!taken.reserve(static_cast<std::size_t>(set.count)))
        return false;
    for (const cell &c : cells.cells())
        for (const int corner : c.corner)
            taken.take(set.points[corner]);
    for (int i = 0; i < set.count; ++i) {
        if (!set.is_usable(i) || i == set.apex || !taken.take(set.points[i]))
            continue;
        if (!cells.take_up(i))
            return false;
    }
    return true;
}

bool add_tetras(tetra_volume *v, const point_set &set, const tiling &cells)
{
    return std::all_of(cells.cells().begin(), cells.cells().end(), [&](const cell &c) {
        if (c.corner[0] == none || cells.is_sliver(c.corner))
            return true;
        const tetra_point *p = set.points;
        return tetra_volume_add_tetra(v, p + c.corner[0], p + c.corner[1], p + c.corner[2], p + c.corner[3]) == 0;
    });
}

bool cut_up(tetra_volume *v, const point_set &set)
{
    tiling cells(set.places.get(), tp::hull_tolerance(set.places.get(), set.chosen));
    if (!cells.start(set.count, set.hull, set.apex))
        return false;
    return cells.cells().size() == 0 || (take_up_others(set, cells) && add_tetras(v, set, cells));
}

}  // namespace

tetra_volume *tetra_volume_new(list_rec *points) TESKA_NOTHROW { return tetra_volume_new2(points, 0, nullptr); }

tetra_volume *tetra_volume_new2(list_rec *points, int mode, tetra_point_select_fn select) TESKA_NOTHROW
{
    if (points == nullptr || list_get_el_size(points) != static_cast<int>(sizeof(tetra_point)))
        return nullptr;
    const bool selects = mode != 0 && select != nullptr;
    point_set set{};
    if (!read_points(set, points, selects ? select : nullptr) || !bound(set, set.usable.get()))
        return nullptr;
    if (selects && apex_is_outside(set) && !bound(set, set.may_bound.get()))
        return nullptr;
    teska::handle<tetra_volume, tetra_volume_kill> v(tetra_volume_new0());
    if (!v || !add_planes(v.get(), set) || !cut_up(v.get(), set))
        return nullptr;
    return v.release();
}
