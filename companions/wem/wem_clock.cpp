// wem_clock - clocks and the texts of dates and times (wem)
//
// Dates and times of day travel as decimal digits in an int, yyyymmdd and hhmmss. The texts are English on
// every host: they go into file names and prints that programs compare. Every index into a table of names
// comes from a date that the calendar has, so bad input cannot reach outside.
#include "wem.h"
#include "wem_host.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <ctime>

namespace
{

constexpr const char *month_names[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr const char *day_names[7] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

// Fits every buffer of this module.
int answer_unknown(char *text)
{
    std::strcpy(text, "unknown");
    return -1;
}

void put_two_digits(char *at, int value)
{
    at[0] = static_cast<char>('0' + value / 10);
    at[1] = static_cast<char>('0' + value % 10);
}

int kept_to_31_bits(std::int64_t ms) { return static_cast<int>(ms & 0x7fffffff); }

struct calendar_day {
    int year;
    int month;
    int day;

    explicit calendar_day(int date) : year(date / 10000), month(date / 100 % 100), day(date % 100) {}

    std::chrono::year_month_day civil() const
    {
        return {std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                std::chrono::day(static_cast<unsigned>(day))};
    }

    bool exists() const { return year >= 1 && year <= 9999 && civil().ok(); }
};

}  // namespace

int elapsed() noexcept
{
    using namespace std::chrono;
    return kept_to_31_bits(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

int cputime() noexcept { return kept_to_31_bits(wem::process_ms()); }

int dattim(int *date, int *time_of_day) noexcept
{
    *date = 0;
    *time_of_day = 0;
    std::tm local = {};
    if (!wem::local_time(std::time(nullptr), local))
        return -1;
    *date = (local.tm_year + 1900) * 10000 + (local.tm_mon + 1) * 100 + local.tm_mday;
    *time_of_day = local.tm_hour * 10000 + local.tm_min * 100 + local.tm_sec;
    return 0;
}

int cvtdta(int date, char *text) noexcept
{
    const calendar_day d(date);
    if (!d.exists())
        return answer_unknown(text);
    put_two_digits(text, d.day);
    text[2] = '-';
    std::memcpy(text + 3, month_names[d.month - 1], 3);
    text[6] = '-';
    put_two_digits(text + 7, d.year / 100);
    put_two_digits(text + 9, d.year % 100);
    text[11] = '\0';
    return 0;
}

int cvttma(int time_of_day, char *text) noexcept
{
    const int hour = time_of_day / 10000;
    const int minute = time_of_day / 100 % 100;
    const int second = time_of_day % 100;
    if (time_of_day < 0 || hour > 23 || minute > 59 || second > 60)
        return answer_unknown(text);
    put_two_digits(text, hour);
    text[2] = ':';
    put_two_digits(text + 3, minute);
    text[5] = ':';
    put_two_digits(text + 6, second);
    text[8] = '\0';
    return 0;
}

int dayweek(int date, char *text) noexcept
{
    const calendar_day d(date);
    if (!d.exists())
        return answer_unknown(text);
    const std::chrono::weekday day{std::chrono::sys_days(d.civil())};
    std::strcpy(text, day_names[day.c_encoding()]);
    return 0;
}
