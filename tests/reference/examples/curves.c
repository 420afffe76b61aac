#include "check.h"
#include "teska_curves.h"

static double end;
static void draw_to(double x, double y) { end = x + y; }
static int text_after(const void *element, const void *key) { return strcmp(element, key) >= 0; }

EXAMPLES(curves)
{
    bezier *b = bezier_new(2, 0, 0, 1, 1);
    const double density = 1.5;
    double p[2];
    int samples[] = {1, 2, 3, 3, 4, 5};
    const int n = 6;
    bezier_set_controlp(b, 0, 1, 0);
#define DOTS_1 ++seen
#define THEN                                                                                                           \
    CHECK(seen), bezier_get(b, 1.0 / 3, &p[0], &p[1]), NEAR(p[0], 1, 1e-12), NEAR(p[1], 1, 1e-12), bezier_kill(b)
#include "bezier_cpoly_det_1.inc"
#define DOTS_1 ++seen, NEAR(y[0], 0.5, 1e-9)
#define THEN CHECK(seen)
#include "bezierd_base_1.inc"
#define DOTS_1 ++seen, bezier_get(curve, 1, &p[0], &p[1]), NEAR(p[0], 4, 1e-12), NEAR(p[1], 0, 1e-12)
#define THEN CHECK(seen)
#include "bezierd_fit_1.inc"
#define DOTS_1 ++seen, CHECK(bezier_kill(first) == 1), CHECK(bezier_kill(second) == 1)
#define THEN CHECK(seen)
#include "bezierd_split_1.inc"
#define THEN NEAR(end, 2, 1e-12), CHECK(sections >= 2)
#include "bezierd_vector_1.inc"
#define THEN CHECK(segments >= 2)
#include "bezierd_vector_2.inc"
    bezier_kill(b);
#define DOTS_1 CHECK(0)
#include "func_1.inc"
    grad_tab *g = NULL;
    const double points[3][2] = {{0, 0}, {128, 150}, {255, 255}};
#define THEN CHECK(g != NULL), grad_tab_kill(g)
#include "grad_tab_1.inc"
#define THEN CHECK(g != NULL), grad_tab_kill(g)
#include "grad_tab_2.inc"
#define THEN NEAR(mean, 3, 1e-12), CHECK(above == 4)
#include "hist_1.inc"
#define THEN NEAR(y, 10, 0)
#include "interp_double_1.inc"
#define DOTS_1 ++seen, NEAR(at_quarter, 0.1353071650, 1e-10)
#define THEN CHECK(seen), CHECK(tone == NULL), NEAR(end, 2, 1e-12)
#include "p_bezierd_base_1.inc"
}
