// ttriangulartopsurface/widen - the edge of an umbrella reaches over every colour of the device (geometry)
//
// The cone below the rim of what is seen need not hold the whole device: black over cyan opens the angle by a degree,
// the dark blues of a display in a lightness space by thirty. All faces of the device cube are looked at, and where one
// reaches farther the edge point moves outwards on its own straight line from the apex: V(teta) stays, only tetar is
// scaled.
//
// The faces are sampled once. Each knot of the edge moves out to the farthest crossing of their segments at its hue;
// then the points that still lie outside, peaks between two knots, become knots of their own. Between the samples of a
// curved face colours may still reach beyond the edge.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/rim.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Source/ttriangulartopsurface/umbrella_line.h"
#include "Support/report.h"

#include "interp_double.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>
#include <span>

using namespace teska;

namespace
{

constexpr double wider = 1e-6;       // relative; by less the edge does not move
constexpr double peak_slack = 1e-4;  // relative; by less a peak between two knots makes no knot of its own
constexpr int most_rounds = 12;

}  // namespace

int TTriangularTopSurface::RecalcTetarDTeta(double phir, double teta)
{
    edge_point edge = {};
    if (EdgeAt(phir, edge) != 0)
        return -1;
    if (!(teta > edge.tetamax * (1.0 + wider) && teta < largest_edge))
        return 0;
    const double lower = height_at(teta, edge, VTMax);
    // A knot within the tolerance is moved; elsewhere there is a new one.
    return lin_interp_double_subst(tetaMax, phir, teta, 0.5 * knots_apart) != 0 ||
                   lin_interp_double_subst(edgeHeight, phir, lower, 0.5 * knots_apart) != 0
               ? -1
               : 0;
}

// ---- Faces ----------------------------------------------------------------------------------------------------------

namespace
{

constexpr double face_points = 60000.0;  // on all faces together, so that many colorants end in time
constexpr int fewest_levels = 3;
constexpr int most_levels = 33;
constexpr int all_corners = 8;  // colorants: up to this many all faces are looked at

// The device as its faces need it.
struct face_source {
    device_callback callback;
    void *user;
    int vertical;
    const indexed<double> &full;  // amount of each colorant
    double darkest;
};

struct face_point {
    rim_end end;
    bool valid;
};

// The grid points of all faces, face by face, with `levels` along either side of a face.
struct face_grids {
    int levels;
    indexed<face_point> points;
};

// Level i of a colorant along a face, from none to full. The steps shrink towards full, in the end to nothing: near
// black directions change fastest.
double level(double full, int i, int levels)
{
    const double t = 1.0 - static_cast<double>(i) / (levels - 1);
    return full + (no_colorant - full) * t * t;
}

// Adds the grid points of the face over colorants a and b; device holds the fixed values.
void sample_face(const face_source &of, std::size_t a, std::size_t b, indexed<double> &device, face_grids &faces)
{
    for (int i = 0; i < faces.levels; ++i) {
        for (int j = 0; j < faces.levels; ++j) {
            device[a] = level(of.full[a], i, faces.levels);
            device[b] = level(of.full[b], j, faces.levels);
            grid_point p = sample(of.callback, of.user, device.data(), of.vertical);
            sight(p, of.darkest);
            faces.points.push_back({{p.direction, p.q, p.valid ? gnomonic::hue_of(p.direction) : 0.0}, p.valid});
        }
    }
}

// All segments of a face's grid and both diagonals of its cells.
void add_face(std::span<const face_point> points, int levels, rim &edge)
{
    const auto segment = [&](int a, int b) {
        const face_point &from = points[static_cast<std::size_t>(a)];
        const face_point &to = points[static_cast<std::size_t>(b)];
        if (from.valid && to.valid)
            edge.add(from.end, to.end);
    };
    for (int i = 0; i < levels; ++i) {
        for (int j = 0; j < levels; ++j) {
            const int here = i * levels + j;
            if (i + 1 < levels)
                segment(here, here + levels);
            if (j + 1 < levels)
                segment(here, here + 1);
            if (i + 1 < levels && j + 1 < levels) {
                segment(here, here + levels + 1);
                segment(here + levels, here + 1);
            }
        }
    }
}

// Which of the other colorants are full. Beyond `all_corners` only the corners near none and near all are looked at;
// between them the count of corners would have no end.
indexed<indexed<bool>> corners_of(int others)
{
    indexed<indexed<bool>> corners;
    const auto add = [&](auto is_full) {
        indexed<bool> corner(static_cast<std::size_t>(others));
        for (int k = 0; k < others; ++k)
            corner[k] = is_full(k);
        corners.push_back(std::move(corner));
    };
    if (others + 2 <= all_corners) {
        for (int mask = 0; mask < 1 << others; ++mask)
            add([=](int k) { return (mask >> k & 1) != 0; });
        return corners;
    }
    for (int odd = -1; odd < others; ++odd) {
        add([=](int k) { return k == odd; });
        add([=](int k) { return k != odd; });
    }
    return corners;
}

face_grids sample_faces(const face_source &of)
{
    const std::size_t count = of.full.size();
    const int colorants = static_cast<int>(count);
    const indexed<indexed<bool>> corners = corners_of(std::max(colorants - 2, 0));
    const double faces = 0.5 * colorants * (colorants - 1) * static_cast<double>(corners.size());
    const double levels = std::sqrt(face_points / std::max(faces, 1.0));
    face_grids grids = {.levels = std::clamp(static_cast<int>(levels), fewest_levels, most_levels), .points = {}};
    indexed<double> device(count);
    for (std::size_t a = 0; a < count; ++a) {
        for (std::size_t b = a + 1; b < count; ++b) {
            for (const indexed<bool> &corner : corners) {
                // The colorants that do not vary over the face are full where the corner says so.
                std::size_t other = 0;
                for (std::size_t i = 0; i < count; ++i)
                    device[i] = i != a && i != b && corner[other++] ? of.full[i] : no_colorant;
                sample_face(of, a, b, device, grids);
            }
        }
    }
    return grids;
}

// ---- Peaks ----------------------------------------------------------------------------------------------------------

// A direction by the hue over the range and the angle.
struct hue_and_angle {
    double phir, teta;
};

// Keeps the directions that still lie outside the edge. Returns the farthest one of each interval of hues, relative to
// the edge there; those with an angle of 0 are none.
indexed<hue_and_angle> peaks_beyond(const lin_interp_double *edge, int intervals, indexed<hue_and_angle> &directions)
{
    struct excess {
        hue_and_angle peak;
        double ratio;
    };
    indexed<excess> farthest(static_cast<std::size_t>(intervals) + 1, excess{{0.0, 0.0}, 1.0 + peak_slack});
    const auto inside = [&](const hue_and_angle &d) {
        double top = 0.0;
        if (!(d.phir >= 0.0 && d.phir <= 1.0 && d.teta < largest_edge) ||
            lin_interp_double_inextp(edge, d.phir, &top) != 0 || !(d.teta > top * (1.0 + peak_slack)))
            return true;
        excess &here = farthest[static_cast<int>(d.phir * intervals)];
        if (d.teta / top > here.ratio)
            here = {d, d.teta / top};
        return false;
    };
    directions.erase(std::remove_if(directions.begin(), directions.end(), inside), directions.end());
    indexed<hue_and_angle> peaks;
    for (const excess &e : farthest)
        peaks.push_back(e.peak);
    return peaks;
}

}  // namespace

