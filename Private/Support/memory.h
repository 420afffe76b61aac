// memory - owners of heap storage
//
// Records and arrays come from calloc and go back to free. While an object is being built it sits in an owner, so that
// every early return releases what was already made; the last line of a constructor hands it out with release().
//
// Used by every module that allocates.

#ifndef TESKA_SUPPORT_MEMORY_H
#define TESKA_SUPPORT_MEMORY_H

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>
#include <type_traits>

namespace teska
{

struct free_delete {
    void operator()(void *p) const noexcept { std::free(p); }
};

// An owned array of plain values. Any integer type is an index.
template <class T>
class heap_block : public std::unique_ptr<T[], free_delete>
{
public:
    using std::unique_ptr<T[], free_delete>::unique_ptr;

    template <class Index>
    T &operator[](Index i) const noexcept
    {
        static_assert(std::is_integral_v<Index>);
        return this->get()[static_cast<std::ptrdiff_t>(i)];
    }

    template <class Count>
    [[nodiscard]] std::span<T> first(Count count) const noexcept
    {
        return {this->get(), static_cast<std::size_t>(count)};
    }
};

// A zeroed array of count values, or an empty owner when memory or the address space runs out. A count of 0 gives a
// block too, because an empty owner always means failure.
template <class T>
heap_block<T> zeroed_block(std::size_t count) noexcept
{
    static_assert(std::is_trivially_copyable_v<T>);
    return heap_block<T>(static_cast<T *>(std::calloc(count != 0 ? count : 1, sizeof(T))));
}

struct record_delete {
    template <class T>
    void operator()(T *record) const noexcept
    {
        record->~T();
        std::free(record);
    }
};

// An owned record; its fields may be owners themselves.
template <class T>
using heap_record = std::unique_ptr<T, record_delete>;

// A record with every field at its initial value, or an empty owner.
template <class T>
heap_record<T> make_record() noexcept
{
    static_assert(std::is_nothrow_default_constructible_v<T>);
    static_assert(alignof(T) <= alignof(std::max_align_t));
    void *storage = std::calloc(1, sizeof(T));
    return heap_record<T>(storage != nullptr ? ::new (storage) T() : nullptr);
}

// An owned record of another module, given back by that module's kill function.
template <auto kill>
struct kill_delete {
    template <class T>
    void operator()(T *record) const noexcept
    {
        kill(record);
    }
};

template <class T, auto kill>
using handle = std::unique_ptr<T, kill_delete<kill>>;

// Frees a record that was handed out; null is accepted.
template <class T>
void kill_record(T *record) noexcept
{
    heap_record<T>{record};
}

}  // namespace teska

#endif
