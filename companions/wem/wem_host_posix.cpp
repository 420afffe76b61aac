// wem_host_posix - processor time and local time on POSIX hosts (wem)
#include "wem_host.h"

#include <time.h>

std::int64_t wem::process_ms() noexcept
{
    timespec used = {};
    if (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used) != 0)
        return 0;
    return static_cast<std::int64_t>(used.tv_sec) * 1000 + used.tv_nsec / 1000000;
}

bool wem::local_time(std::time_t now, std::tm &local) noexcept { return localtime_r(&now, &local) != nullptr; }
