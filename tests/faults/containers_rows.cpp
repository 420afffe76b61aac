#include "cache.h"
#include "dynar.h"
#include "error_mess.h"
#include "faults/injector.h"
#include "faults/sweep.h"
#include "hash_tab.h"
#include "itemfifo.h"
#include "list.h"
#include "wem.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace teska_test
{

namespace
{

using Array = std::shared_ptr<dynar>;
using Fifo = std::shared_ptr<itemfifo>;
using Table = std::shared_ptr<hash_tab>;

// What the fatal exit says, which a host that returns from it reports as any other failure.
constexpr const char *fatal = "ERROR  : 'dynar_ptr: memory allocation failed'";

template <class Call>
auto under_returning_host(Call call)
{
    const wem_line_fn before = wem_set_errexit([](const char *line) { return error_mess_fl(line, "", 0); });
    const auto result = call();
    wem_set_errexit(before);
    return result;
}

SweepRow creating(const char *name, bool (*create)(), std::vector<SweepFailures> failures)
{
    return {.name = name, .make = [=] { return SweepCase{.call = create}; }, .failures = std::move(failures)};
}

bool touch(const Array &array, int index)
{
    return under_returning_host([&] { return dynar_ptr(array.get(), index); }) != nullptr;
}

// Four items of room, all in use.
Array full_array()
{
    Array array(dynar_new(1, 4), dynar_kill);
    std::memcpy(dynar_ptr(array.get(), 3), "a", 1);
    return array;
}

std::string items(const Array &array)
{
    const int count = dynar_nr_items(array.get());
    return std::to_string(count) + (count > 3 ? *static_cast<char *>(dynar_ptr(array.get(), 3)) : ' ');
}

// One partition without room.
Fifo full_fifo()
{
    Fifo fifo(itemfifo_new(1, 1), itemfifo_kill);
    itemfifo_put(fifo.get(), "a");
    return fifo;
}

int length(int, const void *key) { return static_cast<int>(std::strlen(static_cast<const char *>(key))); }
int equal(const void *stored, const void *key) { return length(0, stored) == length(0, key) ? 1 : 0; }

hash_tab *text_table() { return hash_tab_new(4, -2, -1, length, equal, nullptr, 0, nullptr); }

Table one_text()
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

// Longer than the pools' growth step; in slot 0 of 5.
const std::string long_text(5000, 'y');

const std::vector<SweepFailures> no_item = {{.count = 1, .once = {fatal}}};

const SweepRows rows({
    creating("dynar_new", [] { return made(dynar_new(3, 8), dynar_kill); },
             {{.count = 1, .once = {"dynar_new: Unable to create new dynar"}}}),
    changing<Array>(
        "dynar_ptr", full_array, [](const Array &array) { return touch(array, 9); }, items, no_item),
    creating("itemfifo_new", [] { return made(itemfifo_new(3, 8), itemfifo_kill); },
             {{.count = 1, .once = {"itemfifo_new: Unable to create new itemfifo"}}}),
    changing<Fifo>(
        "itemfifo_put", full_fifo, [](const Fifo &fifo) { return itemfifo_put(fifo.get(), "b") == 1; },
        [](const Fifo &fifo) { return std::to_string(itemfifo_nr_items(fifo.get())); },
        {{.count = 1, .once = {"itemfifo_put: unable to create new partition"}}}),
    creating("hash_tab_new, texts", [] { return made(text_table(), hash_tab_kill); },
             {{.count = 1, .once = {"Hash_tab_new : allocation failed"}},
              {.count = 1, .once = {"dynar_new: Unable to create new dynar"}},
              {.count = 1, .once = {}},
              {.count = 1, .once = {"dynar_new: Unable to create new dynar"}},
              {.count = 1, .once = {}},
              {.count = 2, .once = {"Hash_tab_new : allocation of table failed nr_items = 5"}}}),
    changing<Table>("hash_tab_insert, texts", one_text,
                    [](const Table &table) {
                        const char *text = long_text.c_str();
                        return gave(0, under_returning_host([&] { return hash_tab_insert(table.get(), text, text); }));
                    },
                    texts, {{.count = 2, .once = {fatal}}}),
    changing<Table>(
        "hash_tab_put, text", one_text,
        [](const Table &table) {
            return gave(1, under_returning_host([&] { return hash_tab_put(table.get(), "a", long_text.c_str()); }));
        },
        texts, no_item),
    creating("cache_new", [] { return made(cache_new(3, 4, 5, nullptr, nullptr, nullptr), cache_kill); },
             {{.count = 4, .once = {}}}),
});

TEST(HiddenRoom, IsDoneWithoutWhenMemoryIsShort)
{
    const std::shared_ptr<list_rec> list(list_new(1, 1, nullptr), list_kill);
    list_alloc(list.get(), 30);
    const Array array(dynar_new(1, 1), dynar_kill);
    touch(array, 29);
    int injected = 0;
    for (unsigned i = 30; i < 100; ++i)
        for (const bool to_list : {true, false}) {
            arm(fault_kind::memory, 0, false);
            EXPECT_TRUE(to_list ? list_insert_index(list.get(), "a", i, 0) >= 0 : touch(array, static_cast<int>(i)));
            injected += disarm();
        }
    EXPECT_EQ(injected, 70 / 2 + 70) << "the list grows by two slots, the array by one item";
}

}  // namespace

}  // namespace teska_test
