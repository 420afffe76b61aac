/* top_surface.h - the class TTriangularTopSurface for C and for other languages: the light side of a device's gamut
 *
 *     static int press(void *user, const double *device, double *lab);         1 is no ink, 0 full ink
 *
 *     const double ramp[3] = {1.0, 0.5, 0.0};
 *     const double *const levels[4] = {ramp, ramp, ramp, ramp};
 *     const int counts[4] = {3, 3, 3, 3};
 *     top_surface *top = top_surface_new(4, levels, counts, 0, press, user, 91);
 *     if (top != NULL && top_surface_normalise(top, lab, norm, penalty, 1000, 0) == 0) ...
 *     top_surface_kill(top);
 *
 * What the numbers mean, the rules for the callback and for threads are those of ttriangulartopsurface.h. Colours,
 * normalised coordinates and corners are three doubles each.
 */
#ifndef TESKA_TOP_SURFACE_H
#define TESKA_TOP_SURFACE_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a surface. */
typedef struct top_surface top_surface;

/* The device: three colour coordinates of the device values; a negative result is a failure. */
typedef int (*top_surface_device)(void *user, const double *device, double *colour);

/* top_surface_new - find the umbrella of a device.
 *
 * colorants  at least 1
 * levels     of each colorant its device values, 0 .. 1; copied
 * counts     how many levels each colorant has
 * vertical   which colour coordinate is vertical, 0 .. 2
 * device     not null; called with `user`, which may be null, as long as the surface lives
 * steps      points at which the edge is sampled
 * Returns the surface, owned by the caller (top_surface_kill), or NULL with the lines of the class's constructor, or
 * with "top_surface_new: insufficient memory" or "top_surface_new: the device failed" where that reports none.
 */
TESKA_API top_surface *top_surface_new(int colorants, const double *const *levels, const int *counts, int vertical,
                                       top_surface_device device, void *user, int steps) TESKA_NOTHROW;

/* top_surface_kill - free a surface; null is accepted. Returns NULL. */
TESKA_API top_surface *top_surface_kill(top_surface *top) TESKA_NOTHROW;

/* top_surface_get_nr_parts, top_surface_get_part - the parts of the umbrella, and the device values of one, -1 for its
 * two variable colorants. Return the number; 0, or -1 when there is no such part. */
TESKA_API int top_surface_get_nr_parts(top_surface *top) TESKA_NOTHROW;
TESKA_API int top_surface_get_part(top_surface *top, int part, double *device) TESKA_NOTHROW;

/* top_surface_next_triangle - the next visible triangle.
 *
 * first    not 0: starts again
 * corners  three colours
 * coords   for each corner what TTriangularTopSurface::GetDevCoord takes
 * Returns 0, 1 when it is the first one of a further part, or -1 when there is no more.
 */
TESKA_API int top_surface_next_triangle(top_surface *top, int first, double corners[9], double coords[9]) TESKA_NOTHROW;

/* top_surface_normalise, top_surface_colour - colours to normalised coordinates, and back.
 *
 * colours  count colours
 * norm     count normalised coordinates
 * penalty  count results, may be null
 * count    how many
 * smaller  not 0: relative to the smaller gamut
 * Return 0, or -1 with what the class reports.
 */
TESKA_API int top_surface_normalise(top_surface *top, const double *colours, double *norm, double *penalty, int count,
                                    int smaller) TESKA_NOTHROW;
TESKA_API int top_surface_colour(top_surface *top, const double *norm, double *colours, int count,
                                 int smaller) TESKA_NOTHROW;

/* top_surface_edge - the edge at a hue.
 *
 * phi      the hue
 * tetamax  out: its angle
 * vt       out: its height
 * Returns 0, or -1 with what the class reports.
 */
TESKA_API int top_surface_edge(top_surface *top, double phi, double *tetamax, double *vt) TESKA_NOTHROW;

TESKA_END_C
#endif
