#include "proj.h"

#include "support/generator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace
{

using Values = std::vector<double>;
using Function = int (*)(const double *figure, const double *q, const double *dir, ProjResult *r, double *dist);

constexpr double untouched = -77.0;

// An ordinary projection by the face of one at constant parameter.
template <auto F>
int plain(const double *figure, const double *q, const double *, ProjResult *r, double *dist)
{
    return F(figure, q, r, dist);
}

template <int N>
int any(const double *figure, const double *q, const double *, ProjResult *r, double *dist)
{
    return proj(figure, N, q, r, dist);
}

template <int N>
int edge(const double *figure, const double *q, const double *, ProjResult *r, double *dist)
{
    return proj_on_triangle_edge(figure, q, N, r, dist);
}

struct Outcome {
    ProjResult r{{untouched, untouched, untouched}, untouched, {untouched, untouched, untouched, untouched}};
    double dist = untouched;
    int code;

    Outcome(Function f, const Values &figure, const Values &q, const Values &dir)
        : code(f(figure.data(), q.data(), dir.data(), &r, &dist))
    {
    }
};

// No point and no weights stand for -1.
struct Row {
    Values figure, q, point, weights;
    double square = 0;  // of the distance, with its sign
    Values dir{0, 0, 1};
    double dist = std::copysign(std::sqrt(std::fabs(square)), square);
};

void expect_near(const double *found, Values wanted, const char *what)
{
    wanted.resize(what[0] == 'p' ? 3 : 4, untouched);
    for (std::size_t i = 0; i < wanted.size(); ++i)
        EXPECT_NEAR(found[i], wanted[i], 1e-12) << what << ' ' << i;
}

void expect(Function f, const std::vector<Row> &rows)
{
    for (const Row &row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows.data()));
        const Outcome found(f, row.figure, row.q, row.dir);
        EXPECT_EQ(found.code, row.point.empty() ? -1 : 0);
        expect_near(found.r.point, row.point, "point");
        expect_near(found.r.weight, row.weights, "weight");
        EXPECT_EQ(found.r.spare, untouched);
        EXPECT_NEAR(found.dist, row.dist, 1e-12);
        ProjResult again;
        EXPECT_EQ(f(row.figure.data(), row.q.data(), row.dir.data(), &again, nullptr), found.code);
    }
}

const Values steep{0, 0, 0, 2, 0, 4};
const Values level{0, 0, 0, 8, 0, 0};
const Values right{0, 0, 0, 10, 0, 0, 0, 10, 0};
const Values needle{0, 0, 0, 10, 0, 0, 9, 1, 0};
const Values corner{0, 0, 0, 10, 0, 0, 0, 10, 0, 0, 0, 10};
// A row that gives -1, for what the distance then is.
Row refused(const Values &figure, const Values &dir = {0, 0, 1}, double dist = untouched)
{
    return {figure, {2, 3, 5}, {}, {}, 0, dir, dist};
}

}  // namespace

TEST(ProjOnLine, GivesKnownAnswers)
{
    expect(any<1>, {{{1, 2, 3}, {1, 2, 8}, {1, 2, 3}, {1}, 25}});
    expect(proj_on_line_par, {{steep, {3, 1, 6}, {3, 0, 6}, {-0.5, 1.5}, 1},
                              {{1, 1, 1, 1, 1, 1}, {1, 4, 5}, {1, 1, 1}, {1, 0}, 25},
                              refused(level)});
    expect(plain<proj_on_line_segm>, {{steep, {-3, 0, -4}, {0, 0, 0}, {1, 0}, 25},
                                      {steep, {5, 0, 8}, {2, 0, 4}, {0, 1}, 25},
                                      {level, {2, 3, 4}, {2, 0, 0}, {0.75, 0.25}, 25},
                                      {{1, 1, 1, 1, 1, 1}, {1, 4, 5}, {1, 1, 1}, {1, 0}, 25}});
    // A step in the parameter weighs 1000 in the square. The level segment has one parameter, or there is no direction.
    expect(proj_on_line_segm_par, {{steep, {3, 1, 2}, {1, 0, 2}, {0.5, 0.5}, 5},
                                   {steep, {3, 0, 0}, {0, 0, 0}, {1, 0}, 9},
                                   {steep, {3, 0, 4}, {2, 0, 4}, {0, 1}, 1},
                                   {steep, {3, 1, 5}, {2, 0, 4}, {0, 1}, 1002},
                                   {steep, {3, 4, -2}, {0, 0, 0}, {1, 0}, 4025, {0, 0, 7}},
                                   {level, {2, 3, 2}, {2, 0, 0}, {0.75, 0.25}, 4009},
                                   {level, {2, 3, 4}, {2, 0, 0}, {0.75, 0.25}, 25, {0, 0, 0}},
                                   {{1, 1, 1, 1, 1, 1}, {1, 4, 2}, {1, 1, 1}, {1, 0}, 1009}});
}

