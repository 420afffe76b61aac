// progress - how far long work has come, on a terminal

#include "support/progress.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <utility>

namespace examples
{

progress::progress(std::string label, int total)
    : label_(std::move(label)), total_(total), terminal_(isatty(STDERR_FILENO) != 0)
{
    done(0);
}

progress::~progress()
{
    if (terminal_)
        std::fputs("\r\033[K", stderr);
}

void progress::done(int steps)
{
    const int percent = total_ > 0 ? static_cast<int>(std::int64_t{100} * steps / total_) : 100;
    if (!terminal_ || percent == shown_)
        return;
    shown_ = percent;
    constexpr int bar = 30;  // columns
    const int full = bar * percent / 100;
    std::fprintf(stderr, "\r%-24s [%.*s%*s] %3d %%", label_.c_str(), full, "##############################", bar - full,
                 "", percent);
    std::fflush(stderr);
}

}  // namespace examples
