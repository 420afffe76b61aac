/* bezierd_base - a planar Bezier segment of degree 2, 3 or 4: control points, points on it, where it meets a line
 *
 *     bezier *tone = bezier_new(3, 0.0, 0.0, 1.0, 1.0);
 *     bezier_set_controlp(tone, 0, 0.4, 0.0);
 *     bezier_set_controlp(tone, 1, 0.6, 1.0);
 *     double y[3];
 *     if (bezier_get_y(tone, 0.5, y) == 1)
 *         ...                                            y[0] is 0.5
 *     bezier_kill(tone);
 *
 * The curve runs from control point 0 at t = 0 to control point `degree` at t = 1. Those between are the inner control
 * points; inner control point i is control point i + 1.
 *
 * Common rules
 *   Except where a block says so, a segment must not be null. Any doubles are accepted as coordinates; what is
 *   calculated from infinities or not-a-numbers is of no use, but calculated it is.
 *   Segments come from one pool of records, which is made for the first of them and stays for the life of the process.
 *   Threads: any number may use segments of their own, and any number may query and evaluate one segment at once as
 *   long as none changes it; each gets what it would get alone. A segment may be killed by another thread than its
 *   creator.
 *   Failures are reported through error_mess_fl (error_mess.h).
 *   Source: G. Farin, Curves and Surfaces for CAGD, 5th ed., Morgan Kaufmann 2002, chapters 4 and 5.
 */
#ifndef TESKA_BEZIERD_BASE_H
#define TESKA_BEZIERD_BASE_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a segment. */
typedef struct bezier bezier;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* bezier_new - create a segment with both end points; its inner control points are (0, 0).
 *
 * degree  2, 3 or 4
 * x0, y0  where it starts
 * xn, yn  where it ends
 * Returns the segment, owned by the caller (bezier_kill), or NULL with "Bezier_new : illegal degree" or
 * "Bezier_new : allocation of Bezier failed".
 */
TESKA_API bezier *bezier_new(int degree, double x0, double y0, double xn, double yn) TESKA_NOTHROW;

/* bezier_kill - give a segment back to the pool; may be null. Returns 1. */
TESKA_API int bezier_kill(bezier *b) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* bezier_set_control_poly - set all control points.
 *
 * xs, ys  degree + 1 values each
 * Returns 1.
 */
TESKA_API int bezier_set_control_poly(bezier *b, const double *xs, const double *ys) TESKA_NOTHROW;

/* bezier_set_endp - move an end point.
 *
 * With degree 3 and 4 the inner control point beside it moves by the same offset, so that the tangent there keeps its
 * direction and length; with degree 2 the inner control point stays.
 *
 * which  0: the start, 1: the end
 * x, y   where it goes
 * Returns 1, or 0 with "Bezier_set_endp : illegal index".
 */
TESKA_API int bezier_set_endp(bezier *b, int which, double x, double y) TESKA_NOTHROW;

/* bezier_set_controlp - set inner control point i, 0 .. degree - 2.
 *
 * x, y  where it goes
 * Returns 1, or 0 with "Bezier_set_controlp : illegal ind".
 */
TESKA_API int bezier_set_controlp(bezier *b, int i, double x, double y) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* bezier_get_control_poly - all control points.
 *
 * xs, ys  room for degree + 1 values each
 * Returns 1.
 */
TESKA_API int bezier_get_control_poly(const bezier *b, double *xs, double *ys) TESKA_NOTHROW;

/* bezier_get_endp - an end point. Returns 1, or 0 with "Bezier_get_endp : illegal index"; x and y are then
 * untouched. */
TESKA_API int bezier_get_endp(const bezier *b, int which, double *x, double *y) TESKA_NOTHROW;

/* bezier_get_controlp - inner control point i. Returns 1, or 0 with "Bezier_get_controlp : illegal ind"; x and y are
 * then untouched. */
TESKA_API int bezier_get_controlp(const bezier *b, int i, double *x, double *y) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* bezier_get - the point at t, by Horner's rule on the power-basis coefficients.
 *
 * t     not limited to 0 .. 1: outside, the polynomials go on
 * x, y  out: the point
 * Returns 1.
 * Same bits on every machine. At t = 1 rounding may differ from the end point in the last digits.
 */
TESKA_API int bezier_get(bezier *b, double t, double *x, double *y) TESKA_NOTHROW;

/* bezier_get_y - the y values where the curve has the given x.
 *
 *     x(t) = x,  -eps < t < 1 + eps,   eps = 1.1920928955078125e-5
 *
 * Highest coefficients of x(t) below eps are left out first. What is left is solved in closed form.
 *
 * ys  room for 3 values, in the order of the roots: of a quadratic, that with the positive root first, and of a cubic
 *     with three, those of cos(phi / 3 - 2 pi k / 3) for k = 0, 1, 2
 * Returns the number of values written, 0 .. 3. A root that counts twice or three times is written as often.
 * Returns 0 with "Bezier_get_y : invalid degree " when x(t) is constant, and with
 * "Bezier_get_y : Sorry no support for higher order (>3)" when it is of degree 4.
 * Kept: where a quadratic x(t) only touches x, nothing is found.
 * Kept: eps is a length in the unit of x too: a curve less than about 1e-5 wide is taken for a constant.
 * Agrees between machines to 1e-12 of the values, as far as roots are simple: it goes through cbrt, acos and cos.
 * Where the coefficient of t^3 is below a thousandth of that of t^2, the closed form loses digits; below a
 * ten-thousandth it may give values off by more than 1e-9, or miss some.
 * Source: W. H. Press et al., Numerical Recipes in C, 2nd ed., Cambridge University Press 1992, section 5.6, equations
 * 5.6.10 to 5.6.18.
 */
TESKA_API int bezier_get_y(bezier *b, double x, double *ys) TESKA_NOTHROW;

/* bezier_get_x - bezier_get_y with x and y exchanged.
 *
 * xs  room for 3 values
 * For degree 4 the message is "Bezier_get_x : Sorry no support for higher order (>3)".
 * Kept: a constant y(t) is reported as "Bezier_get_y : invalid degree ".
 */
TESKA_API int bezier_get_x(bezier *b, double y, double *xs) TESKA_NOTHROW;

/* bezier_fget_y - bezier_get_y for degree 4 too, searching t from -0.5 to 1.5.
 *
 * ys  room for 4 values; of a quartic in the order of t, a multiple root once
 * Returns the number of values written, 0 .. 4, or 0 with "Bezier_get_y : invalid degree ".
 * Kept: of a cubic x(t) it finds one root at most, that to which fthird_order_eq (scalar_solvers.h) comes from t = 0.5;
 * none when the slope is 0 there or the root is flat.
 * Same bits on every machine.
 * Source of the quartic: Numerical Recipes in C, section 9.1 (bisection, between the extremes of the polynomial).
 */
TESKA_API int bezier_fget_y(bezier *b, double x, double *ys) TESKA_NOTHROW;

/* bezier_fget_x - bezier_fget_y with x and y exchanged.
 *
 * xs  room for 4 values
 */
TESKA_API int bezier_fget_x(bezier *b, double y, double *xs) TESKA_NOTHROW;

TESKA_END_C
#endif
