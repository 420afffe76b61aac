#include "tplane.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <vector>

namespace
{

constexpr double quiet = std::numeric_limits<double>::quiet_NaN();
constexpr double huge = 1e308;

TPlane plane_of(int type, double value)
{
    return {41, 31, static_cast<TPlane::PlaneType>(type), value, -100, 100, 0, 90};
}

std::vector<int> grid(const int *points) { return {points, points + 11}; }

}  // namespace

TEST(TPlane, GoesToColoursAndBackOnEveryPixel)
{
    const double dy = 3.0;
    for (int type = 0; type < 4; ++type) {
        const TPlane plane = plane_of(type, type == 3 ? 30 : -7);
        for (int i = -1; i <= 41; ++i)
            for (int j = -1; j <= 31; ++j) {
                double lab[3];
                int x = 99, y = 99;
                plane.GetLab(i, j, lab, false);
                const double across = -100 + 5 * i;
                const double down = 90 - dy * j;
                const double colours[4][3] = {{-7, across, down},
                                              {down, -7, across},
                                              {down, across, -7},
                                              {down, std::sqrt(0.75) * across, 0.5 * across}};
                for (int c = 0; c < 3; ++c)
                    ASSERT_NEAR(lab[c], colours[type][c], 1e-12) << type << ": " << i << ", " << j;
                plane.GetXY(lab, &x, &y, true);
                ASSERT_TRUE(x == i && y == j) << type << ": " << i << ", " << j << " gives " << x << ", " << y;
            }
    }
}

TEST(TPlane, KeptLimitsToOneBeyondTheLastPixelAndByFlagsOfOppositeSense)
{
    const TPlane plane = plane_of(0, 50);
    double lab[3], limit[3];
    plane.GetLab(46, -3, lab, true);
    plane.GetLab(41, 0, limit, false);
    EXPECT_TRUE(lab[1] == limit[1] && lab[2] == limit[2] && lab[1] == 105 && lab[2] == 90);
    const double far[3] = {50, 1000, -1000};
    int x = 0, y = 0;
    plane.GetXY(far, &x, &y, false);
    EXPECT_TRUE(x == 41 && y == 31);
    plane.GetXY(far, &x, &y, true);
    EXPECT_TRUE(x == 220 && y == 363) << x << ' ' << y;
    // Halves away from 0; a hue plane sees the chroma of the far side as negative.
    const double halves[3] = {50, -102.5, 1.5};
    plane.GetXY(halves, &x, &y, true);
    EXPECT_TRUE(x == -1 && y == 30) << x << ' ' << y;
    const double opposite[3] = {90, 0, -50};
    plane_of(3, 90).GetXY(opposite, &x, &y, true);
    EXPECT_TRUE(x == 10 && y == 0) << x << ' ' << y;
}

TEST(TPlane, KeptCountsTheGridOfTheDownAxisFromBelow)
{
    int nr = 0, steps = 0;
    const TPlane square(101, 101, TPlane::ConstLPlane, 50, -100, 100, -100, 100);
    EXPECT_EQ(grid(square.GetXGridPoints(&nr, &steps)),
              (std::vector<int>{-13, 0, 13, 25, 38, 50, 63, 75, 88, 100, 113}));
    EXPECT_TRUE(nr == 11 && steps == 5);
    EXPECT_EQ(grid(square.GetYGridPoints(&nr, &steps)), grid(square.GetXGridPoints(&nr, &steps)));
    EXPECT_TRUE(nr == 11 && steps == 5);
    for (int type = 1; type < 4; ++type) {
        TPlane plane = plane_of(type, 0);
        EXPECT_EQ(grid(plane.GetYGridPoints(&nr, &steps)), (std::vector<int>{0, 3, 7, 10, 13, 17, 20, 23, 27, 30, 33}));
        EXPECT_EQ(steps, 10);
        const TPlane copy(plane);
        plane = square;
        EXPECT_EQ(grid(plane.GetYGridPoints(&nr, &steps)), grid(square.GetYGridPoints(&nr, &steps)));
        EXPECT_EQ(grid(copy.GetXGridPoints(&nr, &steps)), (std::vector<int>{-5, 0, 5, 10, 15, 20, 25, 30, 35, 40, 45}));
    }
}

TEST(TPlane, IsEqualBySizeTypeValueAndRanges)
{
    const auto plane = [](int w, int h, int type, double v, double x0, double x1, double y0, double y1) {
        return TPlane(w, h, static_cast<TPlane::PlaneType>(type), v, x0, x1, y0, y1);
    };
    const TPlane base = plane(4, 3, 1, 5, 0, 1, 2, 6);
    EXPECT_TRUE(base == plane(4, 3, 1, 5, 0, 1, 2, 6) && !(base != base));
    for (const TPlane &other :
         {plane(5, 3, 1, 5, 0, 1, 2, 6), plane(4, 2, 1, 5, 0, 1, 2, 6), plane(4, 3, 2, 5, 0, 1, 2, 6),
          plane(4, 3, 1, 6, 0, 1, 2, 6), plane(4, 3, 1, 5, 0.1, 1, 2, 6), plane(4, 3, 1, 5, 0, 1.1, 2, 6),
          plane(4, 3, 1, 5, 0, 1, 2.1, 6), plane(4, 3, 1, 5, 0, 1, 2, std::nextafter(6, 7))})
        EXPECT_TRUE(base != other && !(base == other));
    EXPECT_TRUE(base.W() == 4 && base.Value() == 5 && base.XMin() == 0 && base.XMax() == 1 && base.YMin() == 2 &&
                base.YMax() == 6);
}

TEST(TPlane, KeepsToIntegersWhateverItIsGiven)
{
    for (const int size : {INT_MIN, -1, 0, 1, 2, INT_MAX})
        for (const double high : {-huge, 0.0, 1.0, huge, quiet})
            for (int type = 0; type < 5; ++type) {
                const TPlane plane(size, size, static_cast<TPlane::PlaneType>(type & 3), high, 0, high, 0, high);
                for (const double v : {-huge, 0.0, 1.0, huge, quiet})
                    for (const bool flag : {false, true}) {
                        double lab[3] = {v, v, v};
                        int x = 0, y = 0;
                        plane.GetXY(lab, &x, &y, flag);
                        EXPECT_TRUE(x >= -INT_MAX || size == INT_MIN);
                        plane.GetLab(x, y, lab, flag);
                        plane.GetXGridPoints(&x, &y);
                    }
            }
    const TPlane one(1, 1, TPlane::ConstLPlane, 50, -3, 3, -4, 4);
    EXPECT_TRUE(one.X(0) == -3 && one.X(9) == -3 && one.Y(0) == 4 && one.Y(9) == 4);
    const double beyond[3] = {0, huge, huge};
    int x = 0, y = 0;
    TPlane(3, 3, TPlane::ConstLPlane, 0, 0, 1, 0, 1).GetXY(beyond, &x, &y, true);
    EXPECT_TRUE(x == INT_MAX && y == -INT_MAX);
}
