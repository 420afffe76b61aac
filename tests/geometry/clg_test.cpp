#include "clg.h"

#include "Source/clg/wide.h"
#include "support/test.h"

namespace
{

using teska_test::Generator, teska_test::lines, teska_test::Reports;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double untouched = -77.0;

using Values = std::vector<double>;
using Colour = std::array<double, 3>;
using Device = std::function<Colour(const double *device)>;

class Cloud
{
public:
    explicit Cloud(int channels, int free = -1, double lo = 0, double hi = 1)
        : clg_(clg_new(channels, free < 0 ? channels : free, lo, hi))
    {
    }

    operator clg *() const { return clg_.get(); }

    void add(const Values &device, const Colour &colour) const
    {
        EXPECT_EQ(clg_add(*this, device.data(), colour.data()), 0);
    }

    // What clg_nearest says; clg_find and clg_inside must say the same.
    struct Answer {
        int inside;
        Colour nearest{untouched, untouched, untouched};
        Values device = Values(16, untouched);
        double dist = untouched;
    };

    [[nodiscard]] Answer nearest(const Colour &colour) const
    {
        Answer a, found;
        a.inside = clg_nearest(*this, colour.data(), a.nearest.data(), a.device.data(), &a.dist);
        EXPECT_EQ(clg_find(*this, colour.data(), found.device.data(), &found.dist), a.inside);
        EXPECT_EQ(clg_inside(*this, colour.data()), a.inside);
        EXPECT_EQ(found.device, a.device);
        EXPECT_EQ(found.dist, a.dist);
        return a;
    }

private:
    teska::handle<clg, clg_kill> clg_;
};

double distance(const Colour &a, const Colour &b) { return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]); }

template <class A, class B>
void expect_near(const A &found, const B &wanted, double tolerance)
{
    for (std::size_t i = 0; i < wanted.size(); ++i)
        EXPECT_NEAR(found[i], wanted[i], tolerance) << "value " << i;
}

const Device cube = [](const double *d) { return Colour{100 * d[0], 100 * d[1], 100 * d[2]}; };
const Device press = [](const double *d) { return Colour{50 * (d[0] + d[3]), 50 * (d[1] + d[3]), 50 * (d[2] + d[3])}; };
const double black[4] = {0, 0, 0, 1};
constexpr int cells_of_cube[] = {1, 1, 2, 6, 24};  // as many as the corners have orders

// Of the corners of the device's cube alone, and a colour for each, of device values from 0 to 1.
Cloud corner_cloud(int channels, const Device &colour, double lo = 0, double hi = 1)
{
    Cloud cloud(channels, channels, lo, hi);
    for (int i = 0; i < 1 << channels; ++i) {
        Values device, part;
        for (int j = 0; j < channels; ++j) {
            part.push_back(i >> j & 1);
            device.push_back(lo + (hi - lo) * part.back());
        }
        cloud.add(device, colour(part.data()));
    }
    EXPECT_EQ(clg_build(cloud), 0);
    EXPECT_EQ(clg_num_cells(cloud), cells_of_cube[channels]);
    return cloud;
}

auto tables(int inputs, int outputs, int steps, double hi = 1)
{
    return std::pair(std::shared_ptr<md_tetrad>(md_tetrad_new(inputs, outputs, steps, 0, hi), md_tetrad_kill),
                     std::shared_ptr<md_tetrab>(md_tetrab_new(inputs, outputs, steps), md_tetrab_kill));
}

TEST(ClgNew, RefusesWhatItCannotModel)
{
    Reports reports;
    for (const auto &[channels, free] : {std::pair(0, 1), {17, 3}, {3, 0}, {3, 4}, {5, 5}})
        EXPECT_EQ(clg_new(channels, free, 0, 1), nullptr) << channels << ' ' << free;
    EXPECT_EQ(reports.take(), lines(5, "clg_new: illegal dimension"));
    for (const auto &[lo, hi] : {std::pair(1.0, 1.0), {1, 0}, {nan, 1}, {0, inf}, {0, nan}, {-1e301, 0}})
        EXPECT_EQ(clg_new(3, 3, lo, hi), nullptr) << lo << ' ' << hi;
    EXPECT_EQ(reports.take(), lines(6, "clg_new: illegal range"));
}

