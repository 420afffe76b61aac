/* convert_rows.h - conversion of pixels that lie in memory in any regular way, by one call
 *
 * The tables convert a run: pixels at one step from each other. Pictures are more than a run when their lines are
 * padded, cropped, mirrored or taken from a larger array. One call converts them all: axes that continue each other are
 * joined, and runs go along a long axis.
 *
 *     convert_rows_layout picture = {2, shape, in_strides, out_strides, NULL, NULL};         lines and columns
 *     teska_convert_rows(CONVERT_ROWS_TETRAB, table, 3, rgb, 4, cmyk, &picture);
 *
 * Common rules
 *   The results are those of the table's own function, pixel by pixel.
 *   Nothing is allocated and nothing kept. Any number of threads may convert through one table at once, each with
 *   arrays of pointers of its own.
 */
#ifndef TESKA_CONVERT_ROWS_H
#define TESKA_CONVERT_ROWS_H
#include "teska_api.h"

#include <stdint.h>
TESKA_BEGIN_C

/* Which kind the table is, and what its samples are. */
enum {
    CONVERT_ROWS_TETRAB = 0,    /* md_tetrab_interp: bytes */
    CONVERT_ROWS_TETRAS = 1,    /* md_tetras_interp: 16 bits */
    CONVERT_ROWS_TETRAS_B = 2,  /* md_tetras_interp_b: bytes */
    CONVERT_ROWS_TETRAS_BS = 3, /* md_tetras_interp_bs: bytes to 16 bits */
    CONVERT_ROWS_TETRAS_SB = 4, /* md_tetras_interp_sb: 16 bits to bytes */
    CONVERT_ROWS_TETRAD = 5,    /* md_tetrad_interp: doubles */
    CONVERT_ROWS_CLUT = 6       /* clut_table_interp: doubles */
};

/* At most so many axes. */
#define CONVERT_ROWS_MAX_RANK 32

/* Where the pixels lie. Strides lead, in bytes, from one pixel to the next along an axis; 0 and negative ones are
 * fine. They are whole multiples of the sample. */
typedef struct convert_rows_layout {
    int rank;                    /* axes; 0 is a single pixel */
    const int64_t *shape;        /* pixels along each axis; a 0 makes it empty */
    const int64_t *in_strides;   /* of every input */
    const int64_t *out_strides;  /* of every output; pixels with outputs on one sample: which one stays is open */
    const unsigned char *mask;   /* null, or of the first pixel: only those with a mask above 0 are converted */
    const int64_t *mask_strides; /* of the mask; not looked at when there is none */
} convert_rows_layout;

/* teska_convert_rows - convert all pixels of a layout.
 *
 * kind     CONVERT_ROWS_*
 * table    the table of that kind, handed to its function, which does not change it
 * inputs   N of the table, and `in` N pointers to the first pixel's samples
 * outputs  M of the table, and `out` M pointers likewise; a null entry skips that output. Both arrays of pointers are
 *          changed during the call and hold what they held when it returns.
 * Outputs may overlap inputs where the table's function allows it for a single pixel, provided that each pixel's
 * outputs overlap the inputs of no other.
 * Returns 1; or 0 with nothing converted and one of
 *     "teska_convert_rows: illegal kind"      another kind, a null table, N or M below 1
 *     "teska_convert_rows: illegal layout"    a rank or a count outside its range, or a stride of no whole samples
 */
TESKA_API int teska_convert_rows(int kind, void *table, int inputs, void **in, int outputs, void **out,
                                 const convert_rows_layout *layout) TESKA_NOTHROW;

TESKA_END_C
#endif
