#include "ttriangulartopsurface.h"

#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "support/devices.h"
#include "support/folder.h"
#include "support/generator.h"
#include "support/reports.h"

#include "error_mess.h"
#include "interp_double.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <sstream>

using namespace examples;
using teska_test::Generator;
using teska_test::lines;
using teska_test::Reports;

namespace
{

constexpr double pi = std::numbers::pi;
using colour = std::array<double, 3>;

std::vector<double> even_levels(int count, double full = 0.0)
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
    Surface(const device &of, const Setup &with = {})
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
    using TTriangularTopSurface::umbrella;
    using TTriangularTopSurface::VTMax;
};

// A device value that lies on a face of the cube as often as not.
double amount(Generator &random)
{
    const int which = random.below(6);
    return which < 2 ? which : random.unit();
}

std::vector<double> some_colours(const device &of, int count, std::uint64_t seed)
{
    Generator random(seed);
    std::vector<double> xyz, values(static_cast<std::size_t>(of.colorants));
    while (static_cast<int>(xyz.size()) < 3 * count) {
        std::generate(values.begin(), values.end(), [&] { return amount(random); });
        colour c;
        of.convert(values.data(), c.data());
        if (c[0] > 1e-4)
            xyz.insert(xyz.end(), c.begin(), c.end());
    }
    return xyz;
}

struct Triangle {
    int part;
    double xyz[3][3], own[3][3];
};

std::vector<Triangle> triangles_of(TTriangularTopSurface &top)
{
    std::vector<Triangle> all;
    Triangle t = {};
    for (int more = top.ScanTriangles(1, t.xyz, t.own); more >= 0; more = top.ScanTriangles(0, t.xyz, t.own)) {
        t.part += more;
        all.push_back(t);
    }
    return all;
}

double twice_area(const double (&c)[3][3])
{
    const auto x = [&](int k) { return c[k][1] / c[k][0]; };
    const auto y = [&](int k) { return c[k][2] / c[k][0]; };
    return (x(1) - x(0)) * (y(2) - y(0)) - (x(2) - x(0)) * (y(1) - y(0));
}

// Whether the ray in a direction meets the triangle.
bool meets(const Triangle &t, double x, double y)
{
    for (int k = 0; k < 3; ++k) {
        const double *a = t.xyz[k];
        const double *b = t.xyz[(k + 1) % 3];
        const double ax = a[1] / a[0], ay = a[2] / a[0], bx = b[1] / b[0], by = b[2] / b[0];
        if ((bx - ax) * (y - ay) - (x - ax) * (by - ay) <= 0.0)
            return false;
    }
    return true;
}

// The height of the triangle in a direction.
double height_of(const Triangle &t, double x, double y)
{
    const double ray[3] = {1.0, x, y};
    double n[3], plane = 0.0, along = 0.0;
    const auto edge = [&](int a, int k) { return t.xyz[a][k % 3] - t.xyz[0][k % 3]; };
    for (int k = 0; k < 3; ++k) {
        n[k] = edge(1, k + 1) * edge(2, k + 2) - edge(1, k + 2) * edge(2, k + 1);
        plane += n[k] * t.xyz[0][k];
        along += n[k] * ray[k];
    }
    return plane / along;
}

// Colours that come back from normalised coordinates; returns the largest difference.
using Convert = int (TTriangularTopSurface::*)(const double *, double *, double *, int);
double round_trip(TTriangularTopSurface &top, const std::vector<double> &xyz, Convert there, Convert back)
{
    const std::size_t count = xyz.size() / 3;
    std::vector<double> norm(xyz.size()), again(xyz.size()), penalty(count);
    EXPECT_EQ((top.*there)(xyz.data(), norm.data(), penalty.data(), static_cast<int>(count)), 0);
    EXPECT_EQ((top.*back)(norm.data(), again.data(), nullptr, static_cast<int>(count)), 0);
    double worst = 0.0;
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t k = 3 * i; k < 3 * i + 3 && penalty[i] == 0.0 && norm[3 * i + 2] < 1.0; ++k)
            worst = std::max(worst, std::fabs(again[k] - xyz[k]));
    return worst;
}

}  // namespace

