// wem - lines, fatal exit, logical names, pools and clocks, through the library's face
#include "wem.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

template <class... Value>
std::string line(const char *templ, Value... values)
{
    // The guard bytes behind the promised size show an overrun without a sanitizer as well.
    char buffer[WEM_LINE_SIZE + 8];
    std::memset(buffer, '~', sizeof buffer);
    const int length = fmtstr(buffer, templ, values...);
    EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(buffer));
    EXPECT_EQ(std::string(buffer + WEM_LINE_SIZE, 8), "~~~~~~~~");
    return buffer;
}

TEST(Fmtstr, AppendsTheTextAndClosesTheQuoteTheTemplateOpens)
{
    EXPECT_EQ(line("ERROR : '", "list_new : no memory"), "ERROR : 'list_new : no memory'");
    EXPECT_EQ(line("file: ", "a.txt"), "file: a.txt");
    EXPECT_EQ(line("'x' is not ", "y"), "'x' is not y");
    EXPECT_EQ(line("can't open '", "a.txt"), "can't open 'a.txt'");
    EXPECT_EQ(line("can't open ", "a.txt"), "can't open a.txt");
    EXPECT_EQ(line("", "only"), "only");
    EXPECT_EQ(line("DEBUG : '", static_cast<const char *>(nullptr)), "DEBUG : ''");
}

TEST(Fmtstr, NeverScansTheText) { EXPECT_EQ(line("ERROR : '", "100% #1 %s %n it's"), "ERROR : '100% #1 %s %n it's'"); }

TEST(Fmtstr, SetsNumbersInAtTheMarks)
{
    EXPECT_EQ(line("failed nr_items = #", -7), "failed nr_items = -7");
    EXPECT_EQ(line("xc1 % yc1 %", 0.5, 1e-20), "xc1 0.5 yc1 1e-20");
    EXPECT_EQ(line("#%#|", INT_MIN, 2.25, INT_MAX), "-21474836482.252147483647|");
    EXPECT_EQ(line("bad code '#", 3), "bad code '3'");
}

TEST(Fmtstr, CutsAt511CharactersWhereverTheyComeFrom)
{
    const std::string prefix = "ERROR : '";
    for (std::size_t length : {501u, 502u, 503u, 511u, 600u, 100000u}) {
        const std::string text(length, 'x');
        EXPECT_EQ(line(prefix.c_str(), text.c_str()), (prefix + text + "'").substr(0, 511)) << length;
        EXPECT_EQ(line((text + "#").c_str(), 12345), (text + "12345").substr(0, 511)) << length;
    }
}

TEST(Fmtstr, TakesATextThatLiesInTheDestination)
{
    char buffer[WEM_LINE_SIZE] = "message";
    EXPECT_EQ(fmtstr(buffer, "ERROR : '", buffer), 17);
    EXPECT_STREQ(buffer, "ERROR : 'message'");
}

std::vector<std::string> shown;

int keep_line(const char *text)
{
    shown.push_back(text);
    return 7;
}

int throw_line(const char *text) { throw std::runtime_error(text); }

TEST(Typefl, PrintsALineOrHandsItToTheHost)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(typefl("it's # of %", 3, 4.5), 0);
    EXPECT_EQ(wem_set_typefl(keep_line), nullptr);
    EXPECT_EQ(typefl("kept #", 1), 7);
    EXPECT_EQ(wem_set_typefl(nullptr), keep_line);
    EXPECT_EQ(typefl(nullptr), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "it's 3 of 4.5\n\n");
    EXPECT_EQ(shown, std::vector<std::string>{"kept 1"});
}

TEST(Errexit, GivesTheHandlersResultOrItsException)
{
    shown.clear();
    EXPECT_EQ(wem_set_errexit(keep_line), nullptr);
    EXPECT_EQ(errexit("first"), 7);
    EXPECT_EQ(errexit(nullptr), 7);
    EXPECT_EQ(wem_set_errexit(throw_line), keep_line);
    EXPECT_THROW(errexit("second"), std::runtime_error);
    EXPECT_EQ(wem_set_errexit(nullptr), throw_line);
    EXPECT_EQ(shown, (std::vector<std::string>{"first", ""}));
}

#if GTEST_HAS_DEATH_TEST
TEST(ErrexitDeathTest, LeavesWithStatusOne) { EXPECT_EXIT(errexit("fatal"), testing::ExitedWithCode(1), ""); }
#endif

