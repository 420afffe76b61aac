// Wrappers for allocation and file calls. -Wl,--wrap=f sends every undefined reference to f here as __wrap_f; the
// original is __real_f. Mangled names are wrapped like any others.

#include "faults/injector.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <memory_resource>
#include <new>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>

namespace
{

using teska_test::fault_kind;
using teska_test::file_fault;
using teska_test::file_step;

struct fault_state {
    bool armed = false;
    fault_kind kind{};
    int remaining = 0;  // calls that still succeed
    int counted = 0;
    bool sticky = false;
    file_fault fault{};
    int injected = 0;
};

fault_state faults;
bool heeded = true;

// The blocks that live. Its own memory comes through the shared runtime, which is not wrapped; never destroyed, because
// blocks are freed until the very end of the program.
auto &blocks = *new std::pmr::unordered_set<const void *>;
bool tracking = false;
int found_again = 0;  // blocks whose address was taken for live: the one before was freed inside the shared runtime

std::vector<file_step> *recorded = nullptr;

bool fails(fault_kind kind)
{
    if (!heeded || !faults.armed || faults.kind != kind)
        return false;
    ++faults.counted;
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

void *keep(void *block)
{
    if (heeded && tracking && block != nullptr && !blocks.insert(block).second)
        ++found_again;
    return block;
}

template <auto real, class... Argument>
void *allocate(const Argument &...arguments)
{
    return fails(fault_kind::memory) ? nullptr : keep(real(arguments...));
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

// Makes a call that does not fail now; gives -1 or null for one that does.
template <auto real, class... Argument>
auto file_call(Argument... arguments) -> decltype(real(arguments...))
{
    using Result = decltype(real(arguments...));
    if (!fails(fault_kind::files))
        return real(arguments...);
    if constexpr (std::is_pointer_v<Result>)
        return Result{nullptr};
    else
        return Result{-1};
}

// A stream that failed says so, or it would be taken for one at its end. The host's header has no name for the bit.
void mark_failed([[maybe_unused]] std::FILE *file)
{
#ifdef __GLIBC__
    file->_flags |= 0x20;
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
        return real(descriptor, data, faults.armed && faults.fault.halves ? (size + 1) / 2 : size);
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

// Only while steps are recorded. The host tells the folder of a descriptor under /proc.
std::string full_name(int folder, const char *name)
{
    if (recorded == nullptr)
        return "";
    if (*name == '/')
        return name;
    char path[PATH_MAX] = {};
    const std::string link = folder == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(folder);
    const ssize_t length = readlink(link.c_str(), path, sizeof path - 1);
    return std::string(path, length > 0 ? static_cast<std::size_t>(length) : 0) + "/" + name;
}

// Puts a step down that was made; its memory is nobody's, and errno as before.
void put_down(file_step::kind call, int descriptor, int folder, const char *name, std::string_view other)
{
    if (recorded == nullptr)
        return;
    const int error = errno;
    const bool before = std::exchange(heeded, false);
    recorded->push_back({call, descriptor, name != nullptr ? full_name(folder, name) : "", std::string(other)});
    heeded = before;
    errno = error;
}

// Passes a result on.
template <class Result>
Result record(Result result, file_step::kind call, int descriptor, std::string_view bytes = {})
{
    if (result >= 0)
        put_down(call, descriptor, AT_FDCWD, nullptr, bytes);
    return result;
}

int record(int result, file_step::kind call, int folder, const char *name, std::string_view other = {})
{
    if (result >= 0)
        put_down(call, call == file_step::open ? result : -1, folder, name, other);
    return result;
}

template <auto real>
int recorded_close(int descriptor)
{
    return record(closing_call<real>(descriptor), file_step::close, descriptor);
}

template <auto real>
ssize_t recorded_write(int descriptor, const void *data, std::size_t size)
{
    const ssize_t count = descriptor_transfer<real>(descriptor, data, size);
    const std::size_t written = count > 0 ? static_cast<std::size_t>(count) : 0;
    return record(count, file_step::write, descriptor, {static_cast<const char *>(data), written});
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

int injections() { return faults.injected; }
int calls_counted() { return faults.counted; }

void heed(bool calls) { heeded = calls; }

void record_files(std::vector<file_step> *steps) { recorded = steps; }

void track_memory()
{
    blocks.clear();
    found_again = 0;
    tracking = true;
}

int live_blocks() { return static_cast<int>(blocks.size()) + found_again; }

}  // namespace teska_test

// The names are given by the linker; nobody else declares them. What a call leaves out of its variable arguments is
// passed on as it was found, and not used.
#pragma GCC diagnostic ignored "-Wmissing-declarations"
#ifdef __clang__
#    pragma GCC diagnostic ignored "-Wreserved-identifier"
#endif

extern "C" {

void *_Znwm(std::size_t size), *_Znam(std::size_t size);
void *_ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag);
void *_ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag);
void _ZdlPv(void *block), _ZdaPv(void *block);
void _ZdlPvm(void *block, std::size_t size), _ZdaPvm(void *block, std::size_t size);

#define WRAPPED(call, wrapper, parameters, ...)                                                                        \
    decltype(call) __real_##call;                                                                                      \
    auto __wrap_##call parameters->decltype(wrapper<__real_##call>(__VA_ARGS__))                                       \
    {                                                                                                                  \
        return wrapper<__real_##call>(__VA_ARGS__);                                                                    \
    }
WRAPPED(malloc, allocate, (std::size_t size), size)
WRAPPED(calloc, allocate, (std::size_t count, std::size_t size), count, size)
WRAPPED(_Znwm, allocate_or_throw, (std::size_t size), size)
WRAPPED(_Znam, allocate_or_throw, (std::size_t size), size)
WRAPPED(_ZnwmRKSt9nothrow_t, allocate, (std::size_t size, const std::nothrow_t &tag), size, tag)
WRAPPED(_ZnamRKSt9nothrow_t, allocate, (std::size_t size, const std::nothrow_t &tag), size, tag)
WRAPPED(free, release, (void *block), block)
WRAPPED(_ZdlPv, release, (void *block), block)
WRAPPED(_ZdaPv, release, (void *block), block)
WRAPPED(_ZdlPvm, release, (void *block, std::size_t size), block, size)
WRAPPED(_ZdaPvm, release, (void *block, std::size_t size), block, size)
WRAPPED(fseek, file_call, (std::FILE * file, long offset, int from), file, offset, from)
WRAPPED(ftello, file_call, (std::FILE * file), file)
WRAPPED(fflush, file_call, (std::FILE * file), file)
WRAPPED(lseek, file_call, (int descriptor, off_t offset, int from), descriptor, offset, from)
WRAPPED(ftruncate, file_call, (int descriptor, off_t size), descriptor, size)
WRAPPED(link, file_call, (const char *from, const char *to), from, to)
WRAPPED(stat, file_call, (const char *path, struct stat *status), path, status)
WRAPPED(fstat, file_call, (int descriptor, struct stat *status), descriptor, status)
WRAPPED(fstatat, file_call, (int folder, const char *name, struct stat *status, int flags), folder, name, status, flags)
WRAPPED(statx, file_call, (int at, const char *name, int flags, unsigned mask, struct statx *to), at, name, flags, mask,
        to)
WRAPPED(fchmod, file_call, (int descriptor, mode_t mode), descriptor, mode)
WRAPPED(fdopen, file_call, (int descriptor, const char *mode), descriptor, mode)
WRAPPED(fdopendir, file_call, (int descriptor), descriptor)
WRAPPED(readdir, file_call, (DIR * stream), stream)
WRAPPED(readlinkat, file_call, (int at, const char *name, char *content, std::size_t size), at, name, content, size)
WRAPPED(futimens, file_call, (int descriptor, const timespec *times), descriptor, times)
WRAPPED(fcntl, file_call, (int descriptor, int command, long argument), descriptor, command, argument)
WRAPPED(fread, stream_transfer, (void *data, std::size_t size, std::size_t n, std::FILE *file), data, size, n, file)
WRAPPED(fwrite, stream_transfer, (const void *data, std::size_t size, std::size_t n, std::FILE *to), data, size, n, to)
WRAPPED(read, descriptor_transfer, (int descriptor, void *data, std::size_t size), descriptor, data, size)
WRAPPED(fclose, closing_call, (std::FILE * file), file)
WRAPPED(closedir, closing_call, (DIR * stream), stream)
WRAPPED(close, recorded_close, (int descriptor), descriptor)
WRAPPED(write, recorded_write, (int descriptor, const void *data, std::size_t size), descriptor, data, size)
#undef WRAPPED

// Calls that are recorded by the name they give: the folder, the name, what else, and then the arguments.
#define RECORDED(call, kind, parameters, folder, name, other, ...)                                                     \
    decltype(call) __real_##call;                                                                                      \
    int __wrap_##call parameters                                                                                       \
    {                                                                                                                  \
        return record(file_call<__real_##call>(__VA_ARGS__), file_step::kind, folder, name, other);                    \
    }
RECORDED(open, open, (const char *path, int flags, mode_t mode), AT_FDCWD, path, "", path, flags, mode)
RECORDED(openat, open, (int at, const char *name, int flags, mode_t mode), at, name, "", at, name, flags, mode)
RECORDED(rename, rename, (const char *from, const char *to), AT_FDCWD, from, to, from, to)
RECORDED(renameat, rename, (int from, const char *name, int to, const char *new_name), from, name,
         full_name(to, new_name), from, name, to, new_name)
RECORDED(renameat2, rename, (int from, const char *name, int to, const char *new_name, unsigned flags), from, name,
         full_name(to, new_name), from, name, to, new_name, flags)
RECORDED(unlink, unlink, (const char *path), AT_FDCWD, path, "", path)
RECORDED(unlinkat, unlink, (int folder, const char *name, int flags), folder, name, "", folder, name, flags)
RECORDED(mkdirat, mkdir, (int folder, const char *name, mode_t mode), folder, name, "", folder, name, mode)
RECORDED(symlinkat, symlink, (const char *content, int at, const char *name), at, name, content, content, at, name)
#undef RECORDED

decltype(realloc) __real_realloc;
decltype(fgetc) __real_fgetc;
decltype(copy_file_range) __real_copy_file_range;
decltype(fsync) __real_fsync;
decltype(realpath) __real_realpath;

void *__wrap_realloc(void *block, std::size_t size)
{
    if (fails(fault_kind::memory))
        return nullptr;
    void *moved = __real_realloc(block, size);
    if (moved != nullptr)
        blocks.erase(block);
    return keep(moved);
}

int __wrap_fgetc(std::FILE *file)
{
    if (!fails(fault_kind::files))
        return __real_fgetc(file);
    mark_failed(file);
    return EOF;
}

// What hardened builds call when nothing is created.
int __wrap___openat_2(int folder, const char *name, int flags) { return __wrap_openat(folder, name, flags, 0); }

int __wrap_fsync(int descriptor) { return record(file_call<__real_fsync>(descriptor), file_step::fsync, descriptor); }

// Recorded as a write of what it moved.
ssize_t __wrap_copy_file_range(int from, off64_t *from_at, int to, off64_t *to_at, std::size_t size, unsigned flags)
{
    if (faults.armed && faults.fault.halves) {
        errno = EXDEV;
        return -1;
    }
    const off_t start = __real_lseek(from, 0, SEEK_CUR);
    const ssize_t count = file_call<__real_copy_file_range>(from, from_at, to, to_at, size, flags);
    if (count <= 0 || recorded == nullptr)
        return count;
    std::string bytes(static_cast<std::size_t>(count), '\0');
    return record(pread(from, bytes.data(), bytes.size(), start), file_step::write, to, bytes);
}

// Its block comes from within the C library and goes back through free.
char *__wrap_realpath(const char *path, char *resolved)
{
    char *full = file_call<__real_realpath>(path, resolved);
    return resolved == nullptr ? static_cast<char *>(keep(full)) : full;
}
}
