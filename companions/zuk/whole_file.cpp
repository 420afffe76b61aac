// whole_file - a file read as a whole (zuk)
#include "whole_file.h"

#include "lopra.h"

#include <sys/stat.h>

#include <cstdio>
#include <memory>

namespace zuk
{

namespace
{

constexpr std::size_t step_size = 65536;  // bytes of one read

struct close_stream {
    void operator()(FILE *stream) const { std::fclose(stream); }
};

}  // namespace

bool load_file(const char *path, std::string &bytes)
{
    lopra_stat32 status;
    // Asked by name first: the open of a pipe would wait for its other end.
    if (stat32_utf8(path, &status) != 0 || (status.st_mode & S_IFMT) != S_IFREG)
        return false;
    const std::unique_ptr<FILE, close_stream> stream(fopen_utf8(path, "rb"));
    if (!stream)
        return false;
    std::size_t count = 1;
    while (count > 0) {
        const std::size_t length = bytes.size();
        bytes.resize(length + step_size);
        count = std::fread(bytes.data() + length, 1, step_size, stream.get());
        bytes.resize(length + count);
    }
    return std::feof(stream.get()) != 0;  // anything else is a failure
}

}  // namespace zuk
