// file_double/vd - vectors of doubles as the text of an item, and back (text)
//
// A number keeps about four digits: with w the number of its integer digits it is printed w wide with 4 - w decimals,
// not below 0; one of magnitude up to 1 is printed 1 wide with 3:
//
//     0.25 -> " 0.250 "    12.3456 -> " 12.35 "    150 -> " 150.0 "    -1234.4 -> " -1234 "    9.9996 -> " 10.000 "
//
// w is the integer part of log10 plus 1, log10 rounded to the nearest double. The C libraries' log10 differ from each
// other in the last bit, so it serves only to name the nearest power of ten; on which side of it a value lies is
// decided here. Digits come from to_chars, which is exact, rounds ties to even and knows no locale: the same bytes
// everywhere. They are read with strtod, which takes its decimal point from the locale; where that is a point, plain
// decimals of at most 15 digits are read here, in a third of the time and with the same result: an integer below 2^53
// over a power of ten that a double holds takes one rounding (Clinger, How to Read Floating Point Numbers Accurately,
// PLDI 1990).
//
// No state. O(digits) per number.

#include "Support/vd.h"

#include "Support/digits.h"
#include "Support/report.h"

#include "file_double.h"

#if __has_include(<langinfo.h>)
#    include <langinfo.h>
#endif

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <numbers>

namespace
{

constexpr int total_digits = 4;

// The longest number, -DBL_MAX: a sign and 309 digits.
constexpr std::size_t number_room = 320;

// The double nearest to 10^k, 0 <= k <= 308. Without a decimal point strtod does not depend on the locale.
double power_of_ten(int k)
{
    char text[8] = "1e";
    *std::to_chars(text + 2, text + sizeof text - 1, k).ptr = 0;
    return std::strtod(text, nullptr);
}

// Whether log10(a), rounded to a double, is k or more. A little below 10^k
//
//     log10(10^k (1 - e)) = k - e / ln 10
//
// which rounds to k when e / ln 10 is less than half the distance from k to the double before it. Above 10^22 the power
// is not exact: the line may then lie one double off, everywhere alike.
bool reaches_power(double a, int k)
{
    const double power = power_of_ten(k);
    const double half_step = (k - std::nextafter(k, 0.0)) / 2;
    return a >= power || (power - a) / power < std::numbers::ln10 * half_step;
}

int integer_digits(double value)
{
    const double a = std::fabs(value);
    // What is not finite has no digits to count.
    if (!(a > 1) || !std::isfinite(a))
        return 1;
    const int nearest = static_cast<int>(std::log10(a) + 0.5);
    return reaches_power(a, nearest) ? nearest + 1 : nearest;
}

// Writes one number between blanks; no zero at the end. Returns its length, at most number_room.
std::size_t print_number(double value, char *out)
{
    int width = 0;
    int decimals = 0;
    vd_fmt_d(value, total_digits, &width, &decimals);

    char digits[number_room];
    const char *const end = teska::put_fixed(digits, value, decimals);
    const auto length = static_cast<std::size_t>(end - digits);
    // A value just below a power of ten can be one digit short of its width.
    const std::size_t before = 1 + std::max(length, static_cast<std::size_t>(width)) - length;
    std::memset(out, ' ', before);
    std::memcpy(out + before, digits, length);
    out[before + length] = ' ';
    return before + length + 1;
}

constexpr int plain_digits = 15;
constexpr double powers_of_ten[plain_digits + 1] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                    1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// Reads digits with or without a point among them. False for whatever else a number may be, which is left to others.
bool read_plain(const char *text, double *number)
{
    const bool negative = *text == '-';
    const char *at = text + (negative || *text == '+' ? 1 : 0);
    std::int64_t digits = 0;
    int count = 0;
    for (; teska::is_digit(*at) && count < plain_digits; ++at, ++count)
        digits = 10 * digits + (*at - '0');
    int decimals = 0;
    if (*at == '.')
        for (++at; teska::is_digit(*at) && count < plain_digits; ++at, ++count, ++decimals)
            digits = 10 * digits + (*at - '0');
    // More digits, an exponent, or the x of a hexadecimal number.
    if (count == 0 || teska::is_digit(*at) || (*at >= 'A' && *at <= 'z'))
        return false;
    const double magnitude = static_cast<double>(digits) / powers_of_ten[decimals];
    *number = negative ? -magnitude : magnitude;
    return true;
}

// Asked of the thread's locale. On POSIX localeconv fills one record for all threads.
bool point_is_plain()
{
#if __has_include(<langinfo.h>)
    const char *const point = nl_langinfo(RADIXCHAR);
#else
    const char *const point = std::localeconv()->decimal_point;
#endif
    return point[0] == '.' && point[1] == 0;
}

// What "%lf" of scanf reads, in time that does not depend on the text after the number. Two texts of which strtod
// takes the beginning are refused: "0x" without digits and the beginnings of "infinity" after "inf". A "nan(...)" is
// read as "nan": its number does not reach scanf's callers either.
bool read_double(const char *text, double *number)
{
    char *end = nullptr;
    const double value = std::strtod(text, &end);
    const char *first = text + std::strspn(text, " \t\n\v\f\r");
    first += *first == '+' || *first == '-' ? 1 : 0;
    const std::ptrdiff_t length = end - first;
    const bool prefix_alone = length == 1 && *first == '0' && (*end == 'x' || *end == 'X') && end[1] != '.';
    const bool infinity_cut = length == 3 && std::isinf(value) && (*end == 'i' || *end == 'I');
    if (end == text || prefix_alone || infinity_cut)
        return false;
    *number = std::isnan(value) ? std::copysign(std::numeric_limits<double>::quiet_NaN(), value) : value;
    return true;
}

}  // namespace

namespace teska
{

int vd_print(const double *vector, int n, char *text, std::size_t size) noexcept
{
    std::size_t used = 0;
    *text = 0;
    for (int i = 0; i < n; ++i) {
        char number[number_room + 2];
        const std::size_t length = print_number(vector[i], number);
        if (length >= size - used)
            return -1;
        std::memcpy(text + used, number, length);
        used += length;
        text[used] = 0;
    }
    return 0;
}

int vd_print_reported(const double *vector, int n, char *text, std::size_t size) noexcept
{
    const int ier = vd_print(vector, n, text, size);
    if (ier < 0) {
        char message[80];
        std::snprintf(message, sizeof message, "Error bad formatted item string from doubles, ier %d ", ier);
        TESKA_ERR(message);
        return -1;
    }
    return 0;
}

int vd_read(const char *text, int n, double *vector) noexcept
{
    const bool plain = n > 0 && point_is_plain();
    return read_numbers(text, n, vector, [plain](const char *at, double *number) {
        return (plain && read_plain(at, number)) || read_double(at, number);
    });
}

}  // namespace teska

int str_from_vd(const double *vector, int n, char *text) TESKA_NOTHROW
{
    return teska::vd_print_reported(vector, n, text, teska::unbounded);
}

int vd_from_str(const char *text, int n, double *vector) TESKA_NOTHROW
{
    if (teska::vd_read(text, n, vector) < 0) {
        TESKA_ERR("Error bad item string for double conversions");
        return -1;
    }
    return 0;
}

int vd_fmt_d(double value, int width, int *digits, int *decimals) TESKA_NOTHROW
{
    *digits = integer_digits(value);
    *decimals = *digits < width ? width - *digits : 0;
    return 0;
}
