/* tetra.h - planes, tetrahedra and volumes cut into tetrahedra
 *
 * A volume of colour space is a list of boundary triangles ("planes") and a list of tetrahedra. It answers in which
 * tetrahedron a colour lies, whether a colour lies inside, and where a line crosses the boundary.
 *
 *     list_rec *points = list_new(100, sizeof(tetra_point), 0);
 *     tetra_point black = {0, 0, 0, 1};
 *     list_insert(points, &black);                       and the others
 *     tetra_volume *gamut = tetra_volume_new(points);    the convex hull, cut into tetrahedra
 *     double lab[3] = {50, 10, 10}, w[3];
 *     tetra_rec *t;
 *     if (tetra_volume_get_tetra(gamut, lab, &t) == 0)
 *         tetra_point_inside(t, lab, w);                 weights of t->p[1], t->p[2], t->p[3]
 *     tetra_volume_kill(gamut);
 *     list_kill(points);
 *
 * Common rules
 *   The tolerances are absolute and meant for colours of 0 .. 100: points within 0.01 of each other in each of x, y, z
 *   count as one point.
 *   Records are plain, made zero-filled with the C library's allocator, and may be read by the caller. A volume owns
 *   its records; what is added is copied.
 *   Nothing is reported, except that the lists in a volume report what they lack ("list_new : Not enough resources to
 *   create list", "list_insert : Unable to extend list, insufficient resources"). A volume holds at most 65535 planes
 *   and as many tetrahedra.
 *   p                  a point: x, y, z
 *   a, b               the ends of a line or segment: x, y, z
 *   p0, p1, p2, p3     points, whose numbers do not matter
 *   Unless a block says so, pointers must not be null. No process-wide state: any number of threads may ask one volume,
 *   plane or tetrahedron at the same time, as long as nobody changes it. Different volumes are independent.
 */
#ifndef TESKA_TETRA_H
#define TESKA_TETRA_H
#include "list.h"
#include "teska_api.h"
TESKA_BEGIN_C

/* A point and its number. */
typedef struct tetra_point {
    double x, y, z; /* coordinates */
    double nr;      /* a whole number */
} tetra_point;

/* A triangle and its plane a x + b y + c z + d = 0. */
typedef struct tetra_plane {
    double a, b, c, d;  /* (a, b, c) = (p0 - p2) x (p1 - p2), not normalised */
    tetra_point p[3];   /* the triangle */
    double centroid[3]; /* the mean of the three points */
    int flag;           /* the caller's; 0 when made */
} tetra_plane;

/* A tetrahedron. */
typedef struct tetra_rec {
    tetra_point p[4];   /* the corners */
    double centroid[3]; /* the mean of the four points */
    double m[9];        /* row by row: m (q - p0) are the barycentric coordinates of p1, p2, p3 at q */
} tetra_rec;

/* A volume. The numbers are those of the lists. */
typedef struct tetra_volume {
    int nr_planes;      /* in planes */
    list_rec *planes;   /* of tetra_plane * */
    int nr_tetras;      /* in tetras */
    list_rec *tetras;   /* of tetra_rec * */
    int spare1, spare2; /* 0; not used */
} tetra_volume;

/* Whether p, at index in the list, may be a corner of the boundary. Called once per point by tetra_volume_new2, in list
 * order; must not change the list, must not throw. */
typedef int (*tetra_point_select_fn)(const tetra_point *p, int index);

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* plane_new - a copy of a plane, with the flag cleared; null for null or when memory is short. */
TESKA_API tetra_plane *plane_new(const tetra_plane *src) TESKA_NOTHROW;

/* plane_new2 - the plane through three points.
 *
 *     (a, b, c) = (p0 - p2) x (p1 - p2),   d = -(a p0.x + b p0.y + c p0.z)
 *
 * The normal points to where p0, p1, p2 run counterclockwise.
 * Returns the plane, or null for a null point or when memory is short.
 */
TESKA_API tetra_plane *plane_new2(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2) TESKA_NOTHROW;

/* tetra_new - a tetrahedron with its inverse matrix.
 *
 *     e_i = p_i - p0,   det = e1 . (e2 x e3),   m = inverse of the matrix with columns e1, e2, e3
 *
 * The cofactors are divided by a determinant kept away from zero: 0 becomes 1e-6, a smaller magnitude becomes 1e-6 with
 * the sign it has. A flat tetrahedron thus has finite coordinates, though no useful ones.
 * Returns the tetrahedron, or null for a null point or when memory is short.
 */
TESKA_API tetra_rec *tetra_new(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2,
                               const tetra_point *p3) TESKA_NOTHROW;