TEST(ProjOnTriangle, KeptGivesTheFirstEdgeThatThePointIsBeyond)
{
    expect(plain<proj_on_triangle>, {{right, {2, 3, 5}, {2, 3, 0}, {0.5, 0.2, 0.3}, 25},
                                     {right, {4, 0, -2}, {4, 0, 0}, {0.6, 0.4, 0}, 4},
                                     {right, {9, 9, 0}, {5, 5, 0}, {0, 0.5, 0.5}, 32},
                                     {needle, {11, 1.5, 0}, {9, 1, 0}, {0, 0, 1}, 4.25}});
    const Values apart{2, 0, 0, 0, 2, 0, 0, 0, 2};
    expect(plain<proj_on_triangle_bound>, {{needle, {11, 1.5, 0}, {9.75, 0.25, 0}, {0, 0.75, 0.25}, 3.125},
                                           {apart, {0, 0, 0}, {0, 1, 1}, {0, 0.5, 0.5}, 2}});
    expect(edge<0>, {{right, {1, -4, 0}, {7.5, 2.5, 0}, {0, 0.75, 0.25}, 84.5}});
    expect(edge<1>, {{right, {3, 5, 4}, {0, 5, 0}, {0.5, 0, 0.5}, 25}});
    expect(edge<2>, {{right, {5, 3, 4}, {5, 0, 0}, {0.5, 0.5, 0}, 25}});
    expect(edge<3>, {refused(right)});
    expect(edge<-2>, {refused(right)});
}

TEST(ProjOnTriangle, TakesTheLongestSideOfAFlatOneTheLastOfEquals)
{
    expect(plain<proj_on_triangle>, {{{0, 0, 0, 4, 0, 0, 1, 0, 0}, {3, 3, 0}, {3, 0, 0}, {0.25, 0.75, 0}, 9},
                                     {{0, 0, 0, 1, 0, 0, 4, 0, 0}, {3, 3, 0}, {3, 0, 0}, {0.25, 0, 0.75}, 9},
                                     {{1, 0, 0, 0, 0, 0, 4, 0, 0}, {3, 3, 0}, {3, 0, 0}, {0, 0.25, 0.75}, 9},
                                     {{0, 0, 0, 4, 0, 0, 0, 0, 0}, {1, 3, 0}, {1, 0, 0}, {0, 0.25, 0.75}, 9},
                                     {{0, 0, 0, 0, 0, 0, 4, 0, 0}, {1, 3, 0}, {1, 0, 0}, {0, 0.75, 0.25}, 9},
                                     {{4, 0, 0, 0, 0, 0, 0, 0, 0}, {1, 3, 0}, {1, 0, 0}, {0.25, 0, 0.75}, 9},
                                     {{1, 1, 1, 1, 1, 1, 1, 1, 1}, {1, 4, 5}, {1, 1, 1}, {0, 1, 0}, 25},
                                     refused({0, 0, 0, 1e-21, 0, 0, 0, 1000, 0})});
    expect(proj_on_triangle_par, {{{0, 0, 0, 4, 0, 8, 1, 0, 2}, {3, 3, 4}, {2, 0, 4}, {0.5, 0.5, 0}, 10}});
}

