// sweep - lets every allocation or file call of something fail in turn

#ifndef TESKA_TESTS_SWEEP_H
#define TESKA_TESTS_SWEEP_H

#include "support/test.h"

#include "error_mess.h"
#include "faults/injector.h"
#include "wem.h"

namespace teska_test
{

// Whether a constructor's call succeeded; what it made is killed.
template <class Record, class Killed>
bool made(Record *record, Killed (*kill)(Record *))
{
    const bool success = record != nullptr;
    kill(record);
    return success;
}

// Under a host that returns from the fatal exit and reports what it says as any other failure.
template <class Call>
auto under_returning_host(Call call)
{
    const wem_line_fn before = wem_set_errexit([](const char *line) { return error_mess_fl(line, "", 0); });
    const auto result = call();
    wem_set_errexit(before);
    return result;
}

// Calls round(fire) for n = 0, 1, 2 .. until one returns false: no call was left to fail. From fire() on the n-th call
// of the kind fails; the round ends with `return disarm() > 0`. Returns how many rounds there were.
template <class Round>
int each_fault(fault_kind kind, bool sticky, file_fault fault, Round round)
{
    constexpr int endless = 10000;
    int n = 0;
    for (bool fired = true; fired; ++n) {
        SCOPED_TRACE((sticky ? "from call " : "at call ") + std::to_string(n) + ", error " +
                     std::to_string(fault.error) + (fault.partial ? ", partial" : ""));
        fired = round([=] { arm(kind, n, sticky, fault); });
        if (n == endless) {
            ADD_FAILURE() << "the calls do not end";
            break;
        }
    }
    return n;
}

// The same for allocations, alone and with all later ones; a round keeps nothing, and there are at least so many.
template <class Round>
void each_allocation(int least, Round round)
{
    for (const bool sticky : {false, true}) {
        const int rounds = each_fault(fault_kind::memory, sticky, {}, [&](const auto &fire) {
            track_memory();
            const bool fired = round(fire);
            EXPECT_EQ(live_blocks(), 0) << "memory was leaked";
            return fired;
        });
        EXPECT_GE(rounds, least);
    }
}

// The same for file calls: round(fire, sticky), with errors and with halves, alone and with all later ones.
template <class Round>
void each_file_call(Round round)
{
    for (const file_fault &fault : {file_fault{.error = ENOSPC}, {.error = EACCES, .partial = true}})
        for (const bool sticky : {false, true})
            each_fault(fault_kind::files, sticky, fault, [&](const auto &fire) { return round(fire, sticky); });
}

// What one failure or another reports, each in ascending order of text.
using Reported = std::set<lines>;

// Makes a call on a fresh object with every allocation failing in turn: call(object) gives true for success, or else
// the object is as before, as state(object) tells; nothing is leaked, and the same call then succeeds.
template <class Make, class Call, class State>
Reported failures_of(Make make, Call call, State state)
{
    Reported seen;
    for (const bool sticky : {false, true})
        each_fault(fault_kind::memory, sticky, {}, [&](const auto &fire) {
            Reports reports;
            // From before the set-up: a call may replace a block of the object by a larger one.
            track_memory();
            const auto object = make();
            EXPECT_EQ(reports.take(), lines{}) << "the set-up reports";
            const std::string before = state(object);
            const int held = live_blocks();
            fire();
            const bool succeeded = call(object);
            const bool fired = disarm() > 0;
            const int leaked = live_blocks() - held;
            const lines reported = reports.take();
            EXPECT_EQ(succeeded, !fired);
            if (!fired) {
                EXPECT_EQ(reported, lines{});
                return false;
            }
            seen.insert(reported);
            EXPECT_EQ(leaked, 0) << "memory was leaked";
            EXPECT_EQ(state(object), before) << "the object was changed";
            EXPECT_TRUE(call(object)) << "the same call fails when tried again";
            return true;
        });
    return seen;
}

// How many descriptors the process has.
inline std::ptrdiff_t open_descriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

}  // namespace teska_test

#endif
