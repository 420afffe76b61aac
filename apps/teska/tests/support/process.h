// process - the program teska, started as a user starts it

#ifndef TESKA_TOOL_TESTS_PROCESS_H
#define TESKA_TOOL_TESTS_PROCESS_H

#include <string>
#include <vector>

namespace tool_test
{

struct outcome {
    int code;         // exit code; 128 + signal when one ended it
    std::string out;  // standard output
    std::string err;  // standard error
};

// Runs teska with these arguments to its end.
outcome run_teska(const std::vector<std::string> &arguments);

// The same, ended by a signal after so many microseconds; not on Windows, which has no signals for other processes.
outcome run_teska_killed(const std::vector<std::string> &arguments, int signal, int microseconds);

// Whether a code says that the program crashed, as a sanitizer's report does too.
inline bool is_crash(const outcome &result)
{
    return result.code < 0 || result.code > 2 || result.err.find("Sanitizer") != std::string::npos ||
           result.err.find("runtime error") != std::string::npos;
}

}  // namespace tool_test

#endif
