#include "str_zuk.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using Text = const char *;

// A topic that no text here holds is looked for in another text: both caches know nothing of the test's own.
void clear_caches()
{
    Text other = "";
    str_search_zuk_topic(&other, "");
    EXPECT_EQ(str_search_zuk_cache_reset(), 0);
}

// "result:value", and checks that the cursor stays.
std::string search(Text text, Text topic, Text item)
{
    char value[257] = "-";
    Text cursor = text;
    const int result = str_search_zuk(&cursor, topic, item, value);
    EXPECT_EQ(cursor, text);
    return std::to_string(result) + ":" + value;
}

std::string repeated(char c, int n) { return std::string(static_cast<std::size_t>(n), c); }

}  // namespace

TEST(StrGetNextZukTopic, FindsTheBracketsThatBeginALine)
{
    const std::pair<Text, Text> cases[] = {{"x\n[ A ]  comment\nk = 1 2\n[B]\n", " A|B|"},
                                           {" \t[a\t ]\r[b]\r\n[c][d]", "a|b|c|"},
                                           {"x [a]\n[]\n\n[\xe4]", "|\xe4|"},
                                           {"[a\n[b]\nk]\n[c]", "a\n[b|c|"},
                                           {"[a]\n[b\nc=1", "a|"},
                                           {"k = 1\n \n", ""},
                                           {"", ""}};
    for (const auto &[text, expected] : cases) {
        std::string names;
        char name[40];
        int count = 0;
        Text cursor = text;
        for (; str_get_next_zuk_topic(&cursor, name) == 0; ++count)
            names += std::string(name) + "|";
        EXPECT_EQ(names, expected);
        EXPECT_STREQ(name, "");
        EXPECT_STREQ(cursor, "") << "the cursor is at the end";
        cursor = text;
        EXPECT_EQ(str_get_nr_of_zuk_topics(&cursor), count) << text;
        EXPECT_EQ(cursor, text);
    }
}

TEST(StrGetNextZukItem, KeptRunsOverLineEndsAndTakesTheNextTopicLineIntoReach)
{
    const std::tuple<std::string, std::string, int> cases[] = {
        {"k = 1 2 \nm=3\r\n=\t\rn\t =\r\n[B]\no=4", "k:1 2|m:3|:|n:|", 23},
        {"; note\nk = 1\n = = ", "; note\nk:1|:=|", 18},
        {" bad =\t v \t", " bad:v|", 11},
        {"[B=x]\nk=1", "[B:x]|k:1|", 9},
        {"[B\n=x]\nk=1", "[B\n:x]|k:1|", 10},
        {"a=1\n[B] k=1", "a:1|[B] k:1|", 11},
        {"a=1\n[B]\n=1", "a:1|", 4},
        {"a=1\n[B\nk=1", "a:1|[B\nk:1|", 10},
        {"a=1\nrest", "a:1|", 4},
        {repeated('n', 300) + "=" + repeated('v', 255) + "  w\nb=1",
         repeated('n', 256) + ":" + repeated('v', 255) + "|b:1|", 563},
        {"", "", 0}};
    for (const auto &[text, expected, end] : cases) {
        std::string items;
        char name[257] = "-";
        char value[257] = "-";
        Text cursor = text.c_str();
        while (str_get_next_zuk_item(&cursor, name, value) == 0)
            items += std::string(name) + ":" + value + "|";
        EXPECT_EQ(items, expected);
        EXPECT_EQ(cursor - text.c_str(), end) << text;
    }
}

TEST(StrGetZukItem, ComparesTheNameAtTheCursorWithCase)
{
    const std::string long_name = repeated('n', 256);
    const std::string too_long = long_name + "x=1";
    // The result, the value and the cursor; then whether the topic at the cursor holds the item.
    const std::tuple<Text, Text, int, Text, int, int> cases[] = {{"k = 1\nm=2", "k", 0, "1", 6, 0},
                                                                 {"k = 1\nm=2", "m", -1, "-", 0, 0},
                                                                 {"k = 1\nm=2", "K", -1, "-", 0, -1},
                                                                 {"; k\nm=2\n", "m", -1, "-", 0, 0},
                                                                 {" k=1", "k", -1, "-", 0, -1},
                                                                 {"a=\n[B]\nk=1", "k", -1, "-", 0, -1},
                                                                 {"a=\n[B=1]", "[B", -1, "-", 0, 0},
                                                                 {"k \n", "k \n", -1, "-", 3, -1},
                                                                 {"=1", "", 0, "1", 2, 0},
                                                                 {"", "", -1, "-", 0, -1},
                                                                 {too_long.c_str(), long_name.c_str(), 0, "1", 259, 0}};
    for (const auto &[text, item, result, expected, at, held] : cases) {
        char value[257] = "-";
        Text cursor = text;
        EXPECT_EQ(str_get_zuk_item(&cursor, item, value), result) << text;
        EXPECT_STREQ(value, expected);
        EXPECT_EQ(cursor - text, at) << text;
        cursor = text;
        EXPECT_EQ(str_search_zuk_item(&cursor, item, value), held) << text;
        EXPECT_EQ(cursor, text);
    }
}

