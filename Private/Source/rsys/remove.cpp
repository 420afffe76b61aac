// remove - files, links and whole trees removed (rsys)
//
// A walk goes down first, and each folder is removed on the way up, by then empty if all went well. What cannot be
// removed is passed over, and the folders above it stay with it.
//
// Nothing outside can be reached: a folder is opened from the one above it and not through a link, and its names are
// removed from it. A folder that was exchanged for a link since it was read does not open, and goes as the link it is.

#include "Source/rsys/remove.h"

#include "Source/rsys/walk.h"
#include "Support/report.h"

#include <cerrno>
#include <cstring>

namespace teska::rsys
{

namespace
{

class remover
{
public:
    remover(path_text &path, const removing &how) noexcept : path_(path), how_(how) {}

    removal run(const folders::folder &parent, const char *name) noexcept
    {
        folders::status state;
        if (!folders::look(parent, name, false, state))
            return errno == ENOENT || errno == ENOTDIR ? removal::missing : removal::some_left;
        const bool is_folder = state.what == folders::kind::folder;
        const int reason = is_folder ? empty(parent, name) : 0;
        if (!ended())
            remove(parent, name, path_.c_str(), is_folder, reason);
        errno = error_;
        return result_;
    }

private:
    void note(int error) noexcept
    {
        if (result_ == removal::gone)
            error_ = error;
        result_ = removal::some_left;
    }

    void end(removal result) noexcept
    {
        result_ = result;
        error_ = result == removal::no_memory ? ENOMEM : 0;
    }

    // Whether nothing more is to be done.
    [[nodiscard]] bool ended() const noexcept
    {
        return result_ == removal::stopped || result_ == removal::no_memory || lost_;
    }

    // A folder that was not entered may have become something else. reason: why it was not, or 0.
    void remove(const folders::folder &in, const char *name, const char *path, bool is_folder, int reason = 0) noexcept
    {
        if (path == nullptr) {
            end(removal::no_memory);
            return;
        }
        if (how_.progress != nullptr && how_.progress(path, 0, 0, how_.context) != 0) {
            end(removal::stopped);
            return;
        }
        bool gone = folders::remove(in, name, is_folder);
        if (!gone && is_folder && errno == ENOTDIR)
            gone = folders::remove(in, name, false);
        if (!gone && errno != ENOENT)
            note(reason != 0 ? reason : errno);
    }

    // Removes what is in a folder. Returns 0, or why it does not open: it may be empty, or exchanged for a link.
    int empty(const folders::folder &parent, const char *name) noexcept
    {
        const std::size_t size = path_.size();
        folders::folder top = folders::open_folder(parent, name, false);
        if (!folders::is_open(top)) {
            const int reason = errno;
            if (reason == ENOMEM)
                end(removal::no_memory);
            return reason;
        }
        if (!path_.append("/")) {
            folders::close_folder(top);
            end(removal::no_memory);
            return 0;
        }
        {
            walk way(path_);
            prepare(top);
            if (way.begin(top))
                go(way);
            else if (errno == ENOMEM)
                end(removal::no_memory);
            else
                note(errno);
        }
        path_.cut(size);
        return 0;
    }

    void prepare(const folders::folder &top) noexcept
    {
        knows_top_ = folders::identify(top, top_);
        if (!knows_top_)
            note(errno);
        if (how_.own)
            folders::unlock_folder(top);
    }

    void go(walk &way) noexcept
    {
        while (!ended()) {
            if (walk::entry *one = way.next()) {
                take(way, *one);
            } else if (way.depth() == 0) {
                return;
            } else if (!way.leave()) {
                lose();
            } else {
                const walk::entry &left = way.current();
                if (left.state.what == folders::kind::folder)
                    remove(way.here(), way.name(left), way.path(left), true);
            }
        }
    }

    void take(walk &way, walk::entry &one) noexcept
    {
        if (!one.sure && !way.look(one)) {
            if (errno != ENOENT)
                note(errno);
        } else if (one.state.what != folders::kind::folder) {
            remove(way.here(), way.name(one), way.path(one), false);
        } else {
            enter(way);
        }
    }

    void enter(walk &way) noexcept
    {
        switch (way.enter(false)) {
        case walk::step::entered:
            break;
        case walk::step::open_above:
            return;
        case walk::step::failed:
            if (errno == ENOMEM)
                end(removal::no_memory);
            else if (errno != ENOENT)
                remove(way.here(), way.name(way.current()), way.path(way.current()), true, errno);
            return;
        }
        folders::identity id;
        if (!folders::identify(way.here(), id))
            pass_by(way, errno);
        else if (!knows_top_ || folders::is_mounted(way.here(), id, top_))
            pass_by(way, EXDEV);
        else if (how_.own)
            folders::unlock_folder(way.here());
    }

    // Out of a folder that must not be emptied, as one where a file system is mounted.
    void pass_by(walk &way, int reason) noexcept
    {
        note(reason);
        if (!way.leave())
            lose();
    }

    // The way up is gone.
    void lose() noexcept
    {
        note(errno);
        lost_ = true;
    }

    path_text &path_;
    const removing &how_;
    folders::identity top_;
    bool knows_top_ = false;
    removal result_ = removal::gone;
    int error_ = 0;
    bool lost_ = false;
};

// A root, or a name that leads to the folder itself or the one above it.
bool is_not_removable(const char *name) noexcept
{
    return *name == '\0' || std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

removal remove_path(path_text &path, const removing &how) noexcept
{
    path_text name;  // the other text moves while it grows
    path_text above;
    if (!name.append(last_part(path.c_str())) || !append_folder(path.c_str(), above))
        return removal::no_memory;
    const folders::held_folder parent(folders::enter_folder(folders::start(), above.c_str()));
    if (folders::is_open(parent.at))
        return remove_tree(parent.at, name.c_str(), path, how);
    if (errno == ENOMEM)
        return removal::no_memory;
    return errno == ENOENT || errno == ENOTDIR ? removal::missing : removal::some_left;
}

}  // namespace

removal remove_tree(const folders::folder &parent, const char *name, path_text &path, const removing &how) noexcept
{
    return remover(path, how).run(parent, name);
}

}  // namespace teska::rsys

int rsys_remove(const char *path, rsys_progress_fn progress, void *context) TESKA_NOTHROW
{
    using namespace teska::rsys;
    path_text text;
    const bool taken = take_path(path, text);
    if ((!taken && errno == EINVAL) || (taken && is_not_removable(last_part(text.c_str())))) {
        TESKA_ERR("rsys_remove: illegal path");
        errno = EINVAL;
        return -1;
    }
    const removal result = taken ? remove_path(text, {progress, context}) : removal::no_memory;
    const int error = errno;
    switch (result) {
    case removal::gone:
        return 0;
    case removal::stopped:
        return 1;
    case removal::missing:
        TESKA_ERR("rsys_remove: nothing there");
        break;
    case removal::some_left:
        TESKA_ERR("rsys_remove: cannot remove");
        break;
    case removal::no_memory:
        TESKA_ERR("rsys_remove: malloc failure");
        break;
    }
    errno = error;
    return -1;
}
