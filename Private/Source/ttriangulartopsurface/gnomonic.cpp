// ttriangulartopsurface/gnomonic - flat triangles of colours as the origin sees them (geometry)
//
// Convex polygons are cut by lines. A corner on the line belongs to both sides, and a corner made by a cut is the same
// number on both, so nothing lies between the pieces. Example: the unit triangle (0, 0), (1, 0), (0, 1), cut along
// x = 0.5, leaves the triangle (0.5, 0), (1, 0), (0.5, 0.5) inside, a quarter of it, and a quadrangle outside.
//
// No allocation but in the lists, no process-wide state.

#include "Source/ttriangulartopsurface/gnomonic.h"

#include "scalar_solvers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace teska::gnomonic
{

namespace
{

constexpr int corners_to_split = polygon::room - 5;  // a polygon with more is handed on in halves
constexpr int leaf_boxes = 4;

bool coincide(const vec2 &a, const vec2 &b) { return std::fabs(a.x - b.x) < touch && std::fabs(a.y - b.y) < touch; }

// Where the line from a to b meets another one, from which a and b have these distances.
vec2 crossing(const vec2 &a, const vec2 &b, double distance_a, double distance_b)
{
    return a + distance_a / (distance_a - distance_b) * (b - a);
}

constexpr box nowhere = {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                         std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};

box united(const box &a, const box &b)
{
    return {std::min(a.left, b.left), std::max(a.right, b.right), std::min(a.bottom, b.bottom), std::max(a.top, b.top)};
}

box united(const box &a, const vec2 &p) { return united(a, box{p.x, p.x, p.y, p.y}); }

// Later cuts add corners: a polygon that has many goes into the list as two.
void keep(const polygon &shape, indexed<polygon> &list)
{
    if (shape.size() <= corners_to_split) {
        list.push_back(shape);
        return;
    }
    // Both halves have the diagonal from corner 0 to the middle one as an edge.
    const int middle = shape.size() / 2;
    polygon first, second;
    for (int i = 0; i <= middle; ++i)
        first.add(shape[i]);
    for (int i = middle; i < shape.size(); ++i)
        second.add(shape[i]);
    second.add(shape[0]);
    for (polygon *half : {&first, &second}) {
        half->close();
        if (!half->empty())
            list.push_back(*half);
    }
}

}  // namespace

double hue_of(const vec2 &direction)
{
    // Of unit length, because the angle of a short vector is 0.
    const double radius = length(direction);
    int none = 0;
    return radius > 0.0 ? real_atan2PI(direction.x / radius, direction.y / radius, &none) : 0.0;
}

// ---- Polygons -------------------------------------------------------------------------------------------------------

bool overlap(const box &a, const box &b)
{
    return a.left < b.right && b.left < a.right && a.bottom < b.top && b.bottom < a.top;
}

void polygon::add(const vec2 &p)
{
    if (count_ < room && (count_ == 0 || !coincide((*this)[count_ - 1], p)))
        corners_[static_cast<std::size_t>(count_++)] = p;
}

void polygon::close()
{
    while (count_ > 1 && coincide((*this)[count_ - 1], (*this)[0]))
        --count_;
    if (count_ < 3)
        count_ = 0;
}

double polygon::area() const
{
    double sum = 0.0;
    for (int i = 1; i + 1 < count_; ++i)
        sum += doubled_area((*this)[0], (*this)[i], (*this)[i + 1]);
    return 0.5 * sum;
}

box polygon::bounds() const
{
    box result = nowhere;
    for (int i = 0; i < count_; ++i)
        result = united(result, (*this)[i]);
    return result;
}

double polygon::depth(const vec2 &p) const
{
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < count_; ++i) {
        line edge;
        if (line_along((*this)[i], after(i), edge))
            least = std::min(least, edge.distance(p));
    }
    return least;
}

bool line_along(const vec2 &a, const vec2 &b, line &result)
{
    const vec2 along = b - a;
    const double distance = length(along);
    if (!(distance >= touch))
        return false;
    result = {.through = a, .normal = {-along.y / distance, along.x / distance}, .offset = 0.0};
    return true;
}

halves cut(const polygon &shape, const line &along)
{
    halves result;
    double before = shape.empty() ? 0.0 : along.distance(shape[shape.size() - 1]);
    for (int i = 0; i < shape.size(); ++i) {
        const double here = along.distance(shape[i]);
        if ((before > 0.0 && here < 0.0) || (before < 0.0 && here > 0.0)) {
            const vec2 p = crossing(shape[i > 0 ? i - 1 : shape.size() - 1], shape[i], before, here);
            result.inside.add(p);
            result.outside.add(p);
        }
        if (here >= 0.0)
            result.inside.add(shape[i]);
        if (here <= 0.0)
            result.outside.add(shape[i]);
        before = here;
    }
    result.inside.close();
    result.outside.close();
    return result;
}

