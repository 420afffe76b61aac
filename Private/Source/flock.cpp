// flock - a lock between processes, held by means of a file (files)
//
// The exclusive creation of the file decides who has the lock. Being temporary the file disappears with its holder;
// where the host leaves the files of killed processes behind, Platform/lockfile.h finds them.

#include "flock.h"

#include "Platform/lockfile.h"
#include "Support/memory.h"

#include <lopra.h>

#include <cerrno>
#include <cstring>

struct flock_rec {
    char path[128];  // of the lock file, as given
    int descriptor;  // open on it
};

namespace
{

int create(const char *path)
{
    constexpr int flags = LOPRA_O_CREAT | LOPRA_O_EXCL | LOPRA_O_TRUNC | LOPRA_O_TEMPORARY | LOPRA_O_RDWR;
    int descriptor;
    do
        descriptor = open_utf8(path, flags, LOPRA_S_IWRITE);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

}  // namespace

flock_rec *flock_get(const char *path) TESKA_NOTHROW
{
    if (path == nullptr || std::strlen(path) >= sizeof(flock_rec::path))
        return nullptr;
    int descriptor = create(path);
    if (descriptor < 0 && errno == EEXIST && teska::remove_left_lock_file(path))
        descriptor = create(path);
    if (descriptor < 0)
        return nullptr;
    teska::mark_lock_file(descriptor);
    auto lock = teska::make_record<flock_rec>();
    if (!lock) {
        close_utf8(descriptor);
        return nullptr;
    }
    std::strcpy(lock->path, path);
    lock->descriptor = descriptor;
    chmod_utf8(path, LOPRA_S_IREAD);
    return lock.release();
}

int flock_free(flock_rec *lock) TESKA_NOTHROW
{
    if (lock != nullptr)
        close_utf8(lock->descriptor);
    teska::kill_record(lock);
    return 0;
}
