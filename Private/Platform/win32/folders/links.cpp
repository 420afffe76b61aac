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

bool read_link(const wchar_t *path, link_data &data) noexcept
{
    const held_handle at{open_handle(path, FILE_READ_ATTRIBUTES, share_all, itself)};
    DWORD size = 0;
    return (at && DeviceIoControl(at.handle, FSCTL_GET_REPARSE_POINT, nullptr, 0, &data,
                                  MAXIMUM_REPARSE_DATA_BUFFER_SIZE, &size, nullptr)) ||
           refused();
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

bool make_symbolic_link(const wchar_t *path, const link_data &data, bool to_folder) noexcept
{
    constexpr std::size_t flags_units = 2;
    const bool printed = data.print_length != 0;
    const wchar_t *name =
        data.names + flags_units + (printed ? data.print_offset : data.substitute_offset) / sizeof(wchar_t);
    const std::size_t units = (printed ? data.print_length : data.substitute_length) / sizeof(wchar_t);
    const wide_text target = wide_block(units + 1);
    if (!target)
        return false;
    std::copy(name, name + units, target.get());
    const wchar_t *text = begins(target.get(), L"\\??\\") ? target.get() + 4 : target.get();
    constexpr DWORD unprivileged = 2;
    const DWORD directory = to_folder ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
    bool made = CreateSymbolicLinkW(path, text, directory | unprivileged) != 0;
    if (!made && GetLastError() == ERROR_INVALID_PARAMETER)
        made = CreateSymbolicLinkW(path, text, directory) != 0;
    if (!made)
        return refused();
    // A layer without links may answer as if it had made one.
    return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES || fail(ENOTSUP);
}

}  // namespace

bool is_link_tag(DWORD tag) noexcept { return tag == 0 || IsReparseTagNameSurrogate(tag); }

bool is_link(const wchar_t *path, DWORD attributes) noexcept
{
    // A root is none, whatever is mounted there.
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 || path[std::wcslen(path) - 1] == L'\\')
        return false;
    const held_handle at{open_handle(path, FILE_READ_ATTRIBUTES, share_all, itself)};
    FILE_ATTRIBUTE_TAG_INFO info = {};
    return !at || !GetFileInformationByHandleEx(at.handle, FileAttributeTagInfo, &info, sizeof info) ||
           is_link_tag(info.ReparseTag);
}

bool is_link(const wchar_t *path) noexcept
{
    const DWORD attributes = GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && is_link(path, attributes);
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
    if (!read_link(old_path.get(), data[0]))
        return false;
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
