/* teska_time.h - waiting, a millisecond clock, date and time as text
 *
 *     system_time_rec start;
 *     int passed;
 *     get_system_time(&start);
 *     waitmsec(20);
 *     get_diff_system_time(&passed, start.seconds, start.microseconds);       passed: about 20
 *
 * Nothing here can fail. Any number of threads may call these functions at the same time.
 */
#ifndef TESKA_TIME_H
#define TESKA_TIME_H
#include "teska_api.h"
TESKA_BEGIN_C

/* A moment of the millisecond clock. */
typedef struct system_time_rec {
    int seconds;      /* of the clock */
    int microseconds; /* whole milliseconds, 0 .. 999000 */
} system_time_rec;

/* ---- Waiting ----------------------------------------------------------------------------------------------------- */

/* waitsec - wait for seconds of the calendar clock.
 *
 * Kept: polls the clock without sleeping, and so occupies a processor. Only whole seconds are seen: the wait is up to a
 * second shorter than asked for, waitsec(1) may return at once. Setting the clock lengthens or shortens it.
 */
TESKA_API void waitsec(unsigned seconds) TESKA_NOTHROW;

/* waitmsec - sleep for at least so many milliseconds. Returns 0. */
TESKA_API int waitmsec(unsigned milliseconds) TESKA_NOTHROW;

/* ---- Clocks ------------------------------------------------------------------------------------------------------ */

/* get_system_time - the millisecond clock: elapsed() of wem.h, split. It is never set back, counts from an arbitrary
 * moment, and starts again at 0 after 24.8 days.
 *
 * t  not null
 * Returns 0.
 */
TESKA_API int get_system_time(system_time_rec *t) TESKA_NOTHROW;

/* get_diff_system_time - milliseconds since a moment that get_system_time gave.
 *
 *     *milliseconds = (s - seconds) * 1000 + (us - microseconds) / 1000         s, us: now; quotient towards zero
 *
 * milliseconds           not null
 * seconds, microseconds  as system_time_rec has them
 * Returns 0.
 * Kept: the difference is negative when the clock has started again in between.
 */
TESKA_API int get_diff_system_time(int *milliseconds, int seconds, int microseconds) TESKA_NOTHROW;

/* time_get_time - processor time this process has used, in milliseconds: cputime() of wem.h. */
TESKA_API int time_get_time(void) TESKA_NOTHROW;

/* time_get_elapsed_time - the millisecond clock unsplit: elapsed() of wem.h. */
TESKA_API int time_get_elapsed_time(void) TESKA_NOTHROW;

/* time_get_date - local date and time as "Saturday 21-Nov-2026 at 10-12-34", in English whatever the locale; fit for
 * file names.
 *
 * Returns a buffer of the calling thread, valid until its next call. "unknown unknown at 00-00-00" when the host cannot
 * tell.
 */
TESKA_API char *time_get_date(void) TESKA_NOTHROW;

TESKA_END_C
#endif
