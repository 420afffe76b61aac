// rsys where links, other users and hostile names are in the way: what only POSIX hosts let a test make
#include "support/folder.h"
#include "support/reports.h"

#include "rsys.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>

namespace fs = std::filesystem;

using teska_test::Folder, teska_test::lines, teska_test::Reports;

namespace
{

// Paths and kinds, and how many names were passed over.
std::string listed(const std::string &folder, int flags)
{
    rsys_dir *dir = rsys_dir_new(folder.c_str(), nullptr, flags | RSYS_DEEP | RSYS_FOLDERS);
    std::string text;
    for (int i = 0; i < rsys_dir_num(dir); ++i)
        text += std::string(rsys_dir_get(dir, i)->path) + ":" + std::to_string(rsys_dir_get(dir, i)->kind) + " ";
    text += "(" + std::to_string(rsys_dir_skipped(dir)) + ")";
    rsys_dir_kill(dir);
    return text;
}

int run_copy(const std::string &from, const std::string &to, int flags = 0)
{
    return rsys_copy(from.c_str(), to.c_str(), flags, nullptr, nullptr);
}

int run_remove(const std::string &path) { return rsys_remove(path.c_str(), nullptr, nullptr); }

using Act = std::function<void(const std::string &path)>;

int act(const char *path, long long, long long, void *context)
{
    (*static_cast<Act *>(context))(path);
    return 0;
}

// The rights of nobody while it lives, where the test runs as root.
struct Nobody {
    Nobody() : changed(geteuid() == 0 && seteuid(65534) == 0) {}
    ~Nobody() { EXPECT_TRUE(!changed || seteuid(0) == 0); }
    bool changed;
};

}  // namespace

TEST(RsysLinks, AreFollowedNowhereTwice)
{
    const Folder folder;
    fs::create_directories(folder.path("t/a"));
    folder.write("t/a/f", "");
    fs::create_symlink("..", folder.path("t/a/up"));
    fs::create_symlink("a", folder.path("t/b"));
    fs::create_symlink("nowhere", folder.path("t/n"));
    fs::create_symlink("self", folder.path("t/self"));
    fs::create_symlink("a/f", folder.path("t/to f"));
    const std::string t = folder.path("t");
    EXPECT_EQ(listed(t, 0), "a:1 a/f:0 a/up:2 b:2 n:2 self:2 to f:2 (0)");
    EXPECT_EQ(listed(t, RSYS_FOLLOW), "a:1 a/f:0 a/up:1 b:1 b/f:0 b/up:1 n:2 self:2 to f:0 (0)");
    // Made again as they are; followed, a loop is refused before anything is written.
    Reports reports;
    EXPECT_EQ(run_copy(t, folder.path("to")), 0);
    EXPECT_EQ(listed(folder.path("to"), 0), listed(t, 0));
    EXPECT_EQ(fs::read_symlink(folder.path("to/a/up")), "..");
    EXPECT_EQ(run_copy(t, folder.path("to"), RSYS_REPLACE), 0) << "a link gives way to a link";
    EXPECT_EQ(run_copy(t, folder.path("again"), RSYS_FOLLOW), -1);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(reports.take(), lines{"rsys_copy: cannot read"});
    EXPECT_EQ(folder.listing(), "t/ to/");
    fs::remove(folder.path("t/a/up"));
    EXPECT_EQ(run_copy(t, folder.path("again"), RSYS_FOLLOW), 0);
    EXPECT_EQ(listed(folder.path("again"), 0), "a:1 a/f:0 b:1 b/f:0 n:2 self:2 to f:0 (0)");
    EXPECT_EQ(run_copy(folder.path("t/b"), folder.path("as link")) + run_copy(t + "/b/", folder.path("c"), RSYS_FOLLOW),
              0);
    EXPECT_EQ(rsys_kind(folder.path("as link").c_str()) + 10 * rsys_kind(folder.path("c").c_str()), 12);
}

