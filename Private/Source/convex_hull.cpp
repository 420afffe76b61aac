// convex_hull - the convex hull of points as an opaque record of C (geometry)
//
// A TConvexHull makes the hull and answers what is inside. Its surface is copied out of its lists after every
// construction, as arrays: vertices and faces in the order of the lists, faces by the indices of their vertices.
//
//     corner of a cube, (10, 0, 0) as point 1:     vertices[3] = {{10, 0, 0}, 1}, faces[0] = {{2, 1, 3}}
//
// The class sees coordinates divided by the unit, a power of two, so that the way back is exact.
//
// Queries read the arrays and the planes of the class, which only a change writes.

#include "convex_hull.h"

#include "Support/hull_store.h"
#include "Support/memory.h"
#include "Support/report.h"
#include "Support/triangle_tree.h"
#include "Support/vec.h"

#include "tconvexhull.h"

#include <climits>
#include <cmath>

using namespace teska;

namespace
{

constexpr double least_unit = 1e-9;
constexpr double largest_unit = 1e9;

struct surface_vertex {
    vec3 at;
    int number;  // of the point
};

struct surface_face {
    int corner[3];
};

}  // namespace

struct convex_hull {
    TConvexHull hull;
    double unit = 1.0;   // a power of two
    bool built = false;  // the class has a hull of all points added
    heap_block<surface_vertex> vertices;
    heap_block<surface_face> faces;
    int nr_vertices = 0;
    int nr_faces = 0;
    triangle_tree tree;
    double area = 0.0;
    double volume = 0.0;

    convex_hull() noexcept : hull() {}

    [[nodiscard]] int points() const noexcept { return hull.count; }
    [[nodiscard]] triangle_corners corners(int face) const noexcept
    {
        const int(&corner)[3] = faces[face].corner;
        return {{vertices[corner[0]].at, vertices[corner[1]].at, vertices[corner[2]].at}};
    }
    [[nodiscard]] bool flat() const noexcept { return hull.vertices == nullptr || hull_was_flat(*hull.store); }
    bool add(const vec3 &point) noexcept;
    void forget_surface() noexcept;
    bool copy_surface() noexcept;

private:
    bool copy_faces() noexcept;
    void measure() noexcept;
};

// Adds a point, or leaves everything as it was. False: memory is short.
bool convex_hull::add(const vec3 &point) noexcept
{
    if (hull.count == INT_MAX)
        return false;
    const vec3 scaled = point / unit;
    hull.AddPoint(scaled.x, scaled.y, scaled.z);
    if (hull.lost != 0) {
        hull.lost = 0;
        --hull.count;
        return false;
    }
    built = false;
    return true;
}

void convex_hull::forget_surface() noexcept
{
    vertices.reset();
    faces.reset();
    tree.clear();
    nr_vertices = nr_faces = 0;
    area = volume = 0.0;
}

// The surface of the class as arrays. False: memory is short.
bool convex_hull::copy_surface() noexcept
{
    int count = 0;
    const tVertexStructure *v = hull.vertices;
    do
        ++count;
    while ((v = v->next) != hull.vertices);
    vertices = zeroed_block<surface_vertex>(static_cast<std::size_t>(count));
    if (!vertices)
        return false;
    do {
        vertices[nr_vertices++] = {unit * vec3_at(v->v), v->vnum};
        v = v->next;
    } while (v != hull.vertices);
    if (!copy_faces() || !tree.build(nr_faces, [this](int face) { return corners(face); }))
        return false;
    measure();
    return true;
}

bool convex_hull::copy_faces() noexcept
{
    const auto vertex_of = zeroed_block<int>(static_cast<std::size_t>(hull.count));  // by the number of the point
    // Triangles on a closed surface.
    faces = zeroed_block<surface_face>(2 * static_cast<std::size_t>(nr_vertices));
    if (!vertex_of || !faces)
        return false;
    for (int i = 0; i < nr_vertices; ++i)
        vertex_of[vertices[i].number] = i;
    const tFaceStructure *f = hull.faces;
    do {
        for (int k = 0; k < 3; ++k)
            faces[nr_faces].corner[k] = vertex_of[f->vertex[k]->vnum];
        ++nr_faces;
        f = f->next;
    } while (f != hull.faces);
    return true;
}

void convex_hull::measure() noexcept
{
    const vec3 &origin = vertices[0].at;
    for (int i = 0; i < nr_faces; ++i) {
        const triangle_corners face = corners(i);
        const vec3 p0 = face.at[0] - origin, p1 = face.at[1] - origin, p2 = face.at[2] - origin;
        area += length(cross(p1 - p0, p2 - p0));
        volume += dot(p0, cross(p1, p2));
    }
    area /= 2;
    volume /= 6;
}

