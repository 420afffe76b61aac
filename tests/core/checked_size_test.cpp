#include "Support/checked_size.h"

#include <gtest/gtest.h>

using teska::checked_power, teska::checked_size;

// A size has its limit as the largest value, and never comes back into its range.
TEST(CheckedSize, AcceptsItsLimitAndNothingAbove)
{
    checked_size product(5, 30), wrapped(std::uint64_t{1} << 63, UINT64_MAX), sum(1, UINT64_MAX);
    EXPECT_EQ((product *= 6).get(), 30U);
    EXPECT_TRUE(product.valid());
    EXPECT_FALSE((product += 1).valid());
    EXPECT_FALSE((product *= 0).valid());
    EXPECT_FALSE(checked_size(31, 30).valid());
    EXPECT_FALSE((wrapped *= 2).valid());
    EXPECT_FALSE((sum += UINT64_MAX).valid());
    EXPECT_EQ(checked_power(7, 0, 1).get(), 1U);
    EXPECT_EQ(checked_power(2, 31, 1U << 31).get(), 1U << 31);
    EXPECT_FALSE(checked_power(2, 31, (1U << 31) - 1).valid());
}
