#include "tplane.h"

#include "support/test.h"

namespace
{

using Ints = std::vector<int>;
using Values = std::vector<double>;

TPlane plane_of(int type, double value)
{
    return {41, 31, static_cast<TPlane::PlaneType>(type), value, -100, 100, 0, 90};
}

Ints pixel(const TPlane &plane, const Values &lab, bool noClamp)
{
    int x = 0, y = 0;
    plane.GetXY(lab.data(), &x, &y, noClamp);
    return {x, y};
}

}  // namespace

TEST(TPlane, GoesToColoursAndBackOnEveryPixel)
{
    for (const int type : {2, 3, 7, -1}) {
        const TPlane plane = plane_of(type, type == 2 ? -7 : 30);
        for (int i = -1; i <= 41; ++i)
            for (int j = -1; j <= 31; ++j) {
                Values lab(3);
                plane.GetLab(i, j, lab.data(), false);
                const double across = -100 + 5 * i, down = 90 - 3 * j;
                const Values expected{down, type == 2 ? across : std::sqrt(0.75) * across, type == 2 ? -7 : across / 2};
                for (std::size_t c = 0; c < 3; ++c)
                    ASSERT_NEAR(lab[c], expected[c], 1e-12) << type << ": " << i << ", " << j;
                ASSERT_EQ(pixel(plane, lab, true), (Ints{i, j})) << type;
            }
    }
}

TEST(TPlane, KeptLimitsToOneBeyondTheLastPixelAndByFlagsOfOppositeSense)
{
    const TPlane plane = plane_of(0, 50);
    double lab[3];
    plane.GetLab(46, -3, lab, true);
    EXPECT_EQ(Values(lab + 1, lab + 3), Values({105, 90}));
    plane.GetLab(-3, 46, lab, true);
    EXPECT_EQ(Values(lab + 1, lab + 3), Values({-100, -3}));
    EXPECT_EQ(pixel(plane, {50, 1000, -1000}, false), (Ints{41, 31}));
    EXPECT_EQ(pixel(plane, {50, 1000, -1000}, true), (Ints{220, 363}));
    // Halves away from 0; a hue plane sees the chroma of the far side as negative.
    EXPECT_EQ(pixel(plane, {50, -102.5, 1.5}, true), (Ints{-1, 30}));
    EXPECT_EQ(pixel(plane_of(3, 90), {90, 0, -50}, true), (Ints{10, 0}));
}

TEST(TPlane, IsEqualBySizeTypeValueAndRanges)
{
    const auto plane = [](const int *v) {
        return TPlane(v[0], v[1], static_cast<TPlane::PlaneType>(v[2]), std::nextafter(5, v[3]), v[4], v[5], v[6],
                      std::nextafter(6, v[7]));
    };
    int values[8] = {4, 3, 1, 5, 0, 1, 2, 6};
    const TPlane base = plane(values);
    EXPECT_TRUE((plane_of(0, 1) = base) == plane(values) && !(base != base));
    for (int &value : values) {
        ++value;
        EXPECT_TRUE(base != plane(values) && !(base == plane(values))) << &value - values;
        --value;
    }
    EXPECT_EQ(Values({base.W() * 1.0, base.Value(), base.XMin(), base.XMax(), base.YMin(), base.YMax()}),
              Values({4, 5, 0, 1, 2, 6}));
}

TEST(TPlane, KeepsToIntegersWhateverItIsGiven)
{
    const double extremes[] = {-1e308, 0.0, 1e308, std::numeric_limits<double>::quiet_NaN()};
    for (const int size : {INT_MIN, 0, 1, INT_MAX})
        for (const double high : extremes)
            for (const double v : extremes) {
                const TPlane plane(size, size, TPlane::ConstLPlane, high, 0, high, 0, high);
                EXPECT_NE(pixel(plane, {v, v, v}, true)[0], INT_MIN);
                EXPECT_EQ(pixel(plane, {v, v, NAN}, true)[1], 0);
                for (const auto points : {&TPlane::GetXGridPoints, &TPlane::GetYGridPoints}) {
                    int lines = 0, steps = 0;
                    EXPECT_NE((plane.*points)(&lines, &steps), nullptr);
                    EXPECT_EQ(lines, 11);
                }
            }
    const TPlane three(3, 3, TPlane::ConstLPlane, 0, 0, 1, 0, 1);
    EXPECT_EQ(pixel(three, {0, 1e308, 1e308}, true), (Ints{INT_MAX, -INT_MAX}));
    const TPlane one(1, 1, TPlane::ConstLPlane, 50, -3, 3, -4, 4);
    EXPECT_EQ(Values({one.X(0), one.X(9), one.Y(0), one.Y(9)}), Values({-3, -3, 4, 4}));
}
