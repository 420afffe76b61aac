#include "support/test.h"

#include "error_mess.h"
#include "geometry/top_surface.h"
#include "md_tetrad.h"

using namespace examples;
using namespace teska_test;
using teska::vec2, teska::vec3;

namespace
{

// Colours of the whole device; full: the ink limit.
std::vector<double> some_colours(const device &of, int count, Generator &random, double full)
{
    std::vector<double> xyz, values(static_cast<std::size_t>(of.colorants));
    while (static_cast<int>(xyz.size()) < 3 * count) {
        for (double &value : values)
            value = full + (1.0 - full) * (random.below(3) == 0 ? random.below(2) : random.unit());
        colour c;
        of.convert(values.data(), c.data());
        if (c[0] > 1e-4)
            xyz.insert(xyz.end(), c.begin(), c.end());
    }
    return xyz;
}

vec2 seen(const double *c) { return {c[1] / c[0], c[2] / c[0]}; }

double area_of(const double (&c)[3][3]) { return 0.5 * cross(seen(c[1]) - seen(c[0]), seen(c[2]) - seen(c[0])); }

device noting(const device &of, std::vector<vec3> &colours)
{
    return {of.name, of.colorants, [&](const double *values, double *xyz) {
                of.convert(values, xyz);
                colours.push_back(teska::vec3_at(xyz));
            }};
}

using Segment = std::array<vec3, 2>;

// Where the farthest of some segments meets the half plane of a hue, by radius over height, and the height; zeros where
// none does.
vec2 farthest_at(const std::vector<Segment> &segments, double phi)
{
    const vec2 along = {std::cos(phi), std::sin(phi)};
    vec2 farthest = {0.0, 0.0};
    for (const auto &[a, b] : segments) {
        const double from = cross(along, {a.y, a.z}), to = cross(along, {b.y, b.z});
        if ((from > 0.0) == (to > 0.0))
            continue;
        const vec3 p = a + from / (from - to) * (b - a);
        const double tangent = dot(along, {p.y, p.z}) / p.x;
        if (tangent > farthest.x)
            farthest = {tangent, p.x};
    }
    return farthest;
}

std::vector<Segment> sides_of(const std::vector<Triangle> &triangles)
{
    std::vector<Segment> all;
    for (const Triangle &t : triangles)
        for (int k = 0; k < 3; ++k)
            all.push_back({teska::vec3_at(t.xyz[k]), teska::vec3_at(t.xyz[(k + 1) % 3])});
    return all;
}

// Neighbours in the square grids of the faces, along the sides and across the cells, but for what has no direction.
std::vector<Segment> segments_of_faces(const std::vector<vec3> &colours, int colorants, double darkest)
{
    const std::size_t faces = static_cast<std::size_t>(colorants * (colorants - 1) / 2 << (colorants - 2));
    const auto n = static_cast<std::size_t>(std::lround(std::sqrt(colours.size() / faces)));
    EXPECT_EQ(colours.size(), faces * n * n);
    std::vector<Segment> all;
    for (std::size_t at = 0; at < colours.size(); ++at) {
        const std::size_t i = at / n % n, j = at % n;
        for (const auto &[down, right] : {std::pair<std::size_t, std::size_t>{0, 1}, {1, 0}, {1, 1}, {1, -1}})
            if (i + down < n && j + right < n && colours[at].x > darkest && colours[at + down * n + right].x > darkest)
                all.push_back({colours[at], colours[at + down * n + right]});
    }
    return all;
}

// At its steps the edge is the farthest of what is seen and of the faces, on a line from the apex through what is seen.
void check_edge(Surface &top, const std::vector<Triangle> &triangles, const std::vector<vec3> &of_faces, int steps)
{
    const std::vector<Segment> seen = sides_of(triangles);
    const std::vector<Segment> faces = segments_of_faces(of_faces, top.nrPrims, teska::darkest_share * top.VTMax);
    for (int k = 0; k < steps; k += (steps - 1) / 30) {
        const auto [phi, teta, height] = top.edge_at(k / (steps - 1.0));
        const double own = std::tan(top.own_rim(phi)), slope = (top.VTMax / height - 1.0) / std::tan(teta);
        const vec2 rim = farthest_at(seen, phi), face = farthest_at(faces, phi);
        EXPECT_NEAR(std::tan(teta), std::max(own, face.x), 3e-6 * std::tan(teta)) << phi;
        if (rim.x > 0.0) {
            EXPECT_NEAR(own, rim.x, 1e-6 * rim.x) << phi;
            EXPECT_NEAR(top.VTMax / (1.0 + slope * own), rim.y, 1e-6 * top.VTMax) << phi;
        }
    }
}

// Table 2 at a hue: the last step of tetar up to which the smaller gamut reaches that share of the line from the apex;
// not the whole line, on which sheets may lie.
void check_reach(Surface &top, double phir, int steps)
{
    const Edge edge = top.edge_at(phir);
    const double share = top.own_rim(edge.phi) / edge.teta;
    for (int k = 0; k + 1 < steps; k += 7) {
        double at[2] = {phir, k / (steps - 1.0)}, reach = 0.0, wanted = 0.0;
        for (int s = 0; s < steps; ++s) {
            double place[3] = {s / (steps - 1.0), phir, 1.0}, peak[3], line[3];
            ASSERT_EQ(top.DetermineXYZMinGam(place, peak, nullptr, 1), 0);
            place[0] *= share;
            ASSERT_EQ(top.DetermineXYZ(place, line, nullptr, 1), 0);
            if (peak[0] < at[1] * line[0] * (1.0 - 1e-12))
                break;
            wanted = s / (steps - 1.0);
        }
        double *in[] = {&at[0], &at[1]}, *out[] = {&reach};
        md_tetrad_interp(top.tabTetar, in, 1, out, 1, 1);
        EXPECT_NEAR(reach, wanted, 1e-9) << phir << ' ' << k;
    }
}

// Colours come back from normalised coordinates, alone as among many, and none lies farther outside than that.
void convert_and_return(Surface &top, const std::vector<double> &xyz, double farthest)
{
    using T = TTriangularTopSurface;
    const std::pair<Convert, Convert> ways[] = {{&T::DetermineNormCoord, &T::DetermineXYZ},
                                                {&T::DetermineNormCoordMinGam, &T::DetermineXYZMinGam}};
    const int count = static_cast<int>(xyz.size() / 3);
    for (const auto &[there, back] : ways) {
        std::vector<colour> norm(xyz.size() / 3), again(norm);
        std::vector<double> penalty(norm.size());
        ASSERT_EQ((top.*there)(xyz.data(), norm[0].data(), penalty.data(), count), 0);
        ASSERT_EQ((top.*back)(norm[0].data(), again[0].data(), nullptr, count), 0);
        for (std::size_t i = 0; i < norm.size(); ++i) {
            EXPECT_GT(penalty[i], there == ways[0].first ? -farthest : -HUGE_VAL) << i;
            for (std::size_t k = 0; k < 3 && penalty[i] == 0.0 && norm[i][2] < 1.0; ++k)
                EXPECT_NEAR(again[i][k], xyz[3 * i + k], 1e-7) << i;
        }
        // Alone as among many, hues beyond both ends too.
        std::vector<colour> beyond(norm), alone(norm);
        for (colour &n : beyond)
            n[1] = 3.0 * n[1] - 1.0;
        ASSERT_EQ((top.*back)(beyond[0].data(), again[0].data(), penalty.data(), count), 0);
        EXPECT_EQ(penalty, std::vector<double>(norm.size()));
        for (std::size_t i = 0; i < norm.size(); i += 100) {
            ASSERT_EQ((top.*there)(&xyz[3 * i], alone[i].data(), nullptr, 1), 0);
            EXPECT_EQ(alone[i], norm[i]) << i;
            ASSERT_EQ((top.*back)(beyond[i].data(), alone[i].data(), nullptr, 1), 0);
            EXPECT_EQ(alone[i], again[i]) << i;
        }
    }
}

}  // namespace

