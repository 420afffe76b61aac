// Streams, lock files, digests and serial lines: allocations, and calls of the host that refuse, break off or are cut
#include "faults/sweep.h"
#include "fdstream.h"
#include "md5_digest.h"
#include "rs232.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

// What a line was asked for: a pseudo terminal has eight bits and no parity, whatever it is set to.
static termios asked;
static bool refused, ignored;

extern "C" int __real_tcsetattr(int descriptor, int when, const termios *line);

extern "C" int __wrap_tcsetattr(int descriptor, int when, const termios *line)
{
    asked = *line;
    return refused ? -1 : ignored ? 0 : __real_tcsetattr(descriptor, when, line);
}

using namespace teska_test;

namespace
{

// Longer than a text keeps inside itself.
constexpr const char *path = "streams_rows_with_a_name_of_some_length.tmp";

void fill() { std::ofstream(path) << "0123456789"; }

// A pseudo terminal and a port on it.
struct Line {
    explicit Line(int data_bits = 48, int parity_enable = 0, int stop_bits = 0) : device(posix_openpt(O_RDWR))
    {
        unlockpt(device);
        name = ptsname(device);
        port = initrs232(name.c_str(), 17, data_bits, parity_enable, 512, stop_bits);
    }
    ~Line()
    {
        closers232(port);
        close(device);
    }

    int device;
    std::string name;
    rs232_rec *port;
};

// ---- Streams

char block[8];

// Each makes one call of the host. What it leaves: bad, eof, fail, a number; when all is well, when the call fails, and
// when half of the bytes are moved.
const struct {
    std::streamoff (*call)(fdifstream &in, fdofstream &out);
    const char *good, *failed, *partial;
} stream_calls[] = {
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return in.read(block, 8).gcount(); }, "8", "ef-1", "8"},
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return in.get(); }, "48", "ef-1", "ef-1"},
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return in.peek(); }, "48", "e-1", "e-1"},
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return in.tellg(); }, "0", "-1", "-1"},
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return !in.seekg(3); }, "0", "f1", "f1"},
    {[](fdifstream &, fdofstream &out) -> std::streamoff { return !out.write("abcdef", 6); }, "0", "b1", "b1"},
    {[](fdifstream &, fdofstream &out) -> std::streamoff { return !(out << "ab" << std::flush); }, "0", "bf1", "bf1"},
    {[](fdifstream &, fdofstream &out) -> std::streamoff { return !out.put('a'); }, "0", "b1", "b1"},
};

template <class Stream>
bool opens(int)
{
    const Stream stream(path, 32 | 8);
    EXPECT_EQ(stream.is_open(), stream.good());
    return stream.is_open();
}

TEST(Fdstream, IsNotOpenWithoutMemory)
{
    const auto filled = [] { return fill(), 0; };
    for (const auto call : {opens<fdifstream>, opens<fdofstream>})
        EXPECT_EQ(failures_of(filled, call, [](int) { return std::string(); }), Reported{{}});
}

TEST(Fdstream, MakesOneCallOfTheHostShowsItsFailureAndKeepsNoDescriptor)
{
    const auto descriptors = open_descriptors();
    for (const auto &row : stream_calls) {
        const auto with = [&](int n, file_fault fault) {
            fill();
            fdifstream in(path, std::ios::binary);
            fdofstream out(path, std::ios::binary | std::ios::app);
            EXPECT_EQ(static_cast<streambufExt *>(in.rdbuf())->openfile(), 0) << "once more";
            arm(fault_kind::files, n, n == 1, fault);
            const std::streamoff number = row.call(in, out);
            disarm();
            const auto state = in.rdstate() | out.rdstate();
            return std::string(state & std::ios::badbit ? "b" : "") + (state & std::ios::eofbit ? "e" : "") +
                   (state & std::ios::failbit ? "f" : "") + std::to_string(number);
        };
        const std::string at = "call " + std::to_string(&row - stream_calls);
        EXPECT_EQ(with(0, {.error = ENOSPC}), row.failed) << at;
        EXPECT_EQ(with(0, {.error = EINTR}), row.good) << at;
        EXPECT_EQ(with(0, {.partial = true}), row.partial) << at;
        EXPECT_EQ(with(1, {}), row.good) << at << ", of which there is but one";
    }
    EXPECT_EQ(streambufExt(path, 1).openfile(), 0);
    EXPECT_EQ(open_descriptors(), descriptors);
    std::remove(path);
}

