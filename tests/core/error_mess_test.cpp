#include "error_mess.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

namespace
{

using lines = std::vector<std::string>;

// Taken before any test sets them.
const int initial_mode = error_set(1);
const int initial_threshold = teska_warn_level(0);
const int initial_debug = dbg_set(0);

const std::string long_message(600, 'x');
const std::string cut_line = "ERROR : '" + std::string(502, 'x');

void report(const lines &messages)
{
    for (const std::string &message : messages)
        EXPECT_EQ(error_mess_fl(message.c_str(), __FILE__, __LINE__), 0);
}

lines take()
{
    lines taken;
    while (const char *line = error_get())
        taken.emplace_back(line);
    return taken;
}

// Runs body and gives what it printed on standard output, all of which must have been flushed.
template <class Body>
std::string printed(Body &&body)
{
    testing::internal::CaptureStdout();
    body();
    const auto arrived = lseek(1, 0, SEEK_CUR);
    std::fflush(stdout);
    const auto written = lseek(1, 0, SEEK_CUR);
    std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(arrived, written) << "not flushed";
    return text;
}

class ErrorMess : public testing::Test
{
protected:
    ~ErrorMess() override
    {
        error_set(1);
        error_set_thread(TESKA_ERROR_PROCESS_WIDE);
        error_set_handler(nullptr, nullptr, nullptr);
        error_set_thread_handler(nullptr, nullptr, nullptr);
        teska_warn_level(0);
        dbg_set(0);
    }
};

}  // namespace

// Kept: queued lines are cut at 256 characters and handed out in descending order.
TEST_F(ErrorMess, PrintsKeepsOrDropsALineAsTheModeSays)
{
    const std::string first_256 = cut_line.substr(0, 256);
    const std::tuple<int, lines, std::string, lines> cases[] = {
        {1, {"100% #1", long_message}, "ERROR : '100% #1'\n" + cut_line + '\n', {}},
        {2, {"Abc", "Abc", "abc"}, "", {"ERROR : 'Abc'"}},
        {2,
         {"B", long_message, "a", "c", long_message},
         "",
         {first_256, first_256, "ERROR : 'c'", "ERROR : 'B'", "ERROR : 'a'"}},
        {3, {"first", "second"}, "", {"ERROR : 'second'"}},
        {3, {long_message}, "", {cut_line}},
        {0, {"lost"}, "", {}},
        {4, {"lost"}, "", {}},
        {-1, {"lost"}, "", {}}};
    EXPECT_EQ(initial_mode, 1);
    for (const auto &[mode, reported, expected, fetched] : cases) {
        error_set(mode);
        EXPECT_EQ(printed([&messages = reported] { report(messages); }), expected) << mode;
        EXPECT_EQ(take(), fetched) << mode;
    }
}

TEST_F(ErrorMess, KeptForgetsTheKeptLineWhenMode3IsSetAgainAndTheQueueOnLeavingMode2)
{
    const std::tuple<int, int, lines> cases[] = {{2, 2, {"ERROR : 'ink'"}}, {2, 77, {}}, {3, 3, {}}, {3, 1, {}}};
    for (const auto &[mode, next, kept] : cases) {
        error_set(mode);
        report({"ink"});
        EXPECT_EQ(error_set(next), mode);
        EXPECT_EQ(error_set(mode), next);
        EXPECT_EQ(take(), kept) << mode << ", " << next;
    }
}

TEST_F(ErrorMess, CollectsWholeLinesOfAThreadInTheOrderReported)
{
    const lines ink = {"ERROR : 'ink'"};
    error_set(3);
    EXPECT_EQ(error_set_thread(2), TESKA_ERROR_PROCESS_WIDE);
    report({"b", long_message, "a", "b"});
    EXPECT_EQ(error_set(3), 3) << "the mode of the process stays";
    EXPECT_EQ(error_set_thread(2), 2);
    EXPECT_EQ(take(), (lines{"ERROR : 'b'", cut_line, "ERROR : 'a'", "ERROR : 'b'"}))
        << "setting it again keeps the lines";

    const std::tuple<int, int, std::string, lines> cases[] = {{3, 3, "", ink},
                                                              {0, 0, "", {}},
                                                              {7, 0, "", {}},
                                                              {-3, 0, "", {}},
                                                              {1, 1, "ERROR : 'paper'\nERROR : 'ink'\n", {}}};
    int before = 2;
    for (const auto &[mode, stored, expected, fetched] : cases) {
        report({"lost"});
        EXPECT_EQ(error_set_thread(mode), std::exchange(before, stored)) << mode;
        EXPECT_EQ(take(), lines{}) << mode;
        EXPECT_EQ(printed([] { report({"paper", "ink"}); }), expected) << mode;
        EXPECT_EQ(take(), fetched) << mode;
    }
    error_set_thread(TESKA_ERROR_PROCESS_WIDE);
    EXPECT_EQ(take(), lines{});
    report({"ink"});
    EXPECT_EQ(take(), ink) << "by the mode of the process again";
}

