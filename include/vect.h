/* vect.h - vectors of doubles, positions in sorted arrays, subsets
 *
 *     double v[] = {3, 1, 0, 0, 0, 1, 0}, normal[3];
 *     vect_vector_product(v, normal);                      (-1e-20, -1e-20, 1)
 *     int a[] = {1, 3, 5, 7, 0}, index = 5;
 *     vect_insert_in_array(a, 4, &index);                  a = (1, 3, 4, 5, 7), index = 2
 *
 * Common rules
 *   Pointers are not null and point to as many values as their block says. Sums are formed from 0.0 in rising
 *   index, so results are the same bits everywhere; NaN and infinity go through them as IEEE 754 says.
 *   Nothing is kept and nothing allocated but in vect_vector_product. Any number of threads may call them at once.
 */
#ifndef TESKA_VECT_H
#define TESKA_VECT_H
#include "teska_api.h"
TESKA_BEGIN_C

/* ---- Vectors ----------------------------------------------------------------------------------------------------- */

/* vect_Min, vect_Max - the smallest and the largest of the n values v.
 *
 * Returns the first of equals (which matters for -0.0 and 0.0); 0.0 for n = 0. NaN never replaces another
 * value, and a NaN that comes first stays.
 */
TESKA_API double vect_Min(const double *v, unsigned int n) TESKA_NOTHROW;
TESKA_API double vect_Max(const double *v, unsigned int n) TESKA_NOTHROW;

/* vect_calc_norm - sqrt(sum of v[i]^2); 0.0 for n < 1. */
TESKA_API double vect_calc_norm(const double *v, int n) TESKA_NOTHROW;

/* vect_scalar_product - sum of a[i] * b[i]; 0.0 for n < 1. */
TESKA_API double vect_scalar_product(const double *a, const double *b, int n) TESKA_NOTHROW;

/* vect_square_distance - sum of (b[i] - a[i])^2; 0.0 for n < 1. */
TESKA_API double vect_square_distance(const double *a, const double *b, int n) TESKA_NOTHROW;

/* vect_distance - sqrt(vect_square_distance(a, b, n)). */
TESKA_API double vect_distance(const double *a, const double *b, int n) TESKA_NOTHROW;

/* vect_vector_product - the vector at right angles to n - 1 vectors of n components.
 *
 *     out[i] = determinant of the matrix with rows e_i, v_1, .. v_(n-1)     (mat_det_det of mat.h)
 *
 * For n = 3 this is the cross product of the two vectors.
 *
 * in   in[0] holds n, 1 to 4096, of which the fraction is cut off; the n - 1 vectors follow, one after another
 * out  n values; must not overlap in
 * Returns 0, or -1 for another n, or when memory runs out, with the report of mat.h; out is then untouched.
 * Kept: a component that should be 0 may come out as a product with 1e-20, the pivot that replaces 0.
 */
TESKA_API int vect_vector_product(const double *in, double *out) TESKA_NOTHROW;

/* ---- Positions in sorted arrays ---------------------------------------------------------------------------------- */

/* vect_locate_in_sh_array, vect_locate_in_array, vect_locate_in_double_array - where x belongs.
 *
 * a    n values in ascending order; unread for n = 0
 * pos  the first index whose value is not less than x, n when there is none. NaN gives n - 1.
 * Returns 0. O(log n).
 * Kept: as a short, an index beyond 32767 comes out negative.
 */
TESKA_API int vect_locate_in_sh_array(const short *a, short x, unsigned short n, short *pos) TESKA_NOTHROW;
TESKA_API int vect_locate_in_array(const int *a, int x, unsigned int n, unsigned int *pos) TESKA_NOTHROW;
TESKA_API int vect_locate_in_double_array(const double *a, double x, unsigned int n, unsigned int *pos) TESKA_NOTHROW;

/* vect_insert_in_sh_array, vect_insert_in_array - put x where it belongs, before its equals.
 *
 * a          *count_pos - 1 values in ascending order, with room for one more
 * count_pos  in: number of values with the new one, less than 1 means 1, at most 32768 for shorts;
 *            out: index of the new one
 * Returns 0. O(n).
 */
TESKA_API int vect_insert_in_sh_array(short *a, short x, int *count_pos) TESKA_NOTHROW;
TESKA_API int vect_insert_in_array(int *a, int x, int *count_pos) TESKA_NOTHROW;

/* vect_shift_right_0 - move values to the right and fill up with 0.
 *
 * a  the values
 * n  how many there are
 * k  distance: a[i] = a[i - k] for i >= k, and 0 before them; nothing for k < 1, all 0 for k >= n
 * Returns 0.
 */
TESKA_API int vect_shift_right_0(int *a, unsigned int n, int k) TESKA_NOTHROW;

/* ---- Subsets ----------------------------------------------------------------------------------------------------- */

/* vect_next_point_selection - the subsets of m out of n elements, one after another.
 *
 *     for (r = vect_next_point_selection(2, 4, 1, s, mask); r == 0; r = vect_next_point_selection(2, 4, 0, s, mask))
 *         s = {0,1}, {0,2}, {0,3}, {1,2}, {1,3}, {2,3}
 *
 * first      not 0 for the first subset, 0 for the one that follows the mask
 * selection  m indices in ascending order
 * mask       n values, 1 for the elements of the subset and 0 for the others; kept from call to call by the caller
 * Returns 0, or -2 when there is no further subset; the mask is then all 0, the selection untouched, and a
 * further call gives -2 again. Also -2, with nothing written, for m < 0, m > n or n < 0.
 */
TESKA_API int vect_next_point_selection(int m, int n, unsigned int first, int *selection, int *mask) TESKA_NOTHROW;

TESKA_END_C
#endif
