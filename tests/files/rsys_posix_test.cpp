// rsys where other users and hostile names are in the way: what only POSIX hosts let a test make
#include "files/rsys_site.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

using teska_test::lines, teska_test::Reports, teska_test::Site;

namespace
{

// The rights of nobody while it lives, where the test runs as root.
struct Nobody {
    Nobody() : changed(geteuid() == 0 && seteuid(65534) == 0) {}
    ~Nobody() { EXPECT_TRUE(!changed || seteuid(0) == 0); }
    bool changed;
};

}  // namespace

TEST(RsysRemove, GoesAnyDepth)
{
    const Site site;
    const int before = open(".", O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(chdir(site.path().c_str()), 0);
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(mkdir("some_name", 0777) + chdir("some_name"), 0);
    ASSERT_EQ(fchdir(before), 0);
    EXPECT_EQ(site.copy("some_name", "copy"), 0);
    EXPECT_EQ(site.remove("some_name") + site.remove("copy"), 0);
    EXPECT_EQ(site.listing(), "");
    close(before);
}

TEST(RsysNames, OfAnyBytesAreCopiedAndRemovedAndThoseThatCannotBeGivenArePassedOver)
{
    const Site site;
    fs::create_directories(site.path("t/\xff/in"));
    for (const char *name :
         {"line\nbreak", "\xed\xa0\x80", "\xc0\xaf", "a\\..\\..\\b", "\xf4\x90\x80\x80", "\xf0\x9f\x8e\xa8"})
        site.write(std::string("t/") + name, "x");
    EXPECT_EQ(site.listed("t"), "line\nbreak:0:0:1 \xf0\x9f\x8e\xa8:0:0:1 (5)");
    EXPECT_EQ(site.copy("t", "to"), 0);
    EXPECT_TRUE(fs::exists(site.path("to/\xff/in")) && fs::exists(site.path("to/a\\..\\..\\b")));
    EXPECT_EQ(site.remove("t") + site.remove("to"), 0);
    EXPECT_EQ(site.listing(), "");
}

TEST(RsysCopy, RefusesPipesBeforeAnythingIsWrittenAndWaitsForNone)
{
    const Site site;
    fs::create_directories(site.path("t/z"));
    site.write("t/a", "x");
    ASSERT_EQ(mkfifo(site.path("t/z/pipe").c_str(), 0666), 0);
    Reports reports;
    for (const char *from : {"t", "t/z/pipe"})
        EXPECT_EQ(site.copy(from, "to"), -1) << from;
    EXPECT_EQ(reports.take(), lines(2, "rsys_copy: not a file or folder"));
    EXPECT_EQ(site.listing(), "t/");
    EXPECT_EQ(site.listed("t"), "a:0:0:1 z:1:0:0 z/pipe:3:1:0");
    EXPECT_EQ(site.remove("t"), 0);
    // What the host makes up has no size, whichever way it is copied.
    if (fs::exists("/proc/version")) {
        EXPECT_EQ(site.copy("/proc/version", "to"), -1);
        EXPECT_EQ(reports.take(), lines{"rsys_copy: source changed while it was copied"});
        EXPECT_EQ(site.listing(), "");
    }
}

TEST(RsysRights, AreThoseOfTheProcess)
{
    const Site site;
    fs::create_directories(site.path("t/closed"));
    fs::create_directories(site.path("t/fixed"));
    site.write("t/closed/f", "x");
    site.write("t/fixed/f", "x");
    site.write("t/g", "x");
    for (const char *path : {"", "t", "t/closed", "t/fixed", "t/closed/f", "t/fixed/f", "t/g"})
        ASSERT_EQ(geteuid() == 0 ? chown(site.path(path).c_str(), 65534, 65534) : 0, 0);
    fs::permissions(site.path("t/closed"), fs::perms::none);
    fs::permissions(site.path("t/fixed"), fs::perms::owner_read | fs::perms::owner_exec);
    {
        const Nobody nobody;
        if (access(site.path("t").c_str(), R_OK) != 0 || (geteuid() == 0 && !nobody.changed))
            GTEST_SKIP() << "no other user can come here";
        Reports reports;
        EXPECT_EQ(site.listed("t"), "closed:1:0:0 fixed:1:0:0 fixed/f:0:1:1 g:0:0:1 (1)");
        EXPECT_EQ(site.copy("t", "to"), -1);
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(site.copy("t/fixed", "to"), 0) << "a read-only folder is filled first";
        EXPECT_EQ(site.copy("t/g", "t/fixed/g"), -1);
        EXPECT_EQ(site.make("t/fixed/x/y"), -1);
        EXPECT_EQ(site.remove("t"), -1);
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(reports.take(), (lines{"rsys_copy: cannot read", "rsys_copy: cannot write",
                                         "rsys_make_folder: cannot make folder", "rsys_remove: cannot remove"}));
    }
    EXPECT_FALSE(fs::exists(site.path("t/g"))) << "it goes on with the others";
    EXPECT_TRUE(fs::exists(site.path("t/closed/f")) && fs::exists(site.path("t/fixed/f")));
    for (const char *path : {"t/closed", "t/fixed", "to"})
        fs::permissions(site.path(path), fs::perms::owner_all);
}
