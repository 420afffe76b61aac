// rs232 - serial line (files)
//
// A port remembers how it was asked to be set, so that any operation can bring it up again:
//
//     closed --- set_up --> open --- the host gives the line up ---> closed
//
// set_up takes the steps of Platform/serial.h one by one and reports the one that fails; a port that could not be
// brought up whole is closed again. Tables that end with -1, which therefore is never a valid code, translate codes to
// baud rates and bits; the codes are those of the classic terminal interface.
//
// The record points to itself, so that what is not a port, or a port no more, is told from one.
//
// Process-wide state: the flow-control switch.

#include "rs232.h"

#include "Platform/serial.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace serial = teska::serial;

namespace
{

struct flow_state {
    std::atomic<int> no_flow = 0;  // what ports made from now on take over; 0: XON/XOFF
};

flow_state flow;

constexpr int queue_bytes = 4096;

// Milliseconds. At 50 baud a byte takes 220; the constants are the patience with the other side.
constexpr serial::time_limits limits = {
    .read_interval = 0, .read_per_byte = 500, .read_constant = 1000, .write_per_byte = 500, .write_constant = 1000};

constexpr int odd_parity = 512;

struct setting_code {
    int code;
    int value;
};

constexpr int unknown = -1;

constexpr setting_code speeds[] = {{1, 50},    {2, 75},     {3, 110},    {4, 134},    {5, 150},     {6, 200},
                                   {7, 300},   {8, 600},    {9, 1200},   {10, 1800},  {11, 2400},   {12, 4800},
                                   {13, 9600}, {14, 19200}, {15, 38400}, {16, 57600}, {17, 115200}, {-1, unknown}};
constexpr setting_code data_sizes[] = {{48, 8}, {32, 7}, {16, 6}, {0, 5}, {-1, unknown}};
constexpr setting_code stops[] = {{0, 1}, {64, 2}, {-1, unknown}};

constexpr std::size_t text_size = 512;  // a longer report would be cut anyway

}  // namespace

struct rs232_rec {
    serial::port line;
    int speed = 0;
    int data_bits = 0;
    int parity_enable = 0;
    int parity = 0;
    int stop_bits = 0;
    int no_flow = 0;
    teska::heap_block<char> name;
    rs232_rec *volatile self = nullptr;  // volatile: cleared just before the record is freed

    ~rs232_rec()
    {
        if (serial::is_open(line))
            serial::close(line);
        self = nullptr;
    }
};

