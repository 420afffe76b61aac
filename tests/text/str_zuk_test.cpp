#include "str_zuk.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using Text = const char *;

const std::string long_text(256, 'n');

// The result and the value; checks that the cursor stays.
std::string search(Text text, Text topic, Text item)
{
    char value[257] = "-";
    Text cursor = text;
    const int result = str_search_zuk(&cursor, topic, item, value);
    EXPECT_EQ(cursor, text);
    return std::to_string(result) + value;
}

void clear_caches()
{
    Text other = "";
    EXPECT_EQ(str_search_zuk_topic(&other, ""), 0);
    EXPECT_EQ(str_search_zuk_cache_reset(), 0);
}

}  // namespace

TEST(StrGetNextZukItem, KeptRunsOverLineEndsAndTakesTheNextTopicLineIntoReach)
{
    // Items as "name:value|", topics in angles.
    const std::pair<std::string, std::string> cases[] = {
        {"x\n[ A ]  comment\nk = 1 2\n[B]\n", "< A>k:1 2|<B>"},
        {" \t[a\t ]\r[b]\r\n[c][d]", "<a><b><c>"},
        {"x [a]\n[]\n\n[\xe4]", "<><\xe4>"},
        {"[a\n[b]\nk]\n[c]", "<a\n[b><c>"},
        {"[a]\n[b\nc=1", "<a>[b\nc:1|"},
        {"k=1\n[b\nc", "k:1|"},
        {"k = 1 2 \nm=3\r\n=\t\rn\t =\r\n[B]\no=4", "k:1 2|m:3|:|n:|<B>o:4|"},
        {"; note\nk = 1\n = = ", "; note\nk:1|:=|"},
        {"[B\n=x]\nk=1", "[B\n:x]|k:1|"},
        {"a=1\n[B] k=1", "a:1|[B] k:1|"},
        {"a=1\n[B]\n=1", "a:1|<B>:1|"},
        {long_text + "nnnn =" + long_text.substr(1) + "  v\nb=\n", long_text + ":" + long_text.substr(1) + "|b:|"}};
    for (const auto &[text, expected] : cases) {
        std::string walked;
        char name[300], value[257];
        Text cursor = text.c_str();
        do {
            while (str_get_next_zuk_item(&cursor, name, value) == 0)
                walked += std::string(name) + ":" + value + "|";
        } while (str_get_next_zuk_topic(&cursor, name) == 0 && !walked.append("<").append(name).append(">").empty());
        EXPECT_EQ(walked, expected);
        EXPECT_EQ(std::string(name) + cursor, "") << "no further topic: the cursor is at the end";
    }
}

TEST(StrGetZukItem, ComparesTheNameAtTheCursorWithCase)
{
    // Result, value and cursor; then whether the topic at the cursor holds the item.
    const std::tuple<std::string, std::string, std::string, int, int> cases[] = {
        {"k = 1\nm=2", "k", "01", 6, 0},  {"; k\nm=2", "m", "-1-", 0, 0},
        {"K=1\n k=1", "k", "-1-", 0, -1}, {"a=\n[B]\nk=1", "k", "-1-", 0, -1},
        {"a=\n[B=1]", "[B", "-1-", 0, 0}, {"k \n", "k \n", "-1-", 3, -1},
        {"", "", "-1-", 0, -1},           {long_text + "x=1", long_text, "01", 259, 0}};
    for (const auto &[text, item, result, at, held] : cases) {
        char value[257] = "-";
        Text cursor = text.c_str();
        EXPECT_EQ(std::to_string(str_get_zuk_item(&cursor, item.c_str(), value)) + value, result) << text;
        EXPECT_EQ(cursor - text.c_str(), at) << text;
        cursor = text.c_str();
        EXPECT_EQ(str_search_zuk_item(&cursor, item.c_str(), value), held) << text;
        EXPECT_EQ(cursor, text.c_str());
    }
    char name[300];
    Text cursor = "k\n[a]\t =[b]";
    EXPECT_EQ(str_get_zuk_item_name(&cursor, name), 0);
    EXPECT_STREQ(name, "k\n[a]");
    EXPECT_EQ(str_get_nr_of_zuk_topics(&cursor), 1);
    EXPECT_STREQ(cursor, "k\n[a]\t =[b]");
}

TEST(StrSearchZuk, FindsTopicsWithoutCaseWhateverWasFoundBefore)
{
    clear_caches();
    Text text = "k=0\n[a]\nk=1\n[B]\n[cc]\nk = 3\nK=4\n[ ]\nk=5";
    const std::tuple<Text, Text, int, Text> searches[] = {
        {"B", "k", 1, "0-"}, {"b", "k", 1, "0-"},  {"CC", "k", 1, "13"}, {"CC", "K", 1, "14"}, {"cC", "k", 1, "13"},
        {"A", "k", 1, "11"}, {"", "k", 1, "15"},   {"a", "k", 1, "11"},  {"c", "k", 0, "0-"},  {"a", "k", 1, "11"},
        {"", "m", 1, "0-"},  {"cc", "k", 1, "13"}, {"aa", "k", 0, "0-"}};
    for (const auto &[topic, item, found, expected] : searches) {
        EXPECT_EQ(search(text, topic, item), expected) << topic;
        EXPECT_EQ(str_search_zuk_topic(&text, topic), found) << topic;
    }
    EXPECT_EQ(search(text + 4, "A", "k"), "11") << "another address is another text";
}

