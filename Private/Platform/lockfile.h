// lockfile - lock files of which can be told that their holder is gone
//
// A lock file is one that its holder created exclusively. While a holder lives the file carries a mark and nobody can
// take it for left behind; when the holder was killed, the mark stays and the next who wants the lock removes the file.
// Hosts that remove the files of killed processes themselves need none of this.

#ifndef TESKA_PLATFORM_LOCKFILE_H
#define TESKA_PLATFORM_LOCKFILE_H

namespace teska
{

// Marks a file that the caller has just created. Failing leaves it without a mark: it is a lock file all the same, only
// nobody will remove it should its holder be killed.
void mark_lock_file(int descriptor) noexcept;

// Removes the file at path if it is marked and has no holder; any other is left alone. Returns whether it was there and
// is gone now, so that creating it may succeed.
bool remove_left_lock_file(const char *path) noexcept;

}  // namespace teska

#endif
