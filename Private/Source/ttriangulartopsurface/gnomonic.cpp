// ttriangulartopsurface/gnomonic - flat triangles of colours as the origin sees them (geometry)
//
// Convex polygons are cut by lines. A corner on the line belongs to both sides, and a corner made by a cut is the same
// number on both, so nothing lies between the pieces. Example: the unit triangle (0, 0), (1, 0), (0, 1), cut along
// x = 0.5, leaves the triangle (0.5, 0), (1, 0), (0.5, 0.5) inside, a quarter of it, and a quadrangle outside.
//
// No allocation but in the lists, no process-wide state.

#include "Source/ttriangulartopsurface/gnomonic.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace teska::gnomonic
{

namespace
{

constexpr int corners_to_split = polygon::room - 5;  // a polygon with more is handed on in halves
constexpr int leaf_boxes = 4;

bool same_place(point a, point b) { return std::fabs(a.x - b.x) < touch && std::fabs(a.y - b.y) < touch; }

point crossing(point a, point b, double da, double db)
{
    const double t = da / (da - db);
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
}

box united(const box &a, const box &b)
{
    return {std::min(a.left, b.left), std::max(a.right, b.right), std::min(a.bottom, b.bottom), std::max(a.top, b.top)};
}

constexpr box nowhere = {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                         std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};

// Later cuts add corners: a polygon that has many goes into the list as two.
void keep(const polygon &shape, std::vector<polygon> *list)
{
    if (shape.size() <= corners_to_split) {
        list->push_back(shape);
        return;
    }
    const int half = shape.size() / 2;
    polygon first, second;
    for (int i = 0; i <= half; ++i)
        first.add(shape[i]);
    for (int i = half; i < shape.size(); ++i)
        second.add(shape[i]);
    second.add(shape[0]);
    for (polygon *part : {&first, &second}) {
        part->close();
        if (!part->empty())
            list->push_back(*part);
    }
}

}  // namespace

// ---- Polygons -------------------------------------------------------------------------------------------------------

bool overlap(const box &a, const box &b)
{
    return a.left < b.right && b.left < a.right && a.bottom < b.top && b.bottom < a.top;
}

void polygon::add(point p)
{
    if (count < room && (count == 0 || !same_place((*this)[count - 1], p)))
        corner[static_cast<std::size_t>(count++)] = p;
}

void polygon::close()
{
    while (count > 1 && same_place((*this)[count - 1], (*this)[0]))
        --count;
    if (count < 3)
        count = 0;
}

double polygon::area() const
{
    double sum = 0.0;
    for (int i = 1; i + 1 < count; ++i)
        sum += doubled_area((*this)[0], (*this)[i], (*this)[i + 1]);
    return 0.5 * sum;
}

box polygon::bounds() const
{
    box result = nowhere;
    for (int i = 0; i < count; ++i)
        result = united(result, {(*this)[i].x, (*this)[i].x, (*this)[i].y, (*this)[i].y});
    return result;
}

double polygon::depth(point p) const
{
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < count; ++i) {
        line edge;
        if (line_along((*this)[i], after(i), &edge))
            least = std::min(least, edge.distance(p));
    }
    return least;
}

bool line_along(point a, point b, line *result)
{
    const point along = {b.x - a.x, b.y - a.y};
    const double length = std::sqrt(along.x * along.x + along.y * along.y);
    if (!(length >= touch))
        return false;
    *result = {.through = a, .normal = {-along.y / length, along.x / length}, .offset = 0.0};
    return true;
}

void cut(const polygon &shape, const line &along, polygon *inside, polygon *outside)
{
    polygon in, out;
    double before = shape.empty() ? 0.0 : along.distance(shape[shape.size() - 1]);
    for (int i = 0; i < shape.size(); ++i) {
        const double here = along.distance(shape[i]);
        if ((before > 0.0 && here < 0.0) || (before < 0.0 && here > 0.0)) {
            const point p = crossing(shape[i > 0 ? i - 1 : shape.size() - 1], shape[i], before, here);
            in.add(p);
            out.add(p);
        }
        if (here >= 0.0)
            in.add(shape[i]);
        if (here <= 0.0)
            out.add(shape[i]);
        before = here;
    }
    in.close();
    out.close();
    if (inside != nullptr)
        *inside = in;
    if (outside != nullptr)
        *outside = out;
}

void subtract(const polygon &shape, const polygon &convex, std::vector<polygon> *rest)
{
    polygon inside = shape;
    for (int i = 0; i < convex.size() && !inside.empty(); ++i) {
        line edge;
        if (!line_along(convex[i], convex.after(i), &edge))
            continue;
        polygon outside;
        cut(polygon(inside), edge, &inside, &outside);
        if (!outside.empty())
            keep(outside, rest);
    }
}

// ---- Facets ---------------------------------------------------------------------------------------------------------

double doubled_area(point a, point b, point c) { return (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y); }

