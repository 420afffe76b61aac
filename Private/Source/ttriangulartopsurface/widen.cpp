// ttriangulartopsurface/widen - the edge of an umbrella reaches over every colour of the device (geometry)
//
// The cone below the rim of what is seen need not hold the whole device: black over cyan opens the angle by a degree,
// the dark blues of a display in a lightness space by thirty. All faces of the device cube are looked at, and where one
// reaches farther the edge point moves outwards on its own straight line from the apex: V(teta) stays, only tetar is
// scaled.
//
// The faces are sampled once. Each knot of the edge moves out to the farthest crossing of their segments at its hue;
// then the points that still lie outside, peaks between two knots, become knots of their own.
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
#include <vector>

using teska::grid_point;
using teska::knots_apart;
using teska::largest_edge;

namespace
{

constexpr double wider = 1e-6;       // relative; by less the edge does not move
constexpr double peak_slack = 1e-4;  // relative; by less a peak between two knots makes no knot of its own
constexpr int most_rounds = 12;

}  // namespace

int TTriangularTopSurface::RecalcTetarDTeta(double phir, double teta)
{
    double top = 0.0, height = 0.0;
    if (EdgeAt(phir, &top, &height) != 0)
        return -1;
    if (!(teta > top * (1.0 + wider) && teta < largest_edge))
        return 0;
    const double lower = teska::height_at(teta, {top, height}, VTMax);
    // A knot within the tolerance is moved; elsewhere there is a new one.
    return lin_interp_double_subst(tetaMax, phir, teta, 0.5 * knots_apart) != 0 ||
                   lin_interp_double_subst(edgeHeight, phir, lower, 0.5 * knots_apart) != 0
               ? -1
               : 0;
}

