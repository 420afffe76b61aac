/* mmd_tetras.h - conversion of pixels through a set of 16-bit tables over the same inputs
 *
 * A set holds K tables with one N, M and R and one set of input curves. Each table has a grid and output curves of its
 * own and converts as an md_tetras (md_tetras.h) with those. A pixel's position in the grid is found once, whether one
 * table converts it, chosen by a tag, or all of them do, or two are blended.
 *
 *     mmd_tetras *set = mmd_tetras_new(3, 3, 4, 17);        photograph, graphic, text: three ways from RGB to CMYK
 *     for (int k = 0; k < 3; k++) {
 *         int size;
 *         unsigned short *data = mmd_tetras_dataptr(set, k, &size);
 *         ...                                               fill the grid of table k
 *     }
 *     mmd_tetras_interp_tag(set, in, 3, out, 4, width, tags);       once per line; tags: which object a pixel is of
 *     set = mmd_tetras_kill(set);
 *
 * Common rules
 *   Those of md_tetras.h, for samples, vertex data, ownership, failures, steps, outputs left out, conversion in place,
 *   counts and threads. Tables count from 0.
 *   The grid of a table is one dense block: choosing a table for each pixel touches the memory of the chosen ones only.
 */
#ifndef TESKA_MMD_TETRAS_H
#define TESKA_MMD_TETRAS_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a set. */
typedef struct mmd_tetras mmd_tetras;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* mmd_tetras_new - create a set; all vertices hold 0, all curves are the identity.
 *
 * K        tables; 1 .. 255
 * N, M, R  as md_tetras_new
 * Returns the set, owned by the caller (mmd_tetras_kill), or NULL with one of
 *     "mmd_tetras_new: illegal dimension"      an argument outside its range
 *     "mmd_tetras_new: insufficient memory"    no memory, or more than INT_MAX samples of vertices in all tables
 */
TESKA_API mmd_tetras *mmd_tetras_new(int K, int N, int M, int R) TESKA_NOTHROW;

/* mmd_tetras_clone - a set of its own with the same data and curves.
 *
 * Returns the new set, owned by the caller (mmd_tetras_kill), or NULL with "mmd_tetras_clone: insufficient memory".
 */
TESKA_API mmd_tetras *mmd_tetras_clone(const mmd_tetras *set) TESKA_NOTHROW;

/* mmd_tetras_kill - free a set with its data and curves.
 *
 * set  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API mmd_tetras *mmd_tetras_kill(mmd_tetras *set) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* mmd_tetras_ilut_set - set the curve of an input, for all tables; as md_tetras_ilut_set.
 *
 * Returns 1, or 0 with the curve unchanged and one of
 *     "mmd_tetras_ilut_set: illegal curve"         d or n outside its range
 *     "mmd_tetras_ilut_set: insufficient memory"
 */
TESKA_API int mmd_tetras_ilut_set(mmd_tetras *set, int d, int n, const unsigned short *entries) TESKA_NOTHROW;

/* mmd_tetras_olut_set - set the curve of output c of table k; as md_tetras_olut_set.
 *
 * n, entries  as md_tetras_ilut_set
 * Returns 1, or 0 with the curve unchanged and one of
 *     "mmd_tetras_olut_set: illegal curve"         k, c or n outside its range
 *     "mmd_tetras_olut_set: insufficient memory"
 */
TESKA_API int mmd_tetras_olut_set(mmd_tetras *set, int k, int c, int n, const unsigned short *entries) TESKA_NOTHROW;

/* mmd_tetras_dataptr - the vertex data of table k, writable.
 *
 * size  receives the number of samples of one table, R^N * M; may be null
 * Returns NULL when k is not in 0 .. K - 1; size is then unchanged.
 */
TESKA_API unsigned short *mmd_tetras_dataptr(mmd_tetras *set, int k, int *size) TESKA_NOTHROW;

