EXAMPLE(md_tetrad)
{
    double pixel[3] = {50, 0, 0}, result[1];
    double *in[3] = {pixel, pixel + 1, pixel + 2}, *out[1] = {result};
    const int count = 1;
#define DOTS_1 lab[0]
#include "md_tetrad_1.inc"
    NEAR(result[0], 50, 1e-9);
}
