// json - a value of JSON, written on one line

#include "frame/json.h"

#include "frame/text.h"

#include <cmath>

namespace tool
{

namespace
{

void append_quoted(std::string &text, std::string_view value)
{
    constexpr std::string_view digits = "0123456789abcdef";
    text += '"';
    for (const char c : valid_utf8(value)) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            text += {'\\', c};
        else if (byte < 0x20 || byte == 0x7F)
            text += {'\\', 'u', '0', '0', digits[byte / 16U], digits[byte % 16U]};
        else
            text += c;
    }
    text += '"';
}

}  // namespace

json json::object()
{
    json made;
    made.value_ = members();
    return made;
}

json json::array(std::vector<json> content)
{
    json made;
    made.value_ = std::move(content);
    return made;
}

json json::rounded(double value, int digits)
{
    const double scale = std::pow(10.0, digits);
    return {std::round(value * scale) / scale};
}

json &json::operator[](std::string_view name)
{
    if (std::holds_alternative<std::nullptr_t>(value_))
        value_ = members();
    auto &all = std::get<members>(value_);
    for (auto &[known, value] : all)
        if (known == name)
            return value;
    return all.emplace_back(name, json()).second;
}

void json::push_back(json element)
{
    if (std::holds_alternative<std::nullptr_t>(value_))
        value_ = elements();
    std::get<elements>(value_).push_back(std::move(element));
}

void json::take_members(const json &other)
{
    if (const auto *all = std::get_if<members>(&other.value_))
        for (const auto &[name, value] : *all)
            (*this)[name] = value;
}

bool json::empty() const
{
    if (const auto *list = std::get_if<elements>(&value_))
        return list->empty();
    if (const auto *all = std::get_if<members>(&value_))
        return all->empty();
    return std::holds_alternative<std::nullptr_t>(value_);
}

std::string json::text() const
{
    std::string text;
    append_to(text);
    return text;
}

void json::append_to(std::string &text) const
{
    if (const auto *flag = std::get_if<bool>(&value_)) {
        text += *flag ? "true" : "false";
    } else if (const auto *integer = std::get_if<std::int64_t>(&value_)) {
        text += std::to_string(*integer);
    } else if (const auto *number = std::get_if<double>(&value_)) {
        text += std::isfinite(*number) ? number_text(*number) : "null";
    } else if (const auto *string = std::get_if<std::string>(&value_)) {
        append_quoted(text, *string);
    } else if (const auto *list = std::get_if<elements>(&value_)) {
        const char *separator = "[";
        for (const json &element : *list) {
            text += separator;
            element.append_to(text);
            separator = ", ";
        }
        text += list->empty() ? "[]" : "]";
    } else if (const auto *all = std::get_if<members>(&value_)) {
        const char *separator = "{";
        for (const auto &[name, value] : *all) {
            text += separator;
            append_quoted(text, name);
            text += ": ";
            value.append_to(text);
            separator = ", ";
        }
        text += all->empty() ? "{}" : "}";
    } else {
        text += "null";
    }
}

}  // namespace tool
