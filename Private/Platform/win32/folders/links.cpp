// links - which paths are links, and links made again, symbolic ones and junctions

#include "Platform/win32/folders/links.h"

#include "Platform/folders.h"
#include "Platform/win32/folders/errors.h"
#include "Platform/win32/folders/handles.h"
#include "Platform/win32/folders/paths.h"
#include "Support/memory.h"

#include <windows.h>
#include <winioctl.h>

#include <algorithm>
#include <cerrno>
#include <cwchar>
#include <iterator>

namespace teska::folders
{

namespace
{

// What the host keeps of a link, as it is documented for the control codes below.
struct link_data {
    DWORD tag;
    WORD length;  // of what follows the next field
    WORD reserved;
    WORD substitute_offset;  // these four in bytes, from the start of the names
    WORD substitute_length;
    WORD print_offset;
    WORD print_length;
    wchar_t names[MAXIMUM_REPARSE_DATA_BUFFER_SIZE / sizeof(wchar_t)];  // a symbolic link has 4 bytes before them
};

constexpr DWORD link_head = 8;
constexpr std::size_t flags_units = 2;
constexpr wchar_t root_of_names[] = L"\\??\\";
constexpr std::size_t root_units = 4;

struct name {
    const wchar_t *text;
    std::size_t units;

