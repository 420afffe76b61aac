// ttriangulartopsurface/convert - colours to normalised coordinates of an umbrella and back (geometry)
//
// Example: apex at 100, an edge at tetamax 45 degrees and height 50. The colour (V, radius) = (60, 20) has the tangent
// 1/3, so V(teta) = 100 / (1/3 * 50 / 50 + 1) = 75 and vtr = 0.8.
//
// The smaller gamut replaces V(teta) by the lower of V(teta) and the umbrella itself, which table 1 holds over phir and
// tetar. Table 2 is the inverse view of it. Both have one resolution for both inputs, and so must the steps.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/guard.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Source/ttriangulartopsurface/umbrella_line.h"
#include "Support/report.h"

#include "interp_double.h"
#include "md_tetrad.h"
#include "scalar_solvers.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>
#include <limits>

using teska::edge_point;

namespace
{

constexpr int colours_for_a_curve = 200;    // from as many on it pays to lay out the edge
constexpr double just_inside = 1.0 - 1e-9;  // of the radius: a direction on the rim itself may meet no triangle
constexpr double piece_slack = 1e-7;        // by which a piece reaches beyond its edges, in the plane

double radius_of(double a, double b) { return std::sqrt(a * a + b * b); }

// Interpolated height of table 1 or tetar of table 2.
double table_value(md_tetrad *table, double phir, double other)
{
    double value = 0.0;
    double *in[2] = {&phir, &other};
    double *out[1] = {&value};
    md_tetrad_interp(table, in, 1, out, 1, 1);
    return value;
}

// What is seen of all parts, to be asked for the height in a direction.
class Seen
{
public:
    explicit Seen(const TList *umbrella)
    {
        std::vector<teska::gnomonic::box> boxes;
        for (const TElement *e = umbrella != nullptr ? umbrella->First() : nullptr; e != nullptr; e = e->Next()) {
            const auto *part = static_cast<const TPrimComb *>(e);
            for (const teska::piece &p : part->Pieces()) {
                pieces.push_back({&p.shape, &part->Facets()[static_cast<std::size_t>(p.facet)].flat});
                boxes.push_back(p.shape.bounds());
            }
        }
        tree.build(boxes);
    }

    // 0 where there is nothing.
    double height(teska::gnomonic::point p)
    {
        tree.find({p.x - piece_slack, p.x + piece_slack, p.y - piece_slack, p.y + piece_slack}, &found);
        double least = std::numeric_limits<double>::infinity();
        for (const int i : found) {
            const seen_piece &at = pieces[static_cast<std::size_t>(i)];
            const double q = at.flat->nearness(p);
            if (q < least && at.shape->depth(p) >= -piece_slack)
                least = q;
        }
        return 1.0 / least;
    }

private:
    struct seen_piece {
        const teska::gnomonic::polygon *shape;
        const teska::gnomonic::facet *flat;
    };
    std::vector<seen_piece> pieces;
    teska::gnomonic::box_tree tree;
    std::vector<int> found;
};

}  // namespace

// ---- The whole gamut ------------------------------------------------------------------------------------------------

// The hue of a colour, cut to the range.
int TTriangularTopSurface::NormalisedHue(double const *xyz, double *phir, double *penalty)
{
    int none = 0;
    if (PhiToPhir(real_atan2PI(xyz[horAxis1], xyz[horAxis2], &none), phir) != 0)
        return -1;
    *penalty = 0.0;
    if (*phir < 0.0) {
        *penalty += *phir;
        *phir = 0.0;
    } else if (*phir > 1.0) {
        *penalty += 1.0 - *phir;
        *phir = 1.0;
    }
    return 0;
}

