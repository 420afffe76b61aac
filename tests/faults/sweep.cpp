// The sweep runner: one test per row.

#include "faults/sweep.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace teska_test
{

namespace
{

std::vector<SweepRow> &registry()
{
    static std::vector<SweepRow> rows;
    return rows;
}

// The reports, with "#" for the lines of source and the terminals that some of them name.
lines reported_by(Reports &reports)
{
    lines reported = reports.take();
    for (std::string &line : reported)
        for (const std::string mark : {", line: ", "/dev/pts/"})
            if (const std::size_t number = line.find(mark); number != std::string::npos) {
                const std::size_t digits = line.find_first_not_of("0123456789", number + mark.size());
                line.replace(number, digits - number, mark + "#");
            }
    return reported;
}

// Adds what is reported. Returns whether an allocation was left to fail.
bool step(const SweepRow &row, const std::function<void()> &fire, SweepReports &seen)
{
    Reports reports;
    // From before the set-up: a call may replace a block of the object by a larger one.
    track_memory();
    const SweepCase fresh = row.make();
    EXPECT_EQ(reports.take(), lines{}) << "the set-up reports";
    const std::string before = fresh.state ? fresh.state() : "";

    const int held = live_blocks();
    fire();
    const bool succeeded = fresh.call();
    const bool fired = disarm() > 0;
    const int leaked = live_blocks() - held;
    const lines reported = reported_by(reports);
    EXPECT_EQ(succeeded, !fired);
    if (!fired) {
        EXPECT_EQ(reported, lines{});
        return false;
    }
    seen.insert(reported);
    EXPECT_EQ(leaked, 0) << "memory was leaked";
    EXPECT_EQ(fresh.state ? fresh.state() : "", before) << "the object was changed";
    EXPECT_TRUE(fresh.call()) << "the same call fails when tried again";
    return true;
}

class AllocationSweep : public testing::TestWithParam<std::size_t>
{
};

std::string test_name(const testing::TestParamInfo<std::size_t> &info)
{
    std::string name = SweepRows::all()[info.param].name;
    std::ranges::replace_if(
        name, [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

}  // namespace

SweepRows::SweepRows(std::vector<SweepRow> rows) { std::ranges::move(rows, std::back_inserter(registry())); }

const std::vector<SweepRow> &SweepRows::all() { return registry(); }

SweepRow calling(std::string name, std::function<bool()> call, SweepReports reports)
{
    const auto fresh = [call = std::move(call)] { return SweepCase{.call = call}; };
    return {.name = std::move(name), .make = fresh, .reports = std::move(reports)};
}

bool gave(int success, int result)
{
    EXPECT_TRUE(result == success || result == -1) << result;
    return result == success;
}

std::ptrdiff_t open_descriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

TEST_P(AllocationSweep, EveryFailureIsCleanAndReported)
{
    const SweepRow &row = SweepRows::all()[GetParam()];
    SweepReports seen;
    for (const bool sticky : {false, true})
        each_fault(fault_kind::memory, sticky, {}, [&](const auto &fire) { return step(row, fire, seen); });
    EXPECT_EQ(seen, row.reports);
}

// The rows register themselves while the program starts; the parameters are read when main has begun.
INSTANTIATE_TEST_SUITE_P(Rows, AllocationSweep, testing::Range<std::size_t>(0, SweepRows::all().size()), test_name);

}  // namespace teska_test
