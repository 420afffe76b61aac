// vect_lobe - lobes for selective corrections, vectors of length 1 (numerics)
//
// A lobe keeps its centre, its axis at length 1 (zeros for a ball) and its two radii. Everything comes from
//
//     e = x - centre,   p = axis . e,   r^2 = (p / along)^2 + sum of ((e_i - p axis_i) / across)^2
//
// where the part across is summed from the differences: |e|^2 - p^2 would lose the digits of points near the axis.
// Radii divide rather than their squares: no legal radius overflows or vanishes, HUGE_VAL makes its part 0, and on the
// surface of an ellipsoid along the axes of the space r is 1 and not a little less.

#include "vect_lobe.h"

#include "Support/exact.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "vect.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace exact = teska::exact;

namespace
{

constexpr int max_dimension = 64;

// 25 sqrt(5) / 96: one by the steepest slope of (1 - r^2)^3.
constexpr double safe_shift = 0.5823093691405702;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

}  // namespace

struct vect_lobe {
    int n = 0;
    double along = 0.0;
    double across = 0.0;
    double centre[max_dimension] = {};
    double axis[max_dimension] = {};  // of length 1; zeros: a ball
};

namespace
{

// A point as the lobe sees it.
struct seen_point {
    double along;   // p
    double square;  // r^2; NaN when the point has one
};

bool finite(const double *v, int n)
{
    return std::all_of(v, v + n, [](double x) { return std::isfinite(x); });
}

bool any_nan(const double *v, int n)
{
    return std::any_of(v, v + n, [](double x) { return std::isnan(x); });
}

double across_part(const vect_lobe &lobe, const double *e, double p, int i)
{
    return (e[i] - p * lobe.axis[i]) / lobe.across;
}

// Whether a direction leads out of the lobe, far enough along it.
bool leads_out(const vect_lobe &lobe, const double *direction)
{
    const double p = vect_scalar_product(lobe.axis, direction, lobe.n);
    bool out = p / lobe.along != 0.0;
    for (int i = 0; i < lobe.n; ++i)
        out = out || across_part(lobe, direction, p, i) != 0.0;
    return out;
}

// r^2 of a point so far away that differences of infinities came up: infinite, or NaN where a radius of HUGE_VAL leaves
// it open.
double square_far_away(const vect_lobe &lobe, const double *x)
{
    constexpr double to_middle = 0x1p-600;  // the largest doubles can be added and multiplied then
    double e[max_dimension] = {};
    for (int i = 0; i < lobe.n; ++i)
        e[i] = x[i] - lobe.centre[i];
    if (any_nan(e, lobe.n))
        return not_a_number;
    const bool infinite = !finite(e, lobe.n);
    for (int i = 0; i < lobe.n; ++i) {
        const double sign = std::isinf(e[i]) ? std::copysign(1.0, e[i]) : 0.0;
        e[i] = infinite ? sign : e[i] * to_middle;
    }
    return leads_out(lobe, e) ? HUGE_VAL : not_a_number;
}

seen_point see(const vect_lobe &lobe, const double *x)
{
    double p = 0.0;
    for (int i = 0; i < lobe.n; ++i)
        p += lobe.axis[i] * (x[i] - lobe.centre[i]);
    double across = 0.0;
    for (int i = 0; i < lobe.n; ++i) {
        const double part = ((x[i] - lobe.centre[i]) - p * lobe.axis[i]) / lobe.across;
        across += part * part;
    }
    const double along = p / lobe.along;
    const double square = along * along + across;
    return {.along = p, .square = std::isnan(square) ? square_far_away(lobe, x) : square};
}

double weight(double square)
{
    const double rest = 1.0 - square;
    return rest * rest * rest;
}

// The point is not in the lobe, and stays.
int leave(const vect_lobe &lobe, const double *x, double *out)
{
    std::memmove(out, x, static_cast<std::size_t>(lobe.n) * sizeof *x);
    return 0;
}

bool legal_radius(double radius) { return radius > 0.0; }  // not NaN

// Whether the two radii make a lobe that ends somewhere.
bool legal_radii(int n, bool ball, double along, double across)
{
    const double widest = n == 1 ? along : std::min(along, across);
    return legal_radius(along) && legal_radius(across) && std::isfinite(widest) && (!ball || along == across);
}

// Scales so that the largest magnitude is in 0.5 .. 1 and returns the power of two that undoes it; not all are 0.
int scale(double *v, int n)
{
    double largest = 0.0;
    for (int i = 0; i < n; ++i)
        largest = std::max(largest, std::fabs(v[i]));
    int exponent = 0;
    std::frexp(largest, &exponent);
    for (int i = 0; i < n; ++i)
        v[i] = std::ldexp(v[i], -exponent);
    return exponent;
}

// The length of a vector, and what rounding took from it.
struct exact_length {
    double value;
    double rest;
};

// The sum of 64 squares rounded one after the other would cost the length up to nine units of the last place.
exact_length length_of(const double *v, int n)
{
    double sum = 0.0;
    double lost = 0.0;
    double of_product = 0.0;
    for (int i = 0; i < n; ++i) {
        double of_sum = 0.0;
        sum = exact::sum(sum, exact::product(v[i], v[i], of_product), of_sum);
        lost += of_product + of_sum;
    }
    const double length = std::sqrt(sum + lost);
    const double missing = ((sum - exact::product(length, length, of_product)) - of_product) + lost;
    return {.value = length, .rest = missing / (2.0 * length)};
}

// x / length, rounded once.
double quotient(double x, const exact_length &length)
{
    double of_product = 0.0;
    const double rounded = x / length.value;
    const double missing = (x - exact::product(rounded, length.value, of_product)) - of_product;
    return rounded + (missing - rounded * length.rest) / length.value;
}

bool all_zero(const double *v, int n)
{
    return std::all_of(v, v + n, [](double x) { return x == 0.0; });
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

vect_lobe *vect_lobe_new(int n, const double *centre, const double *axis, double along, double across) TESKA_NOTHROW
{
    if (n < 1 || n > max_dimension) {
        TESKA_ERR("vect_lobe_new: illegal dimension");
        return nullptr;
    }
    if (!finite(centre, n)) {
        TESKA_ERR("vect_lobe_new: illegal centre");
        return nullptr;
    }
    if (axis != nullptr && (!finite(axis, n) || all_zero(axis, n))) {
        TESKA_ERR("vect_lobe_new: illegal axis");
        return nullptr;
    }
    if (!legal_radii(n, axis == nullptr, along, across)) {
        TESKA_ERR("vect_lobe_new: illegal radius");
        return nullptr;
    }
    auto lobe = teska::make_record<vect_lobe>();
    if (!lobe) {
        TESKA_ERR("vect_lobe_new: malloc failure");
        return nullptr;
    }
    lobe->n = n;
    lobe->along = along;
    lobe->across = across;
    std::copy_n(centre, n, lobe->centre);
    if (axis != nullptr) {
        std::copy_n(axis, n, lobe->axis);
        vect_normalise(lobe->axis, n);
    }
    return lobe.release();
}

vect_lobe *vect_lobe_kill(vect_lobe *lobe) TESKA_NOTHROW
{
    teska::kill_record(lobe);
    return nullptr;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

double vect_lobe_weight(const vect_lobe *lobe, const double *x) TESKA_NOTHROW
{
    const double square = see(*lobe, x).square;
    return square >= 1.0 ? 0.0 : weight(square);
}

int vect_lobe_gradient(const vect_lobe *lobe, const double *x, double *gradient) TESKA_NOTHROW
{
    const seen_point point = see(*lobe, x);
    if (!(point.square < 1.0)) {
        std::fill_n(gradient, lobe->n, std::isnan(point.square) ? not_a_number : 0.0);
        return 0;
    }
    const double rest = 1.0 - point.square;
    const double slope = -6.0 * (rest * rest);
    for (int i = 0; i < lobe->n; ++i) {
        const double a = lobe->axis[i];
        const double across = (x[i] - lobe->centre[i]) - point.along * a;
        gradient[i] = slope * (point.along / lobe->along * a / lobe->along + across / lobe->across / lobe->across);
    }
    return 0;
}

double vect_lobe_limit(const vect_lobe *lobe, const double *shift) TESKA_NOTHROW
{
    const int n = lobe->n;
    if (!finite(shift, n))
        return not_a_number;
    if (all_zero(shift, n))
        return HUGE_VAL;
    double scaled[max_dimension] = {};
    std::copy_n(shift, n, scaled);
    const int exponent = scale(scaled, n);
    // The components of the shift in the ellipsoid that is a ball of radius 1: along the axis, then across it.
    double in_ball[max_dimension + 1] = {};
    const double p = vect_scalar_product(lobe->axis, scaled, n);
    in_ball[n] = p / lobe->along;
    for (int i = 0; i < n; ++i)
        in_ball[i] = across_part(*lobe, scaled, p, i);
    const double length = vect_normalise(in_ball, n + 1);
    return std::ldexp(safe_shift / length, -exponent);  // infinite for 0
}

// ---- Process --------------------------------------------------------------------------------------------------------

int vect_lobe_stretch(const vect_lobe *lobe, const double *shift, const double *x, double *out) TESKA_NOTHROW
{
    if (!finite(shift, lobe->n)) {
        TESKA_ERR("vect_lobe_stretch: illegal shift");
        return -1;
    }
    const double square = see(*lobe, x).square;
    if (!(square < 1.0))
        return leave(*lobe, x, out);
    const double w = weight(square);
    for (int i = 0; i < lobe->n; ++i)
        out[i] = x[i] + w * shift[i];
    return 1;
}

int vect_lobe_stretch_rel(const vect_lobe *lobe, double factor, const double *x, double *out) TESKA_NOTHROW
{
    if (!std::isfinite(factor)) {
        TESKA_ERR("vect_lobe_stretch_rel: illegal factor");
        return -1;
    }
    const double square = see(*lobe, x).square;
    if (!(square < 1.0))
        return leave(*lobe, x, out);
    const double moved = weight(square) * (factor - 1.0);
    for (int i = 0; i < lobe->n; ++i)
        out[i] = x[i] + moved * (x[i] - lobe->centre[i]);
    return 1;
}

// ---- Vectors --------------------------------------------------------------------------------------------------------

double vect_normalise(double *v, int n) TESKA_NOTHROW
{
    if (n < 1 || all_zero(v, n))
        return 0.0;
    if (!finite(v, n))
        return any_nan(v, n) ? not_a_number : HUGE_VAL;
    const int exponent = scale(v, n);
    const exact_length length = length_of(v, n);
    for (int i = 0; i < n; ++i)
        v[i] = quotient(v[i], length);
    return std::ldexp(length.value, exponent);
}
