#include "proj.h"

#include "Support/vec.h"
#include "support/test.h"

namespace
{

using teska::vec3, teska_test::Generator;
using Values = std::vector<double>;
using Function = int (*)(const double *figure, const double *q, const double *dir, ProjResult *r, double *dist);

constexpr double untouched = -77.0;

// Any projection by the face of one at constant parameter. K is a number of vertices or dimensions, or an edge.
template <auto F, int... K>
int plain(const double *figure, const double *q, const double *dir, ProjResult *r, double *dist)
{
    if constexpr (requires { F(figure, q, K..., r, dist); })
        return F(figure, q, K..., r, dist);
    else if constexpr (requires { F(figure, K..., q, r, dist); })
        return F(figure, K..., q, r, dist);
    else if constexpr (requires { F(figure, q, r->point, K..., dist); })
        return F(figure, q, r->point, K..., dist);
    else
        return F(figure, q, dir, r->point, dist);
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
        // Without a distance, and over the query point.
        ProjResult over{{row.q[0], row.q[1], row.q[2]}, 0, {}};
        EXPECT_EQ(f(row.figure.data(), over.point, row.dir.data(), &over, nullptr), found.code);
        EXPECT_EQ(Values(over.point, over.point + 3),
                  found.code == 0 ? Values(found.r.point, found.r.point + 3) : row.q);
    }
}

const Values right{0, 0, 0, 10, 0, 0, 0, 10, 0};
const Values needle{0, 0, 0, 10, 0, 0, 9, 1, 0};
const Values edgeless{0, 0, 0, 1e-21, 0, 0, 0, -1000, 0};
const Values corner{0, 0, 0, 10, 0, 0, 0, 10, 0, 0, 0, 10};

// A row that gives -1, for what the distance then is.
Row refused(const Values &figure, const Values &dir = {0, 0, 1}, double dist = untouched)
{
    return {figure, {2, 3, 5}, {}, {}, 0, dir, dist};
}

// Triangles of all kinds: any, nearly and quite flat ones, with a short side, without a side.
void draw_triangle(Generator &input, int kind, vec3 (&t)[3])
{
    const auto any = [&](int extent) {
        const auto one = [&] { return 4.0 * (input.below(2 * extent + 1) - extent); };
        return vec3{one(), one(), one()};
    };
    for (vec3 &at : t)
        at = any(kind == 0 ? 2 : 480);
    const vec3 step = any(1), whole = any(30);
    if (kind == 2)
        t[2] = t[1] - step;
    if (kind == 3 || kind == 4) {
        t[1] = t[0] + 16 * whole;
        t[2] = t[0] + 4.0 * input.below(5) * whole;
    }
    if (kind == 3)
        t[2] = t[2] - step;
    if (kind == 5)
        t[2] = t[1] = t[0];
    std::swap(t[2], t[input.below(3)]);
}

