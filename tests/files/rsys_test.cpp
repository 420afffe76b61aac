#include "rsys.h"

#include "support/folder.h"
#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

using teska_test::Folder, teska_test::Generator, teska_test::lines, teska_test::Reports;

namespace
{

constexpr int everything = RSYS_DEEP | RSYS_FOLDERS | RSYS_HIDDEN;

std::shared_ptr<rsys_dir> list(const std::string &folder, const char *pattern, int flags)
{
    return {rsys_dir_new(folder.c_str(), pattern, flags),
            [](rsys_dir *dir) { EXPECT_EQ(rsys_dir_kill(dir), nullptr); }};
}

// "path:kind:depth:size" of each entry.
std::string listed(const std::string &folder, const char *pattern, int flags)
{
    const auto dir = list(folder, pattern, flags);
    std::string text;
    for (int i = 0; dir && i < rsys_dir_num(dir.get()); ++i) {
        const rsys_entry &one = *rsys_dir_get(dir.get(), i);
        text += (i > 0 ? " " : "") + std::string(one.path) + ":" + std::to_string(one.kind) + ":" +
                std::to_string(one.depth) + ":" + std::to_string(one.size);
        EXPECT_EQ(one.path + std::string(one.path).rfind('/') + 1, one.name);
    }
    return text;
}

// False, with the reason in the output, where the host makes no links.
bool link(const std::string &to, const std::string &path)
{
    std::error_code error;
    fs::create_symlink(fs::path(to), fs::path(path), error);
    const bool made = !error && fs::is_symlink(fs::symlink_status(fs::path(path)));
    if (!made)
        std::printf("no link is made here: %s\n", error.message().c_str());
    return made;
}

// Of the test's own process: bytes of the progress, and when to stop.
struct Watch {
    std::vector<std::string> calls = {};
    std::size_t stop_at = 1000000;
    std::function<void(const std::string &path)> act = nullptr;

    static int call(const char *path, long long done, long long total, void *context)
    {
        auto &self = *static_cast<Watch *>(context);
        const std::string name = std::string(path).substr(std::string(path).rfind('/') + 1);
        self.calls.push_back(name + " " + std::to_string(done) + "/" + std::to_string(total));
        if (self.act)
            self.act(path);
        return self.calls.size() >= self.stop_at ? 1 : 0;
    }
};

int run_copy(const std::string &from, const std::string &to, int flags = 0, Watch *watch = nullptr)
{
    return rsys_copy(from.c_str(), to.c_str(), flags, watch != nullptr ? Watch::call : nullptr, watch);
}

int run_remove(const std::string &path, Watch *watch = nullptr)
{
    return rsys_remove(path.c_str(), watch != nullptr ? Watch::call : nullptr, watch);
}

// A tree with something of everything that every host has.
void fill(const Folder &folder, const std::string &top = ".")
{
    for (const char *name : {"", "/a", "/a/b", "/empty", "/.hidden"})
        fs::create_directories(folder.path(top + name));
    for (const char *name : {"/a/c.txt", "/a/b/d.tif", "/a-b.txt", "/b.txt", "/.h", "/.hidden/x"})
        folder.write(top + name, "content of " + std::string(name));
}

// What a copy must have of its source: all names with kinds and sizes, contents, times and the right to write.
std::string image(const std::string &top)
{
    const auto dir = list(top, nullptr, everything);
    std::string text;
    for (int i = 0; dir && i < rsys_dir_num(dir.get()); ++i) {
        const rsys_entry &one = *rsys_dir_get(dir.get(), i);
        const fs::path path = fs::path(top) / one.path;
        text += std::string(one.path) + ":" + std::to_string(one.kind) + ":" + std::to_string(one.size);
        if (one.kind != RSYS_LINK)
            text +=
                ":" + std::to_string(one.time) + ":" + std::to_string(static_cast<int>(fs::status(path).permissions()));
        text += "\n";
    }
    return text;
}

}  // namespace

// ---- Lists

