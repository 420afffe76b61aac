// Record files when the process is killed or the power cut while they are saved
//
// The power cut is a model. What was written and not flushed may be on the disk whole, in half, as zeros or not at all;
// a name may lead to any file that it was given since its folder was flushed. What a disk can hold after each file call
// of a run of saves is built in every such way and looked at.
#include "faults/injector.h"

#include "support/child.h"
#include "support/folder.h"

#include "zuk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
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
    std::string seen;
    for (bool survived = false; !survived && seen.size() < 100;) {
        const Folder folder;
        folder.write("f", texts[0]);
        survived = Child("save a record file", std::to_string(seen.size()) + " " + folder.path("f")).wait() == 0;
        const std::string left = folder.read("f");
        EXPECT_TRUE(left == texts[0] || left == texts[1]) << seen.size() << ": " << left;
        seen += left == texts[0] ? '0' : '1';
        const Database db = loaded(folder.path("f"));
        zuk_add_item(db.get(), "t", "k", "3", "");
        EXPECT_EQ(zuk_flush(db.get()), 0) << seen << ": what was left behind is in the way";
    }
    // The old one up to the death at the rename, the new one from then on.
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()) && seen.front() == '0' && seen.back() == '1') << seen;
    EXPECT_TRUE(seen.size() > 6 && seen.size() < 100) << seen;
}

// ---- The power is cut

struct File {
    std::string flushed, rest;
};

// Which flushes reach the disk.
struct Flushes {
    bool files, folder;
};

// A disk with one file of interest.
class Disk
{
public:
    Disk(const std::string &path, const std::string &text, Flushes flushes) : path_(path), flushes_(flushes)
    {
        lead(path, std::make_shared<File>(File{text, ""}));
    }

    void take(const file_step &step)
    {
        std::shared_ptr<File> &file = open_[step.descriptor];
        if (step.call == file_step::open) {
            const bool folder = path_.rfind(step.name + "/", 0) == 0;
            if (!folder && !now_[step.name])
                lead(step.name, std::make_shared<File>());
            file = folder ? nullptr : now_[step.name];
        } else if (step.call == file_step::write) {
            file->rest += step.other;
        } else if (step.call == file_step::fsync && file && flushes_.files) {
            file->flushed += std::exchange(file->rest, "");
        } else if (step.call == file_step::fsync && !file && flushes_.folder) {
            leads_to_ = {leads_to_.back()};
        } else if (step.call == file_step::rename) {
            lead(step.other, std::exchange(now_[step.name], nullptr));
        } else if (step.call == file_step::unlink) {
            lead(step.name, nullptr);
        }
    }

    // Everything that the file may hold; "(none)" when it may be missing.
    std::set<std::string> found() const
    {
        std::set<std::string> all;
        for (const auto &file : leads_to_)
            if (file)
                for (const std::string &rest : {file->rest, file->rest.substr(0, file->rest.size() / 2),
                                                std::string(file->rest.size(), '\0'), std::string()})
                    all.insert(file->flushed + rest);
            else
                all.insert("(none)");
        return all;
    }

private:
    void lead(const std::string &name, const std::shared_ptr<File> &file)
    {
        now_[name] = file;
        if (name == path_)
            leads_to_.push_back(file);
    }

    std::string path_;
    Flushes flushes_;
    std::map<int, std::shared_ptr<File>> open_;  // by descriptor; none for the folder
    std::map<std::string, std::shared_ptr<File>> now_;
    std::vector<std::shared_ptr<File>> leads_to_;
};

// Two saves as file calls, and how many of them had been made when each save had returned.
struct Saves {
    std::string file;
    std::vector<file_step> steps;
    std::vector<std::size_t> ends = {0};
};

// The n-th file call transfers only half of what it should.
Saves record_saves(int n)
{
    const Folder folder;
    Saves saves{.file = folder.path("f"), .steps = {}};
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
    Disk disk(saves.file, texts[0], flushes);
    std::size_t saved = 0;
    for (std::size_t made = 0; made <= saves.steps.size(); ++made) {
        while (saved + 1 < saves.ends.size() && saves.ends[saved + 1] <= made)
            ++saved;
        for (const std::string &text : disk.found()) {
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