// ---- The umbrella of a device ---------------------------------------------------------------------------------------

struct Case {
    device of;
    const char *roles;
    int parts;  // 0: not known beforehand
    double reach = 1.003;
    Setup with = {};
};

class TopSurface : public testing::TestWithParam<int>
{
public:
    static const std::vector<Case> &cases()
    {
        static const std::vector<Case> all = {
            {linear_display(), "000", 3},
            {lab_display(0.0), "000", 3},
            {lab_display(0.01), "000", 3},
            {linear_four(), "0000", 8},
            {printer("CM"), "00", 1, 1.007},
            {printer("CMY"), "000", 3},
            {printer("CMYK"), "0001", 3, 1.003, {.levels = {0.0, 1.0, 0.3, 0.8, 0.3}}},
            {printer("CMYK"), "0001", 3, 1.003, {.levels = {0.9, 0.3}, .steps = 361}},
            {printer("KCMY"), "1000", 3, 1.003, {.levels = even_levels(11)}},
            {printer("CKMY"), "0100", 3, 1.003, {.levels = even_levels(3)}},
            {printer("CMYKD"), "00012", 3},
            {printer("CMYKc"), "00010", 0},
            {printer("CMYKog"), "000100", 0},
            {printer("XCMY"), "1000", 3},
        };
        return all;
    }
};

TEST_P(TopSurface, HoldsItsDeviceAndSeesEachDirectionOnce)
{
    const Case &c = cases()[static_cast<std::size_t>(GetParam())];
    SCOPED_TRACE(c.of.name);
    Surface top(c.of, c.with);
    ASSERT_EQ(top.ErrNo(), 0);
    EXPECT_EQ(top.roles(), c.roles);
    EXPECT_TRUE(c.parts == 0 || top.GetNrDifferentPrimCombs() == c.parts) << top.GetNrDifferentPrimCombs();
    ASSERT_GT(top.GetNrDifferentPrimCombs(), 0);

    // With an ink limit the device ends where its levels do.
    const double full = *std::min_element(c.with.levels.begin(), c.with.levels.end());
    device limited = c.of;
    limited.convert = [&](const double *values, double *xyz) {
        std::vector<double> inside(values, values + c.of.colorants);
        for (double &value : inside)
            value = full + (1.0 - full) * value;
        c.of.convert(inside.data(), xyz);
    };
    const std::vector<double> colours = some_colours(limited, 3000, 1);
    std::vector<double> norm(colours.size()), penalty(colours.size() / 3);
    ASSERT_EQ(top.DetermineNormCoord(colours.data(), norm.data(), penalty.data(), 3000), 0);
    EXPECT_GT(*std::min_element(penalty.begin(), penalty.end()), 1.0 - c.reach);
    for (std::size_t k = 0; k < 90; k += 3) {
        colour alone;
        ASSERT_EQ(top.DetermineNormCoord(&colours[k], alone.data(), nullptr, 1), 0);
        EXPECT_TRUE(std::equal(alone.begin(), alone.end(), &norm[k])) << "as among many";
    }
    using T = TTriangularTopSurface;
    EXPECT_LT(round_trip(top, colours, &T::DetermineNormCoord, &T::DetermineXYZ), 1e-7);
    EXPECT_LT(round_trip(top, colours, &T::DetermineNormCoordMinGam, &T::DetermineXYZMinGam), 1e-7);

    const std::vector<Triangle> triangles = triangles_of(top);
    double area = 0.0, own = 0.0;
    for (const Triangle &t : triangles)
        area += 0.5 * twice_area(t.xyz);
    for (TElement *e = top.umbrella->First(); e != nullptr; e = e->Next())
        own += static_cast<TPrimComb *>(e)->Area();
    double hidden[3][3];
    for (int more = top.ScanMaskedTriangles(1, hidden); more >= 0; more = top.ScanMaskedTriangles(0, hidden))
        area += 0.5 * twice_area(hidden);
    EXPECT_NEAR(area, own, 1e-8 * own);

    Generator random(2);
    int met[3] = {0, 0, 0};
    for (int i = 0; i < 300; ++i) {
        const double phi = random.between(0.0, 2.0 * pi);
        double place[3] = {0.999 * std::sqrt(random.unit()), 0.0, 1.0}, peak[3];
        const double radius = std::tan(top.own_rim(phi) * place[0]);
        const double x = radius * std::cos(phi), y = radius * std::sin(phi);
        const auto met_here = [=](const Triangle &t) { return meets(t, x, y); };
        const auto count = std::count_if(triangles.begin(), triangles.end(), met_here);
        ++met[std::min<std::ptrdiff_t>(count, 2)];
        ASSERT_EQ(top.PhiToPhir(phi, &place[1]) + top.DetermineXYZMinGam(place, peak, nullptr, 1), 0);
        if (count == 1) {
            const auto t = std::find_if(triangles.begin(), triangles.end(), met_here);
            EXPECT_LT(peak[0], 1.02 * height_of(*t, x, y)) << "the smaller gamut ends at the umbrella";
        }
    }
    EXPECT_EQ(met[2], 0);
    EXPECT_LE(met[0], c.of.colorants == 2 ? 9 : 0) << "a sheet need not surround the axis when there is but one";
}

