/* interp_double.h - piecewise-linear curves of doubles
 *
 * A curve is a func (func.h) whose x and y are doubles; between two neighbouring points it is the straight
 * line.
 *
 *     lin_interp_double *curve = lin_interp_double_new(16, NULL);
 *     lin_interp_double_insert(curve, 0.0, 0.0);
 *     lin_interp_double_insert(curve, 1.0, 10.0);
 *     double y;
 *     lin_interp_double_inter(curve, 2.0, &y);         20: the last line continues
 *     lin_interp_double_inextp(curve, 2.0, &y);        10: the last value continues
 *     lin_interp_double_kill(curve);
 *
 * Common rules
 *   Indices start at 0. Points are sorted by x, ascending unless another order is given; points of equal x
 *   are all kept, in the order in which they were inserted. A curve holds at most 65535 points.
 *   The position of x is the index of the first point that sorts after it, the count when none does: by the
 *   default order the number of points whose x is not greater. No point sorts after NaN, nor does a NaN point
 *   sort after anything.
 *   Two points are too close to carry a line when their x differ by 1e-20 or less, an absolute distance, or
 *   when the difference is NaN. Only evaluations that need this line fail.
 *   Where a block says nothing else, a null curve gives -1 and the report
 *   "lin_interp_double_getp : Not properly initialized".
 *   Kept: the text names getp in whichever function finds the null curve.
 *   Failures are reported through error_mess_fl (error_mess.h). Threads: any number may
 *   query and evaluate one curve at once as long as none changes it; each gets what it would get alone.
 */
#ifndef TESKA_INTERP_DOUBLE_H
#define TESKA_INTERP_DOUBLE_H
#include "func.h"
TESKA_BEGIN_C

/* The opaque record of a curve. */
typedef struct lin_interp_double lin_interp_double;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* lin_interp_double_new - create a curve without points.
 *
 * ext    points to make room for at first, and again whenever the room is used up; 0 and less mean 10
 * order  order of the x, called with the addresses of two doubles; null: ascending
 * Returns the curve, owned by the caller (lin_interp_double_kill), or NULL with
 * "lin_interp : Cannot create new instance of double interpolator".
 */
TESKA_API lin_interp_double *lin_interp_double_new(int ext, func_order order) TESKA_NOTHROW;

/* lin_interp_double_kill - free a curve and its points.
 *
 * li  may be null
 * Returns 0, to be written back into the handle.
 */
TESKA_API int lin_interp_double_kill(lin_interp_double *li) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* lin_interp_double_insert - add a point at the position of x.
 *
 * Returns 0, or -1 with "list_insert : Unable to extend list, insufficient resources"; the points are then
 * unchanged.
 */
TESKA_API int lin_interp_double_insert(lin_interp_double *li, double x, double y) TESKA_NOTHROW;

/* lin_interp_double_changep - overwrite a point in place.
 *
 * Returns 0, or -1 with "list_changep : index out of bound" when there is no such point.
 * Kept: the point stays where it is, also when its new x belongs elsewhere. Positions asked for later are then
 * those that a binary search finds in the disturbed order.
 */
TESKA_API int lin_interp_double_changep(lin_interp_double *li, int index, double x, double y) TESKA_NOTHROW;

/* lin_interp_double_subst - move the nearest point to (x, y), or add one when none is near.
 *
 * The nearest point is the one of smallest |x_i - x|, the lowest index among equals. When this distance is
 * less than the tolerance, x and y of that point are overwritten; otherwise (equal to the tolerance and NaN
 * as well) the point is inserted.
 *
 * tolerance  in the unit of x; 0 or less always inserts
 * Returns 0, or -1 with "list_insert : Unable to extend list, insufficient resources"; the points are then
 * unchanged. O(n).
 * Kept: the overwritten point stays where it is, also when its new x belongs elsewhere.
 * Kept: 0 for a curve without points, whatever the insertion gave, and for a null curve too; the latter is
 * reported.
 */
TESKA_API int lin_interp_double_subst(lin_interp_double *li, double x, double y, double tolerance) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* lin_interp_double_getp - x and y of a point.
 *
 * x, y  receive the values; untouched on failure
 * Returns 0, or -1 when index is not in 0 .. count - 1.
 * Kept: an index at which there is no point is not reported.
 */
TESKA_API int lin_interp_double_getp(const lin_interp_double *li, int index, double *x, double *y) TESKA_NOTHROW;

/* lin_interp_double_num - number of points; -1 for a null curve, reported. */
TESKA_API int lin_interp_double_num(const lin_interp_double *li) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* lin_interp_double_inter - evaluate; outside the points the first and the last line continue.
 *
 *     i = min(position of x, count - 1);   j = i - 1, or 1 when i is 0
 *     y = y_i + ((x - x_i) * (y_j - y_i)) / (x_j - x_i)
 *
 * in this order of operations. So x on a point uses the line to its right, on the last point the one to its
 * left.
 *
 * y  receives the value, in the unit of the points' y; untouched on failure
 * Returns 0, or -1 with "lin_interp : too little function points" (less than 2 points) or
 * "lin_interp : not a function !!" (points i and j too close). NaN evaluates to NaN on the last line.
 * O(log n).
 */
TESKA_API int lin_interp_double_inter(const lin_interp_double *li, double x, double *y) TESKA_NOTHROW;

/* lin_interp_double_inextp - evaluate; outside the points the first and the last value continue.
 *
 * At a position inside 1 .. count - 1 the line of lin_interp_double_inter; at position 0 the y of the first
 * point, at the count (the last point's x included) the y of the last one.
 *
 * y  receives the value, in the unit of the points' y; untouched on failure
 * Returns 0, or -1 with "lin_interp : too little function points" (less than 2 points) or
 * "lin_interp : not a function !!" (points i and i - 1 too close). NaN evaluates to the last point's y.
 * O(log n).
 * Kept: one point is too few here as well, although its value could continue to both sides.
 */
TESKA_API int lin_interp_double_inextp(const lin_interp_double *li, double x, double *y) TESKA_NOTHROW;

/* lin_interp_double_invert - a new curve with x and y exchanged.
 *
 * The points are inserted in the order of their indices. The curve need not rise or fall throughout: the
 * result holds its points sorted by their old y. Equal y become equal x, which only an evaluation between
 * them notices.
 *
 * li     null gives NULL with the message below
 * order  order of the new x; null: ascending, whatever the order of li
 * Returns the curve, owned by the caller and growing by the ext that li was created with, or NULL with
 * "lin_interp_double : cannot create inverted object", after the line of what failed; li is unchanged.
 */
TESKA_API lin_interp_double *lin_interp_double_invert(const lin_interp_double *li, func_order order) TESKA_NOTHROW;

TESKA_END_C
#endif
