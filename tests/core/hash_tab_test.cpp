#include "hash_tab.h"

#include "support/host.h"
#include "support/test.h"

using teska_test::Host, teska_test::lines, teska_test::Reports;

namespace
{

using Table = std::unique_ptr<hash_tab, hash_tab *(*)(hash_tab *)>;

int as_int(const void *bytes) { return *static_cast<const int *>(bytes); }
int hash(int parameter, const void *key) { return as_int(key) * parameter; }
int match(const void *stored, const void *key) { return as_int(stored) == as_int(key) ? 1 : 0; }
int empty(const void *slot) { return as_int(slot) == 0 ? 1 : 0; }

// Texts are hashed by their length.
const char *as_text(const void *bytes) { return static_cast<const char *>(bytes); }
int text_hash(int, const void *key) { return static_cast<int>(std::strlen(as_text(key))); }
int text_match(const void *stored, const void *key) { return std::strcmp(as_text(stored), as_text(key)) == 0 ? 1 : 0; }

Table numbers(int nr_items, int *size = nullptr)
{
    return {hash_tab_new(nr_items, sizeof(int), sizeof(int), hash, match, empty, 1, size), hash_tab_kill};
}

Table texts(int key_size, int data_size)
{
    return {hash_tab_new(10, key_size, data_size, text_hash, text_match, nullptr, 0, nullptr), hash_tab_kill};
}

std::string get(const Table &table, const char *key)
{
    char text[70000];
    return hash_tab_get(table.get(), key, text) < 0 ? "-" : text;
}

}  // namespace

TEST(HashTabNew, TakesThePrimeFromTwentyPercentMoreOnAndFillsToTheLastSlot)
{
    const int cases[][2] = {{0, 0},   {1, 1},   {2, 2},   {3, 3},     {4, 5},      {5, 7},
                            {10, 13}, {12, 17}, {20, 29}, {100, 127}, {1000, 1201}};
    for (const auto &[items, slots] : cases) {
        const Host host;
        int size = -1;
        const Table table = numbers(items, &size);
        EXPECT_EQ(size, slots);
        // All come from the home slot 1, or 0 in the table of one slot.
        int key = 1;
        for (int i = 0; i < slots; ++i, key += slots)
            EXPECT_EQ(hash_tab_insert(table.get(), &key, &i), slots > 1 ? (i + 1) % slots : 0);
        const int last = key - slots;
        EXPECT_EQ(hash_tab_put(table.get(), &last, &last), slots > 0 ? 0 : -1);
        EXPECT_EQ(hash_tab_insert(table.get(), &key, nullptr), -1);
        EXPECT_EQ(Host::take(), lines{"Hash_table  full "});
        EXPECT_EQ(hash_tab_nr_items(table.get()), slots);
        EXPECT_EQ(hash_tab_get(table.get(), &key, nullptr), -1);
        // A deleted slot ends no search either.
        const int first = 1;
        EXPECT_EQ(hash_tab_delete(table.get(), &first), slots > 1 ? 1 : slots - 1);
        EXPECT_EQ(hash_tab_get(table.get(), &key, nullptr), -1);
    }
}

TEST(HashTabNew, ReportsTablesThatCannotBeAllocated)
{
    Reports reports;
    const int cases[][3] = {
        {-5, 4, -6}, {INT_MIN, 4, INT_MIN}, {1, INT_MAX, 1}, {10, INT_MAX, 13}, {INT_MAX, INT_MAX, INT_MAX}};
    for (const auto &[items, key_size, slots] : cases) {
        int size = -1;
        EXPECT_EQ(reports.refusal(hash_tab_new(items, key_size, 1, hash, match, empty, 1, &size)),
                  "Hash_tab_new : allocation of table failed nr_items = " + std::to_string(slots));
        EXPECT_EQ(size, 0);
    }
}

