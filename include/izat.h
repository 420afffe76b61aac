/* izat.h - resampling of images that come line by line: by area and taps (izat), by picking samples (izoom)
 *
 * An image is brought to another size while its lines pass by: source lines are fed one after the other, and every
 * destination line is handed out as soon as the source lines it needs have arrived. Memory does not depend on the
 * number of lines. izat averages; izoom never mixes samples, which suits screens, masks held in bytes, tags and proofs
 * of separations.
 *
 *     static void consume(void *context, int line) { ... }          takes the samples where row points to
 *
 *     izat *zoom = izat_new(IZAT_LANCZOS3);
 *     izat_start(zoom, 3, srcLines, srcWidth, dstLines, dstWidth, consume, &job, 3, 3);
 *     for (y = 0; y < srcLines; ++y)
 *         izat_line_b(zoom, rgb + y * 3 * srcWidth, &row);
 *     izat_kill(zoom);
 *
 * Phase
 *   Pixel j covers j .. j + 1, its centre is j + 1/2. Destination pixel x covers left + x s .. left + (x + 1) s, with
 *   s = width / dstWidth: nothing is shifted by half a pixel. The window (left, top, width, height) is the whole image
 *   unless set otherwise; it says what is shown, not what is read, so that strips of an image that are zoomed one by
 *   one join without a seam.
 *
 * Common rules
 *   Pixels, components and lines count from 0. Component c of pixel x of a line is line[x * step + c]: components are
 *   interleaved; of a planar image every plane takes a record. Any step is fine, 0 and negative ones too: with a
 *   negative one the line points to pixel 0. Between the components of destination pixels nothing is written; where
 *   pixels overlap, what remains is not defined.
 *   All lines of an image are fed with the same depth: 16 bits use 0 .. 65535, bytes 0 .. 255.
 *   A record is used by one thread at a time; records are independent of each other.
 *   Results are the same bits on every machine. All memory is taken when an image begins.
 */
#ifndef TESKA_IZAT_H
#define TESKA_IZAT_H
#include "teska_api.h"
TESKA_BEGIN_C

/* ---- Picking samples --------------------------------------------------------------------------------------------- */

/* Column x of the destination is source column left + [(2x + 1) * width / (2 dstWidth)], line y source line
 * top + [(2y + 1) * height / (2 dstLines)], where [] rounds down: the pixel in which the centre lies, on a border the
 * right or lower one. A factor k repeats every pixel k times; 1/k picks number [k/2] of every k. 3 to 5 columns are
 * 0 0 1 2 2; 8 to 3 columns 1 4 6. */

/* The opaque record of one picking. */
typedef struct izoom izoom;

/* Called on the caller's thread, inside the call that feeds a line, when destination line `line` is where *out pointed.
 *
 * context  as given to izoom_start
 * It may change *out for the lines that follow. It must not use the record and must not throw.
 */
typedef void (*izoom_callback)(void *context, int line);

/* izoom_new - create a record, which ignores lines until izoom_start.
 *
 * Returns the record, owned by the caller (izoom_kill), or NULL with "izoom_new: insufficient memory".
 */
TESKA_API izoom *izoom_new(void) TESKA_NOTHROW;

/* izoom_kill - free a record; null is accepted. Returns 0. */
TESKA_API int izoom_kill(izoom *record) TESKA_NOTHROW;

/* izoom_window_set - set the window of the images begun from now on, in source pixels.
 *
 * Four zeros, the initial state, stand for the whole image. Checked by izoom_start. Returns 1.
 */
TESKA_API int izoom_window_set(izoom *record, int left, int top, int width, int height) TESKA_NOTHROW;

/* izoom_start - begin an image; an unfinished one is dropped.
 *
 * nComponents        1 .. 16
 * srcLines, srcWidth size of the image; each at least 1
 * dstLines, dstWidth size to bring its window to; each at least 1
 * callback           called for every destination line; may be null
 * context            handed to the callback; not looked at
 * inStep, outStep    samples from one pixel to the next in the lines fed and handed out
 * Returns 1, or 0 with the first of these that applies, and then lines are ignored until a start succeeds:
 *     "izoom_start: illegal image"         nComponents or a size outside its range
 *     "izoom_start: illegal window"        left or top below 0, width or height below 1, or it ends outside the image
 *     "izoom_start: insufficient memory"   no memory, or a block above INT_MAX bytes: the columns take an int each, one
 *                                          line 2 * nComponents * dstWidth bytes
 */
TESKA_API int izoom_start(izoom *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth,
                          izoom_callback callback, void *context, int inStep, int outStep) TESKA_NOTHROW;

/* izoom_line - feed the next line, of 16-bit samples.
 *
 * line  srcWidth pixels, inStep apart; not kept
 * out   holder of the address of dstWidth pixels, outStep apart; not null. It is read anew for every destination line.
 *       While *out is null the line is not written, but its callback is called. It must not overlap `line`.
 * Returns how many destination lines this call handed out, in rising order: those whose source line this is. 0 before
 * a start and for lines beyond srcLines. Cannot fail.
 */
TESKA_API int izoom_line(izoom *record, const unsigned short *line, unsigned short **out) TESKA_NOTHROW;

/* izoom_line_b - izoom_line for bytes. */
TESKA_API int izoom_line_b(izoom *record, const unsigned char *line, unsigned char **out) TESKA_NOTHROW;

/* ---- Averaging --------------------------------------------------------------------------------------------------- */

