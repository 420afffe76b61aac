// itemfifo - queue of fixed-size items in a chain of partitions (core)
//
//     head                                     tail
//     | taken | queued | -> | queued | ... -> | queued | free |
//              ^ rd                                     ^ wr
//
// A partition is one block: its header and the items, their offsets counted in bytes from the end of the header. Items
// are put into the last partition until it is full. A partition is freed once all its room has been read; one that was
// written only in part stays, empty, and is written on, so an empty queue has one partition or none.

#include "itemfifo.h"

#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <climits>
#include <cstring>
#include <utility>

using namespace teska;

namespace
{

constexpr int default_items = 10;
constexpr std::size_t spare_bytes = 4;  // after the items of a partition

struct alignas(std::max_align_t) partition {
    int rd = 0;
    int wr = 0;
    partition *next = nullptr;

    char *at(int offset) { return reinterpret_cast<char *>(this + 1) + offset; }
};

// The items begin where the header ends.
static_assert(sizeof(partition) % alignof(std::max_align_t) == 0);

}  // namespace

struct itemfifo {
    int item_size = 0;  // bytes
    int per_part = 0;   // items of a partition
    int part_bytes = 0;
    int count = 0;
    partition *head = nullptr;  // read from
    partition *tail = nullptr;  // written to

    itemfifo() = default;
    itemfifo(const itemfifo &) = delete;
    itemfifo &operator=(const itemfifo &) = delete;
    ~itemfifo()
    {
        while (head != nullptr)
            std::free(std::exchange(head, head->next));
    }
};

namespace
{

// Appends an empty partition; false when memory is short.
bool add_partition(itemfifo &fifo)
{
    const std::size_t bytes = sizeof(partition) + static_cast<std::size_t>(fifo.part_bytes) + spare_bytes;
    heap_block<char> block = zeroed_block<char>(bytes);
    if (!block)
        return false;
    auto *added = ::new (block.release()) partition();
    (fifo.tail != nullptr ? fifo.tail->next : fifo.head) = added;
    fifo.tail = added;
    return true;
}

void drop_head(itemfifo &fifo)
{
    std::free(std::exchange(fifo.head, fifo.head->next));
    if (fifo.head == nullptr)
        fifo.tail = nullptr;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

itemfifo *itemfifo_new(int item_size, int items_per_partition) TESKA_NOTHROW
{
    const int items = items_per_partition < 1 ? default_items : items_per_partition;
    heap_record<itemfifo> fifo;
    if (item_size > 0 && item_size <= INT_MAX / items)
        fifo = make_record<itemfifo>();
    if (!fifo) {
        TESKA_ERR("itemfifo_new: Unable to create new itemfifo");
        return nullptr;
    }
    fifo->item_size = item_size;
    fifo->per_part = items;
    fifo->part_bytes = items * item_size;
    return fifo.release();
}

int itemfifo_kill(itemfifo *fifo) TESKA_NOTHROW
{
    kill_record(fifo);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int itemfifo_put(itemfifo *fifo, const void *item) TESKA_NOTHROW
{
    const bool full = fifo->tail == nullptr || fifo->tail->wr >= fifo->part_bytes;
    if (full && !add_partition(*fifo)) {
        TESKA_ERR("itemfifo_put: unable to create new partition");
        return 0;
    }
    std::memcpy(fifo->tail->at(fifo->tail->wr), item, static_cast<std::size_t>(fifo->item_size));
    fifo->tail->wr += fifo->item_size;
    ++fifo->count;
    return 1;
}

int itemfifo_get(itemfifo *fifo, void *item) TESKA_NOTHROW
{
    partition *head = fifo->head;
    if (head == nullptr || (head == fifo->tail && head->rd == head->wr))
        return 0;
    std::memcpy(item, head->at(head->rd), static_cast<std::size_t>(fifo->item_size));
    --fifo->count;
    head->rd += fifo->item_size;
    if (head->rd >= fifo->part_bytes)
        drop_head(*fifo);
    return 1;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int itemfifo_nr_items(const itemfifo *fifo) TESKA_NOTHROW { return fifo->count; }
