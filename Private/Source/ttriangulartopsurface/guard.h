// guard - bodies that may run out of memory
//
// An algorithm that cannot do without containers runs as a whole inside guarded(): what they throw for want of memory,
// or for a size beyond all memory, becomes the failure value.

#ifndef TESKA_TOPSURFACE_GUARD_H
#define TESKA_TOPSURFACE_GUARD_H

#include <new>
#include <stdexcept>

namespace teska
{

// How a body ended. `failed`: it has reported why.
enum class outcome { done, failed, no_memory, no_end };

template <class Value, class Body>
Value guarded(Value failure, Body &&body)
{
    try {
        return body();
    } catch (const std::bad_alloc &) {
        return failure;
    } catch (const std::length_error &) {
        return failure;
    }
}

}  // namespace teska

#endif
