#include "numb.h"

#include "support/test.h"

using Digits = std::vector<int>;

TEST(Byteorder, PutsTheHighestByteFirstAndKeepsThePayloadOfWhatIsNoNumber)
{
    const char file[] = "#\x7f\xa1\x23\x45\xff\xf1\x23\x45\x67\xab\xcd\xef";  // at odd addresses
    float single;
    double number;
    ffltofl(file + 1, &single);
    fdbltodbl(file + 5, &number);
    EXPECT_EQ(ffltofl("\x42\xf6\xe9\x79", nullptr), 123.456F);
    EXPECT_EQ(fdbltodbl("\x40\x5e\xdd\x2f\x1a\x9f\xbe\x77", nullptr), 123.456);
    char written[] = "#############";
    EXPECT_EQ(fltoffl(single, written + 1), written + 1);
    EXPECT_EQ(dbltofdbl(number, written + 5), written + 5);
    EXPECT_STREQ(written, file);
}

TEST(NumbDecimalToBase, KeptGivesNegativeDigitsInBasesOtherThanTwo)
{
    Digits sign(40, 1);
    sign[0] = 0;
    // A number, a base, the digits asked for and what they denote.
    const std::tuple<int, int, Digits, int> cases[] = {
        {6, 2, {0, 1, 1, 0}, 6},     {INT_MIN + 1, 2, {1, 0}, 1}, {-2, 2, sign, -2}, {255, 16, {15, 15, 0}, 255},
        {-17, 16, {-1, -1, 0}, -17}, {123, 10, {3, 2}, 23},       {7, 0, {0, 0}, 0}, {INT_MIN, 1, {0, 0}, 0},
        {INT_MIN, -1, {0, 0}, 0},    {-7, -3, {-1, 2, 0}, -7},    {7, 2, {}, 0}};
    for (const auto &[value, base, expected, sum] : cases) {
        const int n = static_cast<int>(expected.size());
        Digits digits(expected.size(), 99);
        EXPECT_EQ(numb_decimal_to_base(value, digits.data(), n, base), 0);
        EXPECT_EQ(digits, expected) << value << " in base " << base;
        int back = 99;
        EXPECT_EQ(numb_base_to_decimal(digits.data(), &back, n, base), 0);
        EXPECT_EQ(back, sum) << "base " << base;
    }
}

TEST(NumbCombination, KeptDividesWhatHasWrapped)
{
    // 46342 * 46341 is 2^31 and some more.
    const int cases[][3] = {{5, 2, 10},  {2, 5, -1},  {4, 0, 1},   {4, -1, 1},
                            {-4, 0, -1}, {33, 33, 1}, {34, 34, 0}, {46342, 2, -1073716337}};
    for (const auto &[n, k, expected] : cases)
        EXPECT_EQ(numb_combination(n, k), expected) << n << " over " << k;
}

TEST(NumbHexStringToDecimal, KeptDoesNotCheckTheLastCharacter)
{
    const std::tuple<const char *, int, int> cases[] = {
        {"1A", 0, 26},   {"fF09", 0, 0xff09}, {"1g", 0, 17},      {"FFz", 0, 4095}, {"z", 0, 0},
        {"", 0, 0},      {"g1", -1, 99},      {"1/1", -1, 99},    {"1:1", -1, 99},  {"1G1", -1, 99},
        {"1@1", -1, 99}, {"1`1", -1, 99},     {"fffffffe", 0, -2}};
    for (const auto &[text, result, expected] : cases) {
        int value = 99;
        EXPECT_EQ(numb_hex_string_to_decimal(text, &value), result) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(NumbHexToHexString, KeptWritesNegativeDigitsInDecimalAndNothingForZero)
{
    char text[40];
    const int negative[] = {0, INT_MIN, -15};
    EXPECT_EQ(numb_hex_to_hex_string(negative, 3, text), 0);
    EXPECT_STREQ(text, "-15-21474836480");
    EXPECT_EQ(numb_hex_to_hex_string(negative, INT_MIN, text), 0);
    EXPECT_STREQ(text, "");
    const int too_large[] = {1, 16, 2};
    EXPECT_EQ(numb_hex_to_hex_string(too_large, 3, text), -1);
    EXPECT_STREQ(text, "2");
    const std::pair<int, const char *> cases[] = {{4096, "1000"}, {0, ""},       {0xa9f, "a9f"},
                                                  {-1, "-1"},     {-17, "-1-1"}, {INT_MIN, "-80000000"}};
    for (const auto &[value, expected] : cases) {
        EXPECT_EQ(numb_decimal_to_hex_string(value, text), 0);
        EXPECT_STREQ(text, expected);
    }
}
