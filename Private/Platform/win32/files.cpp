// files - positions in open files, and their sizes, on Windows
#include "Platform/files.h"

#include "Platform/descriptor.h"

#include <io.h>
#include <sys/stat.h>

namespace teska
{

int descriptor_of(std::FILE *stream) noexcept { return _fileno(stream); }

std::int64_t file_size(int descriptor) noexcept
{
    struct _stat64 status;
    return _fstat64(descriptor, &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG ? status.st_size : -1;
}

bool is_pipe(int mode) noexcept { return (mode & _S_IFMT) == _S_IFIFO; }

std::int64_t read_position(std::FILE *stream) noexcept { return _ftelli64(stream); }

bool cut_file(int descriptor, std::int64_t end) noexcept
{
    return end >= 0 && _chsize_s(descriptor, end) == 0 && seek_descriptor(descriptor, end, SEEK_SET) == end;
}

}  // namespace teska
