// TConvexHull with every allocation failing in turn: nothing is reported or lost, and the same call succeeds afterwards
#include "support/generator.h"

#include "faults/injector.h"
#include "tconvexhull.h"

#include <gtest/gtest.h>

#include <cmath>

namespace teska_test
{

namespace
{

// On a sphere so small that the hull is made twice, the second time by exact signs.
void add_sphere(TConvexHull &hull)
{
    Generator input(1);
    for (int i = 0; i < 60; ++i) {
        const double x = input.between(-1, 1), y = input.between(-1, 1), z = input.between(-1, 1);
        const double k = 4 / std::sqrt(x * x + y * y + z * z);
        hull.AddPoint(x * k, y * k, z * k);
    }
}

}  // namespace

TEST(TConvexHull, ConstructsWhenMemoryIsBackAgain)
{
    bool fired[2] = {true, true};
    int n = 0;
    for (; fired[0] || fired[1]; ++n)
        for (const bool sticky : {false, true}) {
            track_memory();
            {
                TConvexHull hull;
                add_sphere(hull);
                arm(fault_kind::memory, n, sticky);
                const int result = hull.Construct();
                fired[sticky] = disarm() > 0;
                EXPECT_EQ(result, fired[sticky] ? -1 : 0) << n;
                EXPECT_EQ(hull.InsideHull(1, 1, 1), fired[sticky] ? 0 : 1) << n;
                EXPECT_EQ(hull.Construct(), 0) << n;
                EXPECT_TRUE(hull.InsideHull(1, 1, 1) == 1 && hull.InsideHull(3, 3, 3) == 0) << n;
            }
            EXPECT_EQ(live_blocks(), 0) << n;
        }
    EXPECT_GT(n, 300);
}

TEST(TConvexHull, RemembersALostPoint)
{
    for (int n = 0; n < 3; ++n) {
        track_memory();
        {
            TConvexHull hull;
            arm(fault_kind::memory, n, false);
            for (const double x : {0, 10})
                EXPECT_EQ(hull.AddPoint(x, 0, 0), 0);
            EXPECT_EQ(disarm(), 1);
            TConvexHull copy(hull);
            add_sphere(copy);
            EXPECT_TRUE(hull.Construct() == -1 && copy.Construct() == -1 && hull.IsEmpty() == 0) << n;
        }
        EXPECT_EQ(live_blocks(), 0) << n;
    }
}

}  // namespace teska_test
