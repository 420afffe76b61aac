// lopra_win32 - file calls that take UTF-8 paths, on Windows (lopra)
//
// Each call turns its paths into UTF-16 and calls the host's wide form of the same stem. Text that is not UTF-8 is
// refused rather than mended: two different wrong paths must not reach one file. The host removes temporary files and
// excludes other openers by itself; what is left to do here is to say why a directory was refused, and to put the
// system's error codes into errno where the runtime does not.
//
// A file that its process holds is open, and no other handle on it may be had that shares nothing. One that can be
// opened so was left: by a process that died while it saved, or by a power cut.
//
// Process-wide state: none.
#include "lopra.h"
#include "lopra_arguments.h"

#include <io.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>

namespace
{

struct free_memory {
    void operator()(void *block) const { std::free(block); }
};

using owned_text = std::unique_ptr<wchar_t, free_memory>;

// So many processes at most save one file, or have died in it where their files cannot be removed.
constexpr int beside_attempts_max = 1000;
constexpr std::size_t beside_room = 32;  // ".tmp", a number and the zero, in units

constexpr char mark[] = "TESKAShared lock\n";
constexpr DWORD mark_length = sizeof mark - 1;

int fail(int error)
{
    errno = error;
    return -1;
}

// Room for a path of so many units, its zero included; null with errno set.
owned_text wide_block(std::size_t units)
{
    owned_text block(static_cast<wchar_t *>(std::malloc(units * sizeof(wchar_t))));
    if (!block)
        errno = ENOMEM;
    return block;
}

// The host's form of a path, with room for more after it; null with errno set.
owned_text host_path(const char *path, std::size_t more = 0)
{
    if (!path) {
        errno = EINVAL;
        return nullptr;
    }
    const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, nullptr, 0);
    if (units <= 0) {
        errno = EILSEQ;
        return nullptr;
    }
    owned_text wide = wide_block(static_cast<std::size_t>(units) + more);
    if (wide)
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, wide.get(), units);
    return wide;
}

int errno_of(DWORD error)
{
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
        return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
        return EACCES;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return EEXIST;
    case ERROR_NOT_SAME_DEVICE:
        return EXDEV;
    case ERROR_FILENAME_EXCED_RANGE:
        return ENAMETOOLONG;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
        return ENOMEM;
    case ERROR_DISK_FULL:
        return ENOSPC;
    case ERROR_INVALID_HANDLE:
        return EBADF;
    default:
        return EINVAL;
    }
}

// The host says "access denied" to an open of a directory.
void name_the_directory(const wchar_t *path)
{
    if (errno != EACCES)
        return;
    const DWORD attributes = GetFileAttributesW(path);
    errno = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) ? EISDIR : EACCES;
}

// The UTF-8 form of a path, from malloc; null with errno set.
char *utf8_path(const wchar_t *path)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, path, -1, nullptr, 0, nullptr, nullptr);
    auto *text = static_cast<char *>(std::malloc(static_cast<std::size_t>(size)));
    if (!text) {
        errno = ENOMEM;
        return nullptr;
    }
    WideCharToMultiByte(CP_UTF8, 0, path, -1, text, size, nullptr, nullptr);
    return text;
}

bool is_separator(wchar_t c) { return c == L'/' || c == L'\\'; }

// One component of a path. The host takes names of dots and blanks alone for the folder or the one above it.
bool is_file_name(const wchar_t *part)
{
    if (part[std::wcsspn(part, L". ")] == L'\0' || std::wcspbrk(part, L"<>:\"|?*"))
        return false;
    return std::none_of(part, part + std::wcslen(part), [](wchar_t c) { return c < L' '; });
}

