// command_line - the arguments of a command, parsed by its description

#ifndef TESKA_TOOL_COMMAND_LINE_H
#define TESKA_TOOL_COMMAND_LINE_H

#include "frame/command.h"
#include "frame/options.h"

#include <string>
#include <vector>

namespace tool
{

// What the options that every command has are written to.
struct common_options {
    int threads;
    bool json = false;
    bool force = false;
    bool quiet = false;
    bool help = false;
};

// Adds the common options to a command's own.
void describe_common(options &take, common_options &common);

// Gives every value to the option or operand it belongs to. Throws usage_failure for whatever is wrong. When --help is
// among the arguments, that alone is looked at.
void parse_arguments(const command &called, const options &take, const std::vector<std::string> &arguments);

// Whether a flag is among the arguments, in front of "--".
bool has_flag(const std::vector<std::string> &arguments, const std::string &flag);

}  // namespace tool

#endif
