/* convex_hull.h - the convex hull of points: its vertices, its faces, and whether a point lies inside
 *
 *     convex_hull *gamut = convex_hull_new();
 *     convex_hull_add_points(gamut, &measured[0][0], 1485);      L, a, b of each patch
 *     if (convex_hull_construct(gamut) == 0)
 *         for (i = 0; i < convex_hull_get_nr_faces(gamut); ++i) {
 *             convex_hull_get_face(gamut, i, corner);
 *             for (k = 0; k < 3; ++k)
 *                 convex_hull_get_vertex(gamut, corner[k], lab[k], &patch[k]);
 *         }
 *     if (!convex_hull_inside(gamut, colour))
 *         convex_hull_nearest(gamut, colour, printable, &dist, NULL, NULL);
 *     convex_hull_kill(gamut);
 *
 * The C face of the class TConvexHull (tconvexhull.h): the same points give the same hull.
 *
 * Common rules
 *   A point is three consecutive doubles. Points added, vertices and faces count from 0.
 *   The length that counts. A point makes the hull larger when it and a face that it sees from outside span a
 *   tetrahedron of more than 1/12 cubic unit, and counts as inside when it sees none so. The unit is 1, which suits
 *   Lab, XYZ of 0 .. 100 and bytes; for other coordinates it is set to about a hundredth of their extent
 *   (convex_hull_set_unit). Where the points lie too close for this rule the hull is made by exact signs instead; the
 *   header of the class says what either way guarantees.
 *   Queries answer for the hull of the last convex_hull_construct. Without one, because there was no call or it failed,
 *   there are no vertices and faces, and nothing is inside.
 *   Any number of threads may ask one hull at the same time, as long as nobody changes it. Hulls are independent.
 *   Pointers must not be null unless a block says so. Results are the same bits everywhere.
 */
#ifndef TESKA_CONVEX_HULL_H
#define TESKA_CONVEX_HULL_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of one hull. */
typedef struct convex_hull convex_hull;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* convex_hull_new - create a hull without points.
 *
 * Returns the hull, owned by the caller (convex_hull_kill), or NULL with "convex_hull_new: insufficient memory".
 */
TESKA_API convex_hull *convex_hull_new(void) TESKA_NOTHROW;

/* convex_hull_kill - free a hull; null is accepted. Returns NULL. */
TESKA_API convex_hull *convex_hull_kill(convex_hull *hull) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* convex_hull_set_unit - set the unit of length of the rule above, before the first point.
 *
 *     convex_hull_set_unit(gamut, 0.01);        colours of 0 .. 1
 *     convex_hull_set_unit(gamut, 655.36);      colours of 16 bits
 *
 * The largest power of two that is not above it is used, so that coordinates keep all their digits.
 *
 * unit  1e-9 .. 1e9
 * Returns 0, or -1 with "convex_hull_set_unit: illegal unit" or "convex_hull_set_unit: there are points already"; the
 * unit is then unchanged.
 */
TESKA_API int convex_hull_set_unit(convex_hull *hull, double unit) TESKA_NOTHROW;

/* convex_hull_add - add a point, to be taken into the hull by convex_hull_construct.
 *
 * A point with a coordinate that is not finite takes a number and is left out.
 * Returns 0, or -1 with "convex_hull_add: insufficient memory", also after INT_MAX points; the hull is then unchanged.
 */
TESKA_API int convex_hull_add(convex_hull *hull, const double point[3]) TESKA_NOTHROW;

/* convex_hull_add_points - add points, one after another.
 *
 * points  3 n doubles; not kept; may be null when n is 0
 * Returns 0, or -1 with "convex_hull_add_points: illegal number of points" for n < 0, and with
 * "convex_hull_add_points: insufficient memory" when only some of the points were added: the first ones, as
 * convex_hull_get_nr_points says.
 */
TESKA_API int convex_hull_add_points(convex_hull *hull, const double *points, int n) TESKA_NOTHROW;

