/* flock.h - a lock between processes, held by means of a file
 *
 *     flock_rec *lock = flock_get("spool\\queue.lck");
 *     if (lock == NULL)
 *         ...                                             somebody else holds it; try again later
 *     ...                                                 alone
 *     flock_free(lock);
 *
 * Who creates the file holds the lock; the file is removed when the lock is freed or its process ends. It is read-only
 * meanwhile, and its content is the library's. Nobody waits, and nothing is reported. All functions may be called from
 * several threads at once, each lock being freed once.
 */
#ifndef TESKA_FLOCK_H
#define TESKA_FLOCK_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a lock that is held. */
typedef struct flock_rec flock_rec;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* flock_get - take the lock.
 *
 * path  of the lock file: UTF-8, at most 127 bytes, "/" and "\" both separate names. A relative one is meant from the
 *       directory of this moment.
 * Returns the lock, owned by the caller (flock_free); NULL when it is held, in this process or another, or when the
 * file cannot be made: the path is that of another file, which is left as it is, the folder is missing, the path is
 * null or longer, memory is short.
 * The lock is free the moment its holder dies, at whatever point it is killed. See lock_utf8 of lopra.h for the file
 * systems where that does not hold. POSIX: a child forked while the lock is held keeps it from being taken over, for as
 * long as it lives, when its parent is killed; it cannot free it.
 */
TESKA_API flock_rec *flock_get(const char *path) TESKA_NOTHROW;

/* flock_free - free the lock and remove its file.
 *
 * lock  may be null
 * Returns 0.
 */
TESKA_API int flock_free(flock_rec *lock) TESKA_NOTHROW;

TESKA_END_C
#endif
