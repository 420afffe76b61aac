#include "ttriangulartopsurface.h"

#include "support/test.h"

#include "geometry/top_surface.h"

#include <atomic>
#include <iomanip>

using namespace examples;
using namespace teska_test;

namespace
{

using T = TTriangularTopSurface;

// Three channels whose hues are 4.1, 5 and 6; two whose hues are on either side of 0.
const device partial_range = {"partial", 3, [](const double *v, double *c) {
                                  c[0] = 0.5 * (v[0] + v[1]) + 0.2 * v[2];
                                  c[1] = 0.3 * (v[0] * std::cos(4.1) + v[1] * std::cos(6.0) + v[2] * std::cos(5.0));
                                  c[2] = 0.3 * (v[0] * std::sin(4.1) + v[1] * std::sin(6.0) + v[2] * std::sin(5.0));
                              }};
const device crossing_range = {"crossing", 2, [](const double *v, double *c) {
                                   c[0] = 0.2 + v[0] + v[1];
                                   c[1] = 0.5 * (v[0] * std::cos(5.6) + v[1] * std::cos(1.2));
                                   c[2] = 0.5 * (v[0] * std::sin(5.6) + v[1] * std::sin(1.2));
                               }};

// Two inks that mix linearly: every number of their texts is known.
const device two_inks = {"two inks", 2, [](const double *v, double *c) {
                             c[0] = 20.0 + 40.0 * (v[0] + v[1]);
                             c[1] = 30.0 * (v[1] - v[0]);
                             c[2] = 10.0 * (1.0 - v[0]);
                         }};

}  // namespace

TEST(DetermineNormCoord, KeptScalesTheMarginSoThatTheFarEndOfALateRangeLiesOutside)
{
    Surface top(partial_range);
    double norm[3], back[3], penalty = 0.0;
    const double end[3] = {0.5, 0.3 * std::cos(6.0), 0.3 * std::sin(6.0)};
    ASSERT_EQ(top.DetermineNormCoord(end, norm, &penalty, 1), 0);
    EXPECT_NEAR(top.PosPhiMin, 0.9 * 4.1, 1e-8);
    EXPECT_NEAR(top.PosDeltaPhi, 1.1 * 1.9, 1e-8);
    EXPECT_NEAR(penalty, 1.0 - (6.0 - 0.9 * 4.1) / (1.1 * 1.9), 1e-8);
    EXPECT_EQ(norm[1], 1.0);
    ASSERT_EQ(top.DetermineXYZ(norm, back, nullptr, 1), 0);
    EXPECT_NEAR(std::atan2(back[2], back[1]) + 2.0 * pi, top.edge_at(1.0).phi, 1e-8) << "on the end of the range";
}

TEST(DetermineNormCoord, PenalisesByTheDistanceAndNotForTheHeight)
{
    const device of = lab_display(0.01);
    Surface top(of);
    const auto [phi, teta, height] = top.edge_at(0.2);
    double norm[18], penalty[6];
    const double radius = 50.0 * std::tan(teta * 1.3);
    const double beyond[3] = {50.0, radius * std::cos(phi), radius * std::sin(phi)};
    ASSERT_EQ(top.DetermineNormCoord(beyond, norm, penalty, 1), 0);
    EXPECT_NEAR(penalty[0], -0.3, 1e-6);
    EXPECT_EQ(norm[0], 1.0);
    const double apart[] = {500, 0, 0, 40, 0, 0, -5, 0.1, 0, 0, 0, 0, 1e-200, 5, 0, 1e-310, 5, 0};
    ASSERT_EQ(top.DetermineNormCoord(apart, norm, penalty, 6), 0);
    EXPECT_EQ((std::array{norm[1], norm[2], norm[3], norm[11]}), (std::array{0.0, 1.0, 0.0, 0.0}));
    EXPECT_DOUBLE_EQ(norm[5], 40.0 / top.VTMax);
    EXPECT_EQ((std::array{penalty[0], penalty[1]}), (std::array{0.0, 0.0}));
    EXPECT_LT(penalty[2], -0.5);
    EXPECT_DOUBLE_EQ(norm[14], norm[17]) << "nearly black: the tangent passes all numbers";
}

