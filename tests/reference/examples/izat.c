#define DOTS_1 ++*(int *)context, (void)line
#include "izat_1.inc"

EXAMPLE(izat)
{
    enum { srcLines = 4, srcWidth = 6, dstLines = 2, dstWidth = 3 };
    unsigned char rgb[srcLines * 3 * srcWidth], line[3 * dstWidth], *row = line;
    int y, job = 0;
    memset(rgb, 33, sizeof rgb);
#include "izat_2.inc"
    CHECK(job == dstLines && line[8] == 33);
}
