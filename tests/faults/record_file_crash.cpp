// Record files when the process is killed or the power cut while they are saved
//
// The power cut is a model. A write that was not flushed may be on the disk whole, in half, as zeros or not at all; a
// name made, changed or removed may be there or not until its folder is flushed, each for itself. What a disk can hold
// after the first k file calls of a run of saves is built in every such way and looked at.
#include "faults/injector.h"

#include "support/child.h"
#include "support/folder.h"

#include "zuk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace teska_test
{

namespace
{

const std::string texts[] = {"[t]\nk = the first of them\n", "[t]\nk = 2\n",
                             "[t]\nk = 2\n" + std::string(255, 'n') + " = 3\n"};

using Database = std::unique_ptr<zuk_db, int (*)(zuk_db *)>;

Database loaded(const std::string &path)
{
    Database db(zuk_open(), zuk_close);
    EXPECT_NE(zuk_push_rfile(db.get(), path.c_str()), nullptr);
    return db;
}

// ---- The process is killed

// Brings the file from the first text to the second and dies at a file call: "<n> <path>".
const ChildRole saver("save a record file", [](const std::string &argument) {
    const Database db = loaded(argument.substr(argument.find(' ') + 1));
    zuk_add_item(db.get(), "t", "k", "2", "");
    arm(fault_kind::files, std::stoi(argument), false, {.kill = true});
    const int result = zuk_flush(db.get());
    disarm();
    return result;
});

TEST(KilledSave, LeavesTheOldFileOrTheNewOne)
{
    int n = 0;
    bool survived = false;
    std::string seen;
    for (; !survived && n < 100; ++n) {
        const Folder folder;
        folder.write("f", texts[0]);
        survived = Child("save a record file", std::to_string(n) + " " + folder.path("f")).wait() == 0;
        const std::string left = folder.read("f");
        EXPECT_TRUE(left == texts[0] || left == texts[1]) << n << ": " << left;
        seen += left == texts[0] ? '0' : '1';
        const Database db = loaded(folder.path("f"));
        zuk_add_item(db.get(), "t", "k", "3", "");
        EXPECT_EQ(zuk_flush(db.get()), 0) << n << ": what was left behind is in the way";
        EXPECT_EQ(folder.read("f"), "[t]\nk = 3\n");
    }
    EXPECT_TRUE(survived);
    // The old one up to the death at the rename, the new one from then on.
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()) && seen.front() == '0' && seen.back() == '1') << seen;
    EXPECT_GT(n, 6);
}

// ---- The power is cut

struct Written {
    std::string bytes;
    bool flushed;
};

// A name made or changed, or removed when there is no file.
struct NameChange {
    std::string from;  // what a rename takes away
    std::string name;
    int file;
};

using Names = std::map<std::string, int>;

void carry_out(const NameChange &change, Names &names)
{
    names.erase(change.from);
    if (change.file < 0)
        names.erase(change.name);
    else
        names[change.name] = change.file;
}

// Which flushes reach the disk.
struct Flushes {
    bool files;
    bool folder;
};

class Disk
{
public:
    Disk(const std::string &folder, const std::string &name, const std::string &text, Flushes flushes)
        : folder_(folder), flushes_(flushes)
    {
        files_.push_back({{text, true}});
        flushed_[name] = now_[name] = 0;
    }

    void take(const file_step &step)
    {
        switch (step.call) {
        case file_step::open:
            open_[step.descriptor] = step.name == folder_ ? -1 : file_of(step.name);
            break;
        case file_step::write:
            files_[static_cast<std::size_t>(open_.at(step.descriptor))].push_back({step.other, false});
            break;
        case file_step::fsync:
            flush(open_.at(step.descriptor));
            break;
        case file_step::close:
            open_.erase(step.descriptor);
            break;
        case file_step::rename:
            change({step.name, step.other, now_.at(step.name)});
            break;
        case file_step::unlink:
            change({"", step.name, -1});
            break;
        }
    }

