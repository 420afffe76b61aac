// ttriangulartopsurface/tprimcomb - one part of a top surface: its grid and its triangles (geometry)
//
// Example: magenta and yellow at the levels 1, 0.5, 0 give a grid of 3 x 3 colours, (0, 0) white, (2, 0) full magenta,
// (2, 2) red, and 4 cells of 2 triangles. Colours without a direction leave holes: of a cell with three corners one
// triangle remains.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/tprimcomb.h"

#include "Source/ttriangulartopsurface/elements.h"
#include "Support/digits.h"
#include "Support/report.h"

#include "error_mess.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <iterator>

using namespace teska;

namespace
{

constexpr double smallest_area = 1e-14;  // doubled, in the plane; a triangle seen edge-on has less
constexpr double area_rounding = 1e-14;  // of the farthest corner times the longer side; far out that is more
constexpr double device_slack = 1e-9;    // by which a calculated device value may leave 0 .. 1

bool is_device_value(double value) { return value >= 0.0 && value <= 1.0; }

// The distinct levels from light to full; starts with 1.
indexed<double> axis_of(const double *levels, int count)
{
    indexed<double> axis(levels, levels + count);
    axis.push_back(no_colorant);
    std::sort(axis.begin(), axis.end(), std::greater<>());
    axis.erase(std::unique(axis.begin(), axis.end()), axis.end());
    return axis;
}

using further_colorants = elements<TDumEl>;

}  // namespace

