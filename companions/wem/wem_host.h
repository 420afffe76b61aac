// wem_host - what the clocks ask of the host (wem, private)
//
// The standard library does not answer these: its processor time is wall time in some runtimes, and its local time
// keeps the answer in one place for all threads.
#ifndef WEM_HOST_H
#define WEM_HOST_H

#include <cstdint>
#include <ctime>

namespace wem
{

// Processor time of this process, all threads together, in milliseconds; 0 when the host cannot tell.
std::int64_t process_ms() noexcept;

// False when the host cannot tell the local time.
bool local_time(std::time_t now, std::tm &local) noexcept;

}  // namespace wem

#endif
