// Wrappers for allocation and file calls. -Wl,--wrap=f sends every undefined reference to f here as __wrap_f; the
// original is __real_f. Mangled names are wrapped like any others.

#include "faults/injector.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <memory_resource>
#include <new>
#include <unordered_set>

#include <sys/types.h>

namespace
{

using teska_test::fault_kind;

struct fault_state {
    bool armed = false;
    fault_kind kind{};
    int remaining = 0;  // calls that still succeed
    bool sticky = false;
    int injected = 0;
};

fault_state faults;

// The blocks that live. Its own memory comes through the shared runtime, which is not wrapped; never destroyed, because
// blocks are freed until the very end of the program.
auto &blocks = *new std::pmr::unordered_set<const void *>;
bool tracking = false;

bool fails(fault_kind kind)
{
    if (!faults.armed || faults.kind != kind)
        return false;
    if (faults.remaining > 0) {
        --faults.remaining;
        return false;
    }
    if (faults.injected > 0 && !faults.sticky)
        return false;
    ++faults.injected;
    errno = kind == fault_kind::memory ? ENOMEM : EIO;
    return true;
}

template <auto real, class... Argument>
void *allocate(const Argument &...arguments)
{
    if (fails(fault_kind::memory))
        return nullptr;
    void *block = real(arguments...);
    if (tracking && block != nullptr)
        blocks.insert(block);
    return block;
}

template <auto real>
void *allocate_or_throw(std::size_t size)
{
    void *block = allocate<real>(size);
    return block != nullptr ? block : throw std::bad_alloc();
}

template <auto real, class... Size>
void release(void *block, Size... size)
{
    if (tracking)
        blocks.erase(block);
    real(block, size...);
}

template <auto real, auto failure, class... Argument>
auto file_call(Argument... arguments) -> decltype(real(arguments...))
{
    return fails(fault_kind::files) ? failure : real(arguments...);
}

}  // namespace

namespace teska_test
{

void arm(fault_kind kind, int n, bool sticky)
{
    faults = {.armed = true, .kind = kind, .remaining = n, .sticky = sticky, .injected = 0};
}

int disarm()
{
    faults.armed = false;
    return faults.injected;
}

void track_memory()
{
    blocks.clear();
    tracking = true;
}

int live_blocks() { return static_cast<int>(blocks.size()); }

}  // namespace teska_test

// The names are given by the linker; nobody else declares them.
#pragma GCC diagnostic ignored "-Wmissing-declarations"
#ifdef __clang__
#    pragma GCC diagnostic ignored "-Wreserved-identifier"
#endif

extern "C" {

using sized = void *(std::size_t size);
using sized_nothrow = void *(std::size_t size, const std::nothrow_t &tag);
using freeing = void(void *block);
using freeing_sized = void(void *block, std::size_t size);

sized __real_malloc, __real__Znwm, __real__Znam;
sized_nothrow __real__ZnwmRKSt9nothrow_t, __real__ZnamRKSt9nothrow_t;
freeing __real_free, __real__ZdlPv, __real__ZdaPv;
freeing_sized __real__ZdlPvm, __real__ZdaPvm;
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
std::FILE *__real_fopen(const char *path, const char *mode);
std::size_t __real_fwrite(const void *data, std::size_t size, std::size_t count, std::FILE *file);
int __real_fflush(std::FILE *file);
int __real_fclose(std::FILE *file);
int __real_open(const char *path, int flags, ...);
ssize_t __real_write(int descriptor, const void *data, std::size_t size);
int __real_fsync(int descriptor);
int __real_rename(const char *from, const char *to);

void *__wrap_malloc(std::size_t size) { return allocate<__real_malloc>(size); }
void *__wrap_calloc(std::size_t count, std::size_t size) { return allocate<__real_calloc>(count, size); }
void __wrap_free(void *block) { release<__real_free>(block); }

void *__wrap_realloc(void *block, std::size_t size)
{
    void *moved = allocate<__real_realloc>(block, size);
    if (tracking && moved != nullptr && moved != block)
        blocks.erase(block);
    return moved;
}

void *__wrap__Znwm(std::size_t size) { return allocate_or_throw<__real__Znwm>(size); }
void *__wrap__Znam(std::size_t size) { return allocate_or_throw<__real__Znam>(size); }

void *__wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag)
{
    return allocate<__real__ZnwmRKSt9nothrow_t>(size, tag);
}

void *__wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag)
{
    return allocate<__real__ZnamRKSt9nothrow_t>(size, tag);
}

void __wrap__ZdlPv(void *block) { release<__real__ZdlPv>(block); }
void __wrap__ZdaPv(void *block) { release<__real__ZdaPv>(block); }
void __wrap__ZdlPvm(void *block, std::size_t size) { release<__real__ZdlPvm>(block, size); }
void __wrap__ZdaPvm(void *block, std::size_t size) { release<__real__ZdaPvm>(block, size); }

std::FILE *__wrap_fopen(const char *path, const char *mode) { return file_call<__real_fopen, nullptr>(path, mode); }

std::size_t __wrap_fwrite(const void *data, std::size_t size, std::size_t count, std::FILE *file)
{
    return file_call<__real_fwrite, 0>(data, size, count, file);
}

int __wrap_fflush(std::FILE *file) { return file_call<__real_fflush, EOF>(file); }

int __wrap_fclose(std::FILE *file)
{
    const int result = __real_fclose(file);
    return fails(fault_kind::files) ? EOF : result;
}

int __wrap_open(const char *path, int flags, ...)
{
    std::va_list rest;
    va_start(rest, flags);
    const int permission = va_arg(rest, int);
    va_end(rest);
    return file_call<__real_open, -1>(path, flags, permission);
}

ssize_t __wrap_write(int descriptor, const void *data, std::size_t size)
{
    return file_call<__real_write, -1>(descriptor, data, size);
}

int __wrap_fsync(int descriptor) { return file_call<__real_fsync, -1>(descriptor); }
int __wrap_rename(const char *from, const char *to) { return file_call<__real_rename, -1>(from, to); }
}
