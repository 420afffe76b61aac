#include "base64.h"

#include "../check.h"

void example_base64(void);
void example_base64(void)
{
#include "base64_1.inc"
    CHECK(strncmp(out, "TQ==", 4) == 0);
    CHECK(back[0] == 0x4D);
}
