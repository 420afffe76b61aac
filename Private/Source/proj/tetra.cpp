// proj/tetra - projections of a point onto tetrahedra and their faces (geometry)
//
// Face k is the one without vertex k. The value of its plane at q, divided by the value at vertex k, is the barycentric
// weight of vertex k: q is inside when all four are within 0 .. 1, with some slack. Outside, and for a tetrahedron that
// is too flat to have an inside, the answer is that of the nearest of the four faces.

#include "Source/proj/proj_priv.h"

#include "proj.h"

using namespace teska;

namespace
{

// In units of space: a vertex this near to the opposite face makes the figure flat.
constexpr double flat = 0.001;

// Weights that still count as inside.
constexpr double least_weight = -0.001;
constexpr double largest_weight = 1.001;

constexpr int faces[4][3] = {{1, 2, 3}, {0, 2, 3}, {0, 1, 3}, {0, 1, 2}};

// Where the query point is, unless three vertices are on a line: there is no plane to compare with.
enum class location { inside, outside, unknown };

triangle face_of(const double *tet, int k)
{
    return {{tet + 3 * faces[k][0], tet + 3 * faces[k][1], tet + 3 * faces[k][2]}};
}

// Inside, `found` is q itself with its weights, and the largest of these as its distance. Unknown, `collinear` is the
// face that has no plane.
location locate(const double *tet, const vec3 &q, projection &found, int &collinear)
{
    found.point = q;
    found.dist = 0.0;
    for (int k = 0; k < 4; ++k) {
        const triangle face = face_of(tet, k);
        plane p;
        if (span_triangle(face, p) < proj_degenerate) {
            collinear = k;
            return location::unknown;
        }
        // The conditions state what holds inside, so NaN is outside.
        const double height = value_at(p, vertex(tet, k));
        if (!(std::fabs(height) >= flat))
            return location::outside;
        const double weight = value_at(p, q) / height;
        if (!(weight >= least_weight && weight <= largest_weight))
            return location::outside;
        found.weight[k] = weight;
        found.dist = std::fmax(found.dist, weight);
    }
    return location::inside;
}

// The answer of the nearest face, the first of equals; faces that cannot be projected on are left out. face(triangle,
// found) is a projection onto a triangle. Returns 0, or -1 when no face is left.
template <class Face>
int on_faces(const double *tet, const Face &face, projection &best)
{
    bool any = false;
    for (int k = 0; k < 4; ++k) {
        projection found;
        if (face(face_of(tet, k), found) != 0 || (any && !(found.dist < best.dist)))
            continue;
        // The best so far, with the weights moved from the corners of the face to those of the tetrahedron.
        any = true;
        best.point = found.point;
        best.dist = found.dist;
        best.weight[k] = 0.0;
        for (int i = 0; i < 3; ++i)
            best.weight[faces[k][i]] = found.weight[i];
    }
    return any ? 0 : -1;
}

int on_boundary(const double *tet, const vec3 &q, projection &found)
{
    return on_faces(
        tet, [&q](const triangle &face, projection &on_face) { return project_on_triangle(face, q, on_face); }, found);
}

int on_boundary_par(const double *tet, const vec3 &q, const vec3 &dir, projection &found)
{
    return on_faces(
        tet,
        [&q, &dir](const triangle &face, projection &on_face) {
            return project_on_triangle_par(face, q, dir, on_face);
        },
        found);
}

// Three vertices on a line and the fourth, the apex: `found` is the projection onto the triangle of their longest side
// and the apex. Returns 0 or -1.
int on_flat_par(const double *tet, int apex, const vec3 &q, const vec3 &dir, projection &found)
{
    const triangle_side base = longest_side(face_of(tet, apex));
    // Of the three on the line, the one between the ends of the longest side is left out.
    const int corners[3] = {faces[apex][base.a], faces[apex][base.b], apex};
    projection on_triangle;
    if (project_on_triangle_par({{tet + 3 * corners[0], tet + 3 * corners[1], tet + 3 * corners[2]}}, q, dir,
                                on_triangle) != 0)
        return -1;
    found = {on_triangle.point, -on_triangle.dist, {0.0, 0.0, 0.0, 0.0}};
    for (int i = 0; i < 3; ++i)
        found.weight[corners[i]] = on_triangle.weight[i];
    return 0;
}

}  // namespace

namespace teska
{

int project_on_tetra(const double *tet, const vec3 &q, projection &found) noexcept
{
    int collinear = 0;
    if (locate(tet, q, found, collinear) == location::inside)
        return 0;
    if (on_boundary(tet, q, found) != 0)
        return -1;
    found.dist = -found.dist;
    return 0;
}

}  // namespace teska

int proj_on_tetra(const double tet[12], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW
{
    projection found;
    if (project_on_tetra(tet, vertex(q), found) != 0)
        return -1;
    store(found, 4, r, dist);
    return 0;
}

int proj_on_tetra_par(const double tet[12], const double q[3], const double dir[3], ProjResult *r,
                      double *dist) TESKA_NOTHROW
{
    const vec3 query = vertex(q);
    const vec3 along = vertex(dir);
    projection found;
    int collinear = 0;
    switch (locate(tet, query, found, collinear)) {
    case location::inside:
        break;
    case location::unknown:
        if (on_flat_par(tet, collinear, query, along, found) != 0)
            return -1;
        break;
    case location::outside:
        if (on_boundary_par(tet, query, along, found) != 0)
            return -100;
        found.dist = -found.dist;
        break;
    }
    store(found, 4, r, dist);
    return 0;
}

int proj_on_tetra_bound(const double tet[12], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW
{
    projection found;
    if (on_boundary(tet, vertex(q), found) != 0)
        return -1;
    store(found, 4, r, dist);
    return 0;
}

int proj_on_tetra_bound_par(const double tet[12], const double q[3], const double dir[3], ProjResult *r,
                            double *dist) TESKA_NOTHROW
{
    projection found;
    if (on_boundary_par(tet, vertex(q), vertex(dir), found) != 0)
        return -1;
    store(found, 4, r, dist);
    return 0;
}
