#include "list.h"

#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

using teska_test::Generator;
using teska_test::lines;
using teska_test::Reports;

namespace
{

using List = std::unique_ptr<list_rec, int (*)(list_rec *)>;

const char *no_room = "list_insert : Unable to extend list, insufficient resources";

int as_int(const void *element) { return *static_cast<const int *>(element); }
int at_or_after(const void *element, const void *key) { return as_int(element) >= as_int(key) ? 1 : 0; }
int after(const void *element, const void *key) { return as_int(element) > as_int(key) ? 1 : 0; }
int differs(const void *element, const void *key) { return as_int(element) != as_int(key) ? 1 : 0; }

void insert(const List &list, const std::vector<int> &values)
{
    for (const int value : values)
        list_insert(list.get(), &value);
}

List filled(int initial, list_order_fn order, const std::vector<int> &values)
{
    List list(list_new(initial, sizeof(int), order), list_kill);
    insert(list, values);
    return list;
}

std::vector<int> contents(const List &list)
{
    std::vector<int> values;
    for (int i = 0; i < list_num(list.get()); ++i)
        values.push_back(as_int(list_get_element(list.get(), i)));
    return values;
}

// How many elements fit behind the last one: the least capacity for which list_alloc moves the elements is the list's.
int room(const List &list)
{
    const void *block = list_get_element(list.get(), 0);
    int capacity = -1;
    while (list_get_element(list.get(), 0) == block)
        list_alloc(list.get(), ++capacity);
    return capacity - list_num(list.get());
}

}  // namespace

TEST(ListNew, KeptCutsSizesTo16BitsAndTakesTenSlotsForNone)
{
    const std::tuple<int, unsigned, int, int> cases[] = {
        {0, 4, 10, 4}, {-5, 0, 10, 0}, {65536, 4, 10, 4}, {65536 + 3, 65536 + 4, 3, 4}};
    for (const auto &[initial, size, step, cut_size] : cases) {
        const List list(list_new(initial, size, nullptr), list_kill);
        for (int i = 0; i < 25; ++i)
            EXPECT_EQ(list_insert(list.get(), &i), i);
        EXPECT_EQ(list_get_num(list.get()), 25);
        EXPECT_EQ(list_get_ext(list.get()), step) << initial;
        EXPECT_EQ(list_get_el_size(list.get()), cut_size) << size;
    }
    EXPECT_TRUE(list_num(nullptr) == 0 && list_kill(nullptr) == 0);
}

