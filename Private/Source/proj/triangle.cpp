// proj/triangle - projections of a point onto triangles and their edges (geometry)
//
// Whether a point lies above the triangle is asked edge by edge, in the order (p0,p1), (p0,p2), (p1,p2). Each edge has
// a plane through it at right angles to the triangle; where the query point and the opposite vertex lie on different
// sides of it, this edge alone gets the answer:
//
//             p2
//            /  \        x lies beyond the edges (p0,p1) and (p0,p2). The first decides:
//           /    \       x goes to p0, even where a point of (p0,p2) is nearer.
//         p0 ---- p1
//     x
//
// The ratio of the values of the plane at q and at the opposite vertex is that vertex's barycentric weight.
//
// Far from the origin a vertex shifted by the unit normal would be rounded back to where it was; the planes are spanned
// by the edge and the normal itself.

#include "Source/proj/proj_priv.h"

#include "proj.h"

using namespace teska;

namespace
{

// From which slope on a line passes a triangle from behind.
constexpr double behind = 0.001;

constexpr double infinitely_far = 1e20;

// In the order of the tests; edge number k, the one without vertex k, is sides[2 - k].
constexpr triangle_side sides[3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}};

constexpr int inside = 3;
constexpr int undecided = 4;

// Tests the edges. Returns the number of the side that x lies beyond, the first one, or `inside`, or `undecided` when a
// side has no length.
//
// normal  at right angles to the triangle, of any length
// value   for each side the value of its plane at x, positive on the side of the triangle
//
// Side and normal span the plane of an edge. Its value at x, and at the opposite vertex, is formed without dividing by
// the length of side and normal: signs and ratio are the same. At the opposite vertex it is then the scalar product of
// the normal with (p1 - p0) x (p2 - p0), whichever the edge; formed from the vertex it could have any sign in a
// triangle hardly wider than the spacing of the doubles.
int test_edges(const triangle &t, const vec3 &normal, const vec3 &x, double value[3])
{
    const vec3 edges[3] = {t[1] - t[0], t[2] - t[0], t[2] - t[1]};
    value[0] = -dot(cross(edges[0], normal), x - t[0]);
    value[1] = dot(cross(edges[1], normal), x - t[0]);
    value[2] = -dot(cross(edges[2], normal), x - t[1]);
    int side = value[2] < 0.0 ? 2 : inside;
    side = value[1] < 0.0 ? 1 : side;
    side = value[0] < 0.0 ? 0 : side;
    for (int i = 0; i < 3; ++i)
        if (dot(edges[i], edges[i]) < proj_degenerate * proj_degenerate && i <= side)
            return undecided;
    return side;
}

// The weights of a point inside, by the values of the edges and that at the opposite vertices.
void set_weights(projection &found, const double value[3], double at_opposite)
{
    for (int i = 0; i < 3; ++i)
        found.weight[sides[i].opposite] = std::fabs(value[i] / at_opposite);
}

// segment(p0, p1) is a projection onto a segment; the result becomes one on the triangle.
template <class Segment>
void on_side(const triangle &t, const triangle_side &s, const Segment &segment, projection &found)
{
    const projection on_segment = segment(t[s.a], t[s.b]);
    found.point = on_segment.point;
    found.dist = on_segment.dist;
    // A choice for each vertex: what is written by number cannot be read at once.
    for (int i = 0; i < 3; ++i)
        found.weight[i] = i == s.a ? on_segment.weight[0] : i == s.b ? on_segment.weight[1] : 0.0;
}

template <class Segment>
void on_all_edges(const triangle &t, const Segment &segment, projection &best)
{
    on_side(t, sides[2], segment, best);
    for (int k = 1; k < 3; ++k) {
        projection found;
        on_side(t, sides[2 - k], segment, found);
        if (found.dist < best.dist)
            best = found;
    }
}

auto ordinary(const vec3 &q)
{
    return [&q](const vec3 &p0, const vec3 &p1) { return project_on_segment(p0, p1, q); };
}

auto at_parameter(const vec3 &q, const vec3 &dir)
{
    return [&q, &dir](const vec3 &p0, const vec3 &p1) { return project_on_segment_par(p0, p1, q, dir); };
}

