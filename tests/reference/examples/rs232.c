EXAMPLE(rs232)
{
    /* Only where somebody is at the other end is there something to wait for. */
    if (getenv("TESKA_SERIAL_LINE") != NULL) {
#define DOTS_1 return
#include "rs232_1.inc"
    }
}