INSTANTIATE_TEST_SUITE_P(Devices, TopSurface, testing::Range(0, static_cast<int>(TopSurface::cases().size())));

// The faces of the zonotope that are seen from the darkest point, and the cone that its edges from there span.
TEST(TopSurfaceOfFourChannels, IsTheKnownOne)
{
    const device four = linear_four();
    Surface top(four);
    int ring[2] = {0, 0};
    for (int part = 0; part < top.GetNrDifferentPrimCombs(); ++part) {
        double device[4];
        ASSERT_EQ(top.GetPrimComb(part, device), 0);
        EXPECT_EQ(std::count(device, device + 4, -1.0), 2);
        EXPECT_EQ(top.GetNrVarCoordPrimComb(part), 2);
        ++ring[std::count(device, device + 4, 0.0)];
    }
    EXPECT_EQ(ring[0], 4);
    EXPECT_EQ(ring[1], 4);
    for (const Triangle &t : triangles_of(top)) {
        for (int k = 0; k < 3; ++k) {
            double values[4];
            colour c;
            ASSERT_EQ(top.GetDevCoord(t.part, t.own[k], values), 0);
            four.convert(values, c.data());
            EXPECT_NEAR(c[0], t.xyz[k][0], 1e-9);
            EXPECT_NEAR(c[1], t.xyz[k][1], 1e-9);
        }
    }
    for (int i = 0; i < 4; ++i) {
        double values[4] = {0.0, 0.0, 0.0, 0.0}, teta = 0.0, height = 0.0;
        values[i] = 1.0;
        colour c;
        four.convert(values, c.data());
        ASSERT_EQ(top.UmbrellaEdge(std::atan2(c[2], c[1]), &teta, &height), 0);
        EXPECT_NEAR(teta, std::atan(std::hypot(c[1], c[2]) / c[0]), 1e-6);
    }
    ASSERT_EQ(static_cast<TPrimComb *>(top.umbrella->First())->SetPieces({}, {}), 0);
    Triangle further;
    EXPECT_EQ(top.ScanTriangles(1, further.xyz, further.own), 1) << "the first part has none";
}

