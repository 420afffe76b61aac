#include "numb.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using Digits = std::vector<int>;

template <class T, class Bits>
void expect_round_trip(Bits bits, const std::string &file, T (*read)(const void *, T *), void *(*write)(T, void *))
{
    T value;
    std::memcpy(&value, &bits, sizeof value);
    alignas(8) char bytes[] = "##########";  // written to an odd address
    EXPECT_EQ(write(value, bytes + 1), bytes + 1);
    EXPECT_EQ(std::string(bytes, sizeof(T) + 2), "#" + file + "#");

    const T alone = read(bytes + 1, nullptr);
    EXPECT_EQ(std::memcmp(&alone, &bits, sizeof bits), 0) << bits;
    T place;
    std::memcpy(&place, bytes + 1, sizeof place);
    read(&place, &place);
    EXPECT_EQ(std::memcmp(&place, &bits, sizeof bits), 0) << bits;
}

}  // namespace

TEST(Byteorder, ReversesTheBytesAndKeepsThePayloadOfWhatIsNoNumber)
{
    const std::pair<std::uint32_t, std::string> floats[] = {
        {0x3f800000, {"\x3f\x80\0\0", 4}}, {0x7fa12345, "\x7f\xa1\x23\x45"}, {0x80000001, {"\x80\0\0\x1", 4}}};
    for (const auto &[bits, file] : floats)
        expect_round_trip<float>(bits, file, ffltofl, fltoffl);
    const std::pair<std::uint64_t, std::string> doubles[] = {{0x3ff8000000000001, {"\x3f\xf8\0\0\0\0\0\x1", 8}},
                                                             {0xfff1234567abcdef, "\xff\xf1\x23\x45\x67\xab\xcd\xef"}};
    for (const auto &[bits, file] : doubles)
        expect_round_trip<double>(bits, file, fdbltodbl, dbltofdbl);
}

TEST(NumbDecimalToBase, KeptGivesNegativeDigitsInBasesOtherThanTwo)
{
    const std::tuple<int, int, Digits> cases[] = {
        {6, 2, {0, 1, 1, 0}}, {-2, 2, Digits(40, 1)}, {255, 16, {15, 15, 0}}, {-17, 16, {-1, -1, 0}}, {123, 10, {3, 2}},
        {7, 0, {0, 0}},       {INT_MIN, 1, {0, 0}},   {INT_MIN, -1, {0, 0}},  {-7, -3, {-1, 2, 0}},   {7, 2, {}},
        {7, 10, {}}};
    for (auto [value, base, digits] : cases) {
        if (value == -2)
            digits[0] = 0;
        Digits given(digits.size() + 1, 99);
        EXPECT_EQ(numb_decimal_to_base(value, given.data(), static_cast<int>(digits.size()), base), 0);
        digits.push_back(99);
        EXPECT_EQ(given, digits) << value << " in base " << base;
    }
    int untouched = 99;
    EXPECT_EQ(numb_decimal_to_base(7, &untouched, -1, 2) + numb_decimal_to_base(7, &untouched, -1, 3), 0);
    EXPECT_EQ(untouched, 99);
}

TEST(NumbBaseToDecimal, SumsPowersAndWraps)
{
    const std::tuple<Digits, int, int> cases[] = {{{15, 15}, 16, 255}, {{3, 2, 1}, 10, 123}, {{-1, -1}, 16, -17},
                                                  {{5}, 7, 5},         {{}, 7, 0},           {Digits(32, 1), 2, -1},
                                                  {{7, 7}, 0, 7},      {{0, 1 << 30}, 4, 0}, {{1, 2}, -3, -5}};
    for (const auto &[digits, base, expected] : cases) {
        int value = 99;
        EXPECT_EQ(numb_base_to_decimal(digits.data(), &value, static_cast<int>(digits.size()), base), 0);
        EXPECT_EQ(value, expected) << "base " << base;
    }
}

TEST(NumbCombination, KeptDividesWhatHasWrapped)
{
    const std::tuple<int, int, int> cases[] = {{5, 2, 10},
                                               {2, 5, -1},
                                               {4, 0, 1},
                                               {4, -1, 1},
                                               {-4, 0, -1},
                                               {12, 12, 1},
                                               {46342, 2, -1073716337},  // half of 46342 * 46341 - 2^32
                                               {33, 33, 1},
                                               {34, 33, 0},
                                               {34, 34, 0},
                                               {INT_MAX, INT_MAX, 0}};
    for (const auto &[n, k, expected] : cases)
        EXPECT_EQ(numb_combination(n, k), expected) << n << " over " << k;
}

TEST(NumbHexStringToDecimal, KeptDoesNotCheckTheLastCharacter)
{
    const std::tuple<const char *, int, int> cases[] = {
        {"1A", 0, 26},   {"fF09", 0, 0xff09}, {"1g", 0, 17},       {"FFz", 0, 4095},    {"z", 0, 0},
        {"", 0, 0},      {"g1", -1, 99},      {"1/1", -1, 99},     {"1:1", -1, 99},     {"1G1", -1, 99},
        {"1@1", -1, 99}, {"1`1", -1, 99},     {"ffffffff", 0, -1}, {"100000002", 0, 2}, {"-1", -1, 99}};
    for (const auto &[text, result, expected] : cases) {
        int value = 99;
        EXPECT_EQ(numb_hex_string_to_decimal(text, &value), result) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(NumbHexToHexString, KeptWritesNegativeDigitsInDecimalAndNothingForZero)
{
    const std::tuple<Digits, int, const char *> cases[] = {{{10, 1}, 0, "1a"},
                                                           {{15, 0, 9, 0, 0}, 0, "90f"},
                                                           {{0, 0}, 0, ""},
                                                           {{}, 0, ""},
                                                           {{1, 16, 2}, -1, "2"},
                                                           {{1, 16}, -1, ""},
                                                           {{0, INT_MIN, -15}, 0, "-15-21474836480"}};
    for (const auto &[digits, result, expected] : cases) {
        char text[40] = "untouched";
        EXPECT_EQ(numb_hex_to_hex_string(digits.data(), static_cast<int>(digits.size()), text), result);
        EXPECT_STREQ(text, expected);
    }
    const std::pair<int, const char *> values[] = {
        {4096, "1000"}, {0, ""},       {255, "ff"},      {INT_MAX, "7fffffff"},  {-1, "-1"},
        {-16, "-10"},   {-17, "-1-1"}, {-255, "-15-15"}, {INT_MIN, "-80000000"}, {-268435455, "-15-15-15-15-15-15-15"}};
    for (const auto &[value, expected] : values) {
        char text[25];
        EXPECT_EQ(numb_decimal_to_hex_string(value, text), 0);
        EXPECT_STREQ(text, expected);
    }
}
