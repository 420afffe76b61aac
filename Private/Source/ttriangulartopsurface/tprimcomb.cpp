// ttriangulartopsurface/tprimcomb - one part of a top surface: its grid and its triangles (geometry)
//
// Example: magenta and yellow at the levels 1, 0.5, 0 give a grid of 3 x 3 colours, (0, 0) white, (2, 0) full magenta,
// (2, 2) red, and 4 cells of 2 triangles. Colours without a direction leave holes: of a cell with three corners one
// triangle remains.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/tprimcomb.h"

#include "Source/ttriangulartopsurface/guard.h"
#include "Support/report.h"

#include "error_mess.h"
#include "scalar_solvers.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <iterator>

using teska::grid_facet;
using teska::grid_point;
using teska::piece;

namespace
{

constexpr double variable = -1.0;        // marks a colorant that varies in a vector of device values
constexpr double smallest_area = 1e-14;  // doubled, in the plane; a triangle seen edge-on has less
constexpr double device_slack = 1e-9;    // by which a calculated device value may leave 0 .. 1

bool is_device_value(double value) { return value >= 0.0 && value <= 1.0; }

// The distinct levels from light to full; starts with 1.
std::vector<double> axis_of(const double *levels, int count)
{
    std::vector<double> axis(levels, levels + count);
    axis.push_back(1.0);
    std::sort(axis.begin(), axis.end(), std::greater<>());
    axis.erase(std::unique(axis.begin(), axis.end()), axis.end());
    return axis;
}

TDumEl *first_of(const TList &list) { return static_cast<TDumEl *>(list.First()); }
TDumEl *next_of(const TDumEl *e) { return static_cast<TDumEl *>(e->Next()); }

}  // namespace

namespace teska
{

std::array<std::size_t, 3> colour_axes(int vertical)
{
    return {static_cast<std::size_t>(vertical), vertical == 0 ? 1U : 0U, vertical == 2 ? 1U : 2U};
}

double radius_of(gnomonic::point p) { return std::sqrt(p.x * p.x + p.y * p.y); }

double hue_of(gnomonic::point p)
{
    // Of unit length, because the angle of a short vector is 0.
    const double radius = radius_of(p);
    int none = 0;
    return radius > 0.0 ? real_atan2PI(p.x / radius, p.y / radius, &none) : 0.0;
}

grid_point sample(device_callback callback, void *user, const double *device, int vertical)
{
    double colour[3] = {};
    grid_point p = {};
    const bool answered = callback(user, device, colour) >= 0;
    const std::array<std::size_t, 3> axis = colour_axes(vertical);
    for (std::size_t k = 0; k < 3; ++k)
        p.colour[k] = colour[axis[k]];
    p.valid = answered && std::all_of(colour, colour + 3, [](double c) { return std::isfinite(c); });
    return p;
}

void sight(grid_point *p, double darkest)
{
    if (!p->valid || !(p->colour[0] > darkest)) {
        p->valid = false;
        return;
    }
    p->q = 1.0 / p->colour[0];
    p->at = {p->colour[1] / p->colour[0], p->colour[2] / p->colour[0]};
    p->valid = std::isfinite(p->q) && std::isfinite(p->at.x) && std::isfinite(p->at.y);
}

}  // namespace teska

TPrimary::TPrimary(const double *colour, int colorant, int vertical)
    : xyz{colour[0], colour[1], colour[2]}, index(colorant), dark(0), vert(vertical)
{
}

// A copy has no neighbours.
TPrimary::TPrimary(const TPrimary &other) : TPrimary(other.xyz, other.index, other.vert) { dark = other.dark; }

// ---- Life -----------------------------------------------------------------------------------------------------------

TPrimComb::TPrimComb(TPrimary *a, TPrimary *b, const double *dev, int n, double *const *levels, const int *counts,
                     teska::device_callback cb, void *ud, int vertAxis)
    : error(0), vertical(vertAxis), first(0), second(0), further(nullptr), callback(cb), user(ud), prepared(false),
      oldRest(0.0), masked(nullptr), cursorPiece(0), cursorFan(0)
{
    if (a == nullptr || b == nullptr || dev == nullptr || n < 1 || levels == nullptr || counts == nullptr ||
        cb == nullptr || vertAxis < 0 || vertAxis > 2 || std::find(levels, levels + n, nullptr) != levels + n) {
        TESKA_ERR("Wrong input");
        error = 2;
        return;
    }
    first = std::min(a->index, b->index);
    second = std::max(a->index, b->index);
    const auto build = [&] {
        device.assign(dev, dev + n);
        return Accept(dev, levels, counts) ? 0 : 2;
    };
    error = teska::guarded(1, build);
    if (error == 1)
        TESKA_ERR("No memory");
    if (error == 2)
        TESKA_ERR("TPrimCoord: Invalid data");
}

