// problems - functions whose minima are known, for the tests of the minimisers
//
// Source: Moré, Garbow, Hillstrom, Testing unconstrained optimization software, ACM TOMS 7 (1981), pp. 17-41.

#ifndef TESKA_TESTS_PROBLEMS_H
#define TESKA_TESTS_PROBLEMS_H

#include <cmath>
#include <limits>
#include <vector>

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

inline double rosenbrock(void *context1, void *context2, const double *x)
{
    double sum = 0.0;
    for (int i = 0; i + 1 < variables(context1, context2); ++i)
        sum += 100.0 * square(x[i + 1] - x[i] * x[i]) + square(1.0 - x[i]);
    return sum;
}

// A bowl around (1, 2, 3 ..), a thousand times as steep in the last variable as in the first, and turned.
inline double bowl(void *context1, void *context2, const double *x)
{
    const int n = variables(context1, context2);
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        const double next = i + 1 < n ? x[i + 1] - (i + 2) : 0.0;
        sum += std::pow(1000.0, (i + 1.0) / n) * square(x[i] - (i + 1) + 0.5 * next);
    }
    return sum;
}

inline double half_undefined(void *context1, void *context2, const double *x)
{
    const double value = bowl(context1, context2, x);
    return x[0] > 3.0 ? std::numeric_limits<double>::quiet_NaN() : value;
}

inline double undefined(void *context1, void *context2, const double *)
{
    variables(context1, context2);
    return std::numeric_limits<double>::quiet_NaN();
}

struct Problem {
    Objective f;
    std::vector<double> start;
};

// All are 0 at their minimum; the last is left nearby.
inline const Problem problems[] = {{rosenbrock, {-1.2, 1}},
                                   {bowl, {9, -9, 9, -9, 9}},
                                   {bowl, {-7}},
                                   {half_undefined, {-2, 0}},
                                   {bowl, std::vector<double>(10)}};

}  // namespace teska_test

#endif
