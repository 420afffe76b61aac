#include "convex_hull.h"

#include "Support/vec.h"
#include "support/test.h"

using teska::vec3, teska_test::Generator, teska_test::lines, teska_test::Reports;

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

// Whole coordinates, on which the rule of 1/12 is exact.
Points cloud(int n, int extent)
{
    Generator input(static_cast<std::uint64_t>(n));
    Points points(static_cast<std::size_t>(n));
    for (auto &p : points)
        for (double &x : p)
            x = input.below(extent);
    return points;
}

using Face = std::array<vec3, 3>;

// All faces; their corners must be points that were added.
std::vector<Face> faces_of(const convex_hull *hull, const Points &points)
{
    std::vector<Face> faces(static_cast<std::size_t>(convex_hull_get_nr_faces(hull)));
    for (std::size_t f = 0; f < faces.size(); ++f) {
        int corner[3] = {}, number = -1;
        EXPECT_EQ(convex_hull_get_face(hull, static_cast<int>(f), corner), 0);
        for (std::size_t k = 0; k < 3; ++k) {
            double p[3] = {};
            EXPECT_EQ(convex_hull_get_vertex(hull, corner[k], p, &number), 0);
            faces[f][k] = teska::vec3_at(p);
            EXPECT_EQ(points.at(static_cast<std::size_t>(number)), (std::array{p[0], p[1], p[2]}));
        }
    }
    return faces;
}

double six_volumes(const Face &t, const vec3 &p) { return dot(t[0] - p, cross(t[1] - p, t[2] - p)); }

// Around all points, with as many faces as a closed surface has.
TEST(ConvexHull, IsTheOutwardSurfaceOfInputPoints)
{
    for (const auto &[n, extent, unit] : {std::tuple(12, 9, 1.0), {3000, 65536, 700.0}}) {
        const Points points = cloud(n, extent);
        const Hull hull = hull_of(points, unit);
        ASSERT_EQ(convex_hull_construct(hull), 0);
        const std::vector<Face> faces = faces_of(hull, points);
        EXPECT_EQ(static_cast<int>(faces.size()), 2 * convex_hull_get_nr_vertices(hull) - 4);
        EXPECT_EQ(convex_hull_get_nr_points(hull), static_cast<int>(points.size()));

        const double slack = 0.5 * std::pow(std::exp2(std::floor(std::log2(unit))), 3);
        for (const auto &at : faces)
            for (const auto &p : points)
                ASSERT_GE(six_volumes(at, teska::vec3_at(p.data())), -slack);
        // Inside is what no face has on its far side.
        Generator input(1);
        const double reach = extent;
        int counts[2] = {};
        for (int i = 0; i < 1000; ++i) {
            const auto coordinate = [&] { return input.between(-0.1, 1.1) * reach; };
            const double q[3] = {coordinate(), coordinate(), coordinate()};
            const int inside = convex_hull_inside(hull, q);
            const auto holds = [&](const Face &f) { return six_volumes(f, teska::vec3_at(q)) > -slack; };
            ASSERT_EQ(inside, std::ranges::all_of(faces, holds));
            ++counts[inside];
        }
        EXPECT_GT(std::min(counts[0], counts[1]), 50);
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
    faces_of(hull, small);
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
    Points twice;
    for (const auto &p : cube)
        twice.insert(twice.end(), 2, p);
    const Points none[] = {
        {}, {cube.begin(), cube.begin() + 4}, Points(9, cube[0]), twice, {{nan, 0, 0}, cube[0], cube[7]}};
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
        faces_of(hull, all);
        EXPECT_EQ(reports.take(), lines{});
    }
}

TEST(ConvexHull, RefusesIndicesOutsideItsListsAndPlacesWithoutANearestPoint)
{
    const Hull hull = hull_of(cube, 3.0);
    double p[3] = {7, 7, 7}, dist = 7;
    int corner[3] = {7, 7, 7}, number = 7;
    const auto nearest = [&](const std::array<double, 3> &q) {
        return convex_hull_nearest(hull, q.data(), nullptr, &dist, nullptr, nullptr);
    };
    EXPECT_EQ(convex_hull_get_vertex(hull, 0, p, &number), -1);
    EXPECT_EQ(nearest({20, 5, 5}), -1);
    convex_hull_construct(hull);
    for (const int i : {-1, 12}) {
        EXPECT_EQ(convex_hull_get_vertex(hull, i, p, &number), -1);
        EXPECT_EQ(convex_hull_get_face(hull, i, corner), -1);
    }
    EXPECT_EQ(nearest({nan, 0, 0}), -1);
    EXPECT_EQ(nearest({0, 1e300, 0}), -1);
    EXPECT_EQ((std::array{p[0], 1.0 * number, 1.0 * corner[0], dist}), (std::array{7.0, 7.0, 7.0, 7.0}));
    EXPECT_EQ(convex_hull_inside(hull, std::array{5.0, nan, 5.0}.data()), 0);
    EXPECT_EQ(convex_hull_get_vertex(hull, 0, nullptr, nullptr), 0);
    EXPECT_EQ(nearest({20, 5, 5}), 0);
    EXPECT_EQ(dist, 10);
}

}  // namespace
