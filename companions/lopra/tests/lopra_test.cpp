// lopra - UTF-8 file calls, through the library's face
#include "lopra.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

#if !defined(_WIN32)
#    include <fcntl.h>
#    include <sys/ioctl.h>
#    include <sys/stat.h>
#    include <sys/wait.h>
#    include <unistd.h>
#endif

namespace
{

namespace fs = std::filesystem;

constexpr int temporary_lock = LOPRA_O_CREAT | LOPRA_O_EXCL | LOPRA_O_TRUNC | LOPRA_O_RDWR | LOPRA_O_TEMPORARY;

// Two, three and four bytes a character.
constexpr const char *utf8_name = "gr\xc3\xbc\xc3\x9f \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x8e\xa8.txt";

// Each test works in an empty folder of its own, which is the current one.
class Lopra : public testing::Test
{
protected:
    Lopra()
        : before(fs::current_path()),
          folder(before / ("lopra_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name())))
    {
        fs::remove_all(folder);
        fs::create_directories(folder / "sub");
        fs::current_path(folder);
    }

    ~Lopra() override
    {
        fs::current_path(before);
        fs::remove_all(folder);
    }

    static bool present(const char *utf8) { return fs::exists(fs::path(reinterpret_cast<const char8_t *>(utf8))); }

    static void write(const std::string &name, const std::string &content)
    {
        std::ofstream(name, std::ios::binary) << content;
    }

    static std::string content(const char *name)
    {
        std::ifstream stream(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    static lopra_handle exclusive(const char *name, unsigned share = 0)
    {
        return CreateFile_utf8(name, LOPRA_GENERIC_WRITE, share, nullptr, LOPRA_OPEN_ALWAYS, LOPRA_FLAG_NO_BUFFERING,
                               nullptr);
    }

private:
    fs::path before;
    fs::path folder;
};

TEST_F(Lopra, ReachesUtf8NamesAndBothSeparators)
{
    const std::string path = std::string("sub\\") + utf8_name;
    FILE *stream = fopen_utf8(path.c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    std::fputs("text\n", stream);
    std::fclose(stream);
    EXPECT_TRUE(present((std::string("sub/") + utf8_name).c_str()));

    lopra_stat32 status = {};
    ASSERT_EQ(stat32_utf8(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 5);
    EXPECT_LT(std::abs(status.st_mtime32 - std::time(nullptr)), 60);

    const int descriptor = open_utf8(path.c_str(), LOPRA_O_RDONLY | LOPRA_O_BINARY);
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(close_utf8(descriptor), 0);
    const lopra_handle handle = exclusive(path.c_str());
    ASSERT_NE(handle, LOPRA_INVALID_HANDLE);
    EXPECT_EQ(CloseFile_utf8(handle), 0);
    EXPECT_EQ(chmod_utf8(path.c_str(), LOPRA_S_IWRITE), 0);
    EXPECT_EQ(rename_utf8(path.c_str(), utf8_name), 0);
    EXPECT_TRUE(present(utf8_name));
    EXPECT_EQ(remove_utf8((std::string(".\\") + utf8_name).c_str()), 0);
    EXPECT_FALSE(present(utf8_name));
}

TEST_F(Lopra, RefusesDirectoriesWithEisdir)
{
    for (const char *mode : {"r", "rb", "r+b", "wb", "ab"}) {
        errno = 0;
        EXPECT_EQ(fopen_utf8("sub", mode), nullptr) << mode;
        EXPECT_EQ(errno, EISDIR) << mode;
    }
    for (int flags : {LOPRA_O_RDONLY, LOPRA_O_RDWR, LOPRA_O_WRONLY, LOPRA_O_RDONLY | LOPRA_O_TEMPORARY}) {
        errno = 0;
        EXPECT_EQ(open_utf8("sub", flags), -1) << flags;
        EXPECT_EQ(errno, EISDIR) << flags;
    }
    errno = 0;
    EXPECT_EQ(exclusive("sub"), LOPRA_INVALID_HANDLE);
    EXPECT_EQ(errno, EISDIR);
    errno = 0;
    EXPECT_EQ(remove_utf8("sub"), -1);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(present("sub"));
    lopra_stat32 status = {};
    EXPECT_EQ(stat32_utf8("sub", &status), 0);
    EXPECT_EQ(status.st_mode & 0170000, 0040000);
}

TEST_F(Lopra, FailsCleanlyOnMissingFilesAndNullPaths)
{
    struct {
        const char *path;
        int error;
    } const rows[] = {{"missing", ENOENT}, {nullptr, EINVAL}};
    for (const auto &row : rows) {
        const auto failed = [&row](bool is_failure) {
            EXPECT_TRUE(is_failure);
            EXPECT_EQ(errno, row.error);
            errno = 0;
        };
        errno = 0;
        lopra_stat32 status = {-5, -6, -7};
        failed(fopen_utf8(row.path, "rb") == nullptr);
        failed(open_utf8(row.path, LOPRA_O_RDONLY) == -1);
        failed(open_utf8(row.path, LOPRA_O_RDONLY | LOPRA_O_TEMPORARY) == -1);
        failed(chmod_utf8(row.path, LOPRA_S_IREAD) == -1);
        failed(stat32_utf8(row.path, &status) == -1);
        failed(rename_utf8(row.path, "x") == -1);
        failed(remove_utf8(row.path) == -1);
        failed(CreateFile_utf8(row.path, LOPRA_GENERIC_READ, 0, nullptr, LOPRA_OPEN_EXISTING, LOPRA_FLAG_NORMAL,
                               nullptr) == LOPRA_INVALID_HANDLE);
        EXPECT_EQ(status.st_size, -5);
    }
    EXPECT_EQ(rename_utf8("missing", nullptr), -1);
    EXPECT_EQ(close_utf8(-1), -1);
    EXPECT_EQ(CloseFile_utf8(LOPRA_INVALID_HANDLE), -1);
}

TEST_F(Lopra, RefusesModesAndRequestsOutsideTheContract)
{
    write("keep", "content");
    for (const char *mode : {"", "q", "wbx", "rw", "r,ccs=UTF-8", "rb++++++"}) {
        errno = 0;
        EXPECT_EQ(fopen_utf8("keep", mode), nullptr) << mode;
        EXPECT_EQ(errno, EINVAL) << mode;
    }
    EXPECT_EQ(fopen_utf8("keep", nullptr), nullptr);
    const struct {
        unsigned access;
        unsigned disposition;
    } requests[] = {{0, 3}, {1, 3}, {LOPRA_GENERIC_READ | 1, 3}, {LOPRA_GENERIC_WRITE, 2}, {LOPRA_GENERIC_WRITE, 5}};
    for (const auto &r : requests) {
        errno = 0;
        EXPECT_EQ(CreateFile_utf8("keep", r.access, 0, nullptr, r.disposition, 0, nullptr), LOPRA_INVALID_HANDLE);
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(content("keep"), "content");
}

TEST_F(Lopra, PassesStreamModesOn)
{
    const auto put = [](const char *mode, const char *text) {
        FILE *stream = fopen_utf8("f", mode);
        ASSERT_NE(stream, nullptr) << mode;
        std::fputs(text, stream);
        std::fclose(stream);
    };
    put("wb", "0123\n");
    put("ab", "45");
    put("r+b", "X");
    EXPECT_EQ(content("f"), "X123\n45");
    put("w+b", "new");
    EXPECT_EQ(content("f"), "new");
    FILE *stream = fopen_utf8("f", "rt");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(std::fgetc(stream), 'n');
    std::fputc('x', stream);
    std::fclose(stream);
    EXPECT_EQ(content("f"), "new");
}

TEST_F(Lopra, ReplacesTheTargetOfARename)
{
    write("new", "new");
    write("old", "old");
    EXPECT_EQ(rename_utf8("new", "sub\\..\\old"), 0);
    EXPECT_EQ(content("old"), "new");
    EXPECT_FALSE(present("new"));
}

TEST_F(Lopra, RefusesSizesThatDoNotFit)
{
    write("large", "");
    fs::resize_file("large", 0x7fffffffu);
    lopra_stat32 status = {};
    EXPECT_EQ(stat32_utf8("large", &status), 0);
    EXPECT_EQ(status.st_size, INT32_MAX);
    fs::resize_file("large", 0x80000000u);
    errno = 0;
    EXPECT_EQ(stat32_utf8("large", &status), -1);
    EXPECT_EQ(errno, EOVERFLOW);
}

TEST_F(Lopra, LeavesLongPathsToTheHost)
{
    for (std::size_t length : {300u, 5000u, 100000u}) {
        const std::string path(length, 'n');
        errno = 0;
        EXPECT_EQ(fopen_utf8(path.c_str(), "wb"), nullptr);
        EXPECT_NE(errno, 0);
        EXPECT_EQ(open_utf8(path.c_str(), temporary_lock, LOPRA_S_IWRITE), -1);
        EXPECT_EQ(exclusive(path.c_str()), LOPRA_INVALID_HANDLE);
    }
    std::string deep = "sub";
    for (int i = 0; i < 50; ++i)
        deep += "\\.\\..\\sub";
    EXPECT_EQ(open_utf8((deep + "\\x\\y").c_str(), LOPRA_O_RDONLY), -1);
}

TEST_F(Lopra, KeepsATemporaryFileUntilItIsClosed)
{
    for (int round = 0; round < 3; ++round) {
        const int first = open_utf8("sub\\lock", temporary_lock, LOPRA_S_IWRITE);
        ASSERT_GE(first, 0);
        EXPECT_EQ(chmod_utf8("sub\\lock", LOPRA_S_IREAD), 0);
        errno = 0;
        EXPECT_EQ(open_utf8("sub\\lock", temporary_lock, LOPRA_S_IWRITE), -1);
        EXPECT_EQ(errno, EEXIST);
        const int other = open_utf8("other", temporary_lock, LOPRA_S_IWRITE);
        ASSERT_GE(other, 0);
        EXPECT_EQ(close_utf8(first), 0);
        EXPECT_FALSE(present("sub/lock"));
        EXPECT_TRUE(present("other"));
        EXPECT_EQ(close_utf8(other), 0);
        EXPECT_FALSE(present("other"));
    }
}

TEST_F(Lopra, ExcludesASecondHandleUntilTheFirstIsClosed)
{
    const lopra_handle first = exclusive("lock");
    ASSERT_NE(first, LOPRA_INVALID_HANDLE);
    EXPECT_EQ(exclusive("lock"), LOPRA_INVALID_HANDLE);
    EXPECT_EQ(exclusive("lock", 3), LOPRA_INVALID_HANDLE);
    const lopra_handle elsewhere = exclusive("other");
    EXPECT_NE(elsewhere, LOPRA_INVALID_HANDLE);
    EXPECT_EQ(CloseFile_utf8(elsewhere), 0);
    EXPECT_EQ(CloseFile_utf8(first), 0);

    const lopra_handle one = exclusive("lock", 3);
    const lopra_handle two = exclusive("lock", 3);
    EXPECT_NE(one, LOPRA_INVALID_HANDLE);
    EXPECT_NE(two, LOPRA_INVALID_HANDLE);
    EXPECT_EQ(exclusive("lock"), LOPRA_INVALID_HANDLE);
    EXPECT_EQ(CloseFile_utf8(one), 0);
    EXPECT_EQ(CloseFile_utf8(two), 0);
    const lopra_handle again = exclusive("lock");
    EXPECT_NE(again, LOPRA_INVALID_HANDLE);
    EXPECT_EQ(CloseFile_utf8(again), 0);
    EXPECT_TRUE(present("lock"));
}

#if defined(_WIN32)

TEST_F(Lopra, RefusesPathsThatAreNotUtf8)
{
    for (const char *path : {"\xff", "a\xc3", "\xc0\xaf", "\xed\xa0\x80"}) {
        errno = 0;
        EXPECT_EQ(fopen_utf8(path, "wb"), nullptr);
        EXPECT_EQ(errno, EILSEQ);
        EXPECT_EQ(open_utf8(path, LOPRA_O_CREAT | LOPRA_O_RDWR, LOPRA_S_IWRITE), -1);
        EXPECT_EQ(exclusive(path), LOPRA_INVALID_HANDLE);
    }
}

#else

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
    const int flags = LOPRA_O_CREAT | LOPRA_O_RDWR;
    close_utf8(open_utf8("w", flags, LOPRA_S_IWRITE));
    close_utf8(open_utf8("r", flags, LOPRA_S_IREAD));
    EXPECT_EQ(mode_of("w"), 0640u);
    EXPECT_EQ(mode_of("r"), 0440u);
    EXPECT_EQ(chmod_utf8("w", LOPRA_S_IREAD), 0);
    EXPECT_EQ(mode_of("w"), 0440u);
    EXPECT_EQ(chmod_utf8("w", LOPRA_S_IREAD | LOPRA_S_IWRITE), 0);
    EXPECT_EQ(mode_of("w"), 0640u);
    chmod("w", 0750);
    EXPECT_EQ(chmod_utf8("w", LOPRA_S_IREAD), 0);
    EXPECT_EQ(mode_of("w"), 0550u);
    EXPECT_EQ(umask(host_mask), 027u);
}

TEST_F(Lopra, OpensNothingThatProgramsInherit)
{
    FILE *stream = fopen_utf8("f", "w+b");
    const int descriptor = open_utf8("f", LOPRA_O_RDONLY);
    const int handle = exclusive("f");
    for (int d : {fileno(stream), descriptor, handle})
        EXPECT_EQ(fcntl(d, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(fcntl(handle, F_GETFL) & O_NONBLOCK, 0);
    CloseFile_utf8(handle);
    close_utf8(descriptor);
    std::fclose(stream);
}

TEST_F(Lopra, RemovesWhatAProcessLeavesOpenButNeverItsParentsFiles)
{
    const int mine = open_utf8("mine", temporary_lock, LOPRA_S_IWRITE);
    ASSERT_GE(mine, 0);
    EXPECT_EQ(in_child([mine] {
                  const bool opened = open_utf8("childs", temporary_lock, LOPRA_S_IWRITE) >= 0;
                  const bool refused = open_utf8("mine", temporary_lock, LOPRA_S_IWRITE) < 0;
                  const bool moved = chdir("sub") == 0;
                  return opened && refused && moved && close_utf8(mine) == 0 ? 0 : 1;
              }),
              0);
    EXPECT_FALSE(present("childs"));
    EXPECT_TRUE(present("mine"));
    // A file that somebody else put in the place of ours is not ours to remove.
    ASSERT_EQ(unlink("mine"), 0);
    write("mine", "theirs");
    EXPECT_EQ(close_utf8(mine), 0);
    EXPECT_EQ(content("mine"), "theirs");
}

TEST_F(Lopra, RemovesATemporaryFileAfterAChangeOfFolder)
{
    const int descriptor = open_utf8("here", temporary_lock, LOPRA_S_IWRITE);
    ASSERT_EQ(chdir("sub"), 0);
    EXPECT_EQ(close_utf8(descriptor), 0);
    ASSERT_EQ(chdir(".."), 0);
    EXPECT_FALSE(present("here"));
}

TEST_F(Lopra, ExcludesOtherProcesses)
{
    const auto enters = [] {
        const int handle = exclusive("lock");
        return handle == LOPRA_INVALID_HANDLE ? 1 : CloseFile_utf8(handle);
    };
    const int held = exclusive("lock");
    EXPECT_EQ(in_child(enters), 1);
    // A child that outlives the close keeps a copy of the handle, but not the exclusion.
    int gate[2];
    ASSERT_EQ(pipe(gate), 0);
    const pid_t child = fork();
    if (child == 0) {
        char byte;
        close(gate[1]);
        _exit(static_cast<int>(read(gate[0], &byte, 1)));
    }
    EXPECT_EQ(CloseFile_utf8(held), 0);
    EXPECT_EQ(in_child(enters), 0);
    close(gate[0]);
    close(gate[1]);
    waitpid(child, nullptr, 0);
    // A lock ends with its process, closed or not.
    EXPECT_EQ(in_child([] { return exclusive("lock") == LOPRA_INVALID_HANDLE; }), 0);
    EXPECT_EQ(enters(), 0);
}

TEST_F(Lopra, OpensTerminalsExclusivelyAndWithoutWaiting)
{
    const int control = posix_openpt(O_RDWR | O_NOCTTY);
    if (control < 0 || grantpt(control) != 0 || unlockpt(control) != 0)
        GTEST_SKIP() << "this host has no pseudo terminals";
    const std::string line = ptsname(control);
    const auto open_line = [&line] {
        return CreateFile_utf8(line.c_str(), LOPRA_GENERIC_READ | LOPRA_GENERIC_WRITE, 0, nullptr, LOPRA_OPEN_EXISTING,
                               LOPRA_FLAG_NORMAL, nullptr);
    };
    const int handle = open_line();
    ASSERT_GE(handle, 0);
    EXPECT_EQ(fcntl(handle, F_GETFL) & O_NONBLOCK, O_NONBLOCK);
    int closed_to_others = 0;
    EXPECT_EQ(ioctl(handle, TIOCGEXCL, &closed_to_others), 0);
    EXPECT_EQ(closed_to_others, 1);
    EXPECT_EQ(open_line(), LOPRA_INVALID_HANDLE);
    // Open to others again although a copy of the handle lives on.
    const int copy = dup(handle);
    EXPECT_EQ(CloseFile_utf8(handle), 0);
    EXPECT_EQ(ioctl(copy, TIOCGEXCL, &closed_to_others), 0);
    EXPECT_EQ(closed_to_others, 0);
    close(copy);
    EXPECT_EQ(CloseFile_utf8(open_line()), 0);
    close(control);
}

#endif

}  // namespace
