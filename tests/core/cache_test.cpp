#include "cache.h"

#include "support/reports.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using teska_test::lines, teska_test::Reports;

namespace
{

struct Cache {
    Cache(int nr_blocks, std::vector<int> item_sizes) : sizes{std::move(item_sizes)}
    {
        c.reset(cache_new(static_cast<int>(sizes.size()) - 1, nr_blocks, 10, size_of, load, this));
    }

    static int size_of(void *context, int id)
    {
        return static_cast<Cache *>(context)->sizes.at(static_cast<unsigned>(id));
    }

    static void load(void *context, int id, void *destination)
    {
        static_cast<Cache *>(context)->loaded = id;
        std::memset(destination, id, static_cast<std::size_t>(size_of(context, id)));
    }

    // The item's first byte in the pool, or -1.
    int get(int id)
    {
        const auto *data = static_cast<const char *>(cache_get(c.get(), id));
        if (data == nullptr)
            return -1;
        base = base != nullptr ? base : data;
        return static_cast<int>(data - base);
    }

    std::vector<int> sizes;  // by number
    int loaded = 0;          // the last one
    std::unique_ptr<cache, int (*)(cache *)> c{nullptr, cache_kill};
    const char *base = nullptr;  // the first item asked for is placed first
};

// Get gives the item's place, and a capital L that it was loaded for this; lock, unlock, delete and flush what they
// return.
struct Step {
    char action;
    int id, result;
};

void expect(Cache &items, const std::vector<Step> &steps)
{
    cache *c = items.c.get();
    int number = 0;
    for (const auto &[action, id, result] : steps) {
        items.loaded = 0;
        const int given = action == 'l'   ? cache_lock(c, id, 5)
                          : action == 'u' ? cache_lock(c, id, 0)
                          : action == 'd' ? cache_delete(c, id)
                          : action == 'f' ? cache_flush(c)
                                          : items.get(id);
        EXPECT_EQ(given, result) << "step " << number;
        EXPECT_EQ(items.loaded, action == 'L' ? id : 0) << "step " << number;
        ++number;
    }
}

}  // namespace

TEST(CacheNew, RefusesNumbersBelowOneWithoutAWord)
{
    Reports reports;
    for (const int none : {0, -1, INT_MIN}) {
        EXPECT_EQ(cache_new(none, 4, 10, Cache::size_of, Cache::load, nullptr), nullptr);
        EXPECT_EQ(cache_new(3, none, 10, Cache::size_of, Cache::load, nullptr), nullptr);
        EXPECT_EQ(cache_new(3, 4, none, Cache::size_of, Cache::load, nullptr), nullptr);
    }
    EXPECT_EQ(reports.take(), lines{});
}

TEST(CacheGet, GoesRoundLikeAClockPastWhatIsLocked)
{
    Cache items(4, {0, 15, 15, 15, 15, 40, 41, 0, INT_MIN, 10, 10});
    // Items 6 to 8 have sizes that do not fit. Kept: a count below 0 locks as well.
    expect(items, {{'L', 1, 0},  {'L', 2, 20},  {'L', 3, 0},  {'g', 2, 20}, {'L', 4, 20}, {'L', 2, 0},  {'g', 6, -1},
                   {'g', 7, -1}, {'g', 8, -1},  {'L', 9, 20}, {'L', 4, 0},  {'L', 5, 0},  {'L', 9, 0},  {'L', 1, 10},
                   {'f', 0, 1},  {'L', 4, 0},   {'l', 1, 0},  {'L', 1, 20}, {'l', 1, 1},  {'l', 1, 1},  {'u', 1, 1},
                   {'L', 2, 0},  {'L', 3, 0},   {'g', 5, -1}, {'l', 3, 1},  {'g', 9, -1}, {'d', 3, 1},  {'d', 3, 0},
                   {'L', 9, 0},  {'u', 1, 1},   {'L', 5, 0},  {'u', 1, 0},  {'L', 1, 0},  {'L', 2, 20}, {'u', 2, 1},
                   {'L', 3, 0},  {'g', 2, 20},  {'L', 9, 0},  {'g', 5, -1}, {'f', 0, 1},  {'L', 5, 0},  {'d', 5, 1},
                   {'L', 9, 0},  {'l', 9, 1},   {'L', 3, 10}, {'L', 1, 10}, {'L', 2, 10}, {'g', 9, 0},  {'f', 0, 1},
                   {'L', 1, 0},  {'f', 0, 1},   {'L', 1, 0},  {'L', 4, 20}, {'L', 9, 0},  {'L', 1, 10}, {'L', 4, 0},
                   {'L', 9, 20}, {'L', 10, 30}, {'g', 4, 0},  {'f', 0, 1},  {'L', 1, 0},  {'l', 1, 1},  {'L', 2, 20},
                   {'L', 3, 20}, {'g', 1, 0}});
    EXPECT_EQ(cache_lock_get(items.c.get(), 1), 1);
    EXPECT_EQ(std::string(items.base, 15), std::string(15, 1));
}

TEST(CacheGet, FreesWhatIsLeftOfAnItemWhosePartIsTaken)
{
    // Item 4 takes the first of the three blocks of item 1, which comes again elsewhere; item 5 takes the second.
    Cache items(8, {0, 30, 10, 40, 10, 20});
    expect(
        items,
        {{'L', 1, 0}, {'L', 2, 30}, {'l', 2, 1}, {'L', 3, 40}, {'L', 4, 0}, {'L', 1, 40}, {'L', 5, 0}, {'g', 1, 40}});
}

TEST(CacheGet, KeptReportsIllegalNumbersUnderAnotherName)
{
    Reports reports;
    Cache items(4, {0, 15, 15});
    for (const int id : {INT_MIN, -1, 0, 3, INT_MAX}) {
        EXPECT_EQ(items.get(id), -1);
        EXPECT_EQ(cache_delete(items.c.get(), id), 0);
        EXPECT_EQ(cache_lock(items.c.get(), id, 1), 0);
        EXPECT_EQ(cache_lock_get(items.c.get(), id), -1);
        EXPECT_EQ(reports.take(), (lines{" Cache_delete illegal item_id", "Cache_delete: illegal item_id",
                                         "Cache_lock: illegal item_id"}));
    }
}
