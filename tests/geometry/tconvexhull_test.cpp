#include "tconvexhull.h"

#include "Source/tconvexhull/store.h"
#include "Support/vec.h"
#include "support/levels.h"
#include "support/test.h"

using teska_test::Generator;

namespace
{

using Point = teska::vec3;
using Points = std::vector<Point>;

const double nan = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const Points tetrahedron{{0, 0, 0}, {10, 0, 0}, {0, 20, 0}, {5, 5, 10}};

void add(TConvexHull &hull, const Points &points)
{
    for (const Point &p : points)
        EXPECT_EQ(hull.AddPoint(p.x, p.y, p.z), 0);
}

// All points with coordinates 0, step, .. (n - 1) * step.
Points lattice(int n, double step, int layers)
{
    Points points;
    for (int i = 0; i < n * n * layers; ++i)
        points.push_back({i % n * step, i / n % n * step, i / (n * n) * step});
    return points;
}

Points joined(Points points, const Points &more)
{
    points.insert(points.end(), more.begin(), more.end());
    return points;
}

// On an ellipsoid, or with `solid` in it.
Points cloud(int n, const Point &radius, bool solid = false)
{
    Generator input(static_cast<std::uint64_t>(n));
    Points points;
    while (static_cast<int>(points.size()) < n) {
        const Point p{input.between(-1, 1), input.between(-1, 1), input.between(-1, 1)};
        const double r = length(p);
        if (r > 1 || r < 0.1)
            continue;
        const double k = solid ? 1 : 1 / r;
        points.push_back({p.x * k * radius.x, p.y * k * radius.y, p.z * k * radius.z});
    }
    return points;
}

// What Construct gives: 0 when some point makes a volume above 0.5 with the first three in a row not in a line.
// Products that overflow make none.
int promised(const Points &points)
{
    const std::size_t n = points.size();
    for (std::size_t i = 0; i < n; ++i) {
        const Point &a = points[i], &b = points[(i + 1) % n], &c = points[(i + 2) % n], normal = cross(b - a, c - a);
        const auto far = [&](const Point &p) { return std::fabs(dot(a - p, cross(b - p, c - p))) > 0.5; };
        const auto none = [](double x) { return std::fabs(x) < 0x1p-52; };
        if (!(none(normal.x) && none(normal.y) && none(normal.z)))
            return std::any_of(points.begin(), points.end(), far) ? 0 : -1;
    }
    return -1;
}

}  // namespace

// Walks the lists, and reaches the private routines.
struct TConvexHullTest {
    template <class Record, class Visit>
    static void each(Record *head, const Visit &visit)
    {
        Record *record = head;
        do {
            EXPECT_EQ(record->next->prev, record);
            visit(record);
        } while ((record = record->next) != head);
    }

    // The numbers of the vertices, of the ends of every edge and of the corners of every face, each in their order.
    static std::string text(const TConvexHull &hull)
    {
        std::ostringstream out;
        each(hull.vertices, [&](auto *v) { out << v->vnum << ' '; });
        out << '|';
        each(hull.edges, [&](auto *e) { out << ' ' << e->endpts[0]->vnum << e->endpts[1]->vnum; });
        out << " |";
        each(hull.faces,
             [&](auto *f) { out << ' ' << f->vertex[0]->vnum << f->vertex[1]->vnum << f->vertex[2]->vnum; });
        return out.str();
    }

    // "vertices / edges / faces" of a closed surface, every mark cleared, with two faces at every edge.
    static std::string count(const TConvexHull &hull)
    {
        int v = 0, e = 0, f = 0;
        bool sound = hull.CheckEndpts() != 0 && hull.Consistency() != 0;
        each(hull.vertices, [&](auto *r) { sound = sound && r->mark && !r->onhull && !r->duplicate && ++v; });
        each(hull.edges, [&](auto *r) { sound = sound && !r->del && !r->newface && ++e; });
        each(hull.faces, [&](auto *r) { sound = sound && !r->visible && ++f; });
        sound = sound && v - e + f == 2 && 2 * e == 3 * f;
        std::ostringstream out;
        out << v << " / " << e << " / " << f;
        return sound ? out.str() : "broken";
    }

    static bool convex(const TConvexHull &hull) { return hull.Convexity() != 0; }

