// folders - the host's calls for folders, on Windows
//
// The host has no calls that name a file from an open folder. So a folder keeps its path, and a handle that does not
// share the right to rename: while it is open, neither it nor a folder above it can be exchanged under its path.

#include "Platform/folders.h"

#include "Platform/win32/folders/errors.h"
#include "Platform/win32/folders/handles.h"
#include "Platform/win32/folders/links.h"
#include "Platform/win32/folders/paths.h"
#include "Support/memory.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

namespace teska::folders
{

namespace
{

constexpr std::intptr_t start_handle = 0;

}  // namespace

const int held_folders_max = INT_MAX / 2;

folder start() noexcept { return {start_handle, nullptr}; }

held_folder::~held_folder() { close_folder(at); }

unsigned long process_number() noexcept { return GetCurrentProcessId(); }

// ---- Folders

namespace
{

// Takes the path over.
folder open_path(wide_text path, bool follow) noexcept
{
    constexpr DWORD access = FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | SYNCHRONIZE;
    const DWORD attributes = GetFileAttributesW(path.get());
    // What is no link and yet a reparse point is opened by the driver whose it is.
    const bool plain = attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
    held_handle at{open_handle(path.get(), access, share_but_renaming, plain && !follow ? itself : led_to)};
    status state;
    if (!at) {
        refused();
        return {};
    }
    if (!status_by_handle(at.handle, state))
        return {};
    // Asked for when it cannot change any more.
    if (!follow && is_link(path.get())) {
        errno = ELOOP;
        return {};
    }
    if (state.what != kind::folder) {
        errno = ENOTDIR;
        return {};
    }
    const folder result{reinterpret_cast<std::intptr_t>(at.handle), path.release()};
    at.handle = INVALID_HANDLE_VALUE;
    return result;
}

}  // namespace

folder open_folder(const folder &parent, const char *name, bool follow) noexcept
{
    wide_text path = path_of(parent, name);
    return path ? open_path(std::move(path), follow) : folder();
}

folder enter_folder(const folder &parent, const char *name) noexcept { return open_folder(parent, name, true); }

folder open_parent(const folder &at) noexcept
{
    const auto *path = static_cast<const wchar_t *>(at.path);
    const wchar_t *separator = std::wcsrchr(path, L'\\');
    const std::size_t size = separator != nullptr ? static_cast<std::size_t>(separator - path) : 0;
    wide_text above = wide_block(size + 1);
    if (!above)
        return {};
    std::copy(path, path + size, above.get());
    return open_path(std::move(above), false);
}

void close_folder(folder &at) noexcept
{
    const int error = errno;
    if (is_open(at) && at.handle != start_handle)
        CloseHandle(reinterpret_cast<HANDLE>(at.handle));
    std::free(at.path);
    errno = error;
    at = {};
}

bool read_folder(const folder &at, void *context, bool (*take)(void *context, const found &name)) noexcept
{
    constexpr std::size_t room = 65536;
    constexpr std::size_t units_max = 32767;
    const auto block = zeroed_block<char>(room);
    const auto bytes = zeroed_block<char>(3 * units_max + 1);
    if (!block || !bytes)
        return fail(ENOMEM);
    const auto handle = reinterpret_cast<HANDLE>(at.handle);
    while (GetFileInformationByHandleEx(handle, FileIdBothDirectoryInfo, block.get(), room)) {
        const char *place = block.get();
        for (;;) {
            const auto *one = reinterpret_cast<const FILE_ID_BOTH_DIR_INFO *>(place);
            narrow(one->FileName, one->FileNameLength / sizeof(wchar_t), bytes.get());
            if (std::strcmp(bytes.get(), ".") != 0 && std::strcmp(bytes.get(), "..") != 0) {
                // Of a reparse point that field has the tag.
                const bool link = (one->FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && is_link_tag(one->EaSize);
                const status state =
                    status_of(one->FileAttributes, one->EndOfFile.QuadPart, one->LastWriteTime.QuadPart, link);
                if (!take(context, {bytes.get(), true, true, state}))
                    return fail(ENOMEM);
            }
            if (one->NextEntryOffset == 0)
                break;
            place += one->NextEntryOffset;
        }
    }
    return GetLastError() == ERROR_NO_MORE_FILES || refused();
}

bool make_folder(const folder &parent, const char *name, unsigned) noexcept
{
    const wide_text path = path_of(parent, name);
    return path && (CreateDirectoryW(path.get(), nullptr) || refused());
}

bool finish_folder(const folder &at, const status &like) noexcept
{
    const auto *path = static_cast<const wchar_t *>(at.path);
    const held_handle again{open_handle(path, FILE_WRITE_ATTRIBUTES, share_all, itself)};
    return again ? set_basic(again.handle, like.changed, 0) : refused();
}

// Renaming waits for the disk.
bool flush_folder(const folder &) noexcept { return true; }

void unlock_folder(const folder &) noexcept {}

// ---- What has a name in a folder

bool look(const folder &parent, const char *name, bool follow, status &state) noexcept
{
    const wide_text path = path_of(parent, name);
    if (!path)
        return false;
    if (begins(path.get(), L"\\\\.\\")) {
        state = {};
        return true;
    }
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(path.get(), GetFileExInfoStandard, &data))
        return refused();
    const bool link = is_link(path.get(), data.dwFileAttributes);
    if (link && follow) {
        const held_handle at{open_handle(path.get(), FILE_READ_ATTRIBUTES, share_all, led_to)};
        return at ? status_by_handle(at.handle, state) : refused();
    }
    state = status_of(data.dwFileAttributes, joined(data.nFileSizeHigh, data.nFileSizeLow),
                      joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime), link);
    return true;
}

