// fdstream/fdifstream - a stream for reading a file with a UTF-8 name (files)
//
// The buffer is a member and so built after the base: the base begins without one and gets it in the body.

#include "fdstream.h"

namespace
{

constexpr int in_bit = 1;

}  // namespace

fdifstream::fdifstream(const char *path, int mode) : std::basic_istream<char>(nullptr), buf(path, mode | in_bit)
{
    // This clears the state, so it comes first.
    rdbuf(&buf);
    if (buf.openfile() != 0)
        setstate(failbit);
}

fdifstream::fdifstream(const char *path, std::ios_base::openmode mode) : fdifstream(path, streambufExt::mode_bits(mode))
{
}

fdifstream::~fdifstream() = default;

int fdifstream::close() { return buf.closefile(); }

bool fdifstream::is_open() const { return buf.is_open(); }