TEST(TopSurface, HoldsItsDeviceAndSeesEachDirectionOnce)
{
    const struct {
        device of;
        const char *roles;
        int parts;  // 0: not known beforehand
        double farthest = 0.003;
        teska_test::Setup with = {};
    } table[] = {
        {linear_display(), "000", 3},
        {lab_display(0.0), "000", 3},
        {lab_display(0.01), "000", 3},
        {linear_four(), "0000", 8},
        {printer("CM"), "00", 1, 0.007},
        {printer("CMY"), "000", 3},
        {printer("CMYK"), "0001", 3, 0.003, {.levels = {0.0, 1.0, 0.3, 0.8, 0.3}}},
        {printer("CMYK"), "0001", 3, 0.003, {.levels = {0.9, 0.3}, .steps = 361}},
        {printer("KCMY"), "1000", 3, 0.003, {.levels = even_levels(11)}},
        {printer("CKMY"), "0100", 3, 0.003, {.levels = even_levels(3)}},
        {printer("CMYKD"), "00012", 3},
        {printer("CMYKc"), "00010", 0},
        {printer("CMYKog"), "000100", 0},
        {printer("XCMY"), "1000", 3},
    };
    for (std::size_t i = 0; i < std::size(table); i += runs_slowly() ? 3 : 1) {
        const auto &row = table[i];
        SCOPED_TRACE(row.of.name);
        std::vector<vec3> given;
        const device of = noting(row.of, given);
        Surface top(of, row.with);
        ASSERT_EQ(top.ErrNo(), 0);
        EXPECT_EQ(top.roles(), row.roles);
        if (row.parts > 0) {
            EXPECT_EQ(top.GetNrDifferentPrimCombs(), row.parts);
        }
        given.clear();
        top.edge_at(0.0);
        const std::vector<Triangle> triangles = triangles_of(top);
        check_edge(top, triangles, given, row.with.steps);
        // With an ink limit the device ends where its levels do.
        const double full = *std::min_element(row.with.levels.begin(), row.with.levels.end());
        Generator random(1);
        convert_and_return(top, some_colours(row.of, 3000, random, full), row.farthest);
        EXPECT_EQ(top.DeterminePhirVTrTetar(), 0);
        check_reach(top, random.below(row.with.steps) / (row.with.steps - 1.0), row.with.steps);

        // Triangles know the device values of their corners, and together with what is hidden they are the parts.
        double area = 0.0, own = 0.0, hidden[3][3];
        std::vector<double> values(static_cast<std::size_t>(row.of.colorants));
        for (const Triangle &t : triangles) {
            area += area_of(t.xyz);
            for (int k = 0; k < 3; ++k) {
                double c[3];
                ASSERT_EQ(top.GetDevCoord(t.part, t.own[k], values.data()), 0);
                row.of.convert(values.data(), c);
                if (row.parts == 8) {
                    EXPECT_LT(length(teska::vec3_at(c) - teska::vec3_at(t.xyz[k])), 1e-9) << "a linear device";
                }
            }
            ASSERT_EQ(top.GetPrimComb(t.part, values.data()), 0);
            EXPECT_EQ(std::count(values.begin(), values.end(), -1.0), top.GetNrVarCoordPrimComb(t.part));
        }
        for (int more = top.ScanMaskedTriangles(1, hidden); more >= 0; more = top.ScanMaskedTriangles(0, hidden))
            area += area_of(hidden);
        for (TElement *e = top.umbrella->First(); e != nullptr; e = e->Next())
            own += static_cast<TPrimComb *>(e)->Area();
        EXPECT_NEAR(area, own, 1e-8 * own);
    }
}

