// hash_tab - hash table with open addressing and a fixed number of slots (core)
//
//     slot i:    | key part | data part |    at i * (key width + data width)
//     deleted:   | 0 or 1 | ...              one byte a slot
//     a pool:    | 0 | c y a n 0 | m a g e n t a 0 |     a part that is a text holds its offset: 1, 6
//
// The probe sequence of a key is home, home + step, home + 2 step .. modulo the size, with home = hash mod size and
// step = home; for home 0 the step is 13, or 17 in a table of 13 slots. The size of a new table is prime, so the
// sequence visits every slot once. At 100 items for 120 slots a search asks 2.4 slots on average when the key is there
// and 7.5 when it is not; which slots are asked, in which order and by which function, is promised. How fast one gets
// there is not: the remainder comes from a multiplication, the slots ahead are prefetched, and the deleted marks are
// not looked at while there are none.
//
// Pools are read by dynar_peek: dynar_ptr would make a restored pool longer than it counts, and texts would be appended
// elsewhere.

#include "hash_tab.h"

#include "Support/checked_size.h"
#include "Support/dynar_priv.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "wem.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

using namespace teska;

namespace
{

constexpr int pool_growth = 4096;  // bytes
constexpr int wide_offset = -2;    // the code for texts with offsets of 4 bytes
constexpr int head_room = 120;     // slots for 100 items
constexpr int least_prime = 4;     // numbers of slots below stay what they are
constexpr int slots_ahead = 4;     // fetched before they are asked; more gains nothing

using pool_handle = handle<dynar, dynar_kill>;

// n mod d by multiplications (Lemire, Kaser and Kurz, Faster remainder by direct computation, Software: Practice and
// Experience 49, 2019, p. 953): exact for all 32-bit n and d. The fraction n / d in 64 bits, times d, is the remainder
// in the bits above; where there are no integers of 128 bits its two halves are multiplied one by one.
class divisor
{
public:
    divisor() = default;
    explicit divisor(std::uint32_t d) : d_(d), inverse_(UINT64_MAX / d + 1) {}

    [[nodiscard]] std::uint32_t remainder(std::uint32_t n) const
    {
        const std::uint64_t fraction = inverse_ * n;
#ifdef __SIZEOF_INT128__
        __extension__ using wide = unsigned __int128;
        return static_cast<std::uint32_t>(wide{fraction} * d_ >> 64);
#else
        const std::uint64_t high = (fraction >> 32) * d_;
        const std::uint64_t low = (fraction & 0xffffffffU) * d_;
        return static_cast<std::uint32_t>((high + (low >> 32)) >> 32);
#endif
    }

private:
    std::uint32_t d_ = 1;
    std::uint64_t inverse_ = 0;
};

}  // namespace

struct hash_tab {
    int parameter = 0;  // for the hash function
    int size = 0;       // slots
    int slot_size = 0;  // bytes, as the widths
    int key_width = 0;
    int data_width = 0;
    heap_block<unsigned char> deleted;
    pool_handle key_pool;  // empty: keys are not texts
    pool_handle data_pool;
    hash_tab_hash_fn hash = nullptr;
    hash_tab_match_fn match = nullptr;
    hash_tab_empty_fn empty = nullptr;
    heap_block<char> slots;

    divisor by_size;
    int nr_deleted = 0;
};

namespace
{

// ---- Slots and their parts ------------------------------------------------------------------------------------------

struct part {
    int at;  // in the slot
    int width;
    dynar *pool;  // null: fixed bytes

