#include "bezierd_fit.h"

#include "support/host.h"
#include "support/test.h"

#include "curves/segments.h"

using namespace teska_test;

namespace
{

struct Fit {
    Segment b = segment({9, 9, 9, 9}, {9, 9, 9, 9});
    double lse = 77;
    double max_e = 77;

    // tangents: 1 the start's, 2 the end's
    Fit(const numbers &xs, const numbers &ys, unsigned int tangents = 0, point start = {1, 2}, point end = {-3, 6},
        int verbose = 1)
    {
        teska::bezier_coef(*b);  // has to be renewed
        EXPECT_EQ(bezier_fit(b.get(), static_cast<int>(xs.size()), xs.data(), ys.data(), (tangents & 1) * 4, start.x,
                             start.y, tangents & 2, end.x, end.y, &lse, &max_e, verbose),
                  1);
    }
};

void expect_segment(const Fit &fit, const numbers &xs, const numbers &ys, double tolerance)
{
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(fit.b->x[i], xs[i], tolerance) << i;
        EXPECT_NEAR(fit.b->y[i], ys[i], tolerance) << i;
    }
    point shown{};
    bezier_get(fit.b.get(), 0.3, &shown.x, &shown.y);
    EXPECT_LT(shown - casteljau(*fit.b, 0.3), 1e-14);
}

numbers at_even_steps(const numbers &controls)
{
    numbers values;
    for (int i = 0; i <= 20; ++i)
        values.push_back(static_cast<double>(casteljau(controls.data(), 3, i / 20.0)));
    return values;
}

const numbers tone_x{0, 1, 2, 3, 4, 5, 6, 7};
const numbers tone_y{0, 1.9, 2.4, 3.5, 3.1, 3.3, 2.2, 0.4};

class BezierFit : public testing::Test
{
protected:
    Reports reports;
    Host host;
};

}  // namespace

TEST_F(BezierFit, KeptAnswersThreePointsByTheCurveThroughThemOrAStraightSegmentOfApproximateLength)
{
    const double off = 0.05 / (15 / 8.0 + 15 / 32.0);
    // Where the curve passes through the middle point; 0 where it is straight. Then the errors.
    const std::tuple<numbers, numbers, double, double> cases[] = {
        {{1, 3}, {2, 5}, 0, 0},         {{0, 0.05, 2}, {0, 0, 1}, 0, off},  {{1, 2.95, 3}, {0, 1, 1}, 0, off},
        {{0, 0, 2}, {1, 1, 1}, 0, 0},  // the inner points have no weight at the middle one
        {{0, 1, 2}, {0, 1, 0}, 0.5, 0}, {{0, 1, 20}, {0, 0, 0}, 0.05, 0},   {{5, 5, 5}, {0, 0.5, 10}, 0.05, 0},
        {{0, 3, 0}, {1, 1, 1}, 0.5, 0}, {{0, 1, 4}, {0, 0, 4}, 1 / 6.0, 0}, {{3, 3, 3}, {4, 4, 4}, 0.5, 0}};
    for (const auto &[xs, ys, t, error] : cases) {
        const Fit fit(xs, ys, 3);
        const point p1 = t == 0 ? point{xs[0], ys[0]} : point{fit.b->x[1], fit.b->y[1]};
        const point p2 = t == 0 ? point{xs.back(), ys.back()} : p1;
        expect_segment(fit, {xs[0], p1.x, p2.x, xs.back()}, {ys[0], p1.y, p2.y, ys.back()}, 0);
        EXPECT_LT(casteljau(*fit.b, t) - point({xs[t > 0], ys[t > 0]}), 1e-14) << testing::PrintToString(xs);
        EXPECT_NEAR(fit.lse, error, 1e-15);
        EXPECT_EQ(fit.lse, fit.max_e);
    }
}

// What it finds otherwise is in the hashes.
TEST_F(BezierFit, KeptShowsEachOf21PassesAtMost)
{
    Fit(at_even_steps({0, 0, 10, 4}), at_even_steps({0, 5, -3, 1}));
    EXPECT_EQ(Host::take().size(), 45U);
    const Fit fit(tone_x, tone_y, 3);
    EXPECT_EQ(std::pair(fit.b->start_given, fit.b->end_given), std::pair(1, 1));
    lines shown = Host::take();
    ASSERT_EQ(shown.size(), 13U);
    EXPECT_EQ(shown[9].substr(0, 23) + shown[9].back(), "  t-iteration 5 max_dt  ");
    EXPECT_LT(std::stod(shown[9].substr(23)), 0.001);
    shown.erase(shown.begin() + 1, shown.begin() + 10);
    EXPECT_EQ(shown, (lines{"Bezier_fit", "  xc1 2.03489 yc1 4.06978 xc2 4.76751 yc2 4.86499", "  maxE 0.286998 ",
                            "  LSE  0.537759 "}));
}

TEST_F(BezierFit, GoesOnWithoutASolutionAndTellsThatCoordinatesAreNoNumbers)
{
    expect_segment(Fit({0, 0, 1, 1}, {0, 0, 1, 1}), {0, 0, 1, 1}, {0, 0, 1, 1}, 0);
    lines expected(8, "Bezier_fit : divide by 0");
    expected.emplace_back("Bezier_fit : system without solution");
    EXPECT_EQ(reports.take(), expected);
    for (const unsigned int tangents : {1U, 2U, 3U}) {
        Host::take();
        expect_segment(Fit(tone_x, tone_y, tangents, {0, 0}, {0, 0}), {0, 0, 7, 7}, {0, 0, 0.4, 0.4}, 0);
        EXPECT_EQ(reports.take(), lines((Host::take().size() - 3) / 2, "Bezier_fit : system without solution"));
    }
    Host::take();
    Fit(tone_x, tone_y, 0, {}, {}, 0);
    EXPECT_EQ(Host::take(), lines{}) << "not verbose";
    const Fit gathered(numbers(6, 5), numbers(6, -2));
    expect_segment(gathered, numbers(4, 5), numbers(4, -2), 1e-9);
    EXPECT_LT(gathered.lse, 1e-14);
    for (const double odd : numbers{NAN, INFINITY, 1e300})
        for (const std::size_t at : {0U, 3U, 7U}) {
            numbers xs = tone_x;
            xs[at] = odd;
            const Fit fit(xs, tone_y);
            EXPECT_TRUE(std::isnan(fit.lse)) << odd << ' ' << at;
            EXPECT_TRUE(std::isnan(fit.max_e)) << odd << ' ' << at;
        }
}
