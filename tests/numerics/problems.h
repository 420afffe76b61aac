// problems - functions for the tests of the minimisers
//
// Source: Moré, Garbow, Hillstrom, Testing unconstrained optimization software, ACM TOMS 7 (1981), pp. 17-41.

#ifndef TESKA_TESTS_PROBLEMS_H
#define TESKA_TESTS_PROBLEMS_H

#include <cmath>
#include <limits>

namespace teska_test
{

// Counts its evaluations in *context1 and takes the number of variables from *context2.
using Objective = double (*)(void *context1, void *context2, const double *x);

inline int variables(void *context1, void *context2)
{
    ++*static_cast<int *>(context1);
    return *static_cast<int *>(context2);
}

inline double square(double v) { return v * v; }

// 0 at (1, 1 ..), its minimum.
inline double rosenbrock(void *context1, void *context2, const double *x)
{
    double sum = 0.0;
    for (int i = 0; i + 1 < variables(context1, context2); ++i)
        sum += 100.0 * square(x[i + 1] - x[i] * x[i]) + square(1.0 - x[i]);
    return sum;
}

// Near the usual start, (-1.2, 1), it is no number.
inline double half_undefined(void *context1, void *context2, const double *x)
{
    const double value = rosenbrock(context1, context2, x);
    return x[0] < -0.5 && x[1] > 1.1 ? std::numeric_limits<double>::quiet_NaN() : value;
}

}  // namespace teska_test

#endif
