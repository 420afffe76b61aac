#include "tetra.h"

#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using teska_test::Generator;
using teska_test::lines;
using teska_test::Reports;

namespace
{

using Points = std::vector<tetra_point>;
using Volume = std::unique_ptr<tetra_volume, int (*)(tetra_volume *)>;
using List = std::unique_ptr<list_rec, int (*)(list_rec *)>;
using Numbers = std::vector<double>;

constexpr double infinite = std::numeric_limits<double>::infinity();

List list_of(const Points &points)
{
    List list(list_new(1000, sizeof(tetra_point), nullptr), list_kill);
    for (const tetra_point &p : points)
        list_insert(list.get(), &p);
    return list;
}

Volume cut(const Points &points, int mode = 0, tetra_point_select_fn select = nullptr)
{
    return {tetra_volume_new2(list_of(points).get(), mode, select), tetra_volume_kill};
}

Volume empty() { return {tetra_volume_new0(), tetra_volume_kill}; }

tetra_rec *tetra_at(const Volume &v, int index)
{
    tetra_rec *t = nullptr;
    EXPECT_EQ(tetra_volume_get_tetra2(v.get(), index, &t), 0);
    return t;
}

const tetra_plane &plane_at(const Volume &v, int index)
{
    return **static_cast<tetra_plane **>(list_get_element(v->planes, index));
}

double sixfold(const tetra_point &a, const tetra_point &b, const tetra_point &c, const tetra_point &d)
{
    const double u[3] = {b.x - a.x, b.y - a.y, b.z - a.z}, v[3] = {c.x - a.x, c.y - a.y, c.z - a.z};
    return (u[1] * v[2] - u[2] * v[1]) * (d.x - a.x) + (u[2] * v[0] - u[0] * v[2]) * (d.y - a.y) +
           (u[0] * v[1] - u[1] * v[0]) * (d.z - a.z);
}

bool near(const tetra_point &a, const tetra_point &b)
{
    return std::fabs(a.x - b.x) <= 0.01 && std::fabs(a.y - b.y) <= 0.01 && std::fabs(a.z - b.z) <= 0.01;
}

Points numbered(int count, const std::function<tetra_point(int)> &at)
{
    Points points;
    for (int i = 0; i < count; ++i) {
        points.push_back(at(i));
        points.back().nr = i;
    }
    return points;
}

Points box(double size, std::initializer_list<tetra_point> more = {})
{
    Points points = numbered(8, [=](int i) {
        return tetra_point{(i & 1) * size, (i >> 1 & 1) * size, (i >> 2) * size, 0};
    });
    points.insert(points.end(), more);
    return points;
}

// m^3 points, turned by the angle of 3-4-5 about two axes.
Points grid(int m, bool turned)
{
    return numbered(m * m * m, [=](int i) {
        const double x = i % m * 10.3, y = i / m % m * 10.3, z = i / m / m * 10.3;
        const double t = 0.8 * y + 0.6 * z;
        return turned ? tetra_point{0.6 * x - 0.8 * t, 0.8 * x + 0.6 * t, 0.8 * z - 0.6 * y, 0}
                      : tetra_point{x, y, z, 0};
    });
}

Points ball(int count, double x, double y, double z, bool surface = false)
{
    Generator input(static_cast<std::uint64_t>(count));
    return numbered(count, [&](int i) {
        double p[3], length;
        do {
            for (double &c : p)
                c = input.between(-1, 1);
            length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
        } while (length > 1);
        // Every fourth point comes within a hair of an earlier one.
        const double scale = surface ? 1 / length : 1 + 1e-5 * (i % 4 == 3);
        return tetra_point{x * p[0] * scale, y * p[1] * scale, z * p[2] * scale, 0};
    });
}

Points with_copies(Points points, double shift)
{
    for (std::size_t i = points.size(); i-- > 0;)
        points.push_back({points[i].x, points[i].y + shift, points[i].z, static_cast<double>(points.size())});
    return points;
}

// A corner, the grey axis in its order, colours around it.
Points axis()
{
    Points points = box(100);
    for (int i = 1; i < 60; ++i)
        points.push_back({i * 1.7, i * 1.7, i * 1.7, i + 7.0});
    for (int i = 1; i < 60; ++i)
        points.push_back({50 + i * 0.3, 50 - i * 0.7, 30, i + 66.0});
    return points;
}

struct Box {
    double low[3] = {infinite, infinite, infinite}, high[3] = {-infinite, -infinite, -infinite};
};

Box extent(const Points &points)
{
    Box b;
    for (const tetra_point &p : points) {
        const double at[3] = {p.x, p.y, p.z};
        for (int i = 0; i < 3; ++i) {
            b.low[i] = std::min(b.low[i], at[i]);
            b.high[i] = std::max(b.high[i], at[i]);
        }
    }
    return b;
}

// The boundary closes, faces outward, and leaves no point outside; returns six times its volume.
double check_boundary(const Volume &v, const Points &points)
{
    std::map<std::pair<double, double>, int> sides;
    double sum = 0, beyond = 0;
    for (int i = 0; i < v->nr_planes; ++i) {
        const tetra_plane &plane = plane_at(v, i);
        sum -= sixfold(plane.p[0], plane.p[1], plane.p[2], points[0]);
        for (int k = 0; k < 3; ++k)
            ++sides[{plane.p[k].nr, plane.p[(k + 1) % 3].nr}];
        const double length = std::sqrt(plane.a * plane.a + plane.b * plane.b + plane.c * plane.c);
        for (const tetra_point &p : points)
            beyond = std::max(beyond, (plane.a * p.x + plane.b * p.y + plane.c * p.z + plane.d) / length);
    }
    for (const auto &[side, count] : sides)
        EXPECT_TRUE(count == 1 && sides.count({side.second, side.first}) == 1);
    // Up to the tolerance, or to what is near the apex.
    EXPECT_LE(beyond, 0.01);
    return sum;
}

void check_corners(const Volume &v, const Points &points)
{
    std::vector<bool> used(points.size());
    for (int i = 0; i < v->nr_tetras; ++i)
        for (int k = 0; k < 4; ++k)
            used[static_cast<std::size_t>(tetra_get_pointnr(tetra_at(v, i), k))] = true;
    for (std::size_t i = 0; i < points.size(); ++i) {
        bool found = used[i];
        for (std::size_t k = 0; k < points.size() && !found; ++k)
            found = used[k] && near(points[i], points[k]);
        EXPECT_TRUE(found) << i;
    }
}

// Random points are in exactly one tetrahedron or outside of everything.
void check_answers(const Volume &v, const Points &points)
{
    const Box b = extent(points);
    Generator input(7);
    int inside = 0, disagreeing = 0;
    for (int n = 0; n < 500; ++n) {
        const double p[3] = {input.between(b.low[0], b.high[0]), input.between(b.low[1], b.high[1]),
                             input.between(b.low[2], b.high[2])};
        int count = 0;
        for (int i = 0; i < v->nr_tetras; ++i)
            count += tetra_point_inside(tetra_at(v, i), p, nullptr);
        EXPECT_LE(count, 1);
        EXPECT_EQ(tetra_volume_get_tetra(v.get(), p, nullptr), count - 1);
        inside += count;
        disagreeing += count != tetra_volume_point_inside(v.get(), p);
        const double through[3] = {p[0] + 2000, p[1] + 3000, p[2] - 1000};
        int crossings = 0;
        EXPECT_EQ(tetra_volume_line_intersect(v.get(), p, through, &crossings), 0);
        disagreeing += crossings != count && crossings != count + 2;
    }
    EXPECT_GT(inside, 50);
    // Rays within 0.01 of a corner or of the outline.
    EXPECT_LE(disagreeing, 3);
}

Numbers weights(const tetra_rec *t, double x, double y, double z, int inside)
{
    Numbers w(3, -9.0);
    const double p[3] = {x, y, z};
    EXPECT_EQ(tetra_point_inside(t, p, w.data()), inside) << x << ' ' << y << ' ' << z;
    EXPECT_EQ(tetra_point_inside(t, p, nullptr), inside);
    return w;
}

const tetra_point o{0, 0, 0, 10}, ex{1, 0, 0, 11}, ey{0, 1, 0, 12}, ez{0, 0, 1, 13};

}  // namespace

