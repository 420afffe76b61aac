// ttriangulartopsurface/convert - colours to normalised coordinates of an umbrella and back (geometry)
//
// Example: apex at 100, an edge at tetamax 45 degrees and height 50. The colour (V, radius) = (60, 20) has the tangent
// 1/3, so V(teta) = 100 / (1/3 * 50 / 50 + 1) = 75 and vtr = 0.8.
//
// The smaller gamut replaces V(teta) by the lower of V(teta) and the umbrella itself, which table 1 holds over phir and
// tetar. Table 2 is the inverse view of it. Both have one resolution for both inputs, and so must the steps.
//
// No process-wide state.

#include "Source/ttriangulartopsurface/elements.h"
#include "Source/ttriangulartopsurface/preparing.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Source/ttriangulartopsurface/umbrella_line.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "interp_double.h"
#include "md_tetrad.h"
#include "scalar_solvers.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace teska;

namespace
{

constexpr int colours_for_a_curve = 200;    // from as many on it pays to lay out the edge
constexpr double just_inside = 1.0 - 1e-9;  // of the radius: a direction on the rim itself may meet no triangle
constexpr double piece_slack = 1e-7;        // by which a piece reaches beyond its edges, in the plane

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
class seen_surface
{
public:
    explicit seen_surface(const TList *umbrella)
    {
        indexed<gnomonic::box> boxes;
        for (const TPrimComb &part : elements<TPrimComb>(umbrella)) {
            for (const piece &p : part.Pieces()) {
                pieces_.push_back({&p.shape, &part.Facets()[p.facet].flat});
                boxes.push_back(p.shape.bounds());
            }
        }
        tree_.build(boxes);
    }

    // 0 where there is nothing.
    double height(const vec2 &direction)
    {
        const auto &[x, y] = direction;
        tree_.find({x - piece_slack, x + piece_slack, y - piece_slack, y + piece_slack}, found_);
        double least = std::numeric_limits<double>::infinity();
        for (const int i : found_) {
            const double q = pieces_[i].flat->nearness(direction);
            if (q < least && pieces_[i].shape->depth(direction) >= -piece_slack)
                least = q;
        }
        return 1.0 / least;
    }

private:
    struct seen_piece {
        const gnomonic::polygon *shape;
        const gnomonic::facet *flat;
    };
    indexed<seen_piece> pieces_;
    gnomonic::box_tree tree_;
    indexed<int> found_;
};

using table_owner = handle<md_tetrad, md_tetrad_kill>;

// A table over two inputs of 0 .. 1; value(first, second, result) gives what its vertices hold, and how that went.
template <class Value>
outcome fill_table(int steps, table_owner &table, const Value &value)
{
    table.reset(md_tetrad_new(2, 1, steps, 0.0, 1.0));
    if (!table)
        return outcome::no_memory;
    int coord[2] = {0, 0};
    do {
        double in[2] = {};
        double *vertex = md_tetrad_vertex_get(table.get(), coord, in);
        if (value(in[0], in[1], *vertex) != 0)
            return outcome::failed;
    } while (md_tetrad_scan_vertex(table.get(), coord) != 0);
    return outcome::done;
}

}  // namespace

// ---- The whole gamut ------------------------------------------------------------------------------------------------

// The hue of a colour, cut to the range.
int TTriangularTopSurface::NormalisedHue(double const *xyz, double &phir, double &penalty)
{
    int none = 0;
    if (PhiToPhir(real_atan2PI(xyz[horAxis1], xyz[horAxis2], &none), &phir) != 0)
        return -1;
    penalty = 0.0;
    if (phir < 0.0) {
        penalty += phir;
        phir = 0.0;
    } else if (phir > 1.0) {
        penalty += 1.0 - phir;
        phir = 1.0;
    }
    return 0;
}

int TTriangularTopSurface::DetermineNormCoord(double const *xyz, double *norm, double *penalty, int count)
{
    if (PrepareEdge() != 0)
        return -1;
    edge_curve curve;
    const bool many = count >= colours_for_a_curve && curve.load(tetaMax, edgeHeight);
    for (int i = 0; i < count; ++i, xyz += 3, norm += 3) {
        double phir = 0.0, outside = 0.0;
        edge_point edge = {};
        if (NormalisedHue(xyz, phir, outside) != 0)
            return -1;
        if (many && phir >= 0.0)  // not when it is not a number
            edge = curve.at(phir);
        else if (EdgeAt(phir, edge) != 0)
            return -1;
        const double vertical = xyz[vertAxis];
        const double radius = length(vec2{xyz[horAxis1], xyz[horAxis2]});
        int none = 0;
        const double teta = real_atan2PI(vertical, radius, &none);
        double tetar = teta / edge.tetamax;
        if (tetar > 1.0) {
            outside += 1.0 - tetar;
            tetar = 1.0;
        }
        // Kept: the height belongs to the colour's own angle, whatever becomes of tetar.
        const double tangent = vertical > 0.0 ? radius / vertical : std::tan(teta);
        const double vtr = share_of_line(vertical, radius, tangent, edge, VTMax);
        norm[0] = tetar;
        norm[1] = phir;
        norm[2] = vtr > 1.0 ? 1.0 : vtr;
        if (penalty != nullptr)
            penalty[i] = outside;
    }
    return 0;
}

