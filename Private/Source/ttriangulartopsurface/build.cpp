// ttriangulartopsurface/build - from the colorants of a device to its umbrella (geometry)
//
// Ring 0, the non-saturated parts, are the sheets of two colorants that meet in white. Where two of them share a bound,
// the ramp of a full colorant, the surface may go on with the sheet of their two other colorants on top of the full
// one; such saturated parts form ring 1, their bounds ring 2, and so on until nothing new is seen:
//
//     (c, m)  and  (m, y)   meet in the corner "m full"   ->  candidate (c, y | m)
//
// A sheet with all but one of the others full would hold the darkest corner, and is not offered. Whatever is offered
// competes with what is there; the umbrella is the farthest of it in each direction. Example: four channels that add up
// linearly have 4 parts in ring 0 (of 6 offered) and 4 in ring 1.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/guard.h"
#include "Source/ttriangulartopsurface/rim.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "scalar_solvers.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>
#include <tuple>

namespace
{

constexpr double none = 1.0;  // device value of a colorant that is not there
constexpr double full = 0.0;  // and of all of it
constexpr double varies = -1.0;
constexpr double ray_slack = 1e-6;      // relative: less below the surface is on it
constexpr double darker_angle = 1.15;   // by which a darkening colorant may open the angle of a colour ...
constexpr double neutral_share = 0.25;  // ... unless that stays below this share of the umbrella's

int by_hue(void *listed, void *added)
{
    const auto *a = static_cast<TPrimary *>(static_cast<TElement *>(listed));
    const auto *b = static_cast<TPrimary *>(static_cast<TElement *>(added));
    const std::array<std::size_t, 3> axis = teska::colour_axes(a->vert);
    int err = 0;
    const double hue_a = real_atan2PI(a->xyz[axis[1]], a->xyz[axis[2]], &err);
    const double hue_b = real_atan2PI(b->xyz[axis[1]], b->xyz[axis[2]], &err);
    if (hue_a != hue_b)
        return hue_a < hue_b ? -1 : 1;
    return a->index - b->index;
}

TPrimary *first_primary(const TList *list)
{
    return list != nullptr ? static_cast<TPrimary *>(list->First()) : nullptr;
}
TPrimary *next(const TPrimary *p) { return static_cast<TPrimary *>(p->Next()); }

TPrimary *primary_of(const TList *list, int colorant)
{
    TPrimary *p = first_primary(list);
    while (p != nullptr && p->index != colorant)
        p = next(p);
    return p;
}

TPrimComb *first_part(const TList *list) { return list != nullptr ? static_cast<TPrimComb *>(list->First()) : nullptr; }
TPrimComb *next(const TPrimComb *p) { return static_cast<TPrimComb *>(p->Next()); }

bool is_used(const TList *umbrella, int colorant)
{
    for (const TPrimComb *p = first_part(umbrella); p != nullptr; p = next(p))
        if (p->Uses(colorant))
            return true;
    return false;
}

double full_amount(const double *levels, int count) { return *std::min_element(levels, levels + count); }

// A sheet that may follow: two colorants vary, the others are at none or full.
struct candidate {
    int a, b;
    std::vector<double> device;

    [[nodiscard]] std::vector<int> corner() const
    {
        std::vector<int> filled;
        for (std::size_t i = 0; i < device.size(); ++i)
            if (device[i] >= 0.0 && device[i] < none)
                filled.push_back(static_cast<int>(i));
        return filled;
    }
    bool operator<(const candidate &other) const
    {
        const std::vector<int> mine = corner();
        const std::vector<int> theirs = other.corner();
        if (mine.size() != theirs.size())
            return mine.size() < theirs.size();
        return std::tie(mine, a, b) < std::tie(theirs, other.a, other.b);
    }
};

using candidates = std::set<candidate>;

// What the bounds that parts have in common lead to, except sheets with the darkest corner. False: two parts do not
// meet where they must; reported.
bool collect(const TList &umbrella, int nrPrims, std::size_t used, candidates *all)
{
    candidate c = {0, 0, std::vector<double>(static_cast<std::size_t>(nrPrims))};
    for (const TPrimComb *p = first_part(&umbrella); p != nullptr; p = next(p)) {
        for (const TPrimComb *other = next(p); other != nullptr; other = next(other)) {
            if (!p->SharesBound(*other, &c.a, &c.b, c.device.data()))
                continue;
            if (p->CommonBound(*other, &c.a, &c.b, c.device.data()) != 0)
                return false;
            if (c.corner().size() + 2 < used)
                all->insert(c);
        }
    }
    return true;
}

}  // namespace