// Whether a path ends at a symbolic link or a junction.
bool is_link(const wchar_t *path)
{
    const HANDLE handle =
        CreateFileW(path, FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    FILE_ATTRIBUTE_TAG_INFO info = {};
    const bool known = GetFileInformationByHandleEx(handle, FileAttributeTagInfo, &info, sizeof info);
    CloseHandle(handle);
    return known && (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) && IsReparseTagNameSurrogate(info.ReparseTag);
}

// Whether a file can be replaced: missing is fine.
int look_at(const wchar_t *path)
{
    const DWORD attributes = GetFileAttributesW(path);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return 0;
    if (attributes & FILE_ATTRIBUTE_DIRECTORY)
        return fail(EISDIR);
    return attributes & FILE_ATTRIBUTE_READONLY ? fail(EACCES) : 0;
}

// ---- Files that a process holds

using file_kind = bool (*)(HANDLE handle);

bool is_any(HANDLE) { return true; }

// A file that holds the mark of lock files and nothing else.
bool is_marked(HANDLE handle)
{
    char content[mark_length + 1];
    DWORD length = 0;
    return GetFileType(handle) == FILE_TYPE_DISK && ReadFile(handle, content, sizeof content, &length, nullptr) &&
           length == mark_length && std::memcmp(content, mark, mark_length) == 0;
}

// Removes a file of our own making that nobody holds. Returns whether it is gone.
bool remove_left(const wchar_t *path, file_kind is_ours)
{
    const HANDLE handle = CreateFileW(path, GENERIC_READ | DELETE | FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    FILE_BASIC_INFO writable = {};
    writable.FileAttributes = FILE_ATTRIBUTE_NORMAL;  // a read-only file would not be removed
    FILE_DISPOSITION_INFO removed = {};
    removed.DeleteFile = TRUE;
    const bool gone = is_ours(handle) &&
                      SetFileInformationByHandle(handle, FileBasicInfo, &writable, sizeof writable) &&
                      SetFileInformationByHandle(handle, FileDispositionInfo, &removed, sizeof removed);
    CloseHandle(handle);
    return gone;
}

// A new file that can be renamed while it is open, but neither written nor held by anybody else.
int create_held(const wchar_t *path)
{
    const HANDLE handle = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return fail(errno_of(GetLastError()));
    const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY);
    if (descriptor < 0)
        CloseHandle(handle);
    return descriptor;
}

// Creates a held file beside another; the path there gets its ending. The names of files whose process has died are
// used again.
int create_beside(wchar_t *path)
{
    wchar_t *end = path + std::wcslen(path);
    for (int n = 0; n < beside_attempts_max; ++n) {
        std::swprintf(end, beside_room, L".tmp%d", n);
        int descriptor = create_held(path);
        const bool taken = descriptor < 0 && errno == EEXIST;
        if (taken && remove_left(path, is_any))
            descriptor = create_held(path);
        if (descriptor >= 0 || !taken)
            return descriptor;
    }
    return fail(EEXIST);
}

// The host removes it with its handle, whichever way the process ends.
int create_lock_file(const wchar_t *path)
{
    constexpr int flags = _O_CREAT | _O_EXCL | _O_TRUNC | _O_TEMPORARY | _O_RDWR | _O_BINARY | _O_NOINHERIT;
    return _wopen(path, flags, _S_IREAD | _S_IWRITE);
}

// ---- Names

// Returns when the names are on the disk.
int rename_wide(const wchar_t *from, const wchar_t *to)
{
    constexpr DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    return MoveFileExW(from, to, flags) ? 0 : fail(errno_of(GetLastError()));
}

// Whether a descriptor is open on a file or a character device, as the console or NUL; a pipe waits for its other end.
bool is_file(int descriptor)
{
    const DWORD type = GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)));
    return type == FILE_TYPE_DISK || type == FILE_TYPE_CHAR;
}

int host_permission(int permission) { return permission & LOPRA_S_IWRITE ? _S_IREAD | _S_IWRITE : _S_IREAD; }

}  // namespace

FILE *fopen_utf8(const char *path, const char *mode) noexcept
{
    if (!lopra::is_stream_mode(mode)) {
        errno = EINVAL;
        return nullptr;
    }
    const owned_text name = host_path(path);
    if (!name)
        return nullptr;
    wchar_t host_mode[lopra::mode_length_max + 2] = {};
    *std::copy(mode, mode + std::strlen(mode), host_mode) = L'N';  // not inherited
    FILE *stream = _wfopen(name.get(), host_mode);
    if (!stream)
        name_the_directory(name.get());
    if (!stream || is_file(_fileno(stream)))
        return stream;
    std::fclose(stream);
    errno = EACCES;
    return nullptr;
}

int open_utf8(const char *path, int flags, ...) noexcept
{
    int permission = 0;
    if (flags & LOPRA_O_CREAT) {
        std::va_list rest;
        va_start(rest, flags);
        permission = host_permission(va_arg(rest, int));
        va_end(rest);
    }
    const owned_text name = host_path(path);
    if (!name)
        return -1;
    const int descriptor = _wopen(name.get(), flags | _O_NOINHERIT, permission);
    if (descriptor < 0)
        name_the_directory(name.get());
    if (descriptor < 0 || is_file(descriptor))
        return descriptor;
    _close(descriptor);
    return fail(EACCES);
}

int lock_utf8(const char *path) noexcept
{
    const owned_text name = host_path(path);
    if (!name)
        return -1;
    int descriptor = create_lock_file(name.get());
    if (descriptor < 0 && errno == EEXIST) {
        if (!remove_left(name.get(), is_marked))
            return fail(EEXIST);
        descriptor = create_lock_file(name.get());
    }
    if (descriptor < 0)
        return -1;
    write_utf8(descriptor, mark, mark_length);
    _wchmod(name.get(), _S_IREAD);
    return descriptor;
}

