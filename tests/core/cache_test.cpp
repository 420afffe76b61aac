#include "cache.h"

#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

using teska_test::lines;
using teska_test::Reports;

namespace
{

// The items of a cache: their sizes by number, and what was loaded last.
struct Source {
    std::vector<int> sizes;
    int loaded = 0;
};

int size_of(void *context, int id) { return static_cast<Source *>(context)->sizes[static_cast<std::size_t>(id)]; }

void load(void *context, int id, void *destination)
{
    auto *source = static_cast<Source *>(context);
    source->loaded = id;
    std::memset(destination, id, static_cast<std::size_t>(size_of(context, id)));
}

struct Cache {
    Cache(int nr_blocks, int block_size, std::vector<int> sizes) : source{std::move(sizes)}
    {
        const int nr_items = static_cast<int>(source.sizes.size()) - 1;
        c.reset(cache_new(nr_items, nr_blocks, block_size, size_of, load, &source));
    }

    // The item's first byte in the pool, or -1; `loaded` of the source tells whether it was loaded for this call.
    int get(int id)
    {
        source.loaded = 0;
        const auto *data = static_cast<const char *>(cache_get(c.get(), id));
        if (data == nullptr)
            return -1;
        base = base != nullptr ? base : data;
        return static_cast<int>(data - base);
    }

    Source source;
    std::unique_ptr<cache, int (*)(cache *)> c{nullptr, cache_kill};
    const char *base = nullptr;  // the first item asked for is placed first
};

}  // namespace

TEST(CacheNew, RefusesNumbersBelowOneWithoutAWord)
{
    Reports reports;
    Source source;
    for (const int none : {0, -1, INT_MIN}) {
        EXPECT_EQ(cache_new(none, 4, 10, size_of, load, &source), nullptr);
        EXPECT_EQ(cache_new(3, none, 10, size_of, load, &source), nullptr);
        EXPECT_EQ(cache_new(3, 4, none, size_of, load, &source), nullptr);
    }
    EXPECT_EQ(cache_new(1, INT_MAX, INT_MAX, size_of, load, &source), nullptr);
    EXPECT_EQ(reports.take(), lines{});
    EXPECT_EQ(cache_kill(nullptr), 0);
}

TEST(CacheGet, GoesRoundLikeAClock)
{
    Cache items(4, 10, {0, 15, 15, 15, 15, 40, 41, 0, INT_MIN, 10});
    // Item; its place, and whether it is loaded. Items 6 to 8 have sizes that do not fit.
    const struct {
        int id, place;
        bool loaded;
    } steps[] = {{1, 0, true}, {2, 20, true},  {3, 0, true},   {2, 20, false}, {4, 20, true},
                 {2, 0, true}, {6, -1, false}, {7, -1, false}, {8, -1, false}, {9, 20, true},
                 {4, 0, true}, {5, 0, true},   {9, 0, true},   {1, 10, true}};
    for (const auto &[id, place, loaded] : steps) {
        EXPECT_EQ(items.get(id), place) << id;
        EXPECT_EQ(items.source.loaded, loaded ? id : 0);
    }
    EXPECT_EQ(cache_flush(items.c.get()), 1);
    EXPECT_EQ(items.get(4), 0) << "the hand is back";
    EXPECT_EQ(items.source.loaded, 4);
}

TEST(CacheGet, KeptReportsIllegalNumbersUnderAnotherName)
{
    Reports reports;
    Cache items(4, 10, {0, 15, 15});
    for (const int id : {INT_MIN, -1, 0, 3, INT_MAX}) {
        EXPECT_EQ(items.get(id), -1);
        EXPECT_EQ(cache_delete(items.c.get(), id), 0);
        EXPECT_EQ(cache_lock(items.c.get(), id, 1), 0);
        EXPECT_EQ(cache_lock_get(items.c.get(), id), -1);
        EXPECT_EQ(reports.take(), (lines{" Cache_delete illegal item_id", "Cache_delete: illegal item_id",
                                         "Cache_lock: illegal item_id"}));
    }
}

TEST(CacheLock, KeptHoldsAnItemByAnyCountButZero)
{
    for (const int lock : {1, 0}) {
        Cache items(4, 10, {0, 15, 15, 15, 40});
        EXPECT_EQ(cache_lock(items.c.get(), 1, 1), 0) << "not cached";
        items.get(1);
        EXPECT_EQ(cache_lock(items.c.get(), 1, lock), 1);
        EXPECT_EQ(cache_lock_get(items.c.get(), 1), lock != 0 ? 1 : -1);
        EXPECT_EQ(items.get(2), 20);
        EXPECT_EQ(items.get(3), 20) << "item 1 stays";
        EXPECT_EQ(items.get(4), -1);
        EXPECT_EQ(cache_lock(items.c.get(), 1, 1 - lock), 1);
        EXPECT_EQ(items.get(4), 0);
        EXPECT_EQ(cache_delete(items.c.get(), 1), 0) << "was dropped";
    }
}

TEST(CacheGet, KeepsLockedItemsAndFindsRoomWheneverThereIsAny)
{
    constexpr int blocks = 12;
    teska_test::Generator random(5);
    Cache items(blocks, 7, {0, 1, 7, 8, 14, 15, 21, 28, 35, 50, 83, 84, 10, 12, 30});
    std::vector<int> holder(blocks);  // the locked item in each block
    int refused = 0;
    for (int i = 0; i < 20000; ++i) {
        const int id = 1 + random.below(static_cast<int>(items.source.sizes.size()) - 1);
        const int bytes = size_of(&items.source, id);
        const int count = (bytes + 6) / 7;
        const bool was_locked = std::count(holder.begin(), holder.end(), id) > 0;
        const int place = items.get(id);
        if (place < 0) {
            EXPECT_EQ(std::search_n(holder.begin(), holder.end(), count, 0), holder.end());
            ++refused;
            continue;
        }
        const auto run = holder.begin() + place / 7;
        EXPECT_EQ(std::count(run, run + count, was_locked ? id : 0), count);
        EXPECT_FALSE(was_locked && items.source.loaded != 0);
        EXPECT_TRUE(std::all_of(items.base + place, items.base + place + bytes, [=](char c) { return c == id; }));
        // Locks change one time in three, so that the pool fills and empties; deleting unlocks.
        if (const int action = random.below(6); action < 2) {
            EXPECT_EQ(action == 0 ? cache_delete(items.c.get(), id) : cache_lock(items.c.get(), id, was_locked ? 0 : 1),
                      1);
            std::fill(run, run + count, action == 0 || was_locked ? 0 : id);
        }
    }
    EXPECT_GT(refused, 1000);
}
