#include "str_utils.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace
{

// Applies an in-place change to a copy.
template <class Change>
std::string changed(std::string text, Change change)
{
    change(text.data());
    return text.c_str();
}

struct Split {
    int result;
    std::string left, right;
    bool operator==(const Split &) const = default;
};

Split split(const char *text, char separator)
{
    char left[64] = "untouched";
    char right[64] = "untouched";
    const int result = strsplit(text, separator, left, right);
    return {result, left, right};
}

std::ptrdiff_t offset(const char *found, const char *text) { return found != nullptr ? found - text : -1; }

}  // namespace

TEST(StrcmpCi, ComparesSignedBytesFoldedToUpperCase)
{
    const struct {
        const char *a, *b;
        int result;
    } cases[] = {{"abc", "ABD", -1}, {"abc", "ABC", 0},   {"ab", "a", 1},     {"", "", 0},
                 {"", "a", -1},      {"_", "a", 1},       {"_", "Z", 1},      {"@", "a", -1},
                 {"{", "z", 1},      {"a\x80", "ab", -1}, {"\xff", "\x80", 1}};
    for (const auto &c : cases) {
        EXPECT_EQ(strcmp_ci(c.a, c.b), c.result) << c.a << " | " << c.b;
        EXPECT_EQ(strcmp_ci(c.b, c.a), -c.result) << c.b << " | " << c.a;
        EXPECT_EQ(str_ins(c.a, c.b), c.result >= 0 ? 1 : 0) << c.a << " | " << c.b;
    }
}

TEST(StrcmpCi, KeptTakesTheLongerTextForTheGreaterWhateverItsByte)
{
    EXPECT_EQ(strcmp_ci("\x80", ""), 1);
    EXPECT_EQ(strcmp_ci("", "\x80"), -1);
}

TEST(StrncmpCi, ComparesExactlyNBytes)
{
    EXPECT_EQ(strncmp_ci("Ab", "aB", 2), 0);
    EXPECT_EQ(strncmp_ci("Abx", "aBy", 2), 0);
    EXPECT_EQ(strncmp_ci("Abx", "aBy", 3), 1);
    EXPECT_EQ(strncmp_ci("[", "{", 1), 1) << "only letters are folded";
    for (const int n : {0, -1})
        EXPECT_EQ(strncmp_ci("a", "b", n), 0);
}

TEST(StrncmpCi, KeptGoesOnBehindATerminatingZero) { EXPECT_EQ(strncmp_ci("a\0x", "a\0y", 3), 1); }

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
    const struct {
        const char *source;
        int n;
        std::string written;
    } cases[] = {
        {"abcdef", 3, {"abc\0#", 5}}, {"ab", 3, {"ab\0##", 5}}, {"ab", 0, {"\0####", 5}}, {"ab", -2, {"\0####", 5}}};
    for (const auto &c : cases) {
        char destination[5] = {'#', '#', '#', '#', '#'};
        EXPECT_EQ(strncpy_w0(destination, c.source, c.n), 0);
        EXPECT_EQ(std::string(destination, 5), c.written) << c.n;
    }
    const char unterminated[2] = {'x', 'y'};
    char destination[3];
    strncpy_w0(destination, unterminated, 2);
    EXPECT_STREQ(destination, "xy");
}

TEST(StrStr, FindsTheFirstOccurrence)
{
    const struct {
        const char *text, *pattern;
        long exact, without_case;
    } cases[] = {{"abcabc", "bc", 1, 1}, {"aBcabc", "bc", 4, 1}, {"abC", "Bc", -1, 1},  {"aab", "AB", -1, 1},
                 {"ab", "abc", -1, -1},  {"a", "", 0, 0},        {"[\x80{", "{", 2, 2}, {"x[", "{", -1, -1}};
    for (const auto &c : cases) {
        EXPECT_EQ(offset(str_str(c.text, c.pattern), c.text), c.exact) << c.text << " | " << c.pattern;
        EXPECT_EQ(offset(strstr_ci(c.text, c.pattern), c.text), c.without_case) << c.text << " | " << c.pattern;
    }
}

