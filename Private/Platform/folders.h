// folders - the host's calls for folders, and for the files, links and folders in them
//
// Everything is named from an open folder, so that what lies between a walk and the root cannot be exchanged under it.
// Names and paths are zero-terminated UTF-8 with "/" between their parts; on Windows a name as the host gave it may
// have unpaired surrogates, each as the three bytes that UTF-8 would give it. Paths have any length.
//
// A call that a signal interrupted is made again. Failures give false or -1, or a folder that is not open, and set
// errno.

#ifndef TESKA_PLATFORM_FOLDERS_H
#define TESKA_PLATFORM_FOLDERS_H

#include <cstddef>
#include <cstdint>

namespace teska::folders
{

enum class kind { file, folder, link, other };

// A time, counted from 1970; the nanoseconds are 0 .. 999,999,999.
struct moment {
    std::int64_t seconds = 0;
    int nanoseconds = 0;
};

struct status {
    kind what = kind::other;
    bool hidden = false;  // by an attribute
    std::int64_t size = 0;
    moment changed = {};
    unsigned permission = 0;  // bits 0777; Windows has 0200 alone
};

// What a file or folder is, whatever its names are.
struct identity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    std::uint64_t number_high = 0;

    bool operator==(const identity &) const = default;
};

// An open folder: POSIX has its descriptor; Windows a handle that nobody can rename it under, and its path, owned.
struct folder {
    std::intptr_t handle = -1;
    void *path = nullptr;
};

inline bool is_open(const folder &at) noexcept { return at.handle != -1; }

// Where paths are named from: the folder of the process for relative ones.
folder start() noexcept;

// Owns an open folder.
struct held_folder {
    held_folder() noexcept = default;
    explicit held_folder(const folder &opened) noexcept : at(opened) {}
    held_folder(const held_folder &) = delete;
    held_folder &operator=(const held_folder &) = delete;
    ~held_folder();

    folder at;
};

// How many folders above the one in which it works a walk may hold open.
extern const int held_folders_max;

// ---- Paths

// The bytes of a path that name its root, without the separator after a share: 1 of "/a", 3 of "C:/a", 2 of "C:a", 0 of
// "a".
std::size_t root_length(const char *path) noexcept;

// Whether paths must be UTF-8.
extern const bool utf8_only;

// The number of this process.
unsigned long process_number() noexcept;

// ---- Folders

// follow: the last part may be a link.
folder open_folder(const folder &parent, const char *name, bool follow) noexcept;
// To name things in: the right to read it is not needed, and it cannot be read or flushed.
folder enter_folder(const folder &parent, const char *name) noexcept;
// The folder above, not of one that was reached through a link.
folder open_parent(const folder &at) noexcept;
void close_folder(folder &at) noexcept;  // keeps errno

// A name in a folder, with what the host says about it on the way.
struct found {
    const char *name = nullptr;  // valid during the call
    bool sure = false;           // whether the kind is known
    bool known = false;          // whether the rest of the status is
    status state = {};
};

// Calls take for every name but "." and ".."; it returns false when memory runs out, and reading ends. A folder is read
// once.
bool read_folder(const folder &at, void *context, bool (*take)(void *context, const found &name)) noexcept;

bool make_folder(const folder &parent, const char *name, unsigned permission) noexcept;

// Gives a folder permission and time of another; what its file system has no place for does not count.
bool finish_folder(const folder &at, const status &like) noexcept;
bool flush_folder(const folder &at) noexcept;
// Lets the process into a folder of its own that is read-only. Does what it can.
void unlock_folder(const folder &at) noexcept;

// ---- What has a name in a folder

bool look(const folder &parent, const char *name, bool follow, status &state) noexcept;
bool identify(const folder &parent, const char *name, bool follow, identity &id) noexcept;
bool identify(const folder &at, identity &id) noexcept;

// Whether another file system, or another part of one, begins here.
bool is_mounted(const folder &at, const identity &id, const identity &top) noexcept;

// Gives a name in place of another in the same folder. Without replace it fails with EEXIST when the name is taken.
bool rename(const folder &parent, const char *from, const char *to, bool replace) noexcept;

// is_folder: an empty one; otherwise everything else. Read-only ones too.
bool remove(const folder &parent, const char *name, bool is_folder) noexcept;

// Makes a link again under another name. `reading` says after a failure that the link itself could not be read.
bool copy_link(const folder &from, const char *name, const folder &to, const char *new_name, bool &reading) noexcept;

// ---- Files: descriptors as in Platform/descriptor.h

int open_file(const folder &parent, const char *name, bool follow) noexcept;  // for reading; does not wait for pipes
int create_file(const folder &parent, const char *name) noexcept;  // new, for writing; only its owner may use it yet
bool file_status(int descriptor, status &state) noexcept;

// Moves the next bytes inside the host: returns how many, 0 at the end of the file, or -1 when this host cannot do it
// for these files, so that they have to be read and written from here on.
std::int64_t move_bytes(int from, int to, std::size_t count) noexcept;

bool finish_file(int descriptor, const status &like) noexcept;  // as finish_folder
bool flush_file(int descriptor) noexcept;
bool close_file(int descriptor) noexcept;

}  // namespace teska::folders

#endif
