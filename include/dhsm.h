/* dhsm.h - minimum of a function of several variables by the downhill simplex method
 *
 *     static double bowl(void *c1, void *c2, const double *x)
 *     {
 *         return (x[0] - 1) * (x[0] - 1) + (x[1] + 2) * (x[1] + 2);
 *     }
 *
 *     dhsm *d = dhsm_new(bowl, NULL, 2);
 *     double x[] = {0, 0}, least;
 *     int result = dhsm_solve(d, NULL, NULL, 1e-6, x, 0, &least);     0, x near (1, -2)
 *     dhsm_kill(d);
 *
 * No derivatives are needed: a simplex of n + 1 points is moved by reflecting, stretching and shrinking it. Each
 * point is computed coordinate by coordinate in the stated formula and the sums run over rising index, so a
 * function that gives the same bits everywhere is searched along the same points everywhere.
 *
 * Common rules
 *   Handles are not null but in dhsm_kill. Contexts are the caller's and are handed on as they are.
 *   Function and convergence test are called from inside dhsm_solve; they must neither kill nor use the record,
 *   but may search with another one. A record is used by one thread at a time; any number of threads may search
 *   with records of their own. NaN is lower than nothing: a function of NaN values makes the simplex shrink until
 *   the size alone tells convergence.
 *   Source: Nelder, Mead, A simplex method for function minimization, The Computer Journal 7 (1965), pp. 308-313.
 */
#ifndef TESKA_DHSM_H
#define TESKA_DHSM_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a search. */
typedef struct dhsm dhsm;

/* dhsm_function - the function to be minimised, at the n coordinates of x. */
typedef double (*dhsm_function)(void *context1, void *context2, const double *x);

/* dhsm_conv_test - a measure of how far the search is from its end, asked for once in every step.
 *
 * worst,best  indices of the points of highest and lowest value, 0 to n
 * Returns a value below the tolerance to end the search.
 */
typedef double (*dhsm_conv_test)(dhsm *d, void *context1, void *context2, int worst, int best);

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* dhsm_new - create a search.
 *
 * function   not null
 * conv_test  null: the built-in test. Its measure is the distance d between the worst and the best point as
 *            long as that is above the tolerance. Then the function is tried around the best point, with one
 *            coordinate after the other raised and lowered by 0.005 of itself (by 0.005 of the largest magnitude
 *            of a coordinate if its own is below 1e-20); if a value is lower than the best, the measure is
 *            tolerance + d, else d.
 * n          variables, at least 1
 * Returns the search, owned by the caller (dhsm_kill), or NULL with
 * "nr: 1, kind: 0, sys: 12, file: %s, line: %d, info: No resources available" and the place in this library, for a
 * null function, n below 1 and when memory runs out.
 */
TESKA_API dhsm *dhsm_new(dhsm_function function, dhsm_conv_test conv_test, int n) TESKA_NOTHROW;

/* dhsm_kill - free a search.
 *
 * d  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API dhsm *dhsm_kill(dhsm *d) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* dhsm_init - set up the simplex for the next dhsm_solve.
 *
 * Point 0 is x0; point i is x0 with coordinate i - 1 raised by its step. Where that lies above an upper bound the
 * coordinate is lowered instead: to x0 - 0.1 * (x0 - lower) with a lower bound, else to x0 - 2 * step.
 *
 * lower_given,upper_given  n flags that tell which bounds there are; null: none. Without lower_given no upper
 *                          bound counts either.
 * lower,upper              n bounds; read only where their flags are set
 * step,x0                  n values each
 * Returns 0.
 * Kept: the bounds shape the first simplex only. A start on its lower bound is lowered by nothing.
 */
TESKA_API int dhsm_init(dhsm *d, const int *lower_given, const int *upper_given, const double *lower,
                        const double *upper, const double *step, const double *x0) TESKA_NOTHROW;

/* dhsm_solve - search for a minimum.
 *
 * tolerance  bound of the convergence measure, in the unit of x for the built-in test; 0: 1e-7. A measure equal
 *            to it is not below it; a negative one is never reached.
 * x          in: n coordinates to start from; out: the best point found. After dhsm_init only written; otherwise
 *            the first simplex is x with each coordinate raised by 0.1 * (largest - smallest coordinate), or by
 *            0.1 when that is 0.
 * max_iter   steps after which the search is given up: it ends before step max_iter + 2; 0: 1000; negative: no step
 * f_min      out: the value at x
 * Returns 0 when the measure fell below the tolerance, -1 when the steps were used up.
 *
 * One step, with b, s and w the best, second worst and worst point and c the mean of all points but w:
 *     r = 2 c - w.  f(r) <= f(b): e = c + 2 (r - c), and r or e replaces w, r if f(r) <= f(e).
 *     f(r) < f(s): r replaces w.
 *     Else r replaces w if f(r) < f(w), and then k = c + 0.5 (w - c) replaces it if f(k) < f(w).
 *     Else all points but b move to b + 0.5 (v - b).
 * Of equal best values the last counts, of equal worst the first. A start needs n + 1 values, a step 1 or 2, or n
 * more when it shrinks; the built-in test at most 2 n.
 * Every solve starts anew unless dhsm_init was called since the last one.
 */
TESKA_API int dhsm_solve(dhsm *d, void *context1, void *context2, double tolerance, double *x, int max_iter,
                         double *f_min) TESKA_NOTHROW;

TESKA_END_C
#endif
