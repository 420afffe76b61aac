// p_bezierd_base/nearest - the point of a chain nearest to another (curves)
//
// Everything of a segment is relative to the point asked for, the origin q, in units of a power of two. Where B is
// nearest to q inside a segment, f = B . B' changes from below to above 0. f is of degree 5 (of 2 d - 1), and the signs
// of its Bernstein coefficients bound the number of its roots (Descartes' rule):
//
//     no change     only an end can be nearest
//     one change    from - to +: one root, by regula falsi; from + to -: an end
//     more          both halves
//
// A segment or half is left out when its control points keep farther away than what has been found. The ends of all
// segments are looked at first, so most segments cost a few comparisons.

#include "Source/p_bezierd_base/chain.h"
#include "Support/report.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

using teska::chain_segment;
using teska::vec2;

namespace
{

constexpr double same_distance = 1e-12;       // relative: of such places the first is given
constexpr double rounding = 8 * DBL_EPSILON;  // of a point, in units of its segment's distances
constexpr double flat = 64 * DBL_EPSILON;     // below it, of |B|^2, coefficients of f are rounding only
constexpr double root_tolerance = 1e-14;
constexpr int most_halvings = 40;
constexpr int most_steps = 100;

// A part of a segment relative to q.
struct piece {
    int degree;
    double x[4];
    double y[4];
    double from;   // parameter of its segment where it begins
    double width;  // and how much of it there is

    [[nodiscard]] vec2 point(int k) const { return {x[k], y[k]}; }
    [[nodiscard]] vec2 at(double t) const
    {
        const teska::bernstein_weights weights(degree, t);
        return {weights.sum(x), weights.sum(y)};
    }
    [[nodiscard]] double f(double t) const
    {
        return dot(at(t), {teska::bernstein_slope(degree, x, t), teska::bernstein_slope(degree, y, t)});
    }
};

// How far from 0 the values of an interval are that holds all control values.
double away(int degree, const double *c)
{
    double least = c[0], most = c[0];
    for (int k = 1; k <= degree; ++k) {
        least = std::min(least, c[k]);
        most = std::max(most, c[k]);
    }
    return std::max({least, -most, 0.0});
}

// Coefficients 0 .. 2 degree - 1 of f, each times a positive number, which leaves their signs.
int coefficients(const piece &b, double *f)
{
    constexpr double binomials[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};
    const int count = 2 * b.degree;
    std::fill_n(f, count, 0.0);
    for (int j = 0; j < b.degree; ++j) {
        const vec2 step = binomials[b.degree - 1][j] * (b.point(j + 1) - b.point(j));
        for (int i = 0; i <= b.degree; ++i)
            f[i + j] += binomials[b.degree][i] * dot(b.point(i), step);
    }
    return count;
}

double largest_square(const piece &b)
{
    double largest = 0.0;
    for (int k = 0; k <= b.degree; ++k)
        largest = std::max(largest, dot(b.point(k), b.point(k)));
    return largest;
}

// Where f changes from below to above 0, once. By the Illinois form: the value of an end that stays twice is halved.
double root(const piece &b)
{
    double lo = 0.0, hi = 1.0, f_lo = b.f(lo), f_hi = b.f(hi);
    int stayed = 0;
    for (int i = 0; i < most_steps && hi - lo > 2.0 * root_tolerance; ++i) {
        double t = lo - f_lo * (hi - lo) / (f_hi - f_lo);
        if (!(lo <= t && t <= hi))
            t = lo + (hi - lo) / 2.0;
        // Away from the ends by the tolerance, so that two steps enclose what one has found.
        t = std::clamp(t, lo + root_tolerance, hi - root_tolerance);
        const double f = b.f(t);
        if (f == 0.0)
            return t;
        if (f < 0.0) {
            lo = t;
            f_lo = f;
            f_hi = stayed < 0 ? f_hi / 2.0 : f_hi;
            stayed = -1;
        } else {
            hi = t;
            f_hi = f;
            f_lo = stayed > 0 ? f_lo / 2.0 : f_lo;
            stayed = 1;
        }
    }
    return lo + (hi - lo) / 2.0;
}

class search
{
public:
    search(const poly_bezier &p, const vec2 &q) : q_(q), dist_(distance(p.start)), bound_(dist_)
    {
        for (const chain_segment &segment : p.segments)
            bound_ = std::min(bound_, distance(segment.end()));
        for (int i = 0; i < p.segments.size(); ++i)
            visit(p.segments[i], i);
    }

