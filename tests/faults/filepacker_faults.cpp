// FilePacker: every file call of packing and unpacking failing in turn
#include "faults/sweep.h"
#include "filepacker.h"

#include <sys/resource.h>

#include <csignal>

using namespace teska_test;

namespace
{

const std::string long_text(20000, 'x');

// An archive of some entries, open for more of them or for reading.
struct Packed {
    explicit Packed(int mode, int entries = 3)
    {
        folder.write("source", long_text);
        packer.emplace(archive.c_str(), 0, nullptr);
        for (int i = 0; i < entries; ++i)
            packer->AddFileAsBuffer(long_text.data(), 10000 * (i % 3), std::to_string(i).c_str());
        if (mode == 1)
            open(1);
    }

    void open(int mode)
    {
        packer.reset();
        packer.emplace(archive.c_str(), mode, nullptr);
    }

    int add_file() { return packer->AddFile(source.c_str(), "file"); }
    int add_buffer() { return packer->AddFileAsBuffer(long_text.data(), 20000, "buffer"); }
    int unpack() { return packer->Unpack(target.c_str()); }
    int read()
    {
        char *content = nullptr;
        long length = 0;
        const int code = packer->UnpackFileAsBuffer(&content, &length, nullptr);
        EXPECT_EQ(content == nullptr, code != 0);
        EXPECT_TRUE(content == nullptr || long_text.compare(0, static_cast<std::size_t>(length), content) == 0);
        return code;
    }
    // How many entries there are, and what reading ends with.
    std::pair<int, int> read_all()
    {
        for (int count = 0;; ++count)
            if (const int code = read(); code != 0)
                return {count, code};
    }

    Folder folder;
    // Asked for once: the calls under test must be the only ones that allocate.
    std::string archive = folder.path("a");
    std::string source = folder.path("source");
    std::string target = folder.path();
    std::optional<FilePacker> packer;
};

// Paths are copied by the calls that take them in UTF-8.
TEST(FilePackerFaults, UnpacksAllOrSaysThatMemoryIsShort)
{
    using Shared = std::shared_ptr<Packed>;
    const auto unpack = [](const Shared &packed) {
        const int code = packed->unpack();
        EXPECT_TRUE(code == 0 || code == 2 || code == 6) << code;
        return code == 0;
    };
    EXPECT_EQ(failures_of([] { return std::make_shared<Packed>(1, 1); }, unpack,
                          [](const Shared &packed) { return packed->folder.read("a"); }),
              Reported{{}});
}

TEST(FilePackerFaults, AnArchiveHoldsWhatWasAddedWithoutAnErrorAndNothingElse)
{
    each_file_call([](const auto &fire, bool sticky) {
        const std::ptrdiff_t descriptors = open_descriptors();
        Packed packed(0);
        fire();
        const int first = packed.add_file();
        const int second = packed.add_buffer();
        const bool fired = disarm() > 0;
        EXPECT_TRUE(fired || first + second == 0);
        // The names are free again, unless the archive had to be closed.
        const bool closed = packed.packer->AddFileAsBuffer("", 0, "3") == 4;
        EXPECT_EQ(packed.add_file(), closed ? 4 : 0);
        packed.open(1);
        const auto [count, code] = packed.read_all();
        EXPECT_EQ(count, 3 + (first == 0) + (second == 0) + (closed ? 0 : first == 0 ? 1 : 2));
        EXPECT_TRUE(code == 9 || (closed && code == 5)) << code;
        EXPECT_TRUE(!closed || sticky);
        packed.packer.reset();
        EXPECT_EQ(open_descriptors(), descriptors);
        return fired;
    });
}

TEST(FilePackerFaults, AFullDiskLeavesTheArchiveAsItWas)
{
    Packed packed(0);
    const auto size = [&] { return std::filesystem::file_size(packed.archive); };
    const auto before = size();
    rlimit usual, full{before + 5000, RLIM_INFINITY};
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &usual);
    full.rlim_max = usual.rlim_max;
    setrlimit(RLIMIT_FSIZE, &full);
    EXPECT_EQ(packed.packer->WriteBinaryData(long_text.data(), 20000), 7);
    setrlimit(RLIMIT_FSIZE, &usual);
    EXPECT_EQ(size(), before);
}

TEST(FilePackerFaults, ALengthThatLiesAllocatesNothing)
{
    Packed packed(1);
    std::filesystem::resize_file(packed.archive, std::filesystem::file_size(packed.archive) - 1);
    packed.open(1);
    EXPECT_EQ(packed.read() + packed.read(), 0);
    arm(fault_kind::memory, 0, true);
    const int code = packed.read();
    EXPECT_EQ(disarm(), 0);
    EXPECT_EQ(code, 5);
}

TEST(FilePackerFaults, UnpackedFilesAreWholeOrNotThere)
{
    int unnoticed = 0, empty = 0;
    each_file_call([&](const auto &fire, bool sticky) {
        Packed packed(1);
        fire();
        const int code = packed.unpack();
        const bool fired = disarm() > 0;
        char text[160];
        EXPECT_EQ(packed.packer->GetError(text), code);
        const std::string written = "FilePacker error 7: Cannot write output file: " + packed.target + "\\";
        EXPECT_EQ(std::string(text).starts_with(written), code == 7) << text;
        EXPECT_TRUE(code == 0 || (fired && (code == 2 || code == 5 || code == 7))) << code;
        unnoticed += fired && code == 0;
        for (unsigned i = 0; i < 3; ++i) {
            std::error_code missing;
            const auto size = std::filesystem::file_size(packed.folder.path(std::to_string(i)), missing);
            EXPECT_TRUE(missing || (size == 0 && i > 0) ? code != 0 : sticky || size == 10000U * i) << size;
            empty += !missing && size == 0 && i > 0 && !sticky;
        }
        EXPECT_EQ(packed.unpack(), 0);
        EXPECT_EQ(packed.folder.read("2"), long_text);
        return fired;
    });
    // With each fault: reading no bytes, and closing the directory after three files; two halved writes are continued.
    EXPECT_EQ(unnoticed, 2 * (1 + 3) + 2);
    EXPECT_EQ(empty, 2 * 2) << "when the host tells nothing about its new file";
    each_file_call([](const auto &fire, bool) {
        Packed packed(1);
        fire();
        const auto [count, code] = packed.read_all();
        const bool fired = disarm() > 0;
        EXPECT_TRUE(fired || code == 9);
        EXPECT_EQ(code, count == 3 && code == 9 ? 9 : 5) << count;
        return fired;
    });
}

}  // namespace
