// flock - a lock between processes, held by means of a file (files)
//
// Who creates the file has the lock; lopra makes such files, and finds those whose holder is gone.

#include "flock.h"

#include "Support/memory.h"

#include <lopra.h>

#include <cstring>

namespace
{

constexpr std::size_t path_length_max = 127;

}  // namespace

struct flock_rec {
    int descriptor;  // of the lock file
};

flock_rec *flock_get(const char *path) TESKA_NOTHROW
{
    if (path == nullptr || std::strlen(path) > path_length_max)
        return nullptr;
    auto lock = teska::make_record<flock_rec>();
    if (!lock)
        return nullptr;
    lock->descriptor = lock_utf8(path);
    return lock->descriptor >= 0 ? lock.release() : nullptr;
}

int flock_free(flock_rec *lock) TESKA_NOTHROW
{
    if (lock != nullptr)
        close_utf8(lock->descriptor);
    teska::kill_record(lock);
    return 0;
}
