// Powers when memory is short
#include "faults/sweep.h"
#include "tfastpow.h"

using namespace teska_test;

namespace
{

TEST(TFastPow, GivesTheSamePowersWithoutATable)
{
    TFastPow whole(3, 2);
    each_allocation(2, [&](const auto &fire) {
        fire();
        TFastPow power(3, 2);
        const bool fired = disarm() > 0;
        for (unsigned short value = 0; value < 65000; value += 1000)
            EXPECT_EQ(power.Calculate(value, 0x5555), whole.Calculate(value, 0x5555)) << value;
        return fired;
    });
}

}  // namespace
