// hash_tab_bench - look-ups of 8-byte keys beside std::unordered_map, one thread
//
// 100,000 random keys on either side, and as many that are not there. The peer hashes once as ours does, by a
// multiplication, and once by std::hash, which passes integers on as they are.

#include "hash_tab.h"

#include "support/pairs.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace
{

constexpr int keys_count = 100000;

std::uint64_t key_at(const void *bytes) { return *static_cast<const std::uint64_t *>(bytes); }

// Multiplicative hashing: the upper 31 bits of the product with 2^64 / golden ratio.
int mixed(std::uint64_t key) { return static_cast<int>(key * 0x9e3779b97f4a7c15U >> 33); }

int hash(int, const void *key) { return mixed(key_at(key)); }
int match(const void *stored, const void *key) { return key_at(stored) == key_at(key) ? 1 : 0; }
int empty(const void *slot) { return key_at(slot) == 0 ? 1 : 0; }

struct Mixed {
    std::size_t operator()(std::uint64_t key) const { return static_cast<std::size_t>(mixed(key)); }
};

using Table = std::unique_ptr<hash_tab, hash_tab *(*)(hash_tab *)>;
using Keys = std::vector<std::uint64_t>;

struct Data {
    Data() : table(hash_tab_new(keys_count, 8, 8, hash, match, empty, 0, nullptr), hash_tab_kill)
    {
        std::mt19937_64 random(1);
        with_mixed.reserve(keys_count);
        with_std.reserve(keys_count);
        for (int i = 0; i < keys_count; ++i) {
            present.push_back(random() | 1);
            absent.push_back(random() | 1);
            hash_tab_insert(table.get(), &present.back(), &i64(i));
            with_mixed[present.back()] = with_std[present.back()] = static_cast<std::uint64_t>(i);
        }
        std::shuffle(present.begin(), present.end(), random);
    }

    std::uint64_t &i64(int i)
    {
        value = static_cast<std::uint64_t>(i);
        return value;
    }

    Table table;
    std::unordered_map<std::uint64_t, std::uint64_t, Mixed> with_mixed;
    std::unordered_map<std::uint64_t, std::uint64_t> with_std;
    Keys present;
    Keys absent;
    std::uint64_t value = 0;
};

std::uint64_t ours(const Data &d, std::uint64_t key)
{
    std::uint64_t value = 0;
    return hash_tab_get(d.table.get(), &key, &value) >= 0 ? value : UINT64_MAX;
}

template <class Map>
std::uint64_t theirs(const Map &map, std::uint64_t key)
{
    const auto found = map.find(key);
    return found != map.end() ? found->second : UINT64_MAX;
}

template <class LookUp>
void add(const std::string &name, const Keys &keys, LookUp look_up)
{
    benchmark::RegisterBenchmark(name.c_str(), [=, &keys](benchmark::State &state) {
        for (auto _ : state) {
            std::uint64_t sum = 0;
            for (const std::uint64_t key : keys)
                sum += look_up(key);
            benchmark::DoNotOptimize(sum);
        }
        state.SetItemsProcessed(state.iterations() * keys_count);
    });
}

// Both must do the same work.
void check(const Data &d)
{
    for (const Keys *keys : {&d.present, &d.absent})
        for (const std::uint64_t key : *keys)
            if (ours(d, key) != theirs(d.with_mixed, key) || ours(d, key) != theirs(d.with_std, key)) {
                std::fprintf(stderr, "key %llx differs\n", static_cast<unsigned long long>(key));
                std::exit(1);
            }
}

}  // namespace

int main(int argc, char **argv)
{
    const Data data;
    check(data);
    const std::pair<const char *, const Keys *> cases[] = {{"present", &data.present}, {"absent", &data.absent}};
    for (const auto &[name, keys] : cases)
        for (const bool mixed_peer : {true, false}) {
            const std::string title = std::string(name) + (mixed_peer ? ", same hash" : ", peer with std::hash");
            add(title + "/ours", *keys, [&](std::uint64_t key) { return ours(data, key); });
            if (mixed_peer)
                add(title + "/peer", *keys, [&](std::uint64_t key) { return theirs(data.with_mixed, key); });
            else
                add(title + "/peer", *keys, [&](std::uint64_t key) { return theirs(data.with_std, key); });
        }
    return bench::run_pairs(argc, argv);
}
