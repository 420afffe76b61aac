/* func.h - a function given by points, x and y being elements of any fixed size
 *
 * Point i is an x element and a y element. The x elements are in the order that the caller's order function
 * defines, and each y element goes with its x. Nothing is evaluated here: interp_double.h does that for doubles.
 *
 *     func *names = func_new(16, 8, sizeof(double), text_after);       8-byte texts to doubles
 *     if (func_insert(names, "cyan\0\0\0", &density) < 0)
 *         ...                                                          out of memory: reported
 *     void *x, *y;
 *     for (int i = 0; func_get_point(names, i, &x, &y) == 0; i++)
 *         printf("%s %g\n", (char *)x, *(double *)y);
 *     func_kill(names);
 *
 * Common rules
 *   Indices start at 0. The position of a key x is the index of the first stored x that sorts after it, the
 *   count when none does: points of equal x are all kept, in the order in which they were inserted.
 *   Elements are copied in. x may point to an own x element and y to an own y element; y must not point to an
 *   x element.
 *   The x elements lie one after another in the function's storage, and so do the y elements.
 *   The addresses that func_get_point and func_search_el hand back lie in the function's storage and are
 *   valid until the next call that inserts, removes, reserves or kills.
 *   Sizes and capacities are those of list.h, 16 bits: at most 65535 points, elements of at most 65535 bytes.
 *   Failures are reported through error_mess_fl (error_mess.h). Except where a block says so, a func must not
 *   be null.
 *   Threads: any number may query one func at once, its order and match functions allowing it, as long as none
 *   changes it.
 */
#ifndef TESKA_FUNC_H
#define TESKA_FUNC_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a point function. */
typedef struct func func;

/* Order: nonzero when the stored element sorts after the key. Called while a position is looked for; must not
 * change the function, must not throw. The type is that of list_order_fn. */
typedef int (*func_order)(const void *element, const void *key);

/* Match: 0 when the stored element is the one the key asks for. Same rules. */
typedef int (*func_match)(const void *element, const void *key);

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* func_new - create a function without points.
 *
 * ext     points to make room for at first, and again whenever the room is used up; 0 and less mean 10
 * x_size  bytes of an x element
 * y_size  bytes of a y element
 * order   order of the x elements; null: points keep the order of their insertion
 * Returns the function, owned by the caller (func_kill), or NULL with
 * "func_new : unable to create new instance of function".
 */
TESKA_API func *func_new(int ext, unsigned int x_size, unsigned int y_size, func_order order) TESKA_NOTHROW;

/* func_kill - free a function and its points.
 *
 * f  may be null
 * Returns 0, to be written back into the handle.
 */
TESKA_API int func_kill(func *f) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* func_insert - add a point at the position of its x.
 *
 * Returns the index of the point, or -1 when there is no room for it; the list's line is then reported
 * ("list_insert : Unable to extend list, insufficient resources") and the points are unchanged.
 * O(log n) calls of the order function and one move of the points after it.
 */
TESKA_API int func_insert(func *f, const void *x, const void *y) TESKA_NOTHROW;

/* func_changep - overwrite x and y of a point in place.
 *
 * Returns index, or -1 with "list_changep : index out of bound" when there is no such point.
 * Kept: the point stays where it is, also when its new x belongs elsewhere. Positions asked for later are then
 * those that a binary search finds in the disturbed order.
 */
TESKA_API int func_changep(func *f, int index, const void *x, const void *y) TESKA_NOTHROW;

/* func_rem_point - remove a point; those after it move down by one.
 *
 * Returns 0.
 * Kept: an index at which there is no point changes nothing and is not reported.
 */
TESKA_API int func_rem_point(func *f, int index) TESKA_NOTHROW;

/* func_alloc - reserve room.
 *
 * count  number of points that then fit without further allocation; less than the present room does nothing
 * Returns 0.
 * Kept: 0 also when memory runs out, which shows only in the report
 * "list_insert : Unable to extend list, insufficient resources"; the points are unchanged.
 */
TESKA_API int func_alloc(func *f, int count) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* func_num - number of points. Cannot fail. */
TESKA_API int func_num(const func *f) TESKA_NOTHROW;

/* func_pos - position of a key x: with an order by size, the number of points whose x is not greater.
 *
 * Returns 0 .. func_num(f); without an order the number of points. Cannot fail. O(log n).
 */
TESKA_API int func_pos(const func *f, const void *x) TESKA_NOTHROW;

/* func_get_point - addresses of the elements of a point.
 *
 * x, y  receive the addresses, see the common rules; untouched on failure
 * Returns 0, or -1 without a report when index is not in 0 .. func_num(f) - 1.
 */
TESKA_API int func_get_point(const func *f, int index, void **x, void **y) TESKA_NOTHROW;

/* func_search_el - find the point whose x matches a key.
 *
 * Without an order the points are asked from 0 upwards.
 * y      receives the address of the point's y element; untouched when nothing matches
 * match  asked for x elements
 * Returns the index, or -1 without a report.
 * Kept: with an order only the element at the key's position is asked. An order that answers nonzero only for
 * elements strictly after the key never puts an equal one there: equality is then never found. Searching
 * needs an order that answers nonzero for equal elements too, or none.
 */
TESKA_API int func_search_el(const func *f, const void *key, void **y, func_match match) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* func_invert - a new function with x and y exchanged.
 *
 * The points are inserted in the order of their indices, so those of equal y keep it. Nothing is asked of the
 * old y: when they fall and rise, the result is sorted by them all the same.
 *
 * f      null gives NULL
 * order  order of the new x, that is of the old y; null as in func_new
 * Returns the function, owned by the caller and growing by the same step, or NULL with the line of func_new
 * or of the list that could not grow; f is unchanged.
 * O(n log n) calls of the order function; moves O(n * n) bytes at worst.
 */
TESKA_API func *func_invert(const func *f, func_order order) TESKA_NOTHROW;

TESKA_END_C
#endif
