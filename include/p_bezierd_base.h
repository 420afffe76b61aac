/* p_bezierd_base - a chain of planar Bezier segments: outlines, tone curves, curves through or near given points
 *
 *     const double x[] = {0.4, 0.6, 1.0}, y[] = {0.0, 1.0, 1.0};
 *     poly_bezier *tone = poly_bezier_new(0.0, 0.0);
 *     poly_bezier_add(tone, 3, x, y);
 *     double at_quarter;
 *     if (poly_bezier_get_y(tone, 0.25, &at_quarter) == 1)
 *         ...                                            0.1353071650
 *     double *points;
 *     int sections = poly_bezier_vector(tone, 0.001, &points);
 *     for (int i = 0; i <= sections; i++)
 *         draw_to(points[2 * i], points[2 * i + 1]);
 *     free(points);
 *     tone = poly_bezier_kill(tone);
 *
 * A chain is a start point and n >= 0 segments of degree 1, 2 or 3, each beginning exactly where the one before ends.
 * Its parameter u runs from 0 at the start to n at the end: segment i covers i .. i + 1, t = u - i being the parameter
 * of its Bernstein polynomials. The chain is closed when n >= 1 and its end equals its start exactly.
 *
 * Common rules
 *   Except where a block says so, a chain must not be null. Indices start at 0. Coordinates are of any unit, y up where
 *   a sense of rotation is told; lengths and distances have the unit of the coordinates.
 *   Functions return 1, or 0 after a report, where a block says nothing else. Failures are reported through
 *   error_mess_fl (error_mess.h); the chain and what was to be filled are then unchanged.
 *   Control points are finite at all times. A result that no double can hold is infinite: lengths, areas and slopes of
 *   chains with coordinates above 1e150. A u outside 0 .. n is held to it, and NaN counts as 0.
 *   Threads: a chain is a block of its own. Any number of threads may call the functions that take a const chain for
 *   one chain at once, as long as none changes it.
 *   Same bits on every machine.
 *   Source of what names none: G. Farin, Curves and Surfaces for CAGD, 5th ed., Morgan Kaufmann 2002, chapters 4 to 6.
 */
#ifndef TESKA_P_BEZIERD_BASE_H
#define TESKA_P_BEZIERD_BASE_H
#include "bezierd_base.h"
TESKA_BEGIN_C

/* The opaque record of a chain. */
typedef struct poly_bezier poly_bezier;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* poly_bezier_new - create a chain without segments.
 *
 * x, y  its start, which is its end as well
 * Returns the chain, owned by the caller (poly_bezier_kill), or NULL with "poly_bezier_new: illegal point" when a
 * coordinate is not finite, or "poly_bezier_new: malloc failure".
 */
TESKA_API poly_bezier *poly_bezier_new(double x, double y) TESKA_NOTHROW;

/* poly_bezier_kill - free a chain; may be null. Returns NULL, to be written back into the handle. */
TESKA_API poly_bezier *poly_bezier_kill(poly_bezier *p) TESKA_NOTHROW;

/* poly_bezier_copy - another chain like this one.
 *
 * Returns the chain, owned by the caller, or NULL with "poly_bezier_copy: malloc failure".
 */
TESKA_API poly_bezier *poly_bezier_copy(const poly_bezier *p) TESKA_NOTHROW;

/* poly_bezier_fit - cubics that pass every point of a row within a bound.
 *
 * n          points given. A point equal to the one before is dropped.
 * xs, ys     n values each, in the order of the curve
 * max_error  the bound: no point is farther from the chain; finite and > 0
 * corner     degrees, held to 0 .. 180: the chain has a corner where the row turns by more. 180 and NaN: none
 * closed     not 0: the last point is joined to the first; a last point equal to the first is dropped
 * Returns the chain, owned by the caller, from the first point to the last or, closed, back to the first; or NULL with
 *     "poly_bezier_fit: illegal error bound"
 *     "poly_bezier_fit: illegal point"         a coordinate is not finite
 *     "poly_bezier_fit: too few points"        fewer than 2 are left
 *     "poly_bezier_fit: malloc failure"
 *
 * Corners. With w = 4 max_error, b and f are for every point i the nearest ones before and after it whose way along
 * the row is at least w, or the ends of the row; the row of a closed chain goes on round its joint. The angle at i is
 * that from Q_i - Q_b to Q_f - Q_i. An inner point is a corner when its angle exceeds `corner` and no other point
 * within w along the row has a larger angle, nor an earlier one the same. The first point of a closed row is a corner
 * when its angle exceeds `corner`. A run is what lies between corners.
 *
 * Tangents. A run starts along the unit vector to f of its first point and ends along that to b of its last, both
 * held to the run. Where a run is divided both sides have the tangent along Q_(i-1) - Q_(i+1), so that the chain is
 * smooth there, and likewise at the start of a closed chain that is no corner: along the mean of its two unit vectors.
 *
 * Segments. P1 = P0 + a * tangent, P2 = P3 + b * tangent, with a and b by least squares over the points between. The
 * points have parameters by the lengths of the chords at first, then after each fit by a step of Newton's method for
 * the nearest point, at most 20 times, until all points are within the bound or the largest distance falls by less
 * than 1 %. When a or b is below 1e-6 of the chord or the equations have no solution: a = b = chord / 3, which two
 * points have at once. While a point is farther than the bound the run is divided at the farthest one.
 *
 * O(n log n) usually, O(n^2) at worst; 48 bytes a point while it runs.
 * Source: P. Schneider, An algorithm for automatically fitting digitized curves, in Graphics Gems, Academic Press 1990,
 * pp. 612-626.
 */
