// pool - records of one kind in one array, by number

#ifndef TESKA_TQUADTREE_POOL_H
#define TESKA_TQUADTREE_POOL_H

#include "Support/memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace teska::quad
{

constexpr int none = -1;

// Numbers stay as the array grows, references do not. A record given back holds the number of the one given back before
// it, and is the next to be taken. There are at most `most` records.
template <class Record, int most>
class pool
{
    static_assert(std::is_trivially_copyable_v<Record> && sizeof(Record) >= sizeof(int));

public:
    // So many records can be taken from now on. False when memory is short; nothing has changed then.
    [[nodiscard]] bool reserve(int count) noexcept { return free_count_ + (room_ - used_) >= count || grow(count); }

    // A record with undefined contents; there must be one.
    [[nodiscard]] int take() noexcept
    {
        if (free_count_ == 0)
            return used_++;
        const int number = free_;
        std::memcpy(&free_, data_.get() + number, sizeof free_);
        --free_count_;
        return number;
    }

    void give_back(int number) noexcept
    {
        std::memcpy(static_cast<void *>(data_.get() + number), &free_, sizeof free_);
        free_ = number;
        ++free_count_;
    }

    Record &operator[](int number) const noexcept { return data_[number]; }

private:
    // A quarter more each time: the copies of n records cost less than 5 n, and little room stays unused.
    bool grow(int count) noexcept
    {
        constexpr std::size_t limit = std::min<std::size_t>(most, PTRDIFF_MAX / sizeof(Record));
        const std::size_t held = static_cast<std::size_t>(room_);
        const std::size_t wanted = static_cast<std::size_t>(used_) + static_cast<std::size_t>(count);
        if (wanted > limit)
            return false;
        const std::size_t room = std::min(std::max(held + held / 4, wanted), limit);
        void *moved = std::realloc(data_.get(), room * sizeof(Record));
        if (moved == nullptr)
            return false;
        static_cast<void>(data_.release());
        data_.reset(static_cast<Record *>(moved));
        room_ = static_cast<int>(room);
        return true;
    }

    heap_block<Record> data_;
    int room_ = 0;
    int used_ = 0;  // records below have been taken, and some given back
    int free_ = none;
    int free_count_ = 0;
};

}  // namespace teska::quad

#endif
