#include "rsys.h"

#include "files/rsys_links.h"
#include "files/rsys_site.h"

#include <chrono>

namespace fs = std::filesystem;

using teska_test::everything, teska_test::Generator, teska_test::lines, teska_test::Links, teska_test::Reports,
    teska_test::Site, teska_test::Watch;

namespace
{

// A tree with something of everything that every host has.
void fill(const Site &site, const std::string &top)
{
    for (const char *name : {"", "/a", "/a/b", "/empty", "/.hidden"})
        fs::create_directories(site.path(top + name));
    for (const char *name : {"/a/c.txt", "/a/b/d.tif", "/a-b.txt", "/b.txt", "/.h", "/.hidden/x"})
        site.write(top + name, "content of " + std::string(name));
}

// What a copy must have of its source: all names with kinds and sizes, times and the right to write.
std::string image(const Site &site, const std::string &top)
{
    const auto dir = site.list(top, nullptr, everything);
    std::string text = site.listed(top);
    for (int i = 0; dir && i < rsys_dir_num(dir.get()); ++i) {
        const rsys_entry &one = *rsys_dir_get(dir.get(), i);
        const fs::perms rights = fs::status(fs::path(site.path(top)) / one.path).permissions();
        text += "\n" + std::to_string(one.time) + ":" + std::to_string(static_cast<int>(rights));
    }
    return text;
}

void make_older(const std::string &path, int hours)
{
    std::error_code ignored;  // that of folders cannot be set everywhere
    fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(hours), ignored);
}

}  // namespace

TEST(Rsys, RefusesWithATextAndLeavesAllAsItWas)
{
    const Site site;
    fill(site, "from");
    site.write("f", "");
    const std::string before = image(site, "");
    Reports reports;
    const auto refused = [&](auto result, decltype(result) failure, const char *text, int error) {
        EXPECT_EQ(errno, error) << text;
        EXPECT_EQ(result, failure) << text;
        EXPECT_EQ(reports.take(), lines{text});
    };
    for (const char *path : {static_cast<const char *>(nullptr), ""}) {
        refused(rsys_dir_new(path, "", 0), nullptr, "rsys_dir_new: illegal path", EINVAL);
        refused(rsys_make_folder(path), -1, "rsys_make_folder: illegal path", EINVAL);
        refused(rsys_kind(path), -1, "rsys_kind: illegal path", EINVAL);
        refused(rsys_copy(path, "x", 0, nullptr, nullptr), -1, "rsys_copy: illegal path", EINVAL);
        refused(rsys_copy(site.path("f").c_str(), path, 0, nullptr, nullptr), -1, "rsys_copy: illegal path", EINVAL);
        refused(rsys_remove(path, nullptr, nullptr), -1, "rsys_remove: illegal path", EINVAL);
    }
    std::vector<std::string> roots{"/", "\\", "//", ".", "..", "/.", site.path("."), site.path("..") + "//"};
#ifdef _WIN32
    roots.insert(roots.end(), {"C:", "c:/", "C:\\", "\\\\server\\share", "//server/share/", "\\\\?\\C:\\",
                               "\\\\?\\UNC\\a\\b", "//?/unc/a/b/"});
#endif
    for (const std::string &path : roots)
        refused(rsys_remove(path.c_str(), nullptr, nullptr), -1, "rsys_remove: illegal path", EINVAL);
    refused(site.list("f", "", 0).get(), nullptr, "rsys_dir_new: cannot read folder", ENOTDIR);
    refused(site.list("missing", "", 0).get(), nullptr, "rsys_dir_new: cannot read folder", ENOENT);
    for (const char *path : {"g", "g/h", "f/g"}) {
        EXPECT_EQ(site.kind(path), -1) << path;
        EXPECT_EQ(site.remove(path), -1) << path;
    }
    EXPECT_EQ(reports.take(), lines(3, "rsys_remove: nothing there"));
    for (const char *path : {"f", "f/x", "f/x/y"})
        refused((errno = 0, site.make(path)), -1, "rsys_make_folder: a file is in the way", ENOTDIR);
    const std::tuple<const char *, const char *, const char *, int> copies[] = {
        {"missing", "to", "rsys_copy: source is missing", ENOENT},
        {"from", "from", "rsys_copy: target lies in the source", EINVAL},
        {"from", "from/a/b/x", "rsys_copy: target lies in the source", EINVAL},
        {"from/b.txt", "./from/a/../b.txt", "rsys_copy: target lies in the source", EINVAL},
        {"from", "none/to", "rsys_copy: cannot write", ENOENT},
        {"from/b.txt", "none/to", "rsys_copy: cannot write", ENOENT},
        {"from/b.txt", "none/.", "rsys_copy: cannot write", ENOENT}};
    for (const auto &[from, to, text, error] : copies)
        for (const int flags : {0, +RSYS_REPLACE, RSYS_FOLLOW | RSYS_REPLACE})
            refused(site.copy(from, to, flags), -1, text, error);
    EXPECT_EQ(image(site, ""), before);
}

