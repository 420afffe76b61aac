// teska_time - waiting, a millisecond clock, date and time as text (core)
//
// The clocks are the companion's; here their answers get the form that the library promises. State of a thread: the
// text of time_get_date.

#include "teska_time.h"

#include "wem.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <thread>

namespace
{

constinit thread_local char date_text[256] = {};

}  // namespace

// ---- Waiting --------------------------------------------------------------------------------------------------------

void waitsec(unsigned seconds) TESKA_NOTHROW
{
    const std::int64_t end = std::int64_t{std::time(nullptr)} + seconds;
    // Kept: polls without sleeping.
    while (std::time(nullptr) < end)
        ;
}

int waitmsec(unsigned milliseconds) TESKA_NOTHROW
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return 0;
}

// ---- Clocks ---------------------------------------------------------------------------------------------------------

int get_system_time(system_time_rec *t) TESKA_NOTHROW
{
    const int now = elapsed();
    t->seconds = now / 1000;
    t->microseconds = now % 1000 * 1000;
    return 0;
}

int get_diff_system_time(int *milliseconds, int seconds, int microseconds) TESKA_NOTHROW
{
    system_time_rec now;
    get_system_time(&now);
    // 64 bits, because the caller's moment may be any two numbers.
    const std::int64_t whole = (std::int64_t{now.seconds} - seconds) * 1000;
    const std::int64_t rest = (std::int64_t{now.microseconds} - microseconds) / 1000;
    *milliseconds = static_cast<int>(whole + rest);
    return 0;
}

int time_get_time() TESKA_NOTHROW { return cputime(); }

int time_get_elapsed_time() TESKA_NOTHROW { return elapsed(); }

char *time_get_date() TESKA_NOTHROW
{
    int date = 0;
    int time_of_day = 0;
    char day_text[12], weekday[10], time_text[9];
    dattim(&date, &time_of_day);
    dayweek(date, weekday);
    cvtdta(date, day_text);
    cvttma(time_of_day, time_text);
    std::replace(time_text, time_text + std::strlen(time_text), ':', '-');
    std::snprintf(date_text, sizeof date_text, "%s %s at %s", weekday, day_text, time_text);
    return date_text;
}
