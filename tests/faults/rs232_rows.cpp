// Serial lines that refuse, break off and go away
#include "faults/injector.h"
#include "faults/sweep.h"
#include "rs232.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <tuple>
#include <utility>

// What a line was asked for: a pseudo terminal has eight bits and no parity, whatever it is set to.
static termios asked;
static bool refused, ignored;

extern "C" int __real_tcsetattr(int descriptor, int when, const termios *line);

extern "C" int __wrap_tcsetattr(int descriptor, int when, const termios *line)
{
    asked = *line;
    return refused ? -1 : ignored ? 0 : __real_tcsetattr(descriptor, when, line);
}

namespace teska_test
{

namespace
{

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

const SweepRows rows({{.name = "initrs232",
                       .make = [] { return SweepCase{.call = [] { return Line().port != nullptr; }}; },
                       .failures = {{.count = 2, .once = {"initrs232: Insufficient resources"}}}}});

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

TEST(Rs232, ReportsALineThatDoesNotTakeItsSettings)
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
}

TEST(Rs232, GoesOnAfterAnInterruption)
{
    const Line line;
    char byte = 0;
    arm(fault_kind::files, 0, false, {.error = EINTR});
    ASSERT_EQ(outbrs232(line.port, 'a'), 0);
    EXPECT_EQ(disarm(), 1);
    EXPECT_EQ(read(line.device, &byte, 1), 1);
    EXPECT_EQ(byte, 'a');
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

}  // namespace teska_test
