// descriptor - the host's calls on an open file descriptor, on POSIX hosts

#include "Platform/descriptor.h"

#include "Platform/posix/uninterrupted.h"

#include <unistd.h>

namespace teska
{

static_assert(sizeof(off_t) == sizeof(std::int64_t));

int read_descriptor(int descriptor, char *destination, unsigned count) noexcept
{
    return static_cast<int>(uninterrupted([=] { return read(descriptor, destination, count); }));
}

int write_descriptor(int descriptor, const char *source, unsigned count) noexcept
{
    return static_cast<int>(uninterrupted([=] { return write(descriptor, source, count); }));
}

std::int64_t seek_descriptor(int descriptor, std::int64_t offset, int whence) noexcept
{
    return uninterrupted([=] { return lseek(descriptor, offset, whence); });
}

}  // namespace teska
