/* fusm.h - unsharp masking of an image that comes line by line
 *
 * A line is sharpened when the lines around it have been fed: each output line comes up to two lines after its input.
 * Finished lines are handed over one component at a time, through a callback.
 *
 *     static unsigned char sharp[3][2048];
 *     static void done(int k) { write_component(k, sharp[k]); }
 *
 *     fusm *usm = fusm_new(1, 255, 3, 3, NULL, NULL);
 *     double strength[3] = {1.5, 1.5, 1.5}, noise[3] = {0.02, 0.02, 0.02};
 *     fusm_stren_set(usm, strength);
 *     fusm_noise_red_set(usm, noise);
 *     unsigned char *out[3] = {sharp[0], sharp[1], sharp[2]};
 *     fusm_start(usm, lines, 2048, done, 3, 0, 1);             interleaved input, planar output
 *     for (int y = 0; y < lines; y++) {
 *         unsigned char *in[3] = {image[y], image[y] + 1, image[y] + 2};
 *         fusm_b_do(usm, in, out, NULL);
 *     }
 *     fusm_kill(usm);
 *
 * The rule
 *   V is the largest sample value, h the weighted sum of the samples around a pixel:
 *
 *         radius 0            radius 1                radius 2
 *                                -1                 .  -1  -2  -1   .
 *            -1                  -2                -1   .   2   .  -1
 *        -1   4  -1      -1  -2  12  -2  -1        -2   2   8   2  -2
 *            -1                  -2                -1   .   2   .  -1
 *                                -1                 .  -1  -2  -1   .
 *
 *   With level reduction h becomes factor(sample) * h, arithmetically shifted right by 8. The result is the sample plus
 *   table[min(h, V)], or minus table[min(-h, V)] for a negative h; at least 0, and at most the limit of the pixel or,
 *   without limits, V. In the first and last columns that the window does not reach, h is 0.
 *   The table is made of strength and noise reduction. With the gain g = strength, strength / 3, strength * 0.25 for
 *   radius 0, 1, 2, T = V * noise cut to an integer, and half = T / 2 without its remainder:
 *
 *       table[d] = 0                                        d < half
 *                  floor(((d * g) * (d - half)) / half)     half <= d < T       0 for half = 0
 *                  floor(d * g)                             d >= T
 *
 *   in doubles and in this order, cut to 0 .. 65535; NaN gives 0. So a negative strength gives no correction.
 *   Kept: radius 2 is a band-pass: neighbours count with the sign of the middle.
 *
 * Common rules
 *   A pixel has C components, of which K are sharpened: the processed components 0 .. K - 1, in the order of the list
 *   given to fusm_new. Arrays of lines hold one pointer for each processed component.
 *   Steps lead from one pixel to the next, in samples: C for interleaved data, 1 for planar. 0 and negative ones are
 *   followed as they are. What lies between the samples of an output line stays as it is.
 *   The first and last reach lines, reach = 1 for radius 0, else 2, are copied: no clip, no limit. An image of less
 *   than 2 * reach + 1 lines is copied whole.
 *   The record keeps pointers, not lines: an input line and its limits must stay as they are until the 2 * reach lines
 *   after it have been fed, with a conversion the reach lines after it, and outputs must not overlap them meanwhile.
 *   The caller owns all lines. Nothing is allocated while lines are fed.
 *   Failures are reported through error_mess_fl (error_mess.h). Except where a block says so, a record must not be
 *   null.
 *   A record serves one image at a time, on one thread; callbacks run on it, inside the call that feeds a line. They
 *   must not throw and must not call functions of the same record. Records share nothing: any number of threads may
 *   sharpen at once, each with a record of its own.
 */
#ifndef TESKA_FUSM_H
#define TESKA_FUSM_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a filter. */
typedef struct fusm fusm;

/* Called after each line of a component has been written, with the number of the processed component. The output
 * pointers are read again for every component: a callback may lead the next ones elsewhere. */
typedef void (*fusm_callback)(int k);

/* The same with the context that was given to fusm_start_with. */
typedef void (*fusm_callback_with)(void *context, int k);

/* Conversion: fills lines on which the high-pass is to work in place of the input lines. Called once for every line.
 *
 * in       the K pointers of the line that is fed
 * inStep   its step
 * out      C lines of `width` samples, one for each component of a pixel; bytes under fusm_b_do, unsigned shorts under
 *          fusm_do, as the input. Owned by the record.
 * outStep  1
 * Processed component k reads line list[k]. What is corrected, and what level factors depend on, is the input line.
 */
typedef void (*fusm_conversion)(void **in, int inStep, void **out, int outStep, int width);

/* The same with the context that was given to fusm_new_with. */
typedef void (*fusm_conversion_with)(void *context, void **in, int inStep, void **out, int outStep, int width);

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* fusm_new - create a filter of strength 1.0 without noise reduction, for all components.
 *
 * radius         0, 1 or 2: which window
 * maxValue       V: 255 for bytes, at most 65535 for 16 bits; negative: 0. No result exceeds what a sample holds.
 * nProcessed     K, 1 .. 4
 * nComponents    C, 1 .. 10
 * componentList  K components of a pixel, each 0 .. C - 1; null: 0 .. K - 1. Only a conversion makes a difference
 *                between lists: without one, processed component k reads the k-th line it is given.
 * conversion     null: the high-pass works on the input lines
 * Returns the filter, owned by the caller (fusm_kill), or NULL with "usm_new: illegal radius",
 * "usm_new: illegal nr comp" or "usm_new: unable to malloc".
 * O(V * K). Kept: the messages say usm_new.
 * Kept: when there is no memory for the tables, nothing is reported and the filter is there without them: it corrects
 * nothing until a setter finds memory for them.
 */
