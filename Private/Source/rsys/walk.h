// walk - through a tree of folders, names in the order of their bytes, each folder before what is in it
//
//     walk way(path);                              path: what stands before the names, "" or "top/"
//     way.begin(top);
//     for (;;) {
//         const walk::entry *entry = way.next();   none left: way.leave(), unless way.depth() is 0
//         ...                                      way.enter(*entry, follow) goes into it
//     }
//
// A folder is read as a whole when it is entered. Of those above it only the nearest stay open
// (folders::held_folders_max), so that no tree is too deep; going up to one that was closed leads through "..", and it
// must be the same. What was entered through a link has no way up: the folder that holds the link stays open.

#ifndef TESKA_SOURCE_RSYS_WALK_H
#define TESKA_SOURCE_RSYS_WALK_H

#include "Platform/folders.h"
#include "Source/rsys/path_text.h"
#include "Support/growing.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace teska::rsys
{

// Of what the host says when it is asked what a link leads to.
[[nodiscard]] inline bool leads_nowhere(int error) noexcept
{
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

// The folders from a top down to one.
class chain
{
public:
    chain() noexcept = default;
    chain(const chain &) = delete;
    chain &operator=(const chain &) = delete;
    ~chain();

    // Takes an open folder over, also when it fails.
    [[nodiscard]] bool push(const folders::folder &at, bool through_link) noexcept;
    // False when the folder above is not to be had any more; nothing can be done in the chain then.
    [[nodiscard]] bool pop() noexcept;

    // Whether a folder is one of these.
    [[nodiscard]] bool holds(const folders::identity &id) const noexcept;

    [[nodiscard]] const folders::folder &here() const noexcept { return links_.last().at; }
    [[nodiscard]] int depth() const noexcept { return links_.size() - 1; }

private:
    struct link {
        folders::folder at;  // closed when it is too far up
        folders::identity id;
        bool identified;
        bool through_link;
    };

    static bool identify(link &one) noexcept;

    growing<link> links_;
};

class walk
{
public:
    struct entry {
        std::uint64_t order;  // the first bytes of the name as one number
        std::size_t name;     // where it begins
        folders::status state;
        bool sure;          // whether the kind is known
        bool known;         // whether all of the state is
        bool through_link;  // the state is that of what a link leads to
    };

    enum class step { entered, open_above, failed };

    explicit walk(path_text &path) noexcept : path_(path) {}

    // Takes an open folder over. False with errno set, ENOMEM when memory is short.
    [[nodiscard]] bool begin(const folders::folder &top) noexcept;

    // The next name of the folder, or null.
    [[nodiscard]] entry *next() noexcept;
    // The one that next gave last; after leave that is the folder that was left.
    [[nodiscard]] entry &current() const noexcept { return entries_[levels_.last().next - 1]; }
    [[nodiscard]] const char *name(const entry &one) const noexcept { return names_.c_str() + one.name; }
    // Its path, valid until the next call; null when memory is short.
    [[nodiscard]] const char *path(const entry &one) noexcept;

    // Goes into the current entry. With `follow` a folder that is open above is not entered.
    [[nodiscard]] step enter(bool follow) noexcept;
    // False when the walk cannot go on, with errno set.
    [[nodiscard]] bool leave() noexcept;

    // Asks for the status of an entry where it is not known. False with errno set.
    [[nodiscard]] bool look(entry &one) noexcept;
    // What a link leads to becomes its state; one that leads nowhere stays as it is. False with errno set.
    [[nodiscard]] bool follow(entry &one) noexcept;

    [[nodiscard]] const folders::folder &here() const noexcept { return chain_.here(); }
    [[nodiscard]] int depth() const noexcept { return chain_.depth(); }

private:
    struct level {
        int first;              // of its entries
        int next;               // the entry that comes next
        std::size_t names;      // where its names begin
        std::size_t path_size;  // bytes of its path, the separator included
    };

    bool read() noexcept;
    void sort(int first) noexcept;
    void forget(const level &left) noexcept;

    path_text &path_;
    chain chain_;
    growing<level> levels_;
    growing<entry> entries_;  // of all levels, one after the other
    path_text names_;         // likewise, each with its zero
};

}  // namespace teska::rsys

#endif
