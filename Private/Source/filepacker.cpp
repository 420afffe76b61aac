// filepacker - class FilePacker, an archive of files one after another: life, adding, raw reading and writing (files)
//
// The header has the format. What an archive of one entry "a/b" with content "hi" and no description looks like:
//
//     0    51 57 46 50 00              "QWFP"
//     5    76 65 72 31 2e 30 00        "ver1.0"
//     12   00 * 128
//     140  00                          ""
//     141  61 2f 62 00                 "a/b"
//     145  02 00 00 00                 2
//     149  68 69                       "hi"
//
// Writing. A stream would take an entry into its buffer and learn much later that the disk is full. So bytes go to the
// stream's descriptor at once, and the stream itself stays empty. An entry that fails is cut off, so that the file is a
// whole archive after every call; when it cannot be cut off the file is closed, because entries after a torn one would
// be lost without a word.
//
// Reading goes through the stream; filepacker/unpack.cpp has the walk over the entries.
//
// Process-wide state: none.
#include "filepacker.h"

#include "Platform/descriptor.h"
#include "Platform/files.h"
#include "Source/filepacker/filepacker_priv.h"
#include "Support/memory.h"

#include "lopra.h"
#include "str_utils.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>
#include <memory>

namespace fp = teska::filepacker;

namespace
{

using teska::descriptor_of;
using teska::heap_block;
using teska::seek_descriptor;
using teska::zeroed_block;

constexpr char magic[] = "QWFP";
constexpr char version[] = "ver1.0";
constexpr int description_offset = 140;

constexpr std::size_t slot_size = 500;  // of the register, far more than a name that can be read back
constexpr int register_growth = 50;

struct close_delete {
    void operator()(std::FILE *stream) const noexcept { std::fclose(stream); }
};

using owned_stream = std::unique_ptr<std::FILE, close_delete>;

int differs(const void *name, const void *key)
{
    return std::strcmp(static_cast<const char *>(name), static_cast<const char *>(key));
}

// Puts a text after another, as much of it as there is room for.
template <std::size_t size>
void append_text(char (&text)[size], const char *rest)
{
    const std::size_t used = std::strlen(text);
    strncpy_w0(text + used, rest, static_cast<int>(size - 1 - used));
}

// Reads a text of any length and its zero byte, and keeps its first size - 1 characters. Returns the length, -1 when
// the file ends before the zero byte.
std::int64_t read_text(std::FILE *stream, char *text, std::size_t size)
{
    std::int64_t length = 0;
    std::size_t kept = 0;
    int byte = std::fgetc(stream);
    for (; byte > 0; byte = std::fgetc(stream), ++length)
        if (kept + 1 < size)
            text[kept++] = static_cast<char>(byte);
    text[kept] = '\0';
    return byte == 0 ? length : -1;
}

// The code for a source that need not be opened: 2, 8, or 0.
int obstacle(const char *source_path)
{
    lopra_stat32 status;
    if (stat32_utf8(source_path, &status) != 0)
        return errno == EOVERFLOW ? 8 : 2;
    return teska::is_pipe(status.st_mode) ? 8 : 0;
}

// How many bytes of the delimiter the last bytes read are, when `seen` of them were before this one. The longest
// beginning that is also an end of what was seen is looked for in the delimiter itself: there is no other window.
std::size_t next_seen(const char *delimiter, std::size_t seen, char byte)
{
    while (seen > 0 && delimiter[seen] != byte) {
        const std::size_t before = seen--;
        while (seen > 0 && std::memcmp(delimiter, delimiter + before - seen, seen) != 0)
            --seen;
    }
    return delimiter[seen] == byte ? seen + 1 : 0;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

FilePacker::FilePacker(const char *archive_path, int wanted, const char *text) noexcept
    : stream(nullptr), names(nullptr), mode(fp::no_mode), error(0), error_text{}, description{}, path{},
      memory(nullptr), data_offset(0)
{
    ThrowError(0, nullptr);
    if (text != nullptr)
        strncpy_w0(description, text, sizeof description - 1);
    if (archive_path != nullptr)
        strncpy_w0(path, archive_path, sizeof path - 1);

    int code = 0;
    if (wanted == fp::create_mode)
        code = Create(archive_path);
    else if (wanted == fp::open_mode)
        code = Open(archive_path);
    else
        code = ThrowError(1, nullptr);

    if (code == 0) {
        mode = wanted;
    } else if (stream != nullptr) {
        std::fclose(stream);
        stream = nullptr;
    }
}

FilePacker &FilePacker::operator=(const FilePacker &other) noexcept = default;

FilePacker::~FilePacker()
{
    if (stream != nullptr)
        std::fclose(stream);
    list_kill(names);
    std::free(memory);
}

int FilePacker::Create(const char *archive_path) noexcept
{
    names = list_new(register_growth, slot_size, nullptr);
    if (names == nullptr)
        return ThrowError(6, nullptr);
    stream = fopen_utf8(archive_path, "wb");
    if (stream == nullptr)
        return ThrowError(3, path);

    char head[description_offset] = {};
    std::memcpy(head, magic, sizeof magic);
    std::memcpy(head + sizeof magic, version, sizeof version);
    const int code = Append(head, sizeof head);
    return code != 0 ? code : WriteString(description);
}

int FilePacker::Open(const char *archive_path) noexcept
{
    stream = fopen_utf8(archive_path, "rb");
    if (stream == nullptr)
        return ThrowError(2, path);
    char start[sizeof magic] = {};
    if (std::fread(start, 1, sizeof start, stream) != sizeof start || std::memcmp(start, magic, sizeof magic) != 0)
        return ThrowError(5, path);

    // The version may be any text. The description begins at its offset all the same.
    char ignored[1];
    if (read_text(stream, ignored, sizeof ignored) < 0 || std::fseek(stream, description_offset, SEEK_SET) != 0)
        return ThrowError(5, path);
    const std::int64_t length = read_text(stream, description, sizeof description);
    if (length < 0 || length > INT_MAX - description_offset - 1)
        return ThrowError(5, path);
    data_offset = description_offset + static_cast<int>(length) + 1;
    return 0;
}

// ---- Add ------------------------------------------------------------------------------------------------------------

int FilePacker::AddFile(const char *source_path, const char *entry_name) noexcept
{
    if (const int code = CheckMode(fp::create_mode))
        return code;
    const char *given = entry_name != nullptr ? entry_name : source_path;
    if (given != nullptr && IsRegistered(given))
        return 0;
    if (const int code = obstacle(source_path))
        return ThrowError(code, source_path);
    owned_stream source(fopen_utf8(source_path, "rb"));
    if (!source)
        return ThrowError(2, source_path);
    char stored[fp::name_size];
    if (!StoredName(given, stored))
        return ThrowError(7, path);

    const std::int64_t length = teska::file_size(descriptor_of(source.get()));
    if (length < 0 || length > INT32_MAX)
        return ThrowError(8, source_path);
    const auto size = static_cast<std::size_t>(length);
    const heap_block<char> content = zeroed_block<char>(size);
    if (!content)
        return ThrowError(6, nullptr);
    if (std::fread(content.get(), 1, size, source.get()) != size)
        return ThrowError(8, source_path);
    return AddEntry(stored, given, content.get(), static_cast<long>(length));
}

int FilePacker::AddFileAsBuffer(const char *buffer, long length, const char *entry_name) noexcept
{
    if (const int code = CheckMode(fp::create_mode))
        return code;
    char stored[fp::name_size];
    if (entry_name != nullptr && IsRegistered(entry_name))
        return 0;
    if (!StoredName(entry_name, stored) || length < 0 || length > INT32_MAX)
        return ThrowError(7, path);
    // Kept: the name with "/" is registered, although the one as given was looked for.
    return AddEntry(stored, stored, buffer, length);
}

int FilePacker::AddEntry(const char *name, const char *registered, const char *content, long length) noexcept
{
    char slot[slot_size] = {};
    strncpy_w0(slot, registered, sizeof slot - 1);
    if (list_insert(names, slot) < 0)
        return ThrowError(6, nullptr);

    const std::int64_t start = seek_descriptor(descriptor_of(stream), 0, SEEK_CUR);
    int code = WriteString(name);
    if (code == 0)
        code = WriteLong(length);
    if (code == 0)
        code = WriteBinaryData(content, static_cast<int>(length));
    if (code != 0) {
        CutBack(start);
        list_rem_element(names, list_num(names) - 1);
    }
    return code;
}

bool FilePacker::IsRegistered(const char *name) noexcept { return list_search_el(names, name, differs) >= 0; }

// The form of a name in the archive. False when it could not be read back.
bool FilePacker::StoredName(const char *name, char *stored) noexcept
{
    const std::size_t length = name != nullptr ? std::strlen(name) : 0;
    if (length == 0 || length >= fp::name_size)
        return false;
    std::memcpy(stored, name, length + 1);
    ReplaceChar(stored, '/', '\\');
    return true;
}

// Takes back what was written after a position; an archive from which it cannot be taken is closed.
void FilePacker::CutBack(std::int64_t end) noexcept
{
    if (stream == nullptr || teska::cut_file(descriptor_of(stream), end))
        return;
    std::fclose(stream);
    stream = nullptr;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int FilePacker::GetError(char *text) noexcept
{
    if (text != nullptr)
        std::snprintf(text, fp::message_size, "FilePacker error %d: %s", error, error_text);
    return error;
}

int FilePacker::GetDescription(char *text) noexcept
{
    std::memcpy(text, description, std::strlen(description) + 1);
    return 0;
}

// ---- Raw reading and writing ----------------------------------------------------------------------------------------

int FilePacker::ReadString(char *text) noexcept
{
    *text = '\0';
    if (stream == nullptr)
        return ThrowError(4, path);
    return read_text(stream, text, SIZE_MAX) < 0 ? ThrowError(5, path) : 0;
}

int FilePacker::WriteString(const char *text) noexcept { return Append(text, std::strlen(text) + 1); }

int FilePacker::ReadBinaryData(char *buffer, int count) noexcept
{
    if (stream == nullptr)
        return ThrowError(4, path);
    if (count < 0)
        return ThrowError(5, path);
    // Kept: also when nothing is read.
    buffer[0] = '\0';
    const auto size = static_cast<std::size_t>(count);
    return std::fread(buffer, 1, size, stream) != size ? ThrowError(5, path) : 0;
}

int FilePacker::WriteBinaryData(const char *buffer, int count) noexcept
{
    if (count < 0)
        return ThrowError(stream != nullptr ? 7 : 4, path);
    return Append(buffer, static_cast<std::size_t>(count));
}

int FilePacker::ReadUpTo(char *buffer, int size, const char *delimiter) noexcept
{
    const std::size_t room = buffer != nullptr && size > 0 ? static_cast<std::size_t>(size) : 0;
    if (room > 0)
        std::memset(buffer, 0, room);
    if (stream == nullptr)
        return ThrowError(4, path);
    const std::size_t length = std::strlen(delimiter);
    std::size_t seen = 0;
    for (std::size_t n = 0; seen < length; ++n) {
        if (room > 0 && n == room)
            return 0;
        const int byte = std::fgetc(stream);
        if (byte == EOF)
            return ThrowError(5, path);
        if (room > 0)
            buffer[n] = static_cast<char>(byte);
        seen = next_seen(delimiter, seen, static_cast<char>(byte));
    }
    std::fgetc(stream);
    return 0;
}

// All bytes or none of them.
int FilePacker::Append(const void *data, std::size_t size) noexcept
{
    if (stream == nullptr)
        return ThrowError(4, path);
    const bool reading = names == nullptr;
    if (reading)
        return ThrowError(7, path);
    const int descriptor = descriptor_of(stream);
    const std::int64_t start = seek_descriptor(descriptor, 0, SEEK_CUR);
    if (write_utf8(descriptor, data, size) == 0)
        return 0;
    CutBack(start);
    return ThrowError(7, path);
}

int FilePacker::WriteLong(long value) noexcept
{
    const auto bits = static_cast<std::uint32_t>(value);
    const unsigned char bytes[4] = {static_cast<unsigned char>(bits), static_cast<unsigned char>(bits >> 8),
                                    static_cast<unsigned char>(bits >> 16), static_cast<unsigned char>(bits >> 24)};
    return Append(bytes, sizeof bytes);
}

int FilePacker::ReplaceChar(char *text, char new_char, char old_char) noexcept
{
    for (; *text != '\0'; ++text)
        if (*text == old_char)
            *text = new_char;
    return 0;
}

// ---- Failures -------------------------------------------------------------------------------------------------------

int FilePacker::CheckMode(int wanted) noexcept
{
    if (mode != wanted)
        return ThrowError(1, nullptr);
    return stream != nullptr ? 0 : ThrowError(4, path);
}

int FilePacker::ThrowError(int code, const char *subject) noexcept
{
    struct message {
        const char *text;
        bool names_subject;
    };
    static constexpr message messages[] = {{"No error", false},
                                           {"Invalid mode supplied", false},
                                           {"Cannot open file", true},
                                           {"Cannot create archive", true},
                                           {"Archive not opened", true},
                                           {"Not a FilePacker archive", true},
                                           {"Not enough memory", false},
                                           {"Cannot write output file", true},
                                           {"Cannot read from file", true},
                                           {"Undocumented error", false}};
    constexpr int last = static_cast<int>(std::size(messages)) - 1;

    const message &entry = messages[code >= 0 && code < last ? code : last];
    error = code;
    error_text[0] = '\0';
    append_text(error_text, entry.text);
    if (entry.names_subject && subject != nullptr) {
        append_text(error_text, ": ");
        append_text(error_text, subject);
    }
    return code;
}
