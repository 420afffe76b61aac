// bezierd_base - a planar Bezier segment: control points, evaluation, where it meets a line (curves)
//
// A segment holds its control points and, once they are needed, the coefficients of x(t) and y(t) in powers of t. A
// change of an end point or of all control points renews the coefficients, any other discards them; then the first
// thread that needs them makes them.
//
// The y values at a given x: x(t) without its vanishing highest coefficients is divided by the one then leading, and
// the roots of this monic polynomial inside (-eps, 1 + eps) are put into y(t). The plain functions solve degrees 1 to 3
// in closed form; the f variants go up to 4 and solve 3 and 4 by iteration.
//
// Process-wide state: the pool of records, locked (bezierd_base/pool.h).

#include "bezierd_base.h"

#include "Source/bezierd_base/pool.h"
#include "Support/bezier_priv.h"
#include "Support/report.h"

#include "scalar_solvers.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <type_traits>

namespace
{

constinit teska::record_pool pool;

static_assert(sizeof(bezier) <= teska::record_bytes);
static_assert(std::is_trivially_destructible_v<bezier>);

// Where the f variants look for roots, and the last step of the iteration for a cubic.
constexpr double search_lo = -0.5;
constexpr double search_hi = 1.5;
constexpr double search_tol = 1e-10;

double binomial_2(int i, double t)
{
    const double u = 1.0 - t;
    switch (i) {
    case 0:
        return u * u;
    case 1:
        return 2.0 * t * u;
    case 2:
        return t * t;
    default:
        TESKA_ERR("B_poly : illegal index");
        return -1.0;
    }
}

double binomial_3(int i, double t)
{
    const double u = 1.0 - t;
    switch (i) {
    case 0:
        return u * u * u;
    case 1:
        return 3.0 * t * u * u;
    case 2:
        return 3.0 * t * t * u;
    case 3:
        return t * t * t;
    default:
        TESKA_ERR("B_poly : illegal index ");
        return -1.0;
    }
}

double binomial_4(int i, double t)
{
    const double u = 1.0 - t;
    switch (i) {
    case 0:
        return u * u * u * u;
    case 1:
        return 4.0 * t * u * u * u;
    case 2:
        return 6.0 * t * t * u * u;
    case 3:
        return 4.0 * t * t * t * u;
    case 4:
        return t * t * t * t;
    default:
        TESKA_ERR("B_poly : illegal index ");
        return -1.0;
    }
}

// Control values to coefficients, both degree + 1.
void to_powers(int degree, const double *p, double *a)
{
    a[0] = p[0];
    if (degree == 2) {
        a[1] = 2.0 * (p[1] - p[0]);
        a[2] = p[0] - 2.0 * p[1] + p[2];
    } else if (degree == 3) {
        a[1] = 3.0 * (p[1] - p[0]);
        a[2] = 3.0 * (p[0] - 2.0 * p[1] + p[2]);
        a[3] = 3.0 * (p[1] - p[2]) - p[0] + p[3];
    } else {
        a[1] = 4.0 * p[1] - 4.0 * p[0];
        a[2] = 6.0 * p[0] - 12.0 * p[1] + 6.0 * p[2];
        a[3] = -4.0 * p[0] + 12.0 * p[1] - 12.0 * p[2] + 4.0 * p[3];
        a[4] = p[0] - 4.0 * p[1] + 6.0 * p[2] - 4.0 * p[3] + p[4];
    }
}

// The control point of an end: 0 is the start, 1 the end. -1: there is no such end.
int end_index(const bezier &b, int which)
{
    if (which == 0)
        return 0;
    return which == 1 ? b.degree : -1;
}

bool is_inner(const bezier &b, int i) { return i >= 0 && i <= b.degree - 2; }

// t^degree + c[degree - 1] t^(degree - 1) + .. + c[0]
struct monic {
    int degree;
    double c[4];
};

enum class given { x, y };
enum class method { closed, iterated };

// a[0] + .. + a[degree] t^degree = value as a monic polynomial; of degree 0, and reported, when there is no t in it.
monic equation(const double *a, int degree, double value)
{
    while (degree > 0 && std::fabs(a[degree]) < teska::bezier_eps)
        --degree;
    monic p{degree, {}};
    if (degree == 0) {
        // Kept: get_y also when x is asked for.
        TESKA_ERR("Bezier_get_y : invalid degree ");
        return p;
    }
    p.c[0] = (a[0] - value) / a[degree];
    for (int k = 1; k < degree; ++k)
        p.c[k] = a[k] / a[degree];
    return p;
}

// Kept: none where the parabola only touches.
int quadratic_roots(const double *c, double *roots)
{
    const double d = c[1] * c[1] - 4.0 * c[0];
    if (!(d > 0.0))
        return 0;
    roots[0] = (std::sqrt(d) - c[1]) / 2.0;
    roots[1] = (-c[1] - std::sqrt(d)) / 2.0;
    return 2;
}

int one_cubic_root(const double *c, double *roots)
{
    const double all[] = {c[0], c[1], c[2], 1.0};
    return fthird_order_eq(all, roots, search_lo, search_hi, search_tol);
}

int closed_roots(const monic &p, given side, double *roots)
{
    switch (p.degree) {
    case 0:
        return 0;
    case 1:
        roots[0] = -p.c[0];
        return 1;
    case 2:
        return quadratic_roots(p.c, roots);
    case 3:
        return teska::bezier_real_cubic(p.c, roots);
    default:
        TESKA_ERR(side == given::x ? "Bezier_get_y : Sorry no support for higher order (>3)"
                                   : "Bezier_get_x : Sorry no support for higher order (>3)");
        return 0;
    }
}

int iterated_roots(const monic &p, given side, double *roots)
{
    if (p.degree < 3)
        return closed_roots(p, side, roots);
    if (p.degree == 3)
        return one_cubic_root(p.c, roots);
    if (p.degree == 4)
        return teska::poly_quartic_roots(p.c, search_lo, search_hi, roots);
    // No segment is of such a degree.
    TESKA_ERR(side == given::x ? "Bezier_get_y : Sorry no support for higher order (>4)"
                               : "Bezier_get_x : Sorry no support for higher order (>4)");
    return 0;
}

// The values of the other coordinate where that of `side` has the given value; returns their number.
int solve(bezier &b, given side, method how, double value, double *out)
{
    teska::bezier_renew_coef(b);
    const monic p = equation(side == given::x ? b.ax : b.ay, b.degree, value);
    double roots[4];
    const int count = how == method::closed ? closed_roots(p, side, roots) : iterated_roots(p, side, roots);
    int written = 0;
    for (int i = 0; i < count; ++i)
        if (-teska::bezier_eps < roots[i] && roots[i] < 1.0 + teska::bezier_eps)
            out[written++] = teska::bezier_horner(side == given::x ? b.ay : b.ax, b.degree, roots[i]);
    return written;
}

}  // namespace

