#include "tlist.h"

#include "support/generator.h"

#include <gtest/gtest.h>

namespace
{

using Entries = std::vector<std::pair<int, int>>;  // key and number

int alive = 0;

// Elements are ordered by their keys and told apart by their numbers.
struct Item : TElement {
    Item(int k, int n) : key(k), number(n) { ++alive; }
    ~Item() override { --alive; }
    int key, number;
};

int key_of(void *element) { return static_cast<Item *>(static_cast<TElement *>(element))->key; }
int ascending(void *listed, void *added) { return key_of(listed) - key_of(added); }
int differs(void *element, void *key) { return key_of(element) != *static_cast<int *>(key); }

// What is in the list, read forwards; positions are counted backwards.
Entries contents(const TList &list)
{
    Entries read;
    for (TElement *e = list.GetNext(nullptr); e != nullptr; e = list.GetNext(e)) {
        EXPECT_EQ(list.Index(e), e->ListIndex());
        EXPECT_EQ(list.Get(static_cast<int>(read.size())), e);
        read.emplace_back(key_of(e), static_cast<Item *>(e)->number);
    }
    EXPECT_EQ(list.Last() == nullptr ? 0 : list.Last()->ListIndex() + 1, list.Count());
    return read;
}

void fill(TList &list, const std::vector<int> &keys)
{
    for (const int key : keys)
        list + new Item(key, list.Count());
}

// The same insertion by positions: after the last one, before the first one, or where halving ends.
void add(Entries &model, std::pair<int, int> entry)
{
    std::size_t low = 0, high = model.size();
    if (!model.empty() && model.back().first > entry.first && --high > 0 && model[0].first < entry.first) {
        while (high - low > 1 && model[(low + high) / 2].first != entry.first)
            (model[(low + high) / 2].first > entry.first ? high : low) = (low + high) / 2;
        high = (low + high) / 2 + 1;
    } else if (high < model.size()) {
        high = 0;
    }
    model.insert(model.begin() + static_cast<std::ptrdiff_t>(high), entry);
}

TEST(TListAdd, PutsElementsWhereHalvingOfTheChainEndsAndSortAddsThemAgain)
{
    teska_test::Generator random(3);
    for (int round = 0; round < 300; ++round) {
        TList list(ascending);
        Entries model, sorted;
        for (int i = random.below(40); i > 0; --i) {
            const int key = random.below(12);
            add(model, {key, list.Count()});
            fill(list, {key});
        }
        EXPECT_EQ(contents(list), model);
        TElement *cursor = list.Last();
        list.SetCurrent(cursor);
        for (auto &[key, number] : model) {
            key = random.below(12);
            static_cast<Item *>(list.Get(static_cast<int>(&key - &model[0].first) / 2))->key = key;
            add(sorted, {key, number});
        }
        list.Sort();
        EXPECT_EQ(contents(list), sorted);
        EXPECT_EQ(list.Current(), cursor);
    }
    EXPECT_EQ(alive, 0);
}

TEST(TListSubtract, ClosesTheGapMovesTheCursorAndLeavesOtherListsAlone)
{
    for (const int out : {0, 1, 2})
        for (const int cursor : {0, 1, 2}) {
            TList list(nullptr), other(nullptr);
            fill(list, {0, 2});
            TElement *one = list.Add(new Item(1, 2), list.Last());
            EXPECT_EQ(contents(list), (Entries{{0, 0}, {1, 2}, {2, 1}}));
            TElement *const e[] = {list.First(), one, list.Last(), nullptr};
            list.SetCurrent(e[cursor]);
            EXPECT_EQ(other.Subtract(e[out]), e[out]);
            EXPECT_EQ(list.Subtract(e[out]), e[out + 1]);
            EXPECT_EQ(list.Current(), e[cursor != out ? cursor : out == 2 ? 1 : out + 1]);
            EXPECT_EQ(contents(list).size(), 2U);
            EXPECT_EQ(e[out]->Next(), nullptr);
            EXPECT_EQ(e[out]->Previous(), nullptr);
            EXPECT_EQ(list.Subtract(e[out]), e[out]) << "in no list";
            other.Add(e[out], other.First());
            list - nullptr - e[out];
            EXPECT_EQ(list.Count(), 2);
            EXPECT_EQ(other.Count(), 1);
        }
    EXPECT_EQ(alive, 0);
}

TEST(TListGet, KeptAsksTheCursorFirst)
{
    TList list(nullptr);
    fill(list, {7, 8, 7});
    for (const int cursor : {0, 2}) {
        list.SetCurrent(list.Get(cursor));
        for (const auto &[key, found] : {std::pair{7, cursor}, {8, 1}, {9, 3}})
            EXPECT_EQ(list.Get(differs, std::vector{key}.data()), list.Get(found));
        EXPECT_EQ(list.Current(), list.Get(cursor));
    }
    EXPECT_EQ(list.Get(-5), list.First());
    EXPECT_EQ(list.Get(3), nullptr);
    EXPECT_EQ(list.Index(nullptr), -1);
}

TEST(TList, KeptCopiesShareTheirLinks)
{
    TList list(ascending), copy(nullptr);
    fill(list, {2, 1});
    list.SetCurrent(list.Last());
    copy = list;
    EXPECT_EQ(copy.Current(), TElement(*list.First()).Next());
    fill(copy, {3, 0});
    EXPECT_EQ(contents(copy), (Entries{{0, 3}, {1, 1}, {2, 0}, {3, 2}})) << "the order is copied too";
    copy.Destroy();
    EXPECT_EQ(alive, 0);
    for (const TElement *none : {copy.First(), copy.Last(), copy.Current()})
        EXPECT_EQ(none, nullptr);
    list = copy;
}

}  // namespace
