#include "tetra.h"

#include "Support/vec.h"
#include "support/levels.h"
#include "support/test.h"

#include "proj.h"

using teska_test::Generator, teska_test::lines, teska_test::Reports;

namespace
{

using Points = std::vector<tetra_point>;
using Volume = std::shared_ptr<tetra_volume>;
using List = std::shared_ptr<list_rec>;
using Numbers = std::vector<double>;
using Ints = std::vector<int>;

// The points are numbered by their index.
Volume cut(const Points &points, int mode = 0, tetra_point_select_fn select = nullptr)
{
    const List list(list_new(1000, sizeof(tetra_point), nullptr), list_kill);
    for (tetra_point p : points) {
        p.nr = list_num(list.get());
        list_insert(list.get(), &p);
    }
    return {tetra_volume_new2(list.get(), mode, select), tetra_volume_kill};
}

// Triangles across the z axis, a heap of them.
Volume stack(const Numbers &heights)
{
    Volume v(tetra_volume_new0(), tetra_volume_kill);
    for (const double z : heights) {
        const tetra_point p[] = {{-9, -9, z, 0}, {9, -9, z, 0}, {0, 9, z, 0}};
        EXPECT_EQ(tetra_volume_add_plane(v.get(), p, p + 1, p + 2), 0);
    }
    return v;
}

template <class Record = tetra_rec>
const Record *at(list_rec *list, int index)
{
    return *static_cast<Record **>(list_get_element(list, index));
}

double sixfold(const tetra_point &a, const tetra_point &b, const tetra_point &c, const tetra_point &d)
{
    const auto from_a = [&](const tetra_point &p) { return teska::vec3{p.x - a.x, p.y - a.y, p.z - a.z}; };
    return dot(cross(from_a(b), from_a(c)), from_a(d));
}

Points made(int count, const std::function<tetra_point(int)> &at)
{
    Points points;
    for (int i = 0; i < count; ++i)
        points.push_back(at(i));
    return points;
}

Points box(double size, const Points &more = {})
{
    Points points = made(8, [=](int i) { return tetra_point{i % 2 * size, i / 2 % 2 * size, i / 4 * size, 0}; });
    points.insert(points.end(), more.begin(), more.end());
    return points;
}

Points ball(int count, double x, double y, double z, bool surface = false)
{
    Generator input(static_cast<std::uint64_t>(count));
    return made(count, [&](int i) {
        const double up = input.between(-1, 1), a = input.between(0, 6.3), w = std::sqrt(1 - up * up);
        const double r = surface ? 1 : std::cbrt(input.unit()) + 1e-5 * (i % 4);
        return tetra_point{x * r * w * std::cos(a), y * r * w * std::sin(a), z * r * up, 0};
    });
}

Points with_copies(Points points, double shift)
{
    for (std::size_t i = points.size(); i-- > 0;)
        points.push_back({points[i].x - shift, points[i].y - shift, points[i].z - shift, 0});
    return points;
}

// The sixfold volume within the boundary, of which every side belongs to two planes, once each way round.
double within_planes(const Volume &v, const tetra_point &from)
{
    std::map<std::pair<double, double>, int> sides;
    double sum = 0;
    for (int i = 0; i < v->nr_planes; ++i) {
        const tetra_point *p = at<tetra_plane>(v->planes, i)->p;
        sum -= sixfold(p[0], p[1], p[2], from);
        for (int k = 0; k < 3; ++k)
            ++sides[{p[k].nr, p[(k + 1) % 3].nr}];
    }
    for (const auto &[side, count] : sides) {
        EXPECT_EQ(count, 1) << side.first << ' ' << side.second;
        EXPECT_EQ(sides.count({side.second, side.first}), 1U) << side.first << ' ' << side.second;
    }
    return sum;
}

// That of the tetrahedra, all the same way round and none a sliver.
double in_tetras(const Volume &v)
{
    double sum = 0;
    for (int i = 0; i < v->nr_tetras; ++i) {
        const tetra_point *p = at(v->tetras, i)->p;
        const double volume = sixfold(p[0], p[1], p[2], p[3]);
        EXPECT_LE(volume, -1e-6) << i;
        sum -= volume;
    }
    return sum;
}

// How far the points lie beyond the planes of triangles with more than an area.
double farthest_outside(const Volume &v, const Points &points, double area)
{
    double farthest = 0;
    for (int i = 0; i < v->nr_planes; ++i) {
        const tetra_plane &f = *at<tetra_plane>(v->planes, i);
        const double n = std::hypot(f.a, f.b, f.c);
        for (const tetra_point &p : points)
            farthest = n < 2 * area ? farthest : std::max(farthest, (f.a * p.x + f.b * p.y + f.c * p.z + f.d) / n);
    }
    return farthest;
}

// No point is outside, the tetrahedra fill the boundary, and every point is a corner.
void check_volume(const Volume &v, const Points &points)
{
    const double hull = within_planes(v, points[0]);
    EXPECT_NEAR(in_tetras(v), hull, 1e-9 * hull);
    EXPECT_NEAR(6 * tetra_volume_get_true_volume(v.get()), hull, 1e-9 * hull);
    EXPECT_LE(farthest_outside(v, points, 0), 0.01) << "up to the tolerance, or to what is near the apex";
    Points corners;
    for (int i = 0; i < v->nr_tetras; ++i)
        corners.insert(corners.end(), at(v->tetras, i)->p, at(v->tetras, i)->p + 4);
    for (const tetra_point &p : points) {
        const auto here = [&](const tetra_point &c) {
            return std::max({std::fabs(p.x - c.x), std::fabs(p.y - c.y), std::fabs(p.z - c.z)}) <= 0.01;
        };
        EXPECT_TRUE(std::ranges::any_of(corners, here)) << p.x << ' ' << p.y << ' ' << p.z;
    }
}

const tetra_point o{0, 0, 0, 10}, ex{1, 0, 0, 11}, ey{0, 1, 0, 12}, ez{0, 0, 1, 13};

}  // namespace

