/* grad_tab.h - tone curves, kept in table files or in memory
 *
 * A gradation table is a curve through points, and its inverse, in a range of values lo to hi. Its file (file_double.h)
 * holds the points as vectors of two parts of the range, 0 to 1, each under a name made of its x.
 *
 *     grad_tab *g = grad_tab_new("cyan.rec", 1, 255.0, 0.0);        a new file
 *     const double points[3][2] = {{0, 0}, {128, 150}, {255, 255}};
 *     for (int i = 0; i < 3; ++i)
 *         grad_tab_add_point(g, points[i]);
 *     grad_tab_save(g);
 *     grad_tab_kill(g);
 *     g = grad_tab_new("cyan.rec", 0, 255.0, 0.0);
 *     double line[4096];
 *     grad_tab_do(g, line, 1, line, 1, 4096);                       in place
 *     grad_tab_do_inv(g, line, 1, line, 1, 4096);                   and back
 *
 * Without a file, and with the inverse at once:
 *
 *     g = grad_tab_new_points(&points[0][0], 3, 255.0, 0.0);
 *
 * Common rules
 *   Handles are not null unless a block says so. The curve is a lin_interp_double (interp_double.h): straight between
 *   points, and the first and last line go on outside them. Failures are reported as file_double.h and
 *   interp_double.h say. Threads: any number
 *   may take values through one table at once as long as none does anything else with it.
 *   The file keeps three to four digits: a point of the range 0 to 255 that comes back from it may be off by 0.13.
 */
#ifndef TESKA_GRAD_TAB_H
#define TESKA_GRAD_TAB_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a gradation table. */
typedef struct grad_tab grad_tab;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* grad_tab_new - open or make a gradation table.
 *
 * path,mode  as file_double_new takes them: mode 0 loads the file and the points in it, another makes an empty one
 * hi,lo      ends of the range of values, the upper one first
 * Returns the table, owned by the caller (grad_tab_kill), or NULL when the file cannot be had or memory runs out.
 * Kept: the inverse is made here and only here. That of a new table has no points.
 */
TESKA_API grad_tab *grad_tab_new(const char *path, int mode, double hi, double lo) TESKA_NOTHROW;

/* grad_tab_new_points - make a gradation table in memory, with its inverse and without a file.
 *
 * Points keep all their digits. What is added later is in the curve alone until grad_tab_invert.
 *
 * points  x and y of each in the range of values, finite; may be null when n is 0
 * n       points; two or more make a curve that has values
 * hi,lo   ends of the range of values, the upper one first; for the names of grad_tab_list
 * Returns the table, owned by the caller (grad_tab_kill), or NULL with "grad_tab_new_points: illegal points" for n < 0
 * and for a point that is not finite, and without a line of its own when memory runs out.
 */
TESKA_API grad_tab *grad_tab_new_points(const double *points, int n, double hi, double lo) TESKA_NOTHROW;

/* grad_tab_kill - free a table; what was not saved is lost.
 *
 * g  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API grad_tab *grad_tab_kill(grad_tab *g) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* grad_tab_add_point - add a point to the curve and to the file.
 *
 * point  x and y in the range of values
 * Returns 0; -1 when the curve has no room for the point or the file refuses it, which then stays in the curve
 * alone. A point that is no finite part of the range is refused by the file.
 * Kept: the inverse stays as it is. The name is "p" and the whole number nearest to 100 * (1 - part), halves to even:
 * "p100" for lo and "p0" for hi. A point whose name is there already replaces that one in the file, though both
 * are points of the curve.
 * A table in memory takes any finite point; -1 leaves it as it is.
 */
TESKA_API int grad_tab_add_point(grad_tab *g, const double *point) TESKA_NOTHROW;

/* grad_tab_invert - make the inverse anew, of all points that the curve has now.
 *
 * Returns 0, or -1 when memory runs out, with the lines of lin_interp_double_invert; the inverse is then as it was.
 */
TESKA_API int grad_tab_invert(grad_tab *g) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* grad_tab_list - give the points of the file one by one.
 *
 * cursor  0 at first; on return where the next one is
 * pair    out: x and y in the range of values
 * Returns the name, valid until grad_tab_kill, or NULL at the end and as file_double_list does; pair is then not
 * in the range of values.
 * A table in memory gives the points of its curve by ascending x, with the names they would have in a file, valid until
 * the next grad_tab_list.
 */
TESKA_API const char *grad_tab_list(grad_tab *g, int *cursor, double *pair) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* grad_tab_do, grad_tab_do_inv - take values through the curve or through its inverse.
 *
 *     out[i * out_stride] = curve(in[i * in_stride]),   0 <= i < n
 *
 * in, out                may be the same array with the same stride
 * in_stride, out_stride  in doubles, from value to value; may be 0 or negative
 * n                      less than 1 does nothing
 * Returns 0, or -1 at the first value that has none, with the report of lin_interp_double_inter; those before it
 * are written.
 */
TESKA_API int grad_tab_do(grad_tab *g, const double *in, int in_stride, double *out, int out_stride,
                          int n) TESKA_NOTHROW;
TESKA_API int grad_tab_do_inv(grad_tab *g, const double *in, int in_stride, double *out, int out_stride,
                              int n) TESKA_NOTHROW;

/* grad_tab_save - bring the points to the disk.
 *
 * g  may be null
 * Returns 0, or -1 for null and when that failed: the old file is then still there. A table in memory gives -1 with
 * "grad_tab_save: table without a file".
 */
TESKA_API int grad_tab_save(grad_tab *g) TESKA_NOTHROW;

TESKA_END_C
#endif
