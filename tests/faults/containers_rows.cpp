#include "faults/sweep.h"

#include "cache.h"
#include "dynar.h"
#include "error_mess.h"
#include "faults/injector.h"
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

// What the fatal exit says, reported as any other failure by a host that returns from it.
constexpr const char *fatal = "ERROR  : 'dynar_ptr: memory allocation failed'";

class ReturningHost
{
public:
    ReturningHost() : before_(wem_set_errexit([](const char *line) { return error_mess_fl(line, "", 0); })) {}
    ReturningHost(const ReturningHost &) = delete;
    ReturningHost &operator=(const ReturningHost &) = delete;
    ~ReturningHost() { wem_set_errexit(before_); }

private:
    wem_line_fn before_;
};

SweepRow creating(const char *name, bool (*create)(), std::vector<SweepFailures> failures)
{
    const auto fresh = [=] { return SweepCase{.call = create}; };
    return {.name = name, .make = fresh, .failures = std::move(failures)};
}

using Array = std::shared_ptr<dynar>;
using Fifo = std::shared_ptr<itemfifo>;
using Table = std::shared_ptr<hash_tab>;

bool touch(const Array &array, int index)
{
    const ReturningHost host;
    return dynar_ptr(array.get(), index) != nullptr;
}

Array empty_array() { return {dynar_new(1, 4), dynar_kill}; }

// Four items of room, all in use.
Array full_array()
{
    Array array = empty_array();
    touch(array, 3);
    *static_cast<char *>(dynar_ptr(array.get(), 0)) = 'a';
    return array;
}

std::string items(const Array &array)
{
    const int count = dynar_nr_items(array.get());
    return std::to_string(count) + (count > 0 ? *static_cast<char *>(dynar_ptr(array.get(), 0)) : ' ');
}

// One partition without room.
Fifo full_partition()
{
    Fifo fifo(itemfifo_new(1, 1), itemfifo_kill);
    itemfifo_put(fifo.get(), "a");
    return fifo;
}

bool put(const Fifo &fifo) { return itemfifo_put(fifo.get(), "b") == 1; }

std::string count(const Fifo &fifo) { return std::to_string(itemfifo_nr_items(fifo.get())); }

int length(int, const void *key) { return static_cast<int>(std::strlen(static_cast<const char *>(key))); }
int equal(const void *stored, const void *key)
{
    return std::strcmp(static_cast<const char *>(stored), static_cast<const char *>(key)) == 0 ? 1 : 0;
}

hash_tab *text_table() { return hash_tab_new(4, -2, -1, length, equal, nullptr, 0, nullptr); }

hash_tab *restored_table()
{
    return hash_tab_newset(0, 5, -2, -1, length, equal, nullptr, nullptr, "\0a", 3, "\0b", 3);
}

template <hash_tab *(*create)()>
bool table_made()
{
    return made(create(), hash_tab_kill);
}

Table one_text()
{
    const ReturningHost host;
    Table table(text_table(), hash_tab_kill);
    hash_tab_insert(table.get(), "a", "x");
    return table;
}

std::string texts(const Table &table)
{
    char data[5000] = "-";
    std::string all = std::to_string(dynar_nr_items(hash_tab_keys(table.get())));
    for (const char *key : {"a", "bb"})
        all += hash_tab_get(table.get(), key, data) < 0 ? "-" : data;
    return all;
}

// Longer than the pools' growth step.
const std::string text(4500, 'y');

bool insert_texts(const Table &table)
{
    const ReturningHost host;
    return gave(0, hash_tab_insert(table.get(), text.c_str(), text.c_str()));
}

bool put_text(const Table &table)
{
    const ReturningHost host;
    return gave(1, hash_tab_put(table.get(), "a", text.c_str()));
}

const std::vector<SweepFailures> no_table = {
    {.count = 1, .once = {"Hash_tab_new : allocation failed"}},
    {.count = 1, .once = {"dynar_new: Unable to create new dynar"}},
    {.count = 1, .once = {}},
    {.count = 1, .once = {"dynar_new: Unable to create new dynar"}},
    {.count = 1, .once = {}},
    {.count = 2, .once = {"Hash_tab_new : allocation of table failed nr_items = 5"}}};

const std::vector<SweepFailures> no_item = {{.count = 1, .once = {fatal}}};

const SweepRows rows({
    creating("dynar_new", [] { return made(dynar_new(3, 8), dynar_kill); },
             {{.count = 1, .once = {"dynar_new: Unable to create new dynar"}}}),
    changing<Array>(
        "dynar_ptr, first", empty_array, [](const Array &array) { return touch(array, 2); }, items, no_item),
    changing<Array>(
        "dynar_ptr, beyond", full_array, [](const Array &array) { return touch(array, 9); }, items, no_item),
    creating("itemfifo_new", [] { return made(itemfifo_new(3, 8), itemfifo_kill); },
             {{.count = 1, .once = {"itemfifo_new: Unable to create new itemfifo"}}}),
    changing<Fifo>("itemfifo_put", full_partition, put, count,
                   {{.count = 1, .once = {"itemfifo_put: unable to create new partition"}}}),
    creating("hash_tab_new, texts", table_made<text_table>, no_table),
    creating("hash_tab_newset, texts", table_made<restored_table>, no_table),
    changing<Table>("hash_tab_insert, texts", one_text, insert_texts, texts, {{.count = 2, .once = {fatal}}}),
    creating("cache_new", [] { return made(cache_new(3, 4, 5, nullptr, nullptr, nullptr), cache_kill); },
             {{.count = 4, .once = {}}}),
    changing<Table>("hash_tab_put, text", one_text, put_text, texts, no_item),
});

TEST(HiddenRoom, IsDoneWithoutWhenMemoryIsShort)
{
    const std::shared_ptr<list_rec> list(list_new(1, 1, nullptr), list_kill);
    list_alloc(list.get(), 30);
    const Array array(dynar_new(1, 1), dynar_kill);
    touch(array, 29);
    const std::function<bool(int)> appending[] = {
        [&](int i) { return list_insert_index(list.get(), "a", static_cast<unsigned>(i), 0) == i; },
        [&](int i) { return touch(array, i); }};
    for (const auto &append : appending) {
        int injected = 0;
        for (int i = 30; i < 100; ++i) {
            arm(fault_kind::memory, 0, false);
            EXPECT_TRUE(append(i)) << i;
            injected += disarm();
        }
        EXPECT_GT(injected, 0);
    }
}

}  // namespace

}  // namespace teska_test
