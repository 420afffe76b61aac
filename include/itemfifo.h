/* itemfifo.h - queue of fixed-size items: first in, first out
 *
 * Items are copied into a chain of partitions. Putting never moves the items already queued, and a partition is given
 * back when its last item has been taken.
 *
 *     itemfifo *jobs = itemfifo_new(sizeof(struct job), 64);
 *     if (itemfifo_put(jobs, &job) == 0)
 *         ...                                            out of memory: reported, queue unchanged
 *     while (itemfifo_get(jobs, &job))
 *         run(&job);
 *     itemfifo_kill(jobs);
 *
 * Queues are independent of each other; each is used by one thread at a time.
 */
#ifndef TESKA_ITEMFIFO_H
#define TESKA_ITEMFIFO_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a queue. */
typedef struct itemfifo itemfifo;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* itemfifo_new - create an empty queue.
 *
 * item_size            bytes of one item; > 0
 * items_per_partition  less than 1 means 10
 * Returns the queue, owned by the caller (itemfifo_kill), or NULL with "itemfifo_new: Unable to create new itemfifo",
 * also when a partition would have more bytes than an int can count.
 */
TESKA_API itemfifo *itemfifo_new(int item_size, int items_per_partition) TESKA_NOTHROW;

/* itemfifo_kill - free a queue and what is in it.
 *
 * fifo  may be null
 * Returns 0.
 */
TESKA_API int itemfifo_kill(itemfifo *fifo) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* itemfifo_put - append a copy of an item. O(1).
 *
 * Returns 1, or 0 with "itemfifo_put: unable to create new partition"; the queue is then unchanged.
 */
TESKA_API int itemfifo_put(itemfifo *fifo, const void *item) TESKA_NOTHROW;

/* itemfifo_get - take the oldest item. O(1).
 *
 * item  receives it; untouched when the queue is empty
 * Returns 1, or 0 when the queue is empty.
 */
TESKA_API int itemfifo_get(itemfifo *fifo, void *item) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* itemfifo_nr_items - number of items in the queue. */
TESKA_API int itemfifo_nr_items(const itemfifo *fifo) TESKA_NOTHROW;

TESKA_END_C
#endif
