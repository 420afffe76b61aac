/* fir.h - a square filter with finite impulse response, for images that arrive line by line
 *
 * The kernel has 2 * radius + 1 lines and columns. Each of one, three or four components is filtered by itself, in
 * 8-bit or 16-bit samples. Finished lines are handed over by a callback, radius lines after their input.
 *
 *     static void finished(int component) { ... }              takes *out[component] away
 *
 *     fir *filter = fir_new(1, 255);
 *     fir_start(filter, 3, height, width, finished, 3, 3);     once per image; pixels r, g, b, r, g, b, ..
 *     for (int y = 0; y < height; y++)
 *         fir_rgb_b(filter, line[y], line[y] + 1, line[y] + 2, &out[0], &out[1], &out[2]);
 *     fir_kill(filter);
 *
 * Common rules
 *   H lines give H lines, in their order, whatever H: when the last one has been fed, those still inside follow at
 *   once.
 *   The first and last radius lines of an image, and the first and last radius pixels of every line, are passed through
 *   as they are. So are images of fewer lines or columns than the kernel.
 *   Kept: there is no function that sets coefficients, and all are 0. Every filtered pixel is 0.
 *   A step is the distance in samples from one pixel to the next; 0 and negative steps are fine. Samples between the
 *   pixels of an output stay as they are.
 *   An input line is read until 2 * radius further lines have been fed, and must stay unchanged that long. Outputs must
 *   not overlap lines that are still read; the first radius lines may be passed through in place.
 *   Where an output line goes is read anew from its holder for each line of each component, so a callback may redirect
 *   later ones. It runs on the caller's thread, must not use the record and must not throw.
 *   Memory does not depend on the number of lines, and nothing is allocated for a line.
 *   Failures are reported through error_mess_fl (error_mess.h); only fir_new can fail.
 *   A record serves one image at a time, on one thread. Records share nothing: any number of threads may filter at
 *   once, each with a record of its own.
 */
#ifndef TESKA_FIR_H
#define TESKA_FIR_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a filter. */
typedef struct fir fir;

/* Called when a line of a component has been written; components count from 0 in the order of the arguments. */
typedef void (*fir_callback)(int component);

/* The same with the context that was given to fir_start_with. */
typedef void (*fir_callback_with)(void *context, int component);

/* ---- Life ------------------------------------------------------------------------------------------------------- */

/* fir_new - create a filter.
 *
 * radius    0 .. 10
 * maxValue  the largest result; not negative
 * Returns the record, owned by the caller (fir_kill), or NULL with "fir_new: illegal radius" or
 * "fir_new: unable to malloc".
 */
TESKA_API fir *fir_new(int radius, int maxValue) TESKA_NOTHROW;

/* fir_kill - free a filter.
 *
 * record  may be null
 * Returns 0, to be written back into the handle.
 */
TESKA_API int fir_kill(fir *record) TESKA_NOTHROW;

/* ---- Process ---------------------------------------------------------------------------------------------------- */

/* fir_start - begin an image.
 *
 * nComponents      components that the line functions will feed
 * nLines           lines of the image, at least 1; further ones are ignored
 * width            pixels of a line; 0 and less: lines without pixels
 * callback         not null
 * inStep, outStep  samples from one pixel to the next
 * Returns the record. Cannot fail.
 */
TESKA_API fir *fir_start(fir *record, int nComponents, int nLines, int width, fir_callback callback, int inStep,
                         int outStep) TESKA_NOTHROW;

/* fir_start_with - fir_start with a callback that gets a pointer of the caller's, so that any number of images may be
 * under way without variables of the whole program.
 *
 * context  handed to the callback; not looked at
 */
TESKA_API fir *fir_start_with(fir *record, int nComponents, int nLines, int width, fir_callback_with callback,
                              void *context, int inStep, int outStep) TESKA_NOTHROW;

/* fir_mono, fir_rgb, fir_cmyk - feed the next line of each component, 16-bit samples.
 *
 * Once radius further lines have been fed, it is written and handed over:
 *
 *     sum = sum of sample(y - radius + i, x - radius + j) * floor(coefficient(i, j) * 65536),   0 <= i, j <= 2 * radius
 *     out(x) = min(max(sum, 0) / 65536, maxValue), rounded down
 *
 * with the sum modulo 2^32, read as signed. Each component is written and then its callback called, component 0 first;
 * lines follow each other.
 *
 * line, line0 .. 3  not null
 * out, out0 .. 3    holders of the addresses of the output lines
 * Returns 1.
 */
TESKA_API int fir_mono(fir *record, const unsigned short *line, unsigned short **out) TESKA_NOTHROW;
TESKA_API int fir_rgb(fir *record, const unsigned short *line0, const unsigned short *line1,
                      const unsigned short *line2, unsigned short **out0, unsigned short **out1,
                      unsigned short **out2) TESKA_NOTHROW;
TESKA_API int fir_cmyk(fir *record, const unsigned short *line0, const unsigned short *line1,
                       const unsigned short *line2, const unsigned short *line3, unsigned short **out0,
                       unsigned short **out1, unsigned short **out2, unsigned short **out3) TESKA_NOTHROW;

/* fir_mono_b, fir_rgb_b, fir_cmyk_b - the same with 8-bit samples; of a result above 255 the low byte remains. */
TESKA_API int fir_mono_b(fir *record, const unsigned char *line, unsigned char **out) TESKA_NOTHROW;
TESKA_API int fir_rgb_b(fir *record, const unsigned char *line0, const unsigned char *line1, const unsigned char *line2,
                        unsigned char **out0, unsigned char **out1, unsigned char **out2) TESKA_NOTHROW;
TESKA_API int fir_cmyk_b(fir *record, const unsigned char *line0, const unsigned char *line1,
                         const unsigned char *line2, const unsigned char *line3, unsigned char **out0,
                         unsigned char **out1, unsigned char **out2, unsigned char **out3) TESKA_NOTHROW;

TESKA_END_C
#endif
