// text - numbers and names as they are read and shown, the same in every locale

#include "frame/text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace tool
{

namespace
{

// Length of the UTF-8 sequence at the start of a text, 0 when there is none (Unicode 15.0, table 3-7).
std::size_t sequence_length(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
    const unsigned first = byte(0);
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first <= 0xDF)
        return follows(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool shortest = first != 0xE0 || byte(1) >= 0xA0;
        const bool no_surrogate = first != 0xED || byte(1) < 0xA0;
        return follows(1) && follows(2) && shortest && no_surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool shortest = first != 0xF0 || byte(1) >= 0x90;
        const bool in_range = first != 0xF4 || byte(1) < 0x90;
        return follows(1) && follows(2) && follows(3) && shortest && in_range ? 4 : 0;
    }
    return 0;
}

// Whether a sequence is a control character: C0, delete, C1, or the separators of lines and paragraphs.
bool is_control(std::string_view sequence)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(sequence[i]); };
    if (sequence.size() == 1)
        return byte(0) < 0x20 || byte(0) == 0x7F;
    if (sequence.size() == 2)
        return byte(0) == 0xC2 && byte(1) < 0xA0;
    return sequence == "\xE2\x80\xA8" || sequence == "\xE2\x80\xA9";
}

template <class Number>
std::optional<Number> parse_whole(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

}  // namespace

std::optional<double> parse_number(std::string_view text)
{
    const std::optional<double> value = parse_whole<double>(text.starts_with('+') ? text.substr(1) : text);
    return value && std::isfinite(*value) && !text.starts_with("+-") ? value : std::nullopt;
}

std::optional<std::int64_t> parse_integer(std::string_view text) { return parse_whole<std::int64_t>(text); }

std::optional<std::vector<double>> parse_numbers(std::string_view text)
{
    std::vector<double> numbers;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        const std::optional<double> number = parse_number(text.substr(start, end - start));
        if (!number)
            return std::nullopt;
        numbers.push_back(*number);
        start = end + 1;
    }
    return numbers;
}

std::string number_text(double value)
{
    std::array<char, 32> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    return error == std::errc() ? std::string(digits.data(), end) : std::string("0");
}

std::string fixed_text(double value, int digits)
{
    std::array<char, 400> text{};  // the largest number has 309 digits before the point
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits);
    return error == std::errc() ? std::string(text.data(), end) : number_text(value);
}

std::string printable(std::string_view text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string shown;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, std::max<std::size_t>(sequence_length(text), 1));
        if (is_control(piece)) {
            for (const char c : piece) {
                const auto byte = static_cast<unsigned char>(c);
                shown += {'\\', 'x', digits[byte / 16U], digits[byte % 16U]};
            }
        } else {
            shown += piece;
        }
        text.remove_prefix(piece.size());
    }
    return shown;
}

std::string valid_utf8(std::string_view text)
{
    std::string valid;
    while (!text.empty()) {
        const std::size_t length = sequence_length(text);
        valid += length > 0 ? text.substr(0, length) : std::string_view("\xEF\xBF\xBD");
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return valid;
}

std::string lower_case(std::string_view text)
{
    std::string lower(text);
    for (char &c : lower)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return lower;
}

}  // namespace tool
