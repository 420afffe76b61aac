// command_line - the arguments of a command, parsed by its description
//
// CLI11 does the parsing. Before it sees them, an option and its value are joined to one argument, so that a value may
// begin with a minus: "--nearest -3,4,5" becomes "--nearest=-3,4,5".

#include "frame/command_line.h"

#include "frame/failure.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <deque>

namespace tool
{

namespace
{

const option *find_option(const options &take, const std::string &name)
{
    for (const option &known : take.all())
        if (known.name == name)
            return &known;
    return nullptr;
}

std::string help_hint(const command &called) { return "teska " + called.name + " --help lists the options"; }

// Arguments in front of "--" in which every value is joined to its option; refuses what CLI11 would take another way.
std::vector<std::string> join_values(const command &called, const options &take,
                                     const std::vector<std::string> &arguments)
{
    std::vector<std::string> joined;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &given = arguments[i];
        const std::size_t equal = given.find('=');
        const std::string name = given.substr(0, equal);
        const option *known = given.size() > 2 && given.starts_with("--") ? find_option(take, name) : nullptr;
        if (known == nullptr && given.starts_with('-') && given != "-")
            throw usage_failure(name, "unknown option", help_hint(called));
        if (known != nullptr && known->value.empty() && equal != std::string::npos)
            throw usage_failure(name, "takes no value");
        joined.push_back(given);
        if (known == nullptr || known->value.empty())
            continue;
        if (equal == std::string::npos) {
            if (i + 1 == arguments.size() || arguments[i + 1].starts_with("--"))
                throw usage_failure(name, "a value is missing (" + known->value + ")");
            joined.back() += "=" + arguments[++i];
        }
        if (joined.back().size() == name.size() + 1)
            throw usage_failure(name, "a value is missing (" + known->value + ")");
    }
    return joined;
}

// Hands the operands out from left to right; the last one takes what is there.
void take_operands(const command &called, const options &take, const std::vector<std::string> &given)
{
    std::size_t next = 0;
    for (const operand &known : take.operands()) {
        int count = 0;
        for (; next < given.size() && count < known.most; ++count)
            known.take(given[next++]);
        if (count < known.least)
            throw usage_failure(known.name, "is missing", "teska " + called.name + " --help shows how to call it");
    }
    if (next < given.size())
        throw usage_failure(given[next], "one file too many", help_hint(called));
}

}  // namespace

void describe_common(options &take, common_options &common)
{
    take.integer("--threads", "N", 1, 256, "threads to work with; results are the same for every number",
                 common.threads);
    take.flag("--json", "one JSON object on standard output and nothing else there", common.json);
    take.flag("--force", "replace outputs that exist", common.force);
    take.flag("--quiet", "no notes and no progress", common.quiet);
    take.flag("--help", "show this text", common.help);
}

bool has_flag(const std::vector<std::string> &arguments, const std::string &flag)
{
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    return std::find(arguments.begin(), end, flag) != end;
}

void parse_arguments(const command &called, const options &take, const std::vector<std::string> &arguments)
{
    CLI::App parser;
    parser.set_help_flag();
    std::deque<std::vector<std::string>> values(take.all().size());
    std::vector<CLI::Option *> parsed;
    for (std::size_t i = 0; i < take.all().size(); ++i) {
        const option &known = take.all()[i];
        if (known.value.empty())
            parsed.push_back(parser.add_flag(known.name));
        else
            parsed.push_back(parser.add_option(known.name, values[i])->allow_extra_args(false));
    }
    // Behind "--" there are operands only.
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    std::vector<std::string> reversed = join_values(called, take, {arguments.begin(), end});
    std::reverse(reversed.begin(), reversed.end());
    parser.allow_extras();
    try {
        parser.parse(reversed);
    } catch (const CLI::ParseError &problem) {
        throw usage_failure("", problem.what(), help_hint(called));
    }
    std::vector<std::string> operands = parser.remaining();
    if (end != arguments.end())
        operands.insert(operands.end(), end + 1, arguments.end());
    for (std::size_t i = 0; i < take.all().size(); ++i) {
        const option &known = take.all()[i];
        if (parsed[i]->count() > 1 && !known.repeats && !known.value.empty())
            throw usage_failure(known.name, "is there twice");
        if (known.value.empty() && parsed[i]->count() > 0)
            known.take("");
        for (const std::string &value : values[i])
            known.take(value);
    }
    take_operands(called, take, operands);
}

}  // namespace tool
