// serial - settings of a line: which are taken, what becomes of them, and bytes both ways
//
// An input is flow control, the five codes, and bytes that go out and come back. The line is a pseudo terminal.

#include "error_mess.h"
#include "fuzz/target.h"
#include "rs232.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>

using fuzz::expect;

namespace
{

struct Line {
    Line()
    {
        if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0)
            name = ptsname(master);
    }

    int master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    std::string name;  // "" where the host has no such lines
};

// A code of the header, or any number.
template <std::size_t n>
int code(fuzz::Input &input, const int (&known)[n])
{
    const int choice = input.below(8);
    return choice < 7 ? known[input.below(static_cast<int>(n))] : input.integer();
}

std::string received(int master, std::size_t count)
{
    std::string bytes(count, '\0');
    for (std::size_t done = 0; done < count;) {
        pollfd line{master, POLLIN, 0};
        expect(poll(&line, 1, 2000) == 1);
        const ssize_t moved = read(master, bytes.data() + done, count - done);
        expect(moved > 0);
        done += static_cast<std::size_t>(moved);
    }
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const Line line;
    if (line.name.empty())
        return 0;
    error_set(0);
    fuzz::Input input{data, size};
    static const int speeds[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17};
    static const speed_t rates[] = {B50,   B75,   B110,  B134,  B150,   B200,   B300,   B600,   B1200,
                                    B1800, B2400, B4800, B9600, B19200, B38400, B57600, B115200};
    static const int sizes[] = {0, 16, 32, 48}, stops[] = {0, 64}, parities[] = {512, 0};
    const int no_flow = input.below(2);
    const int speed = code(input, speeds), bits = code(input, sizes), stop = code(input, stops);
    const int parity_enable = input.below(2), parity = code(input, parities);
    setflowrs232(no_flow);
    const std::unique_ptr<rs232_rec, void (*)(rs232_rec *)> port(
        initrs232(line.name.c_str(), speed, bits, parity_enable, parity, stop), closers232);
    const auto is_one_of = [](const auto &known, int one) {
        return std::find(std::begin(known), std::end(known), one) != std::end(known);
    };
    const bool known = is_one_of(speeds, speed) && is_one_of(sizes, bits) && is_one_of(stops, stop) &&
                       (parity_enable == 0 || parity == 512);
    // A terminal without a line refuses what it cannot do.
    expect(port != nullptr ? known : !known || bits != 48 || parity_enable != 0);
    if (port == nullptr)
        return 0;
    termios now{};
    expect(tcgetattr(line.master, &now) == 0);
    expect(cfgetospeed(&now) == rates[speed - 1] && cfgetispeed(&now) == rates[speed - 1]);
    expect(((now.c_cflag & CSTOPB) != 0) == (stop == 64));
    expect((now.c_iflag & (IXON | IXOFF)) == (no_flow != 0 ? 0U : IXON | IXOFF));

    // What the line takes for itself does not come through.
    std::vector<char> bytes = input.bytes(static_cast<int>(std::min<std::size_t>(input.left, 200)));
    if (no_flow == 0)
        bytes.erase(std::remove_if(bytes.begin(), bytes.end(), [](char c) { return c == 17 || c == 19; }), bytes.end());
    const int count = static_cast<int>(bytes.size());
    expect(outrs232rdy(port.get()) == 1 && inrs232rdy(port.get()) == 0);
    expect(outstringrs232(port.get(), bytes.data(), count) == 0);
    const std::string out = received(line.master, bytes.size());
    expect(std::equal(bytes.begin(), bytes.end(), out.begin()));
    expect(write(line.master, bytes.data(), bytes.size()) == count);
    for (const char byte : bytes)
        expect(inbrs232(port.get()) == byte);
    return 0;
}
