// descriptor - the host's calls on an open file descriptor, alike on every host
//
// A call that a signal interrupted is made again. Failures give -1 and set errno; a negative descriptor fails with
// EBADF.

#ifndef TESKA_PLATFORM_DESCRIPTOR_H
#define TESKA_PLATFORM_DESCRIPTOR_H

#include <cstdint>

namespace teska
{

// What one call moves at most; every host takes this.
constexpr unsigned descriptor_bytes_max = 1U << 30;

// Both return how many bytes were moved, which may be less than asked for. Reading returns 0 at the end of the file.
int read_descriptor(int descriptor, char *destination, unsigned count) noexcept;
int write_descriptor(int descriptor, const char *source, unsigned count) noexcept;

// Returns the new position, counted from the start of the file. Whence is SEEK_SET, SEEK_CUR or SEEK_END.
std::int64_t seek_descriptor(int descriptor, std::int64_t offset, int whence) noexcept;

}  // namespace teska

#endif
