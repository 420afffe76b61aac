// ttriangulartopsurface/colorants - which colorants of a device its umbrella needs (geometry)
//
// A colorant is thrown out when all its levels, by themselves, lie underneath parts that do without it: seen from the
// origin, what it gives is hidden. Example: a weak orange ink between magenta and yellow.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/elements.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "scalar_solvers.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>
#include <memory>

using namespace teska;

namespace
{

constexpr double ray_slack = 1e-6;  // relative: less below the surface is on it

int by_hue(void *listed, void *added)
{
    const auto *a = static_cast<TPrimary *>(static_cast<TElement *>(listed));
    const auto *b = static_cast<TPrimary *>(static_cast<TElement *>(added));
    const auto hue = [axis = a->vert](const TPrimary *p) {
        const vec3 colour = to_axes(p->xyz, axis);
        int none = 0;
        return real_atan2PI(colour.y, colour.z, &none);
    };
    const double hue_a = hue(a);
    const double hue_b = hue(b);
    if (hue_a != hue_b)
        return hue_a < hue_b ? -1 : 1;
    return a->index - b->index;
}

// Takes the parts over which a colorant varies out of the umbrella.
void remove_parts_with(int colorant, TList &umbrella)
{
    for (TElement *e = umbrella.First(); e != nullptr;) {
        TElement *following = e->Next();
        if (static_cast<TPrimComb *>(e)->Uses(colorant)) {
            umbrella.Subtract(e);
            delete e;
        }
        e = following;
    }
}

}  // namespace

// ---- The list -------------------------------------------------------------------------------------------------------

int TTriangularTopSurface::MakeSortedPrimList()
{
    if (primaries != nullptr)
        return 0;
    const heap_block<double> device = zeroed_block<double>(static_cast<std::size_t>(nrPrims));
    std::unique_ptr<TList> list(new (std::nothrow) TList(by_hue));
    bool room = device && list;
    bool answered = true;
    if (room)
        std::fill_n(device.get(), nrPrims, no_colorant);
    for (int i = 0; i < nrPrims && room && answered; ++i) {
        double colour[3] = {};
        device[i] = full_colorant;
        answered = callback(userData, device.get(), colour) >= 0;
        device[i] = no_colorant;
        auto *primary = answered ? new (std::nothrow) TPrimary(colour, i, vertAxis) : nullptr;
        room = primary != nullptr || !answered;
        if (primary != nullptr)
            list->Add(primary);
    }
    if (!room) {
        TESKA_ERR("No Memory");
        errNo = 1;
    }
    if (!room || !answered)
        return -1;
    primaries = list.release();
    return 0;
}

// ---- Underneath -----------------------------------------------------------------------------------------------------

int TTriangularTopSurface::PointUnderNeathTopUmbrella(double const *xyz, TPrimComb const **part)
{
    *part = nullptr;
    grid_point p = {};
    p.colour = to_axes(xyz, vertAxis);
    p.valid = true;
    sight(p, 0.0);
    if (!p.valid)
        return 0;
    double least = 0.0;
    const auto search = [&] {
        indexed<int> found;
        for (const TPrimComb &candidate : elements<TPrimComb>(umbrella)) {
            const double q = candidate.Nearest(p.direction, found);
            if (std::isfinite(q) && (*part == nullptr || q < least)) {
                *part = &candidate;
                least = q;
            }
        }
        return true;
    };
    if (!guarded(false, search)) {
        TESKA_ERR("No Memory");
        return -1;
    }
    return *part != nullptr && p.q / least - 1.0 > ray_slack ? 1 : 0;
}

int TTriangularTopSurface::PrimaryUnderneathTopUmbrella(TPrimary *prim)
{
    const heap_block<double> device = zeroed_block<double>(static_cast<std::size_t>(nrPrims));
    if (!device) {
        TESKA_ERR("No Memory");
        return -1;
    }
    std::fill_n(device.get(), nrPrims, no_colorant);
    // The origin has no direction, and is underneath whatever there is.
    const double darkest = darkest_share * HighestOfParts();
    bool any = false;
    for (int k = 0; k < nrLevels[prim->index]; ++k) {
        const double level = levels[prim->index][k];
        if (level >= no_colorant)
            continue;
        device[prim->index] = level;
        double colour[3] = {};
        const TPrimComb *part = nullptr;
        if (callback(userData, device.get(), colour) < 0)
            return 0;
        if (colour[vertAxis] <= darkest)
            continue;
        const int underneath = PointUnderNeathTopUmbrella(colour, &part);
        if (underneath < 0)
            return -1;
        if (underneath == 0 || part->Uses(prim->index))
            return 0;
        any = true;
    }
    return any ? 1 : 0;
}

int TTriangularTopSurface::ThrowOutRedundantPrimaries(double *, double *, int i, int j, int *nrThrown)
{
    *nrThrown = 0;
    for (TPrimary &p : elements<TPrimary>(primaries)) {
        if (p.dark != 0 || p.index == i || p.index == j)
            continue;
        const int below = PrimaryUnderneathTopUmbrella(&p);
        if (below < 0)
            return -1;
        if (below == 0)
            continue;
        p.dark = 2;
        ++*nrThrown;
        remove_parts_with(p.index, *umbrella);
    }
    return 0;
}

double TTriangularTopSurface::HighestOfParts()
{
    double highest = 0.0;
    for (TPrimComb &part : elements<TPrimComb>(umbrella))
        highest = std::max(highest, part.HighestVertical());
    return highest;
}
