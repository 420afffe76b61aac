#include "vect_lobe.h"

#include "Support/exact.h"
#include "support/test.h"

#include "vect.h"

namespace
{

using teska_test::Generator;
using Values = std::vector<double>;
using Lobe = std::unique_ptr<vect_lobe, vect_lobe *(*)(vect_lobe *)>;

// Without an axis for an empty one.
Lobe make(const Values &centre, const Values &axis, double along, double across)
{
    const int n = static_cast<int>(centre.size());
    return {vect_lobe_new(n, centre.data(), axis.empty() ? nullptr : axis.data(), along, across), vect_lobe_kill};
}

Values random_values(Generator &input, std::size_t n, double reach)
{
    Values values(n);
    for (double &x : values)
        x = input.between(-reach, reach);
    return values;
}

Values plus(Values a, double k, const Values &b)
{
    for (std::size_t i = 0; i < a.size(); ++i)
        a[i] += k * b[i];
    return a;
}

double dot(const Values &a, const Values &b)
{
    return vect_scalar_product(a.data(), b.data(), static_cast<int>(a.size()));
}

Values gradient(const Lobe &lobe, Values x)
{
    EXPECT_EQ(vect_lobe_gradient(lobe.get(), x.data(), x.data()), 0);
    return x;
}

double weight(const Lobe &lobe, const Values &x) { return vect_lobe_weight(lobe.get(), x.data()); }

}  // namespace

// Lobes, tubes, slabs, balls and intervals, and sizes that squares would not survive. The surface is outside.
TEST(VectLobeWeight, IsExactWhereTheNumbersAre)
{
    const double a = 0.421875;
    EXPECT_EQ(weight(make({0, 0}, {2, 0}, HUGE_VAL, 4), {1e300, 2}), a);
    EXPECT_EQ(weight(make({0, 0}, {2, 0}, 4, HUGE_VAL), {2, -1e300}), a);
    EXPECT_EQ(weight(make({1, 1, 1}, {}, 4, 4), {1, 3, 1}), a);
    EXPECT_EQ(weight(make({0, 0}, {1e300, 0}, 4e200, 1e200), {2e200, 0}), a);
    EXPECT_EQ(weight(make({0, 0}, {5e-324, 0}, 4e-200, 1e-200), {0, 5e-201}), a);
    EXPECT_EQ(weight(make({0, 0}, {1, 0}, 5e-324, 5e-324), {0, 0}), 1);
    for (int radius = 1; radius < 200; ++radius)
        EXPECT_EQ(weight(make({0, 0}, {0, 1}, 2.0 * radius, radius), {1.0 * radius, 0}), 0) << radius;
}

// In rotated frames of 1 to 64 dimensions, against the formulas in terms of the parts of e; and the gradient against
// differences of the weight.
TEST(VectLobeWeight, FollowsTheFormulaAndTheOthersFollowIt)
{
    Generator input(1801);
    for (int round = 0; round < 500; ++round) {
        const auto n = static_cast<std::size_t>(round % 64 + 1);
        const Values centre = random_values(input, n, 100), axis = random_values(input, n, 3);
        const double along = input.between(1, 60), across = input.between(1, 60), size = std::sqrt(dot(axis, axis));
        const Lobe lobe = make(centre, axis, along, across);
        const auto square = [&](const Values &e) {
            const double p = dot(axis, e) / size;
            const Values rest = plus(e, -p / size, axis);
            return p * p / (along * along) + dot(rest, rest) / (across * across);
        };
        const Values e = random_values(input, n, 30 / std::sqrt(static_cast<double>(n))), x = plus(centre, 1, e);
        const int inside = square(e) < 1 ? 1 : 0;
        const double w = inside * std::pow(1 - square(e), 3);
        EXPECT_NEAR(weight(lobe, x), w, 1e-12) << n;
        const Values way = random_values(input, n, 1);
        const double h = 1e-5, change = weight(lobe, plus(x, h, way)) - weight(lobe, plus(x, -h, way));
        EXPECT_NEAR(dot(gradient(lobe, x), way), change / (2 * h), 1e-6) << n;
        EXPECT_NEAR(vect_lobe_limit(lobe.get(), way.data()) * std::sqrt(square(way)), 0.5823093691405702, 1e-12) << n;
        Values shifted(n), stretched(n);
        EXPECT_EQ(vect_lobe_stretch(lobe.get(), way.data(), x.data(), shifted.data()), inside) << n;
        EXPECT_EQ(vect_lobe_stretch_rel(lobe.get(), 1.75, x.data(), stretched.data()), inside) << n;
        for (const Values &left : {plus(plus(shifted, -1, x), -w, way), plus(plus(stretched, -1, x), -0.75 * w, e)})
            EXPECT_LT(dot(left, left), 1e-20) << n;
    }
}

TEST(VectLobeLimit, NeitherOverflowsNorUnderflowsOnTheWay)
{
    const Lobe ball = make({0, 0}, {}, 10, 10);
    for (const double length : {1e-310, 1e-170, 1e160, 1e308})
        EXPECT_DOUBLE_EQ(vect_lobe_limit(ball.get(), Values{0, length}.data()) * 0.1, 0.5823093691405702 / length);
    EXPECT_EQ(vect_lobe_limit(ball.get(), Values{0, 0}.data()), HUGE_VAL);
    EXPECT_TRUE(std::isnan(vect_lobe_limit(ball.get(), Values{HUGE_VAL, 0}.data())));
    EXPECT_EQ(vect_lobe_limit(make({0, 0}, {3, 0}, HUGE_VAL, 5).get(), Values{7, 0}.data()), HUGE_VAL);
}

