#include "random.h"

#include "support/test.h"

namespace
{

// The value of a state, as a power of the multiplier gives it.
float value(std::int64_t state) { return static_cast<float>(static_cast<double>(state) / 2147483648.0); }

}  // namespace

TEST(RandomNew, KeptTakesEverySeedModulo2To31Less1AndFollowsThePublishedSequence)
{
    const int states[][2] = {{0, 1}, {INT_MAX, 1}, {-5, INT_MAX - 5}, {INT_MIN, INT_MAX - 1}, {739806647, 739806647},
                             {1, 1}};
    std::int64_t state = 0;
    for (const auto &[seed, start] : states) {
        random_rec *generator = random_new(seed);
        state = start;
        for (int i = 0; i < 10000; ++i) {
            state = state * 16807 % INT_MAX;
            ASSERT_EQ(random_val(generator), value(state)) << seed;
        }
        EXPECT_EQ(random_kill(generator), nullptr);
    }
    EXPECT_EQ(state, 1043618065) << "Park and Miller's check";
    EXPECT_EQ(value(std::int64_t{739806647} * 16807 % INT_MAX), 1.0F);
}
