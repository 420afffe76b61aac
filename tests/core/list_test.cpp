#include "list.h"

#include "support/test.h"

using teska_test::Generator, teska_test::lines, teska_test::Reports;

namespace
{

using List = std::unique_ptr<list_rec, int (*)(list_rec *)>;

int as_int(const void *element) { return *static_cast<const int *>(element); }
int at_or_after(const void *element, const void *key) { return as_int(element) >= as_int(key) ? 1 : 0; }
int after(const void *element, const void *key) { return as_int(element) > as_int(key) ? 1 : 0; }
int differs(const void *element, const void *key) { return as_int(element) != as_int(key) ? 1 : 0; }

List filled(int initial, list_order_fn order, const std::vector<int> &values)
{
    List list(list_new(initial, sizeof(int), order), list_kill);
    for (const int value : values)
        list_insert(list.get(), &value);
    return list;
}

// The slots of a list as they are promised, the free ones too.
struct Model {
    std::vector<int> slots;  // as many as the capacity
    std::size_t count = 0;

    void grow(std::size_t capacity)
    {
        slots.resize(count);
        slots.resize(capacity);
    }

    void insert(std::size_t index, int value, int mode)
    {
        if (mode > 0 && index < count)
            std::copy_backward(at(index), at(count), at(count + 1));
        else if (mode < 0)
            std::copy(at(1), at(index + 1), at(0));
        slots[index] = value;
        ++count;
    }

    void remove(std::size_t index) { std::copy(at(index + 1), at(count--), at(index)); }

    std::vector<int>::iterator at(std::size_t index) { return slots.begin() + static_cast<std::ptrdiff_t>(index); }
};

}  // namespace

TEST(ListNew, KeptCutsSizesTo16BitsAndTakesTenSlotsForNone)
{
    const std::tuple<int, unsigned, int, int> cases[] = {
        {0, 4, 10, 4}, {-5, 0, 10, 0}, {65536, 4, 10, 4}, {65536 + 3, 65536 + 4, 3, 4}};
    for (const auto &[initial, size, step, cut_size] : cases) {
        const List list(list_new(initial, size, nullptr), list_kill);
        EXPECT_EQ(list_get_ext(list.get()), step) << initial;
        EXPECT_EQ(list_get_el_size(list.get()), cut_size) << size;
        EXPECT_EQ(list_insert(list.get(), &step) + list_insert(list.get(), &step), 1) << size;
        EXPECT_EQ(list_get_num(list.get()), 2);
    }
}

