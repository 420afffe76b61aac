/* archive.h - the class FilePacker for C and for other languages: entries with names, one after another in a file
 *
 *     archive *out = archive_create("pictures.fp", "proofs of May", NULL);
 *     if (archive_add(out, "index.txt", text, length) != 0) ...
 *     archive_kill(out);
 *
 *     archive *in = archive_open("pictures.fp", NULL);
 *     char *content, name[ARCHIVE_NAME_SIZE];
 *     int bytes;
 *     while (archive_next(in, &content, &bytes, name) == 0)
 *         ...
 *
 * Format, limits and the codes of failures are those of filepacker.h; 0 is success. An archive is used by one thread at
 * a time; different ones are independent of each other.
 */
#ifndef TESKA_ARCHIVE_H
#define TESKA_ARCHIVE_H
#include "teska_api.h"
TESKA_BEGIN_C

#define ARCHIVE_NAME_SIZE 200
#define ARCHIVE_TEXT_SIZE 160

/* The opaque record of an archive that is open. */
typedef struct archive archive;

/* archive_create - create an archive; a file that is there is replaced.
 *
 * path         UTF-8
 * description  at most 199 characters of it are stored; null counts as ""
 * code         out: 0, or why not; may be null
 * Returns the archive, owned by the caller (archive_kill), or NULL with "archive_create: cannot create archive" or
 * "archive_create: insufficient memory".
 */
TESKA_API archive *archive_create(const char *path, const char *description, int *code) TESKA_NOTHROW;

/* archive_open - open an archive for reading, at its first entry.
 *
 * Returns as archive_create, with "archive_open: cannot open archive" or "archive_open: insufficient memory".
 */
TESKA_API archive *archive_open(const char *path, int *code) TESKA_NOTHROW;

/* archive_kill - close and free an archive; null is accepted. Returns NULL. */
TESKA_API archive *archive_kill(archive *a) TESKA_NOTHROW;

/* archive_add, archive_add_file - append an entry of a memory block, of a file.
 *
 * name    1 to 199 characters; that of a file may be null: its path
 * length  bytes, 0 and more
 * Returns 0 or the code of FilePacker::AddFileAsBuffer or AddFile. A name that was added before is skipped, with 0.
 */
TESKA_API int archive_add(archive *a, const char *name, const char *bytes, int length) TESKA_NOTHROW;
TESKA_API int archive_add_file(archive *a, const char *path, const char *name) TESKA_NOTHROW;

/* archive_next - read the next entry into memory.
 *
 * bytes, length  out: the content with a zero byte after it, valid until the next call or archive_kill
 * name           ARCHIVE_NAME_SIZE characters
 * Returns 0; 9 at the end; else the code of FilePacker::UnpackFileAsBuffer.
 */
TESKA_API int archive_next(archive *a, char **bytes, int *length, char *name) TESKA_NOTHROW;

/* archive_get_error - code and text of the last failure; text takes ARCHIVE_TEXT_SIZE characters and may be null. */
TESKA_API int archive_get_error(archive *a, char *text) TESKA_NOTHROW;

/* archive_get_description - the description.
 *
 * text  ARCHIVE_NAME_SIZE characters
 * Returns 0.
 */
TESKA_API int archive_get_description(archive *a, char *text) TESKA_NOTHROW;

TESKA_END_C
#endif