/* What a destination pixel is made of. With s = width / dstWidth, f the larger of s and 1, c = left + (x + 1/2) s, a
 * pixel of the source at distance d = (j + 1/2) - c has the weight k(d / f); by area it has its share of what x covers:
 *
 *     t = |d / f|      reach   k, and 0 from the reach on
 *     IZAT_AREA          -     how much of j .. j + 1 lies in left + x s .. left + (x + 1) s
 *     IZAT_TRIANGLE      1     1 - t
 *     IZAT_CATMULL_ROM   2     1 + t t (1.5 t - 2.5), from 1 on 2 + t (-4 + t (2.5 - 0.5 t))
 *     IZAT_MITCHELL      2     (16 + t t (21 t - 36)) / 18, from 1 on (32 + t (-60 + t (36 - 7 t))) / 18
 *     IZAT_LANCZOS3      3     3 sin(pi t) sin(pi t / 3) / (pi t)^2
 *
 * What lies outside the image is left out, and the weights v of the rest are made integers of sum 16384 by rounding
 * their running sum: W_i = C_i - C_(i-1), C_i = [(v_0 + .. + v_i) / total * 16384 + 1/2]. Lines have weights V
 * likewise.
 * A sample has one rounding, after both directions, and is cut to the range of its depth:
 *
 *     out = [(sum over i, j of V_i W_j sample(i, j) + 2^27) / 2^28]
 *
 * So constants stay what they are; with s = 1 and a window of whole pixels all kernels but Mitchell give the source
 * back; and the rounding of the weights costs at most 2^-15 of the total variation of the samples under the kernel:
 * 0.008 for bytes and 2 for 16 bits across an edge from black to white.
 * Sources: D. Mitchell, A. Netravali, Reconstruction filters in computer graphics, Computer Graphics 22 (1988) 221-228;
 * E. Catmull, R. Rom, A class of local interpolating splines, in Computer Aided Geometric Design, 1974, 317-326;
 * C. Lanczos, Applied Analysis, 1956, chapter 4.
 */
enum { IZAT_AREA = 0, IZAT_TRIANGLE = 1, IZAT_CATMULL_ROM = 2, IZAT_MITCHELL = 3, IZAT_LANCZOS3 = 4 };

/* The opaque record of one averaging. */
typedef struct izat izat;

/* As izoom_callback, with the context of izat_start. */
typedef void (*izat_callback)(void *context, int line);

/* izat_new - create a record, which ignores lines until izat_start.
 *
 * kernel  IZAT_AREA .. IZAT_LANCZOS3
 * Returns the record, owned by the caller (izat_kill), or NULL with "izat_new: illegal kernel" or
 * "izat_new: insufficient memory".
 */
TESKA_API izat *izat_new(int kernel) TESKA_NOTHROW;

/* izat_kill - free a record; null is accepted. Returns 0. */
TESKA_API int izat_kill(izat *record) TESKA_NOTHROW;

/* izat_window_set - set the window of the images begun from now on, in source pixels and fractions of them.
 *
 * Four zeros, the initial state, stand for the whole image. Checked by izat_start. Returns 1.
 */
TESKA_API int izat_window_set(izat *record, double left, double top, double width, double height) TESKA_NOTHROW;

/* izat_strip_set - set which destination lines of the images begun from now on are handed out.
 *
 * Lines of a destination that are made apart, by several threads with a record each, are the bits of the whole. All
 * source lines are fed; those that the strip does not need are only counted.
 *
 * first, lines  destination lines first .. first + lines - 1; two zeros, the initial state, stand for all. Checked by
 *               izat_start. Returns 1.
 */
TESKA_API int izat_strip_set(izat *record, int first, int lines) TESKA_NOTHROW;

/* izat_start - begin an image; an unfinished one is dropped.
 *
 * The arguments are those of izoom_start.
 * Returns 1, or 0 with the first of these that applies, and then lines are ignored until a start succeeds:
 *     "izat_start: illegal image"         nComponents or a size outside its range
 *     "izat_start: illegal window"        a number is not finite, left or top is below 0, width or height not above 0,
 *                                         or left + width exceeds srcWidth or top + height srcLines
 *     "izat_start: illegal strip"         first below 0, lines below 1, or it ends after the last destination line
 *     "izat_start: insufficient memory"   no memory, or a block above INT_MAX bytes. A destination pixel has T weights
 *                                         in a direction: about 2 reach s when reducing, 2 reach when enlarging, the
 *                                         reach of an area being 1/2. A column takes 2 T bytes, T rounded up to a
 *                                         multiple of 8, and another block 4; the lines that wait take 4 (T + 2) bytes
 *                                         for each sample of a destination line. Columns are rounded up to a multiple
 *                                         of 64.
 */
TESKA_API int izat_start(izat *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth,
                         izat_callback callback, void *context, int inStep, int outStep) TESKA_NOTHROW;

/* izat_line - feed the next line, of 16-bit samples.
 *
 * line  srcWidth pixels, inStep apart; not kept
 * out   holder of the address of dstWidth pixels, outStep apart; not null. It is read anew for every destination line.
 *       While *out is null the line is not written, but its callback is called. It may be the line fed, or lie in it.
 * Returns how many destination lines this call handed out, in rising order: those whose last source line this is. 0
 * before a start and for lines beyond srcLines. Lines that no destination line needs are only counted. Cannot fail.
 */
TESKA_API int izat_line(izat *record, const unsigned short *line, unsigned short **out) TESKA_NOTHROW;

/* izat_line_b - izat_line for bytes. */
TESKA_API int izat_line_b(izat *record, const unsigned char *line, unsigned char **out) TESKA_NOTHROW;

TESKA_END_C
#endif