TEST(HashTab, KeptDoesAsDescribedStepByStep)
{
    const Table table = numbers(10);
    // "action key=result:data": insert, get, put, delete by a key; eXclude, uninsert, replace, see by an index. What is
    // stored is the number of the step; nothing is seen without data. A key's slots are home, 2 home, 3 home .. mod 13;
    // of home 0: 0, 4, 8 ..
    std::istringstream steps("i5=5 i5=10 i18=2 i13=0 i26=4 i-3=7 g5=5:0 g18=2:2 g26=4:4 g6=-1 g0=8:0 g-3=7:5 p18=2 "
                             "p6=-1 g18=2:12 d5=5 g5=10:1 g18=2:12 d6=-1 x5=0 r5=0 s5=-1:0 i31=5 g31=5:22 x8=0 r8=0 "
                             "x10=1 x13=0 x-1=0 g5=-1 g18=2:12 u10=1 g18=-1 s10=10:1 u13=0 r2=1 s2=2:35 s13=-1 s-1=-1 "
                             "r-1=0 i44=10 x10=1 i57=10 s10=10:42 g13=0:3 d13=0 s0=-1:0 ");
    hash_tab *t = table.get();
    char action = 0, mark = 0;
    for (int key = 0, result = 0, number = 0; steps >> action >> key >> mark >> result; ++number) {
        int data = 99, seen = 99, seen_key = 0;
        if (steps.get() == ':')
            steps >> data;
        const int given = action == 'i'   ? hash_tab_insert(t, &key, &number)
                          : action == 'g' ? hash_tab_get(t, &key, &seen)
                          : action == 'p' ? hash_tab_put(t, &key, &number)
                          : action == 'd' ? hash_tab_delete(t, &key)
                          : action == 'x' ? hash_tab_delete_index(t, key)
                          : action == 'u' ? hash_tab_uninsert_index(t, key)
                          : action == 'r' ? hash_tab_put_index(t, key, &number)
                                          : hash_tab_index(t, key, &seen_key, &seen);
        EXPECT_EQ(given, result) << "step " << number;
        EXPECT_EQ(seen, data) << "step " << number;
    }
    EXPECT_EQ(hash_tab_flush(t), 1);
    EXPECT_EQ(std::string(as_text(hash_tab_tab(t, nullptr, nullptr)), 13 * 8), std::string(13 * 8, '\0'));
}

TEST(HashTabText, IsKeptInPoolsThatOnlyGrow)
{
    for (const int code : {-1, -2, -3}) {
        const Table table = texts(code, code);
        int widths[2];
        const char *slots = static_cast<char *>(hash_tab_tab(table.get(), &widths[0], &widths[1]));
        EXPECT_EQ(widths[0], code == -2 ? 4 : 2);
        EXPECT_EQ(widths[1], widths[0]);
        const int index = hash_tab_insert(table.get(), "cyan", "blue");
        EXPECT_EQ(hash_tab_insert(table.get(), "magenta", nullptr), 7);
        dynar *keys = hash_tab_keys(table.get());
        EXPECT_EQ(dynar_nr_items(keys), 14);
        EXPECT_EQ(std::memcmp(dynar_ptr(keys, 0), "\0cyan\0magenta\0", 14), 0);
        const std::uint16_t narrow = 6;  // the offset of the second key
        const std::uint32_t wide = 6;
        EXPECT_EQ(std::memcmp(slots + 7 * 2 * widths[0], code == -2 ? static_cast<const void *>(&wide) : &narrow,
                              static_cast<std::size_t>(widths[0])),
                  0);
        EXPECT_EQ(hash_tab_put(table.get(), "cyan", "a lighter blue"), index);
        EXPECT_EQ(hash_tab_put(table.get(), "black", "x"), -1);
        EXPECT_EQ(get(table, "cyan") + get(table, "magenta") + get(table, "black"), "a lighter blue-");
        EXPECT_EQ(get(table, ""), "") << "Kept: found in an empty slot";
        char key[10], data[20];
        EXPECT_EQ(hash_tab_index(table.get(), index, key, data), index);
        EXPECT_EQ(std::string(key) + ':' + data, "cyan:a lighter blue");
    }
    EXPECT_EQ(hash_tab_keys(numbers(1).get()), nullptr);
}

