// serial - a serial line by the communications functions of Windows

#include "Platform/serial.h"

#include <windows.h>

#include <cstdint>
#include <cstring>

namespace teska::serial
{

namespace
{

static_assert(sizeof(DCB) <= sizeof control_block::native);

DCB load(const control_block &block)
{
    DCB dcb;
    std::memcpy(&dcb, block.native, sizeof dcb);
    return dcb;
}

DWORD number(int value) { return static_cast<DWORD>(value); }

// piece(done, moved) transfers what is left after the first `done` bytes, or a part of it. The host keeps the time of a
// piece; a piece of nothing has waited for as long as the limits allow.
template <class Piece>
transfer in_pieces(int size, std::int64_t limit, Piece piece)
{
    const std::uint64_t end = GetTickCount64() + static_cast<std::uint64_t>(limit);
    for (int done = 0; done < size;) {
        DWORD moved = 0;
        if (!piece(done, &moved))
            return transfer::lost;
        done += static_cast<int>(moved);
        if (done < size && (moved == 0 || GetTickCount64() >= end))
            return transfer::timed_out;
    }
    return transfer::complete;
}

}  // namespace

bool disable_events(const port &line) noexcept { return SetCommMask(line.handle, 0) != 0; }

bool set_queues(const port &line, int input_bytes, int output_bytes) noexcept
{
    return SetupComm(line.handle, number(input_bytes), number(output_bytes)) != 0;
}

bool get_control(const port &line, control_block &block) noexcept
{
    DCB dcb{};
    dcb.DCBlength = sizeof dcb;
    if (!GetCommState(line.handle, &dcb))
        return false;
    std::memcpy(block.native, &dcb, sizeof dcb);
    return true;
}

void apply(control_block &block, const line_settings &settings) noexcept
{
    DCB dcb = load(block);
    dcb.BaudRate = number(settings.baud);
    dcb.ByteSize = static_cast<BYTE>(settings.data_bits);
    dcb.StopBits = settings.stop_bits == 2 ? TWOSTOPBITS : ONESTOPBIT;
    dcb.Parity = settings.odd_parity ? ODDPARITY : NOPARITY;
    dcb.fParity = settings.odd_parity ? 1 : 0;
    dcb.fBinary = 1;
    dcb.fOutX = settings.xon_xoff ? 1 : 0;
    dcb.fInX = settings.xon_xoff ? 1 : 0;
    dcb.XonChar = xon;
    dcb.XoffChar = xoff;
    std::memcpy(block.native, &dcb, sizeof dcb);
}

bool set_control(const port &line, const control_block &block) noexcept
{
    DCB dcb = load(block);
    return SetCommState(line.handle, &dcb) != 0;
}

bool set_limits(port &line, const time_limits &limits) noexcept
{
    COMMTIMEOUTS time_outs{number(limits.read_interval), number(limits.read_per_byte), number(limits.read_constant),
                           number(limits.write_per_byte), number(limits.write_constant)};
    line.limits = limits;
    return SetCommTimeouts(line.handle, &time_outs) != 0;
}

bool status(const port &line, line_status &now) noexcept
{
    DWORD errors = 0;
    COMSTAT found{};
    // Asking also clears an error that would keep the line from going on.
    if (!ClearCommError(line.handle, &errors, &found))
        return false;
    now.waiting = static_cast<int>(found.cbInQue);
    now.held = found.fCtsHold || found.fDsrHold || found.fRlsdHold || found.fXoffHold || found.fXoffSent;
    return true;
}

transfer read(const port &line, char *data, int size) noexcept
{
    const std::int64_t limit = std::int64_t{line.limits.read_per_byte} * size + line.limits.read_constant;
    return in_pieces(size, limit, [=, &line](int done, DWORD *moved) {
        return ReadFile(line.handle, data + done, number(size - done), moved, nullptr);
    });
}

transfer write(const port &line, const char *data, int size) noexcept
{
    const std::int64_t limit = std::int64_t{line.limits.write_per_byte} * size + line.limits.write_constant;
    return in_pieces(size, limit, [=, &line](int done, DWORD *moved) {
        return WriteFile(line.handle, data + done, number(size - done), moved, nullptr);
    });
}

}  // namespace teska::serial
