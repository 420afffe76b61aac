#include "interp_double.h"

#include "support/test.h"

#include <bit>

using namespace teska_test;

namespace
{

using Curve = teska::handle<lin_interp_double, lin_interp_double_kill>;
using Points = std::vector<std::pair<double, double>>;
using Evaluate = int (*)(const lin_interp_double *, double, double *);

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double no_number = std::numeric_limits<double>::quiet_NaN();
constexpr double none = 12345.0;  // what y keeps when the evaluation is refused

Curve curve(const Points &points, func_order order = nullptr)
{
    Curve li(lin_interp_double_new(2, order));
    for (const auto &[x, y] : points)
        EXPECT_EQ(lin_interp_double_insert(li.get(), x, y), 0);
    return li;
}

Points contents(const Curve &li)
{
    Points points;
    for (double x = 0, y = 0; lin_interp_double_getp(li.get(), static_cast<int>(points.size()), &x, &y) == 0;)
        points.emplace_back(x, y);
    EXPECT_EQ(lin_interp_double_num(li.get()), static_cast<int>(points.size()));
    return points;
}

double at(const void *element) { return *static_cast<const double *>(element); }
int ascending(const void *element, const void *key) { return at(element) > at(key) ? 1 : 0; }
int descending(const void *element, const void *key) { return at(element) < at(key) ? 1 : 0; }

// The bits of the value, those of none after a refusal; one pattern for every NaN.
std::uint64_t bits(double value) { return std::isnan(value) ? 1 : std::bit_cast<std::uint64_t>(value); }

std::uint64_t bits(Evaluate evaluate, const Curve &li, double x)
{
    double y = none;
    const int result = evaluate(li.get(), x, &y);
    EXPECT_EQ(result, y == none ? -1 : 0);
    return bits(y);
}

// The segment by a walk over the points. Beyond the ends the lines continue, or the values.
double walk(const Points &points, double x, bool lines_continue)
{
    const std::size_t n = points.size();
    std::size_t i = 0;
    while (i < n && !(points[i].first > x))
        ++i;
    if (!lines_continue && (i == 0 || i == n))
        return points[i == 0 ? 0 : n - 1].second;
    i = std::min(i, n - 1);
    const auto [x_i, y_i] = points[i];
    const auto [x_j, y_j] = points[i == 0 ? 1 : i - 1];
    const double d = x_j - x_i;
    return std::fabs(d) > 1e-20 ? y_i + ((x - x_i) * (y_j - y_i)) / d : none;
}

// Coordinates that fall together, lie nearer than 1e-20 or barely not, or far apart.
double coordinate(Generator &random)
{
    const double far = std::ldexp(random.between(-1, 1), random.below(2000) - 1000);
    const double choices[] = {
        random.below(4) - 1.0, random.between(-3e-20, 3e-20), far, random.between(-2, 2), 0.5, 0.0, 1e-20, 1.0001e-20};
    return random.below(50) == 0 ? inf : choices[random.below(8)];
}

}  // namespace

