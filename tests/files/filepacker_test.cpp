#include "filepacker.h"

#include "support/test.h"

#include <new>

#if defined(_WIN32)
constexpr bool on_windows = true;
#else
#    include <sys/stat.h>
constexpr bool on_windows = false;
#endif

namespace
{

namespace fs = std::filesystem;

using teska_test::Folder;

std::string head(const std::string &description = "", const std::string &version = "ver1.0")
{
    std::string text = std::string("QWFP", 5) + version;
    text.resize(140);
    return text + description + '\0';
}

// Of a length that may lie.
std::string entry(const std::string &name, const std::string &content = "c", std::optional<std::uint32_t> length = {})
{
    std::string text = name + '\0';
    for (int shift = 0; shift < 32; shift += 8)
        text += static_cast<char>(length.value_or(content.size()) >> shift);
    return text + content;
}

std::string error_of(FilePacker &packer)
{
    char text[160];
    packer.GetError(text);
    return text;
}

// What GetError has to say, cut as the object's text is.
std::string error(int code, const std::string &text)
{
    return "FilePacker error " + std::to_string(code) + ": " + text.substr(0, 99);
}

std::string read_all(FilePacker &packer, int code)
{
    std::string entries;
    char *content = nullptr;
    char name[200];
    long length = 0;
    int result = 0;
    while ((result = packer.UnpackFileAsBuffer(&content, &length, name)) == 0)
        entries += std::string(name) + "=" + std::string(content, static_cast<std::size_t>(length)) + content[length];
    EXPECT_EQ(result, code);
    EXPECT_TRUE(content == nullptr && length == 0);
    return entries;
}

// A folder with an archive of another version and a long description, a bait, and the directory to unpack to, in which
// are a folder and what leads out of it.
struct Trap {
    explicit Trap(const std::string &bytes = "")
    {
        folder.write("a", head(std::string(5000, 'd'), bytes.size() % 2 != 0 ? "" : "version 17") + bytes);
        folder.write("bait", "untouched");
        fs::create_directories(in + "/sub");
#if !defined(_WIN32)
        fs::create_symlink("../bait", in + "/link");
        fs::create_symlink("../new", in + "/broken");
        fs::create_directory_symlink("..", in + "/up");
        fs::create_directory_symlink("../..", in + "/sub/up");
        mkfifo((in + "/pipe").c_str(), 0600);
#endif
    }

    // Names and sizes of the files unpacked.
    std::string written() const
    {
        EXPECT_EQ(folder.listing(), "a bait in/");
        EXPECT_EQ(folder.read("bait"), "untouched");
        std::string text;
        for (const auto &file : fs::recursive_directory_iterator(in))
            if (file.symlink_status().type() == fs::file_type::regular)
                text += file.path().filename().string() + std::to_string(file.file_size());
        return text;
    }

