// proj_priv - points, planes and internal results of the projections

#ifndef TESKA_PROJ_PRIV_H
#define TESKA_PROJ_PRIV_H

#include "Support/vec.h"

#include "proj.h"

#include <cmath>
#include <cstddef>

namespace teska
{

// A length or denominator nearer to 0 counts as 0. Absolute, like every tolerance of the family: callers think in
// colour units, where it is far below anything that can be seen.
inline constexpr double proj_degenerate = 1e-20;

// ---- Points and planes ---------------------------------------------------------------------------------------------

inline vec3 vertex(const double *figure, int i = 0) noexcept
{
    return vec3_at(figure + 3 * static_cast<std::ptrdiff_t>(i));
}

// n * x + d = 0; n need not have length 1.
struct plane {
    vec3 n;
    double d;
};

inline double value_at(const plane &p, const vec3 &x) noexcept { return dot(p.n, x) + p.d; }

inline plane plane_at_right_angles(const vec3 &normal, const vec3 &through) noexcept
{
    return {normal, -dot(normal, through)};
}

// The foot of the perpendicular. Returns false, with nothing written, when there is no normal.
inline bool foot_on_plane(const plane &p, const vec3 &from, vec3 &foot, double &dist) noexcept
{
    const double square = dot(p.n, p.n);
    if (square < proj_degenerate)
        return false;
    const double t = (-dot(p.n, from) - p.d) / square;
    foot = from + t * p.n;
    dist = std::sqrt(square) * std::fabs(t);
    return true;
}

// ---- Results -------------------------------------------------------------------------------------------------------

// Where a query point went: ProjResult and its distance. Weights beyond the figure's vertices mean nothing.
struct projection {
    vec3 point;
    double dist;
    double weight[4];
};

inline void store(const projection &from, int vertices, ProjResult *r, double *dist) noexcept
{
    store(from.point, r->point);
    for (int i = 0; i < vertices; ++i)
        r->weight[i] = from.weight[i];
    if (dist != nullptr)
        *dist = from.dist;
}

// ---- Figures -------------------------------------------------------------------------------------------------------

// A triangle where the caller keeps it, or a face of a tetrahedron there. Nothing is copied: it would take as long as
// half of a projection.
struct triangle {
    const double *at[3];

    vec3 operator[](int i) const noexcept { return vertex(at[i]); }
};

// Two vertices of a triangle and the third.
struct triangle_side {
    int a, b, opposite;
};

inline triangle triangle_at(const double *figure) noexcept { return {{figure, figure + 3, figure + 6}}; }

// The plane of a triangle, with a normal of length 1. Returns the length of the product of its edges; when it is below
// proj_degenerate the vertices are on a line, and the plane has the product as it is.
inline double span_triangle(const triangle &t, plane &p) noexcept
{
    p = plane_at_right_angles(cross(t[1] - t[0], t[2] - t[0]), t[0]);
    const double size = length(p.n);
    if (!(size < proj_degenerate))
        p = {p.n / size, p.d / size};
    return size;
}

// The ordinary projections and those at constant parameter; what the functions of proj.h do, which hand them on. 0 or
// -1.
inline projection first_end(const vec3 &p0, double dist) noexcept { return {p0, dist, {1.0, 0.0}}; }

// Inline: most projections on a triangle end here.
inline projection project_on_segment(const vec3 &p0, const vec3 &p1, const vec3 &q) noexcept
{
    const vec3 edge = p1 - p0;
    const double square = dot(edge, edge);
    if (square < proj_degenerate)
        return first_end(p0, length(p0 - q));
    // How far along the segment the foot is, 0 .. square.
    const double along = dot(edge, q) - dot(edge, p0);
    if (!(along >= 0.0))
        return first_end(p0, length(p0 - q));
    if (square < along)
        return {p1, length(p1 - q), {0.0, 1.0}};
    const vec3 foot = p0 + along / square * edge;
    const double weight = length(foot - p1) / std::sqrt(square);
    return {foot, length(foot - q), {weight, 1.0 - weight}};
}

projection project_on_segment_par(const vec3 &p0, const vec3 &p1, const vec3 &q, const vec3 &dir) noexcept;
int project_on_triangle(const triangle &t, const vec3 &q, projection &found) noexcept;
int project_on_triangle_par(const triangle &t, const vec3 &q, const vec3 &dir, projection &found) noexcept;
int project_on_tetra(const double *tet, const vec3 &q, projection &found) noexcept;

// The point of a plane at the parameter of q. Returns whether there is one.
bool point_on_plane_par(const plane &p, const vec3 &q, const vec3 &dir, vec3 &x) noexcept;

// The distance that counts a step along dir, away from the parameter of q, with its weight.
double penalised_distance(const vec3 &y, const vec3 &q, const vec3 &dir) noexcept;

// The longest side of a triangle, the later one of equals in the order (0,1), (0,2), (1,2).
triangle_side longest_side(const triangle &t) noexcept;

}  // namespace teska

#endif
