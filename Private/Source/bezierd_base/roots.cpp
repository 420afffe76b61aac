// bezierd_base/roots - real roots of monic cubics and quartics, for the points of a segment on a line (curves)
//
// The cubic by Cardano's formula: t = y - c2 / 3 takes it to y^3 + p y + q, whose discriminant D = p^3 / 27 + q^2 / 4
// tells one real root (two cube roots) from three (cosines). The cube roots are taken so that nothing cancels:
//
//     u = cbrt(-q / 2 +- sqrt(D)), the sign that of -q / 2,   the other one is -p / (3 u)
//
// The quartic by bisection. Between the zeros of its second derivative the first is monotone, and has at most one zero
// in each piece; between those zeros the quartic is monotone:
//
//     lo ---- p''=0 ---- p''=0 ---- hi            zeros of p' : up to 3
//     lo -- p'=0 ---- p'=0 ---- p'=0 -- hi        zeros of p  : up to 4
//
// Where p vanishes at a bound between two pieces, this bound is the root: p touches zero there.
//
// Source: W. H. Press et al., Numerical Recipes in C, 2nd ed., Cambridge University Press 1992, sections 5.6, 9.1, 9.5.

#include "Support/bezier_priv.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace
{

// Rounding of a polynomial, relative to the sum of the sizes of its terms.
constexpr double vanishing = 1e-14;

// In t, which is of the order of 1.
constexpr double same_root = 1e-9;

// From an interval of 2 down to the spacing of the doubles near a root of 1e-14; one nearer 0 is as good as 0.
constexpr int bisections = 100;

// y^3 + p y + q
struct depressed {
    double p, q;
};

double real_cube_root_form(const depressed &f, double discriminant)
{
    const double half = -f.q / 2.0;
    const double u = std::cbrt(half + std::copysign(std::sqrt(discriminant), half));
    return u - f.p / (3.0 * u);
}

// D is not positive, so neither is p; p = 0 and what is as good are a triple root.
void trigonometric_form(const depressed &f, double y[3])
{
    const double m = 2.0 * std::sqrt(-f.p / 3.0);
    if (!(f.p * m < 0.0)) {
        std::fill_n(y, 3, 0.0);
        return;
    }
    const double third = std::acos(std::clamp(3.0 * f.q / (f.p * m), -1.0, 1.0)) / 3.0;
    for (int k = 0; k < 3; ++k)
        y[k] = m * std::cos(third - 2.0 * std::numbers::pi * k / 3.0);
}

// A step of Newton's method where it leads nearer: a small leading coefficient puts one root far away, and the formula
// then knows the others to half the digits only.
double refined(const double c[3], double t)
{
    const auto f = [&](double at) { return ((at + c[2]) * at + c[1]) * at + c[0]; };
    const double next = t - f(t) / ((3.0 * t + 2.0 * c[2]) * t + c[1]);
    return std::fabs(f(next)) < std::fabs(f(t)) ? next : t;
}

// A polynomial a[0] + .. + a[degree] t^degree.
struct polynomial {
    const double *a;
    int degree;

    double operator()(double t) const { return teska::bezier_horner(a, degree, t); }

    bool vanishes_at(double t) const
    {
        double size = 0.0;
        for (int k = degree; k >= 0; --k)
            size = size * std::fabs(t) + std::fabs(a[k]);
        return std::fabs((*this)(t)) <= vanishing * size;
    }
};

// The zero of f between lo and hi, where it has different signs.
double bisect(const polynomial &f, double lo, double hi)
{
    const bool negative = f(lo) < 0.0;
    double t = lo + (hi - lo) / 2.0;
    for (int i = 0; i < bisections && lo < t && t < hi; ++i) {
        ((f(t) < 0.0) == negative ? lo : hi) = t;
        t = lo + (hi - lo) / 2.0;
    }
    return t;
}

void add(double *roots, int &count, double t)
{
    if (count == 0 || t - roots[count - 1] >= same_root)
        roots[count++] = t;
}

// The zeros of f, ascending, at most as many as its degree; it is monotone from each of the `count` bounds to the next.
int zeros(const polynomial &f, const double *bounds, int count, double *roots)
{
    int found = 0;
    // With coefficients that overflow, f seems to vanish at every bound, and there may be more bounds than roots.
    for (int i = 0; i < count && found < f.degree; ++i) {
        if (f.vanishes_at(bounds[i]))
            add(roots, found, bounds[i]);
        else if (i + 1 < count && !f.vanishes_at(bounds[i + 1]) && f(bounds[i]) * f(bounds[i + 1]) < 0.0)
            add(roots, found, bisect(f, bounds[i], bounds[i + 1]));
    }
    return found;
}

// Zeros of t^2 + 2 b t + c between lo and hi, with lo and hi themselves around them.
int quadratic_bounds(double b, double c, double lo, double hi, double *bounds)
{
    int count = 0;
    bounds[count++] = lo;
    const double d = b * b - c;
    const bool doubled = std::fabs(d) <= vanishing * (b * b + std::fabs(c));
    const double root = doubled ? 0.0 : std::sqrt(d);
    for (const double t : {-b - root, -b + root})
        if (lo < t && t < hi)
            bounds[count++] = t;
    bounds[count++] = hi;
    return count;
}

}  // namespace

int teska::bezier_real_cubic(const double c[3], double roots[3]) noexcept
{
    const depressed f{c[1] - c[2] * c[2] / 3.0, 2.0 * c[2] * c[2] * c[2] / 27.0 - c[2] * c[1] / 3.0 + c[0]};
    const double discriminant = f.p * f.p * f.p / 27.0 + f.q * f.q / 4.0;
    const double shift = c[2] / 3.0;
    if (discriminant > 0.0) {
        const double y = real_cube_root_form(f, discriminant);
        const double half = -y / 2.0;
        const double value_at_double_root = (half * half + f.p) * half + f.q;
        roots[0] = y - shift;
        roots[1] = roots[2] = half - shift;
        return discriminant <= bezier_eps && f.p < 0.0 && std::fabs(value_at_double_root) <= bezier_eps ? 3 : 1;
    }
    trigonometric_form(f, roots);
    for (int i = 0; i < 3; ++i)
        roots[i] = refined(c, roots[i] - shift);
    return 3;
}

int teska::poly_quartic_roots(const double c[4], double lo, double hi, double roots[4]) noexcept
{
    const double slope[] = {c[1], 2.0 * c[2], 3.0 * c[3], 4.0};
    const double quartic[] = {c[0], c[1], c[2], c[3], 1.0};
    double pieces[4];
    double extremes[3];
    const int inner = zeros({slope, 3}, pieces, quadratic_bounds(c[3] / 4.0, c[2] / 6.0, lo, hi, pieces), extremes);
    double bounds[5];
    int count = 0;
    bounds[count++] = lo;
    for (int i = 0; i < inner; ++i)
        if (lo < extremes[i] && extremes[i] < hi)
            bounds[count++] = extremes[i];
    bounds[count++] = hi;
    return zeros({quartic, 4}, bounds, count, roots);
}
