#include "bezierd_base.h"
#include "dynar.h"

static double last[2];
static void draw_to(double x, double y)
{
    last[0] = x;
    last[1] = y;
}

EXAMPLE(bezierd_vector)
{
    bezier *b = bezier_new(2, 0, 0, 1, 1);
    bezier_set_controlp(b, 0, 1, 0);
#include "bezierd_vector_1.inc"
    NEAR(last[0] + last[1], 2, 1e-12);
    CHECK(sections >= 2);
#include "bezierd_vector_2.inc"
    CHECK(segments >= 2);
    (void)point;
    bezier_kill(b);
}
