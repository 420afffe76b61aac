/* clg.h - the gamut of a device by a cloud of measured points, and its colours backwards
 *
 * A cloud holds pairs of device values and the colour that was measured for them, as a chart gives them. Built, it says
 * which colours the device reaches, what to send for a colour, which colour is the nearest one that can be had, and it
 * fills tables from colours to device values.
 *
 *     clg *press = clg_new(4, 4, 0.0, 100.0);               CMYK in percent, all four vary freely
 *     for (i = 0; i < patches; ++i)
 *         clg_add(press, cmyk[i], lab[i]);
 *     clg_build(press);
 *     const double black[4] = {0, 0, 0, 1};
 *     clg_rule(press, black, 0.5);                          half way between the least and the most black
 *     if (clg_find(press, wanted, device, &dist) == 0)
 *         ...                                               out of gamut by dist; device prints the nearest colour
 *     press = clg_kill(press);
 *
 * The model
 *   The first free_channels device values of all pairs, the free channels, are points of a lattice of 65536 steps from
 *   lo to hi; pairs at one lattice point count as one, with the means of their device values and colours. The points
 *   are tiled with simplices (segments, triangles, tetrahedra, pentatopes), by the Delaunay rule for the length
 *   16 sum v_j^2 - (sum v_j)^2 in lattice steps, which cuts the cubes of a regular grid along the neutral diagonal, as
 *   md_tetrad does. In every cell the colour is linear: the model of the device is continuous, and the colours it
 *   reaches are the images of the cells. So hollows of the gamut are hollow.
 *   The other channels (a black that follows the colours, light inks, varnish) are interpolated as the colours are.
 *
 * More than one answer
 *   With three free channels a colour has one answer, or a few where the measured device is folded. With four, every
 *   cell that reaches a colour has a segment of answers. A cost
 *
 *       g = cost[0] device[0] + .. + cost[channels - 1] device[channels - 1]
 *
 *   runs from g0 to g1 over all answers; the one that is given has g = g0 + place * (g1 - g0), or is the nearest to
 *   that, of these the one with the least sum of device values, then of the lowest cell. With cost 0, 0, 0, 1 place 0
 *   is the least black, 1 the most; with cost 1 everywhere place 0 is the least ink in all.
 *
 * Limits
 *   One or two free channels reach a line or a surface: nothing is inside, but there is a nearest colour. More than
 *   four channels that vary freely cannot be modelled.
 *   A chart needs patches on the sides of the device's cube, not only its corners, and between them: with 20,000 random
 *   patches but nothing on the sides, what is printed for a colour out of gamut is 0.75 farther away than need be; with
 *   a 9 x 9 x 9 grid 0.004.
 *   Noise is not smoothed, only averaged where a patch is repeated. Total ink is limited by leaving the pairs above the
 *   limit out of the cloud. With four free channels the answers need not be smooth where cells come and go.
 *
 * Common rules
 *   Colours are three doubles in any space in which straight distances mean something: L, a, b. Device values run from
 *   lo to hi.
 *   Functions fail through error_mess_fl (error_mess.h); after a failure nothing has changed, results included. Results
 *   may be null where a block says so; other pointers and the cloud may not.
 *   Queries keep nothing: any number of threads may query one cloud at once, while none adds, builds or sets the rule.
 *   Results are the same bits on every machine.
 *   A query is O(log n + cells whose boxes hold the colour): with 9 x 9 x 9 patches about a microsecond.
 *   Sources: A. Bowyer, Computing Dirichlet tessellations, The Computer Journal 24 (1981) 162-166; D. Watson, Computing
 *   the n-dimensional Delaunay tessellation, The Computer Journal 24 (1981) 167-172; C. Ericson, Real-Time Collision
 *   Detection, Morgan Kaufmann 2005, section 5.1.5.
 */
#ifndef TESKA_CLG_H
#define TESKA_CLG_H
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a cloud. */
typedef struct clg clg;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* clg_new - create an empty cloud. Its rule is cost 1 for every channel, place 0.
 *
 * channels       device values of a pair; 1 .. 16
 * free_channels  the first so many vary freely; 1 .. 4, at most channels
 * lo, hi         the range of all device values, lo < hi: 0 and 1, 0 and 100, 0 and 255; both finite, their difference
 *                at most 1e300
 * Returns the cloud, owned by the caller (clg_kill), or NULL with one of
 *     "clg_new: illegal dimension"
 *     "clg_new: illegal range"
 *     "clg_new: malloc failure"
 */
TESKA_API clg *clg_new(int channels, int free_channels, double lo, double hi) TESKA_NOTHROW;

/* clg_kill - free a cloud; null is accepted. Returns NULL, to be written back into the handle. */
TESKA_API clg *clg_kill(clg *c) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* clg_add - add a pair; it counts from the next clg_build on.
 *
 * device  `channels` values, lo .. hi
 * colour  finite, magnitudes at most 1e6
 * Both are copied. Returns 0, or -1 with one of
 *     "clg_add: illegal value"
 *     "clg_add: too many points"     there are 65,535 pairs
 *     "clg_add: malloc failure"
 */
TESKA_API int clg_add(clg *c, const double *device, const double colour[3]) TESKA_NOTHROW;

