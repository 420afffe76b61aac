/* md_tetrab.h - conversion of 8-bit pixels through a regular grid of bytes
 *
 * A table maps N input channels to M output channels. Its grid has R vertices along each input; between them it is
 * interpolated over the simplex of the cell in which the pixel lies (tetrahedral interpolation for N = 3). Every input
 * passes a curve of 256 entries before the grid, every output one after it.
 *
 *     md_tetrab *table = md_tetrab_new(3, 4, 17);           RGB to CMYK, 17 points per axis
 *     int coord[3] = {0, 0, 0};
 *     do {
 *         unsigned char rgb[3];
 *         unsigned char *cmyk = md_tetrab_vertex_get(table, coord, rgb);
 *         ...                                               compute cmyk[0 .. 3] from rgb
 *     } while (md_tetrab_scan_vertex(table, coord) != 0);
 *     md_tetrab_interp(table, in, 3, out, 4, width, NULL, 0.0);       once per line
 *     table = md_tetrab_kill(table);
 *
 * Common rules
 *   Inputs, outputs, coordinates and pixels count from 0. Bytes are the whole range 0 .. 255 of their channel.
 *   Vertex data: the M bytes of vertex (g[0] .. g[N-1]) start at byte sum g[k] * s[k], with s[N-1] = M and
 *   s[k] = (R + E) * s[k+1]; E = 1 for md_tetrab_new. The vertices with an index R and above are never filled by the
 *   walk. Conversion reads those with an index R at weight L, the lowest; with weights 0 .. 255 they never count.
 *   A table owns its data and curves; pointers into it are valid until md_tetrab_kill. They may be written to at any
 *   time between calls: the next conversion uses the new bytes.
 *   Failures of creation are reported through error_mess_fl (error_mess.h); all other functions cannot fail.
 *   Any number of threads may convert through one table, expand it and query it at once; the results are the same bytes
 *   as in one thread. No thread may write to its vertices or curves, by md_tetrab_LUT or through a pointer, or kill the
 *   table meanwhile. Different tables are independent of each other.
 */
#ifndef TESKA_MD_TETRAB_H
#define TESKA_MD_TETRAB_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a table. */
typedef struct md_tetrab md_tetrab;

/* ---- Life ------------------------------------------------------------------------------------------------------- */

/* md_tetrab_new - md_tetrab_new_special with weights 0 .. 255 and one layer of extension. */
TESKA_API md_tetrab *md_tetrab_new(int N, int M, int R) TESKA_NOTHROW;

/* md_tetrab_new_special - create a table with given weights and extension.
 *
 * All vertices hold 0, all curves are the identity.
 *
 * N, M  inputs and outputs; at least 1
 * R     vertices along each input that the caller fills; at least 2
 * L, H  range of the weights, 0 <= L < H <= 255; H is the weight of a whole cell. The product of a vertex value L + k
 *       and a weight L + j is floor(j * k / (H - L) + L + 0.5), for j and k from 0 to H - L; outside that range it is
 *       255.
 * E     layers of the grid beyond R in each dimension; at least 0
 * Returns the table, owned by the caller (md_tetrab_kill), or NULL with one of
 *     "md_tetra_new: illegal dimension"       an argument outside its range
 *     "md_tetrab_new: malloc failure"         no memory for the grid, or more than INT_MAX bytes or vertices
 *     "md_tetrab_new: insuff. mem."           no memory for the products of weights other than 0 .. 255
 *     "md_tetra_new: insufficient memory"     no memory for anything else
 * Kept: two of the texts name another function. With weights other than 0 .. 255 the sums wrap at 256.
 */
TESKA_API md_tetrab *md_tetrab_new_special(int N, int M, int R, int L, int H, int E) TESKA_NOTHROW;

/* md_tetrab_clone - a table of its own with the same data, curves, weights and extension.
 *
 * Returns the new table, owned by the caller (md_tetrab_kill), or NULL with "md_tetrab_clone: insufficient memory".
 * Other threads may convert through the given table meanwhile.
 */
TESKA_API md_tetrab *md_tetrab_clone(const md_tetrab *table) TESKA_NOTHROW;

/* md_tetrab_kill - free a table with its data and curves.
 *
 * table  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API md_tetrab *md_tetrab_kill(md_tetrab *table) TESKA_NOTHROW;

/* ---- Change ----------------------------------------------------------------------------------------------------- */

/* md_tetrab_LUT - set all curves.
 *
 * inCurves   N pointers to 256 bytes each, or null
 * outCurves  M pointers to 256 bytes each, or null
 * A null array or a null entry makes its curves the identity again. The bytes are copied.
 * Returns 1.
 */
TESKA_API int md_tetrab_LUT(md_tetrab *table, unsigned char **inCurves, unsigned char **outCurves) TESKA_NOTHROW;

/* md_tetrab_ilutptr - the 256 bytes of input curve d, writable; NULL when d is not in 0 .. N - 1. */
TESKA_API unsigned char *md_tetrab_ilutptr(md_tetrab *table, int d) TESKA_NOTHROW;

/* md_tetrab_olutptr - the 256 bytes of output curve c, writable; NULL when c is not in 0 .. M - 1. */
TESKA_API unsigned char *md_tetrab_olutptr(md_tetrab *table, int c) TESKA_NOTHROW;