/* convex_hull_construct - build the hull of all points added.
 *
 * Points found inside are forgotten. More points may be added and a further call made; a call without new points leaves
 * the hull as it is.
 *
 * Returns 0, or -1 with the first of these that applies; there is no hull then, no point is lost, more can be added and
 * the call repeated:
 *     "convex_hull_construct: points in one plane"       also fewer than four, and none that makes a volume above
 *                                                        1/12 cubic unit with the first three in a row not in a line
 *     "convex_hull_construct: insufficient memory"
 * Kept: points that were all added twice in a row are in one plane, as TConvexHull says.
 * Cost as for TConvexHull::Construct.
 */
TESKA_API int convex_hull_construct(convex_hull *hull) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* convex_hull_inside - 1 for a point inside the hull or on it, else 0; 0 for one that is not finite.
 *
 * As TConvexHull::InsideHull: up to the volume above, a point a little outside is inside. O(faces) with a small
 * constant, and at once for most points inside.
 */
TESKA_API int convex_hull_inside(const convex_hull *hull, const double point[3]) TESKA_NOTHROW;

/* convex_hull_nearest - the nearest point of the surface, from inside and from outside alike.
 *
 * The point that proj_nearest_triangle finds on the nearest face. Among faces whose distances differ by rounding alone
 * any one may answer, the same everywhere; of equal ones the lowest. For a point outside it is the nearest one of the
 * whole hull.
 *
 * q        a finite point
 * nearest  the point; may be null
 * dist     |nearest - q|, 0 or above; may be null
 * face     the number of the face; may be null
 * weights  of the three vertices of the face in their order, 0 .. 1 with the sum 1; may be null
 * Returns 0, or -1 without a hull, for a point that is not finite, and for one so far away that the square of its
 * distance overflows; nothing is written then. Results may overlap q.
 * A search through a tree of boxes, which convex_hull_construct makes: with 450 faces it takes about half a
 * microsecond, with 10,000 one or two.
 */
TESKA_API int convex_hull_nearest(const convex_hull *hull, const double q[3], double nearest[3], double *dist,
                                  int *face, double weights[3]) TESKA_NOTHROW;

/* convex_hull_get_nr_points - number of points added, which is the number that the next one gets. */
TESKA_API int convex_hull_get_nr_points(const convex_hull *hull) TESKA_NOTHROW;

/* convex_hull_get_nr_vertices, convex_hull_get_nr_faces - V vertices, F = 2 V - 4 faces, with 3 V - 6 edges.
 *
 * Points in the midst of a flat side, or nearly so, may be vertices too.
 */
TESKA_API int convex_hull_get_nr_vertices(const convex_hull *hull) TESKA_NOTHROW;
TESKA_API int convex_hull_get_nr_faces(const convex_hull *hull) TESKA_NOTHROW;

/* convex_hull_get_vertex - where a vertex lies, and which point it is.
 *
 * point   its coordinates, as they were added; may be null
 * number  its number among the points added; may be null
 * Returns 0, or -1 when there is no such vertex; nothing is written then.
 */
TESKA_API int convex_hull_get_vertex(const convex_hull *hull, int vertex, double point[3], int *number) TESKA_NOTHROW;

/* convex_hull_get_face - the vertices of a face, counterclockwise seen from outside.
 *
 * corner  three vertices: (p1 - p0) x (p2 - p0) points outward
 * Returns 0, or -1 when there is no such face; nothing is written then.
 */
TESKA_API int convex_hull_get_face(const convex_hull *hull, int face, int corner[3]) TESKA_NOTHROW;

/* convex_hull_get_area, convex_hull_get_volume - the area of all faces, and the volume they enclose; 0.0 without a
 * hull.
 *
 *     area = 1/2 sum |(p1 - p0) x (p2 - p0)|
 *     volume = 1/6 sum (p0 - o) . ((p1 - o) x (p2 - o)),   o = vertex 0
 *
 * Summed from the first face on.
 */
TESKA_API double convex_hull_get_area(const convex_hull *hull) TESKA_NOTHROW;
TESKA_API double convex_hull_get_volume(const convex_hull *hull) TESKA_NOTHROW;

TESKA_END_C
#endif
