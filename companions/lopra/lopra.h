/* lopra - file calls that take UTF-8 paths, the same on every host.
 *
 * Each function is the UTF-8 form of the host's call of the same stem. The behaviour is that of Windows
 * files where the hosts differ: both path separators, no opening of directories, read-only as the only
 * permission, files that vanish when closed, and opens that exclude others.
 *
 *     FILE *f = fopen_utf8("daten\\gr\xc3\xbc" "n.txt", "rb");
 *     fclose(f);
 *     int d = open_utf8(path, LOPRA_O_CREAT | LOPRA_O_EXCL | LOPRA_O_RDWR | LOPRA_O_TEMPORARY,
 *                       LOPRA_S_IWRITE);
 *     close_utf8(d);                                           the file is gone
 *     lopra_handle h = CreateFile_utf8(path, LOPRA_GENERIC_WRITE, 0, NULL, LOPRA_OPEN_ALWAYS,
 *                                      LOPRA_FLAG_NO_BUFFERING, NULL);
 *     if (h != LOPRA_INVALID_HANDLE)                           nobody else opens it until then:
 *         CloseFile_utf8(h);
 *
 * Rules common to all functions:
 * - Paths are zero-terminated UTF-8 of any length the host allows. "/" and "\" both separate names; on
 *   POSIX every "\" is taken as "/", so a name that holds a backslash cannot be reached. Windows refuses
 *   text that is not UTF-8 with EILSEQ; POSIX passes bytes on as they are. A null path fails with EINVAL.
 * - Nothing waits for another process. What opens is a regular file or a character device: a terminal, from which
 *   reading waits for its user, /dev/null, NUL. A directory is refused with EISDIR; a named pipe, a socket and a disk
 *   with EACCES or, where the host itself refuses, ENXIO. Only regular files are replaced, locked or made below a
 *   directory.
 * - Failures set errno: the host's own value, the ones above, ENOMEM when a copy of the path finds no memory.
 * - Permissions are LOPRA_S_IREAD and LOPRA_S_IWRITE; only the second counts, since files stay readable. On
 *   POSIX a writable file gets 0666 and a read-only one 0444, both less the process's mask.
 * - Streams, descriptors and handles belong to the caller and are not inherited by programs it starts.
 * - No exception leaves. All functions may be called from several threads at once. chmod_utf8 sets the process's mask
 *   to 077 for a moment on POSIX, because the host has no other way to ask for it: files that other threads make
 *   meanwhile, without this library, may get too few permissions.
 */
#ifndef LOPRA_H
#define LOPRA_H

#include <fcntl.h>

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#if defined(LOPRA_STATIC)
#    define LOPRA_API
#elif defined(_WIN32)
#    if defined(LOPRA_BUILD)
#        define LOPRA_API __declspec(dllexport)
#    else
#        define LOPRA_API __declspec(dllimport)
#    endif
#else
#    define LOPRA_API __attribute__((visibility("default")))
#endif

#if defined(_WIN32)
typedef void *lopra_handle;
#    define LOPRA_INVALID_HANDLE ((lopra_handle)(intptr_t)-1)
#    define LOPRA_O_RDONLY _O_RDONLY
#    define LOPRA_O_WRONLY _O_WRONLY
#    define LOPRA_O_RDWR _O_RDWR
#    define LOPRA_O_CREAT _O_CREAT
#    define LOPRA_O_EXCL _O_EXCL
#    define LOPRA_O_TRUNC _O_TRUNC
#    define LOPRA_O_APPEND _O_APPEND
#    define LOPRA_O_BINARY _O_BINARY
#    define LOPRA_O_TEMPORARY _O_TEMPORARY
#else
/* A file opened by CreateFile_utf8: a descriptor; on Windows the host's handle. */
typedef int lopra_handle;
#    define LOPRA_INVALID_HANDLE (-1)
#    define LOPRA_O_RDONLY O_RDONLY
#    define LOPRA_O_WRONLY O_WRONLY
#    define LOPRA_O_RDWR O_RDWR
#    define LOPRA_O_CREAT O_CREAT
#    define LOPRA_O_EXCL O_EXCL
#    define LOPRA_O_TRUNC O_TRUNC
#    define LOPRA_O_APPEND O_APPEND
#    define LOPRA_O_BINARY 0
/* A bit of our own, unknown to the host: see open_utf8. */
#    define LOPRA_O_TEMPORARY 0x40000000
#endif

#define LOPRA_S_IREAD 0400
#define LOPRA_S_IWRITE 0200