TESKA_API poly_bezier *poly_bezier_fit(int n, const double *xs, const double *ys, double max_error, double corner,
                                       int closed) TESKA_NOTHROW;

/* poly_bezier_spline - the cubic spline through points, twice continuously differentiable.
 *
 * Its own parameter rises by the root of the distance from a point to the next (centripetal), u by 1. At the ends of an
 * open chain the second derivative is 0; a closed one goes on round its joint.
 *
 * n       points, at least 2; closed at least 3
 * xs, ys  n values each; neighbours are different
 * closed  not 0: from the last point to the first too, which is not repeated
 * Returns the chain, owned by the caller, of n - 1 or, closed, n cubics; or NULL with
 *     "poly_bezier_spline: too few points"
 *     "poly_bezier_spline: illegal point"      a coordinate is not finite
 *     "poly_bezier_spline: equal points"       two neighbours, of a closed chain the last and the first too
 *     "poly_bezier_spline: malloc failure"
 * Two points give the straight cubic.
 * O(n).
 * Example: (0, 0) (1, 1) (2, 0) begins with the segment (0, 0) (1/3, 1/2) (2/3, 1) (1, 1).
 * Source: E. Lee, Choosing nodes in parametric curve interpolation, Computer-Aided Design 21 (1989) 363-370.
 */
TESKA_API poly_bezier *poly_bezier_spline(int n, const double *xs, const double *ys, int closed) TESKA_NOTHROW;

/* poly_bezier_monotone - y(x) through points, without overshoot: between two points y stays between theirs.
 *
 * With h_k the steps in x and d_k the slopes of the chords, the slope at an inner point is 0 when the two d beside it
 * differ in sign or one is 0, else
 *
 *     (w1 + w2) / (w1 / d_(k-1) + w2 / d_k),   w1 = 2 h_k + h_(k-1),   w2 = h_k + 2 h_(k-1).
 *
 * At the start it is ((2 h_0 + h_1) d_0 - h_0 d_1) / (h_0 + h_1), but 0 when its sign is not that of d_0, and 3 d_0
 * when it is beyond that and d_0 and d_1 differ in sign; at the end likewise. Two points give the straight line.
 *
 * n       points, at least 2
 * xs, ys  n values each; xs strictly rising
 * Returns the chain, owned by the caller, of n - 1 cubics with control points at thirds of the steps in x; or NULL with
 *     "poly_bezier_monotone: too few points"
 *     "poly_bezier_monotone: illegal point"          a coordinate is not finite
 *     "poly_bezier_monotone: x values do not rise"
 *     "poly_bezier_monotone: malloc failure"
 * O(n). poly_bezier_get_y evaluates it: this is the tone curve through given points.
 * Example: (0, 0) (1, 1) (3, 2) has the slopes 7/6, 9/13, 1/6.
 * Source: F. Fritsch, J. Butland, A method for constructing local monotone piecewise cubic interpolants, SIAM J. Sci.
 * Stat. Comput. 5 (1984) 300-304.
 */
TESKA_API poly_bezier *poly_bezier_monotone(int n, const double *xs, const double *ys) TESKA_NOTHROW;

/* poly_bezier_split - two new chains out of one, which stays as it is; by de Casteljau's interpolation.
 *
 * first, second  receive the chains from 0 to u and from u to n, owned by the caller, or NULL both. At the ends one has
 *                no segments, only its start point.
 * Returns 1, or 0 with "poly_bezier_split: malloc failure".
 */
