// lopra_posix - file calls that take UTF-8 paths, on POSIX hosts (lopra)
//
// Paths are bytes here, and UTF-8 passes through; "\" becomes "/" in a copy. Three things the host lacks are
// made up:
//
// - Directories open for reading like files, and the open of a pipe waits for its other end. So everything is opened
//   without waiting and looked at then, not by its path before: nothing can change in between.
// - Temporary files: lopra_process_posix.cpp has the table of those that are open.
// - Exclusive handles, by flock. POSIX record locks would not do: they do not exclude two handles of one process, and
//   they vanish when any descriptor of the file is closed.
//
// Process-wide state: none of its own.
#include "lopra_posix.h"

#include "lopra.h"
#include "lopra_arguments.h"

#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace
{

using namespace lopra;

constexpr mode_t execute_bits = 07111;  // with the set-id and sticky bits

// To go through a folder; where the host can tell that from reading it, the right to list it is not asked for.
#if defined(O_PATH)
constexpr int search_flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#else
constexpr int search_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
#endif

mode_t create_mode(int permission) { return permission & LOPRA_S_IWRITE ? read_bits | write_bits : read_bits; }

// An open descriptor of a file that can be read or written without another process taking part: a regular one or a
// character device, as a terminal or /dev/null. -1 for everything else.
int open_file(const char *path, int flags, mode_t mode, struct stat &status)
{
    int descriptor = open(path, flags | O_NONBLOCK | O_CLOEXEC, mode);
    // Only a regular file that somebody holds a lease on: its holder is told to write back, and that is waited for.
    if (descriptor < 0 && errno == EWOULDBLOCK)
        descriptor = open(path, flags | O_CLOEXEC, mode);
    if (descriptor < 0)
        return -1;
    if (fstat(descriptor, &status) != 0)
        return close_and_fail(descriptor, errno);
    if (S_ISDIR(status.st_mode))
        return close_and_fail(descriptor, EISDIR);
    if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode))
        return close_and_fail(descriptor, EACCES);
    return fcntl(descriptor, F_SETFL, flags) == 0 ? descriptor : close_and_fail(descriptor, errno);
}

// The flags that the host's fopen takes for a mode.
int stream_flags(const char *mode)
{
    const int access = std::strchr(mode, '+') ? O_RDWR : *mode == 'r' ? O_RDONLY : O_WRONLY;
    if (*mode == 'r')
        return access;
    return access | O_CREAT | (*mode == 'w' ? O_TRUNC : O_APPEND);
}

// From a folder to what was opened in it, which may be nothing.
int step(int folder, int next)
{
    const int error = errno;
    close(folder);
    errno = error;
    return next;
}

// ---- Opening

int open_temporary(const char *path, int flags, mode_t mode, struct stat &status)
{
    owned_temporary file = new_temporary(path);
    const int descriptor = file ? open_file(path, flags, mode, status) : -1;
    if (descriptor >= 0)
        put_in(std::move(file), descriptor, status);
    return descriptor;
}

// ---- Handles

int handle_flags(unsigned access, unsigned disposition)
{
    int flags = O_RDWR;
    if (!(access & LOPRA_GENERIC_READ))
        flags = O_WRONLY;
    else if (!(access & LOPRA_GENERIC_WRITE))
        flags = O_RDONLY;
    if (disposition == LOPRA_OPEN_ALWAYS)
        flags |= O_CREAT;
    return flags | O_NOCTTY | O_NONBLOCK;
}

// Devices stay non-blocking; for everything else that was only so that the open could not hang.
bool settle(int handle, bool device, bool exclusive)
{
    if (flock(handle, (exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB) != 0)
        return false;
    if (!device)
        return fcntl(handle, F_SETFL, fcntl(handle, F_GETFL) & ~O_NONBLOCK) == 0;
    if (exclusive)
        ioctl(handle, TIOCEXCL);  // only terminals know it
    return true;
}

}  // namespace