// Of so many only the faces near none and near all are looked at; dark ones that are alike widen no more than one.
TEST(TopSurface, OfNineColorantsReachesAsFarAsThoseThatCount)
{
    const device nine = printer("CMYKKKKKK"), four = printer("CMYK");
    Surface many(nine, {.levels = {0.0, 1.0}}), few(four, {.levels = {0.0, 1.0}});
    EXPECT_EQ(many.roles(), "000111111");
    for (double phir = 0.0; phir <= 1.0; phir += 0.0625)
        EXPECT_NEAR(many.edge_at(phir).teta, few.edge_at(phir).teta, 0.002) << phir;
}

TEST(TopSurface, OfOtherAxesDiffersInNothingButTheOrder)
{
    const device lab = printer("CMYK");
    Surface plain(lab);
    for (const int vertical : {1, 2}) {
        // (L, a, b) as (a, L, b) and as (a, b, L).
        const device turned = {"turned", 4, [&](const double *values, double *xyz) {
                                   lab.convert(values, xyz);
                                   std::rotate(xyz, xyz + 1, xyz + 1 + vertical);
                               }};
        Surface top(turned, {.vertical = vertical});
        for (const colour &c : {colour{40.0, 0.0, 0.0}, colour{50.0, 20.0, -30.0}}) {
            colour other = c, norm, expected;
            std::rotate(other.begin(), other.begin() + 1, other.begin() + 1 + vertical);
            ASSERT_EQ(plain.DetermineNormCoord(c.data(), expected.data(), nullptr, 1), 0);
            ASSERT_EQ(top.DetermineNormCoord(other.data(), norm.data(), nullptr, 1), 0);
            EXPECT_EQ(norm, expected) << vertical;
        }
    }
}

