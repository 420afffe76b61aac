// file_double/vd - vectors of doubles as the text of an item, and back (text)
//
// A number keeps about four digits: with w the number of its integer digits it is printed w wide with 4 - w decimals,
// not below 0; one of magnitude up to 1 is printed 1 wide with 3:
//
//     0.25 -> " 0.250 "    12.3456 -> " 12.35 "    150 -> " 150.0 "    -1234.4 -> " -1234 "    9.9996 -> " 10.000 "
//
// w is the integer part of log10 plus 1, log10 rounded to the nearest double. The C libraries' log10 differ from each
// other in the last bit, so it serves only to name the nearest power of ten; on which side of it a value lies is
// decided here. Digits come from to_chars and are read with from_chars: both are exact, round ties to even and know no
// locale, so that bytes and bits are the same everywhere, in programs of any language. Plain decimals of at most 15
// digits are read here, in half the time and with the same result: an integer below 2^53 over a power of ten that a
// double holds takes one rounding (Clinger, How to Read Floating Point Numbers Accurately, PLDI 1990).
//
// No state. O(digits) per number.

#include "Support/vd.h"

#include "Support/digits.h"
#include "Support/report.h"

#include "file_double.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <numbers>

namespace
{

constexpr int total_digits = 4;

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

    char digits[teska::number_room];
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

#if defined(__cpp_lib_to_chars)

const char *find_exponent(const char *at, const char *end, bool hexadecimal)
{
    return std::find_if(at, end, [mark = hexadecimal ? 'p' : 'e'](char c) { return (c | 0x20) == mark; });
}

// Whether the number out of range whose text this is, after its sign and "0x", is too large rather than too small.
bool is_too_large(const char *at, const char *end, bool hexadecimal)
{
    const char *const exponent = find_exponent(at, end, hexadecimal);
    // From the point to the first digit that is not 0, on its left above 0. A double holds any count and exponent that
    // decides.
    double places = 0;
    bool significant = false;
    bool behind_point = false;
    for (; at < exponent; ++at) {
        significant |= *at != '0' && *at != '.';
        if (*at == '.')
            behind_point = true;
        else if (significant != behind_point)
            places += significant ? 1 : -1;
    }
    std::int64_t power = 0;
    if (exponent < end) {
        const char *const digits = exponent + (exponent[1] == '+' ? 2 : 1);
        if (std::from_chars(digits, end, power).ec != std::errc{})
            return *digits != '-';
    }
    return places * (hexadecimal ? 4 : 1) + static_cast<double>(power) > 0;
}

bool is_hex_digit(char c) { return teska::is_digit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f'); }

// Reads the number without sign or blanks from `at` to `end` at most. Returns where it ends: `at` when there is none.
const char *read_magnitude(const char *at, const char *end, double *number)
{
    bool hexadecimal = false;
    if (*at == '0' && (at[1] | 0x20) == 'x') {
        hexadecimal = is_hex_digit(at[2]) || (at[2] == '.' && is_hex_digit(at[3]));
        if (!hexadecimal) {
            *number = 0;
            return at + 1;
        }
        at += 2;
        // Not every library sees that this is no exponent.
        const char *const exponent = find_exponent(at, end, true);
        if (exponent < end && std::strncmp(exponent + 1, "+-", 2) == 0)
            end = exponent;
    }
    const auto format = hexadecimal ? std::chars_format::hex : std::chars_format::general;
    const auto [behind, error] = std::from_chars(at, end, *number, format);
    if (error == std::errc::result_out_of_range)
        *number = is_too_large(at, behind, hexadecimal) ? HUGE_VAL : 0.0;
    return behind;
}

#else

// Some libraries have no from_chars of doubles: there a point is what the locale takes for one.
const char *read_magnitude(const char *at, const char *end, double *number)
{
    char *behind = nullptr;
    *number = std::strtod(at, &behind);
    return std::min<const char *>(behind, end);
}

#endif

// What "%lf" of scanf reads, in time that does not depend on the text after the number, nor on the locale. Two texts of
// which the beginning is a number are refused: "0x" without digits and the beginnings of "infinity" after "inf". A
// "nan(...)" is read as "nan": its number does not reach scanf's callers either.
bool read_double(const char *text, double *number)
{
    const char *first = text + std::strspn(text, " \t\n\v\f\r");
    const bool negative = *first == '-';
    first += negative || *first == '+' ? 1 : 0;
    if (std::strchr("+- \t\n\v\f\r", *first) != nullptr)
        return false;
    double value = 0;
    const char *const end = read_magnitude(first, first + std::strcspn(first, " "), &value);
    const std::ptrdiff_t length = end - first;
    const bool prefix_alone = length == 1 && *first == '0' && (*end == 'x' || *end == 'X') && end[1] != '.';
    const bool infinity_cut = length == 3 && std::isinf(value) && (*end == 'i' || *end == 'I');
    if (length == 0 || prefix_alone || infinity_cut)
        return false;
    *number =
        std::copysign(std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value, negative ? -1.0 : 1.0);
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
    return read_numbers(text, n, vector, [](const char *at, double *number) {
        return read_plain(at, number) || read_double(at, number);
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