// ---- Lists

// Ordered by the bytes of the paths, with the slash first.
TEST(RsysDir, ListsTheWorkedFolder)
{
    const Site site;
    fs::create_directory(site.path("a"));
    for (const char *name : {"b.txt", "a/c.txt", "a-b.txt", ".h", "Z name, a", "a a"})
        site.write(name, "xyz");
    for (const char *name : {"/\xf0\x9f\x8e\xa8", "/Z name, \xc3\xa4"})
        EXPECT_EQ(rsys_make_folder((site.path() + name).c_str()), 0);
    const Links links;
    links.make("a", site.path("l"));
    const std::tuple<const char *, int, const char *> cases[] = {
        {nullptr, RSYS_DEEP | RSYS_FOLDERS,
         "Z name, a:0:0:3 Z name, \xc3\xa4:1:0:0 a:1:0:0 a/c.txt:0:1:3 a a:0:0:3 a-b.txt:0:0:3 b.txt:0:0:3 l:2:0:0 "
         "\xf0\x9f\x8e\xa8:1:0:0"},
        {"*.txt", RSYS_DEEP | RSYS_FOLLOW, "a/c.txt:0:1:3 a-b.txt:0:0:3 b.txt:0:0:3 l/c.txt:0:1:3"},
        {"*.TXT", RSYS_ANYCASE, "a-b.txt:0:0:3 b.txt:0:0:3"},
        {"a*;.*", RSYS_HIDDEN | RSYS_FOLDERS, ".h:0:0:3 a:1:0:0 a a:0:0:3 a-b.txt:0:0:3"},
        {"x", 0, ""}};
    for (const auto &[pattern, flags, expected] : cases)
        EXPECT_EQ(site.listed(".//", pattern, flags), expected);
    EXPECT_EQ(site.listed("l"), "c.txt:0:0:3") << "the folder itself may be a link";
}

// The paths are longer than what Windows takes without a prefix.
TEST(RsysDir, CountsWhatIsDeeperThan200LevelsAndTheOthersGoThere)
{
    const Site site;
    std::string deep = "top";
    for (int i = 0; i < 203; ++i)
        deep += "/long";
    EXPECT_EQ(site.make(deep), 0);
    EXPECT_EQ(site.kind(deep), RSYS_FOLDER);
    const auto dir = site.list("top", "long", everything);
    EXPECT_EQ(rsys_dir_num(dir.get()), 201);
    EXPECT_EQ(rsys_dir_get(dir.get(), 200)->depth, 200);
    EXPECT_EQ(rsys_dir_skipped(dir.get()), 1);
    for (const int outside : {-1, 201})
        EXPECT_EQ(rsys_dir_get(dir.get(), outside), nullptr);
    fill(site, "from");
    EXPECT_EQ(site.copy("from", deep + "/to"), 0);
    EXPECT_EQ(site.copy(deep + "/to/b.txt", deep + "/b"), 0);
    EXPECT_EQ(site.copy("top", "again"), 0);
    EXPECT_EQ(image(site, "again" + deep.substr(3)), image(site, deep));
    EXPECT_EQ(site.listed(deep, "*.txt;b", RSYS_DEEP), "b:0:0:17 to/a/c.txt:0:2:19 to/a-b.txt:0:1:19 to/b.txt:0:1:17");
    for (const std::string &path : {deep + "/to/b.txt", std::string("top"), std::string("again")})
        EXPECT_EQ(site.remove(path), 0);
    EXPECT_EQ(site.listing(), "from/");
}

