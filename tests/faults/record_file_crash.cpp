// Record files when the process is killed or the power cut while they are saved
//
// The power cut is a model. What was written and not flushed may be on the disk whole, in half, as zeros or not at all;
// a name may lead to any file that it was given since its folder was flushed. What a disk can hold after each file call
// of a run of saves is built in every such way and looked at.
#include "support/child.h"
#include "support/folder.h"

#include "faults/injector.h"
#include "lopra.h"
#include "zuk.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace teska_test
{

namespace
{

const std::string texts[] = {"[t]\nk = the first of them\n", "[t]\nk = 2\n"};

using Database = std::unique_ptr<zuk_db, int (*)(zuk_db *)>;

Database loaded(const std::string &path)
{
    Database db(zuk_open(), zuk_close);
    EXPECT_NE(zuk_push_rfile(db.get(), path.c_str()), nullptr);
    return db;
}

// ---- The process is killed

// Brings a file to the second text, without a standard input, and dies at a file call: "<n> <path>".
const ChildRole saver("save a record file", [](const std::string &argument) {
    const std::string path = argument.substr(argument.find(' ') + 1);
    const bool is_new = access(path.c_str(), F_OK) != 0;
    Database db(zuk_open(), zuk_close);
    if (!is_new)
        db = loaded(path);
    zuk_add_item(db.get(), "t", "k", "2", "");
    close(0);  // so that descriptor 0 is one of those in use
    arm(fault_kind::files, std::stoi(argument), false, {.kill = true});
    const int result = is_new ? replace_utf8(path.c_str(), texts[1].data(), texts[1].size()) : zuk_flush(db.get());
    disarm();
    return result;
});

TEST(KilledSave, LeavesTheOldFileOrTheNewOneAndNothingAfterTheNextSave)
{
    for (const bool is_new : {false, true}) {
        std::string seen;
        for (bool survived = false; !survived && seen.size() < 100;) {
            const Folder folder;
            const std::string path = folder.path("f");
            if (!is_new)
                folder.write("f", texts[0]);
            survived = Child("save a record file", std::to_string(seen.size()) + " " + path).wait() == 0;
            const std::string old = is_new ? "" : texts[0];
            const std::string left = access(path.c_str(), F_OK) == 0 ? folder.read("f") : "";
            EXPECT_TRUE(left == old || left == texts[1]) << seen.size() << ": " << left;
            seen += left == old ? '0' : '1';
            EXPECT_EQ(replace_utf8(path.c_str(), "", 0), 0) << seen << ": what was left is in the way";
            EXPECT_EQ(folder.listing(), "f");
        }
        // The old one up to the death at the rename, the new one from then on.
        EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end())) << seen;
        EXPECT_EQ(seen.front(), '0');
        EXPECT_EQ(seen.back(), '1');
        EXPECT_GT(seen.size(), 5U) << seen;
        EXPECT_LT(seen.size(), 100U) << seen;
    }
}

// ---- The power is cut

// A save as file calls; nothing when it failed.
struct Save {
    std::string path;
    std::vector<file_step> steps = {};
};

// The n-th file call transfers only half of what it should.
Save record_save(int n)
{
    const Folder folder;
    Save save{.path = folder.path("f")};
    folder.write("f", texts[0]);
    const Database db = loaded(save.path);
    zuk_add_item(db.get(), "t", "k", "2", "");
    arm(fault_kind::files, n, false, {.error = EINTR, .partial = true});
    record_files(&save.steps);
    const int result = zuk_flush(db.get());
    record_files(nullptr);
    disarm();
    if (result != 0)
        save.steps.clear();
    return save;
}

struct File {
    std::string flushed, rest;
};

// Which flushes reach the disk.
struct Flushes {
    bool files, folder;
};

// Cuts the power after every call. Returns how often the file may hold neither the old text nor the new one, or the old
// one after the save had returned.
int torn(const Save &save, Flushes flushes)
{
    const auto old = std::make_shared<File>(File{texts[0], ""});
    std::map<std::string, std::shared_ptr<File>> named{{save.path, old}};
    std::map<int, std::shared_ptr<File>> open;  // by descriptor; none for the folder
    std::vector<std::shared_ptr<File>> found{old};
    int count = 0;
    for (const file_step &step : save.steps) {
        std::shared_ptr<File> &file = open[step.descriptor];
        if (step.call == file_step::open && save.path.rfind(step.name + "/", 0) == 0)
            file = nullptr;
        else if (step.call == file_step::open)
            file = named.emplace(step.name, std::make_shared<File>()).first->second;
        else if (step.call == file_step::write)
            file->rest += step.other;
        else if (step.call == file_step::fsync && file && flushes.files)
            file->flushed += std::exchange(file->rest, "");
        else if (step.call == file_step::fsync && !file && flushes.folder)
            found = {found.back()};
        else if (step.call == file_step::rename && step.other == save.path)
            found.push_back(named.at(step.name));
        else if (step.call == file_step::unlink && step.name == save.path)
            found.push_back(std::make_shared<File>());
        const bool returned = &step == &save.steps.back();
        for (const auto &one : found)
            for (const std::string &rest : {one->rest, one->rest.substr(0, one->rest.size() / 2),
                                            std::string(one->rest.size(), '\0'), std::string()}) {
                const std::string text = one->flushed + rest;
                count += text == texts[1] || (!returned && text == texts[0]) ? 0 : 1;
            }
    }
    return count;
}

TEST(PowerCut, LeavesTheOldFileOrTheNewOneAndTheNewOneOnceItIsSaved)
{
    int runs = 0;
    for (int n = 0; n < 30; ++n) {
        const Save save = record_save(n);  // a call that cannot be done by half fails
        runs += save.steps.size() > 5 ? 1 : 0;
        EXPECT_EQ(torn(save, {.files = true, .folder = true}), 0) << "short count at call " << n;
    }
    EXPECT_GT(runs, 2);
}

TEST(PowerCut, WouldDoHarmWithoutEitherFlush)
{
    const Save save = record_save(1000);
    EXPECT_GT(torn(save, {.files = false, .folder = true}), 0);
    EXPECT_GT(torn(save, {.files = true, .folder = false}), 0);
}

}  // namespace

}  // namespace teska_test