TESKA_API fusm *fusm_new(int radius, int maxValue, int nProcessed, int nComponents, const int *componentList,
                         fusm_conversion conversion) TESKA_NOTHROW;

/* fusm_new_with - fusm_new with a conversion that gets a pointer of the caller's.
 *
 * conversion  null: the high-pass works on the input lines
 * context     handed to the conversion; not looked at
 */
TESKA_API fusm *fusm_new_with(int radius, int maxValue, int nProcessed, int nComponents, const int *componentList,
                              fusm_conversion_with conversion, void *context) TESKA_NOTHROW;

/* fusm_kill - free a filter.
 *
 * record  may be null
 * Returns 0, to be written back into the handle.
 */
TESKA_API int fusm_kill(fusm *record) TESKA_NOTHROW;

/* ---- Change: between images -------------------------------------------------------------------------------------- */

/* fusm_stren_set - set the strengths of the K processed components. Returns 1. O(V * K). */
TESKA_API int fusm_stren_set(fusm *record, const double *strengths) TESKA_NOTHROW;

/* fusm_noise_red_set - set below which part of V the high-pass is taken for noise, for K components.
 *
 * noise  fractions of V; 0: nothing is noise
 * Returns 1. O(V * K).
 */
TESKA_API int fusm_noise_red_set(fusm *record, const double *noise) TESKA_NOTHROW;

/* fusm_level_red_set - let the strength depend on the sample, or not any more.
 *
 * For each component a piecewise-linear curve goes through its points; the outer lines continue (interp_double.h).
 *
 *     factor(v) = floor(256 * curve(v / V)), cut to -32768 .. 32767, NaN to 0;     v / V is 0 for V = 0
 *
 * nPoints  at least 2; 0 and less switch level reduction off
 * levels   nPoints rows of K numbers: where, as fractions of V
 * factors  likewise: 1.0 changes nothing, 0.0 leaves the sample as it is, negative ones turn the high-pass round
 * Returns 1, or 0 when a curve cannot be made ("fusm_level_red_set: unable to create lin interp", after the curve's own
 * report), filled or evaluated (the curve's own report), or when there is no memory for the factors (not reported).
 * Level reduction is off then.
 * O(V * K * log nPoints).
 */
TESKA_API int fusm_level_red_set(fusm *record, int nPoints, const double *levels, const double *factors) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* fusm_stren_get, fusm_noise_red_get - the K values in force, inside the record and valid as long as it. Cannot fail.
 *
 * Writing through the pointer has no effect on lines before the next setter.
 */
TESKA_API double *fusm_stren_get(fusm *record) TESKA_NOTHROW;
TESKA_API double *fusm_noise_red_get(fusm *record) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* fusm_start - begin an image.
 *
 * nLines     how many lines will be fed; 0 and less: none counts
 * width      pixels in a line; 0 and less: lines are empty, their callbacks come
 * callback   not null
 * inStep, limitStep, outStep  steps of the lines that will be fed
 * Returns 1, or 0 with "fusm_start: malloc comps_buf failed" or "fusm_start: malloc HPFc_buf failed"; feeding then does
 * nothing.
 * Memory: (4 * C + 4 * ((C + 1) / 2)) * width bytes, with a conversion 2 * C * width more for each of the 3 or 5 lines
 * of the window.
 */
TESKA_API int fusm_start(fusm *record, int nLines, int width, fusm_callback callback, int inStep, int limitStep,
                         int outStep) TESKA_NOTHROW;

/* fusm_start_with - fusm_start with a callback that gets a pointer of the caller's, so that any number of images may be
 * under way without variables of the whole program.
 *
 * context  handed to the callback; not looked at
 */
TESKA_API int fusm_start_with(fusm *record, int nLines, int width, fusm_callback_with callback, void *context,
                              int inStep, int limitStep, int outStep) TESKA_NOTHROW;

/* fusm_b_do, fusm_do - feed a line of bytes, of 16-bit samples; all lines of an image alike.
 *
 * inLine     K input lines
 * outLine    K output lines; each is written and handed over before the next one is begun
 * limitLine  upper bounds, one per pixel, in place of V; they go with this input line. Null: V
 * Returns 1. Before fusm_start, after one that failed, and after the last line of the image nothing else happens.
 *
 * The first reach lines come at once; then none for reach lines; then each call hands over the line fed reach lines
 * before. The last call hands over the last reach lines too, through the pointers that outLine then holds.
 */
TESKA_API int fusm_b_do(fusm *record, unsigned char **inLine, unsigned char **outLine,
                        const unsigned char *limitLine) TESKA_NOTHROW;
TESKA_API int fusm_do(fusm *record, unsigned short **inLine, unsigned short **outLine,
                      const unsigned short *limitLine) TESKA_NOTHROW;

TESKA_END_C
#endif