TEST(PlaneNew, TakesPointsOrAPlaneAndClearsTheFlag)
{
    tetra_plane *plane = plane_new2(&o, &ex, &ez);
    EXPECT_EQ(Numbers({plane->a, plane->b, plane->c, plane->d}), Numbers({0, -1, 0, 0}));
    EXPECT_EQ(Numbers(plane->centroid, plane->centroid + 3), Numbers({1 / 3.0, 0, 1 / 3.0}));
    EXPECT_EQ(plane->p[2].nr, 13);
    plane->flag = 5;
    tetra_plane *copy = plane_new(plane);
    EXPECT_TRUE(copy->flag == 0 && copy->b == -1 && copy->p[1].x == 1);
    EXPECT_TRUE(plane_new(nullptr) == nullptr && plane_new2(&o, nullptr, &ex) == nullptr);
    EXPECT_TRUE(plane_kill(plane) == 0 && tetra_kill(copy) == 0 && plane_kill(nullptr) == 0);
}

TEST(TetraNew, KeepsTheDeterminantAwayFromZeroWithItsSign)
{
    const struct {
        double height, det;
    } rows[] = {{2, 2}, {-2, -2}, {0, 1e-6}, {-0.0, 1e-6}, {1e-7, 1e-6}, {-1e-7, -1e-6}};
    for (const auto &[height, det] : rows) {
        const tetra_point top{1, 1, height, 0};
        const std::unique_ptr<tetra_rec, int (*)(void *)> t(tetra_new(&o, &ex, &ey, &top), tetra_kill);
        EXPECT_EQ(Numbers(t->m, t->m + 9),
                  Numbers({height / det, 0 / det, -1 / det, 0 / det, height / det, -1 / det, 0, 0, 1 / det}));
        EXPECT_EQ(Numbers(t->centroid, t->centroid + 3), Numbers({0.5, 0.5, 0.25 * height}));
    }
    EXPECT_EQ(tetra_new(&o, &ex, &ey, nullptr), nullptr);
}

