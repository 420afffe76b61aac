// errors - failures of the host, told by errno

#ifndef TESKA_PLATFORM_WIN32_FOLDERS_ERRORS_H
#define TESKA_PLATFORM_WIN32_FOLDERS_ERRORS_H

#include <windows.h>

#include <cerrno>

namespace teska::folders
{

// The errno for an error of the host.
int errno_of(DWORD error) noexcept;

// Sets errno and returns false.
inline bool fail(int error) noexcept
{
    errno = error;
    return false;
}
// As fail, for the last error of the host.
bool refused() noexcept;

}  // namespace teska::folders

#endif
