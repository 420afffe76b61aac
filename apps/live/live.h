/* live.h - what the page calls of the library, compiled to WebAssembly; the native program of the tests calls the same
 *
 * Pixels and grids lie in memory of the caller's (live_alloc). Pointers to objects are opaque. Nothing is shared but
 * the text of the last failure.
 */
#ifndef TESKA_LIVE_H
#define TESKA_LIVE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Memory; null when there is none, and for a size below 0. */
void *live_alloc(int bytes);
void live_free(void *memory);

/* A table of 16 bits with `points` along each of its inputs, at most 16 inputs and outputs. Null: live_error. */
void *live_table_new(int inputs, int outputs, int points);

/* All samples of the grid, input 0 slowest, outputs side by side. Returns 1; 0 when count is not points^inputs *
 * outputs. */
int live_table_set(void *table, const unsigned short *grid, int count);

/* Converts pixels; a sample every so many bytes, the inputs and outputs of a pixel side by side. Returns 1. */
int live_table_run(void *table, const unsigned char *in, int in_step, unsigned char *out, int out_step, int pixels);
void live_table_kill(void *table);

/* Brings an image of interleaved bytes to another size; kernels as in izat.h. Returns 1, or 0: live_error. */
int live_resize(const unsigned char *in, int width, int height, int components, unsigned char *out, int out_width,
                int out_height, int kernel);

/* Sharpens an image of interleaved bytes. Returns 1, or 0: live_error. */
int live_sharpen(const unsigned char *in, int width, int height, int components, double strength, unsigned char *out);

/* The convex hull of colours, L a b for each. Null: live_error. */
void *live_hull_new(const double *lab, int points);
double live_hull_volume(void *hull);
void live_hull_kill(void *hull);

/* The nearest colour of the body: the colour itself when it lies inside. Returns 1 inside, 0 outside, or
 * -1: live_error. */
int live_hull_nearest(void *hull, const double *lab, double *nearest);

/* Colour differences CIEDE2000, pixel by pixel. Returns 1. */
int live_delta_map(const double *lab1, const double *lab2, int pixels, float *difference);

/* What the library said of the last failure, "" when nothing has failed. */
const char *live_error(void);

/* The digest of a fixed conversion, 8 hexadecimal digits: the same on every machine. Null when there is no memory. */
const char *live_self_test(void);

#ifdef __cplusplus
}
#endif
#endif
