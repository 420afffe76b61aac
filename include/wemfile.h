/* wemfile.h - record files, found in the folders of a search list
 *
 *     wem_lognam_set("USER", "/home/eva/.press");                        see wem.h
 *     wem_lognam_set("SYSTEM", "/usr/share/press");
 *     char path[500];
 *     zuk_db *db = teska_wemopen_file("inks/coated.rec", "USER:;SYSTEM:[tables]", 0 + 4, path, sizeof path);
 *     char value[ZUK_VALUE_SIZE];                                        /home/eva/.press/inks/coated.rec on top of
 *     zuk_search(db, "cyan", "density", value);                          /usr/share/press/tables/inks/coated.rec
 *     zuk_close(db);
 *
 * The record of a database is that of zuk.h. Names are translated by fport, whose rules hold: they are a path, or
 * "NAME:[dir.sub]file.ext" with a logical name. Texts are zero-terminated UTF-8. The function may be called from
 * several threads at once.
 */
#ifndef TESKA_WEMFILE_H
#define TESKA_WEMFILE_H
#include "teska_api.h"
TESKA_BEGIN_C

/* As in zuk.h. */
typedef struct zuk_db zuk_db;

/* teska_wemopen_file - open a record file, or the files of one name in several folders, as a database.
 *
 * name    at most 255 bytes
 * search  folders with ";" between, each of at most 255 bytes and translated as the name is; empty ones do not count.
 *         They are tried in this order. When there is none, or the translation of the name is absolute ("/", "\" or
 *         "NAME:" at its front), the name alone says where the file is.
 * mode    0  read: the first file that exists is loaded
 *         1  read and write: the first that exists, which must be writable
 *         2  as 1, but when none exists an empty one is made in the first folder, which must be there
 *         and 4 added: all that exist are loaded, the first on top, so that a topic of the user's file hides the topic
 *         of that name in the system's; what is said of the first file holds for the one on top
 * found   null, or receives the path of the first file with "/" between its parts; untouched on failure
 * size    bytes of found
 * Returns the database, owned by the caller (zuk_close); NULL with the first of these that is met:
 *     "teska_wemopen_file: illegal name"       null or ""
 *     "teska_wemopen_file: illegal mode"
 *     "teska_wemopen_file: path too long"      a text above 255 bytes, or found is too small
 *     "teska_wemopen_file: file not found"     nor can one be made, because its folder is missing
 *     "teska_wemopen_file: file is read-only"  the first that exists; or the host lets none be made
 *     "teska_wemopen_file: bad record file"    one cannot be read or is no record text; it is not passed over
 *     "teska_wemopen_file: malloc failure"
 * zuk_flush saves the file that was changed. Mode 0 is no lock: a changed database would be saved as well. When two
 * programs save one file, the later one wins.
 * An unknown logical name is translated to itself, as fport does: "C:x" is a file of drive C.
 */
TESKA_API zuk_db *teska_wemopen_file(const char *name, const char *search, int mode, char *found,
                                     int size) TESKA_NOTHROW;

TESKA_END_C
#endif
