// line_store - lines of a picture that are wanted in another order than they come
//
// In memory up to 256 MiB, above that in a temporary file without a name.

#ifndef TESKA_TOOL_PICTURES_LINE_STORE_H
#define TESKA_TOOL_PICTURES_LINE_STORE_H

#include "frame/platform.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool
{

class line_store
{
public:
    // path  for messages; all lines hold 0 at first
    line_store(const std::string &path, std::size_t line_bytes, std::uint32_t lines);

    void put(std::uint32_t y, const void *line);
    void get(std::uint32_t y, void *line) const;

    // A part of a line, from byte `start` on.
    void get(std::uint32_t y, std::size_t start, void *part, std::size_t size) const;

private:
    std::string path_;
    std::size_t line_bytes_;
    std::vector<unsigned char> memory_;
    host_file file_;
    bool in_file_;
};

}  // namespace tool

#endif
