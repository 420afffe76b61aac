// p_bezierd_base - a chain of planar Bezier segments: life, changes, points on it (curves)
//
// A chain owns one array of segments with all their control points, the last point of one and the first of the next
// being the same doubles twice. They are not `bezier` records: those come from a pool and renew coefficients when read.
// Each segment keeps its length and the sum of those before it, so that lengths of whole chains cost nothing:
//
//     segment    0            1            2
//     length     1.5          0.25         2
//     before     0            1.5          1.75            with the rounding errors of the sums (exact_sum)
//
// Every change is complete or leaves the chain as it was: segments are appended last, and a failure in the middle of
// many takes the first of them off again.
//
// Process-wide state: none.

#include "p_bezierd_base.h"

#include "Source/p_bezierd_base/chain.h"
#include "Support/bezier_priv.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>

using teska::chain_segment;
using teska::owned_chain;
using teska::vec2;

namespace
{

bool rises_in_x(const chain_segment &segment)
{
    return std::is_sorted(segment.x, segment.x + segment.degree + 1) && segment.x[0] < segment.x[segment.degree];
}

bool continues(const poly_bezier &p, const vec2 &start)
{
    const vec2 end = teska::chain_end(p);
    return end.x == start.x && end.y == start.y;
}

// Renews what hangs on the order and the places of the segments; with `measure` their lengths too.
void renew(poly_bezier &p, bool measure)
{
    teska::exact_sum before;
    p.rises = true;
    for (chain_segment &segment : p.segments) {
        if (measure)
            segment.length = teska::segment_length(segment, 0.0, 1.0);
        segment.before = before;
        before = before + segment.length;
        p.rises = p.rises && rises_in_x(segment);
    }
}

// Appends the segments first .. last - 1 of another chain or of this one; p is unchanged when it returns false.
bool push_range(poly_bezier &p, const poly_bezier &from, int first, int last)
{
    const int before = p.segments.size();
    const bool rises = p.rises;
    for (int i = first; i < last; ++i)
        if (!teska::chain_push_measured(p, from.segments[i])) {
            while (p.segments.size() > before)
                p.segments.pop();
            p.rises = rises;
            return false;
        }
    return true;
}

chain_segment mapped(const chain_segment &segment, const double *m)
{
    chain_segment image = segment;
    for (int k = 0; k <= segment.degree; ++k) {
        const vec2 p = segment.point(k);
        image.set(k, {m[0] * p.x + m[1] * p.y + m[2], m[3] * p.x + m[4] * p.y + m[5]});
    }
    return image;
}

struct halves {
    chain_segment left, right;
};

halves divided(const chain_segment &segment, double t)
{
    halves parts;
    parts.left.degree = parts.right.degree = segment.degree;
    teska::divide(segment.degree, segment.x, t, parts.left.x, parts.right.x);
    teska::divide(segment.degree, segment.y, t, parts.left.y, parts.right.y);
    return parts;
}

// The two chains of a split; false when memory is short.
bool split(const poly_bezier &p, double u, owned_chain &first, owned_chain &second)
{
    const int n = p.segments.size();
    const teska::chain_place place = n != 0 ? teska::place_at(p, u) : teska::chain_place{.index = 0, .t = 0.0};
    const bool inside = place.t > 0.0 && place.t < 1.0;
    const int whole = place.t < 1.0 ? place.index : n;  // segments of the first chain as they are
    const halves parts = inside ? divided(p.segments[place.index], place.t) : halves{};
    vec2 middle = teska::chain_end(p);
    if (inside)
        middle = parts.right.point(0);
    else if (whole < n)
        middle = p.segments[whole].point(0);
    first = teska::make_chain(p.start);
    second = teska::make_chain(middle);
    return first && second && push_range(*first, p, 0, whole) &&
           (!inside || (teska::chain_push(*first, parts.left) && teska::chain_push(*second, parts.right))) &&
           push_range(*second, p, inside ? whole + 1 : whole, n);
}

// (a + 2 b) / 3, by quarters where that overflows.
double two_thirds_to(double a, double b)
{
    const double sum = a + 2.0 * b;
    return std::isfinite(sum) ? sum / 3.0 : 4.0 * ((0.25 * a + 0.5 * b) / 3.0);
}

// The control values of the same polynomial as one of degree 3.
void raise(int degree, const double *c, double *raised)
{
    raised[0] = c[0];
    raised[1] = degree == 1 ? two_thirds_to(c[1], c[0]) : two_thirds_to(c[0], c[1]);
    raised[2] = degree == 1 ? two_thirds_to(c[0], c[1]) : two_thirds_to(c[2], c[1]);
    raised[3] = c[degree];
    if (degree == 3)
        std::copy_n(c, 4, raised);
}

// The last segment that does not begin beyond x, of a chain that rises; x is not below its start.
const chain_segment &segment_over(const poly_bezier &p, double x)
{
    const auto *const beyond =
        std::upper_bound(p.segments.begin() + 1, p.segments.end(), x,
                         [](double value, const chain_segment &segment) { return value < segment.x[0]; });
    return beyond[-1];
}

double parameter_at(const chain_segment &segment, double x)
{
    const double *const c = segment.x;
    const int degree = segment.degree;
    if (x == c[0])
        return 0.0;
    if (x == c[degree])
        return 1.0;
    const double guess = (x / 2.0 - c[0] / 2.0) / (c[degree] / 2.0 - c[0] / 2.0);
    return teska::rising_root(0.0, 1.0, guess, [=](double t) {
        return teska::value_and_slope{.value = teska::bernstein(degree, c, t) - x,
                                      .slope = teska::bernstein_slope(degree, c, t)};
    });
}

bool has_index(const poly_bezier &p, int i) { return i >= 0 && i < p.segments.size(); }

}  // namespace

