// ttriangulartopsurface/rim - how far out straight edges reach at given hues (geometry)
//
// No process-wide state.

#include "Source/ttriangulartopsurface/rim.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace teska
{

namespace
{

constexpr double half_circle = 3.1415926535;
constexpr double full_circle = 6.283185307;
// By which an edge reaches beyond its ends: a hue that was computed from an end must meet it.
constexpr double hue_slack = 1e-9;

double cross(gnomonic::point a, gnomonic::point b) { return a.x * b.y - a.y * b.x; }
double dot(gnomonic::point a, gnomonic::point b) { return a.x * b.x + a.y * b.y; }

}  // namespace

rim::rim(const std::vector<double> &hues, double far_limit) : limit(far_limit)
{
    std::vector<std::size_t> order(hues.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return hues[a] != hues[b] ? hues[a] < hues[b] : a < b; });
    place.resize(hues.size());
    knots.reserve(hues.size());
    for (const std::size_t i : order) {
        place[i] = knots.size();
        knots.push_back({hues[i], {std::cos(hues[i]), std::sin(hues[i])}, 0.0, 0.0});
    }
}

void rim::add(const rim_end &a, const rim_end &b)
{
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
    auto k =
        std::lower_bound(knots.begin(), knots.end(), from, [](const knot &at, double hue) { return at.hue < hue; });
    for (; k != knots.end() && k->hue <= to; ++k) {
        const double ca = cross(k->direction, a.at);
        const double cb = cross(k->direction, b.at);
        double s = std::clamp(ca / (ca - cb), 0.0, 1.0);
        if (radial || !(s >= 0.0))
            s = dot(k->direction, a.at) < dot(k->direction, b.at) ? 1.0 : 0.0;
        const gnomonic::point p = {a.at.x + s * (b.at.x - a.at.x), a.at.y + s * (b.at.y - a.at.y)};
        const double r = dot(k->direction, p);
        if (r > k->radius && r < limit) {
            k->radius = r;
            k->q = a.q + s * (b.q - a.q);
        }
    }
}

void rim::add_pieces(const TPrimComb &part)
{
    for (const piece &of : part.Pieces()) {
        const gnomonic::facet &flat = part.Facets()[static_cast<std::size_t>(of.facet)].flat;
        const auto end = [&](gnomonic::point p) { return rim_end{p, flat.nearness(p), hue_of(p)}; };
        rim_end before = end(of.shape[of.shape.size() - 1]);
        for (int i = 0; i < of.shape.size(); ++i) {
            const rim_end here = end(of.shape[i]);
            add(before, here);
            before = here;
        }
    }
}

}  // namespace teska