TEST(List, KeptDoesWithAllItsSlotsWhatTheModelDoes)
{
    Reports reports;
    Generator random(1);
    for (int round = 0; round < 200; ++round) {
        const std::size_t step = static_cast<std::size_t>(random.below(6)) + 1;
        const list_order_fn order = round % 3 == 0 ? nullptr : round % 3 == 1 ? at_or_after : after;
        const List list = filled(static_cast<int>(step), order, {-1});
        Model model{std::vector<int>(step)};
        model.insert(0, -1, 0);
        for (int i = 0; i < 150; ++i) {
            // Elements come from the caller or from the list itself.
            const int index = random.below(static_cast<int>(model.count)), fresh = random.below(60);
            const auto at = static_cast<std::size_t>(index);
            const void *own = list_get_element(list.get(), index);
            const void *element = i % 3 == 0 ? own : &fresh;
            const int value = as_int(element);
            const int action = random.below(order == nullptr ? 6 : 4);
            if (action < 2) {
                const auto begin = model.at(0), end = model.at(model.count);
                const auto found = order == nullptr ? end
                                   : order == after ? std::upper_bound(begin, end, value)
                                                    : std::lower_bound(begin, end, value);
                const auto place = static_cast<std::size_t>(found - begin);
                if (model.count == model.slots.size())
                    model.grow(model.count + step);
                model.insert(place, value, 1);
                EXPECT_EQ(list_insert(list.get(), element), static_cast<int>(place));
            } else if (action == 2 && model.count > 1) {
                model.remove(at);
                EXPECT_EQ(list_rem_element(list.get(), index), 0);
            } else if (action == 3) {
                const int capacity = static_cast<int>(model.slots.size()) + random.below(9) - 6;
                const void *block = list_get_element(list.get(), 0);
                const bool moves = capacity >= static_cast<int>(model.slots.size());
                if (moves)
                    model.grow(static_cast<std::size_t>(capacity));
                EXPECT_EQ(list_alloc(list.get(), capacity), 0);
                EXPECT_EQ(list_get_element(list.get(), 0) != block, moves) << "also for an equal capacity";
            } else if (action == 4) {
                model.slots[at] = value;
                EXPECT_EQ(list_changep(list.get(), index, element), index);
            } else if (action == 5) {
                const int mode = random.below(3) - 1;
                const std::size_t place = i % 4 == 0 ? at + 9 : at;
                if (model.count == model.slots.size() || place >= model.slots.size())
                    model.grow(std::max(model.slots.size(), place + 1) + step);
                model.insert(place, value, mode);
                EXPECT_EQ(list_insert_index(list.get(), element, static_cast<unsigned>(place), mode),
                          static_cast<int>(place));
            }
            std::uint16_t numbers[3];  // count, step, capacity: the first in the record
            std::memcpy(numbers, list.get(), sizeof numbers);
            ASSERT_EQ(numbers[2], model.slots.size());
            ASSERT_EQ(list_num(list.get()), static_cast<int>(model.count));
            ASSERT_EQ(list_get_ext(list.get()), static_cast<int>(step));
            const auto *elements = static_cast<const int *>(list_get_element(list.get(), 0));
            ASSERT_TRUE(std::equal(model.slots.begin(), model.slots.end(), elements)) << "action " << action;
            // Of several that match, the first; after finds none, since it looks past them.
            const auto found = std::find(model.at(0), model.at(model.count), fresh);
            const bool none = order == after || found == model.at(model.count);
            EXPECT_EQ(list_search_el(list.get(), &fresh, differs), none ? -1 : found - model.at(0));
            // A part of a sorted list, up to index, is searched by either order.
            if (order != nullptr && at < model.count) {
                const int lo = random.below(index + 2);
                const auto low = model.at(static_cast<std::size_t>(lo)), high = std::max(low, model.at(at + 1));
                const auto first = i % 2 == 0 ? std::lower_bound(low, high, fresh) : std::upper_bound(low, high, fresh);
                EXPECT_EQ(list_pos_range(list.get(), &fresh, lo, index, i % 2 == 0 ? at_or_after : after),
                          first - model.at(0));
            }
        }
        const int count = static_cast<int>(model.count);
        for (const int outside : {INT_MIN, -1, count, INT_MAX})
            EXPECT_EQ(list_changep(list.get(), outside, &count), -1);
        EXPECT_EQ(list_num(list.get()), count);
        EXPECT_EQ(reports.take(), lines(4, "list_changep : index out of bound"));
    }
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

TEST(ListInsert, GoesTo65535ElementsAndRarelyMovesThem)
{
    Reports reports;
    const List list(list_new(10, 1, nullptr), list_kill);
    EXPECT_EQ(list_alloc(list.get(), 65536), -1);
    for (const unsigned index : {65535U, 65536U, UINT_MAX})
        EXPECT_EQ(list_insert_index(list.get(), "y", index, 1), -1) << index;
    const void *block = nullptr;
    int moves = 0;
    for (int i = 0; i < 65535; ++i) {
        ASSERT_EQ(list_insert(list.get(), "x"), i);
        moves += std::exchange(block, list_get_element(list.get(), 0)) != block ? 1 : 0;
    }
    EXPECT_LT(moves, 30);
    EXPECT_EQ(list_insert(list.get(), "y"), -1);
    EXPECT_EQ(list_insert_index(list.get(), "y", 0, 0), -1);
    EXPECT_EQ(list_alloc(list.get(), 65535), 0);
    EXPECT_EQ(reports.take(), lines(6, "list_insert : Unable to extend list, insufficient resources"));
    EXPECT_EQ(list_insert_index(filled(4, nullptr, {}).get(), &block, 65534, 0), 65534);
    EXPECT_EQ(list_num(list.get()), 65535);
    EXPECT_EQ(*static_cast<char *>(list_get_element(list.get(), 65534)), 'x');
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
    EXPECT_EQ(list_pos_range(filled(1, nullptr, {4, 5}).get(), &key, 0, 0, nullptr), 2) << "the count without an order";
    EXPECT_EQ(list_pos_range(filled(1, nullptr, {}).get(), &key, 3, 9, at_or_after), 0) << "empty";
}
