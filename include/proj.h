/* proj - projections of a point onto planes, lines, segments, triangles and tetrahedra
 *
 *     double triangle[9] = {0, 0, 0,  10, 0, 0,  0, 10, 0}, query[3] = {2, 3, 5}, dist;
 *     ProjResult r;
 *     proj_on_triangle(triangle, query, &r, &dist);            point (2, 3, 0), weights (0.5, 0.2, 0.3), dist 5
 *     proj(triangle, 3, query, &r, &dist);                     the same, by the number of vertices
 *
 * Three kinds of projection
 *   ordinary   the nearest point of the figure; on triangles proj_on_triangle says where it is another one, and
 *              proj_nearest_triangle finds it always.
 *   _par       at constant parameter: the planes at right angles to dir are planes of one parameter, such as lightness.
 *              The answer lies in the plane through q and is the nearest there. Where the figure does not reach this
 *              plane, its nearest end or edge is taken by the penalised distance: with h the distance of a point y from
 *              the plane through q and y' its foot there, sqrt(|y' - q|^2 + 1000 h^2).
 *   _parline   along a line: q moves along dir until it meets the plane of the figure.
 *
 * Common rules
 *   A point is three consecutive doubles; a figure is its vertices one after another. A plane is (a, b, c, d), with
 *   a x + b y + c z + d = 0. dir need not have length 1.
 *   pts        three points
 *   p1, p2     planes
 *   line, seg  two points: the ends
 *   tri        three points
 *   tet        four points
 *   p, q       the point to be projected
 *   point is the projected point, weight its barycentric weights: the sum of weight[i] times vertex i is the point. The
 *   weights of vertices that take no part are 0; those beyond the figure's vertices are not written. spare is neither
 *   read nor written.
 *   Returns 0, or -1 for degenerate input: nothing is written then, except where a block says so.
 *   dist may be null everywhere, other pointers may not. Results may overlap the input.
 *   Edge k of a triangle is the side without vertex k, face k of a tetrahedron the one without vertex k; their vertices
 *   count in ascending order.
 *   Lengths and denominators below 1e-20 count as 0; tolerances are absolute and are not scaled to the figure.
 *   Coordinates up to 1e70 do not overflow. NaN and infinity give results of no use, never more than that; NaN is never
 *   inside.
 *   Nothing is allocated, kept or reported, and any number of threads may call at the same time: the equations of the
 *   _par functions are solved on the stack. Results are the same bits everywhere.
 *   Source: C. Ericson, Real-Time Collision Detection, Morgan Kaufmann 2005, sections 3.4, 5.1 and 5.4.
 */
#ifndef TESKA_PROJ_H
#define TESKA_PROJ_H
#include "teska_api.h"
TESKA_BEGIN_C

/* What a projection gives. */
typedef struct ProjResult {
    double point[3];  /* the projected point */
    double spare;     /* neither read nor written */
    double weight[4]; /* of the figure's vertices; those beyond its last one are not written */
} ProjResult;

/* ---- Planes ------------------------------------------------------------------------------------------------------ */

/* proj_det_plane_abcd - the plane through three points.
 *
 *     n = (p1 - p0) x (p2 - p0),   d = -n * p0,   both divided by |n|
 *
 * Returns 0, or -1 when |n| < 1e-20, the points being on a line; abcd then has n and d undivided.
 */
TESKA_API int proj_det_plane_abcd(const double pts[9], double abcd[4]) TESKA_NOTHROW;

/* proj_on_plane_abcd - the foot x of the perpendicular from p on a plane.
 *
 * abcd  (a, b, c) of any length
 * dist  |x - p|
 * Returns 0, or -1 when a^2 + b^2 + c^2 < 1e-20.
 */
TESKA_API int proj_on_plane_abcd(const double abcd[4], const double p[3], double x[3], double *dist) TESKA_NOTHROW;

/* proj_on_plane - the foot of the perpendicular on a hyperplane of n dimensions.
 *
 *     coef[0] x[0] + .. + coef[n-1] x[n-1] + coef[n] = 0
 *
 * coef  n + 1 values; the first n of any length
 * p, x  n values; may be the same
 * dist  |x - p|
 * Returns 0, or -1 when the normal is shorter than 1e-20 or n < 1.
 */
TESKA_API int proj_on_plane(const double *coef, const double *p, double *x, int n, double *dist) TESKA_NOTHROW;

