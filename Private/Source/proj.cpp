// proj - projections of a point onto planes, lines and segments, and the small solver they use (geometry)
//
// Ordinary projections drop a perpendicular. Projections at constant parameter look for the point that lies in the
// plane through q at right angles to dir; on a plane n * x + d = 0 that point is the solution of three equations,
//
//     n * x         = -d               on the plane
//     dir * x       = dir * q          at the parameter of q
//     (n x dir) * x = (n x dir) * q    not moved along the line that the first two leave
//
// They are solved with the factors of mat.h, found on the stack: the same steps, hence the same bits as with a matrix.
//
// Triangles are in proj/triangle.cpp, tetrahedra in proj/tetra.cpp. No process-wide state.

#include "proj.h"

#include "Kernels/kernels.h"
#include "Source/proj/proj_priv.h"

#include <algorithm>
#include <utility>

using namespace teska;

namespace
{

// Planes whose unit normals have a vector product nearer to 0 are parallel.
constexpr double parallel = 1e-16;

// Where a line does not meet a plane.
constexpr double infinitely_far = 1e20;

// The weight of the square of a step in the parameter, relative to one at constant parameter.
constexpr double parameter_weight = 1000.0;

// Solves three equations, b becomes x. Returns false for a singular matrix: a zero row, or a pivot below 1e-20.
bool solve(const vec3 &row0, const vec3 &row1, const vec3 &row2, double b[3]) noexcept
{
    double lu[9];
    double scale[3];
    std::int32_t pivots[3];
    double parity = 1.0;
    store(row0, lu);
    store(row1, lu + 3);
    store(row2, lu + 6);
    for (int i = 0; i < 3; ++i) {
        double largest = -1.0;
        for (int j = 0; j < 3; ++j)
            largest = std::max(largest, std::fabs(lu[3 * i + j]));
        if (largest == 0.0)
            return false;
        scale[i] = 1.0 / largest;
    }
    const lu_matrix factors{.n = 3,
                            .stride = 3,
                            .lu = lu,
                            .sums = nullptr,
                            .columns = nullptr,
                            .scale = scale,
                            .pivots = pivots,
                            .parity = &parity};
    if (!kernels().mat.decompose_small(factors))
        return false;
    for (int i = 0; i < 3; ++i)
        std::swap(b[i], b[pivots[i]]);
    b[1] -= lu[3] * b[0];
    b[2] -= lu[6] * b[0];
    b[2] -= lu[7] * b[1];
    b[2] /= lu[8];
    b[1] = (b[1] - lu[5] * b[2]) / lu[4];
    b[0] = (b[0] - (lu[1] * b[1] + lu[2] * b[2])) / lu[0];
    return true;
}

plane plane_of(const double abcd[4]) { return {vertex(abcd), abcd[3]}; }

// The point at t on the line from p0 to p1.
projection along(const vec3 &p0, const vec3 &p1, double t, const vec3 &q)
{
    const vec3 point = p0 + t * (p1 - p0);
    return {point, length(point - q), {1.0 - t, t}};
}

}  // namespace

// ---- Shared by the figures -----------------------------------------------------------------------------------------

namespace teska
{

projection project_on_segment_par(const vec3 &p0, const vec3 &p1, const vec3 &q, const vec3 &dir) noexcept
{
    const vec3 edge = p1 - p0;
    if (length(edge) < proj_degenerate)
        return first_end(p0, penalised_distance(p0, q, dir));
    const double slope = dot(dir, edge);
    if (std::fabs(slope) < proj_degenerate) {
        projection found = project_on_segment(p0, p1, q);
        found.dist = penalised_distance(found.point, q, dir);
        return found;
    }
    const double t = dot(dir, q - p0) / slope;
    if (t < 0.0)
        return first_end(p0, penalised_distance(p0, q, dir));
    if (t > 1.0)
        return {p1, penalised_distance(p1, q, dir), {0.0, 1.0}};
    return along(p0, p1, t, q);
}

bool point_on_plane_par(const plane &p, const vec3 &q, const vec3 &dir, vec3 &x) noexcept
{
    const vec3 across = cross(p.n, dir);
    double solution[3] = {-p.d, dot(dir, q), dot(across, q)};
    if (!solve(p.n, dir, across, solution))
        return false;
    x = vertex(solution);
    return true;
}

double penalised_distance(const vec3 &y, const vec3 &q, const vec3 &dir) noexcept
{
    // Without a direction every point is at the parameter of q.
    vec3 foot = y;
    double height = 0.0;
    foot_on_plane(plane_at_right_angles(dir, q), y, foot, height);
    const vec3 step = foot - q;
    return std::sqrt(dot(step, step) + parameter_weight * (height * height));
}

}  // namespace teska

// ---- Planes --------------------------------------------------------------------------------------------------------

int proj_det_plane_abcd(const double pts[9], double abcd[4]) TESKA_NOTHROW
{
    const triangle t = triangle_at(pts);
    plane p;
    const double size = span_triangle(t, p);
    store(p.n, abcd);
    abcd[3] = p.d;
    return size < proj_degenerate ? -1 : 0;
}

