// Wrappers for allocation and file calls. -Wl,--wrap=f sends every undefined reference to f here as __wrap_f;
// the original is __real_f. Mangled names are wrapped like any others.

#include "faults/injector.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <new>

#include <sys/types.h>

namespace
{

struct fault_state {
    bool armed = false;
    teska_test::fault_kind kind{};
    int remaining = 0;  // calls that still succeed
    bool sticky = false;
    int injected = 0;
};

fault_state faults;

// Addresses of the blocks that live, in an open-addressed table: the tracker must not allocate. 0: free, 1:
// removed.
class block_table
{
public:
    void clear()
    {
        slots_.fill(0);
        live_ = 0;
    }

    void insert(const void *block)
    {
        std::size_t at = start(block);
        while (slots_[at] > removed)
            at = (at + 1) % slots_.size();
        slots_[at] = reinterpret_cast<std::uintptr_t>(block);
        ++live_;
    }

    void erase(const void *block)
    {
        const auto address = reinterpret_cast<std::uintptr_t>(block);
        for (std::size_t at = start(block), seen = 0; slots_[at] != 0 && seen < slots_.size(); ++seen) {
            if (slots_[at] == address) {
                slots_[at] = removed;
                --live_;
                return;
            }
            at = (at + 1) % slots_.size();
        }
    }

    [[nodiscard]] int live() const { return live_; }

private:
    static constexpr std::uintptr_t removed = 1;

    std::size_t start(const void *block) const
    {
        return (reinterpret_cast<std::uintptr_t>(block) >> 4) % slots_.size();
    }

    std::array<std::uintptr_t, 1U << 18> slots_{};
    int live_ = 0;
};

block_table blocks;
bool tracking = false;

bool fails(teska_test::fault_kind kind)
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
    errno = kind == teska_test::fault_kind::memory ? ENOMEM : EIO;
    return true;
}

bool memory_fails() { return fails(teska_test::fault_kind::memory); }
bool file_fails() { return fails(teska_test::fault_kind::files); }

template <class Pointer>
Pointer tracked(Pointer block)
{
    if (tracking && block != nullptr)
        blocks.insert(block);
    return block;
}

void untrack(const void *block)
{
    if (tracking && block != nullptr)
        blocks.erase(block);
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

int live_blocks() { return blocks.live(); }

}  // namespace teska_test

// The names are given by the linker; nobody else declares them.
#pragma GCC diagnostic ignored "-Wmissing-declarations"
#ifdef __clang__
#    pragma GCC diagnostic ignored "-Wreserved-identifier"
#endif

extern "C" {

void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);
void *__real__Znwm(std::size_t size);
void *__real__Znam(std::size_t size);
void *__real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag);
void *__real__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag);
void __real__ZdlPv(void *block);
void __real__ZdaPv(void *block);
void __real__ZdlPvm(void *block, std::size_t size);
void __real__ZdaPvm(void *block, std::size_t size);
std::FILE *__real_fopen(const char *path, const char *mode);
std::size_t __real_fwrite(const void *data, std::size_t size, std::size_t count, std::FILE *file);
int __real_fflush(std::FILE *file);
int __real_fclose(std::FILE *file);
int __real_open(const char *path, int flags, ...);
ssize_t __real_write(int descriptor, const void *data, std::size_t size);
int __real_fsync(int descriptor);
int __real_rename(const char *from, const char *to);

void *__wrap_malloc(std::size_t size) { return memory_fails() ? nullptr : tracked(__real_malloc(size)); }

void *__wrap_calloc(std::size_t count, std::size_t size)
{
    return memory_fails() ? nullptr : tracked(__real_calloc(count, size));
}

void *__wrap_realloc(void *block, std::size_t size)
{
    if (memory_fails())
        return nullptr;
    untrack(block);
    return tracked(__real_realloc(block, size));
}

void __wrap_free(void *block)
{
    untrack(block);
    __real_free(block);
}

void *__wrap__Znwm(std::size_t size)
{
    if (memory_fails())
        throw std::bad_alloc();
    return tracked(__real__Znwm(size));
}

void *__wrap__Znam(std::size_t size)
{
    if (memory_fails())
        throw std::bad_alloc();
    return tracked(__real__Znam(size));
}

void *__wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag)
{
    return memory_fails() ? nullptr : tracked(__real__ZnwmRKSt9nothrow_t(size, tag));
}

void *__wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag)
{
    return memory_fails() ? nullptr : tracked(__real__ZnamRKSt9nothrow_t(size, tag));
}

void __wrap__ZdlPv(void *block)
{
    untrack(block);
    __real__ZdlPv(block);
}

void __wrap__ZdaPv(void *block)
{
    untrack(block);
    __real__ZdaPv(block);
}

void __wrap__ZdlPvm(void *block, std::size_t size)
{
    untrack(block);
    __real__ZdlPvm(block, size);
}

void __wrap__ZdaPvm(void *block, std::size_t size)
{
    untrack(block);
    __real__ZdaPvm(block, size);
}

std::FILE *__wrap_fopen(const char *path, const char *mode)
{
    return file_fails() ? nullptr : __real_fopen(path, mode);
}

std::size_t __wrap_fwrite(const void *data, std::size_t size, std::size_t count, std::FILE *file)
{
    if (!file_fails())
        return __real_fwrite(data, size, count, file);
    errno = ENOSPC;
    return 0;
}

int __wrap_fflush(std::FILE *file) { return file_fails() ? EOF : __real_fflush(file); }

int __wrap_fclose(std::FILE *file)
{
    const bool failing = file_fails();
    const int result = __real_fclose(file);
    if (failing)
        errno = EIO;
    return failing ? EOF : result;
}

int __wrap_open(const char *path, int flags, ...)
{
    std::va_list rest;
    va_start(rest, flags);
    const int permission = va_arg(rest, int);
    va_end(rest);
    return file_fails() ? -1 : __real_open(path, flags, permission);
}

ssize_t __wrap_write(int descriptor, const void *data, std::size_t size)
{
    if (!file_fails())
        return __real_write(descriptor, data, size);
    errno = ENOSPC;
    return -1;
}

int __wrap_fsync(int descriptor) { return file_fails() ? -1 : __real_fsync(descriptor); }

int __wrap_rename(const char *from, const char *to) { return file_fails() ? -1 : __real_rename(from, to); }
}
