/* filepacker.h - class FilePacker: an archive that holds files or memory buffers one after another
 *
 *     FilePacker out("pictures.fp", 0, "proofs of May");           create
 *     out.AddFile("scans\\gr\xc3\xbcn.tif", "scans\\green.tif");
 *     if (out.AddFileAsBuffer(text, length, "index.txt") != 0) ... disk full: the archive holds what it held before
 *
 *     FilePacker in("pictures.fp", 1, nullptr);                    open
 *     char *content, name[200], message[160];
 *     long bytes;
 *     while (in.UnpackFileAsBuffer(&content, &bytes, name) == 0)
 *         ...
 *     if (in.GetError(message) != 9) ...                           9: the end of the archive
 *
 * Format, integers little-endian:
 *
 *     0    5      "QWFP" and a zero byte
 *     5    7      "ver1.0" and a zero byte; readers skip a text of any length and go on at 140
 *     12   128    zero bytes
 *     140  n + 1  description and a zero byte
 *     then, up to the end of the file, for each entry
 *          m + 1  name with "/" between folders, and a zero byte
 *          4      L, length of the content, signed
 *          L      content
 *
 * Common rules
 *   Every operation that returns an int returns 0 or one of these codes, and keeps code and text for GetError:
 *
 *     1  "Invalid mode supplied"        also: the call is not for this mode, or the constructor has failed
 *     2  "Cannot open file"             5  "Not a FilePacker archive"     8  "Cannot read from file"
 *     3  "Cannot create archive"        6  "Not enough memory"            9  "Undocumented error"
 *     4  "Archive not opened"           7  "Cannot write output file"
 *
 *   All but 1, 6 and 9 are followed by ": " and a path, that of the archive unless a block says otherwise; the text is
 *   cut at 99 characters. Code and text stay until the next failure, or until Unpack comes to its end. Nothing is
 *   printed, except that a register without memory also reports the line of list_new or list_insert (list.h).
 *   Paths are UTF-8, "/" and "\" both separate. Sizes are counted with the terminating zero.
 *   Archives may come from strangers: what does not hold together gives code 5 before anything is allocated or written.
 *   Names of 1 to 199 characters are written and read. A code other than 9 says that the archive is damaged from there
 *   on, or that this one entry could not be put to disk (2, 6, 7).
 *   Directories and named pipes are no archives (2, 3); nothing is waited for but the user of a terminal.
 *   Archives may be used by different threads at once, one archive by one thread at a time. No exception leaves.
 */
#ifndef TESKA_FILEPACKER_H
#define TESKA_FILEPACKER_H
#include "teska_api.h"
#ifdef __cplusplus
#    include "list.h"

#    include <cstdint>
#    include <cstdio>

class TESKA_API FilePacker
{
public:
    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* FilePacker - create or open an archive.
     *
     * path         kept for messages, at most 499 characters of it
     * mode         0: create, and replace a file that is there; 1: open for reading
     * description  text to be stored, cut at 199 characters; null counts as "". Not used in mode 1.
     * GetError(nullptr) tells the outcome: 0; 1 another mode; 2 cannot be opened; 3 cannot be created; 5 no archive;
     * 6 no memory for the register of names; 7 the disk is full, and what is left is no archive. After a failure no
     * file is open and every later call fails.
     */
    FilePacker(const char *path, int mode, const char *description) noexcept;

    /* Kept: copies share stream, register and buffer with the source. Only one of them may be destroyed, and none used
     * after that. Assignment gives up what the object held without closing or freeing it. */
    FilePacker(const FilePacker &other) noexcept = default;
    FilePacker &operator=(const FilePacker &other) noexcept;

    /* Closes the archive; nothing is left to be written then. Frees the buffer of UnpackFileAsBuffer. */
    ~FilePacker();

    /* ---- Add (mode 0) -------------------------------------------------------------------------------------------- */

    /* Rules for both: the entry is with the host's file system when the call returns. After a failure the archive ends
     * with the last whole entry and the name may be added again. Should even cutting it back fail, the archive is
     * closed and later calls give code 4.
     * A name that was added before, compared with letter case, is skipped: the call does nothing and returns 0.
     * Names are stored with every "\" as "/". At most 65535 names.
     */

    /* AddFile - append a file.
     *
     * source_path  a regular file of at most 2147483647 bytes; a pipe is not waited for, but refused with 8
     * entry_name   null: the source's path. Folders named in it must be there when the entry is unpacked.
     * Returns 0, 1, 2 with the source's path, 4, 6, 7 (also for a name that cannot be read back), or 8 with the
     * source's path when it cannot be read whole.
     */
    int AddFile(const char *source_path, const char *entry_name) noexcept;

    /* AddFileAsBuffer - append a memory buffer.
     *
     * length  0 to 2147483647 bytes, else code 7
     * Returns 0, 1, 4, 6 or 7.
     * Kept: the register takes the name with "/", but is asked for the name as given. So a name with "\" is added
     * again, where AddFile skips it.
     */
    int AddFileAsBuffer(const char *buffer, long length, const char *entry_name) noexcept;

    /* ---- Unpack (mode 1) ----------------------------------------------------------------------------------------- */