    static Points points(const TConvexHull &hull)
    {
        Points all;
        each(hull.vertices, [&](auto *v) { all.push_back(teska::position(v)); });
        return all;
    }

    static std::vector<double> places(const TConvexHull &hull)
    {
        std::vector<double> all;
        each(hull.faces, [&](auto *f) {
            for (const tVertexStructure *v : f->vertex)
                all.insert(all.end(), v->v, v->v + 3);
        });
        return all;
    }

    static bool exact(const TConvexHull &hull) { return hull.store->exact; }

    // Kinds of damage that CheckEndpts must tell, and all but the first Consistency too: an edge of one face alone,
    // corners out of step with the edges, an edge of another face, with another end.
    static void check_damages(TConvexHull &hull)
    {
        tFaceStructure &face = *hull.faces, whole = face;
        tEdgeStructure &edge = *face.edge[0], sound = edge;
        const std::function<void()> damages[] = {
            [&] { (edge.adjface[0] == &face ? edge.adjface[0] : edge.adjface[1]) = nullptr; },
            [&] { std::swap(face.vertex[0], face.vertex[1]); },
            [&] { face.next = edge.adjface[0] = edge.adjface[1] = &face; },
            [&] { edge.endpts[0] = edge.endpts[1]; },
        };
        for (const auto &damage : damages) {
            damage();
            EXPECT_EQ(hull.CheckEndpts(), 0) << &damage - damages;
            EXPECT_TRUE(&damage == damages || hull.Consistency() == 0) << &damage - damages;
            face = whole;
            edge = sound;
            EXPECT_EQ(hull.CheckEndpts(), 1) << &damage - damages;
        }
    }

    static std::string picture(const TConvexHull &hull)
    {
        testing::internal::CaptureStdout();
        hull.Print();
        hull.PrintPoint(hull.vertices);
        return testing::internal::GetCapturedStdout();
    }

    // The lists as they are printed, with # for the address of every record and the blanks before it.
    static std::string lists(const TConvexHull &hull)
    {
        testing::internal::CaptureStderr();
        hull.PrintOut(hull.vertices);
        std::string text = testing::internal::GetCapturedStderr();
        const auto hide = [&](const void *record) {
            const auto address = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(record));
            const std::string digits = (std::ostringstream() << std::hex << address).str();
            for (std::size_t end; (end = text.find(digits)) != std::string::npos;) {
                const std::size_t from = text.find_last_not_of(' ', end - 1) + 1;
                text.replace(from, end - from + digits.size(), "#");
            }
        };
        each(hull.vertices, hide);
        each(hull.edges, hide);
        each(hull.faces, hide);
        return text;
    }
};