TEST(ClgAdd, RefusesWhatIsNotFiniteOrOutOfRange)
{
    const Cloud cloud(4, 1, -2, 3);
    Reports reports;
    const std::pair<Values, Colour> rows[] = {{{-2.1, 0, 0, 0}, {}},         {{0, 0, 0, 3.1}, {}},
                                              {{0, nan, 0, 0}, {}},          {{0, 0, 0, 0}, {0, 0, nan}},
                                              {{0, 0, 0, 0}, {0, 1.1e6, 0}}, {{0, 0, 0, 0}, {-inf, 0, 0}}};
    for (const auto &[device, colour] : rows)
        EXPECT_EQ(clg_add(cloud, device.data(), colour.data()), -1);
    EXPECT_EQ(reports.take(), lines(6, "clg_add: illegal value"));
    cloud.add({-2, 3, 3, -2}, {1e6, -1e6, 0});
}

TEST(ClgBuild, TakesUpTo65535PairsAndRepeatedOnesAsTheirMean)
{
    const Cloud cloud(2, 1);
    for (int i = 0; i < 65535; ++i)
        cloud.add({(i % 3) * 0.5, i / 3 * 4e-5}, {i % 3 * 10.0, i / 3 + 0.0, 0});
    Reports reports;
    EXPECT_EQ(clg_add(cloud, Values{1, 1}.data(), Colour{}.data()), -1);
    EXPECT_EQ(reports.take(), lines{"clg_add: too many points"});
    EXPECT_EQ(clg_build(cloud), 0);
    EXPECT_EQ(clg_num_points(cloud), 3);
    const auto found = cloud.nearest({10, 10922, 5});
    EXPECT_EQ(found.nearest, (Colour{10, 10922, 0}));
    EXPECT_NEAR(found.device[1], 10922 * 4e-5, 1e-12);
}

TEST(ClgBuild, KeepsTheModelWhenItFailsAndTakesWhatIsAdded)
{
    const Cloud cloud(3);
    Reports reports;
    const struct {
        std::vector<Values> more;
        lines said;
        int points;
    } rows[] = {{{}, {"clg_build: too few points"}, 0},
                {{{0, 0, 0}, {1, 0, 0}, {1e-6, 0, 1e-6}, {0, 1, 0}}, {"clg_build: too few points"}, 0},
                {{{0.25, 0.5, 0}}, {"clg_build: device values do not span the free channels"}, 0},
                {{{0, 0, 1}, {1, 1, 1}}, {}, 6},
                {{{0.5, 0.5, 0.5}}, {}, 7}};
    for (const auto &row : rows) {
        const int former = clg_num_points(cloud);
        for (const Values &device : row.more)
            cloud.add(device, {});
        EXPECT_EQ(clg_num_points(cloud), former);
        EXPECT_EQ(clg_build(cloud), row.said.empty() ? 0 : -1);
        EXPECT_EQ(reports.take(), row.said);
        EXPECT_EQ(clg_num_points(cloud), row.points);
        EXPECT_EQ(clg_num_cells(cloud) > 0, row.points > 0);
    }
}

