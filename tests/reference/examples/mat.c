EXAMPLE(mat)
{
#include "mat_1.inc"
    NEAR_ALL(b, 1e-12, 1, 1);
    NEAR(det, 2, 1e-12);
    CHECK(flag == 0);
}
