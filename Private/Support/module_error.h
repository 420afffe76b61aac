// module_error - the last failure of a numerical module
//
// Each of these modules keeps one such record and reports it as one line that names the place in the source.

#ifndef TESKA_SUPPORT_MODULE_ERROR_H
#define TESKA_SUPPORT_MODULE_ERROR_H

#include "error_mess.h"

#include <cstdio>
#include <cstring>

#define TESKA_NO_RESOURCES(record) (record).no_resources(__FILE__, __LINE__)

namespace teska
{

struct module_error {
    char info[516];
    int nr;    // 1: allocation failure
    int kind;  // 0 for an allocation failure
    int sys;   // system code: 12 for an allocation failure

    // An allocation failed in this line.
    void no_resources(const char *file, int line) noexcept
    {
        std::strcpy(info, "No resources available");
        nr = 1;
        kind = 0;
        sys = 12;
        char text[1024];
        std::snprintf(text, sizeof text, "nr: %d, kind: %d, sys: %d, file: %s, line: %d, info: %s", nr, kind, sys, file,
                      line, info);
        error_mess_fl(text, file, line);
    }
};

}  // namespace teska

#endif
