#include "list.h"

#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

using teska_test::lines;
using teska_test::Reports;

namespace
{

using List = std::unique_ptr<list_rec, int (*)(list_rec *)>;

const char *no_room = "list_insert : Unable to extend list, insufficient resources";

List new_list(int initial, unsigned size, list_order_fn order = nullptr)
{
    return {list_new(initial, size, order), list_kill};
}

int at_or_after(const void *element, const void *key)
{
    return *static_cast<const int *>(element) >= *static_cast<const int *>(key) ? 1 : 0;
}

int after(const void *element, const void *key)
{
    return *static_cast<const int *>(element) > *static_cast<const int *>(key) ? 1 : 0;
}

int differs(const void *element, const void *key)
{
    return *static_cast<const int *>(element) == *static_cast<const int *>(key) ? 0 : 1;
}

int at(const List &list, int index) { return *static_cast<int *>(list_get_element(list.get(), index)); }

std::vector<int> contents(const List &list)
{
    std::vector<int> values;
    for (int i = 0; i < list_num(list.get()); ++i)
        values.push_back(at(list, i));
    return values;
}

void fill(const List &list, std::initializer_list<int> values)
{
    for (const int value : values)
        list_insert(list.get(), &value);
}

// How many elements fit behind the last one: a list without room moves, and never to where it stood. Adds one more.
int room(const List &list)
{
    const void *block = list_get_element(list.get(), 0);
    int fitting = -1;
    for (; list_get_element(list.get(), 0) == block; ++fitting)
        fill(list, {0});
    return fitting;
}

int search(const List &list, int key) { return list_search_el(list.get(), &key, differs); }
int position(const List &list, int key) { return list_pos(list.get(), &key); }

}  // namespace

TEST(ListNew, TakesTenSlotsForNoneAndGrowsByItsStep)
{
    for (const int initial : {0, -5, 65536}) {
        const List list = new_list(initial, sizeof(int));
        EXPECT_EQ(list_get_ext(list.get()), 10) << initial;
        for (int i = 0; i < 25; ++i)
            EXPECT_EQ(list_insert(list.get(), &i), i);
        std::vector<int> expected(25);
        std::iota(expected.begin(), expected.end(), 0);
        EXPECT_EQ(contents(list), expected);
    }
}

TEST(ListNew, KeptCutsSizesTo16Bits)
{
    const List list = new_list(65536 + 3, 65536 + 4);
    EXPECT_EQ(list_get_ext(list.get()), 3);
    EXPECT_EQ(list_get_el_size(list.get()), 4);
}