TEST(ProjNearestTriangle, FindsTheLeastDistanceOnAnyTriangleFromAnywhere)
{
    Generator input(5);
    for (int i = 0; i < 60000; ++i) {
        vec3 t[3];
        draw_triangle(input, i % 6, t);
        // Anywhere, on a corner or in the middle of a side, in the midst of the triangle.
        const auto some = [&](int size) { return 1.0 * input.below(size); };
        vec3 q{some(4001) - 2000, some(4001) - 2000, some(4001) - 2000};
        const vec3 &a = t[input.below(3)], &b = t[input.below(3)];
        if (i % 4 > 0)
            q = 0.5 * (a + b);
        if (i % 4 > 1)
            q = 0.5 * (q + t[2]);
        if (i % 4 > 2)
            q = q + vec3{some(3), -some(3), some(3)};
        double dist = untouched;
        ProjResult r{{}, untouched, {untouched, untouched, untouched, untouched}};
        ASSERT_EQ(proj_nearest_triangle(&t[0].x, &q.x, &r, &dist), 0);
        const double *w = r.weight;
        const vec3 found = teska::vec3_at(r.point);
        ASSERT_GE(*std::min_element(w, w + 3), 0) << "case " << i;
        ASSERT_NEAR(w[0] + w[1] + w[2], 1, 4e-16) << "case " << i;
        ASSERT_LE(length(w[0] * t[0] + w[1] * t[1] + w[2] * t[2] - found), 4e-12) << "case " << i;
        ASSERT_NEAR(length(found - q), dist, 4e-12) << "case " << i;
        EXPECT_EQ(r.spare, untouched);
        EXPECT_EQ(r.weight[3], untouched);
        // No place of the triangle is nearer, on its sides neither.
        for (int k = 0; k < 20; ++k) {
            const double along = k % 2 == 0 ? 1 : input.unit(), across = k % 5 < 3 ? input.unit() : k % 5 - 3;
            const vec3 place = t[0] + along * (t[1] - t[0] + across * (t[2] - t[1]));
            ASSERT_LE(dist, length(place - q) + 4e-12) << "case " << i;
        }
    }
}

}  // namespace

// Lines, tetrahedra and what is asked at a parameter or along a line are in the hashes, on figures of all kinds.
TEST(ProjOnTriangle, KeptGivesTheFirstEdgeThatThePointIsBeyond)
{
    expect(plain<proj_on_triangle>, {{right, {2, 3, 5}, {2, 3, 0}, {0.5, 0.2, 0.3}, 25},
                                     {needle, {11, 1.5, 0}, {9, 1, 0}, {0, 0, 1}, 4.25},
                                     refused(edgeless)});
    expect(plain<proj, 3>, {refused(edgeless)});
    expect(proj_on_triangle_par, {refused(edgeless), refused(edgeless, {1, 0, 1})});
    const Values apart{2, 0, 0, 0, 2, 0, 0, 0, 2};
    expect(plain<proj_on_triangle_bound>, {{needle, {11, 1.5, 0}, {9.75, 0.25, 0}, {0, 0.75, 0.25}, 3.125},
                                           {apart, {0, 0, 0}, {0, 1, 1}, {0, 0.5, 0.5}, 2}});
    expect(plain<proj_on_triangle_edge, 0>, {{right, {1, -4, 0}, {7.5, 2.5, 0}, {0, 0.75, 0.25}, 84.5}});
    expect(plain<proj_on_triangle_edge, 1>, {{right, {3, 5, 4}, {0, 5, 0}, {0.5, 0, 0.5}, 25}});
    expect(plain<proj_on_triangle_edge, 2>, {{right, {5, 3, 4}, {5, 0, 0}, {0.5, 0.5, 0}, 25}});
    // Negative from behind, unless nearly along the triangle.
    expect(proj_on_triangle_parline, {{right, {1, 3, -5}, {2, 3, 0}, {0.5, 0.2, 0.3}, -26, {0.2, 0, 1}},
                                      {right, {2, 3, 5}, {2, 3, 0}, {0.5, 0.2, 0.3}, 25, {0, 0, 0.001}},
                                      refused(right, {1, 1, 0}, -1e20),
                                      refused({0, 0, 0, 1, 0, 0, 4, 0, 0}, {0, 0, 1}, -1e20)});
}

