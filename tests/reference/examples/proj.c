#include "proj.h"

#include "../check.h"

void example_proj(void);
void example_proj(void)
{
#include "proj_1.inc"
    NEAR(dist, 5, 1e-12);
    NEAR(r.point[0], 2, 1e-12);
    NEAR(r.weight[0], 0.5, 1e-12);
    NEAR(r.weight[1], 0.2, 1e-12);
    NEAR(r.weight[2], 0.3, 1e-12);
}
