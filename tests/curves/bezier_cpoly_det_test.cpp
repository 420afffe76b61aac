#include "bezier_cpoly_det.h"

#include "curves/segments.h"

#include <gtest/gtest.h>

using namespace teska_test;

TEST(BezierCpolyDet, LeadsTheCurveThroughThePointsAtEvenParameters)
{
    Generator input(4);
    for (int i = 0; i < 300; ++i) {
        const numbers xs = random_numbers(input, 3 + i % 3);
        const Segment b = segment(xs, xs);
        // Twice: the second time its coefficients are there already.
        for (const numbers &ys : {random_numbers(input, 5), random_numbers(input, 5)}) {
            EXPECT_EQ(bezier_cpoly_det(b.get(), xs.data(), ys.data()), 1);
            for (std::size_t k = 0; k < xs.size(); ++k) {
                point p{};
                bezier_get(b.get(), static_cast<double>(k) / b->degree, &p.x, &p.y);
                EXPECT_LT(p - point({xs[k], ys[k]}), 1e-13);
            }
        }
    }
}
