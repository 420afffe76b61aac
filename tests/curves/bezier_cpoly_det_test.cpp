#include "bezier_cpoly_det.h"

#include "curves/segments.h"

#include <gtest/gtest.h>

using namespace teska_test;

TEST(BezierCpolyDet, LeadsTheCurveThroughThePointsAtEvenParameters)
{
    Generator input(4);
    for (int i = 0; i < 300; ++i) {
        const int degree = 2 + i % 3;
        const Segment b = random_segment(input, degree);
        const numbers xs = random_numbers(input, degree + 1);
        const numbers ys = random_numbers(input, degree + 1);
        point p{};
        bezier_get(b.get(), 0.5, &p.x, &p.y);
        EXPECT_EQ(bezier_cpoly_det(b.get(), xs.data(), ys.data()), 1);
        for (std::size_t k = 0; k < xs.size(); ++k) {
            const double t = static_cast<double>(k) / degree;
            bezier_get(b.get(), t, &p.x, &p.y);
            EXPECT_LT(p - point({xs[k], ys[k]}), 1e-13);
            EXPECT_LT(p - casteljau(*b, t), 1e-13);
        }
        EXPECT_EQ(point({b->x[0], b->y[0]}) - point({xs.front(), ys.front()}), 0.0);
        EXPECT_EQ(point({b->x[degree], b->y[degree]}) - point({xs.back(), ys.back()}), 0.0);
    }
}
