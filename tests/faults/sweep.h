// sweep - lets every allocation of a call fail in turn
//
// A row describes one call: how to set it up, what it reports when its n-th allocation fails. The sweep runs it for
// n = 0, 1, 2 .. until no allocation is left to fail, once with only that allocation failing and once with all later
// ones failing too. After each failure: the promised lines and nothing else, the object unchanged, nothing leaked, and
// the same call succeeds when tried again.

#ifndef TESKA_TESTS_SWEEP_H
#define TESKA_TESTS_SWEEP_H

#include "support/reports.h"

#include <functional>
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

// What `count` consecutive allocations of the call report when they fail, in ascending order of text. A number behind
// ", line: " in a report counts as "#".
struct SweepFailures {
    int count;
    lines once;
    lines sticky = once;  // when all later ones fail too
};

struct SweepRow {
    std::string name;
    std::function<SweepCase()> make;
    std::vector<SweepFailures> failures;  // in the order of the allocations; their counts are part of the check
};

// The row of a call that needs no set-up, as a constructor's.
SweepRow calling(std::string name, std::function<bool()> call, std::vector<SweepFailures> failures);

// The row of a call that changes an object; Object owns it, as a shared_ptr does.
template <class Object>
SweepRow changing(std::string name, std::function<Object()> make, std::function<bool(const Object &)> call,
                  std::string (*state)(const Object &), std::vector<SweepFailures> failures)
{
    const auto fresh = [=] {
        const Object object = make();
        return SweepCase{.call = [=] { return call(object); }, .state = [=] { return state(object); }};
    };
    return {.name = std::move(name), .make = fresh, .failures = std::move(failures)};
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

// Rows of one file; a file of rows ends with `const SweepRows rows({...});` at namespace scope.
class SweepRows
{
public:
    explicit SweepRows(std::vector<SweepRow> rows);
    static const std::vector<SweepRow> &all();
};

}  // namespace teska_test

#endif
