// ttriangulartopsurface/edge - apex, range of hues and edge of an umbrella (geometry)
//
// The edge is the rim of what is seen: at each hue the direction farthest from the vertical axis. Between the points of
// the grids it is straight in the plane of directions, and bends at those points; the functions over the hue have them
// as knots beside the regular steps, so that few steps do.
//
// What of the device lies outside that cone is taken in by topsurface_widen.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/guard.h"
#include "Source/ttriangulartopsurface/rim.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Source/ttriangulartopsurface/umbrella_line.h"
#include "Support/report.h"

#include "interp_double.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

using teska::grid_point;

namespace
{

constexpr double pi = 3.1415926535;
constexpr double two_pi = 6.283185307;
constexpr double on_rim = 1e-6;         // a grid point this much inside the rim still makes a knot
constexpr double smallest_edge = 1e-6;  // of teta, in radians

int by_start(void *listed, void *added)
{
    const double a = static_cast<TDumEl *>(static_cast<TElement *>(listed))->value;
    const double b = static_cast<TDumEl *>(static_cast<TElement *>(added))->value;
    return a < b ? -1 : a > b ? 1 : 0;
}

TPrimComb *first_part(const TList *list) { return list != nullptr ? static_cast<TPrimComb *>(list->First()) : nullptr; }
TPrimComb *next(const TPrimComb *p) { return static_cast<TPrimComb *>(p->Next()); }

struct knot {
    double phir;
    double hue;
    double radius;  // of the grid point, 0 for a step
    double teta, height;
    bool covered;
};

// Straight lines across the hues at which there is nothing, the nearest value beyond the ends.
void bridge(std::vector<knot> *knots)
{
    const auto covered = [](const knot &k) { return k.covered; };
    for (auto k = knots->begin(); k != knots->end();) {
        if (k->covered) {
            ++k;
            continue;
        }
        const auto end = std::find_if(k, knots->end(), covered);
        const knot &right = end != knots->end() ? *end : *(k - 1);
        const knot left = k != knots->begin() ? *(k - 1) : right;
        for (; k != end; ++k) {
            const double t = right.phir > left.phir ? (k->phir - left.phir) / (right.phir - left.phir) : 0.0;
            k->teta = left.teta + t * (right.teta - left.teta);
            k->height = left.height + t * (right.height - left.height);
        }
    }
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
    for (TPrimComb *part = first_part(umbrella); part != nullptr; part = next(part)) {
        double start = 0.0, width = 0.0;
        if (part->HueInterval(&start, &width) != 0)
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
    for (const TElement *e = intervals.First(); e != nullptr; e = e->Next()) {
        const auto *interval = static_cast<const TDumEl *>(e);
        if (interval->width <= 0.0)  // nothing seen
            continue;
        if (!any || interval->value < from) {
            width += any ? from - interval->value : 0.0;
            from = interval->value;
            any = true;
        }
        width = std::max(width, interval->value + interval->width - from);
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

// ---- Edge -----------------------------------------------------------------------------------------------------------

void TTriangularTopSurface::DropEdge()
{
    for (lin_interp_double **curve : {&tetaMax, &edgeHeight, &tetaMaxMin}) {
        lin_interp_double_kill(*curve);
        *curve = nullptr;
    }
}

int TTriangularTopSurface::DeterminePhirTetaMaxAndVTMin()
{
    if (DetermineVTMax() != 0 || DeterminePosPhiMinPosDeltaPhi() != 0)
        return -1;
    if (tetaMax != nullptr)
        return 0;
    if (MakeEdge() == 0 && RecalcTetarForOutDarkGamPrims() == 0)
        return 0;
    DropEdge();
    return -1;
}

namespace
{

// The steps, and the grid points in the range; sorted.
std::vector<knot> possible_knots(const TList *umbrella, int steps, double phi_min, double delta_phi)
{
    std::vector<knot> knots;
    for (int k = 0; k < steps; ++k) {
        const double phir = static_cast<double>(k) / (steps - 1);
        const double phi = delta_phi * phir + phi_min;
        knots.push_back({phir, phi > two_pi ? phi - two_pi : phi, 0.0, 0.0, 0.0, false});
    }
    for (const TPrimComb *part = first_part(umbrella); part != nullptr; part = next(part)) {
        for (const grid_point &p : part->Points()) {
            const double radius = teska::radius_of(p.at);
            const double hue = teska::hue_of(p.at);
            const double phir = (hue - phi_min) / delta_phi;
            if (p.valid && radius > 0.0 && phir > 0.0 && phir < 1.0)
                knots.push_back({phir, hue, radius, 0.0, 0.0, false});
        }
    }
    std::stable_sort(knots.begin(), knots.end(), [](const knot &a, const knot &b) { return a.phir < b.phir; });
    return knots;
}

// Angle and height of the rim at the steps and at the points of the grids that lie on it.
std::vector<knot> knots_of(const TList *umbrella, int steps, double phi_min, double delta_phi)
{
    const std::vector<knot> possible = possible_knots(umbrella, steps, phi_min, delta_phi);
    std::vector<double> hues;
    for (const knot &k : possible)
        hues.push_back(k.hue);
    teska::rim edge(hues);
    for (const TPrimComb *part = first_part(umbrella); part != nullptr; part = next(part))
        edge.add_pieces(*part);

    std::vector<knot> knots;
    for (std::size_t i = 0; i < possible.size(); ++i) {
        knot k = possible[i];
        k.teta = std::atan(edge.radius(i));
        const bool inside = k.radius > 0.0 && std::atan(k.radius) < k.teta - on_rim;
        if (inside || (!knots.empty() && k.phir - knots.back().phir < teska::knots_apart))
            continue;
        k.covered = edge.radius(i) > 0.0;
        k.height = k.covered ? 1.0 / edge.nearness(i) : 0.0;
        knots.push_back(k);
    }
    return knots;
}

}  // namespace

int TTriangularTopSurface::MakeEdge()
{
    if (nrPhiSteps < 2) {
        // What an evaluation would say later on.
        tetaMax = lin_interp_double_new(0, nullptr);
        double value = 0.0;
        return tetaMax != nullptr ? lin_interp_double_inextp(tetaMax, 0.0, &value) : -1;
    }
    std::vector<knot> knots;
    const auto find = [&] {
        knots = knots_of(umbrella, nrPhiSteps, PosPhiMin, PosDeltaPhi);
        return true;
    };
    if (!teska::guarded(false, find)) {
        TESKA_ERR("Out of memory");
        return -1;
    }
    const bool any = std::any_of(knots.begin(), knots.end(), [](const knot &k) { return k.covered; });
    if (any)
        bridge(&knots);
    if (!any || !std::all_of(knots.begin(), knots.end(),
                             [](const knot &k) { return k.teta > smallest_edge && k.teta < teska::largest_edge; })) {
        TESKA_ERR("Such a small or big gamut is just not possible");
        return -1;
    }
    const int count = static_cast<int>(knots.size());
    tetaMax = lin_interp_double_new(count, nullptr);
    edgeHeight = lin_interp_double_new(count, nullptr);
    tetaMaxMin = lin_interp_double_new(count, nullptr);
    bool room = tetaMax != nullptr && edgeHeight != nullptr && tetaMaxMin != nullptr;
    for (auto k = knots.begin(); k != knots.end() && room; ++k) {
        room = lin_interp_double_insert(tetaMax, k->phir, k->teta) == 0 &&
               lin_interp_double_insert(edgeHeight, k->phir, k->height) == 0 &&
               lin_interp_double_insert(tetaMaxMin, k->phir, k->teta) == 0;
    }
    if (!room)
        TESKA_ERR("Out of memory");
    return room ? 0 : -1;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int TTriangularTopSurface::UmbrellaEdge(double phi, double *tetamax, double *vt)
{
    double phir = 0.0;
    if (DeterminePhirTetaMaxAndVTMin() != 0 || PhiToPhir(phi, &phir) != 0)
        return -1;
    phir = std::clamp(phir, 0.0, 1.0);
    return EdgeAt(phir, tetamax, vt);
}

int TTriangularTopSurface::EdgeAt(double phir, double *tetamax, double *vt) const
{
    const bool known =
        lin_interp_double_inextp(tetaMax, phir, tetamax) == 0 && lin_interp_double_inextp(edgeHeight, phir, vt) == 0;
    return known ? 0 : -1;
}
