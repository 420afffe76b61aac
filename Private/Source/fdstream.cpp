// fdstream - a stream buffer over a file descriptor (files)
//
// No get or put area is set: every character passes through the virtual functions. Writes go straight to the
// descriptor. Reads leave their last FileBufSize bytes in the read buffer, from which a byte can be looked at before it
// is taken:
//
//     file        0  1  2  3  4  5 ..          after peek() at 3
//     buffer              [3]                  position 0, fill 1
//     descriptor              ^                at 4
//     position in the file = descriptor - fill + position = 3
//
// A block is read straight into the destination, and its last byte then put into the buffer: the state is the one that
// reading byte by byte through the buffer leaves, at the price of one call of the host for all of them. Only text that
// the host changes on the way does go through the buffer: the host would leave scratch after its bytes in the
// destination, and pass over what follows a byte 26.

#include "fdstream.h"

#include "Platform/descriptor.h"

#include <lopra.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>

namespace
{

enum mode_bit { in = 1, out = 2, ate = 4, app = 8, trunc = 16, binary = 32 };

constexpr int no_descriptor = -1;
constexpr std::int64_t nowhere = -1;

int open_flags(int mode)
{
    const int translation = (mode & binary) != 0 ? LOPRA_O_BINARY : 0;
    // Kept: in wins over out.
    if ((mode & in) != 0)
        return LOPRA_O_RDONLY | translation;
    return LOPRA_O_WRONLY | LOPRA_O_CREAT | ((mode & app) != 0 ? LOPRA_O_APPEND : LOPRA_O_TRUNC) | translation;
}

// Whether the host hands out other bytes than the file has.
bool changes_text(int mode) { return LOPRA_O_BINARY != 0 && (mode & binary) == 0; }

// Bytes of the next call of the host out of n.
unsigned piece(std::streamsize n)
{
    return static_cast<unsigned>(std::min<std::streamsize>(n, teska::descriptor_bytes_max));
}

int whence_of(std::ios_base::seekdir direction)
{
    if (direction == std::ios_base::beg)
        return SEEK_SET;
    return direction == std::ios_base::cur ? SEEK_CUR : SEEK_END;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

streambufExt::streambufExt(const char *path, int open_mode)
    : descriptor(no_descriptor), mode(open_mode), position(0), fill(0)
{
    try {
        name = path != nullptr ? path : "";
        buffer.resize(FileBufSize);
    } catch (const std::exception &) {
        buffer.clear();
    }
}

streambufExt::streambufExt(const char *path, std::ios_base::openmode open_mode)
    : streambufExt(path, mode_bits(open_mode))
{
}

streambufExt::~streambufExt() { closefile(); }

// ---- Change ---------------------------------------------------------------------------------------------------------

int streambufExt::openfile()
{
    closefile();
    position = fill = 0;
    if (buffer.empty() || (mode & (in | out)) == 0)
        return -1;
    do
        descriptor = open_utf8(name.c_str(), open_flags(mode), LOPRA_S_IWRITE);
    while (descriptor == no_descriptor && errno == EINTR);
    return is_open() ? 0 : -1;
}

int streambufExt::closefile()
{
    if (is_open())
        close_utf8(descriptor);
    descriptor = no_descriptor;
    return 0;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

bool streambufExt::is_open() const { return descriptor != no_descriptor; }

int streambufExt::out_waiting() const { return static_cast<int>(pptr() - pbase()); }

int streambufExt::mode_bits(std::ios_base::openmode open_mode)
{
    using std::ios_base;
    const struct {
        ios_base::openmode standard;
        int ours;
    } bits[] = {{ios_base::in, in},
                {ios_base::out, out},
                {ios_base::ate, ate},
                {ios_base::app, app},
                {ios_base::trunc, mode_bit::trunc},  // <cmath> has the name, too
                {ios_base::binary, binary}};
    int sum = 0;
    for (const auto &bit : bits)
        if ((open_mode & bit.standard) != ios_base::openmode())
            sum |= bit.ours;
    return sum;
}

// ---- Process --------------------------------------------------------------------------------------------------------

int streambufExt::read_from_buf(char *destination, unsigned n)
{
    const int asked = static_cast<int>(n);
    const bool through_buffer = changes_text(mode);
    position = std::min(position, fill);
    unsigned available = fill - position;
    while (n > available) {
        destination = std::copy_n(buffer.data() + position, available, destination);
        n -= available;
        char *const goal = through_buffer ? buffer.data() : destination;
        const int got = teska::read_descriptor(descriptor, goal, through_buffer ? FileBufSize : n);
        // Kept: the bytes copied so far are not reported and stay unread in the buffer.
        if (got < 1)
            return -1;
        available = fill = std::min(static_cast<unsigned>(got), FileBufSize);
        position = 0;
        const unsigned passed_by = static_cast<unsigned>(got) - fill;
        destination += passed_by;
        n -= passed_by;
        std::memmove(buffer.data(), goal + passed_by, fill);
    }
    std::copy_n(buffer.data() + position, n, destination);
    position += n;
    return asked;
}

int streambufExt::read_one(bool consume)
{
    char byte;
    if (read_from_buf(&byte, 1) != 1)
        return -1;
    if (!consume)
        --position;
    return traits_type::to_int_type(byte);
}

streambufExt::int_type streambufExt::underflow() { return read_one(false); }

streambufExt::int_type streambufExt::uflow() { return read_one(true); }

std::streamsize streambufExt::xsgetn(char *destination, std::streamsize n)
{
    for (std::streamsize done = 0; done < n;) {
        const int got = read_from_buf(destination + done, piece(n - done));
        if (got < 0)
            return got;
        done += got;
    }
    return std::max<std::streamsize>(n, 0);
}

streambufExt::int_type streambufExt::overflow(int_type c)
{
    if (traits_type::eq_int_type(c, traits_type::eof()))
        return c;
    const char byte = traits_type::to_char_type(c);
    return teska::write_descriptor(descriptor, &byte, 1) == 1 ? c : traits_type::eof();
}

std::streamsize streambufExt::xsputn(const char *source, std::streamsize n)
{
    if (n < 0)
        return 0;
    std::streamsize done = 0;
    do {
        const unsigned count = piece(n - done);
        const int written = teska::write_descriptor(descriptor, source + done, count);
        if (written < 0)
            return done > 0 ? done : written;
        done += written;
        if (static_cast<unsigned>(written) < count)
            break;
    } while (done < n);
    return done;
}

streambufExt::pos_type streambufExt::seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode)
{
    const off_type unread = std::int64_t{fill} - position;
    if (direction == std::ios_base::cur && offset >= -std::int64_t{position} && offset <= unread) {
        position = static_cast<unsigned>(position + offset);
        const std::int64_t read_up_to = teska::seek_descriptor(descriptor, 0, SEEK_CUR);
        return read_up_to < 0 ? nowhere : read_up_to - fill + position;
    }
    // Kept: a relative move starts where the descriptor is, after the bytes that were only looked at.
    const std::int64_t reached = teska::seek_descriptor(descriptor, offset, whence_of(direction));
    if (reached < 0)
        return nowhere;
    position = fill = 0;
    return reached;
}

streambufExt::pos_type streambufExt::seekpos(pos_type target, std::ios_base::openmode which)
{
    return seekoff(off_type(target), std::ios_base::beg, which);
}