bool TPrimComb::Accept(const double *dev, double *const *levels, const int *counts)
{
    const int n = static_cast<int>(device.size());
    if (std::count(dev, dev + n, variable) != 2 || first < 0 || second >= n || dev[first] != variable ||
        dev[second] != variable)
        return false;
    for (int i = 0; i < n; ++i) {
        if (counts[i] < 1 || !std::all_of(levels[i], levels[i] + counts[i], is_device_value) ||
            !(Uses(i) || is_device_value(dev[i])))
            return false;
        axes.push_back(axis_of(levels[i], counts[i]));
    }
    return true;
}

TPrimComb::TPrimComb(const TPrimComb &other)
    : TElement(), error(other.error), vertical(other.vertical), first(other.first), second(other.second),
      device(other.device), axes(other.axes), further(nullptr), callback(other.callback), user(other.user),
      prepared(other.prepared), oldRest(other.oldRest), points(other.points), facets(other.facets), tree(other.tree),
      visible(other.visible), masked(nullptr), cursorPiece(other.cursorPiece), cursorFan(other.cursorFan)
{
    for (const TDumEl *e = first_of(other.further); e != nullptr; e = next_of(e))
        further.Add(new TDumEl(e->value, e->width), nullptr);
    for (TElement *e = other.masked.First(); e != nullptr; e = e->Next()) {
        auto *copy = new TMaskedTriangle(*static_cast<TMaskedTriangle *>(e));
        masked.Add(copy, nullptr);  // linked anew
        if (e == other.masked.Current())
            masked.SetCurrent(copy);
    }
}

bool TPrimComb::Usable() const
{
    if (error != 0)
        TESKA_ERR("Bad Initialisation of PrimComb");
    return error == 0;
}

// ---- Grid and triangles ---------------------------------------------------------------------------------------------

int TPrimComb::Prepare()
{
    if (!Usable())
        return -1;
    if (prepared)
        return 0;
    const auto grid = [this] {
        FillGrid();
        return true;
    };
    if (!teska::guarded(false, grid)) {
        TESKA_ERR("No memory");
        return -1;
    }
    // A callback that failed all over is no reason to stop: nothing is seen of this part.
    if (std::none_of(points.begin(), points.end(), [](const grid_point &p) { return p.valid; }))
        TESKA_ERR("Algorithm sucks");
    const auto triangles = [this] {
        MakeFacets();
        return true;
    };
    if (!teska::guarded(false, triangles)) {
        TESKA_ERR("no Memory");
        return -1;
    }
    prepared = true;
    return 0;
}

void TPrimComb::FillGrid()
{
    const std::vector<double> &along = axes[static_cast<std::size_t>(first)];
    const std::vector<double> &across = axes[static_cast<std::size_t>(second)];
    std::vector<double> dev(device);
    points.clear();
    points.reserve(along.size() * across.size());
    double highest = 0.0;
    for (const double u : along) {
        for (const double v : across) {
            dev[static_cast<std::size_t>(first)] = u;
            dev[static_cast<std::size_t>(second)] = v;
            points.push_back(teska::sample(callback, user, dev.data(), vertical));
            points.back().u = u;
            points.back().v = v;
            if (points.back().valid)
                highest = std::max(highest, points.back().colour[0]);
        }
    }
    for (grid_point &p : points)
        teska::sight(&p, teska::darkest_share * highest);
}

void TPrimComb::MakeFacets()
{
    facets.clear();
    for (int i = 0; i + 1 < Count(first); ++i)
        for (int j = 0; j + 1 < Count(second); ++j)
            SplitCell(i, j);
    std::vector<teska::gnomonic::box> boxes;
    std::vector<piece> whole;
    for (const grid_facet &f : facets) {
        boxes.push_back(f.flat.bounds);
        whole.push_back({f.flat.shape(), static_cast<int>(whole.size())});
    }
    tree.build(boxes);
    visible.swap(whole);
}

