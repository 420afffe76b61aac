#include "izat.h"

EXAMPLE(whole_image)
{
    unsigned char *pixels = calloc(6000u * 4000u, 3), *result = calloc(1500u * 1000u, 3);
    memset(pixels, 77, 6000u * 4000u * 3);
#define DOTS_1 ++seen /* refused */
#include "whole_image_1.inc"
    CHECK(!seen && result[1500u * 1000u * 3 - 1] == 77);
    free(pixels);
    free(result);
}
