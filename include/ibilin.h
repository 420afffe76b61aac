/* ibilin.h - bilinear resampling of images that come line by line
 *
 * An image of 1 to 4 components is brought to another size while its lines pass by: source lines are fed one after the
 * other, and every destination line is handed out as soon as the source lines it needs have arrived.
 *
 *     static void consume(int component) { ... }                    takes row[component] away
 *
 *     ibilin *zoom = ibilin_new(0);
 *     ibilin_start(zoom, 3, srcLines, srcWidth, dstLines, dstWidth, consume, 3, 1);
 *     for (y = 0; y < srcLines; ++y)                                interleaved in, three planes out
 *         ibilin_rgb_b(zoom, rgb, rgb + 1, rgb + 2, &row[0], &row[1], &row[2]);
 *     ibilin_kill(zoom);
 *
 * Rule
 *   Source sample 0 lies on destination sample 0, and the scale is the ratio of the sizes. With x1 = x0 + 1, but the
 *   last sample where that is outside,
 *
 *       f = x * srcWidth / dstWidth;  x0 = floor(f);  wr = floor((f - x0) * 65536);  wl = 65536 - wr
 *       sample(x) = (in[x0] * wl + in[x1] * wr) >> 16
 *
 *   and then likewise from line to line with what has been interpolated inside the two lines. Only integers are
 *   rounded, downwards, once in each direction; 16-bit samples use their whole range.
 *
 * Common rules
 *   Components, samples and lines count from 0. A step is the distance in samples from one pixel to the next, on
 *   either side; 0 and negative steps are fine, and samples between those of a component stay as they are.
 *   All lines of an image are fed with the same depth.
 *   A record is used by one thread at a time. Records share nothing: any number of threads may resample at once, each
 *   with a record of its own.
 */
#ifndef TESKA_IBILIN_H
#define TESKA_IBILIN_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of one resampling. */
typedef struct ibilin ibilin;

/* Called on the caller's thread when a destination line of this component has been written to the caller's output line;
 * the next one of the component may be written to the same place. It must not use the record. */
typedef void (*ibilin_callback)(int component);

/* The same with the context that was given to ibilin_start_with. */
typedef void (*ibilin_callback_with)(void *context, int component);

/* ---- Life ------------------------------------------------------------------------------------------------------- */

/* ibilin_new - create a record, which ignores lines until ibilin_start.
 *
 * value  kept with the record; has no meaning
 * Returns the record, owned by the caller (ibilin_kill), or NULL with "ibilin_new:unable to create ibilin".
 */
TESKA_API ibilin *ibilin_new(int value) TESKA_NOTHROW;

/* ibilin_kill - free a record; null is accepted. Returns 0. */
TESKA_API int ibilin_kill(ibilin *record) TESKA_NOTHROW;

/* ---- Change ----------------------------------------------------------------------------------------------------- */

/* ibilin_start - begin an image; an unfinished one is dropped.
 *
 * nComponents         1 .. 4
 * srcLines, srcWidth  lines that will be fed, and their pixels; each at least 1
 * dstLines, dstWidth  lines that are handed out, and their pixels; each at least 1
 * callback            called for every component of every destination line
 * inStep              samples from one pixel to the next in the lines fed
 * outStep             the same in the lines handed out
 * Returns 1, or 0 with one of
 *     "ibilin_start: illegal dest image"      a size or the number of components outside its range
 *     "ibilin_start: unsufficient resources"  no memory, or more than INT_MAX bytes for one of its blocks
 * and then lines are ignored until a start succeeds. All memory is taken here: about 40 bytes for each sample of a
 * destination line, whatever the number of lines.
 */
TESKA_API int ibilin_start(ibilin *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth,
                           ibilin_callback callback, int inStep, int outStep) TESKA_NOTHROW;

/* ibilin_start_with - ibilin_start with a callback that gets a pointer of the caller's, so that any number of images
 * may be under way without variables of the whole program.
 *
 * context  handed to the callback; not looked at
 */
TESKA_API int ibilin_start_with(ibilin *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth,
                                ibilin_callback_with callback, void *context, int inStep, int outStep) TESKA_NOTHROW;

/* ---- Process ---------------------------------------------------------------------------------------------------- */

/* ibilin_mono - feed the next line of component 0, of 16-bit samples.
 *
 * line  srcWidth samples, inStep apart; not kept
 * out   holds the address of the output line, dstWidth samples, outStep apart. It is read once, when the line is fed,
 *       and only if the line is used; the address then serves all destination lines until the next line of the
 *       component is used. So a callback that changes the holder does not redirect the lines of this call. The output
 *       line may be the line itself.
 * Returns 1; cannot fail.
 *
 * Line s of a component is used when s is the upper or the lower line of the next destination line; others, and those
 * that come after the last destination line, are only counted. When line s of the last component, number
 * nComponents - 1, has been fed, all destination lines whose lower line is s or an earlier one are handed out: for each
 * line, for each component in rising order, the samples are written and the callback is called.
 *
 * Every component blends the two lines it used last; a component that has used one line only blends it with itself.
 * Kept: where the upper line is the last one and there is none below it, the last but one takes the weight of the last
 * and the last takes that of the missing one. So equal sizes give back every line but the last, in whose place the last
 * but one comes again, and lines 100, 200 brought from 2 to 4 give 100, 150, 100, 150.
 */
TESKA_API int ibilin_mono(ibilin *record, const unsigned short *line, unsigned short **out) TESKA_NOTHROW;

/* ibilin_rgb - ibilin_mono for components 0, 1 and 2 in this order; those the image does not have are left out.
 *
 * line0 .. 2  as line of ibilin_mono, for each component
 * out0 .. 2   as out of ibilin_mono
 */
TESKA_API int ibilin_rgb(ibilin *record, const unsigned short *line0, const unsigned short *line1,
                         const unsigned short *line2, unsigned short **out0, unsigned short **out1,
                         unsigned short **out2) TESKA_NOTHROW;

/* ibilin_cmyk - ibilin_mono for components 0 to 3 in this order; those the image does not have are left out.
 *
 * line0 .. 3  as line of ibilin_mono, for each component
 * out0 .. 3   as out of ibilin_mono
 */
TESKA_API int ibilin_cmyk(ibilin *record, const unsigned short *line0, const unsigned short *line1,
                          const unsigned short *line2, const unsigned short *line3, unsigned short **out0,
                          unsigned short **out1, unsigned short **out2, unsigned short **out3) TESKA_NOTHROW;

/* ibilin_mono_b - ibilin_mono for bytes. */
TESKA_API int ibilin_mono_b(ibilin *record, const unsigned char *line, unsigned char **out) TESKA_NOTHROW;

/* ibilin_rgb_b - ibilin_rgb for bytes. */
TESKA_API int ibilin_rgb_b(ibilin *record, const unsigned char *line0, const unsigned char *line1,
                           const unsigned char *line2, unsigned char **out0, unsigned char **out1,
                           unsigned char **out2) TESKA_NOTHROW;

/* ibilin_cmyk_b - ibilin_cmyk for bytes. */
TESKA_API int ibilin_cmyk_b(ibilin *record, const unsigned char *line0, const unsigned char *line1,
                            const unsigned char *line2, const unsigned char *line3, unsigned char **out0,
                            unsigned char **out1, unsigned char **out2, unsigned char **out3) TESKA_NOTHROW;

TESKA_END_C
#endif