TEST(PlaneNew, TakesPointsOrAPlaneAndClearsTheFlag)
{
    tetra_plane *plane = plane_new2(&o, &ex, &ez);
    EXPECT_EQ(Numbers({plane->a, plane->b, plane->c, plane->d}), Numbers({0, -1, 0, 0}));
    EXPECT_EQ(Numbers(plane->centroid, plane->centroid + 3), Numbers({1 / 3.0, 0, 1 / 3.0}));
    plane->flag = 5;
    tetra_plane *copy = plane_new(plane);
    EXPECT_EQ(Numbers({copy->flag * 1.0, copy->b, copy->p[1].x, copy->p[2].nr}), Numbers({0, -1, 1, 13}));
    EXPECT_EQ(Ints({plane_kill(plane), tetra_kill(copy), plane_kill(nullptr), tetra_volume_kill(nullptr)}), Ints(4, 0));
}

TEST(TetraNew, KeepsTheDeterminantAwayFromZeroWithItsSign)
{
    const Numbers rows[] = {{2, 2}, {-2, -2}, {0, 1e-6}, {-0.0, 1e-6}, {1e-7, 1e-6}, {-1e-7, -1e-6}};
    for (const Numbers &row : rows) {
        const double height = row[0], det = row[1];
        const tetra_point top{1, 1, height, 0};
        const std::shared_ptr<tetra_rec> t(tetra_new(&o, &ex, &ey, &top), tetra_kill);
        EXPECT_EQ(Numbers(t->m, t->m + 9),
                  Numbers({height / det, 0 / det, -1 / det, 0 / det, height / det, -1 / det, 0, 0, 1 / det}));
        EXPECT_EQ(Numbers(t->centroid, t->centroid + 3), Numbers({0.5, 0.5, 0.25 * height}));
    }
}

TEST(TetraPointInside, TakesFacesAndCornersAndKnowsNoTolerance)
{
    const std::shared_ptr<tetra_rec> t(tetra_new(&o, &ex, &ey, &ez), tetra_kill);
    const Numbers rows[] = {{0, 0, 0, 1},       {1, 0, 0, 1},       {0, 0, 1, 1},         {.5, .5, 0, 1},
                            {.25, .25, .5, 1},  {-0.0, 0, 0, 1},    {-1e-300, .1, .1, 0}, {.1, -1e-300, 0, 0},
                            {0, 0, -1e-300, 0}, {.5, .5, 1e-15, 0}, {2, -1, 0, 0}};
    Numbers w(3, -9);
    EXPECT_TRUE(tetra_point_inside(nullptr, rows[0].data(), w.data()) == 0 && w == Numbers(3, -9));
    for (const Numbers &row : rows) {
        EXPECT_EQ(tetra_point_inside(t.get(), row.data(), w.data()), row[3]) << &row - rows;
        EXPECT_EQ(w, Numbers(row.begin(), row.begin() + 3));
    }
}

