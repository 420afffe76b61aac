// bezierd_fit - least-squares fit of one cubic Bezier segment to a row of points (curves)
//
// The end points are given. For fixed parameters t_i of the points Q_i the inner control points P1 and P2 follow from
// linear equations. Each unknown u_j moves one of them along a direction d_j, by a basis polynomial b_j of t:
//
//     tangents    unknowns (basis polynomial, direction)
//     none        (B1, x) (B1, y) (B2, x) (B2, y)
//     start       (B1, start tangent) (B2, x) (B2, y)
//     end         (B1, x) (B1, y) (B2, end tangent)
//     both        (B1, start tangent) (B2, end tangent)
//
// so that with R_i, what is left of Q_i when all unknowns are 0, the normal equations are in every case
//
//     sum_k u_k (d_j . d_k) sum_i b_j(t_i) b_k(t_i) = d_j . sum_i b_j(t_i) R_i
//
// and three sums of products and two of vectors over the points are all that is needed. A tangent makes its inner point
// start from the end point beside it, a free one starts from (0, 0).
//
// Then every t_i moves to where the curve is nearest, a zero of f(t) = (P(t) - Q_i) . P'(t), and so on in turn.
//
// Source: M. Plass, M. Stone, Curve-fitting with piecewise parametric cubics, Computer Graphics 17 (1983), no. 3,
// pp. 229-239.

#include "bezierd_fit.h"

#include "Support/bezier_priv.h"
#include "Support/memory.h"
#include "Support/report.h"
#include "Support/vec.h"

#include "scalar_solvers.h"
#include "wem.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

using teska::control_point;
using teska::vec2;

namespace
{

// A middle point of three outside these parts of the polyline's length is too near an end to shape the curve.
constexpr double least_middle = 0.1;
constexpr double greatest_middle = 0.9;

constexpr int most_passes = 20;  // a pass begun is finished: 21
constexpr int newton_steps = 4;
constexpr double small_change = 0.001;  // of t, which runs from 0 to 1

// A point of the row with what the fit knows of it.
struct sample {
    double length;    // of the polyline from the first point to this one
    double t;         // parameter
    double basis[4];  // B0 .. B3 at t
};

struct data {
    int n;
    const double *xs;
    const double *ys;

    vec2 operator[](std::size_t i) const { return {xs[i], ys[i]}; }
    vec2 first() const { return (*this)[0]; }
    vec2 last() const { return (*this)[static_cast<std::size_t>(n) - 1]; }
};

struct errors {
    double lse;
    double largest;
};

// ---- Closed forms ---------------------------------------------------------------------------------------------------

void set_control_point(bezier &b, int i, vec2 p)
{
    b.x[i] = p.x;
    b.y[i] = p.y;
    b.coef_made.discard();
}

void set_all(bezier &b, vec2 p0, vec2 p1, vec2 p2, vec2 p3)
{
    set_control_point(b, 0, p0);
    set_control_point(b, 1, p1);
    set_control_point(b, 2, p2);
    set_control_point(b, 3, p3);
}

double part_of_length(vec2 start, vec2 middle, vec2 end)
{
    const double d1 = length(middle - start);
    const double whole = d1 + length(end - middle);
    return whole == 0.0 ? 0.5 : d1 / whole;
}

errors fit_three(bezier &b, vec2 start, vec2 middle, vec2 end)
{
    const double t = part_of_length(start, middle, end);
    const double u = 1.0 - t;
    const vec2 chord = end - start;
    if ((t < least_middle || t > greatest_middle) && start.x != end.x && start.y != end.y) {
        set_all(b, start, start, end, end);
        const double off = std::fabs(cross(middle - start, chord)) / teska::bezier_approx_len(chord.x, chord.y);
        return {off, off};
    }
    const double weight = 3.0 * t * u * u + 3.0 * t * t * u;
    if (weight == 0.0) {
        set_all(b, start, start, end, end);
        return {0.0, 0.0};
    }
    const vec2 rest = middle - (u * u * u) * start - (t * t * t) * end;
    const vec2 c = {rest.x / weight, rest.y / weight};
    set_all(b, start, c, c, end);
    return {0.0, 0.0};
}

// ---- Inner control points for given parameters ----------------------------------------------------------------------

void first_parameters(std::span<sample> samples, const data &points)
{
    for (std::size_t i = 1; i < samples.size(); ++i)
        samples[i].length = samples[i - 1].length + length(points[i] - points[i - 1]);
    const double whole = samples.back().length;
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i].t =
            whole == 0.0 ? static_cast<double>(i) / static_cast<double>(samples.size() - 1) : samples[i].length / whole;
}

