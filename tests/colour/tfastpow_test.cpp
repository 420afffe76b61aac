#include "tfastpow.h"

#include "support/test.h"

TEST(TFastPow, CutsPowersOfTheHighestBits)
{
    // Base bits, exponent bits, base, exponent, power calculated to 40 digits.
    const int cases[][5] = {
        {8, 8, 0x8000, 0xffff, 32896},  {10, 8, 0x7fff, 0x7fff, 46380}, {1, 16, 0x8000, 1, 65535},
        {12, 4, 0x0010, 0x1000, 37640}, {5, 6, 0, 1023, 65535},         {5, 6, 0, 1024, 0},
        {INT_MIN, 0, 0x7fff, 32768, 0}, {-1, 1, 0x7fff, 0x7fff, 65535}, {INT_MAX, 1, 3, 65535, 3},
        {16, 1, 0x1234, 0x8000, 4660},  {3, 2, 0x3fff, 0x8000, 17909},  {12, 4, 0xffef, 0xefff, 65520}};
    for (const auto &[base_bits, exponent_bits, of, to, result] : cases) {
        const auto base = static_cast<unsigned short>(of), exponent = static_cast<unsigned short>(to);
        EXPECT_EQ(TFastPow(base_bits, exponent_bits).Calculate(base, exponent), result)
            << base_bits << ", " << exponent_bits;
    }
}

TEST(MultiCalculate, TakesPairsInPlaceAndNothingFromNone)
{
    TFastPow table(8, 8);
    unsigned short bases[] = {0x8000, 0, 65535, 7}, exponents[] = {65535, 0, 5, 7};
    EXPECT_EQ(table.MultiCalculate(3, bases, exponents, bases), 0);
    EXPECT_EQ(std::to_array(bases), (std::array<unsigned short, 4>{32896, 65535, 65535, 7}));
    for (const int count : {0, INT_MIN})
        EXPECT_EQ(table.MultiCalculate(count, nullptr, nullptr, nullptr), 0);
}