TEST(StrStr, KeptFindsNothingInAnEmptyText)
{
    EXPECT_EQ(str_str("", ""), nullptr);
    EXPECT_EQ(strstr_ci("", ""), nullptr);
}

TEST(Normstr, TrimsWhiteSpaceAndFolds)
{
    const struct {
        const char *text, *trimmed, *folded;
    } cases[] = {{"  Hello World\r\n", "Hello World", "hello world"},
                 {"\t \n\r", "", ""},
                 {"", "", ""},
                 {"\v@AZ\xc4[", "\v@AZ\xc4[", "\v@az\xc4["}};
    for (const auto &c : cases) {
        EXPECT_EQ(changed(c.text, normstr_wc), c.trimmed);
        EXPECT_EQ(changed(c.text, normstr), c.folded);
        char copy[32];
        normstr_wc_cp(c.text, copy);
        EXPECT_STREQ(copy, c.trimmed);
        normstr_cp(c.text, copy);
        EXPECT_STREQ(copy, c.folded);
    }
}

TEST(Strsplit, SplitsAtTheFirstSeparatorAndTrims)
{
    EXPECT_EQ(split("key = value", '='), (Split{0, "key", "value"}));
    EXPECT_EQ(split("a=b=c", '='), (Split{0, "a", "b=c"}));
    EXPECT_EQ(split("=", '='), (Split{0, "", ""}));
    EXPECT_EQ(split("key value", '='), (Split{1, "untouched", "untouched"}));
    EXPECT_EQ(split("key", '\0'), (Split{1, "untouched", "untouched"}));
}

TEST(Strsplit, RefusesNullAndLetsLeftBeTheTextItself)
{
    char text[] = " key = value ";
    char right[16];
    EXPECT_EQ(strsplit(nullptr, '=', text, right), 1);
    EXPECT_EQ(strsplit(text, '=', nullptr, right), 1);
    EXPECT_EQ(strsplit(text, '=', right, nullptr), 1);
    EXPECT_EQ(strsplit(text, '=', text, right), 0);
    EXPECT_STREQ(text, "key");
    EXPECT_STREQ(right, "value");
}

TEST(StrRemoveMultipleBlanks, KeepsOneBlankOfARunAndAllTabs)
{
    const auto remove = [](const char *text) { return changed(text, str_remove_multiple_blanks); };
    EXPECT_EQ(remove("a   b  c"), "a b c");
    EXPECT_EQ(remove("   "), " ");
    EXPECT_EQ(remove("  a\t\t b  "), " a\t\t b ");
}

TEST(StrGoToNextLine, StepsOverOneLineEnd)
{
    const struct {
        const char *text;
        int offset;
    } cases[] = {{"ab\r\ncd", 4}, {"ab\ncd", 3}, {"ab\rcd", 3}, {"\r\rx", 1}, {"\n\rx", 1}, {"ab", 2}, {"", 0}};
    for (const auto &c : cases) {
        const char *cursor = c.text;
        str_go_to_next_line(&cursor);
        EXPECT_EQ(cursor - c.text, c.offset) << c.text;
    }
}

TEST(StrGoToNextWord, StopsAtTheNextWordOrLineEnd)
{
    const struct {
        const char *text;
        int offset;
    } cases[] = {{"ab cd", 3}, {"  cd", 2}, {"ab \t cd", 5}, {"ab\ncd", 2}, {" \r", 1}, {"\tcd", 1}};
    for (const auto &c : cases) {
        std::string text = c.text;
        char *cursor = text.data();
        EXPECT_EQ(str_go_to_next_word(&cursor), c.text[c.offset]);
        EXPECT_EQ(cursor - text.data(), c.offset) << c.text;
    }
}

TEST(StrGoToNextWord, KeptStepsOverTheEndOfTheText)
{
    const char *cursor = "ab\0\0cd";
    EXPECT_EQ(str_go_to_next_word(&cursor), 'c');
}
