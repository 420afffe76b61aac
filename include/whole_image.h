/* whole_image.h - the filters of lines on images that lie in memory as a whole, in any regular way
 *
 * izat, izoom, fusm and flood take an image line by line, so that it need not be in memory. Where it is, one call does:
 *
 *     whole_image photo = {pixels, 6000, 4000, 3, 8, 18000, 3, 1};
 *     whole_image small = {result, 1500, 1000, 3, 8, 4500, 3, 1};
 *     if (whole_image_resize(IZAT_LANCZOS3, &photo, &small, NULL, 0, 1000) == 0) ...
 *
 * Common rules
 *   Strides lead, in bytes, from one line, pixel or component to the next. They are whole multiples of the sample; 0
 *   and negative ones are fine in a source. Target and source must not overlap.
 *   The results are those of the filters fed line by line, to the bit. A strip of target lines is what the whole image
 *   has there: several threads may make the strips of one target at once.
 *   Functions return 1, or 0 with the report of the filter's own functions or the one that their block names; what the
 *   target then holds is open.
 */
#ifndef TESKA_WHOLE_IMAGE_H
#define TESKA_WHOLE_IMAGE_H
#include "teska_api.h"

#include <stdint.h>
TESKA_BEGIN_C

/* An image: component c of pixel (x, y) is at pixels + y * line + x * pixel + c * component. */
typedef struct whole_image {
    void *pixels; /* of a source not written to */
    int width, height, components;
    int depth; /* bits of a sample: 8 or 16 */
    int64_t line, pixel, component;
} whole_image;

/* How to sharpen; see fusm.h. */
typedef struct whole_image_sharpening {
    int radius;             /* 0, 1 or 2 */
    const double *strength; /* of each component */
    const double *noise;    /* likewise; null: 0 */
    int points;             /* of the level reduction; 0: none */
    const double *levels;   /* so many for component 0, then for component 1, .. */
    const double *factors;  /* likewise */
} whole_image_sharpening;

/* In place of a kernel of izat: samples are picked, as izoom does. */
#define WHOLE_IMAGE_PICK (-1)

/* whole_image_resize - bring an image to another size.
 *
 * kernel         IZAT_AREA .. IZAT_LANCZOS3, or WHOLE_IMAGE_PICK
 * source,target  of the same depth and number of components
 * window         left, top, width and height of what is shown, in source pixels; null: everything. Whole numbers for
 *                WHOLE_IMAGE_PICK.
 * first, lines   the strip of target lines to be made
 * Reports "whole_image_resize: illegal image" for a size, depth, number of components or stride that is none, for
 * images that do not match and for a strip beyond the target, else what izat_new, izat_start, izoom_new and izoom_start
 * report.
 */
TESKA_API int whole_image_resize(int kernel, const whole_image *source, const whole_image *target, const double *window,
                                 int first, int lines) TESKA_NOTHROW;

/* whole_image_sharpen - sharpen an image.
 *
 * source,target  of the same size, depth and number of components
 * first, lines   the strip of lines to be made
 * Reports "whole_image_sharpen: illegal image" as above, "whole_image_sharpen: insufficient memory" for the line of
 * samples that nobody wants, else what fusm_new, fusm_start and fusm_level_red_set report.
 * Kept: without memory for its tables a filter of fusm corrects nothing and does not say so.
 */
TESKA_API int whole_image_sharpen(const whole_image_sharpening *how, const whole_image *source,
                                  const whole_image *target, int first, int lines) TESKA_NOTHROW;

/* whole_image_flood - mark the pixels that are connected with a pixel and of its colour.
 *
 * x, y       the pixel; outside the image nothing is marked
 * tolerance  a pixel is of the colour when no component differs by more than this; 0 and above
 * region     height lines of width bytes: 1 for the pixels found, 0 for the others
 * Reports "whole_image_flood: illegal image" as above, else what flood_new reports. Without memory for its notes the
 * fill may leave parts of the region and reports what flood_do does; the result is 1.
 */
TESKA_API int whole_image_flood(const whole_image *source, int x, int y, int tolerance,
                                unsigned char *region) TESKA_NOTHROW;

TESKA_END_C
#endif
