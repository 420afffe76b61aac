// The line and the device at its other end come from tests/support/serial_line.py; the bytes [ ] ? H ! are commands to
// that device, everything else it sends back.
#include "rs232.h"

#include "Platform/serial.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <thread>

#ifdef _WIN32
#    include <windows.h>
#endif

using teska_test::lines;
using teska_test::Reports;

namespace
{

#ifdef _WIN32
constexpr bool on_windows = true;
constexpr const char *no_line = "NUL";
constexpr const char *no_line_report = "Cannot disable events on port";
#else
constexpr bool on_windows = false;
constexpr const char *no_line = "/dev/null";
constexpr const char *no_line_report = "Cannot read device-control block for a serial port";
#endif

using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct close_port {
    void operator()(rs232_rec *port) const { closers232(port); }
};
using Port = std::unique_ptr<rs232_rec, close_port>;

const char *line_name() { return std::getenv("TESKA_TEST_LINE"); }

Port opened(int speed = 13, int stop_bits = 0) { return Port(initrs232(line_name(), speed, 48, 0, 0, stop_bits)); }

// The device's answer, without the line end.
std::string ask(const Port &port, const std::string &question)
{
    EXPECT_EQ(outstringrs232(port.get(), question.data(), static_cast<int>(question.size())), 0);
    std::string answer;
    for (char c = 0; (c = inbrs232(port.get())) != '\n' && c != -1;)
        answer += c;
    return answer;
}

int milliseconds_since(steady_clock::time_point start)
{
    return static_cast<int>(std::chrono::duration_cast<milliseconds>(steady_clock::now() - start).count());
}

// Whether a state comes about within five seconds.
template <class Function>
bool soon(Function holds)
{
    const auto start = steady_clock::now();
    bool held = holds();
    for (; !held && milliseconds_since(start) < 5000; held = holds())
        std::this_thread::sleep_for(milliseconds(5));
    return held;
}

class OnALine : public testing::Test
{
protected:
    void SetUp() override
    {
        if (line_name() == nullptr)
            GTEST_SKIP() << "there is no serial line; run tests/support/serial_line.py with this program as argument";
        setflowrs232(0);
    }
};

using Initrs232 = OnALine;
using Outstringrs232 = OnALine;
using Inrs232rdy = OnALine;
using Outrs232rdy = OnALine;

}  // namespace