// Of all faces of the device cube in fine steps, the colour of each three degrees that reaches farthest.
TEST(UmbrellaEdge, AgreesWithADenseSampleOfTheDevice)
{
    const device of = printer("CMYK");
    Surface top(of, {.levels = even_levels(11), .steps = 181});
    constexpr int fine = 51;
    std::vector<double> farthest(120, -9.0);
    for (int pair = 0; pair < 16 * 16; ++pair) {
        const int varying = pair / 16;
        if (std::popcount(static_cast<unsigned>(varying)) != 2 || (pair % 16 & varying) != 0)
            continue;
        for (int k = 0; k < fine * fine; ++k) {
            double values[4];
            bool second = false;
            for (int i = 0; i < 4; ++i) {
                const bool varies = (varying >> i & 1) != 0;
                values[i] = varies ? (second ? k / fine : k % fine) / (fine - 1.0) : pair >> i & 1;
                second = second || varies;
            }
            colour c;
            of.convert(values, c.data());
            const double phi = std::atan2(c[2], c[1]);
            double teta = 0.0, height = 0.0;
            ASSERT_EQ(top.UmbrellaEdge(phi, &teta, &height), 0);
            double &best = farthest[static_cast<std::size_t>((phi / pi + 2.0) * 60.0) % 120];
            best = std::max(best, std::atan2(std::hypot(c[1], c[2]), c[0]) - teta);
        }
    }
    for (const double beyond : farthest)
        EXPECT_NEAR(beyond, 0.0, 0.1 * pi / 180.0);
}

TEST(UmbrellaEdge, NearsTheTrueRimWithTheSquareOfTheLevels)
{
    const device of = printer("CMY");
    Surface truth(of, {.levels = even_levels(65), .steps = 361});
    double error[3] = {0.0, 0.0, 0.0};
    for (int i = 0; i < 3; ++i) {
        Surface top(of, {.levels = even_levels((4 << i) + 1), .steps = 361});
        for (double phi = 0.0; phi < 6.28; phi += 0.01)
            error[i] = std::max(error[i], std::fabs(top.own_rim(phi) - truth.own_rim(phi)));
    }
    EXPECT_LT(error[0], 0.5 * pi / 180.0);
    EXPECT_GT(error[0] / error[1], 3.0);
    EXPECT_GT(error[1] / error[2], 3.0);
}

TEST(TopSurfaceAxes, MakeNoDifferenceButTheOrder)
{
    const device lab = printer("CMYK");
    Surface plain(lab);
    for (const int vertical : {1, 2}) {
        // (L, a, b) as (a, L, b) and as (a, b, L).
        const device turned = {"turned", 4, [&](const double *values, double *xyz) {
                                   colour c;
                                   lab.convert(values, c.data());
                                   std::rotate(c.begin(), c.begin() + 1, c.begin() + 1 + vertical);
                                   std::copy(c.begin(), c.end(), xyz);
                               }};
        Surface top(turned, {.vertical = vertical});
        double teta[2], height[2];
        ASSERT_EQ(plain.UmbrellaEdge(1.0, &teta[0], &height[0]) + top.UmbrellaEdge(1.0, &teta[1], &height[1]), 0);
        EXPECT_EQ(teta[0], teta[1]);
        EXPECT_EQ(height[0], height[1]);
        const double axis[3] = {0.0, vertical == 1 ? 40.0 : 0.0, vertical == 2 ? 40.0 : 0.0};
        double norm[3], penalty = 1.0;
        ASSERT_EQ(top.DetermineNormCoord(axis, norm, &penalty, 1), 0);
        EXPECT_EQ(norm[0] + penalty, 0.0);
        EXPECT_DOUBLE_EQ(norm[2], 40.0 / top.VTMax);
    }
}

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
}

