// archive - files packed into one, taken out again and compared by their digests
//
// What the archive says about itself is not taken on trust: layout_of walks the bytes of the file on its own, and pack
// compares what it finds with what was put in.

#ifndef EXAMPLES_RECORDS_ARCHIVE_H
#define EXAMPLES_RECORDS_ARCHIVE_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace examples
{

// An entry, with its places in the archive: the name and its zero byte, four bytes of length, the content.
struct archive_entry {
    std::string name;
    std::size_t name_at;
    std::size_t length_at;
    std::size_t content_at;
    std::size_t size;
};

struct archive_layout {
    std::size_t version_at;
    std::size_t reserved_at;
    std::size_t description_at;
    std::string description;
    std::vector<archive_entry> entries;
};

// Throws failure when the bytes are no archive, or do not end with a whole entry.
archive_layout layout_of(const std::string &bytes);

struct packed_archive {
    std::string bytes;
    archive_layout layout;
    std::vector<std::string> digests;  // of the files that were packed, in the order of the entries
};

// names are relative to root and become the names of the entries. Throws failure when the archive cannot be written, or
// does not hold what was put in.
packed_archive pack(const std::filesystem::path &root, const std::vector<std::string> &names,
                    const std::filesystem::path &archive, const std::string &description);

// Takes every entry out into files below folder, which is made with the folders in the names, and gives their digests.
// Files that were there are removed first. Throws failure.
std::vector<std::string> unpack(const std::filesystem::path &archive, const std::filesystem::path &folder,
                                const std::vector<std::string> &names);

// Throws failure, with both digests, for the first name whose digests differ.
void require_same(const std::vector<std::string> &names, const std::vector<std::string> &before,
                  const std::vector<std::string> &after);

// How many of the 128 bits differ between two digests.
int differing_bits(const std::string &digest, const std::string &other);

std::string bytes_of_file(const std::filesystem::path &file);
void write_bytes(const std::filesystem::path &file, const std::string &bytes);

}  // namespace examples

#endif
