// ttriangulartopsurface/edge - apex, range of hues and edge of an umbrella (geometry)
//
// The edge is the rim of what is seen: at each hue the direction farthest from the vertical axis. Between the points of
// the grids it is straight in the plane of directions, and bends at those points; the functions over the hue have them
// as knots beside the regular steps, so that few steps do.
//
// What of the device lies outside that cone is taken in by `widen`.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/elements.h"
#include "Source/ttriangulartopsurface/preparing.h"
#include "Source/ttriangulartopsurface/rim.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Source/ttriangulartopsurface/umbrella_line.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "interp_double.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>
#include <new>

using namespace teska;

namespace
{

constexpr double pi = gnomonic::half_circle;
constexpr double two_pi = gnomonic::full_circle;
constexpr double on_rim = 1e-6;         // a grid point this much inside the rim still makes a knot
constexpr double smallest_edge = 1e-6;  // of teta, in radians

int by_start(void *listed, void *added)
{
    const double a = static_cast<TDumEl *>(static_cast<TElement *>(listed))->value;
    const double b = static_cast<TDumEl *>(static_cast<TElement *>(added))->value;
    return a < b ? -1 : a > b ? 1 : 0;
}

}  // namespace

// ---- Apex and hues --------------------------------------------------------------------------------------------------

int TTriangularTopSurface::DetermineVTMax()
{
    if (VTMax > 0.0)
        return 0;
    VTMax = HighestOfParts();
    return VTMax > 0.0 ? 0 : -1;
}

int TTriangularTopSurface::DeterminePosPhiMinPosDeltaPhi()
{
    if (PosDeltaPhi > 0.0)
        return 0;
    TList intervals(by_start);
    for (TPrimComb &part : elements<TPrimComb>(umbrella)) {
        double start = 0.0, width = 0.0;
        if (part.HueInterval(start, width) != 0)
            return -1;
        auto *element = new (std::nothrow) TDumEl(start, width);
        if (element == nullptr) {
            TESKA_ERR("Out of memory");
            return -1;
        }
        intervals.Add(element);
    }
    double from = 0.0, width = 0.0;
    bool any = false;
    for (const TDumEl &interval : elements<TDumEl>(&intervals)) {
        if (interval.width <= 0.0)  // nothing seen
            continue;
        // They are in order.
        if (!any)
            from = interval.value;
        any = true;
        width = std::max(width, interval.value + interval.width - from);
    }
    if (!any)
        return -1;
    PosPhiMin = width >= two_pi ? 0.0 : 0.9 * from;
    PosDeltaPhi = width >= two_pi ? two_pi : std::min(1.1 * width, two_pi);
    return 0;
}

int TTriangularTopSurface::PhiToPhir(double phi, double *phir)
{
    if (DeterminePosPhiMinPosDeltaPhi() != 0)
        return -1;
    double turns = 0.0;
    if (phi < 0.0)
        turns = std::trunc(phi / -two_pi + 1.0);
    else if (phi > two_pi)
        turns = -std::trunc(phi / two_pi);
    *phir = (phi + 2.0 * turns * pi - PosPhiMin) / PosDeltaPhi;
    return 0;
}

int TTriangularTopSurface::PhirToPhi(double phir, double *phi)
{
    if (DeterminePosPhiMinPosDeltaPhi() != 0)
        return -1;
    *phi = PosDeltaPhi * phir + PosPhiMin;
    if (*phi > two_pi)
        *phi -= 2.0 * std::trunc(*phi / two_pi) * pi;
    return 0;
}

// ---- Knots ----------------------------------------------------------------------------------------------------------

namespace
{

// A hue at which the edge may bend.
struct knot {
    double phir;
    double hue;
    double radius;  // of the grid point, 0 for a step
    edge_point edge;
    bool covered;  // something is seen at this hue
};

// The steps, and the grid points in the range; sorted.
indexed<knot> possible_knots(const TList *umbrella, int steps, double phi_min, double delta_phi)
{
    indexed<knot> knots;
    for (int k = 0; k < steps; ++k) {
        const double phir = static_cast<double>(k) / (steps - 1);
        const double phi = delta_phi * phir + phi_min;
        knots.push_back({phir, phi > two_pi ? phi - two_pi : phi, 0.0, {}, false});
    }
    for (const TPrimComb &part : elements<TPrimComb>(umbrella)) {
        for (const grid_point &p : part.Points()) {
            const double radius = length(p.direction);
            const double hue = gnomonic::hue_of(p.direction);
            const double phir = (hue - phi_min) / delta_phi;
            if (p.valid && radius > 0.0 && phir > 0.0 && phir < 1.0)
                knots.push_back({phir, hue, radius, {}, false});
        }
    }
    std::stable_sort(knots.begin(), knots.end(), [](const knot &a, const knot &b) { return a.phir < b.phir; });
    return knots;
}

// Angle and height of the rim at the steps and at the points of the grids that lie on it.
indexed<knot> knots_of(const TList *umbrella, int steps, double phi_min, double delta_phi)
{
    const indexed<knot> possible = possible_knots(umbrella, steps, phi_min, delta_phi);
    indexed<double> hues;
    for (const knot &k : possible)
        hues.push_back(k.hue);
    rim seen(hues);
    for (const TPrimComb &part : elements<TPrimComb>(umbrella))
        seen.add_pieces(part);

    indexed<knot> knots;
    for (std::size_t i = 0; i < possible.size(); ++i) {
        knot k = possible[i];
        k.edge.tetamax = std::atan(seen.radius(i));
        const bool inside = k.radius > 0.0 && std::atan(k.radius) < k.edge.tetamax - on_rim;
        if (inside || (!knots.empty() && k.phir - knots.back().phir < knots_apart))
            continue;
        k.covered = seen.radius(i) > 0.0;
        k.edge.height = k.covered ? 1.0 / seen.nearness(i) : 0.0;
        knots.push_back(k);
    }
    return knots;
}

// Straight lines across the hues at which nothing is seen, the nearest value beyond the ends. Some knot is covered.
void bridge(indexed<knot> &knots)
{
    const auto covered = [](const knot &k) { return k.covered; };
    for (auto k = knots.begin(); k != knots.end();) {
        // The knots from k to the next covered one, if any, lie on the line between that one and the one before k.
        const auto end = std::find_if(k, knots.end(), covered);
        const knot &right = end != knots.end() ? *end : *(k - 1);
        const knot left = k != knots.begin() ? *(k - 1) : right;
        for (; k != end; ++k) {
            const double t = right.phir > left.phir ? (k->phir - left.phir) / (right.phir - left.phir) : 0.0;
            k->edge.tetamax = left.edge.tetamax + t * (right.edge.tetamax - left.edge.tetamax);
            k->edge.height = left.edge.height + t * (right.edge.height - left.edge.height);
        }
        k = std::find_if_not(k, knots.end(), covered);
    }
}

bool is_possible(const indexed<knot> &knots)
{
    return std::all_of(knots.begin(), knots.end(),
                       [](const knot &k) { return k.edge.tetamax > smallest_edge && k.edge.tetamax < largest_edge; });
}

}  // namespace

