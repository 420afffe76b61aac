/* md_tetras.h - conversion of 16-bit and 8-bit pixels through a regular grid of 16-bit samples
 *
 * A table maps N input channels to M output channels. Its grid has R vertices along each input; between them it is
 * interpolated over the simplex of the cell in which the pixel lies (tetrahedral interpolation for N = 3), with one
 * rounding at the end. Every input passes a curve before the grid, every output one after it.
 *
 *     md_tetras *table = md_tetras_new(3, 4, 17);           RGB to CMYK, 17 points per axis
 *     int coord[3] = {0, 0, 0};
 *     do {
 *         unsigned short rgb[3];
 *         unsigned short *cmyk = md_tetras_vertex_get(table, coord, rgb);
 *         ...                                               compute cmyk[0 .. 3] from rgb
 *     } while (md_tetras_scan_vertex(table, coord) != 0);
 *     md_tetras_interp(table, in, 3, out, 4, width, NULL, 0);         once per line
 *     table = md_tetras_kill(table);
 *
 * Common rules
 *   Inputs, outputs, coordinates and pixels count from 0. Samples are the whole range 0 .. 65535 of their channel;
 *   where they are bytes, byte b is the sample 257 * b. [a] is the largest integer that is not above a.
 *   Vertex data: the M samples of vertex (g[0] .. g[N-1]) start at sample M * (g[N-1] + R * (g[N-2] + R * (..))): input
 *   0 varies slowest, as in the colour tables of ICC profiles, and nothing lies between or after the vertices.
 *   A table owns its data and curves; pointers into it are valid until md_tetras_kill. Vertices may be written between
 *   calls: the next conversion uses the new samples.
 *   Failures are reported through error_mess_fl (error_mess.h); functions that name no failure cannot fail. A table
 *   must not be null except where a block says so.
 *   Any number of threads may convert through one table at the same time (all functions that take it const). What takes
 *   it without const, and writing to the vertices, needs the table alone.
 */
#ifndef TESKA_MD_TETRAS_H
#define TESKA_MD_TETRAS_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a table. */
typedef struct md_tetras md_tetras;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* md_tetras_new - create a table; all vertices hold 0, all curves are the identity.
 *
 * N, M  inputs and outputs; at least 1
 * R     vertices along each input; 2 .. 65536
 * Returns the table, owned by the caller (md_tetras_kill), or NULL with one of
 *     "md_tetras_new: illegal dimension"      an argument outside its range
 *     "md_tetras_new: insufficient memory"    no memory, or more than INT_MAX samples of vertices
 * The samples are counted after the ranges are checked and before anything is allocated.
 */
TESKA_API md_tetras *md_tetras_new(int N, int M, int R) TESKA_NOTHROW;

/* md_tetras_clone - a table of its own with the same data and curves.
 *
 * Returns the new table, owned by the caller (md_tetras_kill), or NULL with "md_tetras_clone: insufficient memory".
 */
TESKA_API md_tetras *md_tetras_clone(const md_tetras *table) TESKA_NOTHROW;

/* md_tetras_kill - free a table with its data and curves.
 *
 * table  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API md_tetras *md_tetras_kill(md_tetras *table) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* md_tetras_ilut_set - set the curve of an input.
 *
 * The entries are spread evenly over the samples 0 .. 65535 and joined by straight lines. The curve is worked out for
 * every sample v once, here:
 *
 *     x = v * (n - 1),   i = [x / 65535],   r = x - 65535 * i        for v = 65535: i = n - 2, r = 65535
 *     curve[v] = [(entries[i] * (65535 - r) + entries[i + 1] * r + 32767) / 65535]
 *
 * d        input, 0 .. N - 1
 * n        entries, 2 .. 65536; two entries 0, 65535 are the identity, 65535, 0 the inversion
 * entries  n samples, copied; null: the identity, n is not looked at
 * Returns 1, or 0 with the curve unchanged and one of
 *     "md_tetras_ilut_set: illegal curve"         d or n outside its range
 *     "md_tetras_ilut_set: insufficient memory"   no memory for the 128 KiB of a curve; only for an input that is the
 *                                                 identity
 * Example: entries 0, 1000, 65535 give 610 for sample 20000 (exactly 610.36).
 */
TESKA_API int md_tetras_ilut_set(md_tetras *table, int d, int n, const unsigned short *entries) TESKA_NOTHROW;

/* md_tetras_olut_set - set the curve of an output, as md_tetras_ilut_set does for an input.
 *
 * c  output, 0 .. M - 1
 * Returns 1, or 0 with the curve unchanged and one of
 *     "md_tetras_olut_set: illegal curve"         c or n outside its range
 *     "md_tetras_olut_set: insufficient memory"   no memory for the 128 KiB of a curve; only for an output that is the
 *                                                 identity
 */
TESKA_API int md_tetras_olut_set(md_tetras *table, int c, int n, const unsigned short *entries) TESKA_NOTHROW;

/* md_tetras_fill_double - set all vertices from doubles, each to the nearest sample.
 *
 *     sample = floor(65535 (v - lo) / (hi - lo) + 0.5), at least 0 and at most 65535
 *
 * values     doubles that lie like the vertex data: input 0 slowest, the M values of a vertex together
 * extension  their layers beyond R in each dimension, which are passed over: 0 for an array of R^N * M doubles, as
 *            colour tables of ICC profiles have them; 1 for the data of an md_tetrad
 * lo, hi     the values of 0 and 65535; hi may lie below lo
 * Returns 1, or 0 with the table unchanged and one of
 *     "md_tetras_fill_double: illegal range"    lo and hi are equal or not finite, extension is below 0, or there would
 *                                               be more than INT_MAX values
 *     "md_tetras_fill_double: illegal value"    one that is not finite
 */
