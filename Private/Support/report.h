// report - how a module says what failed
//
// TESKA_ERR takes the whole text as a literal, at the line that fails: texts must be found by search.
//
// Used by every module that reports.

#ifndef TESKA_SUPPORT_REPORT_H
#define TESKA_SUPPORT_REPORT_H

#include "error_mess.h"

#define TESKA_ERR(message) error_mess_fl((message), __FILE__, __LINE__)

#endif