TEST(TetraMeasures, KeptAreMadeOfSquaresOfDistances)
{
    const tetra_point p[] = {{0, 0, 0, 0}, {2, 0, 0, 0}, {0, 4, 0, 0}, {0, 0, 8, 0}, {3, 4, 5, 0}};
    EXPECT_EQ(plane_get_distance_from_point(&p[3], &p[0], &p[1], &p[2]), 64);
    // The foot at half of the way the point is along the line.
    EXPECT_EQ(line_get_distance_from_point(&p[4], &p[0], &p[1]), 1.5 * 1.5 + 16 + 25);
    EXPECT_EQ(triangle_get_area(&p[0], &p[1], &p[2]), 16);
    // What is too small has none.
    const tetra_point a{0.3, 0, 0, 0}, b{0, 0.3, 0, 0}, c{0.4, 0, 0, 0}, d{0.009, 0, 0, 0};
    EXPECT_EQ(plane_get_distance_from_point(&ez, &o, &a, &b), 0);
    EXPECT_EQ(plane_get_distance_from_point(&ez, &o, &c, &b), 1);
    EXPECT_EQ(plane_get_distance_from_point(&ez, &o, &c, &ex), 0) << "points in a line";
    EXPECT_EQ(line_get_distance_from_point(&ez, &o, &d), 0);
    const tetra_point long_enough{0.01, 0, 0, 0};
    EXPECT_EQ(line_get_distance_from_point(&ez, &o, &long_enough), 1);
}

TEST(TriangleIntersectLinesegment, CountsByPlaneEndsCornersAndSides)
{
    const tetra_point p[] = {{0, 0, 0, 0}, {10, 0, 0, 0}, {0, 10, 0, 0}};
    const std::shared_ptr<tetra_plane> plane(plane_new2(&p[0], &p[1], &p[2]), plane_kill);
    // From (x, y, top) to (x, y, bottom), and whether that meets the triangle.
    const Numbers rows[] = {{2, 3, 5, -5, 1},      {2, 3, 5, 1, 0},          {2, 3, 5, 0, 1},
                            {2, 3, 9, .001, 1},    {2, 3, 9, .0012, 0},      {5, 5, 1, -1, 1},
                            {0, 4, 1, -1, 1},      {-1e-4, 4, 1, -1, 0},     {-.005, -.005, 1, -1, 1},
                            {-.005, 10, 1, -1, 1}, {-.006, -.005, 1, -1, 0}, {5, 5.001, 1, -1, 0},
                            {1, 1, 1, 1, 0}};
    for (const Numbers &row : rows) {
        SCOPED_TRACE(&row - rows);
        const double a[3] = {row[0], row[1], row[2]}, b[3] = {row[0], row[1], row[3]};
        const double lifted[3] = {row[0], row[1], 0.01}, above[3] = {row[0], row[1], 0.0101};
        Numbers x(3, -9), x2(3, -9);
        EXPECT_EQ(triangle_intersect_linesegment2(plane.get(), a, b, x.data()), row[4]);
        EXPECT_EQ(triangle_intersect_linesegment(&p[0], &p[1], &p[2], a, b, x2.data()), row[4]);
        EXPECT_EQ(x, row[4] != 0 ? Numbers({row[0], row[1], 0}) : Numbers(3, -9));
        EXPECT_EQ(x2, x);
        EXPECT_EQ(triangle_point_inside(plane.get(), lifted), row[0] >= 0 && row[0] + row[1] <= 10);
        EXPECT_EQ(triangle_point_inside(plane.get(), above) + triangle_point_inside(nullptr, lifted), 0);
    }
    const double a[3] = {2, 3, 5}, b[3] = {2, 3, 1}, above_a[3] = {4, 3, 5};
    Numbers x(3);
    EXPECT_EQ(plane_intersect_line(plane.get(), a, b, x.data()), 1) << "not limited to the segment";
    EXPECT_EQ(plane_intersect_line(plane.get(), a, above_a, x.data()), 0) << "parallel";
    EXPECT_EQ(triangle_intersect_linesegment(&p[0], &p[1], &p[1], a, b, x.data()), 0) << "no area";
    EXPECT_EQ(x, Numbers({2, 3, 0}));
}

