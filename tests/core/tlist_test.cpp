#include "tlist.h"

#include "support/test.h"

namespace
{

using Entries = std::vector<TElement *>;

int alive = 0;

struct Item : TElement {
    explicit Item(int k) : key(k) { ++alive; }
    ~Item() override { --alive; }
    int key;
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
        read.push_back(e);
    }
    EXPECT_EQ(list.Last() == nullptr ? 0 : list.Last()->ListIndex() + 1, list.Count());
    return read;
}

// The same insertion by positions: after the last one, before the first one, or where halving ends.
void add(Entries &model, TElement *e)
{
    std::size_t low = 0, high = model.size();
    if (!model.empty() && ascending(model.back(), e) > 0 && --high > 0 && ascending(model[0], e) < 0) {
        while (high - low > 1 && ascending(model[(low + high) / 2], e) != 0)
            (ascending(model[(low + high) / 2], e) > 0 ? high : low) = (low + high) / 2;
        high = (low + high) / 2 + 1;
    } else if (high < model.size()) {
        high = 0;
    }
    model.insert(model.begin() + static_cast<std::ptrdiff_t>(high), e);
}

TEST(TList, AddsSubtractsAndSortsAsItsModelAndMovesTheCursor)
{
    teska_test::Generator random(3);
    for (int round = 0; round < 300; ++round) {
        TList list(ascending), other(nullptr);
        Entries model, sorted;
        TElement *cursor = nullptr;
        for (int i = 0; i < 60; ++i) {
            const auto at = model.begin() + random.below(static_cast<int>(model.size()) + 1);
            TElement *e = at != model.end() ? *at : nullptr, *item = new Item(random.below(12));
            const int action = random.below(8);
            if (action < 4) {
                list + item;
                add(model, item);
            } else if (action == 4) {
                EXPECT_EQ(list.Add(item, e), item);
                model.insert(at, item);
            } else {
                delete item;
            }
            if (action == 5)
                list.SetCurrent(cursor = e);
            if (action > 5 && e != nullptr) {
                model.erase(at);
                TElement *const following = at != model.end() ? *at : nullptr;
                cursor = cursor != e ? cursor : following != nullptr || model.empty() ? following : model.back();
                EXPECT_EQ(other.Subtract(e), e) << "is in another list";
                EXPECT_EQ(list.Subtract(e), following);
                EXPECT_EQ(list.Subtract(e), e) << "is in no list";
                EXPECT_EQ(e->Next(), nullptr);
                EXPECT_EQ(e->Previous(), nullptr);
                other + e;
                list - nullptr - e;
                EXPECT_EQ(other.Last(), e);
            }
            ASSERT_EQ(contents(list), model);
            EXPECT_EQ(list.Current(), cursor);
        }
        for (TElement *e : model)
            static_cast<Item *>(e)->key = random.below(12);
        for (TElement *e : model)
            add(sorted, e);
        list.Sort();
        EXPECT_EQ(contents(list), sorted);
        EXPECT_EQ(list.Current(), cursor);
    }
    EXPECT_EQ(alive, 0);
}

TEST(TListGet, KeptAsksTheCursorFirst)
{
    TList list(nullptr);
    list + new Item(7) + new Item(8) + new Item(7);
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
    list + new Item(2) + new Item(1);
    list.SetCurrent(list.Last());
    copy = list;
    EXPECT_EQ(copy.Current(), TElement(*list.First()).Next());
    copy + new Item(3) + new Item(0);
    for (int key = 0; key < 4; ++key)
        EXPECT_EQ(key_of(copy.Get(key)), key) << "the order is copied too";
    copy.Destroy();
    EXPECT_EQ(alive, 0);
    for (const TElement *none : {copy.First(), copy.Last(), copy.Current()})
        EXPECT_EQ(none, nullptr);
    list = copy;
}

}  // namespace