/* plane_kill, tetra_kill - free a record; rec may be null, and either takes both kinds. Return 0. */
TESKA_API int plane_kill(void *rec) TESKA_NOTHROW;
TESKA_API int tetra_kill(void *rec) TESKA_NOTHROW;

/* tetra_volume_new0 - an empty volume; null when memory is short. */
TESKA_API tetra_volume *tetra_volume_new0(void) TESKA_NOTHROW;

/* tetra_volume_new - tetra_volume_new2(points, 0, 0): the convex hull of all points. */
TESKA_API tetra_volume *tetra_volume_new(list_rec *points) TESKA_NOTHROW;

/* tetra_volume_new2 - cut the convex hull of points into tetrahedra.
 *
 * 1. The boundary is the convex hull, triangles that run counterclockwise seen from outside. A point that is less
 *    than 1e-9 times the largest coordinate beyond the hull of the others is no corner of it.
 * 2. The first point of the list is the apex: each boundary triangle that does not lie in a plane with it makes a
 *    tetrahedron, of the triangle's points and the apex, in the order of the planes.
 * 3. The other points, corners of the boundary that step 2 has no use for among them, follow in the order of the list,
 *    but for those within 0.01 of a corner in use. The tetrahedra that hold the point (one; two at a face; more at an
 *    edge) are cut up: the point takes the place of each corner in turn unless that gives nothing. The first part of a
 *    tetrahedron takes its place in the list, the others go to the end.
 *
 * The tetrahedra fill the hull without gap or overlap, and every point that is not dropped is a corner of some
 * tetrahedron. Two things are left out: points within 0.01 of the apex are no corners of the boundary, and tetrahedra
 * with a determinant below 1e-6, which tetra_new cannot describe, are not in the list. Before a point makes such a
 * sliver, the tetrahedron beyond the face that is so near is cut up with the others, so the gaps stay at the boundary;
 * a point on a boundary that is flat but for 1e-9 may be a corner of slivers alone.
 *
 * points  list of tetra_point by value; points with a coordinate that is not finite or above 1e100 are passed over
 * mode    0: every point may be a corner of the boundary; else those may for which select says so
 * select  null counts as mode 0. Points outside the boundary of the selected ones are passed over; should the first
 *         point be one of them, the first selected one is the apex.
 * Returns the volume, owned by the caller (tetra_volume_kill). It is empty when the points that may be corners lie in a
 * plane. Null when memory is short, for a null list or one of other elements, and when there are more than 65535
 * planes or tetrahedra (each point inside the hull adds three, one on its surface fewer).
 * The hull is O(n log n); cutting takes a walk of some tens of tetrahedra per point. Measured for points in a ball: the
 * time grows as n^1.2, and an eighth of a second for 20,000 points.
 */
TESKA_API tetra_volume *tetra_volume_new2(list_rec *points, int mode, tetra_point_select_fn select) TESKA_NOTHROW;

/* tetra_volume_kill - free a volume with every plane and tetrahedron; null is accepted. Returns 0. */
TESKA_API int tetra_volume_kill(tetra_volume *v) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* tetra_volume_add_plane, tetra_volume_add_plane2 - append plane_new2 of three points, or plane_new of a plane.
 * tetra_volume_add_tetra - append tetra_new of four points.
 *
 * Return 0, or -1 for a null volume or null points, when memory is short and when the list is full; the volume is then
 * unchanged.
 */
TESKA_API int tetra_volume_add_plane(tetra_volume *v, const tetra_point *p0, const tetra_point *p1,
                                     const tetra_point *p2) TESKA_NOTHROW;
TESKA_API int tetra_volume_add_plane2(tetra_volume *v, const tetra_plane *plane) TESKA_NOTHROW;
TESKA_API int tetra_volume_add_tetra(tetra_volume *v, const tetra_point *p0, const tetra_point *p1,
                                     const tetra_point *p2, const tetra_point *p3) TESKA_NOTHROW;

/* ---- Query: points, lines and triangles -------------------------------------------------------------------------- */

/* tetra_point_inside - whether a point lies in a tetrahedron.
 *
 *     w = m (p - p0);   inside: 0 <= w0, w1, w2 <= 1 and w0 + w1 + w2 <= 1, no tolerance
 *
 * t  null gives 0 and leaves w alone
 * w  barycentric coordinates of p1, p2, p3, also of a point outside; may be null
 * Returns 1 inside, on a face too; else 0.
 */
TESKA_API int tetra_point_inside(const tetra_rec *t, const double p[3], double w[3]) TESKA_NOTHROW;

