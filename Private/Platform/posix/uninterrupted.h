// uninterrupted - calls of the system again until no signal interrupts them

#ifndef TESKA_PLATFORM_POSIX_UNINTERRUPTED_H
#define TESKA_PLATFORM_POSIX_UNINTERRUPTED_H

#include <cerrno>

namespace teska
{

// Returns what the call returned: below 0 when it has failed, with errno.
template <class Call>
auto uninterrupted(Call call) noexcept
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

}  // namespace teska

#endif