TEST(TopSurfaceCopy, SharesNothing)
{
    const device of = printer("CMYK"), other = printer("CM");
    const auto answers = [](TTriangularTopSurface &top) {
        std::vector<double> all;
        for (const Triangle &t : triangles_of(top))
            all.insert(all.end(), &t.xyz[0][0], &t.xyz[0][0] + 9);
        const double c[3] = {50.0, 12.0, -20.0};
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

TEST(Export, WritesAScriptOrSaysWhyNot)
{
    const device of = printer("CM");
    Surface top(of, {.levels = {0.0, 1.0}, .steps = 2});
    const teska_test::Folder folder;
    ASSERT_EQ(top.Export(folder.path("cm.m").c_str()), 0);
    const std::string script = folder.read("cm.m");
    for (const char *piece : {"x_0 = [", "\ny_0 = [", "\nxs_0 = [", "\nys_0 = [", "]\n% vertical line, x,y-pairs\n",
                              "\nplot(x_0,y_0,'r',xs_0,ys_0,'y')\n"})
        EXPECT_NE(script.find(piece), std::string::npos) << piece;

    Reports reports;
    EXPECT_EQ(top.Export(folder.path("none/cm.m").c_str()), -1);
    EXPECT_EQ(reports.take(), lines{"cannot open export file " + folder.path("none/cm.m")});
    std::ostringstream broken;
    broken.setstate(std::ios::badbit);
    top.ForBinaryStream(broken);
    EXPECT_EQ(top.ErrNo(), 2);
    EXPECT_EQ(top.Export(folder.path("cm.m").c_str()), -1);
    EXPECT_EQ(top.ErrNo(), 0);
    EXPECT_EQ(reports.take(), lines{"Cannot export process"});
}

TEST(Dump, WritesALineForEachPointAndNothingForUnknownParts)
{
    const device of = printer("CM");
    Surface top(of, {.levels = even_levels(4)});
    const teska_test::Folder folder;
    using Dump = int (TTriangularTopSurface::*)(std::FILE *, int);
    using T = TTriangularTopSurface;
    const std::pair<Dump, int> table[] = {
        {&T::DumpGrid, 16}, {&T::DumpFP, 10}, {&T::DumpFirstDer, 8}, {&T::DumpSecDer, 6}};
    for (const auto &[dump, count] : table) {
        std::FILE *file = std::fopen(folder.path("dump").c_str(), "wb");
        for (const int part : {-1, 0, 1})
            EXPECT_EQ((top.*dump)(file, part), 0);
        std::fclose(file);
        const std::string text = folder.read("dump");
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), count);
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

// ---- A part by itself -----------------------------------------------------------------------------------------------

namespace
{

// Two of three colorants vary; the colour is linear in them with a bend that `curve` gives.
struct Sheet {
    double axis[3] = {1.0, 0.5, 0.0};
    double *levels[3] = {axis, axis, axis};
    int counts[3] = {3, 3, 3};
    double height = 1.0, curve = 0.0, fail = 0.0, stretch = 1.0;

    static int answer(void *self, const double *v, double *c)
    {
        const auto *s = static_cast<const Sheet *>(self);
        c[0] = s->height + s->curve * (v[0] - 0.5);
        c[1] = s->stretch * c[0] * (v[0] - v[1]);
        c[2] = c[0] * (v[0] + v[1] + (v[2] < 0.5 ? 5.0 : 0.0));
        return s->fail != 0.0 ? -1 : 0;
    }
    std::unique_ptr<TPrimComb> part(int a, int b, std::vector<double> device)
    {
        const double black[3] = {};
        TPrimary pa(black, a, 0), pb(black, b, 0);
        return std::make_unique<TPrimComb>(&pa, &pb, device.data(), 3, levels, counts, answer, this, 0);
    }
};

}  // namespace

TEST(TPrimComb, RefusesWhatIsNoPart)
{
    Sheet sheet;
    Reports reports;
    for (const std::vector<double> &device :
         std::vector<std::vector<double>>{{-1, 1, 1}, {-1, -1, -1}, {-1, -1, 1.5}, {1, -1, -1}}) {
        const auto part = sheet.part(0, 1, device);
        EXPECT_EQ(part->ErrNo(), 2);
        EXPECT_EQ(reports.take(), lines{"TPrimCoord: Invalid data"});
        EXPECT_EQ(part->Prepare(), -1);
        EXPECT_EQ(reports.take(), lines{"Bad Initialisation of PrimComb"});
    }
    EXPECT_EQ(TPrimComb(nullptr, nullptr, sheet.axis, 3, sheet.levels, sheet.counts, Sheet::answer, &sheet, 0).ErrNo(),
              2);
    EXPECT_EQ(reports.take(), lines{"Wrong input"});
    double c[3][3];
    EXPECT_EQ(sheet.part(0, 1, {-1, -1, 1})->NextTriangle(1, c, c), -1);
    EXPECT_EQ(reports.take(), lines{"algo sucks"});
    const auto here = sheet.part(0, 1, {-1, -1, 1}), apart = sheet.part(0, 1, {-1, -1, 0});
    int a = 0, b = 0;
    EXPECT_EQ(here->CommonBound(*apart, a, b, c[0]), -1);
    EXPECT_EQ(reports.take(), lines{"No Common Bounds!"});
}

TEST(TPrimComb, ComparesWithAnOlderOne)
{
    struct {
        Sheet mine;
        int a, b;
        std::vector<double> device;
        int outcome;
    } table[] = {
        {{}, 0, 1, {-1, -1, 1}, 4},
        {{}, 0, 1, {-1, -1, 0}, 2},
        {{.height = 0.5}, 0, 1, {-1, -1, 1.0 - 1e-7}, 1},
        {{.height = 2.0}, 0, 1, {-1, -1, 1.0 - 1e-7}, 0},
        {{.curve = 1.0}, 0, 1, {-1, -1, 1.0 - 1e-7}, 2},
        {{.curve = 0.0}, 0, 1, {-1, -1, 1.0 - 1e-7}, 4},
        {{.stretch = 1.0001}, 0, 1, {-1, -1, 1.0 - 1e-7}, 2},
        {{.fail = 1.0}, 0, 1, {-1, -1, 0.9}, -10},
    };
    Reports reports;
    Sheet base;
    const auto old = base.part(0, 1, {-1, -1, 1});
    for (auto &row : table)
        EXPECT_EQ(static_cast<int>(row.mine.part(row.a, row.b, row.device)->Compare(*old)), row.outcome) << &row - table;
    EXPECT_EQ(reports.take(), lines{"Algorithm sucks"});
}

TEST(AddToUmbrella, TakesWhatLiesApartOrFarther)
{
    const device of = printer("CM");
    Surface top(of);
    top.umbrella->Destroy();
    struct {
        Sheet sheet;
        double third;
        int taken, parts;
    } table[] = {{{}, 1.0, 1, 1},
                 {{}, 1.0, 0, 1},
                 {{.height = 0.5}, 1.0 - 1e-7, 0, 1},
                 {{.height = 2.0}, 1.0 - 1e-7, 1, 1},
                 {{}, 0.0, 1, 2},
                 {{.fail = 1.0}, 0.5, -10, 2}};
    Reports reports;
    for (auto &row : table) {
        auto part = row.sheet.part(0, 1, {-1, -1, row.third});
        const TPrimComb *offered = part.get();
        EXPECT_EQ(top.AddToUmbrella(part.get()), row.taken) << &row - table;
        if (row.taken == 1)
            static_cast<void>(part.release());
        EXPECT_EQ(top.umbrella->Count(), row.parts);
        EXPECT_EQ(top.umbrella->Last() == offered, row.taken == 1);
    }
}

TEST(TPrimComb, KeptEndsTheWalkOverFurtherColorantsBelowOne)
{
    Sheet sheet;
    double device[3];
    const auto part = sheet.part(0, 1, {-1, -1, 1}), reversed = sheet.part(1, 2, {1, -1, -1});
    EXPECT_EQ(part->AddFurther(2) + reversed->AddFurther(0), 0);
    ASSERT_EQ(part->GetDevice(device), 0);
    EXPECT_EQ(device[2], -2.0);
    ASSERT_EQ(reversed->GetDevice(device), 0);
    EXPECT_EQ(device[0], 1.0);
    EXPECT_EQ(reversed->NrVar(), 3);
    const double coords[3] = {0.25, 0.5, 0.75};
    ASSERT_EQ(reversed->GetDevCoord(coords, device), 0);
    EXPECT_EQ(device[0], 0.75);
    Reports reports;
    EXPECT_EQ(part->AddFurther(2) + part->AddFurther(0) + part->AddFurther(3), -3);
    EXPECT_EQ(reports.take(), (lines(3, "TPrimCoord: Invalid data")));
}

TEST(MaskAndPrune, KeepsTheEarlierOfTwoSheetsThatCoincide)
{
    Sheet sheet;
    TList list(nullptr);
    for (const double third : {1.0, 1.0 - 1e-7})
        ASSERT_EQ(static_cast<TPrimComb *>(list.Add(sheet.part(0, 1, {-1, -1, third}).release()))->Prepare(), 0);
    const TElement *earlier = list.First();
    EXPECT_EQ(teska::mask_and_prune(list), 0);
    EXPECT_EQ(list.Count(), 1);
    EXPECT_EQ(list.First(), earlier);
}

// Two of the four corners lie farther from the origin; their diagonal is the ridge.
TEST(TPrimComb, SplitsACellSoThatItFoldsOutwards)
{
    double levels[] = {1.0, 0.0}, *of[] = {levels, levels};
    const int counts[] = {2, 2};
    const double device[] = {-1.0, -1.0}, black[3] = {};
    TPrimary a(black, 0, 0), b(black, 1, 0);
    for (int raised : {0, 1}) {
        const auto answer = [](void *user, const double *v, double *c) {
            c[0] = (v[0] == v[1]) == (*static_cast<int *>(user) == 0) ? 1.2 : 1.0;
            c[1] = c[0] * v[0];
            c[2] = c[0] * v[1];
            return 0;
        };
        TPrimComb part(&a, &b, device, 2, of, counts, answer, &raised, 0);
        ASSERT_EQ(part.Prepare(), 0);
        for (const teska::grid_facet &f : part.Facets())
            for (const int corner : {raised, 3 - raised})
                EXPECT_EQ(std::count(f.vertex.begin(), f.vertex.end(), corner), 1) << raised;
    }
}

// Cells that are seen edge-on: both triangles, or one of them.
TEST(TPrimComb, TellsOfDiscardedTrianglesWhenDebugging)
{
    double levels[] = {1.0, 0.0}, *of[] = {levels, levels};
    const int counts[] = {2, 2};
    const double device[] = {-1.0, -1.0}, black[3] = {};
    TPrimary a(black, 0, 0), b(black, 1, 0);
    double fold = 0.0;
    const auto answer = [](void *user, const double *v, double *c) {
        c[0] = 1.0;
        c[1] = v[0];
        c[2] = *static_cast<const double *>(user) * v[0] * v[1];
        return 0;
    };
    const int before = dbg_set(1);
    testing::internal::CaptureStdout();
    for (const double height : {0.0, 0.5}) {
        fold = height;
        TPrimComb part(&a, &b, device, 2, of, counts, answer, &fold, 0);
        EXPECT_EQ(part.Prepare(), 0);
        EXPECT_EQ(part.Facets().size(), height > 0.0 ? 1U : 0U);
    }
    dbg_set(before);
    const std::string told = testing::internal::GetCapturedStdout();
    EXPECT_NE(
        told.find("Discard Triangles 0.0 0 1: \n 1.00 1.00 \n 0.00, 1.00 \n 0.00 0.00 \n\n, 1.00 1.00 \n 0.00, 0.00 \n"
                  " 1.00 0.00 \n\n"),
        std::string::npos)
        << told;
    EXPECT_NE(told.find("Discard Triangles 0.0 0: \n "), std::string::npos) << told;
}
