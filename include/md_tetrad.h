/* md_tetrad.h - evaluation of points through a regular grid of doubles
 *
 * A table maps N inputs, all over the same range lo .. hi, to M outputs. Its grid has R vertices along each input;
 * between them it is interpolated over the simplex of the cell in which the point lies (tetrahedral interpolation for
 * N = 3).
 *
 *     md_tetrad *table = md_tetrad_new(3, 1, 33, 0.0, 100.0);
 *     int coord[3] = {0, 0, 0};
 *     do {
 *         double lab[3];
 *         double *value = md_tetrad_vertex_get(table, coord, lab);
 *         value[0] = ...                                    compute from lab
 *     } while (md_tetrad_scan_vertex(table, coord) != 0);
 *     md_tetrad_interp(table, in, 3, out, 1, count);
 *     table = md_tetrad_kill(table);
 *
 * Common rules
 *   Inputs, outputs, coordinates and points count from 0. Steps and sizes are in doubles.
 *   Vertex data: the M values of vertex (g[0] .. g[N-1]) start at element sum g[k] * s[k], with s[N-1] = M and
 *   s[k] = (R + 1) * s[k+1]. The vertices with an index R are never filled by the walk; they are read with weight 0.
 *   A table owns its data; pointers into it are valid until md_tetrad_kill. It may be written to between calls.
 *   Failures of creation are reported through error_mess_fl (error_mess.h); all other functions cannot fail.
 *   Any number of threads may evaluate and query one table at once; the results are the same bits as in one thread. No
 *   thread may write to the vertices or kill the table meanwhile. Different tables are independent of each other.
 */
#ifndef TESKA_MD_TETRAD_H
#define TESKA_MD_TETRAD_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a table. */
typedef struct md_tetrad md_tetrad;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* md_tetrad_new - create a table; all vertices hold 0.
 *
 * N, M    inputs and outputs; at least 1
 * R       vertices along each input; at least 2
 * lo, hi  the value of every input at index 0 and at index R - 1; hi may lie below lo, and when both are equal only
 *         that one input lies inside
 * Returns the table, owned by the caller (md_tetrad_kill), or NULL with one of
 *     "md_tetra_new: illegal dimension"       N, M or R is too small
 *     "md_tetrab_new: malloc failure"         no memory for the list of position tables
 *     "md_tetrad_new: insuff. mem."           no memory for the position tables
 *     "md_tetra_new: insufficient memory"     no memory for anything else, or more than INT_MAX values
 * Kept: the texts name other functions.
 */
TESKA_API md_tetrad *md_tetrad_new(int N, int M, int R, double lo, double hi) TESKA_NOTHROW;

/* md_tetrad_clone - a table of its own with the same range and data.
 *
 * Returns the new table, owned by the caller (md_tetrad_kill), or NULL with "md_tetrad_clone: insufficient memory".
 * Other threads may evaluate the given table meanwhile.
 */
TESKA_API md_tetrad *md_tetrad_clone(const md_tetrad *table) TESKA_NOTHROW;

/* md_tetrad_kill - free a table with its data.
 *
 * table  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API md_tetrad *md_tetrad_kill(md_tetrad *table) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* md_tetrad_dataptr - the vertex data, writable.
 *
 * size  receives the number of doubles, (R + 1)^N * M; may be null
 */
TESKA_API double *md_tetrad_dataptr(md_tetrad *table, int *size) TESKA_NOTHROW;

/* md_tetrad_get_nrpoints - number of vertices of the walk, R^N. */
TESKA_API int md_tetrad_get_nrpoints(md_tetrad *table) TESKA_NOTHROW;

/* md_tetrad_vertex_get - one vertex: the input it represents and the address of its output.
 *
 *     inValues[k] = coord[k] * step + lo,   step = (hi - lo) / (R - 1)
 *
 * coord     N indices in 0 .. R - 1
 * inValues  receives N values; may be null
 * Returns the address of the vertex's M output values.
 */
TESKA_API double *md_tetrad_vertex_get(md_tetrad *table, const int *coord, double *inValues) TESKA_NOTHROW;

/* md_tetrad_scan_vertex - step to the next vertex; coordinate 0 runs fastest.
 *
 * coord  N indices in 0 .. R - 1; becomes the next vertex, all zeros after the last one
 * Returns the number of vertices that follow the given one; 0 when it was the last.
 */
TESKA_API int md_tetrad_scan_vertex(md_tetrad *table, int *coord) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* md_tetrad_interp - evaluate a run of points.
 *
 * Input d lies t = (x - lo) / step from the lower end: index i = trunc(t), fraction f = t - i. An input that equals hi,
 * or the value md_tetrad_vertex_get gives for i or i + 1, lies on that index with fraction 0. The fractions in
 * descending order, equal ones in the order of their inputs, give the weights 1 - f0, f0 - f1, .. f[N-1] for the N + 1
 * vertices of the path that starts at the lower vertex of the cell and steps along the inputs in that order. An output
 * is the sum of value times weight, added along the path in doubles.
 *
 * in       N pointers to the first value of each input; not changed
 * inStep   doubles from one point of an input to the next; 0 and negative steps are fine
 * out      M pointers to the first value of each output, which overlaps neither inputs nor other outputs; a null entry
 *          skips that output. The others are advanced in the caller's array by count * outStep.
 * outStep  doubles from one point of an output to the next
 * count    points; 0 and less do nothing
 * Returns 1.
 * A point on a vertex gives exactly the vertex's values, as long as the values of its cell are finite.
 * Outside lo .. hi the index stays in 0 .. R - 1 and the fraction takes the rest: the result is of no use, but nothing
 * outside the data is read. Not-a-number makes every output not-a-number.
 */
TESKA_API int md_tetrad_interp(md_tetrad *table, double **in, int inStep, double **out, int outStep,
                               int count) TESKA_NOTHROW;

TESKA_END_C
#endif
