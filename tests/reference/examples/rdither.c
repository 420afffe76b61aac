EXAMPLE(rdither)
{
    enum { width = 8 };
    const unsigned y = 0;
    unsigned char in[width] = {0, 255, 128, 128, 128, 128, 128, 128}, out[width];
#include "rdither_1.inc"
    CHECK(out[0] == 0 && out[1] == 15 && out[2] >= 7 && out[2] <= 8);
}
