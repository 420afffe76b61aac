#include "p_bezierd_base.h"

#include "support/test.h"

#include "curves/segments.h"

#include <numbers>

using namespace teska_test;

namespace
{

struct Chain : teska::handle<poly_bezier, poly_bezier_kill> {
    explicit Chain(poly_bezier *p) : unique_ptr(p) {}
    operator poly_bezier *() const { return get(); }
};

constexpr double inf = HUGE_VAL;
const double nan_value = std::nan("");

// Segments of these degrees through x, y, x, y ..., each from the last point of the one before.
Chain chain(const std::vector<int> &degrees, const numbers &points)
{
    Chain p(poly_bezier_new(points[0], points[1]));
    std::size_t next = 2;
    for (const int degree : degrees) {
        double xs[3], ys[3];
        for (int k = 0; k < degree; ++k, next += 2) {
            xs[k] = points.at(next);
            ys[k] = points.at(next + 1);
        }
        EXPECT_EQ(poly_bezier_add(p, degree, xs, ys), 1);
    }
    return p;
}

Chain circle()
{
    constexpr double k = 0.5522847498307936;
    return chain({3, 3, 3, 3},
                 {1, 0, 1, k, k, 1, 0, 1, -k, 1, -1, k, -1, 0, -1, -k, -k, -1, 0, -1, k, -1, 1, -k, 1, 0});
}

Chain parabola() { return chain({2}, {0, 0, 1, 2, 2, 0}); }

Chain random_chain(Generator &input, int segments, bool closed = false)
{
    std::vector<int> degrees;
    numbers points = {0.25, -0.5};
    for (int i = 0; i < segments; ++i) {
        const numbers more = random_numbers(input, 2 * (1 + i % 3));
        degrees.push_back(1 + i % 3);
        points.insert(points.end(), more.begin(), more.end());
    }
    if (closed)
        std::copy_n(points.begin(), 2, points.end() - 2);
    return chain(degrees, points);
}

Chain transformed(const Chain &p, const double (&matrix)[6])
{
    Chain image(poly_bezier_copy(p));
    EXPECT_EQ(poly_bezier_transform(image, matrix), 1);
    return image;
}

template <auto get>
point value(const Chain &p, double u)
{
    point q{};
    EXPECT_EQ(get(p, u, &q.x, &q.y), 1);
    return q;
}

const auto at = value<poly_bezier_get>, slope_at = value<poly_bezier_slope>;

// The angle in degrees by which the chain turns from u to v.
double turn(const Chain &p, double u, double v)
{
    const point a = slope_at(p, u), b = slope_at(p, v);
    return std::fabs(std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y)) * 180 / std::numbers::pi;
}

struct Nearest {
    double u = 0, dist = 0;
};

Nearest nearest(const Chain &p, double x, double y)
{
    Nearest found;
    EXPECT_EQ(poly_bezier_nearest(p, x, y, &found.u, &found.dist), 1);
    return found;
}

numbers meetings(const Chain &p, double x0, double y0, double x1, double y1)
{
    const double line[] = {x0, y0, x1, y1};
    numbers us(static_cast<std::size_t>(std::max(poly_bezier_line(p, line, nullptr, 0), 0)));
    EXPECT_EQ(poly_bezier_line(p, line, us.data(), static_cast<int>(us.size())), static_cast<int>(us.size()));
    return us;
}

std::vector<point> polyline(const Chain &p, double bound)
{
    double *points = nullptr;
    const int sections = poly_bezier_vector(p, bound, &points);
    std::vector<point> line;
    for (int i = 0; points != nullptr && i <= sections; ++i)
        line.push_back({points[2 * i], points[2 * i + 1]});
    std::free(points);
    return line;
}

numbers box_of(const Chain &p)
{
    numbers box(4);
    EXPECT_EQ(poly_bezier_box(p, box.data()), 1);
    return box;
}

// All control points, which say what a chain is.
numbers controls(const Chain &p)
{
    numbers all;
    for (int i = 0; i < poly_bezier_num(p); ++i) {
        double xy[8] = {};
        all.push_back(poly_bezier_segment(p, i, xy, xy + 4));
        all.insert(all.end(), xy, xy + 8);
    }
    return all;
}