TEST_F(Initrs232, SetsSpeedStopBitsAndFlowControl)
{
    const int bauds[] = {50,   75,   110,  134,  150,   200,   300,   600,   1200,
                         1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
    for (int i = 0; i < 17; ++i) {
        EXPECT_EQ(setflowrs232(i % 2), i == 0 ? 0 : (i - 1) % 2);
        const std::string baud = std::to_string(bauds[i]);
        const std::string settings = baud + ' ' + baud + (i % 3 == 0 ? " 2 " : " 1 ") + (i % 2 == 0 ? "1 1" : "0 0");
        EXPECT_EQ(ask(opened(i + 1, i % 3 == 0 ? 64 : 0), "?").substr(0, settings.size() + 1), settings + ' ');
    }
    setflowrs232(0);
    EXPECT_EQ(ask(opened(), "?"), "9600 9600 1 1 1 17 19");
}

TEST_F(Initrs232, ReportsTheStepThatFailsAndClosesThePort)
{
    Reports reports;
    const struct {
        const char *name;
        int codes[5];
        std::string report;
    } cases[] = {
        {"no such line", {18, 8, 1, 256, 1}, "Cannot open serial port no such line"},
        {nullptr, {13, 48, 0, 0, 0}, "Cannot open serial port "},
        {no_line, {18, 8, 1, 256, 1}, no_line_report},
        {line_name(), {18, 8, 1, 256, 1}, "Invalid serial line speed: 18 bauds"},
        {line_name(), {0, 48, 0, 0, 0}, "Invalid serial line speed: 0 bauds"},
        {line_name(), {-1, 48, 0, 0, 0}, "Invalid serial line speed: -1 bauds"},
        {line_name(), {17, 8, 1, 256, 1}, "Invalid serial line bits per pixel: 8"},
        {line_name(), {17, 0, 1, 256, 1}, "Invalid serial line number of stop bits: 1"},
        {line_name(), {17, 0, 1, 256, 64}, "Invalid serial line parity constant: 256"},
    };
    for (const auto &[name, codes, report] : cases) {
        EXPECT_EQ(initrs232(name, codes[0], codes[1], codes[2], codes[3], codes[4]), nullptr);
        EXPECT_EQ(reports.take(), lines{report});
        EXPECT_NE(opened(), nullptr) << "the line is not left open";
    }
    EXPECT_NE(Port(initrs232(line_name(), 1, 48, 0, 256, 0)), nullptr) << "no parity, whatever the code";
    EXPECT_EQ(reports.take(), lines{});
}

TEST_F(Initrs232, OpensTheLineForNobodyElse)
{
    const Port port = opened();
    Reports reports;
    const Port second = opened();
    if (on_windows && second)
        GTEST_SKIP() << "this host opens a serial line several times, whatever the caller wants";
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(reports.take(), lines{std::string("Cannot open serial port ") + line_name()});
}

TEST_F(Outstringrs232, PassesAllBytesUnchangedAndKeeps255LikeAFailure)
{
    Reports reports;
    for (const int no_flow : {0, 1}) {
        setflowrs232(no_flow);
        const Port port = opened();
        std::string bytes(256, '\0');
        std::iota(bytes.begin(), bytes.end(), '\0');
        std::erase_if(bytes, [=](char c) {
            return std::string_view("[]?H!").find(c) != std::string_view::npos ||
                   (no_flow == 0 && (c == 17 || c == 19));
        });
        EXPECT_EQ(outstringrs232(port.get(), bytes.data(), static_cast<int>(bytes.size())), 0);
        std::string back(bytes.size(), 'x');
        std::generate(back.begin(), back.end(), [&] { return inbrs232(port.get()); });
        EXPECT_EQ(back, bytes);
        EXPECT_EQ(reports.take(), lines{});
    }
}

TEST_F(Outstringrs232, SendsMoreThanTheLineTakesAtOnce)
{
    std::string text(200000, ' ');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char>('a' + i % 26);
    EXPECT_EQ(ask(opened(), '[' + text + ']'), "ok 200000");
}

TEST_F(Outstringrs232, RefusesANegativeCount)
{
    Reports reports;
    const Port port = opened();
    EXPECT_EQ(outstringrs232(port.get(), nullptr, 0), 0);
    EXPECT_EQ(reports.take(), lines{});
    EXPECT_EQ(outstringrs232(port.get(), "a", -1), -1);
    EXPECT_EQ(outstringrs232(port.get(), nullptr, 1), -1);
    EXPECT_EQ(reports.take(), lines(2, "Cannot write to comm port."));
}

TEST_F(Inrs232rdy, CountsTheBytesThatWait)
{
    Reports reports;
    const Port port = opened();
    outstringrs232(port.get(), "abcde", 5);
    EXPECT_TRUE(soon([&] { return inrs232rdy(port.get()) == 5; }));
    for (int left = 4; left >= 0; --left) {
        EXPECT_EQ(inbrs232(port.get()), "edcba"[left]);
        EXPECT_EQ(inrs232rdy(port.get()), left);
    }
    const auto start = steady_clock::now();
    EXPECT_EQ(inbrs232(port.get()), -1);
    EXPECT_NEAR(milliseconds_since(start), 1500, 200);
    EXPECT_EQ(reports.take(), lines{"Cannot read from comm port."});
}

TEST_F(Outrs232rdy, ShowsThatTheLineIsHeldUntilItIsLetGo)
{
    Reports reports;
    const Port port = opened();
    EXPECT_EQ(outrs232rdy(port.get()), 1);
    const auto held = steady_clock::now();
    outbrs232(port.get(), 'H');
    if (on_windows)  // see below
        std::this_thread::sleep_for(milliseconds(200));
    else
        EXPECT_TRUE(soon([&] { return outrs232rdy(port.get()) == 0; }));
    const auto start = steady_clock::now();
    EXPECT_EQ(outbrs232(port.get(), 'a'), -1);
    EXPECT_NEAR(milliseconds_since(start), 1500, 200);
    EXPECT_EQ(reports.take(), lines{"Cannot write to comm port."});
    EXPECT_EQ(outstringrs232(port.get(), "bcde", 4), 0) << "four bytes may take 3 s";
    EXPECT_NEAR(milliseconds_since(held), 3500, 200);
    EXPECT_EQ(outrs232rdy(port.get()), 1);
    for (const char expected : {'b', 'c', 'd', 'e'})
        EXPECT_EQ(inbrs232(port.get()), expected);
    if (on_windows)
        GTEST_SKIP() << "the emulated host holds the line but does not say so";
}

TEST_F(Inrs232rdy, FindsALostLineWhichTheNextCallOpensAndConfiguresAgain)
{
    const Port port = opened(17, 64);
    setflowrs232(1);  // the port keeps what it was made with
    Reports reports;
    outbrs232(port.get(), '!');
    EXPECT_TRUE(soon([&] { return inrs232rdy(port.get()) == -1; }));
    EXPECT_EQ(reports.take(), lines{"Cannot read from comm port."});
    EXPECT_EQ(ask(port, "?"), "115200 115200 2 1 1 17 19");
}

TEST(Rs232, AnswersForNoPortWithTheFailureValueAlone)
{
    Reports reports;
    alignas(std::max_align_t) char zeros[1024] = {};
    for (void *block : {static_cast<void *>(nullptr), static_cast<void *>(zeros)}) {
        auto *port = static_cast<rs232_rec *>(block);
        EXPECT_EQ(outstringrs232(port, "a", 1), -1);
        EXPECT_EQ(outbrs232(port, 'a'), -1);
        EXPECT_EQ(inbrs232(port), -1);
        EXPECT_EQ(inrs232rdy(port), -1);
        EXPECT_EQ(outrs232rdy(port), -1);
        closers232(port);
    }
    EXPECT_EQ(reports.take(), lines{});
}

#ifdef _WIN32
// A pseudo terminal has eight bits and no parity, whatever it is set to; POSIX is checked in tests/faults.
TEST(Rs232, EntersItsSettingsIntoTheControlBlock)
{
    for (const bool parity : {false, true}) {
        teska::serial::control_block block;
        std::memset(block.native, 0xFF, sizeof block.native);
        teska::serial::apply(
            block,
            {.baud = 134, .data_bits = 7, .stop_bits = parity ? 2 : 1, .odd_parity = parity, .xon_xoff = parity});
        DCB dcb;
        std::memcpy(&dcb, block.native, sizeof dcb);
        EXPECT_EQ(dcb.BaudRate, 134U);
        EXPECT_EQ(dcb.ByteSize, 7);
        EXPECT_EQ(dcb.StopBits, parity ? TWOSTOPBITS : ONESTOPBIT);
        EXPECT_EQ(dcb.Parity, parity ? ODDPARITY : NOPARITY);
        EXPECT_TRUE(dcb.fBinary == 1 && dcb.fParity == parity && dcb.fOutX == parity && dcb.fInX == parity);
        EXPECT_TRUE(dcb.XonChar == 17 && dcb.XoffChar == 19 && dcb.fNull == 1 && dcb.XonLim == 0xFFFF);
    }
}
#endif
