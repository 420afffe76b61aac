#include "cache.h"

#include "support/test.h"

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

// A step is "action id:result": Get gives the item's place, with a capital L when it was loaded for this; lock, unlock,
// delete and flush give what they return.
void expect(Cache &items, const std::string &steps)
{
    cache *c = items.c.get();
    std::istringstream text(steps);
    char action = 0, colon = 0;
    for (int id = 0, result = 0, number = 0; text >> action >> id >> colon >> result; ++number) {
        items.loaded = 0;
        const int given = action == 'l'   ? cache_lock(c, id, 5)
                          : action == 'u' ? cache_lock(c, id, 0)
                          : action == 'd' ? cache_delete(c, id)
                          : action == 'f' ? cache_flush(c)
                                          : items.get(id);
        EXPECT_EQ(given, result) << "step " << number;
        EXPECT_EQ(items.loaded, action == 'L' ? id : 0) << "step " << number;
    }
}

}  // namespace

TEST(CacheGet, GoesRoundLikeAClockPastWhatIsLocked)
{
    Cache items(4, {0, 15, 15, 15, 15, 40, 41, 0, INT_MIN, 10, 10});
    // Items 6 to 8 have sizes that do not fit. Kept: a count below 0 locks as well.
    expect(items, "L10:0 f0:1 L10:0 f0:1 "
                  "L1:0 L2:20 L3:0 g2:20 L4:20 L2:0 g6:-1 g7:-1 g8:-1 L9:20 L4:0 L5:0 L9:0 L1:10 f0:1 L4:0 l1:0 L1:20 "
                  "l1:1 l1:1 u1:1 L2:0 L3:0 g5:-1 l3:1 g9:-1 d3:1 d3:0 L9:0 u1:1 L5:0 u1:0 L1:0 L2:20 u2:1 L3:0 g2:20 "
                  "L9:0 g5:-1 f0:1 L5:0 d5:1 L9:0 l9:1 L3:10 L1:10 L2:10 g9:0 f0:1 L1:0 f0:1 L1:0 L4:20 L9:0 L1:10 "
                  "L4:0 L9:20 L10:30 g4:0 f0:1 L1:0 l1:1 L2:20 L3:20 g1:0");
    EXPECT_EQ(cache_lock_get(items.c.get(), 1), 1);
    EXPECT_EQ(std::string(items.base, 15), std::string(15, 1));
    // Item 4 takes the first of the three blocks of item 1, which comes again elsewhere; item 5 takes the second.
    Cache left(8, {0, 30, 10, 40, 10, 20});
    expect(left, "L1:0 L2:30 l2:1 L3:40 L4:0 L1:40 L5:0 g1:40");
}

TEST(Cache, KeptReportsIllegalNumbersUnderAnotherName)
{
    Reports reports;
    for (const auto &[items, blocks, size] : {std::tuple{0, 4, 10}, {3, 0, 10}, {3, 4, 0}})
        EXPECT_EQ(cache_new(items, blocks, size, Cache::size_of, Cache::load, nullptr), nullptr);
    EXPECT_EQ(reports.take(), lines{}) << "refused without a word";
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