TEST(VectLobeNew, RefusesAnAxisOfZerosAndRadiiThatBoundNothing)
{
    teska_test::Reports reports;
    const Values zero{0, 0}, one{1, 1};
    EXPECT_EQ(make(zero, zero, 1, 1), nullptr);
    EXPECT_EQ(reports.take(), teska_test::lines{"vect_lobe_new: illegal axis"});
    EXPECT_EQ(make({0}, one, HUGE_VAL, 1), nullptr);
    EXPECT_EQ(make(zero, one, HUGE_VAL, HUGE_VAL), nullptr);
    EXPECT_EQ(make(zero, {}, 1, 2), nullptr);
    EXPECT_EQ(reports.take(), teska_test::lines(3, "vect_lobe_new: illegal radius"));
}

// What is infinite or NaN: the weight, and the point bit for bit.
TEST(VectLobe, LeavesWhatIsNotInIt)
{
    const Lobe lobe = make({-1e308, 3, 0}, {1, 0, 0}, 10, 5), tilted = make({0, 0, 0}, {1, 2, 3}, 10, 5),
               tube = make({0, 0, 0}, {1, 0, 0}, HUGE_VAL, 5), ball = make({0, 0, 0}, {}, 9, 9);
    const std::tuple<const Lobe &, Values, bool> rows[] = {{lobe, {1e308, 3, 0}, false},
                                                           {lobe, {HUGE_VAL, NAN, 0}, true},
                                                           {tilted, {HUGE_VAL, -HUGE_VAL, 0}, false},
                                                           {tilted, {1e308, 1e308, 1e308}, false},
                                                           {tube, {HUGE_VAL, 0, 0}, true},
                                                           {tube, {0, HUGE_VAL, 0}, false},
                                                           {ball, {-0.0, 9, 0}, false}};
    for (const auto &[in, x, none] : rows) {
        Values values = gradient(in, x);
        values.push_back(weight(in, x));
        for (const double value : values)
            EXPECT_TRUE(none ? std::isnan(value) : value == 0) << testing::PrintToString(x) << value;
        Values moved = x, apart(3);
        EXPECT_EQ(vect_lobe_stretch(in.get(), Values{1, 2, 3}.data(), moved.data(), moved.data()), 0);
        EXPECT_EQ(vect_lobe_stretch_rel(in.get(), 2, x.data(), apart.data()), 0);
        for (const Values &left : {moved, apart})
            EXPECT_EQ(std::memcmp(left.data(), x.data(), sizeof(double) * 3), 0) << testing::PrintToString(x);
    }
}

TEST(VectNormalise, MakesTheLengthOneWithTheSameBitsWhateverTheSize)
{
    Generator input(1803);
    for (int round = 0; round < 6400; ++round) {
        const int n = 1 + round % 640, exponent = input.below(1900) - 950;
        // Random ones, and equal ones, whose squares are all rounded to the same side.
        Values v(static_cast<std::size_t>(n), input.unit() + 0.01), scaled;
        v = round / 640 % 2 == 0 ? random_values(input, v.size(), 1) : v;
        for (const double x : v)
            scaled.push_back(std::ldexp(x, exponent));
        const double length = vect_normalise(v.data(), n);
        EXPECT_EQ(vect_normalise(scaled.data(), n), std::ldexp(length, exponent)) << n;
        EXPECT_EQ(scaled, v) << n;
        // The square of the length less 1, with what rounding takes from the sum.
        double sum = -1, lost = 0, of_product = 0, of_sum = 0;
        for (const double x : v) {
            sum = teska::exact::sum(sum, teska::exact::product(x, x, of_product), of_sum);
            lost += of_product + of_sum;
        }
        EXPECT_TRUE(n > 64 || std::fabs(sum + lost) / 2 <= 2 * 0x1p-53) << n;
    }
}

TEST(VectNormalise, ReachesTheEndsOfDoublesAndLeavesTheRest)
{
    const double half = std::sqrt(0.5);
    const std::tuple<Values, Values, double> rows[] = {{{5e-324, 0}, {1, 0}, 5e-324},
                                                       {{-1.7e308, 1.7e308, 0}, {-half, half, 0}, HUGE_VAL},
                                                       {{0, -0.0}, {0, -0.0}, 0},
                                                       {{HUGE_VAL, 7}, {HUGE_VAL, 7}, HUGE_VAL},
                                                       {{-HUGE_VAL, 7, NAN}, {-HUGE_VAL, 7, NAN}, NAN},
                                                       {{}, {}, 0}};
    using testing::PrintToString;
    for (const auto &[in, out, length] : rows) {
        Values v = in;
        EXPECT_EQ(PrintToString(vect_normalise(v.data(), static_cast<int>(v.size()))), PrintToString(length));
        EXPECT_EQ(PrintToString(v), PrintToString(out));
    }
    double untouched[] = {7, NAN};
    EXPECT_EQ(vect_normalise(untouched, -1), 0);
    EXPECT_EQ(untouched[0], 7);
}