#define LOPRA_GENERIC_READ 0x80000000u
#define LOPRA_GENERIC_WRITE 0x40000000u
#define LOPRA_OPEN_EXISTING 3u
#define LOPRA_OPEN_ALWAYS 4u
#define LOPRA_FLAG_NORMAL 0x00000080u
#define LOPRA_FLAG_NO_BUFFERING 0x20000000u

#ifdef __cplusplus
#    define LOPRA_NOTHROW noexcept
extern "C" {
#else
#    define LOPRA_NOTHROW
#endif

/* What stat32_utf8 tells of a file. */
typedef struct lopra_stat32 {
    int32_t st_size;    /* bytes */
    int32_t st_mode;    /* kind and permissions, in the host's st_mode bits */
    int32_t st_mtime32; /* last change, seconds since 1970, held to the range of the type */
} lopra_stat32;

/* ---- Open and close ---------------------------------------------------------------------------------- */

/* fopen_utf8 - open a stream.
 *
 * mode  "r", "w" or "a", then any of "+", "b" and "t", at most 7 characters in all. Without "b" the stream
 *       is a text stream, which changes line ends on Windows.
 * Returns the stream, closed with fclose, or null; another mode fails with EINVAL.
 */
LOPRA_API FILE *fopen_utf8(const char *path, const char *mode) LOPRA_NOTHROW;

/* open_utf8 - open a descriptor.
 *
 * flags  one of LOPRA_O_RDONLY, _WRONLY, _RDWR and any of the others. LOPRA_O_TEMPORARY: the file is
 *        removed when close_utf8 closes the descriptor, or at the latest when the process ends in order.
 * ...    int permission, read only when flags hold LOPRA_O_CREAT
 * Returns the descriptor, closed with close_utf8, or -1.
 *
 * A temporary file keeps its name while open, so that an exclusive create fails as long as it is there.
 * POSIX: a killed process leaves the file; a forked child that closes or ends does not remove its
 * parent's; the file is removed only while the path still names the file that was opened; close() instead
 * of close_utf8 puts the removal off to the end of the process. A relative path is meant from the directory
 * at the time of opening.
 */
LOPRA_API int open_utf8(const char *path, int flags, ...) LOPRA_NOTHROW;

/* lock_utf8 - create a lock file: a file that one process at a time has, and that is free the moment its holder dies.
 *
 * Returns a descriptor, on which nothing is to be read or written; closed with close_utf8, which removes the file. -1
 * with EEXIST when somebody holds it, in this process or another, or when the name is that of another file, which is
 * left alone.
 * The file is read-only and holds a mark that tells it from the files of others. At the latest it goes when the process
 * ends in order.
 *
 * POSIX: a killed process leaves the file, but not the host's lock on it (flock), and the next caller takes it over.
 * The file is made under another name beside it, as replace_utf8 does, so that nobody ever sees it without its lock and
 * mark. A child forked while it is held keeps it from being taken over for as long as it lives. Where a file cannot
 * have two names (FAT), a process that is killed between creating and marking it leaves it held, and so does one that
 * found no room on the disk for the mark. Windows: the host removes the files of killed processes; what a power cut
 * leaves is taken over.
 */
LOPRA_API int lock_utf8(const char *path) LOPRA_NOTHROW;

/* create_below_utf8 - create a file that a stranger has named, or empty the one that is there.
 *
 * directory  trusted; may be or pass a link; "" is the root
 * name       of the file, below the directory whatever it says: a separator at its front counts for nothing
 * Returns a descriptor open for writing bytes, closed with close_utf8, or -1: EINVAL for a component "..", ELOOP or
 * ENOTDIR for a symbolic link anywhere in the name, EISDIR for a directory, EACCES or ENXIO for what is no regular
 * file, devices included. Folders in the name are not made. Nothing outside the directory is opened for writing.
 *
 * POSIX: nothing can be exchanged meanwhile, because each folder is opened from the one above it. Windows: looks at
 * the folders first; EINVAL also for characters and names that files cannot have (":", "?", "...").
 */
LOPRA_API int create_below_utf8(const char *directory, const char *name) LOPRA_NOTHROW;

/* close_utf8 - close a descriptor and remove its file if that is temporary. Returns 0, or -1 for a bad
 * descriptor. */
LOPRA_API int close_utf8(int descriptor) LOPRA_NOTHROW;

/* CreateFile_utf8 - open a file or device by handle, with exclusion.
 *
 * access       LOPRA_GENERIC_READ, LOPRA_GENERIC_WRITE or both
 * share        0: fails while any other handle of this function is open on the file, in this process or
 *              another, and makes others fail until CloseFile_utf8; otherwise the host's share bits, and
 *              only handles opened with 0 exclude
 * security     null, or what the Windows call takes; ignored on POSIX
 * disposition  LOPRA_OPEN_EXISTING, or LOPRA_OPEN_ALWAYS to create a missing file
 * flags        LOPRA_FLAG_NORMAL or LOPRA_FLAG_NO_BUFFERING; ignored on POSIX
 * templ        null, or what the Windows call takes; ignored on POSIX
 * Returns the handle, on POSIX a descriptor, or LOPRA_INVALID_HANDLE. Other access or disposition: EINVAL.
 *
 * POSIX: the exclusion is an advisory lock on the file (flock), which ends with the process. It holds
 * between callers of this function only; other opens of the file succeed. A character device is opened
 * without becoming the controlling terminal and without waiting, and stays so; with share 0 a terminal is
 * closed to other opens with TIOCEXCL.
 */
LOPRA_API lopra_handle CreateFile_utf8(const char *path, unsigned access, unsigned share, void *security,
                                       unsigned disposition, unsigned flags, void *templ) LOPRA_NOTHROW;

/* CloseFile_utf8 - end the exclusion and close the handle. The exclusion ends even if a forked child holds
 * a copy; for the same reason a child drops its copy with close(), not with this function. Returns 0, or -1
 * for a bad handle. */
LOPRA_API int CloseFile_utf8(lopra_handle handle) LOPRA_NOTHROW;

/* ---- Save whole files -------------------------------------------------------------------------------- */

/* write_utf8 - write all size bytes of data to a descriptor; a short count of the host is continued.
 * Returns 0, or -1 when some are missing, with ENOSPC when the host gives no other reason. */
LOPRA_API int write_utf8(int descriptor, const void *data, size_t size) LOPRA_NOTHROW;

/* replace_utf8 - give a file a new content so that a crash or a power cut leaves the old one or the new one.
 *
 * path  the file; need not be there yet. A symbolic link is replaced itself, see full_path_utf8.
 * data, size  the content and its bytes
 * Returns 0 when the new content is on the disk, whatever happens next; -1 with the old file in place, or with
 * the new one when only the last step failed, the flush of the folder; EISDIR for a directory, EACCES for a
 * read-only file, EINVAL for a device or pipe on POSIX.
 *
 * The new file is written under the name of the old one with ".tmp0" after it, ".tmp1" .. while other processes save
 * the same file, flushed and renamed. A failure removes it. What a killed process leaves is removed by the next call
 * for the same path: there are never more of these files than processes that were saving at one time. On POSIX the
 * host's lock (flock) tells what was left; where a file system has none, such files stay.
 * The name must leave room for the ending: files whose names have more than about 240 bytes (on Windows characters)
 * cannot be saved, though the host could open them.
 * POSIX: owner, group and permissions stay as far as the process may set them, and nobody gains access. The
 * folder must be readable; a file system that cannot flush a folder is taken at its word. Windows: the
 * permissions are those of a new file, and an open file is not replaced.
 */
LOPRA_API int replace_utf8(const char *path, const void *data, size_t size) LOPRA_NOTHROW;

/* full_path_utf8 - the absolute path of a file, which holds when the process changes its directory.
 *
 * POSIX: without symbolic links and "..", so that replacing the file leaves a link to it in place.
 * Returns a text owned by the caller, freed with free(), or null; the folder must exist on POSIX, the file
 * need not.
 */
LOPRA_API char *full_path_utf8(const char *path) LOPRA_NOTHROW;

/* ---- Files by name ----------------------------------------------------------------------------------- */

/* chmod_utf8 - make a file writable (permission holds LOPRA_S_IWRITE) or read-only. Execute bits stay as
 * they are. Returns 0, or -1. */
LOPRA_API int chmod_utf8(const char *path, int permission) LOPRA_NOTHROW;

/* stat32_utf8 - size, mode and time of a file or directory.
 *
 * st  not null; untouched on failure
 * Returns 0; -1 when the file is missing, or with EOVERFLOW when it is larger than 2147483647 bytes.
 */
LOPRA_API int stat32_utf8(const char *path, lopra_stat32 *st) LOPRA_NOTHROW;

/* rename_utf8 - give a file another name on the same volume, replacing a file that has it. Readers see the
 * old file or the new one, never neither. Windows refuses while the target is open, and returns when the
 * names are on the disk.
 *
 * from, to  the name it has, and the one it gets
 * Returns 0, or -1.
 */
LOPRA_API int rename_utf8(const char *from, const char *to) LOPRA_NOTHROW;

/* remove_utf8 - remove a file; a directory fails with EISDIR. Windows refuses read-only and open files.
 * Returns 0, or -1. */
LOPRA_API int remove_utf8(const char *path) LOPRA_NOTHROW;

#ifdef __cplusplus
}
#endif
#endif