TEST(TetraPointInside, TakesFacesAndCornersAndKnowsNoTolerance)
{
    const std::unique_ptr<tetra_rec, int (*)(void *)> t(tetra_new(&o, &ex, &ey, &ez), tetra_kill);
    EXPECT_EQ(weights(t.get(), 0.25, 0.5, 0.125, 1), Numbers({0.25, 0.5, 0.125}));
    for (const Numbers &p : {Numbers{0, 0, 0}, {1, 0, 0}, {0, 0, 1}, {0.5, 0.5, 0}, {0.25, 0.25, 0.5}, {-0.0, 0, 0}})
        EXPECT_EQ(weights(t.get(), p[0], p[1], p[2], 1), p);
    for (const Numbers &p :
         {Numbers{-1e-300, 0.1, 0.1}, {0.1, -1e-300, 0}, {0, 0, -1e-300}, {0.5, 0.5, 1e-15}, {2, -1, 0}})
        EXPECT_EQ(weights(t.get(), p[0], p[1], p[2], 0), p);
    EXPECT_EQ(weights(nullptr, 0, 0, 0, 0), Numbers({-9, -9, -9}));
}

TEST(TetraMeasures, KeptAreMadeOfSquaresOfDistances)
{
    const tetra_point p[] = {{0, 0, 0, 0}, {2, 0, 0, 0}, {0, 4, 0, 0}, {0, 0, 8, 0}, {3, 4, 5, 0}};
    EXPECT_EQ(plane_get_distance_from_point(&p[3], &p[0], &p[1], &p[2]), 64);
    // The foot at half of the way the point is along the line.
    EXPECT_EQ(line_get_distance_from_point(&p[4], &p[0], &p[1]), 1.5 * 1.5 + 16 + 25);
    EXPECT_EQ(triangle_get_area(&p[0], &p[1], &p[2]), 16);
    const Volume v = empty();
    EXPECT_EQ(tetra_volume_add_tetra(v.get(), &p[0], &p[1], &p[2], &p[3]), 0);
    EXPECT_EQ(tetra_volume_add_tetra(v.get(), &o, &ex, &ey, &ez), 0);
    EXPECT_DOUBLE_EQ(tetra_get_volume(tetra_at(v, 0)), 1024 / 3.0);
    EXPECT_DOUBLE_EQ(tetra_volume_get_volume(v.get()), 1024 / 3.0 + 1 / 6.0);
    EXPECT_TRUE(tetra_get_volume(nullptr) == -1 && tetra_volume_get_volume(nullptr) == -1);
}

