#include "str_utils.h"

#include <gtest/gtest.h>

#include <cstddef>

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
    const std::tuple<Text, Text, int, int> cases[] = {
        {"a\0x", "a\0y", 3, 1}, {"a\0x", "A\0y", 2, 0}, {"[", "{", 1, 1}, {"a", "b", 0, 0}, {"a", "b", -1, 0}};
    for (const auto &[a, b, n, result] : cases)
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

TEST(Normstr, TrimsWhiteSpaceAndFolds)
{
    const std::tuple<Text, Text, Text> cases[] = {{" \r\n\tHello World\r\n \t", "Hello World", "hello world"},
                                                  {"\t \n\r", "", ""},
                                                  {"", "", ""},
                                                  {"\v@AZ\xc4[", "\v@AZ\xc4[", "\v@az\xc4["}};
    for (const auto &[text, trimmed, folded] : cases) {
        for (const auto &[copy_of, expected] : {std::pair{&normstr_wc_cp, trimmed}, {&normstr_cp, folded}}) {
            std::string copy(32, '~');
            copy_of(text, copy.data());
            EXPECT_STREQ(copy.c_str(), expected);
        }
    }
}

TEST(Strsplit, SplitsAtTheFirstSeparatorAndTrims)
{
    const std::tuple<Text, char, int, Text, Text> cases[] = {{" key = value ", '=', 0, "key", "value"},
                                                             {"a=b=c", '=', 0, "a", "b=c"},
                                                             {"=", '=', 0, "", ""},
                                                             {"key value", '=', 1, "key value", "untouched"},
                                                             {"key", '\0', 1, "key", "untouched"}};
    for (const auto &[text, separator, result, left, right] : cases) {
        // Either side may replace the text.
        std::string as_left = text, as_right = text;
        char before[16] = "untouched", after[16] = "untouched";
        EXPECT_EQ(strsplit(as_left.data(), separator, as_left.data(), after), result);
        EXPECT_EQ(strsplit(as_right.data(), separator, before, as_right.data()), result);
        EXPECT_STREQ(as_left.c_str(), left);
        EXPECT_STREQ(after, right);
        EXPECT_STREQ(before, result == 0 ? left : "untouched");
        EXPECT_STREQ(as_right.c_str(), result == 0 ? right : text);
    }
    char side[2];
    EXPECT_EQ(strsplit(nullptr, '=', side, side), 1);
    EXPECT_EQ(strsplit("=", '=', nullptr, side), 1);
    EXPECT_EQ(strsplit("=", '=', side, nullptr), 1);
}

TEST(StrRemoveMultipleBlanks, KeepsOneBlankOfARunAndAllTabs)
{
    const std::tuple<std::string, Text> cases[] = {{"a   b  c", "a b c"}, {"   ", " "}, {"  a\t\t b  ", " a\t\t b "}};
    for (auto [text, expected] : cases) {
        EXPECT_EQ(str_remove_multiple_blanks(text.data()), 0);
        EXPECT_STREQ(text.c_str(), expected);
    }
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
