// p_bezierd_base/spline - chains of cubics through points (curves)
//
// Both kinds are cubics of Hermite: with a step h of the curve's own parameter and the slopes m at both ends
//
//     P1 = Q_k + h m_k / 3,   P2 = Q_(k+1) - h m_(k+1) / 3.
//
// The slopes of the spline make the second derivatives of neighbours equal, d_k being (Q_(k+1) - Q_k) / h_k:
//
//     h_k m_(k-1) + 2 (h_(k-1) + h_k) m_k + h_(k-1) m_(k+1) = 3 (h_k d_(k-1) + h_(k-1) d_k)
//
// and at the ends of an open chain 2 m_0 + m_1 = 3 d_0. The diagonal dominates, so elimination needs no pivots. Closed,
// the system has two more numbers in its corners, which the formula of Sherman and Morrison brings in: W. H. Press et
// al., Numerical Recipes in C, 2nd ed., Cambridge University Press 1992, section 2.7.
//
// Points are scaled by a power of two when they are so large that sums of them would overflow.

#include "Source/p_bezierd_base/chain.h"
#include "Support/report.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>

using teska::chain_segment;
using teska::owned_chain;
using teska::vec2;

namespace
{

constexpr double huge = 0x1p900;          // from here on points are scaled
constexpr double small_scale = 0x1p-200;  // by this

double scale_for(const double *values, int count)
{
    const bool is_huge = std::any_of(values, values + count, [](double value) { return std::fabs(value) > huge; });
    return is_huge ? small_scale : 1.0;
}

// ---- The spline -----------------------------------------------------------------------------------------------------

// What belongs to point k: the step to the next one, and the row of the system.
struct knot {
    vec2 place;
    double step;   // root of the distance to the next
    vec2 chord;    // d, the mean slope to the next
    double below;  // coefficient of the slope before
    double diagonal;
    double above;       // of the slope after
    vec2 slope;         // right side, then the solution
    double correction;  // that of Sherman and Morrison
};

struct knots {
    teska::heap_block<knot> at;
    int count;
    bool closed;

