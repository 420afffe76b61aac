// options - what a command takes, described once: parsing, --help, the man page and the completions come from here

#include "frame/options.h"

#include "frame/failure.h"
#include "frame/text.h"

#include <algorithm>

namespace tool
{

namespace
{

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i)
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    return text;
}

void require_choice(const std::string &shown, const std::string &given, const std::vector<std::string> &choices)
{
    if (std::find(choices.begin(), choices.end(), given) == choices.end())
        throw usage_failure(shown, joined(choices) + " wanted");
}

template <class Target>
auto integer_taker(const std::string &name, std::int64_t least, std::int64_t most, Target &target)
{
    return [=, &target](const std::string &given) {
        const std::optional<std::int64_t> value = parse_integer(given);
        if (!value)
            throw usage_failure(name + " " + given, "not a whole number");
        if (*value < least || *value > most)
            throw usage_failure(name + " " + given, std::to_string(least) + " to " + std::to_string(most));
        target = static_cast<int>(*value);
    };
}

template <class Target>
auto number_taker(const std::string &name, double least, double most, Target &target)
{
    return [=, &target](const std::string &given) {
        const std::optional<double> value = parse_number(given);
        if (!value)
            throw usage_failure(name + " " + given, "not a number");
        if (*value < least || *value > most)
            throw usage_failure(name + " " + given, number_text(least) + " to " + number_text(most));
        target = *value;
    };
}

std::function<void(const std::string &)> text_taker(std::string &target)
{
    return [&target](const std::string &given) { target = given; };
}

std::function<void(const std::string &)> list_taker(std::vector<std::string> &target)
{
    return [&target](const std::string &given) { target.push_back(given); };
}

}  // namespace

void options::file(const std::string &name, const std::string &help, std::string &target)
{
    add(operand{name, help, 1, 1, {}, text_taker(target)});
}

void options::output(const std::string &name, const std::string &help, std::string &target)
{
    add(operand{name, help, 1, 1, {}, text_taker(target)});
}

void options::word(const std::string &name, const std::vector<std::string> &choices, const std::string &help,
                   std::string &target)
{
    add(operand{name, help, 1, 1, choices, [=, &target](const std::string &given) {
                    require_choice(given, given, choices);
                    target = given;
                }});
}

void options::files(const std::string &name, int least, int most, const std::string &help,
                    std::vector<std::string> &target)
{
    add(operand{name, help, least, most, {}, list_taker(target)});
}

void options::flag(const std::string &name, const std::string &help, bool &target)
{
    add(option{name, "", help, "", {}, false, completes::nothing, [&target](const std::string &) { target = true; }});
}

void options::text(const std::string &name, const std::string &value, const std::string &help, std::string &target)
{
    add(option{name, value, help, target, {}, false, completes::nothing, text_taker(target)});
}

void options::path(const std::string &name, const std::string &value, const std::string &help, std::string &target)
{
    add(option{name, value, help, target, {}, false, completes::files, text_taker(target)});
}

void options::choice(const std::string &name, const std::string &value, const std::vector<std::string> &choices,
                     const std::string &help, std::string &target)
{
    const auto take = [=, &target](const std::string &given) {
        require_choice(name + " " + given, given, choices);
        target = given;
    };
    add(option{name, value, help, target, choices, false, completes::nothing, take});
}

void options::integer(const std::string &name, const std::string &value, std::int64_t least, std::int64_t most,
                      const std::string &help, int &target)
{
    add(option{name,
               value,
               help,
               std::to_string(target),
               {},
               false,
               completes::nothing,
               integer_taker(name, least, most, target)});
}

void options::integer(const std::string &name, const std::string &value, std::int64_t least, std::int64_t most,
                      const std::string &help, std::optional<int> &target)
{
    add(option{name,
               value,
               help,
               target ? std::to_string(*target) : "",
               {},
               false,
               completes::nothing,
               integer_taker(name, least, most, target)});
}

void options::number(const std::string &name, const std::string &value, double least, double most,
                     const std::string &help, double &target)
{
    add(option{name,
               value,
               help,
               number_text(target),
               {},
               false,
               completes::nothing,
               number_taker(name, least, most, target)});
}

void options::number(const std::string &name, const std::string &value, double least, double most,
                     const std::string &help, std::optional<double> &target)
{
    add(option{name,
               value,
               help,
               target ? number_text(*target) : "",
               {},
               false,
               completes::nothing,
               number_taker(name, least, most, target)});
}

void options::texts(const std::string &name, const std::string &value, const std::string &help,
                    std::vector<std::string> &target)
{
    add(option{name, value, help, "", {}, true, completes::nothing, list_taker(target)});
}

void options::paths(const std::string &name, const std::string &value, const std::string &help,
                    std::vector<std::string> &target)
{
    add(option{name, value, help, "", {}, true, completes::files, list_taker(target)});
}

void options::pair(const std::string &name, const std::string &value, const std::string &help,
                   std::optional<std::array<double, 2>> &target)
{
    const auto take = [=, &target](const std::string &given) {
        const std::optional<std::vector<double>> values = parse_numbers(given);
        if (!values || values->size() != 2)
            throw usage_failure(name + " " + given, "2 numbers with commas between wanted");
        target = {(*values)[0], (*values)[1]};
    };
    add(option{name, value, help, "", {}, false, completes::nothing, take});
}

void options::numbers(const std::string &name, const std::string &value, int count, const std::string &help,
                      std::vector<std::vector<double>> &target)
{
    const auto take = [=, &target](const std::string &given) {
        const std::optional<std::vector<double>> values = parse_numbers(given);
        if (!values || values->size() != static_cast<std::size_t>(count))
            throw usage_failure(name + " " + given, std::to_string(count) + " numbers with commas between wanted");
        target.push_back(*values);
    };
    add(option{name, value, help, "", {}, true, completes::nothing, take});
}

}  // namespace tool
