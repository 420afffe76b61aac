// lopra - UTF-8 file calls, through the library's face
#include "lopra.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#if !defined(_WIN32)
#    include <sys/ioctl.h>
#    include <sys/stat.h>
#    include <sys/wait.h>
#    include <unistd.h>
#endif

namespace
{

namespace fs = std::filesystem;

constexpr int lock_flags = LOPRA_O_CREAT | LOPRA_O_EXCL | LOPRA_O_TRUNC | LOPRA_O_RDWR | LOPRA_O_TEMPORARY;

// Characters of one to four bytes.
constexpr const char *utf8_name = "gr\xc3\xbc\xc3\x9f \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x8e\xa8.txt";

bool present(const std::string &utf8) { return fs::exists(fs::path(std::u8string(utf8.begin(), utf8.end()))); }

void write(const char *name, const char *content) { std::ofstream(name, std::ios::binary) << content; }

std::string content(const char *name)
{
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

lopra_handle open_handle(const char *name, unsigned share = 0)
{
    return CreateFile_utf8(name, LOPRA_GENERIC_WRITE, share, nullptr, LOPRA_OPEN_ALWAYS, LOPRA_FLAG_NO_BUFFERING,
                           nullptr);
}

int open_lock(const char *name) { return open_utf8(name, lock_flags, LOPRA_S_IWRITE); }

// Each test works in an empty folder with one folder in it.
class Lopra : public testing::Test
{
protected:
    Lopra()
    {
        fs::create_directories("lopra_test_folder/sub");
        fs::current_path("lopra_test_folder");
    }

    ~Lopra() override
    {
        fs::current_path("..");
        fs::remove_all("lopra_test_folder");
    }
};

// Checks that a call failed, and why.
void failed(bool is_failure, int error)
{
    EXPECT_TRUE(is_failure);
    EXPECT_EQ(errno, error);
    errno = 0;
}

// Every call fails on the path with the same error.
void all_fail(const char *path, int error)
{
    errno = 0;
    lopra_stat32 status = {};
    failed(fopen_utf8(path, "rb") == nullptr, error);
    failed(open_utf8(path, LOPRA_O_RDONLY | LOPRA_O_TEMPORARY) == -1, error);
    failed(chmod_utf8(path, LOPRA_S_IREAD) == -1, error);
    failed(stat32_utf8(path, &status) == -1, error);
    failed(rename_utf8(path, "x") == -1, error);
    failed(remove_utf8(path) == -1, error);
    failed(CreateFile_utf8(path, LOPRA_GENERIC_READ, 0, nullptr, LOPRA_OPEN_EXISTING, LOPRA_FLAG_NORMAL, nullptr) ==
               LOPRA_INVALID_HANDLE,
           error);
}

TEST_F(Lopra, ReachesUtf8NamesWithBothSeparators)
{
    const std::string path = std::string("sub\\") + utf8_name;
    FILE *stream = fopen_utf8(path.c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    std::fputs("text\n", stream);
    std::fclose(stream);
    EXPECT_TRUE(present(std::string("sub/") + utf8_name));
    lopra_stat32 status = {};
    ASSERT_EQ(stat32_utf8(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 5);
    EXPECT_LT(std::abs(status.st_mtime32 - std::time(nullptr)), 60);
    EXPECT_EQ(close_utf8(open_utf8(path.c_str(), LOPRA_O_RDONLY | LOPRA_O_BINARY)), 0);
    EXPECT_EQ(CloseFile_utf8(open_handle(path.c_str())), 0);
    EXPECT_EQ(chmod_utf8(path.c_str(), LOPRA_S_IWRITE), 0);
    write("target", "");
    EXPECT_EQ(rename_utf8(path.c_str(), "sub\\..\\target"), 0);
    EXPECT_EQ(content("target"), "text\n");
    EXPECT_EQ(rename_utf8("target", utf8_name), 0);
    EXPECT_TRUE(present(utf8_name));
    EXPECT_EQ(remove_utf8((std::string(".\\") + utf8_name).c_str()), 0);
    EXPECT_FALSE(present(utf8_name));
}

TEST_F(Lopra, RefusesDirectoriesInEveryMode)
{
    errno = 0;
    for (const char *mode : {"r", "rb", "r+b", "wb", "ab"})
        failed(fopen_utf8("sub", mode) == nullptr, EISDIR);
    for (int flags : {LOPRA_O_RDONLY, LOPRA_O_RDWR, LOPRA_O_WRONLY, LOPRA_O_RDONLY | LOPRA_O_TEMPORARY})
        failed(open_utf8("sub", flags) == -1, EISDIR);
    failed(open_handle("sub") == LOPRA_INVALID_HANDLE, EISDIR);
    failed(remove_utf8("sub") == -1, EISDIR);
}

TEST_F(Lopra, SaysWhyItFails)
{
    all_fail("missing", ENOENT);
    all_fail(nullptr, EINVAL);
#if defined(_WIN32)
    for (const char *path : {"\xff", "a\xc3", "\xc0\xaf", "\xed\xa0\x80"})
        all_fail(path, EILSEQ);
#endif
    for (std::size_t length : {300u, 5000u, 100000u}) {
        const std::string path(length, 'n');
        EXPECT_EQ(fopen_utf8(path.c_str(), "wb"), nullptr);
        EXPECT_EQ(open_lock(path.c_str()), -1);
    }
    EXPECT_EQ(close_utf8(-1), -1);
    EXPECT_EQ(CloseFile_utf8(LOPRA_INVALID_HANDLE), -1);
    write("large", "");
    fs::resize_file("large", 0x7fffffffu);
    lopra_stat32 status = {};
    EXPECT_EQ(stat32_utf8("large", &status), 0);
    EXPECT_EQ(status.st_size, INT32_MAX);
    fs::resize_file("large", 0x80000000u);
    failed(stat32_utf8("large", &status) == -1, EOVERFLOW);
}

TEST_F(Lopra, PassesOnWhatTheContractNamesAndNothingElse)
{
    const char *const steps[][3] = {{"wb", "0123\n", "0123\n"},
                                    {"ab", "45", "0123\n45"},
                                    {"r+b", "X", "X123\n45"},
                                    {"w+b", "new", "new"},
                                    {"rt", "x", "new"}};
    for (const auto &[mode, text, expected] : steps) {
        FILE *stream = fopen_utf8("f", mode);
        ASSERT_NE(stream, nullptr) << mode;
        std::fputs(text, stream);
        std::fclose(stream);
        EXPECT_EQ(content("f"), expected) << mode;
    }
    errno = 0;
    for (const char *mode : {"", "q", "wbx", "rw", "r,ccs=UTF-8", "rb++++++"})
        failed(fopen_utf8("f", mode) == nullptr, EINVAL);
    const unsigned requests[][2] = {{0, 3}, {LOPRA_GENERIC_READ | 1, 3}, {LOPRA_GENERIC_WRITE, 2}};
    for (const auto &[access, disposition] : requests)
        failed(CreateFile_utf8("f", access, 0, nullptr, disposition, 0, nullptr) == LOPRA_INVALID_HANDLE, EINVAL);
    EXPECT_EQ(content("f"), "new");
}

TEST_F(Lopra, KeepsATemporaryFileUntilItIsClosed)
{
    const int first = open_lock("sub\\lock");
    EXPECT_EQ(chmod_utf8("sub\\lock", LOPRA_S_IREAD), 0);
    failed(open_lock("sub\\lock") == -1, EEXIST);
    const int other = open_lock("other");
    EXPECT_EQ(close_utf8(first), 0);
    EXPECT_FALSE(present("sub/lock"));
    EXPECT_TRUE(present("other"));
    EXPECT_EQ(close_utf8(other), 0);
}

TEST_F(Lopra, ExcludesASecondHandleUntilTheFirstIsClosed)
{
    for (unsigned share : {0u, 3u}) {
        const lopra_handle first = open_handle("lock", share);
        EXPECT_EQ(open_handle("lock"), LOPRA_INVALID_HANDLE) << share;
        EXPECT_EQ(CloseFile_utf8(open_handle("lock", 3)), share == 0 ? -1 : 0) << share;
        EXPECT_EQ(CloseFile_utf8(open_handle("other")), 0) << share;
        EXPECT_EQ(CloseFile_utf8(first), 0) << share;
    }
    EXPECT_TRUE(present("lock"));
}

#if !defined(_WIN32)

// Runs body in a forked process that ends in order, and gives its exit status.
template <class Body>
int in_child(Body body)
{
    const pid_t child = fork();
    if (child == 0)
        std::exit(body());
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

mode_t mode_of(const char *path)
{
    struct stat status = {};
    EXPECT_EQ(stat(path, &status), 0) << path;
    return status.st_mode & 07777;
}

TEST_F(Lopra, MapsPermissionsToReadableFilesUnderTheMask)
{
    const mode_t host_mask = umask(027);
    close_utf8(open_utf8("w", LOPRA_O_CREAT, LOPRA_S_IWRITE));
    close_utf8(open_utf8("r", LOPRA_O_CREAT, LOPRA_S_IREAD));
    EXPECT_EQ(mode_of("w"), 0640u);
    EXPECT_EQ(mode_of("r"), 0440u);
    EXPECT_EQ(chmod_utf8("r", LOPRA_S_IREAD | LOPRA_S_IWRITE), 0);
    EXPECT_EQ(mode_of("r"), 0640u);
    chmod("w", 0750);
    EXPECT_EQ(chmod_utf8("w", LOPRA_S_IREAD), 0);
    EXPECT_EQ(mode_of("w"), 0550u);
    EXPECT_EQ(umask(host_mask), 027u);
}

TEST_F(Lopra, OpensNothingThatProgramsInherit)
{
    FILE *stream = fopen_utf8("f", "w+b");
    const int opened[] = {fileno(stream), open_utf8("f", LOPRA_O_RDONLY), open_handle("f")};
    EXPECT_EQ(fcntl(opened[2], F_GETFL) & O_NONBLOCK, 0);
    for (int descriptor : opened)
        EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    std::fclose(stream);
    close_utf8(opened[1]);
    CloseFile_utf8(opened[2]);
}

TEST_F(Lopra, RemovesWhatAProcessLeavesOpenButNeverTheFilesOfOthers)
{
    const int mine = open_lock("mine");
    const auto child = [mine] { return open_lock("childs") >= 0 && open_lock("mine") < 0 && close_utf8(mine) == 0; };
    EXPECT_EQ(in_child(child), 1);
    EXPECT_FALSE(present("childs"));
    EXPECT_TRUE(present("mine"));
    const int here = open_lock("here");
    fs::current_path("sub");
    EXPECT_EQ(close_utf8(here), 0);
    fs::current_path("..");
    EXPECT_FALSE(present("here"));
    // Somebody puts another file in the place of ours.
    ASSERT_EQ(unlink("mine"), 0);
    write("mine", "theirs");
    EXPECT_EQ(close_utf8(mine), 0);
    EXPECT_EQ(content("mine"), "theirs");
}

TEST_F(Lopra, ExcludesOtherProcessesUntilTheHandleOrItsProcessEnds)
{
    const auto enters = [] { return CloseFile_utf8(open_handle("lock")) == 0; };
    const int held = open_handle("lock");
    EXPECT_EQ(in_child(enters), 0);
    // A child that holds a copy of the handle does not hold the exclusion.
    const auto close_and_enter = [held, enters] {
        return in_child([held] { return CloseFile_utf8(held); }) == 0 && enters();
    };
    EXPECT_EQ(in_child(close_and_enter), 1);
    CloseFile_utf8(held);
    EXPECT_EQ(in_child([] { return open_handle("lock") != LOPRA_INVALID_HANDLE; }), 1);
    EXPECT_TRUE(enters());
}

TEST_F(Lopra, OpensTerminalsExclusivelyAndWithoutWaiting)
{
    const int control = posix_openpt(O_RDWR | O_NOCTTY);
    if (control < 0 || grantpt(control) != 0 || unlockpt(control) != 0)
        GTEST_SKIP() << "this host has no pseudo terminals";
    const int handle = open_handle(ptsname(control));
    EXPECT_EQ(fcntl(handle, F_GETFL) & O_NONBLOCK, O_NONBLOCK);
    int closed_to_others = 0;
    EXPECT_EQ(ioctl(handle, TIOCGEXCL, &closed_to_others), 0);
    EXPECT_EQ(closed_to_others, 1);
    EXPECT_EQ(open_handle(ptsname(control)), LOPRA_INVALID_HANDLE);
    // Open to others again although a copy of the handle lives on.
    const int copy = dup(handle);
    EXPECT_EQ(CloseFile_utf8(handle), 0);
    EXPECT_EQ(ioctl(copy, TIOCGEXCL, &closed_to_others), 0);
    EXPECT_EQ(closed_to_others, 0);
    close(copy);
    close(control);
}

#endif

}  // namespace
