#include "bezierd_split.h"

#include "curves/segments.h"
#include "support/reports.h"

#include <gtest/gtest.h>

using namespace teska_test;

namespace
{

struct Halves {
    Segment first, second;
    int result;
};

Halves divided(const Segment &b, double t)
{
    bezier *halves[2] = {b.get(), b.get()};
    const int result = bezier_subdivide(b.get(), t, &halves[0], &halves[1]);
    return {Segment(halves[0]), Segment(halves[1]), result};
}

}  // namespace

TEST(BezierSubdivide, KeptHalvesRunAlongTheCurveButTheSecondOfDegree2EndsAtZero)
{
    Generator input(6);
    for (int i = 0; i < 400; ++i) {
        const int degree = 2 + i % 2;
        const Segment b = random_segment(input, degree);
        const double t = i < 4 ? i / 2 : input.unit();
        const auto [first, second, result] = divided(b, t);
        ASSERT_EQ(result, 1);
        const point end{second->x[degree], second->y[degree]};
        EXPECT_EQ(end - point({b->x[3], b->y[3]}), 0.0);
        second->x[degree] = b->x[degree];
        second->y[degree] = b->y[degree];
        for (const double s : {0.0, 0.3, 0.8, 1.0}) {
            point p{};
            bezier_get(first.get(), s, &p.x, &p.y);
            EXPECT_LT(p - casteljau(*b, s * t), 1e-14);
            bezier_get(second.get(), s, &p.x, &p.y);
            EXPECT_LT(p - casteljau(*b, t + s * (1 - t)), 1e-14);
        }
    }
}

TEST(BezierSubdivide, RefusesDegree4AndParametersOutsideTheCurve)
{
    Reports reports;
    const Segment b = segment({0, 1, 2, 3}, {0, 1, 1, 0});
    for (const double t : {-1e-300, 1.0000001, std::nan("")}) {
        const auto [first, second, result] = divided(b, t);
        EXPECT_TRUE(result == 0 && !first && !second) << t;
    }
    EXPECT_EQ(reports.take(), lines(3, "Bezier_subdivide: illegal t value"));
    const auto [first, second, result] = divided(segment({0, 1, 2, 3, 4}, {0, 1, 1, 0, 0}), 0.5);
    EXPECT_TRUE(result == 0 && !first && !second);
    EXPECT_EQ(reports.take(), lines{"Bezier_subdivide: illegal degree"});
}
