#include "error_mess.h"

#include "wem.h"

#include <gtest/gtest.h>

#include <csetjmp>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace
{

// Taken before any test sets them.
const int initial_mode = error_set(1);
const int initial_threshold = teska_warn_level(0);
const int initial_debug = dbg_set(0);

void report(const std::string &message) { EXPECT_EQ(error_mess_fl(message.c_str(), __FILE__, __LINE__), 0); }

std::string take()
{
    const char *line = error_get();
    return line != nullptr ? line : "(none)";
}

// Runs body and gives what it printed on standard output.
template <class Body>
std::string printed(Body &&body)
{
    testing::internal::CaptureStdout();
    body();
    return testing::internal::GetCapturedStdout();
}

// Whether all that body printed has reached the file behind standard output.
template <class Body>
bool flushes(Body &&body)
{
    testing::internal::CaptureStdout();
    body();
    const long arrived = lseek(1, 0, SEEK_CUR);
    std::fflush(stdout);
    const long written = lseek(1, 0, SEEK_CUR);
    testing::internal::GetCapturedStdout();
    return written > 0 && arrived == written;
}

class Reporting : public testing::Test
{
protected:
    ~Reporting() override
    {
        error_set(1);
        teska_warn_level(0);
        dbg_set(0);
        wem_set_errexit(nullptr);
    }
};

using ErrorMess = Reporting;
using ErrorSet = Reporting;
using ErrorExit = Reporting;
using TeskaWarn = Reporting;
using Dbg = Reporting;

}  // namespace

TEST_F(ErrorMess, PrintsAtOnceInTheInitialMode)
{
    EXPECT_EQ(initial_mode, 1);
    EXPECT_EQ(printed([] { report("list_new : 100% #1"); }), "ERROR : 'list_new : 100% #1'\n");
    EXPECT_EQ(take(), "(none)");
    EXPECT_EQ(printed([] { EXPECT_EQ(error_display_all_msgs(), 0); }), "");
}

TEST_F(ErrorMess, FlushesWhatItPrints)
{
    EXPECT_TRUE(flushes([] { report("ink"); }));
    EXPECT_TRUE(flushes([] { teska_warn(1, "ink"); }));
    dbg_set(1);
    EXPECT_TRUE(flushes([] { dbg("ink"); }));
    error_set(2);
    report("ink");
    EXPECT_TRUE(flushes([] { error_display_all_msgs(); }));
}

TEST_F(ErrorMess, CutsALineAt511Characters)
{
    const std::string line = printed([] { report(std::string(600, 'x')); });
    EXPECT_EQ(line, "ERROR : '" + std::string(502, 'x') + "\n");
    error_set(3);
    report(std::string(600, 'x'));
    EXPECT_EQ(take() + "\n", line);
}

TEST_F(ErrorMess, QueuesEqualLinesOnce)
{
    error_set(2);
    for (const char *message : {"Abc", "Abc", "abc"})
        report(message);
    EXPECT_EQ(take(), "ERROR : 'Abc'");
    EXPECT_EQ(take(), "(none)");
}

TEST_F(ErrorMess, KeptHandsQueuedLinesOutInDescendingOrder)
{
    error_set(2);
    for (const char *message : {"b", "A", "c"})
        report(message);
    EXPECT_EQ(take(), "ERROR : 'c'");
    report("B2");
    EXPECT_EQ(printed([] { error_display_all_msgs(); }), "ERROR : 'B2'\nERROR : 'b'\nERROR : 'A'\n");
    EXPECT_EQ(take(), "(none)");
}

TEST_F(ErrorMess, KeptCutsAQueuedLineAt256CharactersAndTakesItForAnother)
{
    error_set(2);
    for (int i = 0; i < 2; ++i)
        report(std::string(300, 'x'));
    const std::string first_256 = "ERROR : '" + std::string(247, 'x');
    EXPECT_EQ(take(), first_256);
    EXPECT_EQ(take(), first_256);
    EXPECT_EQ(take(), "(none)");
}