// One inner point: where it is when its unknowns are 0, and the directions they move it along.
struct inner_point {
    vec2 origin;
    int unknowns;  // 1 or 2
    vec2 direction[2];
};

inner_point inner(vec2 end, int tangent, const double *dir)
{
    if (tangent != 0)
        return {end, 1, {{dir[0], dir[1]}, {}}};
    return {{0.0, 0.0}, 2, {{1.0, 0.0}, {0.0, 1.0}}};
}

// Sums over the points of the products of B1 and B2 with each other, and with what is left of the points.
struct sums {
    double basis[2][2];
    vec2 rest[2];
};

sums add_up(const bezier &b, const inner_point (&inners)[2], std::span<const sample> samples, const data &points)
{
    sums s{};
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double *basis = samples[i].basis;
        vec2 rest = points[i] - basis[0] * control_point(b, 0) - basis[3] * control_point(b, 3);
        for (int j = 0; j < 2; ++j)
            rest = rest - basis[1 + j] * inners[j].origin;
        for (int j = 0; j < 2; ++j) {
            for (int k = 0; k < 2; ++k)
                s.basis[j][k] += basis[1 + j] * basis[1 + k];
            s.rest[j] = s.rest[j] + basis[1 + j] * rest;
        }
    }
    return s;
}

// Up to four unknowns, those of P1 first.
struct system {
    int n;
    double a[16];
    double b[4];
};

system normal_equations(const inner_point (&inners)[2], const sums &s)
{
    system e{inners[0].unknowns + inners[1].unknowns, {}, {}};
    double *a = e.a;
    double *b = e.b;
    for (int p = 0; p < 2; ++p)
        for (int j = 0; j < inners[p].unknowns; ++j) {
            for (int q = 0; q < 2; ++q)
                for (int k = 0; k < inners[q].unknowns; ++k)
                    *a++ = s.basis[p][q] * dot(inners[p].direction[j], inners[q].direction[k]);
            *b++ = dot(inners[p].direction[j], s.rest[p]);
        }
    return e;
}

void set_inner_points(bezier &b, std::span<sample> samples, const data &points)
{
    for (sample &one : samples)
        for (int i = 0; i < 4; ++i)
            one.basis[i] = teska::B_poly(3, i, one.t);
    const inner_point inners[2] = {inner(control_point(b, 0), b.start_given, b.start_t),
                                   inner(control_point(b, 3), b.end_given, b.end_t)};
    system e = normal_equations(inners, add_up(b, inners, samples, points));
    if (gaussd(e.a, e.b, e.n) == 0) {
        TESKA_ERR("Bezier_fit : system without solution");
        set_control_point(b, 1, control_point(b, 0));
        set_control_point(b, 2, control_point(b, 3));
        return;
    }
    const double *unknown = e.b;
    for (int p = 0; p < 2; ++p) {
        vec2 at = inners[p].origin;
        for (int j = 0; j < inners[p].unknowns; ++j)
            at = at + *unknown++ * inners[p].direction[j];
        set_control_point(b, 1 + p, at);
    }
}

// ---- Parameters for given control points ----------------------------------------------------------------------------

vec2 at(const bezier &b, double t) { return {teska::bezier_horner(b.ax, 3, t), teska::bezier_horner(b.ay, 3, t)}; }

double first_derivative(const double *a, double t) { return (3.0 * a[3] * t + 2.0 * a[2]) * t + a[1]; }

double second_derivative(const double *a, double t) { return 6.0 * a[3] * t + 2.0 * a[2]; }