int TTriangularTopSurface::DetermineNormCoord(double const *xyz, double *norm, double *penalty, int count)
{
    if (DeterminePhirTetaMaxAndVTMin() != 0)
        return -1;
    teska::edge_curve curve;
    const bool many = count >= colours_for_a_curve && curve.load(tetaMax, edgeHeight);
    for (int i = 0; i < count; ++i, xyz += 3, norm += 3) {
        double phir = 0.0, outside = 0.0;
        edge_point edge = {};
        if (NormalisedHue(xyz, &phir, &outside) != 0)
            return -1;
        if (many && phir >= 0.0)  // not when it is not a number
            edge = curve.at(phir);
        else if (EdgeAt(phir, &edge.tetamax, &edge.height) != 0)
            return -1;
        const double vertical = xyz[vertAxis];
        const double radius = radius_of(xyz[horAxis1], xyz[horAxis2]);
        int none = 0;
        const double teta = real_atan2PI(vertical, radius, &none);
        double tetar = teta / edge.tetamax;
        if (tetar > 1.0) {
            outside += 1.0 - tetar;
            tetar = 1.0;
        }
        // Kept: the height belongs to the colour's own angle, whatever becomes of tetar.
        const double tangent = vertical > 0.0 ? radius / vertical : std::tan(teta);
        const double vtr = vertical / teska::height_at_tangent(tangent, edge, VTMax);
        norm[0] = tetar;
        norm[1] = phir;
        norm[2] = vtr > 1.0 ? 1.0 : vtr;
        if (penalty != nullptr)
            penalty[i] = outside;
    }
    return 0;
}

// The colour at an angle, a hue and a height.
int TTriangularTopSurface::PlaceColour(double teta, double phir, double vertical, double *xyz)
{
    double phi = 0.0;
    if (PhirToPhi(phir, &phi) != 0)
        return -1;
    const double radius = vertical * std::tan(teta);
    xyz[vertAxis] = vertical;
    xyz[horAxis1] = std::cos(phi) * radius;
    xyz[horAxis2] = std::sin(phi) * radius;
    return 0;
}

int TTriangularTopSurface::DetermineXYZ(double const *norm, double *xyz, double *penalty, int count)
{
    if (DeterminePhirTetaMaxAndVTMin() != 0)
        return -1;
    teska::edge_curve curve;
    const bool many = count >= colours_for_a_curve && curve.load(tetaMax, edgeHeight);
    for (int i = 0; i < count; ++i, xyz += 3, norm += 3) {
        edge_point edge = {};
        const double phir = norm[1];
        const double vtr = norm[2];
        if (many && phir >= 0.0 && phir <= 1.0)
            edge = curve.at(phir);
        else if (EdgeAt(phir, &edge.tetamax, &edge.height) != 0)
            return -1;
        const double teta = norm[0] * edge.tetamax;
        if (PlaceColour(teta, phir, teska::height_at(teta, edge, VTMax) * vtr, xyz) != 0)
            return -1;
        if (penalty != nullptr)
            penalty[i] = 0.0;
    }
    return 0;
}

// ---- The smaller gamut ----------------------------------------------------------------------------------------------

// The top of the smaller gamut where tetar is relative to its own edge, and the angle there.
int TTriangularTopSurface::SmallerTop(double phir, double tetar, double *teta, double *top)
{
    edge_point edge = {};
    double inner = 0.0;
    if (EdgeAt(phir, &edge.tetamax, &edge.height) != 0 || lin_interp_double_inextp(tetaMaxMin, phir, &inner) != 0)
        return -1;
    *teta = tetar * inner;
    *top = std::min(teska::height_at(*teta, edge, VTMax), table_value(tabVT, phir, tetar));
    return 0;
}

int TTriangularTopSurface::DetermineNormCoordMinGam(double const *xyz, double *norm, double *penalty, int count)
{
    if (DeterminePhirTetarVTMax() != 0)
        return -1;
    for (int i = 0; i < count; ++i, xyz += 3, norm += 3) {
        double phir = 0.0, outside = 0.0, inner = 0.0, teta = 0.0, top = 0.0;
        if (NormalisedHue(xyz, &phir, &outside) != 0 || lin_interp_double_inextp(tetaMaxMin, phir, &inner) != 0)
            return -1;
        const double vertical = xyz[vertAxis];
        int none = 0;
        double tetar = real_atan2PI(vertical, radius_of(xyz[horAxis1], xyz[horAxis2]), &none) / inner;
        if (tetar > 1.0) {
            outside += 1.0 - tetar;
            tetar = 1.0;
        }
        // At the tetar that was cut, so that the way back meets the same top.
        if (SmallerTop(phir, tetar, &teta, &top) != 0)
            return -1;
        norm[0] = tetar;
        norm[1] = phir;
        norm[2] = std::min(vertical / top, 1.0);
        if (penalty != nullptr)
            penalty[i] = outside;
    }
    return 0;
}