TEST(RsysDir, ListsTheWorkedFolder)
{
    const Folder folder;
    fs::create_directory(folder.path("a"));
    for (const char *name : {"b.txt", "a/c.txt", "a-b.txt", ".h"})
        folder.write(name, "xyz");
    const bool linked = link("a", folder.path("l"));
    const std::string l = linked ? " l:2:0:0" : "";
    EXPECT_EQ(listed(folder.path(), nullptr, RSYS_DEEP | RSYS_FOLDERS),
              "a:1:0:0 a/c.txt:0:1:3 a-b.txt:0:0:3 b.txt:0:0:3" + l);
    EXPECT_EQ(listed(folder.path() + "//", "*.txt", RSYS_DEEP), "a/c.txt:0:1:3 a-b.txt:0:0:3 b.txt:0:0:3");
    EXPECT_EQ(listed(folder.path(), "*.TXT", RSYS_ANYCASE), "a-b.txt:0:0:3 b.txt:0:0:3");
    EXPECT_EQ(listed(folder.path(), "a*;.*", RSYS_HIDDEN | RSYS_FOLDERS), ".h:0:0:3 a:1:0:0 a-b.txt:0:0:3");
    EXPECT_EQ(listed(folder.path(), "x", 0), "");
    if (!linked)
        return;
    EXPECT_EQ(listed(folder.path(), "*.txt", RSYS_DEEP | RSYS_FOLLOW),
              "a/c.txt:0:1:3 a-b.txt:0:0:3 b.txt:0:0:3 l/c.txt:0:1:3");
    EXPECT_EQ(listed(folder.path("l"), "", 0), "c.txt:0:0:3") << "the folder itself may be a link";
}

// Random trees beside the plainest way: the standard library's iterator and a sort by the bytes with "/" lowest.
TEST(RsysDir, ListsWhatTheStandardIteratorFindsInItsOwnOrder)
{
    const Folder folder;
    Generator random(5);
    std::vector<std::string> folders{""};
    for (int i = 0; i < 300; ++i) {
        std::string name;
        for (int k = 1 + random.below(3); k > 0; --k)
            name += std::string{"a b!-.c0\xc3\xa4"}.substr(static_cast<std::size_t>(random.below(8)), 1);
        name += std::to_string(random.below(3)) + "\xc3\xa4";
        const std::string path =
            folders[static_cast<std::size_t>(random.below(static_cast<int>(folders.size())))] + name;
        if (random.below(4) == 0 && fs::create_directory(fs::path(folder.path()) / fs::u8path(path)))
            folders.push_back(path + "/");
        else if (!fs::exists(fs::path(folder.path()) / fs::u8path(path)))
            std::ofstream(fs::path(folder.path()) / fs::u8path(path)) << std::string(static_cast<std::size_t>(i), 'x');
    }
    std::set<std::string> expected;
    for (const fs::directory_entry &one : fs::recursive_directory_iterator(folder.path())) {
        std::string path = one.path().lexically_relative(folder.path()).generic_string();
        std::replace(path.begin(), path.end(), '/', '\0');
        expected.insert(path);
    }
    const auto dir = list(folder.path(), nullptr, everything);
    ASSERT_EQ(rsys_dir_num(dir.get()), static_cast<int>(expected.size()));
    int index = 0;
    for (std::string path : expected) {
        const rsys_entry &one = *rsys_dir_get(dir.get(), index++);
        std::replace(path.begin(), path.end(), '\0', '/');
        const fs::path full = fs::path(folder.path()) / fs::u8path(path);
        EXPECT_EQ(one.path, path);
        EXPECT_EQ(one.kind, fs::is_directory(full) ? RSYS_FOLDER : RSYS_FILE);
        EXPECT_EQ(one.depth, std::count(path.begin(), path.end(), '/'));
        EXPECT_EQ(one.size, fs::is_directory(full) ? 0 : static_cast<long long>(fs::file_size(full)));
        const auto now = std::chrono::system_clock::now().time_since_epoch() / std::chrono::milliseconds(1);
        EXPECT_LT(std::abs(now - one.time), 600000) << "made in these ten minutes";
    }
    EXPECT_EQ(rsys_dir_get(dir.get(), index), nullptr);
    EXPECT_EQ(rsys_dir_get(dir.get(), -1), nullptr);
    EXPECT_EQ(rsys_dir_skipped(dir.get()), 0);
}

