#include "str_zuk.h"

#include <gtest/gtest.h>

namespace
{

using Text = const char *;

const std::string long_text(256, 'n');

// Asks for each "topic/item" in turn; answers are values, "-" without the item, "?" without the topic.
void expect_answers(Text text, const std::string &questions, const std::string &answers)
{
    EXPECT_EQ(std::ranges::count(questions, ' '), std::ranges::count(answers, ' ')) << "an answer for each question";
    std::istringstream asked(questions), answered(answers);
    for (std::string question, answer; asked >> question && answered >> answer;) {
        SCOPED_TRACE(questions + " at " + question);
        const std::string topic = question.substr(0, question.find('/')), item = question.substr(topic.size() + 1);
        char value[257] = "";
        Text cursor = text;
        EXPECT_EQ(str_search_zuk_topic(&cursor, topic.c_str()), answer == "?" ? 0 : 1);
        const int found = answer == "?" || answer == "-" ? 0 : 1;
        EXPECT_EQ(str_search_zuk(&cursor, topic.c_str(), item.c_str(), value), found);
        EXPECT_EQ(value, found ? answer : "");
        EXPECT_EQ(cursor, text);
    }
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
    expect_answers(text, "B/k b/k CC/k CC/K cC/k A/k /k a/k c/k a/k /m cc/k aa/k", "- - 3 4 3 1 5 1 ? 1 - 3 ?");
    expect_answers(text + 4, "A/k", "1");
}

TEST(StrSearchZuk, KeptGoesOnBehindTheLastTopicAndStopsAtItsName)
{
    const std::pair<Text, Text> rows[] = {{"x/k X/k x/k", "1 3 1"}, {"n/k n/k", "2 2"},
                                          {"n/k N/k x/k", "2 4 1"}, {"n/k N/k w/k w/k", "2 4 - 6"},
                                          {"N/k n/k w/k", "2 4 6"}, {"x/k N/k n/k x/k", "1 2 4 1"},
                                          {"x/k /k X/k", "1 - 1"},  {"/k x/k", "- 1"}};
    for (const auto &[questions, answers] : rows) {
        clear_caches();
        expect_answers("[x]\nk=1\n[N]\nk=2\n[w]\nk=6\n[]\n[x]\nk=3\n[n]\nk=4\n[y]", questions, answers);
    }
}

TEST(StrSearchZuk, LooksOnlyInsideATextThatHasBecomeAnother)
{
    const std::pair<std::string, Text> rows[] = {{"[b]\nk=1", "1"},
                                                 {"", "?"},
                                                 {"#[b]\n[c]\nk=2\n[b]\nk=1", "1"},
                                                 {"k=00  [b]\n[z]", "?"},
                                                 {"k=00  [[b]\nk=1\n", "?"}};
    for (const auto &[now, answer] : rows) {
        clear_caches();
        char text[64] = "[a]\n[b]\nk=9";
        Text cursor = text;
        expect_answers(text, "b/k", "9");
        EXPECT_EQ(str_search_zuk_topic(&cursor, "a"), 1);
        text[now.copy(text, now.size())] = 0;
        expect_answers(text, "b/k", answer);
    }
}

TEST(StrIntFromItemstr, KeptSeparatesByBlanksAloneAndPassesOverTheRestOfAWord)
{
    const std::tuple<Text, int, int, int> cases[] = {{" 1.5  2.5 3", 2, 0, 2},
                                                     {"1 2 ", 3, -1, 99},
                                                     {"1\t2", 2, -1, 99},
                                                     {"1 \t 2", 3, 0, 2},
                                                     {"\n-.5e1x -7x", 2, -1, 99},
                                                     {"", 0, 0, 99},
                                                     {"- 1", 1, -1, 99},
                                                     {"0x 1", 1, 0, 0},
                                                     {"00x", 1, 0, 0},
                                                     {"infi", 1, -1, 99},
                                                     {"+2147483648", 1, 0, 2147483647},
                                                     {"-18446744073709551621", 1, 0, -2147483647 - 1}};
    for (const auto &[text, n, result, number] : cases) {
        int ints[] = {99, 99, 99};
        EXPECT_EQ(str_int_from_itemstr(text, n, ints), result) << text;
        EXPECT_EQ(ints[n > 0 ? n - 1 : 0], number) << text;
    }
}