bool identify(const folder &parent, const char *name, bool follow, identity &id) noexcept
{
    const wide_text path = path_of(parent, name);
    if (!path)
        return false;
    const held_handle at{open_handle(path.get(), FILE_READ_ATTRIBUTES, share_all, follow ? led_to : itself)};
    return at ? identity_by_handle(at.handle, id) : refused();
}

bool identify(const folder &at, identity &id) noexcept
{
    return identity_by_handle(reinterpret_cast<HANDLE>(at.handle), id);
}

// Where another volume begins there is a junction.
bool is_mounted(const folder &, const identity &id, const identity &top) noexcept { return id.device != top.device; }

bool rename(const folder &parent, const char *from, const char *to, bool replace) noexcept
{
    const wide_text old_path = path_of(parent, from);
    const wide_text new_path = old_path ? path_of(parent, to) : nullptr;
    if (!new_path)
        return false;
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
    if (MoveFileExW(old_path.get(), new_path.get(), flags))
        return true;
    const int error = errno_of(GetLastError());
    const DWORD attributes = GetFileAttributesW(new_path.get());
    if (!replace || error != EACCES || attributes == INVALID_FILE_ATTRIBUTES ||
        (attributes & FILE_ATTRIBUTE_READONLY) == 0)
        return fail(error);
    // A read-only file gives way as any other.
    SetFileAttributesW(new_path.get(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    if (MoveFileExW(old_path.get(), new_path.get(), flags))
        return true;
    refused();
    SetFileAttributesW(new_path.get(), attributes);
    return false;
}

bool remove(const folder &parent, const char *name, bool is_folder) noexcept
{
    const wide_text path = path_of(parent, name);
    if (!path)
        return false;
    const DWORD attributes = GetFileAttributesW(path.get());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return refused();
    const bool directory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (is_folder && !directory)
        return fail(ENOTDIR);
    if (!is_folder && directory && !is_link(path.get(), attributes))
        return fail(EISDIR);
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
        SetFileAttributesW(path.get(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    if (directory ? RemoveDirectoryW(path.get()) : DeleteFileW(path.get()))
        return true;
    refused();
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
        SetFileAttributesW(path.get(), attributes);
    return false;
}

// ---- Files

namespace
{

HANDLE handle_of(int descriptor) noexcept
{
    return descriptor < 0 ? INVALID_HANDLE_VALUE : reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

int descriptor_for(HANDLE handle, int flags) noexcept
{
    if (handle == INVALID_HANDLE_VALUE) {
        refused();
        return -1;
    }
    const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), flags | _O_BINARY);
    if (descriptor < 0)
        CloseHandle(handle);
    return descriptor;
}

}  // namespace

int open_file(const folder &parent, const char *name, bool follow) noexcept
{
    const wide_text path = path_of(parent, name);
    if (!path)
        return -1;
    if (!follow && is_link(path.get())) {
        errno = ELOOP;
        return -1;
    }
    return descriptor_for(open_handle(path.get(), GENERIC_READ, share_all, FILE_FLAG_SEQUENTIAL_SCAN), _O_RDONLY);
}

int create_file(const folder &parent, const char *name) noexcept
{
    const wide_text path = path_of(parent, name);
    if (!path)
        return -1;
    return descriptor_for(
        CreateFileW(path.get(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr),
        0);
}

bool file_status(int descriptor, status &state) noexcept { return status_by_handle(handle_of(descriptor), state); }

std::int64_t move_bytes(int, int, std::size_t) noexcept { return -1; }

bool finish_file(int descriptor, const status &like) noexcept
{
    const DWORD attributes = (like.permission & writable) != 0 ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_READONLY;
    return set_basic(handle_of(descriptor), like.changed, attributes);
}

bool flush_file(int descriptor) noexcept { return FlushFileBuffers(handle_of(descriptor)) || refused(); }

bool close_file(int descriptor) noexcept { return _close(descriptor) == 0; }

}  // namespace teska::folders
