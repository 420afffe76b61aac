#include "flock.h"

#include "support/child.h"
#include "support/folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using teska_test::Child;
using teska_test::ChildRole;
using teska_test::Folder;

namespace
{

namespace fs = std::filesystem;

using Lock = std::unique_ptr<flock_rec, int (*)(flock_rec *)>;

constexpr int files = 200;

Lock take(const std::string &path) { return {flock_get(path.c_str()), flock_free}; }

// Half a minute at most.
void wait_for(const std::string &path)
{
    for (int i = 0; i < 6000 && !fs::exists(path); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

// Takes what it can of the locks 0 .. files - 1 in a folder, says so, and holds them until told to end.
// Returns their number.
int hold(const std::string &folder, const std::string &ready)
{
    std::vector<Lock> held;
    for (int i = 0; i < files; ++i)
        if (Lock lock = take(folder + "/" + std::to_string(i)))
            held.push_back(std::move(lock));
    std::ofstream(folder + "/" + ready) << "";
    wait_for(folder + "/end");
    return static_cast<int>(held.size());
}

const ChildRole first("first", [](const std::string &folder) { return hold(folder, "first"); });
const ChildRole second("second", [](const std::string &folder) { return hold(folder, "second"); });
const ChildRole third("third", [](const std::string &folder) { return hold(folder, "third"); });

}  // namespace

TEST(FlockGet, ExcludesASecondHolderInTheProcessUntilFreed)
{
    const Folder folder;
    for (int i = 0; i < 2; ++i) {
        const Lock lock = take(folder.path() + "\\lock");
        EXPECT_NE(lock, nullptr);
        for (int again = 0; again < 2; ++again)
            EXPECT_EQ(take(folder.path("lock")), nullptr) << "a failure leaves the file";
        const fs::perms writable = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
        EXPECT_EQ(fs::status(folder.path("lock")).permissions() & writable, fs::perms::none);
    }
    EXPECT_EQ(folder.listing(), "");
    EXPECT_EQ(flock_free(nullptr), 0);
}

TEST(FlockGet, LeavesEverythingAloneThatItHasNotMade)
{
    const Folder folder;
    const std::string mark = "TESKAShared lock\n";
    for (const std::string &content : {std::string(), std::string("x"), mark + "x", mark.substr(1)}) {
        folder.write("f", content);
        EXPECT_EQ(take(folder.path("f")), nullptr);
        EXPECT_EQ(folder.read("f"), content);
    }
    folder.write("f", mark);
    std::error_code no_links;
    fs::create_symlink("f", folder.path("link"), no_links);
    EXPECT_EQ(take(folder.path("link")) != nullptr, no_links.operator bool());
    EXPECT_EQ(folder.read("f"), mark);
    EXPECT_EQ(flock_get(nullptr), nullptr);
    std::string end = folder.path() + std::string(127 - folder.path().size(), '/') + "f";
    for (const std::string &path : {folder.path(), folder.path("no/file"), end})
        EXPECT_EQ(take(path), nullptr) << path;
    EXPECT_NE(take(folder.path("f")), nullptr) << "a lock file that nobody holds";
    end.erase(folder.path().size(), 1);
    EXPECT_NE(take(end), nullptr) << "127 characters";
}

TEST(FlockGet, ExcludesOtherProcessesAndHasOneWinnerWhenAHolderWasKilled)
{
    const Folder folder;
    Child killed("first", folder.path());
    wait_for(folder.path("first"));
    for (int i = 0; i < files; ++i)
        EXPECT_EQ(take(folder.path(std::to_string(i))), nullptr) << i;
    killed.kill();
    fs::remove(folder.path("first"));
    Child contenders[] = {{"first", folder.path()}, {"second", folder.path()}, {"third", folder.path()}};
    for (const char *name : {"first", "second", "third"})
        wait_for(folder.path(name));
    folder.write("end", "");
    int won = 0;
    for (Child &contender : contenders)
        won += contender.wait();
    EXPECT_EQ(won, files);
    EXPECT_EQ(folder.listing(), "end first second third");
}
