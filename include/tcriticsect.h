/* tcriticsect.h - critical section between processes, by a lock file
 *
 * Whoever holds the file open holds the section. All who use the same path exclude each other, in one process too.
 *
 *     TCriticSect section("profiles/calibration.lck", 50);       tried again every 50 ms
 *     if (section.Enter(10.0) != 0)
 *         return busy;                                           nobody left it for 10 seconds
 *     ...
 *     section.Leave();
 *
 * Common rules
 *   The file is made when it is missing and never removed, not even by the last one: its being there means nothing.
 *   Whoever removes or replaces it while it is in use splits the section in two.
 *   The host ends the exclusion when a process ends, in whatever way.
 *   POSIX: the lock is advisory and excludes only users of this class and of CreateFile_utf8 (lopra.h). A forked child
 *   shares the section with its parent; it must not leave it or destroy the object.
 *   Nothing is reported. An object is used by one thread at a time; threads exclude each other by objects of their own.
 */
#ifndef TESKA_TCRITICSECT_H
#define TESKA_TCRITICSECT_H
#include "teska_api.h"
#ifdef __cplusplus
#    include "lopra.h"

class TESKA_API TCriticSect
{
public:
    /* TCriticSect - outside the section. Touches no file.
     *
     * lock_path  UTF-8, copied; not null
     * retry_ms   milliseconds from one attempt to the next; less than 0 counts as 0
     * Throws std::out_of_range with "Lock path too long" when the path has 256 bytes or more: the only exception that
     * leaves the library.
     */
    TCriticSect(const char *lock_path, int retry_ms);

    /* Leaves. */
    ~TCriticSect();

    /* A copy would leave the section a second time. */
    TCriticSect(const TCriticSect &) = delete;
    TCriticSect &operator=(const TCriticSect &) = delete;

    /* Enter - wait for the section.
     *
     * timeout_s  seconds
     * Returns 0 inside the section, 1 when the time is over: also for a path that cannot be opened at all, and for an
     * object that is inside already, which then stays inside.
     * There is always one attempt, with a negative time-out one alone.
     * Kept: time is taken from the calendar clock in whole seconds. The wait is over when more than timeout_s of them
     * have begun, so it lasts up to a second longer, and 0 still waits for the end of the current second. Setting the
     * clock lengthens or shortens it.
     */
    int Enter(double timeout_s);

    /* Leave - let others enter; does nothing outside the section. */
    void Leave();

private:
    char path[256];
    int retry;
    lopra_handle handle; /* the lock file while inside */
};

#endif
#endif
