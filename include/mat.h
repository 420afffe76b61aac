/* mat.h - dense matrices of doubles and the systems they solve
 *
 * A matrix keeps its LU decomposition and its inverse until its elements change: many right-hand sides cost
 * one decomposition.
 *
 *     const double a[] = {2, 1, 4, 3};
 *     mat *m = mat_new(a, 2);
 *     double b[] = {3, 7}, det;
 *     int flag;
 *     mat_solve_set(m, b, &flag);        b = (1, 1), flag 0
 *     mat_det_det(m, &det);              2
 *     mat_kill(m);
 *
 * Common rules
 *   Row-major: element (i, j) of a matrix with c columns is number i * c + j. Indices count from 0.
 *   Handles are not null but in mat_kill; pointers point to as many values as their block says.
 *   Decomposition, solution, determinant and inverse are meant for square matrices. Of others the first
 *   min(rows, columns) columns are taken and the rest of a rows x rows matrix is zero.
 *   An allocation that fails is reported through error_mess_fl (error_mess.h) as
 *   "nr: 1, kind: 0, sys: 12, file: %s, line: %d, info: No resources available" with the place in this library;
 *   the matrix and the values passed are then unchanged, and the call may be tried again.
 *   A singular matrix is no error: it shows in a flag. 0: regular; -1: a row is zero, nothing was computed;
 *   -2: a pivot nearer to 0 than 1e-20 was replaced by +1e-20. The bound is absolute: diag(1e-30, 1) is
 *   singular. NaN and infinite elements give NaN results and no flag.
 *   Kept: in a matrix of fewer columns than rows, a row of nothing but NaN counts as zero.
 *   Every sum is formed from 0.0 in rising index and applied once, so results are the same bits everywhere.
 *   Owns copies of what it is given; keeps no pointer.
 *   Threads: any number may use matrices of their own, and any number may read and solve one matrix at once and
 *   ask for its determinant and its inverse. Whichever call comes first decomposes it while the others wait, and
 *   each gets what it would get if the calls came one after another. The functions under Change, mat_get_col and
 *   mat_kill need the matrix to themselves, and so does mat_invert the inverse that it fills.
 *   Source: Press, Teukolsky, Vetterling, Flannery, Numerical Recipes in C, 2nd ed., Cambridge University
 *   Press 1992, section 2.3 (Crout's method with implicit pivoting); Golub, Van Loan, Matrix Computations,
 *   4th ed., Johns Hopkins University Press 2013, sections 3.2 to 3.4.
 */
#ifndef TESKA_MAT_H
#define TESKA_MAT_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a matrix. */
typedef struct mat mat;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* mat_gen_new - create a matrix.
 *
 * data  rows * cols values, or null: all elements 0
 * Returns the matrix, owned by the caller (mat_kill), or NULL when memory runs out, when rows or cols is below
 * 1, or when the matrix would be larger than the address space.
 */
TESKA_API mat *mat_gen_new(const double *data, int rows, int cols) TESKA_NOTHROW;

/* mat_new - create a square matrix: mat_gen_new(data, n, n). */
TESKA_API mat *mat_new(const double *data, int n) TESKA_NOTHROW;

/* mat_kill - free a matrix, but not its inverse or the matrix it is the inverse of: that one stays valid and
 * is no longer linked to it.
 *
 * m  may be null
 * Returns 0, to be written back into the handle.
 */
TESKA_API int mat_kill(mat *m) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* mat_set_mat - replace all elements by rows * cols values. Returns 0. */
TESKA_API int mat_set_mat(mat *m, const double *values) TESKA_NOTHROW;

/* mat_set_row - replace row i, 0 <= i < rows, by as many values as there are columns. Returns 0. */
TESKA_API int mat_set_row(mat *m, int i, const double *values) TESKA_NOTHROW;

/* mat_set_col - replace column j, 0 <= j < columns, by as many values as there are rows. Returns 0. */
TESKA_API int mat_set_col(mat *m, int j, const double *values) TESKA_NOTHROW;

