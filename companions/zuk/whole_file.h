// whole_file - files read and replaced as a whole (zuk, private)
#ifndef ZUK_WHOLE_FILE_H
#define ZUK_WHOLE_FILE_H

#include <string>
#include <string_view>

namespace zuk
{

// The bytes of an ordinary file; false with errno set when they cannot be had. May throw std::bad_alloc.
bool load_file(const char *path, std::string &bytes);

// Replaces a file so that at any moment the old one or the new one is there; true when the new one is on the disk for
// good. On failure the old one is there, or the new one if only the flush of the folder failed.
bool replace_file(const char *path, std::string_view bytes) noexcept;

}  // namespace zuk

#endif
