#include "tran3.h"

#include "support/test.h"

TEST(TRan3, KeptFollowsThePublishedSequenceAndReachesOne)
{
    // Numbers of other implementations, in C and in unbounded integers. A long has 32 bits on some hosts.
    const int least = sizeof(long) == 8 ? 112967366 : 194165446;
    const int greatest = sizeof(long) == 8 ? 65038629 : 146236709;
    const struct {
        long seed;
        int n, number;
    } cases[] = {{-1, 1, 298227348},        {-1, 2, 715119168},        {-1, 3, 33021107},
                 {-1, 4, 874393600},        {1, 10000, 186340785},     {-42, 10000, 221262568},
                 {161803398, 4, 332307521}, {161803397, 4, 917173428}, {498499856, 1, 999999970},
                 {611839107, 1, 999999972}, {LONG_MIN, 10000, least},  {LONG_MAX, 10000, greatest}};
    for (const auto &[seed, n, number] : cases) {
        TRan3 source(seed), generator(0);
        for (int i = 1; i <= n / 2; ++i)
            source.Generate();
        generator = source;  // goes on as its source
        for (int i = n / 2 + 1; i < n; ++i)
            generator.Generate();
        EXPECT_EQ(generator.Generate(), static_cast<float>(number * 1.0e-9)) << "seed " << seed << ", value " << n;
    }
    EXPECT_EQ(TRan3(611839107).Generate(), 1.0F);
}
