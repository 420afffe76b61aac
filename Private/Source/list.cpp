// list - growable array of fixed-size elements (core)
//
// One record and one block. Slots 0 .. count - 1 hold elements; the rest is zero where no element has been:
//
//     |<- count ->|<- up to cap ->|<- 1 slot ->|<- up to room + 1 ->|
//     | elements  | free slots    | spare slot | hidden slots       |
//
// The spare slot is not counted in the capacity and is zero between calls. It ends every text that fills its slot, so
// that the order for texts never reads past the block, and it holds an element of the list's own while slots shift.
//
// The capacity grows by the promised steps. The hidden slots, always zero, let it do so without copying at every step
// (Support/room.h); seen from outside, a step into them is the same as one to a new block, so it clears the free slots.
//
// The four numbers are 16 bit wide and come first, in this order. Moving to a new block copies and only then lets go of
// the old one: a failure leaves the list as it was. Insertion O(log n) comparisons and O(n) bytes moved; appending n
// elements O(n).

#include "list.h"

#include "Support/memory.h"
#include "Support/report.h"
#include "Support/room.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>

using teska::heap_block;
using teska::roomy_block;

namespace
{

constexpr int default_capacity = 10;
constexpr unsigned max_slots = 65535;  // what the 16-bit fields can count

}  // namespace

struct list_rec {
    std::uint16_t count = 0;
    std::uint16_t ext = 0;      // slots added when an insertion finds the list full
    std::uint16_t cap = 0;      // slots, the spare one not counted
    std::uint16_t el_size = 0;  // bytes
    heap_block<char> data;
    list_order_fn order = nullptr;
    std::size_t room = 0;  // slots of the block, at least cap, the spare one not counted
};

namespace
{

char *slot(const list_rec &list, std::size_t index) { return list.data.get() + index * list.el_size; }

// The spare slot follows the others.
teska::item_layout layout(const list_rec &list) { return {.item_size = list.el_size, .after = list.el_size}; }

// Moves the elements to another block, and that one to `block`: an element given by the caller may lie in it, so it
// lives until the caller has copied. An empty block is reported.
bool move_to(list_rec &list, unsigned capacity, roomy_block &block)
{
    if (!block.data) {
        TESKA_ERR("list_insert : Unable to extend list, insufficient resources");
        return false;
    }
    std::memcpy(block.data.get(), list.data.get(), std::size_t{list.count} * list.el_size);
    list.data.swap(block.data);
    list.cap = static_cast<std::uint16_t>(capacity);
    list.room = block.room;
    return true;
}

// Grows to the wanted capacity, at most max_slots, which must hold `needed` slots; `former` as move_to leaves it.
bool grow(list_rec &list, unsigned wanted, unsigned needed, roomy_block &former)
{
    const unsigned capacity = std::min(wanted, max_slots);
    if (needed <= max_slots && capacity <= list.room) {
        std::memset(slot(list, list.count), 0,
                    std::size_t{list.cap} * list.el_size - std::size_t{list.count} * list.el_size);
        list.cap = static_cast<std::uint16_t>(capacity);
        return true;
    }
    if (needed <= max_slots)
        former = teska::ample_room(list.room, capacity, max_slots, layout(list));
    return move_to(list, capacity, former);
}

// While slots shift, an element of the list's own would change under the caller's pointer: it waits in the spare slot.
class settled_element
{
public:
    settled_element(const list_rec &list, const void *element) : list_(list), source_(element)
    {
        const std::less<const void *> before;
        in_block_ = !before(element, list.data.get()) && before(element, slot(list, list.cap));
        if (in_block_)
            source_ = std::memcpy(slot(list, list.cap), element, list.el_size);
    }
    settled_element(const settled_element &) = delete;
    settled_element &operator=(const settled_element &) = delete;
    ~settled_element()
    {
        if (in_block_)
            std::memset(slot(list_, list_.cap), 0, list_.el_size);
    }

