// bezier_priv - the record of a Bezier segment, and the polynomials its modules share
//
// Used by the bezier modules.

#ifndef TESKA_SUPPORT_BEZIER_PRIV_H
#define TESKA_SUPPORT_BEZIER_PRIV_H

#include "Support/on_demand.h"
#include "Support/vec.h"

#include "bezierd_base.h"

struct bezier {
    int degree = 0;              // 2, 3 or 4
    double x[5] = {};            // of control points 0 .. degree; 0 above
    double y[5] = {};            // likewise
    int start_given = 0;         // whether the fit has to keep to the start tangent
    double start_t[2] = {};      // its direction, x and y
    int end_given = 0;           // whether the fit has to keep to the end tangent
    double end_t[2] = {};        // its direction, x and y
    teska::on_demand coef_made;  // whether ax and ay belong to the control points
    double ax[5] = {};           // x(t) = ax[0] + ax[1] t + .. + ax[degree] t^degree; 0 above
    double ay[5] = {};           // likewise
};

namespace teska
{

// The Bernstein polynomial C(n, i) t^i (1 - t)^(n - i) for n = 2, 3, 4 and i = 0 .. n. For any other it reports
// "B_poly : illegal index" (with a blank at the end for n = 3 and 4) or "B_poly : illegal degree " and gives -1.
double B_poly(int n, int i, double t) noexcept;

// The length of (a, b) without a root, from 0.9375 to 1.0482 times the true one: 15/16 of the larger part and 15/32 of
// the smaller. Source: R. G. Lyons, Understanding Digital Signal Processing, 2nd ed., Prentice Hall 2004, section 13.2.
double bezier_approx_len(double a, double b) noexcept;

// Makes the coefficients belong to the control points, while no other thread uses the segment.
void bezier_coef(bezier &b) noexcept;

// Does so unless they do, for any number of threads at once.
void bezier_make_coef(bezier &b) noexcept;
inline void bezier_renew_coef(bezier &b) noexcept
{
    if (!b.coef_made.there())
        bezier_make_coef(b);
}

inline vec2 control_point(const bezier &b, int i) noexcept { return {b.x[i], b.y[i]}; }

// a[0] + a[1] t + .. + a[degree] t^degree by Horner's rule.
double bezier_horner(const double *a, int degree, double t) noexcept;

// What counts as zero among the solvers: a hundred times the single-precision epsilon.
constexpr double bezier_eps = 1.1920928955078125e-5;

// Real roots of t^3 + c[2] t^2 + c[1] t + c[0]. Returns 1 or 3, multiple roots as often as they are; the discriminant
// counts as zero within bezier_eps when a double root makes the cubic vanish within bezier_eps.
int bezier_real_cubic(const double c[3], double roots[3]) noexcept;

// Real roots of t^4 + c[3] t^3 + .. + c[0] in lo .. hi, ascending, multiple ones once. Returns their number.
int poly_quartic_roots(const double c[4], double lo, double hi, double roots[4]) noexcept;

}  // namespace teska

#endif