namespace
{

constexpr double face_points = 60000.0;  // on all faces together, so that many colorants end in time
constexpr int fewest_levels = 3;
constexpr int most_levels = 33;
constexpr int all_corners = 8;  // colorants: up to this many all faces are looked at

// The device as its faces need it.
struct face_source {
    teska::device_callback callback;
    void *user;
    int vertical;
    const std::vector<double> &full;
    double darkest;
    int levels;
};

struct face_point {
    teska::rim_end end;
    bool valid;
};

// The grid points of all faces, face by face.
using face_points_list = std::vector<face_point>;

// Level i of a colorant along a face, from none to full. The steps shrink towards full, in the end to nothing: near
// black directions change fastest.
double level(const face_source &of, std::size_t colorant, int i)
{
    const double t = 1.0 - static_cast<double>(i) / (of.levels - 1);
    return of.full[colorant] + (1.0 - of.full[colorant]) * t * t;
}

// Adds the grid points of one face; device holds the fixed values.
void sample_face(const face_source &of, std::size_t a, std::size_t b, std::vector<double> *device,
                 face_points_list *points)
{
    for (int i = 0; i < of.levels; ++i) {
        for (int j = 0; j < of.levels; ++j) {
            (*device)[a] = level(of, a, i);
            (*device)[b] = level(of, b, j);
            grid_point p = teska::sample(of.callback, of.user, device->data(), of.vertical);
            teska::sight(&p, of.darkest);
            points->push_back({{p.at, p.q, p.valid ? teska::hue_of(p.at) : 0.0}, p.valid});
        }
    }
}

// All segments of a face's grid and both diagonals of its cells.
void add_face(const face_point *points, int levels, teska::rim *edge)
{
    const auto segment = [&](int a, int b) {
        if (points[a].valid && points[b].valid)
            edge->add(points[a].end, points[b].end);
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

// Which of the other colorants are full, one bit each. Beyond `all_corners` only the corners near none and near all are
// looked at; between them the count of corners would have no end.
std::vector<std::vector<bool>> corners_of(int others)
{
    std::vector<std::vector<bool>> corners;
    const auto add = [&](auto is_full) {
        std::vector<bool> corner(static_cast<std::size_t>(others));
        for (int k = 0; k < others; ++k)
            corner[static_cast<std::size_t>(k)] = is_full(k);
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

// Returns the levels along each face.
int sample_faces(face_source of, face_points_list *points)
{
    const int colorants = static_cast<int>(of.full.size());
    const std::vector<std::vector<bool>> corners = corners_of(std::max(colorants - 2, 0));
    const double faces = 0.5 * colorants * (colorants - 1) * static_cast<double>(corners.size());
    of.levels = std::clamp(static_cast<int>(std::sqrt(face_points / std::max(faces, 1.0))), fewest_levels, most_levels);
    std::vector<double> device(of.full.size());
    for (std::size_t a = 0; a < of.full.size(); ++a) {
        for (std::size_t b = a + 1; b < of.full.size(); ++b) {
            for (const std::vector<bool> &corner : corners) {
                std::size_t k = 0;
                for (std::size_t i = 0; i < of.full.size(); ++i)
                    device[i] = i == a || i == b ? 1.0 : corner[k++] ? of.full[i] : 1.0;
                sample_face(of, a, b, &device, points);
            }
        }
    }
    return of.levels;
}

}  // namespace

int TTriangularTopSurface::RecalcTetarForOutDarkGamPrims()
{
    if (tetaMax == nullptr)
        return DeterminePhirTetaMaxAndVTMin();
    const auto widen = [this] {
        std::vector<double> places, hues, full;
        for (int i = 0; i < lin_interp_double_num(tetaMax); ++i) {
            double phir = 0.0, teta = 0.0, phi = 0.0;
            lin_interp_double_getp(tetaMax, i, &phir, &teta);
            PhirToPhi(phir, &phi);
            places.push_back(phir);
            hues.push_back(phi);
        }
        for (int p = 0; p < nrPrims; ++p)
            full.push_back(*std::min_element(levels[p], levels[p] + nrLevels[p]));
        face_points_list points;
        const int side = sample_faces({callback, userData, vertAxis, full, teska::darkest_share * VTMax, 0}, &points);
        teska::rim edge(hues, std::tan(largest_edge));
        const auto face = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
        for (std::size_t at = 0; at < points.size(); at += face)
            add_face(&points[at], side, &edge);
        for (std::size_t i = 0; i < places.size(); ++i)
            if (RecalcTetarDTeta(places[i], std::atan(edge.radius(i))) != 0)
                return -1;
        std::vector<double> directions;
        for (const face_point &p : points)
            if (p.valid)
                directions.insert(directions.end(),
                                  {(p.end.hue - PosPhiMin) / PosDeltaPhi, std::atan(teska::radius_of(p.end.at))});
        return WidenBetweenKnots(directions.data(), directions.size() / 2);
    };
    constexpr int no_memory = -2;
    const int result = teska::guarded(no_memory, widen);
    if (result == no_memory)
        TESKA_ERR("No More Memory");
    return result == 0 ? 0 : -1;
}

// Peaks between the knots: of the directions (phir, teta) that still lie outside, the farthest of each interval becomes
// a knot, as long as there are any. The directions are used up.
int TTriangularTopSurface::WidenBetweenKnots(double *directions, std::size_t count)
{
    struct peak {
        double phir, teta, excess;
    };
    const double intervals = 2.0 * nrPhiSteps;
    std::vector<peak> peaks(static_cast<std::size_t>(intervals) + 1);
    for (int round = 0; round < most_rounds && count > 0; ++round) {
        std::fill(peaks.begin(), peaks.end(), peak{0.0, 0.0, 1.0 + peak_slack});
        std::size_t left = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const double phir = directions[2 * i];
            const double teta = directions[2 * i + 1];
            double top = 0.0;
            if (!(phir >= 0.0 && phir <= 1.0 && teta < largest_edge))
                continue;
            if (lin_interp_double_inextp(tetaMax, phir, &top) != 0)
                return -1;
            if (!(teta > top * (1.0 + peak_slack)))
                continue;
            peak &here = peaks[static_cast<std::size_t>(phir * intervals)];
            if (teta / top > here.excess)
                here = {phir, teta, teta / top};
            directions[2 * left] = phir;
            directions[2 * left + 1] = teta;
            ++left;
        }
        count = left;
        for (const peak &p : peaks)
            if (p.teta > 0.0 && RecalcTetarDTeta(p.phir, p.teta) != 0)
                return -1;
    }
    return 0;
}
