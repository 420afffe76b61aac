// lopra_posix - file calls that take UTF-8 paths, on POSIX hosts (lopra)
//
// Paths are bytes here, and UTF-8 passes through; "\" becomes "/" in a copy. Three things the host lacks are
// made up:
//
// - Directories open for reading like files. They are refused by a look at what was opened, not at the path
//   before, so that nothing can change in between.
// - Temporary files. A file unlinked right after opening would let a second exclusive create succeed, so the
//   name stays until the close, and a table tells which descriptors have such a name:
//
//       open_utf8    ->  { descriptor, path, device, inode, process }
//       close_utf8   ->  unlink, if the path still is that inode and this is that process; then close
//
//   Entries left are dealt with when the process ends. A forked child inherits the table but owns none of its
//   files.
// - Exclusive handles, by flock. POSIX record locks would not do: they do not exclude two handles of one
//   process, and they vanish when any descriptor of the file is closed.
//
// Process-wide state: the table of temporary files, under its own lock.
#include "lopra_posix.h"

#include "lopra.h"
#include "lopra_arguments.h"

#include <pthread.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

namespace
{

using namespace lopra;

struct temporary_file {
    temporary_file *next;
    int descriptor;
    dev_t device;
    ino_t inode;
    pid_t process;  // who opened it, and alone may remove it
    char *path;     // absolute, behind the record in the same block
};

struct temporary_table {
    std::mutex lock;
    temporary_file *first = nullptr;
};

temporary_table temporaries;

constexpr mode_t execute_bits = 07111;  // with the set-id and sticky bits

// To go through a folder; where the host can tell that from reading it, the right to list it is not asked for.
#if defined(O_PATH)
constexpr int search_flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#else
constexpr int search_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
#endif

mode_t create_mode(int permission) { return permission & LOPRA_S_IWRITE ? read_bits | write_bits : read_bits; }

// The mask can only be asked for by setting it. A file made by another thread meanwhile gets
// too few permissions, not too many.
mode_t current_mask()
{
    const mode_t mask = umask(077);
    umask(mask);
    return mask;
}

// An open descriptor that is no directory and its status, or -1.
int open_no_directory(const char *path, int flags, mode_t mode, struct stat &status)
{
    const int descriptor = open(path, flags | O_CLOEXEC, mode);
    if (descriptor < 0)
        return -1;
    if (fstat(descriptor, &status) != 0)
        return close_and_fail(descriptor, errno);
    if (S_ISDIR(status.st_mode))
        return close_and_fail(descriptor, EISDIR);
    return descriptor;
}

// From a folder to what was opened in it, which may be nothing.
int step(int folder, int next)
{
    const int error = errno;
    close(folder);
    errno = error;
    return next;
}

// ---- The table of temporary files

// A record outside the table with the absolute form of path; null with errno set.
temporary_file *new_temporary(const char *path)
{
    owned_text folder;
    if (*path != '/') {
        folder.reset(getcwd(nullptr, 0));
        if (!folder)
            return nullptr;
    }
    const std::size_t folder_size = folder ? std::strlen(folder.get()) + 1 : 0;
    const std::size_t path_size = std::strlen(path) + 1;
    void *block = std::malloc(sizeof(temporary_file) + folder_size + path_size);
    if (!block) {
        errno = ENOMEM;
        return nullptr;
    }
    auto *file = static_cast<temporary_file *>(block);
    file->path = static_cast<char *>(block) + sizeof(temporary_file);
    if (folder) {
        std::memcpy(file->path, folder.get(), folder_size - 1);
        file->path[folder_size - 1] = '/';
    }
    std::memcpy(file->path + folder_size, path, path_size);
    return file;
}

// Removes the file if it still is the one that this process opened, not a link to it, and frees the record.
void discard(temporary_file *file)
{
    struct stat now;
    if (file->process == getpid() && lstat(file->path, &now) == 0 && now.st_dev == file->device &&
        now.st_ino == file->inode)
        unlink(file->path);
    std::free(file);
}

temporary_file *take_out(int descriptor)
{
    const std::lock_guard hold(temporaries.lock);
    temporary_file **link = &temporaries.first;
    while (*link && (*link)->descriptor != descriptor)
        link = &(*link)->next;
    temporary_file *file = *link;
    if (file)
        *link = file->next;
    return file;
}

void put_in(temporary_file *file, int descriptor, const struct stat &status)
{
    file->descriptor = descriptor;
    file->device = status.st_dev;
    file->inode = status.st_ino;
    file->process = getpid();
    const std::lock_guard hold(temporaries.lock);
    file->next = temporaries.first;
    temporaries.first = file;
}

// A fork while another thread holds the lock would leave it held for ever in the child.
[[gnu::constructor]] void keep_lock_over_forks()
{
    pthread_atfork([] { temporaries.lock.lock(); }, [] { temporaries.lock.unlock(); },
                   [] { temporaries.lock.unlock(); });
}

// Runs after every exit function and static destructor of the host that might still close its files.
[[gnu::destructor]] void discard_all()
{
    const std::lock_guard hold(temporaries.lock);
    while (temporaries.first) {
        temporary_file *file = temporaries.first;
        temporaries.first = file->next;
        discard(file);
    }
}

int open_temporary(const char *path, int flags, mode_t mode, struct stat &status)
{
    temporary_file *file = new_temporary(path);
    if (!file)
        return -1;
    const int descriptor = open_no_directory(path, flags, mode, status);
    if (descriptor < 0) {
        const int error = errno;
        std::free(file);
        return fail(error);
    }
    put_in(file, descriptor, status);
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
    char host_mode[lopra::mode_length_max + 2] = {mode[0], 'e'};  // e: not inherited
    std::remove_copy(mode + 1, mode + std::strlen(mode), host_mode + 2, 't');
    FILE *stream = std::fopen(name.get(), host_mode);
    if (!stream)
        return nullptr;
    struct stat status;
    if (fstat(fileno(stream), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(stream);
        errno = EISDIR;
        return nullptr;
    }
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
    return open_no_directory(name.get(), flags, mode, status);
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
    if (temporary_file *file = take_out(descriptor))
        discard(file);
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
    const int handle = open_no_directory(name.get(), handle_flags(access, disposition), read_bits | write_bits, status);
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