    knot &operator[](int k) const { return at[k]; }
    // The neighbours, round the joint.
    [[nodiscard]] knot &before(int k) const { return at[k != 0 ? k - 1 : count - 1]; }
    [[nodiscard]] knot &after(int k) const { return at[k + 1 != count ? k + 1 : 0]; }
    [[nodiscard]] int segments() const { return closed ? count : count - 1; }
};

void set_steps(const knots &row)
{
    for (int k = 0; k < row.segments(); ++k) {
        const vec2 to_next = row.after(k).place - row[k].place;
        // Different points may become equal when they are scaled.
        row[k].step = std::sqrt(std::max(teska::any_length(to_next), DBL_MIN));
        row[k].chord = to_next / row[k].step;
    }
}

void set_equations(const knots &row)
{
    for (int k = 0; k < row.count; ++k) {
        const double before = row.before(k).step, after = row[k].step;
        row[k].below = after;
        row[k].diagonal = 2.0 * (before + after);
        row[k].above = before;
        row[k].slope = 3.0 * (after * row.before(k).chord + before * row[k].chord);
    }
    if (row.closed)
        return;
    knot &first = row[0], &last = row[row.count - 1];
    first.below = last.above = 0.0;
    first.diagonal = last.diagonal = 2.0;
    first.above = last.below = 1.0;
    first.slope = 3.0 * first.chord;
    last.slope = 3.0 * row.before(row.count - 1).chord;
}

// Without the corners of the matrix.
void solve(const knots &row)
{
    for (int k = 1; k < row.count; ++k) {
        const double factor = row[k].below / row[k - 1].diagonal;
        row[k].diagonal -= factor * row[k - 1].above;
        row[k].slope = row[k].slope - factor * row[k - 1].slope;
        row[k].correction -= factor * row[k - 1].correction;
    }
    for (int k = row.count - 1; k >= 0; --k) {
        const double above = k + 1 < row.count ? row[k].above : 0.0;
        const knot &next = row[k + 1 < row.count ? k + 1 : k];
        row[k].slope = (row[k].slope - above * next.slope) / row[k].diagonal;
        row[k].correction = (row[k].correction - above * next.correction) / row[k].diagonal;
    }
}

// The matrix is one without corners plus the product of (gamma, 0 .. 0, lower) and (1, 0 .. 0, upper / gamma), where
// upper and lower are its corners.
void solve_closed(const knots &row)
{
    knot &first = row[0], &last = row[row.count - 1];
    const double upper = first.below, lower = last.above, gamma = -first.diagonal;
    first.diagonal -= gamma;
    last.diagonal -= lower * upper / gamma;
    first.correction = gamma;
    last.correction = lower;
    solve(row);
    const double ratio = upper / gamma;
    const vec2 part = (first.slope + ratio * last.slope) / (1.0 + first.correction + ratio * last.correction);
    for (int k = 0; k < row.count; ++k)
        row[k].slope = row[k].slope - row[k].correction * part;
}

double held(double value) { return std::clamp(value, -DBL_MAX, DBL_MAX); }

// Points, end points as they were given.
owned_chain chain_of(const knots &row, const double *xs, const double *ys, double scale)
{
    owned_chain p = teska::make_chain({xs[0], ys[0]});
    if (!p || !p->segments.reserve(row.segments()))
        return nullptr;
    for (int k = 0; k < row.segments(); ++k) {
        const int next = k + 1 != row.count ? k + 1 : 0;
        const double third = row[k].step / 3.0;
        const vec2 from = (row[k].place + third * row[k].slope) / scale;
        const vec2 to = (row[next].place - third * row[next].slope) / scale;
        chain_segment segment{.degree = 3};
        segment.set(0, {xs[k], ys[k]});
        segment.set(1, {held(from.x), held(from.y)});
        segment.set(2, {held(to.x), held(to.y)});
        segment.set(3, {xs[next], ys[next]});
        if (!teska::chain_push(*p, segment))
            return nullptr;
    }
    return p;
}

owned_chain spline(int n, const double *xs, const double *ys, bool closed)
{
    const knots row{.at = teska::zeroed_block<knot>(static_cast<std::size_t>(n)), .count = n, .closed = closed};
    if (!row.at)
        return nullptr;
    const double scale = std::min(scale_for(xs, n), scale_for(ys, n));
    for (int k = 0; k < n; ++k)
        row[k].place = {xs[k] * scale, ys[k] * scale};
    set_steps(row);
    set_equations(row);
    if (closed)
        solve_closed(row);
    else
        solve(row);
    return chain_of(row, xs, ys, scale);
}

bool has_equal_neighbours(int n, const double *xs, const double *ys, bool closed)
{
    for (int k = closed ? 0 : 1; k < n; ++k) {
        const int before = k != 0 ? k - 1 : n - 1;
        if (xs[k] == xs[before] && ys[k] == ys[before])
            return true;
    }
    return false;
}

// ---- Monotone -------------------------------------------------------------------------------------------------------

// Steps and slopes of chords, in units in which neither they nor weighted sums of them overflow.
class rising_points
{
public:
    rising_points(int n, const double *xs, const double *ys)
        : n_(n), xs_(xs), ys_(ys), scale_x_(scale_for(xs, n)), scale_y_(scale_for(ys, n))
    {
    }

    [[nodiscard]] double step(int k) const { return xs_[k + 1] * scale_x_ - xs_[k] * scale_x_; }

    // Held where points are so near each other in x that it would overflow.
    [[nodiscard]] double chord(int k) const
    {
        const double rise = ys_[k + 1] * scale_y_ - ys_[k] * scale_y_;
        return rise != 0.0 ? std::clamp(rise / step(k), -steepest, steepest) : 0.0;
    }

    [[nodiscard]] double slope(int k) const
    {
        double value = 0.0;
        if (n_ == 2)
            value = chord(0);
        else if (k == 0)
            value = end_slope(step(0), step(1), chord(0), chord(1));
        else if (k == n_ - 1)
            value = end_slope(step(n_ - 2), step(n_ - 3), chord(n_ - 2), chord(n_ - 3));
        else
            value = inner_slope(step(k - 1), step(k), chord(k - 1), chord(k));
        // Different x may become equal when they are scaled.
        return std::isfinite(value) ? value : 0.0;
    }

