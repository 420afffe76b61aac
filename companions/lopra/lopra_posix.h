// lopra_posix - what the sources of the POSIX port share (lopra, private)
#ifndef LOPRA_POSIX_H
#define LOPRA_POSIX_H

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

// The host's form of a path, with room for more behind it; null with errno set.
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

}  // namespace lopra

#endif