const grid_point &TPrimComb::Point(int i, int j) const
{
    return points[static_cast<std::size_t>(i) * static_cast<std::size_t>(Count(second)) + static_cast<std::size_t>(j)];
}

namespace
{

double turn(const grid_point &a, const grid_point &b, const grid_point &c)
{
    return teska::gnomonic::doubled_area(a.at, b.at, c.at);
}

// Whether the corner p3 lies on the origin's side of the plane of the others: the diagonal 0-2 then folds outwards.
bool folds_outwards(const grid_point &p0, const grid_point &p1, const grid_point &p2, const grid_point &p3)
{
    double a[3], b[3], d[3], n[3];
    for (std::size_t k = 0; k < 3; ++k) {
        a[k] = p1.colour[k] - p0.colour[k];
        b[k] = p2.colour[k] - p0.colour[k];
        d[k] = p3.colour[k] - p0.colour[k];
    }
    for (std::size_t k = 0; k < 3; ++k)
        n[k] = a[(k + 1) % 3] * b[(k + 2) % 3] - a[(k + 2) % 3] * b[(k + 1) % 3];
    const double beyond = n[0] * d[0] + n[1] * d[1] + n[2] * d[2];
    const double plane = n[0] * p0.colour[0] + n[1] * p0.colour[1] + n[2] * p0.colour[2];
    return beyond * plane <= 0.0;
}

// Which diagonal: 0 for 0-2, 1 for 1-3.
int diagonal(const grid_point *const *p)
{
    const double along02[] = {turn(*p[0], *p[1], *p[2]), turn(*p[0], *p[2], *p[3])};
    const double along13[] = {turn(*p[0], *p[1], *p[3]), turn(*p[1], *p[2], *p[3])};
    const bool whole02 = along02[0] * along02[1] > 0.0;
    const bool whole13 = along13[0] * along13[1] > 0.0;
    if (whole02 && whole13)
        return folds_outwards(*p[0], *p[1], *p[2], *p[3]) ? 0 : 1;
    if (!whole02 && !whole13 && std::fabs(along02[0]) + std::fabs(along02[1]) > smallest_area)
        dbg("Double Concave Surfaces not supported");
    return whole13 ? 1 : 0;
}

void tell_discarded(int i, int j, const grid_point *const *a)
{
    char text[200];
    std::snprintf(text, sizeof text,
                  "Discard Triangles %3.1lf %d: \n %4.2lf %4.2lf \n %4.2lf %4.2lf \n %4.2lf %4.2lf \n\n",
                  static_cast<double>(i), j, a[0]->u, a[0]->v, a[1]->u, a[1]->v, a[2]->u, a[2]->v);
    dbg(text);
}

void tell_both_discarded(int i, int j, const grid_point *const *a, const grid_point *const *b)
{
    char text[300];
    std::snprintf(text, sizeof text,
                  "Discard Triangles %3.1lf %d %d: \n %4.2lf %4.2lf \n %4.2lf, %4.2lf \n %4.2lf %4.2lf \n\n, %4.2lf "
                  "%4.2lf \n %4.2lf, %4.2lf \n %4.2lf %4.2lf \n\n",
                  static_cast<double>(i), j, j + 1, a[0]->u, a[0]->v, a[1]->u, a[1]->v, a[2]->u, a[2]->v, b[0]->u,
                  b[0]->v, b[1]->u, b[1]->v, b[2]->u, b[2]->v);
    dbg(text);
}

}  // namespace

void TPrimComb::SplitCell(int i, int j)
{
    const int across = Count(second);
    const int corner[4] = {i * across + j, (i + 1) * across + j, (i + 1) * across + j + 1, i * across + j + 1};
    const grid_point *p[4];
    int missing = -1;
    int valid = 0;
    for (int k = 0; k < 4; ++k) {
        p[k] = &points[static_cast<std::size_t>(corner[k])];
        valid += p[k]->valid ? 1 : 0;
        missing = p[k]->valid ? missing : k;
    }
    if (valid < 3)
        return;

    // The triangles as the cell's corners, counted round from one end of the diagonal.
    const int start = valid == 3 ? missing + 1 : diagonal(p);
    const int turns[2][3] = {{start % 4, (start + 1) % 4, (start + 2) % 4},
                             {start % 4, (start + 2) % 4, (start + 3) % 4}};
    const int triangles = valid == 3 ? 1 : 2;
    const grid_point *lost[2][3];
    int count = 0;
    for (int t = 0; t < triangles; ++t) {
        if (AddFacet(corner[turns[t][0]], corner[turns[t][1]], corner[turns[t][2]]))
            continue;
        for (int k = 0; k < 3; ++k)
            lost[count][k] = p[turns[t][k]];
        ++count;
    }
    if (count == 1)
        tell_discarded(i, j, lost[0]);
    if (count == 2)
        tell_both_discarded(i, j, lost[0], lost[1]);
}

