// The companions with every allocation failing in turn, and with a host that refuses to open
#include "faults/injector.h"

#include "lopra.h"
#include "wem.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace teska_test
{

namespace
{

constexpr const char *name = "companion_faults.tmp";
constexpr int temporary_lock = LOPRA_O_CREAT | LOPRA_O_EXCL | LOPRA_O_RDWR | LOPRA_O_TEMPORARY;

bool opened(int descriptor) { return descriptor >= 0 && close_utf8(descriptor) == 0; }

// A call, whether it succeeded (what it got is given back), and how many allocations it makes.
struct CompanionRow {
    const char *title;
    bool (*call)();
    int allocations;
};

const CompanionRow rows[] = {
    {"wem_lognam_set", [] { return wem_lognam_set("new", "N:") == 0 && wem_lognam_set("new", nullptr) == 0; }, 1},
    {"wem_zcreate",
     [] {
         wem_pool *pool = wem_zcreate(4, 64);
         return pool != nullptr && wem_zdestroy(pool) == 0;
     },
     1},
    {"fopen_utf8",
     [] {
         FILE *stream = fopen_utf8(name, "wb");
         return stream != nullptr && std::fclose(stream) == 0 && unlink(name) == 0;
     },
     1},
    {"open_utf8", [] { return opened(open_utf8(name, LOPRA_O_CREAT, LOPRA_S_IWRITE)) && unlink(name) == 0; }, 1},
    {"open_utf8 temporary", [] { return opened(open_utf8(name, temporary_lock, LOPRA_S_IWRITE)); }, 2},
    {"CreateFile_utf8",
     [] {
         const lopra_handle handle =
             CreateFile_utf8(name, LOPRA_GENERIC_WRITE, 0, nullptr, LOPRA_OPEN_ALWAYS, 0, nullptr);
         return handle != LOPRA_INVALID_HANDLE && CloseFile_utf8(handle) == 0 && unlink(name) == 0;
     },
     1},
    // These reach the host, which then misses the file.
    {"chmod_utf8", [] { return chmod_utf8(name, LOPRA_S_IWRITE) == -1 && errno == ENOENT; }, 1},
    {"stat32_utf8",
     [] {
         lopra_stat32 status;
         return stat32_utf8(name, &status) == -1 && errno == ENOENT;
     },
     1},
    {"rename_utf8", [] { return rename_utf8(name, name) == -1 && errno == ENOENT; }, 2},
    {"remove_utf8", [] { return remove_utf8(name) == -1 && errno == ENOENT; }, 1},
};

TEST(Companions, GiveTheFailureValueAndKeepNothingWhenMemoryIsShort)
{
    unlink(name);
    for (const CompanionRow &row : rows) {
        for (int n = 0; n < row.allocations; ++n) {
            track_memory();
            errno = 0;
            arm(fault_kind::memory, n, false);
            const bool succeeded = row.call();
            const int error = errno;
            EXPECT_EQ(disarm(), 1) << row.title;
            EXPECT_FALSE(succeeded) << row.title;
            EXPECT_EQ(error, ENOMEM) << row.title;
            EXPECT_EQ(live_blocks(), 0) << row.title;
            EXPECT_NE(access(name, F_OK), 0) << row.title;
        }
        arm(fault_kind::memory, row.allocations, false);
        EXPECT_TRUE(row.call()) << row.title << ": " << std::strerror(errno);
        EXPECT_EQ(disarm(), 0) << row.title;
    }
}

TEST(Companions, KeepTheTableOfNamesWhenMemoryIsShort)
{
    char text[WEM_NAME_SIZE];
    ASSERT_EQ(wem_lognam_set("old", "O:"), 0);
    arm(fault_kind::memory, 0, true);
    EXPECT_EQ(wem_lognam_set("new", "N:"), -1);
    EXPECT_EQ(wem_lognam_set("OLD", "P:"), 0);
    EXPECT_EQ(disarm(), 1);
    EXPECT_EQ(lognam("new", text), 0);
    EXPECT_EQ(lognam("old", text), 1);
    EXPECT_STREQ(text, "P:");
    wem_lognam_clear();
}

TEST(Companions, KeepAPoolWhenMemoryIsShort)
{
    track_memory();
    wem_pool *pool = wem_zcreate(4, 32);
    void *one = wem_zalloc(pool);
    void *two = wem_zalloc(pool);
    arm(fault_kind::memory, 0, true);
    EXPECT_EQ(wem_zalloc(pool), nullptr);
    wem_zfree(pool, one);
    EXPECT_EQ(wem_zalloc(pool), one);
    EXPECT_EQ(wem_zalloc(pool), nullptr);
    EXPECT_EQ(disarm(), 2);
    EXPECT_NE(wem_zalloc(pool), nullptr);
    EXPECT_NE(two, nullptr);
    wem_zdestroy(pool);
    EXPECT_EQ(live_blocks(), 0);
}

TEST(Companions, KeepNothingWhenTheHostRefusesToOpen)
{
    track_memory();
    for (int (*call)() : {+[] { return open_utf8(name, temporary_lock, LOPRA_S_IWRITE); },
                          +[] { return open_utf8(name, LOPRA_O_CREAT, LOPRA_S_IWRITE); },
                          +[] { return fopen_utf8(name, "wb") != nullptr ? 0 : -1; }}) {
        arm(fault_kind::files, 0, false);
        EXPECT_EQ(call(), -1);
        EXPECT_EQ(errno, EIO);
        EXPECT_EQ(disarm(), 1);
    }
    EXPECT_EQ(live_blocks(), 0);
}

}  // namespace

}  // namespace teska_test