TEST(TetraMeasures, OfWhatIsTooSmallAreZero)
{
    const tetra_point a{0.3, 0, 0, 0}, b{0, 0.3, 0, 0}, c{0.4, 0, 0, 0}, d{0.009, 0, 0, 0};
    EXPECT_EQ(plane_get_distance_from_point(&ez, &o, &a, &b), 0);
    EXPECT_EQ(plane_get_distance_from_point(&ez, &o, &c, &b), 1);
    EXPECT_EQ(plane_get_distance_from_point(&ez, &o, &c, &ex), 0) << "points in a line";
    EXPECT_EQ(line_get_distance_from_point(&ez, &o, &d), 0);
}

TEST(TetraGetPointnr, IsTheNumberOfACorner)
{
    const tetra_point odd[] = {{1, 0, 0, 1e300}, {0, 1, 0, NAN}, {0, 0, 1, INT_MIN}};
    const std::unique_ptr<tetra_rec, int (*)(void *)> t(tetra_new(&o, odd, odd + 1, odd + 2), tetra_kill);
    const int expected[] = {-1, 10, -1, -1, INT_MIN, -1};
    for (int k = -1; k < 5; ++k)
        EXPECT_EQ(tetra_get_pointnr(t.get(), k), expected[k + 1]);
    EXPECT_EQ(tetra_get_pointnr(nullptr, 0), -1);
}

TEST(TriangleIntersectLinesegment, CountsByPlaneEndsCornersAndSides)
{
    const tetra_point p[] = {{0, 0, 0, 0}, {10, 0, 0, 0}, {0, 10, 0, 0}};
    const std::unique_ptr<tetra_plane, int (*)(void *)> plane(plane_new2(&p[0], &p[1], &p[2]), plane_kill);
    const struct {
        double a[3], b[3];
        int hit;
    } rows[] = {{{2, 3, 5}, {2, 3, -5}, 1},
                {{2, 3, 5}, {2, 3, 1}, 0},
                {{2, 3, 5}, {2, 3, 0}, 1},
                {{2, 3, 9}, {2, 3, 0.001}, 1},
                {{2, 3, 9}, {2, 3, 0.0012}, 0},
                {{5, 5, 1}, {5, 5, -1}, 1},
                {{0, 4, 1}, {0, 4, -1}, 1},
                {{-1e-4, 4, 1}, {-1e-4, 4, -1}, 0},
                {{-0.005, -0.005, 1}, {-0.005, -0.005, -1}, 1},
                {{-0.006, -0.005, 1}, {-0.006, -0.005, -1}, 0},
                {{5, 5.001, 1}, {5, 5.001, -1}, 0},
                {{1, 1, 1}, {2, 2, 1}, 0}};
    for (const auto &row : rows) {
        double x[3] = {-9, -9, -9}, x2[3] = {-9, -9, -9};
        const std::string at = "row " + std::to_string(&row - rows);
        EXPECT_EQ(triangle_intersect_linesegment2(plane.get(), row.a, row.b, x), row.hit) << at;
        EXPECT_EQ(triangle_intersect_linesegment(&p[0], &p[1], &p[2], row.a, row.b, x2), row.hit) << at;
        EXPECT_EQ(Numbers(x, x + 3), row.hit ? Numbers({row.a[0], row.a[1], 0}) : Numbers({-9, -9, -9})) << at;
        EXPECT_EQ(Numbers(x, x + 3), Numbers(x2, x2 + 3)) << at;
        const double lifted[3] = {row.a[0], row.a[1], 0.01}, above[3] = {row.a[0], row.a[1], 0.0101};
        const bool inside = row.a[0] >= 0 && row.a[0] + row.a[1] <= 10;
        EXPECT_EQ(triangle_point_inside(plane.get(), lifted), inside) << at;
        EXPECT_EQ(triangle_point_inside(plane.get(), above), 0) << at;
    }
    double x[3];
    EXPECT_EQ(plane_intersect_line(plane.get(), rows[1].a, rows[1].b, x), 1) << "not limited to the segment";
    EXPECT_EQ(Numbers(x, x + 3), Numbers({2, 3, 0}));
    EXPECT_EQ(triangle_intersect_linesegment(&p[0], &p[1], &p[1], rows[0].a, rows[0].b, x), 0) << "no area";
    EXPECT_TRUE(plane_intersect_line(nullptr, x, x, x) == 0 && triangle_point_inside(nullptr, x) == 0);
}