// The whole circle, where a part crosses its start; then presets of a derived class: range 1 .. 3 and beyond.
TEST(PhiToPhir, FoldsOtherTurnsIntoTheFirst)
{
    Surface top(crossing_range);
    double got = 9.0;
    ASSERT_EQ(top.PhiToPhir(1.2, &got), 0);
    EXPECT_DOUBLE_EQ(got, 1.2 / 6.283185307);
    top.PosPhiMin = 1.0;
    top.PosDeltaPhi = 2.0;
    const double turns = 4 * 3.1415926535;
    const double table[][2] = {{1.0, 0.0},         {3.0, 1.0},         {0.5, -0.25},
                               {2.0 - turns, 0.5}, {2.0 + turns, 0.5}, {6.283185307, 2.6415926535}};
    for (const auto &[phi, phir] : table) {
        ASSERT_EQ(top.PhiToPhir(phi, &got), 0);
        EXPECT_NEAR(got, phir, 1e-12) << phi;
    }
    ASSERT_EQ(top.PhirToPhi(3.0, &got), 0);
    EXPECT_NEAR(got, 7.0 - 6.283185307, 1e-12);
}

TEST(ScanDifferentPrimCombs, KeptSaysMinusOneWhereThereIsAPart)
{
    Surface top(two_inks);
    double values[2] = {0.0, 0.0};
    EXPECT_EQ(top.ScanDifferentPrimCombs(1, values), -1);
    EXPECT_EQ(top.ScanDifferentPrimCombs(0, values), -1);
    EXPECT_EQ(values[1], -1.0);
    top.umbrella->Destroy();
    EXPECT_EQ(top.PhirToPhi(0.5, values), -1);
    EXPECT_EQ(top.ScanDifferentPrimCombs(0, values), 0);
    top.VTMax = 7;
    EXPECT_EQ(Surface(top).VTMax + Surface(top).cursorPrimCombs, 8);
    EXPECT_EQ(top.ScanDifferentPrimCombs(1, values), 0);
    EXPECT_EQ(top.cursorPrimCombs, 1) << "from the start";
}

TEST(TopSurfaceThreads, AreInTheCallbackOneAtATime)
{
    std::atomic<int> inside = 0, most = 0;
    const device of = {"counted", 2, [&](const double *v, double *c) {
                           most = std::max<int>(most, ++inside);
                           std::this_thread::yield();
                           two_inks.convert(v, c);
                           --inside;
                       }};
    Surface shared(of);
    std::vector<std::thread> threads;
    for (const Convert question :
         {&T::DetermineNormCoord, &T::DetermineXYZ, &T::DetermineNormCoordMinGam, &T::DetermineXYZMinGam})
        threads.emplace_back([&, question] {
            double c[3] = {50.0, 20.0, -30.0};
            EXPECT_EQ((shared.*question)(c, c, nullptr, 1), 0);
        });
    for (std::thread &t : threads)
        t.join();
    EXPECT_EQ(most, 1);
}

TEST(TopSurfaceCopy, SharesNothing)
{
    for (const int vertical : {0, 1}) {
        const auto answers = [=](TTriangularTopSurface &top) {
            colour c = {0.5, 0.05, -0.1};
            std::rotate(c.begin(), c.end() - vertical, c.end());
            EXPECT_EQ(top.DetermineNormCoordMinGam(c.data(), c.data(), nullptr, 1), 0);
            std::vector<double> all(c.begin(), c.end());
            for (const Triangle &t : triangles_of(top))
                all.insert(all.end(), &t.xyz[0][0], &t.xyz[0][0] + 9);
            return all;
        };
        const device turned = {"turned", 3, [=](const double *v, double *c) {
                                   partial_range.convert(v, c);
                                   std::rotate(c, c + 3 - vertical, c + 3);
                               }};
        auto source = std::make_unique<Surface>(turned, teska_test::Setup{.vertical = vertical});
        TTriangularTopSurface early(*source);
        const std::vector<double> expected = answers(*source);
        TTriangularTopSurface copy(*source), assigned = Surface(two_inks);
        answers(assigned);  // its tables go with the next line
        assigned = *source;
        source.reset();
        assigned = *&assigned;
        for (TTriangularTopSurface *top : {&early, &copy, &assigned})
            EXPECT_EQ(answers(*top), expected);
    }
}