    [[nodiscard]] std::size_t bytes() const { return static_cast<std::size_t>(width); }
};

part key_part(const hash_tab &table) { return {0, table.key_width, table.key_pool.get()}; }
part data_part(const hash_tab &table) { return {table.key_width, table.data_width, table.data_pool.get()}; }

bool is_pooled(const hash_tab &table) { return table.key_pool || table.data_pool; }
bool in_range(const hash_tab &table, int index) { return index >= 0 && index < table.size; }

char *slot(const hash_tab &table, int index) { return table.slots.get() + std::ptrdiff_t{index} * table.slot_size; }

bool is_deleted(const hash_tab &table, int index) { return table.nr_deleted != 0 && table.deleted[index] != 0; }

void mark(hash_tab &table, int index, bool as_deleted)
{
    unsigned char &flag = table.deleted[index];
    table.nr_deleted += int{as_deleted} - int{flag};
    flag = as_deleted ? 1 : 0;
}

std::uint32_t offset_of(const char *bytes, const part &p)
{
    if (p.width == 2) {
        std::uint16_t narrow;
        std::memcpy(&narrow, bytes, sizeof narrow);
        return narrow;
    }
    std::uint32_t offset;
    std::memcpy(&offset, bytes, sizeof offset);
    return offset;
}

// Zero-terminated, because pools end with a zero byte.
const char *text_of(const char *bytes, const part &p)
{
    const std::uint32_t offset = offset_of(bytes, p);
    const void *text = offset <= INT_MAX ? dynar_peek(p.pool, static_cast<int>(offset)) : nullptr;
    return text != nullptr ? static_cast<const char *>(text) : "";
}

// Whether a slot that is not deleted is empty.
bool is_empty(const hash_tab &table, int index)
{
    const char *bytes = slot(table, index);
    return table.key_pool ? offset_of(bytes, key_part(table)) == 0 : table.empty(bytes) != 0;
}

void read_part(const hash_tab &table, int index, const part &p, void *out)
{
    const char *bytes = slot(table, index) + p.at;
    if (p.pool != nullptr)
        std::strcpy(static_cast<char *>(out), text_of(bytes, p));
    else if (p.width == 8)
        std::memcpy(out, bytes, 8);  // the commonest width, without a call
    else
        std::memcpy(out, bytes, p.bytes());
}

void read_nothing(const part &p, void *out) { std::memset(out, 0, p.pool != nullptr ? 1 : p.bytes()); }

// ---- The probe sequence of a key ------------------------------------------------------------------------------------

class probe_sequence
{
public:
    // The table has slots.
    probe_sequence(const hash_tab &table, const void *key) : size_(static_cast<std::uint32_t>(table.size))
    {
        const int hash = table.hash(table.parameter, key);
        if (hash >= 0) {
            home_ = table.by_size.remainder(static_cast<std::uint32_t>(hash));
        } else {
            const int rest = hash % table.size;
            home_ = static_cast<std::uint32_t>(rest < 0 ? rest + table.size : rest);
        }
        step_ = home_;
        if (home_ == 0)
            step_ = (table.size == 13 ? 17U : 13U) % size_;
        at_ = home_;
    }

    [[nodiscard]] int at() const { return static_cast<int>(at_); }
    [[nodiscard]] std::size_t step() const { return step_; }

    // False when this comes round to home.
    bool advance()
    {
        at_ += step_;
        if (at_ >= size_)
            at_ -= size_;
        return at_ != home_;
    }

private:
    std::uint32_t size_;
    std::uint32_t home_;
    std::uint32_t step_;
    std::uint32_t at_;
};

// The slot of a key, or -1.
template <bool texts>
int find_among(const hash_tab &table, const void *key)
{
    probe_sequence probe(table, key);
    const part keys = key_part(table);
    do {
        if (is_deleted(table, probe.at()))
            continue;
        const char *bytes = slot(table, probe.at());
        // Kept: match first. It sees the bytes of empty slots too, and may take them for the key.
        if (table.match(texts ? text_of(bytes, keys) : bytes, key) != 0)
            return probe.at();
        if (texts ? offset_of(bytes, keys) == 0 : table.empty(bytes) != 0)
            return -1;
    } while (probe.advance());
    return -1;
}

// The same for fixed keys in slots of at least one byte, none of them deleted, which is the case that has to be fast:
// it goes by the bytes between slots and fetches ahead of what it asks.
[[gnu::always_inline]] inline int find_fixed(const hash_tab &table, const void *key)
{
    const probe_sequence probe(table, key);
    const auto slot_size = static_cast<std::size_t>(table.slot_size);
    const std::size_t end = static_cast<std::size_t>(table.size) * slot_size;
    const std::size_t home = static_cast<std::size_t>(probe.at()) * slot_size;
    const std::size_t step = probe.step() * slot_size;
    const char *slots = table.slots.get();
    const auto advance = [=](std::size_t &at) {
        at += step;
        at -= at >= end ? end : 0;
    };
    std::size_t fetched = home;
    const auto fetch = [&] {
        advance(fetched);
        __builtin_prefetch(slots + fetched);
    };
    for (int i = 0; i < slots_ahead; ++i)
        fetch();
    std::size_t at = home;
    do {
        fetch();
        // Kept: match first, as above.
        if (table.match(slots + at, key) != 0)
            return static_cast<int>(at / slot_size);
        if (table.empty(slots + at) != 0)
            return -1;
        advance(at);
    } while (at != home);
    return -1;
}

[[gnu::always_inline]] inline int find(const hash_tab &table, const void *key)
{
    if (table.size == 0)
        return -1;
    if (table.key_pool)
        return find_among<true>(table, key);
    return table.nr_deleted == 0 && table.slot_size > 0 ? find_fixed(table, key) : find_among<false>(table, key);
}

// The first slot of a key's probe sequence that is empty or deleted, or -1.
int find_free(const hash_tab &table, const void *key)
{
    if (table.size == 0)
        return -1;
    probe_sequence probe(table, key);
    do
        if (is_deleted(table, probe.at()) || is_empty(table, probe.at()))
            return probe.at();
    while (probe.advance());
    return -1;
}

// ---- Storing --------------------------------------------------------------------------------------------------------

enum class outcome { stored, no_room, no_memory };

// A key or data on the way into a slot, a text by way of its pool: first everything is made ready, then nothing fails.
class incoming
{
public:
    incoming(const part &p, const void *value) : part_(p), value_(value) {}

