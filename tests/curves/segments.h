// segments - Bezier segments for tests, and what is true of them

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
    for (int i = 0; i < count; ++i)
        values.push_back(input.between(-1, 1));
    return values;
}

inline Segment random_segment(Generator &input, int degree)
{
    const numbers xs = random_numbers(input, degree + 1);
    return segment(xs, random_numbers(input, degree + 1));
}

struct point {
    double x, y;

    friend double operator-(const point &a, const point &b) { return std::hypot(a.x - b.x, a.y - b.y); }
};

// By repeated linear interpolation of the control values.
inline double casteljau(const double *values, int degree, double t)
{
    std::vector<long double> p(values, values + degree + 1);
    for (int level = degree; level > 0; --level)
        for (std::size_t i = 0; i < static_cast<std::size_t>(level); ++i)
            p[i] += static_cast<long double>(t) * (p[i + 1] - p[i]);
    return static_cast<double>(p[0]);
}

inline point casteljau(const bezier &b, double t) { return {casteljau(b.x, b.degree, t), casteljau(b.y, b.degree, t)}; }

}  // namespace teska_test

#endif