TEST(ProjOnTriangle, LooksAtTheParameterOrAlongALine)
{
    expect(proj_on_triangle_par, {{right, {2, 3, 5}, {2, 3, 0}, {0.5, 0.2, 0.3}, 25, {1, 0, 0}},
                                  {right, {2, 11, 5}, {2, 8, 0}, {0, 0.2, 0.8}, 34, {1, 0, 0}},
                                  {right, {2, 3, 5}, {2, 3, 0}, {0.5, 0.2, 0.3}, 25000}});
    expect(proj_on_triangle_bound_par, {{{0, 0, 0, 4, -4, 4, 4, 4, 4}, {3, 0, 2}, {2, 2, 2}, {0.5, 0, 0.5}, 5}});
    // Negative from behind, unless nearly along the triangle.
    expect(proj_on_triangle_parline, {{right, {1, 3, -5}, {2, 3, 0}, {0.5, 0.2, 0.3}, -26, {0.2, 0, 1}},
                                      {right, {1, 3, -5}, {2, 3, 0}, {0.5, 0.2, 0.3}, 26, {-0.2, 0, -1}},
                                      {right, {2, 3, 5}, {2, 3, 0}, {0.5, 0.2, 0.3}, 25, {0, 0, 0.001}},
                                      {right, {-4, 0, 3}, {0, 0, 0}, {1, 0, 0}, -25},
                                      refused(right, {1, 1, 0}, -1e20),
                                      refused({0, 0, 0, 1, 0, 0, 4, 0, 0}, {0, 0, 1}, -1e20)});
}

TEST(ProjOnTetra, GivesKnownAnswers)
{
    const double third = 1.0 / 3.0;
    const Values inside{0.4, 0.1, 0.2, 0.3};
    expect(plain<proj_on_tetra>, {{corner, {1, 2, 3}, {1, 2, 3}, inside, 0.16},
                                  {corner, {-0.01, 2, 3}, {-0.01, 2, 3}, {0.501, -0.001, 0.2, 0.3}, 0.251001},
                                  {corner, {-0.02, 2, 3}, {0, 2, 3}, {0.5, 0, 0.2, 0.3}, -0.0004}});
    expect(any<4>, {{corner, {1, 2, 3}, {1, 2, 3}, inside}, {corner, {-2, 2, 3}, {0, 2, 3}, {0.5, 0, 0.2, 0.3}, 4}});
    expect(any<5>, {refused(corner)});
    expect(any<0>, {refused(corner)});
    const double middle = 10 * third;
    expect(plain<proj_on_tetra_bound>,
           {{corner, {1, 1, 1}, {0, 1, 1}, {0.8, 0, 0.1, 0.1}, 1},
            {corner, {4, 4, 4}, {middle, middle, middle}, {0, third, third, third}, 4 * third}});
    const Values flat{0, 0, 0, 10, 0, 0, 0, 10, 0, 2, 2, -0.0009};
    expect(plain<proj_on_tetra>, {{flat, {1, 3, 4}, {1, 3, 0}, {0.6, 0.1, 0.3, 0}, -16}});
    // In the last row three vertices are on a line.
    expect(proj_on_tetra_par,
           {{corner, {1, 2, 3}, {1, 2, 3}, inside, 0.16},
            {corner, {-2, 2, 3}, {0, 2, 3}, {0.5, 0, 0.2, 0.3}, -4},
            {corner, {0, 0, -1}, {0, 0, 0}, {1, 0, 0, 0}, -1000},
            {{0, 0, 4, 4, 0, 0, 0, 0, 0, -4, 0, 0}, {1, 3, 1}, {1, 0, 1}, {0.25, 0.5, 0, 0.25}, -9}});
}

// Nearest is the point from which no vertex lies towards q.
TEST(ProjOnTriangle, FindsTheNearestPointOfTheDecidingEdgeOrOfTheTriangle)
{
    teska_test::Generator random(801);
    for (int i = 0; i < 6000; ++i) {
        Values t(9), q(3);
        const bool narrow = i % 3 == 0;
        for (double &x : t)
            x = i % 3 == 1 ? random.below(4) : random.between(-50, 50);
        for (double &x : q)
            x = i % 3 == 1 ? random.below(4) : random.between(-50, 50);
        const double place = random.between(-1, 2);
        for (std::size_t c = 0; narrow && c < 3; ++c)
            t[6 + c] = t[c] + place * (t[3 + c] - t[c]);
        const Outcome found(plain<proj_on_triangle>, t, q, {});
        ASSERT_EQ(found.code, 0);
        double sum[3] = {0, 0, 0}, away = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t v = 0; v < 3; ++v)
                sum[c] += found.r.weight[v] * t[3 * v + c];
            ASSERT_NEAR(sum[c], found.r.point[c], 1e-11) << i;
            away += (q[c] - found.r.point[c]) * (q[c] - found.r.point[c]);
        }
        ASSERT_NEAR(found.dist, std::sqrt(away), 1e-12);
        for (std::size_t v = 0; v < 3; ++v) {
            double towards = 0;
            for (std::size_t c = 0; c < 3; ++c)
                towards += (q[c] - found.r.point[c]) * (t[3 * v + c] - found.r.point[c]);
            ASSERT_TRUE(found.r.weight[v] >= -1e-12 && (towards <= 1e-9 || found.r.weight[v] == 0)) << i;
        }
        // No other point of the boundary is nearer than what the search of all edges gives, nor is one inside.
        const Outcome nearest(plain<proj_on_triangle_bound>, t, q, {});
        const bool inside = *std::min_element(found.r.weight, found.r.weight + 3) > 0;
        ASSERT_TRUE(inside ? found.dist <= nearest.dist + 1e-12 : found.dist >= nearest.dist - 1e-12) << i;
    }
}

