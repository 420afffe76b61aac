/* rdither.h - table for ordered dithering from many levels to few
 *
 * A cell of 4 x 4 pixels shows a level between two output levels by setting some of its pixels to the one and the rest
 * to the other.
 *
 *     rdither *cell = rdither_new(255, 15);                  8-bit samples to 16 levels
 *     for (unsigned x = 0; x < width; x++)
 *         out[x] = (unsigned char)rdither_val(cell, y, x, in[x]);
 *     rdither_kill(cell);
 *
 * Common rules
 *   Input level i, 0 .. n, is x = i m / n output levels. With k the whole number nearest to x (the greater of
 *   two) and f = x - k, the pixel whose entry in the matrix is d gets
 *
 *       k + 1   when d / 16 < f and k < m
 *       k - 1   when -d / 16 > f and k > 0
 *       k       otherwise
 *
 *                    0   8   2  10
 *       matrix      12   4  14   6
 *                    3  11   1   9
 *                   15   7  13   5
 *
 *   Kept: the pixels of small d are the first to leave k in either direction, so that a pixel does not always rise with
 *   the level: where m / n = 1 / 16, entry 0 shows 1 at the levels 1 .. 7 and 0 again at 8 .. 15.
 *   A table is not changed after its creation: several threads may read it at once.
 *   Source of the matrix: B. E. Bayer, An optimum method for two-level rendition of continuous-tone pictures, IEEE
 *   International Conference on Communications 1973, vol. 1, pp. 26-11 to 26-15.
 */
#ifndef TESKA_RDITHER_H
#define TESKA_RDITHER_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a table. */
typedef struct rdither rdither;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* rdither_new - create a table for input levels 0 .. n and output levels 0 .. m.
 *
 * n  highest input level, 1 .. 65535
 * m  highest output level, less than n
 * Returns the table, owned by the caller (rdither_kill), or NULL with
 * "rdither_new: param error"                    n or m is outside its range
 * "rdither_new:unable to create rdither"        no memory for the record
 * "rdither_new: malloc failed"                  no memory for the 16 (n + 1) entries
 */
TESKA_API rdither *rdither_new(unsigned int n, unsigned int m) TESKA_NOTHROW;

/* rdither_kill - free a table.
 *
 * table  may be null
 * Returns 0, to be written back into the handle.
 */
TESKA_API int rdither_kill(rdither *table) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* rdither_val - the output level of a pixel.
 *
 * table  not null
 * a, b   row and column of the pixel; the cell repeats every 4, so that the picture's own will do
 * level  input level, 0 .. n; not checked
 * Returns the output level, 0 .. m.
 */
TESKA_API int rdither_val(const rdither *table, unsigned int a, unsigned int b, unsigned int level) TESKA_NOTHROW;

TESKA_END_C
#endif
