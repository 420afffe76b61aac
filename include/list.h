/* list.h - growable array of fixed-size elements
 *
 * Elements are copied into one contiguous block. Without an order function a list keeps the order of insertion; with
 * one it stays sorted and finds places by binary search.
 *
 *     list_rec *names = list_new(50, 256, str_ins);      texts, ascending, letters compared without case
 *     char name[256] = "cyan";
 *     if (list_insert(names, name) < 0)
 *         ...                                            out of memory: reported, list unchanged
 *     for (int i = 0; i < list_num(names); i++)
 *         puts(list_get_element(names, i));
 *     list_kill(names);
 *
 * Common rules
 *   Indices start at 0. Count, capacity, growth step and element size are 16-bit unsigned: a list holds at most 65535
 *   elements of at most 65535 bytes; larger sizes given to list_new are cut to 16 bits.
 *   The list owns its block. A pointer from list_get_element lies in that block and is valid until the next call that
 *   may grow or shift the list (insert, remove, alloc, kill).
 *   An element pointer given to the list may itself be one of the list's own elements.
 *   Failures are reported through error_mess_fl (error_mess.h). Except where a block says so, a list must not be null.
 *   Threads: lists are independent of each other. While no thread changes a list, any number may use the functions
 *   under Query.
 */
#ifndef TESKA_LIST_H
#define TESKA_LIST_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a list. */
typedef struct list_rec list_rec;

/* Order: nonzero when the element belongs at or after the key. For any key, the elements that answer zero must all
 * come before those that answer nonzero. Called by the search functions; must not change the list, must not throw. */
typedef int (*list_order_fn)(const void *element, const void *key);

/* Match: 0 when the element is the one the key asks for. Same rules. */
typedef int (*list_equal_fn)(const void *element, const void *key);

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* list_new - create an empty list.
 *
 * initial  slots at first, and the number added when the list is full; 0 and less mean 10
 * size     bytes of one element
 * fn       order of the elements; null: order of insertion
 * Returns the list, owned by the caller (list_kill), or NULL with
 * "list_new : Not enough resources to create list".
 * Kept: sizes are cut to 16 bits without a message; an initial capacity that is cut to 0 becomes 10.
 */
TESKA_API list_rec *list_new(int initial, unsigned size, list_order_fn fn) TESKA_NOTHROW;

/* list_kill - free a list and its elements.
 *
 * list  may be null
 * Returns 0, to be written back into the handle.
 */
TESKA_API int list_kill(list_rec *list) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* list_insert - copy an element into its place.
 *
 * In a list without an order the place is the end; in a sorted one it is the first slot whose element is not before the
 * new one, so that a new element comes before its equals.
 *
 * element  element-size bytes
 * Returns the index of the element, or -1 with "list_insert : Unable to extend list, insufficient resources"; the list
 * is then unchanged.
 * O(log n) calls of the order function and one move of the elements after that slot. Appending n elements is O(n),
 * however small the growth step: the block holds up to half as much again as the capacity.
 */
TESKA_API int list_insert(list_rec *list, const void *element) TESKA_NOTHROW;

/* list_insert_index - copy an element to a given index.
 *
 * index  at most 65534. Inserting after the count leaves zeroed (or formerly used) slots between.
 * mode   above 0: inserts, the elements from index on move up by one
 *        0: stores over slot index
 *        below 0: moves slots 1 .. index down by one, losing slot 0, and stores at index
 * Returns index, or -1 with "list_insert : Unable to extend list, insufficient resources"; the list is then unchanged.
 * Kept: all modes add one to the count, those that store over a slot too.
 * Kept: growing goes to max(capacity, index + 1) plus the growth step, even when one slot is missing.
 */
TESKA_API int list_insert_index(list_rec *list, const void *element, unsigned index, int mode) TESKA_NOTHROW;

/* list_changep - overwrite an element in place; a sorted list is not sorted again.
 *
 * Returns index, or -1 with "list_changep : index out of bound" when index is not in 0 .. count - 1.
 */
TESKA_API int list_changep(list_rec *list, int index, const void *element) TESKA_NOTHROW;

/* list_rem_element - remove an element; those after it move down by one.
 *
 * index  0 .. count - 1; any other index changes nothing
 * Returns 0. The capacity stays.
 */
TESKA_API int list_rem_element(list_rec *list, int index) TESKA_NOTHROW;

/* list_alloc - reserve room.
 *
 * capacity  wanted number of slots. Less than the present capacity does nothing; the growth step is not changed.
 * Returns 0, or -1 with "list_insert : Unable to extend list, insufficient resources" (also for more than 65535 slots).
 * Each call that does not fail or do nothing copies all elements, so reserving slot by slot is O(n) each time.
 * Kept: a capacity equal to the present one moves the elements to a new block.
 */
TESKA_API int list_alloc(list_rec *list, int capacity) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* list_pos_range - first position in lo .. hi + 1 whose element answers nonzero to fn(element, key).
 *
 * lo, hi  indices inside the list, looked at in the order lo, hi, hi - 1, then by halving
 * fn      order to search by; the list's own is not used. Null: the count is returned.
 * Returns the position; hi + 1 when no element answers nonzero, lo when lo > hi, 0 when the list is empty. An
 * order that contradicts the sequence of the elements gives some position in lo .. hi + 1.
 */
TESKA_API int list_pos_range(list_rec *list, const void *key, int lo, int hi, list_order_fn fn) TESKA_NOTHROW;

/* list_pos - list_pos_range over the whole list with its own order: where an element equal to key would go. */
TESKA_API int list_pos(list_rec *list, const void *key) TESKA_NOTHROW;

/* list_search_el - index of an element that matches a key.
 *
 * Without an order the elements are asked from 0 upwards.
 * eq  match of an element and the key
 * Returns the index, or -1 when nothing matches.
 * Kept: in a sorted list only the position of list_pos is asked; a match further on among equals is not found.
 */
TESKA_API int list_search_el(list_rec *list, const void *key, list_equal_fn eq) TESKA_NOTHROW;

/* list_get_element - address of an element in the list's block; NULL when index is not in 0 .. count - 1. */
TESKA_API void *list_get_element(list_rec *list, int index) TESKA_NOTHROW;

/* list_num - number of elements; 0 for a null list. */
TESKA_API int list_num(const list_rec *list) TESKA_NOTHROW;

/* list_get_num - number of elements. */
TESKA_API int list_get_num(const list_rec *list) TESKA_NOTHROW;

/* list_get_ext - growth step. */
TESKA_API int list_get_ext(const list_rec *list) TESKA_NOTHROW;

/* list_get_el_size - bytes of one element. */
TESKA_API int list_get_el_size(const list_rec *list) TESKA_NOTHROW;

/* str_ins - the order for texts: 1 when strcmp_ci(element, key) >= 0, else 0 (ascending, letters without case).
 *
 * Both are zero-terminated. Also declared by str_utils.h. */
TESKA_API int str_ins(const void *element, const void *key) TESKA_NOTHROW;

TESKA_END_C
#endif
