// rom - registry of live objects by type, with memory that goes with them (core)
//
// Two kinds of sorted lists, both in descending order of address:
//
//     registry:  { object, type name, memory list or null }  { object, type name, .. }  ..
//     memory:    { block }  { block }  ..                       one list for each object that ever asked for a block
//
// The order function reads the pointer at the start of an element, which both kinds have in common, and the position
// that list_pos finds for an address is that of its element when there is one. The newest of equal addresses comes
// first.
//
// A lookup costs O(log n); registering and removing move the entries after the place. Process-wide state: the registry,
// guarded by its lock, which every function holds from its start to its end.

#include "rom.h"

#include "Support/lasting.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "list.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace
{

constexpr int initial_capacity = 10;
constexpr int mismatch_level = 999;      // a warning that only a threshold of 999 and more silences
constexpr std::size_t type_length = 15;  // characters that count

struct entry {
    const void *object;
    char type[type_length + 1];
    list_rec *memory;  // owned; null until the object's first block
};

list_rec *registry = nullptr;

struct registry_mutex : std::mutex {
};

struct registry_lock : std::lock_guard<std::mutex> {
    registry_lock() : lock_guard(teska::lasting<registry_mutex>()) {}
};

using list_owner = teska::handle<list_rec, list_kill>;

void *address_in(const void *element)
{
    void *address = nullptr;
    std::memcpy(&address, element, sizeof address);
    return address;
}

std::uintptr_t number(const void *address) { return reinterpret_cast<std::uintptr_t>(address); }

// Descending order of address; element and key begin with one.
int at_or_below(const void *element, const void *key)
{
    return number(address_in(element)) <= number(address_in(key)) ? 1 : 0;
}

struct position {
    int index;
    void *element;  // null: the address is not in the list
};

position find(list_rec *list, const void *address)
{
    if (list == nullptr)
        return {0, nullptr};
    const int index = list_pos(list, &address);
    void *element = list_get_element(list, index);
    return {index, element != nullptr && address_in(element) == address ? element : nullptr};
}

entry *find_entry(const void *object) { return static_cast<entry *>(find(registry, object).element); }

// The text of a report with its values.
class line
{
public:
    [[gnu::format(printf, 2, 3)]] explicit line(const char *format, ...)
    {
        std::va_list values;
        va_start(values, format);
        std::vsnprintf(text_, sizeof text_, format, values);
        va_end(values);
    }
    operator const char *() const { return text_; }

private:
    char text_[512];  // as much as a report can show
};

// Addresses are shown signed, as wide as they are.
long long shown(const void *address) { return reinterpret_cast<std::intptr_t>(address); }

bool register_object(const void *object, const char *type)
{
    entry fresh = {};
    fresh.object = object;
    std::strncpy(fresh.type, type, type_length);
    return list_insert(registry, &fresh) >= 0;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

void *rom_obj_new(unsigned size, const char *type) TESKA_NOTHROW
{
    const registry_lock lock;
    if (registry == nullptr)
        registry = list_new(initial_capacity, sizeof(entry), at_or_below);
    if (registry == nullptr) {
        TESKA_ERR("rom_init: malloc failed");
        return nullptr;
    }
    auto object = teska::zeroed_block<char>(size);
    if (!object) {
        TESKA_ERR(line("rom_obj_new: malloc of obj %s failed", type));
        return nullptr;
    }
    if (!register_object(object.get(), type)) {
        TESKA_ERR(line("rom_obj_new: insert of obj %s in objlist failed", type));
        return nullptr;
    }
    return object.release();
}

int rom_obj_kill(void *object) TESKA_NOTHROW
{
    const registry_lock lock;
    const position at = find(registry, object);
    if (at.element == nullptr) {
        TESKA_ERR(line("rom_obj_kill: unregistered obj %lld", shown(object)));
        return 0;
    }
    const list_owner memory(static_cast<entry *>(at.element)->memory);
    for (int i = 0; i < list_num(memory.get()); ++i)
        std::free(address_in(list_get_element(memory.get(), i)));
    // Kept: the object's own block is the caller's to free.
    list_rem_element(registry, at.index);
    return 0;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int rom_objtype_check(const void *object, const char *expected) TESKA_NOTHROW
{
    const registry_lock lock;
    const entry *known = find_entry(object);
    if (known == nullptr) {
        TESKA_ERR(line("rom_objtype_check: unregistered obj %lld", shown(object)));
        return 0;
    }
    if (std::strncmp(known->type, expected, type_length) == 0)
        return 1;
    teska_warn(mismatch_level, line("rom_objtype_check: check failed \n  act=%s expect=%s", known->type, expected));
    return 0;
}

// ---- Memory of an object --------------------------------------------------------------------------------------------

void *rom_obj_malloc(void *object, int size) TESKA_NOTHROW
{
    const registry_lock lock;
    entry *known = find_entry(object);
    if (known == nullptr) {
        TESKA_ERR(line("rom_obj_malloc: unregistered obj %lld", shown(object)));
        return nullptr;
    }
    // A first list belongs to the object only with its first block in it.
    list_owner fresh(known->memory == nullptr ? list_new(initial_capacity, sizeof(void *), at_or_below) : nullptr);
    list_rec *memory = fresh ? fresh.get() : known->memory;
    if (memory == nullptr) {
        TESKA_ERR(line("rom_obj_malloc: objmem list create failed for %s", known->type));
        return nullptr;
    }
    teska::heap_block<char> block;
    if (size >= 0)
        block.reset(static_cast<char *>(std::malloc(static_cast<std::size_t>(std::max(size, 1)))));
    if (!block) {
        TESKA_ERR(line("rom_obj_malloc: malloc of %d failed for %s", size, known->type));
        return nullptr;
    }
    const void *address = block.get();
    if (list_insert(memory, &address) < 0) {
        TESKA_ERR(line("rom_obj_malloc: insert of %s failed", known->type));
        return nullptr;
    }
    known->memory = memory;
    fresh.release();
    return block.release();
}

int rom_obj_free(void *object, void *block) TESKA_NOTHROW
{
    const registry_lock lock;
    const entry *known = find_entry(object);
    if (known == nullptr) {
        TESKA_ERR(line("rom_obj_free: unregistered obj %lld", shown(object)));
        return 0;
    }
    const position at = find(known->memory, block);
    if (at.element == nullptr) {
        TESKA_ERR(line("rom_obj_free: unregistered memory %lld", shown(block)));
        return 0;
    }
    std::free(block);
    list_rem_element(known->memory, at.index);
    return 0;
}