    // Everything that may be found under a name; "(none)" when it may be missing.
    std::vector<std::string> found(const std::string &name) const
    {
        std::vector<std::string> all;
        for (unsigned done = 0; done < 1u << pending_.size(); ++done) {
            Names names = flushed_;
            for (std::size_t i = 0; i < pending_.size(); ++i)
                if (done >> i & 1)
                    carry_out(pending_[i], names);
            if (!names.count(name))
                all.emplace_back("(none)");
            else
                for (std::string &content : contents(files_[static_cast<std::size_t>(names[name])]))
                    all.push_back(std::move(content));
        }
        return all;
    }

private:
    static std::vector<std::string> contents(const std::vector<Written> &file)
    {
        std::vector<std::string> all = {""};
        for (const Written &part : file) {
            const std::string half = part.bytes.substr(0, part.bytes.size() / 2);
            std::vector<std::string> ways = {part.bytes};
            if (!part.flushed)
                ways.insert(ways.end(), {half, std::string(part.bytes.size(), '\0'), ""});
            std::vector<std::string> longer;
            for (const std::string &before : all)
                for (const std::string &way : ways)
                    longer.push_back(before + way);
            all = std::move(longer);
        }
        return all;
    }

    int file_of(const std::string &name)
    {
        if (!now_.count(name)) {
            files_.emplace_back();
            change({"", name, static_cast<int>(files_.size()) - 1});
        }
        return now_[name];
    }

    void change(const NameChange &what)
    {
        pending_.push_back(what);
        carry_out(what, now_);
    }

    void flush(int file)
    {
        if (file >= 0 && flushes_.files)
            for (Written &part : files_[static_cast<std::size_t>(file)])
                part.flushed = true;
        for (; file < 0 && flushes_.folder && !pending_.empty(); pending_.erase(pending_.begin()))
            carry_out(pending_.front(), flushed_);
    }

    std::string folder_;
    Flushes flushes_;
    std::vector<std::vector<Written>> files_;
    std::map<int, int> open_;  // descriptor to file, -1 for the folder
    Names now_, flushed_;
    std::vector<NameChange> pending_;
};

// Two saves as file calls, and how many of them had been made when each save had returned.
struct Saves {
    std::string folder, file;
    std::vector<file_step> steps;
    std::vector<std::size_t> ends = {0};
};

// The n-th file call transfers only half of what it should.
Saves record_saves(int n)
{
    const Folder folder;
    Saves saves{.folder = folder.path(), .file = folder.path("f"), .steps = {}};
    folder.write("f", texts[0]);
    const Database db = loaded(saves.file);
    arm(fault_kind::files, n, false, {.error = EINTR, .partial = true});
    record_files(&saves.steps);
    zuk_add_item(db.get(), "t", "k", "2", "");
    const int first = zuk_flush(db.get());
    saves.ends.push_back(saves.steps.size());
    zuk_add_item(db.get(), "t", std::string(255, 'n').c_str(), "3", "");
    const int second = zuk_flush(db.get());
    saves.ends.push_back(saves.steps.size());
    record_files(nullptr);
    disarm();
    if (first != 0 || second != 0)
        saves.steps.clear();
    return saves;
}

struct Count {
    int cuts = 0;
    int torn = 0;  // neither the old text nor the new one, or the old one after the save had returned
};

// Cuts the power after every call, on a disk that may lack the means to flush.
Count cut_everywhere(const Saves &saves, Flushes flushes)
{
    Count count;
    Disk disk(saves.folder, saves.file, texts[0], flushes);
    std::size_t saved = 0;
    for (std::size_t made = 0; made <= saves.steps.size(); ++made) {
        while (saved + 1 < saves.ends.size() && saves.ends[saved + 1] <= made)
            ++saved;
        for (const std::string &text : disk.found(saves.file)) {
            const bool in_between = made > saves.ends[saved] && text == texts[saved + 1];
            count.torn += text == texts[saved] || in_between ? 0 : 1;
            ++count.cuts;
        }
        if (made < saves.steps.size())
            disk.take(saves.steps[made]);
    }
    return count;
}

TEST(PowerCut, LeavesTheOldFileOrTheNewOneAndTheNewOneOnceItIsSaved)
{
    int runs = 0;
    int cuts = 0;
    for (int n = 0; n < 30; ++n) {
        const Saves saves = record_saves(n);
        if (saves.steps.empty())
            continue;  // a call that cannot be done by half
        ++runs;
        const Count count = cut_everywhere(saves, {.files = true, .folder = true});
        cuts += count.cuts;
        EXPECT_EQ(count.torn, 0) << "short count at call " << n;
    }
    EXPECT_GT(runs, 2);
    EXPECT_GT(cuts, 100);
}

TEST(PowerCut, WouldDoHarmWithoutEitherFlush)
{
    const Saves saves = record_saves(1000);
    ASSERT_FALSE(saves.steps.empty());
    EXPECT_GT(cut_everywhere(saves, {.files = false, .folder = true}).torn, 0);
    EXPECT_GT(cut_everywhere(saves, {.files = true, .folder = false}).torn, 0);
}

}  // namespace

}  // namespace teska_test
