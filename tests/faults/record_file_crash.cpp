// Record files when the process is killed or the power cut while they are saved
#include "support/child.h"
#include "support/folder.h"

#include "faults/disk.h"
#include "lopra.h"
#include "zuk.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
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

// Saves, with the n-th file call doing only half of what it should; one that cannot be done by half fails. Returns how
// often the file may hold neither the old text nor the new one, or the old one after the save; -1 when it failed.
int torn(int n, Flushes flushes)
{
    const Folder folder;
    folder.write("f", texts[0]);
    const Database db = loaded(folder.path("f"));
    zuk_add_item(db.get(), "t", "k", "2", "");
    Disk disk(folder.path(), flushes);
    std::vector<file_step> steps;
    arm(fault_kind::files, n, false, {.error = EINTR, .partial = true});
    record_files(&steps);
    const int result = zuk_flush(db.get());
    record_files(nullptr);
    disarm();
    return result != 0 ? -1 : disk.torn(steps, {{"f", "(" + texts[1] + ")"}});
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

}  // namespace teska_test
