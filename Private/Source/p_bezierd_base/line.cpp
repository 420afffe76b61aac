// p_bezierd_base/line - where a chain meets an infinite line (curves)
//
// The signed distances of a segment's control points from the line are the Bernstein coefficients of the distance of
// the curve, up to a factor. Between the places where it turns this polynomial is monotone and has one root at most. A
// joint is calculated from the same point by the segments on both sides, so that it is 0 for both or for none.

#include "Source/p_bezierd_base/chain.h"
#include "Support/report.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

using teska::chain_segment;
using teska::vec2;

namespace
{

constexpr double touching = 16 * DBL_EPSILON;  // of the largest distance of a control point
constexpr double same_place = 1e-7;            // in u: how uncertain the place of a touch is, about sqrt(touching)

// The direction is in units of a power of two.
struct directed_line {
    vec2 origin;
    vec2 direction;

    explicit directed_line(const double *line)
        : origin{line[0], line[1]}, direction{0.5 * line[2] - 0.5 * line[0], 0.5 * line[3] - 0.5 * line[1]}
    {
        // Twice, for what is beyond the reach of binade.
        for (int i = 0; i < 2; ++i)
            direction = direction / teska::binade(std::max(std::fabs(direction.x), std::fabs(direction.y)));
    }

    // Of the control points, times a number that is the same for all: eighths do not overflow.
    void distances(const chain_segment &segment, double *d) const
    {
        for (int k = 0; k <= segment.degree; ++k)
            d[k] = cross(direction, 0.125 * segment.point(k) - 0.125 * origin);
    }
};

class meetings
{
public:
    meetings(double *us, int size) : us_(us), size_(size) {}

    void add(double u, bool touch)
    {
        if (count_ > 0 && (u == last_ || (u - last_ < same_place && (touch || last_touches_))))
            return;
        if (count_ < size_)
            us_[count_] = u;
        if (count_ == 0)
            first_ = u;
        last_ = u;
        last_touches_ = touch;
        ++count_;
    }

    // The ends of a closed chain are one joint.
    void close(int n)
    {
        if (count_ > 1 && first_ == 0.0 && last_ == n)
            --count_;
    }

    [[nodiscard]] int count() const { return count_; }

private:
    double *us_;
    int size_;
    int count_ = 0;
    double first_ = 0.0;
    double last_ = 0.0;
    bool last_touches_ = false;
};

// Inside a monotone piece at whose ends d has different signs.
double crossing(int degree, const double *d, double t0, double t1, double at_t0)
{
    const double sign = at_t0 < 0.0 ? 1.0 : -1.0;
    return teska::rising_root(t0, t1, t0 + 0.5 * (t1 - t0), [=](double t) {
        return teska::value_and_slope{.value = sign * teska::bernstein(degree, d, t),
                                      .slope = sign * teska::bernstein_slope(degree, d, t)};
    });
}

void meet(int degree, const double *d, int index, meetings &found)
{
    double most = 0.0;
    for (int k = 0; k <= degree; ++k)
        most = std::max(most, std::fabs(d[k]));
    if (most == 0.0) {
        found.add(index, false);
        return;
    }
    double ts[4] = {};
    const int turns = teska::turning_points(degree, d, ts + 1);
    ts[turns + 1] = 1.0;
    double before = d[0];
    if (before == 0.0)
        found.add(index, false);
    for (int i = 1; i <= turns + 1; ++i) {
        const bool inner = i <= turns;
        double then = inner ? teska::bernstein(degree, d, ts[i]) : d[degree];
        if (inner && std::fabs(then) <= touching * most)
            then = 0.0;
        if ((before < 0.0 && then > 0.0) || (before > 0.0 && then < 0.0))
            found.add(index + crossing(degree, d, ts[i - 1], ts[i], before), false);
        // Of two neighbouring zeros the first counts.
        if (then == 0.0 && before != 0.0)
            found.add(index + ts[i], inner);
        before = then;
    }
}

}  // namespace

// ---- Query ----------------------------------------------------------------------------------------------------------

int poly_bezier_line(const poly_bezier *p, const double line[4], double *us, int size) TESKA_NOTHROW
{
    if (!teska::is_finite({line[0], line[1]}) || !teska::is_finite({line[2], line[3]}) ||
        (line[0] == line[2] && line[1] == line[3])) {
        TESKA_ERR("poly_bezier_line: illegal line");
        return -1;
    }
    const directed_line at(line);
    meetings found(us, size);
    for (int i = 0; i < p->segments.size(); ++i) {
        double d[4] = {};
        at.distances(p->segments[i], d);
        meet(p->segments[i].degree, d, i, found);
    }
    if (teska::chain_is_closed(*p))
        found.close(p->segments.size());
    return found.count();
}
