// lopra_save_posix - writing and replacing whole files, on POSIX hosts (lopra)
//
// The order of the steps of a replacement is what makes it safe:
//
//     write beside -> flush -> rename -> close -> flush the folder
//
// Data that were not flushed before the rename might reach the disk after it: a power cut would leave the name with
// half a file. The file is held until it has its name, or another process that saves would take it for one that was
// left. The folder is flushed so that success means that the new file is found after any accident. Memory is taken and
// the folder opened first: what is left to fail once the new file has the name is the disk alone.
//
// Process-wide state: none.
#include "lopra.h"
#include "lopra_posix.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>

namespace
{

using namespace lopra;

// Gives an open file owner, group and permissions of another. Only the superuser may set all of them; a group that
// cannot be set gets no more access than everybody has.
int keep_access(int descriptor, const struct stat &status)
{
    mode_t mode = status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (fchown(descriptor, status.st_uid, status.st_gid) != 0 &&
        fchown(descriptor, static_cast<uid_t>(-1), status.st_gid) != 0)
        mode &= ~static_cast<mode_t>(S_IRWXG) | ((mode & S_IRWXO) << 3);
    return fchmod(descriptor, mode);
}

// Leaves the part of a path before the last separator; nothing when there is none.
void cut_to_folder(char *path)
{
    char *separator = std::strrchr(path, '/');
    if (!separator)
        *path = '\0';
    else
        separator[separator == path ? 1 : 0] = '\0';
}

int flush(int descriptor)
{
    int result = fsync(descriptor);
    while (result != 0 && errno == EINTR)
        result = fsync(descriptor);
    return result;
}

// Some file systems cannot flush a folder, and say so.
int flush_folder(int descriptor) { return flush(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP ? 0 : -1; }

struct folder_handle {
    int descriptor;

    ~folder_handle()
    {
        if (descriptor >= 0)
            close(descriptor);
    }
};

int open_folder(const char *path) { return open(*path ? path : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }

// The file that is to be replaced.
struct replaced_file {
    bool present;
    struct stat status;
};

// Whether a file can be replaced: missing is fine.
int look_at(const char *path, replaced_file &file)
{
    file.present = stat(path, &file.status) == 0;
    if (!file.present)
        return errno == ENOENT ? 0 : -1;
    if (S_ISDIR(file.status.st_mode))
        return fail(EISDIR);
    if (!S_ISREG(file.status.st_mode))
        return fail(EINVAL);
    return file.status.st_mode & S_IWUSR ? 0 : fail(EACCES);
}

// Everything that must be done before the new file may take the name.
int fill(int descriptor, const replaced_file &old, const void *data, std::size_t size)
{
    if (old.present && keep_access(descriptor, old.status) != 0)
        return -1;
    return write_utf8(descriptor, data, size) == 0 ? flush(descriptor) : -1;
}

// The absolute path of a file that is not there, in a folder that is; null with errno set.
char *path_of_new_file(const char *path)
{
    const owned_text folder_name = host_path(path);
    if (!folder_name)
        return nullptr;
    cut_to_folder(folder_name.get());
    const owned_text folder(realpath(*folder_name ? folder_name.get() : ".", nullptr));
    if (!folder)
        return nullptr;
    const char *separator = std::strrchr(path, '/');
    const char *name = separator ? separator + 1 : path;
    const std::size_t size = std::strlen(folder.get()) + std::strlen(name) + 2;
    char *full = static_cast<char *>(std::malloc(size));
    if (full)
        std::snprintf(full, size, "%s/%s", std::strcmp(folder.get(), "/") == 0 ? "" : folder.get(), name);
    return full;
}

}  // namespace

int write_utf8(int descriptor, const void *data, size_t size) noexcept
{
    for (const char *rest = static_cast<const char *>(data); size > 0;) {
        const ssize_t count = write(descriptor, rest, size);
        if (count == 0)
            return fail(ENOSPC);
        if (count < 0 && errno != EINTR)
            return -1;
        if (count > 0) {
            rest += count;
            size -= static_cast<std::size_t>(count);
        }
    }
    return 0;
}

int replace_utf8(const char *path, const void *data, size_t size) noexcept
{
    const owned_text target = host_path(path);
    const owned_text folder_path = target ? host_path(path) : nullptr;
    const owned_text beside = folder_path ? host_path(path, beside_room) : nullptr;
    if (!beside)
        return -1;
    cut_to_folder(folder_path.get());
    replaced_file old;
    if (look_at(target.get(), old) != 0)
        return -1;
    const folder_handle folder{open_folder(folder_path.get())};
    if (folder.descriptor < 0)
        return -1;
    // Nobody may open it before it has the access rights of the file that it replaces.
    const int descriptor = create_beside(beside.get(), old.present ? S_IRUSR | S_IWUSR : read_bits | write_bits);
    if (descriptor < 0)
        return -1;
    if (fill(descriptor, old, data, size) == 0 && rename(beside.get(), target.get()) == 0) {
        close(descriptor);  // nothing is left that this could lose
        return flush_folder(folder.descriptor);
    }
    const int error = errno;
    unlink(beside.get());
    return close_and_fail(descriptor, error);
}

char *full_path_utf8(const char *path) noexcept
{
    const owned_text name = host_path(path);
    if (!name)
        return nullptr;
    char *full = realpath(name.get(), nullptr);
    return full || errno != ENOENT ? full : path_of_new_file(name.get());
}
