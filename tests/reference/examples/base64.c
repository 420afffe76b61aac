EXAMPLE(base64)
{
#include "base64_1.inc"
    CHECK(strncmp(out, "TQ==", 4) == 0);
    CHECK(back[0] == 0x4D);
}
