// sweep - lets every allocation of a call fail in turn
//
// A row describes one call: how to set it up, what it reports when its n-th allocation fails. The sweep runs it for
// n = 0, 1, 2 .. until no allocation is left to fail, once with only that allocation failing and once with all later
// ones failing too. After each failure: the promised lines and nothing else, the object unchanged, nothing leaked, and
// the same call succeeds when tried again.

#ifndef TESKA_TESTS_SWEEP_H
#define TESKA_TESTS_SWEEP_H

#include "support/reports.h"

#include "error_mess.h"
#include "faults/injector.h"
#include "wem.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace teska_test
{

// One fresh set-up. What it owns is released when its functions are destroyed (shared_ptr in the captures).
struct SweepCase {
    // Makes the call; true: success, false: the promised failure value. Any other result is an EXPECT failure inside.
    // A constructor's call frees what it got before it returns. Allocates nothing of its own.
    std::function<bool()> call;
    // Describes what a failure must leave unchanged; may be empty.
    std::function<std::string()> state = nullptr;
};

// What one failure or another reports, each in ascending order of text. Numbers of lines and terminals count as "#".
using SweepReports = std::set<lines>;

struct SweepRow {
    std::string name;
    std::function<SweepCase()> make;
    SweepReports reports;
};

// The row of a call that needs no set-up.
SweepRow calling(std::string name, std::function<bool()> call, SweepReports reports);

// The row of a call that changes an object; make() gives its owner, as a shared_ptr, and `state` may be null.
template <class Make, class Call, class State>
SweepRow changing(std::string name, Make make, Call call, State state, SweepReports reports)
{
    const auto fresh = [=] {
        const auto object = make();
        SweepCase one{.call = [=] { return call(object); }};
        if constexpr (!std::is_null_pointer_v<State>)
            one.state = [=] { return state(object); };
        return one;
    };
    return {.name = std::move(name), .make = fresh, .reports = std::move(reports)};
}

// Whether a call gave `success`; its only other result is -1.
bool gave(int success, int result);

// Whether a constructor's call succeeded; what it made is killed.
template <class Record, class Killed>
bool made(Record *record, Killed (*kill)(Record *))
{
    const bool success = record != nullptr;
    kill(record);
    return success;
}

// The row of a constructor and its arguments.
template <class Create, class Record, class Killed, class... Argument>
SweepRow creating(std::string name, Create create, Killed (*kill)(Record *), SweepReports reports,
                  Argument... arguments)
{
    return calling(
        std::move(name), [=] { return made<Record>(create(arguments...), kill); }, std::move(reports));
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

// Rows of one file; a file of rows ends with `const SweepRows rows({...});` at namespace scope.
class SweepRows
{
public:
    explicit SweepRows(std::vector<SweepRow> rows);
    static const std::vector<SweepRow> &all();
};

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

// How many descriptors the process has.
std::ptrdiff_t open_descriptors();

}  // namespace teska_test

#endif