TEST(Clg, TablesMustFitAndColoursBeFinite)
{
    Reports reports;
    const Cloud full = corner_cloud(3, cube);
    for (const int inputs : {2, 3, 4}) {
        const auto [d, b] = tables(inputs, inputs == 3 ? 4 : 3, 2);
        EXPECT_EQ(clg_fill_tetrad(full, d.get(), nullptr, nullptr), -1);
        EXPECT_EQ(clg_fill_tetrab(full, b.get(), nullptr, nullptr), -1);
        EXPECT_EQ(reports.take(),
                  (lines{"clg_fill_tetrab: table does not fit", "clg_fill_tetrad: table does not fit"}));
    }
    for (const double bad : {nan, inf, -inf})
        EXPECT_EQ(clg_inside(full, Colour{0, 0, bad}.data()), -1);
    EXPECT_EQ(reports.take(), lines(3, "clg_inside: illegal colour"));
    double out[6];
    EXPECT_EQ(clg_box(full, out), 0);
    EXPECT_EQ(Values(out, out + 6), (Values{0, 0, 0, 100, 100, 100}));
}

TEST(Clg, CubeOfEightCorners)
{
    const Cloud cloud = corner_cloud(3, cube);
    const auto inside = cloud.nearest({20, 30, 40});
    EXPECT_EQ(inside.inside, 1);
    EXPECT_EQ(inside.nearest, (Colour{20, 30, 40}));
    EXPECT_EQ(inside.dist, 0);
    EXPECT_TRUE(cloud.nearest({-5e-8, 30, 40}).inside == 1 && cloud.nearest({-5e-7, 30, 40}).inside == 0);
    Colour colour{untouched, untouched, untouched};
    for (const double red : {-0.001, 1.001, nan, inf})
        EXPECT_EQ(clg_colour(cloud, Values{red, 0.5, 0}.data(), colour.data()), 0);
    EXPECT_EQ(colour[2], untouched);
    EXPECT_EQ(clg_colour(cloud, Values{1.00002, 0.5, 0}.data(), colour.data()), 1);
    expect_near(colour, Colour{100, 50, 0}, 1e-2);
    // Colours far away: the corner they see first, and distances beyond all doubles.
    const double most = std::numeric_limits<double>::max();
    for (const double far : {1e9, 1e13, 1e170, most}) {
        const auto found = cloud.nearest({-far, far / 2, far});
        expect_near(found.nearest, Colour{0, 100, 100}, 1e-3);
        EXPECT_TRUE(far == most ? found.dist == inf : std::fabs(found.dist / far - 1.5) < 1e-6) << found.dist;
    }
    EXPECT_DOUBLE_EQ(cloud.nearest({most, 0, 0}).dist, most);
    // A side that is pulled in: the hull would call the hollow inside.
    cloud.add({0.5, 0.5, 1}, {50, 50, 70});
    ASSERT_EQ(clg_build(cloud), 0);
    const auto hollow = cloud.nearest({50, 50, 80});
    EXPECT_TRUE(hollow.inside == 0 && hollow.dist < 10 && cloud.nearest({50, 50, 69}).inside == 1);
    EXPECT_NEAR(hollow.device[2], 1, 1e-12);
}

