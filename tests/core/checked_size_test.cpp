#include "Support/checked_size.h"

#include <gtest/gtest.h>

#include <cstdint>

using teska::checked_power, teska::checked_size;

TEST(CheckedSize, AcceptsItsLimitAndNothingAbove)
{
    checked_size product(5, 30);
    product *= 6;
    EXPECT_TRUE(product.valid());
    EXPECT_EQ(product.get(), 30U);
    product += 1;
    EXPECT_FALSE(product.valid());
    EXPECT_FALSE(checked_size(31, 30).valid());
    EXPECT_EQ(checked_power(7, 0, 1).get(), 1U);
    EXPECT_EQ(checked_power(2, 31, 1U << 31).get(), 1U << 31);
    EXPECT_FALSE(checked_power(2, 31, (1U << 31) - 1).valid());
}

TEST(CheckedSize, StaysInvalidWhenItComesBackIntoItsRange)
{
    checked_size large(31, 30);
    large *= 0;
    checked_size product(std::uint64_t{1} << 63, UINT64_MAX);
    product *= 2;
    checked_size sum(1, UINT64_MAX);
    sum += UINT64_MAX;
    EXPECT_FALSE(large.valid());
    EXPECT_FALSE(product.valid());
    EXPECT_FALSE(sum.valid());
}
