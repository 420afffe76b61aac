// html - small pieces of page text

#include "gallery/html.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>

namespace examples
{

namespace
{

bool is_name(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return (c >= 'a' && c <= 'z') || c == '_'; });
}

const std::string &value_of(std::string_view name, std::initializer_list<mark> marks)
{
    for (const mark &one : marks)
        if (one.first == name)
            return one.second;
    throw std::logic_error("page text without a value for " + std::string(name));
}

}  // namespace

std::string escaped(std::string_view text)
{
    std::string safe;
    for (const char c : text) {
        switch (c) {
        case '&':
            safe += "&amp;";
            break;
        case '<':
            safe += "&lt;";
            break;
        case '>':
            safe += "&gt;";
            break;
        case '"':
            safe += "&quot;";
            break;
        default:
            safe += c;
        }
    }
    return safe;
}

std::string expanded(std::string_view pattern, std::initializer_list<mark> marks)
{
    std::string text;
    while (!pattern.empty()) {
        const auto open = std::min(pattern.find('{'), pattern.size());
        text += pattern.substr(0, open);
        pattern.remove_prefix(open);
        const auto close = pattern.find('}');
        const auto name = pattern.substr(pattern.empty() ? 0 : 1, close == pattern.npos ? 0 : close - 1);
        if (is_name(name)) {
            text += value_of(name, marks);
            pattern.remove_prefix(close + 1);
        } else if (!pattern.empty()) {
            text += '{';
            pattern.remove_prefix(1);
        }
    }
    return text;
}

std::string decimals(double value, int digits)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

std::string grouped(long value)
{
    std::string text = std::to_string(value);
    for (auto at = static_cast<int>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), "\u202f");
    return text;
}

}  // namespace examples
