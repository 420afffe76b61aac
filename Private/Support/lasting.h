// lasting - objects that exist from their first use to the end of the process
//
// For mutexes: on some hosts they have constructors and destructors, and static objects of an application may call the
// library before its own statics are made and after they are gone.
//
// Used by error_mess, rom and ttriangulartopsurface.

#ifndef TESKA_SUPPORT_LASTING_H
#define TESKA_SUPPORT_LASTING_H

#include <new>

namespace teska
{

// The one object of its type, made by whichever thread comes first and never destroyed.
template <class T>
T &lasting() noexcept
{
    alignas(T) static unsigned char storage[sizeof(T)];
    static T *const object = ::new (storage) T;
    return *object;
}

}  // namespace teska

#endif
