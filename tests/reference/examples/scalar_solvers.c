static double cost(double x) { return (x - 2) * (x - 2) + 1; }

EXAMPLE(scalar_solvers)
{
    double least;
#define DOTS_1 ++seen
#include "scalar_solvers_1.inc"
    CHECK(seen);
    NEAR_ALL(b, 1e-12, 0.8, 1.4);
    NEAR(where, 2, 1e-5);
}
