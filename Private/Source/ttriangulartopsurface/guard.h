// guard - bodies that may run out of memory
//
// Where an algorithm cannot do without containers, its whole body stands in guarded(): what they throw for want of
// memory, or for a size beyond all memory, becomes the failure value.

#ifndef TESKA_TOPSURFACE_GUARD_H
#define TESKA_TOPSURFACE_GUARD_H

#include <new>
#include <stdexcept>

namespace teska
{

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
