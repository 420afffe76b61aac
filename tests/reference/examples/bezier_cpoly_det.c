#include "bezierd_base.h"

EXAMPLE(bezier_cpoly_det)
{
#define DOTS_1 ++seen
#include "bezier_cpoly_det_1.inc"
    CHECK(seen);
    double p[2];
    bezier_get(b, 1.0 / 3, &p[0], &p[1]);
    NEAR_ALL(p, 1e-12, 1, 1);
    bezier_kill(b);
}