namespace teska
{

namespace
{

// The caller's index of V, h1 and h2.
std::array<std::size_t, 3> colour_axes(int vertical)
{
    return {static_cast<std::size_t>(vertical), vertical == 0 ? 1U : 0U, vertical == 2 ? 1U : 2U};
}

}  // namespace

vec3 to_axes(const double *xyz, int vertical)
{
    const std::array<std::size_t, 3> axis = colour_axes(vertical);
    return {xyz[axis[0]], xyz[axis[1]], xyz[axis[2]]};
}

void from_axes(const vec3 &colour, int vertical, double *xyz)
{
    const std::array<std::size_t, 3> axis = colour_axes(vertical);
    xyz[axis[0]] = colour.x;
    xyz[axis[1]] = colour.y;
    xyz[axis[2]] = colour.z;
}

grid_point sample(device_callback callback, void *user, const double *device, int vertical)
{
    double xyz[3] = {};
    grid_point p = {};
    const bool answered = callback(user, device, xyz) >= 0;
    p.colour = to_axes(xyz, vertical);
    p.valid = answered && std::all_of(xyz, xyz + 3, [](double c) { return std::isfinite(c); });
    return p;
}

void sight(grid_point &p, double darkest)
{
    if (!p.valid || !(p.colour.x > darkest)) {
        p.valid = false;
        return;
    }
    p.q = 1.0 / p.colour.x;
    p.direction = vec2{p.colour.y, p.colour.z} / p.colour.x;
    p.valid = std::isfinite(p.q) && std::isfinite(p.direction.x) && std::isfinite(p.direction.y);
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
                     device_callback callback, void *user, int vertAxis)
    : error_(0), vertical_(vertAxis), first_(0), second_(0), further_(nullptr), callback_(callback), user_(user),
      prepared_(false), old_rest_(0.0), masked_(nullptr), cursor_piece_(0), cursor_fan_(0)
{
    if (a == nullptr || b == nullptr || dev == nullptr || n < 1 || levels == nullptr || counts == nullptr ||
        callback == nullptr || vertAxis < 0 || vertAxis > 2 || std::find(levels, levels + n, nullptr) != levels + n) {
        TESKA_ERR("Wrong input");
        error_ = 2;
        return;
    }
    first_ = std::min(a->index, b->index);
    second_ = std::max(a->index, b->index);
    const auto build = [&] {
        device_.assign(dev, dev + n);
        return Accept(dev, levels, counts) ? 0 : 2;
    };
    error_ = guarded(1, build);
    if (error_ == 1)
        TESKA_ERR("No memory");
    if (error_ == 2)
        TESKA_ERR("TPrimCoord: Invalid data");
}

bool TPrimComb::Accept(const double *dev, double *const *levels, const int *counts)
{
    const int n = static_cast<int>(device_.size());
    if (std::count(dev, dev + n, varying) != 2 || first_ < 0 || second_ >= n || dev[first_] != varying ||
        dev[second_] != varying)
        return false;
    for (int i = 0; i < n; ++i) {
        if (counts[i] < 1 || !std::all_of(levels[i], levels[i] + counts[i], is_device_value) ||
            !(Uses(i) || is_device_value(dev[i])))
            return false;
        axes_.push_back(axis_of(levels[i], counts[i]));
    }
    return true;
}

TPrimComb::TPrimComb(const TPrimComb &other)
    : TElement(), error_(other.error_), vertical_(other.vertical_), first_(other.first_), second_(other.second_),
      device_(other.device_), axes_(other.axes_), further_(nullptr), callback_(other.callback_), user_(other.user_),
      prepared_(other.prepared_), old_rest_(other.old_rest_), points_(other.points_), facets_(other.facets_),
      tree_(other.tree_), visible_(other.visible_), masked_(nullptr), cursor_piece_(other.cursor_piece_),
      cursor_fan_(other.cursor_fan_)
{
    for (const TDumEl &e : further_colorants(&other.further_))
        further_.Add(new TDumEl(e.value, e.width), nullptr);
    for (TMaskedTriangle &triangle : elements<TMaskedTriangle>(&other.masked_)) {
        auto *copy = new TMaskedTriangle(triangle);
        masked_.Add(copy, nullptr);  // linked anew
        if (&triangle == other.masked_.Current())
            masked_.SetCurrent(copy);
    }
}

bool TPrimComb::Usable() const
{
    if (error_ != 0)
        TESKA_ERR("Bad Initialisation of PrimComb");
    return error_ == 0;
}

// ---- Grid and triangles ---------------------------------------------------------------------------------------------

int TPrimComb::Prepare()
{
    if (!Usable())
        return -1;
    if (prepared_)
        return 0;
    const auto grid = [this] {
        FillGrid();
        return true;
    };
    if (!guarded(false, grid)) {
        TESKA_ERR("No memory");
        return -1;
    }
    // A callback that failed all over is no reason to stop: nothing is seen of this part.
    if (std::none_of(points_.begin(), points_.end(), [](const grid_point &p) { return p.valid; }))
        TESKA_ERR("Algorithm sucks");
    const auto triangles = [this] {
        MakeFacets();
        return true;
    };
    if (!guarded(false, triangles)) {
        TESKA_ERR("no Memory");
        return -1;
    }
    prepared_ = true;
    return 0;
}

void TPrimComb::FillGrid()
{
    indexed<double> dev(device_);
    points_.clear();
    points_.reserve(axes_[first_].size() * axes_[second_].size());
    double highest = 0.0;
    for (const double u : axes_[first_]) {
        for (const double v : axes_[second_]) {
            dev[first_] = u;
            dev[second_] = v;
            grid_point p = sample(callback_, user_, dev.data(), vertical_);
            p.u = u;
            p.v = v;
            points_.push_back(p);
            if (p.valid)
                highest = std::max(highest, p.colour.x);
        }
    }
    for (grid_point &p : points_)
        sight(p, darkest_share * highest);
}

void TPrimComb::MakeFacets()
{
    facets_.clear();
    for (int i = 0; i + 1 < Count(first_); ++i)
        for (int j = 0; j + 1 < Count(second_); ++j)
            SplitCell(i, j);
    // Until masking, all of each triangle is seen.
    indexed<gnomonic::box> boxes;
    indexed<piece> whole;
    for (const grid_facet &f : facets_) {
        boxes.push_back(f.flat.bounds);
        whole.push_back({f.flat.shape(), static_cast<int>(whole.size())});
    }
    tree_.build(boxes);
    visible_.swap(whole);
}

namespace
{

using cell = std::array<const grid_point *, 4>;
using triangle = std::array<const grid_point *, 3>;

double turn(const grid_point &a, const grid_point &b, const grid_point &c)
{
    return gnomonic::doubled_area(a.direction, b.direction, c.direction);
}

// Whether the corner p3 lies on the origin's side of the plane of the others: the diagonal 0-2 then folds outwards.
bool folds_outwards(const cell &p)
{
    const vec3 &origin = p[0]->colour;
    const vec3 normal = cross(p[1]->colour - origin, p[2]->colour - origin);
    return dot(normal, p[3]->colour - origin) * dot(normal, origin) <= 0.0;
}

enum class diagonal { from_0_to_2, from_1_to_3 };

// The diagonal that makes the sheet convex. Of a cell that is folded over itself, seen from the origin, only one lies
// inside: its two triangles turn the same way.
diagonal choose_diagonal(const cell &p)
{
    const std::array<double, 2> by02 = {turn(*p[0], *p[1], *p[2]), turn(*p[0], *p[2], *p[3])};
    const std::array<double, 2> by13 = {turn(*p[0], *p[1], *p[3]), turn(*p[1], *p[2], *p[3])};
    const bool whole02 = by02[0] * by02[1] > 0.0;
    const bool whole13 = by13[0] * by13[1] > 0.0;
    if (whole02 && whole13)
        return folds_outwards(p) ? diagonal::from_0_to_2 : diagonal::from_1_to_3;
    if (!whole02 && !whole13 && std::fabs(by02[0]) + std::fabs(by02[1]) > smallest_area)
        dbg("Double Concave Surfaces not supported");
    return whole13 ? diagonal::from_1_to_3 : diagonal::from_0_to_2;
}

number_text text_of(double x) { return fixed_text(x, 2); }

void tell_discarded(int i, int j, const triangle &a)
{
    char text[7 * number_room + 100];
    std::snprintf(text, sizeof text, "Discard Triangles %3s %d: \n %4s %4s \n %4s %4s \n %4s %4s \n\n",
                  fixed_text(i, 1).data(), j, text_of(a[0]->u).data(), text_of(a[0]->v).data(), text_of(a[1]->u).data(),
                  text_of(a[1]->v).data(), text_of(a[2]->u).data(), text_of(a[2]->v).data());
    dbg(text);
}

void tell_both_discarded(int i, int j, const triangle &a, const triangle &b)
{
    char text[13 * number_room + 100];
    std::snprintf(text, sizeof text,
                  "Discard Triangles %3s %d %d: \n %4s %4s \n %4s, %4s \n %4s %4s \n\n, %4s "
                  "%4s \n %4s, %4s \n %4s %4s \n\n",
                  fixed_text(i, 1).data(), j, j + 1, text_of(a[0]->u).data(), text_of(a[0]->v).data(),
                  text_of(a[1]->u).data(), text_of(a[1]->v).data(), text_of(a[2]->u).data(), text_of(a[2]->v).data(),
                  text_of(b[0]->u).data(), text_of(b[0]->v).data(), text_of(b[1]->u).data(), text_of(b[1]->v).data(),
                  text_of(b[2]->u).data(), text_of(b[2]->v).data());
    dbg(text);
}

}  // namespace

void TPrimComb::SplitCell(int i, int j)
{
    const int across = Count(second_);
    const std::array<int, 4> corner = {i * across + j, (i + 1) * across + j, (i + 1) * across + j + 1,
                                       i * across + j + 1};
    cell p;
    std::size_t missing = 0;
    int valid = 0;
    for (std::size_t k = 0; k < 4; ++k) {
        p[k] = &points_[corner[k]];
        if (p[k]->valid)
            ++valid;
        else
            missing = k;
    }
    if (valid < 3)
        return;

    // The triangles as the cell's corners, counted round from one end of the diagonal. Without a corner the first one,
    // which starts after it, is all there is.
    const std::size_t start = valid == 3 ? missing + 1 : choose_diagonal(p) == diagonal::from_1_to_3 ? 1U : 0U;
    const std::size_t turns[2][3] = {{start % 4, (start + 1) % 4, (start + 2) % 4},
                                     {start % 4, (start + 2) % 4, (start + 3) % 4}};
    const int triangles = valid == 3 ? 1 : 2;
    std::array<triangle, 2> lost;
    std::size_t count = 0;
    for (int t = 0; t < triangles; ++t) {
        const auto &[a, b, c] = turns[t];
        if (!AddFacet(corner[a], corner[b], corner[c]))
            lost[count++] = {p[a], p[b], p[c]};
    }
    if (count == 1)
        tell_discarded(i, j, lost[0]);
    if (count == 2)
        tell_both_discarded(i, j, lost[0], lost[1]);
}

// False: seen edge-on. Either way round; folds are sorted out triangle by triangle.
bool TPrimComb::AddFacet(int a, int b, int c)
{
    const vec2 p = points_[a].direction, to_b = points_[b].direction - p, to_c = points_[c].direction - p;
    const double doubled = cross(to_b, to_c), side = std::max(length(to_b), length(to_c));
    const double least = std::max(smallest_area, area_rounding * (length(p) + side) * side);
    if (!(std::fabs(doubled) > least) || !std::isfinite(doubled))
        return false;
    if (doubled < 0.0)
        std::swap(b, c);
    const grid_point &pa = points_[a], &pb = points_[b], &pc = points_[c];
    facets_.push_back(
        {gnomonic::make_facet({pa.direction, pb.direction, pc.direction}, {pa.q, pb.q, pc.q}), {a, b, c}});
    return true;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int TPrimComb::NrVar() const { return Usable() ? 2 + further_.Count() : -1; }

int TPrimComb::AddFurther(int colorant)
{
    if (!Usable())
        return -1;
    bool fits = colorant >= 0 && colorant < static_cast<int>(device_.size()) && !Uses(colorant);
    for (const TDumEl &e : further_colorants(&further_))
        fits = fits && static_cast<int>(e.value) != colorant;
    if (!fits) {
        TESKA_ERR("TPrimCoord: Invalid data");
        return -1;
    }
    auto *element = new (std::nothrow) TDumEl(colorant);
    if (element == nullptr) {
        TESKA_ERR("No memory");
        return -1;
    }
    further_.Add(element, nullptr);
    return 0;
}

int TPrimComb::GetDevice(double *dev) const
{
    if (!Usable())
        return -1;
    std::copy(device_.begin(), device_.end(), dev);
    double mark = varying;
    for (const TDumEl &e : further_colorants(&further_)) {
        // Kept: an index below 1 ends the walk, so colorant 0 is never marked as a further one.
        if (!(e.value >= 1.0))
            break;
        dev[static_cast<int>(e.value)] = mark -= 1.0;
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
    std::copy(device_.begin(), device_.end(), dev);
    const auto value = [](double c) { return std::clamp(c, 0.0, 1.0); };
    dev[first_] = value(coords[0]);
    dev[second_] = value(coords[1]);
    const double *rest = coords + 2;
    for (const TDumEl &e : further_colorants(&further_))
        dev[static_cast<int>(e.value)] = value(*rest++);
    return 0;
}

double TPrimComb::HighestVertical()
{
    if (Prepare() != 0)
        return -1.0;
    double highest = 0.0;
    for (const grid_point &p : points_)
        if (p.valid)
            highest = std::max(highest, p.colour.x);
    return highest;
}

double TPrimComb::Area() const
{
    double sum = 0.0;
    for (const grid_facet &f : facets_)
        sum += 0.5 * f.flat.doubled;
    return sum;
}

int TPrimComb::NrSaturated() const
{
    const auto full = [](double value) { return value >= 0.0 && value < no_colorant; };
    return static_cast<int>(std::count_if(device_.begin(), device_.end(), full));
}

indexed<const grid_point *> TPrimComb::Bound(int colorant) const
{
    indexed<const grid_point *> bound;
    const bool along = colorant == first_;
    for (int k = 0; k < Count(colorant) && prepared_; ++k)
        bound.push_back(along ? &Point(k, Count(second_) - 1) : &Point(Count(first_) - 1, k));
    return bound;
}