    Folder folder;
    std::string archive = folder.path("a");
    std::string in = folder.path("in");
};

TEST(FilePackerAdd, WritesTheFormatAndSkipsNamesItHas)
{
    const Folder folder;
    folder.write("source", "from file");
    const std::string source = folder.path("source");
    const std::string archive = folder.path("a");
    FilePacker packer(archive.c_str(), 0, std::string(250, 'd').c_str());
    const char *none = nullptr;
    for (const char *name : {"a\\b.txt", "a\\b.txt", "A/B.TXT", none, &source[0], none})
        EXPECT_EQ(packer.AddFile(source.c_str(), name), 0);
    EXPECT_EQ(packer.AddFileAsBuffer("\0\xff", 2, "m"), 0);
    EXPECT_EQ(packer.AddFileAsBuffer(nullptr, 0, "m"), 0);
    EXPECT_EQ(packer.AddFileAsBuffer(nullptr, 0, std::string(199, 'n').c_str()), 0);
    for (const char *name : {"p\\q", "p\\q"})
        EXPECT_EQ(packer.AddFileAsBuffer("1", 1, name), 0) << "kept: buffers are registered under their stored name";
    EXPECT_EQ(error_of(packer), error(0, "No error"));
    const std::string added = head(std::string(199, 'd')) + entry("a/b.txt", "from file") +
                              entry("A/B.TXT", "from file") + entry(source, "from file") +
                              entry("m", std::string("\0\xff", 2)) + entry(std::string(199, 'n'), "") +
                              entry("p/q", "1") + entry("p/q", "1");
    EXPECT_EQ(folder.read("a"), added);

    EXPECT_EQ(packer.AddFile(folder.path("missing").c_str(), "x"), 2);
    EXPECT_EQ(error_of(packer), error(2, "Cannot open file: " + folder.path("missing")));
    folder.write("huge", "");
    EXPECT_EQ(packer.AddFile(folder.path("huge").c_str(), "empty"), 0);
    fs::resize_file(folder.path("huge"), 0x80000000U);
    EXPECT_EQ(packer.AddFile(folder.path("huge").c_str(), "x"), 8);
    EXPECT_EQ(error_of(packer), error(8, "Cannot read from file: " + folder.path("huge")));
    for (const std::string &name : {std::string(), std::string(200, 'n')}) {
        EXPECT_EQ(packer.AddFile(source.c_str(), name.c_str()), 7);
        EXPECT_EQ(packer.AddFileAsBuffer("x", 1, name.c_str()), 7);
    }
    EXPECT_EQ(packer.AddFileAsBuffer("x", -1, "x"), 7);
    EXPECT_EQ(error_of(packer), error(7, "Cannot write output file: " + archive));
    EXPECT_EQ(packer.Unpack("."), 1);
    EXPECT_EQ(folder.read("a"), added + entry("empty", ""));
}

TEST(FilePackerOpen, SaysWhatIsNoArchive)
{
    const Folder folder;
    const std::string archive = folder.path("a");
    const auto said = [&](int mode) {
        FilePacker packer(archive.c_str(), mode, nullptr);
        const std::string text = error_of(packer);
        EXPECT_EQ(packer.WriteString("x"), 4);
        EXPECT_EQ(error_of(packer), error(4, "Archive not opened: " + archive));
        for (const int code : {packer.Unpack("."), packer.UnpackFile(".", nullptr), packer.AddFile("x", "x"),
                               packer.AddFileAsBuffer("", 0, "x")})
            EXPECT_EQ(code, 1);
        EXPECT_EQ(read_all(packer, 1), "");
        EXPECT_EQ(error_of(packer), error(1, "Invalid mode supplied"));
        return text;
    };
    EXPECT_EQ(said(1), error(2, "Cannot open file: " + archive));
    EXPECT_EQ(said(2), error(1, "Invalid mode supplied"));
    const std::string far(200, 'p');
    FilePacker missing(far.c_str(), 1, nullptr);
    EXPECT_EQ(error_of(missing), error(2, "Cannot open file: " + far)) << "cut";
    std::vector<std::string> others = {"QWFPx" + head().substr(5), "qWFP" + head().substr(4), "QWFP" + head(),
                                       std::string("QWFP", 5) + std::string(200, 'v')};
    for (std::size_t cut = 0; cut < head("d").size(); ++cut)
        others.push_back(head("d").substr(0, cut));
    for (const std::string &bytes : others) {
        folder.write("a", bytes);
        EXPECT_EQ(said(1), error(5, "Not a FilePacker archive: " + archive)) << bytes.size();
    }
    fs::remove(archive);
    fs::create_directory(archive);
    EXPECT_EQ(said(0), error(3, "Cannot create archive: " + archive));
}

const std::string ok = entry("ok");

std::string named(std::size_t length) { return entry(std::string(length, 'n')); }

// What strangers put after the header, by what comes of it.
const struct {
    int by_file;          // Unpack stops with this, 0 for the end
    int by_buffer;        // UnpackFileAsBuffer stops with this,
    int read;             // after so many entries
    const char *written;  // by Unpack; null: what the host's names allow
    std::vector<std::string> archives;
} strangers[] = {
    {2, 9, 1, "", {entry("../x"), entry("sub/../x"), entry("x/.."), entry(".."), entry("..\\x"), entry("sub//..//x")}},
    {2, 9, 1, "", {entry("sub\\../..\\x"), entry("/no/x"), entry("\\\\server\\share\\x"), entry("C:\\x")}},
    {2, 9, 1, "", {entry("sub/"), entry("sub"), entry("./../x")}},
    {on_windows ? 2 : 0, 9, 1, nullptr, {entry("C:x"), entry("x\x01\n\x7f"), entry("..."), entry(".. "), entry("a?")}},
    {on_windows ? 2 : 0, 9, 1, nullptr, {entry("sub/a|b"), entry("NUL"), entry("sub/com1"), entry(" ..")}},
    {0, 9, 1, "x1", {entry("./x"), entry("/x"), entry("\\\\x"), entry("sub/x"), entry("sub\\/x")}},
    {0, 9, 1, nullptr, {entry("..x"), entry("x.."), entry("@en"), named(199)}},
    {0, 9, 1, "n3", {entry("n", "four", 3), entry("n", "one") + "no end", entry("n", "one") + std::string(199, 'n')}},
    {0, 9, 0, nullptr, {"", entry("@END") + ok, entry("@end"), entry("@Endless"), "n", "name"}},
    {0, 9, 3, "ok9", {ok + entry("ok", "last") + entry("ok", "the other")}},
    {5, 5, 0, "", {entry(""), named(200), named(201), named(499), named(500), named(10000), std::string(200, 'n')}},
    {5, 5, 0, "", {entry("n", "c", UINT_MAX) + ok, entry("n", "c", 0x80000000U), entry("n", "c", INT_MAX) + ok}},
    {5, 5, 0, "", {entry("n", "four", 5), entry("n", "four", 4).substr(0, 9), {"n\0\1\0\0", 5}, {"n", 2}}},
    {5, 5, 1, "ok1", {ok + entry(""), ok + std::string(200, 'n'), ok + entry("n", "c", 2)}},
#if !defined(_WIN32)
    {2, 9, 1, "", {entry("link"), entry("broken"), entry("up/x"), entry("sub/up/x"), entry("sub/./up/bait")}},
    {2, 9, 1, "", {entry("pipe")}},
#endif
};

TEST(FilePackerUnpack, TakesArchivesFromStrangers)
{
    for (const auto &row : strangers)
        for (const std::string &bytes : row.archives) {
            SCOPED_TRACE(testing::PrintToString(bytes));
            const Trap trap(bytes);
            FilePacker unpacked(trap.archive.c_str(), 1, nullptr);
            EXPECT_EQ(unpacked.Unpack(trap.in.c_str()), row.by_file);
            EXPECT_EQ(unpacked.GetError(nullptr), row.by_file);
            EXPECT_EQ(trap.written(), row.written != nullptr ? row.written : trap.written());
            FilePacker read(trap.archive.c_str(), 1, nullptr);
            const std::string entries = read_all(read, row.by_buffer);
            EXPECT_EQ(std::count(entries.begin(), entries.end(), '='), row.read);
        }
}

TEST(FilePackerUnpack, GoesOnAfterAnEntryThatHasNoPlace)
{
    const Trap trap(entry("no/a.txt") + entry("sub/b", std::string("\0\n\r\n", 4)) + ok);
    FilePacker packer(trap.archive.c_str(), 1, "ignored");
    char name[200];
    EXPECT_EQ(packer.UnpackFile(trap.in.c_str(), name), 2);
    EXPECT_STREQ(name, "no/a.txt");
    EXPECT_EQ(packer.GetDescription(name), 0);
    EXPECT_EQ(name, std::string(199, 'd'));
    EXPECT_EQ(packer.UnpackFile(trap.in.c_str(), nullptr), 0);
    EXPECT_EQ(trap.folder.read("in/sub/b"), std::string("\0\n\r\n", 4));
    EXPECT_EQ(packer.GetError(nullptr), 2);
    EXPECT_EQ(read_all(packer, 9), std::string("ok=c", 5));
    EXPECT_EQ(error_of(packer), error(9, "Undocumented error"));
    EXPECT_EQ(packer.Unpack(trap.in.c_str()), 2) << "from the first entry";
    EXPECT_EQ(error_of(packer), error(2, "Cannot open file: " + trap.in + "\\no\\a.txt"));
}

TEST(FilePackerUnpack, KeptTakesAnEndMarkWithoutAnError)
{
    const Trap trap(entry("@End", "2"));
    FilePacker packer(trap.archive.c_str(), 1, nullptr);
    read_all(packer, 9);
    EXPECT_EQ(packer.GetError(nullptr), 0);
    char bytes[5];
    EXPECT_EQ(packer.ReadBinaryData(bytes, 5), 0) << "reading goes on after the name";
    EXPECT_EQ(std::string(bytes, 5), entry("", "2").substr(1));
}

TEST(FilePackerRaw, ReadsWhatItWrote)
{
    const Folder folder;
    FilePacker writer(folder.path("a").c_str(), 0, nullptr);
    for (const char *text : {"", "te\1xt"})
        EXPECT_EQ(writer.WriteString(text), 0);
    EXPECT_EQ(writer.WriteBinaryData("aabaabaac\nxaaby\nend-\naab-!", 26), 0);
    EXPECT_EQ(writer.WriteBinaryData("x", -1), 7);
    FilePacker packer(folder.path("a").c_str(), 1, nullptr);
    EXPECT_EQ(packer.WriteString("no"), 7);
    char text[16] = "????";
    for (const char *written : {"", "te\1xt"}) {
        EXPECT_EQ(packer.ReadString(text), 0);
        EXPECT_STREQ(text, written);
    }
    // Delimiters that overlap with themselves; "" takes one byte; 0: without a buffer.
    const std::tuple<int, const char *, int, std::string> cases[] = {
        {16, "aabaac", 0, "aabaabaac"}, {1, "", 0, ""},  {2, "aab", 0, "aa"}, {2, "by", 0, "by"}, {0, "end", 0, ""},
        {9, "ab", 0, "\naab"},          {4, "?", 5, "!"}};
    for (const auto &[size, delimiter, code, expected] : cases) {
        std::string buffer(16, '?');
        const auto room = static_cast<std::size_t>(size);
        EXPECT_EQ(packer.ReadUpTo(size > 0 ? buffer.data() : nullptr, size, delimiter), code) << delimiter;
        EXPECT_EQ(buffer, expected + std::string(room - expected.size(), '\0') + std::string(16 - room, '?'));
    }
    EXPECT_EQ(packer.ReadString(text), 5);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(packer.ReadBinaryData(nullptr, -1), 5);
    FilePacker again(folder.path("a").c_str(), 1, nullptr);
    text[0] = '?';
    EXPECT_EQ(again.ReadBinaryData(text, 0), 0);
    EXPECT_EQ(text[0], '\0') << "kept: cleared also when nothing is read";
    FilePacker none(folder.path("none").c_str(), 1, nullptr);
    text[0] = '?';
    const std::array codes{none.ReadString(text), none.ReadBinaryData(text, 0), none.WriteBinaryData("x", -1)};
    EXPECT_EQ(codes, (std::array{4, 4, 4}));
    EXPECT_STREQ(text, "");
}

TEST(FilePackerCopy, KeptSharesTheArchive)
{
    const Trap trap(entry("a", "1") + entry("b", "2") + ok);
    FilePacker first(trap.archive.c_str(), 1, nullptr);
    // Copies that are never destroyed.
    alignas(FilePacker) char storage[2][sizeof(FilePacker)];
    auto *copy = new (storage[0]) FilePacker(first);
    auto *assigned = new (storage[1]) FilePacker("", 7, nullptr);
    *assigned = first;
    EXPECT_EQ(copy->UnpackFile(trap.in.c_str(), nullptr), 0);
    EXPECT_EQ(assigned->UnpackFile(trap.in.c_str(), nullptr), 0);
    EXPECT_EQ(trap.written().size(), 4U);
    EXPECT_EQ(read_all(first, 9), std::string("ok=c", 5));
    EXPECT_EQ(copy->GetError(nullptr), 0);
}

#if !defined(_WIN32)

// When the disk is full later on: tests/faults/filepacker_faults.cpp.
TEST(FilePacker, TakesOnlyFilesAndDoesNotWaitForPipes)
{
    const Trap trap;
    const std::string pipe = trap.in + "/pipe";
    FilePacker packer(trap.archive.c_str(), 0, "d");
    for (const std::string &source : {pipe, std::string("/dev/null")}) {
        EXPECT_EQ(packer.AddFile(source.c_str(), "x"), 8);
        EXPECT_EQ(error_of(packer), error(8, "Cannot read from file: " + source));
    }
    EXPECT_EQ(packer.AddFile(trap.in.c_str(), "x"), 2) << "a directory";
    EXPECT_EQ(trap.folder.read("a"), head("d"));
    FilePacker in(pipe.c_str(), 1, nullptr), out(pipe.c_str(), 0, nullptr);
    EXPECT_EQ(error_of(in), error(2, "Cannot open file: " + pipe));
    EXPECT_EQ(error_of(out), error(3, "Cannot create archive: " + pipe));
    FilePacker full("/dev/full", 0, nullptr);
    EXPECT_EQ(error_of(full), error(7, "Cannot write output file: /dev/full"));
    EXPECT_EQ(full.AddFileAsBuffer("", 0, "x"), 1);
}

#endif

}  // namespace