TEST(ListNew, AcceptsElementsOfNoSize)
{
    const List list = new_list(1, 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(list_insert(list.get(), ""), i);
    EXPECT_EQ(list_get_num(list.get()), 3);
}

TEST(ListKill, AcceptsNull)
{
    EXPECT_EQ(list_kill(nullptr), 0);
    EXPECT_EQ(list_num(nullptr), 0);
}

TEST(ListInsert, PutsEqualElementBeforeEarlierOnes)
{
    const List list = new_list(2, 8, str_ins);
    for (const char *text : {"b\0-----", "A\0-----", "a\0-----"})
        list_insert(list.get(), text);
    std::string order;
    for (int i = 0; i < list_num(list.get()); ++i)
        order += static_cast<char *>(list_get_element(list.get(), i));
    EXPECT_EQ(order, "aAb");
}

TEST(ListInsert, KeepsRandomElementsSortedForBothKindsOfOrder)
{
    teska_test::Generator random(1);
    for (const list_order_fn order : {at_or_after, after}) {
        const List list = new_list(3, sizeof(int), order);
        std::vector<int> model;
        for (int i = 0; i < 500; ++i) {
            const int value = random.below(60);
            const auto place = order == after ? std::upper_bound(model.begin(), model.end(), value)
                                              : std::lower_bound(model.begin(), model.end(), value);
            EXPECT_EQ(list_insert(list.get(), &value), place - model.begin());
            model.insert(place, value);
            if (i % 4 == 3) {
                const int index = random.below(static_cast<int>(model.size()));
                EXPECT_EQ(list_rem_element(list.get(), index), 0);
                model.erase(model.begin() + index);
            }
        }
        EXPECT_EQ(contents(list), model);
    }
}

TEST(ListInsert, TakesElementsOfItsOwn)
{
    // The second insertion grows the list, the third shifts the element under the pointer.
    const List list = new_list(2, sizeof(int), at_or_after);
    fill(list, {7, 3});
    list_insert(list.get(), list_get_element(list.get(), 0));
    list_insert(list.get(), list_get_element(list.get(), 2));
    EXPECT_EQ(contents(list), (std::vector{3, 3, 7, 7}));
    list_insert_index(list.get(), list_get_element(list.get(), 3), 0, 1);
    EXPECT_EQ(contents(list), (std::vector{7, 3, 3, 7, 7}));
    list_insert_index(list.get(), list_get_element(list.get(), 0), 2, -1);
    EXPECT_EQ(contents(list).at(2), 7);
}

TEST(ListInsert, StopsAt65535Elements)
{
    const List list = new_list(65500, 1);
    for (int i = 0; i < 65535; ++i)
        ASSERT_EQ(list_insert(list.get(), "x"), i);
    Reports reports;
    EXPECT_EQ(list_insert(list.get(), "y"), -1);
    EXPECT_EQ(list_insert_index(list.get(), "y", 0, 0), -1);
    EXPECT_EQ(reports.take(), lines(2, no_room));
    EXPECT_EQ(list_num(list.get()), 65535);
    EXPECT_EQ(*static_cast<char *>(list_get_element(list.get(), 65534)), 'x');
}

TEST(ListInsertIndex, MovesWhatEachModePromises)
{
    const List list = new_list(10, sizeof(int));
    fill(list, {10, 20, 30});
    const int value = 99;
    EXPECT_EQ(list_insert_index(list.get(), &value, 1, 1), 1);
    EXPECT_EQ(contents(list), (std::vector{10, 99, 20, 30}));
    EXPECT_EQ(list_insert_index(list.get(), &value, 4, 1), 4);
    EXPECT_EQ(contents(list), (std::vector{10, 99, 20, 30, 99}));
}

TEST(ListInsertIndex, KeptCountsOneMoreInTheModesThatStoreOver)
{
    const int value = 99;
    const List over = new_list(10, sizeof(int));
    fill(over, {10, 20, 30});
    EXPECT_EQ(list_insert_index(over.get(), &value, 1, 0), 1);
    EXPECT_EQ(contents(over), (std::vector{10, 99, 30, 0}));

    const List down = new_list(10, sizeof(int));
    fill(down, {10, 20, 30});
    EXPECT_EQ(list_insert_index(down.get(), &value, 2, -1), 2);
    EXPECT_EQ(contents(down), (std::vector{20, 30, 99, 0}));
}

TEST(ListInsertIndex, KeptGrowsByItsStepFromTheIndexWhenThisLiesBehindTheRoom)
{
    const struct {
        unsigned index;
        int room;  // 4 slots, 4 more, and those up to the index
    } cases[] = {{0, 3}, {3, 3}, {4, 4}, {6, 6}};
    for (const auto &[index, expected] : cases)
        for (const int mode : {1, 0, -1}) {
            const List list = new_list(4, sizeof(int));
            fill(list, {1, 2, 3, 4});
            list_insert_index(list.get(), &mode, index, mode);
            EXPECT_EQ(room(list), expected) << index;
            EXPECT_EQ(room(list), 3) << "list_insert adds the step alone";
        }
}

TEST(ListInsertIndex, LeavesZeroedSlotsBeforeAFarIndexAndRefusesOneTooFar)
{
    const List list = new_list(2, sizeof(int));
    fill(list, {10});
    const int value = 99;
    EXPECT_EQ(list_insert_index(list.get(), &value, 40, 1), 40);
    EXPECT_EQ(contents(list), (std::vector{10, 0}));
    EXPECT_EQ(list_insert_index(list.get(), &value, 65534, 0), 65534);
    Reports reports;
    for (const unsigned index : {65535U, 65536U, 0xffffffffU})
        EXPECT_EQ(list_insert_index(list.get(), &value, index, 1), -1) << index;
    EXPECT_EQ(reports.take(), lines(3, no_room));
    EXPECT_EQ(list_num(list.get()), 3);
}

TEST(ListChangep, RefusesAnIndexOutsideTheCount)
{
    const List list = new_list(10, sizeof(int));
    fill(list, {10, 20});
    const int value = 5;
    EXPECT_EQ(list_changep(list.get(), 1, &value), 1);
    EXPECT_EQ(contents(list), (std::vector{10, 5}));
    Reports reports;
    for (const int index : {2, -1}) {
        EXPECT_EQ(list_changep(list.get(), index, &value), -1);
        EXPECT_EQ(reports.take(), lines{"list_changep : index out of bound"});
    }
}

TEST(ListRemElement, IgnoresAnIndexOutsideTheCount)
{
    const List list = new_list(10, sizeof(int));
    EXPECT_EQ(list_rem_element(list.get(), 0), 0);
    fill(list, {10, 20, 30});
    for (const int index : {-1, 3})
        EXPECT_EQ(list_rem_element(list.get(), index), 0);
    EXPECT_EQ(contents(list), (std::vector{10, 20, 30}));
    list_rem_element(list.get(), 0);
    list_rem_element(list.get(), 1);
    EXPECT_EQ(contents(list), (std::vector{20}));
}

TEST(ListPosRange, FindsTheFirstElementAtOrAfterTheKey)
{
    const List list = new_list(10, sizeof(int), at_or_after);
    fill(list, {10, 20, 20, 30, 40});
    const int key = 20;
    EXPECT_EQ(list_pos_range(list.get(), &key, 0, 4, at_or_after), 1);
    EXPECT_EQ(list_pos_range(list.get(), &key, 0, 4, after), 3) << "the function given counts, not the list's";
    EXPECT_EQ(list_pos_range(list.get(), &key, 2, 3, at_or_after), 2);
    EXPECT_EQ(list_pos_range(list.get(), &key, 0, 0, at_or_after), 1);
    EXPECT_EQ(list_pos_range(list.get(), &key, 3, 2, at_or_after), 3);
    EXPECT_EQ(list_pos_range(list.get(), &key, 0, 4, nullptr), 5);
    EXPECT_EQ(position(list, 41), 5);
    EXPECT_EQ(position(new_list(1, sizeof(int), at_or_after), 1), 0);
    EXPECT_EQ(list_pos_range(new_list(1, sizeof(int)).get(), &key, 3, 9, at_or_after), 0) << "empty";
}

TEST(ListPosRange, AsksLowHighAndTheOneBeforeHighThenHalves)
{
    static std::vector<int> asked;
    asked.clear();
    const auto spy = [](const void *element, const void *key) {
        asked.push_back(*static_cast<const int *>(element));
        return at_or_after(element, key);
    };
    const List list = new_list(10, sizeof(int), at_or_after);
    fill(list, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    const int key = 3;
    EXPECT_EQ(list_pos_range(list.get(), &key, 0, 9, spy), 3);
    EXPECT_EQ(asked, (std::vector{0, 9, 8, 4, 3, 2, 3, 2}));
}

TEST(ListPosRange, EndsInsideTheRangeWhenTheOrderContradictsTheElements)
{
    const List list = new_list(10, sizeof(int));
    teska_test::Generator random(2);
    for (int i = 0; i < 60; ++i) {
        const int value = random.below(10);
        list_insert(list.get(), &value);
    }
    for (int key = -1; key < 11; ++key) {
        const int pos = list_pos_range(list.get(), &key, 0, 59, at_or_after);
        EXPECT_TRUE(pos >= 0 && pos <= 60);
    }
}

TEST(ListSearchEl, FindsTheFirstMatchInAnUnsortedList)
{
    const List list = new_list(10, sizeof(int));
    EXPECT_EQ(search(list, 1), -1);
    fill(list, {3, 1, 1});
    EXPECT_EQ(search(list, 1), 1);
    EXPECT_EQ(search(list, 2), -1);
    EXPECT_EQ(position(list, 1), 3) << "no order: the end";
}

TEST(ListSearchEl, KeptLooksOnlyAtThePositionInASortedList)
{
    const List lower = new_list(10, sizeof(int), at_or_after);
    fill(lower, {1, 2, 3});
    EXPECT_EQ(search(lower, 2), 1);
    EXPECT_EQ(search(lower, 4), -1);
    list_rem_element(lower.get(), 2);
    EXPECT_EQ(search(lower, 3), -1) << "a removed element is not asked, though its bytes remain";
    const List upper = new_list(10, sizeof(int), after);
    fill(upper, {1, 2, 3});
    EXPECT_EQ(search(upper, 2), -1);
}

TEST(ListAlloc, KeptMovesTheElementsForAnEqualCapacityAndIgnoresALesserOne)
{
    for (const int capacity : {-1, 3, 4, 9, 65534}) {
        const List list = new_list(4, sizeof(int));
        fill(list, {1, 2});
        const void *block = list_get_element(list.get(), 0);
        EXPECT_EQ(list_alloc(list.get(), capacity), 0) << capacity;
        EXPECT_EQ(list_get_element(list.get(), 0) == block, capacity < 4) << capacity;
        EXPECT_EQ(contents(list), (std::vector{1, 2}));
        EXPECT_EQ(list_get_ext(list.get()), 4);
        EXPECT_EQ(room(list), std::max(capacity, 4) - 2);
    }
    const List list = new_list(4, sizeof(int));
    Reports reports;
    EXPECT_EQ(list_alloc(list.get(), 65536), -1);
    EXPECT_EQ(reports.take(), lines{no_room});
}

TEST(ListGetElement, GivesNullOutsideTheCount)
{
    const List list = new_list(4, sizeof(int));
    fill(list, {1});
    EXPECT_NE(list_get_element(list.get(), 0), nullptr);
    EXPECT_EQ(list_get_element(list.get(), 1), nullptr);
    EXPECT_EQ(list_get_element(list.get(), -1), nullptr);
}

TEST(ListInsert, OrdersTextsThatFillTheirSlots)
{
    // No terminating zero in the last slot: the comparison must end inside the block.
    const List list = new_list(2, 3, str_ins);
    list_insert(list.get(), "zzz");
    EXPECT_EQ(list_pos(list.get(), "zzz"), 0);
    EXPECT_EQ(list_pos(list.get(), "zzzz"), 1);
    list_insert(list.get(), list_get_element(list.get(), 0));
    EXPECT_EQ(list_pos(list.get(), "zzzzzz"), 0) << "the text of slot 0 goes on in slot 1";
    EXPECT_EQ(list_pos(list.get(), "zzzzzzz"), 2) << "and ends with the block";
}
