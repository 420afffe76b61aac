// Wrappers for the calls on folders, beside those of the injector. Names are recorded in full, which the host tells of
// a descriptor under /proc.

#include "faults/injector.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdarg>
#include <string_view>
#include <type_traits>

using teska_test::file_call_fails, teska_test::file_step, teska_test::record_step, teska_test::records_files;

namespace
{

std::string full_name(int folder, const char *name)
{
    if (*name == '/')
        return name;
    char path[PATH_MAX] = {};
    const std::string link = folder == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(folder);
    const ssize_t length = readlink(link.c_str(), path, sizeof path - 1);
    return std::string(path, length > 0 ? static_cast<std::size_t>(length) : 0) + "/" + name;
}

// Makes a call that does not fail now; gives -1 or null for one that does.
template <auto real, class... Argument>
auto made(Argument... arguments)
{
    using Result = decltype(real(arguments...));
    if (!file_call_fails())
        return real(arguments...);
    if constexpr (std::is_pointer_v<Result>)
        return Result{nullptr};
    else
        return Result{-1};
}

// Passes a result on and puts the step down, without a change of errno.
int recorded(int result, file_step::kind call, int folder, const char *name, std::string_view other = {})
{
    if (result < 0 || !records_files())
        return result;
    const int error = errno;
    record_step({call, call == file_step::open ? result : -1, full_name(folder, name), std::string(other)});
    errno = error;
    return result;
}

}  // namespace

// The names are given by the linker; nobody else declares them.
#pragma GCC diagnostic ignored "-Wmissing-declarations"
#ifdef __clang__
#    pragma GCC diagnostic ignored "-Wreserved-identifier"
#endif

extern "C" {

// A call that only fails or is made.
#define FAILING(call, parameters, arguments)                                                                           \
    decltype(call) __real_##call;                                                                                      \
    auto __wrap_##call parameters { return made<__real_##call> arguments; }
FAILING(fstat, (int descriptor, struct stat *status), (descriptor, status))
FAILING(fstatat, (int folder, const char *name, struct stat *status, int flags), (folder, name, status, flags))
FAILING(statx, (int folder, const char *name, int flags, unsigned mask, struct statx *status),
        (folder, name, flags, mask, status))
FAILING(fdopendir, (int descriptor), (descriptor))
FAILING(readdir, (DIR * stream), (stream))
FAILING(readlinkat, (int folder, const char *name, char *content, std::size_t size), (folder, name, content, size))
FAILING(futimens, (int descriptor, const timespec *times), (descriptor, times))
#undef FAILING

decltype(openat) __real_openat;
decltype(closedir) __real_closedir;
decltype(fcntl) __real_fcntl;
decltype(unlinkat) __real_unlinkat;
decltype(renameat) __real_renameat;
decltype(renameat2) __real_renameat2;
decltype(mkdirat) __real_mkdirat;
decltype(symlinkat) __real_symlinkat;
decltype(copy_file_range) __real_copy_file_range;

int __wrap_openat(int folder, const char *name, int flags, ...)
{
    std::va_list rest;
    va_start(rest, flags);
    const int permission = (flags & O_CREAT) != 0 ? va_arg(rest, int) : 0;
    va_end(rest);
    return recorded(made<__real_openat>(folder, name, flags, permission), file_step::open, folder, name);
}

// What hardened builds call when nothing is created.
int __wrap___openat_2(int folder, const char *name, int flags) { return __wrap_openat(folder, name, flags); }

int __wrap_closedir(DIR *stream)
{
    const bool fails = file_call_fails();
    const int error = errno;
    const int result = __real_closedir(stream);
    errno = fails ? error : errno;
    return fails ? -1 : result;
}

int __wrap_fcntl(int descriptor, int command, ...)
{
    std::va_list rest;
    va_start(rest, command);
    const long argument = va_arg(rest, long);
    va_end(rest);
    return made<__real_fcntl>(descriptor, command, argument);
}

int __wrap_unlinkat(int folder, const char *name, int flags)
{
    return recorded(made<__real_unlinkat>(folder, name, flags), file_step::unlink, folder, name);
}

int __wrap_renameat(int from, const char *old_name, int to, const char *new_name)
{
    const std::string other = records_files() ? full_name(to, new_name) : "";
    return recorded(made<__real_renameat>(from, old_name, to, new_name), file_step::rename, from, old_name, other);
}

int __wrap_renameat2(int from, const char *old_name, int to, const char *new_name, unsigned flags)
{
    const std::string other = records_files() ? full_name(to, new_name) : "";
    return recorded(made<__real_renameat2>(from, old_name, to, new_name, flags), file_step::rename, from, old_name,
                    other);
}

int __wrap_mkdirat(int folder, const char *name, mode_t mode)
{
    return recorded(made<__real_mkdirat>(folder, name, mode), file_step::mkdir, folder, name);
}

int __wrap_symlinkat(const char *content, int folder, const char *name)
{
    return recorded(made<__real_symlinkat>(content, folder, name), file_step::symlink, folder, name, content);
}

// Recorded as a write of what it moved.
ssize_t __wrap_copy_file_range(int from, off64_t *from_at, int to, off64_t *to_at, std::size_t size, unsigned flags)
{
    const off_t start = records_files() ? lseek(from, 0, SEEK_CUR) : 0;
    const ssize_t count = made<__real_copy_file_range>(from, from_at, to, to_at, size, flags);
    if (count > 0 && records_files()) {
        std::string bytes(static_cast<std::size_t>(count), '\0');
        if (pread(from, bytes.data(), bytes.size(), start) == count)
            record_step({file_step::write, to, "", bytes});
    }
    return count;
}
}
