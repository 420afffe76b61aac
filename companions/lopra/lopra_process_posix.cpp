// lopra_process_posix - what the port keeps for the whole process, on POSIX hosts (lopra)
//
// Temporary files. A file unlinked right after opening would let a second exclusive create succeed, so the name stays
// until the close, and a table tells which descriptors have such a name:
//
//     open_utf8    ->  { descriptor, path, device, inode, process }
//     close_utf8   ->  unlink, if the path still is that inode and this is that process; then close
//
// Entries left are dealt with when the process ends. A forked child inherits the table but owns none of its files.
//
// The permission mask can only be asked for by setting it. Two threads that did so at once might leave the wrong one.
//
// Process-wide state: the table and the mask, under one lock.
#include "lopra_posix.h"

#include <pthread.h>

#include <mutex>

namespace lopra
{

struct temporary_file {
    temporary_file *next;
    int descriptor;
    dev_t device;
    ino_t inode;
    pid_t process;  // who opened it, and alone may remove it
    char *path;     // absolute, after the record in the same block
};

namespace
{

struct process_state {
    std::mutex lock;
    temporary_file *first = nullptr;
};

process_state state;

// Removes the file if it still is the one that this process opened, not a link to it.
void discard(const owned_temporary &file)
{
    struct stat now;
    if (file->process == getpid() && lstat(file->path, &now) == 0 && now.st_dev == file->device &&
        now.st_ino == file->inode)
        unlink(file->path);
}

// A fork while another thread holds the lock would leave it held for ever in the child, and the mask changed.
[[gnu::constructor]] void keep_lock_over_forks()
{
    pthread_atfork([] { state.lock.lock(); }, [] { state.lock.unlock(); }, [] { state.lock.unlock(); });
}

// Runs after every exit function and static destructor of the host that might still close its files.
[[gnu::destructor]] void discard_all()
{
    const std::lock_guard hold(state.lock);
    while (state.first) {
        const owned_temporary file(state.first);
        state.first = file->next;
        discard(file);
    }
}

}  // namespace

owned_temporary new_temporary(const char *path)
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
    owned_temporary file(static_cast<temporary_file *>(block));
    file->path = static_cast<char *>(block) + sizeof(temporary_file);
    if (folder) {
        std::memcpy(file->path, folder.get(), folder_size - 1);
        file->path[folder_size - 1] = '/';
    }
    std::memcpy(file->path + folder_size, path, path_size);
    return file;
}

void put_in(owned_temporary file, int descriptor, const struct stat &status)
{
    file->descriptor = descriptor;
    file->device = status.st_dev;
    file->inode = status.st_ino;
    file->process = getpid();
    const std::lock_guard hold(state.lock);
    file->next = state.first;
    state.first = file.release();
}

void discard_temporary(int descriptor)
{
    owned_temporary file;
    {
        const std::lock_guard hold(state.lock);
        temporary_file **link = &state.first;
        while (*link && (*link)->descriptor != descriptor)
            link = &(*link)->next;
        file.reset(*link);
        if (file)
            *link = file->next;
    }
    if (file)
        discard(file);
}

mode_t current_mask()
{
    const std::lock_guard hold(state.lock);
    // A file made by another thread meanwhile gets too few permissions, not too many.
    const mode_t mask = umask(077);
    umask(mask);
    return mask;
}

}  // namespace lopra
