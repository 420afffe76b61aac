// transfer - one file or link copied (rsys)

#include "Source/rsys/transfer.h"

#include "Platform/descriptor.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace teska::rsys
{

namespace
{

constexpr std::size_t block_size = std::size_t{1} << 20;  // bytes from one call of the progress to the next
constexpr std::size_t name_bytes_max = 255;               // what all usual file systems take
constexpr std::size_t ending_room = 48;                   // ".tmp", two numbers, "-" and the zero
constexpr int names_max = 10000;

struct held_file {
    int descriptor;

    ~held_file()
    {
        const int error = errno;
        close();
        errno = error;
    }

    bool close() noexcept
    {
        const bool closed = descriptor < 0 || folders::close_file(descriptor);
        descriptor = -1;
        return closed;
    }
};

// Takes a new file or link back.
void discard(const place &made) noexcept
{
    const int error = errno;
    folders::remove(made.in, made.name, false);
    errno = error;
}

}  // namespace

// ---- Temporary names

bool temporary_name::make(const char *name) noexcept
{
    stem_ = std::strlen(name);
    if (stem_ + ending_room > name_bytes_max) {
        stem_ = std::min(stem_, name_bytes_max - ending_room);
        while (stem_ > 0 && (static_cast<unsigned char>(name[stem_]) & 0xc0U) == 0x80U)
            --stem_;  // not within a character
    }
    return text_.append(name, stem_) && add_ending();
}

bool temporary_name::next() noexcept
{
    text_.cut(stem_);
    ++number_;
    return add_ending();
}

bool temporary_name::is_last() const noexcept { return number_ == names_max; }

bool temporary_name::add_ending() noexcept
{
    char ending[ending_room];
    const int length = std::snprintf(ending, sizeof ending, ".tmp%lu", folders::process_number());
    if (number_ > 0)
        std::snprintf(ending + length, sizeof ending - static_cast<std::size_t>(length), "-%d", number_);
    return text_.append(ending);
}

// ---- Transfer

bool transfer::prepare() noexcept
{
    block_ = zeroed_block<char>(block_size);
    if (!block_)
        errno = ENOMEM;
    return static_cast<bool>(block_);
}

outcome transfer::file(const place &from, bool follow, const place &to, const char *path) noexcept
{
    if (path == nullptr)
        return outcome::no_memory;
    const held_file source{folders::open_file(from.in, from.name, follow)};
    folders::status state;
    if (source.descriptor < 0 || !folders::file_status(source.descriptor, state))
        return reading_failed();
    if (state.what != folders::kind::file)
        return failed(outcome::no_file, EINVAL);
    if (stops(path))
        return outcome::stopped;
    held_file target{folders::create_file(to.in, to.name)};
    if (target.descriptor < 0)
        return errno == EEXIST ? outcome::taken : writing_failed();
    outcome result = bytes(source.descriptor, target.descriptor, state.size, path);
    if (result == outcome::done &&
        !(folders::finish_file(target.descriptor, state) && folders::flush_file(target.descriptor)))
        result = writing_failed();
    const int error = errno;
    if (!target.close() && result == outcome::done)
        result = writing_failed();
    else
        errno = error;
    if (result != outcome::done)
        discard(to);
    return result;
}

outcome transfer::file_in_place(const place &from, bool follow, const place &to, const char *path, bool replace,
                                bool flush) noexcept
{
    const auto build = [&](const place &beside) { return file(from, follow, beside, path); };
    return put_in_place(to, replace, flush, build, discard);
}

outcome transfer::link(const place &from, const place &to) noexcept
{
    bool reading = false;
    if (folders::copy_link(from.in, from.name, to.in, to.name, reading))
        return outcome::done;
    if (reading)
        return reading_failed();
    if (errno == EEXIST)
        return outcome::taken;
    return errno == ENOMEM || errno == ENOSPC ? writing_failed() : outcome::no_link;
}

outcome transfer::link_in_place(const place &from, const place &to, bool replace, bool flush) noexcept
{
    const auto build = [&](const place &beside) { return link(from, beside); };
    return put_in_place(to, replace, flush, build, discard);
}

bool transfer::stops(const char *path) const noexcept
{
    return progress_ != nullptr && progress_(path, done_, total_, context_) != 0;
}

// Inside the host as long as that goes. Then what is left is read and written, which also says on which side it failed,
// and whether the file ends where nothing more was moved: some files of the host's own making cannot be moved at all.
outcome transfer::bytes(int from, int to, long long size, const char *path) noexcept
{
    long long copied = 0;
    bool moves = true;
    for (;;) {
        std::int64_t count = moves ? folders::move_bytes(from, to, block_size) : -1;
        if (count <= 0) {
            count = read_descriptor(from, block_.get(), block_size);
            if (count < 0)
                return reading_failed();
            if (count == 0)
                break;
            moves = false;
            const outcome written = write(to, block_.get(), static_cast<int>(count));
            if (written != outcome::done)
                return written;
        }
        copied += count;
        done_ += count;
        if (copied > size)  // it may grow for ever
            break;
        if (stops(path))
            return outcome::stopped;
    }
    folders::status state;
    if (!folders::file_status(from, state))
        return reading_failed();
    return copied == size && state.size == size ? outcome::done : failed(outcome::changed, EBUSY);
}

outcome transfer::write(int to, const char *data, int count) const noexcept
{
    while (count > 0) {
        const int written = write_descriptor(to, data, static_cast<unsigned>(count));
        if (written < 0)
            return writing_failed();
        if (written == 0)
            return failed(outcome::unwritable, ENOSPC);
        data += written;
        count -= written;
    }
    return outcome::done;
}

}  // namespace teska::rsys
