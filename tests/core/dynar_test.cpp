#include "dynar.h"

#include "Support/dynar_priv.h"
#include "support/host.h"
#include "support/test.h"

using teska_test::Host, teska_test::lines, teska_test::Reports;

using Array = std::unique_ptr<dynar, int (*)(dynar *)>;

TEST(DynarPtr, GrowsToItsStepBeyondTheIndexAndKeepsWhatIsInUse)
{
    teska_test::Generator random(1);
    for (const int growth : {1, 10, 0, INT_MIN}) {
        const Array array(dynar_new(sizeof(int), growth), dynar_kill);
        std::vector<int> model;  // as many as the capacity
        int count = 0;
        for (int i = 0; i < 300; ++i) {
            const int index = random.below(count + 2 + i % 20);
            int &item = *static_cast<int *>(dynar_ptr(array.get(), index));
            if (index >= static_cast<int>(model.size())) {
                // What was written past the highest index is lost.
                model.resize(static_cast<std::size_t>(count));
                model.resize(static_cast<std::size_t>((growth < 1 ? 10 : growth) + index));
            }
            count = std::max(count, index + 1);
            model[static_cast<std::size_t>(index)] = item = i;
            const int capacity = static_cast<int>(model.size());
            model.back() = (&item)[capacity - 1 - index] = -i;
            ASSERT_EQ(array->capacity, capacity);
            ASSERT_EQ(dynar_nr_items(array.get()), count);
            const auto *items = static_cast<const int *>(teska::dynar_peek(array.get(), 0));
            ASSERT_TRUE(std::equal(model.begin(), model.end(), items));
            EXPECT_EQ(teska::dynar_peek(array.get(), capacity - 1), items + capacity - 1);
            for (const int outside : {-1, capacity, INT_MAX, INT_MIN})
                EXPECT_EQ(teska::dynar_peek(array.get(), outside), nullptr);
        }
        const void *block = nullptr;
        int moves = 0;
        for (int i = 0; i < 100000; ++i) {
            dynar_ptr(array.get(), i);
            moves += std::exchange(block, dynar_ptr(array.get(), 0)) != block ? 1 : 0;
        }
        EXPECT_LT(moves, 30) << "when items are appended";
    }
}

TEST(Dynar, RefusesWhatCannotBeCountedAndIsLeftAloneWhenTheFatalExitReturns)
{
    Reports reports;
    const Host host;
    for (const int item_size : {0, INT_MIN})
        EXPECT_EQ(reports.refusal(dynar_new(item_size, 5)), "dynar_new: Unable to create new dynar") << item_size;
    const Array array(dynar_new(INT_MAX, 10), dynar_kill);
    EXPECT_EQ(reports.refusal(dynar_ptr(array.get(), -1)), "dynar_ptr: illegal index");
    for (const int index : {INT_MAX, INT_MAX - 9})
        EXPECT_EQ(dynar_ptr(array.get(), index), nullptr);
    EXPECT_EQ(Host::take(), lines(2, "ERROR  : 'dynar_ptr: memory allocation failed'"));
    EXPECT_EQ(dynar_nr_items(array.get()), 0);
}
