static void draw_to(double x, double y) { CHECK(x >= 0 && y >= 0); }

EXAMPLE(p_bezierd_base)
{
#define DOTS_1 NEAR(at_quarter, 0.1353071650, 1e-10)
#include "p_bezierd_base_1.inc"
    CHECK(tone == NULL);
}
