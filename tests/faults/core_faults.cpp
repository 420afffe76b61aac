// What outlives a call when memory is short: hidden room, the registry, the queue of reports, the place in record text,
// a lost point, the tree for nearest points, how far a step may go, a tiling
#include "clg.h"
#include "dynar.h"
#include "faults/sweep.h"
#include "list.h"
#include "restriction.h"
#include "rom.h"
#include "str_zuk.h"
#include "tconvexhull.h"
#include "tetra.h"

using namespace teska_test;

namespace
{

constexpr const char *no_list = "list_new : Not enough resources to create list";
constexpr const char *no_room = "list_insert : Unable to extend list, insufficient resources";

TEST(HiddenRoom, IsDoneWithoutWhenMemoryIsShort)
{
    const std::shared_ptr<list_rec> list(list_new(1, 1, nullptr), list_kill);
    list_alloc(list.get(), 30);
    const std::shared_ptr<dynar> array(dynar_new(1, 1), dynar_kill);
    const auto touch = [&](int i) {
        return under_returning_host([&] { return dynar_ptr(array.get(), i); }) != nullptr;
    };
    touch(29);
    int injected = 0;
    for (unsigned i = 30; i < 100; ++i)
        for (const bool to_list : {true, false}) {
            arm(fault_kind::memory, 0, false);
            EXPECT_TRUE(to_list ? list_insert_index(list.get(), "a", i, 0) >= 0 : touch(static_cast<int>(i)));
            injected += disarm();
        }
    EXPECT_EQ(injected, 70 / 2 + 70) << "the list grows by two slots, the array by one item";
}

// There is one registry in the process, so its states are not a row's to set up: the steps follow each other, and run
// before any row. Each adds some, and then one more for which memory lacks; both lists have 10 places at first.
TEST(Rom, LeavesTheRegistryAsItIsWhenMemoryIsShort)
{
    std::vector<void *> plates;
    const auto add = [&](bool plate) {
        void *made = plate ? rom_obj_new(8, "plate") : rom_obj_malloc(plates[0], 8);
        if (plate && made != nullptr)
            plates.push_back(made);
        return made != nullptr;
    };
    const struct {
        bool plate;
        int count, allocation;
        lines reported;
    } steps[] = {{true, 0, 0, {no_list, "rom_init: malloc failed"}},
                 {true, 0, 1, {no_list, "rom_init: malloc failed"}},
                 {true, 10, 0, {"rom_obj_new: malloc of obj plate failed"}},
                 {true, 0, 1, {no_room, "rom_obj_new: insert of obj plate in objlist failed"}},
                 {false, 0, 0, {no_list, "rom_obj_malloc: objmem list create failed for plate"}},
                 {false, 0, 1, {no_list, "rom_obj_malloc: objmem list create failed for plate"}},
                 {false, 0, 2, {"rom_obj_malloc: malloc of 8 failed for plate"}},
                 {false, 10, 0, {"rom_obj_malloc: malloc of 8 failed for plate"}},
                 {false, 0, 1, {no_room, "rom_obj_malloc: insert of plate failed"}}};
    for (const auto &step : steps) {
        for (int i = 0; i < step.count; ++i)
            EXPECT_TRUE(add(step.plate));
        Reports reports;
        track_memory();
        arm(fault_kind::memory, step.allocation, false);
        EXPECT_FALSE(add(step.plate));
        EXPECT_EQ(disarm(), 1);
        EXPECT_EQ(live_blocks(), 0);
        EXPECT_EQ(reports.take(), step.reported);
        for (const void *plate : plates)
            EXPECT_EQ(rom_objtype_check(plate, "plate"), 1);
    }
    EXPECT_TRUE(add(true));
    EXPECT_TRUE(add(false));
    for (void *plate : plates) {
        rom_obj_kill(plate);
        std::free(plate);
    }
}

TEST(ErrorMess, KeptLosesTheLineAndQueuesTheListsComplaintWhenTheQueueCannotGrow)
{
    for (const bool sticky : {true, false}) {
        error_set(2);
        for (int i = 100; i < 150; ++i)
            error_mess_fl(std::to_string(i).c_str(), "", 0);
        arm(fault_kind::memory, 0, sticky);
        error_mess_fl("z", "", 0);
        EXPECT_EQ(disarm(), sticky ? 16 : 1) << "where nesting stops when memory stays short";
        // Descending order: the complaint of the list comes before the numbers.
        if (!sticky) {
            EXPECT_STREQ(error_get(), "ERROR : 'list_insert : Unable to extend list, insufficient resources'");
        }
        for (int i = 149; i >= 100; --i)
            EXPECT_EQ(error_get(), "ERROR : '" + std::to_string(i) + "'");
        EXPECT_EQ(error_get(), nullptr);
        error_mess_fl("z", "", 0);
        EXPECT_STREQ(error_get(), "ERROR : 'z'");
    }
    error_set(1);
}

TEST(ErrorSet, StaysInItsModeWhenTheQueueCannotBeMade)
{
    error_set(3);
    for (const int n : {0, 1}) {
        arm(fault_kind::memory, n, false);
        EXPECT_EQ(error_set(2), 3);
        EXPECT_EQ(disarm(), 1);
        EXPECT_EQ(error_get(), nullptr) << "the list's complaint is dropped";
        EXPECT_EQ(error_set(3), 3);
    }
    error_set(1);
}

TEST(ErrorSetThread, ChangesNothingWithoutMemoryAndThenReportsWithoutAny)
{
    error_set_thread(3);
    error_mess_fl("kept", "", 0);
    arm(fault_kind::memory, 0, true);
    EXPECT_EQ(error_set_thread(2), TESKA_ERROR_NO_MEMORY);
    EXPECT_EQ(disarm(), 1);
    EXPECT_STREQ(error_get(), "ERROR : 'kept'");
    EXPECT_EQ(error_set_thread(2), 3);
    arm(fault_kind::memory, 0, true);
    error_mess_fl("queued", "", 0);
    EXPECT_EQ(disarm(), 0);
    EXPECT_STREQ(error_get(), "ERROR : 'queued'");
    EXPECT_EQ(error_set_thread(TESKA_ERROR_PROCESS_WIDE), 2);
}

TEST(StrSearchZuk, AnswersWithoutMemoryAndThenKnowsNothing)
{
    for (const bool before : {false, true}) {
        const char *text = "[b]\nk=1\n[cc]\nk=2\n[b]\nk=3";
        char value[257];
        str_search_zuk_cache_reset();
        if (before)
            str_search_zuk(&text, "b", "k", value);
        arm(fault_kind::memory, 0, true);
        EXPECT_EQ(str_search_zuk(&text, "cc", "k", value), 1);
        EXPECT_EQ(disarm(), 1);
        EXPECT_STREQ(value, "2");
        EXPECT_EQ(str_search_zuk(&text, "b", "k", value), 1);
        EXPECT_STREQ(value, "1") << "searched from the start";
    }
}

TEST(TConvexHull, RemembersALostPoint)
{
    each_allocation(4, [](const auto &fire) {
        TConvexHull hull;
        fire();
        for (const double x : {0, 10})
            EXPECT_EQ(hull.AddPoint(x, 0, 0), 0);
        const bool fired = disarm() > 0;
        TConvexHull copy(hull);
        for (const double x : {0, 10})
            for (const double y : {0, 10})
                EXPECT_EQ(copy.AddPoint(x, y, y - x), 0);
        EXPECT_EQ(copy.Construct(), fired ? -1 : 0);
        EXPECT_TRUE(!fired || hull.Construct() == -1);
        EXPECT_EQ(hull.IsEmpty(), 0);
        return fired;
    });
}

TEST(TetraVolume, FindsTheSamePointWhenMemoryIsShort)
{
    each_allocation(4, [](const auto &fire) {
        const std::shared_ptr<tetra_volume> v(tetra_volume_new0(), tetra_volume_kill);
        for (double z = 0; z < 7; ++z) {
            const tetra_point p[] = {{0, 0, z, 0}, {1, 0, z, 1}, {0, 1, z, 2}};
            tetra_volume_add_plane(v.get(), p, p + 1, p + 2);
        }
        const double above[] = {0.2, 0.2, 99};
        double dist = 0;
        int plane = 0;
        fire();
        EXPECT_EQ(tetra_volume_nearest(v.get(), above, nullptr, &dist, &plane, nullptr), 0);
        const bool fired = disarm() > 0;
        EXPECT_EQ(tetra_volume_nearest(v.get(), above, nullptr, nullptr, &plane, nullptr), 0);
        EXPECT_EQ(plane, 6);
        EXPECT_EQ(dist, 93);
        return fired;
    });
}

// Without a restriction alpha says whether the step is free, 1, or memory was short.
TEST(Restriction, HoldsTheStepWhenMemoryIsShort)
{
    std::vector<double> half(41), start(40), step(40);  // x <= 0.5, of more coordinates than there is room for
    half[0] = step[0] = 1;
    half[40] = 0.5;
    const std::shared_ptr<restriction> limit(restriction_new(40, 0, nullptr, 1, half.data()), restriction_kill);
    Reports reports;
    each_allocation(2, [&](const auto &fire) {
        double alpha = 2;
        fire();
        const bool stopped =
            made(restriction_new_check(limit.get(), nullptr, start.data(), step.data(), &alpha), restriction_kill);
        const bool fired = disarm() > 0;
        EXPECT_EQ(stopped, !fired);
        EXPECT_EQ(alpha, fired ? 0 : 0.5);
        return fired;
    });
    const lines all = reports.take();
    EXPECT_EQ(std::set(all.begin(), all.end()), std::set<std::string>{"restriction_new: malloc failed"});
}

TEST(Clg, IsBuiltWholeOrNotAtAllWhenMemoryIsShort)
{
    const Reports quiet;
    each_allocation(8, [](const auto &fire) {
        const std::shared_ptr<clg> cube(clg_new(3, 3, 0, 1), clg_kill);
        for (int i = 0; i < 8; ++i) {
            const double corner[] = {i % 2 * 1.0, i / 2 % 2 * 1.0, i / 4 * 1.0};
            clg_add(cube.get(), corner, corner);
        }
        fire();
        const int built = clg_build(cube.get());
        const bool fired = disarm() > 0;
        EXPECT_EQ(built, fired ? -1 : 0);
        EXPECT_EQ(clg_num_cells(cube.get()), fired ? 0 : 6);
        return fired;
    });
}

}  // namespace
