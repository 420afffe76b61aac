// ttriangulartopsurface/rim - how far out straight edges reach at given hues (geometry)
//
// No process-wide state.

#include "Source/ttriangulartopsurface/rim.h"

#include <algorithm>
#include <cmath>
#include <numeric>

using teska::gnomonic::full_circle;
using teska::gnomonic::half_circle;

namespace teska
{

namespace
{

// By which an edge reaches beyond its ends: a hue that was computed from an end must meet it.
constexpr double hue_slack = 1e-9;

}  // namespace

rim::rim(const indexed<double> &hues, double limit) : limit_(limit)
{
    indexed<std::size_t> order(hues.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return hues[a] != hues[b] ? hues[a] < hues[b] : a < b; });
    ray_of_.resize(hues.size());
    rays_.reserve(hues.size());
    for (const std::size_t i : order) {
        ray_of_[i] = rays_.size();
        rays_.push_back({hues[i], {std::cos(hues[i]), std::sin(hues[i])}, 0.0, 0.0});
    }
}

void rim::add(const rim_end &a, const rim_end &b)
{
    // An edge spans less than half the circle; one that crosses hue 0 is looked at on both sides of it.
    double span = b.hue - a.hue;
    if (span > half_circle)
        span -= full_circle;
    if (span < -half_circle)
        span += full_circle;
    const double from = std::min(a.hue, a.hue + span) - hue_slack;
    const double to = std::max(a.hue, a.hue + span) + hue_slack;
    add_between(from, to, a, b);
    if (from < 0.0)
        add_between(from + full_circle, to + full_circle, a, b);
    if (to > full_circle)
        add_between(from - full_circle, to - full_circle, a, b);
}

void rim::add_between(double from, double to, const rim_end &a, const rim_end &b)
{
    const bool radial = to - from < 3.0 * hue_slack;
    auto ray_at =
        std::lower_bound(rays_.begin(), rays_.end(), from, [](const ray &at, double hue) { return at.hue < hue; });
    for (; ray_at != rays_.end() && ray_at->hue <= to; ++ray_at) {
        // The ray crosses the edge at a + s (b - a). Along an edge on the ray itself the farther end counts.
        const vec2 &along = ray_at->direction;
        const double ca = cross(along, a.direction);
        const double cb = cross(along, b.direction);
        double s = std::clamp(ca / (ca - cb), 0.0, 1.0);
        if (radial || !(s >= 0.0))
            s = dot(along, a.direction) < dot(along, b.direction) ? 1.0 : 0.0;
        const double radius = dot(along, a.direction + s * (b.direction - a.direction));
        if (radius > ray_at->radius && radius < limit_) {
            ray_at->radius = radius;
            ray_at->q = a.q + s * (b.q - a.q);
        }
    }
}

void rim::add_pieces(const TPrimComb &part)
{
    for (const piece &seen : part.Pieces()) {
        const gnomonic::facet &flat = part.Facets()[seen.facet].flat;
        const auto end = [&](const vec2 &p) { return rim_end{p, flat.nearness(p), gnomonic::hue_of(p)}; };
        rim_end before = end(seen.shape[seen.shape.size() - 1]);
        for (int i = 0; i < seen.shape.size(); ++i) {
            const rim_end here = end(seen.shape[i]);
            add(before, here);
            before = here;
        }
    }
}

}  // namespace teska