/* triangle_point_inside - whether a point lies in a triangle: at most 0.01 away from its plane, and for each side
 *
 *     n . ((p_next - p_i) x (p - p_i)) >= -1e-9 |n|^2,   n = (a, b, c)
 *
 * Returns 1 or 0; 0 for a null triangle and for one without area.
 */
TESKA_API int triangle_point_inside(const tetra_plane *tri, const double p[3]) TESKA_NOTHROW;

/* plane_intersect_line - where the infinite line through a and b crosses a plane.
 *
 *     s = n . (b - a),   t = -(n . a + d) / s,   x = a + t (b - a)
 *
 * Returns 1, or 0 when s is exactly 0 and for a null plane; x is then untouched.
 */
TESKA_API int plane_intersect_line(const tetra_plane *plane, const double a[3], const double b[3],
                                   double x[3]) TESKA_NOTHROW;

/* plane_get_distance_from_point - the square of the distance of p from the plane through p0, p1, p2.
 *
 * 0.0 when |n|^2 < 0.01, |n| being twice the triangle's area: points in a line, and small triangles.
 */
TESKA_API double plane_get_distance_from_point(const tetra_point *p, const tetra_point *p0, const tetra_point *p1,
                                               const tetra_point *p2) TESKA_NOTHROW;

/* line_get_distance_from_point - a square of a distance of p from the line through s and e.
 *
 *     L = |e - s|,   u = (e - s) / L,   t = ((p - s) . u) / L,   the result is |p - (s + t u)|^2;   0.0 when L < 0.01
 *
 * Kept: t is divided by L, so s + t u is the foot of the perpendicular only when L = 1.
 */
TESKA_API double line_get_distance_from_point(const tetra_point *p, const tetra_point *s,
                                              const tetra_point *e) TESKA_NOTHROW;

/* triangle_get_area - a measure of a triangle's size: |p0 - p1| line_get_distance_from_point(p2, p0, p1) / 2.
 * tetra_get_volume - a measure of a tetrahedron's size: triangle_get_area(p0, p1, p2) times
 *     plane_get_distance_from_point(p3, p0, p1, p2) / 3; -1.0 for null.
 *
 * Kept: both multiply by squares of distances. They grow with the size and are not area and volume.
 */
TESKA_API double triangle_get_area(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2) TESKA_NOTHROW;
TESKA_API double tetra_get_volume(const tetra_rec *t) TESKA_NOTHROW;

/* tetra_get_true_volume - the volume of a tetrahedron, |e1 . (e2 x e3)| / 6 with e_i = p_i - p0; -1.0 for null. */
TESKA_API double tetra_get_true_volume(const tetra_rec *t) TESKA_NOTHROW;

/* tetra_get_pointnr - the number of corner vertex, 0 .. 3; -1 for null, another corner, a number outside the range of
 * int. */
TESKA_API int tetra_get_pointnr(const tetra_rec *t, int vertex) TESKA_NOTHROW;

/* triangle_intersect_linesegment, triangle_intersect_linesegment2 - where the segment from a to b meets a triangle.
 *
 * The line's crossing x with the plane counts when (a - x)(b - x) <= 0.01 in each coordinate, and when it is within
 * 0.01 of a corner, the differences of the coordinates summed, or inside by the rule of triangle_point_inside. The
 * ends may thus miss the triangle by a little: by 1e-6 for a segment of 10000.
 *
 * Return 1 and the crossing, or 0 with x untouched: no crossing, a segment parallel to the plane, a null triangle.
 */
TESKA_API int triangle_intersect_linesegment(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2,
                                             const double a[3], const double b[3], double x[3]) TESKA_NOTHROW;
TESKA_API int triangle_intersect_linesegment2(const tetra_plane *plane, const double a[3], const double b[3],
                                              double x[3]) TESKA_NOTHROW;

/* ---- Query: volumes ---------------------------------------------------------------------------------------------- */

/* tetra_volume_get_nr_of_tetrahedrae - number of tetrahedra; 0 for null. */
TESKA_API int tetra_volume_get_nr_of_tetrahedrae(const tetra_volume *v) TESKA_NOTHROW;

/* tetra_volume_get_tetra - the first tetrahedron in list order that holds a point.
 *
 * out  the record, owned by the volume; may be null; untouched on failure
 * Returns 0, or -1: no tetrahedron, a null volume. O(tetrahedra).
 */
TESKA_API int tetra_volume_get_tetra(const tetra_volume *v, const double p[3], tetra_rec **out) TESKA_NOTHROW;

/* tetra_volume_get_tetra2 - the tetrahedron at an index; as above, -1 for an index outside the list. */
TESKA_API int tetra_volume_get_tetra2(const tetra_volume *v, int index, tetra_rec **out) TESKA_NOTHROW;

