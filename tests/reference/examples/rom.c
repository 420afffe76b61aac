#include "rom.h"

#include "../check.h"

struct plate {
    char *name;
};

static int plate(void)
{
#include "rom_1.inc"
    return 0;
}

void example_rom(void);
void example_rom(void) { CHECK(plate() == 0); }
