// failure - what ends a command: which file, what is wrong with it, what to do
//
//     throw failure(path, "no ICC profile");
//     throw failure(path, "exists", "--force replaces it");
//     throw usage_failure("--bpc", "absolute colorimetry has no black point compensation");
//
// main prints "teska COMMAND: FILE: WHAT; DO" on standard error and ends with the code: 1 when a file, its contents or
// a bound failed, 2 when the command line is wrong and nothing was read.

#ifndef TESKA_TOOL_FAILURE_H
#define TESKA_TOOL_FAILURE_H

#include <stdexcept>
#include <string>
#include <utility>

namespace tool
{

class failure : public std::runtime_error
{
public:
    // file    as it was given, or the option; may be empty
    // what    what is wrong with it
    // action  what helps; may be empty
    failure(std::string file, const std::string &what, const std::string &action = "", int code = 1)
        : std::runtime_error(action.empty() ? what : what + "; " + action), file_(std::move(file)), code_(code)
    {
    }

    // WHAT, or WHAT; DO: what().
    [[nodiscard]] const std::string &file() const { return file_; }
    [[nodiscard]] int code() const { return code_; }

private:
    std::string file_;
    int code_;
};

class usage_failure : public failure
{
public:
    explicit usage_failure(const std::string &file, const std::string &what, const std::string &action = "")
        : failure(file, what, action, 2)
    {
    }
};

// The lines that the library has reported in this thread, without their decoration, commas between; often empty.
std::string take_report();

// A failure about a file with these lines.
[[noreturn]] void throw_report(const std::string &file);

}  // namespace tool

#endif