class Lognam : public testing::Test
{
protected:
    ~Lognam() override { wem_lognam_clear(); }

    static std::string translated(const std::string &name, int defined)
    {
        char text[WEM_NAME_SIZE + 8];
        std::memset(text, '~', sizeof text);
        EXPECT_EQ(lognam(name.c_str(), text), defined) << name;
        EXPECT_EQ(std::string(text + WEM_NAME_SIZE, 8), "~~~~~~~~");
        return text;
    }
};

TEST_F(Lognam, FindsNamesInAnyCase)
{
    EXPECT_EQ(wem_lognam_set("Disk", "C:\\data\\"), 0);
    EXPECT_EQ(wem_lognam_set("disk2", "D:"), 0);
    EXPECT_EQ(translated("DISK", 1), "C:\\data\\");
    EXPECT_EQ(translated("dISK2", 1), "D:");
    EXPECT_EQ(translated("dis", 0), "dis:");
    // "[" and "{" lie 32 apart, as the cases of a letter do.
    EXPECT_EQ(wem_lognam_set("{", "x"), 0);
    EXPECT_EQ(translated("[", 0), "[:");
}

TEST_F(Lognam, RedefinesAndRemoves)
{
    for (const char *name : {"a", "b", "c"})
        EXPECT_EQ(wem_lognam_set(name, name), 0);
    EXPECT_EQ(wem_lognam_set("B", ""), 0);
    EXPECT_EQ(wem_lognam_set("A", nullptr), 0);
    EXPECT_EQ(wem_lognam_set("A", nullptr), 0);
    EXPECT_EQ(translated("a", 0), "a:");
    EXPECT_EQ(translated("b", 1), "");
    EXPECT_EQ(translated("c", 1), "c");
    EXPECT_EQ(wem_lognam_clear(), 0);
    EXPECT_EQ(translated("c", 0), "c:");
}

TEST_F(Lognam, KeepsTextsUpTo255CharactersAndRefusesLongerOnes)
{
    const std::string fits(255, 'n');
    const std::string too_long(256, 'n');
    EXPECT_EQ(translated(fits, 0), fits);
    EXPECT_EQ(translated(too_long, 0), fits);
    EXPECT_EQ(translated(std::string(254, 'n'), 0), std::string(254, 'n') + ":");
    EXPECT_EQ(wem_lognam_set(fits.c_str(), fits.c_str()), 0);
    EXPECT_EQ(wem_lognam_set(fits.c_str(), too_long.c_str()), -1);
    EXPECT_EQ(wem_lognam_set(too_long.c_str(), "x"), -1);
    EXPECT_EQ(wem_lognam_set("", "x"), -1);
    EXPECT_EQ(wem_lognam_set(nullptr, "x"), -1);
    EXPECT_EQ(translated(fits, 1), fits);
    EXPECT_EQ(translated(too_long, 0), fits);
    EXPECT_EQ(translated("", 0), ":");
}

TEST(Pool, HandsOutSeparateAlignedZeroedRecordsAndReusesThem)
{
    struct {
        int words;
        int block_bytes;
    } const shapes[] = {{66, 8192}, {1, 64}, {3, 0}, {5, -1}, {4096, 100}};
    for (const auto &shape : shapes) {
        wem_pool *pool = wem_zcreate(shape.words, shape.block_bytes);
        ASSERT_NE(pool, nullptr);
        const auto bytes = static_cast<std::size_t>(shape.words) * 4;
        std::set<void *> first_round;
        for (int round = 0; round < 2; ++round) {
            std::vector<unsigned char *> records;
            for (int i = 0; i < 100; ++i) {
                auto *record = static_cast<unsigned char *>(wem_zalloc(pool));
                ASSERT_NE(record, nullptr);
                EXPECT_EQ(reinterpret_cast<std::uintptr_t>(record) % 16, 0u);
                // A record that overlapped an earlier one would not be zero: each is filled at once.
                EXPECT_EQ(std::vector<unsigned char>(record, record + bytes), std::vector<unsigned char>(bytes));
                std::memset(record, 0xff, bytes);
                records.push_back(record);
                if (round == 0)
                    first_round.insert(record);
                else
                    EXPECT_EQ(first_round.count(record), 1u);
            }
            EXPECT_EQ(first_round.size(), 100u);
            for (unsigned char *record : records)
                EXPECT_EQ(wem_zfree(pool, record), 0);
        }
        EXPECT_EQ(wem_zfree(pool, nullptr), 0);
        EXPECT_EQ(wem_zdestroy(pool), 0);
    }
}

