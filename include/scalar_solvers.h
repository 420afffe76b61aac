/* scalar_solvers.h - small equations, the least value of a function, the angle of a vector
 *
 *     double a[4] = {2, 1, 1, 3}, b[2] = {3, 5};
 *     if (gaussd(a, b, 2))
 *         ...                                            b holds x = 0.8, y = 1.4
 *     double where = gsect_min(0.0, 1.0, 5.0, 1e-6, cost, &least);
 *
 * Common rules
 *   The result carries the failure; nothing is reported, allocated or kept. Any number of threads may call them at
 *   once. NaN and infinities pass through; no function fails to return because of them.
 *   gaussd, fthird_order_eq and gsect_min (as far as its function does) give the same bits on every machine.
 */
#ifndef TESKA_SCALAR_SOLVERS_H
#define TESKA_SCALAR_SOLVERS_H
#include "teska_api.h"
TESKA_BEGIN_C

/* A function of one variable x. Must not throw. */
typedef double (*gsect_function)(double x);

/* gaussd - solve n linear equations by elimination.
 *
 * a  n * n coefficients, row by row; destroyed
 * b  n values; in: the right-hand sides, out: the solution
 * n  number of equations; below 1 there is nothing to solve
 * Returns 1; or 0 when a pivot is 0 and no row below has another, or n is below 1. b is then of no use.
 * O(n^3). Of each row the sum of the products with the known unknowns is formed first, from the left, and then
 * subtracted once.
 * Kept: rows are exchanged only when the pivot is exactly 0, with one row below after the other; a small pivot is used
 * as it is, and {1e-20, 1, 1, 1} with (1, 2) gives (0, 1) instead of nearly (1, 1).
 * Source: G. H. Golub, C. F. Van Loan, Matrix Computations, 3rd ed., Johns Hopkins University Press 1996, sections 3.1
 * and 3.2.
 */
TESKA_API int gaussd(double *a, double *b, int n) TESKA_NOTHROW;

/* fthird_order_eq - one root of c[0] + c[1] t + c[2] t^2 + c[3] t^3 by Newton's method, from the middle of lo .. hi.
 *
 * c       4 coefficients
 * root    out, on success only
 * lo, hi  where to search
 * tol     a last step of at most this size ends the search
 * Returns 1; or 0 when the derivative is 0 at one of the points, a step leads below lo or is greater than hi, or 20
 * steps do not suffice.
 * Kept: it is the step, not the point, that is compared with hi. A root above hi is found (t - 2 on 0 .. 1 gives 2),
 * and one inside can be refused (t + 9 on -10 .. 0.5).
 * Source: W. H. Press et al., Numerical Recipes in C, 2nd ed., Cambridge University Press 1992, section 9.4.
 */
TESKA_API int fthird_order_eq(const double *c, double *root, double lo, double hi, double tol) TESKA_NOTHROW;

/* gsect_min - a minimum of a function by golden section.
 *
 * ax, bx, cx  bx lies between ax and cx, and f(bx) is below f(ax) and f(cx); otherwise some point between ax and cx
 *             comes out
 * tol         width, in x, of the last interval. A minimum is not known better than to about 1e-8 of x. Less than the
 *             spacing of the numbers there ends when nothing moves any more, at the latest after 5000 rounds.
 * f           called once a round and twice before
 * f_min       out: the value at the result
 * Returns the abscissa of the least of the values that are left.
 * Each round narrows the interval to 0.618 of its width. Of equal values the left one is followed.
 * Source: J. Kiefer, Sequential minimax search for a maximum, Proceedings of the American Mathematical Society 4
 * (1953), pp. 502-506; W. H. Press et al., Numerical Recipes in C, section 10.1.
 */
TESKA_API double gsect_min(double ax, double bx, double cx, double tol, gsect_function f, double *f_min) TESKA_NOTHROW;

/* real_atan2PI - the angle of the vector (x, y) in radians, 0 and above, below 2 pi.
 *
 * err  out: 0, or -1 when x is 0 and y is at most 0.001 either way
 * Returns the angle, 0 with err -1.
 * Kept: the multiples of pi are 3.1415926535, 6.283185307 and 1.57079632675, cut after these digits.
 * Agrees between machines to 1e-12.
 */
TESKA_API double real_atan2PI(double x, double y, int *err) TESKA_NOTHROW;

/* real_atan - the angle of the vector (x, y) in degrees: real_atan2PI times 180, divided by 3.1415926535. */
TESKA_API double real_atan(double x, double y, int *err) TESKA_NOTHROW;

TESKA_END_C
#endif
