#include "random.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <utility>

namespace
{

using Random = std::unique_ptr<random_rec, random_rec *(*)(random_rec *)>;

Random seeded(int seed) { return {random_new(seed), random_kill}; }
float first(int seed) { return random_val(seeded(seed).get()); }
float fraction(std::int64_t state) { return static_cast<float>(static_cast<double>(state) / 2147483648.0); }

}  // namespace

TEST(RandomVal, FollowsThePublishedSequence)
{
    // The product is exact in 64 bits; the last state is the check that Park and Miller give.
    const Random generator = seeded(1);
    std::int64_t state = 1;
    for (int i = 0; i < 10000; ++i) {
        state = state * 16807 % 2147483647;
        ASSERT_EQ(random_val(generator.get()), fraction(state)) << i;
    }
    EXPECT_EQ(state, 1043618065);
}

TEST(RandomNew, TakesSeedsModulo2To31Less1)
{
    const std::pair<int, std::int64_t> states[] = {
        {0, 1}, {INT_MAX, 1},     {1, 1}, {INT_MAX - 1, INT_MAX - 1}, {-1, INT_MAX - 1}, {INT_MIN, INT_MAX - 1},
        {2, 2}, {-5, INT_MAX - 5}};
    for (const auto &[seed, state] : states)
        EXPECT_EQ(first(seed), fraction(state * 16807 % INT_MAX)) << seed;
    EXPECT_EQ(random_kill(nullptr), nullptr);
}

TEST(RandomVal, KeptReachesOneFromTheHighestStates) { EXPECT_EQ(first(739806647), 1.0F); }
