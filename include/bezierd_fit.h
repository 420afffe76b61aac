/* bezierd_fit.h - the cubic Bezier segment that comes nearest to a row of points
 *
 *     const double x[] = {0, 1, 2, 3, 4}, y[] = {0, 1.2, 1.6, 1.1, 0};
 *     bezier *curve = bezier_new(3, 0, 0, 0, 0);
 *     double lse, max_e;
 *     if (bezier_fit(curve, 5, x, y, 0, 0, 0, 0, 0, 0, &lse, &max_e, 0) == 1)
 *         ...                                            the curve runs from (0, 0) to (4, 0)
 *     bezier_kill(curve);
 *
 * Failures are reported through error_mess_fl (error_mess.h), the trace is shown through typefl (wem.h). Any number
 * of threads may fit curves of their own at once.
 */
#ifndef TESKA_BEZIERD_FIT_H
#define TESKA_BEZIERD_FIT_H
#include "bezierd_base.h"
TESKA_BEGIN_C

/* bezier_fit - fit a cubic to points by least squares.
 *
 *     minimum over P1, P2 of   sum |P(t_i) - Q_i|^2,   P(t) = B0(t) Q_0 + B1(t) P1 + B2(t) P2 + B3(t) Q_(n-1)
 *
 * curve       of degree 3; not null; what it held is replaced
 * n           number of points, at least 2
 * xs, ys      the points Q_i in the order of the curve, n values each
 * start_given not 0: P1 lies on the line from the first point along (start_tx, start_ty)
 * end_given   not 0: P2 lies on the line from the last point along (end_tx, end_ty)
 * start_tx, start_ty, end_tx, end_ty
 *             tangents of any length but 0; read when given. The sign of a direction means nothing: P1 may lie on
 *             either side of the start.
 * lse         out: the root of the sum of the squared distances, not of their mean
 * max_e       out: the largest distance
 * verbose     above 0: "Bezier_fit", two lines a pass and two at the end are shown
 * Returns 1; or 0 with
 * "Bezier_fit : degrees other than 3 not implemented yet"
 * "Bezier_fit : nr_points too small "
 * "Bezier_fit : allocation of s failed"        no memory for 6 doubles a point
 * and curve, lse and max_e untouched.
 *
 * Two points give the straight segment, P1 and P2 on its ends. Of three, the middle one divides the length of the
 * polyline at t, and P1 = P2 = C such that P(t) is the middle point; but for t outside 0.1 .. 0.9 a straight segment,
 * and both errors the distance of the middle point from its line. Tangents count from four points on.
 * Kept: a horizontal or vertical chord is never answered by the straight segment because of its t.
 * Kept: that distance is divided by the approximate length of the chord, 15/16 of the larger part and 15/32 of the
 * smaller, and comes out up to 7 % too large or 5 % too small.
 * Where three points leave no C (the middle one equals an end) the segment is straight, errors 0; three equal points
 * give that point.
 *
 * More points: t_i is at first the length of the polyline up to point i, as a part of all of it (i / (n - 1) when all
 * points are equal). Then in turn P1 and P2 are found for fixed t_i, and every t_i but the first and last is moved by
 * up to 4 steps of Newton's method to the nearest point of the curve, until no t_i moved by 0.001 in a pass, or after
 * 21 passes. The errors are those of the last t_i and the last curve.
 * "Bezier_fit : system without solution" tells that P1 and P2 of a pass have no answer and lie on the ends instead, and
 * "Bezier_fit : divide by 0" that a step of Newton's method had none; the fit goes on.
 * Kept: the passes end long before the fit is the best one. Points of a gentle arch 4 wide come back with an lse of
 * 0.02, those of a strong S 10 wide with 0.5.
 * Kept: nearly singular equations are solved as they are (gaussd, scalar_solvers.h) and throw P1 and P2 far away.
 * NaN or an infinity among four and more points makes lse and max_e NaN, and so do distances between neighbours whose
 * squares overflow, from about 1e154 on.
 *
 * Every sum runs over rising i; same bits on every machine. O(n) a pass.
 * Source: M. Plass, M. Stone, Curve-fitting with piecewise parametric cubics, Computer Graphics 17 (1983), no. 3,
 * pp. 229-239.
 */
TESKA_API int bezier_fit(bezier *curve, int n, const double *xs, const double *ys, unsigned int start_given,
                         double start_tx, double start_ty, unsigned int end_given, double end_tx, double end_ty,
                         double *lse, double *max_e, int verbose) TESKA_NOTHROW;

TESKA_END_C
#endif
