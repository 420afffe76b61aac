// tplane - pixels of a picture on a plane section through Lab space (geometry)
//
// Columns and rows are linear in the two coordinates of the plane, rows from the top:
//
//     xmin     X(i)     xmax
//      0 ------- i ----- W-1        X(i) = xmin + (xmax - xmin) * i / (W - 1)
//
// A hue plane contains the grey axis. Its across coordinate is the chroma in the direction (cos, sin) of its angle, so
// a colour of another hue falls on the foot of its perpendicular.

#include "tplane.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <numbers>

namespace
{

constexpr int grid_lines = 11;

// What an axis shows, and what it reports about its steps.
struct axis_range {
    double low, high;
    int steps;
};

constexpr axis_range chroma_axis{-125.0, 125.0, 5};
constexpr axis_range lightness_axis{0.0, 100.0, 10};

double radians(double degrees) { return 2.0 * std::numbers::pi * degrees / 360.0; }

// Halves away from 0; limited to the range of int, in which the conversion is defined.
int pixel(double position)
{
    if (std::isnan(position))
        return 0;
    const double moved = position >= 0.0 ? position + 0.5 : position - 0.5;
    constexpr double limit = INT_MAX;
    return static_cast<int>(std::clamp(moved, -limit, limit));
}

// Kept: up to the size itself, not to the last pixel.
int limited(int position, int size) { return std::min(std::max(position, 0), size); }

// The index of the last pixel. A double, because one less than the smallest int is no int.
double last(int size) { return size - 1.0; }

// How far pixel i of `size` lies from the first one, when the last one lies at `range`.
double offset(double range, int i, int size) { return size == 1 ? 0.0 : range * i / last(size); }

}  // namespace

// ---- Life ----------------------------------------------------------------------------------------------------------

TPlane::TPlane(int W, int H, enum TPlane::PlaneType type_, double value_, double xmin_, double xmax_, double ymin_,
               double ymax_)
    : w(W), h(H), type(type_), value(value_), xmin(xmin_), xmax(xmax_), ymin(ymin_), ymax(ymax_)
{
    CalculateAxes();
}

TPlane::TPlane(TPlane const &other) = default;
TPlane &TPlane::operator=(TPlane const &other) = default;

// ---- Query ---------------------------------------------------------------------------------------------------------

int TPlane::operator==(TPlane const &other) const
{
    return w == other.w && h == other.h && type == other.type && value == other.value && xmin == other.xmin &&
           xmax == other.xmax && ymin == other.ymin && ymax == other.ymax;
}

int TPlane::operator!=(TPlane const &other) const { return !(*this == other); }

int TPlane::W() const { return w; }
double TPlane::XMin() const { return xmin; }
double TPlane::XMax() const { return xmax; }
double TPlane::YMin() const { return ymin; }
double TPlane::YMax() const { return ymax; }
double TPlane::Value() const { return value; }

// ---- Process -------------------------------------------------------------------------------------------------------

double TPlane::X(int i) const { return xmin + offset(xmax - xmin, i, w); }
double TPlane::Y(int j) const { return ymax - offset(ymax - ymin, j, h); }

int TPlane::X2x(double v) const { return pixel((v - xmin) / (xmax - xmin) * last(w)); }
int TPlane::Y2y(double v) const { return pixel((ymax - v) / (ymax - ymin) * last(h)); }

void TPlane::GetLab(int x, int y, double *lab, bool clamp) const
{
    const double across = X(clamp ? limited(x, w) : x);
    const double down = Y(clamp ? limited(y, h) : y);
    lab[0] = type == ConstLPlane ? value : down;
    switch (type) {
    case ConstLPlane:
        lab[1] = across;
        lab[2] = down;
        break;
    case ConstAPlane:
        lab[1] = value;
        lab[2] = across;
        break;
    case ConstBPlane:
        lab[1] = across;
        lab[2] = value;
        break;
    case ConstHuePlane:
    default:
        lab[1] = std::cos(radians(value)) * across;
        lab[2] = std::sin(radians(value)) * across;
        break;
    }
}

void TPlane::GetXY(double const *lab, int *x, int *y, bool noClamp) const
{
    const double a = lab[1];
    const double b = lab[2];
    double across = a;
    if (type == ConstAPlane)
        across = b;
    else if (type != ConstLPlane && type != ConstBPlane)
        across = std::sqrt(a * a + b * b) * std::cos(radians(value) - std::atan2(b, a));
    const int column = X2x(across);
    const int row = Y2y(type == ConstLPlane ? b : lab[0]);
    *x = noClamp ? column : limited(column, w);
    *y = noClamp ? row : limited(row, h);
}

int const *TPlane::GetXGridPoints(int *nr, int *steps) const
{
    *nr = grid_lines;
    *steps = xSteps;
    return xGrid;
}

int const *TPlane::GetYGridPoints(int *nr, int *steps) const
{
    *nr = grid_lines;
    *steps = ySteps;
    return yGrid;
}

void TPlane::CalculateAxes()
{
    const axis_range &down = type == ConstLPlane ? chroma_axis : lightness_axis;
    xSteps = chroma_axis.steps;
    ySteps = down.steps;
    GetGridPoints(chroma_axis.high, chroma_axis.low, xmax, xmin, w, grid_lines, xGrid);
    GetGridPoints(down.high, down.low, ymax, ymin, h, grid_lines, yGrid);
    axesDone = 1;
}

void TPlane::GetGridPoints(double high, double low, double axisMax, double axisMin, int pixels, int nr, int *out) const
{
    for (int k = 0; k < nr; ++k) {
        const double line = low + k * (high - low) / (nr - 1);
        out[k] = pixel((line - axisMin) / (axisMax - axisMin) * last(pixels));
    }
}
