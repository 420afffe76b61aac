/* cache.h - cache of numbered items in a pool of equal blocks
 *
 * Items have the numbers 1 to N and any size; each takes as many consecutive blocks as it needs. An item that is asked
 * for and not there is loaded by the caller's function into room that a hand, going round the blocks like that of a
 * clock, finds by dropping what lies in its way. Items that are locked stay.
 *
 *     int size_of(void *pages, int id)                       { return page_bytes(pages, id); }
 *     void load(void *pages, int id, void *destination)      { page_read(pages, id, destination); }
 *
 *     cache *c = cache_new(nr_pages, 256, 4096, size_of, load, pages);
 *     const char *page = cache_get(c, 12);
 *     cache_lock(c, 12, 1);                                  stays while others are asked for
 *     const char *next = cache_get(c, 13);
 *     cache_lock(c, 12, 0);
 *     cache_kill(c);
 *
 * Common rules
 *   The cache owns the blocks. A pointer from cache_get is valid as long as the item is cached: locked, or until the
 *   next cache_get of another item, cache_delete, cache_flush or cache_kill.
 *   Blocks lie one after the other; the first is aligned for any type.
 *   Caches are independent of each other; each is used by one thread at a time. The two functions must not call the
 *   cache and must not throw.
 */
#ifndef TESKA_CACHE_H
#define TESKA_CACHE_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a cache. */
typedef struct cache cache;

/* The bytes that item id needs; asked when it is not cached. */
typedef int (*cache_size_fn)(void *context, int id);

/* Fills in the data of item id at destination: as many bytes as its size, which was asked just before. */
typedef void (*cache_load_fn)(void *context, int id, void *destination);

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* cache_new - create an empty cache.
 *
 * nr_items               N
 * nr_blocks, block_size  blocks of the pool and their bytes
 * size, load             the caller's functions; not null
 * context                passed to both functions
 * Returns the cache, owned by the caller (cache_kill), or NULL, without a message, when one of the three numbers is
 * less than 1 or memory is short.
 */
TESKA_API cache *cache_new(int nr_items, int nr_blocks, int block_size, cache_size_fn size, cache_load_fn load,
                           void *context) TESKA_NOTHROW;

/* cache_kill - free a cache with its blocks.
 *
 * c  may be null
 * Returns 0.
 */
TESKA_API int cache_kill(cache *c) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* cache_flush - forget all items and locks; the hand goes back to the first block. Returns 1. */
TESKA_API int cache_flush(cache *c) TESKA_NOTHROW;

/* cache_get - the data of an item, loaded if need be.
 *
 * Returns the address of its first block. NULL with " Cache_delete illegal item_id" when id is not in 1 .. N; NULL
 * without a message when the size is less than 1, larger than the pool, or no run of blocks without a locked item is
 * long enough.
 * An item that is cached is found in O(1); room in O(blocks).
 * Kept: the line names another function and begins with a blank.
 */
TESKA_API void *cache_get(cache *c, int id) TESKA_NOTHROW;

/* cache_delete - drop an item, locked or not, with its locks.
 *
 * Returns 1; 0 when it is not cached; 0 with "Cache_delete: illegal item_id" when id is not in 1 .. N.
 */
TESKA_API int cache_delete(cache *c, int id) TESKA_NOTHROW;

/* cache_lock - count a lock on a cached item up or down.
 *
 * lock  nonzero adds one, 0 takes one away
 * Returns 1; 0 when the item is not cached; 0 with "Cache_lock: illegal item_id" when id is not in 1 .. N.
 * Kept: any count but 0 locks, a negative one too.
 */
TESKA_API int cache_lock(cache *c, int id, int lock) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* cache_lock_get - the count of an item's locks; -1 when id is not in 1 .. N. */
TESKA_API int cache_lock_get(cache *c, int id) TESKA_NOTHROW;

TESKA_END_C
#endif
