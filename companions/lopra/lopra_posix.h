// lopra_posix - what the sources of the POSIX port share (lopra, private)
#ifndef LOPRA_POSIX_H
#define LOPRA_POSIX_H

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace lopra
{

constexpr mode_t write_bits = 0222;
constexpr mode_t read_bits = 0444;

struct free_memory {
    void operator()(void *block) const { std::free(block); }
};

using owned_text = std::unique_ptr<char, free_memory>;

// The host's form of a path, with room for more after it; null with errno set.
inline owned_text host_path(const char *path, std::size_t more = 0)
{
    if (!path) {
        errno = EINVAL;
        return nullptr;
    }
    const std::size_t size = std::strlen(path) + 1;
    owned_text copy(static_cast<char *>(std::malloc(size + more)));
    if (!copy) {
        errno = ENOMEM;
        return nullptr;
    }
    std::replace_copy(path, path + size, copy.get(), '\\', '/');
    return copy;
}

inline int fail(int error)
{
    errno = error;
    return -1;
}

inline int close_and_fail(int descriptor, int error)
{
    close(descriptor);
    return fail(error);
}

// ---- What is kept for the whole process (lopra_process_posix.cpp)

// A file that is removed when it is closed, at the latest when the process ends.
struct temporary_file;
using owned_temporary = std::unique_ptr<temporary_file, free_memory>;

// A record with the absolute form of a path, outside the table; null with errno set.
owned_temporary new_temporary(const char *path);

// From now on the file is removed with its descriptor.
void put_in(owned_temporary file, int descriptor, const struct stat &status);

// Removes the file of a descriptor that is about to be closed, if it is one of the table.
void discard_temporary(int descriptor);

// The permissions that the process does not give to the files it makes.
mode_t current_mask();

// ---- Files that a process holds (lopra_held_posix.cpp)

constexpr std::size_t beside_room = 32;  // ".tmp", a number and the zero

// Creates a file beside another and holds it by the host's lock. The path there gets its ending; the names of files
// whose process has died are used again.
int create_beside(char *path, mode_t mode);

}  // namespace lopra

#endif
