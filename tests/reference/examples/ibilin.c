#define DOTS_1 ++seen, (void)component
#include "ibilin_1.inc"

EXAMPLE(ibilin)
{
    enum { srcLines = 3, srcWidth = 4, dstLines = 6, dstWidth = 8 };
    unsigned char rgb[3 * srcWidth], lines[3][dstWidth], *row[3] = {lines[0], lines[1], lines[2]};
    memset(rgb, 90, sizeof rgb);
    int y;
#include "ibilin_2.inc"
    CHECK(seen == 3 * dstLines && lines[2][dstWidth - 1] == 90);
}
