// rsys - folders: lists of what is in them, what a path leads to, folders made (files)
//
// A list is one block of texts and one of entries. Paths follow one another in the block as they do in the list:
//
//     texts    a\0 a/c.txt\0 a-b.txt\0
//     entries  path 0, name 0 | path 2, name 4 | path 10, name 10
//
// They come from a walk (rsys/walk) that takes the names of a folder in the order of their bytes and goes into a folder
// right after its name, which makes the order of whole paths with "/" below every other byte. Copying is in rsys/copy,
// removing in rsys/remove, patterns in rsys/match.
//
// Process-wide state: none.
#include "rsys.h"

#include "Platform/folders.h"
#include "Source/rsys/path_text.h"
#include "Source/rsys/walk.h"
#include "Support/growing.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace folders = teska::folders;

using teska::growing;
using teska::heap_block;
using teska::heap_record;
using teska::make_record;
using teska::rsys::is_utf8;
using teska::rsys::path_text;
using teska::rsys::take_path;
using teska::rsys::walk;

struct rsys_dir {
    growing<rsys_entry> entries;
    heap_block<char> texts;  // the paths, in the order of the entries
    int skipped = 0;
};

namespace
{

constexpr int depth_max = 200;

int kind_number(folders::kind what) noexcept
{
    switch (what) {
    case folders::kind::file:
        return RSYS_FILE;
    case folders::kind::folder:
        return RSYS_FOLDER;
    case folders::kind::link:
        return RSYS_LINK;
    case folders::kind::other:
        break;
    }
    return RSYS_OTHER;
}

// The reason of the host, for who looks at errno after the report.
void keep_reason(int error) noexcept { errno = error; }

// ---- Lists

// Rounded down, before 1970 too.
long long milliseconds(const folders::moment &time) noexcept
{
    return time.seconds * 1000LL + time.nanoseconds / 1000000;
}

class scan
{
public:
    scan(rsys_dir &dir, const char *pattern, int flags) noexcept
        : dir_(dir), pattern_(pattern), flags_(flags), way_(path_)
    {
    }

    // False with errno set: ENOMEM, or the folder cannot be read.
    bool run(const folders::folder &top) noexcept
    {
        if (!way_.begin(top))
            return false;
        for (;;) {
            walk::entry *one = way_.next();
            if (one != nullptr) {
                if (!take(*one))
                    return false;
            } else if (way_.depth() == 0) {
                finish();
                return true;
            } else if (!way_.leave()) {
                return false;
            }
        }
    }

private:
    [[nodiscard]] bool has(int flag) const noexcept { return (flags_ & flag) != 0; }

    bool pass_over() noexcept
    {
        ++dir_.skipped;
        return true;
    }

    // The following return false with ENOMEM.

    bool take(walk::entry &one) noexcept
    {
        const char *name = way_.name(one);
        if (!has(RSYS_HIDDEN) && (*name == '.' || one.state.hidden))
            return true;
        if (!is_utf8(name) || std::strchr(name, '\\') != nullptr)
            return pass_over();
        if (!one.sure && !way_.look(one))
            return pass_over();
        if (has(RSYS_FOLLOW) && one.state.what == folders::kind::link)
            static_cast<void>(way_.follow(one));  // where the host tells no more, a link is listed
        if (is_wanted(one) && rsys_match(pattern_, name, flags_) != 0) {
            // The kind is asked for again with the rest, and may have changed.
            if (!one.known && !way_.look(one))
                return pass_over();
            if (is_wanted(one) && !list(one))
                return false;
        }
        return one.state.what != folders::kind::folder || !has(RSYS_DEEP) || enter();
    }

    [[nodiscard]] bool is_wanted(const walk::entry &one) const noexcept
    {
        return one.state.what != folders::kind::folder || has(RSYS_FOLDERS);
    }

    bool list(const walk::entry &one) noexcept
    {
        const char *path = way_.path(one);
        const rsys_entry entry{nullptr,      nullptr,        kind_number(one.state.what),
                               way_.depth(), one.state.size, milliseconds(one.state.changed)};
        if (path != nullptr && texts_.append(path, std::strlen(path) + 1) && dir_.entries.push(entry))
            return true;
        errno = ENOMEM;
        return false;
    }

    bool enter() noexcept
    {
        if (way_.depth() == depth_max)
            return pass_over();
        if (way_.enter(has(RSYS_FOLLOW)) != walk::step::failed)
            return true;
        return errno != ENOMEM && pass_over();
    }

