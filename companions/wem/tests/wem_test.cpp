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
    char buffer[WEM_LINE_SIZE + 1] = {};
    buffer[WEM_LINE_SIZE] = '~';  // shows an overrun without a sanitizer as well
    const int length = fmtstr(buffer, templ, values...);
    EXPECT_EQ(buffer[WEM_LINE_SIZE], '~');
    EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(buffer));
    return buffer;
}

TEST(Fmtstr, AppendsTheTextUnscannedAndClosesTheQuoteTheTemplateOpens)
{
    EXPECT_EQ(line("ERROR : '", "100% #1 %s %n it's"), "ERROR : '100% #1 %s %n it's'");
    EXPECT_EQ(line("'x' is not ", "y"), "'x' is not y");
    EXPECT_EQ(line("can't open '", "a.txt"), "can't open 'a.txt'");
    EXPECT_EQ(line("DEBUG : '", static_cast<const char *>(nullptr)), "DEBUG : ''");
    char buffer[WEM_LINE_SIZE] = "message";
    EXPECT_EQ(fmtstr(buffer, "ERROR : '", buffer), 17);
    EXPECT_STREQ(buffer, "ERROR : 'message'");
}

TEST(Fmtstr, SetsNumbersInAtTheMarks)
{
    EXPECT_EQ(line("failed nr_items = #", -7), "failed nr_items = -7");
    EXPECT_EQ(line("xc1 % yc1 %", 0.5, 1e-20), "xc1 0.5 yc1 1e-20");
    EXPECT_EQ(line("'#%#", INT_MIN, 2.25, INT_MAX), "'-21474836482.252147483647'");
}

TEST(Fmtstr, CutsAt511CharactersWhereverTheyComeFrom)
{
    for (std::size_t length : {501u, 502u, 503u, 511u, 100000u}) {
        const std::string text(length, 'x');
        EXPECT_EQ(line("ERROR : '", text.c_str()), ("ERROR : '" + text + "'").substr(0, 511)) << length;
        EXPECT_EQ(line((text + "#").c_str(), 12345), (text + "12345").substr(0, 511)) << length;
    }
}

std::string shown;

int keep_line(const char *text)
{
    shown += text;
    return 7;
}

int throw_line(const char *text) { throw std::runtime_error(text); }

TEST(Typefl, PrintsALineOrHandsItToTheHost)
{
    shown.clear();
    testing::internal::CaptureStdout();
    EXPECT_EQ(typefl("it's # of %", 3, 4.5), 0);
    EXPECT_EQ(wem_set_typefl(keep_line), nullptr);
    EXPECT_EQ(typefl("kept #", 1), 7);
    EXPECT_EQ(wem_set_typefl(nullptr), keep_line);
    EXPECT_EQ(typefl(nullptr), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "it's 3 of 4.5\n\n");
    EXPECT_EQ(shown, "kept 1");
}

TEST(ErrexitDeathTest, GivesTheHandlersResultOrItsExceptionAndOtherwiseLeaves)
{
    shown.clear();
    EXPECT_EQ(wem_set_errexit(keep_line), nullptr);
    EXPECT_EQ(errexit("first"), 7);
    EXPECT_EQ(shown, "first");
    EXPECT_EQ(wem_set_errexit(throw_line), keep_line);
    EXPECT_THROW(errexit("second"), std::runtime_error);
    EXPECT_EQ(wem_set_errexit(nullptr), throw_line);
    EXPECT_EXIT(errexit("fatal"), testing::ExitedWithCode(1), "");
}

std::string translated(const std::string &name, int defined)
{
    char text[WEM_NAME_SIZE + 1] = {};
    text[WEM_NAME_SIZE] = '~';
    EXPECT_EQ(lognam(name.c_str(), text), defined) << name;
    EXPECT_EQ(text[WEM_NAME_SIZE], '~');
    return text;
}

TEST(Lognam, FindsRedefinesAndRemovesNamesInAnyCase)
{
    for (const char *name : {"Disk", "disk2", "{"})
        EXPECT_EQ(wem_lognam_set(name, "C:\\data\\"), 0);
    EXPECT_EQ(translated("dISK", 1), "C:\\data\\");
    EXPECT_EQ(translated("dis", 0), "dis:");
    EXPECT_EQ(translated("[", 0), "[:");  // as far from "{" as the cases of a letter are
    EXPECT_EQ(wem_lognam_set("DISK", ""), 0);
    EXPECT_EQ(wem_lognam_set("DISK2", nullptr), 0);
    EXPECT_EQ(translated("disk", 1), "");
    EXPECT_EQ(translated("disk2", 0), "disk2:");
    EXPECT_EQ(wem_lognam_clear(), 0);
    EXPECT_EQ(translated("disk", 0), "disk:");
}

