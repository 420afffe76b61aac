/* hash_tab.h - hash table of a fixed number of slots, with the caller's own functions for keys
 *
 * A slot holds a key and its data. Both are either records of a fixed number of bytes or texts; texts are kept in a
 * pool of the table and the slot holds the offset. Keys are hashed, compared and told from empty slots by three
 * functions of the caller, so a table can be saved and restored by its slots and pools, and any record can be a key.
 *
 *     int hash(int parameter, const void *key)         { return (int)(*(const unsigned *)key % 1000003u); }
 *     int match(const void *stored, const void *key)   { return *(const unsigned *)stored == *(const unsigned *)key; }
 *     int empty(const void *slot)                      { return *(const unsigned *)slot == 0; }
 *
 *     int slots;
 *     hash_tab *table = hash_tab_new(500, sizeof(unsigned), sizeof(double), hash, match, empty, 0, &slots);
 *     if (hash_tab_get(table, &id, &weight) < 0)
 *         hash_tab_insert(table, &id, &weight);
 *     table = hash_tab_kill(table);
 *
 * Common rules
 *   Key and data sizes are codes: 0 and more is a fixed number of bytes, -2 a text with a 4-byte offset, any other
 *   negative number a text with a 2-byte offset. A table counts as pooled when its keys or its data are texts.
 *   A pool starts with a zero byte, so that offset 0 is the empty text; as a key it marks an empty slot. Texts are only
 *   ever appended: replacing or repeating them takes room. Offsets are in the host's byte order.
 *   The table does not grow. The probe sequence of a key begins at home = hash mod size and goes on in steps of home
 *   (13 when home is 0, but 17 in a table of 13 slots), modulo the size, until it comes back to home.
 *   A deleted slot keeps its key and its place in the probe sequences of others; only insertion uses it again.
 *   Kept: the search asks match before it asks whether the slot is empty. A key that equals the bytes of an empty slot,
 *   zeros at first, or the empty text in a table of texts, is "found" in the first empty slot.
 *   Keys, data and texts are copied; they may lie in the table's own pools, unless it was restored.
 *   The three functions are called during the calls below, must not call the table and must not throw.
 *   Threads: tables are independent of each other. While no thread changes a table, any number may use the functions
 *   under Query; the three functions are then called by several threads at once.
 */
#ifndef TESKA_HASH_TAB_H
#define TESKA_HASH_TAB_H
#include "dynar.h"
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a table. */
typedef struct hash_tab hash_tab;

/* Hash: a number of at least 0 for a key. parameter is the table's, for example the length of its keys. (Of a negative
 * number the remainder counts from the other end.) */
typedef int (*hash_tab_hash_fn)(int parameter, const void *key);

/* Match: nonzero when stored_key equals key. stored_key is the slot's key part or its text in the pool. */
typedef int (*hash_tab_match_fn)(const void *stored_key, const void *key);

/* Empty: nonzero when the slot holds no key; must be so for zero bytes. Not called, and may be null, for keys that are
 * texts. */
typedef int (*hash_tab_empty_fn)(const void *slot);

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* hash_tab_new - create an empty table.
 *
 * nr_items             expected items. The table gets the first prime number of slots from nr_items * 120 / 100 on
 * key_size, data_size  codes, see above
 * hash, match, empty   the caller's functions, see above
 * hash_parameter       handed to the hash function
 * table_size           receives the number of slots, 0 on failure; may be null
 * Returns the table, owned by the caller (hash_tab_kill), or NULL with "Hash_tab_new : allocation failed" or
 * "Hash_tab_new : allocation of table failed nr_items = #", where # is the number of slots (also for a negative
 * nr_items). No line of its own when a pool cannot be created.
 * Kept: below 4 the number of slots is nr_items * 120 / 100 itself; a table of 0 slots is always full.
 */
TESKA_API hash_tab *hash_tab_new(int nr_items, int key_size, int data_size, hash_tab_hash_fn hash,
                                 hash_tab_match_fn match, hash_tab_empty_fn empty, int hash_parameter,
                                 int *table_size) TESKA_NOTHROW;

/* hash_tab_newset - create a table from saved images.
 *
 * table_size  slots; taken as it is
 * slots       table_size slots; null: all zero. Deleted marks are not part of an image: no slot is deleted
 * key_pool, key_pool_bytes    the keys' texts and their bytes; not looked at when keys are not texts
 * data_pool, data_pool_bytes  likewise for data
 * Returns as hash_tab_new does, with the same lines.
 * The images may come from anywhere: an offset outside its pool is the empty text, and a text without an end ends with
 * its pool.
 * Kept: a restored pool counts as one byte long. The next text is written at offset 1, over the restored ones, and a
 * pool that grows loses them: a restored table is meant for look-ups.
 */
