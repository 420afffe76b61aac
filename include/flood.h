/* flood.h - fills a connected region of an image that only the caller sees
 *
 * The caller tells of one pixel whether it belongs to the region, and fills horizontal runs. Pixels are connected
 * through their four sides.
 *
 *     static int inside(void *user, int x, int y)
 *     {
 *         const struct picture *p = user;
 *         return x >= 0 && x < p->width && y >= 0 && y < p->height && p->row[y][x] == p->old;
 *     }
 *     static void fill(void *user, int xFirst, int xLast, int y) { ... }
 *
 *     flood *record = flood_new(inside, fill);
 *     flood_do(record, &picture, 10, 20);
 *     flood_kill(record);
 *
 * Common rules
 *   Coordinates are any int: where the image ends is for the inside test to say.
 *   Both functions run on the caller's thread inside flood_do. They must not call flood_do with the same record, must
 *   not kill it and must not throw.
 *   Failures are reported through error_mess_fl (error_mess.h).
 *   A record fills one region at a time, on one thread, and may be used again and again. Records share nothing: any
 *   number of threads may fill at once, each with a record of its own.
 */
#ifndef TESKA_FLOOD_H
#define TESKA_FLOOD_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a fill. */
typedef struct flood flood;

/* Inside test: nonzero when pixel (x, y) belongs to the region and is not filled yet. */
typedef int (*flood_inside)(void *user, int x, int y);

/* Run fill: fills the pixels xFirst .. xLast of row y, all of which were found inside. Afterwards they must fail the
 * inside test, otherwise flood_do never ends. */
typedef void (*flood_fill)(void *user, int xFirst, int xLast, int y);

/* ---- Life ------------------------------------------------------------------------------------------------------- */

/* flood_new - create a record.
 *
 * inside, fill  not null
 * Returns the record, owned by the caller (flood_kill), or NULL with "flood_new: malloc failure".
 */
TESKA_API flood *flood_new(flood_inside inside, flood_fill fill) TESKA_NOTHROW;

/* flood_kill - free a record.
 *
 * record  may be null
 * Returns 0, to be written back into the handle.
 */
TESKA_API int flood_kill(flood *record) TESKA_NOTHROW;

/* ---- Process ---------------------------------------------------------------------------------------------------- */

/* flood_do - fill the region that contains pixel (x, y).
 *
 * Each run goes from one end to the other whatever led to it, and is filled by one call; no pixel is filled twice. A
 * seed outside the region costs one inside test and fills nothing. The order of the calls depends on the answers only,
 * so the same region is filled in the same order everywhere.
 *
 * user  handed to both functions
 * Returns 1, always.
 * Without memory for its notes the fill goes on and may leave parts of the region; each note that is lost reports
 * "new_shdw: malloc failure", the first one also "flood_do: new_shdw failed", others may lead to
 * "remove_overlap: algorithm failure".
 * About 1 inside test for each pixel of an open area, 2 among many obstacles. Memory grows with the number of runs that
 * are waiting and with the height of the region, and is given back at the end.
 * Source: K. P. Fishkin and B. A. Barsky, An analysis and algorithm for filling propagation, Graphics Interface 1985.
 */
TESKA_API int flood_do(flood *record, void *user, int x, int y) TESKA_NOTHROW;

TESKA_END_C
#endif
