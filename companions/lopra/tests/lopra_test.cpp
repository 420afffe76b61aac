// lopra - UTF-8 file calls, through the library's face
#include "lopra.h"

#include "support/test.h"

#include <ctime>

#if !defined(_WIN32)
#    include <sys/ioctl.h>
#    include <sys/stat.h>
#    include <unistd.h>
#endif

namespace
{

namespace fs = std::filesystem;

constexpr int lock_flags = LOPRA_O_CREAT | LOPRA_O_EXCL | LOPRA_O_TRUNC | LOPRA_O_RDWR | LOPRA_O_TEMPORARY;

bool present(const std::string &utf8) { return fs::exists(fs::path(std::u8string(utf8.begin(), utf8.end()))); }

lopra_handle open_handle(const char *name, unsigned share = 0, unsigned access = LOPRA_GENERIC_WRITE,
                         unsigned disposition = LOPRA_OPEN_ALWAYS)
{
    return CreateFile_utf8(name, access, share, nullptr, disposition, LOPRA_FLAG_NO_BUFFERING, nullptr);
}

int open_lock(const char *name) noexcept { return open_utf8(name, lock_flags, LOPRA_S_IWRITE); }

// Why a call failed; 0 when it did not.
int error_of(bool failed) { return failed ? std::exchange(errno, 0) : 0; }

// Why calls that make nothing cannot open a path.
std::set<int> errors_of_opening(const char *path)
{
    std::set<int> errors{
        error_of(open_handle(path, 0, LOPRA_GENERIC_READ, LOPRA_OPEN_EXISTING) == LOPRA_INVALID_HANDLE)};
    for (const char *mode : {"rb", "r+"})
        errors.insert(error_of(fopen_utf8(path, mode) == nullptr));
    for (const int flags : {LOPRA_O_RDONLY, LOPRA_O_WRONLY, LOPRA_O_RDWR | LOPRA_O_TEMPORARY})
        errors.insert(error_of(open_utf8(path, flags) == -1));
    return errors;
}

// Each test works in an empty folder with one folder in it.
class Lopra : public testing::Test
{
protected:
    Lopra()
    {
        fs::current_path(folder.path());
        fs::create_directory("sub");
        errno = 0;
    }
    ~Lopra() override { fs::current_path(before); }

