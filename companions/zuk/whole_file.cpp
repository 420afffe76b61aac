// whole_file - files read and replaced as a whole (zuk)
//
// The order of the steps of a replacement is what makes it safe:
//
//     write beside -> flush -> close -> rename -> flush the folder
//
// Data that were not flushed before the rename might reach the disk after it: a power cut would leave the new name with
// half a text. The folder is flushed so that success means that the new text is found after any accident.
#include "whole_file.h"

#include "lopra.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <sys/stat.h>

namespace zuk
{

namespace
{

constexpr std::size_t step_size = 65536;  // bytes of one read

struct close_stream {
    void operator()(FILE *stream) const { std::fclose(stream); }
};

struct free_memory {
    void operator()(char *text) const { std::free(text); }
};

// Writes the file beside the old one; its name stays behind only on success.
bool write_beside(int descriptor, std::string_view bytes) noexcept
{
    const bool written = write_utf8(descriptor, bytes.data(), bytes.size()) == 0 && flush_utf8(descriptor) == 0;
    return close_utf8(descriptor) == 0 && written;
}

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

bool replace_file(const char *path, std::string_view bytes) noexcept
{
    char *text = nullptr;
    const int descriptor = create_beside_utf8(path, &text);
    const std::unique_ptr<char, free_memory> name(text);
    if (descriptor < 0)
        return false;
    if (!write_beside(descriptor, bytes) || rename_utf8(name.get(), path) != 0) {
        remove_utf8(name.get());
        return false;
    }
    return flush_folder_utf8(path) == 0;
}

}  // namespace zuk
