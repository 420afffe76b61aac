// transfer - one file or link copied: its bytes, and how it comes to its final name
//
//     create "to.tmp1234"  ->  write  ->  permission, time  ->  flush  ->  rename to "to"  ->  flush the folder
//
// Data that were not flushed before the rename might reach the disk after it: a power cut would leave the name with
// half a file. The last flush makes success mean that the copy is found after any accident.

#ifndef TESKA_SOURCE_RSYS_TRANSFER_H
#define TESKA_SOURCE_RSYS_TRANSFER_H

#include "Platform/folders.h"
#include "Source/rsys/path_text.h"
#include "Support/memory.h"

#include "rsys.h"

#include <cerrno>

namespace teska::rsys
{

// How a copy ended; errno tells the reason.
enum class outcome {
    done,
    stopped,
    missing,
    no_file,
    exists,
    taken,  // the temporary name is in use: another one is tried
    inside,
    unreadable,
    unwritable,
    no_link,
    changed,
    no_memory
};

inline outcome failed(outcome result, int error) noexcept
{
    errno = error;
    return result;
}

// What a failure of the host means on either side.
inline outcome reading_failed() noexcept { return errno == ENOMEM ? outcome::no_memory : outcome::unreadable; }
inline outcome writing_failed() noexcept { return errno == ENOMEM ? outcome::no_memory : outcome::unwritable; }

// A name in an open folder.
struct place {
    const folders::folder &in;
    const char *name;
};

// Names beside a final one, to be tried until one is free.
class temporary_name
{
public:
    // False when memory is short.
    [[nodiscard]] bool make(const char *name) noexcept;
    [[nodiscard]] bool next() noexcept;

    [[nodiscard]] bool is_last() const noexcept;
    [[nodiscard]] const char *text() const noexcept { return text_.c_str(); }

private:
    bool add_ending() noexcept;

    path_text text_;
    std::size_t stem_ = 0;
    int number_ = 0;
};

// Builds something under a temporary name, outcome build(place), and gives it the final one. What build made and did
// not finish it takes back itself; what it finished goes through discard(place).
template <class Build, class Discard>
outcome put_in_place(const place &to, bool replace, bool flush, Build build, Discard discard) noexcept
{
    temporary_name beside;
    if (!beside.make(to.name))
        return outcome::no_memory;
    outcome result = build(place{to.in, beside.text()});
    while (result == outcome::taken && !beside.is_last()) {
        if (!beside.next())
            return outcome::no_memory;
        result = build(place{to.in, beside.text()});
    }
    if (result != outcome::done)
        return result == outcome::taken ? outcome::unwritable : result;
    const place made{to.in, beside.text()};
    if (!folders::rename(to.in, beside.text(), to.name, replace)) {
        const int error = errno;
        discard(made);
        return error == EEXIST ? failed(outcome::exists, error) : failed(outcome::unwritable, error);
    }
    if (!flush || folders::flush_folder(to.in))
        return outcome::done;
    const int error = errno;
    // What was replaced is gone; a new name can be taken back.
    if (!replace && folders::rename(to.in, to.name, beside.text(), false))
        discard(made);
    return failed(outcome::unwritable, error);
}

// Copies files and links, and tells the caller how far it is.
class transfer
{
public:
    transfer(rsys_progress_fn progress, void *context) noexcept : progress_(progress), context_(context) {}

    // Before the first file. False when memory is short.
    [[nodiscard]] bool prepare() noexcept;

    // Bytes that will be copied, and some that need not be any more.
    void expect(long long bytes) noexcept { total_ += bytes; }
    void pass(long long bytes) noexcept { done_ += bytes; }

    // A file as a new one, which goes again when something fails. Taken: there is one. A path that is null is one that
    // found no memory.
    outcome file(const place &from, bool follow, const place &to, const char *path) noexcept;
    outcome file_in_place(const place &from, bool follow, const place &to, const char *path, bool replace,
                          bool flush) noexcept;

    static outcome link(const place &from, const place &to) noexcept;
    static outcome link_in_place(const place &from, const place &to, bool replace, bool flush) noexcept;

private:
    [[nodiscard]] bool stops(const char *path) const noexcept;
    outcome bytes(int from, int to, long long size, const char *path) noexcept;
    outcome write(int to, const char *data, int count) const noexcept;

    rsys_progress_fn progress_;
    void *context_;
    long long done_ = 0;
    long long total_ = 0;
    heap_block<char> block_;
};

}  // namespace teska::rsys

#endif
