/* bezierd_vector - polylines along a Bezier segment of degree 2 or 3
 *
 *     double *points;
 *     int sections = bezier_fvector(b, 0.01, &points);   steps of equal width in t, nowhere farther off than 0.01
 *     for (int i = 0; i <= sections; i++)
 *         draw_to(points[2 * i], points[2 * i + 1]);
 *     free(points);
 *
 *     dynar *line = NULL;
 *     int segments = bezier_vector(b, 0.01, &line);      as short as the curve needs it
 *     const double *point = dynar_ptr(line, segments);
 *     dynar_kill(line);
 *
 * Common rules
 *   A point is two doubles, x and y. A bound is a distance in their unit.
 *   Lengths are taken without a root (15/16 of the larger part and 15/32 of the smaller), from 0.9375 to 1.0482 times
 *   the true ones: where a bound is kept, it is kept but for a fifteenth of it.
 *   Everything here gives the same bits on every machine.
 */
#ifndef TESKA_BEZIERD_VECTOR_H
#define TESKA_BEZIERD_VECTOR_H
#include "bezierd_base.h"
#include "dynar.h"
TESKA_BEGIN_C

/* bezier_vector_error - where, and how far, a segment is off its chord.
 *
 * Degree 2: the distance from the middle of the chord to that of the curve. Degree 3: the largest distance from the
 * line through the end points,
 *
 *     e(t) = |3 t (1-t)^2 k1 + 3 t^2 (1-t) k2|,   t = (2 k1 - k2 +- sqrt(k1 (k1 - k2) + k2^2)) / (3 (k1 - k2)),
 *
 * k1 and k2 being the distances of the inner control points, with a sign for the side; of two places equally far off,
 * that of the plus. When the end points are one: the distance of the farther inner control point from them, t = 0.5.
 *
 * t    out: the parameter of that point
 * err  out: the distance, not negative
 * Returns 1; or 0 with "Bezier_vector_error : illegal degree" for degree 4, both values being 0.
 * Kept: with degree 3 and inner control points equally far off on the same side of the chord the distance is not
 * divided by the length of the chord: (0,0) (0,1) (1,1) (1,0) gives 0.75, and ten times larger it gives 75.
 * Source: J. D. Foley et al., Computer Graphics: Principles and Practice, 2nd ed., Addison-Wesley 1990, section 11.2.2
 * (the Bernstein form of which e(t) is the part across the chord).
 */
TESKA_API int bezier_vector_error(const bezier *b, double *t, double *err) TESKA_NOTHROW;

/* bezier_vector_fd - nr_sect + 1 points at t = i / nr_sect, by forward differences.
 *
 * points    room for nr_sect + 1 points, one every itemsize bytes; what lies between them is left alone
 * nr_sect   at least 1
 * itemsize  bytes, at least 16; 0 means 16
 * Returns 1; or 0 with "Bezier_vector_fd: illegal itemsize", "Bezier_vector_fd: illegal nr_sect" or, for degree 4,
 * "Bezier_vector_fd: illegal degree".
 * Each point costs additions only. Their rounding grows with the square of nr_sect, for degree 3 with its cube; the
 * first and the last point are the end points exactly.
 * Source: J. D. Foley et al., Computer Graphics: Principles and Practice, 2nd ed., Addison-Wesley 1990, section 11.2.9.
 */
TESKA_API int bezier_vector_fd(bezier *b, void *points, int nr_sect, unsigned int itemsize) TESKA_NOTHROW;

/* bezier_fvector_len - sections of equal width in t that keep a polyline within a distance of the curve.
 *
 *     1 + floor(sqrt(M / (4 max_error))),   M = half the length of the curve's second derivative where it is longest
 *
 * Returns the number, at most 2147483646; or 0 with "Bezier_fvector_len: illegal error bound" when max_error is not
 * positive, "Bezier_fvector_len: illegal degree" for degree 4.
 * With M exactly 0 the curve is a straight line passed at even speed: 1 for degree 2, and for degree 3 what
 * bezier_vector_error / max_error + 1 gives, each with a line on the debug channel.
 * Source: D. Filip, R. Magedson, R. Markot, Surface algorithms using bounds on derivatives, Computer Aided Geometric
 * Design 3 (1986), pp. 295-311: a chord is at most h^2 / 8 times the second derivative away.
 */
TESKA_API int bezier_fvector_len(bezier *b, double max_error) TESKA_NOTHROW;

/* bezier_fvector - a polyline of bezier_fvector_len sections.
 *
 * points  receives sections + 1 points, owned by the caller (free), or NULL
 * Returns the number of sections; or 0 with a message of bezier_fvector_len or with
 * "Bezier_fvector: allocation of vertex array failed".
 */
TESKA_API int bezier_fvector(bezier *b, double max_error, double **points) TESKA_NOTHROW;

/* bezier_vector - a polyline of as many segments as the curve's bends need.
 *
 * The segment is divided where it is farthest off its chord until no part is farther off than max_error. Distances are
 * those of bezier_vector_error, from the line through the ends: what runs along it beyond an end is not seen.
 *
 * max_error  > 0. A bound below the rounding of the coordinates divides as far as they can tell.
 * points     in: an array (dynar.h) of items of 16 bytes, written from its start, or one that is NULL: it is then
 *            created. Owned by the caller.
 * Returns the number of segments, one less than that of points; the array may hold more items, from an earlier use.
 * Returns 0 when max_error is not positive, nothing being written, and with "Bezier_vector: Unable to create vertex
 * array" after the message of dynar_new.
 * Where memory for a division is short (reported as by bezier_subdivide) the part stays undivided. When the array
 * cannot grow: fatal exit as dynar_ptr does it; if the host's handler returns, so does this function, with 0, the array
 * holding the points so far.
 * Kept: each part ends with its control point 3. For degree 2 that is (0, 0), and its halves end there too, so that it
 * takes many parts to be flat; from 65536 points on none is divided any more. Degree 4 is reported as
 * "Bezier_vector_error : illegal degree" and not divided; its control point 3 is not the end.
 * Source: J. D. Foley et al., section 11.2.9 (recursive subdivision).
 */
TESKA_API int bezier_vector(const bezier *b, double max_error, dynar **points);

TESKA_END_C
#endif
