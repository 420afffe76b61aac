// folders - the host's calls for folders, on POSIX hosts
//
// A folder is a descriptor, and everything in it is named by the calls that take one (openat and its kin).

#include "Platform/folders.h"

#include "Platform/posix/uninterrupted.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

namespace teska::folders
{

namespace
{

constexpr unsigned permission_bits = 0777;
constexpr mode_t own_file = S_IRUSR | S_IWUSR;
constexpr int folder_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

int descriptor_of(const folder &at) noexcept { return static_cast<int>(at.handle); }

template <class Call>
bool done(Call call) noexcept
{
    return uninterrupted(call) >= 0;
}

kind kind_of(mode_t mode) noexcept
{
    if (S_ISREG(mode))
        return kind::file;
    if (S_ISDIR(mode))
        return kind::folder;
    return S_ISLNK(mode) ? kind::link : kind::other;
}

status status_of(const struct stat &host) noexcept
{
    status state;
    state.what = kind_of(host.st_mode);
    state.size = S_ISREG(host.st_mode) ? host.st_size : 0;
    state.changed = {host.st_mtim.tv_sec, static_cast<int>(host.st_mtim.tv_nsec)};
    state.permission = host.st_mode & permission_bits;
    return state;
}

identity identity_of(const struct stat &host) noexcept { return {host.st_dev, host.st_ino, 0}; }

bool ask(const folder &parent, const char *name, bool follow, struct stat &host) noexcept
{
    return fstatat(descriptor_of(parent), name, &host, follow ? 0 : AT_SYMLINK_NOFOLLOW) == 0;
}

// Some file systems cannot keep what they are asked to, and say so.
bool beyond_the_host(int error) noexcept
{
    return error == EPERM || error == EINVAL || error == ENOTSUP || error == ENOSYS;
}

bool finish(int descriptor, const status &like) noexcept
{
    if (fchmod(descriptor, static_cast<mode_t>(like.permission)) != 0 && !beyond_the_host(errno))
        return false;
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = static_cast<time_t>(like.changed.seconds);
    times[1].tv_nsec = like.changed.nanoseconds;
    return futimens(descriptor, times) == 0 || beyond_the_host(errno);
}

bool flush(int descriptor) noexcept
{
    return done([=] { return fsync(descriptor); });
}

struct open_listing {
    DIR *stream;