double teska::B_poly(int n, int i, double t) noexcept
{
    switch (n) {
    case 2:
        return binomial_2(i, t);
    case 3:
        return binomial_3(i, t);
    case 4:
        return binomial_4(i, t);
    default:
        TESKA_ERR("B_poly : illegal degree ");
        return -1.0;
    }
}

double teska::bezier_approx_len(double a, double b) noexcept
{
    const double larger = std::max(std::fabs(a), std::fabs(b));
    const double smaller = std::min(std::fabs(a), std::fabs(b));
    return 0.9375 * larger + 0.46875 * smaller;
}

void teska::bezier_coef(bezier &b) noexcept
{
    to_powers(b.degree, b.x, b.ax);
    to_powers(b.degree, b.y, b.ay);
    b.coef_made.mark_made();
}

void teska::bezier_make_coef(bezier &b) noexcept
{
    b.coef_made.ensure([&b] {
        to_powers(b.degree, b.x, b.ax);
        to_powers(b.degree, b.y, b.ay);
        return true;
    });
}

double teska::bezier_horner(const double *a, int degree, double t) noexcept
{
    double value = a[degree];
    for (int k = degree - 1; k >= 0; --k)
        value = value * t + a[k];
    return value;
}

// ---- Life -----------------------------------------------------------------------------------------------------------

