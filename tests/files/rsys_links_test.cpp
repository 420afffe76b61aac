// rsys where links are in the way
#include "files/rsys_links.h"

#include "files/rsys_site.h"

namespace fs = std::filesystem;

using teska_test::everything, teska_test::lines, teska_test::Links, teska_test::Reports, teska_test::Site,
    teska_test::Watch;

TEST(RsysLinks, AreFollowedNowhereTwice)
{
    const Site site;
    Links links;
    fs::create_directories(site.path("t/a"));
    site.write("t/a/f", "");
    links.make("..", site.path("t/a/up"));
    links.make("a", site.path("t/b"));
    links.make("nowhere", site.path("t/n"));
    links.make("self", site.path("t/self"));
    links.make("a/f", site.path("t/to f"), false);
    const std::string all = "a:1:0:0 a/f:0:1:0 a/up:2:1:0 b:2:0:0 n:2:0:0 self:2:0:0 to f:2:0:0";
    EXPECT_EQ(site.listed("t"), all);
    EXPECT_EQ(site.listed("t", "", everything | RSYS_FOLLOW),
              "a:1:0:0 a/f:0:1:0 a/up:1:1:0 b:1:0:0 b/f:0:1:0 b/up:1:1:0 n:2:0:0 self:2:0:0 to f:0:0:0");
    // Made again as they are; followed, a loop is refused before anything is written.
    Reports reports;
    EXPECT_EQ(site.copy("t", "to"), 0);
    EXPECT_EQ(site.listed("to"), all);
    EXPECT_EQ(links.target(site.path("to/a/up")), "..");
    EXPECT_EQ(site.copy("t", "to", RSYS_REPLACE), 0) << "a link gives way to a link";
    EXPECT_EQ(site.copy("t", "again", RSYS_FOLLOW), -1);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(reports.take(), lines{"rsys_copy: cannot read"});
    EXPECT_EQ(site.listing(), "t/ to/");
    EXPECT_EQ(site.remove("t/a/up"), 0);
    EXPECT_EQ(site.copy("t", "again", RSYS_FOLLOW), 0);
    EXPECT_EQ(site.listed("again"), "a:1:0:0 a/f:0:1:0 b:1:0:0 b/f:0:1:0 n:2:0:0 self:2:0:0 to f:0:0:0");
    EXPECT_EQ(site.copy("t/b", "as link") + site.copy("t/b/", "c", RSYS_FOLLOW), 0);
    EXPECT_EQ(site.kind("as link") + 10 * site.kind("c"), 12);
    // Removed without what they lead to.
    links.make("../c", site.path("to/out"));
    links.make("c", site.path("top"));
    EXPECT_EQ(site.remove("to") + site.remove("top/"), 0);
    EXPECT_EQ(site.listed("", "", RSYS_FOLDERS), "again:1:0:0 as link:2:0:0 c:1:0:0 t:1:0:0");
    EXPECT_EQ(site.listed("c"), "f:0:0:0");
}

TEST(RsysLinks, HideNoTargetInTheSource)
{
    const Site site;
    Links links;
    fs::create_directories(site.path("a/b"));
    site.write("a/f", "x");
    links.make("a", site.path("l"));
    links.make("a/b", site.path("m"));
    fs::create_directory(site.path("d"));
    links.make("../d", site.path("a/into d"));
    fs::create_hard_link(site.path("a/f"), site.path("h"));
    const std::tuple<const char *, const char *, int> cases[] = {
        {"a", "l/x", 0},           {"a", "m/x", 0},
        {"a", "l", RSYS_REPLACE},  {"l", "m/x", RSYS_FOLLOW},
        {"a/f", "h", 0},           {"h", "l/f", RSYS_REPLACE},
        {"a", "d/x", RSYS_FOLLOW}, {"a", "d", RSYS_FOLLOW | RSYS_REPLACE}};
    Reports reports;
    for (const auto &[from, to, flags] : cases)
        EXPECT_EQ(site.copy(from, to, flags), -1) << from << " " << to;
    EXPECT_EQ(reports.take(), lines(std::size(cases), "rsys_copy: target lies in the source"));
    EXPECT_EQ(site.listing(), "a/ d/ h l/ m/");
    // A target that is a link is not written through, but for a folder that takes files in.
    links.make("a/f", site.path("to f"), false);
    site.write("new", "y");
    EXPECT_EQ(site.copy("new", "to f", RSYS_REPLACE), -1);
    EXPECT_EQ(reports.take(), lines{"rsys_copy: target exists"});
    links.make("d", site.path("to d"));
    EXPECT_EQ(site.copy("a/b", "to d", RSYS_REPLACE), 0);
    EXPECT_EQ(site.read("a/f"), "x");
}

// Folders that become links after they were read: below the place of the removal, around it, and at its top. Windows
// does not let those go that are open.
TEST(RsysRemove, IsNotLedAstrayByAFolderThatBecomesALink)
{
    for (const std::string exchanged : {"t/b", "t/a", "t"}) {
        const Site site;
        Links links;
        for (const char *path : {"t/a", "t/b", "victim/a", "victim/b"}) {
            fs::create_directories(site.path(path));
            site.write(std::string(path) + "/f", "precious");
        }
        Watch exchange{.act = [&](const std::string &path) {
            std::error_code held;
            if (path != site.path("t/a/f"))
                return;
            fs::rename(site.path(exchanged), site.path("moved"), held);
            if (!held)
                links.make(exchanged == "t/b" ? "nowhere" : site.path("victim"), site.path(exchanged));
        }};
        Reports reports;
        const int result = site.remove("t", &exchange);
        EXPECT_EQ(site.listed("victim"), "a:1:0:0 a/f:0:1:8 b:1:0:0 b/f:0:1:8") << exchanged;
        EXPECT_EQ(result, 0) << exchanged;
#ifdef _WIN32
        EXPECT_EQ(fs::exists(site.path("moved")), exchanged == "t/b");
#else
        EXPECT_TRUE(fs::exists(site.path("moved")));
#endif
    }
}
