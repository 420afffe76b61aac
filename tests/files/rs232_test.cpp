// The line and the device at its other end come from tests/support/serial_line.py; the bytes ? H ! are commands to that
// device, everything else it sends back.
#include "rs232.h"

#include "Platform/serial.h"
#include "support/test.h"

#include <chrono>

#ifdef _WIN32
#    include <windows.h>
constexpr bool on_windows = true;
constexpr const char *no_line = "NUL", *no_line_refused = "Cannot disable events on port";
#else
constexpr bool on_windows = false;
constexpr const char *no_line = "/dev/null", *no_line_refused = "Cannot read device-control block for a serial port";
#endif

using teska_test::lines, teska_test::Reports;

namespace
{

using std::chrono::steady_clock;
using Port = std::unique_ptr<rs232_rec, decltype(&closers232)>;

constexpr char no_byte = static_cast<char>(-1);

const char *line_name() { return std::getenv("TESKA_TEST_LINE"); }

Port opened(int speed = 13, int stop_bits = 0)
{
    return {initrs232(line_name(), speed, 48, 0, 0, stop_bits), closers232};
}

// What the device says of its line.
std::string settings(const Port &port)
{
    EXPECT_EQ(outbrs232(port.get(), '?'), 0);
    std::string answer;
    for (char c = 0; (c = inbrs232(port.get())) != '\n' && c != no_byte;)
        answer += c;
    return answer;
}

double seconds_since(steady_clock::time_point start)
{
    return std::chrono::duration<double>(steady_clock::now() - start).count();
}

// Waits until a function gives a value, for five seconds at most.
void expect_soon(int (*function)(rs232_rec *) noexcept, const Port &port, int value)
{
    int given = 0;
    for (const auto start = steady_clock::now(); (given = function(port.get())) != value && seconds_since(start) < 5;) {
    }
    EXPECT_EQ(given, value);
}

struct Rs232 : testing::Test {
    void SetUp() override
    {
        if (line_name() == nullptr)
            GTEST_SKIP() << "there is no serial line; run tests/support/serial_line.py with this program as argument";
        setflowrs232(0);
    }
    Reports reports;
};

}  // namespace

TEST_F(Rs232, SetsSpeedStopBitsAndFlowControl)
{
    int code = 0, flow_before = 0;
    for (const char *baud : {"50", "75", "110", "134", "150", "200", "300", "600", "1200", "1800", "2400", "4800",
                             "9600", "19200", "38400", "57600", "115200"}) {
        const bool no_flow = ++code % 2 == 0, two_stops = code % 3 == 1;
        EXPECT_EQ(setflowrs232(no_flow), std::exchange(flow_before, no_flow));
        const std::string expected =
            std::string(baud) + ' ' + baud + (two_stops ? " 2 " : " 1 ") + (no_flow ? "0 0" : "1 1") + " 17 19 120";
        EXPECT_EQ(settings(opened(code, two_stops ? 64 : 0)), expected);
    }
}

TEST_F(Rs232, ReportsTheStepThatFailsAndClosesThePort)
{
    const std::tuple<const char *, int, int, int, std::string> cases[] = {
        {"no such line", 18, 8, 1, "Cannot open serial port no such line"},
        {nullptr, 13, 48, 0, "Cannot open serial port "},
        {no_line, 18, 8, 1, no_line_refused},
        {line_name(), 18, 8, 1, "Invalid serial line speed: 18 bauds"},
        {line_name(), 0, 8, 1, "Invalid serial line speed: 0 bauds"},
        {line_name(), 17, 8, 1, "Invalid serial line bits per pixel: 8"},
        {line_name(), 17, 0, 1, "Invalid serial line number of stop bits: 1"},
        {line_name(), 17, 0, 64, "Invalid serial line parity constant: 256"}};
    for (const auto &[name, speed, data_bits, stop_bits, report] : cases) {
        EXPECT_EQ(initrs232(name, speed, data_bits, 1, 256, stop_bits), nullptr);
        EXPECT_EQ(reports.take(), lines{report});
        EXPECT_NE(opened(), nullptr) << "the line is not left open";
    }
    const Port port(initrs232(line_name(), 1, 48, 0, 256, 0), closers232);
    EXPECT_NE(port, nullptr) << "no parity, whatever the code";
    EXPECT_EQ(reports.take(), lines{});
    if (on_windows)
        GTEST_SKIP() << "the emulated host opens a line several times";
    EXPECT_EQ(opened(), nullptr);
    EXPECT_EQ(reports.take(), lines{std::string("Cannot open serial port ") + line_name()});
}

