// top_surface - a top surface with its steps and members in the open, for its two tests

#ifndef TESKA_TESTS_TOP_SURFACE_H
#define TESKA_TESTS_TOP_SURFACE_H

#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "support/devices.h"

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

inline std::vector<double> even_levels(int count, double full = 0.0)
{
    std::vector<double> levels;
    for (int i = 0; i < count; ++i)
        levels.push_back(1.0 - (1.0 - full) * i / (count - 1));
    return levels;
}

struct Setup {
    std::vector<double> levels = even_levels(6);
    int steps = 91;
    int vertical = 0;
};

// The surface with its steps and members in the open.
struct Surface : TTriangularTopSurface {
    explicit Surface(const device &of, const Setup &with = {})
        : TTriangularTopSurface(of.colorants, pointers(of, with).data(), counts(of, with).data(),
                                const_cast<device *>(&of), with.vertical, device::answer, with.steps, with.steps)
    {
    }
    static std::vector<const double *> pointers(const device &of, const Setup &with)
    {
        return std::vector<const double *>(static_cast<std::size_t>(of.colorants), with.levels.data());
    }
    static std::vector<int> counts(const device &of, const Setup &with)
    {
        return std::vector<int>(static_cast<std::size_t>(of.colorants), static_cast<int>(with.levels.size()));
    }

    // One digit for each colorant: 0 in the umbrella, 1 darkening, 2 thrown out.
    std::string roles() const
    {
        std::string text(static_cast<std::size_t>(nrPrims), '?');
        for (TElement *e = primaries->First(); e != nullptr; e = e->Next()) {
            const auto *p = static_cast<const TPrimary *>(e);
            text[static_cast<std::size_t>(p->index)] = static_cast<char>('0' + p->dark);
        }
        return text;
    }
    double own_rim(double phi)
    {
        double phir = 0.0, teta = 0.0;
        EXPECT_EQ(DeterminePhirTetaMaxAndVTMin() + PhiToPhir(phi, &phir) +
                      lin_interp_double_inextp(tetaMaxMin, phir, &teta),
                  0);
        return teta;
    }

    using TTriangularTopSurface::AddToUmbrella;
    using TTriangularTopSurface::cursorPrimCombs;
    using TTriangularTopSurface::DeterminePhirVTrTetar;
    using TTriangularTopSurface::FindDarkeningPrimaries;
    using TTriangularTopSurface::PhirToPhi;
    using TTriangularTopSurface::PhiToPhir;
    using TTriangularTopSurface::PosDeltaPhi;
    using TTriangularTopSurface::PosPhiMin;
    using TTriangularTopSurface::primaries;
    using TTriangularTopSurface::tabTetar;
    using TTriangularTopSurface::umbrella;
    using TTriangularTopSurface::VTMax;
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
