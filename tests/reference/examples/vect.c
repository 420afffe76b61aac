EXAMPLE(vect)
{
#include "vect_1.inc"
    NEAR_ALL(normal, 1e-25, -1e-20, -1e-20, 1);
    CHECK(a[2] == 4 && a[4] == 7 && index == 2);
}