bezier *bezier_new(int degree, double x0, double y0, double xn, double yn) TESKA_NOTHROW
{
    if (degree < 2 || degree > 4) {
        TESKA_ERR("Bezier_new : illegal degree");
        return nullptr;
    }
    void *const memory = pool.take();
    if (memory == nullptr) {
        TESKA_ERR("Bezier_new : allocation of Bezier failed");
        return nullptr;
    }
    bezier *const b = ::new (memory) bezier;
    b->degree = degree;
    b->x[0] = x0;
    b->y[0] = y0;
    b->x[degree] = xn;
    b->y[degree] = yn;
    return b;
}

int bezier_kill(bezier *b) TESKA_NOTHROW
{
    if (b != nullptr)
        pool.give_back(b);
    return 1;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int bezier_set_control_poly(bezier *b, const double *xs, const double *ys) TESKA_NOTHROW
{
    std::copy_n(xs, b->degree + 1, b->x);
    std::copy_n(ys, b->degree + 1, b->y);
    teska::bezier_coef(*b);
    return 1;
}

int bezier_set_endp(bezier *b, int which, double x, double y) TESKA_NOTHROW
{
    const int end = end_index(*b, which);
    if (end < 0) {
        TESKA_ERR("Bezier_set_endp : illegal index");
        return 0;
    }
    if (b->degree > 2) {
        const int beside = end == 0 ? 1 : end - 1;
        b->x[beside] += x - b->x[end];
        b->y[beside] += y - b->y[end];
    }
    b->x[end] = x;
    b->y[end] = y;
    teska::bezier_coef(*b);
    return 1;
}

int bezier_set_controlp(bezier *b, int i, double x, double y) TESKA_NOTHROW
{
    if (!is_inner(*b, i)) {
        TESKA_ERR("Bezier_set_controlp : illegal ind");
        return 0;
    }
    b->x[i + 1] = x;
    b->y[i + 1] = y;
    b->coef_made.discard();
    return 1;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int bezier_get_control_poly(const bezier *b, double *xs, double *ys) TESKA_NOTHROW
{
    std::copy_n(b->x, b->degree + 1, xs);
    std::copy_n(b->y, b->degree + 1, ys);
    return 1;
}

int bezier_get_endp(const bezier *b, int which, double *x, double *y) TESKA_NOTHROW
{
    const int end = end_index(*b, which);
    if (end < 0) {
        TESKA_ERR("Bezier_get_endp : illegal index");
        return 0;
    }
    *x = b->x[end];
    *y = b->y[end];
    return 1;
}

int bezier_get_controlp(const bezier *b, int i, double *x, double *y) TESKA_NOTHROW
{
    if (!is_inner(*b, i)) {
        TESKA_ERR("Bezier_get_controlp : illegal ind");
        return 0;
    }
    *x = b->x[i + 1];
    *y = b->y[i + 1];
    return 1;
}

// ---- Process --------------------------------------------------------------------------------------------------------

int bezier_get(bezier *b, double t, double *x, double *y) TESKA_NOTHROW
{
    teska::bezier_renew_coef(*b);
    *x = teska::bezier_horner(b->ax, b->degree, t);
    *y = teska::bezier_horner(b->ay, b->degree, t);
    return 1;
}

int bezier_get_y(bezier *b, double x, double *ys) TESKA_NOTHROW { return solve(*b, given::x, method::closed, x, ys); }

int bezier_get_x(bezier *b, double y, double *xs) TESKA_NOTHROW { return solve(*b, given::y, method::closed, y, xs); }

int bezier_fget_y(bezier *b, double x, double *ys) TESKA_NOTHROW
{
    return solve(*b, given::x, method::iterated, x, ys);
}

int bezier_fget_x(bezier *b, double y, double *xs) TESKA_NOTHROW
{
    return solve(*b, given::y, method::iterated, y, xs);
}
