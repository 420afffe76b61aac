// tetra/cutting - the convex hull of points, cut into tetrahedra that have every point as a corner (geometry)
//
// The hull of the points that may bound comes first (tetra/hull), then the tetrahedra of its triangles and the first
// point, which all other points are added to (tetra/tiling). Records are made at the end.

#include "Source/tetra/distinct_points.h"
#include "Source/tetra/hull.h"
#include "Source/tetra/tetra_priv.h"
#include "Source/tetra/tiling.h"
#include "Support/growing.h"
#include "Support/memory.h"
#include "Support/orient.h"

#include "tetra.h"

#include <algorithm>

using namespace teska;
using namespace teska::tetra;

namespace
{

// What tetra_volume_new2 works with.
struct point_set {
    const tetra_point *points;
    int count;
    heap_block<vec3> positions;  // as the exact test takes them
    heap_block<char> usable;
    heap_block<char> may_bound;  // usable, and selected
    growing<int> chosen;         // for the hull
    growing<hull_triangle> hull;
    int apex;

    [[nodiscard]] bool is_usable(int i) const { return usable[i] != 0; }
    [[nodiscard]] bool is_selected(int i) const { return may_bound[i] != 0; }
};

// Reads and selects the points of the list. False when memory is short.
bool read_points(point_set &set, list_rec *points, tetra_point_select_fn select)
{
    set.count = list_num(points);
    set.points = static_cast<const tetra_point *>(list_get_element(points, 0));
    const auto room = static_cast<std::size_t>(set.count);
    set.positions = zeroed_block<vec3>(room);
    set.usable = zeroed_block<char>(room);
    set.may_bound = zeroed_block<char>(room);
    if (!set.positions || !set.usable || !set.may_bound)
        return false;
    for (int i = 0; i < set.count; ++i) {
        const tetra_point &p = set.points[i];
        const bool selected = select == nullptr || select(&p, i) != 0;
        if (!orient_takes(position(p)))
            continue;
        set.usable[i] = 1;
        set.may_bound[i] = selected ? 1 : 0;
        set.positions[i] = {orient_coordinate(p.x), orient_coordinate(p.y), orient_coordinate(p.z)};
    }
    return true;
}

// The hull of the points that may bound, the first marked one being the apex. Points near the apex are left out: no
// tetrahedron could be made of the triangles at such a corner.
bool bound(point_set &set, const char *apex_mark)
{
    const char *end = apex_mark + set.count;
    set.apex = static_cast<int>(std::find(apex_mark, end, 1) - apex_mark);
    set.chosen.clear();
    for (int i = 0; set.apex < set.count && i < set.count; ++i) {
        const bool at_apex = are_near(set.positions[i], set.positions[set.apex]);
        if (set.is_selected(i) && (i == set.apex || !at_apex) && !set.chosen.push(i))
            return false;
    }
    return convex_hull(set.positions.get(), set.count, set.chosen, set.hull);
}

bool apex_is_outside(const point_set &set)
{
    const vec3 *at = set.positions.get();
    return std::any_of(set.hull.begin(), set.hull.end(), [&](const hull_triangle &t) {
        return orientation(at[t.corner[0]], at[t.corner[1]], at[t.corner[2]], at[set.apex]) > 0;
    });
}

bool add_planes(tetra_volume *v, const point_set &set)
{
    return std::all_of(set.hull.begin(), set.hull.end(), [&](const hull_triangle &t) {
        const tetra_point *p = set.points;
        return tetra_volume_add_plane(v, p + t.corner[0], p + t.corner[1], p + t.corner[2]) == 0;
    });
}

// Makes corners of the other points in list order, but for those near a corner of the first cells or near one before. A
// corner of the hull whose triangles all lie in a plane with the apex is in no cell yet: it is one of the others.
bool add_others(const point_set &set, tiling &cells)
{
    distinct_points taken;
    if (!taken.reserve(static_cast<std::size_t>(set.count)))
        return false;
    for (const cell &c : cells.cells())
        for (const int corner : c.corner)
            taken.add(position(set.points[corner]));
    for (int i = 0; i < set.count; ++i) {
        if (!set.is_usable(i) || i == set.apex || !taken.add(position(set.points[i])))
            continue;
        if (!cells.add(i))
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
    tiling cells(set.positions.get(), hull_tolerance(set.positions.get(), set.chosen));
    if (!cells.start(set.count, set.hull, set.apex))
        return false;
    return cells.cells().size() == 0 || (add_others(set, cells) && add_tetras(v, set, cells));
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
    handle<tetra_volume, tetra_volume_kill> v(tetra_volume_new0());
    if (!v || !add_planes(v.get(), set) || !cut_up(v.get(), set))
        return nullptr;
    return v.release();
}
