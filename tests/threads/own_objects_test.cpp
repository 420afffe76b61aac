// Objects of different threads never disturb each other: every operation of the same-bits program in all threads at
// once.

#include "determinism/operations.h"
#include "threads/in_threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace teska_test
{

namespace
{

constexpr int threads = 4;

TEST(OwnObjects, GiveTheBitsOfOneThread)
{
    const std::vector<Operation> &operations = Operation::all();
    std::vector<std::uint64_t> alone(operations.size());
    std::ranges::transform(operations, alone.begin(), &Operation::digest);

    // Each thread begins with another operation, so that unlike ones meet as well as like ones.
    std::vector<std::vector<std::uint64_t>> together(threads, std::vector<std::uint64_t>(operations.size()));
    in_threads(threads, [&](int thread) {
        const std::size_t first = operations.size() / threads * static_cast<std::size_t>(thread % 2);
        for (std::size_t i = 0; i < operations.size(); ++i) {
            const std::size_t at = (first + i) % operations.size();
            together[static_cast<std::size_t>(thread)][at] = operations[at].digest();
        }
    });
    for (std::size_t thread = 0; thread < threads; ++thread)
        for (std::size_t i = 0; i < operations.size(); ++i)
            EXPECT_EQ(together[thread][i], alone[i]) << operations[i].name() << ", thread " << thread;
}

}  // namespace

}  // namespace teska_test
