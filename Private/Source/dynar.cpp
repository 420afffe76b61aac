// dynar - array of fixed-size items that grows on demand (core)
//
// One record and one block, which appears with the first item:
//
//     |<- (highest + 1) items ->|<- up to capacity ->|<- up to room ->|<- 1 byte ->|
//     | in use                  | zero unless the    | hidden, zero   | zero       |
//     |                         | caller wrote there |                |            |
//
// The capacity follows the promised rule, growth step + index; the hidden room after it saves copying
// (Support/room.h). Items past the highest index are not carried over when the capacity grows, so growing inside the
// hidden room clears them. The last byte ends a text that runs to the end of a byte array, for the readers of restored
// pools.

#include "dynar.h"

#include "Support/dynar_priv.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <climits>
#include <cstring>

using namespace teska;

namespace
{

constexpr int default_growth = 10;
constexpr std::size_t guard_bytes = 1;

std::size_t bytes_of(const dynar &array, int items)
{
    return static_cast<std::size_t>(items) * static_cast<std::size_t>(array.item_size);
}

}  // namespace

bool teska::dynar_prepare(const dynar &array, std::int64_t index, dynar_extension &extension) noexcept
{
    extension.capacity = array.capacity;
    if (index < array.capacity)
        return true;
    const std::int64_t capacity = array.growth + index;
    if (capacity > INT_MAX)
        return false;
    extension.capacity = static_cast<int>(capacity);
    const auto wanted = static_cast<std::size_t>(capacity);
    if (wanted <= array.room)
        return true;
    extension.block = ample_room(array.room, wanted, INT_MAX, {bytes_of(array, 1), guard_bytes});
    return extension.block.data != nullptr;
}

char *teska::dynar_install(dynar &array, int index, dynar_extension &extension) noexcept
{
    const std::size_t used = bytes_of(array, array.highest + 1);
    if (extension.block.data) {
        if (used != 0)
            std::memcpy(extension.block.data.get(), array.data.get(), used);
        array.data.swap(extension.block.data);
        array.room = extension.block.room;
    } else if (extension.capacity > array.capacity) {
        std::memset(array.data.get() + used, 0, bytes_of(array, array.capacity) - used);
    }
    array.capacity = extension.capacity;
    array.highest = std::max(array.highest, index);
    return array.data.get() + bytes_of(array, index);
}

void *teska::dynar_try_ptr(dynar &array, int index) noexcept
{
    dynar_extension extension;
    return dynar_prepare(array, index, extension) ? dynar_install(array, index, extension) : nullptr;
}

void teska::dynar_no_memory() { error_exit("dynar_ptr: memory allocation failed"); }

// ---- Life -----------------------------------------------------------------------------------------------------------

dynar *dynar_new(int item_size, int growth) TESKA_NOTHROW
{
    heap_record<dynar> array;
    if (item_size > 0)
        array = make_record<dynar>();
    if (!array) {
        TESKA_ERR("dynar_new: Unable to create new dynar");
        return nullptr;
    }
    array->growth = growth < 1 ? default_growth : growth;
    array->item_size = item_size;
    return array.release();
}

int dynar_kill(dynar *array) TESKA_NOTHROW
{
    kill_record(array);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

void *dynar_ptr(dynar *array, int index)
{
    if (index < 0) {
        TESKA_ERR("dynar_ptr: illegal index");
        return nullptr;
    }
    if (index < array->capacity) {
        // No store for an item in use: several threads may read the array.
        if (index > array->highest)
            array->highest = index;
        return array->data.get() + bytes_of(*array, index);
    }
    // The exit may jump: nothing is held across it.
    void *item = dynar_try_ptr(*array, index);
    if (item == nullptr)
        dynar_no_memory();
    return item;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int dynar_nr_items(const dynar *array) TESKA_NOTHROW { return array->highest + 1; }
