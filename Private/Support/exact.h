// exact - sums and products of doubles with what rounding took from them
//
// Used by orient and vect_lobe.
//
// Source: Shewchuk, Adaptive Precision Floating-Point Arithmetic and Fast Robust Geometric Predicates, Discrete &
// Computational Geometry 18, 1997: sums p. 316, products p. 320.

#ifndef TESKA_SUPPORT_EXACT_H
#define TESKA_SUPPORT_EXACT_H

#include <cfloat>

namespace teska::exact
{

// Every operation must be rounded to double.
static_assert(FLT_EVAL_METHOD >= 0 && FLT_EVAL_METHOD != 2);

// a + b without error: the rounded sum is returned, what it lacks is stored.
inline double sum(double a, double b, double &rest) noexcept
{
    const double sum = a + b;
    const double b_part = sum - a;
    const double a_part = sum - b_part;
    rest = (a - a_part) + (b - b_part);
    return sum;
}

// The upper 26 bits of a double.
inline double upper_half(double a) noexcept
{
    constexpr double splitter = 134217729.0;  // 2^27 + 1
    const double scaled = splitter * a;
    return scaled - (scaled - a);
}

// a * b without error, as long as nothing overflows or underflows.
inline double product(double a, double b, double &rest) noexcept
{
    const double product = a * b;
    const double a_high = upper_half(a), a_low = a - a_high;
    const double b_high = upper_half(b), b_low = b - b_high;
    rest = a_low * b_low - (((product - a_high * b_high) - a_low * b_high) - a_high * b_low);
    return product;
}

}  // namespace teska::exact

#endif
