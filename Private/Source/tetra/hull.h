// hull - convex hull of a set of points, as triangles that know their neighbours

#ifndef TESKA_TETRA_HULL_H
#define TESKA_TETRA_HULL_H

#include "Support/growing.h"
#include "Support/vec.h"

namespace teska::tetra
{

constexpr int none = -1;  // no point, triangle or cell

// A triangle of the hull: indices of its corners, counterclockwise from outside, and its neighbours; across[k] is the
// one beyond the side from corner k to the next.
struct hull_triangle {
    int corner[3];
    int across[3];
};

// Distance beyond which a point is a corner of the hull.
double hull_tolerance(const vec3 *points, const growing<int> &chosen) noexcept;

// The convex hull of the chosen points; no triangles when they lie in a plane. False when memory is short.
bool convex_hull(const vec3 *points, int nr_points, const growing<int> &chosen, growing<hull_triangle> &hull) noexcept;

}  // namespace teska::tetra

#endif
