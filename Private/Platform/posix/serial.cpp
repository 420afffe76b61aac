// serial - a serial line by termios
//
// The descriptor does not block: a transfer tries first and waits by poll when the line is not ready, until the time of
// the whole transfer is over. Waiting in read() itself would know whole tenths of a second for a byte and none at all
// for output that the other side holds.

#include "Platform/serial.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <iterator>

namespace teska::serial
{

namespace
{

static_assert(sizeof(termios) <= sizeof control_block::native);

termios load(const control_block &block)
{
    termios line;
    std::memcpy(&line, block.native, sizeof line);
    return line;
}

struct rate {
    int baud;
    speed_t speed;
};

constexpr rate rates[] = {{50, B50},       {75, B75},        {110, B110},   {134, B134},     {150, B150},
                          {200, B200},     {300, B300},      {600, B600},   {1200, B1200},   {1800, B1800},
                          {2400, B2400},   {4800, B4800},    {9600, B9600}, {19200, B19200}, {38400, B38400},
                          {57600, B57600}, {115200, B115200}};

// The speed of a rate of the table.
speed_t speed_of(int baud)
{
    return std::find_if(std::begin(rates), std::end(rates), [=](const rate &r) { return r.baud == baud; })->speed;
}

constexpr tcflag_t sizes[] = {CS5, CS6, CS7, CS8};

#ifdef CMSPAR
constexpr tcflag_t parity_flags = PARENB | PARODD | CMSPAR;  // the last turns odd parity into a constant bit
#else
constexpr tcflag_t parity_flags = PARENB | PARODD;
#endif

void set_flags(tcflag_t &flags, tcflag_t which, bool on) { flags = on ? flags | which : flags & ~which; }

std::int64_t milliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

// Waits until the line may be ready, or until the end. False: the time is over.
bool wait_for(int descriptor, short events, std::int64_t end)
{
    const std::int64_t left = end - milliseconds();
    if (left <= 0)
        return false;
    pollfd line{descriptor, events, 0};
    // Ready, lost, out of time or interrupted: the next try finds out.
    poll(&line, 1, static_cast<int>(std::min<std::int64_t>(left, INT_MAX)));
    return true;
}

// piece(done) transfers what is left after the first `done` bytes, or a part of it, and returns as read() does.
template <class Piece>
transfer in_pieces(int descriptor, short events, int size, std::int64_t limit, Piece piece)
{
    const std::int64_t end = milliseconds() + limit;
    for (int done = 0; done < size;) {
        const ssize_t moved = piece(done);
        if (moved > 0)
            done += static_cast<int>(moved);
        else if (moved == 0 || (errno != EAGAIN && errno != EINTR))
            return transfer::lost;  // nothing at all is the end of a line that was hung up
        else if (!wait_for(descriptor, events, end))
            return transfer::timed_out;
    }
    return transfer::complete;
}

}  // namespace

// A terminal notifies nobody who did not ask for signals, and a descriptor just opened has not.
bool disable_events(const port &) noexcept { return true; }

// The kernel's queues have a fixed size, 4096 bytes for input.
bool set_queues(const port &, int, int) noexcept { return true; }

bool get_control(const port &line, control_block &block) noexcept
{
    termios found{};
    if (tcgetattr(line.handle, &found) != 0)
        return false;
    std::memcpy(block.native, &found, sizeof found);
    return true;
}

void apply(control_block &block, const line_settings &settings) noexcept
{
    termios line = load(block);
    cfmakeraw(&line);
    line.c_cflag &= ~(CSIZE | CSTOPB | parity_flags);
    // Without CLOCAL a cable of three wires looks like a line that was hung up.
    line.c_cflag |= CREAD | CLOCAL | sizes[settings.data_bits - 5];
    set_flags(line.c_cflag, CSTOPB, settings.stop_bits == 2);
    set_flags(line.c_cflag, PARENB | PARODD, settings.odd_parity);
    set_flags(line.c_iflag, INPCK, settings.odd_parity);
    set_flags(line.c_iflag, IXON | IXOFF, settings.xon_xoff);
    set_flags(line.c_iflag, IXANY, false);
    line.c_cc[VSTART] = xon;
    line.c_cc[VSTOP] = xoff;
    line.c_cc[VMIN] = 1;  // so that a read of no bytes means a line that was hung up
    line.c_cc[VTIME] = 0;
    cfsetispeed(&line, speed_of(settings.baud));
    cfsetospeed(&line, speed_of(settings.baud));
    std::memcpy(block.native, &line, sizeof line);
}

bool set_control(const port &line, const control_block &block) noexcept
{
    const termios wanted = load(block);
    termios now{};
    // The call succeeds when any part of the block could be set; at another speed nothing would be understood.
    return tcsetattr(line.handle, TCSANOW, &wanted) == 0 && tcgetattr(line.handle, &now) == 0 &&
           cfgetospeed(&now) == cfgetospeed(&wanted);
}

bool set_limits(port &line, const time_limits &limits) noexcept
{
    line.limits = limits;
    return true;
}

bool status(const port &line, line_status &now) noexcept
{
    pollfd output{line.handle, POLLOUT, 0};
    if (poll(&output, 1, 0) < 0 || (output.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0)
        return false;
    now.held = (output.revents & POLLOUT) == 0;
    return ioctl(line.handle, FIONREAD, &now.waiting) == 0;
}

transfer read(const port &line, char *data, int size) noexcept
{
    const std::int64_t limit = std::int64_t{line.limits.read_per_byte} * size + line.limits.read_constant;
    return in_pieces(line.handle, POLLIN, size, limit, [=, &line](int done) {
        return ::read(line.handle, data + done, static_cast<std::size_t>(size - done));
    });
}

transfer write(const port &line, const char *data, int size) noexcept
{
    const std::int64_t limit = std::int64_t{line.limits.write_per_byte} * size + line.limits.write_constant;
    return in_pieces(line.handle, POLLOUT, size, limit, [=, &line](int done) {
        return ::write(line.handle, data + done, static_cast<std::size_t>(size - done));
    });
}

}  // namespace teska::serial