TESKA_API int poly_bezier_split(const poly_bezier *p, double u, poly_bezier **first,
                                poly_bezier **second) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* poly_bezier_add - append a segment by its control points; the chain's end is the first of them.
 *
 * degree  1, 2 or 3
 * xs, ys  the `degree` further control points
 * Returns 1, or 0 with "poly_bezier_add: illegal degree", "poly_bezier_add: illegal point" when a coordinate is not
 * finite, or "poly_bezier_add: malloc failure".
 * Appending n segments is O(n); each is measured when it is added.
 */
TESKA_API int poly_bezier_add(poly_bezier *p, int degree, const double *xs, const double *ys) TESKA_NOTHROW;

/* poly_bezier_append - append a copy of a segment of degree 2 or 3 that begins exactly at the chain's end.
 *
 * Returns 1, or 0 with "poly_bezier_append: illegal degree" for degree 4, "poly_bezier_append: illegal point" when a
 * control point is not finite, "poly_bezier_append: segment does not continue the chain" or
 * "poly_bezier_append: malloc failure".
 */
TESKA_API int poly_bezier_append(poly_bezier *p, const bezier *b) TESKA_NOTHROW;

/* poly_bezier_join - append copies of all segments of a chain that begins exactly at this one's end.
 *
 * tail  stays the caller's; may be p itself when p is closed, which then runs round twice, or has no segments
 * Returns 1, or 0 with "poly_bezier_join: segment does not continue the chain" or "poly_bezier_join: malloc failure".
 */
TESKA_API int poly_bezier_join(poly_bezier *p, const poly_bezier *tail) TESKA_NOTHROW;

/* poly_bezier_reverse - run the other way: what was at n - u is at u. Returns 1. */
TESKA_API int poly_bezier_reverse(poly_bezier *p) TESKA_NOTHROW;

/* poly_bezier_transform - map all control points.
 *
 *     x' = m0 x + m1 y + m2,   y' = m3 x + m4 y + m5
 *
 * Returns 1, or 0 with "poly_bezier_transform: illegal matrix" when it, or a control point mapped by it, is not finite.
 */
TESKA_API int poly_bezier_transform(poly_bezier *p, const double matrix[6]) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* poly_bezier_num - the number of segments, n. */
TESKA_API int poly_bezier_num(const poly_bezier *p) TESKA_NOTHROW;

/* poly_bezier_closed - 1 when the chain is closed, else 0. */
TESKA_API int poly_bezier_closed(const poly_bezier *p) TESKA_NOTHROW;

/* poly_bezier_segment - the control points of segment i.
 *
 * xs, ys  receive degree + 1 values each
 * Returns the degree, 1 .. 3, or 0 with "poly_bezier_segment: illegal index".
 */
TESKA_API int poly_bezier_segment(const poly_bezier *p, int i, double xs[4], double ys[4]) TESKA_NOTHROW;

/* poly_bezier_get_bezier - segment i as a segment of degree 3, the same curve: lower degrees are raised.
 *
 * Returns the segment, owned by the caller (bezier_kill), or NULL with "poly_bezier_get_bezier: illegal index" or the
 * report of bezier_new when memory is short.
 */
TESKA_API bezier *poly_bezier_get_bezier(const poly_bezier *p, int i) TESKA_NOTHROW;

/* poly_bezier_get - the point at u, by sums of Bernstein polynomials; exactly the control points at joints and ends.
 *
 * Returns 1.
 */
TESKA_API int poly_bezier_get(const poly_bezier *p, double u, double *x, double *y) TESKA_NOTHROW;

/* poly_bezier_slope - the derivative (dx, dy) by u: at a joint that of the segment which begins there, at n that of the
 * last one; (0, 0) without segments. Returns 1. */
TESKA_API int poly_bezier_slope(const poly_bezier *p, double u, double *dx, double *dy) TESKA_NOTHROW;

/* poly_bezier_get_y - y where a chain that rises in x has the given x.
 *
 * It rises when in every segment the x of the control points never fall and the first is below the last.
 *
 * Returns 1; or 2 for an x outside the chain's range, with the y of the nearer end; or 0 with
 * "poly_bezier_get_y: chain does not rise in x", for x NaN too.
 * The parameter is found to the last bit, by Newton's method within brackets. O(log n).
 * Example: of (0, 0) (0.4, 0) (0.6, 1) (1, 1), y(0.5) is 0.5 and y(0.25) 0.1353071650.
 */
TESKA_API int poly_bezier_get_y(const poly_bezier *p, double x, double *y) TESKA_NOTHROW;

