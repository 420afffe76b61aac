#include "check.h"
#include "error_mess.h"
#include "teska_numerics.h"

dhsm_1();
#define bowl bowl_of_condirmin
condirmin_1();
static double cost(double x) { return (x - 2) * (x - 2) + 1; }

EXAMPLES(numerics)
{
    double x[12], y[12], error_of_y[12], least, lab[6] = {60, 60, 40, 10, -50, -50};
    const int colours = 2;
    int i;
    for (i = 0; i < 12; ++i)
        x[i] = i, y[i] = 3 + 2 * i, error_of_y[i] = 0.1;
    condirmin_2(CHECK(found == 1), NEAR(x[0], 1, 1e-3), NEAR(x[1], -2, 1e-3));
#undef bowl
    dhsm_2(CHECK(result == 0), NEAR(x[0], 1, 1e-2), NEAR(x[1], -2, 1e-2));
    mat_1(NEAR(b[0], 1, 1e-12), NEAR(b[1], 1, 1e-12), NEAR(det, 2, 1e-12), CHECK(flag == 0));
    random_1(CHECK(face >= 1), CHECK(face <= 6));
    {
        const unsigned char in[] = {0, 255, 128};
        const unsigned y = 0, width = sizeof in;
        unsigned char out[sizeof in];
        rdither_1(CHECK(out[0] == 0), CHECK(out[1] == 15), CHECK(out[2] == 7 || out[2] == 8));
    }
    restriction_1(NEAR_3(x, 1e-12, 1, 2, 3));
    scalar_solvers_1(++seen, CHECK(seen), NEAR(b[0], 0.8, 1e-12), NEAR(b[1], 1.4, 1e-12), NEAR(where, 2, 1e-5));
    special_functions_1(CHECK(0), NEAR(a, 3, 1e-9), NEAR(b, 2, 1e-9));
    vect_1(NEAR_3(normal, 1e-25, -1e-20, -1e-20, 1), CHECK(a[2] == 4), CHECK(a[4] == 7), CHECK(index == 2));
    vect_lobe_1(NEAR(lab[1], 66, 1e-9), NEAR(lab[4], -50, 1e-9));
}
