// preparing - what an object makes on demand is made by one thread at a time
//
//     if (!ready()) {                        an acquire load of what is made last
//         const preparing turn(this);        other threads that prepare this object wait here
//         ...                                looks again: another thread may have made it
//     }
//
// Objects do not wait for each other. A thread that prepares an object may enter again, as through a callback that asks
// the object which calls it: it does not wait for itself. Nothing is allocated, and no object holds a lock of its own.

#ifndef TESKA_TOPSURFACE_PREPARING_H
#define TESKA_TOPSURFACE_PREPARING_H

#include <thread>

namespace teska
{

class preparing
{
public:
    explicit preparing(const void *object) noexcept;
    preparing(const preparing &) = delete;
    preparing &operator=(const preparing &) = delete;
    ~preparing();

private:
    [[nodiscard]] static const preparing *holder(const void *object) noexcept;

    const void *object_;  // null: this thread had its turn already
    std::thread::id thread_;
    preparing *next_ = nullptr;
};

// A pointer that one thread sets last, when what belongs to it is complete, and others look at without waiting.
template <class T>
T *published(T *const &pointer) noexcept
{
    return __atomic_load_n(&pointer, __ATOMIC_ACQUIRE);
}

template <class T>
void publish(T *&pointer, T *value) noexcept
{
    __atomic_store_n(&pointer, value, __ATOMIC_RELEASE);
}

}  // namespace teska

#endif
