// dynar_priv - the record of a dynamic array, and growing in two steps
//
// dynar_ptr ends in the fatal exit when memory is short, which a host's handler may leave by a jump. A module that has
// to keep something in order prepares the growth of its arrays first, installs it when everything is there, and calls
// dynar_no_memory with nothing in hand.
//
// Used by dynar, hash_tab and bezierd_vector.

#ifndef TESKA_SUPPORT_DYNAR_PRIV_H
#define TESKA_SUPPORT_DYNAR_PRIV_H

#include "Support/room.h"

#include "dynar.h"

#include <cstddef>
#include <cstdint>

struct dynar {
    int growth = 0;     // items allocated beyond the index that makes the array grow
    int item_size = 0;  // bytes
    int capacity = 0;   // items
    int highest = -1;   // the highest index handed out
    teska::heap_block<char> data;
    std::size_t room = 0;  // items the block holds, at least the capacity
};

namespace teska
{

// What an array needs before it can hand out an index.
struct dynar_extension {
    int capacity = 0;
    roomy_block block;  // empty: what the array has will do. Once installed, the former block: an item may lie in it.
};

// False when memory is short, or growth step + index more than an int can hold. Reports nothing.
[[nodiscard]] bool dynar_prepare(const dynar &array, std::int64_t index, dynar_extension &extension) noexcept;

// Makes the index one of the array's and returns the address of its item.
char *dynar_install(dynar &array, int index, dynar_extension &extension) noexcept;

// dynar_ptr for an index of at least 0 that returns null when memory is short and reports nothing.
[[nodiscard]] void *dynar_try_ptr(dynar &array, int index) noexcept;

// The fatal exit of dynar_ptr.
void dynar_no_memory();

// The address of an item inside the capacity, or null. Unlike dynar_ptr it does not make the index one of the array's.
inline const void *dynar_peek(const dynar *array, int index) noexcept
{
    if (index < 0 || index >= array->capacity)
        return nullptr;
    return array->data.get() + static_cast<std::size_t>(index) * static_cast<std::size_t>(array->item_size);
}

}  // namespace teska

#endif