TEST(RsysDir, RefusesWhatIsNoFolder)
{
    const Folder folder;
    folder.write("f", "");
    Reports reports;
    for (const char *path : {static_cast<const char *>(nullptr), ""}) {
        EXPECT_EQ(rsys_dir_new(path, "", 0), nullptr);
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(rsys_dir_new(folder.path("f").c_str(), "", 0), nullptr);
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(rsys_dir_new(folder.path("missing").c_str(), "", 0), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(reports.take(), (lines{"rsys_dir_new: cannot read folder", "rsys_dir_new: cannot read folder",
                                     "rsys_dir_new: illegal path", "rsys_dir_new: illegal path"}));
    EXPECT_EQ(rsys_dir_kill(nullptr), nullptr);
}

// Paths longer than what one call of the host takes, so the folders are made one from the other.
std::string deep_folder(const std::string &top, int levels)
{
    std::string path = top;
    for (int i = 0; i < levels; ++i) {
        path += "/d";
        EXPECT_EQ(rsys_make_folder(path.c_str()), 0) << i;
    }
    return path;
}

TEST(RsysDir, CountsWhatIsDeeperThan200Levels)
{
    const Folder folder;
    deep_folder(folder.path("top"), 203);
    const auto dir = list(folder.path("top"), "d", everything);
    EXPECT_EQ(rsys_dir_num(dir.get()), 201);
    EXPECT_EQ(rsys_dir_get(dir.get(), 200)->depth, 200);
    EXPECT_EQ(rsys_dir_skipped(dir.get()), 1);
    EXPECT_EQ(run_copy(folder.path("top"), folder.path("again")), 0);
    EXPECT_EQ(image(folder.path("again")), image(folder.path("top")));
    EXPECT_EQ(run_remove(folder.path("top")), 0);
}

// ---- Patterns

TEST(RsysMatch, FollowsTheTable)
{
    const struct {
        const char *pattern, *name;
        int flags, expected;
    } cases[] = {{"a*?c;x", "abc", 0, 1},
                 {"a*?c;x", "ac", 0, 0},
                 {"a*?c;x", "x", 0, 1},
                 {"?", "\xc3\xa4", 0, 1},
                 {"??", "\xc3\xa4", 0, 0},
                 {"*??", "\xe2\x82\xac", 0, 0},
                 {"?", "\xc3", 0, 1},
                 {"??", "\xff\xc3", 0, 1},
                 {"*.TIF", "a.tif", RSYS_ANYCASE, 1},
                 {"*.TIF", "a.tif", 0, 0},
                 {"\xc3\x84", "\xc3\xa4", 16, 0},
                 {"", "a", 0, 1},
                 {nullptr, "a", 0, 1},
                 {"a", nullptr, 0, 0},
                 {";", "a", 0, 0},
                 {";", "", 0, 1},
                 {"*", "", 0, 1},
                 {"?", "", 0, 0},
                 {"a;b;", "b", 0, 1},
                 {"a;b", "a;b", 0, 0},
                 {"a?b", "a;b", 0, 1},
                 {"**a**", "bab", 0, 1},
                 {"abc", "ab", 0, 0},
                 {"ab", "abc", 0, 0},
                 {"*\xa4", "\xc3\xa4", 0, 0}};
    for (const auto &[pattern, name, flags, expected] : cases)
        EXPECT_EQ(rsys_match(pattern, name, flags), expected) << pattern << " " << name;
}

bool plainly_matches(const char *pattern, const char *name)
{
    if (*pattern == 0)
        return *name == 0;
    if (*pattern == '*')
        return plainly_matches(pattern + 1, name) || (*name != 0 && plainly_matches(pattern, name + 1));
    return *name != 0 && (*pattern == '?' || *pattern == *name) && plainly_matches(pattern + 1, name + 1);
}

TEST(RsysMatch, AgreesWithThePlainDefinitionAndIsNeverExponential)
{
    Generator random(7);
    const auto word = [&](const char *letters, int count) {
        std::string text;
        for (int n = random.below(8); n > 0; --n)
            text += letters[random.below(count)];
        return text;
    };
    for (int i = 0; i < 20000; ++i) {
        const std::string pattern = "b" + word("ab*?", 4);
        const std::string name = "b" + word("ab", 2);
        EXPECT_EQ(rsys_match(pattern.c_str(), name.c_str(), 0), plainly_matches(pattern.c_str(), name.c_str()) ? 1 : 0)
            << pattern << " " << name;
    }
    std::string pattern;
    for (int i = 0; i < 1000; ++i)
        pattern += "*a";
    EXPECT_EQ(rsys_match((pattern + "b").c_str(), std::string(20000, 'a').c_str(), 0), 0);
}

// ---- Kinds and folders made

TEST(RsysMakeFolder, MakesAllThatAreMissing)
{
    const Folder folder;
    folder.write("f", "");
    Reports reports;
    for (const char *path : {"x/y\\z", "x/y/z", "x//", "x/w/"})
        EXPECT_EQ(rsys_make_folder(folder.path(path).c_str()), 0) << path;
    EXPECT_EQ(listed(folder.path("x"), "", everything), "w:1:0:0 y:1:0:0 y/z:1:1:0");
    EXPECT_EQ(reports.take(), lines{});
    for (const char *path : {"f", "f/x", "f/x/y"}) {
        EXPECT_EQ(rsys_make_folder(folder.path(path).c_str()), -1) << path;
        EXPECT_EQ(reports.take(), lines{"rsys_make_folder: a file is in the way"}) << path;
    }
    EXPECT_EQ(rsys_make_folder(folder.path("new/" + std::string(2000, 'x')).c_str()), -1);
    EXPECT_EQ(reports.take(), lines{"rsys_make_folder: cannot make folder"});
    EXPECT_EQ(rsys_kind(folder.path("new").c_str()), RSYS_FOLDER) << "those made before a failure stay";
    EXPECT_EQ(rsys_make_folder(nullptr) + rsys_make_folder(""), -2);
    EXPECT_EQ(rsys_make_folder("/") + rsys_make_folder("."), 0);
    EXPECT_EQ(reports.take(), lines(2, "rsys_make_folder: illegal path"));
    if (link("x", folder.path("l")) && link("nowhere", folder.path("m"))) {
        EXPECT_EQ(rsys_make_folder(folder.path("l/in").c_str()) + rsys_make_folder(folder.path("l").c_str()), 0);
        EXPECT_EQ(rsys_make_folder(folder.path("m").c_str()), -1);
        EXPECT_EQ(reports.take(), lines{"rsys_make_folder: a file is in the way"});
    }
}

TEST(RsysKind, IsThatOfTheThingItself)
{
    const Folder folder;
    folder.write("f", "");
    Reports reports;
    EXPECT_EQ(rsys_kind(folder.path("f").c_str()), RSYS_FILE);
    EXPECT_EQ(rsys_kind((folder.path() + "\\").c_str()), RSYS_FOLDER);
    EXPECT_EQ(rsys_kind("/"), RSYS_FOLDER);
    EXPECT_EQ(rsys_kind(folder.path("g").c_str()), -1);
    EXPECT_EQ(rsys_kind(folder.path("f/g").c_str()), -1);
    if (link("f", folder.path("l"))) {
        EXPECT_EQ(rsys_kind(folder.path("l").c_str()), RSYS_LINK);
    }
#ifdef _WIN32
    EXPECT_EQ(rsys_kind("NUL"), RSYS_OTHER);
#else
    EXPECT_EQ(rsys_kind("/dev/null"), RSYS_OTHER);
#endif
    EXPECT_EQ(reports.take(), lines{});
    EXPECT_EQ(rsys_kind(nullptr) + rsys_kind(""), -2);
    EXPECT_EQ(reports.take(), lines(2, "rsys_kind: illegal path"));
}

// ---- Copies

TEST(RsysCopy, CopiesFilesWithPermissionAndTimeAndTellsHowFarItIs)
{
    constexpr long long mega = 1 << 20;
    for (const long long size : {0LL, 1LL, mega - 1, mega, mega + 1, 3 * mega}) {
        const Folder folder;
        std::string content(static_cast<std::size_t>(size), 'x');
        for (std::size_t i = 0; i < content.size(); i += 997)
            content[i] = static_cast<char>(i / 997);
        folder.write("f", content);
        fs::permissions(folder.path("f"), fs::perms::owner_read);
        fs::last_write_time(folder.path("f"), fs::last_write_time(folder.path("f")) - std::chrono::hours(10000));
        std::vector<std::string> expected{"f 0/" + std::to_string(size)};
        for (long long done = 0; done < size;) {
            done = std::min(done + mega, size);
            expected.push_back("f " + std::to_string(done) + "/" + std::to_string(size));
        }
        Watch watch;
        EXPECT_EQ(run_copy(folder.path("f"), folder.path("g"), 0, &watch), 0);
        EXPECT_EQ(watch.calls, expected);
        EXPECT_EQ(folder.read("g"), content);
        EXPECT_EQ(folder.listing(), "f g");
        const auto dir = list(folder.path(), "", 0);
        EXPECT_EQ(rsys_dir_get(dir.get(), 0)->time, rsys_dir_get(dir.get(), 1)->time);
        EXPECT_EQ(fs::status(folder.path("g")).permissions(), fs::status(folder.path("f")).permissions());
    }
}

TEST(RsysCopy, StopsWhenAskedAndLeavesNothing)
{
    const Folder folder;
    fill(folder, "from");
    folder.write("from/z", std::string(3 << 20, 'z'));
    folder.write("old", "old");
    for (std::size_t stop = 1; stop < 12; ++stop) {
        Watch watch{.stop_at = stop};
        EXPECT_EQ(run_copy(folder.path("from"), folder.path("to"), 0, &watch), 1);
        EXPECT_EQ(watch.calls.size(), stop);
        EXPECT_EQ(folder.listing(), "from/ old");
    }
    for (std::size_t stop = 1; stop < 5; ++stop) {
        Watch watch{.stop_at = stop};
        EXPECT_EQ(run_copy(folder.path("from/z"), folder.path("old"), RSYS_REPLACE, &watch), 1);
        EXPECT_EQ(folder.read("old") + folder.listing(), "oldfrom/ old");
    }
}

TEST(RsysCopy, CopiesTreesWhole)
{
    const Folder folder;
    fill(folder, "from");
    std::error_code ignored;  // that of folders cannot be set everywhere
    for (const char *name : {"from/a", "from/a/c.txt", "from/empty"})
        fs::last_write_time(folder.path(name), fs::last_write_time(folder.path(name)) - std::chrono::hours(100),
                            ignored);
    fs::permissions(folder.path("from/a"), fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(folder.path("from/b.txt"), fs::perms::owner_read);
    const std::string before = image(folder.path("from"));
    Watch watch;
    EXPECT_EQ(run_copy(folder.path("from") + "/", folder.path("to\\"), 0, &watch), 0);
    EXPECT_EQ(image(folder.path("to")), before);
    EXPECT_EQ(watch.calls.front() + watch.calls.back(), ".h 0/111b.txt 111/111");
    EXPECT_EQ(folder.read("to/a/b/d.tif"), "content of /a/b/d.tif");
    EXPECT_EQ(folder.listing(), "from/ to/");
    fs::permissions(folder.path("to/a"), fs::perms::owner_all);
    fs::permissions(folder.path("from/a"), fs::perms::owner_all);
}

TEST(RsysCopy, TakesFilesIntoAFolderThatIsThere)
{
    const Folder folder;
    fill(folder, "from");
    fill(folder, "to");
    folder.write("to/b.txt", "an older one");
    folder.write("to/a/only here", "kept");
    fs::permissions(folder.path("to/b.txt"), fs::perms::owner_read);
    fs::remove_all(folder.path("to/a/b"));
    Reports reports;
    EXPECT_EQ(run_copy(folder.path("from"), folder.path("to")), -1);
    EXPECT_EQ(reports.take(), lines{"rsys_copy: target exists"});
    EXPECT_EQ(run_copy(folder.path("from"), folder.path("to"), RSYS_REPLACE), 0);
    EXPECT_EQ(folder.read("to/b.txt") + folder.read("to/a/only here"), "content of /b.txtkept");
    EXPECT_EQ(listed(folder.path("to"), "", everything),
              ".h:0:0:14 .hidden:1:0:0 .hidden/x:0:1:21 a:1:0:0 a/b:1:1:0 a/b/d.tif:0:2:21 a/c.txt:0:1:19 "
              "a/only here:0:1:4 a-b.txt:0:0:19 b.txt:0:0:17 empty:1:0:0");
    // A file gives way to a file only, and a folder to nothing.
    fs::remove(folder.path("from/b.txt"));
    fs::create_directory(folder.path("from/b.txt"));
    EXPECT_EQ(run_copy(folder.path("from"), folder.path("to"), RSYS_REPLACE), -1);
    EXPECT_EQ(run_copy(folder.path("from/a-b.txt"), folder.path("to/a"), RSYS_REPLACE), -1);
    EXPECT_EQ(run_copy(folder.path("from/a"), folder.path("to/a-b.txt"), RSYS_REPLACE), -1);
    EXPECT_EQ(run_copy(folder.path("from/a-b.txt"), folder.path("to/b.txt")), -1);
    EXPECT_EQ(reports.take(), lines(4, "rsys_copy: target exists"));
    EXPECT_EQ(folder.read("to/b.txt"), "content of /b.txt");
}

TEST(RsysCopy, RefusesWithATextAndLeavesTheTargetAsItWas)
{
    const Folder folder;
    fill(folder, "from");
    const std::string before = image(folder.path());
    const struct {
        const char *from, *to, *text;
        int error;
    } cases[] = {{"missing", "to", "rsys_copy: source is missing", ENOENT},
                 {"from", "from", "rsys_copy: target lies in the source", EINVAL},
                 {"from", "from/x", "rsys_copy: target lies in the source", EINVAL},
                 {"from", "from/a/b/x", "rsys_copy: target lies in the source", EINVAL},
                 {"from/b.txt", "./from/a/../b.txt", "rsys_copy: target lies in the source", EINVAL},
                 {"from", "none/to", "rsys_copy: cannot write", ENOENT},
                 {"from/b.txt", "none/to", "rsys_copy: cannot write", ENOENT},
                 {"from/b.txt", "none/.", "rsys_copy: cannot write", ENOENT}};
    Reports reports;
    for (const auto &[from, to, text, error] : cases)
        for (const int flags : {0, +RSYS_REPLACE, RSYS_FOLLOW | RSYS_REPLACE}) {
            EXPECT_EQ(run_copy(folder.path(from), folder.path(to), flags), -1);
            EXPECT_EQ(errno, error) << from << " " << to;
            EXPECT_EQ(reports.take(), lines{text}) << from << " " << to;
        }
    for (const char *path : {static_cast<const char *>(nullptr), ""}) {
        EXPECT_EQ(rsys_copy(path, "x", 0, nullptr, nullptr), -1);
        EXPECT_EQ(rsys_copy(folder.path("from").c_str(), path, 0, nullptr, nullptr), -1);
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(reports.take(), lines(4, "rsys_copy: illegal path"));
    EXPECT_EQ(image(folder.path()), before);
}

TEST(RsysCopy, NoticesASourceThatChanges)
{
    const Folder folder;
    folder.write("f", std::string(2 << 20, 'x'));
    for (const std::uintmax_t size : {(3U << 20), (1U << 20)}) {
        Reports reports;
        Watch watch;
        watch.act = [&](const std::string &) {
            if (watch.calls.size() == 2)
                fs::resize_file(folder.path("f"), size);
        };
        EXPECT_EQ(run_copy(folder.path("f"), folder.path("g"), 0, &watch), -1);
        EXPECT_EQ(reports.take(), lines{"rsys_copy: source changed while it was copied"});
        EXPECT_EQ(folder.listing(), "f");
    }
}

// The names beside: one that is taken is left alone, and one that would be too long is made shorter.
TEST(RsysCopy, FindsAFreeNameForEveryLength)
{
    const Folder folder;
    folder.write("f", "new");
    std::string beside;
    Watch watch;
    watch.act = [&](const std::string &) {
        for (const fs::directory_entry &one : fs::directory_iterator(folder.path()))
            if (one.path().filename().string().find(".tmp") != std::string::npos)
                beside = one.path().filename().string();
    };
    EXPECT_EQ(run_copy(folder.path("f"), folder.path("g"), 0, &watch), 0);
    ASSERT_TRUE(beside.starts_with("g.tmp")) << beside;
    EXPECT_EQ(beside.find('-'), std::string::npos);
    const std::string taken = beside;
    folder.write(taken, "of somebody else");
    fs::remove(folder.path("g"));
    EXPECT_EQ(run_copy(folder.path("f"), folder.path("g"), 0, &watch), 0);
    EXPECT_EQ(folder.read("g") + folder.read(taken), "newof somebody else");
    for (const std::size_t length : {206U, 207U, 208U, 240U, 254U}) {
        const std::string name = std::string(length - 1, 'n') + "\xc3\xa4";
        EXPECT_EQ(run_copy(folder.path("f"), folder.path() + "/" + name), 0) << length;
    }
    EXPECT_EQ(rsys_dir_num(list(folder.path(), "", 0).get()), 8);
}

// Longer than what Windows takes without a prefix.
TEST(RsysCopy, GoesIntoPathsOfAnyLength)
{
    const Folder folder;
    fill(folder, "from");
    std::string deep = folder.path("deep");
    for (int i = 0; i < 8; ++i)
        deep += "/" + std::string(100, static_cast<char>('a' + i));
    EXPECT_EQ(rsys_make_folder(deep.c_str()), 0);
    EXPECT_EQ(run_copy(folder.path("from"), deep + "/to"), 0);
    EXPECT_EQ(run_copy(deep + "/to/b.txt", deep + "/b"), 0);
    EXPECT_EQ(run_copy(folder.path("deep"), folder.path("deeper")), 0);
    EXPECT_EQ(listed(deep, "*.txt;b", RSYS_DEEP), "b:0:0:17 to/a/c.txt:0:2:19 to/a-b.txt:0:1:19 to/b.txt:0:1:17");
    EXPECT_EQ(rsys_kind((deep + "/to/a/b").c_str()), RSYS_FOLDER);
    EXPECT_EQ(run_remove(deep + "/to/b.txt") + run_remove(folder.path("deep")) + run_remove(folder.path("deeper")), 0);
    EXPECT_EQ(folder.listing(), "from/");
}

// ---- Removal

TEST(RsysRemove, TakesAwayFilesAndTreesAndTellsEach)
{
    const Folder folder;
    fill(folder, "t");
    folder.write("f", "");
    fs::permissions(folder.path("t/b.txt"), fs::perms::owner_read);
    fs::permissions(folder.path("f"), fs::perms::owner_read);
    for (const std::size_t stop : {1U, 3U}) {
        Watch watch{.stop_at = stop};
        EXPECT_EQ(run_remove(folder.path("t"), &watch), 1);
    }
    EXPECT_EQ(listed(folder.path("t"), "", everything),
              ".hidden:1:0:0 a:1:0:0 a/b:1:1:0 a/b/d.tif:0:2:21 a/c.txt:0:1:19 a-b.txt:0:0:19 b.txt:0:0:17 empty:1:0:0")
        << "what it told before it stopped is gone, but the last";
    Watch watch;
    EXPECT_EQ(run_remove(folder.path("t\\"), &watch) + run_remove(folder.path("f")), 0);
    EXPECT_EQ(watch.calls, (std::vector<std::string>{".hidden 0/0", "d.tif 0/0", "b 0/0", "c.txt 0/0", "a 0/0",
                                                     "a-b.txt 0/0", "b.txt 0/0", "empty 0/0", "t 0/0"}));
    EXPECT_EQ(folder.listing(), "");
}

TEST(RsysRemove, RefusesRootsAndDots)
{
    const Folder folder;
    folder.write("f", "");
    Reports reports;
    std::vector<std::string> paths{"", "/", "\\", "//", ".", "..", "/.", folder.path("."), folder.path("..") + "//"};
#ifdef _WIN32
    for (const char *root : {"C:", "c:/", "C:\\", "\\\\server\\share", "//server/share/", "\\\\?\\C:\\"})
        paths.emplace_back(root);
#endif
    for (const std::string &path : paths) {
        EXPECT_EQ(run_remove(path), -1) << path;
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(reports.take(), lines{"rsys_remove: illegal path"}) << path;
    }
    EXPECT_EQ(rsys_remove(nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(reports.take(), lines{"rsys_remove: illegal path"});
    for (const char *path : {"g", "g/h", "f/g"}) {
        EXPECT_EQ(run_remove(folder.path(path)), -1);
        EXPECT_EQ(reports.take(), lines{"rsys_remove: nothing there"});
    }
    EXPECT_EQ(folder.listing(), "f");
}
