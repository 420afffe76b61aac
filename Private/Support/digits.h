// digits - a number as decimal digits with a fixed number behind the point, whatever the locale
//
// Used by file_double and volume_export.

#ifndef TESKA_SUPPORT_DIGITS_H
#define TESKA_SUPPORT_DIGITS_H

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <span>

namespace teska
{

inline bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

// Writes the number, correctly rounded, without padding and without a zero at the end; returns the end of its text.
//
// out       room for it; a double has up to 309 digits before the point
// decimals  0 or more; with 0 there is no point
inline char *put_fixed(std::span<char> out, double number, int decimals) noexcept
{
#if defined(__cpp_lib_to_chars)
    return std::to_chars(out.data(), out.data() + out.size(), number, std::chars_format::fixed, decimals).ptr;
#else
    // Some libraries have no to_chars of doubles. What the locale puts between the digits becomes a point.
    const int length = std::snprintf(out.data(), out.size(), "%.*f", decimals, number);
    char *const end = out.data() + std::clamp(length, 0, static_cast<int>(out.size()) - 1);
    if (decimals == 0 || !std::isfinite(number))
        return end;
    char *const point = std::find_if_not(out.data() + (out[0] == '-' ? 1 : 0), end, is_digit);
    *point = '.';
    return std::copy(end - decimals, end, point + 1);
#endif
}

}  // namespace teska

#endif