// Half of a fourth colorant shines beyond the umbrella, all of it is dark; another one hides black: neither
// is redundant or darkening.
TEST(TopSurface, KeepsAColorantOfWhichTheFirstLevelSticksOut)
{
    const device base = linear_display();
    const device of = {"bright and dark", 4, [&](const double *v, double *c) {
                           base.convert(v, c);
                           for (int k = 0; k < 3; ++k)
                               c[k] *= v[3] == 0.5 ? 1.3 : v[3] > 0.5 ? 1.0 : 0.3;
                       }};
    const device grey = {"opaque grey", 4, [&](const double *v, double *c) {
                             base.convert(v, c);
                             for (int k = 0; k < 3; ++k)
                                 c[k] *= v[3];
                             c[0] += 0.5 * (1 - v[3]);
                         }};
    EXPECT_EQ(Surface(of, {.levels = {0.5, 1.0, 0.0}}).roles(), "0002");
    EXPECT_EQ(Surface(grey).roles(), "0002");
}

namespace
{

// Of three colorants the first two vary; the colour is linear in them with a bend that `curve` gives.
device sheet(double height, double curve = 0.0, double stretch = 1.0)
{
    return {"sheet", 3, [=](const double *v, double *c) {
                c[0] = height + curve * (v[0] - 0.5);
                c[1] = stretch * c[0] * (v[0] - v[1]);
                c[2] = c[0] * (v[0] + v[1] + (v[2] < 0.5 ? 5.0 : 0.0));
            }};
}

std::unique_ptr<TPrimComb> part_of(const device &of, int levels, const std::vector<double> &values, int a = 0,
                                   int b = 1)
{
    const double black[3] = {};
    TPrimary first(black, a, 0), second(black, b, 0);
    std::vector<double> axis = even_levels(levels);
    return std::make_unique<TPrimComb>(&first, &second, values.data(), of.colorants,
                                       Surface::each(of, axis.data()).data(), Surface::each(of, levels).data(),
                                       device::answer, const_cast<device *>(&of), 0);
}

}  // namespace

TEST(TPrimComb, RefusesWhatIsNoPart)
{
    const device flat = sheet(1.0);
    Reports reports;
    const std::tuple<std::vector<double>, int, int> refused[] = {
        {{-1, 1, 1}, 0, 1},   {{-1, -1, -1}, 0, 1}, {{-1, -1, 1.5}, 0, 1}, {{1, -1, -1}, 0, 1},
        {{-1, -1, 1}, -1, 1}, {{-1, -1, 1}, 1, 3},  {{-1, 1, -1}, 0, 1}};
    for (const auto &[values, a, b] : refused) {
        const auto part = part_of(flat, 3, values, a, b);
        EXPECT_EQ(part->ErrNo(), 2);
        EXPECT_EQ(reports.take(), lines{"TPrimCoord: Invalid data"});
        double c[3][3];
        for (const int code :
             {part->Prepare(), part->NrVar(), part->AddFurther(2), part->GetDevice(c[0]), part->GetDevCoord(c[0], c[1]),
              part->NextTriangle(true, c, c), part->NextMasked(true, c), static_cast<int>(part->Compare(*part))})
            EXPECT_EQ(code, -1);
        EXPECT_EQ(reports.take(), lines(8, "Bad Initialisation of PrimComb"));
    }
    for (int k = 0; k < 10; ++k) {  // each argument in turn
        double values[] = {-1, -1, 1}, ramp[] = {0, 1}, *levels[] = {ramp, ramp, k == 8 ? nullptr : ramp};
        const int vertical = k == 7 ? -1 : k == 9 ? 3 : 0;
        TPrimary ink(values, 0, 0);
        const TPrimComb part(k != 0 ? &ink : nullptr, k != 1 ? &ink : nullptr, k != 2 ? values : nullptr,
                             k != 3 ? 3 : 0, k != 4 ? levels : nullptr,
                             k != 5 ? Surface::each(flat, 2).data() : nullptr, k != 6 ? device::answer : nullptr,
                             const_cast<device *>(&flat), vertical);
        EXPECT_EQ(part.ErrNo(), 2) << k;
    }
    EXPECT_EQ(reports.take(), lines(10, "Wrong input"));
    const auto here = part_of(flat, 3, {-1, -1, 1}), apart = part_of(flat, 3, {-1, -1, 0});
    double c[3][3];
    EXPECT_EQ(here->NextTriangle(1, c, c), -1);
    EXPECT_EQ(reports.take(), lines{"algo sucks"});
    int a = 0, b = 0;
    EXPECT_EQ(here->CommonBound(*apart, a, b, c[0]), -1);
    EXPECT_EQ(reports.take(), lines{"No Common Bounds!"});
}