namespace
{

TEST(TConvexHullConstruct, MakesTheListsOfTheIncrementalAlgorithm)
{
    // The first triangle is 1, 2, 3, since 0 lies on a line with 1 and 2; 5 is inside; 6 takes 4 away.
    const Points points{{0, 0, 0}, {5, 0, 0}, {10, 0, 0}, {0, 10, 0}, {2, 2, 8}, {2, 2, 2}, {2, 2, 20}};
    TConvexHull hull;
    add(hull, points);
    EXPECT_EQ(hull.Construct(), 0);
    EXPECT_EQ(TConvexHullTest::text(hull), "6 0 1 2 3 | 12 23 31 16 26 36 30 10 60 | 321 126 236 310 160 630");
}

TEST(TConvexHullConstruct, IsAClosedSurfaceAroundEveryPoint)
{
    const Points small = cloud(900, {10, 10, 10}), around = cloud(1100, {20, 20, 20});
    const struct {
        const char *name;
        Points points;
        const char *counts;  // "": only that it is closed
    } cases[] = {
        {"lattice of coplanar points", lattice(9, 3, 9), ""},
        {"duplicates", joined(lattice(2, 10, 2), lattice(2, 10, 2)), "8 / 18 / 12"},
        {"dense sphere", cloud(3000, {20, 20, 20}), "3000 / 8994 / 5996"},
        {"sphere inside another, and all again", joined(joined(small, around), joined(small, around)),
         "1100 / 3294 / 2196"},
        {"solid", cloud(6000, {50, 90, 110}, true), ""},
        {"needle in z", cloud(500, {2, 2, 1e14}), ""},
        {"far away and large", cloud(500, {3e7, 2e7, 1e7}), "500 / 1494 / 996"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        std::string first;
        teska_test::at_every_level([&](auto) {
            TConvexHull hull;
            add(hull, c.points);
            ASSERT_EQ(hull.Construct(), 0);
            const std::string counts = TConvexHullTest::count(hull);
            EXPECT_EQ(counts, *c.counts != 0 ? c.counts : counts);
            EXPECT_NE(counts, "broken");
            EXPECT_TRUE(TConvexHullTest::convex(hull));
            for (const Point &p : c.points)
                ASSERT_EQ(hull.InsideHull(p.x, p.y, p.z), 1) << p.x << ", " << p.y << ", " << p.z;
            const std::string text = TConvexHullTest::text(hull);
            EXPECT_EQ(text, first.empty() ? text : first);
            first = text;
        });
    }
}

// Where volumes overflow, the point that opens the first triangle must still see one of its sides.
TEST(TConvexHullConstruct, IsAClosedSurfaceUpToTheLargestCoordinates)
{
    const double largest = std::numeric_limits<double>::max();
    const double magnitudes[] = {0.35, 0.9, 31, 98, 1e-200, 1e100, 1e154, 1e200, 1e300, largest};
    Generator input(8);
    int made = 0, exact = 0;
    for (int i = 0; i < 4000; ++i) {
        Points points(4 + static_cast<std::size_t>(i % 12));
        for (Point &p : points)
            for (double *const at : {&p.x, &p.y, &p.z}) {
                *at = i % 2 == 0 ? input.between(-1, 1) : input.below(2) * 2 - 1;
                *at *= magnitudes[input.below(10)];
            }
        if (i == 0)
            points = {{31, largest, .35}, {.35, -98, 31}, {.35, .35, .35}, {.35, .9, -100},
                      {.4, .4, .4},       {.4, .4, .9},   {-42, .9, .95},  {.35, -98, -37}};
        std::string first;
        teska_test::at_every_level([&](auto) {
            TConvexHull hull;
            add(hull, points);
            const bool closed = hull.Construct() == 0;
            // Only exact signs may find flat what the 0.5 does not.
            ASSERT_TRUE(closed == (promised(points) == 0) || (!closed && i != 0 && TConvexHullTest::exact(hull))) << i;
            made += closed ? 1 : 0;
            exact += TConvexHullTest::exact(hull) ? 1 : 0;
            ASSERT_TRUE(!closed || TConvexHullTest::count(hull) != "broken") << i;
            const std::string text = closed ? TConvexHullTest::text(hull) : "none";
            ASSERT_EQ(text, first.empty() ? text : first) << i;
            first = text;
        });
    }
    EXPECT_GT(made, 2000);  // of the one level that every processor has
    EXPECT_GT(exact, 200);
}

TEST(TConvexHullConstruct, KnowsTheSignThatRoundingHides)
{
    // The double next to 1 / 3 lies below it, by a third of the step to the one above.
    const double third = 1.0 / 3, more = std::nextafter(third, 1);
    const std::pair<Point, int> rows[] = {
        {{third, third, third}, 1}, {{third, third, more}, 0}, {{third, more, more}, -1}};
    for (const auto &[p, sign] : rows)
        EXPECT_EQ(teska::exact_volume_sign({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, p), sign);
}

TEST(TConvexHullConstruct, KeptRefusesWhatIsFlatByTheFirstTriangleAndTheFixedThreshold)
{
    Points small, pairs;
    for (const Point &p : tetrahedron) {
        small.push_back(p / 125);
        pairs.insert(pairs.end(), 2, p);
    }
    const Points none[] = {{},
                           {{4, 5, 6}},
                           {{0, 0, 0}, {10, 0, 0}, {0, 10, 0}},
                           Points(4, {1, 1, 1}),
                           {{0, 0, 0}, {1, 2, 3}, {2, 4, 6}, {5, 10, 15}},
                           lattice(5, 10, 1),
                           {{nan, 0, 0}, {10, 0, infinity}, {0, -infinity, 0}, {0, 0, 10}, {9, 9, 9}},
                           small,
                           pairs};
    for (const Points &points : none) {
        SCOPED_TRACE(&points - none);
        TConvexHull hull;
        add(hull, points);
        EXPECT_EQ(hull.Construct(), -1);
        EXPECT_EQ(hull.IsEmpty() != 0, points.empty());
        EXPECT_EQ(hull.InsideHull(1, 1, 1), 0);
        add(hull, lattice(2, 100, 2));
        EXPECT_EQ(hull.Construct(), 0);
        EXPECT_EQ(hull.InsideHull(99, 99, 99), 1);
        for (const Point &p : points)
            EXPECT_EQ(hull.InsideHull(p.x, p.y, p.z), std::isfinite(p.x + p.y + p.z) ? 1 : 0);
    }
}

// Points added and constructed again, on top of an earlier hull by either kind of steps, make the hull of the vertices
// left then. Many are torn by loops apart from each other or by one that meets itself.
TEST(TConvexHullConstruct, ComesOutAsIfItsVerticesWereAddedAtOnce)
{
    int exact = 0, both = 0, step = teska_test::runs_slowly() ? 7 : 1;
    for (int i = 0; i < 240; i += step) {
        const double radius = (std::array{4, 9, 60, 60, 3, 30})[static_cast<std::size_t>(i % 6)];
        const Point size{radius, radius, i % 24 < 3 ? 40 * radius : radius};
        Points points = cloud(i % 60 == 11 ? 2000 : i < 200 ? 20 + i : 4 * i, size, i % 16 > 11);
        for (Point &p : points)
            p.z += i % 20 == 0 ? 3000 : 0;
        std::string first;
        const auto check = [&](const TConvexHull &hull, const Points &of) {
            EXPECT_NE(TConvexHullTest::count(hull), "broken") << i;
            // Exact steps leave no point outside.
            for (const Point &p : of)
                ASSERT_TRUE(!TConvexHullTest::exact(hull) || hull.InsideHull(p.x, p.y, p.z)) << i;
        };
        teska_test::at_every_level([&](auto) {
            TConvexHull hull, at_once;
            add(hull, points);
            ASSERT_EQ(hull.Construct(), promised(points)) << i;
            exact += TConvexHullTest::exact(hull) ? 1 : 0;
            if (promised(points) == 0)
                check(hull, points);
            add(hull, cloud(30 + i, {radius * 1.02, radius * 1.02, radius}));
            const Points left = TConvexHullTest::points(hull);
            add(at_once, left);
            ASSERT_EQ(hull.Construct(), promised(left)) << i;
            ASSERT_EQ(at_once.Construct(), promised(left)) << i;
            if (promised(left) != 0)
                return;
            ++both;
            EXPECT_EQ(TConvexHullTest::places(hull), TConvexHullTest::places(at_once)) << i;
            check(hull, left);
            const std::string text = TConvexHullTest::text(hull);
            EXPECT_EQ(text, first.empty() ? text : first) << i;
            first = text;
        });
    }
    EXPECT_GT(exact * step, 10);
    EXPECT_GT(both * step, 40);
}

TEST(TConvexHullInsideHull, CountsTheSurfaceAsInside)
{
    // Six times the volume over a triangle of area 50 reaches 0.5 at a height of 0.005.
    const std::pair<Point, int> queries[] = {{{5, 5, 5}, 1},      {{10, 10, 10}, 1},    {{0, 5, 0}, 1},
                                             {{10.004, 5, 5}, 1}, {{10.006, 5, 5}, 0},  {{5, 5, -1}, 0},
                                             {{1e9, 5, 5}, 0},    {{5, -1e300, 5}, 0},  {{nan, 5, 5}, 0},
                                             {{5, nan, 5}, 0},    {{infinity, 5, 5}, 0}};
    TConvexHull cube;
    EXPECT_EQ(cube.InsideHull(0, 0, 0), 0);
    add(cube, lattice(2, 10, 2));
    EXPECT_EQ(cube.InsideHull(5, 5, 5), 0);
    cube.Construct();
    teska_test::at_every_level([&](auto) {
        for (const auto &[p, inside] : queries)
            EXPECT_EQ(cube.InsideHull(p.x, p.y, p.z), inside) << p.x << ", " << p.y << ", " << p.z;
    });
}

TEST(TConvexHullCopy, SharesTheListsWithItsSource)
{
    TConvexHull last;
    {
        TConvexHull first, second(first), third;
        add(second, lattice(2, 10, 2));
        add(third, tetrahedron);
        third = second;
        third = *&third;
        add(second, {{5, 5, 20}});
        EXPECT_EQ(third.Construct(), 0);
        EXPECT_EQ(first.InsideHull(5, 5, 19), 1);
        last = second;
    }
    TConvexHull copy;
    copy = last;
    add(copy, {{5, 5, 40}});
    EXPECT_EQ(last.Construct(), 0);
    EXPECT_NE(TConvexHullTest::text(last).find(" 9 "), std::string::npos) << "numbers go on in a copy";
    EXPECT_EQ(TConvexHullTest::count(last), "9 / 21 / 14");
}

TEST(TConvexHullPrint, WritesThePictureOfTheFacesAboveOrUprightAndTheLists)
{
    TConvexHull hull;
    add(hull, {{2, -30, 0}, {12, -30, 0}, {2, -10, 0}, {2, -25, 10}});
    hull.Construct();
    EXPECT_EQ(TConvexHullTest::picture(hull),
              "%!PS\n%%BoundingBox: 2 -30 12 -10\n%%HiResBoundingBox: 2 -30 12 -10\n0 setlinewidth\n"
              "-2.000000 30.000000 translate\n\n%% Vertices:\tV = 4\n%% index:\tx\ty\tz\n"
              "%%     3:\t2.000\t-25.000\t10.000\n%%     0:\t2.000\t-30.000\t0.000\n"
              "%%     1:\t12.000\t-30.000\t0.000\n%%     2:\t2.000\t-10.000\t0.000\n\n"
              "%% Faces:\tF = 4\n%% Visible faces only: \n"
              "%% vnums:  0  1  3\nnewpath\n2.000\t-30.000\tmoveto\n12.000\t-30.000\tlineto\n"
              "2.000\t-25.000\tlineto\nclosepath stroke\n\n"
              "%% vnums:  1  2  3\nnewpath\n12.000\t-30.000\tmoveto\n2.000\t-10.000\tlineto\n"
              "2.000\t-25.000\tlineto\nclosepath stroke\n\n"
              "%% vnums:  2  0  3\nnewpath\n2.000\t-10.000\tmoveto\n2.000\t-30.000\tlineto\n"
              "2.000\t-25.000\tlineto\nclosepath stroke\n\n"
              "%% List of all faces: \n%%\tv0\tv1\tv2\t(vertex indices)\n%%\t2\t1\t0\n%%\t0\t1\t3\n"
              "%%\t1\t2\t3\n%%\t2\t0\t3\n\n%% Edges:\tE = 6\n\nshowpage\n\n"
              "\t2.000\t-25.000\t10.000\n");
    // Kept: the number of vertex 0 is blank.
    EXPECT_EQ(TConvexHullTest::lists(hull),
              "\nHead vertex 3 =# :\nVertex List\n"
              "  addr#\t  vnum    3   ( 2.000,-25.000,10.000)   active:  0   dup:    0   mark: 1\n"
              "  addr#\t  vnum    0   ( 2.000,-30.000, 0.000)   active:  0   dup:    0   mark: 1\n"
              "  addr#\t  vnum    1   (12.000,-30.000, 0.000)   active:  0   dup:    0   mark: 1\n"
              "  addr#\t  vnum    2   ( 2.000,-10.000, 0.000)   active:  0   dup:    0   mark: 1\n"
              "Edge List\n"
              "  addr:#\tadj:##  endpts:       1  del:  0\n  addr:#\tadj:##  endpts:   1   2  del:  0\n"
              "  addr:#\tadj:##  endpts:   2      del:  0\n  addr:#\tadj:##  endpts:       3  del:  0\n"
              "  addr:#\tadj:##  endpts:   1   3  del:  0\n  addr:#\tadj:##  endpts:   2   3  del:  0\n"
              "Face List\n"
              "  addr:#  edges:###  vert:   2   1      vis: 0\n  addr:#  edges:###  vert:       1   3  vis: 0\n"
              "  addr:#  edges:###  vert:   1   2   3  vis: 0\n  addr:#  edges:###  vert:   2       3  vis: 0\n");
    TConvexHullTest::check_damages(hull);
}

}  // namespace
