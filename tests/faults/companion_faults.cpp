// Lock files with a host that fails, and a host that refuses to open
#include "support/child.h"

#include "faults/sweep.h"
#include "lopra.h"

#include <unistd.h>

using namespace teska_test;

namespace
{

// Takes the lock of a path and dies at a file call, or with the lock: "<n> <path>". Returns 0 in the second case.
const ChildRole locker("take a lock", [](const std::string &argument) {
    const std::string path = argument.substr(argument.find(' ') + 1);
    arm(fault_kind::files, std::stoi(argument), false, {.kill = true});
    const bool locked = lock_utf8(path.c_str()) >= 0;
    return disarm() == 0 && locked ? 0 : 1;  // the end of a role closes nothing
});

TEST(LockFile, IsFreeTheMomentItsHolderDiesWhereverThatIs)
{
    const Folder folder;
    const std::string path = folder.path("lock");
    int n = 0;
    for (int code = 1; code != 0 && n < 100; ++n) {
        SCOPED_TRACE(n);
        code = Child("take a lock", std::to_string(n) + " " + path).wait();
        EXPECT_TRUE(code == 0 || code == 137) << code;
        const int descriptor = lock_utf8(path.c_str());
        EXPECT_GE(descriptor, 0);
        EXPECT_EQ(folder.listing(), "lock") << "what was left under another name is gone";
        EXPECT_EQ(close_utf8(descriptor), 0);
        EXPECT_EQ(folder.listing(), "");
    }
    EXPECT_GT(n, 4);  // create, mark, link, remove the other name
    EXPECT_LT(n, 100);
}

TEST(LockFile, HoldsWithEveryFileCallFailingOrIsNotThere)
{
    const std::pair<file_fault, int> faults[] = {{{.error = ENOSPC}, 4},  // no mark, no link, no look at it, no removal
                                                 {{.error = ENOSPC, .partial = true}, 4},  // half a mark
                                                 {{.error = EPERM}, 4},                    // a host without links
                                                 {{.error = EINTR}, 5}};
    for (const auto &[fault, harmless] : faults) {
        int survived = 0;
        each_fault(fault_kind::files, false, fault, [&](const auto &fire) {
            const Folder folder;
            const std::string path = folder.path("lock");
            fire();
            const int descriptor = lock_utf8(path.c_str());
            const bool fired = disarm() > 0;
            survived += fired && descriptor >= 0;
            EXPECT_EQ(access(path.c_str(), F_OK) == 0, descriptor >= 0);
            const int second = lock_utf8(path.c_str());
            EXPECT_EQ(second < 0 ? errno : close_utf8(second), descriptor >= 0 ? EEXIST : 0);
            EXPECT_EQ(close_utf8(descriptor) == 0, descriptor >= 0);
            EXPECT_NE(access(path.c_str(), F_OK), 0);
            return fired;
        });
        EXPECT_EQ(survived, harmless) << fault.error;
    }
}

TEST(Companions, KeepNothingOfWhatTheHostRefuses)
{
    int all_refused = 0;
    for (const fault_kind kind : {fault_kind::memory, fault_kind::files})
        each_fault(kind, false, {}, [&](const auto &fire) {
            const Folder folder;
            const std::string path = folder.path("f");
            const int lowest = dup(2);
            close(lowest);
            track_memory();
            fire();
            int refused = 0;
            const auto given = [&](bool opened) {
                refused += !opened;
                EXPECT_TRUE(opened || errno == (kind == fault_kind::memory ? ENOMEM : EIO)) << errno;
                return opened;
            };
            const int temporary =
                open_utf8(path.c_str(), LOPRA_O_CREAT | LOPRA_O_RDWR | LOPRA_O_TEMPORARY, LOPRA_S_IWRITE);
            EXPECT_GE(temporary, -1);
            if (given(temporary >= 0))
                close_utf8(temporary);
            FILE *const stream = fopen_utf8(path.c_str(), "wb");
            if (given(stream))
                std::fclose(stream);
            const lopra_handle handle =
                CreateFile_utf8(path.c_str(), LOPRA_GENERIC_WRITE, 0, nullptr, LOPRA_OPEN_ALWAYS, 0, nullptr);
            if (given(handle != LOPRA_INVALID_HANDLE))
                CloseFile_utf8(handle);
            const bool fired = disarm() > 0;
            EXPECT_LE(refused, fired);
            all_refused += refused;
            EXPECT_EQ(live_blocks(), 0);
            EXPECT_EQ(dup(2), lowest);
            close(lowest);
            return fired;
        });
    EXPECT_GT(all_refused, 9);
}

}  // namespace
