// Runs the rows of hostile.h, one test each.

#include "hostile/hostile.h"

using namespace teska_test;

namespace
{

using Hostile = testing::TestWithParam<HostileRow>;

TEST_P(Hostile, ArgumentsAreAnswered)
{
    constexpr std::uint64_t rounds = 160;
    quiet();
    for (std::uint64_t round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        Draw draw(seed_of(GetParam()) + round);
        GetParam().call(draw);
        draw.finish();
    }
}

INSTANTIATE_TEST_SUITE_P(Functions, Hostile, testing::ValuesIn(HostileRows::all()),
                         [](const auto &row) { return row.param.name; });

}  // namespace
