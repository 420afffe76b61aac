EXAMPLE(md_tetras)
{
    unsigned short pixels[6] = {0}, ink[8], *to[4] = {ink, ink + 1, ink + 2, ink + 3}, **out = to;
    unsigned short *from[3] = {pixels, pixels + 1, pixels + 2};
    const unsigned short *const *in = (const unsigned short *const *)from;
    const int width = 2;
#define DOTS_1 cmyk[0] = cmyk[1] = cmyk[2] = cmyk[3] = 9
#include "md_tetras_1.inc"
    CHECK(ink[0] >= 8 && ink[7] <= 10);
}
