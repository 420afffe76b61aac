// files - positions in open files, and their sizes
//
// What the C library offers with `long` alone, or not at all.

#ifndef TESKA_PLATFORM_FILES_H
#define TESKA_PLATFORM_FILES_H

#include <cstdint>
#include <cstdio>

namespace teska
{

// The descriptor of an open stream. Who writes to it must not write through the stream as well.
int descriptor_of(std::FILE *stream) noexcept;

// Bytes in a regular file; -1 for anything else.
std::int64_t file_size(int descriptor) noexcept;

// Whether a mode, in the host's st_mode bits, is that of a named pipe: opening one may wait for ever.
bool is_pipe(int mode) noexcept;

// Where the next byte is read from a stream; -1 when that has no position.
std::int64_t read_position(std::FILE *stream) noexcept;

// Makes the file end at an offset, and the writing go on there. False when that cannot be done.
bool cut_file(int descriptor, std::int64_t end) noexcept;

}  // namespace teska

#endif
