// Containers, objects, reports and record text when memory is short, where a sweep of single calls does not show it
#include "dynar.h"
#include "faults/sweep.h"
#include "hash_tab.h"
#include "list.h"
#include "rom.h"
#include "str_zuk.h"
#include "tobjfac.h"

#include <cstdlib>
#include <cstring>
#include <new>

using namespace teska_test;

namespace
{

constexpr const char *no_list = "list_new : Not enough resources to create list";
constexpr const char *no_room = "list_insert : Unable to extend list, insufficient resources";

// ---- Tables of texts

using Table = std::shared_ptr<hash_tab>;

int length(int, const void *key) { return static_cast<int>(std::strlen(static_cast<const char *>(key))); }
int equal(const void *stored, const void *key) { return length(0, stored) == length(0, key) ? 1 : 0; }

hash_tab *text_table() { return hash_tab_new(4, -2, -1, length, equal, nullptr, 0, nullptr); }

// Longer than the pools' growth step; in slot 0 of 5.
const std::string long_text(5000, 'y');

Table table_of_a_text()
{
    Table table(text_table(), hash_tab_kill);
    hash_tab_insert(table.get(), "a", "x");
    return table;
}

std::string texts(const Table &table)
{
    char data[2] = "";
    const int index = hash_tab_get(table.get(), "a", data);
    const int missing = hash_tab_get(table.get(), "12345", nullptr);
    return std::to_string(dynar_nr_items(hash_tab_keys(table.get()))) + data + std::to_string(index + 10 * missing);
}

TEST(HashTab, OfTextsIsUnchangedWhenMemoryIsShort)
{
    const auto none = [] { return 0; };
    const auto nothing = [](int) { return std::string(); };
    EXPECT_EQ(failures_of(
                  none, [](int) { return made(text_table(), hash_tab_kill); }, nothing),
              (Reported{{},
                        {"Hash_tab_new : allocation failed"},
                        {"dynar_new: Unable to create new dynar"},
                        {"Hash_tab_new : allocation of table failed nr_items = 5"}}));
    const Reported fatal{{"ERROR  : 'dynar_ptr: memory allocation failed'"}};
    const auto insert = [](const Table &table) {
        const auto call = [&] { return hash_tab_insert(table.get(), long_text.c_str(), long_text.c_str()); };
        return gave(0, under_returning_host(call));
    };
    const auto put = [](const Table &table) {
        return gave(1, under_returning_host([&] { return hash_tab_put(table.get(), "a", long_text.c_str()); }));
    };
    EXPECT_EQ(failures_of(table_of_a_text, insert, texts), fatal);
    EXPECT_EQ(failures_of(table_of_a_text, put, texts), fatal);
}

// ---- Objects

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

TEST(TObjFac, OfFewerPartsMayBeUsedLikeAnyOther)
{
    const auto none = [] { return 0; };
    EXPECT_EQ(failures_of(
                  none, [](int) { return make_factory(); }, [](int) { return std::string(); }),
              (Reported{{}, {"Random_new : allocation failed"}}));
}

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

// The queue itself is under test here: these tests arm the injector directly.
void fill_queue()
{
    error_set(2);
    for (int i = 100; i < 150; ++i)
        error_mess_fl(std::to_string(i).c_str(), "", 0);
}

int drain()
{
    int count = 0;
    while (error_get() != nullptr)
        ++count;
    return count;
}

TEST(ErrorMess, KeptLosesTheLineAndQueuesTheListsComplaintWhenTheQueueCannotGrow)
{
    fill_queue();
    arm(fault_kind::memory, 0, true);
    error_mess_fl("z", "", 0);
    EXPECT_EQ(disarm(), 16) << "where nesting stops when memory stays short";
    EXPECT_EQ(drain(), 50);
    error_mess_fl("z", "", 0);
    EXPECT_STREQ(error_get(), "ERROR : 'z'");
    drain();
    fill_queue();
    arm(fault_kind::memory, 0, false);
    error_mess_fl("z", "", 0);
    EXPECT_EQ(disarm(), 1);
    // Descending order: the complaint of the list comes before the numbers.
    EXPECT_STREQ(error_get(), "ERROR : 'list_insert : Unable to extend list, insufficient resources'");
    EXPECT_STREQ(error_get(), "ERROR : '149'");
    EXPECT_EQ(drain(), 49);
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

}  // namespace