    outcome prepare()
    {
        if (value_ == nullptr || part_.pool == nullptr)
            return outcome::stored;
        const std::size_t length = std::strlen(static_cast<const char *>(value_));
        offset_ = dynar_nr_items(part_.pool);
        const int last_offset = part_.width == 2 ? UINT16_MAX : INT_MAX;
        if (offset_ > last_offset || length > static_cast<std::size_t>(INT_MAX - offset_))
            return outcome::no_room;
        length_ = static_cast<int>(length);
        return dynar_prepare(*part_.pool, offset_ + length_, extension_) ? outcome::stored : outcome::no_memory;
    }

    void store(char *slot_bytes)
    {
        if (value_ == nullptr)
            return;
        if (part_.pool == nullptr)
            std::memmove(slot_bytes + part_.at, value_, part_.bytes());
        else
            append(slot_bytes + part_.at);
    }

private:
    void append(char *bytes)
    {
        // The text may lie in the pool; its block, should it be a former one, lives as long as the extension.
        char *end = dynar_install(*part_.pool, offset_ + length_, extension_);
        std::memmove(end - length_, value_, static_cast<std::size_t>(length_));
        *end = '\0';
        if (part_.width == 2) {
            const auto narrow = static_cast<std::uint16_t>(offset_);
            std::memcpy(bytes, &narrow, sizeof narrow);
        } else {
            std::memcpy(bytes, &offset_, sizeof offset_);
        }
    }

