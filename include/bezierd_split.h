/* bezierd_split - two Bezier segments out of one
 *
 *     bezier *first, *second;
 *     if (bezier_subdivide(b, 0.5, &first, &second))
 *         ...
 */
#ifndef TESKA_BEZIERD_SPLIT_H
#define TESKA_BEZIERD_SPLIT_H
#include "bezierd_base.h"
TESKA_BEGIN_C

/* bezier_subdivide - divide a segment of degree 2 or 3 at t; it stays as it is.
 *
 * t              0 .. 1
 * first, second  receive the halves, owned by the caller (bezier_kill), or NULL both
 * Returns 1; or 0 with "Bezier_subdivide: illegal t value", with "Bezier subdivide: unable to create new Bezier" after
 * the message of bezier_new when memory is short, or with "Bezier_subdivide: illegal degree" for degree 4.
 * Kept: the end of the second half is control point 3 of the segment, with degree 2 too. There it is (0, 0), not the
 * end of the curve.
 * Same bits on every machine.
 * Source: P. de Casteljau's repeated interpolation; G. Farin, Curves and Surfaces for CAGD, 5th ed., Morgan Kaufmann
 * 2002, chapter 4; J. D. Foley et al., Computer Graphics: Principles and Practice, 2nd ed., Addison-Wesley 1990,
 * section 11.2.7.
 */
TESKA_API int bezier_subdivide(const bezier *b, double t, bezier **first, bezier **second) TESKA_NOTHROW;

TESKA_END_C
#endif
