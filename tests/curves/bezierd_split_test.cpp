#include "bezierd_split.h"

#include "support/reports.h"

#include "curves/segments.h"

#include <gtest/gtest.h>

using namespace teska_test;

TEST(BezierSubdivide, KeptHalvesRunAlongTheCurveButTheSecondOfDegree2EndsAtZero)
{
    Generator input(6);
    for (int i = 0; i < 400; ++i) {
        const Segment b = segment(random_numbers(input, 3 + i % 2), random_numbers(input, 3 + i % 2));
        const double t = i < 4 ? i / 2 : input.unit();
        bezier *halves[2];
        ASSERT_EQ(bezier_subdivide(b.get(), t, &halves[0], &halves[1]), 1);
        const Segment first(halves[0]);
        const Segment second(halves[1]);
        double &end = second->x[b->degree];
        EXPECT_EQ(end, b->x[3]);
        EXPECT_EQ(std::exchange(second->y[b->degree], b->y[b->degree]), b->y[3]);
        end = b->x[b->degree];
        for (const double s : {0.0, 0.3, 0.8, 1.0}) {
            EXPECT_LT(casteljau(*first, s) - casteljau(*b, s * t), 1e-14);
            EXPECT_LT(casteljau(*second, s) - casteljau(*b, t + s * (1 - t)), 1e-14);
        }
    }
}

TEST(BezierSubdivide, GivesNoHalvesBesideTheCurve)
{
    Reports reports;
    const Segment b = segment({0, 1, 2}, {0, 1, 0});
    bezier *halves[2] = {b.get(), b.get()};
    EXPECT_EQ(bezier_subdivide(b.get(), 1.0000001, &halves[0], &halves[1]), 0);
    EXPECT_EQ(std::pair(halves[0], halves[1]), (std::pair<bezier *, bezier *>()));
    EXPECT_EQ(reports.take(), lines{"Bezier_subdivide: illegal t value"});
}
