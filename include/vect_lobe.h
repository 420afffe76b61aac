/* vect_lobe.h - lobes: bells over ellipsoids, for selective corrections; vectors of length 1
 *
 * A lobe is a bell over an ellipsoid of n dimensions around a centre, long or short along one axis. In a space of
 * colours it is the region of a selective correction: the centre at the middle chroma of a hue, the axis along the
 * hue's direction, the radius along it the range of chroma, the radius across it the width of the hue. Outside it is
 * exactly 0, so that what is not meant stays untouched, bit for bit.
 *
 *     const double orange[] = {60, 60, 40}, hue[] = {0, 60, 40}, redder[] = {0, 6, -6};
 *     vect_lobe *lobe = vect_lobe_new(3, orange, hue, 60, 25);
 *     if (vect_lobe_limit(lobe, redder) > 1)                       the correction folds nothing
 *         for (i = 0; i < colours; ++i)
 *             vect_lobe_stretch(lobe, redder, lab + 3 * i, lab + 3 * i);
 *     vect_lobe_kill(lobe);
 *
 * The formulas
 *   With the centre c, the axis a of length 1, e = x - c and p = a . e
 *
 *       r^2 = p^2 / along^2 + |e - p a|^2 / across^2
 *       w(x) = (1 - r^2)^3 for r < 1, else 0                       1 at the centre, 0.421875 at r = 1/2
 *       gradient of w = -6 (1 - r^2)^2 (p a / along^2 + (e - p a) / across^2)
 *
 *   w is twice continuously differentiable everywhere.
 *
 * What does not fold
 *   x + w(x) shift maps every line along the shift into itself. The steepest slope of (1 - r^2)^3 is
 *   96 / (25 sqrt 5) = 1.7173..., at r = 1 / sqrt 5, so the map is monotone on all these lines exactly when
 *
 *       |shift|_A < 25 sqrt(5) / 96 = 0.5823093691405702
 *       |shift|_A = sqrt((a . shift)^2 / along^2 + |shift - (a . shift) a|^2 / across^2)
 *
 *   x + w(x) (factor - 1) (x - c) maps every ray from the centre into itself, r to r (1 + (factor - 1) (1 - r^2)^3),
 *   which is monotone exactly for 0 < factor < 81/32 = 2.53125; its derivative is least at r^2 = 3/7, and
 *   1 - (factor - 1) 32/49 there. Within these bounds both maps are one to one onto the whole space, and take the
 *   ellipsoid onto itself. Several lobes one after another stay one to one; a sum of their shifts need not.
 *
 * Common rules
 *   Pointers are not null unless a block says so, and point to n values, n the dimension of the lobe.
 *   Sums are formed from 0.0 in rising index. Only + - * / and square roots are taken: results are the same bits
 *   everywhere. A lobe does not change: any number of threads may use it at once. Nothing but vect_lobe_new allocates.
 *   Every function is O(n).
 */
#ifndef TESKA_VECT_LOBE_H
#define TESKA_VECT_LOBE_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a lobe. */
typedef struct vect_lobe vect_lobe;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* vect_lobe_new - create a lobe.
 *
 * n       dimensions, 1 .. 64
 * centre  n finite values; copied
 * axis    n finite values, not all 0, of any length; copied. Null: the lobe is a ball, and along must equal across
 * along   radius along the axis, above 0. HUGE_VAL: no limit that way, a tube along the axis
 * across  radius across it, above 0. HUGE_VAL: a slab across the axis. With n = 1 there is nothing across: the radius
 *         does not matter, but must be legal
 * Not both ways may be without a limit, since such a lobe would be 1 everywhere; with n = 1 this goes for along alone.
 * Returns the lobe, owned by the caller (vect_lobe_kill), or NULL with the first of these that applies:
 *     "vect_lobe_new: illegal dimension"
 *     "vect_lobe_new: illegal centre"
 *     "vect_lobe_new: illegal axis"
 *     "vect_lobe_new: illegal radius"
 *     "vect_lobe_new: malloc failure"
 */
TESKA_API vect_lobe *vect_lobe_new(int n, const double *centre, const double *axis, double along,
                                   double across) TESKA_NOTHROW;

/* vect_lobe_kill - free a lobe.
 *
 * lobe  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API vect_lobe *vect_lobe_kill(vect_lobe *lobe) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* vect_lobe_weight - w(x).
 *
 * x  n values
 * Returns 0 .. 1; NaN when x has a NaN. An infinite x gives 0, or NaN when the radius that way is HUGE_VAL.
 */
TESKA_API double vect_lobe_weight(const vect_lobe *lobe, const double *x) TESKA_NOTHROW;

/* vect_lobe_gradient - the gradient of w at x.
 *
 * x         n values
 * gradient  receives n values, zeros outside; NaN where the weight is NaN. May be x
 * Returns 0. Cannot fail.
 */
TESKA_API int vect_lobe_gradient(const vect_lobe *lobe, const double *x, double *gradient) TESKA_NOTHROW;

/* vect_lobe_limit - the largest multiple of a shift that does not fold: 0.5823093691405702 / |shift|_A.
 *
 * shift  n finite values; it is safe itself when the limit is above 1
 * Returns the limit; HUGE_VAL when there is none: for no shift at all, or one along a direction without a limit. A
 * shift that is not finite gives NaN. Neither overflow nor underflow of squares disturbs it.
 */
TESKA_API double vect_lobe_limit(const vect_lobe *lobe, const double *shift) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* vect_lobe_stretch - move a point: out = x + w(x) shift.
 *
 * x      n values
 * shift  n finite values. Its limit is not checked: beyond it the map folds, which a caller may want
 * out    receives n values; may be x
 * Returns 1 when x lies in the lobe, r < 1; 0 when not, and out is then x bit for bit, whatever x holds; -1 with
 * "vect_lobe_stretch: illegal shift" when that is not finite, and out is then untouched.
 */
TESKA_API int vect_lobe_stretch(const vect_lobe *lobe, const double *shift, const double *x, double *out) TESKA_NOTHROW;

/* vect_lobe_stretch_rel - move a point away from the centre, or towards it: out = x + w(x) (factor - 1) (x - centre).
 *
 * factor  finite: 1 moves nothing, below 1 towards the centre. Not checked otherwise: outside 0 .. 2.53125 the
 *         map folds
 * x       n values
 * out     receives n values; may be x
 * Returns as vect_lobe_stretch, -1 with "vect_lobe_stretch_rel: illegal factor".
 */
TESKA_API int vect_lobe_stretch_rel(const vect_lobe *lobe, double factor, const double *x, double *out) TESKA_NOTHROW;

/* ---- Vectors ----------------------------------------------------------------------------------------------------- */

/* vect_normalise - divide a vector by its length.
 *
 * v  n values. Scaled first by a power of two, so that no finite vector overflows or underflows
 * Returns the former length, which may overflow to HUGE_VAL; v is right even then. The vector's length afterwards is 1
 * within 2 units in the last place for n <= 64.
 * A vector of zeros, or n < 1, gives 0.0; one with a NaN NaN, one with an infinity and no NaN HUGE_VAL. These are
 * left untouched.
 */
TESKA_API double vect_normalise(double *v, int n) TESKA_NOTHROW;

TESKA_END_C
#endif
