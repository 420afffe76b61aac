// ttriangulartopsurface/darkening - which colorants of a device only take light (geometry)
//
// Black is no part of the light side, but is not redundant either. A colorant darkens when it is hidden underneath the
// umbrella by itself, takes light from white and from all corners of the parts, and hardly opens the angle of any.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/elements.h"
#include "Source/ttriangulartopsurface/rim.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/report.h"

#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>
#include <new>

using namespace teska;

namespace
{

constexpr double darker_angle = 1.15;   // by which a darkening colorant may open the angle of a colour ...
constexpr double neutral_share = 0.25;  // ... unless that stays below this share of the umbrella's

double angle_of(const grid_point &p) { return std::atan(length(p.direction)); }

bool is_used(const TList *umbrella, int colorant)
{
    for (const TPrimComb &part : elements<TPrimComb>(umbrella))
        if (part.Uses(colorant))
            return true;
    return false;
}

// Device values of white and of the four corners of each part.
indexed<indexed<double>> white_and_corners(const TList *umbrella, int colorants)
{
    indexed<indexed<double>> all(1, indexed<double>(static_cast<std::size_t>(colorants), no_colorant));
    for (const TPrimComb &part : elements<TPrimComb>(umbrella)) {
        for (const double a : {no_colorant, part.Full(part.First())}) {
            for (const double b : {no_colorant, part.Full(part.Second())}) {
                all.push_back(part.Device());
                all.back()[part.First()] = a;
                all.back()[part.Second()] = b;
            }
        }
    }
    return all;
}

// A colour that has a direction, with what becomes of it when a colorant is added.
struct darkened {
    grid_point before, after;
};

}  // namespace

bool TTriangularTopSurface::OnlyDarkens(int colorant)
{
    const double darkest = darkest_share * HighestOfParts();
    const double full = *std::min_element(levels[colorant], levels[colorant] + nrLevels[colorant]);
    indexed<darkened> pairs;
    indexed<double> hues;
    for (indexed<double> &device : white_and_corners(umbrella, nrPrims)) {
        darkened pair = {sample(callback, userData, device.data(), vertAxis), {}};
        sight(pair.before, darkest);
        device[colorant] = full;
        pair.after = sample(callback, userData, device.data(), vertAxis);
        if (!pair.before.valid)
            continue;
        if (!pair.after.valid || !(pair.after.colour.x < pair.before.colour.x))
            return false;
        sight(pair.after, darkest);
        if (!pair.after.valid)
            continue;
        pairs.push_back(pair);
        hues.push_back(gnomonic::hue_of(pair.after.direction));
    }
    // All of them have become darker. The angle counts against that of the umbrella at the hue it has now.
    rim seen(hues);
    for (const TPrimComb &part : elements<TPrimComb>(umbrella))
        seen.add_pieces(part);
    for (std::size_t k = 0; k < pairs.size(); ++k) {
        const double allowed =
            std::max(darker_angle * angle_of(pairs[k].before), neutral_share * std::atan(seen.radius(k)));
        if (angle_of(pairs[k].after) > allowed)
            return false;
    }
    return true;
}

int TTriangularTopSurface::FindDarkeningPrimaries()
{
    if (primaries == nullptr || primaries->First() == nullptr) {
        TESKA_ERR("Not yet supported, for every part of the umbrella we need to find darkening inks first");
        return 0;
    }
    delete darkening;
    darkening = new (std::nothrow) TList(nullptr);
    const auto find = [&] {
        for (TPrimary &p : elements<TPrimary>(primaries)) {
            if (is_used(umbrella, p.index))
                continue;
            const int below = PrimaryUnderneathTopUmbrella(&p);
            if (below < 0)
                return outcome::failed;
            p.dark = below == 1 && OnlyDarkens(p.index) ? 1 : 2;
            if (p.dark == 1)
                darkening->Add(new TPrimary(p));
        }
        return outcome::done;
    };
    const outcome result = darkening != nullptr ? guarded(outcome::no_memory, find) : outcome::no_memory;
    if (result == outcome::no_memory)
        TESKA_ERR("No Memory");
    return result == outcome::done ? 0 : -1;
}
