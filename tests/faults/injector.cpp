// Wrappers for allocation and file calls. -Wl,--wrap=f sends every undefined reference to f here as __wrap_f; the
// original is __real_f. Mangled names are wrapped like any others.

#include "faults/injector.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <memory_resource>
#include <new>
#include <string_view>
#include <unordered_set>

namespace
{

using teska_test::fault_kind;
using teska_test::file_fault;
using teska_test::file_step;

struct fault_state {
    bool armed = false;
    fault_kind kind{};
    int remaining = 0;  // calls that still succeed
    bool sticky = false;
    file_fault fault{};
    int injected = 0;
};

fault_state faults;

// The blocks that live. Its own memory comes through the shared runtime, which is not wrapped; never destroyed, because
// blocks are freed until the very end of the program.
auto &blocks = *new std::pmr::unordered_set<const void *>;
bool tracking = false;
int found_again = 0;  // blocks whose address was taken for live: the one before was freed inside the shared runtime

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
    if (kind == fault_kind::files && faults.fault.kill)
        ::kill(getpid(), SIGKILL);
    errno = kind == fault_kind::memory ? ENOMEM : faults.fault.error;
    return true;
}

std::vector<file_step> *recorded = nullptr;

// Passes a file call's result on.
template <class Result>
Result record(Result result, file_step::kind call, int descriptor, const char *name = "", std::string_view other = {})
{
    if (recorded != nullptr && result >= 0)
        recorded->push_back({call, descriptor, name, std::string(other)});
    return result;
}

void keep(const void *block)
{
    if (tracking && block != nullptr && !blocks.insert(block).second)
        ++found_again;
}

template <auto real, class... Argument>
void *allocate(const Argument &...arguments)
{
    if (fails(fault_kind::memory))
        return nullptr;
    void *block = real(arguments...);
    keep(block);
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

// A stream that failed says so, or it would be taken for one at its end. The host's header has no name for the bit.
void mark_failed(std::FILE *file)
{
#ifdef __GLIBC__
    file->_flags |= 0x20;
#else
    static_cast<void>(file);
#endif
}

// Closing: done in any case, and the file call that failed keeps its error number.
template <auto real, class File>
int closing_call(File file)
{
    const bool failing = fails(fault_kind::files);
    const int error = errno;
    const int result = real(file);
    if (!failing)
        return result;
    errno = error;
    return -1;
}

template <auto real, class Data>
ssize_t descriptor_transfer(int descriptor, Data *data, std::size_t size)
{
    if (!fails(fault_kind::files))
        return real(descriptor, data, size);
    return faults.fault.partial && size > 1 ? real(descriptor, data, size / 2) : -1;
}

template <auto real, class Data>
std::size_t stream_transfer(Data *data, std::size_t size, std::size_t count, std::FILE *file)
{
    if (!fails(fault_kind::files))
        return real(data, size, count, file);
    mark_failed(file);
    return faults.fault.partial ? real(data, size, count / 2, file) : 0;
}

}  // namespace

