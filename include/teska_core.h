/* teska_core.h - gathers the headers of one subsystem: core frame and containers */
#ifndef TESKA_CORE_H
#define TESKA_CORE_H
#include "cache.h"
#include "dynar.h"
#include "error_mess.h"
#include "hash_tab.h"
#include "itemfifo.h"
#include "list.h"
#include "rom.h"
#include "teska_time.h"
#include "teska_version.h"
#ifdef __cplusplus
#    include "tcriticsect.h"
#    include "tlist.h"
#    include "tobjfac.h"
#endif
#endif