TESKA_API int md_tetras_fill_double(md_tetras *table, const double *values, int extension, double lo,
                                    double hi) TESKA_NOTHROW;

/* md_tetras_dataptr - the vertex data, writable.
 *
 * size  receives the number of samples, R^N * M; may be null
 */
TESKA_API unsigned short *md_tetras_dataptr(md_tetras *table, int *size) TESKA_NOTHROW;

/* md_tetras_vertex_get - one vertex: the input it belongs to and the address of its output, writable.
 *
 *     inSamples[k] = [(coord[k] * 65535 * 2 + (R - 1)) / (2 * (R - 1))]
 *
 * coord      N indices in 0 .. R - 1
 * inSamples  receives N samples; may be null
 * Returns the address of the vertex's M samples.
 * The input samples are exact when 65535 is a multiple of R - 1 (R = 2, 4, 6, 16, 18, 52, 86, 256, ..): converted
 * without curves they give back the vertex. For other R they are rounded and the result lies beside the vertex.
 */
TESKA_API unsigned short *md_tetras_vertex_get(md_tetras *table, const int *coord,
                                               unsigned short *inSamples) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* md_tetras_get_nrpoints - number of vertices, R^N. */
TESKA_API int md_tetras_get_nrpoints(const md_tetras *table) TESKA_NOTHROW;

/* md_tetras_scan_vertex - step to the next vertex; coordinate 0 runs fastest.
 *
 * coord  N indices in 0 .. R - 1; becomes the next vertex, all zeros after the last one
 * Returns the number of vertices that follow the given one; 0 when it was the last.
 */
TESKA_API int md_tetras_scan_vertex(const md_tetras *table, int *coord) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* md_tetras_interp - convert a run of pixels, 16 bits in and out.
 *
 * With u[d] the sample of input d after its curve,
 *
 *     x = u[d] * (R - 1),   i[d] = [x / 65535],   r[d] = x - 65535 * i[d]        for i[d] = R - 1: R - 2 and 65535
 *
 * The fractions r in descending order, r1 .. rN, give N + 1 weights for the vertices on the path that starts at the
 * lower vertex (i[0] .. i[N-1]) of the cell and goes one index up along the input of r1, then of r2, and so on:
 *
 *     w0 = 65535 - r1,   wk = rk - r(k+1),   wN = rN                                     sum 65535
 *     result = output curve of [(P0 * w0 + .. + PN * wN + 32767) / 65535]
 *
 * Before the output curve the result is less than 0.5 away from the exact value of the interpolation, and a grid that
 * holds one value everywhere gives that value.
 *
 * in         N pointers to the first sample of each input; neither array of pointers is changed
 * inStep     samples from one pixel of an input to the next; 0 and negative steps are fine
 * out        M pointers to the first sample of each output; a null entry skips that output
 * outStep    samples from one pixel of an output to the next; with 0 the last pixel that was converted stays
 * count      pixels; 0 and less do nothing
 * mask       null, or count bytes: only pixels with mask[p] > threshold are converted, the samples of the others'
 *            outputs stay as they are
 * threshold  with a mask only; below 0 converts all, 255 and above none
 * The outputs of a pixel may be samples of the inputs of the same pixel, in any order. Any other overlap, and two
 * outputs on one sample, are not allowed.
 * Returns 1.
 * Example: N = 3, M = 1, R = 2, vertices 000, 100, 110, 111 with 1000, 11000, 31000, 61000: sample (40000, 30000,
 * 10000) has the weights 25535, 10000, 20000, 10000 and gives 20837 (exactly 20836.73).
 * Source: Kasson, Nin, Plouffe and Hafner, Performing color space conversions with three-dimensional linear
 * interpolation, Journal of Electronic Imaging 4(3), 1995, p. 226-250.
 */
TESKA_API int md_tetras_interp(const md_tetras *table, const unsigned short *const *in, int inStep,
                               unsigned short *const *out, int outStep, int count, const unsigned char *mask,
                               int threshold) TESKA_NOTHROW;

/* md_tetras_interp_b - md_tetras_interp for bytes in and out.
 *
 * An input byte b is the sample 257 * b, an output byte [(result + 128) / 257]. Without output curves this equals one
 * rounding of the exact value to a byte.
 */
TESKA_API int md_tetras_interp_b(const md_tetras *table, const unsigned char *const *in, int inStep,
                                 unsigned char *const *out, int outStep, int count, const unsigned char *mask,
                                 int threshold) TESKA_NOTHROW;

/* md_tetras_interp_bs - md_tetras_interp for bytes in and 16 bits out; outputs must not overlap inputs. */
TESKA_API int md_tetras_interp_bs(const md_tetras *table, const unsigned char *const *in, int inStep,
                                  unsigned short *const *out, int outStep, int count, const unsigned char *mask,
                                  int threshold) TESKA_NOTHROW;

/* md_tetras_interp_sb - md_tetras_interp for 16 bits in and bytes out; outputs must not overlap inputs. */
TESKA_API int md_tetras_interp_sb(const md_tetras *table, const unsigned short *const *in, int inStep,
                                  unsigned char *const *out, int outStep, int count, const unsigned char *mask,
                                  int threshold) TESKA_NOTHROW;

TESKA_END_C
#endif