struct Row {
    numbers xs, ys;
    // A fit, which must pass all points within the bound.
    Chain fit(double bound, double corner, bool closed) const
    {
        Chain p(poly_bezier_fit(static_cast<int>(xs.size()), xs.data(), ys.data(), bound, corner, closed));
        for (std::size_t i = 0; i < xs.size(); ++i)
            EXPECT_LE(nearest(p, xs[i], ys[i]).dist, bound * (1 + 1e-9)) << i;
        return p;
    }
    Chain spline(bool closed) const
    {
        return Chain(poly_bezier_spline(static_cast<int>(xs.size()), xs.data(), ys.data(), closed));
    }
    Chain monotone() const { return Chain(poly_bezier_monotone(static_cast<int>(xs.size()), xs.data(), ys.data())); }
};

Row rising_row(Generator &input, int n)
{
    Row row{random_numbers(input, n), random_numbers(input, n)};
    std::ranges::sort(row.xs);
    return row;
}

}  // namespace

TEST(PolyBezier, WithoutSegmentsIsItsStart)
{
    const Chain p = chain({}, {3, 4});
    double y = 0;
    poly_bezier *parts[2];
    ASSERT_EQ(poly_bezier_split(p, 0, &parts[0], &parts[1]), 1);
    for (const Chain &same : {Chain(parts[0]), Chain(parts[1]), chain({}, {3, 4})})
        EXPECT_EQ(at(same, 7) - point({3, 4}), 0);
    const std::vector<int> answers = {poly_bezier_num(p),         poly_bezier_closed(p),  poly_bezier_winding(p, 3, 4),
                                      poly_bezier_join(p, p),     poly_bezier_reverse(p), poly_bezier_get_y(p, 3, &y),
                                      poly_bezier_get_y(p, 2, &y)};
    EXPECT_EQ(answers, (std::vector{0, 0, 0, 1, 1, 1, 2}));
    EXPECT_EQ((numbers{slope_at(p, 0).x, poly_bezier_length(p, 0, 1), poly_bezier_at_length(p, 1), poly_bezier_area(p),
                       nearest(p, 0, 0).dist, y}),
              (numbers{0, 0, 0, 0, 5, 4}));
    EXPECT_EQ(box_of(p), (numbers{3, 4, 3, 4}));
    EXPECT_EQ(meetings(p, 3, 4, 5, 6), numbers{});
    EXPECT_EQ(polyline(p, 0.1).size(), 1U);
}

TEST(PolyBezierChange, AppendsJoinsReversesMovesAndDivides)
{
    Generator input(2);
    for (int round = 0; round < 60; ++round) {
        const Chain p = random_chain(input, 6, round % 2 == 0), rebuilt = chain({}, {0.25, -0.5});
        const double u = round < 7 ? round : input.between(0, 6);
        const Chain back = transformed(p, {2, -1, 0.5, 0.25, 3, -7});
        EXPECT_EQ(poly_bezier_reverse(back), 1);
        const point q = at(p, u);
        EXPECT_LT(at(back, 6 - u) - point({2 * q.x - q.y + 0.5, 0.25 * q.x + 3 * q.y - 7}), 2e-14);
        for (int i = 0; i < 6; ++i) {
            const Segment b(poly_bezier_get_bezier(p, i));
            ASSERT_EQ(b->degree, 3);
            EXPECT_EQ(poly_bezier_append(rebuilt, b.get()), 1);
        }
        EXPECT_LT(at(rebuilt, u) - q, 1e-15);

        poly_bezier *parts[2];
        ASSERT_EQ(poly_bezier_split(p, u, &parts[0], &parts[1]), 1);
        const Chain first(parts[0]), second(parts[1]);
        const int n = poly_bezier_num(first), joint = static_cast<int>(u);
        EXPECT_EQ(n, static_cast<int>(std::ceil(u)));
        EXPECT_EQ(n + poly_bezier_num(second), 6 + (u > joint ? 1 : 0));
        for (const double s : {0.0, 0.3, 0.9}) {
            EXPECT_LT(at(first, joint + s) - at(p, joint + s * (u - joint)), 1e-14);
            EXPECT_LT(at(second, s) - at(p, u + s * (1 - (u - joint))), 1e-14);
        }
        EXPECT_NEAR(poly_bezier_length(first, 0, n), poly_bezier_length(p, 0, u), 1e-11);
        // Put together again, and onto itself.
        EXPECT_EQ(at(first, n) - at(second, 0), 0);
        numbers both = controls(first);
        const numbers more = controls(second);
        both.insert(both.end(), more.begin(), more.end());
        EXPECT_EQ(poly_bezier_join(first, second), 1);
        EXPECT_EQ(controls(first), both);
        ASSERT_EQ(poly_bezier_closed(p), round % 2 == 0 ? 1 : 0);
        if (poly_bezier_closed(p) == 1) {
            EXPECT_EQ(poly_bezier_join(p, p), 1);
            EXPECT_LT(at(p, 6 + u) - q, 1e-14);
            EXPECT_NEAR(poly_bezier_length(p, 6, 12), poly_bezier_length(rebuilt, 0, 6), 1e-11);
        }
    }
    const Chain p = chain({1}, {0, 0, 1, 0});
    EXPECT_EQ(poly_bezier_append(p, segment({1, 2, 2}, {0, 1, 3}).get()), 1);
    EXPECT_EQ(at(p, 1.5) - point({1.75, 1.25}), 0);
    EXPECT_EQ(slope_at(p, 1.5) - point({1, 3}), 0);
    EXPECT_EQ(at(p, nan_value) - at(p, -1), 0);
}