    void store(std::size_t index) const { std::memcpy(slot(list_, index), source_, list_.el_size); }

private:
    const list_rec &list_;
    const void *source_;
    bool in_block_;
};

// Moves slots first .. first + n - 1 by one slot, up (+1) or down (-1).
void shift(const list_rec &list, std::size_t first, std::size_t n, int direction)
{
    char *from = slot(list, first);
    std::memmove(direction > 0 ? from + list.el_size : from - list.el_size, from, n * list.el_size);
}

// The halving step of list_pos_range: the answers at l and h are known to be zero and nonzero.
int halve(const list_rec &list, const void *key, int l, int h, list_order_fn fn)
{
    const auto at_or_after = [&](int i) { return fn(slot(list, static_cast<std::size_t>(i)), key) != 0; };
    while (h - l > 1) {
        const int mid = (l + h) / 2;
        if (!at_or_after(mid))
            l = mid;
        else if (!at_or_after(mid - 1))
            return mid;
        else
            h = mid;
    }
    return h;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

list_rec *list_new(int initial, unsigned size, list_order_fn fn) TESKA_NOTHROW
{
    auto slots = static_cast<std::uint16_t>(initial > 0 ? initial : default_capacity);
    if (slots == 0)
        slots = default_capacity;
    const auto el_size = static_cast<std::uint16_t>(size);

    auto list = teska::make_record<list_rec>();
    roomy_block block;
    if (list) {
        list->el_size = el_size;
        block = teska::exact_room(slots, layout(*list));
    }
    if (!block.data) {
        TESKA_ERR("list_new : Not enough resources to create list");
        return nullptr;
    }
    list->cap = list->ext = slots;
    list->data.swap(block.data);
    list->room = block.room;
    list->order = fn;
    return list.release();
}

int list_kill(list_rec *list) TESKA_NOTHROW
{
    teska::kill_record(list);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int list_insert(list_rec *list, const void *element) TESKA_NOTHROW
{
    roomy_block former;
    if (list->count >= list->cap && !grow(*list, unsigned{list->cap} + list->ext, list->count + 1U, former))
        return -1;
    // Without an order this is the count.
    const int pos = list_pos(list, element);
    const auto index = static_cast<std::size_t>(pos);

    const settled_element settled(*list, element);
    shift(*list, index, list->count - index, +1);
    settled.store(index);
    ++list->count;
    return pos;
}

int list_insert_index(list_rec *list, const void *element, unsigned index, int mode) TESKA_NOTHROW
{
    roomy_block former;
    if (list->count >= list->cap || index >= list->cap) {
        const unsigned through_index = std::min(index, max_slots) + 1;
        const unsigned wanted = std::max(unsigned{list->cap}, through_index) + list->ext;
        if (!grow(*list, wanted, std::max(list->count + 1U, through_index), former))
            return -1;
    }
    const settled_element settled(*list, element);
    if (mode > 0 && index < list->count)
        shift(*list, index, list->count - index, +1);
    else if (mode < 0)
        shift(*list, 1, index, -1);
    settled.store(index);
    // Kept: the modes that store over an existing slot count one more element as well.
    ++list->count;
    return static_cast<int>(index);
}

int list_changep(list_rec *list, int index, const void *element) TESKA_NOTHROW
{
    if (index < 0 || index >= list->count) {
        TESKA_ERR("list_changep : index out of bound");
        return -1;
    }
    std::memmove(slot(*list, static_cast<std::size_t>(index)), element, list->el_size);
    return index;
}

int list_rem_element(list_rec *list, int index) TESKA_NOTHROW
{
    if (index < 0 || index >= list->count)
        return 0;
    const auto following = static_cast<std::size_t>(index) + 1;
    shift(*list, following, list->count - following, -1);
    --list->count;
    return 0;
}

int list_alloc(list_rec *list, int capacity) TESKA_NOTHROW
{
    if (list->cap > capacity)
        return 0;
    // Kept: a new block also when the capacity stays the same. It has no hidden slots: the caller knows how many it
    // wants.
    const auto slots = static_cast<unsigned>(capacity);
    roomy_block block;
    if (slots <= max_slots)
        block = teska::exact_room(slots, layout(*list));
    return move_to(*list, slots, block) ? 0 : -1;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int list_pos_range(list_rec *list, const void *key, int lo, int hi, list_order_fn fn) TESKA_NOTHROW
{
    if (fn == nullptr)
        return list->count;
    if (list->count == 0)
        return 0;
    if (lo > hi)
        return lo;
    const auto at_or_after = [&](int i) { return fn(slot(*list, static_cast<std::size_t>(i)), key) != 0; };
    if (at_or_after(lo))
        return lo;
    if (!at_or_after(hi))
        return hi + 1;
    if (!at_or_after(hi - 1))
        return hi;
    return halve(*list, key, lo, hi, fn);
}

int list_pos(list_rec *list, const void *key) TESKA_NOTHROW
{
    return list_pos_range(list, key, 0, list->count - 1, list->order);
}

int list_search_el(list_rec *list, const void *key, list_equal_fn eq) TESKA_NOTHROW
{
    const auto matches = [&](int i) { return eq(slot(*list, static_cast<std::size_t>(i)), key) == 0; };
    if (list->order != nullptr) {
        // Kept: only the first position at or after the key is asked.
        const int pos = list_pos(list, key);
        return pos < list->count && matches(pos) ? pos : -1;
    }
    for (int i = 0; i < list->count; ++i)
        if (matches(i))
            return i;
    return -1;
}

void *list_get_element(list_rec *list, int index) TESKA_NOTHROW
{
    return index >= 0 && index < list->count ? slot(*list, static_cast<std::size_t>(index)) : nullptr;
}

int list_num(const list_rec *list) TESKA_NOTHROW { return list != nullptr ? list->count : 0; }

int list_get_num(const list_rec *list) TESKA_NOTHROW { return list->count; }

int list_get_ext(const list_rec *list) TESKA_NOTHROW { return list->ext; }

int list_get_el_size(const list_rec *list) TESKA_NOTHROW { return list->el_size; }
