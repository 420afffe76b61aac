// descriptor - the host's calls on an open file descriptor, on POSIX hosts

#include "Platform/descriptor.h"

#include <cerrno>

#include <unistd.h>

namespace teska
{

static_assert(sizeof(off_t) == sizeof(std::int64_t));

int read_descriptor(int descriptor, char *destination, unsigned count) noexcept
{
    ssize_t moved;
    do
        moved = read(descriptor, destination, count);
    while (moved < 0 && errno == EINTR);
    return static_cast<int>(moved);
}

int write_descriptor(int descriptor, const char *source, unsigned count) noexcept
{
    ssize_t moved;
    do
        moved = write(descriptor, source, count);
    while (moved < 0 && errno == EINTR);
    return static_cast<int>(moved);
}

std::int64_t seek_descriptor(int descriptor, std::int64_t offset, int whence) noexcept
{
    return lseek(descriptor, offset, whence);
}

}  // namespace teska