TEST(PolyBezierGetY, FindsEveryXOfARisingChainToTheLastDigits)
{
    Generator input(4);
    const Chain p = chain({}, {-1, 2});
    double x = -1, y = 0;
    for (int i = 0; i < 31; ++i) {
        // Vertical and horizontal ends among them, where x stands still.
        const double a = x + (i % 2) * input.unit(), b = a + (i % 5 != 0) * input.unit();
        const double xs[] = {a, b, x = b + 1e-3 + input.unit()}, ys[] = {input.unit(), input.unit(), input.unit()};
        poly_bezier_add(p, 1 + i % 3, xs + 2 - i % 3, ys);
    }
    for (int i = 0; i <= 1000; ++i) {
        const point q = at(p, 0.031 * i), d = slope_at(p, 0.031 * i);
        ASSERT_EQ(poly_bezier_get_y(p, q.x, &y), 1);
        EXPECT_NEAR(y, q.y, 1e-14 + 1e-14 * std::fabs(d.y / d.x)) << i;
    }
    EXPECT_EQ(poly_bezier_get_y(p, -inf, &y), 2);
    EXPECT_EQ(y, 2);
    EXPECT_EQ(poly_bezier_get_y(p, std::nextafter(x, inf), &y), 2);
    EXPECT_EQ(y, at(p, 31).y);
    Reports reports;
    EXPECT_EQ(poly_bezier_reverse(p), 1);
    const Chain turning = chain({2}, {0, 0, 2, 1, 1, 2}), upright = chain({1}, {1, 0, 1, 1});
    for (const Chain *const not_rising : {&p, &turning, &upright})
        EXPECT_EQ(poly_bezier_get_y(*not_rising, 1, &y), 0);
    EXPECT_EQ(reports.take(), lines(3, "poly_bezier_get_y: chain does not rise in x"));
    EXPECT_EQ(poly_bezier_get_y(transformed(p, {-1, 0, 0, 0, 1, 0}), 1, &y), 1);
    EXPECT_EQ(y, 2);
}

