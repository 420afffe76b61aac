// lopra_arguments - what both ports check before they ask the host, and the names they make up (lopra, private)
//
// Hosts disagree on what they do with an argument outside the contract; some ignore it and truncate the file.
#ifndef LOPRA_ARGUMENTS_H
#define LOPRA_ARGUMENTS_H

#include "lopra.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace lopra
{

constexpr std::size_t mode_length_max = 7;

inline bool is_stream_mode(const char *mode)
{
    if (!mode || !*mode || !std::strchr("rwa", *mode))
        return false;
    const std::size_t length = std::strlen(mode);
    return length <= mode_length_max && std::strspn(mode + 1, "+bt") == length - 1;
}

inline bool is_handle_request(unsigned access, unsigned disposition)
{
    const unsigned both = LOPRA_GENERIC_READ | LOPRA_GENERIC_WRITE;
    return (access & both) != 0 && (access & ~both) == 0 &&
           (disposition == LOPRA_OPEN_EXISTING || disposition == LOPRA_OPEN_ALWAYS);
}

// Files left by processes that were killed and had the same number; more of them are an error.
constexpr int beside_attempts_max = 1000;

// Names a file beside path and opens it with open(name), which fails with EEXIST when the name is taken. On success
// the name is the caller's.
template <class Open>
int open_beside(const char *path, unsigned long process, char **name, Open open)
{
    const std::size_t size = std::strlen(path) + 64;  // ".tmp", two numbers, "-"
    char *text = static_cast<char *>(std::malloc(size));
    if (!text) {
        errno = ENOMEM;
        return -1;
    }
    std::snprintf(text, size, "%s.tmp%lu", path, process);
    int descriptor = open(text);
    for (int n = 1; descriptor < 0 && errno == EEXIST && n < beside_attempts_max; ++n) {
        std::snprintf(text, size, "%s.tmp%lu-%d", path, process, n);
        descriptor = open(text);
    }
    if (descriptor >= 0) {
        *name = text;
        return descriptor;
    }
    const int error = errno;
    std::free(text);
    errno = error;
    return -1;
}

}  // namespace lopra

#endif