TEST_F(ErrorMess, QueuesMoreLinesThanTheQueueHoldsAtFirst)
{
    error_set(2);
    for (int i = 0; i < 120; ++i)
        report(std::to_string(1000 + i));
    for (int i = 119; i >= 0; --i)
        EXPECT_EQ(take(), "ERROR : '" + std::to_string(1000 + i) + "'");
}

TEST_F(ErrorMess, KeepsTheLastLineInMode3)
{
    error_set(3);
    report("first");
    report("second");
    EXPECT_EQ(take(), "ERROR : 'second'");
    EXPECT_EQ(take(), "(none)");
}

TEST_F(ErrorMess, DropsLinesInOtherModes)
{
    for (const int mode : {0, 4, 77, -1}) {
        error_set(mode);
        EXPECT_EQ(printed([] { report("lost"); }), "");
        EXPECT_EQ(take(), "(none)");
    }
}

TEST_F(ErrorSet, KeepsTheQueueInMode2AndDropsItOnLeaving)
{
    EXPECT_EQ(error_set(2), 1);
    report("kept");
    EXPECT_EQ(error_set(2), 2);
    EXPECT_EQ(take(), "ERROR : 'kept'");
    report("lost");
    EXPECT_EQ(error_set(77), 2);
    EXPECT_EQ(error_set(2), 77);
    EXPECT_EQ(take(), "(none)");
}

TEST_F(ErrorSet, KeptForgetsTheKeptLineWhenMode3IsSetAgain)
{
    error_set(3);
    report("lost");
    error_set(3);
    EXPECT_EQ(take(), "(none)");
    report("kept");
    error_set(1);
    EXPECT_EQ(take(), "(none)");
}

TEST_F(TeskaWarn, PrintsAboveTheThresholdInEveryMode)
{
    const auto warn = [](int level) { return printed([=] { teska_warn(level, "ink"); }); };
    const std::string line = "WARNING  : 'ink'\n";
    EXPECT_EQ(initial_threshold, 0);
    error_set(2);
    EXPECT_EQ(warn(0), "");
    EXPECT_EQ(warn(1), line);
    EXPECT_EQ(teska_warn_level(-3), 0);
    EXPECT_EQ(warn(-3), "");
    EXPECT_EQ(warn(-2), line);
    EXPECT_EQ(teska_warn_level(0), -3);
    EXPECT_EQ(take(), "(none)");
}

TEST_F(Dbg, PrintsWhileSwitchedOn)
{
    const auto debug = [] { return printed([] { dbg("ink"); }); };
    EXPECT_EQ(initial_debug, 0);
    EXPECT_EQ(debug(), "");
    EXPECT_EQ(dbg_set(-5), 0);
    error_set(0);
    EXPECT_EQ(debug(), "DEBUG : 'ink'\n");
    EXPECT_EQ(dbg_set(0), -5);
}

TEST_F(ErrorExit, HandsTheLineToTheRuntimeWhateverTheMode)
{
    static std::string line;
    wem_set_errexit([](const char *text) {
        line = text;
        return 42;
    });
    error_set(2);
    EXPECT_EQ(error_exit("out of ink"), 42);
    EXPECT_EQ(line, "ERROR  : 'out of ink'");
    EXPECT_EQ(take(), "(none)");
}

TEST_F(ErrorExit, LetsTheHandlerLeaveByThrowingOrJumping)
{
    wem_set_errexit([](const char *text) -> int { throw std::string(text); });
    EXPECT_THROW(error_exit("thrown"), std::string);

    static std::jmp_buf back;
    wem_set_errexit([](const char *) -> int { std::longjmp(back, 7); });
    const int code = setjmp(back);
    if (code == 0)
        error_exit("jumped");
    EXPECT_EQ(code, 7);
}
