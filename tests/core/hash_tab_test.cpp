#include "hash_tab.h"

#include "support/generator.h"
#include "support/host.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

using teska_test::Host;
using teska_test::lines;
using teska_test::Reports;

namespace
{

using Table = std::unique_ptr<hash_tab, hash_tab *(*)(hash_tab *)>;

const char *full = "Hash_table  full ";

struct Calls {
    int match = 0;
    int empty = 0;
    bool operator==(const Calls &) const = default;
} calls;

int as_int(const void *bytes)
{
    int value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

int hash(int parameter, const void *key) { return as_int(key) * parameter; }
int match(const void *stored, const void *key) { return ++calls.match, as_int(stored) == as_int(key) ? 1 : 0; }
int empty(const void *slot) { return ++calls.empty, as_int(slot) == 0 ? 1 : 0; }

int text_hash(int, const void *key) { return static_cast<int>(std::strlen(static_cast<const char *>(key))); }
int text_match(const void *stored, const void *key)
{
    return std::strcmp(static_cast<const char *>(stored), static_cast<const char *>(key)) == 0 ? 1 : 0;
}

// Keys and data of 4 bytes; the hash is the key times the parameter.
Table numbers(int nr_items, int parameter = 1)
{
    return {hash_tab_new(nr_items, 4, 4, hash, match, empty, parameter, nullptr), hash_tab_kill};
}

// Texts are hashed by their length.
Table texts(int nr_items, int key_size, int data_size)
{
    return {hash_tab_new(nr_items, key_size, data_size, text_hash, text_match, nullptr, 0, nullptr), hash_tab_kill};
}

std::string get(const Table &table, const char *key)
{
    char text[70000] = "untouched";
    return hash_tab_get(table.get(), key, text) < 0 ? "-" : text;
}

// The table as it is described, slot by slot.
struct Model {
    struct Slot {
        int key = 0;
        int data = 0;
        bool deleted = false;
    };

    explicit Model(int size) : slots(static_cast<std::size_t>(size)) {}

    // The slot at which `stop` says so, or -1 after one round.
    template <class Stop>
    int walk(int key, Stop stop)
    {
        const int size = static_cast<int>(slots.size());
        const int home = size > 0 ? (key % size + size) % size : 0;
        const int step = home != 0 ? home : size == 13 ? 17 : 13;
        for (int n = 0, at = home; size > 0 && (n == 0 || at != home); ++n, at = (at + step) % size)
            if (const int answer = stop(slots[static_cast<std::size_t>(at)]); answer != 0)
                return answer > 0 ? at : -1;
        return -1;
    }

    int insert(int key, int data)
    {
        const int at = walk(key, [](const Slot &s) { return s.deleted || s.key == 0 ? 1 : 0; });
        if (at >= 0)
            slots[static_cast<std::size_t>(at)] = {key, data, false};
        return at;
    }

    int find(int key, Calls &made)
    {
        return walk(key, [&](const Slot &s) {
            if (s.deleted)
                return 0;
            ++made.match;
            if (s.key == key)
                return 1;
            ++made.empty;
            return s.key == 0 ? -1 : 0;
        });
    }

    std::vector<Slot> slots;
};

// One random operation of the first `kinds` on both; what they answer must be the same.
void operate(const Table &table, Model &model, int kinds, teska_test::Generator &random)
{
    const int size = static_cast<int>(model.slots.size());
    const int key = random.below(2 * size + 3) - 2;
    const int data = random.below(1000);
    const int index = random.below(size + 2) - 1;
    const bool inside = index >= 0 && index < size;
    Model::Slot none;
    Model::Slot &slot = inside ? model.slots[static_cast<std::size_t>(index)] : none;
    const int in_use = inside && !slot.deleted && slot.key != 0 ? 1 : 0;
    int found = -77;
    Calls expected;
    switch (random.below(kinds)) {
    case 0:
    case 1:
        ASSERT_EQ(hash_tab_insert(table.get(), &key, &data), model.insert(key, data));
        break;
    case 2:
        calls = {};
        ASSERT_EQ(hash_tab_get(table.get(), &key, &found), model.find(key, expected));
        ASSERT_EQ(calls, expected);
        break;
    case 3:
        if (const int at = model.find(key, expected); at >= 0)
            model.slots[static_cast<std::size_t>(at)].data = data;
        ASSERT_EQ(hash_tab_put(table.get(), &key, &data), model.find(key, expected));
        break;
    case 4: {
        const int at = model.find(key, expected);
        ASSERT_EQ(hash_tab_delete(table.get(), &key), at);
        if (at >= 0)
            model.slots[static_cast<std::size_t>(at)].deleted = true;
        break;
    }
    case 5:
        ASSERT_EQ(hash_tab_delete_index(table.get(), index), in_use);
        slot.deleted = slot.deleted || in_use != 0;
        break;
    case 6:
        ASSERT_EQ(hash_tab_put_index(table.get(), index, &data), in_use);
        slot.data = in_use != 0 ? data : slot.data;
        break;
    default:
        ASSERT_EQ(hash_tab_uninsert_index(table.get(), index), inside ? 1 : 0);
        slot.key = 0;
        slot.deleted = false;
    }
}

void expect_same(const Table &table, const Model &model)
{
    for (int i = -1; i <= static_cast<int>(model.slots.size()); ++i) {
        int key = -77;
        int data = -77;
        const int index = hash_tab_index(table.get(), i, &key, &data);
        if (i < 0 || i >= static_cast<int>(model.slots.size())) {
            EXPECT_TRUE(index == -1 && key == -77 && data == -77);
            continue;
        }
        const Model::Slot &slot = model.slots[static_cast<std::size_t>(i)];
        EXPECT_EQ(index, slot.deleted ? -1 : i);
        EXPECT_EQ(key, slot.deleted ? 0 : slot.key);
        EXPECT_EQ(data, slot.deleted ? 0 : slot.data);
    }
}

}  // namespace

TEST(HashTabNew, TakesThePrimeFromTwentyPercentMoreOn)
{
    const std::pair<int, int> cases[] = {
        {0, 0},   {1, 1},    {2, 2},     {3, 3},     {4, 5},     {5, 7},       {7, 11},        {10, 13},
        {12, 17}, {84, 101}, {100, 127}, {106, 127}, {107, 131}, {1000, 1201}, {10000, 12007}, {100000, 120011}};
    for (const auto &[items, slots] : cases) {
        int size = -1;
        const Table table(hash_tab_new(items, 4, 4, hash, match, empty, 1, &size), hash_tab_kill);
        EXPECT_EQ(size, slots) << items;
        EXPECT_EQ(hash_tab_nr_items(table.get()), slots);
    }
    EXPECT_EQ(hash_tab_kill(nullptr), nullptr);
}

TEST(HashTabNew, ReportsTablesThatCannotBeAllocated)
{
    Reports reports;
    int size = -1;
    for (const auto &[items, key_size, data_size] :
         {std::tuple{-5, 4, 4}, {INT_MIN, 4, 4}, {10, INT_MAX, 1}, {INT_MAX, INT_MAX, 0}}) {
        EXPECT_EQ(hash_tab_new(items, key_size, data_size, hash, match, empty, 1, &size), nullptr);
        EXPECT_EQ(std::exchange(size, -1), 0);
    }
    EXPECT_EQ(reports.take(), (lines{"Hash_tab_new : allocation of table failed nr_items = -2147483648",
                                     "Hash_tab_new : allocation of table failed nr_items = -6",
                                     "Hash_tab_new : allocation of table failed nr_items = 13",
                                     "Hash_tab_new : allocation of table failed nr_items = 2147483647"}));
}

TEST(HashTab, KeptDoesAsDescribedSlotBySlotAndAsksMatchBeforeEmpty)
{
    // Keys may be 0, which is found in empty slots, and negative, as hashes are then. A full table is often reached.
    for (const int items : {0, 1, 2, 3, 4, 5, 10, 20, 40}) {
        const Host host;
        teska_test::Generator random(static_cast<std::uint64_t>(items));
        const Table table = numbers(items);
        Model model(hash_tab_nr_items(table.get()));
        for (int i = 0; i < 6000 && !testing::Test::HasFatalFailure(); ++i) {
            // Without deleted slots the search takes another way.
            operate(table, model, i % 1000 < 300 ? 4 : 8, random);
            if (i % 1000 == 999) {
                expect_same(table, model);
                EXPECT_EQ(hash_tab_flush(table.get()), 1);
                model = Model(hash_tab_nr_items(table.get()));
            }
        }
        expect_same(table, model);
        const lines shown = Host::take();
        EXPECT_GT(shown.size(), 0U);
        EXPECT_EQ(shown, lines(shown.size(), full));
    }
}

TEST(HashTabGet, VisitsSlotsOfNoBytesToo)
{
    const auto no = [](const void *, const void *) { return ++calls.match, 0; };
    const auto never = [](const void *) { return ++calls.empty, 0; };
    const Table table(hash_tab_new(4, 0, 0, hash, no, never, 1, nullptr), hash_tab_kill);
    calls = {};
    const int key = 2;
    EXPECT_EQ(hash_tab_get(table.get(), &key, nullptr), -1);
    EXPECT_EQ(calls, (Calls{5, 5}));
}

TEST(HashTabInsert, KeptTellsApartNothingThatIsEqual)
{
    const Table table = numbers(10);
    for (const auto &[key, data, index] : {std::tuple{5, 1, 5}, {5, 2, 10}, {18, 3, 2}, {13, 4, 0}, {26, 5, 4}})
        EXPECT_EQ(hash_tab_insert(table.get(), &key, &data), index) << key;
    int data = 0;
    const int key = 5;
    EXPECT_EQ(hash_tab_get(table.get(), &key, &data), 5);
    EXPECT_EQ(data, 1) << "the first on the way";
    EXPECT_EQ(hash_tab_put(table.get(), &key, nullptr), 5);
    EXPECT_EQ(hash_tab_insert(table.get(), &key, nullptr), 7) << "on the way of three steps";
}

TEST(HashTabText, StandsInPoolsThatOnlyGrow)
{
    for (const int code : {-1, -2, -3}) {
        const Table table = texts(10, code, code);
        int widths[2];
        const char *slots = static_cast<char *>(hash_tab_tab(table.get(), &widths[0], &widths[1]));
        EXPECT_EQ(widths[0], code == -2 ? 4 : 2);
        EXPECT_EQ(widths[1], widths[0]);
        dynar *keys = hash_tab_keys(table.get());
        EXPECT_EQ(dynar_nr_items(keys), 1);

        const int index = hash_tab_insert(table.get(), "cyan", "blue");
        EXPECT_EQ(hash_tab_insert(table.get(), "magenta", nullptr), 7);
        EXPECT_EQ(dynar_nr_items(keys), 14);
        EXPECT_EQ(std::memcmp(dynar_ptr(keys, 0), "\0cyan\0magenta\0", 14), 0);
        EXPECT_EQ(slots[7 * 2 * widths[0]], 6) << "the offset of the second key";
        EXPECT_EQ(hash_tab_put(table.get(), "cyan", "a lighter blue"), index);
        EXPECT_EQ(hash_tab_put(table.get(), "black", "x"), -1);
        EXPECT_EQ(get(table, "cyan"), "a lighter blue");
        EXPECT_EQ(get(table, "magenta"), "") << "no data were given";
        EXPECT_EQ(get(table, "black"), "-");
        EXPECT_EQ(get(table, ""), "") << "Kept: the empty text is found in an empty slot";
        char key[10];
        char data[20];
        EXPECT_EQ(hash_tab_index(table.get(), index, key, data), index);
        EXPECT_EQ(std::string(key) + ':' + data, "cyan:a lighter blue");
    }
    EXPECT_EQ(hash_tab_keys(numbers(1).get()), nullptr);
}

TEST(HashTabText, MayLieInThePoolsThemselves)
{
    // Both pools move with the last insertion.
    const Table table = texts(10, -2, -2);
    const std::string long_text(5000, 'k');
    hash_tab_insert(table.get(), long_text.c_str(), "data");
    const auto *own = static_cast<const char *>(dynar_ptr(hash_tab_keys(table.get()), 1));
    EXPECT_EQ(hash_tab_insert(table.get(), own + 1, own), 4999 % 13);
    EXPECT_EQ(get(table, long_text.c_str() + 1), long_text);
}

TEST(HashTabText, IsRefusedWhenThePoolHasOutgrownItsOffsets)
{
    const Host host;
    const Table table = texts(10, -1, -1);
    const std::string half(32767, 'x');
    hash_tab_insert(table.get(), "a", half.c_str());
    EXPECT_EQ(hash_tab_put(table.get(), "a", half.c_str() + 2), 1) << "ends at 65534";
    EXPECT_EQ(hash_tab_insert(table.get(), "bb", "last"), 2) << "offset 65535";
    EXPECT_EQ(hash_tab_insert(table.get(), "ccc", "x"), -1);
    EXPECT_EQ(Host::take(), lines{full});
    EXPECT_EQ(hash_tab_put(table.get(), "a", "x"), -1);
    EXPECT_EQ(Host::take(), lines{});
    EXPECT_EQ(get(table, "a"), half.c_str() + 2);
    EXPECT_EQ(get(table, "bb"), "last");
    EXPECT_EQ(get(table, "ccc"), "-");
    EXPECT_EQ(dynar_nr_items(hash_tab_keys(table.get())), 6) << "no part of what was refused";
}

TEST(HashTabText, KeptIsNotDeletedAndRefusedInPartByTheNameOfPut)
{
    Reports reports;
    for (const auto &[key_size, data_size] : {std::pair{-1, 4}, {4, -1}}) {
        const Table table = texts(10, key_size, data_size);
        EXPECT_EQ(hash_tab_flush(table.get()), 0);
        EXPECT_EQ(hash_tab_delete(table.get(), "abc"), -1);
        EXPECT_EQ(hash_tab_delete_index(table.get(), -1), -1);
        EXPECT_EQ(hash_tab_put_index(table.get(), 99, "abcd"), -1);
        EXPECT_EQ(hash_tab_uninsert_index(table.get(), 99), -1);
        EXPECT_EQ(reports.take(), (lines{"hash_tab_delete: var keys and dats not implemented",
                                         "hash_tab_flush: var keys and dats not implemented",
                                         "hash_tab_put: var keys and dats not implemented",
                                         "hash_tab_put: var keys and dats not implemented",
                                         "hash_tab_uninsert_index: var keys and dats not implemented"}));
    }
}

TEST(HashTabNewset, RestoresWhatWasSavedButForDeletedMarks)
{
    const Table saved = numbers(4);
    for (const int key : {2, 3, 7})
        hash_tab_insert(saved.get(), &key, &key);
    const int key = 2;
    hash_tab_delete(saved.get(), &key);
    const Table restored(hash_tab_newset(1, 5, 4, 4, hash, match, empty, hash_tab_tab(saved.get(), nullptr, nullptr),
                                         nullptr, 0, nullptr, 0),
                         hash_tab_kill);
    int data = 0;
    EXPECT_EQ(hash_tab_get(saved.get(), &key, &data), -1);
    EXPECT_EQ(hash_tab_get(restored.get(), &key, &data), 2);
    EXPECT_EQ(data, 2);
}

TEST(HashTabNewset, KeptWritesNewTextsOverTheRestoredOnes)
{
    const Table saved = texts(4, -1, -1);
    hash_tab_insert(saved.get(), "abc", nullptr);
    hash_tab_insert(saved.get(), "de", nullptr);
    const char data_pool[] = "\0one\0two";
    auto *slots = static_cast<char *>(hash_tab_tab(saved.get(), nullptr, nullptr));
    slots[3 * 4 + 2] = 1;
    slots[2 * 4 + 2] = 5;
    dynar *keys = hash_tab_keys(saved.get());
    const Table table(hash_tab_newset(0, 5, -1, -1, text_hash, text_match, nullptr, slots, dynar_ptr(keys, 0),
                                      dynar_nr_items(keys), data_pool, sizeof data_pool - 1),
                      hash_tab_kill);
    EXPECT_EQ(get(table, "abc") + get(table, "de"), "onetwo") << "the last text ends with the pool";
    EXPECT_EQ(dynar_nr_items(hash_tab_keys(table.get())), 1);
    EXPECT_EQ(hash_tab_insert(table.get(), "f", "t"), 1);
    EXPECT_EQ(get(table, "f") + get(table, "abc"), "t-");
    EXPECT_EQ(get(table, "de"), "two");
    EXPECT_EQ(std::memcmp(dynar_ptr(hash_tab_keys(table.get()), 0), "\0f\0c\0de\0", 8), 0);
    slots[2 * 4 + 2] = 77;
    EXPECT_EQ(get(Table(hash_tab_newset(0, 5, -1, -1, text_hash, text_match, nullptr, slots, dynar_ptr(keys, 0),
                                        dynar_nr_items(keys), nullptr, INT_MIN),
                        hash_tab_kill),
                  "de"),
              "")
        << "no such offset";
}
