// The sweep runner: one test per row and mode.

#include "faults/sweep.h"

#include "faults/injector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace teska_test
{

namespace
{

constexpr int endless = 10000;  // a call with more allocations than this is taken for one that never ends

std::vector<SweepRow> &registry()
{
    static std::vector<SweepRow> rows;
    return rows;
}

// The reports, with "#" for the source lines that some of them name.
lines reported_by(Reports &reports)
{
    const std::string mark = ", line: ";
    lines reported = reports.take();
    for (std::string &line : reported)
        if (const std::size_t found = line.find(mark); found != std::string::npos) {
            const std::size_t number = found + mark.size();
            const std::size_t end = std::min(line.find_first_not_of("0123456789", number), line.size());
            line.erase(number, end - number).insert(number, 1, '#');
        }
    return reported;
}

// The entry that covers the n-th allocation; null when the row promises fewer.
const SweepFailures *expected(const SweepRow &row, int n)
{
    for (const SweepFailures &entry : row.failures) {
        if (n < entry.count)
            return &entry;
        n -= entry.count;
    }
    return nullptr;
}

// Returns whether an allocation was left to fail.
bool step(const SweepRow &row, int n, bool sticky)
{
    Reports reports;
    // From before the set-up: a call may replace a block of the object by a larger one.
    track_memory();
    const SweepCase fresh = row.make();
    EXPECT_EQ(reports.take(), lines{}) << "the set-up reports";
    const std::string before = fresh.state ? fresh.state() : "";

    const int held = live_blocks();
    arm(fault_kind::memory, n, sticky);
    const bool succeeded = fresh.call();
    const bool fired = disarm() > 0;
    const int leaked = live_blocks() - held;
    const lines reported = reported_by(reports);
    EXPECT_EQ(succeeded, !fired);
    const SweepFailures *promised = expected(row, n);
    if (!fired) {
        EXPECT_EQ(reported, lines{});
        return false;
    }
    if (promised == nullptr)
        ADD_FAILURE() << "more allocations than the row lists";
    else
        EXPECT_EQ(reported, sticky ? promised->sticky : promised->once);
    EXPECT_EQ(leaked, 0) << "memory was leaked";
    EXPECT_EQ(fresh.state ? fresh.state() : "", before) << "the object was changed";
    EXPECT_TRUE(fresh.call()) << "the same call fails when tried again";
    return true;
}

class AllocationSweep : public testing::TestWithParam<std::tuple<std::size_t, bool>>
{
};

std::string test_name(const testing::TestParamInfo<AllocationSweep::ParamType> &info)
{
    std::string name = SweepRows::all()[std::get<0>(info.param)].name + (std::get<1>(info.param) ? "_sticky" : "_once");
    for (char &c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)))
            c = '_';
    return name;
}

}  // namespace

SweepRows::SweepRows(std::vector<SweepRow> rows)
{
    for (SweepRow &row : rows)
        registry().push_back(std::move(row));
}

const std::vector<SweepRow> &SweepRows::all() { return registry(); }

SweepRow calling(std::string name, std::function<bool()> call, std::vector<SweepFailures> failures)
{
    const auto fresh = [call = std::move(call)] { return SweepCase{.call = call}; };
    return {.name = std::move(name), .make = fresh, .failures = std::move(failures)};
}

bool gave(int success, int result)
{
    EXPECT_TRUE(result == success || result == -1) << result;
    return result == success;
}

TEST_P(AllocationSweep, EveryFailureIsCleanAndReported)
{
    const SweepRow &row = SweepRows::all()[std::get<0>(GetParam())];
    const bool sticky = std::get<1>(GetParam());
    int n = 0;
    for (bool fired = true; fired && n < endless; n += fired ? 1 : 0) {
        SCOPED_TRACE(row.name + (sticky ? ", sticky, allocation " : ", once, allocation ") + std::to_string(n));
        fired = step(row, n, sticky);
    }
    const int listed = std::accumulate(row.failures.begin(), row.failures.end(), 0,
                                       [](int sum, const SweepFailures &entry) { return sum + entry.count; });
    EXPECT_GT(n, 0) << "the sweep never fired";
    EXPECT_EQ(n, listed) << "the number of allocations differs from the row's";
}

// The rows register themselves while the program starts; the parameters are read when main has begun.
INSTANTIATE_TEST_SUITE_P(Rows, AllocationSweep,
                         testing::Combine(testing::Range<std::size_t>(0, SweepRows::all().size()), testing::Bool()),
                         test_name);

}  // namespace teska_test
