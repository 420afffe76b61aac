// segments - Bezier segments for tests

#ifndef TESKA_TESTS_SEGMENTS_H
#define TESKA_TESTS_SEGMENTS_H

#include "Support/bezier_priv.h"
#include "Support/memory.h"
#include "support/generator.h"

#include <cmath>
#include <vector>

namespace teska_test
{

using Segment = teska::handle<bezier, bezier_kill>;
using numbers = std::vector<double>;

inline Segment segment(const numbers &xs, const numbers &ys)
{
    Segment b(bezier_new(static_cast<int>(xs.size()) - 1, 0, 0, 0, 0));
    bezier_set_control_poly(b.get(), xs.data(), ys.data());
    return b;
}

inline numbers random_numbers(Generator &input, int count)
{
    numbers values;
    while (count-- > 0)
        values.push_back(input.between(-1, 1));
    return values;
}

struct point {
    double x, y;
    friend double operator-(const point &a, const point &b) { return std::hypot(a.x - b.x, a.y - b.y); }
};

// By repeated linear interpolation.
inline long double casteljau(const double *p, int degree, long double t)
{
    return degree == 0 ? *p : (1 - t) * casteljau(p, degree - 1, t) + t * casteljau(p + 1, degree - 1, t);
}

inline point casteljau(const bezier &b, double t)
{
    return {static_cast<double>(casteljau(b.x, b.degree, t)), static_cast<double>(casteljau(b.y, b.degree, t))};
}

}  // namespace teska_test

#endif