TEST_F(ErrorMess, HoldsTheFirst64LinesOfAThreadAndTakesMoreAsTheyAreFetched)
{
    lines expected;
    error_set_thread(2);
    for (int i = 0; i < 200; ++i) {
        report({std::to_string(i)});
        if (i < 64 || i >= 100)
            expected.push_back("ERROR : '" + std::to_string(i) + "'");
        if (i >= 99) {
            EXPECT_EQ(error_get(), expected.front());
            expected.erase(expected.begin());
        }
    }
    EXPECT_EQ(take(), expected);
}

// A handler's context; a line that the handler makes in turn must not come back to it.
void receive(void *context, const char *line)
{
    static_cast<lines *>(context)->emplace_back(line);
    error_mess_fl("from the handler", __FILE__, __LINE__);
    teska_warn(1, "from the handler");
}

TEST_F(ErrorMess, GivesAHandlerEveryLineThatWouldBePrinted)
{
    lines of_process, of_thread;
    void *before = &of_thread;
    EXPECT_EQ(error_set_handler(receive, &of_process, &before), nullptr);
    EXPECT_EQ(before, nullptr);
    dbg_set(1);
    const auto speak = [] {
        report({"100% #1", long_message});
        error_set(2);
        report({"a", "queued"});
        error_display_all_msgs();
        EXPECT_EQ(take(), lines{});
        teska_warn(1, "ink");
        dbg("dot");
        error_set(0);
        report({"dropped"});
        error_set(1);
    };
    const lines all{"ERROR : '100% #1'", cut_line,           "ERROR : 'queued'",
                    "ERROR : 'a'",       "WARNING  : 'ink'", "DEBUG : 'dot'"};
    EXPECT_EQ(printed(speak), "");
    EXPECT_EQ(std::exchange(of_process, {}), all);

    EXPECT_EQ(error_set_thread_handler(receive, &of_thread, nullptr), nullptr);
    EXPECT_EQ(printed(speak), "");
    EXPECT_EQ(std::exchange(of_thread, {}), all);
    error_set_thread(1);
    report({"ink"});
    EXPECT_EQ(error_set_thread_handler(nullptr, nullptr, &before), receive);
    EXPECT_EQ(before, &of_thread);
    report({"paper"});
    EXPECT_EQ(of_thread, lines{"ERROR : 'ink'"});
    EXPECT_EQ(of_process, lines{"ERROR : 'paper'"});

    EXPECT_EQ(error_set_handler(nullptr, nullptr, &before), receive);
    EXPECT_EQ(before, &of_process);
    EXPECT_EQ(printed([] { report({"pen"}); }), "ERROR : 'pen'\n");
    EXPECT_EQ(of_process.size(), 1U);
}

TEST_F(ErrorMess, WarnsAboveTheThresholdAndPrintsDbgWhileSwitchedOnInEveryMode)
{
    const std::tuple<int, int, int, std::string> cases[] = {{0, 0, 0, ""},
                                                            {0, 1, 0, "WARNING  : 'ink'\n"},
                                                            {-3, -3, -5, "DEBUG : 'ink'\n"},
                                                            {-3, -2, 1, "WARNING  : 'ink'\nDEBUG : 'ink'\n"}};
    int threshold = 0, debug = 0;
    EXPECT_EQ(initial_threshold, 0);
    EXPECT_EQ(initial_debug, 0);
    for (const auto &[new_threshold, level, new_debug, expected] : cases)
        for (const int mode : {0, 1, 2, 3}) {
            error_set(mode);
            EXPECT_EQ(teska_warn_level(new_threshold), std::exchange(threshold, new_threshold));
            EXPECT_EQ(dbg_set(new_debug), std::exchange(debug, new_debug));
            EXPECT_EQ(printed([at = level] { teska_warn(at, "ink"), dbg("ink"); }), expected);
            EXPECT_EQ(take(), lines{});
        }
}
