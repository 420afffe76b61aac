#include "convex_hull.h"

#include "support/test.h"

using teska_test::lines, teska_test::Reports;

namespace
{

struct Hull : teska::handle<convex_hull, convex_hull_kill> {
    explicit Hull(convex_hull *hull) : unique_ptr(hull) {}
    operator convex_hull *() const { return get(); }
};
using Points = std::vector<std::array<double, 3>>;

const double nan = std::numeric_limits<double>::quiet_NaN();
const Points cube{{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {10, 10, 0}, {0, 0, 10}, {10, 0, 10}, {0, 10, 10}, {10, 10, 10}};

Hull hull_of(const Points &points, double unit = 1)
{
    Hull hull(convex_hull_new());
    EXPECT_EQ(convex_hull_set_unit(hull, unit), 0);
    const double *const first = points.empty() ? nullptr : points[0].data();
    EXPECT_EQ(convex_hull_add_points(hull, first, static_cast<int>(points.size())), 0);
    return hull;
}

// The corners of all faces must be points that were added. The surface itself is TConvexHull's.
void check_faces(const convex_hull *hull, const Points &points)
{
    for (int f = 0, corner[3]; convex_hull_get_face(hull, f, corner) == 0; ++f)
        for (const int k : corner) {
            std::array<double, 3> p{};
            int number = -1;
            EXPECT_EQ(convex_hull_get_vertex(hull, k, p.data(), &number), 0);
            EXPECT_EQ(points.at(static_cast<std::size_t>(number)), p);
        }
}

TEST(ConvexHullSetUnit, MakesHullsOfSmallAndOfLargeCoordinates)
{
    Points small = cube;
    for (auto &p : small)
        for (double &x : p)
            x *= 0.07;  // not a whole number of units
    small.push_back({0.7000001, 0.35, 0.35});
    const Reports reports;
    EXPECT_EQ(convex_hull_construct(hull_of(small)), -1) << "no tetrahedron of 1/12 cubic unit";
    const Hull hull = hull_of(small, 0.01);
    ASSERT_EQ(convex_hull_construct(hull), 0);
    EXPECT_EQ(convex_hull_get_nr_vertices(hull), 8) << "a bulge below the rule is no vertex";
    check_faces(hull, small);
    EXPECT_NEAR(convex_hull_get_volume(hull), 0.343, 1e-15);
    for (const int inside : {0, 1})
        EXPECT_EQ(convex_hull_inside(hull, std::array{0.71 - 0.02 * inside, 0.01, 0.4}.data()), inside);
}

TEST(ConvexHullSetUnit, RefusesOnesOutsideItsRangeOrTooLate)
{
    Reports reports;
    const Hull hull = hull_of({});
    for (const double unit : {0.0, -1.0, 0.9e-9, 1.1e9, nan})
        EXPECT_EQ(convex_hull_set_unit(hull, unit), -1) << unit;
    EXPECT_EQ(reports.take(), lines(5, "convex_hull_set_unit: illegal unit"));
    EXPECT_EQ(convex_hull_add(hull, cube[7].data()), 0);
    EXPECT_EQ(convex_hull_set_unit(hull, 2), -1);
    EXPECT_EQ(reports.take(), lines{"convex_hull_set_unit: there are points already"});
    EXPECT_EQ(convex_hull_add_points(hull, cube[0].data(), -1), -1);
    EXPECT_EQ(reports.take(), lines{"convex_hull_add_points: illegal number of points"});
    EXPECT_EQ(convex_hull_get_nr_points(hull), 1);
}

TEST(ConvexHullConstruct, SaysWhenPointsAreInOnePlaneAndTakesMore)
{
    const Points none[] = {{}, {cube.begin(), cube.begin() + 4}, Points(9, cube[0]), {{nan, 0, 0}, cube[0], cube[7]}};
    for (const Points &points : none) {
        SCOPED_TRACE(points.size());
        Reports reports;
        const Hull hull = hull_of(points);
        EXPECT_EQ(convex_hull_construct(hull), -1);
        EXPECT_EQ(reports.take(), lines{"convex_hull_construct: points in one plane"});
        EXPECT_EQ(convex_hull_get_nr_faces(hull), 0);
        EXPECT_EQ(convex_hull_get_area(hull), 0.0);
        EXPECT_EQ(convex_hull_inside(hull, cube[0].data()), 0);
        EXPECT_EQ(convex_hull_add_points(hull, cube[0].data(), 8), 0);
        EXPECT_EQ(convex_hull_construct(hull), 0);
        EXPECT_EQ(convex_hull_get_area(hull), 600.0);
        EXPECT_EQ(convex_hull_get_volume(hull), 1000.0);
        // The hull stays as it is until it is made anew.
        const std::array<double, 3> top{5, 5, 30}, above{5, 5, 20};
        EXPECT_EQ(convex_hull_add(hull, top.data()), 0);
        for (const int made : {0, 1, 1}) {
            EXPECT_EQ(convex_hull_inside(hull, above.data()), made);
            EXPECT_EQ(convex_hull_get_nr_faces(hull), 12 + 2 * made);
            EXPECT_NEAR(convex_hull_get_volume(hull), made != 0 ? 5000.0 / 3 : 1000, 1e-9);
            EXPECT_EQ(convex_hull_construct(hull), 0);
        }
        // Numbers count the points that were left out too.
        Points all = points;
        all.insert(all.end(), cube.begin(), cube.end());
        all.push_back(top);
        check_faces(hull, all);
        EXPECT_EQ(convex_hull_get_nr_points(hull), static_cast<int>(all.size()));
        EXPECT_EQ(reports.take(), lines{});
    }
}

TEST(ConvexHullNearest, KnowsTheDistanceInAnyUnitOfWhatIsNotTooFarAway)
{
    const Hull hull = hull_of(cube, 0.125);
    const auto distance = [&](const std::array<double, 3> &q) {
        double dist = -1;
        const int result = convex_hull_nearest(hull, q.data(), nullptr, &dist, nullptr, nullptr);
        EXPECT_EQ(result, dist < 0 ? -1 : 0);
        return dist;
    };
    EXPECT_EQ(distance({20, 5, 5}), -1) << "no hull yet";
    EXPECT_EQ(convex_hull_construct(hull), 0);
    EXPECT_EQ(distance({20, 5, 5}), 10);
    EXPECT_EQ(distance({1, 4, 4}), 1);
    EXPECT_EQ(distance({nan, 0, 0}), -1);
    EXPECT_EQ(distance({0, 1e300, 0}), -1);
}

}  // namespace