    part part_;
    const void *value_;  // null: the part stays as it is
    int offset_ = 0;
    int length_ = 0;
    dynar_extension extension_;
};

outcome store(hash_tab &table, int index, const void *key, const void *data)
{
    incoming halves[] = {{key_part(table), key}, {data_part(table), data}};
    for (incoming &half : halves)
        if (const outcome ready = half.prepare(); ready != outcome::stored)
            return ready;
    for (incoming &half : halves)
        half.store(slot(table, index));
    return outcome::stored;
}

// ---- Creation -------------------------------------------------------------------------------------------------------

// The slots for a number of items: the first prime from 20 percent more on.
int slots_for(int nr_items)
{
    std::int64_t slots = std::int64_t{nr_items} * head_room / 100;
    const auto has_divisor = [](std::int64_t n) {
        std::int64_t d = 2;
        while (d * d <= n && n % d != 0)
            ++d;
        return d * d <= n;
    };
    while (slots >= least_prime && slots < INT_MAX && has_divisor(slots))
        ++slots;
    return static_cast<int>(std::clamp<std::int64_t>(slots, INT_MIN, INT_MAX));
}

int width_of(int code)
{
    if (code >= 0)
        return code;
    return code == wide_offset ? 4 : 2;
}

// Saved bytes; null: zeros.
struct image {
    const void *bytes;
    int size;
};

struct recipe {
    int parameter;
    int size;
    int key_size;
    int data_size;
    hash_tab_hash_fn hash;
    hash_tab_match_fn match;
    hash_tab_empty_fn empty;
    const void *slots;  // null: zeros
    image keys;
    image data;
};

// A pool with the image's size as its growth step. It is not worth the fatal exit: no table is lost yet.
bool add_pool(pool_handle &pool, const image &content)
{
    pool.reset(dynar_new(1, content.size));
    void *start = pool ? dynar_try_ptr(*pool, 0) : nullptr;
    if (start != nullptr && content.bytes != nullptr && content.size > 0)
        std::memcpy(start, content.bytes, static_cast<std::size_t>(content.size));
    return start != nullptr;
}

// Slots and marks, all zero.
bool add_slots(hash_tab &table)
{
    checked_size slot_size(static_cast<std::uint64_t>(table.key_width), INT_MAX);
    slot_size += static_cast<std::uint64_t>(table.data_width);
    if (table.size < 0 || !slot_size.valid())
        return false;
    table.slot_size = static_cast<int>(slot_size.get());
    checked_size bytes(static_cast<std::uint64_t>(table.size), PTRDIFF_MAX);
    bytes *= slot_size.get();
    if (!bytes.valid())
        return false;
    table.slots = zeroed_block<char>(bytes.get());
    if (table.slots)
        table.deleted = zeroed_block<unsigned char>(static_cast<std::size_t>(table.size));
    return table.deleted != nullptr;
}

hash_tab *create(const recipe &r)
{
    auto table = make_record<hash_tab>();
    if (!table) {
        TESKA_ERR("Hash_tab_new : allocation failed");
        return nullptr;
    }
    table->parameter = r.parameter;
    table->size = r.size;
    table->key_width = width_of(r.key_size);
    table->data_width = width_of(r.data_size);
    table->hash = r.hash;
    table->match = r.match;
    table->empty = r.empty;
    if (r.key_size < 0 && !add_pool(table->key_pool, r.keys))
        return nullptr;
    if (r.data_size < 0 && !add_pool(table->data_pool, r.data))
        return nullptr;
    if (!add_slots(*table)) {
        char line[WEM_LINE_SIZE];
        fmtstr(line, "Hash_tab_new : allocation of table failed nr_items = #", r.size);
        TESKA_ERR(line);
        return nullptr;
    }
    if (r.size > 0)
        table->by_size = divisor(static_cast<std::uint32_t>(r.size));
    if (r.slots != nullptr)
        std::memcpy(table->slots.get(), r.slots, static_cast<std::size_t>(slot(*table, r.size) - slot(*table, 0)));
    return table.release();
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

hash_tab *hash_tab_new(int nr_items, int key_size, int data_size, hash_tab_hash_fn hash, hash_tab_match_fn match,
                       hash_tab_empty_fn empty, int hash_parameter, int *table_size) TESKA_NOTHROW
{
    const int slots = slots_for(nr_items);
    const image no_texts{nullptr, pool_growth};
    hash_tab *table = create({.parameter = hash_parameter,
                              .size = slots,
                              .key_size = key_size,
                              .data_size = data_size,
                              .hash = hash,
                              .match = match,
                              .empty = empty,
                              .slots = nullptr,
                              .keys = no_texts,
                              .data = no_texts});
    if (table_size != nullptr)
        *table_size = table != nullptr ? slots : 0;
    return table;
}

hash_tab *hash_tab_newset(int hash_parameter, int table_size, int key_size, int data_size, hash_tab_hash_fn hash,
                          hash_tab_match_fn match, hash_tab_empty_fn empty, const void *slots, const void *key_pool,
                          int key_pool_bytes, const void *data_pool, int data_pool_bytes) TESKA_NOTHROW
{
    return create({.parameter = hash_parameter,
                   .size = table_size,
                   .key_size = key_size,
                   .data_size = data_size,
                   .hash = hash,
                   .match = match,
                   .empty = empty,
                   .slots = slots,
                   .keys = {key_pool, key_pool_bytes},
                   .data = {data_pool, data_pool_bytes}});
}

hash_tab *hash_tab_kill(hash_tab *table) TESKA_NOTHROW
{
    kill_record(table);
    return nullptr;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int hash_tab_flush(hash_tab *table) TESKA_NOTHROW
{
    if (is_pooled(*table)) {
        TESKA_ERR("hash_tab_flush: var keys and dats not implemented");
        return 0;
    }
    std::memset(table->slots.get(), 0, static_cast<std::size_t>(slot(*table, table->size) - slot(*table, 0)));
    std::memset(table->deleted.get(), 0, static_cast<std::size_t>(table->size));
    table->nr_deleted = 0;
    return 1;
}

int hash_tab_insert(hash_tab *table, const void *key, const void *data)
{
    const int index = find_free(*table, key);
    const outcome done = index < 0 ? outcome::no_room : store(*table, index, key, data);
    if (done == outcome::no_room)
        typefl("Hash_table  full ");
    if (done == outcome::no_memory)
        dynar_no_memory();
    if (done != outcome::stored)
        return -1;
    mark(*table, index, false);
    return index;
}

int hash_tab_put(hash_tab *table, const void *key, const void *data)
{
    const int index = find(*table, key);
    if (index < 0)
        return -1;
    const outcome done = store(*table, index, nullptr, data);
    if (done == outcome::no_memory)
        dynar_no_memory();
    return done == outcome::stored ? index : -1;
}

int hash_tab_delete(hash_tab *table, const void *key) TESKA_NOTHROW
{
    if (is_pooled(*table)) {
        TESKA_ERR("hash_tab_delete: var keys and dats not implemented");
        return -1;
    }
    const int index = find(*table, key);
    if (index >= 0)
        mark(*table, index, true);
    return index;
}

int hash_tab_delete_index(hash_tab *table, int index) TESKA_NOTHROW
{
    if (is_pooled(*table)) {
        // Kept: the line of put.
        TESKA_ERR("hash_tab_put: var keys and dats not implemented");
        return -1;
    }
    if (!in_range(*table, index) || is_deleted(*table, index) || is_empty(*table, index))
        return 0;
    mark(*table, index, true);
    return 1;
}

int hash_tab_uninsert_index(hash_tab *table, int index) TESKA_NOTHROW
{
    if (is_pooled(*table)) {
        TESKA_ERR("hash_tab_uninsert_index: var keys and dats not implemented");
        return -1;
    }
    if (!in_range(*table, index))
        return 0;
    std::memset(slot(*table, index), 0, key_part(*table).bytes());
    mark(*table, index, false);
    return 1;
}

int hash_tab_put_index(hash_tab *table, int index, const void *data) TESKA_NOTHROW
{
    if (is_pooled(*table)) {
        TESKA_ERR("hash_tab_put: var keys and dats not implemented");
        return -1;
    }
    if (!in_range(*table, index) || is_deleted(*table, index) || is_empty(*table, index))
        return 0;
    store(*table, index, nullptr, data);
    return 1;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int hash_tab_get(hash_tab *table, const void *key, void *data) TESKA_NOTHROW
{
    const int index = find(*table, key);
    if (index >= 0 && data != nullptr)
        read_part(*table, index, data_part(*table), data);
    return index;
}

int hash_tab_index(hash_tab *table, int index, void *key, void *data) TESKA_NOTHROW
{
    if (!in_range(*table, index))
        return -1;
    const bool deleted = is_deleted(*table, index);
    const auto hand_out = [&](const part &p, void *out) {
        if (deleted)
            read_nothing(p, out);
        else
            read_part(*table, index, p, out);
    };
    hand_out(key_part(*table), key);
    if (data != nullptr)
        hand_out(data_part(*table), data);
    return deleted ? -1 : index;
}

int hash_tab_nr_items(const hash_tab *table) TESKA_NOTHROW { return table->size; }

dynar *hash_tab_keys(hash_tab *table) TESKA_NOTHROW { return table->key_pool.get(); }

void *hash_tab_tab(hash_tab *table, int *key_width, int *data_width) TESKA_NOTHROW
{
    if (key_width != nullptr)
        *key_width = table->key_width;
    if (data_width != nullptr)
        *data_width = table->data_width;
    return table->slots.get();
}
