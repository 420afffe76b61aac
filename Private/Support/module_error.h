// module_error - how a numerical module reports that memory ran out: one line that names the place in the source
//
// Used by dhsm and mat.

#ifndef TESKA_SUPPORT_MODULE_ERROR_H
#define TESKA_SUPPORT_MODULE_ERROR_H

#include "error_mess.h"

#include <cstdio>

#define TESKA_NO_RESOURCES() teska::report_no_resources(__FILE__, __LINE__)

namespace teska
{

inline void report_no_resources(const char *file, int line) noexcept
{
    char text[512];
    std::snprintf(text, sizeof text, "nr: 1, kind: 0, sys: 12, file: %s, line: %d, info: No resources available", file,
                  line);
    error_mess_fl(text, file, line);
}

}  // namespace teska

#endif