namespace
{

int find(const setting_code *entry, int code)
{
    while (entry->code != -1 && entry->code != code)
        ++entry;
    return entry->value;
}

// The settings that the port's codes mean. False: reported.
bool decode(const rs232_rec &port, serial::line_settings &settings)
{
    char text[text_size];
    settings = {.baud = find(speeds, port.speed),
                .data_bits = find(data_sizes, port.data_bits),
                .stop_bits = find(stops, port.stop_bits),
                .odd_parity = port.parity_enable != 0,
                .xon_xoff = port.no_flow == 0};
    // Kept: the first three texts name bauds and pixels, and print the code.
    if (settings.baud == unknown)
        std::snprintf(text, sizeof text, "Invalid serial line speed: %d bauds", port.speed);
    else if (settings.data_bits == unknown)
        std::snprintf(text, sizeof text, "Invalid serial line bits per pixel: %d", port.data_bits);
    else if (settings.stop_bits == unknown)
        std::snprintf(text, sizeof text, "Invalid serial line number of stop bits: %d", port.stop_bits);
    else if (settings.odd_parity && port.parity != odd_parity)
        std::snprintf(text, sizeof text, "Invalid serial line parity constant: %d", port.parity);
    else
        return true;
    TESKA_ERR(text);
    return false;
}

// The steps that bring up a line that was opened. False: reported.
bool configure(rs232_rec &port)
{
    if (!serial::disable_events(port.line)) {
        TESKA_ERR("Cannot disable events on port");
        return false;
    }
    if (!serial::set_queues(port.line, queue_bytes, queue_bytes)) {
        TESKA_ERR("Cannot setup serial port buffers");
        return false;
    }
    serial::control_block block;
    if (!serial::get_control(port.line, block)) {
        TESKA_ERR("Cannot read device-control block for a serial port");
        return false;
    }
    serial::line_settings settings;
    if (!decode(port, settings))
        return false;
    serial::apply(block, settings);
    // Without its time limits a line could wait for ever, so they are part of what it must accept.
    if (!serial::set_control(port.line, block) || !serial::set_limits(port.line, limits)) {
        TESKA_ERR("Cannot setup device-control block for a seril port");
        return false;
    }
    return true;
}

// Opens the port and configures it whole, or leaves it not open. False: reported.
bool set_up(rs232_rec &port)
{
    if (!serial::open(port.line, port.name.get())) {
        char text[text_size];
        std::snprintf(text, sizeof text, "Cannot open serial port %s", port.name.get());
        TESKA_ERR(text);
        return false;
    }
    if (configure(port))
        return true;
    serial::close(port.line);
    return false;
}

bool is_port(const rs232_rec *port) { return port != nullptr && port->self == port; }

// Whether there is a port, and it is open or could be opened again.
bool is_ready(rs232_rec *port) { return is_port(port) && (serial::is_open(port->line) || set_up(*port)); }

// A lost line is closed, so that the next operation looks for it anew.
bool completed(rs232_rec &port, serial::transfer result)
{
    if (result == serial::transfer::lost)
        serial::close(port.line);
    return result == serial::transfer::complete;
}

bool get_status(rs232_rec &port, serial::line_status &now)
{
    if (serial::status(port.line, now))
        return true;
    serial::close(port.line);
    return false;
}

teska::heap_block<char> copy_of(const char *text)
{
    const std::size_t size = std::strlen(text) + 1;
    auto copy = teska::zeroed_block<char>(size);
    if (copy)
        std::memcpy(copy.get(), text, size);
    return copy;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

rs232_rec *initrs232(const char *port_name, int speed, int data_bits, int parity_enable, int parity,
                     int stop_bits) TESKA_NOTHROW
{
    auto port = teska::make_record<rs232_rec>();
    if (port)
        port->name = copy_of(port_name != nullptr ? port_name : "");
    if (!port || !port->name) {
        TESKA_ERR("initrs232: Insufficient resources");
        return nullptr;
    }
    port->speed = speed;
    port->data_bits = data_bits;
    port->parity_enable = parity_enable;
    port->parity = parity;
    port->stop_bits = stop_bits;
    port->no_flow = flow.no_flow;
    port->self = port.get();
    return set_up(*port) ? port.release() : nullptr;
}

void closers232(rs232_rec *port) TESKA_NOTHROW
{
    if (is_port(port))
        teska::kill_record(port);
}

int setflowrs232(int no_flow) TESKA_NOTHROW { return flow.no_flow.exchange(no_flow); }

// ---- Process --------------------------------------------------------------------------------------------------------

int outstringrs232(rs232_rec *port, const char *bytes, int count) TESKA_NOTHROW
{
    if (!is_ready(port))
        return -1;
    const bool sensible = count == 0 || (count > 0 && bytes != nullptr);
    if (!sensible || !completed(*port, serial::write(port->line, bytes, count))) {
        TESKA_ERR("Cannot write to comm port.");
        return -1;
    }
    return 0;
}

int outbrs232(rs232_rec *port, char byte) TESKA_NOTHROW { return outstringrs232(port, &byte, 1); }

char inbrs232(rs232_rec *port) TESKA_NOTHROW
{
    // Kept: a byte 255 is this value too.
    constexpr char failed = static_cast<char>(-1);
    if (!is_ready(port))
        return failed;
    char byte = 0;
    if (!completed(*port, serial::read(port->line, &byte, 1))) {
        TESKA_ERR("Cannot read from comm port.");
        return failed;
    }
    return byte;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int inrs232rdy(rs232_rec *port) TESKA_NOTHROW
{
    serial::line_status now{};
    if (!is_ready(port))
        return -1;
    if (!get_status(*port, now)) {
        TESKA_ERR("Cannot read from comm port.");
        return -1;
    }
    return now.waiting;
}

int outrs232rdy(rs232_rec *port) TESKA_NOTHROW
{
    serial::line_status now{};
    if (!is_ready(port))
        return -1;
    if (!get_status(*port, now)) {
        TESKA_ERR("Cannot write to comm port.");
        return -1;
    }
    return now.held ? 0 : 1;
}
