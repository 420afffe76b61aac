#include "ttriangulartopsurface.h"

#include "support/folder.h"
#include "support/generator.h"
#include "support/reports.h"

#include "geometry/top_surface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <functional>
#include <iomanip>
#include <limits>
#include <memory>
#include <numbers>
#include <sstream>
#include <thread>

using namespace examples;
using namespace teska_test;

namespace
{

}  // namespace

// ---- Coordinates ----------------------------------------------------------------------------------------------------

// Three channels whose hues are 4.1, 5 and 6.
device partial_range()
{
    return {"partial", 3, [](const double *v, double *c) {
                c[0] = 0.5 * (v[0] + v[1]) + 0.2 * v[2];
                c[1] = 0.3 * (v[0] * std::cos(4.1) + v[1] * std::cos(6.0) + v[2] * std::cos(5.0));
                c[2] = 0.3 * (v[0] * std::sin(4.1) + v[1] * std::sin(6.0) + v[2] * std::sin(5.0));
            }};
}

TEST(DetermineNormCoord, KeptScalesTheMarginSoThatTheFarEndOfALateRangeLiesOutside)
{
    const device of = partial_range();
    Surface top(of);
    double phi = 0.0, norm[3], penalty = 0.0;
    const double end[3] = {0.5, 0.3 * std::cos(6.0), 0.3 * std::sin(6.0)};
    ASSERT_EQ(top.DetermineNormCoord(end, norm, &penalty, 1), 0);
    EXPECT_NEAR(top.PosPhiMin, 0.9 * 4.1, 1e-8);
    EXPECT_NEAR(top.PosDeltaPhi, 1.1 * 1.9, 1e-8);
    EXPECT_NEAR(penalty, 1.0 - (6.0 - 0.9 * 4.1) / (1.1 * 1.9), 1e-8);
    EXPECT_EQ(norm[1], 1.0);
    double back[3];
    ASSERT_EQ(top.DetermineXYZ(norm, back, nullptr, 1), 0);
    ASSERT_EQ(top.PhirToPhi(1.0, &phi), 0);
    EXPECT_NEAR(std::atan2(back[2], back[1]) + 2.0 * pi, phi, 1e-8) << "on the end of the range";
}

