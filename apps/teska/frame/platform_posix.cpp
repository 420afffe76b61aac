// platform - what the program takes from the operating system: POSIX, with what Linux adds
//
// An output is made by O_TMPFILE, a file that has no name at all until linkat gives it one: a process that is killed
// leaves nothing, and linkat never replaces. Only to replace a file, and where O_TMPFILE is refused, there is a
// temporary name, .NAME.PID.teska-tmp, which signals remove.

#include "frame/platform.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tool
{

namespace
{

// What a signal has to take away. The slots are filled before a name is made and emptied after it is gone.
constexpr int slots = 16;
constexpr std::size_t longest = 4096;  // PATH_MAX

struct {
    std::atomic<bool> used[slots];
    char names[slots][longest];
    std::atomic<bool> progress_shown;
} pending;

extern "C" void end_by_signal(int signal)
{
    for (int i = 0; i < slots; ++i)
        if (pending.used[i])
            unlink(pending.names[i]);
    if (pending.progress_shown && write(STDERR_FILENO, "\r\033[K", 4) < 0)
        _exit(128 + signal);
    _exit(128 + signal);
}

int take_slot(const std::string &name)
{
    for (int i = 0; i < slots && name.size() < longest; ++i)
        if (!pending.used[i]) {
            std::memcpy(pending.names[i], name.c_str(), name.size() + 1);
            pending.used[i] = true;
            return i;
        }
    return -1;
}

file_facts facts_from(const struct stat &found)
{
    return {S_ISREG(found.st_mode),
            S_ISDIR(found.st_mode),
            static_cast<std::uint64_t>(found.st_size),
            static_cast<std::uint64_t>(found.st_dev),
            static_cast<std::uint64_t>(found.st_ino),
            static_cast<std::int64_t>(found.st_mtime),
            static_cast<unsigned>(found.st_mode) & 07777U};
}

int descriptor(std::intptr_t handle) { return static_cast<int>(handle); }

std::string path_in(const std::string &folder, const std::string &name)
{
    return folder.ends_with('/') ? folder + name : folder + "/" + name;
}

}  // namespace

std::vector<std::string> program_arguments(int argc, char **argv) { return {argv + (argc > 0 ? 1 : 0), argv + argc}; }

std::filesystem::path native_path(const std::string &path) { return {path}; }

std::string text_of(const std::filesystem::path &path) { return path.string(); }

bool errors_reach_terminal() { return isatty(STDERR_FILENO) != 0; }

void set_progress_shown(bool shown) { pending.progress_shown = shown; }

void prepare_output() {}

void catch_signals()
{
    struct sigaction action = {};
    action.sa_handler = end_by_signal;
    sigfillset(&action.sa_mask);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        // What nohup ignores stays ignored.
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
    // A full or closed output is told like any other failure.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

std::optional<file_facts> facts_of(const std::string &path)
{
    struct stat found = {};
    if (stat(path.c_str(), &found) != 0)
        return std::nullopt;
    return facts_from(found);
}

std::string without_links(const std::string &path)
{
    std::filesystem::path at = path;
    std::error_code error;
    for (int i = 0; i < 40 && std::filesystem::is_symlink(std::filesystem::symlink_status(at, error)); ++i)
        at = at.parent_path() / std::filesystem::read_symlink(at, error);
    return at.string();
}

host_file::~host_file() { close(); }

bool host_file::open(const std::string &path)
{
    close();
    handle_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    return handle_ >= 0;
}

bool host_file::make(const std::string &folder, const std::string &name)
{
    close();
    folder_ = folder;
    name_ = name;
    is_output_ = true;
    constexpr int mode = 0666;  // less what the user's mask takes away
#ifdef O_TMPFILE
    handle_ = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
    if (handle_ >= 0)
        return true;
    if (errno == EACCES || errno == EROFS || errno == ENOSPC || errno == EDQUOT)
        return false;
#endif
    if (!give_temporary_name())
        return false;
    handle_ = ::open(temporary_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, mode);
    if (handle_ < 0)
        temporary_.clear();
    return handle_ >= 0;
}

bool host_file::make_scratch()
{
    close();
    const char *asked = std::getenv("TMPDIR");
    std::string name = path_in(asked != nullptr && *asked != '\0' ? asked : "/tmp", "teska-XXXXXX");
    handle_ = mkostemp(name.data(), O_CLOEXEC);
    if (handle_ >= 0)
        unlink(name.c_str());
    return handle_ >= 0;
}

// The name of the file, cut so that what is added fits the 255 bytes of a name.
bool host_file::give_temporary_name()
{
    temporary_ = path_in(folder_, "." + name_.substr(0, 200) + "." + std::to_string(getpid()) + ".teska-tmp");
    if (slot_ < 0)
        slot_ = take_slot(temporary_);
    return true;
}

std::optional<file_facts> host_file::facts() const
{
    struct stat found = {};
    if (handle_ < 0 || fstat(descriptor(handle_), &found) != 0)
        return std::nullopt;
    return facts_from(found);
}

std::size_t host_file::read_at(std::uint64_t offset, void *data, std::size_t size) const
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = pread(descriptor(handle_), static_cast<char *>(data) + done, size - done,
                                  static_cast<off_t>(offset + done));
        if (got == 0 || (got < 0 && errno != EINTR))
            break;
        done += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    return done;
}

bool host_file::write_at(std::uint64_t offset, const void *data, std::size_t size)
{
    for (std::size_t done = 0; done < size;) {
        const ssize_t put = pwrite(descriptor(handle_), static_cast<const char *>(data) + done, size - done,
                                   static_cast<off_t>(offset + done));
        if (put < 0 && errno != EINTR)
            return false;
        done += put > 0 ? static_cast<std::size_t>(put) : 0;
    }
#ifdef SYNC_FILE_RANGE_WRITE
    // What publish() waits for is already on its way to the disk while the rest is made.
    constexpr std::uint64_t at_once = std::uint64_t{4} << 20;
    if (is_output_ && offset + size >= begun_ + at_once) {
        sync_file_range(descriptor(handle_), static_cast<off_t>(begun_), static_cast<off_t>(offset + size - begun_),
                        SYNC_FILE_RANGE_WRITE);
        begun_ = offset + size;
    }
#endif
    return true;
}

bool host_file::cut(std::uint64_t size) { return ftruncate(descriptor(handle_), static_cast<off_t>(size)) == 0; }

std::string host_file::name_for_others() const
{
    return temporary_.empty() ? "/proc/self/fd/" + std::to_string(handle_) : temporary_;
}

host_file::outcome host_file::publish(bool replace)
{
    const std::string target = path_in(folder_, name_);
    if (fsync(descriptor(handle_)) != 0)
        return outcome::refused;
    struct stat old = {};
    const bool exists = stat(target.c_str(), &old) == 0;
    if (exists && !replace)
        return outcome::exists;
    if (exists && fchmod(descriptor(handle_), old.st_mode & 07777U) != 0)
        return outcome::refused;
    if (temporary_.empty()) {
        const std::string nameless = name_for_others();
        if (!exists) {
            if (linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, target.c_str(), AT_SYMLINK_FOLLOW) == 0) {
                close();
                return outcome::done;
            }
            if (errno != EEXIST)
                return outcome::refused;
            if (!replace)
                return outcome::exists;
        }
        give_temporary_name();
        unlink(temporary_.c_str());
        if (linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, temporary_.c_str(), AT_SYMLINK_FOLLOW) != 0)
            return outcome::refused;
    }
    if (replace) {
        if (rename(temporary_.c_str(), target.c_str()) != 0)
            return outcome::refused;
    } else {
        // A second name never replaces; where a file has but one, the look before has to do.
        if (link(temporary_.c_str(), target.c_str()) == 0)
            unlink(temporary_.c_str());
        else if (errno == EEXIST)
            return outcome::exists;
        else if (rename(temporary_.c_str(), target.c_str()) != 0)
            return outcome::refused;
    }
    temporary_.clear();
    close();
    return outcome::done;
}

void host_file::close()
{
    if (!temporary_.empty())
        unlink(temporary_.c_str());
    temporary_.clear();
    if (slot_ >= 0)
        pending.used[slot_] = false;
    slot_ = -1;
    if (handle_ >= 0)
        ::close(descriptor(handle_));
    handle_ = -1;
}

std::string last_error() { return std::strerror(errno); }

}  // namespace tool
