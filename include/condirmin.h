/* condirmin.h - minimum of a function of several variables by conjugate directions
 *
 *     static double bowl(void *c1, void *c2, const double *x)
 *     {
 *         return (x[0] - 1) * (x[0] - 1) + 10 * (x[1] + 2) * (x[1] + 2);
 *     }
 *
 *     double x[] = {0, 0}, least;
 *     int passes;
 *     teska_warn_level(1);                                                    no trace
 *     int found = condirmin(x, 2, 1e-8, &passes, &least, bowl, NULL, NULL);   1, x near (1, -2)
 *
 * No derivatives are needed: the function is minimised along one direction after the other, and directions are
 * replaced by where a whole pass has led.
 *
 * Common rules
 *   Pointers are not null. Contexts are the caller's and are handed on as they are. Any number of threads may search
 *   at once, also under the same restrictions, and the function may start a search of its own. The absolute stop is
 *   one for the whole process: it is set while no other thread searches.
 *   Each pass and each line is traced through teska_warn (error_mess.h) at level 1, as "condirmin: iter= %d\n" and
 *   "  dir %d -> meddE = %lf\n". Kept: the texts end in a line feed and the warning adds another; with the
 *   initial threshold 0 every search prints.
 *   Messages go through error_mess_fl (error_mess.h): "condirmin: malloc failed", "linmin: malloc failed",
 *   "condirmin: maxiter" and "brent: too many iter".
 *   Values are computed in the order stated, so a function that gives the same bits everywhere is searched along
 *   the same points everywhere.
 *   Source: Brent, Algorithms for Minimization without Derivatives, Prentice-Hall 1973, chapters 5 and 7; Powell, An
 *   efficient method for finding the minimum of a function of several variables without calculating
 *   derivatives, The Computer Journal 7 (1964), pp. 155-162.
 */
#ifndef TESKA_CONDIRMIN_H
#define TESKA_CONDIRMIN_H
#include "restriction.h"
TESKA_BEGIN_C

/* condirmin_function - the function to be minimised, at the coordinates of x. */
typedef double (*condirmin_function)(void *context1, void *context2, const double *x);

/* condirmin_set_abs_tol - stop searches as soon as a value is small enough.
 *
 * enable     0: searches run until they converge, as at first
 * value      a search ends when the magnitude of a function value is below it; not asked while a minimum is bracketed
 * old_value  out: the value until now, 0.0 at first; may be null
 * Returns the flag until now.
 */
TESKA_API int condirmin_set_abs_tol(int enable, double value, double *old_value) TESKA_NOTHROW;

/* condirmin - search for a minimum.
 *
 * x      in: n coordinates to start from; out: the best point found
 * n      variables; 0 evaluates once and converges; negative fails with "condirmin: malloc failed"
 * ftol   a pass from value p to value f converges when 2 |p - f| <= ftol (|p| + |f|), or when |p| <= 1 and
 *        |p - f| <= ftol
 * iter   out: passes made; untouched when the absolute stop ends the search at the start
 * f_min  out: the value at x
 * Returns 1 when the search converged or the absolute stop ended it; 0 with "condirmin: malloc failed", x
 * unchanged, or after 200 passes with "condirmin: maxiter", x the last point.
 *
 * A pass minimises along every direction, at first the axes. Then, with s the point before the pass, d = x - s, p
 * and f the values before and after it, g = f(2 x - s), and m the largest decrease along one direction: if g < p
 * and 2 (p - 2 f + g) (p - g)^2 < m (p - g)^2, the function is minimised along d too, and d, scaled to the
 * step that was made, replaces that direction.
 * Kept: both squares are of p - g.
 *
 * Along a line the minimum is bracketed from 0 and 1 by steps that grow by 1.618034, with parabolas limited to
 * 100 steps, and then closed in by parabolas and golden sections of 0.381966 to within 2e-4 of its abscissa plus
 * 1e-10, in 200 steps at most ("brent: too many iter"; the best point counts). Without memory for a line of that
 * many variables the point stays ("linmin: malloc failed").
 * Kept: along a line on which the function is constant the point moves nevertheless.
 */
TESKA_API int condirmin(double *x, int n, double ftol, int *iter, double *f_min, condirmin_function function,
                        void *context1, void *context2) TESKA_NOTHROW;

/* condirmin_restr - search for a minimum under linear restrictions (restriction.h).
 *
 * x        in: the n free variables of current to start from; out: those of the best point found
 * base     the problem
 * limits   whose inequalities must hold; null: those of base
 * current  in whose free variables the search runs; null: base
 * Others as in condirmin; the function is given full points.
 * Returns 1 when the search converged, 0 otherwise, as condirmin does; also 0, with x unchanged, when n is not
 * the number of free variables or when the start violates an inequality by more than 1e-9 * (1 + |b|).
 *
 * A line that leads out of what is allowed is followed to the first inequality that it violates. From there on that
 * holds as an equality: the search goes on in one variable less, and its result is the result. n = 0
 * converges without an evaluation. The function is also asked for points outside, along a line that leads there; no
 * line is followed farther than 1e100 times its direction.
 * Kept: an inequality that was met once is never left again. The result is the least point of those where the
 * inequalities met hold as equalities; where several stop the search, others may allow a lower one.
 */
TESKA_API int condirmin_restr(double *x, int n, double ftol, restriction *base, restriction *limits,
                              restriction *current, condirmin_function function, void *context1,
                              void *context2) TESKA_NOTHROW;

TESKA_END_C
#endif
