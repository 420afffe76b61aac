// descriptor - the host's calls on an open file descriptor, on Windows
//
// Signals interrupt nothing here. A descriptor that was never open is kept from the runtime, which may end the program.

#include "Platform/descriptor.h"

#include <io.h>

#include <cerrno>

namespace teska
{

namespace
{

int refused() noexcept
{
    errno = EBADF;
    return -1;
}

}  // namespace

int read_descriptor(int descriptor, char *destination, unsigned count) noexcept
{
    return descriptor < 0 ? refused() : _read(descriptor, destination, count);
}

int write_descriptor(int descriptor, const char *source, unsigned count) noexcept
{
    return descriptor < 0 ? refused() : _write(descriptor, source, count);
}

std::int64_t seek_descriptor(int descriptor, std::int64_t offset, int whence) noexcept
{
    return descriptor < 0 ? refused() : _lseeki64(descriptor, offset, whence);
}

}  // namespace teska
