struct picture {
    int width, height, old;
    unsigned char *row[32];
};
#define DOTS_1                                                                                                         \
    struct picture *p = user;                                                                                          \
    seen += xLast - xFirst + 1;                                                                                        \
    memset(p->row[y] + xFirst, 1, (size_t)(xLast - xFirst + 1))
#include "flood_1.inc"

EXAMPLE(flood)
{
    static unsigned char rows[32][32];
    struct picture picture = {32, 32, 0, {0}};
    for (int y = 0; y < 32; ++y)
        picture.row[y] = rows[y];
    rows[8][3] = 1;
#include "flood_2.inc"
    CHECK(seen == 32 * 32 - 1);
}