FILE *fopen_utf8(const char *path, const char *mode) noexcept
{
    if (!lopra::is_stream_mode(mode)) {
        errno = EINVAL;
        return nullptr;
    }
    const owned_text name = host_path(path);
    if (!name)
        return nullptr;
    const int flags = stream_flags(mode);
    struct stat status;
    const int descriptor = open_file(name.get(), flags, read_bits | write_bits, status);
    if (descriptor < 0)
        return nullptr;
    char host_mode[lopra::mode_length_max + 1] = {};
    std::remove_copy(mode, mode + std::strlen(mode), host_mode, 't');
    // As fopen does: a stream that only appends begins at the end.
    if ((flags & O_APPEND) && (flags & O_ACCMODE) == O_WRONLY)
        lseek(descriptor, 0, SEEK_END);
    FILE *stream = fdopen(descriptor, host_mode);
    if (!stream)
        close_and_fail(descriptor, errno);
    return stream;
}

int open_utf8(const char *path, int flags, ...) noexcept
{
    mode_t mode = 0;
    if (flags & LOPRA_O_CREAT) {
        std::va_list rest;
        va_start(rest, flags);
        mode = create_mode(va_arg(rest, int));
        va_end(rest);
    }
    const owned_text name = host_path(path);
    if (!name)
        return -1;
    struct stat status;
    if (flags & LOPRA_O_TEMPORARY)
        return open_temporary(name.get(), flags & ~LOPRA_O_TEMPORARY, mode, status);
    return open_file(name.get(), flags, mode, status);
}

int create_below_utf8(const char *directory, const char *name) noexcept
{
    const owned_text top = host_path(directory);
    const owned_text path = top ? host_path(name) : nullptr;
    if (!path)
        return -1;
    int folder = open(*top ? top.get() : "/", search_flags);
    char *part = path.get();
    for (bool last = false; folder >= 0 && !last; part += std::strlen(part) + 1) {
        part += std::strspn(part, "/");
        const std::size_t length = std::strcspn(part, "/");
        last = part[length] == '\0';
        part[length] = '\0';
        if (std::strcmp(part, "..") == 0)
            return close_and_fail(folder, EINVAL);
        // Not waiting for the reader of a pipe; it makes no difference to files.
        const int flags = last ? O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY | O_CLOEXEC : search_flags;
        folder = step(folder, openat(folder, part, flags | O_NOFOLLOW, read_bits | write_bits));
    }
    struct stat status;
    if (folder >= 0 && (fstat(folder, &status) != 0 || !S_ISREG(status.st_mode)))
        return close_and_fail(folder, EACCES);
    return folder;
}

int close_utf8(int descriptor) noexcept
{
    discard_temporary(descriptor);
    return close(descriptor);
}

lopra_handle CreateFile_utf8(const char *path, unsigned access, unsigned share, void *, unsigned disposition, unsigned,
                             void *) noexcept
{
    if (!lopra::is_handle_request(access, disposition))
        return fail(EINVAL);
    const owned_text name = host_path(path);
    if (!name)
        return LOPRA_INVALID_HANDLE;
    struct stat status;
    const int handle = open_file(name.get(), handle_flags(access, disposition), read_bits | write_bits, status);
    if (handle >= 0 && !settle(handle, S_ISCHR(status.st_mode), share == 0))
        return close_and_fail(handle, errno);
    return handle;
}

int CloseFile_utf8(lopra_handle handle) noexcept
{
    ioctl(handle, TIOCNXCL);
    flock(handle, LOCK_UN);
    return close(handle);
}

int chmod_utf8(const char *path, int permission) noexcept
{
    const owned_text name = host_path(path);
    struct stat status;
    if (!name || stat(name.get(), &status) != 0)
        return -1;
    return chmod(name.get(), (status.st_mode & execute_bits) | (create_mode(permission) & ~current_mask()));
}

int stat32_utf8(const char *path, lopra_stat32 *st) noexcept
{
    const owned_text name = host_path(path);
    struct stat status;
    if (!name || stat(name.get(), &status) != 0)
        return -1;
    if (status.st_size > INT32_MAX)
        return fail(EOVERFLOW);
    st->st_size = static_cast<int32_t>(status.st_size);
    st->st_mode = static_cast<int32_t>(status.st_mode);
    st->st_mtime32 = static_cast<int32_t>(std::clamp<std::int64_t>(status.st_mtime, INT32_MIN, INT32_MAX));
    return 0;
}

int rename_utf8(const char *from, const char *to) noexcept
{
    const owned_text old_name = host_path(from);
    const owned_text new_name = old_name ? host_path(to) : nullptr;
    return new_name ? std::rename(old_name.get(), new_name.get()) : -1;
}

int remove_utf8(const char *path) noexcept
{
    const owned_text name = host_path(path);
    return name ? unlink(name.get()) : -1;
}
