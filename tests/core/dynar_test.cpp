#include "dynar.h"

#include "Support/dynar_priv.h"
#include "support/host.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

using teska_test::Host;
using teska_test::lines;
using teska_test::Reports;

namespace
{

using Array = std::unique_ptr<dynar, int (*)(dynar *)>;

int &at(const Array &array, int index) { return *static_cast<int *>(dynar_ptr(array.get(), index)); }

}  // namespace

TEST(DynarNew, RefusesItemsOfNoSizeAndTakesTenForAGrowthBelowOne)
{
    Reports reports;
    for (const int item_size : {0, -1, INT_MIN})
        EXPECT_EQ(dynar_new(item_size, 5), nullptr) << item_size;
    EXPECT_EQ(reports.take(), lines(3, "dynar_new: Unable to create new dynar"));
    for (const auto &[growth, capacity] : {std::pair{1, 1}, {0, 10}, {INT_MIN, 10}}) {
        const Array array(dynar_new(1, growth), dynar_kill);
        EXPECT_EQ(dynar_nr_items(array.get()), 0);
        dynar_ptr(array.get(), 0);
        EXPECT_EQ(array->capacity, capacity) << growth;
    }
    EXPECT_EQ(dynar_kill(nullptr), 0);
}

TEST(DynarPtr, GrowsToItsStepBeyondTheIndexAndKeepsWhatIsInUse)
{
    const Array array(dynar_new(sizeof(int), 10), dynar_kill);
    std::vector<int> model(210);
    // Index; capacity and number of items after it.
    const std::tuple<int, int, int> cases[] = {{0, 10, 1},   {9, 10, 10},  {3, 10, 10},  {10, 20, 11},
                                               {25, 35, 26}, {34, 35, 35}, {35, 45, 36}, {200, 210, 201}};
    for (const auto &[index, capacity, items] : cases) {
        model[static_cast<std::size_t>(index)] = at(array, index) = index + 1;
        EXPECT_EQ(array->capacity, capacity) << index;
        EXPECT_EQ(dynar_nr_items(array.get()), items) << index;
    }
    EXPECT_TRUE(std::equal(model.begin(), model.end(), &at(array, 0)));
}

TEST(DynarPtr, RarelyMovesTheItemsWhenTheyAreAppended)
{
    const Array array(dynar_new(sizeof(int), 10), dynar_kill);
    const int *block = nullptr;
    int moves = 0;
    for (int i = 0; i < 100000; ++i) {
        at(array, i) = i;
        moves += std::exchange(block, &at(array, 0)) != block ? 1 : 0;
    }
    EXPECT_LT(moves, 30);
    EXPECT_EQ(array->capacity, 100000);
    for (int i = 0; i < 100000; ++i)
        ASSERT_EQ(at(array, i), i);
}

TEST(DynarPtr, LosesWhatWasWrittenPastTheHighestIndexWhenItGrows)
{
    // The second growth of an array happens in place when there is hidden room.
    for (const int first : {0, 300}) {
        const Array array(dynar_new(sizeof(int), 10), dynar_kill);
        for (int i = 0; i < first; ++i)
            at(array, i) = 7;
        const int index = dynar_nr_items(array.get());
        int *item = &at(array, index);
        const int behind = array->capacity - index;
        ASSERT_GT(behind, 1);
        item[behind - 1] = 99;
        at(array, index + behind);
        EXPECT_EQ(at(array, index + behind - 1), 0) << first;
    }
}

TEST(DynarPtr, RefusesNegativeIndicesAndLeavesTheArrayWhenTheFatalExitReturns)
{
    Reports reports;
    const Host host;
    const Array array(dynar_new(INT_MAX, 10), dynar_kill);
    EXPECT_EQ(dynar_ptr(array.get(), -1), nullptr);
    EXPECT_EQ(reports.take(), lines{"dynar_ptr: illegal index"});
    for (const int index : {INT_MAX, INT_MAX - 9}) {
        EXPECT_EQ(dynar_ptr(array.get(), index), nullptr);
        EXPECT_EQ(Host::take(), lines{"ERROR  : 'dynar_ptr: memory allocation failed'"}) << index;
    }
    EXPECT_EQ(dynar_nr_items(array.get()), 0);
}

TEST(DynarPeek, StaysInsideTheCapacityAndUsesNothing)
{
    const Array array(dynar_new(sizeof(int), 10), dynar_kill);
    EXPECT_EQ(teska::dynar_peek(array.get(), 0), nullptr);
    const int *first = &at(array, 0);
    EXPECT_EQ(teska::dynar_peek(array.get(), 9), first + 9);
    for (const int index : {-1, 10, INT_MAX, INT_MIN})
        EXPECT_EQ(teska::dynar_peek(array.get(), index), nullptr) << index;
    EXPECT_EQ(dynar_nr_items(array.get()), 1);
}
