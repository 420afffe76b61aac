// path_text - a zero-terminated text that grows at its end, paths as the module takes them, and characters of UTF-8

#ifndef TESKA_SOURCE_RSYS_PATH_TEXT_H
#define TESKA_SOURCE_RSYS_PATH_TEXT_H

#include "Platform/folders.h"
#include "Support/memory.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace teska::rsys
{

// Appending n bytes is O(n).
class path_text
{
public:
    // False with ENOMEM when memory is short; the text is then unchanged.
    [[nodiscard]] bool append(const char *bytes, std::size_t count) noexcept
    {
        if (room_ - size_ <= count && !grow(count))
            return false;
        if (count != 0)
            std::memcpy(bytes_.get() + size_, bytes, count);
        size_ += count;
        bytes_[size_] = '\0';
        return true;
    }

    [[nodiscard]] bool append(const char *text) noexcept { return append(text, std::strlen(text)); }

    void cut(std::size_t size) noexcept
    {
        size_ = std::min(size, size_);
        if (room_ != 0)
            bytes_[size_] = '\0';
    }

    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] const char *c_str() const noexcept { return room_ != 0 ? bytes_.get() : ""; }
    [[nodiscard]] char *data() const noexcept { return bytes_.get(); }

    // The bytes with their zero, which the caller then owns.
    [[nodiscard]] heap_block<char> take() noexcept
    {
        size_ = room_ = 0;
        return std::move(bytes_);
    }

private:
    bool grow(std::size_t count) noexcept
    {
        constexpr std::size_t first_room = 64;
        const std::size_t room = std::max({2 * room_, size_ + count + 1, first_room});
        auto bytes = zeroed_block<char>(room);
        if (!bytes) {
            errno = ENOMEM;
            return false;
        }
        if (size_ != 0)
            std::memcpy(bytes.get(), bytes_.get(), size_);
        bytes_.swap(bytes);
        room_ = room;
        return true;
    }

    heap_block<char> bytes_;
    std::size_t size_ = 0;
    std::size_t room_ = 0;
};

// The bytes of the character at the front of a text, 0 when what is there is not UTF-8 (RFC 3629: shortest forms, no
// surrogates, up to U+10FFFF).
inline std::size_t utf8_character(const char *text) noexcept
{
    const auto byte = [text](int i) { return static_cast<unsigned char>(text[i]); };
    const auto follows = [&](int i, unsigned least = 0x80, unsigned most = 0xbf) {
        return byte(i) >= least && byte(i) <= most;
    };
    const unsigned first = byte(0);
    if (first < 0x80)
        return 1;
    if (first >= 0xc2 && first <= 0xdf)
        return follows(1) ? 2 : 0;
    if (first >= 0xe0 && first <= 0xef)
        return follows(1, first == 0xe0 ? 0xa0 : 0x80, first == 0xed ? 0x9f : 0xbf) && follows(2) ? 3 : 0;
    if (first >= 0xf0 && first <= 0xf4)
        return follows(1, first == 0xf0 ? 0x90 : 0x80, first == 0xf4 ? 0x8f : 0xbf) && follows(2) && follows(3) ? 4 : 0;
    return 0;
}

inline bool is_utf8(const char *text) noexcept
{
    std::size_t count = 1;
    for (; *text != '\0' && count != 0; text += count)
        count = utf8_character(text);
    return count != 0;
}

// A path of a caller: "/" between its parts, none at its end but that of the root. False with EINVAL when it is
// illegal, or with ENOMEM.
inline bool take_path(const char *path, path_text &text) noexcept
{
    if (path == nullptr || *path == '\0' || (folders::utf8_only && !is_utf8(path))) {
        errno = EINVAL;
        return false;
    }
    if (!text.append(path))
        return false;
    std::replace(text.data(), text.data() + text.size(), '\\', '/');
    const std::size_t root = folders::root_length(text.c_str());
    std::size_t size = text.size();
    while (size > root && text.c_str()[size - 1] == '/')
        --size;
    text.cut(size);
    return true;
}

// The last part of a path, "" of a root.
inline const char *last_part(const char *path) noexcept
{
    const char *rest = path + folders::root_length(path);
    const char *separator = std::strrchr(rest, '/');
    return separator != nullptr ? separator + 1 : rest;
}

// The folder in which the last part of a path is: "/" of "/a", "." of "a", "C:" of "C:a". False with ENOMEM.
inline bool append_folder(const char *path, path_text &text) noexcept
{
    const std::size_t root = folders::root_length(path);
    auto size = static_cast<std::size_t>(last_part(path) - path);
    while (size > root && path[size - 1] == '/')
        --size;
    return size != 0 ? text.append(path, size) : text.append(".");
}

}  // namespace teska::rsys

#endif
