// digits - numbers as decimal digits, whatever the locale
//
// Used by file_double, volume_export, tconvexhull, the top surface and condirmin.

#ifndef TESKA_SUPPORT_DIGITS_H
#define TESKA_SUPPORT_DIGITS_H

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <span>

namespace teska
{

// The longest number, -DBL_MAX, has a sign and 309 digits before the point; with up to 8 behind it and a zero.
constexpr std::size_t number_room = 320;

inline bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

#if !defined(__cpp_lib_to_chars)

// Some libraries have no to_chars of doubles. What the locale puts between the digits of printf becomes a point.
// Returns the end of the text.
inline char *with_point(std::span<char> text, int length) noexcept
{
    char *const end = text.data() + std::clamp(length, 0, static_cast<int>(text.size()) - 1);
    char *const point = std::find_if_not(text.data() + (text[0] == '-' ? 1 : 0), end, is_digit);
    char *const behind = std::find_if(point, end, [](char c) { return is_digit(c) || c == 'e'; });
    if (point == behind || behind == end)
        return end;
    *point = '.';
    return std::copy(behind, end, point + 1);
}

#endif

// Writes the number, correctly rounded, without padding and without a zero at the end; returns the end of its text.
//
// out       room for it; a double has up to 309 digits before the point
// decimals  0 or more; with 0 there is no point
inline char *put_fixed(std::span<char> out, double number, int decimals) noexcept
{
#if defined(__cpp_lib_to_chars)
    return std::to_chars(out.data(), out.data() + out.size(), number, std::chars_format::fixed, decimals).ptr;
#else
    return with_point(out, std::snprintf(out.data(), out.size(), "%.*f", decimals, number));
#endif
}

// The same in at most six digits, as "%g" of printf does.
inline char *put_general(std::span<char> out, double number) noexcept
{
#if defined(__cpp_lib_to_chars)
    return std::to_chars(out.data(), out.data() + out.size(), number, std::chars_format::general, 6).ptr;
#else
    return with_point(out, std::snprintf(out.data(), out.size(), "%g", number));
#endif
}

// Texts with a zero at the end, for a "%s" of printf; up to 8 decimals.
using number_text = std::array<char, number_room>;

inline number_text fixed_text(double number, int decimals) noexcept
{
    number_text text = {};
    put_fixed(text, number, decimals);
    return text;
}

inline number_text general_text(double number) noexcept
{
    number_text text = {};
    put_general(text, number);
    return text;
}

}  // namespace teska

#endif