TEST(ListInsert, KeepsRandomElementsSortedForBothKindsOfOrder)
{
    Generator random(1);
    for (const list_order_fn order : {at_or_after, after}) {
        const List list = filled(3, order, {});
        std::vector<int> model;
        for (int i = 0; i < 500; ++i) {
            const int value = random.below(60);
            const auto place = order == after ? std::upper_bound(model.begin(), model.end(), value)
                                              : std::lower_bound(model.begin(), model.end(), value);
            EXPECT_EQ(list_insert(list.get(), &value), place - model.begin());
            model.insert(place, value);
            if (i % 4 == 3) {
                const int index = random.below(list_num(list.get()));
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
    const List list = filled(2, at_or_after, {7, 3});
    list_insert(list.get(), list_get_element(list.get(), 0));
    list_insert(list.get(), list_get_element(list.get(), 2));
    EXPECT_EQ(contents(list), (std::vector{3, 3, 7, 7}));
    list_insert_index(list.get(), list_get_element(list.get(), 3), 0, 1);
    EXPECT_EQ(contents(list), (std::vector{7, 3, 3, 7, 7}));
    list_insert_index(list.get(), list_get_element(list.get(), 0), 2, -1);
    EXPECT_EQ(contents(list), (std::vector{3, 3, 7, 7, 7, 0}));
}

TEST(ListInsert, OrdersTextsThatFillTheirSlots)
{
    // No terminating zero in the last slot: the comparison must end inside the block.
    const List list(list_new(2, 3, str_ins), list_kill);
    list_insert(list.get(), "zzz");
    EXPECT_EQ(list_pos(list.get(), "zzzz"), 1);
    list_insert(list.get(), list_get_element(list.get(), 0));
    EXPECT_EQ(list_pos(list.get(), "zzzzzz"), 0) << "the text of slot 0 goes on in slot 1";
    EXPECT_EQ(list_pos(list.get(), "zzzzzzz"), 2) << "and ends with the block";
}

TEST(ListInsert, RefusesMoreThan65535Elements)
{
    Reports reports;
    const List list(list_new(65500, 1, nullptr), list_kill);
    EXPECT_EQ(list_alloc(list.get(), 65536), -1);
    for (const unsigned index : {65535U, 65536U, UINT_MAX})
        EXPECT_EQ(list_insert_index(list.get(), "y", index, 1), -1) << index;
    const void *grown = nullptr;
    for (int i = 0; i < 65535; ++i) {
        ASSERT_EQ(list_insert(list.get(), "x"), i);
        if (i == 65500)
            grown = list_get_element(list.get(), 0);
    }
    EXPECT_EQ(list_get_element(list.get(), 0), grown) << "growing goes as far as the list can count";
    EXPECT_EQ(list_insert(list.get(), "y"), -1);
    EXPECT_EQ(list_insert_index(list.get(), "y", 0, 0), -1);
    EXPECT_EQ(reports.take(), lines(6, no_room));
    EXPECT_EQ(list_num(list.get()), 65535);
    EXPECT_EQ(*static_cast<char *>(list_get_element(list.get(), 65534)), 'x');
}

TEST(ListInsertIndex, KeptCountsOneMoreInTheModesThatStoreOver)
{
    const std::tuple<unsigned, int, std::vector<int>> cases[] = {
        {1, 1, {10, 99, 20, 30, 40}}, {4, 1, {10, 20, 30, 40, 99}}, {40, 1, {10, 20, 30, 40, 0}},
        {1, 0, {10, 99, 30, 40, 0}},  {1, -1, {20, 99, 30, 40, 0}}, {65534, 0, {10, 20, 30, 40, 0}}};
    for (const auto &[index, mode, expected] : cases) {
        const List list = filled(4, nullptr, {10, 20, 30, 40});
        const int value = 99;
        EXPECT_EQ(list_insert_index(list.get(), &value, index, mode), static_cast<int>(index));
        EXPECT_EQ(contents(list), expected) << index << ", mode " << mode;
    }
}

TEST(ListInsertIndex, KeptGrowsByItsStepFromTheIndexWhenThisLiesBehindTheRoom)
{
    // 4 slots, 4 more, and those up to the index.
    const std::pair<unsigned, int> cases[] = {{0, 3}, {3, 3}, {4, 4}, {6, 6}};
    for (const auto &[index, expected] : cases)
        for (const int mode : {1, 0, -1}) {
            const List list = filled(4, nullptr, {1, 2, 3, 4});
            list_insert_index(list.get(), &mode, index, mode);
            EXPECT_EQ(room(list), expected) << index;
            insert(list, std::vector<int>(static_cast<std::size_t>(expected) + 1));
            EXPECT_EQ(room(list), 3) << "list_insert adds the step alone";
        }
}

TEST(ListInsert, GrowsByItsStepButRarelyMovesItsElements)
{
    const List list = filled(10, nullptr, {0});
    const void *block = nullptr;
    int moves = 0;
    for (int i = 1; i < 65000; ++i) {
        insert(list, {i});
        moves += std::exchange(block, list_get_element(list.get(), 0)) != block ? 1 : 0;
    }
    EXPECT_LT(moves, 30);
    EXPECT_EQ(room(list), 0);
    for (int i = 0; i < 65000; ++i)
        ASSERT_EQ(as_int(list_get_element(list.get(), i)), i);
}

TEST(ListInsertIndex, ClearsFormerlyUsedSlotsWhenItGrows)
{
    // Four slots to a new block; from 48 slots on it grows inside the block, which has 60.
    for (const int count : {4, 48}) {
        const List list = filled(4, nullptr, std::vector<int>(static_cast<std::size_t>(count), 7));
        list_rem_element(list.get(), 0);
        list_rem_element(list.get(), 0);
        const int value = 9;
        for (int i = 0; i < 3; ++i)
            list_insert_index(list.get(), &value, static_cast<unsigned>(count), 0);
        std::vector<int> expected(static_cast<std::size_t>(count - 2), 7);
        expected.insert(expected.end(), {0, 0, 9});
        EXPECT_EQ(contents(list), expected);
    }
}

TEST(ListRemElement, IgnoresAnIndexOutsideTheCountThatChangepReports)
{
    Reports reports;
    const List list = filled(10, nullptr, {10, 20, 30});
    const int value = 5;
    for (const int index : {INT_MIN, -1, 3, INT_MAX}) {
        EXPECT_EQ(list_rem_element(list.get(), index), 0);
        EXPECT_EQ(list_get_element(list.get(), index), nullptr);
        EXPECT_EQ(reports.take(), lines{});
        EXPECT_EQ(list_changep(list.get(), index, &value), -1);
        EXPECT_EQ(reports.take(), lines{"list_changep : index out of bound"});
    }
    EXPECT_EQ(list_changep(list.get(), 2, &value), 2);
    EXPECT_EQ(list_rem_element(list.get(), 0), 0);
    EXPECT_EQ(contents(list), (std::vector{20, 5}));
}

TEST(ListAlloc, KeptMovesTheElementsForAnEqualCapacityAndIgnoresALesserOne)
{
    for (const int capacity : {-1, 3, 4, 9, 65534}) {
        const List list = filled(4, nullptr, {1, 2});
        const void *block = list_get_element(list.get(), 0);
        EXPECT_EQ(list_alloc(list.get(), capacity), 0);
        EXPECT_EQ(list_get_element(list.get(), 0) == block, capacity < 4) << capacity;
        EXPECT_EQ(contents(list), (std::vector{1, 2}));
        EXPECT_EQ(room(list), std::max(capacity, 4) - 2);
        EXPECT_EQ(list_get_ext(list.get()), 4);
    }
}

TEST(ListPosRange, FindsTheFirstElementAtOrAfterTheKey)
{
    const List list = filled(10, at_or_after, {10, 20, 20, 30, 40});
    const std::tuple<int, int, int, list_order_fn, int> cases[] = {
        {20, 0, 4, at_or_after, 1}, {20, 0, 4, after, 3},       {20, 2, 3, at_or_after, 2}, {20, 0, 0, at_or_after, 1},
        {20, 3, 2, at_or_after, 3}, {41, 0, 4, at_or_after, 5}, {20, 0, 2, nullptr, 5}};
    for (const auto &[wanted, lo, hi, order, position] : cases)
        EXPECT_EQ(list_pos_range(list.get(), &wanted, lo, hi, order), position) << lo << " .. " << hi;
    const int key = 20;
    EXPECT_EQ(list_pos_range(filled(1, nullptr, {}).get(), &key, 3, 9, at_or_after), 0) << "empty";
}

TEST(ListPosRange, AsksLowHighAndTheOneBeforeHighThenHalves)
{
    static std::vector<int> asked;
    asked.clear();
    const auto spy = [](const void *element, const void *key) {
        asked.push_back(as_int(element));
        return at_or_after(element, key);
    };
    const int key = 3;
    EXPECT_EQ(list_pos_range(filled(10, nullptr, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}).get(), &key, 0, 9, spy), 3);
    EXPECT_EQ(asked, (std::vector{0, 9, 8, 4, 3, 2, 3, 2}));
}

TEST(ListSearchEl, KeptLooksOnlyAtThePositionInASortedList)
{
    // The last of the values is removed again.
    const std::tuple<list_order_fn, std::vector<int>, int, int> cases[] = {
        {nullptr, {3, 1, 1, 2}, 1, 1},  {nullptr, {3, 1, 1, 2}, 2, -1},  {nullptr, {3}, 3, -1},
        {at_or_after, {1, 2, 3}, 2, 1}, {at_or_after, {1, 2, 3}, 3, -1}, {after, {1, 2, 3}, 2, -1}};
    for (const auto &[order, values, key, index] : cases) {
        const List list = filled(10, order, values);
        list_rem_element(list.get(), list_num(list.get()) - 1);
        EXPECT_EQ(list_search_el(list.get(), &key, differs), index) << key;
    }
}
