// tetra - planes, tetrahedra and volumes cut into tetrahedra (geometry)
//
// This source has the records of planes and tetrahedra and what is asked of points, lines and triangles; volumes are in
// tetra/volume.cpp; how they are made of points is in tetra/cutting.cpp.
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

using namespace teska;
using namespace teska::tetra;

namespace
{

constexpr double least_squared_normal = 0.01;  // squared twice the area: a plane through less is none
constexpr double least_length = 0.01;          // a line through nearer points is none
constexpr double side_tolerance = 1e-9;        // relative to the squared normal: inside a triangle
constexpr double beyond_end = 0.01;            // product of distances: inside a segment

vec3 between(const tetra_point &from, const tetra_point &to) { return position(to) - position(from); }

vec3 normal(const tetra_plane &plane) { return {plane.a, plane.b, plane.c}; }

// The value of the plane's equation at a point.
double value_at(const tetra_plane &plane, const vec3 &p) { return dot(normal(plane), p) + plane.d; }

void set_plane(tetra_plane &plane, const tetra_point &p0, const tetra_point &p1, const tetra_point &p2)
{
    const vec3 n = cross(between(p2, p0), between(p2, p1));
    plane.a = n.x;
    plane.b = n.y;
    plane.c = n.z;
    plane.d = -dot(n, position(p0));
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
    if (det >= least_determinant || det <= -least_determinant)
        return det;
    return det < 0.0 ? -least_determinant : least_determinant;
}

// The rows of the inverse are e2 x e3, e3 x e1 and e1 x e2 over the determinant.
void set_inverse(tetra_rec &t)
{
    const vec3 e1 = between(t.p[0], t.p[1]), e2 = between(t.p[0], t.p[2]), e3 = between(t.p[0], t.p[3]);
    const double det =
        kept_from_zero(determinant(position(t.p[0]), position(t.p[1]), position(t.p[2]), position(t.p[3])));
    double *m = t.m;
    for (const vec3 &row : {cross(e2, e3), cross(e3, e1), cross(e1, e2)}) {
        store(row / det, m);
        m += 3;
    }
}

// Whether a point of the triangle's plane lies between its sides.
bool between_sides(const tetra_plane &tri, const vec3 &p)
{
    const vec3 n = normal(tri);
    const double least = -side_tolerance * dot(n, n);
    for (int i = 0; i < 3; ++i) {
        const tetra_point &corner = tri.p[i];
        // Not a number counts as outside.
        if (!(dot(n, cross(between(corner, tri.p[(i + 1) % 3]), p - position(corner))) >= least))
            return false;
    }
    return true;
}

bool at_corner(const tetra_plane &tri, const vec3 &x)
{
    return std::any_of(tri.p, tri.p + 3, [&x](const tetra_point &corner) {
        const vec3 apart = x - position(corner);
        return std::fabs(apart.x) + std::fabs(apart.y) + std::fabs(apart.z) <= near_distance;
    });
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

tetra_plane *plane_new(const tetra_plane *src) TESKA_NOTHROW
{
    if (src == nullptr)
        return nullptr;
    auto plane = make_record<tetra_plane>();
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
    auto plane = make_record<tetra_plane>();
    if (plane)
        set_plane(*plane, *p0, *p1, *p2);
    return plane.release();
}

tetra_rec *tetra_new(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2,
                     const tetra_point *p3) TESKA_NOTHROW
{
    if (p0 == nullptr || p1 == nullptr || p2 == nullptr || p3 == nullptr)
        return nullptr;
    auto t = make_record<tetra_rec>();
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
    const vec3 q = vec3_at(p) - position(t->p[0]);
    const double w0 = dot(vec3_at(t->m), q);
    const double w1 = dot(vec3_at(t->m + 3), q);
    const double w2 = dot(vec3_at(t->m + 6), q);
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
    const double size = length(n);
    const bool in_plane = size > 0.0 && std::fabs(value_at(*tri, vec3_at(p))) <= near_distance * size;
    return in_plane && between_sides(*tri, vec3_at(p)) ? 1 : 0;
}

int plane_intersect_line(const tetra_plane *plane, const double a[3], const double b[3], double x[3]) TESKA_NOTHROW
{
    if (plane == nullptr)
        return 0;
    const vec3 from = vec3_at(a);
    const vec3 along = vec3_at(b) - from;
    const double s = dot(normal(*plane), along);
    if (s == 0.0)
        return 0;
    const double t = -value_at(*plane, from) / s;
    store(from + t * along, x);
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
    const double over = value_at(plane, position(*p));
    return over * over / squared_normal;
}

double line_get_distance_from_point(const tetra_point *p, const tetra_point *s, const tetra_point *e) TESKA_NOTHROW
{
    const vec3 along = between(*s, *e);
    const double size = length(along);
    if (size < least_length)
        return 0.0;
    const vec3 u = along / size;
    // Kept: divided by the length, which leaves the foot of the perpendicular unless that is 1.
    const double t = dot(between(*s, *p), u) / size;
    const vec3 off = position(*p) - (position(*s) + t * u);
    return dot(off, off);
}

double triangle_get_area(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2) TESKA_NOTHROW
{
    // Kept: the height is a square.
    return 0.5 * length(between(*p1, *p0)) * line_get_distance_from_point(p2, p0, p1);
}

double tetra_get_volume(const tetra_rec *t) TESKA_NOTHROW
{
    if (t == nullptr)
        return -1.0;
    // Kept: the height is a square here too.
    return triangle_get_area(&t->p[0], &t->p[1], &t->p[2]) *
           plane_get_distance_from_point(&t->p[3], &t->p[0], &t->p[1], &t->p[2]) / 3.0;
}

double tetra_get_true_volume(const tetra_rec *t) TESKA_NOTHROW
{
    if (t == nullptr)
        return -1.0;
    const double six_volumes = determinant(position(t->p[0]), position(t->p[1]), position(t->p[2]), position(t->p[3]));
    return std::fabs(six_volumes) / 6.0;
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
    if (!at_corner(*plane, vec3_at(crossing)) && !between_sides(*plane, vec3_at(crossing)))
        return 0;
    std::copy(crossing, crossing + 3, x);
    return 1;
}
