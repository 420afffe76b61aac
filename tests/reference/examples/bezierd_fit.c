#include "bezierd_base.h"

EXAMPLE(bezierd_fit)
{
    double end[2] = {0, 0};
#define DOTS_1 bezier_get(curve, 1, &end[0], &end[1])
#include "bezierd_fit_1.inc"
    NEAR_ALL(end, 1e-12, 4, 0);
}