TEST(TetraGetPointnr, IsTheNumberOfACornerAsAnInt)
{
    const tetra_point odd[] = {{1, 0, 0, 1e300}, {0, 1, 0, NAN}, {0, 0, 1, INT_MIN}};
    const std::shared_ptr<tetra_rec> t(tetra_new(&o, odd, odd + 1, odd + 2), tetra_kill);
    const int expected[] = {-1, 10, -1, -1, INT_MIN, -1};
    for (int k = -1; k < 5; ++k)
        EXPECT_EQ(tetra_get_pointnr(t.get(), k), expected[k + 1]);
}

TEST(TetraVolume, AnswersForItsRecordsInListOrder)
{
    const Volume v = stack({});
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(tetra_volume_add_tetra(v.get(), &o, &ex, &ey, &ez), 0);
    EXPECT_EQ(Ints({v->nr_tetras, list_num(v->tetras)}), Ints(2, 12));
    const double in[3] = {0.1, 0.1, 0.1}, out[3] = {1, 1, 1};
    tetra_rec *t = nullptr;
    EXPECT_TRUE(tetra_volume_get_tetra(v.get(), in, &t) == 0 && t == at(v->tetras, 0));
    EXPECT_TRUE(tetra_volume_get_tetra(v.get(), out, &t) == -1 && t == at(v->tetras, 0));
    EXPECT_TRUE(tetra_volume_get_tetra2(v.get(), 12, &t) == -1 && tetra_volume_get_tetra2(v.get(), -1, &t) == -1);
}

// Any heap of triangles will do: copies, flat ones, ones that are not finite, and another one after each question.
TEST(TetraVolumeNearest, IsTheNearestPointOfAllPlanesAtEveryLevel)
{
    Generator input(2);
    const auto point = [&](double reach) {
        return tetra_point{input.between(-reach, reach), input.between(-reach, reach), input.between(-reach, reach), 0};
    };
    const Volume v = stack({});
    for (int i = 0; i < 250; ++i) {
        const tetra_point from = point(i % 7 == 0 ? 1e6 : 99), none = {std::nan(""), 0, 0, 0};
        // Every third time on a corner.
        const auto *on = i % 3 == 1 ? at<tetra_plane>(v->planes, i / 2)->p : &from;
        const double q[3] = {std::isfinite(on->x) ? on->x : 0, on->y, on->z};
        // Number, distance, point and weights of the first one with the least distance.
        Numbers nearest(8);
        nearest[0] = -1;
        for (int k = 0; k < v->nr_planes; ++k) {
            const tetra_point *p = at<tetra_plane>(v->planes, k)->p;
            const double corners[] = {p[0].x, p[0].y, p[0].z, p[1].x, p[1].y, p[1].z, p[2].x, p[2].y, p[2].z};
            double dist = 0;
            ProjResult r{};
            proj_nearest_triangle(corners, q, &r, &dist);
            if (std::isfinite(p[0].x) && (nearest[0] < 0 || dist < nearest[1]))
                nearest = {k * 1.0, dist, r.point[0], r.point[1], r.point[2], r.weight[0], r.weight[1], r.weight[2]};
        }
        teska_test::at_every_level([&](auto) {
            Numbers found(8);
            int plane = -1;
            EXPECT_EQ(tetra_volume_nearest(v.get(), q, &found[2], &found[1], &plane, &found[5]),
                      nearest[0] < 0 ? -1 : 0);
            found[0] = plane;
            EXPECT_EQ(found, nearest) << i;
        });
        const tetra_point a = point(50), b = point(50), c = i % 5 == 1 ? b : point(50);
        if (i % 6 == 3)
            tetra_volume_add_plane2(v.get(), at<tetra_plane>(v->planes, i / 2));
        else
            tetra_volume_add_plane(v.get(), i % 9 == 0 ? &none : &a, &b, &c);
    }
}