/* mmd_tetras_vertex_get - one vertex of table k, as md_tetras_vertex_get.
 *
 * Returns NULL when k is not in 0 .. K - 1; inSamples is then unchanged.
 */
TESKA_API unsigned short *mmd_tetras_vertex_get(mmd_tetras *set, int k, const int *coord,
                                                unsigned short *inSamples) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* mmd_tetras_get_nrpoints - number of vertices of one table, R^N. */
TESKA_API int mmd_tetras_get_nrpoints(const mmd_tetras *set) TESKA_NOTHROW;

/* mmd_tetras_scan_vertex - step to the next vertex, as md_tetras_scan_vertex. */
TESKA_API int mmd_tetras_scan_vertex(const mmd_tetras *set, int *coord) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* mmd_tetras_interp_tag - convert every pixel through the table that its tag names.
 *
 * in, inStep, out, outStep, count  as md_tetras_interp: N inputs, M outputs
 * tags  count bytes, not null: pixel p goes through table tags[p]; tags of K and above leave its outputs as they are
 * Returns 1.
 */
TESKA_API int mmd_tetras_interp_tag(const mmd_tetras *set, const unsigned short *const *in, int inStep,
                                    unsigned short *const *out, int outStep, int count,
                                    const unsigned char *tags) TESKA_NOTHROW;

/* mmd_tetras_interp_all - convert every pixel through all tables.
 *
 * in, inStep, outStep, count  as md_tetras_interp
 * out  K * M pointers, output c of table k at k * M + c; a null entry skips that output
 * Outputs may be samples of the inputs of the same pixel, whichever table they belong to.
 * Returns 1.
 */
TESKA_API int mmd_tetras_interp_all(const mmd_tetras *set, const unsigned short *const *in, int inStep,
                                    unsigned short *const *out, int outStep, int count) TESKA_NOTHROW;

/* mmd_tetras_interp_mix - convert every pixel through two tables and blend the results.
 *
 *     [(A * (65535 - w) + B * w + 32767) / 65535]          A, B: 16-bit results of tables a and b after their curves
 *
 * w = 0 gives exactly A, 65535 exactly B. Without output curves the result is less than 1 away from the exact blend.
 *
 * a, b     tables, 0 .. K - 1; may be equal
 * in, inStep, out, outStep, count  as md_tetras_interp: N inputs, M outputs
 * weights  count weights w, one for each pixel; null: `weight` for all
 * weight   cut to 0 .. 65535; not looked at with weights
 * Returns 1, or 0 when a or b is not in 0 .. K - 1: nothing is done or reported then.
 * Example: A = 1000, B = 3000, w = 16384 give 1500.
 */
TESKA_API int mmd_tetras_interp_mix(const mmd_tetras *set, int a, int b, const unsigned short *const *in, int inStep,
                                    unsigned short *const *out, int outStep, int count, const unsigned short *weights,
                                    int weight) TESKA_NOTHROW;

/* mmd_tetras_interp_tag_b, mmd_tetras_interp_all_b, mmd_tetras_interp_mix_b - the same for bytes in and out, as
 * md_tetras_interp_b. The blend is of 16-bit results and becomes a byte last; weights remain 16 bits.
 */
TESKA_API int mmd_tetras_interp_tag_b(const mmd_tetras *set, const unsigned char *const *in, int inStep,
                                      unsigned char *const *out, int outStep, int count,
                                      const unsigned char *tags) TESKA_NOTHROW;
TESKA_API int mmd_tetras_interp_all_b(const mmd_tetras *set, const unsigned char *const *in, int inStep,
                                      unsigned char *const *out, int outStep, int count) TESKA_NOTHROW;
TESKA_API int mmd_tetras_interp_mix_b(const mmd_tetras *set, int a, int b, const unsigned char *const *in, int inStep,
                                      unsigned char *const *out, int outStep, int count, const unsigned short *weights,
                                      int weight) TESKA_NOTHROW;

TESKA_END_C
#endif
