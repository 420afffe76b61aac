// in_threads - the same work in several threads that begin together

#ifndef TESKA_TESTS_IN_THREADS_H
#define TESKA_TESTS_IN_THREADS_H

#include <atomic>
#include <thread>
#include <vector>

namespace teska_test
{

// Calls work(thread) with 0 .. threads - 1, each in a thread of its own, and returns when all have ended. They meet by
// looking, not by std::barrier: where the host has no futex, libstdc++ 12 may lose its notification, and a thread waits
// for ever.
template <class Work>
void in_threads(int threads, const Work &work)
{
    std::atomic<int> missing(threads);
    std::vector<std::jthread> running;
    running.reserve(static_cast<std::size_t>(threads));
    for (int thread = 0; thread < threads; ++thread)
        running.emplace_back([&, thread] {
            for (--missing; missing > 0;)
                std::this_thread::yield();
            work(thread);
        });
}

}  // namespace teska_test

#endif