TEST(PolyBezierLength, IsRightAtCuspsOverTurningLinesAndBetweenLongSegments)
{
    const Chain cusp = chain({3}, {0, 0, 1, 1, 0, 1, 1, 0}), arch = chain({3}, {0, 0, 0, 1, 1, 1, 1, 0});
    EXPECT_NEAR(poly_bezier_length(arch, 0.25, 0), 0.59375, 1e-14);
    EXPECT_NEAR(poly_bezier_length(cusp, 0, 1), 2 * std::numbers::sqrt2 - 1, 2e-9);
    EXPECT_EQ(poly_bezier_at_length(cusp, nan_value), 0);
    EXPECT_NEAR(poly_bezier_at_length(arch, 0.59375), 0.25, 1e-9);
    EXPECT_NEAR(poly_bezier_length(chain({2}, {0, 0, 3, 0, 0, 0}), 0, 1), 3, 3e-9);
    // A short segment after long ones keeps its digits.
    const Chain p = chain({1, 1, 2, 1}, {0, 0, 1e9, 1e9, 1e9, 3, 1e9, 4, 1e9 + 2, 3, 7, 8});
    const double alone = poly_bezier_length(chain({2}, {1e9, 3, 1e9, 4, 1e9 + 2, 3}), 0, 1);
    EXPECT_NEAR(poly_bezier_length(p, 2, 3.0000000001), alone + 0.1, 1e-5);
    EXPECT_EQ(poly_bezier_length(p, 3, 2), alone);

    Generator input(5);
    const Chain q = random_chain(input, 6);
    for (double u = 0; u < 6; u += 0.1)
        EXPECT_NEAR(poly_bezier_at_length(q, poly_bezier_length(q, 0, u) + poly_bezier_length(q, 9, 6)), u, 1e-9);
}

TEST(PolyBezier, IsBoxedAndAsNearAsItsSamples)
{
    Generator input(7);
    for (int round = 0; round < 60; ++round) {
        const Chain p = random_chain(input, 1 + round % 7);
        const int n = poly_bezier_num(p);
        const bool on = round % 4 == 0;
        const point q = on ? at(p, input.between(0, n)) : point{input.between(-2, 2), input.between(-2, 2)};
        const numbers box = box_of(p);
        const Nearest found = nearest(p, q.x, q.y);
        EXPECT_NEAR(at(p, found.u) - q, found.dist, 1e-14);
        EXPECT_LE(found.dist, on ? 1e-14 : inf);
        numbers within(4, inf);
        for (int i = 0; i <= 1000 * n; ++i) {
            const point r = at(p, i / 1000.0);
            const double from_sides[] = {r.x - box[0], r.y - box[1], box[2] - r.x, box[3] - r.y};
            for (std::size_t side = 0; side < 4; ++side)
                within[side] = std::min(within[side], from_sides[side]);
            EXPECT_LE(found.dist, r - q + 1e-14);
        }
        for (const double least : within)
            EXPECT_TRUE(least >= -1e-15 && least < 1e-5) << least;
    }
    // The first of equals: both arms of a tent, both ends of a closed chain, a point met twice.
    EXPECT_EQ(nearest(chain({1, 1}, {-1, 0, 0, 1, 1, 0}), 0, 0).u, 0.5);
    EXPECT_EQ(nearest(circle(), 2, 0).u, 0);
    EXPECT_EQ(nearest(circle(), 0, 0).u, 0);
    EXPECT_NEAR(nearest(chain({1, 1, 1}, {0, 0, 2, 2, 2, 0, 0, 2}), 1, 1).u, 0.5, 1e-15);
    EXPECT_EQ(poly_bezier_nearest(circle(), 1, 1, nullptr, nullptr), 1);
}

TEST(PolyBezierLine, CountsTouchesJointsAndSegmentsOnTheLineOnce)
{
    EXPECT_EQ(meetings(circle(), 1, -5, 1, 5), (numbers{0}));
    EXPECT_EQ(meetings(circle(), -5, 0, 5, 0), (numbers{0, 2}));
    EXPECT_EQ(meetings(chain({1, 1, 3, 1}, {-1, 1, 0, 0, 1, 0, 2, 0, 2, 0, 3, 0, 4, 1}), 5, 0, 6, 0),
              (numbers{1, 2, 3}));
    EXPECT_EQ(meetings(chain({2}, {0, 0, 0, 0, 0, 0}), 0, 0, 1, 0), (numbers{0}));
    double us[] = {9, 9};
    EXPECT_EQ(poly_bezier_line(circle(), numbers{0, 0, 1, 0}.data(), us, 1), 2);
    EXPECT_EQ(us[1], 9);
    Reports reports;
    EXPECT_EQ(poly_bezier_line(circle(), numbers{1, 1, 1, 1}.data(), us, 1), -1);
    EXPECT_EQ(reports.take(), lines{"poly_bezier_line: illegal line"});
    // Turned, where nothing is exact: the touch of a parabola, and that of a joint.
    for (int i = 0; i < 50; ++i) {
        const double c = std::cos(0.1 * i), s = std::sin(0.1 * i), x = 0.3 - s, y = c - 0.2;
        for (const bool round : {false, true}) {
            const Chain p = transformed(round ? circle() : parabola(), {c, -s, 0.3, s, c, -0.2});
            const numbers found = meetings(p, x, y, x + c, y + s);
            ASSERT_EQ(found.size(), 1U) << i << round;
            EXPECT_NEAR(found[0], round ? 1 : 0.5, 2e-7);
        }
    }
}