TEST(TetraVolume, AnswersForItsRecordsInListOrder)
{
    const Volume v = empty();
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(tetra_volume_add_tetra(v.get(), &o, &ex, &ey, &ez), 0);
    EXPECT_EQ(tetra_volume_add_tetra(v.get(), &o, &ex, &ey, nullptr), -1);
    EXPECT_TRUE(tetra_volume_add_plane(v.get(), &o, &ex, nullptr) == -1 &&
                tetra_volume_add_plane2(v.get(), nullptr) == -1);
    EXPECT_TRUE(v->nr_tetras == 12 && list_num(v->tetras) == 12 && v->nr_planes == 0 && v->spare1 + v->spare2 == 0);
    const double in[3] = {0.1, 0.1, 0.1}, out[3] = {1, 1, 1};
    tetra_rec *t = nullptr;
    EXPECT_TRUE(tetra_volume_get_tetra(v.get(), in, &t) == 0 && t == tetra_at(v, 0));
    t = nullptr;
    EXPECT_TRUE(tetra_volume_get_tetra(v.get(), out, &t) == -1 && t == nullptr);
    EXPECT_TRUE(tetra_volume_get_tetra2(v.get(), 12, &t) == -1 && tetra_volume_get_tetra2(v.get(), -1, &t) == -1);
}

TEST(TetraVolume, TakesNull)
{
    const double p[3] = {0, 0, 0};
    int count = 7;
    list_rec *points = nullptr;
    EXPECT_EQ(tetra_volume_kill(nullptr), 0);
    EXPECT_EQ(tetra_volume_add_plane(nullptr, &o, &ex, &ey), -1);
    EXPECT_EQ(tetra_volume_add_plane2(nullptr, nullptr), -1);
    EXPECT_EQ(tetra_volume_add_tetra(nullptr, &o, &ex, &ey, &ez), -1);
    EXPECT_EQ(tetra_volume_get_nr_of_tetrahedrae(nullptr), 0);
    EXPECT_EQ(tetra_volume_get_tetra(nullptr, p, nullptr), -1);
    EXPECT_EQ(tetra_volume_point_inside(nullptr, p), 0);
    EXPECT_EQ(tetra_volume_line_intersect(nullptr, p, p, &count), -1);
    EXPECT_EQ(tetra_volume_line_intersect2(nullptr, p, p, &count, nullptr, 0), -1);
    EXPECT_EQ(tetra_volume_line_hasintersects(nullptr, p, p), 0);
    EXPECT_EQ(tetra_volume_get_border_points(nullptr, &count, &points), -1);
    EXPECT_TRUE(count == 7 && points == nullptr && tetra_volume_new(nullptr) == nullptr);
}

