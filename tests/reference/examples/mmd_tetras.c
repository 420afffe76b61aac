EXAMPLE(mmd_tetras)
{
    unsigned short pixels[6] = {0}, ink[8];
    const unsigned short *in[3] = {pixels, pixels + 1, pixels + 2};
    unsigned short *out[4] = {ink, ink + 1, ink + 2, ink + 3};
    const unsigned char tags[2] = {0, 2};
    const int width = 2;
#define DOTS_1                                                                                                         \
    for (int i = 0; i < size; ++i)                                                                                     \
    data[i] = (unsigned short)(100 * (k + 1))
#include "mmd_tetras_1.inc"
    CHECK(ink[0] == 100 && ink[4] == 300);
}
