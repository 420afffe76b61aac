#include "rs232.h"

#include "../check.h"

void example_rs232(void);
void example_rs232(void)
{
    /* Only where somebody is at the other end is there something to wait for. */
    if (getenv("TESKA_SERIAL_LINE") != NULL) {
#define DOTS_1 return
#include "rs232_1.inc"
        (void)answer;
    }
}