namespace teska_test
{

void arm(fault_kind kind, int n, bool sticky, file_fault fault)
{
    faults = {.armed = true, .kind = kind, .remaining = n, .sticky = sticky, .fault = fault, .injected = 0};
}

int disarm()
{
    faults.armed = false;
    return faults.injected;
}

void record_files(std::vector<file_step> *steps) { recorded = steps; }

bool file_call_fails() { return fails(fault_kind::files); }

bool records_files() { return recorded != nullptr; }

void record_step(const file_step &step) { recorded->push_back(step); }

void track_memory()
{
    blocks.clear();
    found_again = 0;
    tracking = true;
}

int live_blocks() { return static_cast<int>(blocks.size()) + found_again; }

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
decltype(calloc) __real_calloc;
decltype(realloc) __real_realloc;
decltype(fread) __real_fread;
decltype(fwrite) __real_fwrite;
decltype(fgetc) __real_fgetc;
decltype(fclose) __real_fclose;
decltype(open) __real_open;
decltype(read) __real_read;
decltype(write) __real_write;
decltype(fsync) __real_fsync;
decltype(close) __real_close;
decltype(rename) __real_rename;
decltype(unlink) __real_unlink;
decltype(realpath) __real_realpath;

void *__wrap_malloc(std::size_t size) { return allocate<__real_malloc>(size); }
void *__wrap_calloc(std::size_t count, std::size_t size) { return allocate<__real_calloc>(count, size); }
void __wrap_free(void *block) { release<__real_free>(block); }

void *__wrap_realloc(void *block, std::size_t size)
{
    if (fails(fault_kind::memory))
        return nullptr;
    void *moved = __real_realloc(block, size);
    if (moved != nullptr) {
        blocks.erase(block);
        keep(moved);
    }
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

// A call that only fails or is made.
#define FAILING(call, failure, parameters, arguments)                                                                  \
    decltype(call) __real_##call;                                                                                      \
    auto __wrap_##call parameters { return file_call<__real_##call, failure> arguments; }
FAILING(fopen, nullptr, (const char *path, const char *mode), (path, mode))
FAILING(fputc, EOF, (int byte, std::FILE *file), (byte, file))
FAILING(fseek, -1, (std::FILE * file, long offset, int from), (file, offset, from))
FAILING(fseeko, -1, (std::FILE * file, off_t offset, int from), (file, offset, from))
FAILING(ftell, -1, (std::FILE * file), (file))
FAILING(ftello, -1, (std::FILE * file), (file))
FAILING(fflush, EOF, (std::FILE * file), (file))
FAILING(lseek, -1, (int descriptor, off_t offset, int from), (descriptor, offset, from))
FAILING(ftruncate, -1, (int descriptor, off_t size), (descriptor, size))
FAILING(link, -1, (const char *from, const char *to), (from, to))
FAILING(stat, -1, (const char *path, struct stat *status), (path, status))
FAILING(fchmod, -1, (int descriptor, mode_t mode), (descriptor, mode))
#undef FAILING

std::size_t __wrap_fread(void *data, std::size_t size, std::size_t count, std::FILE *file)
{
    return stream_transfer<__real_fread>(data, size, count, file);
}

std::size_t __wrap_fwrite(const void *data, std::size_t size, std::size_t count, std::FILE *file)
{
    return stream_transfer<__real_fwrite>(data, size, count, file);
}

int __wrap_fgetc(std::FILE *file)
{
    if (!fails(fault_kind::files))
        return __real_fgetc(file);
    mark_failed(file);
    return EOF;
}

int __wrap_fclose(std::FILE *file) { return closing_call<__real_fclose>(file); }

int __wrap_open(const char *path, int flags, ...)
{
    std::va_list rest;
    va_start(rest, flags);
    const int permission = (flags & O_CREAT) != 0 ? va_arg(rest, int) : 0;
    va_end(rest);
    const int descriptor = file_call<__real_open, -1>(path, flags, permission);
    return record(descriptor, file_step::open, descriptor, path);
}

ssize_t __wrap_read(int descriptor, void *data, std::size_t size)
{
    return descriptor_transfer<__real_read>(descriptor, data, size);
}

ssize_t __wrap_write(int descriptor, const void *data, std::size_t size)
{
    const ssize_t count = descriptor_transfer<__real_write>(descriptor, data, size);
    const std::size_t written = count > 0 ? static_cast<std::size_t>(count) : 0;
    return record(count, file_step::write, descriptor, "", {static_cast<const char *>(data), written});
}

int __wrap_fsync(int descriptor)
{
    return record(file_call<__real_fsync, -1>(descriptor), file_step::fsync, descriptor);
}

int __wrap_close(int descriptor)
{
    return record(closing_call<__real_close>(descriptor), file_step::close, descriptor);
}

int __wrap_rename(const char *from, const char *to)
{
    return record(file_call<__real_rename, -1>(from, to), file_step::rename, -1, from, to);
}

int __wrap_unlink(const char *path) { return record(file_call<__real_unlink, -1>(path), file_step::unlink, -1, path); }

// Its block comes from within the C library and goes back through free.
char *__wrap_realpath(const char *path, char *resolved)
{
    char *full = file_call<__real_realpath, nullptr>(path, resolved);
    if (resolved == nullptr)
        keep(full);
    return full;
}
}
