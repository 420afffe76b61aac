// bands - a picture worked on by several threads, band by band, with the same bytes for every number of them

#include "pictures/bands.h"

#include "error_mess.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace tool
{

namespace
{

constexpr int queue_reports = 2;

class band_line
{
public:
    band_line(std::uint32_t bands, const band_steps &steps) : bands_(bands), steps_(steps) {}

    void run(int slot)
    {
        error_set_thread(queue_reports);
        std::uint32_t band = 0;
        while (take(slot, band)) {
            try {
                steps_.work(slot, band);
                write(slot, band);
            } catch (...) {
                stop(band);
            }
        }
        error_set_thread(TESKA_ERROR_PROCESS_WIDE);
    }

    void rethrow() const
    {
        if (problem_)
            std::rethrow_exception(problem_);
    }

private:
    bool take(int slot, std::uint32_t &band)
    {
        const std::lock_guard<std::mutex> hold(reading_);
        band = next_;
        if (band >= bands_ || is_stopped())
            return false;
        ++next_;
        try {
            steps_.read(slot, band);
            return true;
        } catch (...) {
            stop(band);
            return false;
        }
    }

    void write(int slot, std::uint32_t band)
    {
        std::unique_lock<std::mutex> hold(writing_);
        turn_.wait(hold, [&] { return written_ == band || problem_; });
        // Bands in front of one that failed are written; nobody will see them.
        if (written_ != band)
            return;
        // Only the band whose turn it is comes here.
        hold.unlock();
        steps_.write(slot, band);
        hold.lock();
        ++written_;
        hold.unlock();
        turn_.notify_all();
    }

    void stop(std::uint32_t band)
    {
        const std::lock_guard<std::mutex> hold(writing_);
        if (!problem_ || band < failed_) {
            problem_ = std::current_exception();
            failed_ = band;
        }
        turn_.notify_all();
    }

    bool is_stopped()
    {
        const std::lock_guard<std::mutex> hold(writing_);
        return problem_ != nullptr;
    }

    std::uint32_t bands_;
    const band_steps &steps_;
    std::mutex reading_;
    std::uint32_t next_ = 0;  // to be read
    std::mutex writing_;
    std::condition_variable turn_;
    std::uint32_t written_ = 0;
    std::exception_ptr problem_;
    std::uint32_t failed_ = 0;
};

// Runs the same on some threads, one of them this one.
void on_threads(int threads, const std::function<void(int)> &body)
{
    std::vector<std::jthread> helpers;
    for (int slot = 1; slot < threads; ++slot)
        helpers.emplace_back(body, slot);
    body(0);
}

}  // namespace

void for_bands(int threads, std::uint32_t bands, const band_steps &steps)
{
    threads = static_cast<int>(std::clamp<std::uint32_t>(bands, 1, static_cast<std::uint32_t>(threads)));
    if (threads == 1) {
        for (std::uint32_t band = 0; band < bands; ++band) {
            steps.read(0, band);
            steps.work(0, band);
            steps.write(0, band);
        }
        return;
    }
    band_line line(bands, steps);
    on_threads(threads, [&](int slot) { line.run(slot); });
    line.rethrow();
}

void for_each(int threads, std::uint32_t count, const std::function<void(std::uint32_t)> &job)
{
    const auto nothing = [](int, std::uint32_t) {};
    for_bands(threads, count, {nothing, [&](int, std::uint32_t i) { job(i); }, nothing});
}

}  // namespace tool
