/* clut_table.h - the class CLUT for C and for other languages: tables of floats over the unit cube, with an owner
 *
 *     const int points[3] = {17, 17, 17};
 *     clut_table *table = clut_table_new(3, points, 4, NULL);
 *     float *values = clut_table_dataptr(table, NULL);
 *     ...                                                   four inks at each grid point
 *     clut_table_interp(table, in, 3, out, 4, count);
 *     table = clut_table_kill(table);
 *
 * Common rules
 *   Order of the values, clamping and every bit of the results are those of clut.h. Other than an object of the class,
 *   a table gives back its memory.
 *   Inputs, outputs, grid points and points count from 0. Steps are in doubles.
 *   Failures of creation are reported through error_mess_fl (error_mess.h); all other functions cannot fail.
 *   Any number of threads may evaluate one table at once. No thread may write to its values meanwhile, or kill it.
 */
#ifndef TESKA_CLUT_TABLE_H
#define TESKA_CLUT_TABLE_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a table. */
typedef struct clut_table clut_table;

/* clut_table_new - create a table.
 *
 * N       inputs, 1 .. 16
 * points  N counts of grid points, each 2 .. 255
 * M       outputs, 1 .. 255
 * values  M values for each grid point, input 0 slowest, copied; null: all 0
 * Returns the table, owned by the caller (clut_table_kill), or NULL with one of
 *     "clut_table_new: illegal dimension"      an argument outside its range
 *     "clut_table_new: insufficient memory"    no memory, or more than INT_MAX values
 */
TESKA_API clut_table *clut_table_new(int N, const int *points, int M, const float *values) TESKA_NOTHROW;

/* clut_table_kill - free a table with its values.
 *
 * table  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API clut_table *clut_table_kill(clut_table *table) TESKA_NOTHROW;

/* clut_table_dataptr - the values, writable, valid until clut_table_kill.
 *
 * size  receives their number; may be null
 */
TESKA_API float *clut_table_dataptr(clut_table *table, int *size) TESKA_NOTHROW;

/* clut_table_interp - evaluate points, each as CLUT::Interpolate does.
 *
 * in       N pointers to the first value of each input; neither array of pointers is changed
 * inStep   doubles from one point of an input to the next; 0 and negative steps are fine
 * out      M pointers to the first value of each output; a null entry skips that output
 * outStep  doubles from one point of an output to the next
 * count    points; 0 and less do nothing
 * The outputs of a point may be the inputs of the same point.
 * Returns 1.
 */
TESKA_API int clut_table_interp(const clut_table *table, const double *const *in, int inStep, double *const *out,
                                int outStep, int count) TESKA_NOTHROW;

TESKA_END_C
#endif