TEST(Lognam, KeepsTextsUpTo255CharactersAndRefusesLongerOnes)
{
    const std::string fits(255, 'n'), too_long(256, 'n');
    EXPECT_EQ(translated(too_long, 0), fits);
    EXPECT_EQ(translated(fits.substr(1), 0), fits.substr(1) + ":");
    EXPECT_EQ(wem_lognam_set(fits.c_str(), fits.c_str()), 0);
    EXPECT_EQ(wem_lognam_set(fits.c_str(), too_long.c_str()), -1);
    EXPECT_EQ(wem_lognam_set(too_long.c_str(), "x"), -1);
    EXPECT_EQ(translated(fits, 1), fits);
    wem_lognam_clear();
}

// Takes 100 records, each aligned and zero, and fills each at once, so that one overlapping it would not be zero.
std::set<void *> take_records(wem_pool *pool, std::size_t bytes)
{
    std::set<void *> taken;
    for (int i = 0; i < 100; ++i) {
        auto *record = static_cast<unsigned char *>(wem_zalloc(pool));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(record) % 16, 0u);
        EXPECT_EQ(std::vector<unsigned char>(record, record + bytes), std::vector<unsigned char>(bytes));
        std::memset(record, 0xff, bytes);
        taken.insert(record);
    }
    return taken;
}

TEST(Pool, HandsOutSeparateAlignedZeroedRecordsAndReusesThem)
{
    const int shapes[][2] = {{66, 8192}, {1, 64}, {3, 0}, {5, -1}, {4096, 100}};
    for (const auto &[words, block_bytes] : shapes) {
        wem_pool *pool = wem_zcreate(words, block_bytes);
        ASSERT_NE(pool, nullptr);
        const auto first = take_records(pool, static_cast<std::size_t>(words) * 4);
        EXPECT_EQ(first.size(), 100u);
        for (void *record : first)
            EXPECT_EQ(wem_zfree(pool, record), 0);
        EXPECT_EQ(take_records(pool, static_cast<std::size_t>(words) * 4), first);
        EXPECT_EQ(wem_zdestroy(pool), 0);
    }
    EXPECT_EQ(wem_zcreate(0, 8192), nullptr);
    EXPECT_EQ(wem_zcreate(INT_MIN, INT_MIN), nullptr);
}

TEST(Clocks, CountMillisecondsForward)
{
    const auto start = std::chrono::steady_clock::now();
    const int wall = elapsed();
    const int work = cputime();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(200))
        ;
    EXPECT_GE(wall, 0);
    EXPECT_GE((elapsed() - wall) & INT_MAX, 199);
    EXPECT_GE((cputime() - work) & INT_MAX, 1);  // a busy machine gives the loop less than all of the time
    EXPECT_LT((cputime() - work) & INT_MAX, 20000);
}

TEST(Dattim, GivesTheLocalDateAndTime)
{
    const std::time_t before = std::time(nullptr);
    int date = -1, time_of_day = -1;
    ASSERT_EQ(dattim(&date, &time_of_day), 0);
    bool found = false;
    for (std::time_t t = before; t <= std::time(nullptr); ++t) {
        char digits[16];
        std::strftime(digits, sizeof digits, "%Y%m%d%H%M%S", std::localtime(&t));
        found = found || std::stoll(digits) == date * 1000000LL + time_of_day;
    }
    EXPECT_TRUE(found) << date << ' ' << time_of_day;
}

TEST(DateTexts, AreEnglishAndFollowTheCalendar)
{
    char text[12], day[10];
    const auto texts = [&](int date) {
        const int result = cvtdta(date, text);
        EXPECT_EQ(dayweek(date, day), result);
        return std::to_string(result) + " " + text + " " + day;
    };
    EXPECT_EQ(texts(20240229), "0 29-Feb-2024 Thursday");
    EXPECT_EQ(texts(19691231), "0 31-Dec-1969 Wednesday");
    EXPECT_EQ(texts(10101), "0 01-Jan-0001 Monday");
    EXPECT_EQ(texts(99991231), "0 31-Dec-9999 Friday");
    for (int bad : {20230229, 19000229, 20241301, 20240001, 20240100, 20240132, 101, -20240229, 100000101, INT_MIN})
        EXPECT_EQ(texts(bad), "-1 unknown unknown") << bad;
}

TEST(TimeTexts, AreTwoDigitsEach)
{
    char text[9];
    const auto time_text = [&](int time_of_day) { return std::to_string(cvttma(time_of_day, text)) + " " + text; };
    EXPECT_EQ(time_text(90507), "0 09:05:07");
    EXPECT_EQ(time_text(235960), "0 23:59:60");
    for (int bad : {240000, 126000, 61, -1, -90507, INT_MIN})
        EXPECT_EQ(time_text(bad), "-1 unknown") << bad;
}

}  // namespace
