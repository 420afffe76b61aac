EXAMPLE(proj)
{
#include "proj_1.inc"
    NEAR(dist, 5, 1e-12);
    NEAR(r.point[0], 2, 1e-12);
    NEAR_ALL(r.weight, 1e-12, 0.5, 0.2, 0.3);
}