TEST(TetraVolumeLineIntersect, DropsCrossingsNearEarlierOnes)
{
    Numbers heights = {0.008, 0, 0.016, 4, 5.0625};
    const double a[3] = {0, 0, 8}, b[3] = {0, 0, -8}, high[3] = {0, 0, 5.07}, just_below[3] = {0, 0, 5.06};
    const Volume v = stack(heights);
    int count = 0;
    EXPECT_EQ(tetra_volume_line_intersect(v.get(), a, b, &count), 0);
    EXPECT_EQ(count, 4) << "from the last plane on";
    Numbers out(9, -9);
    EXPECT_EQ(tetra_volume_line_intersect2(v.get(), a, b, &count, out.data(), 5), 0);
    EXPECT_EQ(count, 3) << "from the first plane on";
    EXPECT_TRUE(std::fabs(out[2] - 0.008) < 1e-12 && out[5] == 4 && out[8] == 5.0625);
    EXPECT_EQ(tetra_volume_line_intersect2(v.get(), a, b, &count, out.data(), 2), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(tetra_volume_line_hasintersects(v.get(), a, b), 1);
    EXPECT_EQ(tetra_volume_line_hasintersects(v.get(), high, just_below), 0) << "too near the ends";
    for (int i = 0; i < 60; ++i)
        heights.push_back(6 + i * 0.025);
    EXPECT_EQ(tetra_volume_line_intersect(stack(heights).get(), a, b, &count), 0);
    EXPECT_EQ(count, 64) << "more than the call has room for at hand";
}

TEST(TetraVolumePointInside, CountsASharedEdgeOnceAndEndsAt10000)
{
    const Volume v = cut(box(10)), far = cut({o, {0, 4, 0, 0}, {0, 0, 4, 0}, {20000, 0, 0, 0}});
    const Numbers rows[] = {{5, 5, 5, 1},  {-5, 5, 5, 0}, {15, 5, 5, 0}, {5, 2, 7, 1},
                            {10, 4, 5, 1}, {0, 4, 5, 0},  {5, 4, 11, 0}, {20000, 5, 5, 0}};
    for (const Numbers &row : rows)
        EXPECT_EQ(tetra_volume_point_inside(v.get(), row.data()), row[3]) << row[0] << ' ' << row[1];
    EXPECT_EQ(tetra_volume_point_inside(far.get(), Numbers({9000, 0.5, 0.5}).data()), 0) << "ends before the boundary";
}

TEST(TetraVolumeGetBorderPoints, TakesEachCornerOnceInPlaneOrder)
{
    const Volume v = cut(with_copies(box(10, {{5, 5, 5, 0}}), 0.01));
    int count = 0;
    list_rec *points = nullptr;
    EXPECT_EQ(tetra_volume_get_border_points(nullptr, &count, &points), -1);
    EXPECT_EQ(tetra_volume_get_border_points(v.get(), &count, &points), 0);
    const List owner(points, list_kill);
    EXPECT_EQ(Ints({count, list_num(points)}), Ints({8, 8}));
    const auto *first = at<tetra_plane>(v->planes, 0);
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(static_cast<tetra_point *>(list_get_element(points, k))->nr, first->p[k].nr);
}

TEST(TetraVolumeNew2, FillsTheHullAndHasEveryPointAsACorner)
{
    const struct {
        const char *name;
        Points points;
        int planes;
    } rows[] = {{"ball", ball(400, 90, 90, 90), 0},
                {"sphere", ball(150, 50, 50, 50, true), 296},
                {"copies", with_copies(ball(150, 50, 50, 50), 0.004), 0},
                // Corners of the hull amid coplanar triangles, the apex in their plane.
                {"layers", {{9, 7, 3, 0}, {9, 7, 6, 0}, {9, 2, 7, 0}, {9, 4, 6, 0}, {0, 3, 1, 0}, {0, 1, 7, 0}}, 0}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const Volume v = cut(row.points);
        EXPECT_TRUE(row.planes == 0 || v->nr_planes == row.planes) << v->nr_planes;
        check_volume(v, row.points);
    }
    // Of the same planes at any size, though rounding leaves them.
    const auto turned_grid = [](double size) {
        return made(64, [=](int i) {
            const double x = size * (i % 4), y = size * (i / 4 % 4);
            return tetra_point{0.6 * x - 0.8 * y, 0.8 * x + 0.6 * y, size * (i / 16), 0};
        });
    };
    EXPECT_EQ(cut(turned_grid(0x1p30))->nr_planes, cut(turned_grid(1))->nr_planes);
}

// Flat or in a line but for rounding, with edges as thin: whatever becomes of single points, the boundary closes, and
// the tetrahedra fill no more than it.
TEST(TetraVolumeNew2, StaysSoundForCloudsThatAreNearlyFlat)
{
    Generator input(12);
    for (int i = 0; i < 1500; ++i) {
        const double hair = std::pow(10, input.between(-12, -6)), size = i % 3 == 0 ? 1 : i % 3 == 1 ? 50 : 1000;
        const double along[3] = {input.between(-1, 1), input.between(-1, 1), input.between(-1, 1)};
        const int kind = i % 4, steps = 1 + i % 6;
        // In a plane but for a few, along a curve, beads on a line and some beside it, in two planes.
        const Points points = made((kind == 2 ? 16 : 4) + i % 24, [&](int) {
            const double t = input.between(-1, 1), noise = hair * input.between(-1, 1);
            double p[3] = {};
            for (int k = 0; k < 3; ++k)
                p[k] = kind == 2 && t < 0.5 ? t * along[k] : std::round(input.between(-1, 1) * steps) / steps;
            if (kind == 0)
                p[2] = t > 0.8 ? 1 : noise;
            else if (kind == 1)
                p[0] = t + noise, p[1] = t * t, p[2] = t * t * t;
            else
                p[0] += noise, p[1] -= noise;
            return tetra_point{size * p[0], size * p[1], size * p[2], 0};
        });
        const Volume v = cut(points);
        ASSERT_TRUE(v);
        ASSERT_LE(in_tetras(v), within_planes(v, points[0]) + 1e-6 * size * size * size) << i;
        ASSERT_LE(farthest_outside(v, points, 0.01 * size * size), 0.01) << i;
    }
}

TEST(TetraVolumeNew2, IsEmptyForPointsInAPlane)
{
    const tetra_point far{1e101, 0, 0, 0}, not_finite{0, HUGE_VAL, NAN, 0};
    const Points sets[] = {{},
                           {o},
                           {o, o, o, o, o},
                           {o, ex, {2, 0, 0, 0}, {7, 0, 0, 0}, {9, 0, 0, 0}},
                           {o, ex, ey, {3, 4, 0, 0}, {0.3, 0.3, 1e-10, 0}},
                           {o, ex, ey, {0, 0, 0.005, 0}},
                           {o, ex, ey, far, not_finite},
                           {{1e9, 0, 0, 0}, {1e9, 0.1, 0, 0}, {1e9, 0, 0.2, 0}, {1e9, 0.3, 0.3, 0}}};
    for (const Points &points : sets) {
        const Volume v = cut(points);
        ASSERT_TRUE(v) << &points - sets;
        EXPECT_EQ(Ints({v->nr_planes, v->nr_tetras}), Ints({0, 0})) << &points - sets;
    }
    const Volume v = cut({not_finite, o, ex, far, ey, ez});
    EXPECT_EQ(Ints({v->nr_planes, v->nr_tetras}), Ints({4, 1}));
    EXPECT_EQ(tetra_get_pointnr(at(v->tetras, 0), 3), 1) << "the first usable point is the apex";
    // With the origin inside, where a point that is passed over must not become a corner.
    Points around = box(10, {not_finite, far});
    for (tetra_point &p : around)
        p = {p.x - 5, p.y - 5, p.z - 5, 0};
    EXPECT_EQ(cut(around)->nr_tetras, 6);
}

TEST(TetraVolumeNew2, BoundsByTheSelectedPointsAlone)
{
    const auto small = [](const tetra_point *p, int index) { return p->x + p->y + p->z < 3 && index != 10 ? 1 : 0; };
    // One corner of the cube is not selected, nor are two other points outside.
    Points points = box(1, {{8, 8, 8, 0}, {0.5, 0.5, 0.25, 0}, {0.5, 0.5, -0.25, 0}}), inside = box(1, {points[9]});
    inside.erase(inside.begin() + 7);
    for (const int first : {0, 8}) {
        std::swap(points[0], points[static_cast<std::size_t>(first)]);
        const Volume v = cut(points, 1, small);
        EXPECT_EQ(v->nr_planes, 10);
        check_volume(v, inside);
    }
    EXPECT_EQ(cut(points, 1)->nr_planes, cut(points)->nr_planes);
    EXPECT_EQ(cut(points, 0, small)->nr_planes, cut(points)->nr_planes);
}

TEST(TetraVolumeNew2, RefusesOtherElementsAndTooManyTetrahedra)
{
    Reports reports;
    const List texts(list_new(4, 16, nullptr), list_kill);
    EXPECT_EQ(tetra_volume_new(texts.get()), nullptr);
    EXPECT_EQ(reports.take(), lines());
    EXPECT_EQ(cut(ball(23000, 1000, 1000, 1000)), nullptr);
    EXPECT_EQ(reports.take(), lines({"list_insert : Unable to extend list, insufficient resources"}));
}
