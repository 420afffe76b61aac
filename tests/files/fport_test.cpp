#include "fport.h"

#include "support/test.h"

#include <wem.h>

using teska_test::lines, teska_test::Reports;

namespace
{

// What fport leaves in a destination of x's, up to the zero.
std::string translated(const std::string &source, int size)
{
    std::string destination(301, 'x');
    EXPECT_EQ(fport(destination.data(), size, source.c_str()), 0);
    return destination.c_str();
}

}  // namespace

TEST(Fport, KeptTranslatesLogicalNamesAndBracketsByItsOwnRules)
{
    wem_lognam_set("DISK", "C:\\data\\");
    wem_lognam_set("R", "D:\\root");
    wem_lognam_set("NONE", "");
    const char *const cases[][2] = {{"disk:[d.sub]f.ext", "C:\\data\\d\\sub\\f.ext"},
                                    {"DISK:f.ext", "C:\\data\\f.ext"},
                                    {"R:x.y[a.b]c.d[e.f]", "D:\\root\\x\\y\\a\\b\\c.d[e.f]"},
                                    {"R:[a.b.c", "D:\\root\\a\\b\\c"},
                                    {"R:a].b[", "D:\\root\\a\\.b["},
                                    {"R:a.b]", "D:\\root\\a.b]"},
                                    {"R:", "D:\\root\\"},
                                    {"NONE:a:b", "\\a:b"},
                                    {"C:\\x\\y.txt", "C:\\x\\y.txt"},
                                    {"[a.b]c", "[a.b]c"},
                                    {"", ""},
                                    {"C:x.txt", "C:\\x.txt"}};
    for (const auto &[source, expected] : cases)
        EXPECT_EQ(translated(source, 300), expected) << source;
    wem_lognam_set("N", "T");
    EXPECT_EQ(translated("N:abc", 7) + translated("N:abc", 6), "T\\abc" + std::string(301, 'x'));
    EXPECT_EQ(translated("abc", 3) + translated("abc", 2) + translated("abc", 0), "abcab")
        << "size characters and a zero";
    EXPECT_EQ(translated(std::string(300, 'a'), 300), std::string(255, 'a'));
    wem_lognam_clear();
}

TEST(FportStripPath, KeptSkipsThePrefixAndOneSeparatorWithoutALook)
{
    const char full[] = "C:\\data\\file";
    for (const auto &[prefix, skipped] :
         {std::pair{"C:\\data\\", 8}, {"a/", 2}, {"a:", 2}, {"[a]", 3}, {"C:\\data", 8}, {"a", 2}, {"", 1}})
        EXPECT_EQ(fport_StripPath(full, prefix), full + skipped) << prefix;
}

TEST(FportStripExtension, KeptEndsTheNameAtTheLastDotEvenOfADirectory)
{
    for (std::string name : {"dir.d\\file", "a.b.c", ".a", "a"}) {
        const std::string expected = name.substr(0, name.rfind('.'));
        EXPECT_EQ(fport_StripExtension(name.data()), name == "a" ? -1 : 0);
        EXPECT_STREQ(name.c_str(), expected.c_str());
    }
}

TEST(FportMakeFullPath, JoinsWhatFitsAndSetresTellsTheFlagOfTheCallBefore)
{
    Reports reports;
    char path[16] = "ab";
    EXPECT_EQ(fport_MakeFullPath(path, "cde", path, 7), 0);
    EXPECT_EQ(fport_MakeFullPath("g", path, path, 9), 0);
    EXPECT_EQ(fport_MakeFullPath("ab", "cde", path, 0), -1);
    EXPECT_STREQ(path, "g\\ab\\cde");
    EXPECT_EQ(fport_MakeFullPath("ab", "cde", path, 6), -1);
    EXPECT_STREQ(path, "");
    EXPECT_EQ(reports.take(), lines(2, "fport_MakeFullPah: string not long enough"));
    int before = 0;
    for (const int flag : {0, 5, -1, 0, 0})
        EXPECT_EQ(fport_setres(flag), std::exchange(before, flag) != 0 ? 1 : 0);
}