// Inline where it is exported, so that the result need not go through memory.
[[gnu::always_inline]] inline int project(const triangle &t, const vec3 &q, projection &found)
{
    const vec3 normal = cross(t[1] - t[0], t[2] - t[0]);
    const double square = dot(normal, normal);
    if (square < proj_degenerate * proj_degenerate) {
        on_side(t, longest_side(t), ordinary(q), found);
        return 0;
    }
    double value[3];
    const int side = test_edges(t, normal, q, value);
    if (side == undecided)
        return -1;
    if (side != inside) {
        on_side(t, sides[side], ordinary(q), found);
        return 0;
    }
    set_weights(found, value, square);
    const double height = dot(normal, q - t[0]);
    found.point = q - height / square * normal;
    found.dist = std::fabs(height) / std::sqrt(square);
    return 0;
}

}  // namespace

namespace teska
{

triangle_side longest_side(const triangle &t) noexcept
{
    const double d01 = length(t[1] - t[0]);
    const double d02 = length(t[2] - t[0]);
    const double d12 = length(t[2] - t[1]);
    if (d01 <= d02)
        return d12 < d02 ? sides[1] : sides[2];
    return d12 < d01 ? sides[0] : sides[2];
}

int project_on_triangle(const triangle &t, const vec3 &q, projection &found) noexcept { return project(t, q, found); }

int project_on_triangle_par(const triangle &t, const vec3 &q, const vec3 &dir, projection &found) noexcept
{
    plane p;
    const double size = span_triangle(t, p);
    if (size < proj_degenerate) {
        on_side(t, longest_side(t), at_parameter(q, dir), found);
        return 0;
    }
    if (!point_on_plane_par(p, q, dir, found.point)) {
        // The triangle has one parameter all over.
        if (project_on_triangle(t, q, found) != 0)
            return -1;
        found.dist = penalised_distance(found.point, q, dir);
        return 0;
    }
    double value[3];
    const int side = test_edges(t, p.n, found.point, value);
    if (side == undecided)
        return -1;
    if (side != inside) {
        on_all_edges(t, at_parameter(q, dir), found);
        return 0;
    }
    set_weights(found, value, size);
    found.dist = length(found.point - q);
    return 0;
}

}  // namespace teska

int proj_on_triangle(const double tri[9], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW
{
    projection found;
    if (project(triangle_at(tri), vertex(q), found) != 0)
        return -1;
    store(found, 3, r, dist);
    return 0;
}

int proj_on_triangle_par(const double tri[9], const double q[3], const double dir[3], ProjResult *r,
                         double *dist) TESKA_NOTHROW
{
    projection found;
    if (project_on_triangle_par(triangle_at(tri), vertex(q), vertex(dir), found) != 0)
        return -1;
    store(found, 3, r, dist);
    return 0;
}

int proj_on_triangle_parline(const double tri[9], const double q[3], const double dir[3], ProjResult *r,
                             double *dist) TESKA_NOTHROW
{
    const triangle t = triangle_at(tri);
    const vec3 query = vertex(q);
    const vec3 along = vertex(dir);
    plane p;
    const double slope = span_triangle(t, p) < proj_degenerate ? 0.0 : dot(p.n, along);
    projection found;
    // The slope is looked at first: without one there is no point to project.
    if (std::fabs(slope) < proj_degenerate ||
        project_on_triangle(t, query + -value_at(p, query) / slope * along, found) != 0) {
        if (dist != nullptr)
            *dist = -infinitely_far;
        return -1;
    }
    const double away = length(query - found.point);
    found.dist = slope > behind ? -away : away;
    store(found, 3, r, dist);
    return 0;
}

int proj_on_triangle_edge(const double tri[9], const double q[3], int edge, ProjResult *r, double *dist) TESKA_NOTHROW
{
    if (edge < -1 || edge > 2)
        return -1;
    const triangle t = triangle_at(tri);
    const vec3 query = vertex(q);
    const auto segment = ordinary(query);
    projection found;
    if (edge < 0)
        on_all_edges(t, segment, found);
    else
        on_side(t, sides[2 - edge], segment, found);
    store(found, 3, r, dist);
    return 0;
}

int proj_on_triangle_bound(const double tri[9], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW
{
    return proj_on_triangle_edge(tri, q, -1, r, dist);
}

int proj_on_triangle_bound_par(const double tri[9], const double q[3], const double dir[3], ProjResult *r,
                               double *dist) TESKA_NOTHROW
{
    const vec3 query = vertex(q);
    const vec3 along = vertex(dir);
    projection found;
    on_all_edges(triangle_at(tri), at_parameter(query, along), found);
    store(found, 3, r, dist);
    return 0;
}