void subtract(const polygon &shape, const polygon &convex, indexed<polygon> &rest)
{
    polygon inside = shape;
    for (int i = 0; i < convex.size() && !inside.empty(); ++i) {
        line edge;
        if (!line_along(convex[i], convex.after(i), edge))
            continue;
        const halves sides = cut(inside, edge);
        inside = sides.inside;
        if (!sides.outside.empty())
            keep(sides.outside, rest);
    }
}

// ---- Facets ---------------------------------------------------------------------------------------------------------

facet make_facet(const std::array<vec2, 3> &corner, const std::array<double, 3> &q)
{
    facet f = {.corner = corner, .q = q, .slope = {}, .doubled = 0.0, .qmax = 0.0, .bounds = nowhere};
    const vec2 a = corner[1] - corner[0];
    const vec2 b = corner[2] - corner[0];
    f.doubled = cross(a, b);
    const double qa = q[1] - q[0];
    const double qb = q[2] - q[0];
    f.slope = {(qa * b.y - qb * a.y) / f.doubled, (qb * a.x - qa * b.x) / f.doubled};
    f.qmax = std::max({q[0], q[1], q[2]});
    for (const vec2 &p : corner)
        f.bounds = united(f.bounds, p);
    return f;
}

std::array<double, 3> facet::weights(const vec2 &p) const
{
    return {doubled_area(p, corner[1], corner[2]) / doubled, doubled_area(p, corner[2], corner[0]) / doubled,
            doubled_area(p, corner[0], corner[1]) / doubled};
}

bool facet::holds(const vec2 &p, double tolerance) const
{
    const std::array<double, 3> weight = weights(p);
    return std::all_of(weight.begin(), weight.end(), [=](double w) { return w >= -tolerance; });
}

polygon facet::shape() const
{
    polygon result;
    for (const vec2 &p : corner)
        result.add(p);
    result.close();
    return result;
}

polygon intersect(const polygon &shape, const facet &f)
{
    polygon result = shape;
    for (std::size_t i = 0; i < 3 && !result.empty(); ++i) {
        line edge;
        if (line_along(f.corner[i], f.corner[i < 2 ? i + 1 : 0], edge))
            result = cut(result, edge).inside;
    }
    return result;
}

polygon hidden_piece(const polygon &shape, const facet &under, const facet &over, double lead)
{
    const polygon common = intersect(shape, over);
    if (common.empty())
        return common;
    const vec2 rise = under.slope - over.slope;
    const double steepness = length(rise);
    const double here = under.nearness(common[0]) - over.nearness(common[0]) + lead;
    if (!(steepness > std::numeric_limits<double>::min()))
        return here >= 0.0 ? common : polygon();
    const line equal = {common[0], rise / steepness, here / steepness};
    return cut(common, equal).inside;
}

// ---- Boxes ----------------------------------------------------------------------------------------------------------

void box_tree::build(const indexed<box> &all)
{
    boxes_ = all;
    nodes_.clear();
    index_.resize(all.size());
    const int count = static_cast<int>(all.size());
    for (int i = 0; i < count; ++i)
        index_[i] = i;
    if (count > 0)
        grow(0, count);
}

// Halves at the median along the longer side, equal ones in the order of their indices: one tree for one list.
void box_tree::grow(int begin, int end)
{
    const auto here = nodes_.size();
    box bounds = nowhere;
    for (int k = begin; k < end; ++k)
        bounds = united(bounds, boxes_[index_[k]]);
    nodes_.push_back({.bounds = bounds, .begin = begin, .end = end, .right = 0});
    if (end - begin <= leaf_boxes)
        return;

    const bool wide = bounds.right - bounds.left > bounds.top - bounds.bottom;
    const auto centre = [&](int i) {
        const box &b = boxes_[i];
        return wide ? b.left + b.right : b.bottom + b.top;
    };
    const int middle = begin + (end - begin) / 2;
    std::nth_element(index_.begin() + begin, index_.begin() + middle, index_.begin() + end,
                     [&](int a, int b) { return centre(a) != centre(b) ? centre(a) < centre(b) : a < b; });
    grow(begin, middle);
    nodes_[here].right = static_cast<int>(nodes_.size());
    grow(middle, end);
}

void box_tree::find(const box &wanted, indexed<int> &found) const
{
    found.clear();
    constexpr int deepest = 64;
    std::array<int, deepest> waiting;
    std::size_t count = 0;
    if (!nodes_.empty())
        waiting[count++] = 0;
    while (count > 0) {
        const int at = waiting[--count];
        const node &n = nodes_[at];
        if (!overlap(n.bounds, wanted))
            continue;
        if (n.right != 0) {
            waiting[count++] = n.right;
            waiting[count++] = at + 1;
            continue;
        }
        for (int k = n.begin; k < n.end; ++k)
            if (overlap(boxes_[index_[k]], wanted))
                found.push_back(index_[k]);
    }
    std::sort(found.begin(), found.end());
}

}  // namespace teska::gnomonic
