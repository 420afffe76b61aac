/* teska_files.h - gathers the headers of one subsystem: files, streams and devices */
#ifndef TESKA_FILES_H
#define TESKA_FILES_H
#ifdef __cplusplus
#    include "fdstream.h"
#    include "filepacker.h"
#endif
#include "archive.h"
#include "base64.h"
#include "cipher.h"
#include "flock.h"
#include "fport.h"
#include "md5_digest.h"
#include "rs232.h"
#include "rsys.h"
#include "wemfile.h"
#endif
