// archive - files packed into one, taken out again and compared by their digests

#include "records/archive.h"

#include "support/failure.h"

#include "filepacker.h"
#include "md5_digest.h"

#include <array>
#include <bit>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>

namespace examples
{

namespace fs = std::filesystem;
using namespace std::string_view_literals;

namespace
{

constexpr std::string_view magic = "QWFP\0"sv;
constexpr std::size_t header_size = 140;
constexpr int create_mode = 0;
constexpr int open_mode = 1;

void require(int code, FilePacker &archive)
{
    std::array<char, 160> text{};
    archive.GetError(text.data());
    if (code != 0)
        throw failure(text.data());
}

// The text that begins at `at`; moves `at` behind its zero byte.
std::string text_at(const std::string &bytes, std::size_t &at)
{
    const auto end = bytes.find('\0', at);
    if (end == bytes.npos)
        throw failure("an archive that ends within a text");
    const std::string text = bytes.substr(at, end - at);
    at = end + 1;
    return text;
}

std::size_t length_at(const std::string &bytes, std::size_t at)
{
    if (bytes.size() - at < 4)
        throw failure("an archive that ends within a length");
    std::size_t length = 0;
    for (std::size_t i = 4; i-- > 0;)
        length = length * 256 + static_cast<unsigned char>(bytes[at + i]);
    if (length > bytes.size() - at - 4)
        throw failure("an archive that ends within an entry");
    return length;
}

archive_entry entry_at(const std::string &bytes, std::size_t &at)
{
    archive_entry entry{};
    entry.name_at = at;
    entry.name = text_at(bytes, at);
    entry.length_at = at;
    entry.size = length_at(bytes, at);
    entry.content_at = at + 4;
    at = entry.content_at + entry.size;
    return entry;
}

std::string digest_of(const fs::path &file)
{
    std::array<char, 33> text{};
    if (MD5_check_file(file.c_str(), text.data()) != 0)
        throw failure("cannot digest " + file.string());
    return text.data();
}

std::vector<std::string> digests_of(const fs::path &root, const std::vector<std::string> &names)
{
    std::vector<std::string> digests;
    for (const std::string &name : names)
        digests.push_back(digest_of(root / name));
    return digests;
}

void require_content(const packed_archive &packed, const fs::path &root, const std::vector<std::string> &names)
{
    const auto &entries = packed.layout.entries;
    if (entries.size() != names.size())
        throw failure("the archive does not hold every file");
    for (std::size_t i = 0; i < names.size(); ++i)
        if (entries[i].name != names[i] || entries[i].size != fs::file_size(root / names[i]))
            throw failure("the archive holds " + names[i] + " otherwise than it was");
}

}  // namespace

std::string bytes_of_file(const fs::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream)
        throw failure("cannot read " + file.string());
    return bytes;
}

void write_bytes(const fs::path &file, const std::string &bytes)
{
    std::ofstream stream(file, std::ios::binary);
    stream << bytes;
    stream.close();
    if (!stream)
        throw failure("cannot write " + file.string());
}

archive_layout layout_of(const std::string &bytes)
{
    if (bytes.size() <= header_size || !bytes.starts_with(magic))
        throw failure("not an archive");
    archive_layout layout{};
    std::size_t at = layout.version_at = magic.size();
    text_at(bytes, at);
    layout.reserved_at = at;
    at = layout.description_at = header_size;
    layout.description = text_at(bytes, at);
    while (at < bytes.size())
        layout.entries.push_back(entry_at(bytes, at));
    return layout;
}

// ---- Packing and unpacking ------------------------------------------------------------------------------------------

packed_archive pack(const fs::path &root, const std::vector<std::string> &names, const fs::path &archive,
                    const std::string &description)
{
    packed_archive packed;
    packed.digests = digests_of(root, names);
    {
        FilePacker packer(archive.c_str(), create_mode, description.c_str());
        require(packer.GetError(nullptr), packer);
        for (const std::string &name : names)
            require(packer.AddFile((root / name).c_str(), name.c_str()), packer);
    }
    packed.bytes = bytes_of_file(archive);
    packed.layout = layout_of(packed.bytes);
    require_content(packed, root, names);
    return packed;
}

std::vector<std::string> unpack(const fs::path &archive, const fs::path &folder, const std::vector<std::string> &names)
{
    std::error_code error;
    for (const std::string &name : names) {
        fs::create_directories((folder / name).parent_path(), error);
        if (!error)
            fs::remove(folder / name, error);
        if (error)
            throw failure("cannot make room for " + (folder / name).string() + ": " + error.message());
    }
    FilePacker packer(archive.c_str(), open_mode, nullptr);
    require(packer.GetError(nullptr), packer);
    require(packer.Unpack(folder.c_str()), packer);
    return digests_of(folder, names);
}

// ---- Comparing ------------------------------------------------------------------------------------------------------

void require_same(const std::vector<std::string> &names, const std::vector<std::string> &before,
                  const std::vector<std::string> &after)
{
    for (std::size_t i = 0; i < names.size(); ++i)
        if (before.at(i) != after.at(i))
            throw failure(names[i] + " has changed on its way: digest " + before[i] + " before, " + after[i] +
                          " after");
}

int differing_bits(const std::string &digest, const std::string &other)
{
    int bits = 0;
    for (std::size_t i = 0; i < digest.size(); i += 8)
        bits +=
            std::popcount(std::stoul(digest.substr(i, 8), nullptr, 16) ^ std::stoul(other.substr(i, 8), nullptr, 16));
    return bits;
}

}  // namespace examples
