// tetra_priv - what the sources of the tetrahedral volumes share

#ifndef TESKA_TETRA_PRIV_H
#define TESKA_TETRA_PRIV_H

#include "Support/growing.h"
#include "Support/memory.h"

#include "tetra.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace teska::tetra
{

constexpr double near_distance = 0.01;      // per coordinate: within it two points are one
constexpr double least_determinant = 1e-6;  // tetra_new can describe no flatter tetrahedron

// e1 . (e2 x e3), e_i = p_i - p0; a point is anything with x, y, z.
template <class Point>
double spanned(const Point &p0, const Point &p1, const Point &p2, const Point &p3) noexcept
{
    const double ax = p1.x - p0.x, ay = p1.y - p0.y, az = p1.z - p0.z;
    const double bx = p2.x - p0.x, by = p2.y - p0.y, bz = p2.z - p0.z;
    const double cx = p3.x - p0.x, cy = p3.y - p0.y, cz = p3.z - p0.z;
    return ax * (by * cz - bz * cy) + ay * (bz * cx - bx * cz) + az * (bx * cy - by * cx);
}

inline bool near_points(const double a[3], const double b[3]) noexcept
{
    return std::fabs(a[0] - b[0]) <= near_distance && std::fabs(a[1] - b[1]) <= near_distance &&
           std::fabs(a[2] - b[2]) <= near_distance;
}

// Points of which no two are near each other, in cubes a little larger than near_distance: whatever is near a point lies
// in its cube or in one of the 26 around it.
class distinct_points
{
public:
    // Room for `most` points; false when memory is short.
    bool reserve(std::size_t most) noexcept;

    // Takes a point unless one near it is there already; whether it did. A point that is not finite is near none.
    bool take(const tetra_point &p) noexcept;

private:
    [[nodiscard]] std::size_t bucket(double x, double y, double z) const noexcept;
    [[nodiscard]] bool holds_near(std::size_t bucket, const double p[3]) const noexcept;

    struct entry {
        double at[3];
        std::int32_t next;  // in the same bucket, 1 more than its index; 0: none
    };
    heap_block<entry> entries_;
    heap_block<std::int32_t> first_;  // of each bucket, likewise
    std::size_t buckets_ = 0;         // a power of two, at least 2
    std::int32_t count_ = 0;
};

// Coordinates as the exact test takes them (Support/orient.h).
struct place {
    double x, y, z;
};
static_assert(sizeof(place) == 3 * sizeof(double));

inline const double *coordinates(const place &p) noexcept { return &p.x; }

// A triangle of the hull: indices of its corners, counterclockwise from outside, and its neighbours; across[k] is the
// one beyond the side from corner k to the next.
struct hull_triangle {
    int corner[3];
    int across[3];
};

// Distance beyond which a point is a corner of the hull.
double hull_tolerance(const place *points, const growing<int> &chosen) noexcept;

// The convex hull of the chosen points; no triangles when they lie in a plane. False when memory is short.
bool convex_hull(const place *points, int nr_points, const growing<int> &chosen, growing<hull_triangle> &hull) noexcept;

}  // namespace teska::tetra

#endif