TEST_F(Rs232, PassesAllBytesUnchangedAndKeeps255LikeAFailure)
{
    for (const int no_flow : {0, 1}) {
        setflowrs232(no_flow);
        const Port port = opened();
        std::string bytes(25600, '\0');  // more than the queues of the line hold
        std::iota(bytes.begin(), bytes.end(), '\0');
        const std::string_view taken(no_flow != 0 ? "?H!" : "?H!\x11\x13");
        std::erase_if(bytes, [=](char c) { return taken.find(c) != taken.npos; });
        EXPECT_EQ(outstringrs232(port.get(), bytes.data(), static_cast<int>(bytes.size())), 0);
        std::string back(bytes.size(), 'x');
        std::generate(back.begin(), back.end(), [&] { return inbrs232(port.get()); });
        EXPECT_EQ(back, bytes);
        EXPECT_EQ(outstringrs232(port.get(), nullptr, 0), 0);
        EXPECT_EQ(outstringrs232(port.get(), "a", -1), -1);
        EXPECT_EQ(outstringrs232(port.get(), nullptr, 1), -1);
        EXPECT_EQ(reports.take(), lines(2, "Cannot write to comm port."));
    }
}

TEST_F(Rs232, ShowsThatTheLineIsHeldUntilItIsLetGo)
{
    const Port port = opened();
    EXPECT_EQ(outrs232rdy(port.get()), 1);
    const auto held = steady_clock::now();
    outbrs232(port.get(), 'H');
    if (on_windows)  // see below
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    else
        expect_soon(outrs232rdy, port, 0);
    const auto start = steady_clock::now();
    EXPECT_EQ(outbrs232(port.get(), 'a'), -1);
    EXPECT_NEAR(seconds_since(start), 1.7, 0.25);
    EXPECT_EQ(reports.take(), lines{"Cannot write to comm port."});
    EXPECT_EQ(outstringrs232(port.get(), "bcde", 4), 0) << "four bytes may take 3 s";
    EXPECT_GE(seconds_since(held), 3.45);
    EXPECT_EQ(outrs232rdy(port.get()), 1);
    for (const char expected : {'b', 'c', 'd', 'e'})
        EXPECT_EQ(inbrs232(port.get()), expected);
    if (on_windows)
        GTEST_SKIP() << "the emulated host holds the line but does not say so";
}

TEST_F(Rs232, CountsTheBytesThatWaitAndSetsALostLineUpAgain)
{
    const Port port = opened(17, 64);
    setflowrs232(1);  // the port keeps what it was made with
    outstringrs232(port.get(), "abc", 3);
    expect_soon(inrs232rdy, port, 3);
    for (int left = 2; left >= 0; --left) {
        EXPECT_EQ(inbrs232(port.get()), "cba"[left]);
        EXPECT_EQ(inrs232rdy(port.get()), left);
    }
    const auto start = steady_clock::now();
    EXPECT_EQ(inbrs232(port.get()), no_byte);
    EXPECT_NEAR(seconds_since(start), 1.7, 0.25);
    outbrs232(port.get(), '!');
    expect_soon(inrs232rdy, port, -1);
    EXPECT_EQ(reports.take(), lines(2, "Cannot read from comm port."));
    EXPECT_EQ(settings(port), "115200 115200 2 1 1 17 19 120");
}

#ifdef _WIN32
// A pseudo terminal has eight bits and no parity, whatever it is set to; POSIX is checked in tests/faults.
TEST(Rs232ControlBlock, TakesTheSettings)
{
    for (const int on : {0, 1}) {
        teska::serial::control_block block;
        DCB dcb;
        std::memset(block.native, 0xFF, sizeof block.native);
        teska::serial::apply(block, {134, 7, 1 + on, on != 0, on != 0});
        std::memcpy(&dcb, block.native, sizeof dcb);
        EXPECT_TRUE(dcb.BaudRate == 134 && dcb.ByteSize == 7 && dcb.XonChar == 17 && dcb.XoffChar == 19);
        EXPECT_TRUE(dcb.StopBits == (on ? TWOSTOPBITS : ONESTOPBIT) && dcb.Parity == (on ? ODDPARITY : NOPARITY));
        EXPECT_TRUE(dcb.fBinary == 1 && dcb.fParity == on && dcb.fOutX == on && dcb.fInX == on && dcb.fNull == 1);
    }
}
#endif
