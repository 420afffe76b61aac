// archive - reads an archive of FilePacker entry by entry, without holding what the entries contain
//
//     const input_file file(path);
//     archive_reader in(file);                     a failure when it is no archive
//     while (const auto entry = in.next())         a failure at the first damage
//         copy(file, entry->offset, entry->size);
//
// Names are any bytes; those that begin with "@END", which the library's own reader takes for the end, are entries
// here.

#ifndef TESKA_TOOL_ARCHIVE_H
#define TESKA_TOOL_ARCHIVE_H

#include "frame/files.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tool
{

struct archive_entry {
    std::string name;
    std::uint64_t offset;  // of the content in the file
    std::uint64_t size;
};

class archive_reader
{
public:
    explicit archive_reader(const input_file &file);

    [[nodiscard]] const std::string &description() const { return description_; }
    std::optional<archive_entry> next();

private:
    std::optional<std::string> read_text(std::size_t limit);

    const input_file &file_;
    std::uint64_t position_;
    std::string description_;
};

// The MD5 digest of a part of a file as 32 digits, as md5sum prints them; a failure when the file ends before.
std::string digest_of(const input_file &file, std::uint64_t offset, std::uint64_t size);

}  // namespace tool

#endif
