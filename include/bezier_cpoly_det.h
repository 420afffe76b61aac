/* bezier_cpoly_det - the Bezier segment that passes through given points
 *
 *     bezier *b = bezier_new(3, 0.0, 0.0, 0.0, 0.0);
 *     const double xs[] = {0.0, 1.0, 2.0, 3.0}, ys[] = {0.0, 1.0, -1.0, 0.0};
 *     if (bezier_cpoly_det(b, xs, ys))
 *         ...                                            the curve is at (1, 1) at t = 1/3
 */
#ifndef TESKA_BEZIER_CPOLY_DET_H
#define TESKA_BEZIER_CPOLY_DET_H
#include "bezierd_base.h"
TESKA_BEGIN_C

/* bezier_cpoly_det - find the control points for which the curve passes through a point at each t = i / degree.
 *
 *     sum over k of B(degree, k, i / degree) P[k] = (xs[i], ys[i]),   i = 0 .. degree
 *
 * The first and the last point are the end points; the linear system of the others is solved for x and for y.
 *
 * xs, ys  degree + 1 points
 * Returns 1; or 0 with "bezier_cpoly_det: malloc failure", the segment being unchanged.
 * Same bits on every machine.
 * Source: G. Farin, Curves and Surfaces for CAGD, 5th ed., Morgan Kaufmann 2002, chapter 7 (interpolation in Bernstein
 * form); elimination as in scalar_solvers.h.
 */
TESKA_API int bezier_cpoly_det(bezier *b, const double *xs, const double *ys) TESKA_NOTHROW;

TESKA_END_C
#endif
