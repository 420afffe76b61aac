// p_bezierd_base/outline - a chain as the outline of an area: box, area, winding number (curves)
//
// A polynomial turns where its derivative, a quadratic at most, changes its sign. Between those places it is monotone,
// which tells the box at once and makes every crossing of a ray a simple root.

#include "Source/p_bezierd_base/chain.h"

#include <algorithm>
#include <cmath>
#include <utility>

using teska::chain_segment;
using teska::vec2;

namespace
{

struct range {
    double least, most;

    void add(double value)
    {
        least = std::min(least, value);
        most = std::max(most, value);
    }
};

range of_controls(int degree, const double *c)
{
    range r{.least = std::min(c[0], c[degree]), .most = std::max(c[0], c[degree])};
    for (int k = 1; k < degree; ++k)
        r.add(c[k]);
    return r;
}

// Of a curve whose ends are in the range: it can leave it only where inner control points do.
void widen(range &r, int degree, const double *c)
{
    // The points of lower degrees are among these too, and a 0, which does no harm.
    if (std::min(c[1], c[2]) >= r.least && std::max(c[1], c[2]) <= r.most)
        return;
    double ts[2];
    const int turns = teska::turning_points(degree, c, ts);
    for (int i = 0; i < turns; ++i)
        r.add(teska::bernstein(degree, c, ts[i]));
}

// Twice the area between a segment and the origin, of its control points relative to the start of the chain. The scales
// are powers of two, for chains whose products would overflow.
double twice_area(const chain_segment &segment, const vec2 &start, const vec2 &scale)
{
    vec2 p[4];
    for (int k = 0; k <= segment.degree; ++k)
        p[k] = {segment.x[k] * scale.x - start.x * scale.x, segment.y[k] * scale.y - start.y * scale.y};
    if (segment.degree == 1)
        return cross(p[0], p[1]);
    if (segment.degree == 2)
        return (2.0 * cross(p[0], p[1]) + cross(p[0], p[2]) + 2.0 * cross(p[1], p[2])) / 3.0;
    return (6.0 * cross(p[0], p[1]) + 3.0 * cross(p[0], p[2]) + cross(p[0], p[3]) + 3.0 * cross(p[1], p[2]) +
            3.0 * cross(p[1], p[3]) + 6.0 * cross(p[2], p[3])) /
           10.0;
}

double area(const poly_bezier &p, const vec2 &scale)
{
    double sum = 0.0;
    for (const chain_segment &segment : p.segments)
        sum += twice_area(segment, p.start, scale);
    return sum / 2.0;
}

// In units of the largest coordinates.
double area_of_huge(const poly_bezier &p)
{
    vec2 largest = {std::fabs(p.start.x), std::fabs(p.start.y)};
    for (const chain_segment &segment : p.segments)
        for (int k = 1; k <= segment.degree; ++k)
            largest = {std::max(largest.x, std::fabs(segment.x[k])), std::max(largest.y, std::fabs(segment.y[k]))};
    const vec2 unit = {teska::binade(largest.x), teska::binade(largest.y)};
    const double value = area(p, {1.0 / unit.x, 1.0 / unit.y});
    // The smaller unit first: the product of both may overflow though the area does not.
    return value * std::min(unit.x, unit.y) * std::max(unit.x, unit.y);
}

// Whether the ray from (x, y) to greater x meets a monotone piece, of which it is known that it passes y.
bool meets_ray(const chain_segment &segment, double t0, double t1, bool up, double x, double y)
{
    const int degree = segment.degree;
    if (degree == 1) {
        const double t = (y / 2.0 - segment.y[0] / 2.0) / (segment.y[1] / 2.0 - segment.y[0] / 2.0);
        return teska::bernstein(1, segment.x, t) > x;
    }
    const double sign = up ? 1.0 : -1.0;
    const double t = teska::rising_root(t0, t1, t0 + 0.5 * (t1 - t0), [&](double at) {
        return teska::value_and_slope{.value = sign * (teska::bernstein(degree, segment.y, at) - y),
                                      .slope = sign * teska::bernstein_slope(degree, segment.y, at)};
    });
    return teska::bernstein(degree, segment.x, t) > x;
}

int crossings_of_pieces(const chain_segment &segment, double x, double y)
{
    double ts[4] = {};
    const int turns = teska::turning_points(segment.degree, segment.y, ts + 1);
    ts[turns + 1] = 1.0;
    int sum = 0;
    bool below = segment.y[0] <= y;
    for (int i = 1; i <= turns + 1; ++i) {
        const bool then_below =
            i > turns ? segment.end().y <= y : teska::bernstein(segment.degree, segment.y, ts[i]) <= y;
        if (below != then_below && meets_ray(segment, ts[i - 1], ts[i], below, x, y))
            sum += below ? 1 : -1;
        below = then_below;
    }
    return sum;
}

// How often a segment crosses the ray from (x, y) to greater x upwards, less how often downwards. A point at the height
// of the ray counts as below it, which counts joints once.
int crossings(const chain_segment &segment, double x, double y)
{
    const range heights = of_controls(segment.degree, segment.y);
    if (!(heights.least <= y && y < heights.most))
        return 0;
    const range widths = of_controls(segment.degree, segment.x);
    if (widths.most <= x)
        return 0;
    if (widths.least > x)
        return (segment.y[0] <= y ? 1 : 0) - (segment.end().y <= y ? 1 : 0);
    return crossings_of_pieces(segment, x, y);
}

}  // namespace

