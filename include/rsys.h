/* rsys.h - folders: what is in them, and copying and removing of whole trees
 *
 *     rsys_dir *dir = rsys_dir_new("jobs", "*.tif;*.tiff", RSYS_DEEP | RSYS_ANYCASE);
 *     for (int i = 0; i < rsys_dir_num(dir); ++i)
 *         printf("%s: %lld bytes\n", rsys_dir_get(dir, i)->path, rsys_dir_get(dir, i)->size);
 *     rsys_dir_kill(dir);
 *     rsys_make_folder("archive/2024");
 *     rsys_copy("jobs", "archive/2024/jobs", 0, NULL, NULL);            all of it, or nothing
 *     rsys_remove("jobs", NULL, NULL);
 *
 * Common rules
 *   Paths are zero-terminated UTF-8 of any length the host allows; "/" and "\" both separate names, and separators at
 *   the end count for nothing. What is given out uses "/". A relative path is meant from the directory of the moment.
 *   On POSIX bytes that are not UTF-8 are passed on as they are, and a name that holds a "\" cannot be given as a path;
 *   it is copied and removed with its folder. On Windows what is not UTF-8 is refused as an illegal path. A link is a
 *   symbolic link, on Windows a junction too.
 *   A failure gives -1 or NULL with the text stated, and errno then holds the host's reason; EINVAL for an illegal
 *   path. Flags that a function does not name are ignored.
 *   Lists are read by any number of threads at once. All functions may be called from several threads at the same time;
 *   who changes one tree from several of them gets what the host makes of it.
 */
#ifndef TESKA_RSYS_H
#define TESKA_RSYS_H
#include "teska_api.h"
TESKA_BEGIN_C

/* What a name stands for. RSYS_OTHER: a pipe, a socket, a device. */
enum { RSYS_FILE = 0, RSYS_FOLDER = 1, RSYS_LINK = 2, RSYS_OTHER = 3 };

enum {
    RSYS_DEEP = 1,     /* what is in subfolders too */
    RSYS_FOLDERS = 2,  /* list folders too */
    RSYS_FOLLOW = 4,   /* take a link for what it leads to */
    RSYS_HIDDEN = 8,   /* take names that begin with "." too; on Windows also those with the hidden attribute */
    RSYS_ANYCASE = 16, /* compare ASCII letters without their case */
    RSYS_REPLACE = 32  /* replace what is there */
};

/* One name of a list. */
typedef struct rsys_entry {
    const char *path; /* from the folder on, as "sub/a.txt" */
    const char *name; /* the last part of the path */
    int kind;         /* RSYS_FILE .. RSYS_OTHER */
    int depth;        /* folders between it and the folder of the list: 0 in that itself */
    long long size;   /* bytes of a file, 0 for everything else */
    long long time;   /* last change, milliseconds since 1970 */
} rsys_entry;

/* The opaque record of a list. */
typedef struct rsys_dir rsys_dir;

/* Called by rsys_copy and rsys_remove on the caller's thread. A result other than 0 asks to stop.
 *
 * path     what is worked at: the path that was given, and the names below it; valid during the call only
 * done     bytes copied so far, of all files
 * total    bytes of all files, as counted before; `done` arrives at another number when files change meanwhile
 * context  as it was given
 * It must not throw.
 */
typedef int (*rsys_progress_fn)(const char *path, long long done, long long total, void *context);

/* ---- Life of a list ---------------------------------------------------------------------------------------------- */

/* rsys_dir_new - list what is in a folder. All is read at once; the list stays as it was.
 *
 * folder   may be a link to one
 * pattern  see rsys_match; what does not match is not listed. Folders are entered whatever their names are.
 * flags    RSYS_DEEP, _FOLDERS, _FOLLOW, _HIDDEN, _ANYCASE
 * Returns the list, owned by the caller (rsys_dir_kill), or NULL with
 *     "rsys_dir_new: illegal path"         null or ""
 *     "rsys_dir_new: cannot read folder"   it is missing, is no folder, or may not be read
 *     "rsys_dir_new: malloc failure"
 * The order is that of the bytes of the paths, "/" before every other byte, so that what is in a folder follows it:
 * "a", "a/b", "a-b". "." and ".." are never listed. Without RSYS_HIDDEN hidden folders are not entered either.
 * Without RSYS_FOLLOW a link is listed as RSYS_LINK and never entered. With it a folder that is open above already, the
 * same device and number, is not entered again; a link that leads nowhere stays RSYS_LINK.
 * Passed over and counted (rsys_dir_skipped): a subfolder that cannot be read, what vanished meanwhile, a name that is
 * not UTF-8 (on Windows one with unpaired surrogates) or holds a "\", and a folder in which the depth would exceed 200.
 * The host is asked about each name that is listed, and about each folder that is entered; O(n log n) for n names.
 */
TESKA_API rsys_dir *rsys_dir_new(const char *folder, const char *pattern, int flags) TESKA_NOTHROW;

/* rsys_dir_kill - free a list.
 *
 * dir  may be null
 * Returns NULL.
 */
TESKA_API rsys_dir *rsys_dir_kill(rsys_dir *dir) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* rsys_dir_num - how many names a list has. Cannot fail.
 *
 * dir  not null
 */
TESKA_API int rsys_dir_num(const rsys_dir *dir) TESKA_NOTHROW;

/* rsys_dir_skipped - how many names were passed over, each folder that was not entered counting once. Cannot fail.
 *
 * dir  not null
 */
TESKA_API int rsys_dir_skipped(const rsys_dir *dir) TESKA_NOTHROW;