// ---- Colorants ------------------------------------------------------------------------------------------------------

int TTriangularTopSurface::MakeSortedPrimList()
{
    if (primaries != nullptr)
        return 0;
    const teska::heap_block<double> device = teska::zeroed_block<double>(static_cast<std::size_t>(nrPrims));
    std::unique_ptr<TList> list(new (std::nothrow) TList(by_hue));
    bool room = device && list;
    bool answered = true;
    if (room)
        std::fill_n(device.get(), nrPrims, none);
    for (int i = 0; i < nrPrims && room && answered; ++i) {
        double colour[3] = {};
        device[static_cast<std::size_t>(i)] = full;
        answered = callback(userData, device.get(), colour) >= 0;
        device[static_cast<std::size_t>(i)] = none;
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

int TTriangularTopSurface::DetermineTopUmbrella()
{
    if (MakeSortedPrimList() != 0)
        return -1;
    delete umbrella;
    umbrella = new (std::nothrow) TList(nullptr);
    if (umbrella == nullptr) {
        TESKA_ERR("No Memory");
        errNo = 1;
        return -1;
    }
    if (DetermineNonSaturatedUmbrellaParts() == 0 && DetermineSaturatedUmbrellaParts() == 0)
        return 0;
    // Half an umbrella would answer, and wrongly.
    delete umbrella;
    umbrella = nullptr;
    return -1;
}

// ---- Parts ----------------------------------------------------------------------------------------------------------

// Makes a sheet and offers it. 1: taken, 0: not, negative: failure.
int TTriangularTopSurface::OfferPart(int i, int j, double const *device)
{
    std::unique_ptr<TPrimComb> part(new (std::nothrow)
                                        TPrimComb(primary_of(primaries, i), primary_of(primaries, j), device, nrPrims,
                                                  levels, nrLevels, callback, userData, vertAxis));
    if (!part) {
        TESKA_ERR("No Memory");
        return -1;
    }
    if (part->ErrNo() != 0) {
        errNo = part->ErrNo();
        return -1;
    }
    if (part->Prepare() != 0)
        return -1;
    // Edge-on from the origin, as the sheet of a colorant that only scales the colours: there is nothing to compare.
    if (part->Facets().empty())
        return 0;
    const int taken = AddToUmbrella(part.get());
    if (taken == 1)
        static_cast<void>(part.release());
    return taken;
}

int TTriangularTopSurface::AddToUmbrella(TPrimComb *part)
{
    for (TPrimComb *old = first_part(umbrella); old != nullptr; old = next(old)) {
        switch (const int outcome = part->Compare(old)) {
        case 2:
            break;
        case 0:
            if (!part->MayReplace())
                return 0;
            umbrella->Subtract(old);
            delete old;
            umbrella->Add(part);
            return 1;
        default:
            return outcome < 0 ? outcome : 0;
        }
    }
    umbrella->Add(part);
    return 1;
}

int TTriangularTopSurface::DetermineNonSaturatedUmbrellaParts()
{
    const teska::heap_block<double> device = teska::zeroed_block<double>(static_cast<std::size_t>(nrPrims));
    if (!device) {
        TESKA_ERR("No Memory");
        errNo = 1;
        return -1;
    }
    for (int i = 0; i < nrPrims; ++i) {
        for (int j = i + 1; j < nrPrims; ++j) {
            if (primary_of(primaries, i)->dark != 0 || primary_of(primaries, j)->dark != 0)
                continue;
            std::fill_n(device.get(), nrPrims, none);
            device[static_cast<std::size_t>(i)] = device[static_cast<std::size_t>(j)] = varies;
            const int taken = OfferPart(i, j, device.get());
            double colour[3];
            int thrown = 0;
            if (taken < 0 || (taken == 1 && ThrowOutRedundantPrimaries(device.get(), colour, i, j, &thrown) != 0))
                return -1;
        }
    }
    return teska::mask_and_prune(umbrella);
}

int TTriangularTopSurface::DetermineSaturatedUmbrellaParts()
{
    std::size_t used = 0;
    for (int i = 0; i < nrPrims; ++i)
        used += is_used(umbrella, i) ? 1U : 0U;
    const auto rings = [&] {
        candidates offered;
        for (bool grown = true; grown;) {
            grown = false;
            candidates all;
            if (!collect(*umbrella, nrPrims, used, &all))
                return -1;
            for (const candidate &c : all) {
                if (!offered.insert(c).second)
                    continue;
                const int taken = OfferPart(c.a, c.b, c.device.data());
                if (taken < 0)
                    return -1;
                grown = grown || taken == 1;
            }
            if (grown && teska::mask_and_prune(umbrella) != 0)
                return -1;
        }
        return 0;
    };
    constexpr int no_memory = -2;
    const int result = teska::guarded(no_memory, rings);
    if (result == no_memory) {
        TESKA_ERR("No Memory");
        errNo = 1;
    }
    return result == 0 ? 0 : -1;
}

// ---- Underneath -----------------------------------------------------------------------------------------------------

int TTriangularTopSurface::PointUnderNeathTopUmbrella(double const *xyz, TPrimComb const **part)
{
    const std::array<std::size_t, 3> axis = teska::colour_axes(vertAxis);
    teska::grid_point p = {};
    for (std::size_t k = 0; k < 3; ++k)
        p.colour[k] = xyz[axis[k]];
    p.valid = true;
    *part = nullptr;
    teska::sight(&p, 0.0);
    if (!p.valid)
        return 0;
    double least = 0.0;
    const auto search = [&] {
        std::vector<int> found;
        for (const TPrimComb *at = first_part(umbrella); at != nullptr; at = next(at)) {
            double q = 0.0;
            if (at->Nearest(p.at, &q, &found) && (*part == nullptr || q < least)) {
                *part = at;
                least = q;
            }
        }
        return true;
    };
    if (!teska::guarded(false, search)) {
        TESKA_ERR("No Memory");
        return -1;
    }
    return *part != nullptr && p.q / least - 1.0 > ray_slack ? 1 : 0;
}

int TTriangularTopSurface::PrimaryUnderneathTopUmbrella(TPrimary *prim)
{
    const teska::heap_block<double> device = teska::zeroed_block<double>(static_cast<std::size_t>(nrPrims));
    if (!device) {
        TESKA_ERR("No Memory");
        return -1;
    }
    std::fill_n(device.get(), nrPrims, none);
    // The origin has no direction, and is underneath whatever there is.
    const double darkest = teska::darkest_share * HighestOfParts();
    int below = 0;
    for (int k = 0; k < nrLevels[prim->index]; ++k) {
        const double level = levels[prim->index][k];
        if (level >= none)
            continue;
        device[static_cast<std::size_t>(prim->index)] = level;
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
        ++below;
    }
    return below > 0 ? 1 : 0;
}

int TTriangularTopSurface::ThrowOutRedundantPrimaries(double *, double *, int i, int j, int *nrThrown)
{
    *nrThrown = 0;
    for (TPrimary *p = first_primary(primaries); p != nullptr; p = next(p)) {
        if (p->dark != 0 || p->index == i || p->index == j)
            continue;
        const int below = PrimaryUnderneathTopUmbrella(p);
        if (below < 0)
            return -1;
        if (below == 0)
            continue;
        p->dark = 2;
        ++*nrThrown;
        for (TPrimComb *part = first_part(umbrella); part != nullptr;) {
            TPrimComb *following = next(part);
            if (part->Uses(p->index)) {
                umbrella->Subtract(part);
                delete part;
            }
            part = following;
        }
    }
    return 0;
}

double TTriangularTopSurface::HighestOfParts()
{
    double highest = 0.0;
    for (TPrimComb *part = first_part(umbrella); part != nullptr; part = next(part))
        highest = std::max(highest, part->HighestVertical());
    return highest;
}

// ---- Darkening colorants --------------------------------------------------------------------------------------------

namespace
{

// A colour that has a direction, with what becomes of it when a colorant is added.
struct darkened {
    teska::grid_point before, after;
};

double angle_of(const teska::grid_point &p) { return std::atan(std::sqrt(p.at.x * p.at.x + p.at.y * p.at.y)); }

}  // namespace

// Whether a colorant takes light from white and all corners of the parts, and hardly opens the angle of any.
bool TTriangularTopSurface::OnlyDarkens(int colorant)
{
    const auto at = static_cast<std::size_t>(colorant);
    const double darkest = teska::darkest_share * HighestOfParts();
    std::vector<std::vector<double>> bases(1, std::vector<double>(static_cast<std::size_t>(nrPrims), none));
    for (const TPrimComb *part = first_part(umbrella); part != nullptr; part = next(part)) {
        const auto a = static_cast<std::size_t>(part->First());
        const auto b = static_cast<std::size_t>(part->Second());
        for (int corner = 0; corner < 4; ++corner) {
            bases.push_back(part->Device());
            bases.back()[a] = (corner & 1) != 0 ? part->Full(part->First()) : none;
            bases.back()[b] = (corner & 2) != 0 ? part->Full(part->Second()) : none;
        }
    }
    std::vector<darkened> pairs;
    std::vector<double> hues;
    for (std::vector<double> &base : bases) {
        darkened pair = {teska::sample(callback, userData, base.data(), vertAxis), {}};
        teska::sight(&pair.before, darkest);
        base[at] = full_amount(levels[colorant], nrLevels[colorant]);
        pair.after = teska::sample(callback, userData, base.data(), vertAxis);
        if (!pair.before.valid)
            continue;
        if (!pair.after.valid || !(pair.after.colour[0] < pair.before.colour[0]))
            return false;
        teska::sight(&pair.after, darkest);
        if (!pair.after.valid)
            continue;
        pairs.push_back(pair);
        hues.push_back(teska::hue_of(pair.after.at));
    }
    teska::rim edge(hues);
    for (const TPrimComb *part = first_part(umbrella); part != nullptr; part = next(part))
        edge.add_pieces(*part);
    for (std::size_t k = 0; k < pairs.size(); ++k) {
        const double allowed =
            std::max(darker_angle * angle_of(pairs[k].before), neutral_share * std::atan(edge.radius(k)));
        if (angle_of(pairs[k].after) > allowed)
            return false;
    }
    return true;
}

int TTriangularTopSurface::FindDarkeningPrimaries()
{
    if (first_primary(primaries) == nullptr) {
        TESKA_ERR("Not yet supported, for every part of the umbrella we need to find darkening inks first");
        return 0;
    }
    delete darkening;
    darkening = new (std::nothrow) TList(nullptr);
    const auto find = [&] {
        for (TPrimary *p = first_primary(primaries); p != nullptr; p = next(p)) {
            if (is_used(umbrella, p->index))
                continue;
            const int below = PrimaryUnderneathTopUmbrella(p);
            if (below < 0)
                return -1;
            p->dark = below == 1 && OnlyDarkens(p->index) ? 1 : 2;
            if (p->dark == 1)
                darkening->Add(new TPrimary(*p));
        }
        return 0;
    };
    constexpr int no_memory = -2;
    const int result = darkening != nullptr ? teska::guarded(no_memory, find) : no_memory;
    if (result == no_memory) {
        TESKA_ERR("No Memory");
        errNo = 1;
    }
    return result == 0 ? 0 : -1;
}
