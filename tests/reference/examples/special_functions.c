EXAMPLE(special_functions)
{
    double x[12], y[12], error_of_y[12];
    for (int i = 0; i < 12; ++i)
        x[i] = i, y[i] = 3 + 2 * i, error_of_y[i] = 0.1;
#define DOTS_1 CHECK(0)
#include "special_functions_1.inc"
    NEAR(a, 3, 1e-9);
    NEAR(b, 2, 1e-9);
}
