// append_bench - appending to lists, arrays and queues beside the standard containers, one thread
//
// Each case appends n items of 8 bytes to an empty container that grows by 10. The rates of a container at 8,000,
// 16,000, 32,000 and 64,000 items are about the same when the time is in proportion to the number of items.

#include "support/pairs.h"

#include "dynar.h"
#include "itemfifo.h"
#include "list.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

namespace
{

using Item = std::uint64_t;

constexpr int step = 10;

// Each appends 0 .. n - 1 and returns the last item.

Item to_list(int n)
{
    list_rec *list = list_new(step, sizeof(Item), nullptr);
    for (int i = 0; i < n; ++i) {
        const auto item = static_cast<Item>(i);
        list_insert(list, &item);
    }
    const Item last = *static_cast<Item *>(list_get_element(list, list_num(list) - 1));
    list_kill(list);
    return last;
}

Item to_dynar(int n)
{
    dynar *array = dynar_new(sizeof(Item), step);
    for (int i = 0; i < n; ++i)
        *static_cast<Item *>(dynar_ptr(array, i)) = static_cast<Item>(i);
    const Item last = *static_cast<Item *>(dynar_ptr(array, dynar_nr_items(array) - 1));
    dynar_kill(array);
    return last;
}

Item to_itemfifo(int n)
{
    itemfifo *fifo = itemfifo_new(sizeof(Item), step);
    for (int i = 0; i < n; ++i) {
        const auto item = static_cast<Item>(i);
        itemfifo_put(fifo, &item);
    }
    Item last = static_cast<Item>(itemfifo_nr_items(fifo)) - 1;
    itemfifo_kill(fifo);
    return last;
}

template <class Container>
Item to_standard(int n)
{
    Container items;
    for (int i = 0; i < n; ++i)
        items.push_back(static_cast<Item>(i));
    benchmark::DoNotOptimize(&items.front());
    return items.back();
}

using Append = Item (*)(int);

void add(const std::string &name, Append append, int n)
{
    if (append(n) != static_cast<Item>(n) - 1) {
        std::fprintf(stderr, "%s: the last item differs\n", name.c_str());
        std::exit(1);
    }
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(append(n));
        state.SetItemsProcessed(state.iterations() * n);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    const struct {
        const char *name;
        Append ours, peer;
    } cases[] = {{"dynar", to_dynar, to_standard<std::vector<Item>>},
                 {"itemfifo", to_itemfifo, to_standard<std::deque<Item>>},
                 {"list", to_list, to_standard<std::vector<Item>>}};
    for (const auto &[name, ours, peer] : cases)
        for (const int thousands : {8, 16, 32, 64}) {
            const std::string title =
                std::string(name) + (thousands < 10 ? ",  " : ", ") + std::to_string(thousands) + ",000 items";
            add(title + "/ours", ours, 1000 * thousands);
            add(title + "/peer", peer, 1000 * thousands);
        }
    return bench::run_pairs(argc, argv);
}
