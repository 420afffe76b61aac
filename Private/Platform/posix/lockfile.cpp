// lockfile - lock files of which can be told that their holder is gone, on POSIX hosts
//
// The host's lock on an open file (flock) ends with its process, whichever way that ends. A holder takes it on the file
// it has created and only then writes the mark:
//
//     holder                       others, when creating fails
//     1 create exclusively         a read the mark; none: leave it alone
//     2 host lock                  b host lock without waiting; refused: the holder lives
//     3 write the mark             c does the path still name this file? no: somebody removed it meanwhile
//       ..                         d remove the path, e give up the host lock, create as anybody does
//     4 remove the path
//     5 close
//
// A marked file under the host lock of somebody in b is one whose holder has died or is past 4, and c tells these apart.
// Nobody but who has the host lock of the file at the path removes that path (4, d), so it cannot come to name another
// file between c and d. Of several in d .. e each had its turn: the later ones find in c that the path is gone or names
// a new file. Who wins is decided by the exclusive creation alone.

#include "Platform/lockfile.h"

#include "Platform/descriptor.h"

#include <lopra.h>

#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

namespace teska
{

namespace
{

constexpr char mark[] = "TESKAShared lock\n";
constexpr unsigned mark_length = sizeof mark - 1;

bool take_host_lock(int descriptor)
{
    int result;
    do
        result = flock(descriptor, LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

// The file is a regular one that holds the mark and nothing else.
bool is_marked(int descriptor)
{
    struct stat opened;
    if (fstat(descriptor, &opened) != 0 || !S_ISREG(opened.st_mode))
        return false;
    char content[mark_length + 1];
    const int length = read_descriptor(descriptor, content, sizeof content);
    return length == static_cast<int>(mark_length) && std::memcmp(content, mark, mark_length) == 0;
}

// Whether the path names the open file itself, not a link to it.
bool names(const char *path, int descriptor)
{
    char host_path[PATH_MAX];
    const std::size_t size = std::strlen(path) + 1;
    if (size > sizeof host_path)
        return false;
    std::replace_copy(path, path + size, host_path, '\\', '/');
    struct stat named;
    struct stat opened;
    return lstat(host_path, &named) == 0 && fstat(descriptor, &opened) == 0 && named.st_dev == opened.st_dev &&
           named.st_ino == opened.st_ino;
}

}  // namespace

void mark_lock_file(int descriptor) noexcept
{
    if (take_host_lock(descriptor))
        write_descriptor(descriptor, mark, mark_length);
}

bool remove_left_lock_file(const char *path) noexcept
{
    // Neither waits for the other end of a pipe nor follows a link.
    const int descriptor = open_utf8(path, LOPRA_O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW);
    if (descriptor < 0)
        return errno == ENOENT;
    bool gone = false;
    if (is_marked(descriptor) && take_host_lock(descriptor))
        gone = !names(path, descriptor) || remove_utf8(path) == 0;
    close_utf8(descriptor);
    return gone;
}

}  // namespace teska
