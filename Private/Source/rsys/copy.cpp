// copy - files, links and whole trees copied so that no half of one is ever seen (rsys)
//
// A tree is walked through twice. First the sizes are added up, and what cannot be copied is found before anything is
// written: pipes, links that go round, a folder that holds the target or is it. Folders are compared by what they are,
// so that no second name, link or mount hides one. The second walk copies; folders get permission and time on the way
// up, so that read-only ones can be filled.
//
// A new tree is built under a temporary name, where nobody looks for anything, so that its files get their own names at
// once; it is renamed when all of it is on the disk. In a folder that takes others in, each file is brought to its name
// by itself (rsys/transfer).

#include "Platform/folders.h"
#include "Source/rsys/path_text.h"
#include "Source/rsys/remove.h"
#include "Source/rsys/transfer.h"
#include "Source/rsys/walk.h"
#include "Support/growing.h"
#include "Support/report.h"

#include "rsys.h"

#include <cerrno>

namespace
{

using namespace teska::rsys;

namespace folders = teska::folders;

constexpr unsigned owner_all = 0700;

// A folder that is being copied.
struct open_folder {
    folders::status state;  // of the source
    bool is_new;            // in the target
};

// Where one walk is, on both sides.
struct both {
    walk source;
    chain target;
    teska::growing<open_folder> open = {};  // from the top down
};

class copier
{
public:
    copier(const path_text &from, const path_text &to, int flags, rsys_progress_fn progress, void *context) noexcept
        : from_(from), to_(to), flags_(flags), transfer_(progress, context)
    {
    }

    outcome run() noexcept
    {
        outcome result = find_source();
        if (result == outcome::done)
            result = find_target();
        if (result == outcome::done && !transfer_.prepare())
            result = outcome::no_memory;
        if (result != outcome::done)
            return result;
        const folders::folder start = folders::start();
        const place from{start, from_.c_str()};
        const place to{parent_.at, last_part(to_.c_str())};
        if (source_.what == folders::kind::folder)
            return copy_folder(to);
        if (source_.what == folders::kind::link)
            return transfer::link_in_place(from, to, there_, true);
        transfer_.expect(source_.size);
        return transfer_.file_in_place(from, through_link_, to, from_.c_str(), there_, true);
    }

private:
    [[nodiscard]] bool has(int flag) const noexcept { return (flags_ & flag) != 0; }

    outcome find_source() noexcept
    {
        const folders::folder start = folders::start();
        if (!folders::look(start, from_.c_str(), false, source_))
            return errno == ENOENT || errno == ENOTDIR ? outcome::missing : reading_failed();
        folders::status led_to;
        if (has(RSYS_FOLLOW) && source_.what == folders::kind::link) {
            through_link_ = folders::look(start, from_.c_str(), true, led_to);
            if (through_link_)
                source_ = led_to;
            else if (!leads_nowhere(errno))
                return reading_failed();
        }
        return source_.what == folders::kind::other ? failed(outcome::no_file, EINVAL) : outcome::done;
    }

    outcome find_target() noexcept
    {
        const folders::folder start = folders::start();
        folders::status target;
        there_ = folders::look(start, to_.c_str(), false, target);
        if (!there_ && errno != ENOENT && errno != ENOTDIR)
            return writing_failed();
        if (there_) {
            const outcome result = compare(target);
            if (result != outcome::done)
                return result;
        }
        if (there_ && target.what == folders::kind::folder)
            return outcome::done;
        path_text above;
        if (!append_folder(to_.c_str(), above))
            return outcome::no_memory;
        parent_.at = folders::open_folder(start, above.c_str(), true);
        if (!folders::is_open(parent_.at) || !folders::identify(parent_.at, holder_))
            return writing_failed();
        return outcome::done;
    }

    // What is at the target; that of a link to a folder which takes the files of one in is the folder's.
    outcome compare(folders::status &target) noexcept
    {
        const folders::folder start = folders::start();
        const bool takes_in = has(RSYS_REPLACE) && source_.what == folders::kind::folder;
        folders::status led_to;
        if (takes_in && target.what == folders::kind::link && folders::look(start, to_.c_str(), true, led_to) &&
            led_to.what == folders::kind::folder) {
            target = led_to;
            into_link_ = true;
        }
        folders::identity source;
        if (!folders::identify(start, from_.c_str(), through_link_, source))
            return reading_failed();
        if (!folders::identify(start, to_.c_str(), into_link_, holder_))
            return writing_failed();
        if (source == holder_)
            return failed(outcome::inside, EINVAL);
        const bool fits = has(RSYS_REPLACE) && target.what == source_.what;
        return fits ? outcome::done : failed(outcome::exists, EEXIST);
    }

