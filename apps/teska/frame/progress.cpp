// progress - how far long work has come, on a terminal

#include "frame/progress.h"

#include "frame/job.h"
#include "frame/platform.h"
#include "frame/text.h"

#include <algorithm>
#include <cstdio>

namespace tool
{

progress::progress(const job &work, const std::string &file, std::uint64_t total)
    : file_(printable(file)), total_(std::max<std::uint64_t>(total, 1)),
      wanted_(!work.json_wanted && !work.quiet && errors_reach_terminal())
{
}

progress::~progress()
{
    if (shown_) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        set_progress_shown(false);
    }
}

void progress::done(std::uint64_t steps)
{
    if (!wanted_)
        return;
    const clock::time_point now = clock::now();
    if (now < next_)
        return;
    next_ = now + std::chrono::milliseconds(200);
    const double part = std::min(1.0, static_cast<double>(steps) / static_cast<double>(total_));
    const double spent = std::chrono::duration<double>(now - start_).count();
    std::string left;
    if (part > 0) {
        const auto seconds = static_cast<long long>(std::min(spent * (1 - part) / part + 0.5, 359999.0));
        const std::string tail = std::to_string(seconds % 60);
        left = "  " + std::to_string(seconds / 60) + ":" + (tail.size() < 2 ? "0" : "") + tail + " left";
    }
    shown_ = true;
    set_progress_shown(true);
    std::fprintf(stderr, "\r%s  %d %%%s\033[K", file_.c_str(), static_cast<int>(100 * part), left.c_str());
    std::fflush(stderr);
}

}  // namespace tool
