// wem - lines, fatal exit, logical names, pools and clocks, through the library's face
#include "wem.h"

#include "support/test.h"

#include <unistd.h>

#include <stdexcept>

namespace
{

template <class... Value>
std::string line(const char *templ, Value... values)
{
    std::string buffer(WEM_LINE_SIZE, '~');
    const int length = fmtstr(buffer.data(), templ, values...);
    EXPECT_EQ(static_cast<std::size_t>(length), buffer.find('\0'));
    return buffer.c_str();
}

TEST(Fmtstr, SetsValuesInUnscannedAndClosesTheQuoteTheTemplateOpens)
{
    EXPECT_EQ(line("ERROR : '", "100% #1 %s %n it's"), "ERROR : '100% #1 %s %n it's'");
    EXPECT_EQ(line("'x' is not ", "y"), "'x' is not y");
    EXPECT_EQ(line("can't open '", "a.txt"), "can't open 'a.txt'");
    EXPECT_EQ(line("DEBUG : '", static_cast<const char *>(nullptr)), "DEBUG : ''");
    char buffer[WEM_LINE_SIZE] = "message";
    EXPECT_EQ(fmtstr(buffer, "ERROR : '", buffer), 17);
    EXPECT_STREQ(buffer, "ERROR : 'message'");
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
    EXPECT_EQ(wem_set_errexit(keep_line), nullptr);
    EXPECT_EQ(errexit("first"), 7);
    EXPECT_EQ(wem_set_errexit(throw_line), keep_line);
    EXPECT_THROW(errexit("second"), std::runtime_error);
    EXPECT_EQ(wem_set_errexit(nullptr), throw_line);
    EXPECT_EXIT((dup2(2, 1), errexit("fatal")), testing::ExitedWithCode(1), "fatal");
}

std::string translated(const std::string &name)
{
    std::string text(WEM_NAME_SIZE, '~');
    const int defined = lognam(name.c_str(), text.data());
    return std::to_string(defined) + " " + text.c_str();
}

TEST(Lognam, FindsRedefinesAndRemovesNamesInAnyCase)
{
    for (const char *name : {"Disk", "disk2", "{"})
        EXPECT_EQ(wem_lognam_set(name, "C:\\data\\"), 0);
    EXPECT_EQ(translated("dISK"), "1 C:\\data\\");
    EXPECT_EQ(translated("dis"), "0 dis:");
    EXPECT_EQ(translated("["), "0 [:");  // as far from "{" as the cases of a letter are
    EXPECT_EQ(wem_lognam_set("DISK", ""), 0);
    EXPECT_EQ(wem_lognam_set("DISK2", nullptr), 0);
    EXPECT_EQ(translated("disk"), "1 ");
    EXPECT_EQ(translated("disk2"), "0 disk2:");
    EXPECT_EQ(wem_lognam_clear(), 0);
    EXPECT_EQ(translated("disk"), "0 disk:");
}

TEST(Lognam, KeepsTextsUpTo255CharactersAndRefusesLongerOnes)
{
    const std::string fits(255, 'n'), too_long(256, 'n');
    EXPECT_EQ(translated(too_long), "0 " + fits);
    EXPECT_EQ(translated(fits.substr(1)), "0 " + fits.substr(1) + ":");
    EXPECT_EQ(wem_lognam_set(fits.c_str(), fits.c_str()), 0);
    EXPECT_EQ(wem_lognam_set(fits.c_str(), too_long.c_str()), -1);
    EXPECT_EQ(wem_lognam_set(too_long.c_str(), "x"), -1);
    EXPECT_EQ(translated(fits), "1 " + fits);
    wem_lognam_clear();
}

TEST(Pool, HandsOutSeparateAlignedZeroedRecordsAndReusesThem)
{
    const int shapes[][2] = {{66, 8192}, {1, 64}, {3, 0}, {5, -1}, {4096, 100}};
    for (const auto &[words, block_bytes] : shapes) {
        wem_pool *pool = wem_zcreate(words, block_bytes);
        std::set<char *> taken;
        for (int i = 0; i < 200; ++i) {
            for (char *record : i == 100 ? taken : std::set<char *>())
                wem_zfree(pool, record);
            auto *record = static_cast<char *>(wem_zalloc(pool));
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(record) % 16, 0u);
            EXPECT_EQ(std::count(record, record + words * 4, 0), words * 4);
            std::fill_n(record, words * 4, '~');  // one that overlaps it would not be zero
            taken.insert(record);
        }
        EXPECT_EQ(taken.size(), 100u) << "each comes again";
        wem_zdestroy(pool);
    }
    for (int words : {0, INT_MIN})
        EXPECT_EQ(wem_zcreate(words, 8192), nullptr);
}

// The result and the text of each function.
template <class... Function>
std::string said(int value, Function... function)
{
    char text[12];
    return (... + (std::to_string(function(value, text)) + " " + text + " "));
}

TEST(Texts, AreEnglishFollowTheCalendarAndHaveTwoDigitsOfTime)
{
    EXPECT_EQ(said(20240229, cvtdta, dayweek), "0 29-Feb-2024 0 Thursday ");
    EXPECT_EQ(said(20000229, cvtdta, dayweek), "0 29-Feb-2000 0 Tuesday ");
    EXPECT_EQ(said(19691231, cvtdta, dayweek), "0 31-Dec-1969 0 Wednesday ");
    EXPECT_EQ(said(10101, cvtdta, dayweek), "0 01-Jan-0001 0 Monday ");
    EXPECT_EQ(said(99991231, cvtdta, dayweek), "0 31-Dec-9999 0 Friday ");
    for (int bad : {20230229, 19000229, 20241301, 20240001, 20240100, 20240132, 101, -20240229, 100000101, INT_MIN})
        EXPECT_EQ(said(bad, cvtdta, dayweek), "-1 unknown -1 unknown ") << bad;
    EXPECT_EQ(said(90507, cvttma), "0 09:05:07 ");
    EXPECT_EQ(said(235960, cvttma), "0 23:59:60 ");
    for (int bad : {240000, 126000, 61, -1, -90507, INT_MIN})
        EXPECT_EQ(said(bad, cvttma), "-1 unknown ") << bad;
}

}  // namespace
