/* dynar.h - array of fixed-size items that grows when an index beyond its end is asked for
 *
 *     dynar *widths = dynar_new(sizeof(int), 64);
 *     for (int i = 0; i < columns; i++)
 *         *(int *)dynar_ptr(widths, i) = width_of(i);
 *     for (int i = 0; i < dynar_nr_items(widths); i++)
 *         total += *(int *)dynar_ptr(widths, i);
 *     dynar_kill(widths);
 *
 * Common rules
 *   Indices start at 0. Items are zero until the caller writes to them.
 *   The array owns its items. A pointer from dynar_ptr is valid until the next call that grows the array. The array
 *   never shrinks.
 *   Threads: arrays are independent of each other. While no thread makes an array longer, any number may use
 *   dynar_nr_items, and dynar_ptr for items that are in use.
 */
#ifndef TESKA_DYNAR_H
#define TESKA_DYNAR_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of an array. */
typedef struct dynar dynar;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* dynar_new - create an empty array. Items are allocated when they are first asked for.
 *
 * item_size  bytes of one item; > 0
 * growth     items allocated beyond the index asked for when the array grows; less than 1 means 10
 * Returns the array, owned by the caller (dynar_kill), or NULL with "dynar_new: Unable to create new dynar".
 */
TESKA_API dynar *dynar_new(int item_size, int growth) TESKA_NOTHROW;

/* dynar_kill - free an array and its items.
 *
 * array  may be null
 * Returns 0.
 */
TESKA_API int dynar_kill(dynar *array) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* dynar_ptr - address of an item; the array grows to hold it.
 *
 * An index inside the capacity is handed out as it is. Beyond it the capacity becomes growth + index items; items 0 to
 * the highest index handed out so far keep their contents, all others are zero. Appending one item after the other
 * takes time in proportion to their number.
 *
 * index  every item up to it counts as in use from now on
 * Returns the address, or NULL with "dynar_ptr: illegal index" when index is negative.
 * When memory is short, or growth + index is more than an int can hold: fatal exit by
 * error_exit("dynar_ptr: memory allocation failed"). If the host's handler returns, so does this function, with NULL;
 * the handler may also throw or jump. The array is unchanged in any case.
 */
TESKA_API void *dynar_ptr(dynar *array, int index);

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* dynar_nr_items - number of items: one more than the highest index ever given to dynar_ptr, 0 for a new array. */
TESKA_API int dynar_nr_items(const dynar *array) TESKA_NOTHROW;

TESKA_END_C
#endif