    // ---- Trees

    outcome copy_folder(const place &to) noexcept
    {
        if (!path_.append(from_.c_str()) || (path_.c_str()[path_.size() - 1] != '/' && !path_.append("/")))
            return outcome::no_memory;
        path_size_ = path_.size();
        const outcome result = count();
        if (result != outcome::done)
            return result;
        if (there_)
            return fill(folders::open_folder(folders::start(), to_.c_str(), into_link_), false);
        const auto build = [this](const place &beside) { return build_tree(beside); };
        return put_in_place(to, false, true, build, [](const place &made) { discard_tree(made); });
    }

    folders::folder open_source() noexcept
    {
        path_.cut(path_size_);
        return folders::open_folder(folders::start(), from_.c_str(), through_link_);
    }

    // Adds the sizes up, and refuses what cannot be copied.
    outcome count() noexcept
    {
        walk way(path_);
        const folders::folder top = open_source();
        if (!folders::is_open(top) || !way.begin(top))
            return reading_failed();
        outcome result = check(way.here());
        while (result == outcome::done) {
            if (walk::entry *one = way.next())
                result = count(way, *one);
            else if (way.depth() == 0)
                break;
            else if (!way.leave())
                result = reading_failed();
        }
        return result;
    }

    outcome count(walk &way, walk::entry &one) noexcept
    {
        if (!look(way, one))
            return reading_failed();
        switch (one.state.what) {
        case folders::kind::file:
            transfer_.expect(one.state.size);
            return outcome::done;
        case folders::kind::link:
            return outcome::done;
        case folders::kind::other:
            return failed(outcome::no_file, EINVAL);
        case folders::kind::folder:
            break;
        }
        const outcome result = enter(way);
        return result == outcome::done ? check(way.here()) : result;
    }

    // A folder that is the target, or would hold it.
    outcome check(const folders::folder &at) const noexcept
    {
        folders::identity id;
        if (!folders::identify(at, id))
            return reading_failed();
        return id == holder_ ? failed(outcome::inside, EINVAL) : outcome::done;
    }

    bool look(walk &way, walk::entry &one) const noexcept
    {
        if (!one.known && !way.look(one))
            return false;
        return !has(RSYS_FOLLOW) || one.state.what != folders::kind::link || way.follow(one);
    }

    outcome enter(walk &way) const noexcept
    {
        switch (way.enter(has(RSYS_FOLLOW))) {
        case walk::step::entered:
            return outcome::done;
        case walk::step::open_above:
            return failed(outcome::unreadable, ELOOP);
        case walk::step::failed:
            break;
        }
        return reading_failed();
    }

    outcome build_tree(const place &beside) noexcept
    {
        if (!folders::make_folder(beside.in, beside.name, source_.permission | owner_all))
            return errno == EEXIST ? outcome::taken : writing_failed();
        const outcome result = fill(folders::open_folder(beside.in, beside.name, false), true);
        if (result != outcome::done)
            discard_tree(beside);
        return result;
    }

    static void discard_tree(const place &made) noexcept
    {
        const int error = errno;
        path_text path;
        remove_tree(made.in, made.name, path, {.own = true});
        errno = error;
    }

    // Copies what is in the source into a folder, which it takes over.
    outcome fill(const folders::folder &target, bool is_new) noexcept
    {
        both at{walk(path_), {}};
        if (!folders::is_open(target) || !at.target.push(target, false))
            return writing_failed();
        const folders::folder top = open_source();
        if (!folders::is_open(top) || !at.source.begin(top))
            return reading_failed();
        if (!at.open.push({source_, is_new}))
            return outcome::no_memory;
        for (;;) {
            walk::entry *one = at.source.next();
            const bool last = one == nullptr && at.source.depth() == 0;
            const outcome result = one != nullptr ? take(at, *one) : finish(at);
            if (last || result != outcome::done)
                return result;
        }
    }

