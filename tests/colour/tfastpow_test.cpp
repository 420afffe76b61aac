#include "tfastpow.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>
#include <vector>

TEST(TFastPow, CutsPowersOfTheHighestBits)
{
    // Calculated to 40 digits.
    const std::tuple<int, int, int, int, int> cases[] = {
        {8, 8, 0x8000, 0xffff, 32896},  {3, 2, 0x2000, 0x5555, 34258},  {3, 2, 0x3fff, 0x8000, 17909},
        {10, 8, 0x7fff, 0x7fff, 46380}, {16, 1, 0x1234, 0x8000, 4660},  {1, 16, 0x8000, 1, 65535},
        {12, 4, 0x0010, 0x1000, 37640}, {12, 4, 0xffef, 0xefff, 65520}, {2, 2, 0x4000, 0x4000, 45439}};
    for (const auto &[base_bits, exponent_bits, base, exponent, power] : cases)
        EXPECT_EQ(TFastPow(base_bits, exponent_bits)
                      .Calculate(static_cast<unsigned short>(base), static_cast<unsigned short>(exponent)),
                  power)
            << base_bits << ", " << exponent_bits << ": " << base << " to the " << exponent;
}

TEST(TFastPow, KnowsThePowersOfZeroAndOneAndTheirExponents)
{
    TFastPow power(5, 6);
    for (unsigned value = 0; value <= 65535; ++value) {
        const auto sample = static_cast<unsigned short>(value);
        ASSERT_EQ(power.Calculate(65535, sample), 65535);
        ASSERT_EQ(power.Calculate(sample, 0), 65535);
        ASSERT_EQ(power.Calculate(0, sample), value < 1024 ? 65535 : 0);
    }
}

TEST(TFastPow, HoldsItsBitsTo1And16)
{
    for (const int bits : {INT_MIN, -1, 0, 1}) {
        TFastPow power(bits, bits);
        EXPECT_TRUE(power.Calculate(0x7fff, 0x8000) == 0 && power.Calculate(0x7fff, 0x7fff) == 65535) << bits;
    }
    for (const int bits : {17, INT_MAX})
        EXPECT_TRUE(TFastPow(bits, 1).Calculate(3, 65535) == 3 && TFastPow(1, bits).Calculate(0, 1) == 0) << bits;
}

TEST(MultiCalculate, TakesPairsInPlaceAndNothingFromNone)
{
    TFastPow power(8, 8);
    std::vector<unsigned short> bases = {0x8000, 0, 65535, 7};
    std::vector<unsigned short> exponents = {65535, 0, 5, 7};
    EXPECT_EQ(power.MultiCalculate(3, bases.data(), exponents.data(), bases.data()), 0);
    EXPECT_EQ(bases, (std::vector<unsigned short>{32896, 65535, 65535, 7}));
    for (const int n : {0, -1, INT_MIN})
        EXPECT_EQ(power.MultiCalculate(n, nullptr, nullptr, nullptr), 0);
}
