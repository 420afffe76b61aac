// growing - an array that grows at its end, for code that must not throw
//
// Used by clg, tconvexhull and tetra.

#ifndef TESKA_SUPPORT_GROWING_H
#define TESKA_SUPPORT_GROWING_H

#include "Support/memory.h"

#include <climits>
#include <cstring>
#include <span>

namespace teska
{

// The values are plain; any integer type is an index. Appending n values is O(n). References are valid until the next
// push.
template <class T>
class growing
{
public:
    // False when memory is short; the array is then unchanged.
    [[nodiscard]] bool push(const T &value) noexcept
    {
        if (count_ == room_ && !grow())
            return false;
        data_[count_++] = value;
        return true;
    }

    // Room for so many values in all, so that pushing them cannot fail. False when memory is short; the array is then
    // unchanged.
    [[nodiscard]] bool reserve(int room) noexcept { return room <= room_ || move_to(room); }

    void clear() noexcept { count_ = 0; }
    void pop() noexcept { --count_; }

    [[nodiscard]] int size() const noexcept { return count_; }
    [[nodiscard]] T *begin() const noexcept { return data_.get(); }
    [[nodiscard]] T *end() const noexcept { return data_.get() + count_; }
    template <class Index>
    T &operator[](Index i) const noexcept
    {
        return data_[i];
    }
    [[nodiscard]] std::span<T> all() const noexcept { return data_.first(count_); }
    [[nodiscard]] T &last() const noexcept { return (*this)[count_ - 1]; }

private:
    bool grow() noexcept
    {
        constexpr int first_room = 16;
        if (room_ > INT_MAX / 2)
            return false;
        return move_to(room_ != 0 ? 2 * room_ : first_room);
    }

    bool move_to(int room) noexcept
    {
        auto data = zeroed_block<T>(static_cast<std::size_t>(room));
        if (!data)
            return false;
        if (count_ != 0)
            std::memcpy(data.get(), data_.get(), static_cast<std::size_t>(count_) * sizeof(T));
        data_.swap(data);
        room_ = room;
        return true;
    }

    heap_block<T> data_;
    int count_ = 0;
    int room_ = 0;
};

}  // namespace teska

#endif