namespace teska
{

int turning_points(int degree, const double *c, double ts[2]) noexcept
{
    if (degree < 2)
        return 0;
    // Quarters: sums of two of them do not overflow.
    double d[3] = {c[1] / 4.0 - c[0] / 4.0, c[2] / 4.0 - c[1] / 4.0, degree == 3 ? c[3] / 4.0 - c[2] / 4.0 : 0.0};
    const auto [least, most] = std::minmax_element(d, d + degree);
    if (*least >= 0.0 || *most <= 0.0)
        return 0;
    if (degree == 2) {
        ts[0] = d[0] / (d[0] - d[1]);
        return ts[0] > 0.0 && ts[0] < 1.0 ? 1 : 0;
    }
    const double unit = binade(std::max(*most, -*least));
    for (double &value : d)
        value /= unit;
    // d[0] + 2 b t + a t^2 = 0
    const double a = d[0] - 2.0 * d[1] + d[2], b = d[1] - d[0], discriminant = d[1] * d[1] - d[0] * d[2];
    if (!(discriminant > 0.0))
        return 0;
    const double q = -(b + std::copysign(std::sqrt(discriminant), b));
    int count = 0;
    for (const double t : {q / a, d[0] / q})
        if (t > 0.0 && t < 1.0)
            ts[count++] = t;
    if (count == 2 && ts[0] > ts[1])
        std::swap(ts[0], ts[1]);
    return count;
}

}  // namespace teska

// ---- Query ----------------------------------------------------------------------------------------------------------

int poly_bezier_box(const poly_bezier *p, double box[4]) TESKA_NOTHROW
{
    range xs{.least = p->start.x, .most = p->start.x}, ys{.least = p->start.y, .most = p->start.y};
    for (const chain_segment &segment : p->segments) {
        xs.add(segment.x[segment.degree]);
        ys.add(segment.y[segment.degree]);
    }
    for (const chain_segment &segment : p->segments) {
        widen(xs, segment.degree, segment.x);
        widen(ys, segment.degree, segment.y);
    }
    box[0] = xs.least;
    box[1] = ys.least;
    box[2] = xs.most;
    box[3] = ys.most;
    return 1;
}

double poly_bezier_area(const poly_bezier *p) TESKA_NOTHROW
{
    // The chord to the start, which is the origin here, adds nothing.
    const double plain = area(*p, {1.0, 1.0});
    return std::isfinite(plain) ? plain : area_of_huge(*p);
}

int poly_bezier_winding(const poly_bezier *p, double x, double y) TESKA_NOTHROW
{
    int sum = 0;
    for (const chain_segment &segment : p->segments)
        sum += crossings(segment, x, y);
    chain_segment chord;
    chord.set(0, teska::chain_end(*p));
    chord.set(1, p->start);
    return sum + crossings(chord, x, y);
}
