// p_bezierd_base/arc - lengths along a chain (curves)
//
// The speed of a segment is the length of its hodograph, a polynomial of degree 0, 1 or 2. Its integral has no closed
// form with + - * / and sqrt alone for degree 3, and for degree 2 one that cancels, so both are integrated numerically.

#include "Source/p_bezierd_base/chain.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

using teska::chain_segment;
using teska::vec2;

namespace
{

constexpr double length_tolerance = 1e-10;  // of the control polygon of what is measured
constexpr int most_halvings = 24;
constexpr double at_length_tolerance = 1e-12;  // of the length of the segment in which the place is
constexpr int most_steps = 100;

// Gauss and Legendre, 8 points on -1 .. 1: the four nodes above 0 and their weights.
constexpr double nodes[] = {0.1834346424956498, 0.5255324099163290, 0.7966664774136267, 0.9602898564975363};
constexpr double weights[] = {0.3626837833783620, 0.3137066458778873, 0.2223810344533745, 0.1012285362903763};

// The derivative is unit * (a + b t + c t^2).
struct hodograph {
    vec2 a, b, c;
    double unit;

    explicit hodograph(const chain_segment &segment)
    {
        vec2 h[3] = {};
        double largest = 0.0;
        for (int k = 0; k < segment.degree; ++k) {
            h[k] = 0.5 * segment.point(k + 1) - 0.5 * segment.point(k);
            largest = std::max({largest, std::fabs(h[k].x), std::fabs(h[k].y)});
        }
        const double scale = teska::binade(largest);
        unit = 2.0 * scale * segment.degree;
        for (vec2 &step : h)
            step = step / scale;
        a = h[0];
        b = c = {0.0, 0.0};
        if (segment.degree == 2)
            b = h[1] - h[0];
        if (segment.degree == 3) {
            b = 2.0 * (h[1] - h[0]);
            c = (h[2] - h[1]) - (h[1] - h[0]);
        }
    }

    [[nodiscard]] double speed(double t) const { return length(a + t * (b + t * c)); }

    // The control polygon of the piece t0 .. t1, as one of degree 3.
    [[nodiscard]] double polygon(double t0, double t1) const
    {
        const vec2 middle = a + 0.5 * (t0 + t1) * b + t0 * t1 * c;
        return (t1 - t0) * (speed(t0) + length(middle) + speed(t1)) / 3.0;
    }

    [[nodiscard]] double gauss(double t0, double t1) const
    {
        const double middle = 0.5 * (t0 + t1), half = 0.5 * (t1 - t0);
        double sum = 0.0;
        for (int i = 0; i < 4; ++i)
            sum += weights[i] * (speed(middle - half * nodes[i]) + speed(middle + half * nodes[i]));
        return half * sum;
    }

    [[nodiscard]] double halved(double t0, double t1, double whole, double tolerance, int halvings) const
    {
        const double middle = 0.5 * (t0 + t1);
        const double left = gauss(t0, middle), right = gauss(middle, t1);
        if (halvings == 1 || !(std::fabs(left + right - whole) > tolerance))
            return left + right;
        return halved(t0, middle, left, tolerance, halvings - 1) + halved(middle, t1, right, tolerance, halvings - 1);
    }

    // In units of `unit`.
    [[nodiscard]] double piece(double t0, double t1) const
    {
        return halved(t0, t1, gauss(t0, t1), length_tolerance * polygon(t0, t1), most_halvings);
    }
};

// Where a segment is so long from its start on; 0 < wanted < its length. What is measured is always the way from the
// lower end of the bracket.
double parameter_of(const chain_segment &segment, double wanted)
{
    const hodograph h(segment);
    const double goal = wanted / h.unit;
    const double tolerance = at_length_tolerance * h.piece(0.0, 1.0);
    double lo = 0.0, hi = 1.0, at_lo = 0.0, t = wanted / segment.length;
    for (int i = 0; i < most_steps; ++i) {
        if (!(lo < t && t < hi))
            t = lo + (hi - lo) / 2.0;
        const double at = at_lo + h.piece(lo, t);
        if (!(std::fabs(at - goal) > tolerance))
            return t;
        if (at < goal) {
            lo = t;
            at_lo = at;
        } else {
            hi = t;
        }
        t += (goal - at) / h.speed(t);
    }
    return t;
}

// Of the whole segments first .. last - 1.
double length_of_range(const poly_bezier &p, int first, int last)
{
    if (first >= last)
        return 0.0;
    const teska::exact_sum &from = p.segments[first].before;
    const chain_segment &final = p.segments[last - 1];
    const teska::exact_sum to = final.before + final.length;
    if (!std::isfinite(to.value))
        return std::accumulate(p.segments.begin() + first, p.segments.begin() + last, 0.0,
                               [](double sum, const chain_segment &segment) { return sum + segment.length; });
    return (to.value - from.value) + (to.rest - from.rest);
}

}  // namespace

namespace teska
{

double segment_length(const chain_segment &segment, double t0, double t1) noexcept
{
    if (!(t0 < t1))
        return 0.0;
    const hodograph h(segment);
    return segment.degree == 1 ? h.speed(0.0) * (t1 - t0) * h.unit : h.piece(t0, t1) * h.unit;
}

}  // namespace teska

// ---- Query ----------------------------------------------------------------------------------------------------------

double poly_bezier_length(const poly_bezier *p, double u0, double u1) TESKA_NOTHROW
{
    if (p->segments.size() == 0)
        return 0.0;
    teska::chain_place from = teska::place_at(*p, u0), to = teska::place_at(*p, u1);
    if (to.index < from.index || (to.index == from.index && to.t < from.t))
        std::swap(from, to);
    const chain_segment *const segments = p->segments.begin();
    if (from.index == to.index && (from.t > 0.0 || to.t < 1.0))
        return teska::segment_length(segments[from.index], from.t, to.t);
    // Parts of the outer segments; wholes belong to the range.
    const double first = from.t > 0.0 ? teska::segment_length(segments[from.index], from.t, 1.0) : 0.0;
    const double last = to.t < 1.0 ? teska::segment_length(segments[to.index], 0.0, to.t) : 0.0;
    return first + length_of_range(*p, from.index + (from.t > 0.0 ? 1 : 0), to.index + (to.t < 1.0 ? 0 : 1)) + last;
}

double poly_bezier_at_length(const poly_bezier *p, double length) TESKA_NOTHROW
{
    const int n = p->segments.size();
    if (!(length > 0.0) || n == 0)
        return 0.0;
    if (length >= teska::chain_length(*p).rounded())
        return n;
    const auto *const segment =
        std::lower_bound(p->segments.begin(), p->segments.end(), length, [](const chain_segment &each, double value) {
            return (each.before + each.length).rounded() < value;
        });
    const auto index = segment - p->segments.begin();
    const double rest = (length - segment->before.value) - segment->before.rest;
    if (!(rest > 0.0))
        return static_cast<double>(index);
    if (rest >= segment->length)
        return static_cast<double>(index + 1);
    return static_cast<double>(index) + parameter_of(*segment, rest);
}
