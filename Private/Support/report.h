// report - how a module says what failed
//
// TESKA_ERR takes the whole text as a literal, at the line that fails: texts must be found by search.

#ifndef TESKA_SUPPORT_REPORT_H
#define TESKA_SUPPORT_REPORT_H

#include "error_mess.h"

#define TESKA_ERR(message) error_mess_fl((message), __FILE__, __LINE__)

namespace teska
{

// The static record in which the numerical modules keep their last failure.
struct module_error {
    char info[516];
    int nr;    // 1: allocation failure
    int kind;  // 0 for an allocation failure
    int sys;   // system code: 12 for an allocation failure
};

}  // namespace teska

#endif
