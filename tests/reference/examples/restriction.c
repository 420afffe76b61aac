#include "restriction.h"

#include "../check.h"

void example_restriction(void);
void example_restriction(void)
{
#include "restriction_1.inc"
    NEAR(x[0], 1, 1e-12);
    NEAR(x[1], 2, 1e-12);
    NEAR(x[2], 3, 1e-12);
}