TEST(ProjOnTetra, KnowsFlatOnes)
{
    const Values flat{0, 0, 0, 10, 0, 0, 0, 10, 0, 2, 2, -0.0009};
    expect(plain<proj_on_tetra>, {{flat, {2, 2, -0.0001}, {2, 2, 0}, {0.6, 0.2, 0.2, 0}, -1e-8}});
    // Every face has an edge that is too short.
    const Values two_pairs{0, 0, 0, 1e-21, 0, 0, 0, 1000, 0, 0, 1000, 1e-21};
    for (const Function f : {plain<proj_on_tetra>, plain<proj_on_tetra_bound>, plain<proj, 4>})
        EXPECT_EQ(Outcome(f, two_pairs, {2.5e-22, 500, 2.5e-22}, {}).code, -1);
    EXPECT_EQ(Outcome(proj_on_tetra_par, two_pairs, {2.5e-22, 500, 2.5e-22}, {1, 1, 1}).code, -100);
    EXPECT_EQ(Outcome(proj_on_tetra_bound_par, two_pairs, {2.5e-22, 500, 2.5e-22}, {1, 1, 1}).code, -1);
    const Values three_near{0, -1000, 0, 0, 0, 0, 1e-21, 0, 0, 5e-22, 0, 0};
    EXPECT_EQ(Outcome(proj_on_tetra_par, three_near, {2, 3, 5}, {1, 0, 0}).code, -1);
}

TEST(Proj, RefusesOtherNumbersAndLeavesNanOutside)
{
    for (const Function f : {plain<proj, 0>, plain<proj, 5>, plain<proj_on_plane, 0>, plain<proj_on_triangle_edge, -2>,
                             plain<proj_on_triangle_edge, 3>})
        expect(f, {refused(corner)});
    for (const Function f : {plain<proj, 3>, plain<proj, 4>})
        EXPECT_TRUE(std::isnan(Outcome(f, corner, {1, std::numeric_limits<double>::quiet_NaN(), 3}, {}).dist));
}

TEST(ProjPlanes, GiveKnownAnswers)
{
    const Values slant{0, 3, 4, -25}, x{1, 3, 4};
    expect(plain<proj_on_plane, 3>, {{slant, {1, 0, 0}, x, {}, 25},
                                     {{3, 0, 4, -25}, {0, 7, 0}, {3, 7, 4}, {}, 25},
                                     {slant, x, x, {}},
                                     refused({1e-21, 0, 0, 1})});
    expect(plain<proj_on_plane_abcd>, {{slant, {1, 0, 0}, x, {}, 25}, refused({1e-11, 0, 0, 1})});
    expect(plain<proj_on_plane_par>, {{slant, {1, 0, 4}, x, {}, 9, {0, 0, 2}}, refused(slant, {0, 6, 8})});
    expect(plain<proj_on_plane_parline>, {{slant, {1, 3, 0}, x, {}, 16, {0, 0, 2}}, refused(slant, {1, 0, 0}, 1e20)});
    for (const Function f : {plain<proj_on_line_segm>, plain<proj_on_tetra_bound>, plain<proj, 2>, plain<proj, 4>})
        EXPECT_EQ(Outcome(f, {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}, {0.1, 0.2, 0.3}, {}).code, 0);
    expect(plain<proj_on_line>,
           {{{2, 1, 0, 5, 1, 0}, {9, 4, 4}, {9, 1, 0}, {}, 25}, {{2, 0, 0, 2, 0, 0}, {2, 3, 4}, {2, 0, 0}, {}, 25}});
    double point[3], abcd[4], dir[3];
    EXPECT_EQ(proj_plane_intersect(slant.data(), Values{1, 0, 0, -2}.data(), dir, point), 0);
    expect_near(point, {2, 3, 4}, "point");
    expect_near(dir, {0, 0.8, -0.6}, "point");
    EXPECT_EQ(proj_plane_intersect(slant.data(), Values{1e-17, 6, 8, 1}.data(), dir, point), -1);
    EXPECT_EQ(proj_det_plane_abcd(Values{0, 0, 2, 5, 0, 2, 0, 5, 2}.data(), abcd), 0);
    EXPECT_EQ(Values(abcd, abcd + 4), Values({0, 0, 1, -2}));
    EXPECT_EQ(proj_det_plane_abcd(Values{0, 0, 0, 1e-11, 0, 0, 0, 1e-11, 0}.data(), abcd), -1);
    EXPECT_EQ(abcd[2], 1e-11 * 1e-11);
}