// ---- Edge -----------------------------------------------------------------------------------------------------------

using curve = handle<lin_interp_double, lin_interp_double_kill>;

void TTriangularTopSurface::DropEdge()
{
    for (lin_interp_double **function : {&tetaMax, &edgeHeight, &tetaMaxMin}) {
        lin_interp_double_kill(*function);
        *function = nullptr;
    }
}

int TTriangularTopSurface::DeterminePhirTetaMaxAndVTMin()
{
    if (DetermineVTMax() != 0 || DeterminePosPhiMinPosDeltaPhi() != 0)
        return -1;
    if (tetaMax != nullptr)
        return 0;
    lin_interp_double *smaller = MakeEdge();
    if (smaller != nullptr && RecalcTetarForOutDarkGamPrims() == 0) {
        publish(tetaMaxMin, smaller);
        return 0;
    }
    lin_interp_double_kill(smaller);
    DropEdge();
    return -1;
}

// Other threads may evaluate once the edge of the smaller gamut is there: it comes last.
bool TTriangularTopSurface::EdgeIsReady() const
{
    return published(tetaMaxMin) != nullptr && tetaMax != nullptr && edgeHeight != nullptr && VTMax > 0.0 &&
           PosDeltaPhi > 0.0;
}

int TTriangularTopSurface::PrepareEdge()
{
    if (EdgeIsReady())
        return 0;
    const preparing turn(this);
    return DeterminePhirTetaMaxAndVTMin();
}

// The edge as the umbrella has it. Returns the edge of the smaller gamut, or null.
lin_interp_double *TTriangularTopSurface::MakeEdge()
{
    if (nrPhiSteps < 2) {
        // What an evaluation would say later on.
        const curve none(lin_interp_double_new(0, nullptr));
        double value = 0.0;
        if (none)
            lin_interp_double_inextp(none.get(), 0.0, &value);
        return nullptr;
    }
    indexed<knot> knots;
    const auto find = [&] {
        knots = knots_of(umbrella, nrPhiSteps, PosPhiMin, PosDeltaPhi);
        return true;
    };
    if (!guarded(false, find)) {
        TESKA_ERR("Out of memory");
        return nullptr;
    }
    const bool any = std::any_of(knots.begin(), knots.end(), [](const knot &k) { return k.covered; });
    if (any)
        bridge(knots);
    if (!any || !is_possible(knots)) {
        TESKA_ERR("Such a small or big gamut is just not possible");
        return nullptr;
    }
    const int count = static_cast<int>(knots.size());
    curve angle(lin_interp_double_new(count, nullptr));
    curve height(lin_interp_double_new(count, nullptr));
    curve smaller(lin_interp_double_new(count, nullptr));
    bool room = angle && height && smaller;
    for (auto k = knots.begin(); k != knots.end() && room; ++k) {
        room = lin_interp_double_insert(angle.get(), k->phir, k->edge.tetamax) == 0 &&
               lin_interp_double_insert(height.get(), k->phir, k->edge.height) == 0 &&
               lin_interp_double_insert(smaller.get(), k->phir, k->edge.tetamax) == 0;
    }
    if (!room) {
        TESKA_ERR("Out of memory");
        return nullptr;
    }
    tetaMax = angle.release();
    edgeHeight = height.release();
    return smaller.release();
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int TTriangularTopSurface::UmbrellaEdge(double phi, double *tetamax, double *vt)
{
    double phir = 0.0;
    edge_point edge = {};
    if (PrepareEdge() != 0 || PhiToPhir(phi, &phir) != 0 || EdgeAt(std::clamp(phir, 0.0, 1.0), edge) != 0)
        return -1;
    *tetamax = edge.tetamax;
    *vt = edge.height;
    return 0;
}

int TTriangularTopSurface::EdgeAt(double phir, edge_point &edge) const
{
    const bool known = lin_interp_double_inextp(tetaMax, phir, &edge.tetamax) == 0 &&
                       lin_interp_double_inextp(edgeHeight, phir, &edge.height) == 0;
    return known ? 0 : -1;
}
