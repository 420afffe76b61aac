#include "support/generator.h"
#include "support/reports.h"

#include "error_mess.h"
#include "geometry/top_surface.h"
#include "md_tetrad.h"

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
using namespace teska_test;

namespace
{

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

// ---- Random devices -------------------------------------------------------------------------------------------------

namespace
{

// Channels that add up, bent or not, over all hues or some; dark colours may lie beyond the rim of the light ones.
device random_device(Generator &random)
{
    const int count = 3 + random.below(3);
    const double from = random.between(0.0, 2.0 * pi);
    const double width = random.below(3) == 0 ? random.between(0.5, 3.0) : 2.0 * pi;
    const double bend = random.below(2) == 0 ? 0.0 : random.between(-0.3, 0.3);
    const double open = random.below(2) == 0 ? 0.0 : random.between(0.1, 0.5), towards = random.between(0.0, 2.0 * pi);
    std::vector<colour> channels;
    for (int i = 0; i < count; ++i) {
        const double hue = from + width * random.unit(), chroma = random.between(0.1, 0.5);
        channels.push_back({random.between(0.1, 1.0), chroma * std::cos(hue), chroma * std::sin(hue)});
    }
    return {"random", count, [=](const double *values, double *xyz) {
                for (std::size_t k = 0; k < 3; ++k) {
                    xyz[k] = 0.0;
                    for (std::size_t i = 0; i < channels.size(); ++i)
                        xyz[k] += channels[i][k] * values[i] * (1.0 + bend * (1.0 - values[i]));
                }
                // Without the first two channels the hue is another one.
                const double dark = open * xyz[0] * (1.0 - values[0]) * (1.0 - values[1]);
                xyz[1] += dark * std::cos(towards);
                xyz[2] += dark * std::sin(towards);
            }};
}

}  // namespace

TEST(RandomDevices, AreCoveredOnceAndHaveAnEdgeEverywhere)
{
    int complete = 0;
    for (std::uint64_t seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        Generator random(seed);
        const device of = random_device(random);
        teska_test::Setup with = {.levels = even_levels(3 + random.below(4)), .steps = 31};
        if (random.below(2) == 0)
            std::reverse(with.levels.begin(), with.levels.end());
        Reports reports;
        Surface top(of, with);
        ASSERT_EQ(top.ErrNo(), 0);
        double edge[2];
        if (top.UmbrellaEdge(0.0, &edge[0], &edge[1]) != 0) {
            EXPECT_EQ(reports.take(), lines{"Such a small or big gamut is just not possible"});
            continue;
        }
        ++complete;
        for (double phi = 0.0; phi < 6.28; phi += 0.05) {
            ASSERT_EQ(top.UmbrellaEdge(phi, &edge[0], &edge[1]), 0);
            EXPECT_GT(edge[0], 0.0) << phi;
            EXPECT_GT(edge[1], 0.0) << phi;
            EXPECT_LE(edge[1], top.VTMax * (1.0 + 1e-9)) << phi;
        }
        // Of the faces, no colour lies farther beyond the edge than their samples explain.
        std::vector<double> colours(1500), values(static_cast<std::size_t>(of.colorants));
        for (std::size_t i = 0; i < 500; ++i) {
            std::generate(values.begin(), values.end(), [&] { return random.below(2); });
            for (int varying = 0; varying < 2; ++varying)
                values[static_cast<std::size_t>(random.below(of.colorants))] = random.unit();
            of.convert(values.data(), &colours[3 * i]);
        }
        std::vector<double> norm(1500), penalty(500);
        ASSERT_EQ(top.DetermineNormCoord(colours.data(), norm.data(), penalty.data(), 500), 0);
        for (std::size_t i = 0; i < 500; ++i)
            if (norm[3 * i + 1] > 0.0 && norm[3 * i + 1] < 1.0) {
                EXPECT_GT(penalty[i], -5e-4) << i;
            }
        const std::vector<Triangle> triangles = triangles_of(top);
        for (int i = 0; i < 100; ++i) {
            const double phi = random.between(0.0, 2.0 * pi);
            const double radius = std::tan(0.999 * top.own_rim(phi) * std::sqrt(random.unit()));
            const double x = radius * std::cos(phi), y = radius * std::sin(phi);
            EXPECT_LE(
                std::count_if(triangles.begin(), triangles.end(), [=](const Triangle &t) { return meets(t, x, y); }), 1)
                << x << ' ' << y;
        }
        EXPECT_EQ(top.DeterminePhirVTrTetar(), 0);
        for (const double phir : {0.0, 0.3, 1.0}) {
            double at[2] = {phir, 0.0}, reach = 0.0;
            double *in[] = {&at[0], &at[1]}, *out[] = {&reach};
            md_tetrad_interp(top.tabTetar, in, 1, out, 1, 1);
            EXPECT_DOUBLE_EQ(reach, 1.0) << "the umbrella is above the level of the origin as far as it goes";
        }
    }
    EXPECT_GT(complete, 20);
}

// Half of a fourth colorant shines beyond the umbrella, all of it is dark: it is neither redundant nor darkening.
TEST(RandomDevices, KeepAColorantOfWhichTheFirstLevelSticksOut)
{
    const device base = linear_display();
    const device of = {"bright and dark", 4, [&](const double *v, double *c) {
                           base.convert(v, c);
                           for (int k = 0; k < 3; ++k)
                               c[k] *= v[3] == 0.5 ? 1.3 : v[3] > 0.5 ? 1.0 : 0.3;
                       }};
    EXPECT_EQ(Surface(of, {.levels = {0.5, 1.0, 0.0}}).roles(), "0002");
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

// Against a flat sheet, and what becomes of an umbrella that has that sheet only.
TEST(AddToUmbrella, TakesWhatLiesBesideOrFarther)
{
    using teska::relation;
    constexpr double close = 1.0 - 1e-7;  // a sheet over the same directions
    struct {
        const char *name;
        Sheet mine;
        double third;
        relation expected;
        int taken, parts;
    } table[] = {
        {"the same", {}, 1.0, relation::same, 0, 1},
        {"elsewhere", {}, 0.0, relation::beside, 1, 2},
        {"underneath", {.height = 0.5}, close, relation::below, 0, 1},
        {"in front", {.height = 2.0}, close, relation::above, 1, 1},
        {"crossing", {.curve = 1.0}, close, relation::beside, 1, 2},
        {"coincident", {}, close, relation::same, 0, 1},
        {"a little wider", {.stretch = 1.0001}, close, relation::beside, 1, 2},
        {"underneath but for one bound", {.height = 0.8, .curve = 0.4}, close, relation::below, 0, 1},
        {"in front but for one bound", {.height = 1.2, .curve = -0.4}, close, relation::above, 1, 1},
        {"without points", {.fail = 1.0}, 0.9, relation::no_points, -10, 1},
    };
    const device of = printer("CM");
    Surface top(of);
    Reports reports;
    Sheet flat;
    for (auto &row : table) {
        SCOPED_TRACE(row.name);
        top.umbrella->Destroy();
        const auto *old = static_cast<TPrimComb *>(top.umbrella->Add(flat.part(0, 1, {-1, -1, 1}).release()));
        auto part = row.mine.part(0, 1, {-1, -1, row.third});
        EXPECT_EQ(part->Compare(const_cast<TPrimComb &>(*old)), row.expected);
        EXPECT_EQ(top.AddToUmbrella(part.get()), row.taken);
        EXPECT_EQ(top.umbrella->Count(), row.parts);
        EXPECT_EQ(top.umbrella->Last() == part.get(), row.taken == 1);
        if (row.taken == 1)
            static_cast<void>(part.release());
    }
    EXPECT_EQ(reports.take(), lines{"Algorithm sucks"});
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

// The first sheet is seen in 3 % of its directions and goes; of the second one, which it hid there, 20 % are seen then.
TEST(MaskAndPrune, LooksAgainAtWhatADroppedPartHid)
{
    // By q at the two ends of the axis of the first colorant; full third colorants make parts that need 5 %.
    const auto sloping = [](double q1, double q0) {
        Sheet s;
        s.height = 0.5 * (1.0 / q1 + 1.0 / q0);
        s.curve = 1.0 / q1 - 1.0 / q0;
        s.counts[0] = s.counts[1] = s.counts[2] = 2;
        s.axis[1] = 0.0;
        return s;
    };
    Sheet sheets[] = {sloping(0.8, 4.633), sloping(0.9, 1.4), sloping(1.0, 1.0)};
    TList list(nullptr);
    for (Sheet &sheet : sheets)
        ASSERT_EQ(static_cast<TPrimComb *>(list.Add(sheet.part(0, 1, {-1, -1, 0}).release()))->Prepare(), 0);
    EXPECT_EQ(teska::mask_and_prune(list), 0);
    ASSERT_EQ(list.Count(), 2);
    double seen[2] = {0.0, 0.0};
    for (int k = 0; k < 2; ++k)
        for (const teska::piece &p : static_cast<TPrimComb *>(list.Get(k))->Pieces())
            seen[k] += p.shape.area() / static_cast<TPrimComb *>(list.Get(k))->Area();
    EXPECT_NEAR(seen[0], 0.2, 1e-3);
    EXPECT_NEAR(seen[1], 0.8, 1e-3);
}

// A cell with a corner that lies back: one diagonal runs outside.
TEST(TPrimComb, SplitsAFoldedCellByTheDiagonalInside)
{
    double levels[] = {1.0, 0.0}, *of[] = {levels, levels};
    const int counts[] = {2, 2};
    const double device[] = {-1.0, -1.0}, black[3] = {};
    TPrimary a(black, 0, 0), b(black, 1, 0);
    for (int folded = 0; folded < 4; ++folded) {
        const auto answer = [](void *user, const double *v, double *c) {
            const int corner = v[0] == 1.0 ? (v[1] == 1.0 ? 0 : 3) : (v[1] == 1.0 ? 1 : 2);
            const bool back = corner == *static_cast<int *>(user);
            c[0] = 1.0;
            c[1] = (v[0] - 0.5) * (back ? 0.2 : -1.0);
            c[2] = (v[1] - 0.5) * (back ? 0.2 : -1.0);
            return 0;
        };
        TPrimComb part(&a, &b, device, 2, of, counts, answer, &folded, 0);
        ASSERT_EQ(part.Prepare(), 0);
        EXPECT_NEAR(part.Area(), 0.4, 1e-12) << folded << ": twice 0.5 by 0.5 less what is folded in";
    }
}

TEST(HueOf, IsZeroOnTheAxis) { EXPECT_EQ(teska::gnomonic::hue_of({0.0, 0.0}), 0.0); }

// A polygon of 15 corners loses one of them: what is left goes on as two, which have room for later cuts.
TEST(Subtract, HandsOnPolygonsOfManyCornersInHalves)
{
    using namespace teska::gnomonic;
    polygon many;
    for (int i = 0; i < 15; ++i)
        many.add({std::cos(0.4 * i), std::sin(0.4 * i)});
    many.close();
    const facet corner = make_facet({teska::vec2{0.95, -2.0}, {4.0, 0.0}, {0.95, 2.0}}, {1.0, 1.0, 1.0});
    teska::indexed<polygon> rest;
    subtract(many, intersect(many, corner), rest);
    ASSERT_EQ(rest.size(), 2U);
    double area = intersect(many, corner).area();
    for (const polygon &part : rest) {
        EXPECT_LE(part.size(), 10);
        EXPECT_GT(part.area(), 0.5);
        area += part.area();
    }
    EXPECT_NEAR(area, many.area(), 1e-12);
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
