EXAMPLE(tplane)
{
#include "tplane_1.inc"
    NEAR_ALL(lab, 0.01, 100, 53.03, 53.03);
    CHECK(x == 150 && y == 0);
}
