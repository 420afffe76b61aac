// whole_file - a file read as a whole (zuk, private)
#ifndef ZUK_WHOLE_FILE_H
#define ZUK_WHOLE_FILE_H

#include <string>

namespace zuk
{

// The bytes of an ordinary file; false with errno set when they cannot be had. May throw std::bad_alloc.
bool load_file(const char *path, std::string &bytes);

}  // namespace zuk

#endif
