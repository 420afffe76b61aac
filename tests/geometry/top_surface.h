// top_surface - a top surface with its steps and members in the open, for its two tests

#ifndef TESKA_TESTS_TOP_SURFACE_H
#define TESKA_TESTS_TOP_SURFACE_H

#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "support/devices.h"
#include "support/generator.h"
#include "support/reports.h"

#include "interp_double.h"
#include "ttriangulartopsurface.h"

#include <gtest/gtest.h>

#include <array>
#include <numbers>
#include <string>
#include <vector>

namespace teska_test
{

using examples::device;

constexpr double pi = std::numbers::pi;
using colour = std::array<double, 3>;

inline std::vector<double> even_levels(int count)
{
    std::vector<double> levels;
    for (int i = 0; i < count; ++i)
        levels.push_back(1.0 - i / (count - 1.0));
    return levels;
}

struct Setup {
    std::vector<double> levels = even_levels(6);
    int steps = 91;
    int vertical = 0;
};

// The edge at a hue.
struct Edge {
    double phi, teta, height;
};

struct Surface : TTriangularTopSurface {
    explicit Surface(const device &of, const Setup &with = {})
        : TTriangularTopSurface(of.colorants, each(of, with.levels.data()).data(),
                                each(of, static_cast<int>(with.levels.size())).data(), const_cast<device *>(&of),
                                with.vertical, device::answer, with.steps, with.steps)
    {
    }
    template <class T>
    static std::vector<T> each(const device &of, T value)
    {
        return std::vector<T>(static_cast<std::size_t>(of.colorants), value);
    }

    // One digit for each colorant: 0 in the umbrella, 1 darkening, 2 thrown out. The list is sorted by hue.
    std::string roles() const
    {
        std::string text(static_cast<std::size_t>(nrPrims), '?');
        double last = 0.0;
        for (TElement *e = primaries->First(); e != nullptr; e = e->Next()) {
            const auto *p = static_cast<const TPrimary *>(e);
            text[static_cast<std::size_t>(p->index)] = static_cast<char>('0' + p->dark);
            const teska::vec3 c = teska::to_axes(p->xyz, vertAxis);
            const double hue = teska::gnomonic::hue_of({c.y, c.z});
            EXPECT_GE(hue, last);
            last = hue;
        }
        EXPECT_EQ(darkening->Count(), std::count(text.begin(), text.end(), '1'));
        return text;
    }
    Edge edge_at(double phir)
    {
        Edge edge = {};
        EXPECT_EQ(PhirToPhi(phir, &edge.phi), 0);
        EXPECT_EQ(UmbrellaEdge(edge.phi, &edge.teta, &edge.height), 0);
        return edge;
    }
    // The edge of the smaller gamut.
    double own_rim(double phi)
    {
        double phir = 0.0, teta = 0.0;
        EXPECT_EQ(DeterminePhirTetaMaxAndVTMin(), 0);
        EXPECT_EQ(PhiToPhir(phi, &phir), 0);
        EXPECT_EQ(lin_interp_double_inextp(tetaMaxMin, phir, &teta), 0);
        return teta;
    }

    using TTriangularTopSurface::AddToUmbrella, TTriangularTopSurface::cursorPrimCombs,
        TTriangularTopSurface::DeterminePhirVTrTetar, TTriangularTopSurface::FindDarkeningPrimaries,
        TTriangularTopSurface::nrPrims, TTriangularTopSurface::PhirToPhi, TTriangularTopSurface::PhiToPhir,
        TTriangularTopSurface::PosDeltaPhi, TTriangularTopSurface::PosPhiMin, TTriangularTopSurface::primaries,
        TTriangularTopSurface::tabTetar, TTriangularTopSurface::umbrella, TTriangularTopSurface::VTMax;
};

using Convert = int (TTriangularTopSurface::*)(const double *, double *, double *, int);

struct Triangle {
    int part;
    double xyz[3][3], own[3][3];
};

inline std::vector<Triangle> triangles_of(TTriangularTopSurface &top)
{
    std::vector<Triangle> all;
    Triangle t = {};
    for (int more = top.ScanTriangles(1, t.xyz, t.own); more >= 0; more = top.ScanTriangles(0, t.xyz, t.own)) {
        t.part += more;
        all.push_back(t);
    }
    return all;
}

}  // namespace teska_test

#endif
