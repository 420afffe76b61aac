#include "tplane.h"

#include "../check.h"

extern "C" void example_tplane()
{
#include "tplane_1.inc"
    NEAR(lab[0], 100, 1e-9);
    NEAR(lab[1], 53.03, 0.01);
    NEAR(lab[2], 53.03, 0.01);
    CHECK(x == 150 && y == 0);
}