TEST(StrGetZukItemName, TakesNamesOfAnyLength)
{
    const std::string longest = repeated('n', 999);
    const std::tuple<std::string, int, std::string> cases[] = {
        {" k\t =1", 0, " k"}, {"\n[B]\t", 0, "\n[B]"}, {longest + "=", 0, longest}, {"=", 0, ""}, {"", -1, "-"}};
    for (const auto &[text, result, expected] : cases) {
        char name[1000] = "-";
        Text cursor = text.c_str();
        EXPECT_EQ(str_get_zuk_item_name(&cursor, name), result);
        EXPECT_EQ(name, expected);
        EXPECT_EQ(cursor, text.c_str());
    }
}

TEST(StrSearchZuk, FindsTopicsWithoutCaseWhateverWasFoundBefore)
{
    clear_caches();
    Text text = "k=0\n[a]\nk=1\n[B]\n[cc]\nk = 3\nK=4\n[ ]\nk=5";
    const std::tuple<Text, Text, Text> searches[] = {
        {"B", "k", "0:-"},  {"b", "k", "0:-"}, {"B", "[cc]\nk", "1:3"}, {"CC", "k", "1:3"}, {"CC", "K", "1:4"},
        {"cC", "k", "1:3"}, {"A", "k", "1:1"}, {"", "k", "1:5"},        {"a", "k", "1:1"},  {"d", "k", "0:-"},
        {"a", "k", "1:1"},  {"", "m", "0:-"},  {"", "k", "1:5"},        {"cc", "k", "1:3"}, {"aa", "k", "0:-"}};
    for (const auto &[topic, item, expected] : searches) {
        EXPECT_EQ(search(text, topic, item), expected) << topic;
        Text cursor = text;
        EXPECT_EQ(str_search_zuk_topic(&cursor, topic), topic[0] == 'd' || topic == Text("aa") ? 0 : 1) << topic;
        EXPECT_EQ(cursor, text);
    }
    EXPECT_EQ(search(text + 4, "A", "k"), "1:1") << "another address is another text";
}

TEST(StrSearchZuk, KeptGoesOnBehindTheLastTopicAndStopsAtItsName)
{
    Text text = "[x]\nk=1\n[N]\nk=2\n[x]\nk=3\n[n]\nk=4\n[y]\n";
    // Each row begins with empty caches; the topics are looked for in turn, and the last answer counts.
    const std::tuple<std::vector<Text>, Text> rows[] = {{{"x", "X"}, "1:3"},
                                                        {{"n", "n"}, "1:2"},
                                                        {{"n", "N", "x"}, "1:1"},
                                                        {{"n", "N", "n", "X"}, "1:3"},
                                                        {{"x", "N", "n", "x"}, "1:1"},
                                                        {{"y", "N", "n", "N", "x"}, "1:3"},
                                                        {{"x", "X", "N", "z", "x"}, "1:1"}};
    for (const auto &[topics, expected] : rows) {
        clear_caches();
        std::string last;
        for (Text topic : topics)
            last = search(text, topic, "k");
        EXPECT_EQ(last, expected) << topics.back();
    }
    // Come round, the search for "x" meets the last name first.
    clear_caches();
    text = "[N]\nk=1\n[x]\nk=2\n[y]\n[N]\n";
    search(text, "y", "");
    search(text, "N", "");
    EXPECT_EQ(search(text, "x", "k"), "0:-");
    EXPECT_EQ(search(text, "x", "k"), "1:2");
}