/* proj_on_plane_par - the point x of a plane at the parameter of q, the nearest one there.
 *
 * dist  |x - q|
 * Returns 0, or -1 when the plane has one parameter all over: (a, b, c) and dir are parallel, or one of them is 0.
 */
TESKA_API int proj_on_plane_par(const double abcd[4], const double q[3], const double dir[3], double x[3],
                                double *dist) TESKA_NOTHROW;

/* proj_on_plane_parline - the point x where the line q + t dir meets a plane.
 *
 * dist  |x - q|
 * Returns 0, or -1 when |(a, b, c) * dir| < 1e-20; dist is then 1e20.
 */
TESKA_API int proj_on_plane_parline(const double abcd[4], const double q[3], const double dir[3], double x[3],
                                    double *dist) TESKA_NOTHROW;

/* proj_plane_intersect - the line in which two planes meet.
 *
 * dir  its direction, (a1, b1, c1) x (a2, b2, c2), with length 1
 * x    its point nearest to the origin
 * Returns 0, or -1 when the product is shorter than 1e-16, the planes being parallel, or a normal is too short to tell.
 */
TESKA_API int proj_plane_intersect(const double p1[4], const double p2[4], double dir[3], double x[3]) TESKA_NOTHROW;

/* ---- Lines and segments ------------------------------------------------------------------------------------------ */

/* proj_on_line - the foot x of the perpendicular from q on the line through two points.
 *
 * dist  |x - q|
 * Returns 0. A line of points less than 1e-10 apart gives its first point.
 */
TESKA_API int proj_on_line(const double line[6], const double q[3], double x[3], double *dist) TESKA_NOTHROW;

/* proj_on_line_par - the point of the line through two points at the parameter of q.
 *
 * r     weights of the two points; beyond them one is negative
 * dist  |point - q|
 * Returns 0, or -1 when the line has one parameter all over, |dir * (p1 - p0)| < 1e-20. Two points that coincide give
 * the first, with weights (1, 0), whatever its parameter.
 */
TESKA_API int proj_on_line_par(const double line[6], const double q[3], const double dir[3], ProjResult *r,
                               double *dist) TESKA_NOTHROW;

/* proj_on_line_segm - the nearest point of a segment.
 *
 * dist  |point - q|
 * Returns 0. A segment shorter than 1e-10 gives its first point, with weights (1, 0).
 */
