#define DOTS_1 ++seen, (void)component
#include "fir_1.inc"

EXAMPLE(fir)
{
    enum { height = 4, width = 5 };
    static unsigned char line[height][3 * width], red[3 * width];
    unsigned char *out[3] = {red, red + 1, red + 2};
    memset(line, 100, sizeof line);
#include "fir_2.inc"
    CHECK(seen == 12);
}
