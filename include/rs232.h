/* rs232.h - serial line
 *
 * A port is opened by name with its line settings given as codes; after that, strings and bytes are written, bytes are
 * read, and both directions are asked whether they are ready.
 *
 *     rs232_rec *port = initrs232("/dev/ttyS0", 13, 48, 0, 0, 0);      9600 baud, 8 bits, no parity, one stop bit
 *     if (port == NULL)
 *         ...                                                          reported
 *     outstringrs232(port, "D50\r", 4);                                waits until the line has taken it
 *     char answer = inbrs232(port);                                    waits for it
 *     closers232(port);
 *
 * Codes of the line settings
 *     speed       1    2    3    4    5    6    7    8     9    10    11    12    13     14     15     16      17
 *     baud       50   75  110  134  150  200  300  600  1200  1800  2400  4800  9600  19200  38400  57600  115200
 *     data bits   48: 8    32: 7    16: 6    0: 5
 *     stop bits    0: one  64: two
 *     parity     512: odd; only looked at when parity is enabled, otherwise there is none
 *
 * Common rules
 *   Bytes pass unchanged in both directions; only with software flow control are received bytes 17 (XON) and 19 (XOFF)
 *   taken by the line. A line that its device drives by other means (RTS/CTS) stays as the host had it, and so does one
 *   that Windows was told to take zeros out of.
 *   A transfer of n bytes that is not complete after 500 n + 1000 ms fails; part of the bytes may have been sent.
 *   The port belongs to nobody else while it is open: others who open it through this library are refused, and so
 *   are others at all where the host can do it.
 *   When the host gives the line up (a cable pulled, a device gone), the call that meets it fails and closes the port.
 *   Whatever is called next finds the port not open and opens and configures it again, with the settings of initrs232
 *   and the same reports as there.
 *   A port that is null, or not one of initrs232's, gives the failure value without a report. All other failures are
 *   reported through error_mess_fl.
 *   Ports may be used by different threads at once, one port by one thread at a time. The switch of setflowrs232 is
 *   shared by the process and may be set at any time.
 */
#ifndef TESKA_RS232_H
#define TESKA_RS232_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a port. */
typedef struct rs232_rec rs232_rec;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* initrs232 - open a port and configure its line.
 *
 * port_name      as the host names its device: "/dev/ttyS0", "COM1", "\\.\COM10"; UTF-8, copied. Null is taken for "".
 * speed, data_bits, stop_bits, parity
 *                codes, see above
 * parity_enable  0: no parity. Else odd parity is sent and checked.
 * Returns the port, owned by the caller (closers232), or NULL with the first of these that applies:
 *     "initrs232: Insufficient resources"
 *     "Cannot open serial port %s"                                 missing, in use or forbidden
 *     "Cannot disable events on port"
 *     "Cannot setup serial port buffers"
 *     "Cannot read device-control block for a serial port"         not a serial line
 *     "Invalid serial line speed: %d bauds"                        with the code, here and in the next three
 *     "Invalid serial line bits per pixel: %d"
 *     "Invalid serial line number of stop bits: %d"
 *     "Invalid serial line parity constant: %d"
 *     "Cannot setup device-control block for a seril port"         the device refuses the settings
 * A name too long for a line of error_mess.h is cut in the report.
 * Kept: codes are only checked once the port is open, so a missing port is reported in place of a wrong code.
 * Kept: even parity is refused.
 */
TESKA_API rs232_rec *initrs232(const char *port_name, int speed, int data_bits, int parity_enable, int parity,
                               int stop_bits) TESKA_NOTHROW;

/* closers232 - close a port and free its record; null and a record that is not a port are left alone. */
TESKA_API void closers232(rs232_rec *port) TESKA_NOTHROW;

/* setflowrs232 - switch software flow control for the ports opened from now on; process-wide.
 *
 * no_flow  0: XON/XOFF in both directions (the initial state). Else none.
 * Returns the previous value.
 */
TESKA_API int setflowrs232(int no_flow) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* outstringrs232 - send bytes.
 *
 * bytes  count of them, zeros included; may be null when count is 0
 * Returns 0, or -1 with "Cannot write to comm port." (also for a negative count).
 */
TESKA_API int outstringrs232(rs232_rec *port, const char *bytes, int count) TESKA_NOTHROW;

/* outbrs232 - send one byte. Returns as outstringrs232. */
TESKA_API int outbrs232(rs232_rec *port, char byte) TESKA_NOTHROW;

/* inbrs232 - receive one byte, waiting for it if none is there.
 *
 * Returns the byte, or (char)-1 with "Cannot read from comm port.".
 * Kept: the result is one character wide, so that a received byte 255 looks like a failure; only the report tells.
 * Where char is unsigned that result is 255: compare with (char)-1, not with -1.
 */
TESKA_API char inbrs232(rs232_rec *port) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* inrs232rdy - number of bytes that wait to be received; -1 with "Cannot read from comm port." when the line is
 * lost.
 */
TESKA_API int inrs232rdy(rs232_rec *port) TESKA_NOTHROW;

/* outrs232rdy - 1 when output may be sent, 0 while flow control holds it; -1 with "Cannot write to comm port." when the
 * line is lost.
 *
 * POSIX hosts do not tell why output waits: there 0 means that the line takes no more bytes at the moment.
 */
TESKA_API int outrs232rdy(rs232_rec *port) TESKA_NOTHROW;

TESKA_END_C
#endif
