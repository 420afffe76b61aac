// paths - names and paths in UTF-8, and in the form of the host

#include "Platform/win32/folders/paths.h"

#include "Platform/win32/folders/errors.h"

#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwchar>

namespace teska::folders
{

namespace
{

// The units of a name; a surrogate in three bytes becomes that unit. Not for text that never was a name of the host or
// checked. Returns the place after the last one.
wchar_t *widen(const char *name, wchar_t *units) noexcept
{
    const auto bits = [&name](int i) { return static_cast<unsigned char>(name[i]) & 0x3fU; };
    while (*name != '\0') {
        const unsigned first = static_cast<unsigned char>(*name);
        unsigned code = first;
        int count = 1;
        if (first >= 0xf0) {
            code = (first & 7U) << 18 | bits(1) << 12 | bits(2) << 6 | bits(3);
            count = 4;
        } else if (first >= 0xe0) {
            code = (first & 15U) << 12 | bits(1) << 6 | bits(2);
            count = 3;
        } else if (first >= 0xc0) {
            code = (first & 31U) << 6 | bits(1);
            count = 2;
        }
        if (code >= 0x10000) {
            *units++ = static_cast<wchar_t>(0xd800U + ((code - 0x10000U) >> 10));
            code = 0xdc00U + (code & 0x3ffU);
        }
        *units++ = static_cast<wchar_t>(code);
        name += count;
    }
    return units;
}

// With the prefix that lifts the limits, but for devices.
wide_text with_prefix(const wchar_t *full) noexcept
{
    const wchar_t *prefix = L"\\\\?\\";
    if (begins(full, L"\\\\?\\") || begins(full, L"\\\\.\\")) {
        prefix = L"";
    } else if (begins(full, L"\\\\")) {
        prefix = L"\\\\?\\UNC\\";
        full += 2;
    }
    wide_text path = wide_block(std::wcslen(prefix) + std::wcslen(full) + 1);
    if (path) {
        std::wcscpy(path.get(), prefix);
        std::wcscat(path.get(), full);
    }
    return path;
}

// The host's form of a caller's path.
wide_text full_path(const char *path) noexcept
{
    const std::size_t size = std::strlen(path);
    const wide_text wide = wide_block(size + 2);
    if (!wide)
        return nullptr;
    wchar_t *end = widen(path, wide.get());
    // The root of a share is a folder only with a separator.
    if (path[0] == '/' && path[1] == '/' && root_length(path) == size)
        *end = L'\\';
    const DWORD units = GetFullPathNameW(wide.get(), 0, nullptr, nullptr);
    const wide_text full = wide_block(units + std::size_t{1});
    if (!full)
        return nullptr;
    if (units == 0 || GetFullPathNameW(wide.get(), units, full.get(), nullptr) >= units) {
        refused();
        return nullptr;
    }
    return with_prefix(full.get());
}

}  // namespace

const bool utf8_only = true;

std::size_t root_length(const char *path) noexcept
{
    if (path[0] == '/' && path[1] == '/') {
        const char share[] = "//?/UNC/";
        const bool prefixed = _strnicmp(path, share, sizeof share - 1) == 0;
        std::size_t size = prefixed ? sizeof share - 1 : 2;
        size += std::strcspn(path + size, "/");
        if (path[size] == '/')
            size += 1 + std::strcspn(path + size + 1, "/");
        return size;
    }
    if (path[0] != '\0' && path[1] == ':')
        return path[2] == '/' ? 3 : 2;
    return path[0] == '/' ? 1 : 0;
}

wide_text wide_block(std::size_t units) noexcept
{
    auto text = zeroed_block<wchar_t>(units);
    if (!text)
        errno = ENOMEM;
    return text;
}

bool begins(const wchar_t *text, const wchar_t *with) noexcept
{
    return std::wcsncmp(text, with, std::wcslen(with)) == 0;
}

void narrow(const wchar_t *name, std::size_t count, char *bytes) noexcept
{
    const auto put = [&bytes](unsigned value) { *bytes++ = static_cast<char>(value); };
    for (const wchar_t *end = name + count; name != end; ++name) {
        unsigned code = *name;
        if (code >= 0xd800 && code < 0xdc00 && name + 1 != end && name[1] >= 0xdc00 && name[1] < 0xe000)
            code = 0x10000U + ((code - 0xd800U) << 10) + (*++name - 0xdc00U);
        if (code < 0x80) {
            put(code);
            continue;
        }
        if (code < 0x800) {
            put(0xc0U | code >> 6);
        } else {
            if (code < 0x10000) {
                put(0xe0U | code >> 12);
            } else {
                put(0xf0U | code >> 18);
                put(0x80U | (code >> 12 & 0x3fU));
            }
            put(0x80U | (code >> 6 & 0x3fU));
        }
        put(0x80U | (code & 0x3fU));
    }
    *bytes = '\0';
}

wide_text path_of(const folder &parent, const char *name) noexcept
{
    if (parent.path == nullptr)
        return full_path(name);
    const auto *above = static_cast<const wchar_t *>(parent.path);
    const std::size_t size = std::wcslen(above);
    wide_text path = wide_block(size + 1 + std::strlen(name) + 1);
    if (!path)
        return path;
    wchar_t *end = std::copy(above, above + size, path.get());
    if (size != 0 && end[-1] != L'\\')
        *end++ = L'\\';
    widen(name, end);
    return path;
}

}  // namespace teska::folders