// Kept: a step that would leave (0, 1) is tried again from the same t, up to the last.
double nearest(const bezier &b, vec2 q, double t)
{
    for (int step = 0; step < newton_steps; ++step) {
        const vec2 off = at(b, t) - q;
        const vec2 d1 = {first_derivative(b.ax, t), first_derivative(b.ay, t)};
        const vec2 d2 = {second_derivative(b.ax, t), second_derivative(b.ay, t)};
        const double slope = dot(d1, d1) + dot(off, d2);
        if (slope == 0.0)
            TESKA_ERR("Bezier_fit : divide by 0");
        const double dt = -dot(off, d1) / slope;
        if (0.0 < t + dt && t + dt < 1.0)
            t += dt;
        if (std::fabs(dt) < small_change)
            break;
    }
    return t;
}

// Returns the largest change of a parameter.
double refine(const bezier &b, std::span<sample> samples, const data &points)
{
    double max_dt = 0.0;
    for (std::size_t i = 1; i + 1 < samples.size(); ++i) {
        const double before = samples[i].t;
        samples[i].t = nearest(b, points[i], before);
        max_dt = std::max(max_dt, std::fabs(before - samples[i].t));
    }
    return max_dt;
}

errors distances(const bezier &b, std::span<const sample> samples, const data &points)
{
    double sum = 0.0;
    double largest = 0.0;
    for (std::size_t i = 1; i + 1 < samples.size(); ++i) {
        const vec2 off = at(b, samples[i].t) - points[i];
        const double square = dot(off, off);
        sum += square;
        if (square > largest || std::isnan(square))
            largest = square;
    }
    return {std::sqrt(sum), std::sqrt(largest)};
}

void set_tangents(bezier &b, unsigned int start_given, vec2 start, unsigned int end_given, vec2 end)
{
    b.start_given = start_given != 0 ? 1 : 0;
    b.start_t[0] = start.x;
    b.start_t[1] = start.y;
    b.end_given = end_given != 0 ? 1 : 0;
    b.end_t[0] = end.x;
    b.end_t[1] = end.y;
}

void fit_many(bezier &b, std::span<sample> samples, const data &points, bool verbose)
{
    first_parameters(samples, points);
    double max_dt = 0.0;
    int pass = 0;
    do {
        ++pass;
        set_inner_points(b, samples, points);
        teska::bezier_coef(b);
        max_dt = refine(b, samples, points);
        if (verbose) {
            typefl("  t-iteration # max_dt % ", pass, max_dt);
            typefl("  xc1 % yc1 % xc2 % yc2 %", b.x[1], b.y[1], b.x[2], b.y[2]);
        }
    } while (pass <= most_passes && !(max_dt < small_change));
}

}  // namespace

int bezier_fit(bezier *curve, int n, const double *xs, const double *ys, unsigned int start_given, double start_tx,
               double start_ty, unsigned int end_given, double end_tx, double end_ty, double *lse, double *max_e,
               int verbose) TESKA_NOTHROW
{
    if (curve->degree != 3) {
        TESKA_ERR("Bezier_fit : degrees other than 3 not implemented yet");
        return 0;
    }
    if (verbose > 0)
        typefl("Bezier_fit");
    if (n < 2) {
        TESKA_ERR("Bezier_fit : nr_points too small ");
        return 0;
    }
    const data points{n, xs, ys};
    if (n < 4) {
        errors e{0.0, 0.0};
        if (n == 2)
            set_all(*curve, points[0], points[0], points[1], points[1]);
        else
            e = fit_three(*curve, points[0], points[1], points[2]);
        *lse = e.lse;
        *max_e = e.largest;
        return 1;
    }
    const auto size = static_cast<std::size_t>(n);
    const teska::heap_block<sample> block = teska::zeroed_block<sample>(size);
    if (!block) {
        TESKA_ERR("Bezier_fit : allocation of s failed");
        return 0;
    }
    set_control_point(*curve, 0, points.first());
    set_control_point(*curve, 3, points.last());
    set_tangents(*curve, start_given, {start_tx, start_ty}, end_given, {end_tx, end_ty});
    const std::span<sample> samples(block.get(), size);
    fit_many(*curve, samples, points, verbose > 0);
    const errors e = distances(*curve, samples, points);
    if (verbose > 0) {
        typefl("  maxE % ", e.largest);
        typefl("  LSE  % ", e.lse);
    }
    *lse = e.lse;
    *max_e = e.largest;
    return 1;
}