TEST(HashTabText, MayLieInThePoolsThemselves)
{
    // Both pools move with the second insertion.
    const Table table = texts(-2, -2);
    const std::string text(5000, 'k');
    hash_tab_insert(table.get(), text.c_str(), "data");
    const auto *own = static_cast<const char *>(dynar_ptr(hash_tab_keys(table.get()), 1));
    EXPECT_EQ(hash_tab_insert(table.get(), own + 1, own), 4999 % 13);
    EXPECT_EQ(get(table, text.c_str() + 1), text);
}

TEST(HashTabText, IsRefusedWhenThePoolHasOutgrownItsOffsets)
{
    const Host host;
    const Table table = texts(-1, -1);
    const std::string half(32767, 'x');
    hash_tab_insert(table.get(), "a", half.c_str());
    EXPECT_EQ(hash_tab_put(table.get(), "a", half.c_str() + 2), 1) << "ends at 65534";
    EXPECT_EQ(hash_tab_insert(table.get(), "bb", ""), 2) << "at 65535, the last offset";
    EXPECT_EQ(hash_tab_insert(table.get(), "ccc", "x"), -1);
    EXPECT_EQ(Host::take(), lines{"Hash_table  full "});
    EXPECT_EQ(hash_tab_put(table.get(), "a", "x"), -1);
    EXPECT_EQ(Host::take(), lines{});
    EXPECT_EQ(get(table, "a") + get(table, "bb") + get(table, "ccc"), half.substr(2) + "-");
    EXPECT_EQ(dynar_nr_items(hash_tab_keys(table.get())), 6) << "no part of what was refused";
}

TEST(HashTabText, KeptIsRefusedInPartByTheNameOfPut)
{
    Reports reports;
    for (const auto &[key_size, data_size] : {std::pair{-1, 4}, {4, -1}}) {
        const Table table = texts(key_size, data_size);
        EXPECT_EQ(hash_tab_flush(table.get()), 0);
        EXPECT_EQ(hash_tab_delete(table.get(), "abc"), -1);
        EXPECT_EQ(hash_tab_uninsert_index(table.get(), 99), -1);
        EXPECT_EQ(reports.take(), (lines{"hash_tab_delete: var keys and dats not implemented",
                                         "hash_tab_flush: var keys and dats not implemented",
                                         "hash_tab_uninsert_index: var keys and dats not implemented"}));
        EXPECT_EQ(hash_tab_delete_index(table.get(), -1), -1);
        EXPECT_EQ(hash_tab_put_index(table.get(), 99, "abcd"), -1);
        EXPECT_EQ(reports.take(), lines(2, "hash_tab_put: var keys and dats not implemented"));
    }
}

TEST(HashTabNewset, KeptForgetsDeletedMarksAndWritesNewTextsOverTheRestoredOnes)
{
    const Table saved = numbers(4);
    const int number = 2;
    hash_tab_insert(saved.get(), &number, &number);
    hash_tab_delete(saved.get(), &number);
    const void *slots = hash_tab_tab(saved.get(), nullptr, nullptr);
    const Table restored(hash_tab_newset(1, 5, 4, 4, hash, match, empty, slots, nullptr, 0, nullptr, 0), hash_tab_kill);
    EXPECT_EQ(hash_tab_get(restored.get(), &number, nullptr), 2);

    // Slots 2 to 4: "de" with an offset past the pool, "abc" and "four" with texts.
    const unsigned short offsets[5][2] = {{0, 0}, {0, 0}, {5, 77}, {1, 1}, {8, 5}};
    const Table table(
        hash_tab_newset(0, 5, -1, -1, text_hash, text_match, nullptr, offsets, "\0abc\0de\0four", 12, "\0one\0two", 8),
        hash_tab_kill);
    EXPECT_EQ(get(table, "de") + get(table, "abc") + get(table, "four"), "onetwo") << "texts end with their pool";
    EXPECT_EQ(dynar_nr_items(hash_tab_keys(table.get())), 1);
    EXPECT_EQ(hash_tab_insert(table.get(), "f", "t"), 1);
    EXPECT_EQ(get(table, "f") + get(table, "abc") + get(table, "four"), "t-two");
    EXPECT_EQ(std::memcmp(dynar_ptr(hash_tab_keys(table.get()), 0), "\0f\0c\0de\0four", 13), 0);
}
