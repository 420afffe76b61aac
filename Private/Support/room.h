// room - blocks that grow by steps and are not copied at every step
//
// A container that promises to grow by a fixed step would copy all its items once a step: quadratic in their number. It
// asks for a block here, which holds half as much again as the last one once that is more than the step, and steps
// through this hidden room without moving. Appending n items then copies fewer than 3 n.
//
//     held 10, wanted 20 -> room 20        held 30, wanted 40 -> room 45
//
// Used by dynar and list.

#ifndef TESKA_SUPPORT_ROOM_H
#define TESKA_SUPPORT_ROOM_H

#include "Support/checked_size.h"
#include "Support/memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace teska
{

struct roomy_block {
    heap_block<char> data;  // zeroed; empty: memory is short
    std::size_t room = 0;   // items
};

// The bytes of one item, and those after the last one.
struct item_layout {
    std::size_t item_size;
    std::size_t after;
};

inline roomy_block exact_room(std::size_t items, item_layout layout) noexcept
{
    checked_size bytes(items, PTRDIFF_MAX);
    bytes *= layout.item_size;
    bytes += layout.after;
    roomy_block block{.data = {}, .room = items};
    if (bytes.valid())
        block.data = zeroed_block<char>(bytes.get());
    return block;
}

// A block for `wanted` items, at most `limit`, that takes the place of one with room for `held`. Hidden room is a
// luxury: without memory for it the block is as large as wanted.
inline roomy_block ample_room(std::size_t held, std::size_t wanted, std::size_t limit, item_layout layout) noexcept
{
    const std::size_t ample = std::min(held + held / 2, limit);
    roomy_block block;
    if (ample > wanted)
        block = exact_room(ample, layout);
    if (!block.data)
        block = exact_room(wanted, layout);
    return block;
}

}  // namespace teska

#endif