namespace teska
{

owned_chain make_chain(const vec2 &start) noexcept
{
    owned_chain p = make_record<poly_bezier>();
    if (p)
        p->start = start;
    return p;
}

bool chain_push(poly_bezier &p, chain_segment segment) noexcept
{
    segment.length = segment_length(segment, 0.0, 1.0);
    return chain_push_measured(p, segment);
}

bool chain_push_measured(poly_bezier &p, chain_segment segment) noexcept
{
    segment.before = chain_length(p);
    if (!p.segments.push(segment))
        return false;
    p.rises = p.rises && rises_in_x(segment);
    return true;
}

void divide(int degree, const double *c, double t, double *left, double *right) noexcept
{
    std::copy_n(c, degree + 1, right);
    for (int k = 0; k < degree; ++k) {
        left[k] = right[0];
        for (int i = 0; i < degree - k; ++i)
            right[i] = interpolate(right[i], right[i + 1], t);
    }
    left[degree] = right[0];
}

}  // namespace teska

// ---- Life -----------------------------------------------------------------------------------------------------------

poly_bezier *poly_bezier_new(double x, double y) TESKA_NOTHROW
{
    if (!std::isfinite(x) || !std::isfinite(y)) {
        TESKA_ERR("poly_bezier_new: illegal point");
        return nullptr;
    }
    owned_chain p = teska::make_chain({x, y});
    if (!p)
        TESKA_ERR("poly_bezier_new: malloc failure");
    return p.release();
}

poly_bezier *poly_bezier_kill(poly_bezier *p) TESKA_NOTHROW
{
    teska::kill_record(p);
    return nullptr;
}

poly_bezier *poly_bezier_copy(const poly_bezier *p) TESKA_NOTHROW
{
    owned_chain copy = teska::make_chain(p->start);
    if (!copy || !copy->segments.reserve(p->segments.size()) || !push_range(*copy, *p, 0, p->segments.size())) {
        TESKA_ERR("poly_bezier_copy: malloc failure");
        return nullptr;
    }
    return copy.release();
}

