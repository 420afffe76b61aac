#include "cache.h"
#include "determinism/operations.h"
#include "dynar.h"
#include "hash_tab.h"
#include "itemfifo.h"
#include "list.h"
#include "str_zuk.h"

#include <cmath>
#include <cstring>

namespace teska_test
{

// A power of ten and a double within 40 of it, one between 0 and 16777216, one of any size, and a tie.
static const Operation item_texts("str_itemstr_from_double, 400000 numbers", [](Generator &input, Digest &digest) {
    for (int i = 0; i < 100000; ++i) {
        double power = 1;
        for (int k = input.below(309); k > 0; --k)
            power *= 10;
        double near = power;
        for (int k = input.below(40); k > 0; --k)
            near = std::nextafter(near, 0.0);
        const double fraction = input.unit();
        const std::uint64_t bits = input.next() & ~(std::uint64_t{1} << 52);  // finite
        double values[4] = {near, std::ldexp(fraction, input.below(25)), 0, (input.below(1 << 20) - (1 << 19)) / 16.0};
        std::memcpy(&values[2], &bits, sizeof bits);
        char text[4 * 312 + 1];
        str_itemstr_from_double(values, 4, text);
        digest.add(text, std::strlen(text));
    }
});

static int as_int(const void *bytes) { return *static_cast<const int *>(bytes); }
static int hash(int, const void *key) { return as_int(key); }
static int match(const void *stored, const void *key) { return as_int(stored) == as_int(key) ? 1 : 0; }
static int empty(const void *slot) { return as_int(slot) == 0 ? 1 : 0; }
static int at_or_after(const void *element, const void *key) { return as_int(element) >= as_int(key) ? 1 : 0; }
static int size_of(void *, int) { return static_cast<int>(sizeof(int)); }
static void load(void *, int id, void *destination) { std::memcpy(destination, &id, sizeof id); }

// What is looked up in common, goes through a queue and a cache of each one's own.
static const Operation containers("list, dynar and hash_tab, itemfifo and cache", [](Generator &input) {
    const auto list = shared(list_new(1, sizeof(int), at_or_after), list_kill);
    const auto array = shared(dynar_new(sizeof(int), 1), dynar_kill);
    const auto table =
        shared(hash_tab_new(200, sizeof(int), sizeof(int), hash, match, empty, 0, nullptr), hash_tab_kill);
    for (int i = 0; i < 200; ++i) {
        const int key = 1 + input.below(300);
        list_insert(list.get(), &key);
        *static_cast<int *>(dynar_ptr(array.get(), i)) = key;
        hash_tab_insert(table.get(), &key, &i);
    }
    return Operation::Run([=](Generator &at, Digest &digest) {
        const auto queue = shared(itemfifo_new(sizeof(int), 3), itemfifo_kill);
        const auto pages = shared(cache_new(300, 7, sizeof(int), size_of, load, nullptr), cache_kill);
        for (int i = 0; i < 500; ++i) {
            int key = 1 + at.below(300), found[] = {0, list_pos(list.get(), &key), i};
            hash_tab_get(table.get(), &key, found);
            itemfifo_put(queue.get(), &key);
            if (i % 3 > 0)
                itemfifo_get(queue.get(), &found[2]);
            digest.put(found, as_int(dynar_ptr(array.get(), i % 200)), as_int(cache_get(pages.get(), key)));
        }
    });
});

}  // namespace teska_test
