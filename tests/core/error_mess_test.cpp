#include "error_mess.h"

#include "support/test.h"

#include <unistd.h>

#include <cstdio>

namespace
{

using lines = std::vector<std::string>;

// Taken before any test sets them.
const std::array initial{error_set(1), teska_warn_level(0), dbg_set(0)};

// "L" in a script is a message that is cut.
const std::string long_message(600, 'x');
const std::string cut_line = "ERROR : '" + std::string(502, 'x');

void report(const std::string &message) { EXPECT_EQ(error_mess_fl(message.c_str(), __FILE__, __LINE__), 0); }

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

// Takes the steps of a script: =n sets the mode, @n that of the thread, <n the threshold and ?n the debug switch, each
// of which answers with the value before; !n warns of ink at level n and debugs it; . fetches all lines; the others are
// messages.
lines answers(const std::string &script)
{
    lines given;
    std::istringstream steps(script);
    for (std::string step; steps >> step;) {
        const int number = std::atoi(step.c_str() + 1);
        if (step[0] == '=')
            given.push_back(std::to_string(error_set(number)));
        else if (step[0] == '@')
            given.push_back(std::to_string(error_set_thread(number)));
        else if (step[0] == '<')
            given.push_back(std::to_string(teska_warn_level(number)));
        else if (step[0] == '?')
            given.push_back(std::to_string(dbg_set(number)));
        else if (step[0] == '!')
            teska_warn(number, "ink"), dbg("ink");
        else if (step == ".")
            std::ranges::move(take(), std::back_inserter(given));
        else
            report(step == "L" ? long_message : step);
    }
    return given;
}

class ErrorMess : public testing::Test
{
protected:
    ~ErrorMess() override { reset(); }
    static void reset()
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

// Kept: queued lines are cut at 256 characters and handed out in descending order; a kept line is forgotten when mode 3
// is set again, the queue on leaving mode 2. A thread has whole lines in their order.
TEST_F(ErrorMess, KeptPrintsKeepsOrDropsLinesAndWarnsAsTheModesSay)
{
    const std::string ink = "ERROR : 'ink'", paper = "ERROR : 'paper'", first_256 = cut_line.substr(0, 256);
    const std::string warning = "WARNING  : 'ink'\n", debug = "DEBUG : 'ink'\n";
    const std::string process = std::to_string(TESKA_ERROR_PROCESS_WIDE);
    const std::tuple<const char *, lines, std::string> cases[] = {
        {"100%d L . =1", {"1"}, "ERROR : '100%d'\n" + cut_line + "\n"},
        {"=2 ink ink INK .", {"1", ink}, ""},
        {"=2 B L ink a L .", {"1", first_256, first_256, ink, "ERROR : 'B'", "ERROR : 'a'"}, ""},
        {"=2 ink =2 . ink =77 =2 .", {"1", "2", ink, "2", "77"}, ""},
        {"=3 paper ink . L . ink =3 . ink =1 =3 .", {"1", ink, cut_line, "3", "3", "1"}, ""},
        {"=0 ink . =4 ink . =-1 ink . =1", {"1", "0", "4", "-1"}, ""},
        {"=3 @2 ink L a ink =3 @2 .", {"1", process, "3", "2", ink, cut_line, "ERROR : 'a'", ink}, ""},
        {"@2 ink @3 . paper ink . ink @3 .", {process, "2", ink, "3"}, ""},
        {"@0 ink . @7 ink . @-3 ink . @1", {process, "0", "0", "0"}, ""},
        {"=3 @1 paper ink . @2 ink @-1 . ink .", {"1", process, "1", "2", ink}, paper + "\n" + ink + "\n"},
        {"<0 !0 <0 !1", {"0", "0"}, warning},
        {"<-3 ?-5 !-3 ?1 !-2 =0 !0 =2 !-3 =3 !0 . <0 ?0",
         {"0", "0", "-5", "1", "0", "2", "-3", "1"},
         debug + warning + debug + warning + debug + debug + warning + debug}};
    EXPECT_EQ(initial, (std::array{1, 0, 0}));
    for (const auto &[script, expected, shown] : cases) {
        lines given;
        EXPECT_EQ(printed([&, steps = script] { given = answers(steps); }), shown) << script;
        EXPECT_EQ(given, expected) << script;
        reset();
    }
}

TEST_F(ErrorMess, HoldsTheFirst64LinesOfAThreadAndTakesMoreAsTheyAreFetched)
{
    lines expected;
    error_set_thread(2);
    for (int i = 0; i < 200; ++i) {
        report(std::to_string(i));
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
    const auto speak = [] {
        answers("?1 100%d L =2 a queued");
        error_display_all_msgs();
        EXPECT_EQ(answers(". !1 =0 dropped =1"), (lines{"2", "0"}));
    };
    const lines all{"ERROR : '100%d'", cut_line,           "ERROR : 'queued'",
                    "ERROR : 'a'",     "WARNING  : 'ink'", "DEBUG : 'ink'"};
    EXPECT_EQ(printed(speak), "");
    EXPECT_EQ(std::exchange(of_process, {}), all);
    EXPECT_EQ(error_set_thread_handler(receive, &of_thread, nullptr), nullptr);
    EXPECT_EQ(printed(speak), "");
    answers("@1 ink");
    EXPECT_EQ(error_set_thread_handler(nullptr, nullptr, &before), receive);
    EXPECT_EQ(before, &of_thread);
    report("paper");
    EXPECT_EQ(of_thread.back(), "ERROR : 'ink'");
    of_thread.pop_back();
    EXPECT_EQ(of_thread, all);
    EXPECT_EQ(of_process, lines{"ERROR : 'paper'"});
    EXPECT_EQ(error_set_handler(nullptr, nullptr, &before), receive);
    EXPECT_EQ(before, &of_process);
    EXPECT_EQ(printed([] { report("pen"); }), "ERROR : 'pen'\n");
    EXPECT_EQ(of_process.size(), 1U);
}
