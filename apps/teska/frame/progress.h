// progress - how far long work has come, on a terminal
//
//     progress shown(work, path, height);
//     for (..) shown.done(y);
//
// One line on standard error, first after a second, at most five times a second, gone at the end. Without a terminal,
// with --json and with --quiet nothing is written.

#ifndef TESKA_TOOL_PROGRESS_H
#define TESKA_TOOL_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace tool
{

class job;

class progress
{
public:
    // total  steps, in any unit
    progress(const job &work, const std::string &file, std::uint64_t total);
    progress(const progress &) = delete;
    progress &operator=(const progress &) = delete;
    ~progress();

    // So many steps are done. One thread at a time.
    void done(std::uint64_t steps);

private:
    using clock = std::chrono::steady_clock;

    std::string file_;
    std::uint64_t total_;
    bool wanted_;
    bool shown_ = false;
    clock::time_point start_ = clock::now();
    clock::time_point next_ = start_ + std::chrono::seconds(1);
};

}  // namespace tool

#endif