int poly_bezier_split(const poly_bezier *p, double u, poly_bezier **first, poly_bezier **second) TESKA_NOTHROW
{
    owned_chain parts[2];
    const bool done = split(*p, u, parts[0], parts[1]);
    if (!done)
        TESKA_ERR("poly_bezier_split: malloc failure");
    *first = done ? parts[0].release() : nullptr;
    *second = done ? parts[1].release() : nullptr;
    return done ? 1 : 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int poly_bezier_add(poly_bezier *p, int degree, const double *xs, const double *ys) TESKA_NOTHROW
{
    if (degree < 1 || degree > 3) {
        TESKA_ERR("poly_bezier_add: illegal degree");
        return 0;
    }
    if (!teska::all_finite(xs, degree) || !teska::all_finite(ys, degree)) {
        TESKA_ERR("poly_bezier_add: illegal point");
        return 0;
    }
    chain_segment segment{.degree = degree};
    segment.set(0, teska::chain_end(*p));
    for (int k = 1; k <= degree; ++k)
        segment.set(k, {xs[k - 1], ys[k - 1]});
    if (!teska::chain_push(*p, segment)) {
        TESKA_ERR("poly_bezier_add: malloc failure");
        return 0;
    }
    return 1;
}

int poly_bezier_append(poly_bezier *p, const bezier *b) TESKA_NOTHROW
{
    if (b->degree > 3) {
        TESKA_ERR("poly_bezier_append: illegal degree");
        return 0;
    }
    if (!teska::all_finite(b->x, b->degree + 1) || !teska::all_finite(b->y, b->degree + 1)) {
        TESKA_ERR("poly_bezier_append: illegal point");
        return 0;
    }
    if (!continues(*p, teska::control_point(*b, 0))) {
        TESKA_ERR("poly_bezier_append: segment does not continue the chain");
        return 0;
    }
    chain_segment segment{.degree = b->degree};
    for (int k = 0; k <= b->degree; ++k)
        segment.set(k, teska::control_point(*b, k));
    if (!teska::chain_push(*p, segment)) {
        TESKA_ERR("poly_bezier_append: malloc failure");
        return 0;
    }
    return 1;
}

int poly_bezier_join(poly_bezier *p, const poly_bezier *tail) TESKA_NOTHROW
{
    if (!continues(*p, tail->start)) {
        TESKA_ERR("poly_bezier_join: segment does not continue the chain");
        return 0;
    }
    if (!push_range(*p, *tail, 0, tail->segments.size())) {
        TESKA_ERR("poly_bezier_join: malloc failure");
        return 0;
    }
    return 1;
}

int poly_bezier_reverse(poly_bezier *p) TESKA_NOTHROW
{
    p->start = teska::chain_end(*p);
    std::reverse(p->segments.begin(), p->segments.end());
    for (chain_segment &segment : p->segments) {
        std::reverse(segment.x, segment.x + segment.degree + 1);
        std::reverse(segment.y, segment.y + segment.degree + 1);
    }
    renew(*p, false);
    return 1;
}

int poly_bezier_transform(poly_bezier *p, const double matrix[6]) TESKA_NOTHROW
{
    chain_segment start;
    start.set(0, p->start);
    const chain_segment moved = mapped(start, matrix);
    const auto stays_finite = [=](const chain_segment &segment) {
        const chain_segment image = mapped(segment, matrix);
        return teska::all_finite(image.x, 4) && teska::all_finite(image.y, 4);
    };
    if (!teska::all_finite(matrix, 6) || !stays_finite(start) ||
        !std::all_of(p->segments.begin(), p->segments.end(), stays_finite)) {
        TESKA_ERR("poly_bezier_transform: illegal matrix");
        return 0;
    }
    p->start = moved.point(0);
    for (chain_segment &segment : p->segments)
        segment = mapped(segment, matrix);
    renew(*p, true);
    return 1;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int poly_bezier_num(const poly_bezier *p) TESKA_NOTHROW { return p->segments.size(); }

int poly_bezier_closed(const poly_bezier *p) TESKA_NOTHROW { return teska::chain_is_closed(*p) ? 1 : 0; }

int poly_bezier_segment(const poly_bezier *p, int i, double xs[4], double ys[4]) TESKA_NOTHROW
{
    if (!has_index(*p, i)) {
        TESKA_ERR("poly_bezier_segment: illegal index");
        return 0;
    }
    const chain_segment &segment = p->segments[i];
    std::copy_n(segment.x, segment.degree + 1, xs);
    std::copy_n(segment.y, segment.degree + 1, ys);
    return segment.degree;
}

bezier *poly_bezier_get_bezier(const poly_bezier *p, int i) TESKA_NOTHROW
{
    if (!has_index(*p, i)) {
        TESKA_ERR("poly_bezier_get_bezier: illegal index");
        return nullptr;
    }
    const chain_segment &segment = p->segments[i];
    bezier *const b = bezier_new(3, 0.0, 0.0, 0.0, 0.0);
    if (b == nullptr)
        return nullptr;
    double xs[4], ys[4];
    raise(segment.degree, segment.x, xs);
    raise(segment.degree, segment.y, ys);
    bezier_set_control_poly(b, xs, ys);
    return b;
}

int poly_bezier_get(const poly_bezier *p, double u, double *x, double *y) TESKA_NOTHROW
{
    if (p->segments.size() == 0) {
        *x = p->start.x;
        *y = p->start.y;
        return 1;
    }
    const teska::chain_place place = teska::place_at(*p, u);
    const chain_segment &segment = p->segments[place.index];
    const teska::bernstein_weights weights(segment.degree, place.t);
    *x = weights.sum(segment.x);
    *y = weights.sum(segment.y);
    return 1;
}

int poly_bezier_slope(const poly_bezier *p, double u, double *dx, double *dy) TESKA_NOTHROW
{
    *dx = *dy = 0.0;
    if (p->segments.size() == 0)
        return 1;
    const teska::chain_place place = teska::place_at(*p, u);
    const chain_segment &segment = p->segments[place.index];
    *dx = teska::bernstein_slope(segment.degree, segment.x, place.t);
    *dy = teska::bernstein_slope(segment.degree, segment.y, place.t);
    return 1;
}

int poly_bezier_get_y(const poly_bezier *p, double x, double *y) TESKA_NOTHROW
{
    if (!p->rises || std::isnan(x)) {
        TESKA_ERR("poly_bezier_get_y: chain does not rise in x");
        return 0;
    }
    const vec2 end = teska::chain_end(*p);
    if (x < p->start.x || x > end.x) {
        *y = x > end.x ? end.y : p->start.y;
        return 2;
    }
    if (p->segments.size() == 0) {
        *y = p->start.y;
        return 1;
    }
    const chain_segment &segment = segment_over(*p, x);
    *y = teska::bernstein(segment.degree, segment.y, parameter_at(segment, x));
    return 1;
}