// Stopped anywhere, a scan goes on in a copy, and begins anew.
TEST(TopSurfaceCopy, ScansOnFromWhereTheOtherStands)
{
    const device press = printer("CMYKog");
    Surface top(press, {.levels = {0.0, 0.5, 1.0}, .steps = 31});
    using Both = std::array<double, 18>;  // places and own coordinates
    for (const bool hidden : {false, true}) {
        std::vector<Both> all;
        const auto next = [=](T &of, int first) {
            Triangle t = {};
            Both both = {};
            if ((hidden ? of.ScanMaskedTriangles(first, t.xyz) : of.ScanTriangles(first, t.xyz, t.own)) >= 0)
                std::copy_n(t.own[0], 9, std::copy_n(t.xyz[0], 9, both.begin()));
            return both;
        };
        for (int first = 1; first != 0 || all.back() != Both{}; first = 0)
            all.push_back(next(top, first));
        EXPECT_GT(all.size(), 30U);
        for (std::size_t stop = 1; stop < std::min<std::size_t>(all.size(), 40); ++stop) {
            for (std::size_t i = 0; i < stop; ++i)
                EXPECT_EQ(next(top, i == 0 ? 1 : 0), all[i]) << stop << " " << i;
            Surface copy(top);
            for (std::size_t i = stop; i < all.size(); ++i)
                EXPECT_EQ(next(copy, 0), all[i]) << stop << " " << i;
        }
    }
}

TEST(Export, WritesAScriptOrSaysWhyNot)
{
    Surface top(two_inks, {.levels = {0.0, 1.0}, .steps = 2});
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
    Surface top(two_inks, {.levels = even_levels(3)});
    const teska_test::Folder folder;
    std::FILE *file = std::fopen(folder.path("dump").c_str(), "wb");
    Reports reports;
    for (const auto dump : {&T::DumpGrid, &T::DumpFP, &T::DumpFirstDer, &T::DumpSecDer})
        for (const int part : {-1, 0, 1})
            EXPECT_EQ((top.*dump)(file, part), 0) << part;
    EXPECT_EQ(reports.take(), lines());
    std::fclose(file);
    EXPECT_EQ(folder.read("dump"), "1 1 100 0 0\n1 0.5 80 -15 0\n1 0 60 -30 0\n"
                                   "0.5 1 80 15 5\n0.5 0.5 60 0 5\n0.5 0 40 -15 5\n"
                                   "0 1 60 30 10\n0 0.5 40 15 10\n0 0 20 0 10\n"
                                   "colorant 1\n60 30 10\n40 15 10\n20 0 10\n"
                                   "colorant 0\n60 -30 0\n40 -15 5\n20 0 10\n"
                                   "colorant 1\n-20 -15 0\n-20 -15 0\ncolorant 0\n-20 15 5\n-20 15 5\n"
                                   "colorant 1\n0 0 0\ncolorant 0\n0 0 0\n");
}