// ---- Life -----------------------------------------------------------------------------------------------------------

convex_hull *convex_hull_new(void) TESKA_NOTHROW
{
    auto hull = make_record<convex_hull>();
    if (!hull)
        TESKA_ERR("convex_hull_new: insufficient memory");
    return hull.release();
}

convex_hull *convex_hull_kill(convex_hull *hull) TESKA_NOTHROW
{
    kill_record(hull);
    return nullptr;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int convex_hull_set_unit(convex_hull *hull, double unit) TESKA_NOTHROW
{
    if (!(unit >= least_unit && unit <= largest_unit)) {
        TESKA_ERR("convex_hull_set_unit: illegal unit");
        return -1;
    }
    if (hull->points() != 0) {
        TESKA_ERR("convex_hull_set_unit: there are points already");
        return -1;
    }
    hull->unit = std::ldexp(1.0, std::ilogb(unit));
    return 0;
}

int convex_hull_add(convex_hull *hull, const double point[3]) TESKA_NOTHROW
{
    if (!hull->add(vec3_at(point))) {
        TESKA_ERR("convex_hull_add: insufficient memory");
        return -1;
    }
    return 0;
}

int convex_hull_add_points(convex_hull *hull, const double *points, int n) TESKA_NOTHROW
{
    if (n < 0) {
        TESKA_ERR("convex_hull_add_points: illegal number of points");
        return -1;
    }
    for (int i = 0; i < n; ++i)
        if (!hull->add(vec3_at(points + 3 * static_cast<std::ptrdiff_t>(i)))) {
            TESKA_ERR("convex_hull_add_points: insufficient memory");
            return -1;
        }
    return 0;
}

int convex_hull_construct(convex_hull *hull) TESKA_NOTHROW
{
    if (hull->built && hull->nr_faces != 0)
        return 0;
    hull->forget_surface();
    // A hull whose surface found no memory is not made again: its points inside are forgotten.
    if (!hull->built && hull->hull.Construct() != 0) {
        if (hull->flat())
            TESKA_ERR("convex_hull_construct: points in one plane");
        else
            TESKA_ERR("convex_hull_construct: insufficient memory");
        return -1;
    }
    hull->built = true;
    if (!hull->copy_surface()) {
        hull->forget_surface();
        TESKA_ERR("convex_hull_construct: insufficient memory");
        return -1;
    }
    return 0;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int convex_hull_inside(const convex_hull *hull, const double point[3]) TESKA_NOTHROW
{
    if (hull->nr_faces == 0)
        return 0;
    const vec3 scaled = vec3_at(point) / hull->unit;
    return hull->hull.InsideHull(scaled.x, scaled.y, scaled.z);
}

int convex_hull_nearest(const convex_hull *hull, const double q[3], double nearest[3], double *dist, int *face,
                        double weights[3]) TESKA_NOTHROW
{
    const vec3 query = vec3_at(q);
    const int number = hull->tree.nearest(query);
    if (number == triangle_tree::none)
        return -1;
    const nearest_answer answer{.point = nearest, .distance = dist, .triangle = face, .weights = weights};
    answer.write(number, nearest_of_triangle(hull->corners(number), query));
    return 0;
}

int convex_hull_get_nr_points(const convex_hull *hull) TESKA_NOTHROW { return hull->points(); }

int convex_hull_get_nr_vertices(const convex_hull *hull) TESKA_NOTHROW { return hull->nr_vertices; }

int convex_hull_get_nr_faces(const convex_hull *hull) TESKA_NOTHROW { return hull->nr_faces; }

int convex_hull_get_vertex(const convex_hull *hull, int vertex, double point[3], int *number) TESKA_NOTHROW
{
    if (vertex < 0 || vertex >= hull->nr_vertices)
        return -1;
    const surface_vertex &v = hull->vertices[vertex];
    if (point != nullptr)
        store(v.at, point);
    if (number != nullptr)
        *number = v.number;
    return 0;
}

int convex_hull_get_face(const convex_hull *hull, int face, int corner[3]) TESKA_NOTHROW
{
    if (face < 0 || face >= hull->nr_faces)
        return -1;
    for (int k = 0; k < 3; ++k)
        corner[k] = hull->faces[face].corner[k];
    return 0;
}

double convex_hull_get_area(const convex_hull *hull) TESKA_NOTHROW { return hull->area; }

double convex_hull_get_volume(const convex_hull *hull) TESKA_NOTHROW { return hull->volume; }