int create_below_utf8(const char *directory, const char *name) noexcept
{
    const owned_text top = host_path(directory);
    const owned_text path = top ? host_path(name) : nullptr;
    if (!path)
        return -1;
    const owned_text full = wide_block(std::wcslen(top.get()) + 1 + std::wcslen(path.get()) + 1);
    if (!full)
        return -1;
    wchar_t *end = std::copy(top.get(), top.get() + std::wcslen(top.get()), full.get());
    // Two separators in front would name another computer.
    while (end > full.get() && is_separator(end[-1]))
        --end;
    bool last = false;
    for (wchar_t *part = path.get(); !last; part += std::wcslen(part) + 1) {
        part += std::wcsspn(part, L"/\\");
        wchar_t *part_end = part + std::wcscspn(part, L"/\\");
        last = *part_end == L'\0';
        *part_end = L'\0';
        if (!last && std::wcscmp(part, L".") == 0)
            continue;
        if (!is_file_name(part))
            return fail(EINVAL);
        *end++ = L'\\';
        end = std::copy(part, part_end + 1, end) - 1;
        if (is_link(full.get()))
            return fail(ELOOP);
    }
    const int descriptor =
        _wopen(full.get(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT, host_permission(LOPRA_S_IWRITE));
    if (descriptor < 0) {
        name_the_directory(full.get());
        return -1;
    }
    if (GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor))) == FILE_TYPE_DISK)
        return descriptor;
    _close(descriptor);
    return fail(EACCES);
}

int close_utf8(int descriptor) noexcept { return descriptor < 0 ? fail(EBADF) : _close(descriptor); }

lopra_handle CreateFile_utf8(const char *path, unsigned access, unsigned share, void *security, unsigned disposition,
                             unsigned flags, void *templ) noexcept
{
    if (!lopra::is_handle_request(access, disposition)) {
        errno = EINVAL;
        return LOPRA_INVALID_HANDLE;
    }
    const owned_text name = host_path(path);
    if (!name)
        return LOPRA_INVALID_HANDLE;
    const lopra_handle handle =
        CreateFileW(name.get(), access, share, static_cast<SECURITY_ATTRIBUTES *>(security), disposition, flags, templ);
    if (handle == LOPRA_INVALID_HANDLE) {
        errno = errno_of(GetLastError());
        name_the_directory(name.get());
    }
    return handle;
}

int CloseFile_utf8(lopra_handle handle) noexcept
{
    if (handle == LOPRA_INVALID_HANDLE)
        return fail(EBADF);
    return CloseHandle(handle) ? 0 : fail(errno_of(GetLastError()));
}

int write_utf8(int descriptor, const void *data, size_t size) noexcept
{
    constexpr std::size_t step = 1u << 30;  // the host counts in ints
    for (const char *rest = static_cast<const char *>(data); size > 0;) {
        const int count = _write(descriptor, rest, static_cast<unsigned>(std::min(size, step)));
        if (count == 0)
            return fail(ENOSPC);
        if (count < 0)
            return -1;
        rest += count;
        size -= static_cast<std::size_t>(count);
    }
    return 0;
}

int replace_utf8(const char *path, const void *data, size_t size) noexcept
{
    const owned_text target = host_path(path);
    const owned_text beside = target ? host_path(path, beside_room) : nullptr;
    if (!beside || look_at(target.get()) != 0)
        return -1;
    const int descriptor = create_beside(beside.get());
    if (descriptor < 0)
        return -1;
    // Held until it has its name, or another process that saves would take it for one that was left.
    if (write_utf8(descriptor, data, size) == 0 && _commit(descriptor) == 0 &&
        rename_wide(beside.get(), target.get()) == 0)
        return _close(descriptor);
    const int error = errno;
    _close(descriptor);
    _wremove(beside.get());
    return fail(error);
}

char *full_path_utf8(const char *path) noexcept
{
    const owned_text name = host_path(path);
    if (!name)
        return nullptr;
    const DWORD units = GetFullPathNameW(name.get(), 0, nullptr, nullptr);
    const owned_text full(static_cast<wchar_t *>(std::malloc((units + std::size_t{1}) * sizeof(wchar_t))));
    if (!full) {
        errno = ENOMEM;
        return nullptr;
    }
    if (units == 0 || GetFullPathNameW(name.get(), units, full.get(), nullptr) >= units) {
        errno = errno_of(GetLastError());
        return nullptr;
    }
    return utf8_path(full.get());
}

int chmod_utf8(const char *path, int permission) noexcept
{
    const owned_text name = host_path(path);
    return name ? _wchmod(name.get(), host_permission(permission)) : -1;
}

int stat32_utf8(const char *path, lopra_stat32 *st) noexcept
{
    const owned_text name = host_path(path);
    struct _stat64 status;
    if (!name || _wstat64(name.get(), &status) != 0)
        return -1;
    if (status.st_size > INT32_MAX)
        return fail(EOVERFLOW);
    st->st_size = static_cast<int32_t>(status.st_size);
    st->st_mode = status.st_mode;
    st->st_mtime32 = static_cast<int32_t>(std::clamp<std::int64_t>(status.st_mtime, INT32_MIN, INT32_MAX));
    return 0;
}

int rename_utf8(const char *from, const char *to) noexcept
{
    const owned_text old_name = host_path(from);
    const owned_text new_name = old_name ? host_path(to) : nullptr;
    if (!new_name)
        return -1;
    return rename_wide(old_name.get(), new_name.get());
}

int remove_utf8(const char *path) noexcept
{
    const owned_text name = host_path(path);
    if (!name)
        return -1;
    const int result = _wremove(name.get());
    if (result != 0)
        name_the_directory(name.get());
    return result;
}
