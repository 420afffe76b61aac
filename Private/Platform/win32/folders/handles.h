// handles - handles, and what the host says about what they lead to

#ifndef TESKA_PLATFORM_WIN32_FOLDERS_HANDLES_H
#define TESKA_PLATFORM_WIN32_FOLDERS_HANDLES_H

#include "Platform/folders.h"

#include <windows.h>

#include <cerrno>
#include <cstdint>

namespace teska::folders
{

// What others may do with what is open.
inline constexpr DWORD share_all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
inline constexpr DWORD share_but_renaming = FILE_SHARE_READ | FILE_SHARE_WRITE;

// Whether a link itself is opened, or what it leads to.
inline constexpr DWORD itself = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
inline constexpr DWORD led_to = FILE_FLAG_BACKUP_SEMANTICS;

// Permission of a file that is not read-only.
inline constexpr unsigned writable = 0222;

// Owns a handle; closing it keeps errno.
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

// Opens what is there; INVALID_HANDLE_VALUE when it fails.
HANDLE open_handle(const wchar_t *path, DWORD access, DWORD share, DWORD flags) noexcept;

inline std::int64_t joined(DWORD high, DWORD low) noexcept
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(high) << 32 | low);
}

// Sizes are in bytes, times of change in ticks of 100 ns from 1601; the tag is that of a reparse point.
status status_of(DWORD attributes, DWORD tag, std::int64_t size, std::int64_t changed) noexcept;
// Of what a link leads to.
bool status_by_handle(HANDLE handle, status &state) noexcept;
bool identity_by_handle(HANDLE handle, identity &id) noexcept;

// Whether the path of what is open goes on by one name from that of a folder that is open. A folder that is empty can
// be made a junction where it stands, and what is then opened by a path through it lies elsewhere. Fails with ENOENT,
// or with the host's reason.
bool lies_in(HANDLE above, HANDLE handle) noexcept;

// Time of change, and attributes unless they are 0.
bool set_basic(HANDLE handle, const moment &changed, DWORD attributes) noexcept;

}  // namespace teska::folders

#endif
