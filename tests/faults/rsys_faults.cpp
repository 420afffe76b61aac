// Folders with every call of the host failing in turn, and copies that are killed or lose power
#include "support/child.h"

#include "faults/disk.h"
#include "faults/sweep.h"
#include "files/rsys_site.h"

#include <unistd.h>

#include <sstream>

namespace fs = std::filesystem;

using namespace teska_test;

namespace
{

// Its flushes cost nothing there. Before any test asks for a folder.
[[maybe_unused]] const int in_memory = access("/dev/shm", W_OK) == 0 ? setenv("TEST_TMPDIR", "/dev/shm", 0) : 0;

// What a name leads to, without times: kind, permission, content; all below it for a folder, but for names with a mark.
// "" when nothing is there.
std::string image(const fs::path &path, const char *mark = "?")
{
    const fs::file_status status = fs::symlink_status(path);
    if (!fs::exists(status))
        return "";
    if (fs::is_symlink(status))
        return "link " + fs::read_symlink(path).string() + "\n";
    std::string text = std::to_string(static_cast<int>(status.permissions())) + " ";
    if (!fs::is_directory(status)) {
        std::ifstream stream(path, std::ios::binary);
        return text + std::string(std::istreambuf_iterator<char>(stream), {}) + "\n";
    }
    std::set<fs::path> names;
    for (const fs::directory_entry &one : fs::directory_iterator(path))
        names.insert(one.path());
    text += "folder\n";
    for (const fs::path &one : names)
        if (one.filename().string().find(mark) == std::string::npos)
            text += one.filename().string() + ": " + image(one);
    return text;
}

struct Tree : Site {
    Tree()
    {
        for (const char *name : {"from/a/b", "into/a"})
            fs::create_directories(path(name));
        for (const char *name : {"from/a/f", "from/a/b/g", "into/kept"})
            write(name, "content of " + std::string(name));
        write("from/h", std::string(3000, 'h'));
        write("into/a/f", "old");
        write("file", "the old file");
        fs::create_symlink("a/f", path("from/l"));
        fs::create_symlink("from", path("outside"));
        fs::permissions(path("from/a/b"), fs::perms::owner_read | fs::perms::owner_exec);
    }
    ~Tree()
    {
        std::error_code removed;
        fs::permissions(path("from/a/b"), fs::perms::owner_all, removed);
    }
};

// ---- The calls of the host

// The result of a call after which no other call succeeds.
constexpr int stuck = -2;

struct Copy {
    const char *from, *to;
    int flags;
    std::vector<std::pair<std::string, std::string>> pairs;  // names of the target and what they are copied from