/* md_tetrab_fill_double - set all vertices of the walk from doubles, each to the nearest byte.
 *
 *     byte = floor(255 (v - lo) / (hi - lo) + 0.5), at least 0 and at most 255
 *
 * values     doubles that lie like the vertex data: input 0 slowest, the M values of a vertex together
 * extension  their layers beyond R in each dimension, which are passed over: 0 for an array of R^N * M doubles, as
 *            colour tables of ICC profiles have them; 1 for the data of an md_tetrad
 * lo, hi     the values of 0 and 255; hi may lie below lo
 * Returns 1, or 0 with the table unchanged and one of
 *     "md_tetrab_fill_double: illegal range"    lo and hi are equal or not finite, extension is below 0, or there would
 *                                               be more than INT_MAX values
 *     "md_tetrab_fill_double: illegal value"    one that is not finite
 */
TESKA_API int md_tetrab_fill_double(md_tetrab *table, const double *values, int extension, double lo,
                                    double hi) TESKA_NOTHROW;

/* md_tetrab_dataptr - the vertex data, writable.
 *
 * size  receives the number of bytes, (R + E)^N * M; may be null
 */
TESKA_API unsigned char *md_tetrab_dataptr(md_tetrab *table, int *size) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------ */

/* md_tetrab_get_nrpoints - number of vertices of the walk, R^N. */
TESKA_API int md_tetrab_get_nrpoints(md_tetrab *table) TESKA_NOTHROW;

/* md_tetrab_vertex_get - one vertex: the input it represents and the address of its output.
 *
 *     inBytes[k] = floor(coord[k] * step + 0.5),   step = 255 / (R - 1), in doubles
 *
 * coord    N indices in 0 .. R - 1
 * inBytes  receives N bytes; may be null
 * Returns the address of the vertex's M output bytes.
 * With weights 0 .. 255 and identity curves these input bytes, converted, give back exactly the vertex when 255 is a
 * multiple of R - 1 (R = 2, 4, 6, 16, 18, 52, 86, 256) and for R = 3; for other R they are rounded and the result lies
 * beside the vertex.
 */
TESKA_API unsigned char *md_tetrab_vertex_get(md_tetrab *table, const int *coord, unsigned char *inBytes) TESKA_NOTHROW;

/* md_tetrab_scan_vertex - step to the next vertex; coordinate 0 runs fastest.
 *
 * coord  N indices in 0 .. R - 1; becomes the next vertex, all zeros after the last one
 * Returns the number of vertices that follow the given one; 0 when it was the last.
 */
TESKA_API int md_tetrab_scan_vertex(md_tetrab *table, int *coord) TESKA_NOTHROW;

/* ---- Process ---------------------------------------------------------------------------------------------------- */

/* md_tetrab_interp - convert a run of pixels.
 *
 * With u[d] the input byte after input curve d, each u[d] has a lower vertex index i and a fraction f[d] in the
 * weights L .. H, calculated in doubles:
 *
 *     t = u[d] / (255 / (R - 1));  i = floor(t);  f[d] = floor((t - i) * (H - L) + L);  u[d] = 255: i = R - 1, f[d] = L
 *
 * The fractions in descending order, equal ones in the order of their dimensions, give N + 1 weights H - f0, f0 - f1,
 * .. f[N-1] for the vertices on the path that starts at the lower vertex of the cell and steps along the dimensions in
 * that order. The output is output curve c at the sum of the products of vertex value and weight. Each product is
 * rounded by itself.
 *
 * in         N pointers to the first byte of each input; not changed
 * inStep     bytes from one pixel of an input to the next; 0 and negative steps are fine
 * out        M pointers to the first byte of each output; a null entry skips that output. The others are advanced in
 *            the caller's array by count * outStep.
 * outStep    bytes from one pixel of an output to the next
 * count      pixels; 0 and less do nothing
 * mask       null, or one byte per pixel: only pixels with mask[p] > threshold are converted, the output bytes of the
 *            others stay as they are
 * threshold  with a mask only; not-a-number converts nothing
 * Outputs may be the inputs themselves (same address, same step); any other overlap is not allowed.
 * Returns 1. The first call after a change of curves makes anew what the table keeps of them, which takes as long as
 * some 500 pixels.
 * Kept: because each product is rounded, a grid that holds one value v everywhere gives v everywhere only for N = 1 and
 * for v = 0 and 255; otherwise results lie up to N / 2 (in integers) beside it.
 * Source: Kasson, Nin, Plouffe and Hafner, Performing color space conversions with three-dimensional linear
 * interpolation, Journal of Electronic Imaging 4(3), 1995, p. 226-250.
 */
TESKA_API int md_tetrab_interp(md_tetrab *table, unsigned char **in, int inStep, unsigned char **out, int outStep,
                               int count, const unsigned char *mask, double threshold) TESKA_NOTHROW;

/* md_tetrab_expand - a new table with another resolution and the same contents.
 *
 * The new table has weights 0 .. 255, extension 1 and identity curves. When newR - 1 is k times R - 1, its vertices are
 * interpolated between those of the given table with weights 0 .. 255: the j-th of the k steps from a vertex to the
 * next has the fraction 255 * j / k, rounded down, and vertices that coincide are equal. Otherwise every new vertex is
 * the conversion of its input bytes by md_tetrab_interp.
 *
 * newR  at least 2
 * Returns the new table, owned by the caller, or NULL with the line of md_tetrab_new_special followed by
 * "md_tetrab_expand: error in md_tetrab_new". The given table is not changed.
 * Kept: the curves of the given table count only where newR - 1 is not a multiple of R - 1.
 */
TESKA_API md_tetrab *md_tetrab_expand(md_tetrab *table, int newR) TESKA_NOTHROW;

TESKA_END_C
#endif