// False: seen edge-on. Either way round; folds are sorted out triangle by triangle.
bool TPrimComb::AddFacet(int a, int b, int c)
{
    const auto at = [this](int i) -> const grid_point & { return points[static_cast<std::size_t>(i)]; };
    const double doubled = turn(at(a), at(b), at(c));
    if (!(std::fabs(doubled) > smallest_area) || !std::isfinite(doubled))
        return false;
    if (doubled < 0.0)
        std::swap(b, c);
    facets.push_back(
        {teska::gnomonic::make_facet({at(a).at, at(b).at, at(c).at}, {at(a).q, at(b).q, at(c).q}), {a, b, c}});
    return true;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int TPrimComb::NrVar() const { return Usable() ? 2 + further.Count() : -1; }

int TPrimComb::AddFurther(int colorant)
{
    if (!Usable())
        return -1;
    bool fits = colorant >= 0 && colorant < static_cast<int>(device.size()) && !Uses(colorant);
    for (const TDumEl *e = first_of(further); e != nullptr; e = next_of(e))
        fits = fits && static_cast<int>(e->value) != colorant;
    if (!fits) {
        TESKA_ERR("TPrimCoord: Invalid data");
        return -1;
    }
    auto *element = new (std::nothrow) TDumEl(colorant);
    if (element == nullptr) {
        TESKA_ERR("No memory");
        return -1;
    }
    further.Add(element, nullptr);
    return 0;
}

int TPrimComb::GetDevice(double *dev) const
{
    if (!Usable())
        return -1;
    std::copy(device.begin(), device.end(), dev);
    double mark = variable - 1.0;
    // Kept: an index below 1 ends the walk, so colorant 0 is never marked as a further one.
    for (const TDumEl *e = first_of(further); e != nullptr && e->value >= 1.0; e = next_of(e)) {
        dev[static_cast<int>(e->value)] = mark;
        mark -= 1.0;
    }
    return 0;
}

int TPrimComb::GetDevCoord(const double *coords, double *dev) const
{
    if (!Usable())
        return -1;
    const int count = NrVar();
    if (!std::all_of(coords, coords + count, [](double c) { return c >= -device_slack && c <= 1.0 + device_slack; })) {
        TESKA_ERR("TPrimCoord: Invalid data");
        return -1;
    }
    std::copy(device.begin(), device.end(), dev);
    const auto value = [](double c) { return std::clamp(c, 0.0, 1.0); };
    dev[first] = value(coords[0]);
    dev[second] = value(coords[1]);
    const double *rest = coords + 2;
    for (const TDumEl *e = first_of(further); e != nullptr; e = next_of(e))
        dev[static_cast<int>(e->value)] = value(*rest++);
    return 0;
}

double TPrimComb::HighestVertical()
{
    if (Prepare() != 0)
        return -1.0;
    double highest = 0.0;
    for (const grid_point &p : points)
        if (p.valid)
            highest = std::max(highest, p.colour[0]);
    return highest;
}

double TPrimComb::Area() const
{
    double sum = 0.0;
    for (const grid_facet &f : facets)
        sum += 0.5 * f.flat.doubled;
    return sum;
}

int TPrimComb::NrSaturated() const
{
    const auto full = [](double value) { return value >= 0.0 && value < 1.0; };
    return static_cast<int>(std::count_if(device.begin(), device.end(), full));
}

std::vector<const grid_point *> TPrimComb::Bound(int colorant) const
{
    std::vector<const grid_point *> bound;
    const bool along = colorant == first;
    for (int k = 0; k < Count(colorant) && prepared; ++k)
        bound.push_back(along ? &Point(k, Count(second) - 1) : &Point(Count(first) - 1, k));
    return bound;
}
