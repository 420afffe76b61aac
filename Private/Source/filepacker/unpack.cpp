// filepacker/unpack - class FilePacker, the walk over the entries of an archive (files)
//
// Nothing in an archive is believed. The order for each entry:
//
//     name      1 to 199 bytes and a zero byte, else 5; nothing is cut, because a cut name may be another file's
//     length    0 to what is left of the file, else 5; only then a block of that size is asked for
//     content   read whole before a file is made, so that a damaged entry costs no file
//     file      made by create_below_utf8, which follows no link and no ".." out of the directory, else 2
//
// An archive that ends within a name ends there; within a length or a content it is damaged. A disk that fails to read
// is not taken for the end.
//
// The public ReadString has no limit and is not used here.
#include "Platform/files.h"
#include "Source/filepacker/filepacker_priv.h"
#include "Support/memory.h"

#include "filepacker.h"
#include "lopra.h"
#include "str_utils.h"

#include <cstring>

namespace fp = teska::filepacker;

using teska::heap_block;
using teska::zeroed_block;

namespace
{

constexpr int at_end = 9;
constexpr int length_size = 4;

// Bytes from the reading position to the end; negative when the file has no such thing.
std::int64_t bytes_left(std::FILE *stream)
{
    const std::int64_t position = teska::read_position(stream);
    return position >= 0 ? teska::file_size(teska::descriptor_of(stream)) - position : -1;
}

heap_block<char> joined(const char *directory, const char *name)
{
    const std::size_t size = std::strlen(directory) + 1 + std::strlen(name) + 1;
    heap_block<char> path = zeroed_block<char>(size);
    if (path)
        std::snprintf(path.get(), size, "%s\\%s", directory, name);
    return path;
}

bool write_and_close(int descriptor, const char *content, std::size_t size)
{
    const bool written = write_utf8(descriptor, content, size) == 0;
    return close_utf8(descriptor) == 0 && written;
}

}  // namespace

int FilePacker::Unpack(const char *directory) noexcept
{
    if (const int code = CheckMode(fp::open_mode))
        return code;
    if (std::fseek(stream, data_offset, SEEK_SET) != 0)
        return ThrowError(5, path);
    char name[fp::name_size];
    int code = ReadName(name);
    while (code == 0) {
        code = Extract(directory, name);
        if (code == 0)
            code = ReadName(name);
    }
    return code == at_end ? ThrowError(0, nullptr) : code;
}

int FilePacker::UnpackFile(const char *directory, char *entry_name) noexcept
{
    if (const int code = CheckMode(fp::open_mode))
        return code;
    char name[fp::name_size];
    if (const int code = ReadName(name))
        return code;
    if (entry_name != nullptr)
        std::memcpy(entry_name, name, std::strlen(name) + 1);
    return Extract(directory, name);
}

int FilePacker::UnpackFileAsBuffer(char **buffer, long *length, char *entry_name) noexcept
{
    *buffer = nullptr;
    *length = 0;
    if (const int code = CheckMode(fp::open_mode))
        return code;
    char name[fp::name_size];
    if (const int code = ReadName(name))
        return code;
    // Kept: code and text stay as they were.
    if (strncmp_ci(name, "@END", 4) == 0)
        return at_end;
    if (entry_name != nullptr)
        std::memcpy(entry_name, name, std::strlen(name) + 1);
    long size = 0;
    if (const int code = ReadLong(&size))
        return code;

    std::free(memory);
    memory = nullptr;
    heap_block<char> content = zeroed_block<char>(static_cast<std::size_t>(size) + 1);
    if (!content)
        return NoMemory(name);
    if (const int code = ReadBinaryData(content.get(), static_cast<int>(size)))
        return code;
    memory = content.release();
    *buffer = memory;
    *length = size;
    return 0;
}

// Reads the name of the next entry: 0, 9 at the end of the archive, or 5.
int FilePacker::ReadName(char *name) noexcept
{
    // What an earlier call met must not be taken for what this one meets.
    std::clearerr(stream);
    for (std::size_t n = 0; n < fp::name_size; ++n) {
        const int byte = std::fgetc(stream);
        if (byte == EOF)
            return std::ferror(stream) != 0 ? ThrowError(5, path) : ThrowError(at_end, nullptr);
        name[n] = static_cast<char>(byte);
        if (byte == 0)
            return n > 0 ? 0 : ThrowError(5, path);
    }
    return ThrowError(5, path);
}

// Reads the length of a content, which is 0 to what is left of the file: 0, or 5 and a length of 0.
int FilePacker::ReadLong(long *value) noexcept
{
    *value = 0;
    char bytes[length_size];
    if (const int code = ReadBinaryData(bytes, sizeof bytes))
        return code;
    std::uint32_t bits = 0;
    for (int i = length_size - 1; i >= 0; --i)
        bits = bits << 8 | static_cast<unsigned char>(bytes[i]);
    if (bits > INT32_MAX || bits > bytes_left(stream))
        return ThrowError(5, path);
    *value = static_cast<long>(bits);
    return 0;
}

// Goes back from the end of a length to the name before it: the call may be tried again.
int FilePacker::NoMemory(const char *name) noexcept
{
    std::fseek(stream, -static_cast<long>(std::strlen(name) + 1 + length_size), SEEK_CUR);
    return ThrowError(6, nullptr);
}

// Reads what follows a name and writes it to the file of that name, whose "/" become "\".
int FilePacker::Extract(const char *directory, char *name) noexcept
{
    long length = 0;
    if (const int code = ReadLong(&length))
        return code;
    ReplaceChar(name, '\\', '/');
    const auto size = static_cast<std::size_t>(length);
    const heap_block<char> output = joined(directory, name);
    const heap_block<char> content = zeroed_block<char>(size);
    if (!output || !content)
        return NoMemory(name);
    if (const int code = ReadBinaryData(content.get(), static_cast<int>(length)))
        return code;

    const int descriptor = create_below_utf8(directory, name);
    if (descriptor < 0)
        return ThrowError(2, output.get());
    if (write_and_close(descriptor, content.get(), size))
        return 0;
    remove_utf8(output.get());
    return ThrowError(7, output.get());
}