    // The texts move no more.
    void finish() noexcept
    {
        dir_.texts = texts_.take();
        const char *path = dir_.texts.get();
        for (rsys_entry &entry : dir_.entries.all()) {
            const char *separator = std::strrchr(path, '/');
            entry.path = path;
            entry.name = separator != nullptr ? separator + 1 : path;
            path += std::strlen(path) + 1;
        }
    }

    rsys_dir &dir_;
    const char *pattern_;
    int flags_;
    path_text path_;
    walk way_;
    path_text texts_;
};

// The list of a folder, or an empty owner with errno set. A path without text is one that found no memory.
heap_record<rsys_dir> list(const path_text &path, const char *pattern, int flags) noexcept
{
    heap_record<rsys_dir> dir = path.size() != 0 ? make_record<rsys_dir>() : nullptr;
    if (!dir) {
        errno = ENOMEM;
        return nullptr;
    }
    const folders::folder top = folders::open_folder(folders::start(), path.c_str(), true);
    return folders::is_open(top) && scan(*dir, pattern, flags).run(top) ? std::move(dir) : nullptr;
}

// ---- Folders made

enum class making { made, in_the_way, refused };

// A part of a path on the way to a folder.
making make_part(const char *path) noexcept
{
    folders::status state;
    const folders::folder from = folders::start();
    if (folders::look(from, path, true, state)) {
        errno = ENOTDIR;
        return state.what == folders::kind::folder ? making::made : making::in_the_way;
    }
    if (errno == ENOTDIR)
        return making::in_the_way;
    if (errno != ENOENT)
        return making::refused;
    constexpr unsigned all = 0777;
    if (folders::make_folder(from, path, all))
        return making::made;
    if (errno != EEXIST)
        return making::refused;
    // Another made it meanwhile; or it is a link that leads nowhere.
    const bool is_folder = folders::look(from, path, true, state) && state.what == folders::kind::folder;
    errno = EEXIST;
    return is_folder ? making::made : making::in_the_way;
}

// The text is cut after each part in turn.
making make_all(path_text &path) noexcept
{
    char *text = path.data();
    std::size_t at = folders::root_length(text);
    for (;;) {
        at += std::strspn(text + at, "/");
        at += std::strcspn(text + at, "/");
        const char after = text[at];
        text[at] = '\0';
        const making result = make_part(text);
        text[at] = after;
        if (result != making::made || after == '\0')
            return result;
    }
}

}  // namespace

// ---- Life of a list -------------------------------------------------------------------------------------------------

rsys_dir *rsys_dir_new(const char *folder, const char *pattern, int flags) TESKA_NOTHROW
{
    path_text path;
    if (!take_path(folder, path) && errno == EINVAL) {
        TESKA_ERR("rsys_dir_new: illegal path");
        keep_reason(EINVAL);
        return nullptr;
    }
    heap_record<rsys_dir> dir = list(path, pattern, flags);
    if (dir)
        return dir.release();
    const int error = errno;
    if (error == ENOMEM)
        TESKA_ERR("rsys_dir_new: malloc failure");
    else
        TESKA_ERR("rsys_dir_new: cannot read folder");
    keep_reason(error);
    return nullptr;
}

rsys_dir *rsys_dir_kill(rsys_dir *dir) TESKA_NOTHROW
{
    teska::kill_record(dir);
    return nullptr;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int rsys_dir_num(const rsys_dir *dir) TESKA_NOTHROW { return dir->entries.size(); }

int rsys_dir_skipped(const rsys_dir *dir) TESKA_NOTHROW { return dir->skipped; }

const rsys_entry *rsys_dir_get(const rsys_dir *dir, int index) TESKA_NOTHROW
{
    return index >= 0 && index < dir->entries.size() ? &dir->entries[index] : nullptr;
}

int rsys_kind(const char *path) TESKA_NOTHROW
{
    path_text name;
    folders::status state;
    if (take_path(path, name))
        return folders::look(folders::start(), name.c_str(), false, state) ? kind_number(state.what) : -1;
    if (errno == EINVAL) {
        TESKA_ERR("rsys_kind: illegal path");
        keep_reason(EINVAL);
    }
    return -1;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int rsys_make_folder(const char *path) TESKA_NOTHROW
{
    path_text name;
    if (!take_path(path, name) && errno == EINVAL) {
        TESKA_ERR("rsys_make_folder: illegal path");
        keep_reason(EINVAL);
        return -1;
    }
    const making result = name.size() != 0 ? make_all(name) : making::refused;
    if (result == making::made)
        return 0;
    const int error = errno;
    if (result == making::in_the_way)
        TESKA_ERR("rsys_make_folder: a file is in the way");
    else
        TESKA_ERR("rsys_make_folder: cannot make folder");
    keep_reason(error);
    return -1;
}