// At random points, too, in the hashes.
TEST(PolyBezierWinding, CountsTheCrossingsOfARayAndTheAreaIsSigned)
{
    EXPECT_NEAR(poly_bezier_area(parabola()), -4.0 / 3, 1e-15);
    EXPECT_NEAR(poly_bezier_area(circle()), 3.1424723327, 1e-10);
    // The ray through joints, turning points and a side.
    const Chain round = circle(), step = chain({1, 1, 1, 1, 1}, {0, 0, 2, 0, 2, 1, 1, 1, 1, 2, 0, 2});
    const std::vector<int> found = {poly_bezier_winding(round, -0.5, 0), poly_bezier_winding(round, -0.5, 1),
                                    poly_bezier_winding(round, nan_value, 0), poly_bezier_winding(step, 0.5, 1),
                                    poly_bezier_winding(step, 1.5, 1.5)};
    EXPECT_EQ(found, (std::vector{1, 0, 0, 1, 0}));
    // It turns twice in y, at 0.8 and only just after its end.
    const Chain late = chain({3}, {0, 0, 1 / 3.0, -0.28, 2 / 3.0, -0.755 / 3, 1, -0.745 / 3});
    EXPECT_EQ(poly_bezier_winding(late, 0.90, -0.2495), 1);
    EXPECT_EQ(poly_bezier_winding(late, 0.95, -0.2495), 0);
}

TEST(PolyBezierVector, KeepsTheBoundAndTheEnds)
{
    EXPECT_EQ(polyline(chain({3}, {0, 0, 0, 1, 1, 1, 1, 0}), 0.01).size(), 12U);
    Generator input(10);
    for (int round = 0; round < 60; ++round) {
        // Straight segments that overshoot their ends among them.
        const Chain p = round == 0 ? chain({2}, {0, 0, 5, 5, 1, 1}) : random_chain(input, 3);
        const double bound = input.between(1e-4, 0.1);
        const std::vector<point> line = polyline(p, bound);
        const Chain straight = chain({}, {line[0].x, line[0].y});
        for (const point &q : line)
            poly_bezier_add(straight, 1, &q.x, &q.y);
        for (int k = 0; k <= 200 * poly_bezier_num(p); ++k) {
            const point q = at(p, k / 200.0);
            EXPECT_LE(nearest(straight, q.x, q.y).dist, bound);
            EXPECT_TRUE(k % 200 != 0 || std::ranges::any_of(line, [&](const point &r) { return r - q == 0; })) << k;
        }
    }
}