// ---- The edge -------------------------------------------------------------------------------------------------------

int TTriangularTopSurface::RecalcTetarForOutDarkGamPrims()
{
    if (tetaMax == nullptr)
        return DeterminePhirTetaMaxAndVTMin();
    const auto widen = [this] {
        indexed<double> places, hues, full;
        for (int i = 0; i < lin_interp_double_num(tetaMax); ++i) {
            double phir = 0.0, teta = 0.0, phi = 0.0;
            lin_interp_double_getp(tetaMax, i, &phir, &teta);
            PhirToPhi(phir, &phi);
            places.push_back(phir);
            hues.push_back(phi);
        }
        for (int p = 0; p < nrPrims; ++p)
            full.push_back(*std::min_element(levels[p], levels[p] + nrLevels[p]));
        const face_grids faces = sample_faces({callback, userData, vertAxis, full, darkest_share * VTMax});

        // Every knot reaches at least as far as the faces do at its hue.
        rim dark(hues, std::tan(largest_edge));
        const std::span<const face_point> points(faces.points);
        const std::size_t face = static_cast<std::size_t>(faces.levels) * static_cast<std::size_t>(faces.levels);
        for (std::size_t at = 0; at < points.size(); at += face)
            add_face(points.subspan(at, face), faces.levels, dark);
        for (std::size_t i = 0; i < places.size(); ++i)
            if (RecalcTetarDTeta(places[i], std::atan(dark.radius(i))) != 0)
                return outcome::failed;

        // Peaks between the knots become knots, as long as there are any.
        indexed<hue_and_angle> directions;
        for (const face_point &p : points)
            if (p.valid)
                directions.push_back({(p.end.hue - PosPhiMin) / PosDeltaPhi, std::atan(length(p.end.direction))});
        for (int round = 0; round < most_rounds && !directions.empty(); ++round)
            for (const hue_and_angle &peak : peaks_beyond(tetaMax, 2 * nrPhiSteps, directions))
                if (peak.teta > 0.0 && RecalcTetarDTeta(peak.phir, peak.teta) != 0)
                    return outcome::failed;
        return outcome::done;
    };
    const outcome result = guarded(outcome::no_memory, widen);
    if (result == outcome::no_memory)
        TESKA_ERR("No More Memory");
    return result == outcome::done ? 0 : -1;
}
