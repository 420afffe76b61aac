#include "tobjfac.h"

#include "random.h"

#include <gtest/gtest.h>

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
    TObjEl *TObjFacCreateEl(void *obj) override { return *static_cast<int *>(obj) < 0 ? nullptr : new Entry(obj); }
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
    int numbers[] = {0, 1, 2, -1};
    EXPECT_EQ(factory.ErrNo(), 0);
    for (const int i : {0, 1, 0, 3, 2, 2, 2, 2, 2})
        EXPECT_EQ(factory.IncrRefc(&numbers[i]), 0);
    EXPECT_EQ(factory.GetNrObj(), 3);
    EXPECT_EQ(factory.GetRefc(&numbers[2]), 5);
    EXPECT_EQ(factory.GetRefc(&numbers[3]), 0);
    EXPECT_EQ(factory.DecrRefc(&numbers[0]), nullptr);
    EXPECT_EQ(factory.GetRefc(&numbers[0]), 1);
    EXPECT_EQ(factory.RemoveFromFactory(&numbers[2]), nullptr);
    for (int i : {0, 0, 2})
        factory.DecrRefc(&numbers[i]);
    EXPECT_EQ(deleted, (Numbers{2, 0}));
    EXPECT_EQ(factory.GetNrObj(), 1);

    auto *entry = static_cast<TObjEl *>(factory.reg->First());
    EXPECT_EQ(entry->RefCmm(), 0);
    EXPECT_TRUE(entry->NoRefs());
    factory.RemoveFromFactory(&numbers[1]);
    EXPECT_EQ(factory.GetNrObj(), 1) << "a count of 0 asks for nothing";
    entry->RefCmm();
    factory.RemoveFromFactory(&numbers[1]);
    EXPECT_EQ(factory.GetNrObj(), 0);
    EXPECT_EQ(TObjFac().ScanObject(1), nullptr);
}

TEST(TObjFac, ScansInOrderOfRegistrationAndAcrossRemovals)
{
    int numbers[] = {10, 21, 32, 43, 54}, key = 3;
    {
        Factory factory;
        for (int &number : numbers)
            factory.IncrRefc(&number);
        EXPECT_EQ(factory.reg->Get(tObjListFindObj, &key), nullptr);
        EXPECT_EQ(factory.reg->Get(tObjListFindObj, &numbers[2]), factory.reg->Get(2));
        EXPECT_EQ(factory.reg->Get(tObjListFindObjSameContent, &key), factory.reg->Get(3));
        EXPECT_EQ(TObjEl(&key).IsSameContent(&key), 1);
        EXPECT_EQ(TObjEl(&key).IsSameContent(&numbers[3]), 0);

        for (const int restart : {0, 1})
            EXPECT_EQ(factory.scanned(restart), (Numbers{10, 21, 32, 43, 54}));
        factory.DecrRefc(&numbers[4]);
        factory.IncrRefc(&numbers[4]);
        EXPECT_EQ(factory.scanned(0), Numbers{54}) << "goes on when others have come";
        EXPECT_EQ(factory.ScanReset(), 0);
        EXPECT_EQ(factory.ScanObject(0), &numbers[0]);
        factory.DecrRefc(&numbers[0]);
        factory.DecrRefc(&numbers[2]);
        EXPECT_EQ(factory.scanned(0), (Numbers{21, 43, 54}));
        EXPECT_EQ(factory.SetCurrentScanObject(factory.reg->First()), 0);
        EXPECT_EQ(factory.scanned(0), (Numbers{43, 54}));
        factory.reg->Destroy();
        EXPECT_EQ(factory.GetCurrentScanObject(), nullptr);
        factory.IncrRefc(&numbers[1]);
        factory.IncrRefc(&numbers[0]);
    }
    EXPECT_EQ(deleted, (Numbers{54, 10, 32, 21, 43, 54, 10, 21})) << "the last ones last to first";
}

TEST(TObjFac, KeptStartsTheNumberOfARandomNameWithZero)
{
    Factory factory;
    char name[16] = "untouched";
    for (const int size : {9, 0, -1})
        EXPECT_EQ(factory.MakeRandomName("obj", name, size), -1);
    EXPECT_STREQ(name, "untouched");
    // From these seeds the generator gives 0.1315378 and 1.
    for (const auto &[seed, expected] : {std::pair{16807, "obj013153"}, {739806647, "obj099999"}}) {
        random_kill(factory.gen);
        factory.gen = random_new(seed);
        EXPECT_EQ(factory.MakeRandomName("obj", name, 10), 0);
        EXPECT_STREQ(name, expected);
    }
}

}  // namespace
