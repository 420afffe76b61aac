#include "dhsm_1.inc"

EXAMPLE(dhsm)
{
#include "dhsm_2.inc"
    CHECK(result == 0);
    NEAR_ALL(x, 1e-2, 1, -2);
}