// The colour at an angle, a hue and a height.
int TTriangularTopSurface::ColourAt(double teta, double phir, double vertical, double *xyz)
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
    if (PrepareEdge() != 0)
        return -1;
    edge_curve curve;
    const bool many = count >= colours_for_a_curve && curve.load(tetaMax, edgeHeight);
    for (int i = 0; i < count; ++i, xyz += 3, norm += 3) {
        edge_point edge = {};
        const double phir = norm[1];
        const double vtr = norm[2];
        if (many && phir >= 0.0 && phir <= 1.0)
            edge = curve.at(phir);
        else if (EdgeAt(phir, edge) != 0)
            return -1;
        const double teta = norm[0] * edge.tetamax;
        if (ColourAt(teta, phir, height_at(teta, edge, VTMax) * vtr, xyz) != 0)
            return -1;
        if (penalty != nullptr)
            penalty[i] = 0.0;
    }
    return 0;
}

// ---- The smaller gamut ----------------------------------------------------------------------------------------------

int TTriangularTopSurface::PrepareSmallerGamut()
{
    if (published(tabVT) != nullptr && EdgeIsReady())
        return 0;
    const preparing turn(this);
    return DeterminePhirTetarVTMax();
}

// The top of the smaller gamut where tetar is relative to its own edge, and the angle there.
int TTriangularTopSurface::SmallerTop(double phir, double tetar, double &teta, double &top)
{
    edge_point edge = {};
    double inner = 0.0;
    if (EdgeAt(phir, edge) != 0 || lin_interp_double_inextp(tetaMaxMin, phir, &inner) != 0)
        return -1;
    teta = tetar * inner;
    top = std::min(height_at(teta, edge, VTMax), table_value(tabVT, phir, tetar));
    return 0;
}

int TTriangularTopSurface::DetermineNormCoordMinGam(double const *xyz, double *norm, double *penalty, int count)
{
    if (PrepareSmallerGamut() != 0)
        return -1;
    for (int i = 0; i < count; ++i, xyz += 3, norm += 3) {
        double phir = 0.0, outside = 0.0, inner = 0.0, teta = 0.0, top = 0.0;
        if (NormalisedHue(xyz, phir, outside) != 0 || lin_interp_double_inextp(tetaMaxMin, phir, &inner) != 0)
            return -1;
        const double vertical = xyz[vertAxis];
        int none = 0;
        double tetar = real_atan2PI(vertical, length(vec2{xyz[horAxis1], xyz[horAxis2]}), &none) / inner;
        if (tetar > 1.0) {
            outside += 1.0 - tetar;
            tetar = 1.0;
        }
        // At the tetar that was cut, so that the way back meets the same top.
        if (SmallerTop(phir, tetar, teta, top) != 0)
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
    if (PrepareSmallerGamut() != 0)
        return -1;
    for (int i = 0; i < count; ++i, xyz += 3, norm += 3) {
        double teta = 0.0, top = 0.0;
        const double phir = norm[1];
        const double vtr = norm[2];
        if (SmallerTop(phir, norm[0], teta, top) != 0 || ColourAt(teta, phir, top * vtr, xyz) != 0)
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
    table_owner table;
    const auto fill = [&] {
        seen_surface seen(umbrella);
        return fill_table(nrPhiSteps, table, [&](double phir, double tetar, double &top) {
            edge_point edge = {};
            double inner = 0.0, phi = 0.0;
            if (EdgeAt(phir, edge) != 0 || PhirToPhi(phir, &phi) != 0 ||
                lin_interp_double_inextp(tetaMaxMin, phir, &inner) != 0)
                return -1;
            const double teta = tetar * inner;
            const double radius = std::tan(teta) * just_inside;
            top = seen.height({std::cos(phi) * radius, std::sin(phi) * radius});
            if (top <= 0.0)
                top = height_at(teta, edge, VTMax);
            return 0;
        });
    };
    if (guarded(outcome::no_memory, fill) != outcome::done) {
        TESKA_ERR("out of memory");
        return -1;
    }
    publish(tabVT, table.release());
    return 0;
}

int TTriangularTopSurface::DeterminePhirVTrTetar()
{
    if (tabTetar != nullptr)
        return 0;
    if (DeterminePhirTetarVTMax() != 0)
        return -1;
    table_owner table;
    const outcome result = fill_table(
        nrPhiSteps, table, [this](double phir, double vtr, double &tetar) { return ReachOf(phir, vtr, tetar); });
    if (result == outcome::no_memory)
        TESKA_ERR("out of memory");
    if (result == outcome::failed)
        TESKA_ERR("Check code, has to be an error somewhere!");
    if (result == outcome::done)
        tabTetar = table.release();
    return result == outcome::done ? 0 : -1;
}

// The tetar up to which the umbrella is at least as high as vtr V(teta), by the steps of table 1. Where white does not
// lie on the axis, the umbrella is lower than the apex there, and 0 is the answer for a vtr near 1.
int TTriangularTopSurface::ReachOf(double phir, double vtr, double &tetar)
{
    edge_point edge = {};
    double inner = 0.0;
    if (EdgeAt(phir, edge) != 0 || lin_interp_double_inextp(tetaMaxMin, phir, &inner) != 0)
        return -1;
    tetar = 0.0;
    for (int k = 0; k < nrTetaSteps; ++k) {
        const double s = static_cast<double>(k) / (nrTetaSteps - 1);
        const double umbrella_height = table_value(tabVT, phir, s);
        const double line_height = height_at(s * inner, edge, VTMax);
        if (!(umbrella_height > 0.0) || !(line_height > 0.0))
            return -1;
        if (umbrella_height < vtr * line_height)
            return 0;
        tetar = s;
    }
    return 0;
}