// ---- Digests

TEST(MD5CheckFile, KeptCountsWhatItCannotReadAsZeros)
{
    // After five calls that open it, three reads of 16384, 16384 and 7232 bytes; one of them gives nothing, or half.
    const Folder folder;
    for (int n = 0; n < 3; ++n)
        for (const bool half : {false, true}) {
            std::string content(40000, 'x');
            folder.write("whole", content);
            const std::size_t size = n < 2 ? 16384 : 7232;
            const std::size_t lost = half ? size / 2 : size;
            content.replace(static_cast<std::size_t>(n) * 16384 + size - lost, lost, lost, '\0');
            folder.write("zeros", content);
            char found[33], expected[33];
            EXPECT_EQ(MD5_check_file(folder.path("zeros").c_str(), expected), 0);
            arm(fault_kind::files, 5 + n, false, {.partial = half});
            EXPECT_EQ(MD5_check_file(folder.path("whole").c_str(), found), 0);
            EXPECT_EQ(disarm(), 1);
            EXPECT_STREQ(found, expected) << n << ", half " << half;
        }
}

// ---- Serial lines

TEST(Rs232, AsksForSizeParityAndStopBitsOfItsCodes)
{
    const std::tuple<int, int, int, tcflag_t, tcflag_t> cases[] = {{48, 0, 0, CS8, 0},
                                                                   {32, 512, 64, CS7 | PARENB | PARODD | CSTOPB, INPCK},
                                                                   {16, 1, 0, CS6 | PARENB | PARODD, INPCK},
                                                                   {0, 0, 64, CS5 | CSTOPB, 0}};
    for (const auto &[data_bits, parity_enable, stop_bits, control, input] : cases) {
        const Line line(data_bits, parity_enable, stop_bits);
        EXPECT_EQ(asked.c_cflag & (CSIZE | CSTOPB | PARENB | PARODD | CREAD | CLOCAL), control | CREAD | CLOCAL);
        EXPECT_EQ(asked.c_iflag & (INPCK | ISTRIP | IXANY), input);
    }
}

TEST(Rs232, ReportsALineThatDoesNotTakeItsSettingsAndGoesOnAfterAnInterruption)
{
    const Line line;
    Reports reports;
    for (bool *how : {&refused, &ignored}) {
        *how = true;
        EXPECT_EQ(Line().port, nullptr);
        *how = false;
    }
    arm(fault_kind::files, 0, false);
    EXPECT_EQ(outbrs232(line.port, 'a'), -1) << "which loses the line";
    disarm();
    for (const int ready : {-1, -1, 1}) {
        refused = ready < 0;
        EXPECT_EQ(outrs232rdy(line.port), ready);
    }
    lines expected(5, "Cannot setup device-control block for a seril port");
    expected.back() = "Cannot write to comm port.";
    EXPECT_EQ(reports.take(), expected);
    char byte = 0;
    arm(fault_kind::files, 0, false, {.error = EINTR});
    ASSERT_EQ(outbrs232(line.port, 'b'), 0);
    EXPECT_EQ(disarm(), 1);
    EXPECT_EQ(read(line.device, &byte, 1), 1);
    EXPECT_EQ(byte, 'b');
}

TEST(Rs232, ReportsThatTheLineIsLostAndThenThatItCannotBeOpened)
{
    int (*const calls[])(rs232_rec *) = {
        [](rs232_rec *port) { return outbrs232(port, 'a'); }, outrs232rdy,
        [](rs232_rec *port) { return inbrs232(port) == static_cast<char>(-1) ? -1 : 0; }, inrs232rdy};
    for (const auto &call : calls) {
        Reports reports;
        Line line;
        close(std::exchange(line.device, -1));
        errno = EAGAIN;  // a read of nothing leaves it as it is
        EXPECT_EQ(call(line.port), -1);
        EXPECT_EQ(reports.take(),
                  lines{&call < calls + 2 ? "Cannot write to comm port." : "Cannot read from comm port."});
        EXPECT_EQ(call(line.port), -1);
        EXPECT_EQ(reports.take(), lines{"Cannot open serial port " + line.name});
    }
}

}  // namespace
