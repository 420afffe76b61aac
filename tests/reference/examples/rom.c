struct plate {
    char *name;
};

static int plate(void)
{
#include "rom_1.inc"
    return 0;
}

EXAMPLE(rom) { CHECK(plate() == 0); }
