// lopra_held_posix - files that a process holds: lock files, and files on their way to a name (lopra)
//
// The host's lock on an open file (flock) ends with its process, whichever way that ends. A file that ought to be under
// that lock and is not was left by a process that died, and may go:
//
//     holder                                   another, who finds the name taken
//     1 create exclusively                     a open; is it a file of this kind? if not: leave it alone
//     2 host lock; refused: somebody is in b   b host lock without waiting; refused: the holder lives
//     3 does the name lead to this file?       c does the name lead to this file? if not: somebody removed it meanwhile
//       if not: somebody has been in d         d remove the name, e close, create as anybody does
//
// After 3 nobody but the holder can be in c or d, and before 3 all he loses is a file without content. Nobody but who
// has the host lock of the file that a name leads to removes that name, so it cannot come to lead to another between c
// and d.
//
// A lock file must never be seen without its mark, which tells it from the files of others: they are left alone. It is
// made and marked under another name, beside, and gets its own by a hard link, which the host refuses when the name is
// taken. Killed at any point, a process leaves a file that its lock has gone from, under one name or two.
//
// Process-wide state: none.
#include "lopra.h"
#include "lopra_posix.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cstdio>

namespace lopra
{

namespace
{

// So many processes at most save one file, or have died in it where their files cannot be removed.
constexpr int beside_attempts_max = 1000;

constexpr char mark[] = "TESKAShared lock\n";
constexpr std::size_t mark_length = sizeof mark - 1;

using file_kind = bool (*)(int descriptor);

bool take_host_lock(int descriptor)
{
    int result = flock(descriptor, LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR)
        result = flock(descriptor, LOCK_EX | LOCK_NB);
    return result == 0;
}

bool is_regular(int descriptor)
{
    struct stat opened;
    return fstat(descriptor, &opened) == 0 && S_ISREG(opened.st_mode);
}

// A regular file that holds the mark and nothing else.
bool is_marked(int descriptor)
{
    if (!is_regular(descriptor))
        return false;
    char content[mark_length + 1];
    const ssize_t length = read(descriptor, content, sizeof content);
    return length == static_cast<ssize_t>(mark_length) && std::memcmp(content, mark, mark_length) == 0;
}

// Whether a path leads to the open file itself, not to a link to it.
bool leads_to(const char *path, int descriptor)
{
    struct stat named;
    struct stat opened;
    return lstat(path, &named) == 0 && fstat(descriptor, &opened) == 0 && named.st_dev == opened.st_dev &&
           named.st_ino == opened.st_ino;
}

// Steps 1 to 3. EEXIST when the name is taken, or the file was taken for one that was left.
int create_held(const char *path, mode_t mode)
{
    int descriptor = -1;
    do
        descriptor = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
        return -1;
    // Where the host has no such locks nobody takes a file for left.
    const bool held = take_host_lock(descriptor) || errno != EWOULDBLOCK;
    return held && leads_to(path, descriptor) ? descriptor : close_and_fail(descriptor, EEXIST);
}

// Steps a to e. Returns whether the file was there and is gone, so that the name may be free.
bool remove_left(const char *path, file_kind is_ours)
{
    // Neither waits for the other end of a pipe nor follows a link.
    const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0)
        return errno == ENOENT;
    bool gone = false;
    if (is_ours(descriptor) && take_host_lock(descriptor))
        gone = !leads_to(path, descriptor) || unlink(path) == 0;
    close(descriptor);
    return gone;
}

// Creates a held file, in place of one that was left if need be.
int create_free(const char *path, mode_t mode, file_kind is_ours)
{
    const int descriptor = create_held(path, mode);
    if (descriptor >= 0 || errno != EEXIST)
        return descriptor;
    return remove_left(path, is_ours) ? create_held(path, mode) : fail(EEXIST);
}

// Gives a held file a second name, in place of a lock file that was left if need be.
bool give_name(const char *from, const char *to)
{
    if (link(from, to) == 0)
        return true;
    if (errno != EEXIST)
        return false;
    if (remove_left(to, is_marked))
        return link(from, to) == 0;
    errno = EEXIST;
    return false;
}

// Without room on the disk the file gets no mark: it is a lock file all the same, only nobody will remove it should its
// holder be killed.
void write_mark(int descriptor) { write_utf8(descriptor, mark, mark_length); }

int create_lock_file(const char *path, char *beside)
{
    int descriptor = create_beside(beside, read_bits);
    if (descriptor < 0)
        return -1;
    write_mark(descriptor);
    const bool named = give_name(beside, path);
    const int error = errno;
    unlink(beside);
    if (named)
        return descriptor;
    close(descriptor);
    if (error == EEXIST)
        return fail(EEXIST);
    // A file system without links, most likely; if it is something else, that is met here again.
    descriptor = create_free(path, read_bits, is_marked);
    if (descriptor >= 0)
        write_mark(descriptor);
    return descriptor;
}

}  // namespace

int create_beside(char *path, mode_t mode)
{
    char *end = path + std::strlen(path);
    for (int n = 0; n < beside_attempts_max; ++n) {
        std::snprintf(end, beside_room, ".tmp%d", n);
        const int descriptor = create_free(path, mode, is_regular);
        if (descriptor >= 0 || errno != EEXIST)
            return descriptor;
    }
    return -1;
}

}  // namespace lopra

int lock_utf8(const char *path) noexcept
{
    using namespace lopra;
    const owned_text name = host_path(path);
    const owned_text beside = name ? host_path(path, beside_room) : nullptr;
    owned_temporary file = beside ? new_temporary(name.get()) : nullptr;
    const int descriptor = file ? create_lock_file(name.get(), beside.get()) : -1;
    struct stat status;
    if (descriptor < 0)
        return -1;
    if (fstat(descriptor, &status) != 0) {
        const int error = errno;
        unlink(name.get());
        return close_and_fail(descriptor, error);
    }
    put_in(std::move(file), descriptor, status);
    return descriptor;
}