    [[nodiscard]] bool is(const name &other) const noexcept
    {
        return units == other.units && std::wmemcmp(text, other.text, units) == 0;
    }
    [[nodiscard]] bool begins(const wchar_t *with) const noexcept
    {
        const std::size_t size = std::wcslen(with);
        return units >= size && std::wmemcmp(text, with, size) == 0;
    }
    [[nodiscard]] name from(std::size_t unit) const noexcept { return {text + unit, units - unit}; }
};

const wchar_t *names_of(const link_data &data) noexcept
{
    return data.names + (data.tag == IO_REPARSE_TAG_SYMLINK ? flags_units : 0);
}

name substitute_of(const link_data &data) noexcept
{
    return {names_of(data) + data.substitute_offset / sizeof(wchar_t), data.substitute_length / sizeof(wchar_t)};
}

name print_of(const link_data &data) noexcept
{
    return {names_of(data) + data.print_offset / sizeof(wchar_t), data.print_length / sizeof(wchar_t)};
}

// Whether a link says where it leads within the bytes that were read: another machine's host may send what it likes.
bool is_sound(const link_data &data, DWORD size) noexcept
{
    const auto begin = static_cast<std::size_t>(names_of(data) - data.names) * sizeof(wchar_t) + 2 * link_head;
    const std::size_t end = data.length + std::size_t{link_head};
    const auto lies = [&](WORD offset, WORD length) {
        return (offset | length) % sizeof(wchar_t) == 0 && begin + offset + length <= end;
    };
    return size >= begin && size >= end && lies(data.substitute_offset, data.substitute_length) &&
           lies(data.print_offset, data.print_length) && data.substitute_length != 0 &&
           std::wmemchr(substitute_of(data).text, L'\0', substitute_of(data).units) == nullptr;
}

bool read_link(HANDLE at, link_data &data) noexcept
{
    DWORD size = 0;
    if (!DeviceIoControl(at, FSCTL_GET_REPARSE_POINT, nullptr, 0, &data, MAXIMUM_REPARSE_DATA_BUFFER_SIZE, &size,
                         nullptr))
        return refused();
    if (size < link_head)
        return fail(EIO);
    const bool known = data.tag == IO_REPARSE_TAG_SYMLINK || data.tag == IO_REPARSE_TAG_MOUNT_POINT;
    return !known || is_sound(data, size) || fail(EIO);
}

bool make_junction(const wchar_t *path, link_data &data) noexcept
{
    if (!CreateDirectoryW(path, nullptr))
        return refused();
    bool made = false;
    {
        const held_handle at{open_handle(path, GENERIC_WRITE, share_all, itself)};
        DWORD size = 0;
        made = (at && DeviceIoControl(at.handle, FSCTL_SET_REPARSE_POINT, &data, data.length + link_head, nullptr, 0,
                                      &size, nullptr)) ||
               refused();
    }
    if (!made) {
        const int error = errno;
        RemoveDirectoryW(path);
        errno = error;
    }
    return made;
}

// The text of which the host makes the same link again. It leads to the substitute name: the printed one is for people,
// and is taken where it says the same.
wide_text text_of(const link_data &data) noexcept
{
    constexpr unsigned relative = 1;
    const name target = substitute_of(data);
    const name print = print_of(data);
    const bool absolute = (data.names[0] & relative) == 0;
    if (absolute && !target.begins(root_of_names)) {
        errno = ENOTSUP;
        return nullptr;
    }
    wide_text text = wide_block(target.units + 1);
    if (!text)
        return text;
    const bool share = target.begins(L"\\??\\UNC\\") && print.begins(L"\\\\");
    const bool same =
        absolute && (share ? print.from(1).is(target.from(root_units + 3)) : print.is(target.from(root_units)));
    const name shown = same ? print : target;
    std::copy(shown.text, shown.text + shown.units, text.get());
    if (absolute && !same)
        text[1] = L'\\';
    return text;
}

bool remove_link(const wchar_t *path) noexcept { return RemoveDirectoryW(path) || DeleteFileW(path); }

bool make_symbolic_link(const wchar_t *path, const link_data &data, bool to_folder) noexcept
{
    const wide_text text = text_of(data);
    if (!text)
        return false;
    constexpr DWORD unprivileged = 2;
    const DWORD directory = to_folder ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
    bool made = CreateSymbolicLinkW(path, text.get(), directory | unprivileged) != 0;
    if (!made && GetLastError() == ERROR_INVALID_PARAMETER)
        made = CreateSymbolicLinkW(path, text.get(), directory) != 0;
    if (!made)
        return refused();
    // A layer without links may answer as if it had made one.
    if (GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES)
        return true;
    remove_link(path);
    return fail(ENOTSUP);
}

}  // namespace

bool is_link_tag(DWORD tag) noexcept { return tag == 0 || IsReparseTagNameSurrogate(tag); }

bool is_device_tag(DWORD tag) noexcept
{
    constexpr DWORD pipe = 0x80000024, characters = 0x80000025, blocks = 0x80000026;  // of the subsystem for Linux
    return tag == IO_REPARSE_TAG_AF_UNIX || tag == pipe || tag == characters || tag == blocks;
}

DWORD tag_of(const wchar_t *path, DWORD &attributes) noexcept
{
    if (path[std::wcslen(path) - 1] == L'\\')
        attributes &= ~static_cast<DWORD>(FILE_ATTRIBUTE_REPARSE_POINT);
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        return 0;
    const held_handle at{open_handle(path, FILE_READ_ATTRIBUTES, share_all, itself)};
    FILE_ATTRIBUTE_TAG_INFO info = {};
    const bool told = at && GetFileInformationByHandleEx(at.handle, FileAttributeTagInfo, &info, sizeof info);
    return told ? info.ReparseTag : 0;
}

bool is_link(const wchar_t *path, DWORD attributes) noexcept
{
    const DWORD tag = tag_of(path, attributes);
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && is_link_tag(tag);
}

bool is_link(const wchar_t *path) noexcept
{
    const DWORD attributes = GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && is_link(path, attributes);
}

bool holds_volume(HANDLE handle) noexcept
{
    link_data data;
    return read_link(handle, data) && data.tag == IO_REPARSE_TAG_MOUNT_POINT &&
           substitute_of(data).begins(L"\\??\\Volume{");
}

bool replace_link(const wchar_t *from, const wchar_t *to) noexcept
{
    const wchar_t ending[] = L".old";
    const wide_text aside = wide_block(std::wcslen(from) + std::size(ending));
    if (!aside)
        return false;
    std::wcscat(std::wcscpy(aside.get(), from), ending);
    if (!MoveFileExW(to, aside.get(), MOVEFILE_WRITE_THROUGH))
        return refused();
    if (MoveFileExW(from, to, MOVEFILE_WRITE_THROUGH)) {
        if (remove_link(aside.get()))
            return true;
        refused();
        MoveFileExW(to, from, MOVEFILE_WRITE_THROUGH);
    } else {
        refused();
    }
    MoveFileExW(aside.get(), to, MOVEFILE_WRITE_THROUGH);
    return false;
}

bool copy_link(const folder &from, const char *name, const folder &to, const char *new_name, bool &reading) noexcept
{
    reading = true;
    const wide_text old_path = path_of(from, name);
    const wide_text new_path = old_path ? path_of(to, new_name) : nullptr;
    const auto data = new_path ? zeroed_block<link_data>(1) : nullptr;
    if (!data)
        return fail(ENOMEM);
    const DWORD attributes = GetFileAttributesW(old_path.get());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return refused();
    {
        const held_handle at{open_handle(old_path.get(), FILE_READ_ATTRIBUTES, share_all, itself)};
        if (!at)
            return refused();
        if (!read_link(at.handle, data[0]))
            return false;
    }
    reading = false;
    if (GetFileAttributesW(new_path.get()) != INVALID_FILE_ATTRIBUTES)
        return fail(EEXIST);
    if (data[0].tag == IO_REPARSE_TAG_MOUNT_POINT)
        return make_junction(new_path.get(), data[0]);
    if (data[0].tag != IO_REPARSE_TAG_SYMLINK)
        return fail(ENOTSUP);
    return make_symbolic_link(new_path.get(), data[0], (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
}

}  // namespace teska::folders
