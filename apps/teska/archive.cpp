// archive - reads an archive of FilePacker entry by entry, without holding what the entries contain

#include "archive.h"

#include "frame/failure.h"
#include "md5_digest.h"

#include <cstring>

namespace tool
{

namespace
{

constexpr std::uint64_t description_offset = 140;
constexpr std::size_t longest_name = 199;
constexpr std::size_t longest_description = 1000000;  // of a file from elsewhere; the library writes at most 199

}  // namespace

archive_reader::archive_reader(const input_file &file) : file_(file), position_(description_offset)
{
    char magic[5] = {};
    if (file.read_at(0, magic, sizeof magic) != sizeof magic || std::memcmp(magic, "QWFP", sizeof magic) != 0)
        throw failure(file.path(), "is no archive");
    std::optional<std::string> text = read_text(longest_description);
    if (!text)
        throw failure(file.path(), "is damaged: the description has no end");
    description_ = std::move(*text);
}

// Reads up to a zero byte and passes it; nothing when there is none within the limit.
std::optional<std::string> archive_reader::read_text(std::size_t limit)
{
    std::string text;
    char block[256];
    while (text.size() <= limit) {
        const std::size_t got = file_.read_at(position_ + text.size(), block, sizeof block);
        const auto *end = static_cast<const char *>(std::memchr(block, '\0', got));
        text.append(block, end != nullptr ? static_cast<std::size_t>(end - block) : got);
        if (end != nullptr && text.size() <= limit) {
            position_ += text.size() + 1;
            return text;
        }
        if (got < sizeof block)
            break;
    }
    return {};
}

std::optional<archive_entry> archive_reader::next()
{
    if (position_ == file_.size())
        return {};
    const std::string where = "is damaged at byte " + std::to_string(position_);
    std::optional<std::string> name = read_text(longest_name);
    unsigned char bytes[4];
    if (!name || name->empty() || file_.read_at(position_, bytes, sizeof bytes) != sizeof bytes)
        throw failure(file_.path(), where + ": no name");
    const std::uint32_t size = static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
                               static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
    position_ += sizeof bytes;
    if (size > 0x7FFFFFFF || size > file_.size() - position_)
        throw failure(file_.path(), where + ": the archive ends before the entry");
    archive_entry entry = {std::move(*name), position_, size};
    position_ += size;
    return entry;
}

std::string digest_of(const input_file &file, std::uint64_t offset, std::uint64_t size)
{
    constexpr std::size_t block = std::size_t{1} << 20;
    std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(block, size)), '\0');
    MD5_CTX context;
    MD5Init(&context);
    for (std::uint64_t done = 0; done < size;) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(block, size - done));
        if (file.read_at(offset + done, bytes.data(), wanted) != wanted)
            throw failure(file.path(), "cannot be read whole");
        MD5Update(&context, bytes.data(), static_cast<unsigned>(wanted));
        done += wanted;
    }
    unsigned char digest[16];
    MD5Final(digest, &context);
    std::string text;
    for (const unsigned char byte : digest)
        for (const int digit : {byte >> 4, byte & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

}  // namespace tool
