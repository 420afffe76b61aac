// walk - through a tree of folders (rsys)
//
// Entries and names of all levels lie in two arrays, those of a level after those of the one above it:
//
//     levels   | top          | sub   |
//     entries  | a  sub  z    | b  c  |      top is at "sub", which was entered
//     names    | a0 sub0 z0   | b0 c0 |

#include "Source/rsys/walk.h"

#include <algorithm>
#include <climits>

namespace teska::rsys
{

namespace
{

// In the order of the bytes: numbers compare as the first eight of them do.
std::uint64_t order_of(const char *name) noexcept
{
    std::uint64_t order = 0;
    for (int i = 0; i < 8; ++i)
        order = order << 8 | (*name != '\0' ? static_cast<unsigned char>(*name++) : 0U);
    return order;
}

}  // namespace

// ---- Chain

chain::~chain()
{
    for (link &one : links_.all())
        folders::close_folder(one.at);
}

bool chain::identify(link &one) noexcept
{
    one.identified = one.identified || folders::identify(one.at, one.id);
    return one.identified;
}

bool chain::push(const folders::folder &at, bool through_link) noexcept
{
    if (!links_.push({at, {}, false, through_link})) {
        folders::folder lost = at;
        folders::close_folder(lost);
        errno = ENOMEM;
        return false;
    }
    const int far = links_.size() - 2 - folders::held_folders_max;
    if (far > 0 && !links_[far + 1].through_link && identify(links_[far]))
        folders::close_folder(links_[far].at);
    return true;
}

bool chain::pop() noexcept
{
    link left = links_.last();
    links_.pop();
    link &up = links_.last();
    bool same = true;
    if (!folders::is_open(up.at)) {
        up.at = folders::open_parent(left.at);
        folders::identity id;
        same = folders::is_open(up.at) && folders::identify(up.at, id);
        if (same && id != up.id) {
            errno = ENOENT;
            same = false;
        }
    }
    folders::close_folder(left.at);
    return same;
}

bool chain::holds(const folders::identity &id) const noexcept
{
    return std::any_of(links_.begin(), links_.end(), [&](link &one) { return identify(one) && one.id == id; });
}

// ---- Walk

bool walk::begin(const folders::folder &top) noexcept { return chain_.push(top, false) && read(); }

walk::entry *walk::next() noexcept
{
    level &at = levels_.last();
    return at.next < entries_.size() ? &entries_[at.next++] : nullptr;
}

const char *walk::path(const entry &one) noexcept
{
    path_.cut(levels_.last().path_size);
    return path_.append(name(one)) ? path_.c_str() : nullptr;
}

walk::step walk::enter(bool follow) noexcept
{
    const entry &one = current();
    const bool through_link = follow && one.through_link;
    const folders::folder at = folders::open_folder(here(), name(one), through_link);
    if (!folders::is_open(at))
        return step::failed;
    folders::identity id;
    if (follow && folders::identify(at, id) && chain_.holds(id)) {
        folders::folder again = at;
        folders::close_folder(again);
        return step::open_above;
    }
    if (path(one) == nullptr || !path_.append("/")) {
        folders::folder lost = at;
        folders::close_folder(lost);
        return step::failed;
    }
    if (!chain_.push(at, through_link))
        return step::failed;
    if (read())
        return step::entered;
    const int error = errno;
    static_cast<void>(chain_.pop());  // to the folder above, which is open
    errno = error;
    return step::failed;
}

bool walk::leave() noexcept
{
    forget(levels_.last());
    levels_.pop();
    return chain_.pop();
}

bool walk::look(entry &one) noexcept
{
    one.known = one.known || folders::look(here(), name(one), false, one.state);
    one.sure = one.known;
    return one.known;
}

bool walk::follow(entry &one) noexcept
{
    folders::status state;
    if (!folders::look(here(), name(one), true, state))
        return leads_nowhere(errno);
    one.state = state;
    one.known = one.through_link = true;
    return true;
}

bool walk::read() noexcept
{
    const level at{entries_.size(), entries_.size(), names_.size(), path_.size()};
    const auto take = [](void *context, const folders::found &name) {
        auto &self = *static_cast<walk *>(context);
        const std::size_t place = self.names_.size();
        return self.names_.append(name.name, std::strlen(name.name) + 1) &&
               self.entries_.push({order_of(name.name), place, name.state, name.sure, name.known, false});
    };
    if (!folders::read_folder(here(), this, take)) {
        forget(at);
        return false;
    }
    if (!levels_.push(at)) {
        forget(at);
        errno = ENOMEM;
        return false;
    }
    sort(at.first);
    return true;
}

void walk::sort(int first) noexcept
{
    const char *names = names_.c_str();
    std::sort(entries_.begin() + first, entries_.end(), [names](const entry &a, const entry &b) {
        return a.order != b.order ? a.order < b.order : std::strcmp(names + a.name, names + b.name) < 0;
    });
}

void walk::forget(const level &left) noexcept
{
    while (entries_.size() > left.first)
        entries_.pop();
    names_.cut(left.names);
}

}  // namespace teska::rsys