// The last range is at the ends of what doubles hold.
TEST(Clg, RuleChoosesAmongTheAnswersOfFourChannels)
{
    const Cloud cloud = corner_cloud(4, press);
    const double ink[4] = {1, 1, 1, 1}, huge[4] = {0, 0, 0, 1e308}, less[4] = {-1e308, -1e308, -1e308, -1e308};
    const double none[4] = {};
    const struct {
        Colour colour;
        const double *cost;
        double place;
        Values device;
    } rows[] = {
        {{45, 35, 25}, black, 0.5, {0.65, 0.45, 0.25, 0.25}}, {{45, 35, 25}, black, 0, {0.9, 0.7, 0.5, 0}},
        {{45, 35, 25}, black, 1, {0.4, 0.2, 0, 0.5}},         {{45, 35, 25}, nullptr, 0, {0.4, 0.2, 0, 0.5}},
        {{45, 35, 25}, none, 0.5, {0.4, 0.2, 0, 0.5}},        {{45, 35, 25}, ink, 1, {0.9, 0.7, 0.5, 0}},
        {{45, 35, 25}, less, 0, {0.9, 0.7, 0.5, 0}},          {{45, 35, 25}, huge, 0.5, {0.65, 0.45, 0.25, 0.25}},
        {{75, 60, 50}, black, 0, {1, 0.7, 0.5, 0.5}},         {{75, 60, 50}, black, 1, {0.5, 0.2, 0, 1}}};
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(clg_rule(cloud, row.cost, row.place), 0);
        const auto found = cloud.nearest(row.colour);
        EXPECT_EQ(found.inside, 1);
        expect_near(found.device, row.device, 1e-13);
    }
    // Of answers that cost alike the one with the least ink, from whichever cell: as much black as there can be.
    Generator random(4);
    clg_rule(cloud, none, 0.5);
    for (int i = 0; i < 200; ++i) {
        const double without[] = {random.unit(), random.unit(), random.unit(), 0},
                     k = *std::min_element(without, without + 3);
        Colour colour{};
        EXPECT_EQ(clg_colour(cloud, without, colour.data()), 1);
        expect_near(cloud.nearest(colour).device, Values{without[0] - k, without[1] - k, without[2] - k, k}, 1e-12);
    }
    Reports reports;
    for (const double place : {-0.1, 1.1, nan})
        EXPECT_EQ(clg_rule(cloud, black, place), -1);
    const double bad[4] = {0, 0, inf, 0};
    EXPECT_EQ(clg_rule(cloud, bad, 0.5), -1);
    EXPECT_EQ(reports.take(), lines(4, "clg_rule: illegal value"));
    EXPECT_NEAR(cloud.nearest({75, 60, 50}).device[3], 1, 1e-13);
    for (const double size : {1e-300, 1e300})
        for (const double lo : {0.0, -size}) {
            const Cloud scaled = corner_cloud(4, press, lo, lo + size);
            clg_rule(scaled, black, 0.5);
            const auto found = scaled.nearest({45, 35, 25});
            for (std::size_t k = 0; k < 4; ++k)
                EXPECT_NEAR((found.device[k] - lo) / size, rows[0].device[k], 1e-12);
            Colour colour{};
            EXPECT_EQ(clg_colour(scaled, found.device.data(), colour.data()), 1);
            expect_near(colour, Colour{45, 35, 25}, 1e-9);
        }
}

TEST(Clg, LinesAndSurfacesHaveNoInside)
{
    const auto ramp_of = [](int channel) { return [=](const double *d) { return Colour{100 * d[channel], 0, 0}; }; };
    const Device sheet = [](const double *d) { return Colour{100 * d[0], 100 * d[1], 0}; };
    // The last values of the device.
    const struct {
        int channels;
        Device device;
        Colour colour;
        double dist;
        Values last;
    } rows[] = {{1, ramp_of(0), {30, 40, 0}, 40, {0.3}}, {1, ramp_of(0), {30, 0, 0}, 0, {0.3}},
                {2, sheet, {30, 60, -5}, 5, {0.3, 0.6}}, {2, sheet, {110, 40, 0}, 10, {1, 0.4}},
                {3, ramp_of(2), {40, 3, -4}, 5, {0.4}},  {4, ramp_of(3), {40, 3, -4}, 5, {0.4}}};
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        const auto found = corner_cloud(row.channels, row.device).nearest(row.colour);
        EXPECT_EQ(found.inside, 0);
        EXPECT_NEAR(found.dist, row.dist, 1e-13);
        expect_near(&found.device[static_cast<std::size_t>(row.channels) - row.last.size()], row.last, 1e-14);
    }
}

// Smooth, folded nowhere, with a hollow side; a fourth channel is black.
Colour bent(const double *d)
{
    const double light = 1 - 0.9 * d[3];
    return {95 * light * (1 - 0.4 * d[0] * d[0] - 0.3 * d[1] - 0.1 * d[2]), 70 * light * (d[1] - d[0] + d[0] * d[2]),
            90 * light * (d[2] - 0.4 * d[1] * d[1] - 0.3 * d[0])};
}