TESKA_API hash_tab *hash_tab_newset(int hash_parameter, int table_size, int key_size, int data_size,
                                    hash_tab_hash_fn hash, hash_tab_match_fn match, hash_tab_empty_fn empty,
                                    const void *slots, const void *key_pool, int key_pool_bytes, const void *data_pool,
                                    int data_pool_bytes) TESKA_NOTHROW;

/* hash_tab_kill - free a table with its pools.
 *
 * table  may be null
 * Returns NULL.
 */
TESKA_API hash_tab *hash_tab_kill(hash_tab *table) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* hash_tab_flush - make every slot zero and not deleted.
 *
 * Returns 1, or 0 with "hash_tab_flush: var keys and dats not implemented" for a pooled table.
 */
TESKA_API int hash_tab_flush(hash_tab *table) TESKA_NOTHROW;

/* hash_tab_insert - store a new entry, in the first slot of the key's probe sequence that is empty or deleted.
 *
 * data  null: the slot's data part stays as it is
 * Returns the slot's index, or -1 after showing "Hash_table  full " (two blanks, and one at the end) by typefl of
 * wem.h: no slot is free, or a pool has outgrown its offsets. The table is then unchanged.
 * When memory for a text is short: the fatal exit of dynar_ptr, which a host's handler may leave by throwing or
 * jumping. If it returns, so does this function, with -1. The table is unchanged.
 * Kept: an equal key is not looked for. hash_tab_get finds the first of several.
 */
TESKA_API int hash_tab_insert(hash_tab *table, const void *key, const void *data);

/* hash_tab_put - replace the data of a key.
 *
 * data  null: nothing is replaced
 * Returns the slot's index, or -1 when the key is not found or the pool has outgrown its offsets.
 * When memory for a text is short: as hash_tab_insert.
 */
TESKA_API int hash_tab_put(hash_tab *table, const void *key, const void *data);

/* hash_tab_delete - mark the slot of a key as deleted.
 *
 * Returns its index; -1 when the key is not found, or with "hash_tab_delete: var keys and dats not implemented" for a
 * pooled table.
 */
TESKA_API int hash_tab_delete(hash_tab *table, const void *key) TESKA_NOTHROW;

/* hash_tab_delete_index - mark a slot as deleted.
 *
 * Returns 1; 0 when the index is out of range or the slot empty or already deleted; -1 with "hash_tab_put: var keys and
 * dats not implemented" for a pooled table.
 * Kept: the line names another function.
 */
TESKA_API int hash_tab_delete_index(hash_tab *table, int index) TESKA_NOTHROW;

/* hash_tab_uninsert_index - make a slot empty: its key zero, not deleted.
 *
 * Undoes the latest insertion. On the slot of an earlier one, keys inserted later that passed it may no longer be
 * found.
 * Returns 1; 0 when the index is out of range; -1 with "hash_tab_uninsert_index: var keys and dats not implemented" for
 * a pooled table.
 */
TESKA_API int hash_tab_uninsert_index(hash_tab *table, int index) TESKA_NOTHROW;

/* hash_tab_put_index - replace the data of a slot.
 *
 * Returns 1; 0 when the index is out of range or the slot empty or deleted; -1 with "hash_tab_put: var keys and dats
 * not implemented" for a pooled table.
 */
TESKA_API int hash_tab_put_index(hash_tab *table, int index, const void *data) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* hash_tab_get - find a key.
 *
 * data  receives the data: as many bytes as they have, or the text with its zero; may be null; untouched when the key
 *       is not found. The room must do for the longest text in the pool
 * Returns the slot's index, or -1 when the key is not found.
 */
TESKA_API int hash_tab_get(hash_tab *table, const void *key, void *data) TESKA_NOTHROW;

/* hash_tab_index - read a slot.
 *
 * key   receives the key, as data in hash_tab_get
 * data  likewise the data; may be null
 * Returns index; -1 when it is out of range, or when the slot is deleted: key and data are then zero bytes or the empty
 * text.
 * Kept: an empty slot is read like any other.
 */
TESKA_API int hash_tab_index(hash_tab *table, int index, void *key, void *data) TESKA_NOTHROW;

/* hash_tab_nr_items - number of slots, whether in use or not. */
TESKA_API int hash_tab_nr_items(const hash_tab *table) TESKA_NOTHROW;

/* hash_tab_keys - the table's own pool of keys, whose items are bytes; NULL when keys are not texts. To be read up to
 * dynar_nr_items; a larger index given to dynar_ptr would lengthen the pool. */
TESKA_API dynar *hash_tab_keys(hash_tab *table) TESKA_NOTHROW;

/* hash_tab_tab - the table's own block of slots, one after the other: key part, then data part.
 *
 * key_width, data_width  receive the bytes of the parts, 2 or 4 for texts; may be null
 */
TESKA_API void *hash_tab_tab(hash_tab *table, int *key_width, int *data_width) TESKA_NOTHROW;

TESKA_END_C
#endif