TESKA_API int proj_on_line_segm(const double seg[6], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW;

/* proj_on_line_segm_par - the point of a segment at the parameter of q, or the end nearest to that parameter.
 *
 * dist  |point - q| when the segment reaches the parameter, else the penalised distance of its end
 * Returns 0. A segment of one parameter, |dir * (p1 - p0)| < 1e-20, gives its nearest point as proj_on_line_segm does,
 * at its penalised distance; where dir is shorter than 1e-10 the plain one.
 */
TESKA_API int proj_on_line_segm_par(const double seg[6], const double q[3], const double dir[3], ProjResult *r,
                                    double *dist) TESKA_NOTHROW;

/* ---- Triangles --------------------------------------------------------------------------------------------------- */

/* proj_on_triangle - the point of a triangle that belongs to q.
 *
 * The edges (p0,p1), (p0,p2), (p1,p2) are tested in this order. The first that q lies beyond, seen along the normal,
 * answers as proj_on_line_segm does; exactly above an edge is not beyond it. Inside of all three the answer is the foot
 * of the perpendicular on the plane.
 *
 * dist  |point - q|
 * Returns 0; -1 when an edge is shorter than 1e-20 although the triangle has an area. A triangle without an area, one
 * that proj_det_plane_abcd refuses, is projected on as its longest side, the last of equals.
 * Kept: beyond two edges the first one answers, even where a point of the other were nearer: (11, 1.5, 0) on
 * (0,0,0), (10,0,0), (9,1,0) gives (9, 1, 0) at 2.06, while (9.75, 0.25, 0) is at 1.77. proj_nearest_triangle
 * and proj_on_triangle_bound find that one.
 */
TESKA_API int proj_on_triangle(const double tri[9], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW;

/* proj_on_triangle_par - the point of a triangle at the parameter of q.
 *
 * When the point of the plane (proj_on_plane_par) lies beyond an edge, proj_on_triangle_bound_par answers; when the
 * triangle has one parameter all over, proj_on_triangle does, at its penalised distance.
 *
 * dist  |point - q| inside, else penalised as for segments
 * Returns 0 or -1 as proj_on_triangle does; a triangle without an area is again its longest side.
 */
TESKA_API int proj_on_triangle_par(const double tri[9], const double q[3], const double dir[3], ProjResult *r,
                                   double *dist) TESKA_NOTHROW;

/* proj_on_triangle_parline - move q along dir into the plane of a triangle, then project as proj_on_triangle does.
 *
 * dist  |point - q|, negative when n * dir > 0.001, n being the unit normal (p1 - p0) x (p2 - p0): the line passes the
 *       triangle from behind. The side q is on does not matter.
 * Returns 0, or -1 when the triangle has no area, when |n * dir| < 1e-20, or where proj_on_triangle gives -1; dist is
 * then -1e20.
 */
TESKA_API int proj_on_triangle_parline(const double tri[9], const double q[3], const double dir[3], ProjResult *r,
                                       double *dist) TESKA_NOTHROW;

/* proj_nearest_triangle - the nearest point of a triangle: the true one, wherever q is.
 *
 * Any triangle will do, however flat: one without an area is its longest side, one without a side a point. No tolerance
 * applies. The distance is the least one up to 1e-14 of the largest coordinate; where q is a vertex it is 0,
 * and the point is that vertex.
 *
 * r     point, and weights of 0 .. 1 with the sum 1
 * dist  |point - q|
 * Returns 0.
 */
TESKA_API int proj_nearest_triangle(const double tri[9], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW;

/* proj_on_triangle_edge - the nearest point of one edge of a triangle, 0 .. 2, or with -1 of all three.
 *
 * dist  |point - q|; of edges equally near the lowest answers
 * Returns 0, or -1 for any other edge.
 */
TESKA_API int proj_on_triangle_edge(const double tri[9], const double q[3], int edge, ProjResult *r,
                                    double *dist) TESKA_NOTHROW;

/* proj_on_triangle_bound - the nearest point of the three edges: proj_on_triangle_edge with -1. Returns 0. */
TESKA_API int proj_on_triangle_bound(const double tri[9], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW;

/* proj_on_triangle_bound_par - the edge with the least distance of proj_on_line_segm_par, the lowest of equals.
 *
 * Returns 0.
 */
TESKA_API int proj_on_triangle_bound_par(const double tri[9], const double q[3], const double dir[3], ProjResult *r,
                                         double *dist) TESKA_NOTHROW;

/* ---- Tetrahedra -------------------------------------------------------------------------------------------------- */

/* proj_on_tetra - q itself inside a tetrahedron, or what proj_on_tetra_bound finds.
 *
 * Inside are the points whose four weights are -0.001 .. 1.001, ends included; they stay where they are, so that a
 * weight may be a little negative. A tetrahedron with a vertex less than 0.001 from the opposite face, or with a face
 * without an area, has no inside.
 *
 * dist  inside the largest weight, 0.25 and above; outside -|point - q|
 * Returns 0 or -1 as proj_on_tetra_bound does.
 */
TESKA_API int proj_on_tetra(const double tet[12], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW;

/* proj_on_tetra_par - as proj_on_tetra, with proj_on_tetra_bound_par outside.
 *
 * When face 0 is the first to lack an area, the figure is the triangle of its longest side (the last of equals) and
 * vertex 0; the answer is that of proj_on_triangle_par with its distance negated, and the vertex left out has weight 0.
 * Returns 0; -1 when that triangle cannot be projected on; -100 when the boundary cannot.
 */
TESKA_API int proj_on_tetra_par(const double tet[12], const double q[3], const double dir[3], ProjResult *r,
                                double *dist) TESKA_NOTHROW;

/* proj_on_tetra_bound - the nearest answer of proj_on_triangle on the four faces, the lowest face of equals.
 *
 * dist  |point - q|
 * Returns 0, or -1 when all four faces give -1; single ones that do are left out.
 */
TESKA_API int proj_on_tetra_bound(const double tet[12], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW;

/* proj_on_tetra_bound_par - likewise with proj_on_triangle_par and its distance. */
TESKA_API int proj_on_tetra_bound_par(const double tet[12], const double q[3], const double dir[3], ProjResult *r,
                                      double *dist) TESKA_NOTHROW;

/* ---- Any figure -------------------------------------------------------------------------------------------------- */

/* proj - the ordinary projection on 1 to 4 vertices: a point, proj_on_line_segm, proj_on_triangle, proj_on_tetra.
 *
 * pts   n vertices
 * dist  |point - q|; 0 inside a tetrahedron
 * Returns what the figure's function returns, and -1 for any other n.
 */
TESKA_API int proj(const double *pts, int n, const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW;

TESKA_END_C
#endif
