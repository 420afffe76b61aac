#include "faults/injector.h"
#include "faults/sweep.h"
#include "flood.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace teska_test
{

namespace
{

const SweepRows rows({calling("flood_new", [] { return made(flood_new(nullptr, nullptr), flood_kill); },
                              {{.count = 1, .once = {"flood_new: malloc failure"}}})});

constexpr int size = 12;

// 0: in the region; walls between every second pair of columns.
struct Comb {
    int pixels[size][size];
    int filled = 0;

    Comb()
    {
        for (int i = 0; i < size * size; ++i)
            pixels[i / size][i % size] = i % 2 == 1 && i / size % 4 != 0;
    }

    static int inside(void *user, int x, int y)
    {
        return x >= 0 && x < size && y >= 0 && y < size && static_cast<Comb *>(user)->pixels[y][x] == 0;
    }

    static void fill(void *user, int first, int last, int y)
    {
        for (int x = first; x <= last; ++x)
            static_cast<Comb *>(user)->filled += ++static_cast<Comb *>(user)->pixels[y][x];
    }
};

TEST(FloodDo, GoesOnWithoutTheShadowsThatFindNoMemory)
{
    const std::unique_ptr<flood, int (*)(flood *)> record(flood_new(Comb::inside, Comb::fill), flood_kill);
    const auto fill_failing_at = [&](int n, bool sticky, lines &reported) {
        Reports reports;
        Comb comb;
        track_memory();
        arm(fault_kind::memory, n, sticky);
        EXPECT_EQ(flood_do(record.get(), &comb, 6, 6), 1);
        const int injected = disarm();
        EXPECT_EQ(live_blocks(), 0);
        reported = reports.take();
        EXPECT_EQ(std::count(reported.begin(), reported.end(), "new_shdw: malloc failure"), injected);
        return comb.filled;
    };
    lines reported;
    const int whole = fill_failing_at(1000, false, reported);
    EXPECT_EQ(whole, size * size - 9 * size / 2);
    for (const bool sticky : {false, true}) {
        for (const int seed : {0, 1}) {
            EXPECT_EQ(fill_failing_at(seed, sticky, reported), 0) << "no row, no shadow";
            EXPECT_EQ(reported, (lines{"flood_do: new_shdw failed", "new_shdw: malloc failure"}));
        }
        for (int n = 2; fill_failing_at(n, sticky, reported) < whole || !reported.empty(); ++n)
            for (const std::string &line : reported)
                EXPECT_TRUE(line == "new_shdw: malloc failure" || line == "remove_overlap: algorithm failure") << line;
        EXPECT_EQ(fill_failing_at(1000, false, reported), whole);
    }
}

}  // namespace

}  // namespace teska_test
