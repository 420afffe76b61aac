// wem_host_win32 - processor time and local time on Windows (wem)
#include "wem_host.h"

#include <windows.h>

std::int64_t wem::process_ms() noexcept
{
    FILETIME created, ended, kernel, user;  // units of 100 ns
    if (!GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user))
        return 0;
    const auto ticks = [](const FILETIME &t) {
        return static_cast<std::int64_t>(t.dwHighDateTime) << 32 | t.dwLowDateTime;
    };
    return (ticks(kernel) + ticks(user)) / 10000;
}

bool wem::local_time(std::time_t now, std::tm &local) noexcept { return localtime_s(&local, &now) == 0; }