    /* Rules for both that write files: the output path is the directory, a "\" and the entry's name with "\" for "/",
     * as in messages too. Folders are not made. An existing file is replaced.
     * Nothing outside the directory is touched: a name with a component ".." or one that passes or ends at a symbolic
     * link below the directory, at a folder or at a device gives code 2, on Windows also one with a ":" or another
     * character that file names cannot have. A file that cannot be written whole is removed.
     */

    /* Unpack - write every entry, from the first one, as a file.
     *
     * directory  not null; "" is the root
     * Returns 0 at the end of the archive, also when it ends within a name, with code 0 and "No error" kept; else what
     * stopped it: 1, 4, 5, 6, or with the output path 2 or 7.
     */
    int Unpack(const char *directory) noexcept;

    /* UnpackFile - write the next entry as a file.
     *
     * entry_name  null, or 200 characters for the name as stored
     * Returns 0; 9 at the end of the archive; else as Unpack. 2, 6 and 7 come with the name; after 2 and 7 the next
     * call goes on with the next entry, after 6 it tries this one again.
     */
    int UnpackFile(const char *directory, char *entry_name) noexcept;

    /* UnpackFileAsBuffer - read the next entry into memory.
     *
     * buffer      out: content with a zero byte after it, owned by the object, valid until the next call of this
     *             function or the end of the object; null on failure
     * length      out: bytes of content; 0 on failure
     * entry_name  null, or 200 characters for the name as stored; it may be any text, ".." included
     * Returns 0; 9 at the end of the archive; 1, 4, 5 or 6.
     * Kept: a name that begins with "@END" in any case counts as the end. GetError then gives what it gave before, and
     * reading goes on after the name.
     */
    int UnpackFileAsBuffer(char **buffer, long *length, char *entry_name) noexcept;

    /* ---- Query --------------------------------------------------------------------------------------------------- */

    /* GetError - the code of the last failure, 0 when there was none.
     *
     * text  null, or 160 characters for "FilePacker error %d: %s" with code and text
     */
    int GetError(char *text) noexcept;

    /* GetDescription - copy the archive's description, at most 199 characters of it.
     *
     * text  200 characters
     * Returns 0.
     */
    int GetDescription(char *text) noexcept;

    /* ---- Raw reading and writing, at the archive's current position ---------------------------------------------- */

    /* Rules for all: each returns 0, or code 4 when no archive is open. What cannot be read gives 5, what cannot be
     * written whole gives 7 and leaves the archive as it was. */

    /* ReadString - read up to a zero byte, which is stored; at the end of the archive the text gets one too.
     *
     * text  as long as the archive has it: there is no limit
     * Returns 0, 4 or 5.
     */
    int ReadString(char *text) noexcept;

    /* WriteString - write a text and its zero byte. Returns 0, 4 or 7. */
    int WriteString(const char *text) noexcept;

    /* ReadBinaryData - read exactly count bytes into buffer; count < 0 gives 5. Returns 0, 4 or 5.
     * Kept: buffer[0] becomes 0 first, for count 0 too.
     */
    int ReadBinaryData(char *buffer, int count) noexcept;

    /* WriteBinaryData - write the count bytes of buffer; count < 0 gives 7. Returns 0, 4 or 7. */
    int WriteBinaryData(const char *buffer, int count) noexcept;

    /* ReadUpTo - read up to and including a delimiter, and discard one byte after it, typically the end of the line.
     *
     * buffer     size bytes, zeroed first; null or size < 1: nothing is stored and the search has no limit
     * delimiter  ends the reading, and stays in the buffer; "" is found at once
     * Returns 0, also after size bytes without the delimiter, when the buffer holds no zero byte and nothing is
     * discarded; 5 at the end of the archive.
     */
    int ReadUpTo(char *buffer, int size, const char *delimiter) noexcept;

private:
    int Create(const char *archive_path) noexcept;
    int Open(const char *archive_path) noexcept;
    int CheckMode(int wanted) noexcept;
    bool IsRegistered(const char *name) noexcept;
    bool StoredName(const char *name, char *stored) noexcept;
    int AddEntry(const char *name, const char *registered, const char *content, long length) noexcept;
    void CutBack(std::int64_t end) noexcept;
    int ReadName(char *name) noexcept;
    int NoMemory(const char *name) noexcept;
    int Extract(const char *directory, char *name) noexcept;
    int Append(const void *data, std::size_t size) noexcept;
    int ReadLong(long *value) noexcept;
    int WriteLong(long value) noexcept;
    int ReplaceChar(char *text, char new_char, char old_char) noexcept;
    int ThrowError(int code, const char *subject) noexcept;

    std::FILE *stream;    /* the archive, or null */
    list_rec *names;      /* slots of 500 bytes in mode 0, else null */
    int mode;             /* 0, 1; -1 after a failed construction */
    int error;            /* code of the last failure */
    char error_text[100]; /* its text */
    char description[200];
    char path[500];  /* of the archive, as given */
    char *memory;    /* last entry of UnpackFileAsBuffer, or null */
    int data_offset; /* of the first entry, in mode 1 */
};

#endif
#endif
