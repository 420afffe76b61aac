#include "fport.h"

#include "support/reports.h"

#include <gtest/gtest.h>
#include <wem.h>

#include <algorithm>
#include <string>
#include <tuple>

using teska_test::lines;
using teska_test::Reports;

namespace
{

// What fport leaves in a destination of x's, up to the zero.
std::string translated(const std::string &source, int size = 300)
{
    char destination[302];
    std::fill_n(destination, 301, 'x');
    destination[301] = 0;
    EXPECT_EQ(fport(destination, size, source.c_str()), 0);
    return destination;
}

}  // namespace

TEST(Fport, TranslatesLogicalNamesAndBrackets)
{
    wem_lognam_set("DISK", "C:\\data\\");
    wem_lognam_set("ROOT", "D:\\root");
    wem_lognam_set("NONE", "");
    const std::tuple<const char *, const char *> cases[] = {{"DISK:[dir.sub]file.ext", "C:\\data\\dir\\sub\\file.ext"},
                                                            {"disk:file.ext", "C:\\data\\file.ext"},
                                                            {"ROOT:[a]b.c", "D:\\root\\a\\b.c"},
                                                            {"ROOT:x.y[a.b]c.d[e.f]", "D:\\root\\x\\y\\a\\b\\c.d[e.f]"},
                                                            {"ROOT:[a.b.c", "D:\\root\\a\\b\\c"},
                                                            {"ROOT:a].b[", "D:\\root\\a\\.b["},
                                                            {"ROOT:a.b]", "D:\\root\\a.b]"},
                                                            {"ROOT:", "D:\\root\\"},
                                                            {"NONE:a:b", "\\a:b"},
                                                            {"C:\\x\\y.txt", "C:\\x\\y.txt"},
                                                            {"[a.b]c", "[a.b]c"},
                                                            {"", ""},
                                                            {"C:x.txt", "C:\\x.txt"},
                                                            {":x", ":\\x"}};
    for (const auto &[source, expected] : cases)
        EXPECT_EQ(translated(source), expected) << source;
    wem_lognam_clear();
}

TEST(Fport, KeptFillsSizeCharactersWithAPathAndLeavesThreeBytesWithATranslation)
{
    wem_lognam_set("N", "T");
    EXPECT_EQ(translated("N:abc", 7), "T\\abc");
    EXPECT_EQ(translated("N:abc", 6), std::string(301, 'x'));
    EXPECT_EQ(translated("abc", 3), "abc");
    EXPECT_EQ(translated("abc", 2), "ab");
    EXPECT_EQ(translated("abc", 0), "");
    EXPECT_EQ(translated(std::string(300, 'a')), std::string(255, 'a'));
    EXPECT_EQ(translated("N:" + std::string(300, 'a')), "T\\" + std::string(253, 'a'));
    wem_lognam_clear();
}

TEST(FportSetres, TellsTheFlagOfTheCallBefore)
{
    const int flags[] = {0, 5, -1, 0, 0};
    int before = 0;
    for (const int flag : flags) {
        EXPECT_EQ(fport_setres(flag), before != 0 ? 1 : 0);
        before = flag;
    }
}

TEST(FportStripPath, SkipsThePrefixAndOneSeparator)
{
    const std::tuple<const char *, int> cases[] = {{"C:\\data", 8}, {"C:\\data\\", 8}, {"a/", 2}, {"a:", 2},
                                                   {"[a]", 3},      {"a", 2},          {"", 1}};
    const char full[] = "C:\\data\\file";
    for (const auto &[prefix, skipped] : cases)
        EXPECT_EQ(fport_StripPath(full, prefix), full + skipped) << prefix;
}

TEST(FportStripExtension, KeptEndsTheNameAtTheLastDotEvenOfADirectory)
{
    const std::tuple<const char *, const char *, int> cases[] = {
        {"dir.d\\file", "dir", 0}, {"a.b.c", "a.b", 0}, {".a", "", 0}, {"a", "a", -1}, {"", "", -1}};
    for (const auto &[name, expected, result] : cases) {
        std::string text = name;
        EXPECT_EQ(fport_StripExtension(text.data()), result);
        EXPECT_STREQ(text.c_str(), expected);
    }
}

TEST(FportMakeFullPath, JoinsWhatFits)
{
    Reports reports;
    char path[16] = "xxx";
    EXPECT_EQ(fport_MakeFullPath("ab", "cde", path, 7), 0);
    EXPECT_STREQ(path, "ab\\cde");
    EXPECT_EQ(fport_MakeFullPath(path, "f", path, 9), 0);
    EXPECT_EQ(fport_MakeFullPath("g", path, path, 11), 0);
    EXPECT_STREQ(path, "g\\ab\\cde\\f");
    EXPECT_EQ(reports.take(), lines{});
    EXPECT_EQ(fport_MakeFullPath("ab", "cde", path, 0), -1);
    EXPECT_STREQ(path, "g\\ab\\cde\\f");
    EXPECT_EQ(fport_MakeFullPath("ab", "cde", path, 6), -1);
    EXPECT_STREQ(path, "");
    EXPECT_EQ(reports.take(), lines(2, "fport_MakeFullPah: string not long enough"));
}
