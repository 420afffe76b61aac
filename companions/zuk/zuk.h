/* zuk - record files: named texts under topics, kept in a text file.
 *
 * A database is a stack of record files. A file is loaded or made, searched and changed in memory, and
 * written back by zuk_flush.
 *
 *     zuk_db *db = zuk_open();
 *     zuk_rfile *file = zuk_create_rfile(db, "inks.rec");
 *     zuk_add_topic(db, file, "patches", "");
 *     zuk_add_item(db, "patches", "cyan", "0.250 150.0", "");
 *     zuk_flush(db);                                          inks.rec: [patches]
 *     char value[ZUK_VALUE_SIZE];                                       cyan = 0.250 150.0
 *     int state = 0;
 *     for (char *name; (name = zuk_list_item(db, "patches", &state)) != NULL;)
 *         zuk_search(db, "patches", name, value);
 *     zuk_close(db);
 *
 * The text of a record file:
 *
 *     anything before the first topic
 *     [topic] comment
 *     name = value
 *
 * - Lines end in LF, CR LF or CR, the last line too; files are written with LF on every host.
 * - A topic line is blanks or tabs, "[", the name, "]" and a comment. Blanks and tabs at the end of the name
 *   do not count. Topics compare with the case of ASCII letters ignored; a second topic of the same name is
 *   never reached.
 * - An item line is the name, "=" and the value. Blanks and tabs count at the start of the name only. Names
 *   compare exactly; of two items of the same name in a topic the second is never reached. Names have 1 to 256
 *   characters, of longer values the first 256 count.
 * - Every other line says nothing. Such lines, comments and what is never reached stay as they are and where
 *   they are, whatever else is changed.
 *
 * Rules common to all functions:
 * - Paths are UTF-8, "/" and "\" both separate names. A relative path is meant from the directory at the time
 *   of the call. On POSIX a path that is a symbolic link means the file that it leads to.
 * - A file is saved under another name beside it (path and ".tmp0"), brought to the disk and renamed over the old one:
 *   a crash or a power cut leaves the old file or the new one. What a killed process leaves under the other name goes
 *   with the next save. Nothing is locked: when two processes save the same file, the later one wins. A file whose name
 *   has more than about 240 bytes cannot be made or saved.
 * - A null database, path, topic or name is refused. No exception leaves.
 * - No state is shared between databases; each may be used by one thread at a time.
 */
#ifndef ZUK_H
#define ZUK_H

#if defined(ZUK_STATIC)
#    define ZUK_API
#elif defined(_WIN32)
#    if defined(ZUK_BUILD)
#        define ZUK_API __declspec(dllexport)
#    else
#        define ZUK_API __declspec(dllimport)
#    endif
#else
#    define ZUK_API __attribute__((visibility("default")))
#endif

/* Bytes of a value: 256 characters and the zero. */
#define ZUK_VALUE_SIZE 257

#ifdef __cplusplus
#    define ZUK_NOTHROW noexcept
extern "C" {
#else
#    define ZUK_NOTHROW
#endif

/* The opaque record of a database. */
typedef struct zuk_db zuk_db;

/* The opaque record of a record file, owned by its database. */
typedef struct zuk_rfile zuk_rfile;

/* ---- Life -------------------------------------------------------------------------------------------- */

/* zuk_open - make a database without record files. Returns it, closed with zuk_close, or null when memory runs
 * out. */
ZUK_API zuk_db *zuk_open(void) ZUK_NOTHROW;

/* zuk_create_rfile - put a new record file on top of the stack, empty in memory and on the disk.
 *
 * path  where it is made; a file that is there is replaced at once
 * Returns the record file, owned by the database, or null when it cannot be made. A file that was there is
 * then as it was, unless the new one is in place and only the flush of the folder failed.
 */
ZUK_API zuk_rfile *zuk_create_rfile(zuk_db *db, const char *path) ZUK_NOTHROW;

/* zuk_push_rfile - load a file and put it on top of the stack.
 *
 * Returns the record file, owned by the database, or null when it cannot be read, is no ordinary file, has
 * more than 2147483647 bytes or is no record text: a zero byte, a "[" without "]" in its line, or a last line
 * without line end, which says that the file was cut. O(n log n) for n bytes.
 */
ZUK_API zuk_rfile *zuk_push_rfile(zuk_db *db, const char *path) ZUK_NOTHROW;

/* zuk_close - free a database and its record files; changes that were not flushed are lost. Null is accepted.
 * Returns 0. */
ZUK_API int zuk_close(zuk_db *db) ZUK_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------ */

/* zuk_add_topic - add a topic at the end of a record file.
 *
 * rfile    a record file of this database
 * topic    1 to 256 characters without "]", CR and LF; no blank or tab at the end
 * comment  text without CR and LF after the "]"; null and "" mean none
 * Returns 0, or -1 when refused or out of memory, with nothing changed. A topic that is there already stays
 * as it is: 0.
 */
ZUK_API int zuk_add_topic(zuk_db *db, zuk_rfile *rfile, const char *topic, const char *comment) ZUK_NOTHROW;

/* zuk_add_item - add an item at the end of a topic, or replace the value of the one that has the name.
 *
 * topic    in the topmost record file that has it
 * name     1 to 256 characters without "=", CR and LF; no blank or tab at the end; not "[" after blanks and
 *          tabs
 * value    at most 256 characters without CR and LF; blanks and tabs at both ends are not kept
 * comment  ignored: the text has no place for it
 * Returns 0, or -1 when refused, when no record file has the topic, or out of memory, with nothing changed.
 * O(log n) comparisons of names, n items in the topic.
 */
ZUK_API int zuk_add_item(zuk_db *db, const char *topic, const char *name, const char *value,
                         const char *comment) ZUK_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------- */

/* zuk_list_item - give the items of a topic one by one, in the order of the file.
 *
 * topic  in the topmost record file that has it
 * state  below 16: the first item; on return 16 + index of the next one, unchanged at the end
 * Returns the name, owned by the database and valid until zuk_close, or null after the last item and when no
 * record file has the topic. O(log t) for t topics.
 */
ZUK_API char *zuk_list_item(zuk_db *db, const char *topic, int *state) ZUK_NOTHROW;

/* zuk_search - get the value of an item.
 *
 * topic  in the topmost record file that has it; files below are not searched
 * value  out: ZUK_VALUE_SIZE characters; untouched on failure
 * Returns 0, or -1 when there is no such item. O(log n) comparisons of names, n items in the topic.
 */
ZUK_API int zuk_search(zuk_db *db, const char *topic, const char *name, char *value) ZUK_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------- */

/* zuk_flush - save every record file that was changed since it was loaded or saved.
 *
 * Returns 0 when all of them are on the disk, whatever happens next; -1 when one is not. The others are saved
 * nevertheless; that one has its old file, or the new one if only the flush of the folder failed, and is tried
 * again by the next call. A read-only file is not replaced.
 */
ZUK_API int zuk_flush(zuk_db *db) ZUK_NOTHROW;

#ifdef __cplusplus
}
#endif
#endif
