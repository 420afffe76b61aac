#include "itemfifo.h"

#include "support/test.h"

#include <deque>

TEST(ItemfifoNew, RefusesPartitionsThatCannotBeCounted)
{
    teska_test::Reports reports;
    for (const auto &[size, items] : {std::pair{0, 4}, {INT_MAX / 10 + 1, -1}, {1 << 16, 1 << 15}})  // -1: 10
        EXPECT_EQ(reports.refusal(itemfifo_new(size, items)), "itemfifo_new: Unable to create new itemfifo") << size;
}

TEST(ItemfifoGet, GivesTheItemsInTheOrderTheyWerePut)
{
    struct Item {
        int number;
        char tail[3];
    };
    teska_test::Generator random(3);
    for (const int items : {1, 2, 5, 0, INT_MIN}) {
        const std::unique_ptr<itemfifo, int (*)(itemfifo *)> fifo(itemfifo_new(sizeof(Item), items), itemfifo_kill);
        std::deque<int> model;
        Item item{-1, "x"};
        EXPECT_EQ(itemfifo_get(fifo.get(), &item), 0);
        for (int i = 0; i < 2900; ++i) {
            // The queue grows and shrinks in waves, down to nothing, and is not empty at the end.
            if (random.below(10) < (i / 100 % 2 == 0 ? 7 : 2)) {
                EXPECT_EQ(itemfifo_put(fifo.get(), &(item = {i, "ab"})), 1);
                model.push_back(i);
            } else if (item = {-1, "x"}; itemfifo_get(fifo.get(), &item) == 1) {
                EXPECT_STREQ(item.tail, "ab");
                EXPECT_EQ(item.number, model.front());
                model.pop_front();
            } else {
                EXPECT_TRUE(model.empty());
                EXPECT_EQ(item.number, -1);
            }
            ASSERT_EQ(itemfifo_nr_items(fifo.get()), static_cast<int>(model.size()));
        }
    }
}
