EXAMPLE(hist)
{
    int samples[] = {1, 2, 3, 3, 4, 5};
    const int n = 6;
#include "hist_1.inc"
    NEAR(mean, 3, 1e-12);
    CHECK(above == 4);
}
