// proj_triangle - projections of a point onto triangles and their edges (geometry)
//
// Whether a point lies above the triangle is asked edge by edge, in the order (p0,p1), (p0,p2), (p1,p2). Each edge has a
// plane through it at right angles to the triangle; where the query point and the opposite vertex lie on different sides
// of it, this edge alone gets the answer:
//
//             p2                    of the point x both the edges (p0,p1) and (p0,p2) can see, and the first decides:
//            /  \                   it goes to p0, even where a point of (p0,p2) were nearer
//           /    \                  .
//         p0 ---- p1                The ratio of the values of the plane at q and at the opposite vertex is that vertex's
//     x                             barycentric weight.
//
// Far from the origin a vertex shifted by the unit normal would be rounded back to where it was; the planes are spanned by
// the edge and the normal itself.

#include "proj.h"

#include "Support/proj_priv.h"

using namespace teska;

namespace
{

// From where on a triangle is passed from behind.
constexpr double behind = 0.001;

constexpr double infinitely_far = 1e20;

// In the order of the tests; edge number k, the one without vertex k, is sides[2 - k].
constexpr triangle_side sides[3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}};

enum class place { inside, beyond_an_edge, undecided };

// Tests the edges and finds the weights as far as it comes; `beyond` is the edge that decided.
place test_edges(const triangle &t, const vec3 &normal, const vec3 &x, double weight[3], const triangle_side *&beyond)
{
    for (const triangle_side &s : sides) {
        plane edge;
        if (!span_plane(t.v[s.a], t.v[s.b] - t.v[s.a], normal, edge))
            return place::undecided;
        const double at_x = value_at(edge, x);
        const double at_opposite = value_at(edge, t.v[s.opposite]);
        weight[s.opposite] = std::fabs(at_x / at_opposite);
        if (at_x * at_opposite < 0.0) {
            beyond = &s;
            return place::beyond_an_edge;
        }
    }
    return place::inside;
}

// segment(p0, p1) is a projection onto a segment; the result becomes one on the triangle.
template <class Segment>
projection on_side(const triangle &t, const triangle_side &s, const Segment &segment)
{
    projection found = segment(t.v[s.a], t.v[s.b]);
    const double weight[2] = {found.weight[0], found.weight[1]};
    found.weight[s.a] = weight[0];
    found.weight[s.b] = weight[1];
    found.weight[s.opposite] = 0.0;
    return found;
}

template <class Segment>
projection on_all_edges(const triangle &t, const Segment &segment)
{
    projection best = on_side(t, sides[2], segment);
    for (int k = 1; k < 3; ++k) {
        const projection found = on_side(t, sides[2 - k], segment);
        if (found.dist < best.dist)
            best = found;
    }
    return best;
}

auto ordinary(const vec3 &q)
{
    return [&q](const vec3 &p0, const vec3 &p1) { return project_on_segment(p0, p1, q); };
}

auto at_parameter(const vec3 &q, const vec3 &dir)
{
    return [&q, &dir](const vec3 &p0, const vec3 &p1) { return project_on_segment_par(p0, p1, q, dir); };
}

bool plane_of(const triangle &t, plane &p) { return span_plane(t.v[0], t.v[1] - t.v[0], t.v[2] - t.v[0], p); }

}  // namespace

namespace teska
{

triangle_side longest_side(const triangle &t) noexcept
{
    const double d01 = length(t.v[1] - t.v[0]);
    const double d02 = length(t.v[2] - t.v[0]);
    const double d12 = length(t.v[2] - t.v[1]);
    if (d01 <= d02)
        return d12 < d02 ? sides[1] : sides[2];
    return d12 < d01 ? sides[0] : sides[2];
}

int project_on_triangle(const triangle &t, const vec3 &q, projection &found) noexcept
{
    plane p;
    if (!plane_of(t, p)) {
        found = on_side(t, longest_side(t), ordinary(q));
        return 0;
    }
    projection inside;
    const triangle_side *beyond = nullptr;
    switch (test_edges(t, p.n, q, inside.weight, beyond)) {
    case place::undecided:
        return -1;
    case place::beyond_an_edge:
        found = on_side(t, *beyond, ordinary(q));
        return 0;
    case place::inside:
        break;
    }
    foot_on_plane(p, q, inside.point, inside.dist);
    found = inside;
    return 0;
}

int project_on_triangle_par(const triangle &t, const vec3 &q, const vec3 &dir, projection &found) noexcept
{
    plane p;
    if (!plane_of(t, p)) {
        found = on_side(t, longest_side(t), at_parameter(q, dir));
        return 0;
    }
    projection inside;
    if (!point_on_plane_par(p, q, dir, inside.point)) {
        // The triangle has one parameter all over.
        if (project_on_triangle(t, q, found) != 0)
            return -1;
        found.dist = penalised_distance(found.point, q, dir);
        return 0;
    }
    const triangle_side *beyond = nullptr;
    switch (test_edges(t, p.n, inside.point, inside.weight, beyond)) {
    case place::undecided:
        return -1;
    case place::beyond_an_edge:
        found = on_all_edges(t, at_parameter(q, dir));
        return 0;
    case place::inside:
        break;
    }
    inside.dist = length(inside.point - q);
    found = inside;
    return 0;
}

}  // namespace teska

int proj_on_triangle(const double tri[9], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW
{
    projection found;
    if (project_on_triangle(triangle_at(tri), vertex(q), found) != 0)
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
    double slope = 0.0;
    if (plane_of(t, p))
        slope = dot(p.n, along);
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
    store(edge < 0 ? on_all_edges(t, segment) : on_side(t, sides[2 - edge], segment), 3, r, dist);
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
    store(on_all_edges(triangle_at(tri), at_parameter(query, along)), 3, r, dist);
    return 0;
}
