// files - positions in open files, and their sizes, on POSIX hosts
#include "Platform/files.h"

#include "Platform/descriptor.h"

#include <sys/stat.h>
#include <unistd.h>

namespace teska
{

int descriptor_of(std::FILE *stream) noexcept { return fileno(stream); }

std::int64_t file_size(int descriptor) noexcept
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
}

bool is_pipe(int mode) noexcept { return S_ISFIFO(mode); }

std::int64_t read_position(std::FILE *stream) noexcept { return ftello(stream); }

bool cut_file(int descriptor, std::int64_t end) noexcept
{
    return end >= 0 && ftruncate(descriptor, end) == 0 && seek_descriptor(descriptor, end, SEEK_SET) == end;
}

}  // namespace teska
