#include "bezierd_base.h"

EXAMPLE(bezierd_fit)
{
#define DOTS_1                                                                                                         \
    do {                                                                                                               \
        double px, py;                                                                                                 \
        bezier_get(curve, 1, &px, &py);                                                                                \
        NEAR(px, 4, 1e-12);                                                                                            \
        NEAR(py, 0, 1e-12);                                                                                            \
    } while (0)
#include "bezierd_fit_1.inc"
}
