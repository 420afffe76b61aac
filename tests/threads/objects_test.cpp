// Objects of different threads never disturb each other, and one object, evaluated by several threads at once, gives
// the bits that one thread gets from it: the operations of the same-bits program.

#include "determinism/operations.h"
#include "threads/in_threads.h"

#include <gtest/gtest.h>

using namespace teska_test;

namespace
{

constexpr int threads = 4;

using Evaluation = Operation::Run;

// Two objects alike: what the first call makes on demand is made by one thread in one, by all in the other.
void compare(const std::string &name, const Evaluation &alone, const Evaluation &shared)
{
    const auto results = [&](const Evaluation &evaluation, int thread) {
        std::vector<std::uint64_t> digests;
        for (int round = 0; round < 2; ++round) {
            Generator input(static_cast<std::uint64_t>(100 * thread + round));
            Digest digest;
            evaluation(input, digest);
            digests.push_back(digest.value());
        }
        return digests;
    };
    std::vector<std::uint64_t> together[threads];
    in_threads(threads, [&](int thread) { together[thread] = results(shared, thread); });
    for (int thread = 0; thread < threads; ++thread)
        EXPECT_EQ(together[thread], results(alone, thread)) << name << " " << thread;
}

TEST(OwnObjects, GiveTheBitsOfOneThread)
{
    for (const Operation &operation : Operation::all()) {
        const std::uint64_t alone = operation.digest();
        in_threads(threads, [&](int) { EXPECT_EQ(operation.digest(), alone) << operation.name(); });
    }
}

TEST(SharedObjects, GiveTheBitsOfOneThread)
{
    int count = 0;
    for (const Operation &operation : Operation::all())
        if (const Evaluation alone = operation.on_one_object(); alone && ++count > 0)
            compare(operation.name(), alone, operation.on_one_object());
    EXPECT_GT(count, 40);
}

}  // namespace
