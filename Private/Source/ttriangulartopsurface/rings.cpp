// ttriangulartopsurface/rings - from the colorants of a device to the parts of its umbrella (geometry)
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

#include "Source/ttriangulartopsurface/elements.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "ttriangulartopsurface.h"

#include <algorithm>
#include <memory>
#include <set>
#include <tuple>

using namespace teska;

namespace
{

TPrimary *primary_of(const TList *list, int colorant)
{
    for (TPrimary &p : elements<TPrimary>(list))
        if (p.index == colorant)
            return &p;
    return nullptr;
}

// A sheet that may follow: two colorants vary, the others are at none or full.
struct candidate {
    int a, b;
    indexed<double> device;

    // The colorants that are full.
    [[nodiscard]] indexed<int> corner() const
    {
        indexed<int> filled;
        const int count = static_cast<int>(device.size());
        for (int i = 0; i < count; ++i)
            if (device[i] >= 0.0 && device[i] < no_colorant)
                filled.push_back(i);
        return filled;
    }
    bool operator<(const candidate &other) const
    {
        const indexed<int> mine = corner();
        const indexed<int> theirs = other.corner();
        if (mine.size() != theirs.size())
            return mine.size() < theirs.size();
        return std::tie(mine, a, b) < std::tie(theirs, other.a, other.b);
    }
};

using candidates = std::set<candidate>;

// Colorants that vary over some part.
std::size_t colorants_in_use(const TList &umbrella, int colorants)
{
    indexed<bool> used(static_cast<std::size_t>(colorants), false);
    for (const TPrimComb &part : elements<TPrimComb>(&umbrella))
        used[part.First()] = used[part.Second()] = true;
    return static_cast<std::size_t>(std::count(used.begin(), used.end(), true));
}

// What the bounds that parts have in common lead to, except sheets with the darkest corner. False: two parts do not
// meet where they must; reported.
bool collect(const TList &umbrella, int colorants, std::size_t used, candidates &all)
{
    candidate c = {0, 0, indexed<double>(static_cast<std::size_t>(colorants))};
    for (const TPrimComb &part : elements<TPrimComb>(&umbrella)) {
        for (const TPrimComb &other : elements<TPrimComb>(part.Next())) {
            if (!part.SharesBound(other, c.a, c.b, c.device.data()))
                continue;
            if (part.CommonBound(other, c.a, c.b, c.device.data()) != 0)
                return false;
            if (c.corner().size() + 2 < used)
                all.insert(c);
        }
    }
    return true;
}

}  // namespace

// ---- One part -------------------------------------------------------------------------------------------------------

// Makes a sheet and offers it.
TTriangularTopSurface::Offer TTriangularTopSurface::OfferPart(int i, int j, double const *device)
{
    std::unique_ptr<TPrimComb> part(new (std::nothrow)
                                        TPrimComb(primary_of(primaries, i), primary_of(primaries, j), device, nrPrims,
                                                  levels, nrLevels, callback, userData, vertAxis));
    if (!part) {
        TESKA_ERR("No Memory");
        return Offer::failed;
    }
    if (part->ErrNo() != 0) {
        errNo = part->ErrNo();
        return Offer::failed;
    }
    if (part->Prepare() != 0)
        return Offer::failed;
    // Edge-on from the origin, as the sheet of a colorant that only scales the colours: there is nothing to compare.
    if (part->Facets().empty())
        return Offer::refused;
    const int taken = AddToUmbrella(part.get());
    if (taken != 1)
        return taken < 0 ? Offer::failed : Offer::refused;
    static_cast<void>(part.release());
    return Offer::taken;
}

int TTriangularTopSurface::AddToUmbrella(TPrimComb *part)
{
    for (TPrimComb &old : elements<TPrimComb>(umbrella)) {
        const relation found = part->Compare(old);
        if (found == relation::beside)
            continue;
        if (found == relation::failed || found == relation::no_points)
            return static_cast<int>(found);
        if (found != relation::above || !part->MayReplace())
            return 0;
        umbrella->Subtract(&old);
        delete &old;
        break;
    }
    umbrella->Add(part);
    return 1;
}

// ---- Rings ----------------------------------------------------------------------------------------------------------

int TTriangularTopSurface::DetermineTopUmbrella()
{
    if (MakeSortedPrimList() != 0)
        return -1;
    delete umbrella;
    umbrella = new (std::nothrow) TList(nullptr);
    if (umbrella == nullptr) {
        TESKA_ERR("No Memory");
        return -1;
    }
    if (DetermineNonSaturatedUmbrellaParts() == 0 && DetermineSaturatedUmbrellaParts() == 0)
        return 0;
    // Half an umbrella would answer, and wrongly.
    delete umbrella;
    umbrella = nullptr;
    return -1;
}

int TTriangularTopSurface::DetermineNonSaturatedUmbrellaParts()
{
    const heap_block<double> device = zeroed_block<double>(static_cast<std::size_t>(nrPrims));
    if (!device) {
        TESKA_ERR("No Memory");
        return -1;
    }
    for (int i = 0; i < nrPrims; ++i) {
        for (int j = i + 1; j < nrPrims; ++j) {
            if (primary_of(primaries, i)->dark != 0 || primary_of(primaries, j)->dark != 0)
                continue;
            std::fill_n(device.get(), nrPrims, no_colorant);
            device[i] = device[j] = varying;
            const Offer answer = OfferPart(i, j, device.get());
            if (answer == Offer::failed)
                return -1;
            // A part that was taken may hide other colorants altogether.
            double colour[3];
            int thrown = 0;
            if (answer == Offer::taken && ThrowOutRedundantPrimaries(device.get(), colour, i, j, &thrown) != 0)
                return -1;
        }
    }
    return mask_and_prune(*umbrella);
}

int TTriangularTopSurface::DetermineSaturatedUmbrellaParts()
{
    const auto grow = [this] {
        const std::size_t used = colorants_in_use(*umbrella, nrPrims);
        candidates offered;
        for (bool grown = true; grown;) {
            candidates all;
            if (!collect(*umbrella, nrPrims, used, all))
                return outcome::failed;
            // Each candidate is offered once; those that are taken have bounds of their own.
            grown = false;
            for (const candidate &c : all) {
                if (!offered.insert(c).second)
                    continue;
                const Offer answer = OfferPart(c.a, c.b, c.device.data());
                if (answer == Offer::failed)
                    return outcome::failed;
                grown = grown || answer == Offer::taken;
            }
            if (grown && mask_and_prune(*umbrella) != 0)
                return outcome::failed;
        }
        return outcome::done;
    };
    const outcome result = guarded(outcome::no_memory, grow);
    if (result == outcome::no_memory)
        TESKA_ERR("No Memory");
    return result == outcome::done ? 0 : -1;
}
