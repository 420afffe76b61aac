#include "faults/sweep.h"

#include "error_mess.h"
#include "faults/injector.h"
#include "rom.h"
#include "tobjfac.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>

namespace teska_test
{

namespace
{

constexpr const char *no_list = "list_new : Not enough resources to create list";
constexpr const char *no_room = "list_insert : Unable to extend list, insufficient resources";

// Objects, and blocks of the first one.
struct Plates {
    Plates() { all.reserve(1000); }
    ~Plates()
    {
        for (void *plate : all) {
            rom_obj_kill(plate);
            std::free(plate);
        }
    }
    bool add()
    {
        if (void *plate = rom_obj_new(8, "plate"))
            return all.push_back(plate), true;
        return false;
    }
    bool add_block()
    {
        const bool added = rom_obj_malloc(all[0], 8) != nullptr;
        blocks += added ? 1 : 0;
        return added;
    }
    std::vector<void *> all;
    int blocks = 0;
};

std::string state(const Plates &plates)
{
    int known = 0;
    for (const void *plate : plates.all)
        known += rom_objtype_check(plate, "plate");
    return std::to_string(known) + ", " + std::to_string(plates.blocks);
}

// Adds up to the point where the list must grow: its allocation comes after that of the object or block.
template <bool (Plates::*add)()>
void fill(Plates &plates)
{
    const int mode = error_set(0);
    for (bool added = true; added; disarm()) {
        arm(fault_kind::memory, 1, true);
        added = (plates.*add)();
    }
    error_set(mode);
}

// There is one registry, so its state is not a row's to set up. This runs before the rows: at first there is none.
TEST(RomObjNew, LeavesTheRegistryAsItIsWhenMemoryIsShort)
{
    Plates plates;
    const lines failures[] = {{no_list, "rom_init: malloc failed"},
                              {no_list, "rom_init: malloc failed"},
                              {"rom_obj_new: malloc of obj plate failed"},
                              {no_room, "rom_obj_new: insert of obj plate in objlist failed"}};
    for (int i = 0; i < 4; ++i) {
        if (i == 2 && plates.add())
            fill<&Plates::add>(plates);
        const std::string before = state(plates);
        Reports reports;
        track_memory();
        arm(fault_kind::memory, i % 2, true);
        EXPECT_FALSE(plates.add());
        EXPECT_GE(disarm(), 1);
        EXPECT_EQ(live_blocks(), 0);
        EXPECT_EQ(reports.take(), failures[i]);
        EXPECT_EQ(state(plates), before);
    }
    EXPECT_TRUE(plates.add());
}

SweepRow giving_blocks(const char *name, void (*set_up)(Plates &plates), std::vector<SweepFailures> failures)
{
    using Owner = std::shared_ptr<Plates>;
    const auto make = [=] {
        Owner plates = std::make_shared<Plates>();
        plates->add();
        set_up(*plates);
        return plates;
    };
    return changing<Owner>(
        name, make, [](const Owner &plates) { return plates->add_block(); },
        [](const Owner &plates) { return state(*plates); }, std::move(failures));
}

struct Factory : TObjFac {
    using TObjFac::IncrRefc;
    TObjEl *TObjFacCreateEl(void *obj) override { return new (std::nothrow) TObjEl(obj); }
};

bool registers(Factory &factory)
{
    EXPECT_EQ(factory.IncrRefc(&factory), 0);
    EXPECT_EQ(factory.ScanObject(1), factory.GetNrObj() == 1 ? &factory : nullptr);
    return factory.GetNrObj() == 1;
}

// A factory that lacks a part may be used like any other.
bool make_factory()
{
    Factory factory;
    if (factory.ErrNo() == 0)
        return true;
    char name[8];
    const bool registered = registers(factory);
    EXPECT_TRUE(factory.MakeRandomName("", name, 7) == -1 || !registered) << "which part is it?";
    EXPECT_EQ(factory.GetCurrentScanObject() != nullptr, registered);
    EXPECT_EQ(factory.SetCurrentScanObject(nullptr) + factory.ScanReset(), 0);
    EXPECT_EQ(factory.RemoveFromFactory(factory.DecrRefc(&factory)), nullptr);
    EXPECT_EQ(factory.GetNrObj(), 0);
    return false;
}

using Shared = std::shared_ptr<Factory>;

const SweepRows rows({
    giving_blocks("rom_obj_malloc, the first", [](Plates &) {},
                  {{.count = 2, .once = {no_list, "rom_obj_malloc: objmem list create failed for plate"}},
                   {.count = 1, .once = {"rom_obj_malloc: malloc of 8 failed for plate"}}}),
    giving_blocks("rom_obj_malloc",
                  [](Plates &plates) {
                      plates.add_block();
                      fill<&Plates::add_block>(plates);
                  },
                  {{.count = 1, .once = {"rom_obj_malloc: malloc of 8 failed for plate"}},
                   {.count = 1, .once = {no_room, "rom_obj_malloc: insert of plate failed"}}}),
    {.name = "TObjFac",
     .make = [] { return SweepCase{.call = make_factory}; },
     .failures = {{.count = 1, .once = {}, .sticky = {"Random_new : allocation failed"}},
                  {.count = 1, .once = {"Random_new : allocation failed"}}}},
    changing<Shared>(
        "IncrRefc", [] { return std::make_shared<Factory>(); },
        [](const Shared &factory) { return registers(*factory); },
        [](const Shared &factory) { return std::to_string(factory->GetNrObj()); }, {{.count = 1, .once = {}}}),
});

}  // namespace

}  // namespace teska_test
