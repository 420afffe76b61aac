// folders - the host's calls for folders, on Windows
//
// The host's calls name files by paths, not from an open folder. So a folder keeps its path, and a handle that does not
// share the right to rename: while it is open, neither it nor a folder above it can be exchanged under its path. What
// can be done to it is to empty it and make a junction of it where it stands; whatever is entered or removed is looked
// at by its own handle for where it really is.

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

// Whether what was opened by a name in a folder is there. Fails with ENOENT, as the folder itself has no such name.
bool is_in(const folder &parent, HANDLE handle) noexcept
{
    return parent.handle == start_handle || lies_in(reinterpret_cast<HANDLE>(parent.handle), handle);
}

// Opens a folder, and not through a link.
HANDLE open_itself(const folder &parent, const wchar_t *path, DWORD access) noexcept
{
    held_handle at{open_handle(path, access, share_but_renaming, itself)};
    DWORD attributes = at ? GetFileAttributesW(path) : INVALID_FILE_ATTRIBUTES;
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        refused();
        return INVALID_HANDLE_VALUE;
    }
    // Asked for when it cannot be renamed any more.
    const DWORD tag = tag_of(path, attributes);
    const bool reparse = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (reparse && is_link_tag(tag)) {
        errno = ELOOP;
        return INVALID_HANDLE_VALUE;
    }
    if (!is_in(parent, at.handle))
        return INVALID_HANDLE_VALUE;
    if (!reparse)
        return std::exchange(at.handle, INVALID_HANDLE_VALUE);
    // The driver whose it is opens what is in it.
    const HANDLE driven = open_handle(path, access, share_but_renaming, led_to);
    if (driven == INVALID_HANDLE_VALUE)
        refused();
    return driven;
}

folder open_with(DWORD access, const folder &parent, const char *name, bool follow) noexcept
{
    wide_text path = path_of(parent, name);
    if (!path)
        return {};
    held_handle at{follow ? open_handle(path.get(), access, share_but_renaming, led_to)
                          : open_itself(parent, path.get(), access)};
    status state;
    if (!at && follow)
        refused();
    if (!at || !status_by_handle(at.handle, state))
        return {};
    if (state.what != kind::folder) {
        errno = ENOTDIR;
        return {};
    }
    return {reinterpret_cast<std::intptr_t>(std::exchange(at.handle, INVALID_HANDLE_VALUE)), path.release()};
}

constexpr DWORD common_access = FILE_READ_ATTRIBUTES | SYNCHRONIZE;

}  // namespace

folder open_folder(const folder &parent, const char *name, bool follow) noexcept
{
    return open_with(FILE_LIST_DIRECTORY | common_access, parent, name, follow);
}

// Either right keeps others from renaming it.
folder enter_folder(const folder &parent, const char *name) noexcept
{
    const folder at = open_folder(parent, name, true);
    return is_open(at) || errno != EACCES ? at : open_with(FILE_TRAVERSE | common_access, parent, name, true);
}

// Nobody asks: all folders above stay open.
folder open_parent(const folder &) noexcept
{
    errno = ENOTSUP;
    return {};
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
    bool first = true;
    while (GetFileInformationByHandleEx(handle, FileIdBothDirectoryInfo, block.get(), room)) {
        first = false;
        const char *place = block.get();
        for (;;) {
            const auto *one = reinterpret_cast<const FILE_ID_BOTH_DIR_INFO *>(place);
            narrow(one->FileName, one->FileNameLength / sizeof(wchar_t), bytes.get());
            if (std::strcmp(bytes.get(), ".") != 0 && std::strcmp(bytes.get(), "..") != 0) {
                // Of a reparse point the third field has the tag.
                const status state =
                    status_of(one->FileAttributes, one->EaSize, one->EndOfFile.QuadPart, one->LastWriteTime.QuadPart);
                if (!take(context, {bytes.get(), true, true, state}))
                    return fail(ENOMEM);
            }
            if (one->NextEntryOffset == 0)
                break;
            place += one->NextEntryOffset;
        }
    }
    // A root may have no names at all, not even ".".
    const DWORD error = GetLastError();
    return error == ERROR_NO_MORE_FILES || (first && error == ERROR_FILE_NOT_FOUND) || fail(errno_of(error));
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
    const DWORD tag = tag_of(path.get(), data.dwFileAttributes);
    state = status_of(data.dwFileAttributes, tag, joined(data.nFileSizeHigh, data.nFileSizeLow),
                      joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime));
    if (!follow || state.what != kind::link)
        return true;
    const held_handle at{open_handle(path.get(), FILE_READ_ATTRIBUTES, share_all, led_to)};
    return at ? status_by_handle(at.handle, state) : refused();
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
    if (!replace || error != EACCES || attributes == INVALID_FILE_ATTRIBUTES)
        return fail(error);
    if (is_link(new_path.get(), attributes))
        return replace_link(old_path.get(), new_path.get());
    if ((attributes & FILE_ATTRIBUTE_READONLY) == 0)
        return fail(error);
    // A read-only file gives way as any other.
    SetFileAttributesW(new_path.get(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    if (MoveFileExW(old_path.get(), new_path.get(), flags))
        return true;
    refused();
    SetFileAttributesW(new_path.get(), attributes);
    return false;
}

namespace
{

// Those that can be set.
void set_attributes(HANDLE handle, DWORD attributes) noexcept
{
    constexpr DWORD settable = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                               FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_OFFLINE |
                               FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    FILE_BASIC_INFO info = {};
    info.FileAttributes = (attributes & settable) | FILE_ATTRIBUTE_NORMAL;  // 0 would say: as they are
    SetFileInformationByHandle(handle, FileBasicInfo, &info, sizeof info);
}

// The name goes at once, or on older hosts when nobody has it open any more.
bool unlink(HANDLE handle) noexcept
{
    constexpr auto extended = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);  // not in all headers
    FILE_DISPOSITION_INFO_EX at_once = {FILE_DISPOSITION_FLAG_DELETE | FILE_DISPOSITION_FLAG_POSIX_SEMANTICS};
    FILE_DISPOSITION_INFO older = {TRUE};
    return SetFileInformationByHandle(handle, extended, &at_once, sizeof at_once) ||
           SetFileInformationByHandle(handle, FileDispositionInfo, &older, sizeof older) || refused();
}

}  // namespace

// By the handle of what was looked at.
bool remove(const folder &parent, const char *name, bool is_folder) noexcept
{
    const wide_text path = path_of(parent, name);
    if (!path)
        return false;
    const DWORD attributes = GetFileAttributesW(path.get());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return refused();
    const bool directory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const bool fixed = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (is_folder && !directory)
        return fail(ENOTDIR);
    if (!is_folder && directory && !is_link(path.get(), attributes))
        return fail(EISDIR);
    const DWORD access = DELETE | FILE_READ_ATTRIBUTES | (fixed ? FILE_WRITE_ATTRIBUTES : 0);
    const held_handle at{open_handle(path.get(), access, share_all, itself)};
    if (!at)
        return refused();
    if (!is_in(parent, at.handle))
        return false;
    if (fixed)
        set_attributes(at.handle, attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    // The host keeps a list of where volumes are mounted, which only the call with the path keeps right.
    const bool reparse = directory && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (reparse && holds_volume(at.handle) ? RemoveDirectoryW(path.get()) || refused() : unlink(at.handle))
        return true;
    if (fixed)
        set_attributes(at.handle, attributes);
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
