EXAMPLE(vect)
{
#include "vect_1.inc"
    NEAR(normal[0], -1e-20, 1e-25);
    NEAR(normal[1], -1e-20, 1e-25);
    NEAR(normal[2], 1, 1e-12);
    CHECK(a[2] == 4 && a[4] == 7 && index == 2);
}
