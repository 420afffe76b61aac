// tcriticsect - critical section between processes, by a lock file (core)
//
// The exclusion is the companion's: CreateFile_utf8 with a share of 0 fails while another handle of the file is open.
// The file stays when the section is left. Removing it would let somebody who has opened it, and somebody who makes it
// anew, both enter. No process-wide state.

#include "tcriticsect.h"

#include "teska_time.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <stdexcept>

namespace
{

// Made beforehand, because an exception with a text takes memory, and its lack would be an exception of another kind.
const std::out_of_range too_long("Lock path too long");

lopra_handle open_for_nobody_else(const char *path)
{
    return CreateFile_utf8(path, LOPRA_GENERIC_WRITE, 0, nullptr, LOPRA_OPEN_ALWAYS, LOPRA_FLAG_NO_BUFFERING, nullptr);
}

}  // namespace

TCriticSect::TCriticSect(const char *lock_path, int retry_ms) : path(), retry(retry_ms), handle(LOPRA_INVALID_HANDLE)
{
    const std::size_t length = std::strlen(lock_path);
    if (length >= sizeof path)
        throw too_long;
    std::memcpy(path, lock_path, length);
}

TCriticSect::~TCriticSect() { TCriticSect::Leave(); }

int TCriticSect::Enter(double timeout_s)
{
    const std::time_t start = std::time(nullptr);
    lopra_handle opened = open_for_nobody_else(path);
    while (opened == LOPRA_INVALID_HANDLE) {
        // Kept: whole seconds of the calendar clock. Negated, so that a time-out that is no number has passed.
        if (!(std::difftime(std::time(nullptr), start) <= timeout_s))
            return 1;
        waitmsec(static_cast<unsigned>(std::max(retry, 0)));
        opened = open_for_nobody_else(path);
    }
    Leave();  // what was entered before somebody replaced the file
    handle = opened;
    return 0;
}

void TCriticSect::Leave()
{
    if (handle != LOPRA_INVALID_HANDLE)
        CloseFile_utf8(handle);
    handle = LOPRA_INVALID_HANDLE;
}