TEST(TopSurfaceConstructor, RefusesWhatItCannotUse)
{
    for (int k = 0; k < 10; ++k) {  // each argument in turn
        SCOPED_TRACE(k);
        const double ramp[] = {1.0, k == 9 ? 1.5 : 0.0}, *levels[] = {ramp, k == 6 ? nullptr : ramp};
        const int counts[] = {2, k == 5 ? 1 : 2};
        Reports reports;
        TTriangularTopSurface top(k == 0 ? 0 : 2, k == 4 || k == 7 ? nullptr : levels, k == 8 ? nullptr : counts,
                                  k == 2 ? nullptr : const_cast<device *>(&two_inks), k == 1 ? 3 : 0,
                                  k == 3 ? nullptr : device::answer, k == 4 ? 10 : 9, 9);
        EXPECT_EQ(top.ErrNo(), 2);
        EXPECT_EQ(reports.take(),
                  lines{k < 5   ? "Invalid Parameters, nrphisteps and nrtetasteps still need to be the same"
                        : k < 9 ? "Invalid Parameters"
                                : "TPrimCoord: Invalid data"});
        double c[3] = {}, teta = 0.0, height = 0.0;
        EXPECT_EQ(top.DetermineNormCoord(c, c, c, 1), -1);
        EXPECT_EQ(top.UmbrellaEdge(0.0, &teta, &height), -1);
        EXPECT_EQ(top.GetPrimComb(0, c), -1);
        EXPECT_EQ(TTriangularTopSurface(top).ErrNo(), 2);
    }
}

// Callbacks that are none: what is reported, the error number, whether colours can be converted.
TEST(TopSurfaceConstructor, SurvivesCallbacksThatAreNoDevice)
{
    struct Odd {
        lines reports;
        int error, result;
        int fails_after = 1000;  // calls
        double lightness = 1.0, drift = 0.0;
        bool hole = false;
        device good = printer("CMYK");
        int calls = 0;
        static int answer(void *self, const double *v, double *c)
        {
            auto *const odd = static_cast<Odd *>(self);
            odd->good.convert(v, c);
            c[0] *= odd->lightness;
            c[1] += odd->drift * ++odd->calls;
            return odd->calls > odd->fails_after || (odd->hole && v[0] < 0.5 && v[1] < 0.5) ? -1 : 1;
        }
    } table[] = {
        {.reports = {}, .error = 1, .result = -1, .fails_after = 0},
        {.reports = lines(6, "Algorithm sucks"), .error = 0, .result = -1, .fails_after = 4},
        {.reports = lines(6, "Algorithm sucks"), .error = 0, .result = -1, .lightness = std::nan("")},
        {.reports = {"Inconsistent common bound algorithm"}, .error = 1, .result = -1, .drift = 1.0},
        {.reports = {"Such a small or big gamut is just not possible"}, .error = 0, .result = -1, .lightness = 1e-5},
        {.reports = {}, .error = 0, .result = 0, .hole = true},
    };
    const std::vector<double> levels = even_levels(9);
    for (Odd &row : table) {
        SCOPED_TRACE(&row - table);
        Reports reports;
        TTriangularTopSurface top(4, Surface::each(row.good, levels.data()).data(), Surface::each(row.good, 9).data(),
                                  &row, 0, Odd::answer, 31, 31);
        double c[3] = {50.0, 3.0, 3.0};
        EXPECT_EQ(top.ErrNo(), row.error);
        EXPECT_EQ(top.DetermineNormCoord(c, c, nullptr, 1), row.result);
        EXPECT_EQ(reports.take(), row.reports);
    }
}

TEST(TopSurfaceConstructor, EndsWithNoise)
{
    Generator noise(5);
    const device of = {"noise", 2, [&](const double *, double *c) {
                           for (int k = 0; k < 3; ++k)
                               c[k] = noise.between(k == 0 ? 1.0 : -1.0, k == 0 ? 2.0 : 1.0);
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
    EXPECT_EQ(single.ErrNo(), 0);
    EXPECT_EQ(single.GetNrDifferentPrimCombs(), 0);
    EXPECT_EQ(single.DetermineNormCoord(c, c, c, 1), -1);
    EXPECT_EQ(single.DeterminePhirVTrTetar(), -1);
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
