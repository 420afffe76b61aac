// ttriangulartopsurface/tprimcomb_seen - what is seen of a part of a top surface (geometry)
//
// Masking leaves of each triangle some convex pieces, in the plane of directions. They are handed out as fans of
// triangles: colours in the caller's order, and with them the device values of the two colorants that vary, which are
// mixed with the weights in space, not with those in the plane. The hues of a part are those of its pieces.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/report.h"

#include <algorithm>
#include <new>

using namespace teska;

// ---- What is seen ---------------------------------------------------------------------------------------------------

int TPrimComb::SetPieces(indexed<piece> &&seen, const indexed<piece> &hidden)
{
    if (SetMasked(hidden) != 0)
        return -1;
    visible_ = std::move(seen);
    return 0;
}

int TPrimComb::SetMasked(const indexed<piece> &hidden)
{
    masked_.Destroy();
    for (const piece &of : hidden) {
        for (int k = 1; k + 1 < of.shape.size(); ++k) {
            auto *triangle = new (std::nothrow) TMaskedTriangle;
            if (triangle == nullptr) {
                TESKA_ERR("No Mem");
                return -1;
            }
            const int corner[3] = {0, k, k + 1};
            for (int c = 0; c < 3; ++c)
                Describe(of, corner[c], triangle->xyz[c], triangle->uv[c]);
            masked_.Add(triangle, nullptr);
        }
    }
    masked_.SetCurrent(masked_.First());
    return 0;
}

// A corner of a piece: its colour in the caller's order, and its device values from those of the triangle's corners.
void TPrimComb::Describe(const piece &seen, int corner, double *xyz, double *uv) const
{
    const grid_facet &f = facets_[seen.facet];
    const vec2 p = seen.shape[corner];
    // Weights in space are the plane weights times q; they add up to the q of the corner.
    const std::array<double, 3> weight = f.flat.weights(p);
    double q = 0.0, u = 0.0, v = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        const double share = weight[k] * f.flat.q[k];
        const grid_point &vertex = points_[f.vertex[k]];
        q += share;
        u += share * vertex.u;
        v += share * vertex.v;
    }
    from_axes({1.0 / q, p.x / q, p.y / q}, vertical_, xyz);
    uv[0] = u / q;
    uv[1] = v / q;
    uv[2] = 0.0;
}

int TPrimComb::NextTriangle(bool restart, double (*xyz)[3], double (*uv)[3])
{
    if (!Usable())
        return -1;
    if (!prepared_) {
        TESKA_ERR("algo sucks");
        return -1;
    }
    if (restart) {
        cursor_piece_ = 0;
        cursor_fan_ = 0;
    }
    if (cursor_piece_ >= visible_.size())
        return -1;
    // Triangle n of a piece has its corners 0, n + 1 and n + 2.
    const piece &seen = visible_[cursor_piece_];
    const int corner[3] = {0, cursor_fan_ + 1, cursor_fan_ + 2};
    for (int c = 0; c < 3; ++c)
        Describe(seen, corner[c], xyz[c], uv[c]);
    if (++cursor_fan_ + 2 >= seen.shape.size()) {
        ++cursor_piece_;
        cursor_fan_ = 0;
    }
    return 0;
}

int TPrimComb::NextMasked(bool restart, double (*xyz)[3])
{
    if (!Usable())
        return -1;
    const auto *triangle = static_cast<const TMaskedTriangle *>(restart ? masked_.First() : masked_.Current());
    masked_.SetCurrent(triangle != nullptr ? triangle->Next() : nullptr);
    if (triangle == nullptr)
        return -1;
    for (int c = 0; c < 3; ++c)
        std::copy_n(triangle->xyz[c], 3, xyz[c]);
    return 0;
}

// ---- Hue ------------------------------------------------------------------------------------------------------------

namespace
{

using gnomonic::full_circle;
using gnomonic::hue_of;

constexpr double least_radius_share = 0.001;  // of the largest radius: nearer to the axis a point has no hue

// An interval of hues, also across 0.
struct arc {
    double start, width;
};

constexpr arc whole_circle = {0.0, full_circle};
constexpr arc nothing_seen = {-1.0, -1.0};

// The arc that leaves out the largest gap between some arcs.
arc join(indexed<arc> arcs)
{
    std::sort(arcs.begin(), arcs.end(), [](const arc &a, const arc &b) { return a.start < b.start; });
    // The largest of the gaps before each arc, by its end and width.
    double reach = arcs.front().start;
    arc gap = {arcs.front().start, -1.0};
    for (const arc &a : arcs) {
        if (a.start - reach > gap.width)
            gap = {a.start, a.start - reach};
        reach = std::max(reach, a.start + a.width);
    }
    // The gap that is left goes from the last arc across hue 0 to the first one.
    const double across = arcs.front().start + full_circle - reach;
    if (across > gap.width)
        gap = {arcs.front().start, across};
    return {gap.start, full_circle - gap.width};
}

double largest_radius(const indexed<piece> &pieces)
{
    double largest = 0.0;
    for (const piece &seen : pieces)
        for (int k = 0; k < seen.shape.size(); ++k)
            largest = std::max(largest, length(seen.shape[k]));
    return largest;
}

// The hues of all pieces together. A piece around the vertical axis has all of them; one that touches it has those of
// its corners elsewhere.
arc hues_of(const indexed<piece> &pieces)
{
    const double least = least_radius_share * largest_radius(pieces);
    indexed<arc> arcs;
    for (const piece &seen : pieces) {
        if (seen.shape.depth({0.0, 0.0}) > least)
            return whole_circle;
        indexed<arc> corners;
        for (int k = 0; k < seen.shape.size(); ++k)
            if (length(seen.shape[k]) > least)
                corners.push_back({hue_of(seen.shape[k]), 0.0});
        if (!corners.empty())
            arcs.push_back(join(std::move(corners)));
    }
    if (arcs.empty())
        return nothing_seen;
    const arc all = join(std::move(arcs));
    // The hue of the surface cannot wrap around: a part that crosses 0 has all of it.
    return all.start + all.width > full_circle || all.width <= 0.0 ? whole_circle : all;
}

}  // namespace

int TPrimComb::HueInterval(double &start, double &width)
{
    start = width = -1.0;
    if (Prepare() != 0)
        return -1;
    const auto find = [&] {
        const arc hues = hues_of(visible_);
        start = hues.start;
        width = hues.width;
        return true;
    };
    if (!guarded(false, find)) {
        TESKA_ERR("Out of memory");
        return -1;
    }
    return 0;
}