    [[nodiscard]] double u() const { return u_; }
    [[nodiscard]] double dist() const { return dist_; }

private:
    // Halves, since differences of any two coordinates need not be finite.
    [[nodiscard]] double distance(const vec2 &p) const { return 2.0 * teska::any_length(0.5 * p - 0.5 * q_); }

    void visit(const chain_segment &segment, int index)
    {
        piece b{.degree = segment.degree, .x = {}, .y = {}, .from = 0.0, .width = 1.0};
        double largest = 0.0;
        for (int k = 0; k <= segment.degree; ++k) {
            b.x[k] = 0.5 * segment.x[k] - 0.5 * q_.x;
            b.y[k] = 0.5 * segment.y[k] - 0.5 * q_.y;
            largest = std::max({largest, std::fabs(b.x[k]), std::fabs(b.y[k])});
        }
        const double scale = teska::binade(largest);
        for (int k = 0; k <= segment.degree; ++k) {
            b.x[k] /= scale;
            b.y[k] /= scale;
        }
        unit_ = 2.0 * scale;
        index_ = index;
        visit(b, most_halvings);
    }

    // The distance, in units, from which on nothing is looked for: at most what is known to exist, and less than what
    // is found.
    [[nodiscard]] double limit() const
    {
        return std::min(dist_ * (1.0 - same_distance) / unit_ - rounding,
                        bound_ * (1.0 + same_distance) / unit_ + rounding);
    }

    void offer(const piece &b, double t, const vec2 &at)
    {
        const double off = length(at);
        if (off < dist_ * (1.0 - same_distance) / unit_ - rounding) {
            dist_ = off * unit_;
            u_ = index_ + (b.from + t * b.width);
        }
    }

    void offer_ends(const piece &b)
    {
        offer(b, 0.0, b.point(0));
        offer(b, 1.0, b.point(b.degree));
    }

    void visit(const piece &b, int halvings)
    {
        const vec2 off = {away(b.degree, b.x), away(b.degree, b.y)};
        const double most = limit();
        if (most < 0.0 || dot(off, off) > most * most)
            return;
        double f[6];
        const int count = coefficients(b, f);
        const double noise = flat * largest_square(b);
        int changes = 0;
        double before = 0.0, first = 0.0, largest = 0.0;
        for (int k = 0; k < count; ++k) {
            largest = std::max(largest, std::fabs(f[k]));
            if (f[k] == 0.0)
                continue;
            changes += f[k] * before < 0.0 ? 1 : 0;
            first = first != 0.0 ? first : f[k];
            before = f[k];
        }
        const bool bracketed = changes == 1 && f[0] != 0.0 && f[count - 1] != 0.0;
        if (changes == 0 || largest <= noise || halvings == 0 || (changes == 1 && first > 0.0))
            offer_ends(b);
        else if (bracketed)
            offer_root(b);
        else
            halve(b, halvings);
    }

    void offer_root(const piece &b)
    {
        const double t = root(b);
        offer(b, 0.0, b.point(0));
        offer(b, t, b.at(t));
        offer(b, 1.0, b.point(b.degree));
    }

    void halve(const piece &b, int halvings)
    {
        const double width = b.width / 2.0;
        piece left{.degree = b.degree, .x = {}, .y = {}, .from = b.from, .width = width};
        piece right{.degree = b.degree, .x = {}, .y = {}, .from = b.from + width, .width = width};
        teska::divide(b.degree, b.x, 0.5, left.x, right.x);
        teska::divide(b.degree, b.y, 0.5, left.y, right.y);
        visit(left, halvings - 1);
        visit(right, halvings - 1);
    }

    vec2 q_;
    double u_ = 0.0;
    double dist_;   // of what is found
    double bound_;  // of the nearest end of a segment
    double unit_ = 1.0;
    int index_ = 0;
};

}  // namespace

// ---- Query ----------------------------------------------------------------------------------------------------------

int poly_bezier_nearest(const poly_bezier *p, double x, double y, double *u, double *dist) TESKA_NOTHROW
{
    if (!teska::is_finite({x, y})) {
        TESKA_ERR("poly_bezier_nearest: illegal point");
        return 0;
    }
    const search found(*p, {x, y});
    if (u != nullptr)
        *u = found.u();
    if (dist != nullptr)
        *dist = found.dist();
    return 1;
}
