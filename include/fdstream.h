/* fdstream.h - standard streams over files with UTF-8 names
 *
 *     fdofstream out("d\xc3\xa9tail.txt", std::ios::binary);       truncates; std::ios::app appends
 *     out << "cyan " << 40 << '\n';                                written at once
 *     if (!out)
 *         ...                                                      not opened, or not all of it written
 *     out.close();
 *     fdifstream in("d\xc3\xa9tail.txt", std::ios::binary);
 *     std::string ink;
 *     in >> ink;
 *
 * Common rules
 *   Paths are zero-terminated UTF-8; "/" and "\" both separate names. A null path names no file. Directories and
 *   named pipes do not open, and are not waited for; terminals and /dev/null do.
 *   A mode comes as std::ios_base::openmode, or as an int of the bits below, which are the same with every standard
 *   library:
 *       1 in    2 out    4 ate    8 app    16 trunc    32 binary
 *   The numbers of std::ios_base::openmode are others: cast none to int. streambufExt::mode_bits translates.
 *   Without the binary bit Windows changes line ends and takes byte 26 for the end of the file.
 *   Cost: a write is one system call, whatever its length, and nothing is held back: there is nothing to flush. Reading
 *   a block with read() is one system call too; everything else reads byte by byte, as does read() on Windows without
 *   the binary bit, and a byte is one system call. Read blocks where speed matters.
 *   What failed shows in the state of the stream and in is_open(); nothing is reported and nothing throws, short memory
 *   included, unless the caller asks the standard stream for exceptions. Calls that a signal interrupts are repeated.
 *   Bytes cannot be put back: unget() and putback() set badbit.
 *   The caller owns the objects; none is copied. Streams may be used by different threads at once, one stream by one
 *   thread at a time.
 */
#ifndef TESKA_FDSTREAM_H
#define TESKA_FDSTREAM_H
#include "teska_api.h"
#ifdef __cplusplus

#    include <ios>
#    include <istream>
#    include <ostream>
#    include <streambuf>
#    include <string>
#    include <vector>

class TESKA_API streambufExt : public std::basic_streambuf<char>
{
public:
    /* Bytes of the read buffer. Kept: one, so that the file is never read further than asked. */
    static constexpr unsigned FileBufSize = 1;

    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* Holds a path and a mode; the file is not opened. When memory runs out the object stays closed for good: openfile
     * fails. */
    streambufExt(const char *path, int mode);
    streambufExt(const char *path, std::ios_base::openmode mode);
    streambufExt(const streambufExt &) = delete;
    streambufExt &operator=(const streambufExt &) = delete;

    /* Closes. */
    virtual ~streambufExt();

    /* ---- Change -------------------------------------------------------------------------------------------------- */

    /* openfile - open the file as the mode says:
     *
     *     in          for reading
     *     out         for writing; created when missing, truncated when not
     *     out, app    for writing at the end; created when missing
     *
     * A file that is created gets the permissions that the process gives to any new file. ate and trunc mean nothing
     * of their own. An open file is closed first.
     * Returns 0, or -1 when there is no such file, no right to it, or neither in nor out; it is then closed.
     * Kept: with in and out the file is opened for reading alone.
     */
    int openfile();

    /* closefile - close the file if it is open. Returns 0. */
    int closefile();

    /* ---- Query --------------------------------------------------------------------------------------------------- */

    /* Whether a file is open. */
    bool is_open() const;

    /* Characters that wait to be written: 0, always. */
    int out_waiting() const;

    /* The int of a mode, in the numbers above. */
    static int mode_bits(std::ios_base::openmode mode);

protected:
    /* ---- Process, called by the streams -------------------------------------------------------------------------- */

    /* One byte to the file. Returns c, or -1 when the byte was not taken.
     * Kept: for the end-of-file value nothing is written and that value, which means failure, is returned. */
    int_type overflow(int_type c = traits_type::eof()) override;

    /* The next byte, 0 .. 255, or -1 at the end of the file; uflow steps over it. */
    int_type underflow() override;
    int_type uflow() override;

    /* xsgetn - read n bytes.
     *
     * Returns n; 0 for a negative n; -1 when the file ends or fails before. Bytes read until then are in the
     * destination.
     * Kept: they are not counted, so that gcount() of the stream is -1; and the last of them is read once more, should
     * reading go on.
     */
    std::streamsize xsgetn(char *destination, std::streamsize n) override;

    /* xsputn - write the n bytes at source. Returns how many the host took, 0 for a negative n, or -1. */
    std::streamsize xsputn(const char *source, std::streamsize n) override;

    /* seekoff, seekpos - move in the file. Returns the new position, or -1 for one that the file does not have; the
     * position is then unchanged.
     *
     * offset, direction  by how much, and from where
     * target             where to
     * which              ignored: a file has one position
     * Kept: a byte looked at but not yet read (peek) lies between this object's position and the file's own, and
     * relative moves out of the buffer start from the file's: after peek() at 3, a move by 2 leads to 6. Moves by 0 and
     * by 1 lead to 3 and 4.
     * Kept: a move over the byte that was looked at or read last is made even where the host knows no position (a
     * terminal, a closed file), though -1 is returned: the byte is passed over, or comes again.
     */
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                     std::ios_base::openmode which = std::ios_base::in | std::ios_base::out) override;
    pos_type seekpos(pos_type target, std::ios_base::openmode which = std::ios_base::in | std::ios_base::out) override;

private:
    int read_from_buf(char *destination, unsigned n);
    int read_one(bool consume);

    int descriptor;           /* -1: closed */
    int mode;                 /* the bits above */
    std::string name;         /* path */
    std::vector<char> buffer; /* FileBufSize bytes; none when memory ran out */
    unsigned position;        /* next unread byte of the buffer */
    unsigned fill;            /* valid bytes of the buffer */
};

/* fdifstream - a file to read from. */
class TESKA_API fdifstream : public std::basic_istream<char>
{
public:
    /* Opens with the mode and in; failbit is set when that fails. */
    fdifstream(const char *path, int mode);
    fdifstream(const char *path, std::ios_base::openmode mode);

    /* Closes. */
    virtual ~fdifstream();

    /* Closes the file if it is open. Returns 0. */
    int close();

    /* Whether a file is open. */
    bool is_open() const;

private:
    streambufExt buf;
};

/* fdofstream - a file to write to. Kept: given in as well, it opens for reading, and every write fails. */
class TESKA_API fdofstream : public std::basic_ostream<char>
{
public:
    /* Opens with the mode and out; failbit is set when that fails. */
    fdofstream(const char *path, int mode);
    fdofstream(const char *path, std::ios_base::openmode mode);

    /* Closes. */
    virtual ~fdofstream();

    /* Closes the file if it is open. Returns 0. */
    int close();

    /* Whether a file is open. */
    bool is_open() const;

private:
    streambufExt buf;
};

#endif
#endif
