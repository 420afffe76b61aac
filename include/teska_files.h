/* teska_files.h - gathers the headers of one subsystem: files, streams and devices */
#ifndef TESKA_FILES_H
#define TESKA_FILES_H
#ifdef __cplusplus
#    include "fdstream.h"
#endif
#include "flock.h"
#include "fport.h"
#include "rs232.h"
#endif
