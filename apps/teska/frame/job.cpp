// job - one run of a command: what the user asked for, and how it speaks to the user

#include "frame/job.h"

#include "frame/text.h"

#include <algorithm>
#include <cstdio>
#include <thread>

namespace tool
{

job::job(std::string command)
    : threads(std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 256)), command_(std::move(command))
{
}

void job::note(const std::string &file, const std::string &text)
{
    const std::string shown = printable(file) + ": note: " + printable(text);
    const std::lock_guard<std::mutex> hold(lock_);
    notes_.emplace_back(printable(file) + ": " + printable(text));
    if (!quiet && !json_wanted)
        std::fprintf(stderr, "teska %s: %s\n", command_.c_str(), shown.c_str());
}

void job::line(const std::string &text)
{
    if (json_wanted)
        return;
    const std::lock_guard<std::mutex> hold(lock_);
    std::fprintf(stdout, "%s\n", text.c_str());
}

void job::failed(const failure &problem)
{
    const std::string file = printable(problem.file());
    const std::string what = printable(problem.what());
    const std::lock_guard<std::mutex> hold(lock_);
    std::fprintf(stderr, "teska%s%s: %s%s%s\n", command_.empty() ? "" : " ", command_.c_str(), file.c_str(),
                 file.empty() ? "" : ": ", what.c_str());
    if (code_ != 0)
        return;
    code_ = problem.code();
    problem_ = json::object();
    problem_["code"] = problem.code();
    problem_["file"] = problem.file();
    problem_["message"] = what;
}

int job::finish()
{
    if (json_wanted) {
        json shown = json::object();
        shown["ok"] = code_ == 0;
        shown.take_members(problem_);
        if (code_ != 0 && problem_.empty())
            shown["code"] = code_;
        // What a failed command had gathered says nothing; one that went on after a failure has its list.
        shown.take_members(result);
        if (problem_.empty())
            shown["notes"] = json::array(notes_);
        std::fprintf(stdout, "%s\n", shown.text().c_str());
    }
    if ((std::fflush(stdout) != 0 || std::ferror(stdout) != 0) && code_ == 0) {
        std::fprintf(stderr, "teska %s: standard output: cannot be written\n", command_.c_str());
        code_ = 1;
    }
    return code_;
}

}  // namespace tool
