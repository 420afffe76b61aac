// job - one run of a command: what the user asked for, and how it speaks to the user
//
//     work.note(path, "no profile, taken as sRGB");        teska convert: in.png: note: no profile, ..
//     work.line("volume 451261.2");                        the result, on standard output
//     work.result["volume"] = 451261.2;                    the result with --json
//
// A command gives its result both ways, each time; the job prints what was asked for.

#ifndef TESKA_TOOL_JOB_H
#define TESKA_TOOL_JOB_H

#include "frame/failure.h"
#include "frame/json.h"

#include <mutex>
#include <string>
#include <vector>

namespace tool
{

class job
{
public:
    explicit job(std::string command);

    // What the common options say.
    int threads;  // at least 1; results must not depend on it
    bool json_wanted = false;
    bool force = false;  // existing outputs may be replaced
    bool quiet = false;  // no notes, no progress

    // The members of the JSON object; "ok" and "notes" are added.
    json result = json::object();

    // Tells what the user should know; the exit code stays. Any thread may call it.
    void note(const std::string &file, const std::string &text);

    // A line of the result, without its line end; nothing with --json.
    void line(const std::string &text);

    // Tells a failure and goes on: the exit code will be the failure's. Of several, the first one is in the JSON.
    void failed(const failure &problem);

    // The result is there, and it is bad (a check that found something): exit code 1, "ok": false.
    void found_fault() { code_ = code_ == 0 ? 1 : code_; }

    // Prints what is left to print. Returns the exit code.
    int finish();

private:
    std::string command_;
    std::mutex lock_;
    std::vector<json> notes_;
    int code_ = 0;
    json problem_;  // members of the JSON that tell the first failure
};

}  // namespace tool

#endif