    // The segment from point k on, with the slopes at both ends. Its control points keep between its ends, which
    // rounding alone could change.
    [[nodiscard]] chain_segment segment(int k, double slope, double next_slope) const
    {
        const double third = step(k) / 3.0;
        const auto [least, most] = std::minmax(ys_[k], ys_[k + 1]);
        chain_segment s{.degree = 3};
        s.set(0, {xs_[k], ys_[k]});
        s.set(1, {std::clamp((xs_[k] * scale_x_ + third) / scale_x_, xs_[k], xs_[k + 1]),
                  std::clamp((ys_[k] * scale_y_ + third * slope) / scale_y_, least, most)});
        s.set(2, {std::clamp((xs_[k + 1] * scale_x_ - third) / scale_x_, xs_[k], xs_[k + 1]),
                  std::clamp((ys_[k + 1] * scale_y_ - third * next_slope) / scale_y_, least, most)});
        s.set(3, {xs_[k + 1], ys_[k + 1]});
        return s;
    }

private:
    static constexpr double steepest = 1e307;

    // Steps and slopes of the chords on both sides.
    static double inner_slope(double h0, double h1, double d0, double d1)
    {
        if (!(d0 < 0.0 && d1 < 0.0) && !(d0 > 0.0 && d1 > 0.0))
            return 0.0;
        const double w1 = 2.0 * h1 + h0, w2 = h1 + 2.0 * h0;
        return (w1 + w2) / (w1 / d0 + w2 / d1);
    }

    // Of the chord at the end and of the one after it. The same as ((2 h0 + h1) d0 - h0 d1) / (h0 + h1), without
    // products of steps and slopes.
    static double end_slope(double h0, double h1, double d0, double d1)
    {
        const double share = h0 / (h0 + h1);
        const double slope = (1.0 + share) * d0 - share * d1;
        if (!(slope < 0.0 && d0 < 0.0) && !(slope > 0.0 && d0 > 0.0))
            return 0.0;
        const bool turn = (d0 < 0.0) != (d1 < 0.0);
        return turn && std::fabs(slope) > 3.0 * std::fabs(d0) ? 3.0 * d0 : slope;
    }

    int n_;
    const double *xs_;
    const double *ys_;
    double scale_x_;
    double scale_y_;
};

owned_chain monotone(int n, const double *xs, const double *ys)
{
    owned_chain p = teska::make_chain({xs[0], ys[0]});
    if (!p || !p->segments.reserve(n - 1))
        return nullptr;
    const rising_points points(n, xs, ys);
    double slope = points.slope(0);
    for (int k = 0; k + 1 < n; ++k) {
        const double next_slope = points.slope(k + 1);
        if (!teska::chain_push(*p, points.segment(k, slope, next_slope)))
            return nullptr;
        slope = next_slope;
    }
    return p;
}

bool rise(int n, const double *xs)
{
    return std::adjacent_find(xs, xs + n, [](double a, double b) { return !(a < b); }) == xs + n;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

poly_bezier *poly_bezier_spline(int n, const double *xs, const double *ys, int closed) TESKA_NOTHROW
{
    if (n < (closed != 0 ? 3 : 2)) {
        TESKA_ERR("poly_bezier_spline: too few points");
        return nullptr;
    }
    if (!teska::all_finite(xs, n) || !teska::all_finite(ys, n)) {
        TESKA_ERR("poly_bezier_spline: illegal point");
        return nullptr;
    }
    if (has_equal_neighbours(n, xs, ys, closed != 0)) {
        TESKA_ERR("poly_bezier_spline: equal points");
        return nullptr;
    }
    owned_chain p = spline(n, xs, ys, closed != 0);
    if (!p)
        TESKA_ERR("poly_bezier_spline: malloc failure");
    return p.release();
}

poly_bezier *poly_bezier_monotone(int n, const double *xs, const double *ys) TESKA_NOTHROW
{
    if (n < 2) {
        TESKA_ERR("poly_bezier_monotone: too few points");
        return nullptr;
    }
    if (!teska::all_finite(xs, n) || !teska::all_finite(ys, n)) {
        TESKA_ERR("poly_bezier_monotone: illegal point");
        return nullptr;
    }
    if (!rise(n, xs)) {
        TESKA_ERR("poly_bezier_monotone: x values do not rise");
        return nullptr;
    }
    owned_chain p = monotone(n, xs, ys);
    if (!p)
        TESKA_ERR("poly_bezier_monotone: malloc failure");
    return p.release();
}
