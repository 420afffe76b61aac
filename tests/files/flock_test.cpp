#include "flock.h"

#include "support/child.h"
#include "support/test.h"

#include <chrono>

using teska_test::Child, teska_test::ChildRole, teska_test::Folder;

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

// Takes what it can of the locks 0 .. files - 1 beside a file, makes that, and holds them until there is an "end".
// Returns their number.
const ChildRole holder("hold", [](const std::string &ready) {
    const std::string folder = ready.substr(0, ready.rfind('/') + 1);
    std::fclose(stdin);  // so that the first lock gets descriptor 0
    std::vector<Lock> held;
    for (int i = 0; i < files; ++i)
        if (Lock lock = take(folder + std::to_string(i)))
            held.push_back(std::move(lock));
    std::ofstream(ready) << "";
    wait_for(folder + "end");
    return static_cast<int>(held.size());
});

}  // namespace

TEST(FlockGet, ExcludesASecondHolderInTheProcessUntilFreedWithPathsOf127Characters)
{
    const Folder folder;
    Lock lock = take(folder.path() + "\\lock");
    EXPECT_NE(lock, nullptr);
    EXPECT_EQ(take(folder.path("lock")), nullptr);
    EXPECT_EQ(fs::status(folder.path("lock")).permissions() & fs::perms(0222), fs::perms::none);
    lock.reset();
    EXPECT_EQ(folder.listing(), "");
    std::string longest = folder.path() + std::string(126 - folder.path().size(), '/') + "f";
    EXPECT_NE(take(longest), nullptr);
    for (const std::string &path : {folder.path(), folder.path("no/file"), longest.insert(folder.path().size(), "/")})
        EXPECT_EQ(take(path), nullptr) << path;
}

TEST(FlockGet, ExcludesOtherProcessesAndHasOneWinnerWhenAHolderWasKilled)
{
    const Folder folder;
    Child killed("hold", folder.path("first"));
    wait_for(folder.path("first"));
    for (int i = 0; i < files; ++i)
        EXPECT_EQ(take(folder.path(std::to_string(i))), nullptr) << i;
    killed.kill();
    fs::remove(folder.path("first"));
    Child first("hold", folder.path("first")), second("hold", folder.path("second"));
    for (const char *name : {"first", "second"})
        wait_for(folder.path(name));
    folder.write("end", "");
    const int won = first.wait();
    EXPECT_EQ(won + second.wait(), files);
    EXPECT_EQ(folder.listing(), "end first second");
}
