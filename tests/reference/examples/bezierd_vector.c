#include "bezierd_base.h"
#include "dynar.h"

static double end;
static void draw_to(double x, double y) { end = x + y; }

EXAMPLE(bezierd_vector)
{
    bezier *b = bezier_new(2, 0, 0, 1, 1);
    bezier_set_controlp(b, 0, 1, 0);
#include "bezierd_vector_1.inc"
    NEAR(end, 2, 1e-12);
    CHECK(sections >= 2);
#include "bezierd_vector_2.inc"
    CHECK(segments >= 2);
    bezier_kill(b);
}