int proj_on_plane_abcd(const double abcd[4], const double p[3], double x[3], double *dist) TESKA_NOTHROW
{
    vec3 foot;
    double away;
    if (!foot_on_plane(plane_of(abcd), vertex(p), foot, away))
        return -1;
    store(foot, x);
    if (dist != nullptr)
        *dist = away;
    return 0;
}

int proj_on_plane(const double *coef, const double *p, double *x, int n, double *dist) TESKA_NOTHROW
{
    double square = 0.0;
    double product = 0.0;
    for (int i = 0; i < n; ++i) {
        square += coef[i] * coef[i];
        product += coef[i] * p[i];
    }
    const double size = std::sqrt(square);
    if (size < proj_degenerate)
        return -1;
    const double t = (-product - coef[n]) / square;
    for (int i = 0; i < n; ++i)
        x[i] = p[i] + t * coef[i];
    if (dist != nullptr)
        *dist = size * std::fabs(t);
    return 0;
}

int proj_on_plane_par(const double abcd[4], const double q[3], const double dir[3], double x[3],
                      double *dist) TESKA_NOTHROW
{
    const vec3 query = vertex(q);
    vec3 point;
    if (!point_on_plane_par(plane_of(abcd), query, vertex(dir), point))
        return -1;
    store(point, x);
    if (dist != nullptr)
        *dist = length(point - query);
    return 0;
}

int proj_on_plane_parline(const double abcd[4], const double q[3], const double dir[3], double x[3],
                          double *dist) TESKA_NOTHROW
{
    const plane p = plane_of(abcd);
    const vec3 query = vertex(q);
    const vec3 along_line = vertex(dir);
    const double slope = -dot(p.n, along_line);
    const bool meets = !(std::fabs(slope) < proj_degenerate);
    double away = infinitely_far;
    if (meets) {
        const vec3 point = query + value_at(p, query) / slope * along_line;
        store(point, x);
        away = length(query - point);
    }
    if (dist != nullptr)
        *dist = away;
    return meets ? 0 : -1;
}

int proj_plane_intersect(const double p1[4], const double p2[4], double dir[3], double x[3]) TESKA_NOTHROW
{
    const plane first = plane_of(p1);
    const plane second = plane_of(p2);
    vec3 direction = cross(first.n, second.n);
    const double size = length(direction);
    if (size < parallel)
        return -1;
    direction = direction / size;
    double point[3] = {-first.d, -second.d, 0.0};
    if (!solve(first.n, second.n, direction, point))
        return -1;
    store(direction, dir);
    store(vertex(point), x);
    return 0;
}

// ---- Lines and segments --------------------------------------------------------------------------------------------

int proj_on_line(const double line[6], const double q[3], double x[3], double *dist) TESKA_NOTHROW
{
    const vec3 p0 = vertex(line);
    const vec3 query = vertex(q);
    vec3 foot = p0;
    double unused;
    foot_on_plane(plane_at_right_angles(vertex(line, 1) - p0, query), p0, foot, unused);
    store(foot, x);
    if (dist != nullptr)
        *dist = length(foot - query);
    return 0;
}

int proj_on_line_par(const double line[6], const double q[3], const double dir[3], ProjResult *r,
                     double *dist) TESKA_NOTHROW
{
    const vec3 p0 = vertex(line);
    const vec3 p1 = vertex(line, 1);
    const vec3 query = vertex(q);
    const vec3 parameter = vertex(dir);
    if (length(p1 - p0) < proj_degenerate) {
        store(first_end(p0, length(p0 - query)), 2, r, dist);
        return 0;
    }
    const double slope = dot(parameter, p1 - p0);
    if (std::fabs(slope) < proj_degenerate)
        return -1;
    store(along(p0, p1, dot(parameter, query - p0) / slope, query), 2, r, dist);
    return 0;
}

int proj_on_line_segm(const double seg[6], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW
{
    store(project_on_segment(vertex(seg), vertex(seg, 1), vertex(q)), 2, r, dist);
    return 0;
}

int proj_on_line_segm_par(const double seg[6], const double q[3], const double dir[3], ProjResult *r,
                          double *dist) TESKA_NOTHROW
{
    store(project_on_segment_par(vertex(seg), vertex(seg, 1), vertex(q), vertex(dir)), 2, r, dist);
    return 0;
}

// ---- Any figure ----------------------------------------------------------------------------------------------------

int proj(const double *pts, int n, const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW
{
    if (n < 1 || n > 4)
        return -1;
    const vec3 query = vertex(q);
    projection found;
    if (n == 1)
        found = {vertex(pts), length(vertex(pts) - query), {1.0}};
    else if (n == 2)
        found = project_on_segment(vertex(pts), vertex(pts, 1), query);
    else if (n == 3 && project_on_triangle(triangle_at(pts), query, found) != 0)
        return -1;
    else if (n == 4) {
        if (project_on_tetra(pts, query, found) != 0)
            return -1;
        found.dist = found.dist >= 0.0 ? 0.0 : -found.dist;
    }
    store(found, n, r, dist);
    return 0;
}
