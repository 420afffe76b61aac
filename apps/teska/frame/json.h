// json - a value of JSON, written on one line
//
//     json result = json::object();
//     result["width"] = 64;
//     result["lab"] = json::array({50.0, 0.0, -2.5});
//     result["intent"] = nullptr;
//     result.text()           {"width": 64, "lab": [50, 0, -2.5], "intent": null}
//
// Members keep the order in which they were first named. Numbers are written as short as they read back; what is not
// finite is null. Texts are valid UTF-8 whatever their bytes were.

#ifndef TESKA_TOOL_JSON_H
#define TESKA_TOOL_JSON_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tool
{

class json
{
public:
    json() = default;
    json(std::nullptr_t) {}
    json(bool value) : value_(value) {}
    json(double value) : value_(value) {}
    json(std::integral auto value) : value_(static_cast<std::int64_t>(value)) {}
    json(std::string value) : value_(std::move(value)) {}
    json(std::string_view value) : value_(std::string(value)) {}
    json(const char *value) : value_(std::string(value)) {}

    static json object();
    static json array(std::vector<json> elements = {});

    // A number cut to so many digits after the point, for figures whose further digits say nothing.
    static json rounded(double value, int digits);

    // The member of an object, made when it is not there; a null becomes an object.
    json &operator[](std::string_view name);

    // Appends to an array; a null becomes an array.
    void push_back(json element);

    // Appends the members of another object.
    void take_members(const json &other);

    [[nodiscard]] bool empty() const;
    [[nodiscard]] std::string text() const;

private:
    using members = std::vector<std::pair<std::string, json>>;
    using elements = std::vector<json>;

    void append_to(std::string &text) const;

    std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, elements, members> value_;
};

}  // namespace tool

#endif
