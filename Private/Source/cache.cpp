// cache - numbered items in a pool of equal blocks (core)
//
//     owners   | 3 | 3 | 2 | 2 | 0 | 7 |     the item in each block, 0: free
//                          hand ^            where the next search begins
//     items    3: first 0, count 2, locks 0  and so on
//
// The hand points after the item placed last, so what it comes to first is what has been there longest, as on a clock
// without marks. Item 0 is nobody; it is never locked, so that free blocks and those of unlocked items are the same to
// the search. Items begin where the hand has been, so a run found by the search may cut the end off an item, never its
// beginning.

#include "cache.h"

#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

using namespace teska;

namespace
{

struct item {
    int first = 0;  // block
    int count = 0;  // blocks; 0 when not cached
    int locks = 0;
};

}  // namespace

struct cache {
    void *context = nullptr;
    int nr_items = 0;
    int nr_blocks = 0;
    int block_size = 0;      // bytes
    heap_block<item> items;  // by number; 0 stays as it is
    heap_block<int> owners;  // by block
    heap_block<char> blocks;
    cache_size_fn size = nullptr;
    cache_load_fn load = nullptr;
    int hand = 0;  // block, or the number of blocks
};

namespace
{

// Null when there is no such item.
item *item_of(const cache &c, int id) { return id >= 1 && id <= c.nr_items ? &c.items[id] : nullptr; }

char *block_at(const cache &c, int block) { return &c.blocks[std::ptrdiff_t{block} * c.block_size]; }

// The first block of a locked item among `count` blocks, or -1.
int first_locked(const cache &c, int first, int count)
{
    for (int block = first; block < first + count; ++block)
        if (c.items[c.owners[block]].locks != 0)
            return block;
    return -1;
}

// The first block of `count` without a locked item, from the hand on and round once; -1 when there are none.
int find_run(const cache &c, int count)
{
    const int limit = c.nr_blocks - count;
    const int start = c.hand > limit ? 0 : c.hand;
    bool wrapped = false;
    int position = start;
    for (;;) {
        const int locked = first_locked(c, position, count);
        if (locked < 0)
            return position;
        position = locked + 1;
        if (position > limit) {
            if (wrapped)
                return -1;
            wrapped = true;
            position = 0;
        }
        if (position == start)
            return -1;
    }
}

// Drops the items of a run. What is left of the last one after the run becomes free as well.
void evict(cache &c, int first, int count)
{
    const int end = first + count;
    const int last_owner = c.owners[end - 1];
    for (int block = first; block < end; ++block) {
        item &dropped = c.items[c.owners[block]];
        dropped.first = dropped.count = 0;
        c.owners[block] = 0;
    }
    for (int block = end; last_owner != 0 && block < c.nr_blocks && c.owners[block] == last_owner; ++block)
        c.owners[block] = 0;
}

// The blocks for an item, or 0 when it cannot be cached.
int blocks_for(const cache &c, int id)
{
    const int bytes = c.size(c.context, id);
    if (bytes < 1)
        return 0;
    const int count = (bytes - 1) / c.block_size + 1;
    return count <= c.nr_blocks ? count : 0;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

cache *cache_new(int nr_items, int nr_blocks, int block_size, cache_size_fn size, cache_load_fn load,
                 void *context) TESKA_NOTHROW
{
    if (nr_items < 1 || nr_blocks < 1 || block_size < 1)
        return nullptr;
    auto c = make_record<cache>();
    if (!c)
        return nullptr;
    checked_size bytes(static_cast<std::uint64_t>(nr_blocks), PTRDIFF_MAX);
    bytes *= static_cast<std::uint64_t>(block_size);
    if (!bytes.valid())
        return nullptr;
    c->items = zeroed_block<item>(static_cast<std::size_t>(nr_items) + 1);
    c->owners = zeroed_block<int>(static_cast<std::size_t>(nr_blocks));
    c->blocks = zeroed_block<char>(bytes.get());
    if (!c->items || !c->owners || !c->blocks)
        return nullptr;
    c->context = context;
    c->nr_items = nr_items;
    c->nr_blocks = nr_blocks;
    c->block_size = block_size;
    c->size = size;
    c->load = load;
    return c.release();
}

int cache_kill(cache *c) TESKA_NOTHROW
{
    kill_record(c);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int cache_flush(cache *c) TESKA_NOTHROW
{
    std::fill_n(c->items.get(), std::ptrdiff_t{c->nr_items} + 1, item());
    std::fill_n(c->owners.get(), c->nr_blocks, 0);
    c->hand = 0;
    return 1;
}

void *cache_get(cache *c, int id) TESKA_NOTHROW
{
    item *wanted = item_of(*c, id);
    if (wanted == nullptr) {
        // Kept: a line with a blank before it and another function's name.
        TESKA_ERR(" Cache_delete illegal item_id");
        return nullptr;
    }
    if (wanted->count > 0)
        return block_at(*c, wanted->first);
    const int count = blocks_for(*c, id);
    const int first = count > 0 ? find_run(*c, count) : -1;
    if (first < 0)
        return nullptr;
    evict(*c, first, count);
    c->hand = first + count;
    std::fill_n(&c->owners[first], count, id);
    wanted->first = first;
    wanted->count = count;
    char *data = block_at(*c, first);
    c->load(c->context, id, data);
    return data;
}

int cache_delete(cache *c, int id) TESKA_NOTHROW
{
    item *dropped = item_of(*c, id);
    if (dropped == nullptr) {
        TESKA_ERR("Cache_delete: illegal item_id");
        return 0;
    }
    if (dropped->count == 0)
        return 0;
    std::fill_n(&c->owners[dropped->first], dropped->count, 0);
    *dropped = item();
    return 1;
}

int cache_lock(cache *c, int id, int lock) TESKA_NOTHROW
{
    item *locked = item_of(*c, id);
    if (locked == nullptr) {
        TESKA_ERR("Cache_lock: illegal item_id");
        return 0;
    }
    if (locked->count == 0)
        return 0;
    locked->locks += lock != 0 ? 1 : -1;
    return 1;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int cache_lock_get(cache *c, int id) TESKA_NOTHROW
{
    const item *asked = item_of(*c, id);
    return asked != nullptr ? asked->locks : -1;
}
