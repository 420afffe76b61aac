// fdstream/fdofstream - a stream for writing a file with a UTF-8 name (files)
//
// The buffer is a member and so built after the base: the base begins without one and gets it in the body.

#include "fdstream.h"

namespace
{

constexpr int out_bit = 2;

}  // namespace

fdofstream::fdofstream(const char *path, int mode) : std::basic_ostream<char>(nullptr), buf(path, mode | out_bit)
{
    // This clears the state, so it comes first.
    rdbuf(&buf);
    if (buf.openfile() != 0)
        setstate(failbit);
}

fdofstream::fdofstream(const char *path, std::ios_base::openmode mode) : fdofstream(path, streambufExt::mode_bits(mode))
{
}

fdofstream::~fdofstream() = default;

int fdofstream::close() { return buf.closefile(); }

bool fdofstream::is_open() const { return buf.is_open(); }