TEST(Pool, RefusesRecordsOfNoSize)
{
    EXPECT_EQ(wem_zcreate(0, 8192), nullptr);
    EXPECT_EQ(wem_zcreate(-1, 8192), nullptr);
    EXPECT_EQ(wem_zcreate(INT_MIN, INT_MIN), nullptr);
    EXPECT_EQ(wem_zalloc(nullptr), nullptr);
    EXPECT_EQ(wem_zdestroy(nullptr), 0);
}

TEST(Clocks, CountMillisecondsForward)
{
    using clock = std::chrono::steady_clock;
    const auto reference = clock::now();
    const int wall = elapsed();
    const int work = cputime();
    volatile unsigned sink = 0;
    while (clock::now() - reference < std::chrono::milliseconds(200))
        sink = sink + 1;
    const auto passed = [](int from, int to) { return (to - from) & INT_MAX; };
    EXPECT_GE(wall, 0);
    EXPECT_GE(passed(wall, elapsed()), 199);
    EXPECT_LT(passed(wall, elapsed()), 20000);
    // A busy machine gives the loop less than all of the time, never more than 20 s of it.
    EXPECT_GE(passed(work, cputime()), 1);
    EXPECT_LT(passed(work, cputime()), 20000);
}

TEST(Dattim, GivesTheLocalDateAndTime)
{
    int date = -1, time_of_day = -1;
    const std::time_t before = std::time(nullptr);
    ASSERT_EQ(dattim(&date, &time_of_day), 0);
    std::tm parts = {};
    parts.tm_year = date / 10000 - 1900;
    parts.tm_mon = date / 100 % 100 - 1;
    parts.tm_mday = date % 100;
    parts.tm_hour = time_of_day / 10000;
    parts.tm_min = time_of_day / 100 % 100;
    parts.tm_sec = time_of_day % 100;
    parts.tm_isdst = -1;
    const std::time_t answered = std::mktime(&parts);
    EXPECT_GE(answered, before);
    EXPECT_LE(answered, std::time(nullptr));
}

TEST(DateTexts, AreEnglishAndFollowTheCalendar)
{
    struct {
        int date;
        const char *text;
        const char *day;
    } const rows[] = {{20240229, "29-Feb-2024", "Thursday"},
                      {19700101, "01-Jan-1970", "Thursday"},
                      {20000101, "01-Jan-2000", "Saturday"},
                      {19691231, "31-Dec-1969", "Wednesday"},
                      {10101, "01-Jan-0001", "Monday"},
                      {99991231, "31-Dec-9999", "Friday"},
                      {20230229, "unknown", "unknown"},
                      {19000229, "unknown", "unknown"},
                      {20241301, "unknown", "unknown"},
                      {20240001, "unknown", "unknown"},
                      {20240100, "unknown", "unknown"},
                      {20240132, "unknown", "unknown"},
                      {0, "unknown", "unknown"},
                      {101, "unknown", "unknown"},
                      {-20240229, "unknown", "unknown"},
                      {100000101, "unknown", "unknown"},
                      {INT_MAX, "unknown", "unknown"},
                      {INT_MIN, "unknown", "unknown"}};
    for (const auto &row : rows) {
        char text[12], day[10];
        const int expected = std::strcmp(row.day, "unknown") == 0 ? -1 : 0;
        EXPECT_EQ(cvtdta(row.date, text), expected) << row.date;
        EXPECT_EQ(dayweek(row.date, day), expected) << row.date;
        EXPECT_STREQ(text, row.text) << row.date;
        EXPECT_STREQ(day, row.day) << row.date;
    }
}

TEST(TimeTexts, AreTwoDigitsEach)
{
    struct {
        int time_of_day;
        const char *text;
    } const rows[] = {{0, "00:00:00"},      {90507, "09:05:07"}, {235960, "23:59:60"}, {240000, "unknown"},
                      {126000, "unknown"},  {61, "unknown"},     {-1, "unknown"},      {-90507, "unknown"},
                      {INT_MAX, "unknown"}, {INT_MIN, "unknown"}};
    for (const auto &row : rows) {
        char text[9];
        EXPECT_EQ(cvttma(row.time_of_day, text), std::strcmp(row.text, "unknown") == 0 ? -1 : 0) << row.time_of_day;
        EXPECT_STREQ(text, row.text) << row.time_of_day;
    }
}

}  // namespace
