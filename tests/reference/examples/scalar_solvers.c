#include "scalar_solvers.h"

#include "../check.h"

static double cost(double x) { return (x - 2) * (x - 2) + 1; }

void example_scalar_solvers(void);
void example_scalar_solvers(void)
{
    double least;
    int solved = 0;
#define DOTS_1 solved = 1
#include "scalar_solvers_1.inc"
    CHECK(solved);
    NEAR(b[0], 0.8, 1e-12);
    NEAR(b[1], 1.4, 1e-12);
    NEAR(where, 2, 1e-5);
}
