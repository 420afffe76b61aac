// Calls that change files and folders, while each call of the host fails in turn, kills the process, or is the last one
// before the power is cut
#include "support/child.h"

#include "faults/disk.h"
#include "faults/sweep.h"
#include "files/rsys_site.h"
#include "lopra.h"
#include "volume_export.h"
#include "zuk.h"

#include <unistd.h>

using namespace teska_test;

namespace
{

// Its flushes cost nothing there. Before any test asks for a folder.
[[maybe_unused]] const bool in_memory = (work_in_memory(), true);

struct Tree : Site {
    Tree()
    {
        for (const char *name : {"from/a/b", "into/a"})
            fs::create_directories(path(name));
        for (const char *name : {"from/a/f", "from/a/b/g", "into/kept", "into/a/f", "file"})
            write(name, "content of " + std::string(name));
        write("from/h", std::string(3000, 'h'));
        write("record", "[patches]\nblack = 1\n");
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

// ---- The calls

// A tree to work in, with the record file loaded and changed but not saved.
struct Work {
    explicit Work(const std::string &path) : top(path)
    {
        zuk_push_rfile(db.get(), at("record").c_str());
        zuk_add_item(db.get(), "patches", "black", "2", "");
        const tetra_point p[] = {{0, 0, 0, 0}, {1, 0, 0, 1}, {0, 1, 0, 2}};
        tetra_volume_add_plane(volume.get(), p, p + 1, p + 2);
    }

    std::string at(const char *name) const { return top + "/" + name; }
    int copy(const char *from, const char *to, int flags = 0) const
    {
        return rsys_copy(at(from).c_str(), at(to).c_str(), flags, nullptr, nullptr);
    }
    int replace(const char *name) const { return replace_utf8(at(name).c_str(), "the new content", 15); }
    int push() const
    {
        char value[ZUK_VALUE_SIZE] = "1";
        const bool pushed = zuk_push_rfile(db.get(), at("record").c_str()) != nullptr;
        EXPECT_TRUE(!pushed || (zuk_search(db.get(), "patches", "black", value) == 0 && *value == '1'));
        return pushed ? 0 : -1;
    }
    // A list that is short says so.
    int list() const
    {
        const std::unique_ptr<rsys_dir, decltype(&rsys_dir_kill)> dir(rsys_dir_new(at("from").c_str(), "", everything),
                                                                      rsys_dir_kill);
        const int count = dir ? rsys_dir_num(dir.get()) : 6;
        EXPECT_TRUE(count == 6 || (count < 6 && rsys_dir_skipped(dir.get()) >= 1)) << count;
        return dir ? 0 : -1;
    }

    std::string top;
    std::shared_ptr<zuk_db> db{zuk_open(), zuk_close};
    std::shared_ptr<tetra_volume> volume{tetra_volume_new0(), tetra_volume_kill};
};

constexpr const char *copying = "rsys_copy: ";

// What is there after a failure. In the first two cases a call that returns 0 has brought all to the disk.
enum class leaves { old, each_old_or_new, a_part, what_was_written };

const struct Operation {
    const char *name;
    const char *report;  // what a failure reports begins with; "": errno alone tells, null: nothing does
    leaves after_failure;
    int interrupted;  // so many calls of the host at least are made again after a signal, or do not count
    int (*call)(const Work &work);
} operations[] = {
    {"file", copying, leaves::old, 11, [](const Work &work) { return work.copy("from/h", "to"); }},
    {"link", copying, leaves::old, 3, [](const Work &work) { return work.copy("from/l", "to"); }},
    {"tree", copying, leaves::old, 0, [](const Work &work) { return work.copy("from", "to"); }},
    {"followed link", copying, leaves::old, 0,
     [](const Work &work) { return work.copy("outside", "to", RSYS_FOLLOW); }},
    {"file over file", copying, leaves::each_old_or_new, 11,
     [](const Work &work) { return work.copy("from/h", "file", RSYS_REPLACE); }},
    {"tree into tree", copying, leaves::each_old_or_new, 0,
     [](const Work &work) { return work.copy("from", "into", RSYS_REPLACE); }},
    {"remove", "rsys_remove: ", leaves::a_part, 0,
     [](const Work &work) { return rsys_remove(work.at("into").c_str(), nullptr, nullptr); }},
    {"make folder", "rsys_make_folder: ", leaves::a_part, 0,
     [](const Work &work) { return rsys_make_folder(work.at("x/y/z").c_str()); }},
    {"list", "rsys_dir_new: cannot read folder", leaves::a_part, 0, [](const Work &work) { return work.list(); }},
    {"replace", "", leaves::each_old_or_new, 7, [](const Work &work) { return work.replace("file"); }},
    {"replace nothing", "", leaves::each_old_or_new, 7, [](const Work &work) { return work.replace("to"); }},
    {"flush", nullptr, leaves::each_old_or_new, 7, [](const Work &work) { return zuk_flush(work.db.get()); }},
    {"create", nullptr, leaves::each_old_or_new, 6,
     [](const Work &work) { return zuk_create_rfile(work.db.get(), work.at("record").c_str()) != nullptr ? 0 : -1; }},
    {"push", nullptr, leaves::a_part, 2, [](const Work &work) { return work.push(); }},
    {"dump", "", leaves::what_was_written, 0,
     [](const Work &work) {
         const double eye[] = {9, 9, 9};
         return tetra_volume_dump_to_file(work.volume.get(), eye, work.at("to").c_str());
     }},
    // The second scene may fail.
    {"scenes", "", leaves::what_was_written, 30,
     [](const Work &work) { return writeVRML(work.volume.get(), work.at("to").c_str(), "/dev/null"); }}};

// Only those have a text; they name what they write by the process, and a killed one leaves it.
bool reports_failures(const Operation &operation) { return operation.report != nullptr && *operation.report != 0; }

// ---- What there is

// Kind, content and permission of each path, without times; all of "to" is one. The permission of a folder comes last
// and is not told elsewhere.
using State = std::map<std::string, std::string>;

std::string in(const State &state, const std::string &name)
{
    const auto at = state.find(name);
    return at != state.end() ? at->second : "";
}

State state(const Tree &tree, bool temporary)
{
    State found, folded;
    for (auto at = fs::recursive_directory_iterator(tree.path()); at != fs::end(at); ++at) {
        const std::string name = at->path().string().substr(tree.path().size() + 1);
        if (!temporary && name.find(".tmp") != name.npos) {
            at.disable_recursion_pending();
            continue;
        }
        const fs::file_status status = at->symlink_status();
        found[name] = fs::is_symlink(status)     ? "link " + fs::read_symlink(at->path()).string()
                      : fs::is_directory(status) ? "folder"
                                                 : "file " + tree.read(name);
        if (name.starts_with("to") || fs::is_regular_file(status))
            found[name] += " " + std::to_string(static_cast<int>(status.permissions()));
    }
    for (const auto &[name, text] : found)
        folded[name.starts_with("to/") ? "to" : name] += name + ": " + text + "\n";
    return folded;
}

// A call of which nothing fails, though all is read and written by halves: the tree before and after it, and what the
// disk has of what it changed.
struct Good {
    explicit Good(const Operation &operation) : partial(operation.after_failure == leaves::what_was_written)
    {
        const Tree tree;
        const Work work(tree.path());
        before = state(tree, true);
        Disk no_files(tree.path(), {.files = false, .folders = true});
        Disk no_folders(tree.path(), {.files = true, .folders = false});
        std::vector<file_step> steps;
        record_files(&steps);
        arm(fault_kind::files, INT_MAX, false, {.halves = true});
        EXPECT_EQ(operation.call(work), 0);
        disarm();
        record_files(nullptr);
        after = state(tree, true);
        const std::string called = operation.name;
        EXPECT_EQ(before == after, called == "list" || called == "push");
        if (operation.after_failure >= leaves::a_part)
            return;
        for (const auto &[name, text] : after)
            if (in(before, name) != text && (name == "to" || !fs::is_directory(tree.path(name))))
                made[name] = Disk::whole(Disk::load(tree.path(name)));
        EXPECT_EQ(no_files.torn(steps, made) > 0, called != "link" && called != "create") << "they have no bytes";
        EXPECT_GT(no_folders.torn(steps, made), 0) << "it would do harm";
    }

    // The paths that have neither what they had before the call nor what they have after it.
    std::string neither(const State &now) const
    {
        std::string names;
        for (const State *all : {&before, &after, &now})
            for (const auto &[name, text] : *all)
                if (!partial && in(now, name) != in(before, name) && in(now, name) != in(after, name))
                    names += name + " ";
        return names;
    }

    bool partial;
    State before, after;
    std::map<std::string, std::string> made;
};

// ---- The calls of the host fail

int links_refused;

// Every one in turn. Returns how many failures made no difference.
int sweep(const Operation &operation, const Good &good, bool sticky, file_fault fault)
{
    int survived = 0;
    const int rounds = each_fault(fault_kind::files, sticky, fault, [&](const auto &fire) {
        const Tree tree;
        const Work work(tree.path());
        Disk disk(tree.path(), {.files = true, .folders = true});
        std::vector<file_step> steps;
        Reports reports;
        const std::ptrdiff_t descriptors = open_descriptors();
        record_files(&steps);
        track_memory();
        fire();
        const int result = operation.call(work);
        const int error = errno;
        const bool fired = disarm() > 0;
        const int blocks = live_blocks();
        record_files(nullptr);
        survived += fired && result == 0 ? 1 : 0;
        EXPECT_TRUE(fired || result == 0);
        EXPECT_EQ(open_descriptors(), descriptors);
        EXPECT_TRUE(blocks == 0 || operation.report == nullptr) << blocks << " are left";
        const lines reported = reports.take();
        EXPECT_EQ(reported.size(), result != 0 && reports_failures(operation) ? 1U : 0U);
        EXPECT_TRUE(reported.empty() || reported[0].starts_with(operation.report)) << reported[0];
        links_refused += reported == lines{"rsys_copy: cannot make link"};
        EXPECT_TRUE(result == 0 || operation.report == nullptr || error == fault.error || error == ENOENT ||
                    error == EBUSY || error == ENOTEMPTY)
            << error;
        const State now = state(tree, !sticky);
        EXPECT_EQ(good.neither(now), "");
        EXPECT_TRUE(result != 0 || now == good.after);
        EXPECT_TRUE(result == 0 || sticky || operation.after_failure != leaves::old || now == good.before);
        EXPECT_EQ(result == 0 ? disk.torn(steps, good.made) : 0, 0) << "power cut";
        if (result != 0 && !sticky) {
            EXPECT_EQ(operation.call(work), 0) << "fails when tried again";
            EXPECT_EQ(state(tree, true), good.after);
            EXPECT_EQ(reports.take(), lines{});
        }
        return fired;
    });
    EXPECT_GT(rounds, 3);
    EXPECT_TRUE(survived == 0 || !good.partial || operation.interrupted > 0);
    return survived;
}

TEST(FileSweep, LeavesTheOldOrTheNewWhateverFailsAndWheneverThePowerIsCut)
{
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        const Good good(operation);
        for (const bool sticky : {false, true})
            for (const file_fault &fault : {file_fault{.error = ENOSPC}, {.error = EACCES, .partial = true}})
                sweep(operation, good, sticky, fault);
        EXPECT_GE(sweep(operation, good, false, {.error = EINTR}), operation.interrupted);
    }
    EXPECT_EQ(links_refused, 9) << "those that are made, not those that cannot be read";
}

// Also where the host cannot rename without replacing.
TEST(FileSweep, LeavesWhatTookTheNameWhileItWasCopied)
{
    const auto take = [](const char *, long long, long long, void *tree) {
        static_cast<const Tree *>(tree)->write("to", "mine");
        return 0;
    };
    std::map<int, int> copied;  // nevertheless, by the error
    for (const int error : {ENOSYS, EIO})
        each_fault(fault_kind::files, false, {.error = error}, [&](const auto &fire) {
            Tree tree;
            Reports reports;
            fire();
            EXPECT_EQ(rsys_copy(tree.path("from/h").c_str(), tree.path("to").c_str(), 0, take, &tree), -1);
            const bool fired = disarm() > 0;
            EXPECT_TRUE(!fs::exists(tree.path("to")) || tree.read("to") == "mine");
            EXPECT_TRUE(fired || reports.take() == lines{"rsys_copy: target exists"});
            fire();
            copied[error] +=
                rsys_copy(tree.path("from/h").c_str(), tree.path("free").c_str(), 0, nullptr, nullptr) == 0;
            return disarm() > 0 || fired;
        });
    EXPECT_GE(copied[ENOSYS], copied[EIO] + 2) << "what the host lacks is done in another way, what fails is told";
}

// ---- The process is killed

// "<n> <operation> <top>": dies at a call of the host, and has no standard input, so that descriptor 0 is in use.
const ChildRole victim("change files", [](const std::string &argument) {
    std::istringstream words(argument);
    int n = 0;
    std::size_t index = 0;
    std::string top;
    words >> n >> index >> top;
    const Work work(top);
    close(0);
    arm(fault_kind::files, n, false, {.kill = true});
    const int result = operations[index].call(work);
    disarm();
    return result == 0 ? 0 : 1;
});

TEST(FileSweep, LeavesTheOldOrTheNewWhereverItIsKilledAndIsNotInItsOwnWay)
{
    for (const Operation &operation : operations) {
        const Good good(operation);
        int n = 0;
        for (int code = good.partial || good.before == good.after ? 0 : 137; code == 137 && n < 400;
             n += runs_slowly() ? 3 : 1) {
            SCOPED_TRACE(operation.name + std::string(" ") + std::to_string(n));
            const Tree tree;
            const Work work(tree.path());
            const std::string index = std::to_string(&operation - operations);
            code = Child("change files", std::to_string(n) + " " + index + " " + tree.path()).wait();
            EXPECT_TRUE(code == 137 || code == 0) << code;
            const State now = state(tree, false);
            EXPECT_EQ(good.neither(now), "");
            EXPECT_TRUE(code != 0 || now == good.after);
            if (now != good.after || operation.after_failure == leaves::each_old_or_new) {
                EXPECT_EQ(operation.call(work), 0) << "what was left is in the way";
            }
            EXPECT_EQ(state(tree, !reports_failures(operation)), good.after);
        }
        EXPECT_TRUE(n == 0 || (n > 5 && n < 400)) << n;
    }
}

}  // namespace