facet make_facet(const std::array<point, 3> &corner, const std::array<double, 3> &q)
{
    facet f = {.corner = corner, .q = q, .slope = {}, .doubled = 0.0, .qmax = 0.0, .bounds = nowhere};
    const point a = {corner[1].x - corner[0].x, corner[1].y - corner[0].y};
    const point b = {corner[2].x - corner[0].x, corner[2].y - corner[0].y};
    f.doubled = doubled_area(corner[0], corner[1], corner[2]);
    const double qa = q[1] - q[0];
    const double qb = q[2] - q[0];
    f.slope = {(qa * b.y - qb * a.y) / f.doubled, (qb * a.x - qa * b.x) / f.doubled};
    f.qmax = std::max({q[0], q[1], q[2]});
    for (const point &p : corner)
        f.bounds = united(f.bounds, {p.x, p.x, p.y, p.y});
    return f;
}

std::array<double, 3> facet::weights(point p) const
{
    return {doubled_area(p, corner[1], corner[2]) / doubled, doubled_area(p, corner[2], corner[0]) / doubled,
            doubled_area(p, corner[0], corner[1]) / doubled};
}

bool facet::holds(point p, double tolerance) const
{
    const std::array<double, 3> weight = weights(p);
    return std::all_of(weight.begin(), weight.end(), [=](double w) { return w >= -tolerance; });
}

polygon facet::shape() const
{
    polygon result;
    for (const point &p : corner)
        result.add(p);
    result.close();
    return result;
}

polygon intersect(const polygon &shape, const facet &f)
{
    polygon result = shape;
    for (std::size_t i = 0; i < 3 && !result.empty(); ++i) {
        line edge;
        if (line_along(f.corner[i], f.corner[i < 2 ? i + 1 : 0], &edge))
            cut(polygon(result), edge, &result, nullptr);
    }
    return result;
}

polygon hidden_piece(const polygon &shape, const facet &under, const facet &over, double lead)
{
    polygon common = intersect(shape, over);
    if (common.empty())
        return common;
    const point rise = {under.slope.x - over.slope.x, under.slope.y - over.slope.y};
    const double steepness = std::sqrt(rise.x * rise.x + rise.y * rise.y);
    const double here = under.nearness(common[0]) - over.nearness(common[0]) + lead;
    if (!(steepness > std::numeric_limits<double>::min()))
        return here >= 0.0 ? common : polygon();
    const line equal = {common[0], {rise.x / steepness, rise.y / steepness}, here / steepness};
    polygon hidden;
    cut(common, equal, &hidden, nullptr);
    return hidden;
}

// ---- Boxes ----------------------------------------------------------------------------------------------------------

void box_tree::build(const std::vector<box> &all)
{
    boxes = all;
    nodes.clear();
    index.resize(all.size());
    for (std::size_t i = 0; i < all.size(); ++i)
        index[i] = static_cast<int>(i);
    if (!all.empty())
        grow(0, static_cast<int>(all.size()));
}

// Halves at the median along the longer side, equal ones in the order of their indices: one tree for one list.
void box_tree::grow(int begin, int end)
{
    const auto at = [this](int i) -> const box & { return boxes[static_cast<std::size_t>(i)]; };
    const auto place = nodes.size();
    nodes.push_back({.bounds = nowhere, .begin = begin, .end = end, .right = 0});
    box bounds = nowhere;
    for (int k = begin; k < end; ++k)
        bounds = united(bounds, at(index[static_cast<std::size_t>(k)]));
    nodes[place].bounds = bounds;
    if (end - begin <= leaf_boxes)
        return;

    const bool wide = bounds.right - bounds.left > bounds.top - bounds.bottom;
    const auto centre = [&](int i) { return wide ? at(i).left + at(i).right : at(i).bottom + at(i).top; };
    const int middle = begin + (end - begin) / 2;
    std::nth_element(index.begin() + begin, index.begin() + middle, index.begin() + end,
                     [&](int a, int b) { return centre(a) != centre(b) ? centre(a) < centre(b) : a < b; });
    grow(begin, middle);
    nodes[place].right = static_cast<int>(nodes.size());
    grow(middle, end);
}

void box_tree::find(const box &wanted, std::vector<int> *found) const
{
    found->clear();
    constexpr int deepest = 64;
    std::array<int, deepest> waiting;
    std::size_t count = 0;
    if (!nodes.empty())
        waiting[count++] = 0;
    while (count > 0) {
        const int at = waiting[--count];
        const node &n = nodes[static_cast<std::size_t>(at)];
        if (!overlap(n.bounds, wanted))
            continue;
        if (n.right != 0) {
            waiting[count++] = n.right;
            waiting[count++] = at + 1;
            continue;
        }
        for (int k = n.begin; k < n.end; ++k) {
            const int i = index[static_cast<std::size_t>(k)];
            if (overlap(boxes[static_cast<std::size_t>(i)], wanted))
                found->push_back(i);
        }
    }
    std::sort(found->begin(), found->end());
}

}  // namespace teska::gnomonic
