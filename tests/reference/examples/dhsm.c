#include "dhsm.h"

#include "../check.h"
#include "dhsm_1.inc"

void example_dhsm(void);
void example_dhsm(void)
{
#include "dhsm_2.inc"
    CHECK(result == 0);
    NEAR(x[0], 1, 1e-2);
    NEAR(x[1], -2, 1e-2);
}