TEST(PolyBezierFit, TakesFewSmoothSegments)
{
    Row spiral;
    for (int i = 0; i < 2000; ++i) {
        spiral.xs.push_back(0.1 * i * std::cos(0.01 * i));
        spiral.ys.push_back(0.1 * i * std::sin(0.01 * i));
    }
    for (const auto &[bound, most] : {std::pair(1.0, 12), {0.1, 28}, {0.01, 40}, {1e-3, 56}}) {
        const Chain p = spiral.fit(bound, 180, false);
        EXPECT_LE(poly_bezier_num(p), most);
        for (int i = 1; i < poly_bezier_num(p); ++i)
            EXPECT_LT(turn(p, std::nextafter(i, 0.0), i), 1e-5);
    }
    Generator input(11);
    for (int round = 0; round < 40; ++round) {
        // The same from either end; a closed row has its start kept.
        Row row{random_numbers(input, 2 + round), random_numbers(input, 2 + round)};
        const double bound = input.between(0.001, 1);
        const bool closed = round % 2 != 0;
        const numbers there = controls(row.fit(bound, 5 * round, closed));
        for (numbers *const along : {&row.xs, &row.ys})
            std::reverse(along->begin() + (closed ? 1 : 0), along->end());
        const Chain back = row.fit(bound, 5 * round, closed);
        EXPECT_EQ(poly_bezier_reverse(back), 1);
        const numbers again = controls(back);
        ASSERT_EQ(again.size(), there.size()) << round;
        for (std::size_t i = 0; i < there.size(); ++i)
            EXPECT_NEAR(again[i], there[i], 1e-9) << round;
    }
    const Chain two = Row{{0, 0, 3, 3}, {0, 0, 6, 6}}.fit(1e-3, 0, false);
    EXPECT_EQ(controls(two), (numbers{3, 0, 1, 2, 3, 0, 2, 4, 6}));
}

TEST(PolyBezierFit, FindsTheCornersAndRoundsTheJoint)
{
    Row square;
    for (int i = 0; i < 80; ++i) {
        const double way = 0.05 * (i % 20), x[] = {way, 1, 1 - way, 0}, y[] = {0, way, 1, 1 - way};
        square.xs.push_back(x[i / 20]);
        square.ys.push_back(y[i / 20]);
    }
    for (const bool closed : {false, true})
        EXPECT_EQ(poly_bezier_num(square.fit(0.01, 45, closed)), 4);
    EXPECT_NEAR(poly_bezier_area(square.fit(0.01, 45, true)), 1, 1e-9);
    const Chain smooth = square.fit(0.01, 180, true);
    EXPECT_EQ(poly_bezier_closed(smooth), 1);
    EXPECT_LT(turn(smooth, 99, 0), 1e-9);
    EXPECT_EQ(controls(square.fit(0.01, nan_value, true)), controls(smooth));
}

// That its second derivative does not jump is in the hashes.
TEST(PolyBezierSpline, IsSmoothThroughItsPoints)
{
    Generator input(12);
    for (int n = 2; n < 30; ++n) {
        const bool closed = n > 2 && (n % 2 == 0 || n == 3);
        const Row row{random_numbers(input, n), random_numbers(input, n)};
        const Chain p = row.spline(closed);
        ASSERT_EQ(poly_bezier_num(p), closed ? n : n - 1);
        EXPECT_EQ(poly_bezier_closed(p), closed ? 1 : 0);
        for (int i = 0; i < n; ++i)
            EXPECT_EQ(at(p, i) - point({row.xs.data()[i], row.ys.data()[i]}), 0);
        for (int i = 1; i < n - 1; ++i)
            EXPECT_LT(turn(p, std::nextafter(i, 0.0), i), 1e-5);
        EXPECT_TRUE(!closed || turn(p, 99, 0) < 1e-5) << n;
    }
    Reports reports;
    EXPECT_EQ(Row({{0, 0, 1}, {0, 0, 1}}).spline(false).get(), nullptr);
    EXPECT_EQ(Row({{0, 1, 0}, {0, 1, 0}}).spline(true).get(), nullptr);
    EXPECT_EQ(reports.take(), lines(2, "poly_bezier_spline: equal points"));
}

TEST(PolyBezierMonotone, NeverOvershootsAndRisesWithItsPoints)
{
    Generator input(13);
    for (int n = 2; n < 40; ++n) {
        const Row row = rising_row(input, n);
        const Chain q = row.monotone();
        for (std::size_t k = 0; k + 1 < row.xs.size(); ++k) {
            double last = row.ys[k], y = 0;
            for (int i = 0; i <= 20; ++i, last = y) {
                const double x = i == 20 ? row.xs[k + 1] : row.xs[k] + (row.xs[k + 1] - row.xs[k]) * i / 20;
                ASSERT_EQ(poly_bezier_get_y(q, x, &y), 1);
                EXPECT_GE((y - last) * (row.ys[k + 1] - row.ys[k]), -1e-15);
            }
            EXPECT_EQ(last, row.ys[k + 1]);
        }
    }
}

