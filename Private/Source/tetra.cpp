// tetra - planes, tetrahedra and volumes cut into tetrahedra (geometry)
//
// This source has the records of planes and tetrahedra and what is asked of points, lines and triangles; volumes are in
// tetra/volume.cpp, the hull in tetra/hull.cpp, the cutting in tetra/tiling.cpp.
//
// Several measures are odd on purpose: distances are squares, and areas and volumes are made of them. Callers compare
// them with each other, and they only need to grow with the size.

#include "tetra.h"

#include "Source/tetra/tetra_priv.h"
#include "Support/memory.h"
#include "Support/vec.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>

namespace
{

namespace tp = teska::tetra;
using teska::vec3;

constexpr double least_squared_normal = 0.01;  // squared twice the area: a plane through less is none
constexpr double least_length = 0.01;          // a line through nearer points is none
constexpr double side_tolerance = 1e-9;        // relative to the squared normal: inside a triangle
constexpr double beyond_end = 0.01;            // product of distances: inside a segment

vec3 between(const tetra_point &from, const tetra_point &to) { return {to.x - from.x, to.y - from.y, to.z - from.z}; }

vec3 normal(const tetra_plane &plane) { return {plane.a, plane.b, plane.c}; }

double height(const tetra_plane &plane, double x, double y, double z)
{
    return plane.a * x + plane.b * y + plane.c * z + plane.d;
}

void set_plane(tetra_plane &plane, const tetra_point &p0, const tetra_point &p1, const tetra_point &p2)
{
    const vec3 n = cross(between(p2, p0), between(p2, p1));
    plane.a = n.x;
    plane.b = n.y;
    plane.c = n.z;
    plane.d = -(n.x * p0.x + n.y * p0.y + n.z * p0.z);
    plane.p[0] = p0;
    plane.p[1] = p1;
    plane.p[2] = p2;
    plane.centroid[0] = (p0.x + p1.x + p2.x) / 3.0;
    plane.centroid[1] = (p0.y + p1.y + p2.y) / 3.0;
    plane.centroid[2] = (p0.z + p1.z + p2.z) / 3.0;
    plane.flag = 0;
}

double kept_from_zero(double det)
{
    if (det >= tp::least_determinant || det <= -tp::least_determinant)
        return det;
    return det < 0.0 ? -tp::least_determinant : tp::least_determinant;
}

// The rows of the inverse are e2 x e3, e3 x e1 and e1 x e2 over the determinant.
void set_inverse(tetra_rec &t)
{
    const vec3 e1 = between(t.p[0], t.p[1]), e2 = between(t.p[0], t.p[2]), e3 = between(t.p[0], t.p[3]);
    const double det = kept_from_zero(tp::spanned(t.p[0], t.p[1], t.p[2], t.p[3]));
    double *m = t.m;
    for (const vec3 &row : {cross(e2, e3), cross(e3, e1), cross(e1, e2)}) {
        *m++ = row.x / det;
        *m++ = row.y / det;
        *m++ = row.z / det;
    }
}

// Whether a point of the triangle's plane lies between its sides.
bool between_sides(const tetra_plane &tri, const double p[3])
{
    const vec3 n = normal(tri);
    const double least = -side_tolerance * dot(n, n);
    for (int i = 0; i < 3; ++i) {
        const tetra_point &corner = tri.p[i];
        const vec3 to_p{p[0] - corner.x, p[1] - corner.y, p[2] - corner.z};
        // Not a number counts as outside.
        if (!(dot(n, cross(between(corner, tri.p[(i + 1) % 3]), to_p)) >= least))
            return false;
    }
    return true;
}

bool at_corner(const tetra_plane &tri, const double x[3])
{
    return std::any_of(tri.p, tri.p + 3, [x](const tetra_point &corner) {
        return std::fabs(x[0] - corner.x) + std::fabs(x[1] - corner.y) + std::fabs(x[2] - corner.z) <=
               tp::near_distance;
    });
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

tetra_plane *plane_new(const tetra_plane *src) TESKA_NOTHROW
{
    if (src == nullptr)
        return nullptr;
    auto plane = teska::make_record<tetra_plane>();
    if (!plane)
        return nullptr;
    *plane = *src;
    plane->flag = 0;
    return plane.release();
}

tetra_plane *plane_new2(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2) TESKA_NOTHROW
{
    if (p0 == nullptr || p1 == nullptr || p2 == nullptr)
        return nullptr;
    auto plane = teska::make_record<tetra_plane>();
    if (plane)
        set_plane(*plane, *p0, *p1, *p2);
    return plane.release();
}

tetra_rec *tetra_new(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2,
                     const tetra_point *p3) TESKA_NOTHROW
{
    if (p0 == nullptr || p1 == nullptr || p2 == nullptr || p3 == nullptr)
        return nullptr;
    auto t = teska::make_record<tetra_rec>();
    if (!t)
        return nullptr;
    t->p[0] = *p0;
    t->p[1] = *p1;
    t->p[2] = *p2;
    t->p[3] = *p3;
    t->centroid[0] = 0.25 * (p0->x + p1->x + p2->x + p3->x);
    t->centroid[1] = 0.25 * (p0->y + p1->y + p2->y + p3->y);
    t->centroid[2] = 0.25 * (p0->z + p1->z + p2->z + p3->z);
    set_inverse(*t);
    return t.release();
}

int plane_kill(void *rec) TESKA_NOTHROW
{
    std::free(rec);
    return 0;
}

int tetra_kill(void *rec) TESKA_NOTHROW { return plane_kill(rec); }

// ---- Query ----------------------------------------------------------------------------------------------------------

int tetra_point_inside(const tetra_rec *t, const double p[3], double w[3]) TESKA_NOTHROW
{
    if (t == nullptr)
        return 0;
    const double x = p[0] - t->p[0].x, y = p[1] - t->p[0].y, z = p[2] - t->p[0].z;
    const double *m = t->m;
    const double w0 = m[0] * x + m[1] * y + m[2] * z;
    const double w1 = m[3] * x + m[4] * y + m[5] * z;
    const double w2 = m[6] * x + m[7] * y + m[8] * z;
    if (w != nullptr) {
        w[0] = w0;
        w[1] = w1;
        w[2] = w2;
    }
    const bool inside =
        w0 >= 0.0 && w0 <= 1.0 && w1 >= 0.0 && w1 <= 1.0 && w2 >= 0.0 && w2 <= 1.0 && w0 + w1 + w2 <= 1.0;
    return inside ? 1 : 0;
}

int triangle_point_inside(const tetra_plane *tri, const double p[3]) TESKA_NOTHROW
{
    if (tri == nullptr)
        return 0;
    const vec3 n = normal(*tri);
    const double length = std::sqrt(dot(n, n));
    const bool in_plane = length > 0.0 && std::fabs(height(*tri, p[0], p[1], p[2])) <= tp::near_distance * length;
    return in_plane && between_sides(*tri, p) ? 1 : 0;
}

int plane_intersect_line(const tetra_plane *plane, const double a[3], const double b[3], double x[3]) TESKA_NOTHROW
{
    if (plane == nullptr)
        return 0;
    const vec3 along{b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    const double s = dot(normal(*plane), along);
    if (s == 0.0)
        return 0;
    const double t = -height(*plane, a[0], a[1], a[2]) / s;
    // x may be a or b.
    const vec3 crossing{a[0] + t * along.x, a[1] + t * along.y, a[2] + t * along.z};
    x[0] = crossing.x;
    x[1] = crossing.y;
    x[2] = crossing.z;
    return 1;
}

double plane_get_distance_from_point(const tetra_point *p, const tetra_point *p0, const tetra_point *p1,
                                     const tetra_point *p2) TESKA_NOTHROW
{
    tetra_plane plane;
    set_plane(plane, *p0, *p1, *p2);
    const double squared_normal = dot(normal(plane), normal(plane));
    if (squared_normal < least_squared_normal)
        return 0.0;
    const double over = height(plane, p->x, p->y, p->z);
    return over * over / squared_normal;
}

double line_get_distance_from_point(const tetra_point *p, const tetra_point *s, const tetra_point *e) TESKA_NOTHROW
{
    const vec3 along = between(*s, *e);
    const double length = std::sqrt(dot(along, along));
    if (length < least_length)
        return 0.0;
    const vec3 u{along.x / length, along.y / length, along.z / length};
    // Kept: divided by the length, which leaves the foot of the perpendicular unless that is 1.
    const double t = dot(between(*s, *p), u) / length;
    const vec3 off{p->x - (s->x + t * u.x), p->y - (s->y + t * u.y), p->z - (s->z + t * u.z)};
    return dot(off, off);
}

double triangle_get_area(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2) TESKA_NOTHROW
{
    const vec3 side = between(*p1, *p0);
    // Kept: the height is a square.
    return 0.5 * std::sqrt(dot(side, side)) * line_get_distance_from_point(p2, p0, p1);
}

double tetra_get_volume(const tetra_rec *t) TESKA_NOTHROW
{
    if (t == nullptr)
        return -1.0;
    // Kept: the height is a square here too.
    return triangle_get_area(&t->p[0], &t->p[1], &t->p[2]) *
           plane_get_distance_from_point(&t->p[3], &t->p[0], &t->p[1], &t->p[2]) / 3.0;
}

int tetra_get_pointnr(const tetra_rec *t, int vertex) TESKA_NOTHROW
{
    if (t == nullptr || vertex < 0 || vertex > 3)
        return -1;
    const double nr = t->p[vertex].nr;
    const bool fits = nr > INT_MIN - 1.0 && nr < INT_MAX + 1.0;
    return fits ? static_cast<int>(nr) : -1;
}

int triangle_intersect_linesegment(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2,
                                   const double a[3], const double b[3], double x[3]) TESKA_NOTHROW
{
    if (p0 == nullptr || p1 == nullptr || p2 == nullptr)
        return 0;
    tetra_plane plane;
    set_plane(plane, *p0, *p1, *p2);
    return triangle_intersect_linesegment2(&plane, a, b, x);
}

int triangle_intersect_linesegment2(const tetra_plane *plane, const double a[3], const double b[3],
                                    double x[3]) TESKA_NOTHROW
{
    double crossing[3];
    if (plane_intersect_line(plane, a, b, crossing) == 0)
        return 0;
    for (int i = 0; i < 3; ++i)
        if (!((a[i] - crossing[i]) * (b[i] - crossing[i]) <= beyond_end))
            return 0;
    if (!at_corner(*plane, crossing) && !between_sides(*plane, crossing))
        return 0;
    std::copy(crossing, crossing + 3, x);
    return 1;
}
