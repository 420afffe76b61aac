// TFastPow with every allocation failing in turn: nothing is reported, and the powers are the same
#include "faults/injector.h"
#include "tfastpow.h"

#include <gtest/gtest.h>

namespace teska_test
{

TEST(TFastPow, GivesTheSamePowersWithoutATable)
{
    constexpr int allocations = 1 + 8;
    TFastPow whole(3, 2);
    for (int n = 0; n <= 2 * allocations + 1; ++n) {
        track_memory();
        arm(fault_kind::memory, n / 2, n % 2 != 0);
        {
            TFastPow power(3, 2);
            EXPECT_EQ(disarm() > 0, n / 2 < allocations) << n;
            for (unsigned short value = 0; value < 65000; value += 1000)
                EXPECT_EQ(power.Calculate(value, 0x5555), whole.Calculate(value, 0x5555)) << n << ", " << value;
        }
        EXPECT_EQ(live_blocks(), 0) << n;
    }
}

}  // namespace teska_test
