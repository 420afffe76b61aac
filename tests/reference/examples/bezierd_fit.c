#include "bezierd_fit.h"

#include "../check.h"
#include "bezierd_base.h"

void example_bezierd_fit(void);
void example_bezierd_fit(void)
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
