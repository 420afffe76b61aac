#include "tran3.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>

namespace
{

float fraction(int number) { return static_cast<float>(number * 1.0e-9); }

float nth(TRan3 generator, int n)
{
    for (int i = 1; i < n; ++i)
        generator.Generate();
    return generator.Generate();
}

}  // namespace

TEST(TRan3, FollowsThePublishedSequence)
{
    // Numbers of other implementations, in C and in unbounded integers. A long has 32 bits on some hosts.
    constexpr bool wide = sizeof(long) == 8;
    const std::tuple<long, int, int> cases[] = {{-1, 1, 298227348},
                                                {-1, 2, 715119168},
                                                {-1, 3, 33021107},
                                                {-1, 4, 874393600},
                                                {1, 10000, 186340785},
                                                {42, 1, 634670766},
                                                {-42, 10000, 221262568},
                                                {161803398, 4, 332307521},
                                                {161803397, 4, 917173428},
                                                {2147483647, 10000, 146236709},
                                                {LONG_MIN, 10000, wide ? 112967366 : 194165446},
                                                {LONG_MAX, 10000, wide ? 65038629 : 146236709}};
    for (const auto &[seed, n, number] : cases)
        EXPECT_EQ(nth(seed, n), fraction(number)) << "seed " << seed << ", value " << n;
}

TEST(TRan3, KeptReachesOneFromTheHighestNumbers)
{
    EXPECT_LT(nth(498499856, 1), 1.0F) << "999999970";
    EXPECT_EQ(nth(611839107, 1), 1.0F) << "999999972";
}

TEST(TRan3, CopiesGoOnAsTheirSource)
{
    TRan3 source(7);
    TRan3 assigned(8);
    source.Generate();
    TRan3 copy(source);
    assigned = source;
    for (int i = 0; i < 60; ++i) {
        const float value = source.Generate();
        EXPECT_TRUE(copy.Generate() == value && assigned.Generate() == value) << i;
    }
}
