#include "check.h"
#include "teska_curves.h"

static double end;
static void draw_to(double x, double y) { end = x + y; }
static int text_after(const void *element, const void *key) { return strcmp(element, key) >= 0; }

EXAMPLES(curves)
{
    bezier *b = bezier_new(2, 0, 0, 1, 1);
    const double density = 1.5, points[3][2] = {{0, 0}, {128, 150}, {255, 255}};
    double p[2];
    int samples[] = {1, 2, 3, 3, 4, 5};
    const int n = 6;
    grad_tab *g = NULL;
    bezier_set_controlp(b, 0, 1, 0);
    bezier_cpoly_det_1(++seen, CHECK(seen), bezier_get(b, 1.0 / 3, &p[0], &p[1]), bezier_kill(b));
    NEAR(p[0], 1, 1e-12), NEAR(p[1], 1, 1e-12);
    bezierd_base_1((++seen, NEAR(y[0], 0.5, 1e-9)), CHECK(seen));
    bezierd_fit_1((++seen, bezier_get(curve, 1, &p[0], &p[1])), CHECK(seen), NEAR(p[0], 4, 1e-12),
                  NEAR(p[1], 0, 1e-12));
    bezierd_split_1((++seen, CHECK(bezier_kill(first) == 1), CHECK(bezier_kill(second) == 1)), CHECK(seen));
    bezierd_vector_1(NEAR(end, 2, 1e-12), CHECK(sections >= 2));
    bezierd_vector_2(CHECK(segments >= 2));
    bezier_kill(b);
    func_1(CHECK(0));
    grad_tab_1(CHECK(g != NULL), grad_tab_kill(g));
    grad_tab_2(CHECK(g != NULL), grad_tab_kill(g));
    hist_1(NEAR(mean, 3, 1e-12), CHECK(above == 4));
    interp_double_1(NEAR(y, 10, 0));
    p_bezierd_base_1((++seen, NEAR(at_quarter, 0.1353071650, 1e-10)), CHECK(seen), CHECK(tone == NULL),
                     NEAR(end, 2, 1e-12));
}
