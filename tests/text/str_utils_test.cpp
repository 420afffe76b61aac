#include "str_utils.h"

#include "support/test.h"

namespace
{

using Text = const char *;

std::ptrdiff_t offset(Text found, const std::string &text) { return found != nullptr ? found - text.c_str() : -1; }

}  // namespace

// Kept: nothing is found in an empty text, strncmp_ci goes on after a terminating zero.
TEST(StrcmpCi, KeptComparesSignedBytesFoldedToUpperCaseAsTheSearchesDo)
{
    teska_test::Generator random(5);
    for (int round = 0; round < 20000; ++round) {
        std::string a(static_cast<std::size_t>(random.below(5)), ' '),
            b(static_cast<std::size_t>(random.below(5)), ' ');
        for (std::string *text : {&a, &b})
            std::generate(text->begin(), text->end(), [&] { return "aAzZ_@`[{\x80\xff\xe1\xc1"[random.below(13)]; });
        SCOPED_TRACE(a + " | " + b);
        std::vector<signed char> first(a.begin(), a.end()), second(b.begin(), b.end());
        for (auto *folded : {&first, &second})
            for (signed char &c : *folded)
                c = static_cast<signed char>(c == 'a' || c == 'z' ? c - 32 : c);
        EXPECT_EQ(strcmp_ci(a.c_str(), b.c_str()), first < second ? -1 : first > second ? 1 : 0);
        EXPECT_EQ(str_ins(a.c_str(), b.c_str()), first < second ? 0 : 1);
        const auto n = static_cast<std::ptrdiff_t>(std::min(a.size(), b.size()));
        const bool same = std::equal(first.begin(), first.begin() + n, second.begin());
        EXPECT_EQ(strncmp_ci(a.c_str(), b.c_str(), static_cast<int>(n)), same ? 0 : 1);
        EXPECT_EQ(chr_eq_ci(a[0], b[0]), 1 - strncmp_ci(a.c_str(), b.c_str(), 1));
        const auto at = std::search(first.begin(), first.end(), second.begin(), second.end());
        EXPECT_EQ(offset(strstr_ci(a.c_str(), b.c_str()), a), at == first.end() ? -1 : at - first.begin());
        EXPECT_EQ(offset(str_str(a.c_str(), b.c_str()), a), a.empty() ? -1 : static_cast<std::ptrdiff_t>(a.find(b)));
    }
    EXPECT_EQ(strncmp_ci("a\0x", "A\0y", 3), 1);
    EXPECT_EQ(strncmp_ci("a", "b", -1), 0);
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