TEST(StrSearchZuk, KeptGoesOnBehindTheLastTopicAndStopsAtItsName)
{
    Text text = "[x]\nk=1\n[N]\nk=2\n[w]\nk=6\n[]\n[x]\nk=3\n[n]\nk=4\n[y]";
    // Topics of one letter each (a zero: the one without a name), looked for in turn; the last answer counts.
    const std::pair<std::string, Text> rows[] = {{"xX", "13"},   {"xXx", "11"}, {"nn", "12"},      {"nN", "14"},
                                                 {"nNx", "11"},  {"nNw", "0-"}, {"nNww", "16"},    {"Nnw", "16"},
                                                 {"xNnx", "11"}, {"xzX", "11"}, {{"\0x", 2}, "11"}};
    for (const auto &[topics, expected] : rows) {
        clear_caches();
        std::string last;
        for (const char topic : topics)
            last = search(text, std::string(1, topic).c_str(), "k");
        EXPECT_EQ(last, expected) << topics;
    }
}

TEST(StrSearchZuk, LooksOnlyInsideATextThatHasBecomeAnother)
{
    for (const std::string now : {"[b]\nk=1", "", "#[b]\n[c]\nk=2\n[b]\nk=1", "k=00  [b]\n[z]", "k=00  [[b]\nk=1\n"}) {
        clear_caches();
        char text[64] = "[a]\n[b]\nk=9";
        Text cursor = text;
        EXPECT_EQ(search(text, "b", "k"), "19");
        EXPECT_EQ(str_search_zuk_topic(&cursor, "a"), 1);
        text[now.copy(text, now.size())] = 0;
        const bool there = now.find("\n[b]") != std::string::npos || now.find("[b]") == 0;
        EXPECT_EQ(str_search_zuk_topic(&cursor, "b"), there ? 1 : 0) << now;
        EXPECT_EQ(search(text, "b", "k"), there ? "11" : "0-") << now;
    }
}

TEST(StrDoubleFromItemstr, KeptSeparatesByBlanksAloneAndPassesOverTheRestOfAWord)
{
    // Results and the last number, read as doubles and as ints.
    const std::tuple<Text, int, int, double, int, int> cases[] = {
        {" 1.5  2.5 3", 2, 0, 2.5, 0, 2},
        {"1 2 ", 3, -1, 99, -1, 99},
        {"1\t2", 2, -1, 99, -1, 99},
        {"1 \t 2", 3, 0, 2, 0, 2},
        {"\n-.5e1x -7x", 2, 0, -7, -1, 99},
        {"", 0, 0, 99, 0, 99},
        {"- 1", 1, -1, 99, -1, 99},
        {"0x 1", 1, -1, 99, 0, 0},
        {"00x", 1, 0, 0, 0, 0},
        {"infi", 1, -1, 99, -1, 99},
        {"+2147483648", 1, 0, 2147483648.0, 0, 2147483647},
        {"-99999999999", 1, 0, -99999999999.0, 0, -2147483647 - 1}};
    for (const auto &[text, n, result, number, int_result, int_number] : cases) {
        double doubles[] = {99, 99, 99};
        int ints[] = {99, 99, 99};
        EXPECT_EQ(str_double_from_itemstr(text, n, doubles), result) << text;
        EXPECT_EQ(doubles[n > 0 ? n - 1 : 0], number) << text;
        EXPECT_EQ(str_int_from_itemstr(text, n, ints), int_result) << text;
        EXPECT_EQ(ints[n > 0 ? n - 1 : 0], int_number) << text;
    }
}

TEST(StrItemstrFromDouble, KeptMayAddADigitByRounding)
{
    const std::pair<std::vector<double>, Text> cases[] = {
        {{12.3456, 0.5, -1234.4}, " 12.35  0.500  -1234 "},
        {{1, 10, 1000, 1e6, -0.0001}, " 1.000  10.00  1000  1000000  -0.000 "},
        {{9.9996, 99.996, 999.96}, " 10.000  100.00  1000.0 "},
        {{std::nextafter(10, 0), std::nextafter(100, 0), 0.0625, 1234.5}, " 10.000  100.0  0.062  1234 "},
        {{9999999999999998, 9999999999999978}, "  9999999999999998  9999999999999978 "},
        {{HUGE_VAL, -HUGE_VAL, NAN}, " inf  -inf  nan "}};
    for (const auto &[values, expected] : cases) {
        char text[64];
        EXPECT_EQ(str_itemstr_from_double(values.data(), static_cast<int>(values.size()), text), 0);
        EXPECT_STREQ(text, expected);
    }
}