/* tetra_volume_point_inside - whether a point lies inside the boundary.
 *
 * 1 when the segment from p to (10000, p.y, p.z) crosses the boundary an odd number of times, as counted by
 * tetra_volume_line_intersect; else 0, for null and where that fails too. A point on the boundary is inside where the
 * segment leaves the volume at it. Within 0.01 of a corner or of the outline, seen along x, the count may be wrong.
 */
TESKA_API int tetra_volume_point_inside(const tetra_volume *v, const double p[3]) TESKA_NOTHROW;

/* tetra_volume_line_intersect - count where a segment crosses the boundary.
 *
 * Planes are taken from the last to the first. A crossing within 0.01, in each of x, y and z, of one already found is
 * dropped, so one through a common edge of two triangles counts once.
 *
 * count  may be null
 * Returns 0; -1 for a null volume, or when memory is short for more than 32 crossings; count is then untouched.
 */
TESKA_API int tetra_volume_line_intersect(const tetra_volume *v, const double a[3], const double b[3],
                                          int *count) TESKA_NOTHROW;

/* tetra_volume_line_intersect2 - the same with the crossings, planes from the first to the last.
 *
 * out, size  room for size crossings of three doubles; when it is full the others are not looked for. May be null
 *            when size is 0.
 * Returns 0, or -1 for a null volume.
 */
TESKA_API int tetra_volume_line_intersect2(const tetra_volume *v, const double a[3], const double b[3], int *count,
                                           double *out, int size) TESKA_NOTHROW;

/* tetra_volume_line_hasintersects - whether the boundary lies between the ends of a segment.
 *
 * 1 when a crossing, counted as above, differs from both ends by more than 0.01 in some coordinate, or when the middle
 * of the segment is inside; else 0, for null and when memory is short too. A corner is thus seen from outside although
 * the segment ends on it.
 */
TESKA_API int tetra_volume_line_hasintersects(const tetra_volume *v, const double a[3],
                                              const double b[3]) TESKA_NOTHROW;

/* tetra_volume_get_border_points - the corners of the boundary, each once.
 *
 * Points 0 .. 2 of each plane in list order, but for those within 0.01, in each coordinate, of one already taken.
 *
 * count   may be null
 * points  a new list of tetra_point by value, to be killed by the caller
 * Returns 0, or -1 for a null volume or when memory is short or the list full; nothing is stored then.
 */
TESKA_API int tetra_volume_get_border_points(const tetra_volume *v, int *count, list_rec **points) TESKA_NOTHROW;

/* tetra_volume_get_volume - the sum of tetra_get_volume, from the first tetrahedron on; -1.0 for null.
 *
 * Kept: the sum of a measure that is not the volume; that of two ways to cut one body differs.
 */
TESKA_API double tetra_volume_get_volume(const tetra_volume *v) TESKA_NOTHROW;

/* tetra_volume_get_true_volume - the sum of tetra_get_true_volume, from the first tetrahedron on; -1.0 for null.
 *
 * What the tetrahedra fill: of a hull its volume, up to the slivers at the boundary that tetra_volume_new2 leaves out,
 * less than 1e-6 / 6 each.
 */
TESKA_API double tetra_volume_get_true_volume(const tetra_volume *v) TESKA_NOTHROW;

/* tetra_volume_nearest - the nearest point of the boundary, from inside and from outside alike.
 *
 * The point that proj_nearest_triangle finds on the nearest plane. Among planes whose distances differ by rounding
 * alone any one may answer, the same everywhere; of equal ones the first. Planes with a coordinate that is not finite
 * are passed over.
 *
 * v        made by one of the tetra_volume_new functions
 * q        a finite point
 * nearest  the point; may be null
 * dist     |nearest - q|, 0 or above; may be null
 * plane    the number of the plane in the list; may be null
 * weights  of its points 0 .. 2, 0 .. 1 with the sum 1; may be null
 * Returns 0, or -1 for null, without planes, for a point that is not finite, and for one so far away that the square of
 * its distance overflows; nothing is written then.
 * The first call after a change makes a tree of boxes, which stays with the volume: some 170 bytes per plane. Other
 * threads that call at the same time wait for it. When memory is short the planes are asked one by one, with the same
 * result. Cost and speed as for convex_hull_nearest.
 */
TESKA_API int tetra_volume_nearest(const tetra_volume *v, const double q[3], double nearest[3], double *dist,
                                   int *plane, double weights[3]) TESKA_NOTHROW;

TESKA_END_C
#endif
