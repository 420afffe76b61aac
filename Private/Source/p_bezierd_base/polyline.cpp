// p_bezierd_base/polyline - a chain as points along it (curves)
//
// A step h of the parameter leaves the curve by h^2 / 8 of its second derivative at most, and that of a segment is
// degree (degree - 1) times the largest second difference D of its control points:
//
//     steps = ceil(sqrt(degree (degree - 1) D / (8 e)))            2 D / 8 for degree 2, 6 D / 8 for degree 3
//
// The bound is one of points at the same parameter, so chord and curve keep it both ways.

#include "Source/p_bezierd_base/chain.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

using teska::chain_segment;
using teska::vec2;

namespace
{

constexpr double most_points = 16777216.0;  // 2^24

// ceil(sqrt(D / (4 e))) or ceil(sqrt(3 D / (4 e))); may be infinite.
double steps_of(const chain_segment &segment, double bound)
{
    double largest = 0.0;
    for (int k = 0; k + 2 <= segment.degree; ++k) {
        // A quarter of the second difference.
        const vec2 d = (0.25 * segment.point(k) - 0.5 * segment.point(k + 1)) + 0.25 * segment.point(k + 2);
        largest = std::max(largest, teska::any_length(d));
    }
    const double ratio = (segment.degree == 3 ? 3.0 : 1.0) * (largest / bound);
    return std::max(1.0, std::ceil(std::sqrt(ratio)));
}

double *put(double *to, const vec2 &p)
{
    to[0] = p.x;
    to[1] = p.y;
    return to + 2;
}

// The points after the first, the last one exactly.
double *put_steps(double *to, const chain_segment &segment, int steps)
{
    for (int k = 1; k < steps; ++k) {
        const teska::bernstein_weights weights(segment.degree, static_cast<double>(k) / steps);
        to = put(to, {weights.sum(segment.x), weights.sum(segment.y)});
    }
    return put(to, segment.end());
}

}  // namespace

// ---- Process --------------------------------------------------------------------------------------------------------

int poly_bezier_vector(const poly_bezier *p, double max_error, double **points) TESKA_NOTHROW
{
    if (!(max_error > 0.0) || std::isinf(max_error)) {
        TESKA_ERR("poly_bezier_vector: illegal error bound");
        return 0;
    }
    double total = 0.0;
    for (const chain_segment &segment : p->segments)
        total += steps_of(segment, max_error);
    if (total > most_points) {
        TESKA_ERR("poly_bezier_vector: too many points");
        return 0;
    }
    const int count = static_cast<int>(total);
    auto block = teska::zeroed_block<double>(2 * (static_cast<std::size_t>(count) + 1));
    if (!block) {
        TESKA_ERR("poly_bezier_vector: malloc failure");
        return 0;
    }
    double *to = put(block.get(), p->start);
    for (const chain_segment &segment : p->segments)
        to = put_steps(to, segment, static_cast<int>(steps_of(segment, max_error)));
    *points = block.release();
    return count;
}