TEST(StrSearchZuk, LooksOnlyInsideATextThatHasBecomeAnother)
{
    for (const std::string now : {"[b]\nk=1", "", "#######\n", "#[b]\n[c]\nk=2\n[b]\nk=1", "k=0 [b]\n[b]\nk=1"}) {
        clear_caches();
        char text[64] = "[a]\nk=0\n\n\n[b]\nk=9";
        search(text, "b", "k");
        Text cursor = text;
        EXPECT_EQ(str_search_zuk_topic(&cursor, "b"), 1);
        std::fill(std::begin(text), std::end(text), '\0');
        now.copy(text, now.size());
        const bool there = now.find("k=1") != std::string::npos;
        EXPECT_EQ(str_search_zuk_topic(&cursor, "b"), there ? 1 : 0) << now;
        EXPECT_EQ(str_search_zuk_topic(&cursor, "z"), 0) << now;
        EXPECT_EQ(str_search_zuk_cache_reset(), 0);
        EXPECT_EQ(search(text, "b", "k"), there ? "1:1" : "0:-") << now;
    }
    // Not reset, and now shorter than the place.
    char text[64] = "[a]\nk=0\n\n\n[b]\nk=9";
    search(text, "b", "k");
    text[6] = '1';
    text[7] = 0;
    EXPECT_EQ(search(text, "b", "k"), "0:-");
    EXPECT_EQ(search(text, "a", "k"), "1:1");
}

TEST(StrDoubleFromItemstr, KeptSeparatesByBlanksAloneAndPassesOverTheRestOfAWord)
{
    const std::tuple<Text, int, int, std::vector<double>> cases[] = {
        {" 1.5  2 3", 2, 0, {1.5, 2}},
        {" 1.5  2 3", 4, -1, {1.5, 2, 3}},
        {"1\t2", 2, -1, {1}},
        {"1 \t 2", 3, 0, {1, 2, 2}},
        {"\n-.5e1x 0x1.8p1", 2, 0, {-5, 3}},
        {"1,5 1e", 2, 0, {1, 1}},
        {"", 0, 0, {}},
        {"x", -1, 0, {}},
        {"   ", 1, -1, {}},
        {"1 x 2", 3, -1, {1}},
        {"0x 1", 1, -1, {}},
        {"00x 0.0x", 2, 0, {0, 0}},
        {"1e999 -INF infinity", 3, 0, {HUGE_VAL, -HUGE_VAL, HUGE_VAL}},
        {"infi", 1, -1, {}},
        {"+ 1", 1, -1, {}}};
    for (const auto &[text, n, result, expected] : cases) {
        std::vector<double> numbers(5, 99);
        EXPECT_EQ(str_double_from_itemstr(text, n, numbers.data()), result) << text;
        auto padded = expected;
        padded.resize(5, 99);
        EXPECT_EQ(numbers, padded) << text;
    }
}

TEST(StrIntFromItemstr, ReadsDecimalsAndStopsAtTheEndsOfTheRange)
{
    const std::tuple<Text, int, int, std::vector<int>> cases[] = {
        {"1.5 2", 2, 0, {1, 2}},
        {" -7 +8x  \t9 ", 3, 0, {-7, 8, 9}},
        {"2147483647 2147483648 99999999999999999999", 3, 0, {INT_MAX, INT_MAX, INT_MAX}},
        {"-2147483647 -2147483648 -2147483649", 3, 0, {-INT_MAX, INT_MIN, INT_MIN}},
        {"0x10 .5", 2, -1, {0}},
        {"- 1", 1, -1, {}},
        {"1", 0, 0, {}}};
    for (const auto &[text, n, result, expected] : cases) {
        std::vector<int> numbers(4, 99);
        EXPECT_EQ(str_int_from_itemstr(text, n, numbers.data()), result) << text;
        auto padded = expected;
        padded.resize(4, 99);
        EXPECT_EQ(numbers, padded) << text;
    }
}

TEST(StrItemstrFromDouble, KeptMayAddADigitByRounding)
{
    const std::pair<std::vector<double>, Text> cases[] = {
        {{12.3456, 0.5, -1234.4}, " 12.35  0.500  -1234 "},
        {{1, 10, 1000, 10000, 1e6}, " 1.000  10.00  1000  10000  1000000 "},
        {{9.9996, 99.996, 999.96, -0.0001}, " 10.000  100.00  1000.0  -0.000 "},
        {{std::nextafter(10, 0), std::nextafter(100, 0), 0.0625, 1234.5}, " 10.000  100.0  0.062  1234 "},
        {{9999999999999998, 9999999999999996}, "  9999999999999998   9999999999999996 "},
        {{HUGE_VAL, -HUGE_VAL, NAN, -0.0}, " inf  -inf  nan  -0.000 "},
        {{}, ""}};
    for (const auto &[values, expected] : cases) {
        char text[64] = "-";
        EXPECT_EQ(str_itemstr_from_double(values.data(), static_cast<int>(values.size()), text), 0);
        EXPECT_STREQ(text, expected);
    }
    char text[320];
    const double longest = -1.7976931348623157e308;
    EXPECT_EQ(str_itemstr_from_double(&longest, 1, text), 0);
    EXPECT_EQ(std::string(text).size(), 312U);
}