// What holds for a chain of ordinary size holds, bit for bit, for one that is 2^910 times larger or smaller.
TEST(PolyBezier, DoesNotDependOnTheUnitOfItsCoordinates)
{
    Generator input(14);
    for (const double f : {0x1p910, 0x1p-910}) {
        const double matrix[] = {f, 0, 0, 0, f, 0};
        const Chain p = random_chain(input, 6), q = transformed(p, matrix);
        EXPECT_EQ(poly_bezier_length(q, 0.5, 4.7), f * poly_bezier_length(p, 0.5, 4.7));
        EXPECT_EQ(poly_bezier_at_length(q, 2 * f), poly_bezier_at_length(p, 2));
        for (int i = 0; i < 20; ++i) {
            const double x = input.between(-1, 1), y = input.between(-1, 1);
            const Nearest a = nearest(p, x, y), b = nearest(q, x * f, y * f);
            EXPECT_EQ(std::pair(b.u, b.dist), std::pair(a.u, a.dist * f));
            EXPECT_EQ(meetings(q, x * f, 0, 0, y * f), meetings(p, x, 0, 0, y));
            EXPECT_EQ(poly_bezier_winding(q, x * f, y * f), poly_bezier_winding(p, x, y));
        }
        for (std::size_t side = 0; side < 4; ++side)
            EXPECT_EQ(box_of(q)[side], box_of(p)[side] * f);
        EXPECT_EQ(polyline(q, 0.01 * f).size(), polyline(p, 0.01).size());
        const Row row = rising_row(input, 9);
        Row scaled = row;
        for (std::size_t i = 0; i < 9; ++i)
            scaled.xs[i] *= f, scaled.ys[i] *= f;
        EXPECT_EQ(controls(scaled.monotone()), controls(transformed(row.monotone(), matrix)));
        EXPECT_EQ(controls(scaled.spline(false)), controls(transformed(row.spline(false), matrix)));
    }
    for (int i = 0; i < 50; ++i) {
        const double f = 0x1p1022, x = input.between(-1, 1), y = input.between(-1, 1);
        const Chain p = random_chain(input, 6);
        EXPECT_EQ(meetings(transformed(p, {f, 0, 0, 0, f, 0}), x * f, 0, 0, y * f), meetings(p, x, 0, 0, y));
    }
}

// Nothing hangs, traps or becomes NaN where coordinates meet the ends of what doubles hold, or each other.
TEST(PolyBezier, EndsWithAnAnswerAtTheLimitsOfDoubles)
{
    const double values[] = {0, DBL_MAX, -DBL_MAX, 5e-324, 1e300, -1e-300, 1, DBL_MIN};
    Generator input(15);
    for (int round = 0; round < 300; ++round) {
        const auto any = [&] { return values[input.below(round % 3 == 0 ? 3 : 8)]; };
        const auto some = [&] { return numbers{any(), any(), any(), any(), any()}; };
        const Chain p = chain({}, some());
        for (int i = 0; i < 4; ++i)
            poly_bezier_add(p, 1 + input.below(3), some().data(), some().data());
        const double x = any(), y = any();
        const Nearest found = nearest(p, x, y);
        Reports quiet;
        const Row row{some(), some()}, apart{{-DBL_MAX, -1e-300, 5e-324, 1e-323, 1e308}, some()};
        numbers all = {found.u, found.dist, slope_at(p, 0).x, slope_at(p, 2.5).y, at(p, 1.3).x, poly_bezier_area(p)};
        all.insert(all.end(), {poly_bezier_length(p, 0.3, 3.9), poly_bezier_at_length(p, any())});
        for (const Chain &built : {Chain(poly_bezier_fit(5, row.xs.data(), row.ys.data(), 1e290, 30, round % 2)),
                                   row.spline(round % 2 != 0), apart.monotone()})
            for (const double value : built ? controls(built) : numbers{})
                EXPECT_TRUE(std::isfinite(value)) << round;
        for (const numbers &values_of : {all, box_of(p), x != y ? meetings(p, x, y, y, x) : numbers{}})
            EXPECT_TRUE(std::ranges::none_of(values_of, [](double v) { return std::isnan(v); })) << round;
    }
}
