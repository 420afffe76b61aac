/* teska_api.h - what every public header of the library needs
 *
 * TESKA_API       in front of a declaration: the name is exported. Define TESKA_STATIC to link the static library.
 * TESKA_NOTHROW   after a function's declaration: no exception leaves it. A callback handed to such a function must
 *                 not throw either; a C++ program that lets it ends in std::terminate.
 * TESKA_BEGIN_C   opens C linkage in C++, TESKA_END_C closes it; both are empty in C.
 */
#ifndef TESKA_API_H
#define TESKA_API_H

#if defined(TESKA_STATIC)
#    define TESKA_API
#elif defined(_WIN32)
#    if defined(TESKA_BUILD)
#        define TESKA_API __declspec(dllexport)
#    else
#        define TESKA_API __declspec(dllimport)
#    endif
#else
#    define TESKA_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#    define TESKA_BEGIN_C extern "C" {
#    define TESKA_END_C }
#    define TESKA_NOTHROW noexcept
#else
#    define TESKA_BEGIN_C
#    define TESKA_END_C
#    define TESKA_NOTHROW
#endif

#endif