TEST(TetraVolumeLineIntersect, DropsCrossingsNearEarlierOnes)
{
    // Horizontal triangles at these heights; the segment goes down through all of them.
    const Volume v = empty();
    const double heights[] = {0, 0.008, 0.016, 4, 5.0625};
    for (const double z : heights) {
        const tetra_point p[] = {{-9, -9, z, 0}, {9, -9, z, 0}, {0, 9, z, 0}};
        EXPECT_EQ(tetra_volume_add_plane(v.get(), p, p + 1, p + 2), 0);
    }
    const double a[3] = {0, 0, 8}, b[3] = {0, 0, -8};
    int count = 0;
    EXPECT_EQ(tetra_volume_line_intersect(v.get(), a, b, &count), 0);
    EXPECT_EQ(count, 4);
    Numbers out(15, -9);
    EXPECT_EQ(tetra_volume_line_intersect2(v.get(), a, b, &count, out.data(), 5), 0);
    EXPECT_EQ(count, 4);
    EXPECT_TRUE(out[2] == 0 && std::fabs(out[5] - 0.016) < 1e-12 && out[8] == 4 && out[11] == 5.0625 && out[12] == -9);
    EXPECT_EQ(tetra_volume_line_intersect2(v.get(), a, b, &count, out.data(), 2), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(tetra_volume_line_hasintersects(v.get(), a, b), 1);
    const double high[3] = {0, 0, 5.07}, just_below[3] = {0, 0, 5.06};
    EXPECT_EQ(tetra_volume_line_hasintersects(v.get(), high, just_below), 0) << "too near the ends";
    for (int i = 0; i < 60; ++i) {
        const double z = 6 + i * 0.025;
        const tetra_point p[] = {{-9, -9, z, 0}, {9, -9, z, 0}, {0, 9, z, 0}};
        tetra_volume_add_plane(v.get(), p, p + 1, p + 2);
    }
    EXPECT_EQ(tetra_volume_line_intersect(v.get(), a, b, &count), 0);
    EXPECT_EQ(count, 64) << "more than the call has room for at hand";
}

TEST(TetraVolumePointInside, CountsASharedEdgeOnceAndEndsAt10000)
{
    const Volume v = cut(box(10));
    const struct {
        double p[3];
        int inside;
    } rows[] = {{{5, 5, 5}, 1},  {{-5, 5, 5}, 0}, {{15, 5, 5}, 0}, {{5, 2, 7}, 1},
                {{10, 4, 5}, 1}, {{0, 4, 5}, 0},  {{5, 4, 11}, 0}, {{20000, 5, 5}, 0}};
    for (const auto &row : rows)
        EXPECT_EQ(tetra_volume_point_inside(v.get(), row.p), row.inside) << row.p[0] << ' ' << row.p[1];
}

TEST(TetraVolumeGetBorderPoints, TakesEachCornerOnceInPlaneOrder)
{
    const Volume v = cut(with_copies(box(10, {{5, 5, 5, 0}}), 0.01));
    int count = 0;
    list_rec *points = nullptr;
    EXPECT_EQ(tetra_volume_get_border_points(v.get(), &count, &points), 0);
    const List owner(points, list_kill);
    EXPECT_TRUE(count == 8 && list_num(points) == 8);
    EXPECT_EQ(static_cast<tetra_point *>(list_get_element(points, 2))->nr, plane_at(v, 0).p[2].nr);
}

TEST(TetraVolumeNew2, CutsACubeUpAsItsPointsLie)
{
    const struct {
        tetra_point more;
        int tetras;
    } rows[] = {
        {{0.01, 0.01, 0, 8}, 6}, {{3, 4, 5, 8}, 9}, {{5, 5, 5, 8}, 12}, {{10, 4, 3, 8}, 8}, {{10, 10, 5, 8}, 8}};
    for (const auto &row : rows) {
        const Volume v = cut(box(10, {row.more}));
        EXPECT_EQ(v->nr_planes, 12);
        EXPECT_EQ(v->nr_tetras, row.tetras) << row.more.x << ' ' << row.more.y;
    }
    // The first part of a tetrahedron takes its place, the others go to the end.
    const Volume v = cut(box(10, {{3, 4, 5, 8}}));
    int changed = 0;
    for (int i = 0; i < v->nr_tetras; ++i)
        for (int k = 0; k < 4; ++k)
            changed += tetra_get_pointnr(tetra_at(v, i), k) == 8 ? 1 << i : 0;
    EXPECT_EQ(changed, 1 << 3 | 1 << 6 | 1 << 7 | 1 << 8);
}

TEST(TetraVolumeNew2, FillsTheHullAndHasEveryPointAsACorner)
{
    const struct {
        const char *name;
        Points points;
        int planes;
    } rows[] = {{"ball", ball(400, 90, 90, 90), 0},
                {"sphere", ball(150, 50, 50, 50, true), 296},
                {"needle", ball(200, 2000, 0.5, 0.5), 0},
                {"disc", ball(200, 500, 500, 0.3), 0},
                {"grid", grid(6, false), 12},
                {"turned grid", grid(7, true), 12},
                {"copies", with_copies(ball(150, 50, 50, 50), 0.004), 0},
                {"grey axis", axis(), 12}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const Volume v = cut(row.points);
        const double hull = check_boundary(v, row.points);
        double sum = 0;
        for (int i = 0; i < v->nr_tetras; ++i) {
            const tetra_point *p = tetra_at(v, i)->p;
            // All run the same way round.
            EXPECT_LT(sixfold(p[0], p[1], p[2], p[3]), 0);
            sum -= sixfold(p[0], p[1], p[2], p[3]);
        }
        EXPECT_NEAR(sum, hull, 1e-9 * hull);
        EXPECT_TRUE(row.planes == 0 || v->nr_planes == row.planes) << v->nr_planes;
        check_corners(v, row.points);
        check_answers(v, row.points);
    }
}

TEST(TetraVolumeNew2, IsEmptyForPointsInAPlane)
{
    const tetra_point far{1e101, 0, 0, 0}, not_finite{0, infinite, NAN, 0};
    const Points sets[] = {{},
                           {o},
                           {o, o, o, o, o},
                           {o, ex, {2, 0, 0, 0}, {7, 0, 0, 0}, {9, 0, 0, 0}},
                           {o, ex, ey, {3, 4, 0, 0}, {0.3, 0.3, 1e-10, 0}},
                           {o, ex, ey, {0, 0, 0.005, 0}},
                           {o, ex, ey, far, not_finite}};
    for (const Points &points : sets) {
        const Volume v = cut(points);
        EXPECT_TRUE(v && v->nr_planes == 0 && v->nr_tetras == 0) << &points - sets;
    }
    const Volume v = cut({not_finite, o, ex, far, ey, ez});
    EXPECT_TRUE(v->nr_planes == 4 && v->nr_tetras == 1);
    EXPECT_EQ(tetra_get_pointnr(tetra_at(v, 0), 3), 10) << "the first usable point is the apex";
}

TEST(TetraVolumeNew2, BoundsByTheSelectedPointsAlone)
{
    const auto small = [](const tetra_point *p, int index) {
        return p->x + p->y + p->z < 3 && p->z >= 0 && index < 10 ? 1 : 0;
    };
    Points points = box(1, {{8, 8, 8, 8}, {0.5, 0.5, 0.25, 9}, {0.5, 0.5, -0.25, 10}});
    for (int rotation = 0; rotation < 2; ++rotation) {
        const Volume v = cut(points, 1, small);
        // One corner of the cube is not selected.
        EXPECT_EQ(v->nr_planes, 10);
        EXPECT_NEAR(check_boundary(v, {points[1]}), 5, 1e-12);
        double sum = 0;
        for (int i = 0; i < v->nr_tetras; ++i) {
            const tetra_point *p = tetra_at(v, i)->p;
            sum -= sixfold(p[0], p[1], p[2], p[3]);
            EXPECT_TRUE(std::all_of(p, p + 4, [](const tetra_point &c) { return c.nr != 7 && c.nr != 8; }));
        }
        EXPECT_NEAR(sum, 5, 1e-12);
        // Now with a point outside as the first one.
        std::swap(points[0], points[8]);
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