Colour noise(const double *d)
{
    Generator random(static_cast<std::uint64_t>(1e5 * (d[0] + 10 * d[1] + 100 * d[2] + 1000 * d[3])));
    const double l = random.between(0, 100), a = random.between(-50, 50);
    return {l, a, random.between(-50, 50)};
}

Cloud random_cloud(Generator &input, int channels, int points, const Device &device)
{
    Cloud cloud(channels);
    for (int i = 0; i < points; ++i) {
        Values d(4);
        for (int j = 0; j < channels; ++j)
            d[static_cast<std::size_t>(j)] = i < 1 << channels     ? i >> j & 1
                                             : input.below(3) == 0 ? input.below(2)
                                                                   : input.unit();
        cloud.add(d, device(d.data()));
    }
    EXPECT_EQ(clg_build(cloud), 0);
    return cloud;
}

// Whatever the cloud: what is found prints the colour, what is printed is found, and nothing printed is nearer.
void check_round_trips(const Cloud &cloud, Generator &input, int channels)
{
    const int rounds = teska_test::runs_slowly() ? 40 : 300;
    std::vector<Colour> printed;
    const auto sum = [&](const Values &d) { return std::accumulate(d.begin(), d.begin() + channels, 0.0); };
    for (int i = 0; i < rounds; ++i) {
        Values d(4);
        for (int j = 0; j < channels; ++j)
            d[static_cast<std::size_t>(j)] = input.unit();
        Colour colour{}, again{};
        ASSERT_EQ(clg_colour(cloud, d.data(), colour.data()), 1);
        printed.push_back(colour);
        for (const double place : {0.0, 0.37, 1.0}) {
            clg_rule(cloud, nullptr, place);
            const auto found = cloud.nearest(colour);
            ASSERT_EQ(found.inside, 1);
            ASSERT_EQ(clg_colour(cloud, found.device.data(), again.data()), 1);
            expect_near(again, colour, 1e-5);
            EXPECT_TRUE(place != 0 || sum(found.device) <= sum(d) + 1e-6);
            EXPECT_TRUE(place != 1 || sum(found.device) >= sum(d) - 1e-6);
        }
    }
    for (int i = 0; i < rounds; ++i) {
        const Colour q{input.between(-20, 120), input.between(-90, 90), input.between(-90, 120)};
        const auto found = cloud.nearest(q);
        Colour again{};
        ASSERT_EQ(clg_colour(cloud, found.device.data(), again.data()), 1);
        expect_near(again, found.nearest, 1e-5);
        EXPECT_NEAR(distance(q, found.nearest), found.dist, 1e-9);
        for (const Colour &p : printed)
            ASSERT_LE(found.dist, distance(p, q) + 1e-9);
    }
}

TEST(Clg, FindsWhatIsPrintedAndTheNearest)
{
    Generator input(1);
    for (const int channels : {3, 4})
        for (const Device &device : {Device(bent), Device(noise)}) {
            SCOPED_TRACE(channels);
            check_round_trips(random_cloud(input, channels, 150, device), input, channels);
        }
}