TEST(RsysLinks, HideNoTargetInTheSource)
{
    const Folder folder;
    fs::create_directories(folder.path("a/b"));
    folder.write("a/f", "x");
    fs::create_symlink("a", folder.path("l"));
    fs::create_symlink("a/b", folder.path("m"));
    fs::create_directory(folder.path("d"));
    fs::create_symlink("../d", folder.path("a/into d"));
    fs::create_hard_link(folder.path("a/f"), folder.path("h"));
    const struct {
        const char *from, *to;
        int flags;
    } cases[] = {{"a", "l/x", 0},           {"a", "m/x", 0},
                 {"a", "l", RSYS_REPLACE},  {"l", "m/x", RSYS_FOLLOW},
                 {"a/f", "h", 0},           {"h", "l/f", RSYS_REPLACE},
                 {"a", "d/x", RSYS_FOLLOW}, {"a", "d", RSYS_FOLLOW | RSYS_REPLACE}};
    Reports reports;
    for (const auto &[from, to, flags] : cases) {
        EXPECT_EQ(run_copy(folder.path(from), folder.path(to), flags), -1) << from << " " << to;
        EXPECT_EQ(reports.take(), lines{"rsys_copy: target lies in the source"}) << from << " " << to;
    }
    EXPECT_EQ(folder.listing(), "a/ d/ h l/ m/");
    // A target that is a link is not written through, but for a folder that takes files in.
    fs::create_symlink("a/f", folder.path("to f"));
    folder.write("new", "y");
    EXPECT_EQ(run_copy(folder.path("new"), folder.path("to f"), RSYS_REPLACE), -1);
    EXPECT_EQ(reports.take(), lines{"rsys_copy: target exists"});
    fs::create_symlink("d", folder.path("to d"));
    EXPECT_EQ(run_copy(folder.path("a/b"), folder.path("to d"), RSYS_REPLACE), 0);
    EXPECT_EQ(folder.read("a/f"), "x");
}

TEST(RsysLinks, AreRemovedWithoutWhatTheyLeadTo)
{
    const Folder folder;
    fs::create_directories(folder.path("victim"));
    folder.write("victim/f", "precious");
    fs::create_directory(folder.path("t"));
    fs::create_symlink("../victim", folder.path("t/l"));
    fs::create_symlink("victim", folder.path("top"));
    EXPECT_EQ(run_remove(folder.path("t")) + run_remove(folder.path("top") + "/"), 0);
    EXPECT_EQ(folder.listing() + folder.read("victim/f"), "victim/precious");
}

// Folders that become links after they were read: below the place of the removal, around it, and at its top.
TEST(RsysRemove, IsNotLedAstrayByAFolderThatBecomesALink)
{
    for (const char *exchanged : {"t/b", "t/a", "t"}) {
        const Folder folder;
        for (const char *path : {"t/a", "t/b", "victim/a", "victim/b"}) {
            fs::create_directories(folder.path(path));
            folder.write(std::string(path) + "/f", "precious");
        }
        Act exchange = [&](const std::string &path) {
            if (path != folder.path("t/a/f"))
                return;
            fs::rename(folder.path(exchanged), folder.path("moved"));
            fs::create_directory_symlink(folder.path("victim"), folder.path(exchanged));
        };
        Reports reports;
        rsys_remove(folder.path("t").c_str(), act, &exchange);
        EXPECT_EQ(listed(folder.path("victim"), 0), "a:1 a/f:0 b:1 b/f:0 (0)") << exchanged;
        EXPECT_TRUE(fs::exists(folder.path("moved")));
    }
}