    const fs::path before = fs::current_path();
    const teska_test::Folder folder;
};

TEST_F(Lopra, ReachesUtf8NamesWithBothSeparators)
{
    // Characters of one to four bytes.
    const std::string name = "gr\xc3\xbc\xc3\x9f \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x8e\xa8.txt";
    const std::string from = "sub\\" + name, to = ".\\" + name;
    FILE *stream = fopen_utf8(from.c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    std::fputs("text\n", stream);
    std::fclose(stream);
    EXPECT_TRUE(present("sub/" + name));
    EXPECT_EQ(CloseFile_utf8(open_handle(to.c_str())), 0);
    EXPECT_TRUE(present(name));
    EXPECT_EQ(rename_utf8(from.c_str(), to.c_str()), 0);
    lopra_stat32 status = {};
    EXPECT_EQ(stat32_utf8(to.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 5);
    EXPECT_LT(std::abs(status.st_mtime32 - std::time(nullptr)), 60);
    EXPECT_EQ(remove_utf8(to.c_str()), 0);
    EXPECT_FALSE(present(name));
}

TEST_F(Lopra, SaysWhyItFails)
{
    std::vector<std::pair<const char *, int>> refused = {{"missing", ENOENT}, {nullptr, EINVAL}, {"sub", EISDIR}};
#if defined(_WIN32)
    for (const char *path : {"\xff", "a\xc3", "\xc0\xaf", "\xed\xa0\x80"})
        refused.emplace_back(path, EILSEQ);
#endif
    lopra_stat32 status = {};
    for (const auto &[path, error] : refused) {
        EXPECT_EQ(errors_of_opening(path), std::set{error});
        EXPECT_EQ(error_of(remove_utf8(path) == -1), error);
        if (error == EISDIR)
            continue;
        EXPECT_EQ(error_of(chmod_utf8(path, LOPRA_S_IREAD) == -1), error);
        EXPECT_EQ(error_of(stat32_utf8(path, &status) == -1), error);
        EXPECT_EQ(error_of(rename_utf8(path, "x") == -1), error);
    }
    EXPECT_EQ(error_of(fopen_utf8("sub", "wb") == nullptr), EISDIR);
    for (std::size_t length : {300u, 5000u, 100000u})
        EXPECT_EQ(open_lock(std::string(length, 'n').c_str()), -1);
    EXPECT_EQ(close_utf8(-1), -1);
    EXPECT_EQ(CloseFile_utf8(LOPRA_INVALID_HANDLE), -1);
    std::ofstream("large") << "";
    for (int beyond : {0, 1}) {
        fs::resize_file("large", 0x7fffffffu + static_cast<unsigned>(beyond));
        EXPECT_EQ(error_of(stat32_utf8("large", &status) == -1), beyond * EOVERFLOW);
    }
    EXPECT_EQ(status.st_size, INT32_MAX);
}

TEST_F(Lopra, PassesOnWhatTheContractNamesAndNothingElse)
{
    const char *const steps[][3] = {{"wb", "0123\n", "0123\n"}, {"ab", "45", "0123\n45"}, {"r+t", "X", "X123\n45"}};
    for (const auto &[mode, text, expected] : steps) {
        FILE *stream = fopen_utf8("f", mode);
        ASSERT_NE(stream, nullptr) << mode;
        std::fputs(text, stream);
        std::fclose(stream);
        EXPECT_EQ(folder.read("f"), expected) << mode;
    }
    for (const char *mode : {"", "q", "wbx", "rw", "r,ccs=UTF-8", "rb++++++"})
        EXPECT_EQ(error_of(fopen_utf8("f", mode) == nullptr), EINVAL) << mode;
    const unsigned requests[][2] = {{0, 3}, {LOPRA_GENERIC_READ | 1, 3}, {LOPRA_GENERIC_WRITE, 2}};
    for (const auto &[access, disposition] : requests)
        EXPECT_EQ(error_of(open_handle("f", 0, access, disposition) == LOPRA_INVALID_HANDLE), EINVAL);
    EXPECT_EQ(folder.read("f"), "X123\n45");
}

// Links and names that only one host refuses: tests/files/filepacker_test.cpp.
TEST_F(Lopra, CreatesFilesBelowADirectoryAndNowhereElse)
{
    // Creates a file below a directory, or says why not.
    const auto error_below = [](const char *directory, const char *name) {
        const int descriptor = create_below_utf8(directory, name);
        return error_of(descriptor < 0 || close_utf8(descriptor) != 0);
    };
    fs::create_directory("sub/in");
    const std::pair<const char *, int> cases[] = {
        {"a", 0}, {"/b", 0},        {"\\in/\\c", 0},       {"./in//./d", 0},  {"\xc3\xa4", 0}, {"..e", 0},
        {"a", 0}, {"../x", EINVAL}, {"in\\..\\x", EINVAL}, {"in/..", EINVAL}, {"in", EISDIR},  {nullptr, EINVAL}};
    for (const auto &[name, error] : cases)
        EXPECT_EQ(error_below(".\\sub/", name), error) << name;
    for (const char *path : {"sub/b", "sub/in/c", "sub/in/d", "sub/\xc3\xa4"})
        EXPECT_TRUE(present(path)) << path;
    EXPECT_EQ(error_below("no", "a"), ENOENT);
    for (const char *name : {"", "/", "in/", "a/x", "no/x", "."})
        EXPECT_NE(error_below("sub", name), 0) << name;
#if !defined(_WIN32)
    fs::create_directory_symlink("sub", "trusted");
    EXPECT_EQ(error_below("trusted", "g"), 0);
    ASSERT_EQ(mkfifo("sub/pipe", 0600), 0);
    const int reader = open("sub/pipe", O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(error_below("sub", "pipe"), EACCES);
    close(reader);
    EXPECT_EQ(error_below("sub", "pipe"), ENXIO);
#endif
    std::ofstream("sub/a") << "old";
    EXPECT_EQ(error_below("sub", "a"), 0);
    EXPECT_EQ(folder.read("sub/a"), "");
}

TEST_F(Lopra, ReplacesFilesWhole)
{
    const char *path = "sub\\f";
    for (const std::string content : {"first", "", "the third"}) {
        EXPECT_EQ(replace_utf8(path, content.data(), content.size()), 0);
        EXPECT_EQ(folder.read("sub/f"), content);
    }
    EXPECT_EQ(chmod_utf8(path, LOPRA_S_IREAD), 0);
    const std::pair<const char *, int> cases[] = {
        {path, EACCES}, {"sub", EISDIR}, {"none/f", ENOENT}, {nullptr, EINVAL}};
    for (const auto &[refused, error] : cases)
        EXPECT_EQ(error_of(replace_utf8(refused, "x", 1) == -1), error) << refused;
    EXPECT_EQ(chmod_utf8(path, LOPRA_S_IWRITE), 0);
    // What another process is writing stays, what a killed one has left goes.
    const lopra_handle writing = open_handle("sub/f.tmp0");
    EXPECT_EQ(replace_utf8(path, "again", 5), 0);
    CloseFile_utf8(writing);
    EXPECT_TRUE(present("sub/f.tmp0"));
    EXPECT_EQ(replace_utf8(path, "again", 5), 0);
    EXPECT_EQ(remove_utf8(path), 0);
    EXPECT_TRUE(fs::is_empty("sub"));
}

TEST_F(Lopra, TakesALockFileThatNobodyHoldsAndLeavesOtherFilesAlone)
{
    const char *path = "sub/f";
    const std::string mark = "TESKAShared lock\n";
    for (const std::string &text : {std::string(), mark + "x", mark.substr(1), std::string(mark.size(), 'x'), mark}) {
        folder.write("sub/f", text);
        EXPECT_EQ(chmod_utf8(path, LOPRA_S_IREAD), 0);
        const int descriptor = lock_utf8(path);
        EXPECT_EQ(error_of(descriptor < 0), text == mark ? 0 : EEXIST) << text;
        EXPECT_EQ(error_of(lock_utf8(path) < 0), EEXIST);
        EXPECT_EQ(close_utf8(descriptor) == 0, text == mark);
        EXPECT_EQ(present(path), text != mark);
        EXPECT_EQ(text != mark ? folder.read("sub/f") : mark, text);
        chmod_utf8(path, LOPRA_S_IWRITE);
    }
    std::ofstream("f", std::ios::binary) << mark;
    std::error_code no_links;
    fs::create_symlink("f", "link", no_links);
    EXPECT_EQ(lock_utf8("link") < 0, !no_links) << "a link to a lock file";
    EXPECT_EQ(folder.read("f"), mark);
    EXPECT_EQ(error_of(lock_utf8("sub") < 0), EEXIST);
    EXPECT_EQ(error_of(lock_utf8("none/f") < 0), ENOENT);
    EXPECT_EQ(error_of(lock_utf8(nullptr) < 0), EINVAL);
}

TEST_F(Lopra, NamesAFileWhateverTheDirectoryWillBe)
{
    const auto full = [](const char *path) {
        const std::unique_ptr<char, decltype(&std::free)> text(full_path_utf8(path), std::free);
        return std::string(text ? text.get() : "none");
    };
    for (const char *path : {"f", "sub\\..\\f", "./sub/../f", "sub/\xc3\xa9", "sub\\new"}) {
        EXPECT_TRUE(fs::path(full(path)).is_absolute()) << full(path);
        EXPECT_EQ(replace_utf8(full(path).c_str(), path, 1), 0);
        EXPECT_EQ(remove_utf8(path), 0) << path;
    }
    EXPECT_EQ(full(nullptr), "none");
#if !defined(_WIN32)
    EXPECT_EQ(full("none/f"), "none");
    EXPECT_EQ(full("\\f"), "/f");
#endif
}

TEST_F(Lopra, KeepsATemporaryFileOrAnExclusiveHandleUntilItIsClosed)
{
    const char *path = "sub\\\xc3\xa9";
    const int lock = open_lock(path), other = open_lock("other");
    EXPECT_EQ(chmod_utf8(path, LOPRA_S_IREAD), 0);
    EXPECT_EQ(error_of(open_lock(path) == -1), EEXIST);
    EXPECT_TRUE(present("sub/\xc3\xa9"));
    EXPECT_EQ(close_utf8(lock), 0);
    EXPECT_TRUE(fs::is_empty("sub"));
    EXPECT_TRUE(present("other"));
    EXPECT_EQ(close_utf8(other), 0);
    for (unsigned share : {0u, 3u}) {
        const lopra_handle first = open_handle("lock", share);
        EXPECT_EQ(open_handle("lock"), LOPRA_INVALID_HANDLE) << share;
        EXPECT_EQ(CloseFile_utf8(open_handle("lock", 3)), share == 0 ? -1 : 0) << share;
        EXPECT_EQ(CloseFile_utf8(first), 0) << share;
    }
    EXPECT_EQ(folder.listing(), "lock sub/");
}

#if !defined(_WIN32)

TEST_F(Lopra, RefusesPipesAndSocketsAtOnce)
{
    mkfifo("pipe", 0600);
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
    ASSERT_EQ(mknod("socket", S_IFSOCK | 0600, 0), 0);
    for (const auto &[path, error] : {std::pair("pipe", EACCES), std::pair("socket", ENXIO)}) {
        EXPECT_EQ(errors_of_opening(path), std::set{error});
        EXPECT_EQ(error_of(fopen_utf8(path, "wb") == nullptr), error);
        EXPECT_EQ(error_of(open_handle(path) == LOPRA_INVALID_HANDLE), error);
        EXPECT_EQ(error_of(replace_utf8(path, "x", 1) == -1), EINVAL);
        EXPECT_EQ(error_of(lock_utf8(path) == -1), EEXIST);
        EXPECT_TRUE(present(path));
    }
    close(reader);
    EXPECT_EQ(error_of(fopen_utf8("pipe", "a") == nullptr), ENXIO);
    FILE *stream = fopen_utf8("/dev/null", "r+bbbbb");
    ASSERT_NE(stream, nullptr) << "the longest mode";
    EXPECT_EQ(std::fgetc(stream), EOF) << "a character device";
    EXPECT_EQ(fcntl(fileno(stream), F_GETFL) & O_NONBLOCK, 0);
    std::fclose(stream);
}

// A forked process that ends in order gives its condition as the exit code.
const testing::ExitedWithCode held(1);

fs::perms mode_of(const char *path) { return fs::status(path).permissions(); }

TEST_F(Lopra, MapsPermissionsToReadableFilesUnderTheMask)
{
    const mode_t host_mask = umask(027);
    close_utf8(open_utf8("w", LOPRA_O_CREAT, LOPRA_S_IWRITE));
    close_utf8(open_utf8("r", LOPRA_O_CREAT, LOPRA_S_IREAD));
    EXPECT_EQ(mode_of("w"), fs::perms(0640));
    EXPECT_EQ(mode_of("r"), fs::perms(0440));
    EXPECT_EQ(chmod_utf8("r", LOPRA_S_IREAD | LOPRA_S_IWRITE), 0);
    EXPECT_EQ(mode_of("r"), fs::perms(0640));
    fs::permissions("w", fs::perms(0750));
    EXPECT_EQ(chmod_utf8("w", LOPRA_S_IREAD), 0);
    EXPECT_EQ(mode_of("w"), fs::perms(0550));
    EXPECT_EQ(umask(host_mask), 027u);
}

TEST_F(Lopra, OpensNothingThatProgramsInherit)
{
    FILE *stream = fopen_utf8("f", "w+b");
    const int opened[] = {fileno(stream), open_utf8("f", LOPRA_O_RDONLY), open_handle("f")};
    EXPECT_EQ(fcntl(opened[2], F_GETFL) & (O_NONBLOCK | O_ACCMODE), O_WRONLY);
    for (int descriptor : opened)
        EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    std::fclose(stream);
    close_utf8(opened[1]);
    CloseFile_utf8(opened[2]);
    const int reading = open_handle("f", 0, LOPRA_GENERIC_READ);
    EXPECT_EQ(fcntl(reading, F_GETFL) & O_ACCMODE, O_RDONLY);
    CloseFile_utf8(reading);
}

TEST_F(Lopra, RemovesWhatAProcessLeavesOpenButNeverTheFilesOfOthers)
{
    const int mine = open_lock("mine");
    std::ofstream("childs.tmp0") << "left by another";
    // Without a standard input, whose number is free then.
    for (const auto lock : {open_lock, lock_utf8})
        EXPECT_EXIT((close(0), std::exit(lock("childs") == 0 && lock("mine") < 0 && close_utf8(mine) == 0)), held, "");
    EXPECT_EQ(folder.listing(), "mine sub/");
    const int here = open_lock("here");
    fs::current_path("sub");
    EXPECT_EQ(close_utf8(here), 0);
    fs::current_path("..");
    EXPECT_FALSE(present("here"));
    // Somebody puts another file in the place of ours.
    ASSERT_EQ(unlink("mine"), 0);
    std::ofstream("mine") << "theirs";
    EXPECT_EQ(close_utf8(mine), 0);
    EXPECT_EQ(folder.read("mine"), "theirs");
}

TEST_F(Lopra, ExcludesOtherProcessesUntilTheHandleOrItsProcessEnds)
{
    const int first = open_handle("lock");
    EXPECT_EXIT(std::exit(open_handle("lock") == LOPRA_INVALID_HANDLE), held, "");
    // The exclusion ends even while another process holds a copy of the handle.
    EXPECT_EXIT(std::exit(CloseFile_utf8(first) == 0 && open_handle("lock") != LOPRA_INVALID_HANDLE), held, "");
    close(first);
}

TEST_F(Lopra, OpensTerminalsExclusivelyAndWithoutWaiting)
{
    const int control = posix_openpt(O_RDWR | O_NOCTTY);
    if (control < 0 || grantpt(control) != 0 || unlockpt(control) != 0)
        GTEST_SKIP() << "this host has no pseudo terminals";
    const int handle = open_handle(ptsname(control));
    const int copy = dup(handle);
    EXPECT_EQ(fcntl(handle, F_GETFL) & O_NONBLOCK, O_NONBLOCK);
    int closed_to_others = 0;
    const bool tells = ioctl(copy, TIOCGEXCL, &closed_to_others) == 0;
    EXPECT_EQ(closed_to_others, tells ? 1 : 0);
    // Open to others again although a copy of the handle lives on.
    EXPECT_EQ(CloseFile_utf8(handle), 0);
    EXPECT_EQ(ioctl(copy, TIOCGEXCL, &closed_to_others), tells ? 0 : -1);
    EXPECT_EQ(closed_to_others, 0);
    close(copy);
    close(control);
    if (!tells)
        GTEST_SKIP() << "this host does not tell whether a terminal is closed to others; an emulator may not";
}

#endif

}  // namespace
