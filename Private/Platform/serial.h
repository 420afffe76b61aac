// serial - a serial line, as the host offers it
//
// One function per step of bringing a line up, so that the caller can tell which step the host refused. A line is set
// by reading the host's control block, changing in it what the settings name, and writing it back: what they do not
// name stays as the host had it.
//
//     port line;
//     control_block block;
//     if (open(line, "/dev/ttyS0") && get_control(line, block)) {
//         apply(block, {.baud = 9600, .data_bits = 8, .stop_bits = 1, .odd_parity = false, .xon_xoff = true});
//         set_control(line, block);
//     }
//     close(line);

#ifndef TESKA_PLATFORM_SERIAL_H
#define TESKA_PLATFORM_SERIAL_H

#include "lopra.h"

#include <cstddef>

namespace teska::serial
{

struct line_settings {
    int baud;         // one of the 17 rates from 50 to 115200
    int data_bits;    // 5 to 8
    int stop_bits;    // 1 or 2
    bool odd_parity;  // sent and checked; otherwise there is none
    bool xon_xoff;    // software flow control in both directions
};

constexpr unsigned char xon = 17;
constexpr unsigned char xoff = 19;

// Milliseconds. A transfer of n bytes takes at most n * per_byte + constant.
struct time_limits {
    int read_interval;  // between two bytes; 0: unlimited
    int read_per_byte;
    int read_constant;
    int write_per_byte;
    int write_constant;
};

struct port {
    lopra_handle handle = LOPRA_INVALID_HANDLE;
    time_limits limits{};
};

// The host's own record of a line's state; only this layer looks inside.
struct control_block {
    alignas(std::max_align_t) std::byte native[64]{};
};

struct line_status {
    int waiting;  // bytes in the input queue
    bool held;    // output may not be sent now
};

enum class transfer {
    complete,
    timed_out,
    lost  // the line is gone, or the host will not use it any more
};

// Opens a device that exists, for reading and writing and for nobody else.
inline bool open(port &line, const char *name) noexcept
{
    line.handle = CreateFile_utf8(name, LOPRA_GENERIC_READ | LOPRA_GENERIC_WRITE, 0, nullptr, LOPRA_OPEN_EXISTING,
                                  LOPRA_FLAG_NORMAL, nullptr);
    return line.handle != LOPRA_INVALID_HANDLE;
}

// Closes an open line; the port is then not open.
inline void close(port &line) noexcept
{
    CloseFile_utf8(line.handle);
    line.handle = LOPRA_INVALID_HANDLE;
}

inline bool is_open(const port &line) noexcept { return line.handle != LOPRA_INVALID_HANDLE; }

// The steps, in their order. False: the host refused; the line stays open.
bool disable_events(const port &line) noexcept;
bool set_queues(const port &line, int input_bytes, int output_bytes) noexcept;
bool get_control(const port &line, control_block &block) noexcept;
bool set_control(const port &line, const control_block &block) noexcept;
bool set_limits(port &line, const time_limits &limits) noexcept;

// Enters settings into a control block: the host's editing of lines off, the rest as given.
void apply(control_block &block, const line_settings &settings) noexcept;

// False: the line is lost.
bool status(const port &line, line_status &now) noexcept;

// Transfer size bytes, in as many pieces as the host makes of them. When the time is over, a part may have passed.
transfer read(const port &line, char *data, int size) noexcept;
transfer write(const port &line, const char *data, int size) noexcept;

}  // namespace teska::serial

#endif
