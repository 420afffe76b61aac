#include "fdstream.h"

#include "support/test.h"

#include <lopra.h>

using teska_test::Folder, teska_test::Generator;

namespace
{

using ios = std::ios_base;

// Reading byte by byte through a buffer of one byte.
struct Model {
    std::string file;
    long place = 0;
    char buffer = 0;
    long position = 0, fill = 0;

    long read(char *destination, long n)
    {
        for (long i = 0; i < n; ++i) {
            if (position == fill) {
                if (place >= static_cast<long>(file.size())) {
                    position -= i > 0;  // the last byte comes once more
                    return -1;
                }
                buffer = file[static_cast<std::size_t>(place++)];
                fill = 1;
                position = 0;
            }
            destination[i] = buffer;
            ++position;
        }
        return n;
    }

    long one(bool consume)
    {
        char byte = 0;
        if (read(&byte, 1) < 0)
            return -1;
        position -= consume ? 0 : 1;
        return static_cast<unsigned char>(byte);
    }

    long seek(long offset, ios::seekdir direction)
    {
        const long within = position + offset;
        if (direction == ios::cur && within >= 0 && within <= fill)
            return place - fill + (position = within);
        const long start = direction == ios::beg ? 0 : direction == ios::cur ? place : static_cast<long>(file.size());
        if (start + offset < 0)
            return -1;
        position = fill = 0;
        return place = start + offset;
    }
};

// Puts "new" and two bytes that text would change into a file of "old"; what it holds then, and whether that failed.
template <class Mode>
std::string overwritten(const Folder &folder, Mode mode)
{
    folder.write("f", "old ");
    fdofstream out(folder.path("f").c_str(), mode);
    out << "new" << 1 << "\r\n";
    EXPECT_TRUE(out.is_open());
    EXPECT_EQ(out.close(), 0);
    return folder.read("f") + (out.good() ? "" : ", failed");
}

}  // namespace

TEST(Fdofstream, OpensAsItsModeSays)
{
    const std::tuple<int, ios::openmode, const char *> cases[] = {{2 | 16, ios::trunc, "new1\r\n"},
                                                                  {4, ios::ate, "new1\r\n"},
                                                                  {8, ios::app, "old new1\r\n"},
                                                                  {1, ios::in, "old , failed"}};
    const Folder folder;
    for (const auto &[bits, standard, expected] : cases) {
        EXPECT_EQ(overwritten(folder, 32 | bits), expected) << bits;
        EXPECT_EQ(overwritten(folder, standard | ios::binary | ios::out), expected) << bits;
    }
    EXPECT_EQ(overwritten(folder, 0), LOPRA_O_BINARY == 0 ? "new1\r\n" : "new1\r\r\n") << "text";
}

TEST(Fdifstream, ReadsAndMovesAsByteByByteThroughItsBuffer)
{
    const Folder folder;
    const std::string path = folder.path() + "\\\xc3\xa9\xe6\x97\xa5";
    Generator random(1);
    std::string content(256, '\0');
    std::generate(content.rbegin(), content.rend(), [i = 0]() mutable { return static_cast<char>(i++); });
    fdofstream(path.c_str(), ios::binary).write(content.data(), 256);
    streambufExt buf(path.c_str(), ios::in | ios::binary);
    ASSERT_EQ(buf.openfile(), 0);
    Model model{content};
    std::string bytes(300, '?'), expected = bytes;
    for (int i = 0; i < 20000; ++i) {
        const int n = random.below(40) == 0 ? 300 : random.below(9);
        const long offset = random.below(8) == 0 ? random.below(257) : random.below(6) - 3;
        const ios::seekdir from = offset > 2 ? ios::beg : random.below(9) == 0 ? ios::end : ios::cur;
        const int step = random.below(4);
        if (step == 0)
            ASSERT_EQ(buf.sgetc(), model.one(false)) << i;
        else if (step == 1)
            ASSERT_EQ(buf.sbumpc(), model.one(true)) << i;
        else if (step == 2)
            ASSERT_EQ(buf.sgetn(bytes.data(), n), model.read(expected.data(), n)) << i;
        else
            ASSERT_EQ(buf.pubseekoff(offset, from), model.seek(offset, from)) << i;
        ASSERT_EQ(bytes, expected) << i;
    }
    EXPECT_EQ(buf.pubseekpos(5'000'000'007), 5'000'000'007);
    EXPECT_EQ(buf.pubseekpos(7), 7);
    EXPECT_EQ(buf.sgetc(), 248);
    EXPECT_EQ(buf.openfile(), 0);
    EXPECT_EQ(buf.sgetc(), 255) << "from the start again, nothing of the byte looked at before";
    EXPECT_EQ(buf.sungetc(), -1);
    EXPECT_EQ(buf.out_waiting(), 0);
    EXPECT_EQ(buf.sgetn(bytes.data(), -1), 0);
    EXPECT_EQ(buf.sputn("x", -1), 0);
}

TEST(Fdifstream, ReadsBlocksOfTextAsByteByByte)
{
    const Folder folder;
    folder.write("f", "a\r\nbc\x1a$$");
    fdifstream whole(folder.path("f").c_str(), 0), single(folder.path("f").c_str(), 0);
    char block[12] = "", bytes[12] = "";
    whole.read(block, 11);
    for (char *byte = bytes; single.get(*byte);)
        ++byte;
    EXPECT_STREQ(block, bytes);
    EXPECT_EQ(whole.rdbuf()->pubseekoff(1, ios::cur), single.rdbuf()->pubseekoff(0, ios::cur));
}

TEST(Fdifstream, FailsWithoutAnOpenFile)
{
    const Folder folder;
    folder.write("f", "text");
    const std::string file = folder.path("f"), missing = folder.path("no/file"), directory = folder.path();
    const auto is_closed = [](auto &stream) {
        EXPECT_FALSE(stream.is_open());
        EXPECT_EQ(stream.close(), 0);
        return stream.rdstate();
    };
    for (const char *path : {static_cast<const char *>(nullptr), "", missing.c_str(), directory.c_str()}) {
        fdifstream in(path, 32);
        fdofstream out(path, 32);
        EXPECT_EQ(is_closed(in), ios::failbit);
        EXPECT_EQ(is_closed(out), ios::failbit);
    }
    fdifstream in(file.c_str(), 0);
    fdofstream out(file.c_str(), 8);
    EXPECT_EQ(in.peek(), 't');
    EXPECT_EQ(in.close(), 0);
    EXPECT_EQ(out.close(), 0);
    EXPECT_EQ(is_closed(in) | is_closed(out), ios::goodbit);
    for (const auto &[move, byte] : {std::pair<int, int>{0, 't'}, {-1, 't'}, {0, -1}}) {
        EXPECT_EQ(in.rdbuf()->pubseekoff(move, ios::cur), -1);
        EXPECT_EQ(in.get(), byte) << "kept: what was looked at while it was open";
    }
    EXPECT_EQ(out.rdbuf()->sputn("lost", 4), -1);
    EXPECT_EQ(streambufExt(file.c_str(), 32 | 8).openfile(), -1);
}
