// TFastPow with every allocation failing in turn: nothing is reported, and the powers are the same
#include "faults/injector.h"

#include "tfastpow.h"

#include <gtest/gtest.h>

namespace teska_test
{

namespace
{

TEST(TFastPow, GivesTheSamePowersWithoutATable)
{
    constexpr int allocations = 1 + 8;
    TFastPow whole(3, 2);
    for (int n = 0; n <= allocations; ++n)
        for (const bool sticky : {false, true}) {
            track_memory();
            arm(fault_kind::memory, n, sticky);
            {
                TFastPow power(3, 2);
                EXPECT_EQ(disarm() > 0, n < allocations) << n;
                for (unsigned short value = 0; value < 65000; value += 1000)
                    EXPECT_EQ(power.Calculate(value, 0x5555), whole.Calculate(value, 0x5555)) << n << ", " << value;
            }
            EXPECT_EQ(live_blocks(), 0) << n;
        }
}

}  // namespace

}  // namespace teska_test