// ---- Patterns

TEST(RsysMatch, CountsCharactersAndFoldsLettersOfAsciiAlone)
{
    const std::tuple<const char *, const char *, int, int> cases[] = {
        {"?", "\xc3\xa4", 0, 1},  {"??", "\xc3\xa4", 0, 0},        {"*??", "\xe2\x82\xac", 0, 0},
        {"?", "\xc3", 0, 1},      {"??", "\xff\xc3", 0, 1},        {"*.TIF", "a.tif", 16, 1},
        {"*.TIF", "a.tif", 0, 0}, {"\xc3\x84", "\xc3\xa4", 16, 0}, {nullptr, "a", 0, 1},
        {"a", nullptr, 0, 0},     {"*\xa4", "\xc3\xa4", 0, 0},     {"?", "\xef\xbf\xbd", 0, 1}};
    for (const auto &[pattern, name, flags, expected] : cases)
        EXPECT_EQ(rsys_match(pattern, name, flags), expected) << pattern << " " << name;
}

// Whether what is up to the first ";" matches, or what follows it.
bool plainly_matches(const char *pattern, const char *name)
{
    if (*pattern == 0 || *pattern == ';')
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
    for (int i = 0; i < 40000; ++i) {
        const std::string pattern = word("ab*?;", 5), name = word("ab;", 3);
        bool expected = pattern.empty() || plainly_matches(pattern.c_str(), name.c_str());
        for (std::size_t k = 0; k < pattern.size(); ++k)
            expected = expected || (pattern[k] == ';' && plainly_matches(&pattern[k + 1], name.c_str()));
        EXPECT_EQ(rsys_match(pattern.c_str(), name.c_str(), 0), expected ? 1 : 0) << pattern << " " << name;
    }
    std::string pattern;
    for (int i = 0; i < 1000; ++i)
        pattern += "*a";
    EXPECT_EQ(rsys_match((pattern + "b").c_str(), std::string(20000, 'a').c_str(), 0), 0);
}

// ---- Kinds and folders made

TEST(RsysMakeFolder, MakesAllThatAreMissing)
{
    const Site site;
    Reports reports;
    for (const char *path : {"x/y\\z", "x/y/z", "x//", "x/w/"})
        EXPECT_EQ(site.make(path), 0) << path;
    EXPECT_EQ(site.listed("x"), "w:1:0:0 y:1:0:0 y/z:1:1:0");
    for (const std::string &path : {std::string("/"), std::string("."), site.path("x\\")}) {
        EXPECT_EQ(rsys_make_folder(path.c_str()), 0) << path;
        EXPECT_EQ(rsys_kind(path.c_str()), RSYS_FOLDER) << path;
    }
    EXPECT_EQ(reports.take(), lines{});
    EXPECT_EQ(site.make("new/" + std::string(2000, 'x')), -1);
    EXPECT_EQ(reports.take(), lines{"rsys_make_folder: cannot make folder"});
    EXPECT_EQ(site.kind("new"), RSYS_FOLDER) << "those made before a failure stay";
    const Links links;
    links.make("x", site.path("l"));
    links.make("nowhere", site.path("m"));
    EXPECT_EQ(site.make("l/in") + site.make("l"), 0);
    EXPECT_EQ(site.kind("l"), RSYS_LINK);
    EXPECT_EQ(site.make("m"), -1);
    EXPECT_EQ(reports.take(), lines{"rsys_make_folder: a file is in the way"});
#ifdef _WIN32
    EXPECT_EQ(rsys_kind("NUL"), RSYS_OTHER);
#else
    EXPECT_EQ(rsys_kind("/dev/null"), RSYS_OTHER);
#endif
}

