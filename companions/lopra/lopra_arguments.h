// lopra_arguments - what both ports check before they ask the host (lopra, private)
//
// Hosts disagree on what they do with an argument outside the contract; some ignore it and truncate the file.
#ifndef LOPRA_ARGUMENTS_H
#define LOPRA_ARGUMENTS_H

#include "lopra.h"

#include <cstddef>
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

}  // namespace lopra

#endif