// Against a flat sheet, and what becomes of an umbrella that has that sheet only.
TEST(AddToUmbrella, TakesWhatLiesBesideOrFarther)
{
    using teska::relation;
    constexpr double close = 1.0 - 1e-7;  // a sheet over the same directions
    const device of = printer("CM"), flat = sheet(1.0);
    const struct {
        const char *name;
        device mine;
        double third;
        relation expected;
        int taken = 0, parts = 1;
    } table[] = {
        {"elsewhere", flat, 0.0, relation::beside, 1, 2},
        {"underneath", sheet(0.5), close, relation::below, 0, 1},
        {"in front", sheet(2.0), close, relation::above, 1, 1},
        {"crossing", sheet(1.0, 1.0), close, relation::beside, 1, 2},
        {"coincident", flat, close, relation::same, 0, 1},
        {"a little wider", sheet(1.0, 0.0, 1.0001), close, relation::beside, 1, 2},
        {"underneath but for one bound", sheet(0.8, 0.4), close, relation::below, 0, 1},
        {"in front but for one bound", sheet(1.2, -0.4), close, relation::above, 1, 1},
        {"underneath but for a corner", sheet(0.8, 0.4002), close, relation::through, 0, 1},
        {"in front but for a corner", sheet(1.2, -0.4002), close, relation::through, 0, 1},
        {"without points", sheet(std::nan("")), 0.9, relation::no_points, -10, 1},
    };
    Surface top(of);
    Reports reports;
    for (const auto &row : table) {
        SCOPED_TRACE(row.name);
        top.umbrella->Destroy();
        auto *const old = static_cast<TPrimComb *>(top.umbrella->Add(part_of(flat, 3, {-1, -1, 1}).release()));
        auto part = part_of(row.mine, 3, {-1, -1, row.third});
        EXPECT_EQ(part->Compare(*old), row.expected);
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
    const device flat = sheet(1.0);
    double values[3];
    const auto part = part_of(flat, 3, {-1, -1, 1}), reversed = part_of(flat, 3, {1, -1, -1}, 2, 1);
    EXPECT_EQ(part->AddFurther(2), 0);
    EXPECT_EQ(reversed->AddFurther(0), 0);
    ASSERT_EQ(part->GetDevice(values), 0);
    EXPECT_EQ(values[2], -2.0);
    ASSERT_EQ(reversed->GetDevice(values), 0);
    EXPECT_EQ(values[0], 1.0);
    EXPECT_EQ(TPrimComb(*reversed).NrVar(), 3);
    const double coords[3] = {0.25, 0.5, 0.75};
    ASSERT_EQ(reversed->GetDevCoord(coords, values), 0);
    EXPECT_EQ(values[0], 0.75);
    Reports reports;
    for (const int refused : {2, 0, 3, -1}) {
        EXPECT_EQ(part->AddFurther(refused), -1);
        EXPECT_EQ(reports.take(), lines{"TPrimCoord: Invalid data"}) << refused;
    }
}

// Of two sheets that coincide the one with fewer full colorants stays. Of three that slope, the first is seen in 3 % of
// its directions and goes; of the second, which it hid there, 20 % are seen then.
TEST(MaskAndPrune, LooksAgainAtWhatADroppedPartHid)
{
    // By q at the two ends of the axis of the first colorant; full third colorants make parts that need 5 %.
    const auto sloping = [](double q1, double q0) { return sheet(0.5 * (1.0 / q1 + 1.0 / q0), 1.0 / q1 - 1.0 / q0); };
    const struct {
        std::vector<device> sheets;
        std::vector<double> thirds;
        std::vector<double> seen;  // of those that stay
        int stays;                 // the first of them
    } table[] = {
        {{sheet(1.0), sheet(1.0)}, {1.0 - 1e-7, 1.0}, {1.0}, 1},
        {{sloping(0.8, 4.633), sloping(0.9, 1.4), sloping(1.0, 1.0)}, {0.0, 0.0, 0.0}, {0.2, 0.8}, 1},
    };
    for (const auto &row : table) {
        TList list(nullptr);
        std::vector<const TElement *> parts;
        for (std::size_t k = 0; k < row.sheets.size(); ++k) {
            parts.push_back(list.Add(part_of(row.sheets[k], 2, {-1, -1, row.thirds[k]}).release()));
            ASSERT_EQ(static_cast<TPrimComb *>(list.Last())->Prepare(), 0);
        }
        EXPECT_EQ(teska::mask_and_prune(list), 0);
        ASSERT_EQ(list.Count(), static_cast<int>(row.seen.size()));
        EXPECT_EQ(list.First(), parts[static_cast<std::size_t>(row.stays)]);
        for (int k = 0; k < list.Count(); ++k) {
            double seen = 0.0;
            for (const teska::piece &p : static_cast<TPrimComb *>(list.Get(k))->Pieces())
                seen += p.shape.area() / static_cast<TPrimComb *>(list.Get(k))->Area();
            EXPECT_NEAR(seen, row.seen[static_cast<std::size_t>(k)], 1e-3) << k;
        }
    }
}

TEST(TopSurface, DoesNotDependOnTheUnitOfItsColours)
{
    const device usual = printer("CMYK"), small = {"small", 4, [&](const double *v, double *c) {
                                                       usual.convert(v, c);
                                                       std::for_each_n(c, 3, [](double &of) { of *= 0x1p-60; });
                                                   }};
    Surface top(usual), scaled(small);
    EXPECT_EQ(scaled.roles(), top.roles());
    for (int i = 0; i <= 40; ++i) {
        const auto a = top.edge_at(i / 40.0), b = scaled.edge_at(i / 40.0);
        EXPECT_EQ(std::tuple(b.phi, b.teta, b.height), std::tuple(a.phi, a.teta, a.height * 0x1p-60));
    }
}

// Cells that are seen edge-on: both triangles, or one of them.
TEST(TPrimComb, TellsOfDiscardedTrianglesWhenDebugging)
{
    const int before = dbg_set(1);
    testing::internal::CaptureStdout();
    for (const auto &[fold, first] : {std::pair(0.0, 0), {0.5, 0}, {0.5, 1}}) {
        const device of = {"cell", 2, [fold = fold, first = first](const double *v, double *c) {
                               c[0] = 1.0;
                               c[1] = v[first];
                               c[2] = fold * v[0] * v[1];
                           }};
        const auto part = part_of(of, 2, {-1.0, -1.0});
        EXPECT_EQ(part->Prepare(), 0);
        EXPECT_EQ(part->Facets().size(), fold > 0.0 ? 1U : 0U);
    }
    dbg_set(before);
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "DEBUG : 'Discard Triangles 0.0 0 1: \n 1.00 1.00 \n 0.00, 1.00 \n 0.00 0.00 \n\n, 1.00 1.00 \n 0.00, 0.00 \n"
        " 1.00 0.00 \n\n'\nDEBUG : 'Double Concave Surfaces not supported'\n"
        "DEBUG : 'Discard Triangles 0.0 0: \n 1.00 1.00 \n 0.00 1.00 \n 0.00 0.00 \n\n'\n"
        "DEBUG : 'Double Concave Surfaces not supported'\n"
        "DEBUG : 'Discard Triangles 0.0 0: \n 1.00 1.00 \n 0.00 0.00 \n 1.00 0.00 \n\n'\n");
}

// A polygon of 15 corners loses one of them: what is left goes on as two, which have room for later cuts.
TEST(Subtract, HandsOnPolygonsOfManyCornersInHalves)
{
    using namespace teska::gnomonic;
    polygon many;
    for (int i = 0; i < 15; ++i)
        many.add({std::cos(0.4 * i), std::sin(0.4 * i)});
    many.close();
    const facet corner = make_facet({vec2{0.95, -2.0}, {4.0, 0.0}, {0.95, 2.0}}, {1.0, 1.0, 1.0});
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