int TTriangularTopSurface::DetermineXYZMinGam(double const *norm, double *xyz, double *penalty, int count)
{
    if (DeterminePhirTetarVTMax() != 0)
        return -1;
    for (int i = 0; i < count; ++i, xyz += 3, norm += 3) {
        double teta = 0.0, top = 0.0;
        const double phir = norm[1];
        const double vtr = norm[2];
        if (SmallerTop(phir, norm[0], &teta, &top) != 0 || PlaceColour(teta, phir, top * vtr, xyz) != 0)
            return -1;
        if (penalty != nullptr)
            penalty[i] = 0.0;
    }
    return 0;
}

// ---- Tables ---------------------------------------------------------------------------------------------------------

int TTriangularTopSurface::DeterminePhirTetarVTMax()
{
    if (DeterminePhirTetaMaxAndVTMin() != 0)
        return -1;
    if (tabVT != nullptr)
        return 0;
    md_tetrad *table = md_tetrad_new(2, 1, nrPhiSteps, 0.0, 1.0);
    const auto fill = [&] {
        Seen seen(umbrella);
        int coord[2] = {0, 0};
        do {
            double in[2] = {};
            double *value = md_tetrad_vertex_get(table, coord, in);
            edge_point edge = {};
            double inner = 0.0, phi = 0.0;
            if (EdgeAt(in[0], &edge.tetamax, &edge.height) != 0 || PhirToPhi(in[0], &phi) != 0 ||
                lin_interp_double_inextp(tetaMaxMin, in[0], &inner) != 0)
                return false;
            const double teta = in[1] * inner;
            const double radius = std::tan(teta) * just_inside;
            *value = seen.height({std::cos(phi) * radius, std::sin(phi) * radius});
            if (*value <= 0.0)
                *value = teska::height_at(teta, edge, VTMax);
        } while (md_tetrad_scan_vertex(table, coord) != 0);
        return true;
    };
    if (table == nullptr || !teska::guarded(false, fill)) {
        TESKA_ERR("out of memory");
        md_tetrad_kill(table);
        return -1;
    }
    tabVT = table;
    return 0;
}

int TTriangularTopSurface::DeterminePhirVTrTetar()
{
    if (tabTetar != nullptr)
        return 0;
    if (DeterminePhirTetarVTMax() != 0)
        return -1;
    md_tetrad *table = md_tetrad_new(2, 1, nrPhiSteps, 0.0, 1.0);
    if (table == nullptr) {
        TESKA_ERR("out of memory");
        return -1;
    }
    int coord[2] = {0, 0};
    bool found = true;
    do {
        double in[2] = {};
        double *value = md_tetrad_vertex_get(table, coord, in);
        found = ReachOf(in[0], in[1], value) == 0;
    } while (found && md_tetrad_scan_vertex(table, coord) != 0);
    if (!found) {
        TESKA_ERR("Check code, has to be an error somewhere!");
        md_tetrad_kill(table);
        return -1;
    }
    tabTetar = table;
    return 0;
}

// The tetar up to which the umbrella is at least as high as vtr V(teta), by the steps of table 1. Where white does not
// lie on the axis, the umbrella is lower than the apex there, and 0 is the answer for a vtr near 1.
int TTriangularTopSurface::ReachOf(double phir, double vtr, double *tetar)
{
    edge_point edge = {};
    double inner = 0.0;
    if (EdgeAt(phir, &edge.tetamax, &edge.height) != 0 || lin_interp_double_inextp(tetaMaxMin, phir, &inner) != 0)
        return -1;
    *tetar = 0.0;
    for (int k = 0; k < nrTetaSteps; ++k) {
        const double s = static_cast<double>(k) / (nrTetaSteps - 1);
        const double umbrella_height = table_value(tabVT, phir, s);
        const double line_height = teska::height_at(s * inner, edge, VTMax);
        if (!(umbrella_height > 0.0) || !(line_height > 0.0))
            return -1;
        if (umbrella_height < vtr * line_height)
            return 0;
        *tetar = s;
    }
    return 0;
}