    int operator()(const Tree &tree) const { return tree.copy(from, to, flags); }
};

const Copy copies[] = {
    {"from/h", "to", 0, {{"to", "from/h"}}},
    {"from/l", "to", 0, {{"to", "from/l"}}},
    {"from", "to", 0, {{"to", "from"}}},
    {"outside", "to", RSYS_FOLLOW, {{"to/a", "from/a"}}},
    {"from/h", "file", RSYS_REPLACE, {{"file", "from/h"}}},
    {"from",
     "into",
     RSYS_REPLACE,
     {{"into/a/f", "from/a/f"}, {"into/a/b/g", "from/a/b/g"}, {"into/h", "from/h"}, {"into/l", "from/l"}}}};

// What the result leaves: the new, or what a tree had before. A failure takes back what it made beside nothing, unless
// nothing goes any more.
void check_copy(const Copy &copy, const Tree &tree, int result)
{
    const Tree before;
    for (const auto &[to, from] : copy.pairs) {
        const std::string now = image(tree.path(to));
        if (now == image(tree.path(from))) {
            EXPECT_TRUE(result == 0 || result == stuck || copy.flags == RSYS_REPLACE) << to;
        } else {
            EXPECT_NE(result, 0) << to;
            EXPECT_EQ(now, image(before.path(to)));
        }
    }
    EXPECT_EQ(tree.read("into/kept"), "content of into/kept");
}

// Every call failing in turn. Returns how many failures made no difference.
template <class Call, class Check>
int sweep(const std::string &text, const Call &call, const Check &check, bool sticky, file_fault fault)
{
    SCOPED_TRACE(text);
    int survived = 0;
    const int rounds = each_fault(fault_kind::files, sticky, fault, [&](const auto &fire) {
        const Tree tree;
        Reports reports;
        const std::string source = image(tree.path("from"));
        const std::ptrdiff_t descriptors = open_descriptors();
        fire();
        const int result = call(tree);
        const int error = errno;
        const bool fired = disarm() > 0;
        survived += fired && result == 0 ? 1 : 0;
        EXPECT_TRUE(fired || result == 0);
        const lines reported = reports.take();
        EXPECT_EQ(reported.size(), result == 0 ? 0U : 1U);
        EXPECT_TRUE(reported.empty() || reported[0].starts_with(text)) << reported[0];
        EXPECT_TRUE(result == 0 || error == fault.error || error == ENOENT || error == EBUSY || error == ENOTEMPTY)
            << error;
        check(tree, result != 0 && sticky ? stuck : result);
        EXPECT_EQ(open_descriptors(), descriptors);
        EXPECT_EQ(image(tree.path("from")), source) << "the source was changed";
        EXPECT_TRUE(sticky || tree.listing().find(".tmp") == std::string::npos) << tree.listing();
        if (result != 0 && !sticky) {
            EXPECT_EQ(call(tree), 0) << "fails when tried again";
            check(tree, 0);
            EXPECT_EQ(reports.take(), lines{});
        }
        return fired;
    });
    EXPECT_GT(rounds, 3);
    return survived;
}

TEST(Folders, SurviveEveryFailingCallOfTheHost)
{
    const auto survive = [](const char *text, const auto &call, const auto &check) {
        for (const bool sticky : {false, true})
            for (const file_fault &fault : {file_fault{.error = ENOSPC}, {.error = EACCES, .partial = true}})
                sweep(text, call, check, sticky, fault);
    };
    for (const Copy &copy : copies)
        survive("rsys_copy: ", copy, [&](const Tree &tree, int result) { check_copy(copy, tree, result); });
    survive(
        "rsys_remove: ", [](const Tree &tree) { return tree.remove("into"); },
        [](const Tree &tree, int result) { EXPECT_EQ(image(tree.path("into")) == "", result == 0); });
    survive(
        "rsys_make_folder: ", [](const Tree &tree) { return tree.make("x/y/z"); },
        [](const Tree &tree, int result) { EXPECT_TRUE(result != 0 || fs::is_directory(tree.path("x/y/z"))); });
    // A list that is short says so.
    const auto scan = [](const Tree &tree) {
        const auto dir = tree.list("from", "", everything);
        if (dir == nullptr)
            return -1;
        EXPECT_TRUE(rsys_dir_num(dir.get()) == 6 || (rsys_dir_num(dir.get()) < 6 && rsys_dir_skipped(dir.get()) >= 1));
        return 0;
    };
    survive("rsys_dir_new: cannot read folder", scan, [](const Tree &, int) {});
    // A signal that interrupts a call of these makes no difference: it is made again.
    const auto check = [](const Tree &tree, int result) { check_copy(copies[0], tree, result); };
    EXPECT_GT(sweep("rsys_copy: ", copies[0], check, false, {.error = EINTR}), 6);
}

// ---- The process is killed

// "<n> <flags> <from> <to>": copies, or removes when there is no target, and dies at a call.
const ChildRole mover("copy or remove", [](const std::string &argument) {
    std::istringstream words(argument);
    int n = 0;
    int flags = 0;
    std::string from, to;
    words >> n >> flags >> from >> to;
    arm(fault_kind::files, n, false, {.kill = true});
    const int result = to.empty() ? rsys_remove(from.c_str(), nullptr, nullptr)
                                  : rsys_copy(from.c_str(), to.c_str(), flags, nullptr, nullptr);
    disarm();
    return result == 0 ? 0 : 1;
});

// Dies at each call in turn: calls check(tree, done) after each death and once after the end.
template <class Check>
void kill_at_every_call(const std::string &from, const std::string &to, int flags, const Check &check)
{
    int n = 0;
    for (int code = 137; code == 137 && n < 400; ++n) {
        SCOPED_TRACE(n);
        const Tree tree, before;
        const std::string call = std::to_string(n) + " " + std::to_string(flags) + " " + tree.path(from);
        code = Child("copy or remove", call + (to.empty() ? "" : " " + tree.path(to))).wait();
        EXPECT_TRUE(code == 137 || code == 0) << code;
        check(tree, code == 0);
        for (const fs::directory_entry &one : fs::directory_iterator(tree.path())) {
            const std::string name = one.path().filename().string();
            EXPECT_TRUE(name == to || image(before.path(name)) != "" || name.find(".tmp") != std::string::npos) << name;
        }
    }
    EXPECT_GT(n, 5);
    EXPECT_LT(n, 400);
}

TEST(KilledFolders, AreTheOldOrTheNewBesideATemporaryNameAtMostAndTheNextCallMakesThemNew)
{
    for (const Copy &copy : copies)
        kill_at_every_call(copy.from, copy.to, copy.flags, [&](const Tree &tree, bool done) {
            check_copy(copy, tree, done ? 0 : stuck);
            if (copy.flags == RSYS_REPLACE || image(tree.path("to")) == "") {
                EXPECT_EQ(copy(tree), 0) << "what was left is in the way";
                check_copy(copy, tree, 0);
            }
        });
    kill_at_every_call("into", "", 0, [](const Tree &tree, bool done) {
        EXPECT_TRUE(!fs::exists(tree.path("into")) || (!done && tree.remove("into") == 0));
    });
}

// ---- The power is cut

int torn(const Copy &copy, Flushes flushes)
{
    const Tree tree;
    Disk disk(tree.path(), flushes);
    std::vector<file_step> steps;
    record_files(&steps);
    EXPECT_EQ(copy(tree), 0);
    record_files(nullptr);
    EXPECT_GE(steps.size(), 5U);
    std::map<std::string, std::string> made;
    for (const auto &[to, from] : copy.pairs)
        made[to] = Disk::whole(Disk::load(tree.path(from)));
    return disk.torn(steps, made);
}

// It would do harm without either flush.
TEST(PowerCut, LeavesTheOldOrTheNewAndTheNewOnceItIsCopied)
{
    for (const Copy &copy : copies) {
        const std::string name = std::string(copy.from) + " " + copy.to;
        EXPECT_EQ(torn(copy, {.files = true, .folders = true}), 0) << name;
        EXPECT_EQ(torn(copy, {.files = false, .folders = true}) > 0, name != "from/l to") << name << ": no file in it";
        EXPECT_GT(torn(copy, {.files = true, .folders = false}), 0) << name;
    }
}

}  // namespace
