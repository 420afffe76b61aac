/* fport.h - file names: logical devices, and names taken apart and put together
 *
 *     wem_lognam_set("DISK", "C:\\data\\");                              see wem.h
 *     char path[261];
 *     fport(path, 260, "DISK:[jobs.new]page.tif");                       "C:\data\jobs\new\page.tif"
 *     char *rest = fport_StripPath(path, "C:\\data");                    "jobs\new\page.tif"
 *     fport_StripExtension(rest);                                        "jobs\new\page"
 *     fport_MakeFullPath("C:\\out", rest, path, sizeof path);            "C:\out\jobs\new\page"
 *
 * Names are zero-terminated bytes, and pointers must not be null. Parts of a path are joined by "\", which the
 * library's file calls take on every host. Nothing here asks the disk. All functions may be called from several threads
 * at once; fport reads the logical names, which wem.h keeps for the process.
 */
#ifndef TESKA_FPORT_H
#define TESKA_FPORT_H
#include "teska_api.h"
TESKA_BEGIN_C

/* fport - translate "NAME:[dir.sub]file.ext" into a path.
 *
 * The text before the first ":" is a logical name, which lognam translates. The path is the translation without a "\"
 * at its end, "\", and what follows the colon, with "[", "." and "]" up to the first "]" turned into "\"; without a "["
 * that part stays as it is. A name without a colon, or with "\" after it, is a path already and copied.
 *
 * destination  size + 1 bytes; may be the source
 * size         at least 0
 * source       the first 255 characters count
 * Returns 0, always.
 * Kept: a path that is copied is cut after size characters, and the zero follows them, as byte size + 1.
 * Kept: a translated path needs less than size - 1 characters; a longer one leaves the destination untouched, without a
 * message.
 * Kept: an unknown name is translated to itself and ":", so that "C:x.txt" becomes "C:\x.txt".
 * Kept: dots before the "[" are replaced too, and without a "]" all dots are.
 */
TESKA_API int fport(char *destination, int size, const char *source) TESKA_NOTHROW;

/* fport_setres - set a switch of the process, which nothing in the library reads so far. Any thread may set it.
 *
 * Returns 1 when the flag of the call before was nonzero, else 0; 0 for the first call.
 */
TESKA_API int fport_setres(int flag) TESKA_NOTHROW;

/* fport_StripPath - what follows a prefix and its separator.
 *
 * full    a name that begins with the prefix; neither this nor the separator is looked at
 * prefix  its last character may be the separator itself: "/", ":", "\" or "]"
 * Returns full + length of prefix, and one more when the prefix does not end in a separator; a place in full.
 * Kept: the empty prefix does not end in one.
 */
TESKA_API char *fport_StripPath(const char *full, const char *prefix) TESKA_NOTHROW;

/* fport_StripExtension - end a name at its last dot, in place.
 *
 * Returns 0, or -1 when there is no dot.
 * Kept: a dot in the name of a directory counts: "dir.d\file" becomes "dir".
 */
TESKA_API int fport_StripExtension(char *name) TESKA_NOTHROW;

/* fport_MakeFullPath - join directory, "\" and file name.
 *
 * dir, file    zero-terminated
 * destination  size bytes; may be dir or file
 * Returns 0, or -1 with "fport_MakeFullPah: string not long enough" when size is less than both lengths and 2; the
 * destination is then the empty text, and untouched when size is less than 1.
 */
TESKA_API int fport_MakeFullPath(const char *dir, const char *file, char *destination, int size) TESKA_NOTHROW;

TESKA_END_C
#endif