/* clg_build - make the model of all pairs added so far, in place of an earlier one.
 *
 * Returns 0, or -1, an earlier model staying in force, with one of
 *     "clg_build: too few points"    fewer than free_channels + 1 different ones
 *     "clg_build: device values do not span the free channels"
 *     "clg_build: malloc failure"
 * With colours in a plane or all alike the model builds: nothing is inside, but there is a nearest colour.
 * With three free channels it takes 6 ms for 729 patches and 0.3 s for 20,000; with four 0.1 s for a chart of 1,485,
 * but 3 s and 160 MB of memory for 20,000 random ones.
 */
TESKA_API int clg_build(clg *c) TESKA_NOTHROW;

/* clg_rule - set which of several answers is given; takes effect at once, without a build.
 *
 * cost   `channels` finite values, copied; null: 1 for every channel
 * place  0 .. 1
 * Returns 0, or -1 with "clg_rule: illegal value".
 */
TESKA_API int clg_rule(clg *c, const double *cost, double place) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* clg_num_points - different points of the model; 0 before a build. */
TESKA_API int clg_num_points(const clg *c) TESKA_NOTHROW;

/* clg_num_cells - cells of the model; 0 before a build. */
TESKA_API int clg_num_cells(const clg *c) TESKA_NOTHROW;

/* clg_box - the least L, a, b and the largest L, a, b of the colours of the model.
 *
 * box  receives six values
 * Returns 0, or -1 with "clg_box: nothing built".
 */
TESKA_API int clg_box(const clg *c, double box[6]) TESKA_NOTHROW;

/* clg_inside - whether a cell reaches a colour: its weights are all at least -1e-9.
 *
 * colour  finite
 * Cells whose colours span less than 1e-9 (six times the volume) reach nothing.
 * Returns 1 or 0, or -1 with "clg_inside: nothing built" or "clg_inside: illegal colour" (not finite).
 */
TESKA_API int clg_inside(const clg *c, const double colour[3]) TESKA_NOTHROW;

/* clg_find - what to send for a colour.
 *
 * colour  finite
 * device  receives `channels` values: for a colour inside those of the rule, else those of the nearest colour; may be
 *         null
 * dist    receives 0.0 inside, else the distance of the nearest colour; may be null
 * Returns 1 inside, 0 outside, or -1 with "clg_find: nothing built" or "clg_find: illegal colour".
 */
TESKA_API int clg_find(const clg *c, const double colour[3], double *device, double *dist) TESKA_NOTHROW;

/* clg_nearest - the nearest colour that the device reaches, and what to send for it.
 *
 * colour        finite
 * nearest       receives the colour itself inside, else the nearest point of the surface; may be null, may be colour
 * device, dist  as clg_find
 * Returns 1 inside, 0 outside, or -1 with "clg_nearest: nothing built" or "clg_nearest: illegal colour".
 * Of several nearest points any may be the answer, on every machine the same. For a colour with a coordinate beyond
 * 1e12 the point is sought from that distance, which makes dist larger by at most a part in 1e12; a distance that no
 * double holds is HUGE_VAL.
 */
TESKA_API int clg_nearest(const clg *c, const double colour[3], double nearest[3], double *device,
                          double *dist) TESKA_NOTHROW;

/* clg_colour - the colour of device values by the model.
 *
 * device  the free channels; those after them are not looked at
 * colour  receives the three values
 * Returns 1, or 0 outside the tiling with colour untouched (and for what is not a number), or -1 with
 * "clg_colour: nothing built".
 * At a point of the model its mean colour, but for rounding. Up to 1e-4 of a cell outside still counts as inside.
 */
TESKA_API int clg_colour(const clg *c, const double *device, double colour[3]) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* clg_fill_tetrad - fill a table from colours to device values, every vertex by clg_find.
 *
 *     colour[k] = offset[k] + scale[k] * in[k],   in as md_tetrad_vertex_get gives it
 *
 * The table has one range for all inputs, and Lab has not: a table over 0 .. 1 for L 0 .. 100, a and b -128 .. 127
 * takes scale 100, 255, 255 and offset 0, -128, -128.
 *
 * table          3 inputs, `channels` outputs; outputs receive device values as they are
 * scale, offset  null: 1 and 0
 * Returns the number of vertices whose colour is inside, or -1 with the vertices untouched and one of
 *     "clg_fill_tetrad: nothing built"
 *     "clg_fill_tetrad: table does not fit"
 *     "clg_fill_tetrad: illegal colour"     that of a vertex is not finite
 */
TESKA_API int clg_fill_tetrad(const clg *c, md_tetrad *table, const double scale[3],
                              const double offset[3]) TESKA_NOTHROW;

/* clg_fill_tetrab - fill a table of bytes from colours to device values.
 *
 *     colour[k] = offset[k] + scale[k] * inByte[k],   byte = floor(255 (v - lo) / (hi - lo) + 0.5)
 *
 * For bytes of Lab, scale is 100 / 255, 1, 1 and offset 0, -128, -128. The curves of the table are left alone, and not
 * regarded: fill the table before setting them.
 *
 * table          3 inputs, `channels` outputs
 * scale, offset  null: 1 and 0
 * Returns the number of vertices whose colour is inside, or -1 with the vertices untouched and one of
 *     "clg_fill_tetrab: nothing built"
 *     "clg_fill_tetrab: table does not fit"
 *     "clg_fill_tetrab: illegal colour"     that of a vertex is not finite
 */
TESKA_API int clg_fill_tetrab(const clg *c, md_tetrab *table, const double scale[3],
                              const double offset[3]) TESKA_NOTHROW;

TESKA_END_C
#endif
