#include "str_utils.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

using Text = const char *;

std::ptrdiff_t offset(Text found, Text text) { return found != nullptr ? found - text : -1; }

}  // namespace

TEST(StrcmpCi, KeptTakesTheLongerTextForTheGreaterAndComparesSignedBytesFoldedToUpperCase)
{
    const std::tuple<Text, Text, int> cases[] = {
        {"abc", "ABD", -1}, {"abc", "ABC", 0}, {"ab", "a", 1},  {"", "", 0},         {"_", "a", 1},      {"_", "Z", 1},
        {"@", "a", -1},     {"{", "z", 1},     {"\x80", "", 1}, {"a\x80", "ab", -1}, {"\xff", "\x80", 1}};
    for (const auto &[a, b, result] : cases) {
        EXPECT_EQ(strcmp_ci(a, b), result) << a << " | " << b;
        EXPECT_EQ(strcmp_ci(b, a), -result) << b << " | " << a;
        EXPECT_EQ(str_ins(a, b), result >= 0 ? 1 : 0) << a << " | " << b;
    }
}

TEST(StrncmpCi, KeptGoesOnBehindATerminatingZero)
{
    for (const auto &[a, b, n, result] :
         {std::tuple{"a\0x", "a\0y", 3, 1}, {"a\0x", "A\0y", 2, 0}, {"[", "{", 1, 1}, {"a", "b", -1, 0}})
        EXPECT_EQ(strncmp_ci(a, b, n), result) << a << " | " << b;
}

TEST(ChrEqCi, FoldsTheLettersOfAsciiOnly)
{
    for (int a = -128; a < 128; ++a)
        for (int b = -128; b < 128; ++b) {
            const bool letters = a != b && (a ^ b) == 0x20 && ((a | 0x20) >= 'a' && (a | 0x20) <= 'z');
            ASSERT_EQ(chr_eq_ci(static_cast<char>(a), static_cast<char>(b)), a == b || letters) << a << ' ' << b;
        }
}

TEST(StrncpyW0, EndsWithAZeroAndWritesNoFurther)
{
    const std::tuple<Text, int, std::string> cases[] = {
        {"abcdef", 3, {"abc\0#", 5}}, {"ab", 3, {"ab\0##", 5}}, {"ab", 0, {"\0####", 5}}, {"ab", -2, {"\0####", 5}}};
    for (const auto &[source, n, written] : cases) {
        char destination[] = "#####";
        EXPECT_EQ(strncpy_w0(destination, source, n), 0);
        EXPECT_EQ(std::string(destination, 5), written) << n;
    }
}

TEST(StrStr, KeptFindsNothingInAnEmptyText)
{
    const std::tuple<Text, Text, int, int> cases[] = {
        {"abcabc", "bc", 1, 1}, {"aBcabc", "bc", 4, 1}, {"abC", "Bc", -1, 1},
        {"aab", "AB", -1, 1},   {"ab", "abc", -1, -1},  {"a", "", 0, 0},
        {"[\x80{", "{", 2, 2},  {"x[", "{", -1, -1},    {"", "", -1, -1}};
    for (const auto &[text, pattern, exact, without_case] : cases) {
        EXPECT_EQ(offset(str_str(text, pattern), text), exact) << text << " | " << pattern;
        EXPECT_EQ(offset(strstr_ci(text, pattern), text), without_case) << text << " | " << pattern;
    }
}

TEST(Normstr, TrimsWhiteSpaceAndFoldsOrLeavesOneBlankOfARun)
{
    const std::tuple<Text, Text, Text, Text> cases[] = {
        {" \r\n\tHello  World\r\n \t", "Hello  World", "hello  world", " \r\n\tHello World\r\n \t"},
        {"   \n\r", "", "", " \n\r"},
        {"", "", "", ""},
        {"\v@AZ\t\t  \xc4[", "\v@AZ\t\t  \xc4[", "\v@az\t\t  \xc4[", "\v@AZ\t\t \xc4["}};
    for (const auto &[text, trimmed, folded, single] : cases) {
        char copy[32];
        normstr_wc_cp(text, copy);
        EXPECT_STREQ(copy, trimmed);
        normstr_cp(text, copy);
        EXPECT_STREQ(copy, folded);
        std::strcpy(copy, text);
        EXPECT_EQ(str_remove_multiple_blanks(copy), 0);
        EXPECT_STREQ(copy, single);
    }
}

TEST(Strsplit, SplitsAtTheFirstSeparatorAndTrims)
{
    const std::tuple<Text, char, int, Text, Text> cases[] = {{" key = value ", '=', 0, "key", "value"},
                                                             {"a=b=c", '=', 0, "a", "b=c"},
                                                             {"=", '=', 0, "", ""},
                                                             {"key value", '=', 1, nullptr, nullptr},
                                                             {"key", '\0', 1, nullptr, nullptr}};
    for (const auto &[text, separator, result, left, right] : cases)
        // Either side may replace the text.
        for (const int at : {0, 1}) {
            char sides[2][16] = {"", "untouched"};
            std::strcpy(sides[0], text);
            EXPECT_EQ(strsplit(sides[0], separator, sides[at], sides[1 - at]), result);
            EXPECT_STREQ(sides[at], result == 0 ? left : at == 0 ? text : "untouched");
            EXPECT_STREQ(sides[1 - at], result == 0 ? right : at == 1 ? text : "untouched");
        }
    char side[2];
    EXPECT_EQ(strsplit(nullptr, '=', side, side), 1);
    EXPECT_EQ(strsplit("=", '=', nullptr, side), 1);
    EXPECT_EQ(strsplit("=", '=', side, nullptr), 1);
}

TEST(StrGoToNextWord, KeptStepsOverTheEndOfTheTextWhereTheNextLineStops)
{
    // The offsets of the next line and of the next word; "!" is two zeros after the text.
    const std::tuple<std::string, int, int> cases[] = {
        {"ab\r\ncd", 4, 2}, {"ab\ncd", 3, 2}, {"ab\rcd", 3, 2}, {"\r\rx", 1, 0},    {"\n\rx", 1, 0}, {"ab", 2, 4},
        {"", 0, 2},         {"ab cd", 5, 3},  {"  cd", 4, 2},   {"ab \t cd", 7, 5}, {" \r", 2, 1},   {"\tcd", 3, 1}};
    for (const auto &[text, line, word] : cases) {
        const std::string continued = text + std::string("\0\0!", 3);
        Text cursor = continued.data();
        str_go_to_next_line(&cursor);
        EXPECT_EQ(cursor - continued.data(), line) << text;
        cursor = continued.data();
        const char reached = str_go_to_next_word(&cursor);
        EXPECT_EQ(reached, *cursor) << text;
        EXPECT_EQ(cursor - continued.data(), word) << text;
    }
}
