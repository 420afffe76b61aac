#include "bezierd_base.h"

EXAMPLE(bezier_cpoly_det)
{
    int seen = 0;
#define DOTS_1 seen = 1
#include "bezier_cpoly_det_1.inc"
    CHECK(seen);
    double x, y;
    bezier_get(b, 1.0 / 3, &x, &y);
    NEAR(x, 1, 1e-12);
    NEAR(y, 1, 1e-12);
    bezier_kill(b);
}
