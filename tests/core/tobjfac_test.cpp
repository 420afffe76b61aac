#include "tobjfac.h"

#include "random.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Numbers = std::vector<int>;

Numbers deleted;

// An object is a number; its entry notes when it goes, and knows it by its last digit too.
struct Entry : TObjEl {
    using TObjEl::TObjEl;
    ~Entry() override { deleted.push_back(*number()); }
    int IsSameContent(void *p) override { return *static_cast<int *>(p) % 10 == *number() % 10 ? 1 : -1; }
    int *number() const { return static_cast<int *>(iPt()); }
};

struct Factory : TObjFac {
    Factory() { deleted.clear(); }
    using TObjFac::gen, TObjFac::reg, TObjFac::GetRefc, TObjFac::IncrRefc;
    TObjEl *TObjFacCreateEl(void *obj) override { return new Entry(obj); }

    Numbers scanned(int restart)
    {
        Numbers read;
        for (void *o = ScanObject(restart); o != nullptr; o = ScanObject(0))
            read.push_back(*static_cast<int *>(o));
        return read;
    }
};

TEST(TObjFac, CountsOwnersAndDeletesTheEntryWithTheLast)
{
    Factory factory;
    int numbers[] = {0, 1, 2};
    EXPECT_EQ(factory.ErrNo() + factory.reg->ErrNo(), 0);
    for (const int i : {0, 1, 0, 2, 2, 2, 2, 2})
        EXPECT_EQ(factory.IncrRefc(&numbers[i]), 0);
    EXPECT_EQ(factory.GetRefc(&numbers[2]), 5);
    EXPECT_EQ(factory.DecrRefc(&numbers[0]), nullptr);
    EXPECT_EQ(factory.GetRefc(&numbers[0]), 1);
    EXPECT_EQ(factory.GetNrObj(), 3);
    EXPECT_EQ(factory.RemoveFromFactory(&numbers[2]), nullptr);
    factory.DecrRefc(&numbers[0]);
    factory.DecrRefc(&numbers[0]);
    factory.RemoveFromFactory(numbers + 3);
    EXPECT_EQ(deleted, (Numbers{2, 0}));
    EXPECT_EQ(factory.GetNrObj(), 1);
    EXPECT_EQ(factory.GetRefc(&numbers[0]), 0);

    auto *entry = static_cast<Entry *>(factory.reg->First());
    EXPECT_EQ(entry->RefCpp(), 2);
    while (entry->RefCmm() > 0)
        EXPECT_FALSE(entry->NoRefs());
    EXPECT_TRUE(entry->NoRefs());
    factory.RemoveFromFactory(&numbers[1]);
    EXPECT_EQ(factory.GetNrObj(), 1) << "a count of 0 asks for nothing";
    entry->RefCmm();
    factory.RemoveFromFactory(&numbers[1]);
    EXPECT_EQ(factory.GetNrObj(), 0);
}

TEST(TObjFac, KeptRegistersNothingWithoutADerivedClass)
{
    struct Base : TObjFac {
        using TObjFac::IncrRefc;
    } factory;
    EXPECT_EQ(factory.IncrRefc(&factory), 0);
    EXPECT_EQ(factory.GetNrObj(), 0);
    EXPECT_EQ(factory.ScanObject(1), nullptr);
}

TEST(TObjFac, ScansInOrderOfRegistrationAndAcrossRemovals)
{
    Factory factory;
    int numbers[] = {10, 21, 32, 43, 54}, key = 3;
    for (int &number : numbers)
        factory.IncrRefc(&number);
    EXPECT_EQ(factory.reg->Get(tObjListFindObj, &key), nullptr);
    EXPECT_EQ(factory.reg->Get(tObjListFindObj, &numbers[2]), factory.reg->Get(2));
    EXPECT_EQ(factory.reg->Get(tObjListFindObjSameContent, &key), factory.reg->Get(3));
    EXPECT_EQ(TObjEl(&key).IsSameContent(&key), 1);
    EXPECT_EQ(TObjEl(&key).IsSameContent(&numbers[3]), 0);

    EXPECT_EQ(factory.scanned(1), (Numbers{10, 21, 32, 43, 54}));
    EXPECT_EQ(factory.ScanObject(0), nullptr);
    factory.DecrRefc(&numbers[4]);
    factory.IncrRefc(&numbers[4]);
    EXPECT_EQ(factory.scanned(0), Numbers{54});
    EXPECT_EQ(factory.ScanReset(), 0);
    EXPECT_EQ(factory.ScanObject(0), &numbers[0]);
    factory.DecrRefc(&numbers[0]);
    EXPECT_EQ(factory.GetCurrentScanObject(), nullptr);
    factory.DecrRefc(&numbers[2]);
    EXPECT_EQ(factory.scanned(0), (Numbers{21, 43, 54}));
    EXPECT_EQ(factory.SetCurrentScanObject(factory.reg->First()), 0);
    EXPECT_EQ(factory.scanned(0), (Numbers{43, 54}));
    factory.reg->Destroy();
    EXPECT_EQ(factory.GetCurrentScanObject(), nullptr);
    EXPECT_EQ(deleted, (Numbers{54, 10, 32, 21, 43, 54}));
}

// Its entries are deleted last to first, and each may still use the factory.
TEST(TObjFac, MayBeUsedByItsEntriesWhileItGoes)
{
    static TObjFac *current;
    struct Releasing : Entry {
        using Entry::Entry;
        ~Releasing() override { current->RemoveFromFactory(number() - 2); }
    };
    struct Chain : Factory {
        TObjEl *TObjFacCreateEl(void *obj) override { return new Releasing(obj); }
    };
    int numbers[] = {-2, -1, 0, 1, 2, 3, 4};
    {
        Chain chain;
        current = &chain;
        for (int i = 2; i < 7; ++i)
            chain.IncrRefc(&numbers[i]);
    }
    EXPECT_EQ(deleted, (Numbers{0, 2, 4, 1, 3}));
}

TEST(TObjFac, KeptStartsTheNumberOfARandomNameWithZero)
{
    Factory factory;
    char name[16] = "untouched";
    for (const int size : {9, 0, -1})
        EXPECT_EQ(factory.MakeRandomName("obj", name, size), -1);
    EXPECT_STREQ(name, "untouched");
    EXPECT_EQ(factory.MakeRandomName("obj", name, 10), 0);
    EXPECT_EQ(std::string(name).find_first_not_of("0123456789", 3), std::string::npos) << name;
    EXPECT_EQ(std::string(name).substr(0, 4) + std::to_string(std::string(name).size()), "obj09");

    // From these seeds the generator gives 0.1315378 and 1.
    for (const auto &[seed, expected] : {std::pair{16807, "013153"}, {739806647, "099999"}}) {
        random_kill(factory.gen);
        factory.gen = random_new(seed);
        EXPECT_EQ(factory.MakeRandomName("", name, 7), 0);
        EXPECT_STREQ(name, expected);
    }
}

}  // namespace