    ~open_listing()
    {
        const int error = errno;
        closedir(stream);
        errno = error;
    }
};

// A listing takes its descriptor with it.
DIR *open_stream(const folder &at) noexcept
{
    const int descriptor = fcntl(descriptor_of(at), F_DUPFD_CLOEXEC, 0);
    if (descriptor < 0)
        return nullptr;
    DIR *stream = fdopendir(descriptor);
    if (stream == nullptr) {
        const int error = errno;
        close(descriptor);
        errno = error;
    }
    return stream;
}

found described(const dirent &name) noexcept
{
    found result;
    result.name = name.d_name;
#ifdef DT_UNKNOWN
    result.sure = name.d_type != DT_UNKNOWN;
    result.state.what = kind_of(static_cast<mode_t>(DTTOIF(name.d_type)));
#endif
    return result;
}

}  // namespace

const bool utf8_only = false;
const int held_folders_max = 64;

folder start() noexcept { return {AT_FDCWD}; }

held_folder::~held_folder() { close_folder(at); }

// ---- Paths

std::size_t root_length(const char *path) noexcept { return *path == '/' ? 1 : 0; }

unsigned long process_number() noexcept { return static_cast<unsigned long>(getpid()); }

// ---- Folders

folder open_folder(const folder &parent, const char *name, bool follow) noexcept
{
    const int only_itself = follow ? 0 : O_NOFOLLOW;
    int descriptor = uninterrupted([&] { return openat(descriptor_of(parent), name, folder_flags | only_itself); });
    return {descriptor};
}

folder enter_folder(const folder &parent, const char *name) noexcept
{
#ifdef O_PATH
    return {openat(descriptor_of(parent), name, O_PATH | O_DIRECTORY | O_CLOEXEC)};
#else
    return open_folder(parent, name, true);
#endif
}

folder open_parent(const folder &at) noexcept { return open_folder(at, "..", false); }

void close_folder(folder &at) noexcept
{
    const int error = errno;
    if (is_open(at) && descriptor_of(at) != AT_FDCWD)
        close(descriptor_of(at));
    errno = error;
    at = {};
}

bool read_folder(const folder &at, void *context, bool (*take)(void *context, const found &name)) noexcept
{
    DIR *stream = open_stream(at);
    if (stream == nullptr)
        return false;
    const open_listing listing{stream};
    for (;;) {
        errno = 0;
        const dirent *name = readdir(listing.stream);
        if (name == nullptr)
            return errno == 0;
        if (std::strcmp(name->d_name, ".") == 0 || std::strcmp(name->d_name, "..") == 0)
            continue;
        if (!take(context, described(*name))) {
            errno = ENOMEM;
            return false;
        }
    }
}

bool make_folder(const folder &parent, const char *name, unsigned permission) noexcept
{
    return mkdirat(descriptor_of(parent), name, static_cast<mode_t>(permission)) == 0;
}

bool finish_folder(const folder &at, const status &like) noexcept { return finish(descriptor_of(at), like); }

bool flush_folder(const folder &at) noexcept { return flush(descriptor_of(at)) || errno == EINVAL || errno == ENOTSUP; }

void unlock_folder(const folder &at) noexcept
{
    const int error = errno;
    if (fchmod(descriptor_of(at), S_IRWXU) != 0)
        errno = error;
}

// ---- What has a name in a folder

bool look(const folder &parent, const char *name, bool follow, status &state) noexcept
{
    struct stat host;
    if (!ask(parent, name, follow, host))
        return false;
    state = status_of(host);
    return true;
}

bool identify(const folder &parent, const char *name, bool follow, identity &id) noexcept
{
    struct stat host;
    if (!ask(parent, name, follow, host))
        return false;
    id = identity_of(host);
    return true;
}

bool identify(const folder &at, identity &id) noexcept
{
    struct stat host;
    if (fstat(descriptor_of(at), &host) != 0)
        return false;
    id = identity_of(host);
    return true;
}

bool is_mounted([[maybe_unused]] const folder &at, const identity &id, const identity &top) noexcept
{
    if (id.device != top.device)
        return true;
#ifdef STATX_ATTR_MOUNT_ROOT
    // A part of this file system that is shown a second time has the same device.
    struct statx host = {};
    return statx(descriptor_of(at), "", AT_EMPTY_PATH | AT_NO_AUTOMOUNT, 0, &host) == 0 &&
           (host.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
#else
    return false;
#endif
}

bool rename(const folder &parent, const char *from, const char *to, bool replace) noexcept
{
    const int at = descriptor_of(parent);
    if (replace)
        return renameat(at, from, at, to) == 0;
#ifdef RENAME_NOREPLACE
    if (renameat2(at, from, at, to, RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
#endif
    struct stat host;
    if (ask(parent, to, false, host)) {
        errno = EEXIST;
        return false;
    }
    return errno == ENOENT && renameat(at, from, at, to) == 0;
}

bool remove(const folder &parent, const char *name, bool is_folder) noexcept
{
    return unlinkat(descriptor_of(parent), name, is_folder ? AT_REMOVEDIR : 0) == 0;
}

bool copy_link(const folder &from, const char *name, const folder &to, const char *new_name, bool &reading) noexcept
{
    reading = true;
    char target[PATH_MAX + 1];
    const ssize_t length = readlinkat(descriptor_of(from), name, target, sizeof target);
    if (length < 0)
        return false;
    if (length == static_cast<ssize_t>(sizeof target)) {
        errno = ENAMETOOLONG;
        return false;
    }
    target[length] = '\0';
    reading = false;
    return symlinkat(target, descriptor_of(to), new_name) == 0;
}

// ---- Files

int open_file(const folder &parent, const char *name, bool follow) noexcept
{
    const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (follow ? 0 : O_NOFOLLOW);
    return uninterrupted([&] { return openat(descriptor_of(parent), name, flags); });
}

int create_file(const folder &parent, const char *name) noexcept
{
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return uninterrupted([&] { return openat(descriptor_of(parent), name, flags, own_file); });
}

bool file_status(int descriptor, status &state) noexcept
{
    struct stat host;
    if (fstat(descriptor, &host) != 0)
        return false;
    state = status_of(host);
    return true;
}

std::int64_t move_bytes(int from, int to, std::size_t count) noexcept
{
#ifdef __linux__
    return uninterrupted([=] { return copy_file_range(from, nullptr, to, nullptr, count, 0); });
#else
    static_cast<void>(from);
    static_cast<void>(to);
    static_cast<void>(count);
    return -1;
#endif
}

bool finish_file(int descriptor, const status &like) noexcept { return finish(descriptor, like); }
bool flush_file(int descriptor) noexcept { return flush(descriptor); }

// An interrupted close has closed all the same.
bool close_file(int descriptor) noexcept { return close(descriptor) == 0 || errno == EINTR; }

}  // namespace teska::folders