/* mat_set_element - replace element (i, j) by v; the indices are not checked. Returns 0. */
TESKA_API int mat_set_element(mat *m, int i, int j, double v) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* mat_get_element - element (i, j).
 *
 * err  0, or -1 when i < 0, j < 0, i >= rows or j >= rows; the result is then 0.0
 * Kept: the column is compared with the number of rows. In a matrix of more rows than columns a column that
 * does not exist reads on in the next row, and 0.0 after the last one.
 */
TESKA_API double mat_get_element(const mat *m, int i, int j, int *err) TESKA_NOTHROW;

/* mat_get_row - the elements of row i themselves, not a copy.
 *
 * Returns them, valid until mat_kill, or NULL when there is no such row. Elements changed through the pointer
 * do not renew the decomposition; the functions above do.
 */
TESKA_API double *mat_get_row(mat *m, int i) TESKA_NOTHROW;

/* mat_get_col - a copy of column j.
 *
 * Returns as many values as there are rows, valid until the next call for this matrix, or NULL when there is
 * no such column or memory runs out.
 */
TESKA_API double *mat_get_col(mat *m, int j) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* mat_mulvec - the product of the matrix and a vector.
 *
 *     y[i] = sum over j = 0, 1, .. of a(i, j) * x[j]
 *
 * x  as many values as there are columns
 * y  as many values as there are rows; must not overlap x
 * Returns 0.
 */
TESKA_API int mat_mulvec(const mat *m, const double *x, double *y) TESKA_NOTHROW;

/* mat_ludcmp - decompose the matrix into triangular factors, unless that is done already.
 *
 * flag  0, -1 or -2 as above
 * Returns 0, or -1 when memory runs out. O(n^3).
 *
 * Steps for n rows: each row gets the scale 1 / its largest magnitude. For the columns j from left to right:
 * u(i, j) = a(i, j) - sum over k < i of l(i, k) u(k, j) above the diagonal and likewise, with k < j, on and
 * below it; the pivot is the row of the largest magnitude times scale, the lowest of equals; rows are
 * exchanged whole; a pivot below 1e-20 in magnitude becomes +1e-20; the elements below it are multiplied by the
 * reciprocal of the pivot.
 * Kept: for a matrix that is decomposed already the flag is 0, whatever it was at first.
 */
TESKA_API int mat_ludcmp(mat *m, int *flag) TESKA_NOTHROW;

/* mat_solve_set - solve A x = b in place.
 *
 * b     n values: right-hand side, then solution
 * flag  0, or what the decomposition found if this call had to make it; b is then unchanged
 * Returns 0, or -1 when memory runs out. O(n^2) after the decomposition.
 * Kept: a matrix of flag -2 that is decomposed already is solved with its replaced pivot, and the flag is 0.
 * One of flag -1 is refused every time.
 */
TESKA_API int mat_solve_set(mat *m, double *b, int *flag) TESKA_NOTHROW;

/* mat_det_det - the determinant: the sign of the exchanges times the pivots, from row 0 on.
 *
 * Returns 0, or -1 when memory runs out; det is then unchanged. A matrix with a zero row has 0; one with a
 * replaced pivot has the product with 1e-20 in it.
 */
TESKA_API int mat_det_det(mat *m, double *det) TESKA_NOTHROW;

/* mat_invert - the inverse matrix.
 *
 * flag  0, or what the decomposition found
 * Returns the inverse, or NULL when the matrix is singular or memory runs out. It is one object for the life of
 * the matrix: after a change the next call fills it anew, without one it comes back as it is. The caller
 * frees it (mat_kill) before or after the matrix; an inverse that was freed is made again when asked for.
 * The inverse of the inverse is the matrix, filled anew once the inverse was changed.
 * Kept: only the first call for a matrix refuses a singular one. After a change the columns are solved one by
 * one: the first may be refused and stays a unit column, the others take the replaced pivot, and flag is that
 * of the last. With a zero row all are refused, and the inverse is a unit matrix of flag -1.
 */
TESKA_API mat *mat_invert(mat *m, int *flag) TESKA_NOTHROW;

TESKA_END_C
#endif