TEST(DetermineNormCoord, PenalisesByTheDistanceAndNotForTheHeight)
{
    const device of = lab_display(0.01);
    Surface top(of);
    double teta = 0.0, height = 0.0, before = 0.0;
    ASSERT_EQ(top.UmbrellaEdge(1.0, &teta, &height), 0);
    for (const double beyond : {1.1, 1.3, 1.5}) {
        const double radius = 50.0 * std::tan(teta * beyond);
        const double c[3] = {50.0, radius * std::cos(1.0), radius * std::sin(1.0)};
        double norm[3], penalty = 0.0;
        ASSERT_EQ(top.DetermineNormCoord(c, norm, &penalty, 1), 0);
        EXPECT_NEAR(penalty, 1.0 - beyond, 1e-6);
        EXPECT_EQ(norm[0], 1.0);
        EXPECT_LT(penalty, before);
        before = penalty;
    }
    const double apart[3][3] = {{500.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {-5.0, 0.1, 0.0}};
    double norm[9], penalty[3];
    ASSERT_EQ(top.DetermineNormCoord(apart[0], norm, penalty, 3), 0);
    EXPECT_EQ(penalty[0], 0.0);
    EXPECT_EQ(norm[2], 1.0);
    EXPECT_EQ(norm[5], 0.0);
    EXPECT_LT(penalty[2], -0.5);
}

// The whole circle, presets of a derived class: range 1 .. 3 and beyond.
TEST(PhiToPhir, FoldsOtherTurnsIntoTheFirst)
{
    const device of = printer("CM");
    Surface top(of);
    top.PosPhiMin = 1.0;
    top.PosDeltaPhi = 2.0;
    const double table[][2] = {{1.0, 0.0},
                               {3.0, 1.0},
                               {0.5, -0.25},
                               {2.0 - 6.283185307, 0.5},
                               {2.0 - 4 * 3.1415926535, 0.5},
                               {2.0 + 6.283185307, 0.5},
                               {2.0 + 4 * 3.1415926535, 0.5},
                               {6.283185307, 2.6415926535}};
    for (const auto &[phi, phir] : table) {
        double got = 9.0;
        ASSERT_EQ(top.PhiToPhir(phi, &got), 0);
        EXPECT_NEAR(got, phir, 1e-12) << phi;
    }
    double phi = 0.0;
    ASSERT_EQ(top.PhirToPhi(3.0, &phi), 0);
    EXPECT_NEAR(phi, 7.0 - 6.283185307, 1e-12);
}

// Two channels whose hues are 5.6 and 1.2, on either side of 0.
TEST(PhiToPhir, HasTheWholeCircleWhereAPartCrossesItsStart)
{
    const device of = {"crossing", 2, [](const double *v, double *c) {
                           c[0] = 0.2 + v[0] + v[1];
                           c[1] = 0.5 * (v[0] * std::cos(5.6) + v[1] * std::cos(1.2));
                           c[2] = 0.5 * (v[0] * std::sin(5.6) + v[1] * std::sin(1.2));
                       }};
    Surface top(of);
    double phir = 9.0;
    ASSERT_EQ(top.PhiToPhir(1.2, &phir), 0);
    EXPECT_DOUBLE_EQ(phir, 1.2 / 6.283185307);
}

// ---- Scans, copies, scripts -----------------------------------------------------------------------------------------

TEST(ScanDifferentPrimCombs, KeptSaysMinusOneWhereThereIsAPart)
{
    const device of = printer("CM");
    Surface top(of);
    double values[2] = {0.0, 0.0};
    EXPECT_EQ(top.ScanDifferentPrimCombs(1, values), -1);
    EXPECT_EQ(top.ScanDifferentPrimCombs(0, values), -1);
    EXPECT_EQ(values[1], -1.0);
    top.umbrella->Destroy();
    EXPECT_EQ(top.ScanDifferentPrimCombs(0, values), 0);
    EXPECT_EQ(top.cursorPrimCombs, 1);
    EXPECT_EQ(top.ScanDifferentPrimCombs(1, values), 0);
    EXPECT_EQ(top.cursorPrimCombs, 1) << "from the start";
}

// What is prepared on demand is prepared once, and seen by all as by one thread.
TEST(TopSurfaceThreads, GetTheBitsOfOne)
{
    using T = TTriangularTopSurface;
    constexpr Convert conversions[] = {&T::DetermineNormCoord, &T::DetermineXYZ, &T::DetermineNormCoordMinGam,
                                       &T::DetermineXYZMinGam};
    std::atomic<int> inside = 0, most = 0;
    const device press = printer("CMYK");
    const device of = {"counted", 4, [&](const double *v, double *c) {
                           most = std::max<int>(most, ++inside);
                           press.convert(v, c);
                           --inside;
                       }};
    Generator random(3);
    std::vector<double> colours;
    for (int i = 0; i < 900; ++i)
        colours.push_back(i % 3 == 0 ? random.between(1.0, 100.0) : random.between(-50.0, 50.0));
    // Each thread starts with another question.
    const auto answers = [&](T &top, int first) {
        std::vector<double> all(4 * 901 + 3);
        for (int k = first; k < first + 4; ++k)
            EXPECT_EQ(
                (top.*conversions[k % 4])(colours.data(), &all[900U * static_cast<unsigned>(k % 4)], nullptr, 300), 0);
        EXPECT_EQ(T(top).UmbrellaEdge(1.0, &all[3601], &all[3602]), 0);
        return all;
    };
    Surface alone(of, {.levels = even_levels(3), .steps = 31}), shared(alone);
    const std::vector<double> expected = answers(alone, 0);
    std::vector<std::thread> threads;
    for (int k = 0; k < 4; ++k)
        threads.emplace_back([&, k] { EXPECT_EQ(answers(shared, k), expected); });
    for (std::thread &t : threads)
        t.join();
    EXPECT_EQ(most, 1) << "one thread at a time is in the callback";
}

TEST(TopSurfaceCopy, SharesNothing)
{
    const device of = partial_range(), other = printer("CM");
    const auto answers = [](TTriangularTopSurface &top) {
        std::vector<double> all;
        for (const Triangle &t : triangles_of(top))
            all.insert(all.end(), &t.xyz[0][0], &t.xyz[0][0] + 9);
        const double c[3] = {0.5, 0.05, -0.1};
        for (const Convert convert :
             {&TTriangularTopSurface::DetermineNormCoord, &TTriangularTopSurface::DetermineNormCoordMinGam}) {
            double norm[3] = {}, penalty = 0.0;
            EXPECT_EQ((top.*convert)(c, norm, &penalty, 1), 0);
            all.insert(all.end(), norm, norm + 3);
        }
        return all;
    };
    auto source = std::make_unique<Surface>(of);
    const TTriangularTopSurface early(*source);
    const std::vector<double> expected = answers(*source);
    TTriangularTopSurface copy(*source), assigned = Surface(other);
    assigned = *source;
    source.reset();
    TTriangularTopSurface &itself = assigned;
    assigned = itself;
    TTriangularTopSurface of_early(early);
    for (TTriangularTopSurface *top : {&copy, &assigned, &of_early})
        EXPECT_EQ(answers(*top), expected);
}

// Two inks that mix linearly: every number of their texts is known.
device two_inks()
{
    return {"two inks", 2, [](const double *v, double *c) {
                c[0] = 20.0 + 40.0 * (v[0] + v[1]);
                c[1] = 30.0 * (v[1] - v[0]);
                c[2] = 10.0 * (1.0 - v[0]);
            }};
}

TEST(Export, WritesAScriptOrSaysWhyNot)
{
    const device of = two_inks();
    Surface top(of, {.levels = {0.0, 1.0}, .steps = 2});
    const teska_test::Folder folder;
    ASSERT_EQ(top.Export(folder.path("two.m").c_str()), 0);
    EXPECT_EQ(folder.read("two.m"), R"(hold on
x_0 = [0,30,0,0,NaN,0,0,-30,0,NaN]
y_0 = [0,10,10,0,NaN,0,10,0,0,NaN]
xs_0 = [30,0,0,-30]
ys_0 = [10,10,10,0]
% vertical line, x,y-pairs
% 0.289575,60 0.321751,60 1.5708,20 3.14159,60 3.3914,60
plot(x_0,y_0,'r',xs_0,ys_0,'y')
)");

    Reports reports;
    EXPECT_EQ(top.Export(folder.path("none/two.m").c_str()), -1);
    EXPECT_EQ(reports.take(), lines{"cannot open export file " + folder.path("none/two.m")});
    std::ostringstream broken;
    broken.setstate(std::ios::badbit);
    broken << std::hex << std::setprecision(3);
    top.ForBinaryStream(broken);
    EXPECT_EQ(top.ErrNo(), 2);
    EXPECT_TRUE(broken.flags() & std::ios::hex) << "the caller's flags come back";
    EXPECT_EQ(broken.precision(), 3);
    EXPECT_EQ(top.Export(folder.path("two.m").c_str()), -1);
    EXPECT_EQ(top.ErrNo(), 0);
    EXPECT_EQ(reports.take(), lines{"Cannot export process"});
}

TEST(Dump, WritesThePartAndNothingForUnknownOnes)
{
    const device of = two_inks();
    Surface top(of, {.levels = even_levels(3)});
    const teska_test::Folder folder;
    const std::pair<int (TTriangularTopSurface::*)(std::FILE *, int), const char *> table[] = {
        {&TTriangularTopSurface::DumpGrid, R"(1 1 100 0 0
1 0.5 80 -15 0
1 0 60 -30 0
0.5 1 80 15 5
0.5 0.5 60 0 5
0.5 0 40 -15 5
0 1 60 30 10
0 0.5 40 15 10
0 0 20 0 10
)"},
        {&TTriangularTopSurface::DumpFP, R"(colorant 1
60 30 10
40 15 10
20 0 10
colorant 0
60 -30 0
40 -15 5
20 0 10
)"},
        {&TTriangularTopSurface::DumpFirstDer, R"(colorant 1
-20 -15 0
-20 -15 0
colorant 0
-20 15 5
-20 15 5
)"},
        {&TTriangularTopSurface::DumpSecDer, R"(colorant 1
0 0 0
colorant 0
0 0 0
)"}};
    for (const auto &[dump, text] : table) {
        std::FILE *file = std::fopen(folder.path("dump").c_str(), "wb");
        for (const int part : {-1, 0, 1})
            EXPECT_EQ((top.*dump)(file, part), 0);
        std::fclose(file);
        EXPECT_EQ(folder.read("dump"), text);
    }
}

// ---- What goes wrong ------------------------------------------------------------------------------------------------

constexpr char bad_arguments[] = "Invalid Parameters, nrphisteps and nrtetasteps still need to be the same";

TEST(TopSurfaceConstructor, RefusesWhatItCannotUse)
{
    const device of = printer("CM");
    const double fine[] = {1.0, 0.0}, outside[] = {1.0, 1.5};
    const double *good[] = {fine, fine}, *missing[] = {fine, nullptr}, *wrong[] = {fine, outside};
    const int two[] = {2, 2}, one[] = {2, 1};
    void *user = const_cast<device *>(&of);
    struct {
        int n;
        const double **levels;
        const int *counts;
        void *user;
        int vertical;
        int (*callback)(void *, const double *, double *);
        int phi, teta;
        const char *report;
    } const table[] = {
        {0, good, two, user, 0, device::answer, 9, 9, bad_arguments},
        {2, good, two, nullptr, 0, device::answer, 9, 9, bad_arguments},
        {2, good, two, user, 3, device::answer, 9, 9, bad_arguments},
        {2, good, two, user, -1, device::answer, 9, 9, bad_arguments},
        {2, good, two, user, 0, nullptr, 9, 9, bad_arguments},
        {2, nullptr, nullptr, nullptr, 7, nullptr, 9, 10, bad_arguments},
        {2, good, one, user, 0, device::answer, 9, 9, "Invalid Parameters"},
        {2, missing, two, user, 0, device::answer, 9, 9, "Invalid Parameters"},
        {2, nullptr, two, user, 0, device::answer, 9, 9, "Invalid Parameters"},
        {2, good, nullptr, user, 0, device::answer, 9, 9, "Invalid Parameters"},
        {2, wrong, two, user, 0, device::answer, 9, 9, "TPrimCoord: Invalid data"},
    };
    for (const auto &row : table) {
        Reports reports;
        TTriangularTopSurface top(row.n, row.levels, row.counts, row.user, row.vertical, row.callback, row.phi,
                                  row.teta);
        EXPECT_EQ(top.ErrNo(), 2);
        EXPECT_EQ(reports.take(), lines{row.report});
        double c[3] = {}, teta = 0.0, height = 0.0;
        EXPECT_EQ(top.DetermineNormCoord(c, c, c, 1) + top.UmbrellaEdge(0.0, &teta, &height) + top.GetPrimComb(0, c),
                  -3);
        EXPECT_EQ(TTriangularTopSurface(top).ErrNo(), 2);
    }
}

// Callbacks that are none: what is reported, the error number, whether colours can be converted.
TEST(TopSurfaceConstructor, SurvivesCallbacksThatAreNoDevice)
{
    const device good = printer("CMYK");
    int calls = 0;
    const auto nan = std::numeric_limits<double>::quiet_NaN();
    using Answer = std::function<int(const double *, double *)>;
    const auto counted = [&](int until) {
        return [&good, &calls, until](const double *v, double *c) {
            good.convert(v, c);
            return ++calls > until ? -1 : 0;
        };
    };
    struct {
        Answer answer;
        lines reports;
        int error, result;
    } const table[] = {
        {counted(0), {}, 1, -1},
        {counted(4), lines(6, "Algorithm sucks"), 0, -1},
        {[&](const double *, double *c) { return c[0] = c[1] = c[2] = nan, 0; }, lines(6, "Algorithm sucks"), 0, -1},
        {[&](const double *v, double *c) {
             good.convert(v, c);
             c[1] += ++calls;
             return 0;
         },
         {"Inconsistent common bound algorithm"},
         1,
         -1},
        {[&](const double *v, double *c) {
             good.convert(v, c);
             c[0] *= 1e-5;
             return 0;
         },
         {"Such a small or big gamut is just not possible"},
         0,
         -1},
        {[&](const double *v, double *c) {
             good.convert(v, c);
             return v[0] < 0.5 && v[1] < 0.5 ? -1 : 1;
         },
         {},
         0,
         0},
    };
    for (const auto &row : table) {
        calls = 0;
        const auto call = [](void *user, const double *v, double *c) {
            return (*static_cast<const Answer *>(user))(v, c);
        };
        const std::vector<double> levels = even_levels(9);
        const double *of[] = {levels.data(), levels.data(), levels.data(), levels.data()};
        const int counts[] = {9, 9, 9, 9};
        Reports reports;
        TTriangularTopSurface top(4, of, counts, const_cast<Answer *>(&row.answer), 0, call, 31, 31);
        double c[3] = {50.0, 3.0, 3.0}, penalty = 0.0;
        EXPECT_EQ(top.ErrNo(), row.error) << &row - table;
        EXPECT_EQ(top.DetermineNormCoord(c, c, &penalty, 1), row.result) << &row - table;
        EXPECT_EQ(reports.take(), row.reports) << &row - table;
    }
}

TEST(TopSurfaceConstructor, EndsWithNoise)
{
    Generator noise(5);
    const device of = {"noise", 2, [&](const double *, double *c) {
                           c[0] = noise.between(1.0, 2.0);
                           c[1] = noise.between(-1.0, 1.0);
                           c[2] = noise.between(-1.0, 1.0);
                       }};
    Reports reports;
    Surface top(of, {.levels = even_levels(33)});
    EXPECT_LE(top.ErrNo(), 1);
    for (const std::string &line : reports.take())
        EXPECT_EQ(line, "Algorithm does not converge");
}

TEST(TopSurfaceSteps, ReportWhatTheyLack)
{
    const device one = {"one", 1, [](const double *v, double *c) { c[0] = c[1] = c[2] = v[0]; }}, two = printer("CM");
    Reports reports;
    double c[3] = {1.0, 0.0, 0.0};
    Surface single(one), coarse(two, {.steps = 1}), plain(two);
    EXPECT_EQ(single.ErrNo() + single.GetNrDifferentPrimCombs(), 0);
    EXPECT_EQ(single.DetermineNormCoord(c, c, c, 1), -1);
    EXPECT_EQ(reports.take(), lines{});
    EXPECT_EQ(coarse.DetermineXYZ(c, c, c, 1), -1);
    EXPECT_EQ(reports.take(), lines{"lin_interp : too little function points"});
    EXPECT_EQ(plain.GetDevCoord(1, c, c), -1);
    EXPECT_EQ(plain.GetDevCoord(-1, c, c), -1);
    const double outside[2] = {0.5, 1.1};
    EXPECT_EQ(plain.GetDevCoord(0, outside, c), -1);
    EXPECT_EQ(reports.take(),
              (lines{"No such umbrella surface", "No such umbrella surface", "TPrimCoord: Invalid data"}));
    EXPECT_EQ(plain.DeterminePhirVTrTetar(), 0);
    Surface broken(two);
    ASSERT_EQ(broken.DetermineXYZMinGam(c, c, nullptr, 1), 0);
    broken.VTMax = 0.0;
    ASSERT_EQ(broken.DetermineXYZMinGam(c, c, nullptr, 1), 0);
    EXPECT_EQ(broken.VTMax, plain.VTMax) << "found again";
    broken.VTMax = std::numeric_limits<double>::infinity();
    EXPECT_EQ(broken.DeterminePhirVTrTetar(), -1);
    EXPECT_EQ(reports.take(), lines{"Check code, has to be an error somewhere!"});
    single.primaries->Destroy();
    EXPECT_EQ(single.FindDarkeningPrimaries(), 0);
    EXPECT_EQ(reports.take(),
              lines{"Not yet supported, for every part of the umbrella we need to find darkening inks first"});
}