// ---- Copies

TEST(RsysCopy, CopiesFilesOfAnySizeAndTellsHowFarItIs)
{
    constexpr long long mega = 1 << 20;
    for (const long long size : {0LL, 1LL, mega - 1, mega, mega + 1, 3 * mega}) {
        const Site site;
        std::string content(static_cast<std::size_t>(size), 'x');
        for (std::size_t i = 0; i < content.size(); i += 997)
            content[i] = static_cast<char>(i / 997);
        site.write("f", content);
        std::vector<std::string> expected;
        for (long long done = 0; done < size + mega; done += mega)
            expected.push_back("f " + std::to_string(std::min(done, size)) + "/" + std::to_string(size));
        Watch watch;
        EXPECT_EQ(site.copy("f", "g", 0, &watch), 0);
        EXPECT_EQ(watch.calls, expected);
        EXPECT_EQ(site.read("g"), content);
        EXPECT_EQ(site.listing(), "f g");
    }
}

TEST(RsysCopy, CopiesTreesWithPermissionsAndTimesOrLeavesNothingWhenItIsStopped)
{
    const Site site;
    fill(site, "from");
    site.write("from/z", std::string(3 << 20, 'z'));
    site.write("old", "old");
    for (const char *name : {"from/a", "from/a/c.txt", "from/empty"})
        make_older(site.path(name), 100);
    fs::permissions(site.path("from/a"), fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(site.path("from/b.txt"), fs::perms::owner_read);
    const auto now = std::chrono::system_clock::now().time_since_epoch() / std::chrono::milliseconds(1);
    const long long then = rsys_dir_get(site.list("from/a", "c.txt", 0).get(), 0)->time;
    EXPECT_LT(std::abs(now - 100 * 3600000LL - then), 600000) << "100 hours ago";
    const std::string before = image(site, "from");
    const std::tuple<const char *, const char *, std::size_t> cases[] = {{"from", "to", 11}, {"from/z", "old", 4}};
    for (const auto &[from, to, calls] : cases)
        for (std::size_t stop = 1; stop <= calls; ++stop) {
            Watch watch{.stop_at = stop};
            EXPECT_EQ(site.copy(from, to, RSYS_REPLACE, &watch), 1);
            EXPECT_EQ(watch.calls.size(), stop);
            EXPECT_EQ(site.read("old") + site.listing(), "oldfrom/ old");
        }
    Watch watch{.act = [](const std::string &path) { EXPECT_TRUE(fs::is_regular_file(path)) << path; }};
    EXPECT_EQ(site.copy("from/", "to\\", 0, &watch), 0);
    EXPECT_EQ(image(site, "to"), before);
    EXPECT_EQ(watch.calls.front() + watch.calls.back(), ".h 0/3145839z 3145839/3145839");
    EXPECT_EQ(site.read("to/a/b/d.tif"), "content of /a/b/d.tif");
    for (const char *name : {"from/a", "to/a"})
        fs::permissions(site.path(name), fs::perms::owner_all);
}

TEST(RsysCopy, TakesFilesIntoAFolderThatIsThere)
{
    const Site site;
    for (const char *top : {"from", "to"})
        fill(site, top);
    site.write("to/b.txt", "an older one");
    site.write("to/a/only here", "kept");
    fs::permissions(site.path("to/b.txt"), fs::perms::owner_read);
    fs::remove_all(site.path("to/a/b"));
    EXPECT_EQ(site.copy("from", "to", RSYS_REPLACE), 0);
    EXPECT_EQ(site.read("to/b.txt") + site.read("to/a/only here"), "content of /b.txtkept");
    EXPECT_EQ(site.listed("to"),
              ".h:0:0:14 .hidden:1:0:0 .hidden/x:0:1:21 a:1:0:0 a/b:1:1:0 a/b/d.tif:0:2:21 a/c.txt:0:1:19 "
              "a/only here:0:1:4 a-b.txt:0:0:19 b.txt:0:0:17 empty:1:0:0");
    // A file gives way to a file only, and a folder to nothing.
    fs::remove(site.path("from/b.txt"));
    fs::create_directory(site.path("from/b.txt"));
    const std::tuple<const char *, const char *, int> cases[] = {{"from", "to", 0},
                                                                 {"from", "to", RSYS_REPLACE},
                                                                 {"from/a-b.txt", "to/a", RSYS_REPLACE},
                                                                 {"from/a", "to/a-b.txt", RSYS_REPLACE},
                                                                 {"from/a-b.txt", "to/b.txt", 0}};
    Reports reports;
    for (const auto &[from, to, flags] : cases)
        EXPECT_EQ(site.copy(from, to, flags), -1) << from << " " << to;
    EXPECT_EQ(reports.take(), lines(std::size(cases), "rsys_copy: target exists"));
    EXPECT_EQ(site.read("to/b.txt"), "content of /b.txt");
}

TEST(RsysCopy, NoticesASourceThatChanges)
{
    const Site site;
    site.write("f", std::string(2 << 20, 'x'));
    for (const std::uintmax_t size : {(3U << 20), (1U << 20)}) {
        Reports reports;
        Watch watch{.act = [&](const std::string &path) {
            if (watch.calls.size() == 2)
                fs::resize_file(path, size);
        }};
        EXPECT_EQ(site.copy("f", "g", 0, &watch), -1);
        EXPECT_EQ(reports.take(), lines{"rsys_copy: source changed while it was copied"});
        EXPECT_EQ(site.listing(), "f");
    }
}

// The names beside: one that is taken is left alone, and one that would be too long is made shorter.
TEST(RsysCopy, FindsAFreeNameForEveryLength)
{
    const Site site;
    site.write("f", "new");
    std::string beside;
    Watch watch{.act = [&](const std::string &) { beside = site.listing(); }};
    EXPECT_EQ(site.copy("f", "g", 0, &watch), 0);
    ASSERT_TRUE(beside.starts_with("f g.tmp")) << beside;
    EXPECT_EQ(beside.find('-'), std::string::npos);
    const std::string taken = beside.substr(2);
    site.write(taken, "of somebody else");
    EXPECT_EQ(site.copy("f", "g", RSYS_REPLACE), 0);
    EXPECT_EQ(site.read("g") + site.read(taken), "newof somebody else");
    for (const std::size_t length : {206U, 207U, 208U, 240U, 254U})
        EXPECT_EQ(site.copy("f", std::string(length - 1, 'n') + "\xc3\xa4"), 0) << length;
    EXPECT_EQ(rsys_dir_num(site.list("", "", 0).get()), 8);
}

// ---- Removal

TEST(RsysRemove, TakesAwayFilesAndTreesAndTellsEach)
{
    const Site site;
    fill(site, "t");
    fs::permissions(site.path("t/b.txt"), fs::perms::owner_read);
    for (const std::size_t stop : {1U, 3U}) {
        Watch watch{.stop_at = stop};
        EXPECT_EQ(site.remove("t", &watch), 1);
    }
    EXPECT_EQ(site.listed("t"),
              ".hidden:1:0:0 a:1:0:0 a/b:1:1:0 a/b/d.tif:0:2:21 a/c.txt:0:1:19 a-b.txt:0:0:19 b.txt:0:0:17 empty:1:0:0")
        << "what it told before it stopped is gone, but the last";
    Watch watch;
    EXPECT_EQ(site.remove("t\\", &watch), 0);
    EXPECT_EQ(watch.calls, (std::vector<std::string>{".hidden 0/0", "d.tif 0/0", "b 0/0", "c.txt 0/0", "a 0/0",
                                                     "a-b.txt 0/0", "b.txt 0/0", "empty 0/0", "t 0/0"}));
    EXPECT_EQ(site.listing(), "");
}