/* poly_bezier_length - the arc length between u0 and u1, in either order.
 *
 * Relative error below 1e-9: by 8 points of Gauss and Legendre on pieces that are halved, at most 24 times, until two
 * halves agree with their whole within 1e-10 of the control polygon. Whole segments are measured when they are added:
 * the cost is that of two parts of segments. Cannot fail.
 * Source of the nodes: M. Abramowitz, I. Stegun, Handbook of Mathematical Functions, Dover 1965, table 25.4.
 */
TESKA_API double poly_bezier_length(const poly_bezier *p, double u0, double u1) TESKA_NOTHROW;

/* poly_bezier_at_length - the u up to which the chain is as long as given, within 1e-10 of its whole length.
 *
 * length  below 0 or NaN: 0; from the whole length on: n
 * O(log n).
 */
TESKA_API double poly_bezier_at_length(const poly_bezier *p, double length) TESKA_NOTHROW;

/* poly_bezier_box - the box of the curve itself, not of its control points.
 *
 * box  receives xmin, ymin, xmax, ymax
 * Returns 1.
 */
TESKA_API int poly_bezier_box(const poly_bezier *p, double box[4]) TESKA_NOTHROW;

/* poly_bezier_nearest - the point of the chain nearest to (x, y).
 *
 * Of places whose distances differ by less than 1e-12 of them, or by what rounding makes, it is the first.
 *
 * u     out: its parameter; may be null
 * dist  out: its distance; may be null
 * Returns 1, or 0 with "poly_bezier_nearest: illegal point" when a coordinate is not finite.
 * Cost: a few comparisons for most segments, and for those that may be nearest the roots of a polynomial of degree 5,
 * found by halving and the Illinois form of regula falsi.
 * Source: M. Dowell, P. Jarratt, A modified regula falsi method, BIT 11 (1971) 168-174.
 */
TESKA_API int poly_bezier_nearest(const poly_bezier *p, double x, double y, double *u, double *dist) TESKA_NOTHROW;

/* poly_bezier_line - where the chain meets an infinite line.
 *
 * Where they only touch, within rounding, counts once, and so does a joint, that of the ends of a closed chain too: at
 * u = 0. A segment that lies wholly on the line, all distances of its control points being exactly 0, counts at its
 * start.
 *
 * line  x0, y0, x1, y1: two different points of it
 * us    receives the parameters, rising, as many as fit; may be null when size is 0
 * size  room in us
 * Returns how many there are, which may be more than size; or -1 with "poly_bezier_line: illegal line" when the points
 * are equal or not finite.
 */
TESKA_API int poly_bezier_line(const poly_bezier *p, const double line[4], double *us, int size) TESKA_NOTHROW;

/* poly_bezier_area - the area inside, positive counterclockwise; an open chain is closed by its chord.
 *
 * What is encircled twice counts twice. Exact but for rounding, no approximation.
 * Example: the quadratic (0, 0) (1, 2) (2, 0) has -4/3.
 */
TESKA_API double poly_bezier_area(const poly_bezier *p) TESKA_NOTHROW;

/* poly_bezier_winding - how often the chain goes round a point, counterclockwise positive; an open chain is closed by
 * its chord.
 *
 * By the nonzero rule a point is inside when the number is not 0, by the even-odd rule when it is odd. A point on the
 * curve, within 1e-12 of the chain's size, may belong to either side. For a point that is not finite: 0.
 */
TESKA_API int poly_bezier_winding(const poly_bezier *p, double x, double y) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* poly_bezier_vector - the chain as a polyline.
 *
 * Each segment takes steps even in t: 1 for a line, ceil(sqrt(D / (4 e))) for degree 2 and ceil(sqrt(3 D / (4 e))) for
 * degree 3, at least 1, where D is the largest |P_(k+2) - 2 P_(k+1) + P_k| and e is max_error. No point of a chord is
 * then farther than e from its piece of the curve, nor any point of that piece from the chord.
 *
 * max_error  e; finite and > 0
 * points     receives the points, x and y in turn, owned by the caller (free)
 * Returns the number of points - 1, at most 2^24; or 0 with "poly_bezier_vector: illegal error bound",
 * "poly_bezier_vector: too many points" or "poly_bezier_vector: malloc failure". A chain without segments gives its
 * start and returns 0 without a report.
 * The ends of segments are exact.
 * Example: (0, 0) (0, 1) (1, 1) (1, 0) at 0.01 takes 11 steps.
 * Source: G. Wang, The subdivision method for finding the intersection between two Bezier curves or surfaces, Zhejiang
 * University Journal 1984; D. Filip, R. Magedson, R. Markot, Surface algorithms using bounds on derivatives, CAGD 3
 * (1986) 295-311.
 */
TESKA_API int poly_bezier_vector(const poly_bezier *p, double max_error, double **points) TESKA_NOTHROW;

TESKA_END_C
#endif
