// Record files with every file call failing in turn, and saves that are killed or lose power
#include "support/child.h"
#include "support/folder.h"

#include "faults/disk.h"
#include "faults/sweep.h"
#include "lopra.h"
#include "zuk.h"

#include <unistd.h>

#include <algorithm>

using namespace teska_test;

namespace
{

const char *const old_text = "[patches]\nblack = 1\n", *const new_text = "[patches]\nblack = 2\n";

// A file with an item, loaded and changed but not saved.
struct Setup {
    Setup()
    {
        folder.write("f", old_text);
        zuk_push_rfile(db.get(), path.c_str());
        zuk_add_item(db.get(), "patches", "black", "2", "");
    }

    Folder folder;
    std::string path = folder.path("f");
    std::shared_ptr<zuk_db> db{zuk_open(), zuk_close};
};

// ---- File calls

// A call that replaces the file, or reads it, and what the file then holds.
struct Operation {
    const char *name;
    bool (*call)(Setup &setup);
    const char *result;
    int harmless;  // interrupted calls that are made again or do not count: a read after the end, a close
};

const Operation operations[] = {
    {"flush", [](Setup &s) { return zuk_flush(s.db.get()) == 0; }, new_text, 7},
    {"create", [](Setup &s) { return zuk_create_rfile(s.db.get(), s.path.c_str()) != nullptr; }, "", 6},
    {"push",
     [](Setup &s) {
         char value[ZUK_VALUE_SIZE] = "1";
         const bool pushed = zuk_push_rfile(s.db.get(), s.path.c_str()) != nullptr;
         EXPECT_TRUE(!pushed || (zuk_search(s.db.get(), "patches", "black", value) == 0 && *value == '1'));
         return pushed;
     },
     old_text, 2},
};

// Every call failing in turn. Returns how many failures made no difference.
int sweep(const Operation &operation, bool sticky, file_fault fault)
{
    SCOPED_TRACE(operation.name);
    int survived = 0;
    const int rounds = each_fault(fault_kind::files, sticky, fault, [&](const auto &fire) {
        Setup setup;
        std::vector<file_step> steps;
        const std::ptrdiff_t descriptors = open_descriptors();
        record_files(&steps);
        fire();
        const bool succeeded = operation.call(setup);
        const bool fired = disarm() > 0;
        survived += fired && succeeded ? 1 : 0;
        record_files(nullptr);
        std::string made;
        for (const file_step &step : steps)
            made += "owfcru"[step.call];
        const bool renamed = made.find('r') != std::string::npos;
        EXPECT_TRUE(succeeded || fired);
        // Saved means: written, flushed, renamed, the folder flushed.
        const bool saved = made.find("frf") != std::string::npos || made.find("frcf") != std::string::npos;
        EXPECT_TRUE(!succeeded || operation.result == old_text || saved) << made;
        EXPECT_EQ(setup.folder.read("f"), renamed ? operation.result : old_text);
        EXPECT_EQ(open_descriptors(), descriptors);
        EXPECT_TRUE(sticky || setup.folder.listing() == "f") << setup.folder.listing();
        EXPECT_TRUE(operation.call(setup)) << "fails when tried again";
        EXPECT_EQ(setup.folder.read("f"), operation.result);
        return fired;
    });
    EXPECT_GT(rounds, 4);
    return survived;
}

TEST(RecordFile, SurvivesEveryFailingFileCall)
{
    for (const Operation &operation : operations) {
        for (const bool sticky : {false, true})
            for (const file_fault &fault :
                 {file_fault{.error = ENOSPC}, {.error = EIO}, {.error = EIO, .partial = true}})
                sweep(operation, sticky, fault);
        EXPECT_EQ(sweep(operation, false, {.error = EINTR}), operation.harmless) << operation.name;
    }
}

// ---- The process is killed

// Brings a file to the new text, without a standard input, and dies at a file call: "<n> <path>".
const ChildRole saver("save a record file", [](const std::string &argument) {
    const std::string path = argument.substr(argument.find(' ') + 1), text = new_text;
    const bool is_new = access(path.c_str(), F_OK) != 0;
    const std::shared_ptr<zuk_db> db(zuk_open(), zuk_close);
    if (!is_new)
        zuk_push_rfile(db.get(), path.c_str());
    zuk_add_item(db.get(), "patches", "black", "2", "");
    close(0);  // so that descriptor 0 is one of those in use
    arm(fault_kind::files, std::stoi(argument), false, {.kill = true});
    const int result = is_new ? replace_utf8(path.c_str(), text.data(), text.size()) : zuk_flush(db.get());
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
                folder.write("f", old_text);
            survived = Child("save a record file", std::to_string(seen.size()) + " " + path).wait() == 0;
            const std::string old = is_new ? "" : old_text;
            const std::string left = access(path.c_str(), F_OK) == 0 ? folder.read("f") : "";
            EXPECT_TRUE(left == old || left == new_text) << seen.size() << ": " << left;
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

// Saves, with the n-th file call doing only half of what it should; one that cannot be done by half fails. Returns how
// often the file may hold neither the old text nor the new one, or the old one after the save; -1 when it failed.
int torn(int n, Flushes flushes)
{
    const Setup setup;
    Disk disk(setup.folder.path(), flushes);
    std::vector<file_step> steps;
    arm(fault_kind::files, n, false, {.error = EINTR, .partial = true});
    record_files(&steps);
    const int result = zuk_flush(setup.db.get());
    record_files(nullptr);
    disarm();
    return result != 0 ? -1 : disk.torn(steps, {{"f", std::string("(") + new_text + ")"}});
}

TEST(PowerCut, LeavesTheOldFileOrTheNewOneAndTheNewOneOnceItIsSaved)
{
    int whole = 0;
    for (int n = 0; n < 30; ++n) {
        const int count = torn(n, {.files = true, .folders = true});
        EXPECT_LE(count, 0) << "short count at call " << n;
        whole += count == 0 ? 1 : 0;
    }
    EXPECT_GT(whole, 2);
    EXPECT_GT(torn(1000, {.files = false, .folders = true}), 0) << "it would do harm without either flush";
    EXPECT_GT(torn(1000, {.files = true, .folders = false}), 0);
}

}  // namespace
