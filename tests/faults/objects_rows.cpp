#include "faults/injector.h"
#include "faults/sweep.h"
#include "rom.h"
#include "tobjfac.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace teska_test
{

namespace
{

std::vector<void *> plates;

bool add_plate()
{
    void *plate = rom_obj_new(8, "plate");
    if (plate != nullptr)
        plates.push_back(plate);
    return plate != nullptr;
}

bool add_block() { return rom_obj_malloc(plates[0], 8) != nullptr; }

// There is one registry in the process, so its states are not a row's to set up: the steps follow each other, and run
// before any row. Each adds some, and then one more for which memory lacks; both lists have 10 places at first.
TEST(Rom, LeavesTheRegistryAsItIsWhenMemoryIsShort)
{
    const std::string no_list = "list_new : Not enough resources to create list";
    const std::string no_room = "list_insert : Unable to extend list, insufficient resources";
    const struct {
        bool (*add)();
        int count;
        int allocation;
        lines reported;
    } steps[] = {{add_plate, 0, 0, {no_list, "rom_init: malloc failed"}},
                 {add_plate, 0, 1, {no_list, "rom_init: malloc failed"}},
                 {add_plate, 10, 0, {"rom_obj_new: malloc of obj plate failed"}},
                 {add_plate, 0, 1, {no_room, "rom_obj_new: insert of obj plate in objlist failed"}},
                 {add_block, 0, 0, {no_list, "rom_obj_malloc: objmem list create failed for plate"}},
                 {add_block, 0, 1, {no_list, "rom_obj_malloc: objmem list create failed for plate"}},
                 {add_block, 0, 2, {"rom_obj_malloc: malloc of 8 failed for plate"}},
                 {add_block, 10, 0, {"rom_obj_malloc: malloc of 8 failed for plate"}},
                 {add_block, 0, 1, {no_room, "rom_obj_malloc: insert of plate failed"}}};
    for (const auto &step : steps) {
        for (int i = 0; i < step.count; ++i)
            EXPECT_TRUE(step.add());
        Reports reports;
        track_memory();
        arm(fault_kind::memory, step.allocation, false);
        EXPECT_FALSE(step.add());
        EXPECT_EQ(disarm(), 1);
        EXPECT_EQ(live_blocks(), 0);
        EXPECT_EQ(reports.take(), step.reported);
        for (const void *plate : plates)
            EXPECT_EQ(rom_objtype_check(plate, "plate"), 1);
    }
    EXPECT_TRUE(add_plate() && add_block());
    for (void *plate : plates) {
        rom_obj_kill(plate);
        std::free(plate);
    }
}

// A factory that lacks a part may be used like any other.
bool make_factory()
{
    struct Factory : TObjFac {
        using TObjFac::IncrRefc;
        TObjEl *TObjFacCreateEl(void *obj) override { return new (std::nothrow) TObjEl(obj); }
    } factory;
    if (factory.ErrNo() == 0)
        return true;
    char name[8];
    EXPECT_EQ(factory.IncrRefc(&factory), 0);
    const bool registered = factory.GetNrObj() == 1;
    EXPECT_EQ(factory.ScanObject(1), registered ? &factory : nullptr);
    EXPECT_EQ(factory.GetCurrentScanObject() != nullptr, registered);
    EXPECT_TRUE(factory.MakeRandomName("", name, 7) == -1 || !registered) << "which part is it?";
    EXPECT_EQ(factory.SetCurrentScanObject(nullptr) + factory.ScanReset(), 0);
    EXPECT_EQ(factory.RemoveFromFactory(factory.DecrRefc(&factory)), nullptr);
    EXPECT_EQ(factory.GetNrObj(), 0);
    return false;
}

const SweepRows rows({{.name = "TObjFac",
                       .make = [] { return SweepCase{.call = make_factory}; },
                       .failures = {{.count = 1, .once = {}, .sticky = {"Random_new : allocation failed"}},
                                    {.count = 1, .once = {"Random_new : allocation failed"}}}}});

}  // namespace

}  // namespace teska_test
