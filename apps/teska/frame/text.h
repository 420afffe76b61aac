// text - numbers and names as they are read and shown, the same in every locale

#ifndef TESKA_TOOL_TEXT_H
#define TESKA_TOOL_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool
{

// A whole text as a number, with a decimal point; empty when it is none, or not finite.
std::optional<double> parse_number(std::string_view text);

// A whole text as an integer in decimal digits; empty when it is none or does not fit.
std::optional<std::int64_t> parse_integer(std::string_view text);

// Numbers between commas, as "50,-20,10"; empty when a part is none.
std::optional<std::vector<double>> parse_numbers(std::string_view text);

// The shortest text that reads back as the same number.
std::string number_text(double value);

// A number with so many digits after the point.
std::string fixed_text(double value, int digits);

// For one line of a terminal: control characters and line ends as \xNN, all other bytes as they are.
std::string printable(std::string_view text);

// Valid UTF-8: bytes that are none become U+FFFD.
std::string valid_utf8(std::string_view text);

std::string lower_case(std::string_view text);

}  // namespace tool

#endif
