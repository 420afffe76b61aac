// Calls that fail in all threads at once: every thread gets its own lines, and the queue of the process every line once.

#include "error_mess.h"
#include "hist.h"
#include "threads/in_threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace teska_test
{

namespace
{

constexpr int threads = 4;
constexpr int rounds = 50;

using Lines = std::vector<std::string>;

Lines pending()
{
    Lines lines;
    while (const char *line = error_get())
        lines.emplace_back(line);
    return lines;
}

std::string told(int thread, int round)
{
    return "thread " + std::to_string(thread) + " round " + std::to_string(round);
}

TEST(FailingCalls, GiveEachThreadItsOwnLines)
{
    in_threads(threads, [&](int thread) {
        const int before = error_set_thread(2);
        for (int round = 0; round < rounds; ++round) {
            error_mess_fl(told(thread, round).c_str(), __FILE__, __LINE__);
            EXPECT_EQ(hist_new(5, 0), nullptr);
            const Lines lines = pending();
            ASSERT_EQ(lines.size(), 2U);
            EXPECT_EQ(lines[0], "ERROR : '" + told(thread, round) + "'");
            EXPECT_EQ(lines[1], "ERROR : 'hist_new: illegal bounds'");
        }
        error_set_thread(before);
    });
}

TEST(FailingCalls, QueueEveryLineOfTheProcessOnce)
{
    const int before = error_set(2);
    in_threads(threads, [](int thread) {
        for (int round = 0; round < rounds; ++round)
            error_mess_fl(told(thread, round).c_str(), __FILE__, __LINE__);
    });
    const Lines lines = pending();
    const std::set<std::string> different(lines.begin(), lines.end());
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(threads * rounds));
    EXPECT_EQ(different.size(), lines.size());
    EXPECT_EQ(different.count("ERROR : '" + told(3, rounds - 1) + "'"), 1U);
    error_set(before);
}

// Modes are changed, lines fetched and lost while others report: nothing is promised but that it goes well.
TEST(FailingCalls, GoWellWhileModesChange)
{
    const int before = error_set(2);
    in_threads(threads, [](int thread) {
        for (int round = 0; round < rounds; ++round) {
            if (thread == 0)
                error_set(round % 2 == 0 ? 3 : 2);
            else
                error_mess_fl(told(thread, round).c_str(), __FILE__, __LINE__);
            for (const std::string &line : pending())
                EXPECT_EQ(line.substr(0, 9), "ERROR : '");
        }
    });
    error_set(0);
    error_set(before);
    SUCCEED();
}

}  // namespace

}  // namespace teska_test