TEST(RsysRemove, GoesAnyDepth)
{
    const Folder folder;
    const int before = open(".", O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(chdir(folder.path().c_str()), 0);
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(mkdir("some_name", 0777) + chdir("some_name"), 0);
    ASSERT_EQ(fchdir(before), 0);
    EXPECT_EQ(run_copy(folder.path("some_name"), folder.path("copy")), 0);
    EXPECT_EQ(run_remove(folder.path("some_name")) + run_remove(folder.path("copy")), 0);
    EXPECT_EQ(folder.listing(), "");
    close(before);
}

TEST(RsysNames, OfAnyBytesAreCopiedAndRemovedAndThoseThatCannotBeGivenArePassedOver)
{
    const Folder folder;
    fs::create_directories(folder.path("t/\xff/in"));
    for (const char *name :
         {"line\nbreak", "\xed\xa0\x80", "\xc0\xaf", "a\\..\\..\\b", "\xf4\x90\x80\x80", "\xf0\x9f\x8e\xa8"})
        folder.write(std::string("t/") + name, "x");
    EXPECT_EQ(listed(folder.path("t"), 0), "line\nbreak:0 \xf0\x9f\x8e\xa8:0 (5)");
    EXPECT_EQ(run_copy(folder.path("t"), folder.path("to")), 0);
    EXPECT_TRUE(fs::exists(folder.path("to/\xff/in")) && fs::exists(folder.path("to/a\\..\\..\\b")));
    EXPECT_EQ(run_remove(folder.path("t")) + run_remove(folder.path("to")), 0);
    EXPECT_EQ(folder.listing(), "");
}

TEST(RsysCopy, RefusesPipesBeforeAnythingIsWrittenAndWaitsForNone)
{
    const Folder folder;
    fs::create_directories(folder.path("t/z"));
    folder.write("t/a", "x");
    ASSERT_EQ(mkfifo(folder.path("t/z/pipe").c_str(), 0666), 0);
    Reports reports;
    for (const char *from : {"t", "t/z/pipe"}) {
        EXPECT_EQ(run_copy(folder.path(from), folder.path("to")), -1);
        EXPECT_EQ(reports.take(), lines{"rsys_copy: not a file or folder"});
    }
    EXPECT_EQ(folder.listing(), "t/");
    EXPECT_EQ(listed(folder.path("t"), 0), "a:0 z:1 z/pipe:3 (0)");
    EXPECT_EQ(run_remove(folder.path("t")), 0);
    // What the host makes up has no size, whichever way it is copied.
    if (fs::exists("/proc/version")) {
        EXPECT_EQ(run_copy("/proc/version", folder.path("to")), -1);
        EXPECT_EQ(reports.take(), lines{"rsys_copy: source changed while it was copied"});
        EXPECT_EQ(folder.listing(), "");
    }
}

TEST(RsysCopy, LeavesNothingWhereThereIsNoRoom)
{
    const Folder folder;
    fs::create_directories(folder.path("t/a"));
    folder.write("t/a/f", std::string(100000, 'x'));
    folder.write("old", "old");
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{50000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    {
        Reports reports;
        EXPECT_EQ(run_copy(folder.path("t"), folder.path("to")), -1);
        EXPECT_EQ(errno, EFBIG);
        EXPECT_EQ(run_copy(folder.path("t/a/f"), folder.path("old"), RSYS_REPLACE), -1);
        EXPECT_EQ(reports.take(), lines(2, "rsys_copy: cannot write"));
    }
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(folder.read("old") + folder.listing(), "oldold t/");
}

TEST(RsysRights, AreThoseOfTheProcess)
{
    const Folder folder;
    fs::create_directories(folder.path("t/closed"));
    fs::create_directories(folder.path("t/fixed"));
    folder.write("t/closed/f", "x");
    folder.write("t/fixed/f", "x");
    folder.write("t/g", "x");
    for (const char *path : {"", "t", "t/closed", "t/fixed", "t/closed/f", "t/fixed/f", "t/g"}) {
        EXPECT_TRUE(geteuid() != 0 || chown(folder.path(path).c_str(), 65534, 65534) == 0);
    }
    fs::permissions(folder.path("t/closed"), fs::perms::none);
    fs::permissions(folder.path("t/fixed"), fs::perms::owner_read | fs::perms::owner_exec);
    {
        const Nobody nobody;
        if (access(folder.path("t").c_str(), R_OK) != 0 || (geteuid() == 0 && !nobody.changed))
            GTEST_SKIP() << "no other user can come here";
        Reports reports;
        EXPECT_EQ(listed(folder.path("t"), 0), "closed:1 fixed:1 fixed/f:0 g:0 (1)");
        EXPECT_EQ(run_copy(folder.path("t"), folder.path("to")), -1);
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(run_copy(folder.path("t/fixed"), folder.path("to")), 0) << "a read-only folder is filled first";
        EXPECT_EQ(run_copy(folder.path("t/g"), folder.path("t/fixed/g")), -1);
        EXPECT_EQ(rsys_make_folder(folder.path("t/fixed/x/y").c_str()), -1);
        EXPECT_EQ(run_remove(folder.path("t")), -1);
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(reports.take(), (lines{"rsys_copy: cannot read", "rsys_copy: cannot write",
                                         "rsys_make_folder: cannot make folder", "rsys_remove: cannot remove"}));
    }
    EXPECT_FALSE(fs::exists(folder.path("t/g"))) << "it goes on with the others";
    EXPECT_TRUE(fs::exists(folder.path("t/closed/f")) && fs::exists(folder.path("t/fixed/f")));
    for (const char *path : {"t/closed", "t/fixed", "to"})
        fs::permissions(folder.path(path), fs::perms::owner_all);
}