    outcome take(both &at, walk::entry &one) noexcept
    {
        if (!look(at.source, one))
            return reading_failed();
        const place from{at.source.here(), at.source.name(one)};
        const place to{at.target.here(), at.source.name(one)};
        bool there = false;
        bool same = false;
        outcome result = there_ ? meet(one, from, to, there, same) : outcome::done;
        if (result != outcome::done)
            return result;
        switch (one.state.what) {
        case folders::kind::folder:
            return same ? failed(outcome::inside, EINVAL) : enter_both(at, to, there);
        case folders::kind::file:
            if (same)
                transfer_.pass(one.state.size);
            else if (there_)
                return transfer_.file_in_place(from, one.through_link, to, at.source.path(one), there, false);
            else
                result = transfer_.file(from, one.through_link, to, at.source.path(one));
            break;
        case folders::kind::link:
            if (there_ && !same)
                return transfer::link_in_place(from, to, there, false);
            if (!same)
                result = transfer::link(from, to);
            break;
        case folders::kind::other:
            return failed(outcome::no_file, EINVAL);
        }
        return result == outcome::taken ? outcome::exists : result;
    }

    // Looks for what has a name in the target already. It gives way to its like; a file that is the source itself under
    // another name stays.
    static outcome meet(const walk::entry &one, const place &from, const place &to, bool &there, bool &same) noexcept
    {
        folders::status state;
        there = folders::look(to.in, to.name, false, state);
        if (!there)
            return errno == ENOENT ? outcome::done : writing_failed();
        if (state.what != one.state.what)
            return failed(outcome::exists, EEXIST);
        folders::identity source;
        folders::identity target;
        if (!folders::identify(from.in, from.name, one.through_link, source))
            return reading_failed();
        if (!folders::identify(to.in, to.name, false, target))
            return writing_failed();
        same = source == target;
        return outcome::done;
    }

    // Into the folder that comes next, on both sides.
    outcome enter_both(both &at, const place &to, bool there) noexcept
    {
        const folders::status state = at.source.current().state;
        if (!there && !folders::make_folder(to.in, to.name, state.permission | owner_all))
            return errno == EEXIST ? outcome::exists : writing_failed();
        const folders::folder next = folders::open_folder(to.in, to.name, false);
        if (!folders::is_open(next) || !at.target.push(next, false))
            return writing_failed();
        return at.open.push({state, !there}) ? enter(at.source) : outcome::no_memory;
    }

    // All of a folder is copied.
    static outcome finish(both &at) noexcept
    {
        const auto [state, is_new] = at.open.last();
        if ((is_new && !folders::finish_folder(at.target.here(), state)) || !folders::flush_folder(at.target.here()))
            return writing_failed();
        if (at.source.depth() == 0)
            return outcome::done;
        at.open.pop();
        if (!at.target.pop())
            return writing_failed();
        return at.source.leave() ? outcome::done : reading_failed();
    }

    const path_text &from_;
    const path_text &to_;
    int flags_;
    transfer transfer_;
    path_text path_;  // of the source, as the walk goes
    std::size_t path_size_ = 0;
    folders::status source_;
    bool through_link_ = false;      // the source is what a link leads to
    bool there_ = false;             // the target exists
    bool into_link_ = false;         // as a link to the folder that takes others in
    folders::held_folder parent_;    // of the target, unless that is a folder which is there
    folders::identity holder_ = {};  // that folder, or the target itself
};

}  // namespace

int rsys_copy(const char *from, const char *to, int flags, rsys_progress_fn progress, void *context) TESKA_NOTHROW
{
    path_text source;
    path_text target;
    const bool taken = take_path(from, source) && take_path(to, target);
    if (!taken && errno == EINVAL) {
        TESKA_ERR("rsys_copy: illegal path");
        errno = EINVAL;
        return -1;
    }
    outcome result = outcome::no_memory;
    if (taken)
        result = copier(source, target, flags, progress, context).run();
    const int error = result == outcome::no_memory ? ENOMEM : errno;
    switch (result) {
    case outcome::done:
        return 0;
    case outcome::stopped:
        return 1;
    case outcome::missing:
        TESKA_ERR("rsys_copy: source is missing");
        break;
    case outcome::no_file:
        TESKA_ERR("rsys_copy: not a file or folder");
        break;
    case outcome::exists:
        TESKA_ERR("rsys_copy: target exists");
        break;
    case outcome::inside:
        TESKA_ERR("rsys_copy: target lies in the source");
        break;
    case outcome::unreadable:
        TESKA_ERR("rsys_copy: cannot read");
        break;
    case outcome::taken:
    case outcome::unwritable:
        TESKA_ERR("rsys_copy: cannot write");
        break;
    case outcome::no_link:
        TESKA_ERR("rsys_copy: cannot make link");
        break;
    case outcome::changed:
        TESKA_ERR("rsys_copy: source changed while it was copied");
        break;
    case outcome::no_memory:
        TESKA_ERR("rsys_copy: malloc failure");
        break;
    }
    errno = error;
    return -1;
}