TEST(ProjPlanes, GiveKnownAnswers)
{
    const Values slant{0, 3, 4, -25};
    double x[3], dist = 0, abcd[4], dir[3];
    EXPECT_EQ(proj_on_plane(slant.data(), Values{1, 3, 4}.data(), x, 3, &dist), 0);
    EXPECT_TRUE(x[0] == 1 && x[1] == 3 && x[2] == 4 && dist == 0);
    EXPECT_EQ(proj_on_plane_abcd(slant.data(), Values{1, 0, 0}.data(), x, &dist), 0);
    EXPECT_TRUE(x[0] == 1 && x[1] == 3 && x[2] == 4 && dist == 5);
    EXPECT_EQ(proj_on_plane_par(slant.data(), Values{1, 0, 4}.data(), Values{0, 0, 2}.data(), x, &dist), 0);
    EXPECT_TRUE(x[0] == 1 && x[1] == 3 && x[2] == 4 && dist == 3) << x[1];
    EXPECT_EQ(proj_on_plane_par(slant.data(), Values{1, 0, 4}.data(), Values{0, 6, 8}.data(), x, &dist), -1);
    EXPECT_EQ(proj_on_plane_parline(slant.data(), Values{1, 3, 0}.data(), Values{0, 0, 2}.data(), x, &dist), 0);
    EXPECT_TRUE(x[0] == 1 && x[1] == 3 && x[2] == 4 && dist == 4);
    EXPECT_EQ(proj_on_plane_parline(slant.data(), Values{1, 3, 0}.data(), Values{1, 0, 0}.data(), x, &dist), -1);
    EXPECT_EQ(dist, 1e20);
    EXPECT_EQ(proj_plane_intersect(slant.data(), Values{1, 0, 0, -2}.data(), dir, x), 0);
    expect_near(x, {2, 3, 4}, "point");
    expect_near(dir, {0, 0.8, -0.6}, "point");
    EXPECT_EQ(proj_plane_intersect(slant.data(), Values{0, 6, 8, 1}.data(), dir, x), -1);
    EXPECT_EQ(proj_det_plane_abcd(Values{0, 0, 2, 5, 0, 2, 0, 5, 2}.data(), abcd), 0);
    EXPECT_TRUE(abcd[0] == 0 && abcd[1] == 0 && abcd[2] == 1 && abcd[3] == -2);
    EXPECT_EQ(proj_det_plane_abcd(Values{0, 0, 0, 1e-11, 0, 0, 0, 1e-11, 0}.data(), abcd), -1);
    EXPECT_EQ(abcd[2], 1e-11 * 1e-11);
    EXPECT_EQ(proj_on_plane(Values{1e-21, 0, 1}.data(), x, x, 2, &dist), -1);
    EXPECT_EQ(proj_on_plane_abcd(Values{1e-11, 0, 0, 1}.data(), x, x, &dist), -1);
    EXPECT_EQ(proj_on_plane(slant.data(), x, x, 0, &dist), -1);
    for (const double end : {2.0, 5.0}) {
        EXPECT_EQ(proj_on_line(Values{2, 0, 0, end, 0, 0}.data(), Values{end, 3, 4}.data(), x, &dist), 0);
        EXPECT_TRUE(x[0] == end && x[1] == 0 && dist == 5);
    }
}

TEST(Proj, LeavesNanOutside)
{
    for (int i = 0; i < 3; ++i) {
        Values q{1, 2, 3};
        q[static_cast<std::size_t>(i)] = std::numeric_limits<double>::quiet_NaN();
        EXPECT_TRUE(std::isnan(Outcome(any<4>, corner, q, {}).dist));
        EXPECT_TRUE(std::isnan(Outcome(any<3>, right, q, {}).dist));
    }
}
