// ttriangulartopsurface/tprimcomb_compare - how two parts of a top surface lie to each other (geometry)
//
// Over the directions that both parts have, either one lies farther from the origin. Two sheets that cross, or overlap
// only partly, live side by side: what hides what of them is a matter for masking. Only where one of them leaves
// nothing of the other to be seen, the points of the grid decide which one.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/guard.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <limits>

using teska::grid_facet;
using teska::grid_point;
using teska::gnomonic::point;
using teska::gnomonic::polygon;

namespace
{

constexpr double same_value = 1e-9;     // between fixed device values
constexpr double least_overlap = 1e-6;  // share of the smaller area: less is none
constexpr double same_distance = 1e-6;  // relative, along a ray
constexpr double same_corner = 1e-6;    // between two samples of one colour, in its unit
constexpr double outside_slack = 1e-9;  // of plane weights

teska::gnomonic::box around(point p)
{
    const double slack = 1e-9;
    return {p.x - slack, p.x + slack, p.y - slack, p.y + slack};
}

// Areas in the plane that two sheets have in common.
struct shared_area {
    double both = 0.0;
    double older_farther = 0.0;
};

// What the points seen so far say; see Compare in the header.
enum outcome { nothing = -10, nearer = 0, farther = 1, beside = 2, crossing = 3, equal = 4 };

// One more point; crossing ends it.
outcome after(outcome state, outcome at)
{
    if ((at == nearer && state == farther) || (at == farther && state == nearer))
        return crossing;
    if (at == nearer || at == farther)
        return at;
    if (at == beside && (state == nothing || state == equal))
        return beside;
    return state == nothing ? at : state;
}

}  // namespace

bool TPrimComb::Same(const TPrimComb &old) const
{
    return first == old.first && second == old.second &&
           std::equal(device.begin(), device.end(), old.device.begin(), old.device.end(),
                      [](double a, double b) { return std::fabs(a - b) <= same_value; });
}

// Whether the sheets do not overlap, or both keep something to be seen.
bool TPrimComb::Beside(const TPrimComb &old)
{
    shared_area area;
    std::vector<int> found;
    for (const grid_facet &mine : facets) {
        old.tree.find(mine.flat.bounds, &found);
        for (const int i : found) {
            const grid_facet &theirs = old.facets[static_cast<std::size_t>(i)];
            const polygon common = intersect(mine.flat.shape(), theirs.flat);
            if (common.empty())
                continue;
            area.both += common.area();
            area.older_farther += hidden_piece(common, mine.flat, theirs.flat, 0.0).area();
        }
    }
    const double mine = Area();
    const double theirs = old.Area();
    oldRest = 1.0 - (area.both - area.older_farther) / theirs;
    const double rest = 1.0 - area.older_farther / mine;
    return area.both <= least_overlap * std::min(mine, theirs) || (rest > smallest_rest && oldRest > smallest_rest);
}

bool TPrimComb::Nearest(point p, double *q, std::vector<int> *found) const
{
    tree.find(around(p), found);
    double least = std::numeric_limits<double>::infinity();
    for (const int i : *found) {
        const teska::gnomonic::facet &f = facets[static_cast<std::size_t>(i)].flat;
        if (f.holds(p, outside_slack))
            least = std::min(least, f.nearness(p));
    }
    *q = least;
    return std::isfinite(least);
}

int TPrimComb::Classify(const TPrimComb &old) const
{
    outcome state = nothing;
    std::vector<int> found;
    for (const grid_point &p : points) {
        if (!p.valid)
            continue;
        double q = 0.0;
        outcome at = beside;
        if (old.Nearest(p.at, &q, &found)) {
            const double excess = p.q / q - 1.0;
            at = std::fabs(excess) <= same_distance ? equal : excess > 0.0 ? nearer : farther;
        }
        state = after(state, at);
        if (state == crossing)
            return crossing;
    }
    // Kept: a part with points below says 1, which keeps it out, and one with points above says 0, which lets it in.
    if (state == nearer)
        return 1;
    return state == farther ? 0 : state;
}

int TPrimComb::Compare(TPrimComb *old)
{
    if (!Usable() || !old->Usable())
        return -1;
    if (Same(*old))
        return equal;
    if (Prepare() != 0 || old->Prepare() != 0)
        return -1;
    if (std::none_of(points.begin(), points.end(), [](const grid_point &p) { return p.valid; }))
        return nothing;
    const int decided = teska::guarded(-1, [&] { return Beside(*old) ? int{beside} : Classify(*old); });
    if (decided == -1)
        TESKA_ERR("No Memory");
    return decided;
}

// ---- Bounds ---------------------------------------------------------------------------------------------------------

// Where the bound starts on which the other colorant varies: this one is full, the other one at none.
const grid_point *TPrimComb::Corner(int colorant) const
{
    return colorant == first ? &Point(Count(first) - 1, 0) : &Point(0, Count(second) - 1);
}

bool TPrimComb::SharesBound(const TPrimComb &other, int *a, int *b, double *dev) const
{
    const auto corner_value = [](const TPrimComb &part, int full, std::size_t i) {
        const int colorant = static_cast<int>(i);
        if (!part.Uses(colorant))
            return part.device[i];
        return colorant == full ? part.Full(colorant) : 1.0;
    };
    for (const int mine : {first, second}) {
        for (const int theirs : {other.first, other.second}) {
            bool same = true;
            for (std::size_t i = 0; i < device.size() && same; ++i)
                same = corner_value(*this, mine, i) == corner_value(other, theirs, i);
            *a = first + second - mine;
            *b = other.first + other.second - theirs;
            if (!same || *a == *b)
                continue;
            for (std::size_t i = 0; i < device.size(); ++i)
                dev[i] = corner_value(*this, mine, i);
            dev[*a] = dev[*b] = -1.0;
            return true;
        }
    }
    return false;
}

int TPrimComb::CommonBound(const TPrimComb &other, int *a, int *b, double *dev) const
{
    if (!SharesBound(other, a, b, dev)) {
        TESKA_ERR("No Common Bounds!");
        return -1;
    }
    const grid_point *here = Corner(first + second - *a);
    const grid_point *there = other.Corner(other.first + other.second - *b);
    double apart = 0.0;
    for (std::size_t k = 0; k < 3; ++k)
        apart = std::max(apart, std::fabs(here->colour[k] - there->colour[k]));
    if (here->valid && there->valid && apart > same_corner) {
        TESKA_ERR("Inconsistent common bound algorithm");
        return -1;
    }
    if (*a > *b)
        std::swap(*a, *b);
    return 0;
}