// The direct search, the search through the list of a curve with an order of the caller, and the walk.
TEST(LinInterpDoubleInter, FindsTheSameBitsByEverySearchWhateverBecameOfTheOrder)
{
    Reports reports;
    Generator random(5412);
    for (int round = 0; round < 600; ++round) {
        Curve direct = curve({{0, 0}, {1, 1}}), listed = curve({{0, 0}, {1, 1}}, ascending);
        bool sorted = true;
        for (int step = 2; step < 30; ++step) {
            const int kind = random.below(step < 15 ? 4 : 8);
            const double x = random.below(100) == 0 ? no_number : coordinate(random);
            const int index = random.below(lin_interp_double_num(direct.get()));
            for (Curve *li : {&direct, &listed}) {
                if (kind == 5)
                    lin_interp_double_changep(li->get(), index, x, step);
                else if (kind == 6)
                    lin_interp_double_subst(li->get(), x, step, 0.5);
                else if (kind == 7 && round % 4 == 0)
                    li->reset(lin_interp_double_invert(li->get(), li == &direct ? nullptr : ascending));
                else
                    lin_interp_double_insert(li->get(), x, step);
            }
            sorted = sorted && !std::isnan(x) && kind < 5;
            const Points points = contents(direct);
            ASSERT_TRUE(!sorted || std::is_sorted(points.begin(), points.end())) << "equal ones in their order, too";
            for (const double query : {x, coordinate(random), no_number})
                for (const Evaluate evaluate : {lin_interp_double_inter, lin_interp_double_inextp}) {
                    const auto found = bits(evaluate, direct, query);
                    ASSERT_EQ(found, bits(evaluate, listed, query)) << round << ' ' << step;
                    const double walked = walk(points, query, evaluate == lin_interp_double_inter);
                    ASSERT_TRUE(!sorted || found == bits(walked)) << query;
                }
        }
    }
    const lines said = reports.take();
    EXPECT_GT(said.size(), 500U) << "too few of the curves have points too close";
    EXPECT_EQ(said, lines(said.size(), "lin_interp : not a function !!"));
}

TEST(LinInterpDouble, KeptRefusesASinglePointAndLeavesAMovedOneWhereItIs)
{
    Reports reports;
    for (const Points &points : {Points{}, Points{{1, 2}}})
        for (const Evaluate evaluate : {lin_interp_double_inter, lin_interp_double_inextp})
            EXPECT_EQ(bits(evaluate, curve(points), 1), bits(none));
    EXPECT_EQ(reports.take(), lines(4, "lin_interp : too little function points"));
    EXPECT_EQ(lin_interp_double_num(nullptr), -1);
    EXPECT_EQ(lin_interp_double_subst(nullptr, 1, 2, 3), 0);
    EXPECT_EQ(reports.take(), lines(2, "lin_interp_double_getp : Not properly initialized"));
    const Curve li = curve({{1, 10}, {2, 20}, {3, 30}});
    EXPECT_EQ(lin_interp_double_changep(li.get(), 2, 0, 5), 0);
    for (const int index : {-1, 3})
        EXPECT_EQ(lin_interp_double_changep(li.get(), index, 0, 0), -1);
    EXPECT_EQ(reports.take(), lines(2, "list_changep : index out of bound"));
    EXPECT_EQ(contents(li), (Points{{1, 10}, {2, 20}, {0, 5}}));
}

TEST(LinInterpDoubleSubst, KeptOverwritesTheNearestPointWithoutSortingAgain)
{
    const Points three = {{1, 1}, {2, 2}, {3, 3}};
    const std::tuple<Points, double, double, Points> cases[] = {
        {{}, 1, 0.1, {{1, 9}}},
        {three, 2.5, 0.6, {{1, 1}, {2.5, 9}, {3, 3}}},          // a tie: the lower index
        {three, 2.5, 0.5, {{1, 1}, {2, 2}, {2.5, 9}, {3, 3}}},  // as far as the tolerance
        {three, 2, no_number, {{1, 1}, {2, 2}, {2, 9}, {3, 3}}}};
    for (const auto &[points, x, tolerance, expected] : cases) {
        const Curve li = curve(points);
        EXPECT_EQ(lin_interp_double_subst(li.get(), x, 9, tolerance), 0);
        EXPECT_EQ(contents(li), expected);
    }
    const Curve li = curve({{no_number, 1}, {2, 2}});
    lin_interp_double_subst(li.get(), 2, 9, inf);
    EXPECT_EQ(lin_interp_double_num(li.get()), 3) << "the nearest distance is that of NaN";
}

TEST(LinInterpDoubleInvert, TakesAnOrderOfTheCaller)
{
    const Curve falling(lin_interp_double_invert(curve({{3, 1}, {2, 4}, {1, 1}}).get(), descending));
    EXPECT_EQ(contents(falling), (Points{{4, 2}, {1, 1}, {1, 3}}));
}