template <class Table, class Sample, class Fill, class Get, class Scan, class Convert>
void check_table(Table *table, Sample, Fill fill, Get get, Scan scan, Convert convert)
{
    const Cloud cloud = corner_cloud(4, press, 0, 100);
    const double scale[] = {0.5, 0.4, 0.3}, offset[] = {-10, 0, 10}, most[] = {0, 0, 1.7e308};
    Reports reports;
    EXPECT_EQ(fill(cloud, table, most, most), -1);
    EXPECT_EQ(reports.take().size(), 1U);
    for (const bool given : {false, true}) {
        int inside = 0, coord[3] = {};
        const int filled = given ? fill(cloud, table, scale, offset) : fill(cloud, table, nullptr, nullptr);
        do {
            Sample in[3];
            const Sample *const out = get(table, coord, in);
            Colour q{};
            for (int k = 0; k < 3; ++k)
                q[static_cast<std::size_t>(k)] = given ? offset[k] + scale[k] * in[k] : in[k];
            const auto found = cloud.nearest(q);
            inside += found.inside;
            for (int k = 0; k < 4; ++k)
                ASSERT_EQ(out[k], convert(found.device[static_cast<std::size_t>(k)]));
        } while (scan(table, coord) != 0);
        EXPECT_EQ(filled, inside);
        EXPECT_GT(inside, 5);
    }
}

TEST(ClgFill, MakesEveryVertexWhatFindSays)
{
    const auto [d, b] = tables(3, 4, 9, 200);
    check_table(d.get(), 0.0, clg_fill_tetrad, md_tetrad_vertex_get, md_tetrad_scan_vertex, [](double v) { return v; });
    check_table(b.get(), static_cast<unsigned char>(0), clg_fill_tetrab, md_tetrab_vertex_get, md_tetrab_scan_vertex,
                [](double v) { return std::floor(255 * v / 100 + 0.5); });
}

// A chart's steps, and corners of the cube with points beside them, which make the thinnest cells: with a colour that
// is linear every place in the cube has that of its device, whatever the cells.
TEST(ClgTiling, FillsTheWholeCube)
{
    Generator input(4);
    for (int dims = 1; dims <= 4; ++dims)
        for (const int steps : {2, 5}) {
            SCOPED_TRACE(std::to_string(dims) + " dimensions, steps " + std::to_string(steps));
            const auto colour_of = [](const Values &d) { return Colour{100 * d[0], 90 * d[1] + 9 * d[2], 80 * d[3]}; };
            const Cloud cloud(dims, dims, 0, 65535);
            const int chart = static_cast<int>(std::lround(std::pow(steps, dims)));
            Values device(4), share(4);
            const auto draw = [&](auto coordinate) {
                for (std::size_t j = 0; j < static_cast<std::size_t>(dims); ++j)
                    share[j] = (device[j] = coordinate()) / 65535;
            };
            for (int i = 0; i < chart + (steps == 2 ? 60 : 0); ++i) {
                int rest = i;
                draw([&] {
                    const int step = std::exchange(rest, rest / steps) % steps;
                    return i < chart ? std::floor(65535.0 * step / (steps - 1) + 0.5)
                                     : std::abs(65535 * input.below(2) - (i % 2 != 0 ? input.below(3) : i));
                });
                cloud.add(device, colour_of(share));
            }
            ASSERT_EQ(clg_build(cloud), 0);
            EXPECT_TRUE(steps == 2 || clg_num_cells(cloud) == cells_of_cube[dims] << 2 * dims);
            for (int i = 0; i < 300; ++i) {
                draw([&] { return i % 2 == 0 ? input.between(0, 65535) : input.between(0, 4); });
                Colour found{};
                ASSERT_EQ(clg_colour(cloud, device.data(), found.data()), 1);
                expect_near(found, colour_of(share), 1e-3);
            }
        }
}

// No answer above shows a borrow that is lost.
TEST(ClgWide, SubtractsOverBothHalves)
{
    using namespace teska::cloud;
    Generator input(5);
    for (int i = 0; i < 1000; ++i) {
        const auto a = static_cast<std::int64_t>(input.next()) >> 1, b = static_cast<std::int64_t>(input.next()) >> 1;
        const auto c = static_cast<std::int64_t>(input.next()) >> i % 60;
        EXPECT_EQ(sign(product(a + b, c) - product(a, c) - product(b, c)), 0);
        EXPECT_EQ(sign(product(a, c)), ((a > 0) - (a < 0)) * ((c > 0) - (c < 0)));
    }
}

}  // namespace
