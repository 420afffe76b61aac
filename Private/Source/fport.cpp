// fport - file names: logical devices, and names taken apart and put together (files)
//
// Process-wide state: the switch of fport_setres.

#include "fport.h"

#include "Support/report.h"

#include "str_utils.h"

#include <wem.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

namespace
{

constexpr int source_length_max = 255;
constexpr char separator = '\\';

struct fport_state {
    std::atomic<bool> set = false;  // whether the last flag was nonzero
};

fport_state state;

// The translation of a logical name, without a separator at its end.
void translate(const char *name, char (&translation)[WEM_NAME_SIZE])
{
    lognam(name, translation);
    const std::size_t length = std::strlen(translation);
    if (length > 0 && translation[length - 1] == separator)
        translation[length - 1] = 0;
}

// Turns brackets and dots into separators up to the end of the bracket.
void open_brackets(char *text)
{
    for (; *text != 0; ++text) {
        const bool last = *text == ']';
        if (last || *text == '[' || *text == '.')
            *text = separator;
        if (last)
            return;
    }
}

}  // namespace

int fport(char *destination, int size, const char *source) TESKA_NOTHROW
{
    char name[source_length_max + 1];
    strncpy_w0(name, source, source_length_max);
    char *colon = std::strchr(name, ':');
    if (colon == nullptr || colon[1] == separator) {
        // Kept: size characters and a zero.
        strncpy_w0(destination, name, std::min(static_cast<int>(std::strlen(name)), size));
        return 0;
    }
    *colon = 0;
    char translation[WEM_NAME_SIZE];
    translate(name, translation);
    *colon = separator;

    char *rest = colon + 1;
    const char *part = *rest == '[' ? rest : colon;
    if (std::strchr(rest, '[') != nullptr)
        open_brackets(rest);
    const auto length = static_cast<long long>(std::strlen(translation) + std::strlen(part));
    if (length < size - 1LL)
        std::snprintf(destination, static_cast<std::size_t>(size), "%s%s", translation, part);
    return 0;
}

int fport_setres(int flag) TESKA_NOTHROW { return state.set.exchange(flag != 0) ? 1 : 0; }

char *fport_StripPath(const char *full, const char *prefix) TESKA_NOTHROW
{
    const std::size_t length = std::strlen(prefix);
    const bool separated = length > 0 && std::strchr("/:\\]", prefix[length - 1]) != nullptr;
    return const_cast<char *>(full) + length + (separated ? 0 : 1);
}

int fport_StripExtension(char *name) TESKA_NOTHROW
{
    char *dot = std::strrchr(name, '.');
    if (dot == nullptr)
        return -1;
    *dot = 0;
    return 0;
}

int fport_MakeFullPath(const char *dir, const char *file, char *destination, int size) TESKA_NOTHROW
{
    const std::size_t dir_length = std::strlen(dir);
    const std::size_t file_length = std::strlen(file);
    if (static_cast<long long>(dir_length + file_length) + 2 > size) {
        TESKA_ERR("fport_MakeFullPah: string not long enough");
        if (size > 0)
            *destination = 0;
        return -1;
    }
    // The file first: the directory may already be in its place.
    std::memmove(destination + dir_length + 1, file, file_length + 1);
    std::memmove(destination, dir, dir_length);
    destination[dir_length] = separator;
    return 0;
}
