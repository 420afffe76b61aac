// ttriangulartopsurface/tprimcomb_seen - what is seen of a part of a top surface (geometry)
//
// Masking leaves of each triangle some convex pieces, in the plane of directions. They are handed out as fans of
// triangles: colours in the caller's order, and with them the device values of the two colorants that vary, which are
// mixed with the weights in space, not with those in the plane. The hues of a part are those of its pieces.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/guard.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <new>

using teska::grid_facet;
using teska::grid_point;
using teska::piece;
using teska::gnomonic::point;

// ---- What is seen ---------------------------------------------------------------------------------------------------

int TPrimComb::SetPieces(std::vector<piece> &&seen, const std::vector<piece> &hidden)
{
    if (SetMasked(hidden) != 0)
        return -1;
    visible = std::move(seen);
    return 0;
}

int TPrimComb::SetMasked(const std::vector<piece> &hidden)
{
    masked.Destroy();
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
            masked.Add(triangle, nullptr);
        }
    }
    masked.SetCurrent(masked.First());
    return 0;
}

// A corner of a piece: its colour in the caller's order, and its device values from those of the triangle's corners.
void TPrimComb::Describe(const piece &of, int corner, double *xyz, double *uv) const
{
    const grid_facet &f = facets[static_cast<std::size_t>(of.facet)];
    const point p = of.shape[corner];
    const std::array<double, 3> weight = f.flat.weights(p);
    double q = 0.0, u = 0.0, v = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        const double part = weight[k] * f.flat.q[k];
        const grid_point &at = points[static_cast<std::size_t>(f.vertex[k])];
        q += part;
        u += part * at.u;
        v += part * at.v;
    }
    const std::array<std::size_t, 3> axis = teska::colour_axes(vertical);
    xyz[axis[0]] = 1.0 / q;
    xyz[axis[1]] = p.x / q;
    xyz[axis[2]] = p.y / q;
    uv[0] = u / q;
    uv[1] = v / q;
    uv[2] = 0.0;
}

int TPrimComb::NextTriangle(int restart, double (*xyz)[3], double (*uv)[3])
{
    if (!Usable())
        return -1;
    if (!prepared) {
        TESKA_ERR("algo sucks");
        return -1;
    }
    if (restart != 0) {
        cursorPiece = 0;
        cursorFan = 0;
    }
    if (cursorPiece >= visible.size())
        return -1;
    const piece &of = visible[cursorPiece];
    const int corner[3] = {0, cursorFan + 1, cursorFan + 2};
    for (int c = 0; c < 3; ++c)
        Describe(of, corner[c], xyz[c], uv[c]);
    if (++cursorFan + 2 >= of.shape.size()) {
        ++cursorPiece;
        cursorFan = 0;
    }
    return 0;
}

int TPrimComb::NextMasked(int restart, double (*xyz)[3])
{
    if (!Usable())
        return -1;
    masked.SetCurrent(restart != 0 ? masked.First() : masked.Current());
    const auto *triangle = static_cast<const TMaskedTriangle *>(masked.Current());
    if (triangle == nullptr)
        return -1;
    for (int c = 0; c < 3; ++c)
        std::copy_n(triangle->xyz[c], 3, xyz[c]);
    masked.SetCurrent(triangle->Next());
    return 0;
}

// ---- Hue ------------------------------------------------------------------------------------------------------------

namespace
{

constexpr double full_circle = 6.283185307;
constexpr double least_radius_share = 0.001;  // of the largest radius: nearer to the axis a point has no hue

struct arc {
    double start, width;
};

// The arc that leaves out the largest gap between sorted arcs.
arc join(std::vector<arc> arcs)
{
    std::sort(arcs.begin(), arcs.end(), [](const arc &a, const arc &b) { return a.start < b.start; });
    double reach = arcs.front().start;
    arc gap = {arcs.front().start, -1.0};
    for (const arc &a : arcs) {
        if (a.start - reach > gap.width)
            gap = {a.start, a.start - reach};
        reach = std::max(reach, a.start + a.width);
    }
    const double behind = arcs.front().start + full_circle - reach;
    if (behind > gap.width)
        gap = {arcs.front().start, behind};
    return {gap.start, full_circle - gap.width};
}

}  // namespace

int TPrimComb::HueInterval(double *start, double *width)
{
    *start = *width = -1.0;
    if (Prepare() != 0)
        return -1;
    const auto find = [&] {
        double largest = 0.0;
        for (const piece &of : visible)
            for (int k = 0; k < of.shape.size(); ++k)
                largest = std::max(largest, teska::radius_of(of.shape[k]));
        const double least = least_radius_share * largest;
        std::vector<arc> arcs;
        for (const piece &of : visible) {
            if (of.shape.depth({0.0, 0.0}) > least)
                return arc{0.0, full_circle};
            std::vector<arc> corners;
            for (int k = 0; k < of.shape.size(); ++k)
                if (teska::radius_of(of.shape[k]) > least)
                    corners.push_back({teska::hue_of(of.shape[k]), 0.0});
            if (!corners.empty())
                arcs.push_back(join(std::move(corners)));
        }
        if (arcs.empty())
            return arc{-1.0, -1.0};
        const arc all = join(std::move(arcs));
        // The hue of the surface cannot wrap around: who crosses 0 has all of it.
        return all.start + all.width > full_circle || all.width <= 0.0 ? arc{0.0, full_circle} : all;
    };
    const arc found = teska::guarded(arc{0.0, -2.0}, find);
    if (found.width < -1.5) {
        TESKA_ERR("Out of memory");
        return -1;
    }
    *start = found.start;
    *width = found.width;
    return 0;
}
