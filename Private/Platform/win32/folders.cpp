// folders - the host's calls for folders, on Windows
//
// The host has no calls that name a file from an open folder. So a folder keeps its path, and a handle that does not
// share the right to rename: while it is open, neither it nor a folder above it can be exchanged under its path. Paths
// have the prefix "\\?\", which takes the limit of 260 characters away and the host's own reading of "." and "..":
// relative ones are made full first.

#include "Platform/folders.h"

#include "Support/memory.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>
#include <winioctl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <cwchar>

namespace teska::folders
{

namespace
{

using wide_text = heap_block<wchar_t>;

constexpr std::intptr_t start_handle = 0;
constexpr DWORD share_all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD share_but_renaming = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr DWORD itself = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
constexpr DWORD led_to = FILE_FLAG_BACKUP_SEMANTICS;
constexpr unsigned readable = 0444;
constexpr unsigned writable = 0222;

bool fail(int error) noexcept
{
    errno = error;
    return false;
}

int errno_of(DWORD error) noexcept
{
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_DRIVE:
        return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_DELETE_PENDING:
        return EACCES;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return EEXIST;
    case ERROR_DIR_NOT_EMPTY:
        return ENOTEMPTY;
    case ERROR_DIRECTORY:
        return ENOTDIR;
    case ERROR_NOT_SAME_DEVICE:
        return EXDEV;
    case ERROR_FILENAME_EXCED_RANGE:
        return ENAMETOOLONG;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
        return ENOMEM;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return ENOSPC;
    case ERROR_WRITE_PROTECT:
        return EROFS;
    case ERROR_TOO_MANY_OPEN_FILES:
        return EMFILE;
    case ERROR_PRIVILEGE_NOT_HELD:
        return EPERM;
    case ERROR_NOT_SUPPORTED:
    case ERROR_INVALID_FUNCTION:
        return ENOTSUP;
    case ERROR_CANT_RESOLVE_FILENAME:
        return ELOOP;
    case ERROR_INVALID_HANDLE:
        return EBADF;
    default:
        return EIO;
    }
}

bool refused() noexcept { return fail(errno_of(GetLastError())); }

// ---- Names

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

// The bytes of a name of the host, with their zero; at most three for each unit.
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

// ---- Handles

struct held_handle {
    HANDLE handle;

    ~held_handle()
    {
        if (handle == INVALID_HANDLE_VALUE)
            return;
        const int error = errno;
        CloseHandle(handle);
        errno = error;
    }
    explicit operator bool() const noexcept { return handle != INVALID_HANDLE_VALUE; }
};

HANDLE open_handle(const wchar_t *path, DWORD access, DWORD share, DWORD flags) noexcept
{
    return CreateFileW(path, access, share, nullptr, OPEN_EXISTING, flags, nullptr);
}

HANDLE handle_of(int descriptor) noexcept
{
    return descriptor < 0 ? INVALID_HANDLE_VALUE : reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

// Tags of links have a bit for it. Where a layer under the host gives links without a tag, they are taken for links
// too.
bool is_link_tag(DWORD tag) noexcept { return tag == 0 || IsReparseTagNameSurrogate(tag); }

// Whether a path with these attributes is a link; one that cannot be looked at counts as one.
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

constexpr std::int64_t ticks_a_second = 10000000;
constexpr std::int64_t seconds_from_1601_to_1970 = 11644473600;

moment moment_of(std::int64_t ticks) noexcept
{
    return {ticks / ticks_a_second - seconds_from_1601_to_1970, static_cast<int>(ticks % ticks_a_second * 100)};
}

std::int64_t ticks_of(const moment &time) noexcept
{
    return (time.seconds + seconds_from_1601_to_1970) * ticks_a_second + time.nanoseconds / 100;
}

std::int64_t joined(DWORD high, DWORD low) noexcept
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(high) << 32 | low);
}

status status_of(DWORD attributes, std::int64_t size, std::int64_t changed, bool link) noexcept
{
    status state;
    if (link)
        state.what = kind::link;
    else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        state.what = kind::folder;
    else if ((attributes & FILE_ATTRIBUTE_DEVICE) == 0)
        state.what = kind::file;
    state.hidden = (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
    state.size = state.what == kind::file ? size : 0;
    state.changed = moment_of(changed);
    state.permission = readable | ((attributes & FILE_ATTRIBUTE_READONLY) != 0 ? 0 : writable);
    return state;
}

bool status_by_handle(HANDLE handle, status &state) noexcept
{
    BY_HANDLE_FILE_INFORMATION info;
    if (!GetFileInformationByHandle(handle, &info))
        return refused();
    state = status_of(info.dwFileAttributes, joined(info.nFileSizeHigh, info.nFileSizeLow),
                      joined(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime), false);
    if (GetFileType(handle) != FILE_TYPE_DISK)
        state.what = kind::other;
    return true;
}

bool identity_by_handle(HANDLE handle, identity &id) noexcept
{
    FILE_ID_INFO info = {};
    if (GetFileInformationByHandleEx(handle, FileIdInfo, &info, sizeof info)) {
        id.device = info.VolumeSerialNumber;
        std::memcpy(&id.number, info.FileId.Identifier, sizeof id.number);
        std::memcpy(&id.number_high, info.FileId.Identifier + sizeof id.number, sizeof id.number_high);
        return true;
    }
    BY_HANDLE_FILE_INFORMATION older;
    if (!GetFileInformationByHandle(handle, &older))
        return refused();
    id = {older.dwVolumeSerialNumber, static_cast<std::uint64_t>(joined(older.nFileIndexHigh, older.nFileIndexLow)), 0};
    return true;
}

// Time of change, and attributes unless they are 0.
bool set_basic(HANDLE handle, const moment &changed, DWORD attributes) noexcept
{
    FILE_BASIC_INFO info = {};
    info.LastWriteTime.QuadPart = ticks_of(changed);
    info.FileAttributes = attributes;
    return SetFileInformationByHandle(handle, FileBasicInfo, &info, sizeof info) || refused();
}

// ---- Links

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

const bool utf8_only = true;
const int held_folders_max = INT_MAX / 2;

folder start() noexcept { return {start_handle, nullptr}; }

held_folder::~held_folder() { close_folder(at); }

// ---- Paths

std::size_t root_length(const char *path) noexcept
{
    if (path[0] == '/' && path[1] == '/') {
        std::size_t size = 2 + std::strcspn(path + 2, "/");
        if (path[size] == '/')
            size += 1 + std::strcspn(path + size + 1, "/");
        return size;
    }
    if (path[0] != '\0' && path[1] == ':')
        return path[2] == '/' ? 3 : 2;
    return path[0] == '/' ? 1 : 0;
}

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

// ---- Files

namespace
{

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