/* rsys_dir_get - one name of a list.
 *
 * dir    not null
 * index  0 .. rsys_dir_num - 1
 * Returns the entry, valid with its texts until rsys_dir_kill, or NULL for another index.
 */
TESKA_API const rsys_entry *rsys_dir_get(const rsys_dir *dir, int index) TESKA_NOTHROW;

/* rsys_match - whether a name matches a pattern.
 *
 * pattern  several patterns with ";" between. "*" stands for any run of characters, "?" for one UTF-8 character (a byte
 *          that is not UTF-8 counts as one), everything else for itself. Null and "" match every name.
 * name     null matches nothing
 * flags    RSYS_ANYCASE
 * Returns 1 or 0; the whole name must match. An empty pattern between ";" matches the empty name alone.
 * O(n m) for n bytes of pattern and m of name.
 */
TESKA_API int rsys_match(const char *pattern, const char *name, int flags) TESKA_NOTHROW;

/* rsys_kind - what a path names; a link itself, not what it leads to.
 *
 * path  of anything
 * Returns RSYS_FILE .. RSYS_OTHER; -1 without a report when nothing is there or the host does not say; -1 with
 * "rsys_kind: illegal path" for null and "".
 */
TESKA_API int rsys_kind(const char *path) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* rsys_make_folder - make a folder, and all that are missing on the way to it.
 *
 * path  of the folder
 * Returns 0, also when it is there already, itself or as a link to a folder; -1 with
 *     "rsys_make_folder: illegal path"         null or ""
 *     "rsys_make_folder: a file is in the way" a part of the path is there and no folder
 *     "rsys_make_folder: cannot make folder"   whatever else the host says, memory included
 * Folders made before a failure stay.
 */
TESKA_API int rsys_make_folder(const char *path) TESKA_NOTHROW;

/* rsys_copy - copy a file, a link, or a folder with all it holds.
 *
 * from      what is copied
 * to        the name of the copy; its folder must be there
 * flags     RSYS_REPLACE: what is at `to` may be replaced, by its like only: a file by a file, a link by a link. A
 *           folder, or a link to one that is given as `to`, takes the files of a folder in, one by one; others stay.
 *           Without it anything at `to` is refused.
 *           RSYS_FOLLOW: what links lead to is copied in their place; one that leads nowhere stays a link. Without it
 *           links are made again, on Windows where the process may.
 * progress  null, or called at the start of each file and after each block of it, at most 1 MiB
 * context   handed to progress; not looked at
 * Returns 0; 1 when progress asked to stop; -1 with the first of these that is met:
 *     "rsys_copy: illegal path"               null or ""
 *     "rsys_copy: source is missing"
 *     "rsys_copy: not a file or folder"       a pipe or device, as the source or below it; nothing was written then
 *     "rsys_copy: target exists"
 *     "rsys_copy: target lies in the source"  or they are the same file under two names: by device and number
 *     "rsys_copy: cannot read"                with RSYS_FOLLOW also a link of which the host does not say
 *                                             what it leads to, and (ELOOP) one that leads to a folder it lies in
 *     "rsys_copy: cannot write"               the folder of `to` is missing, the disk is full
 *     "rsys_copy: cannot make link"
 *     "rsys_copy: source changed while it was copied"    its size is another one at the end
 *     "rsys_copy: malloc failure"
 * After 0 the copy is on the disk, whatever happens next. After 1 and -1 nothing is under the final name that was not
 * there before; of a folder that takes files in, each of them is the old or the new one as a whole. A file that
 * replaced another may be the new one when only the last step failed, the flush of its folder; a new name is taken back
 * then, if the host lets it.
 * A file is written under a temporary name beside `to`, its name with ".tmp" and the number of the process, then "-1",
 * "-2" .. while that is taken; flushed, renamed, and its folder flushed. (A name that would be too long is shortened
 * first.) A tree is built under such a name and renamed as a whole. A process that is killed, or has no memory left to
 * take its tree back, leaves the temporary name behind at most. On Windows a link to a folder that gives way to a link
 * is moved aside first, to the temporary name with ".old" added: a process that is killed just then leaves it there,
 * and nothing under `to`. A copy has the permission bits and the time of change of its source (on Windows the read-only
 * attribute); folders get theirs last. Owner, other attributes and access lists are not kept, and files with holes are
 * written whole. On Linux bytes are copied by copy_file_range where that works, else they are read and written.
 */
TESKA_API int rsys_copy(const char *from, const char *to, int flags, rsys_progress_fn progress,
                        void *context) TESKA_NOTHROW;

/* rsys_remove - remove a file, a link (itself, never what it leads to), or a folder with all it holds.
 *
 * path      what is removed
 * progress  null, or called for each thing before it goes, for a folder after what it holds; done and total are 0
 * context   handed to progress; not looked at
 * Returns 0; 1 when progress asked to stop, with the rest in place; -1 with
 *     "rsys_remove: illegal path"    null, "", "/", the root of a drive or a share, or a last part "." or ".."
 *     "rsys_remove: nothing there"
 *     "rsys_remove: cannot remove"   something stays; all else is gone, and errno has the first reason
 *     "rsys_remove: malloc failure"  something stays
 * Read-only files go too; what a read-only folder holds goes where the host lets it. File systems that are mounted
 * below are not entered, and stay; on Windows the folder that one is mounted on goes as a link, what is in the volume
 * stays. Where a folder is exchanged for a link meanwhile, the link goes and what it leads to stays: each folder is
 * opened from the one above it, on Windows held against renaming and looked at for where it lies.
 */
TESKA_API int rsys_remove(const char *path, rsys_progress_fn progress, void *context) TESKA_NOTHROW;

TESKA_END_C
#endif
