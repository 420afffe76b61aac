#include "md_tetrab.h"

EXAMPLE(convert_rows)
{
    md_tetrab *table = md_tetrab_new(3, 4, 2);
    unsigned char pixels[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, result[16];
    const int64_t shape[2] = {2, 2}, in_strides[2] = {6, 3}, out_strides[2] = {8, 4};
    memset(result, 1, sizeof result);
    void *rgb[3] = {pixels, pixels + 1, pixels + 2}, *cmyk[4] = {result, result + 1, result + 2, result + 3};
#include "convert_rows_1.inc"
    for (int i = 0; i < 16; ++i)
        CHECK(result[i] == 0);
    md_tetrab_kill(table);
}
