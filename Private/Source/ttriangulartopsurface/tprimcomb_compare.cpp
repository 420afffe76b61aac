// ttriangulartopsurface/tprimcomb_compare - how two parts of a top surface lie to each other (geometry)
//
// Over the directions that both parts have, either one lies farther from the origin. Two sheets that cross, or overlap
// only partly, live side by side: what hides what of them is a matter for masking. Only where one of them leaves
// nothing of the other to be seen, the points of the grid decide which one.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace teska;

namespace
{

constexpr double same_value = 1e-9;     // between fixed device values
constexpr double least_overlap = 1e-6;  // share of the smaller area: less is none
constexpr double same_distance = 1e-6;  // relative, along a ray
constexpr double same_corner = 1e-6;    // between two samples of one colour, in its unit
constexpr double outside_slack = 1e-9;  // of plane weights

gnomonic::box around(const vec2 &p)
{
    const double slack = 1e-9;
    return {p.x - slack, p.x + slack, p.y - slack, p.y + slack};
}

// Areas in the plane that two sheets have in common.
struct shared_area {
    double both = 0.0;
    double older_farther = 0.0;
};

// What the points so far say together with one more. Points above and points below make a sheet that goes through.
relation joined(relation so_far, relation point)
{
    if ((point == relation::below && so_far == relation::above) ||
        (point == relation::above && so_far == relation::below))
        return relation::through;
    if (point == relation::below || point == relation::above)
        return point;
    if (point == relation::beside && (so_far == relation::no_points || so_far == relation::same))
        return relation::beside;
    return so_far == relation::no_points ? point : so_far;
}

}  // namespace

bool TPrimComb::Same(const TPrimComb &old) const
{
    return first_ == old.first_ && second_ == old.second_ &&
           std::equal(device_.begin(), device_.end(), old.device_.begin(), old.device_.end(),
                      [](double a, double b) { return std::fabs(a - b) <= same_value; });
}

// Whether the sheets do not overlap, or both keep something to be seen.
bool TPrimComb::Beside(const TPrimComb &old)
{
    shared_area area;
    indexed<int> found;
    for (const grid_facet &mine : facets_) {
        old.tree_.find(mine.flat.bounds, found);
        for (const int i : found) {
            const grid_facet &theirs = old.facets_[i];
            const gnomonic::polygon common = intersect(mine.flat.shape(), theirs.flat);
            if (common.empty())
                continue;
            area.both += common.area();
            area.older_farther += hidden_piece(common, mine.flat, theirs.flat, 0.0).area();
        }
    }
    const double mine = Area();
    const double theirs = old.Area();
    old_rest_ = 1.0 - (area.both - area.older_farther) / theirs;
    const double rest = 1.0 - area.older_farther / mine;
    return area.both <= least_overlap * std::min(mine, theirs) || (rest > smallest_rest && old_rest_ > smallest_rest);
}

double TPrimComb::Nearest(const vec2 &direction, indexed<int> &found) const
{
    tree_.find(around(direction), found);
    double least = std::numeric_limits<double>::infinity();
    for (const int i : found)
        if (facets_[i].flat.holds(direction, outside_slack))
            least = std::min(least, facets_[i].flat.nearness(direction));
    return least;
}

relation TPrimComb::Classify(const TPrimComb &old) const
{
    relation result = relation::no_points;
    indexed<int> found;
    for (const grid_point &p : points_) {
        if (!p.valid)
            continue;
        relation point = relation::beside;
        const double q = old.Nearest(p.direction, found);
        if (std::isfinite(q)) {
            const double excess = p.q / q - 1.0;
            point = std::fabs(excess) <= same_distance ? relation::same
                    : excess > 0.0                     ? relation::below
                                                       : relation::above;
        }
        result = joined(result, point);
        if (result == relation::through)
            break;
    }
    return result;
}

relation TPrimComb::Compare(TPrimComb &old)
{
    if (!Usable() || !old.Usable())
        return relation::failed;
    if (Same(old))
        return relation::same;
    if (Prepare() != 0 || old.Prepare() != 0)
        return relation::failed;
    if (std::none_of(points_.begin(), points_.end(), [](const grid_point &p) { return p.valid; }))
        return relation::no_points;
    const relation result = guarded(relation::failed, [&] { return Beside(old) ? relation::beside : Classify(old); });
    if (result == relation::failed)
        TESKA_ERR("No Memory");
    return result;
}

// ---- Bounds ---------------------------------------------------------------------------------------------------------

namespace
{

// Device value of colorant i where the bound of a part starts on which `full` is full and the other one varies.
double value_at_corner(const TPrimComb &part, int full, int i)
{
    if (!part.Uses(i))
        return part.Device()[i];
    return i == full ? part.Full(i) : no_colorant;
}

}  // namespace

// Where the bound starts on which the other colorant varies: this one is full, the other one at none.
const grid_point &TPrimComb::Corner(int colorant) const
{
    return colorant == first_ ? Point(Count(first_) - 1, 0) : Point(0, Count(second_) - 1);
}

bool TPrimComb::SharesBound(const TPrimComb &other, int &a, int &b, double *dev) const
{
    const int count = static_cast<int>(device_.size());
    for (const int mine : {first_, second_}) {
        for (const int theirs : {other.first_, other.second_}) {
            bool same = true;
            for (int i = 0; i < count && same; ++i)
                same = value_at_corner(*this, mine, i) == value_at_corner(other, theirs, i);
            a = first_ + second_ - mine;
            b = other.first_ + other.second_ - theirs;
            if (!same || a == b)
                continue;
            for (int i = 0; i < count; ++i)
                dev[i] = value_at_corner(*this, mine, i);
            dev[a] = dev[b] = varying;
            return true;
        }
    }
    return false;
}

int TPrimComb::CommonBound(const TPrimComb &other, int &a, int &b, double *dev) const
{
    if (!SharesBound(other, a, b, dev)) {
        TESKA_ERR("No Common Bounds!");
        return -1;
    }
    const grid_point &here = Corner(first_ + second_ - a);
    const grid_point &there = other.Corner(other.first_ + other.second_ - b);
    const vec3 apart = here.colour - there.colour;
    const double farthest = std::max({std::fabs(apart.x), std::fabs(apart.y), std::fabs(apart.z)});
    if (here.valid && there.valid && farthest > same_corner) {
        TESKA_ERR("Inconsistent common bound algorithm");
        return -1;
    }
    if (a > b)
        std::swap(a, b);
    return 0;
}
