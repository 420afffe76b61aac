#include "p_bezierd_base.h"

#include "support/reports.h"

#include "curves/segments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

using namespace teska_test;

namespace
{

using Chain = std::unique_ptr<poly_bezier, poly_bezier *(*)(poly_bezier *)>;

constexpr double inf = HUGE_VAL;
const double nan_value = std::nan("");

Chain own(poly_bezier *p) { return {p, poly_bezier_kill}; }

// Segments given by their control points, each after the last point of the one before.
struct Piece {
    numbers xs, ys;
};

Chain chain(double x, double y, const std::vector<Piece> &pieces)
{
    Chain p = own(poly_bezier_new(x, y));
    for (const Piece &piece : pieces)
        EXPECT_EQ(poly_bezier_add(p.get(), static_cast<int>(piece.xs.size()), piece.xs.data(), piece.ys.data()), 1);
    return p;
}

Chain segment_chain(const numbers &xs, const numbers &ys)
{
    return chain(xs[0], ys[0], {{{xs.begin() + 1, xs.end()}, {ys.begin() + 1, ys.end()}}});
}

Chain circle()
{
    constexpr double k = 0.5522847498307936;
    return chain(
        1, 0,
        {{{1, k, 0}, {k, 1, 1}}, {{-k, -1, -1}, {1, k, 0}}, {{-1, -k, 0}, {-k, -1, -1}}, {{k, 1, 1}, {-1, -k, 0}}});
}

// Degrees 1, 2, 3 in turn.
Chain random_chain(Generator &input, int segments, bool closed = false)
{
    Chain p = own(poly_bezier_new(0.25, -0.5));
    for (int i = 0; i < segments; ++i) {
        numbers xs = random_numbers(input, 1 + i % 3), ys = random_numbers(input, 1 + i % 3);
        if (closed && i + 1 == segments) {
            xs.back() = 0.25;
            ys.back() = -0.5;
        }
        poly_bezier_add(p.get(), 1 + i % 3, xs.data(), ys.data());
    }
    return p;
}

Chain scaled(const Chain &p, double factor)
{
    Chain image = own(poly_bezier_copy(p.get()));
    const double matrix[] = {factor, 0, 0, 0, factor, 0};
    EXPECT_EQ(poly_bezier_transform(image.get(), matrix), 1);
    return image;
}

point at(const Chain &p, double u)
{
    point q{};
    EXPECT_EQ(poly_bezier_get(p.get(), u, &q.x, &q.y), 1);
    return q;
}

point slope_at(const Chain &p, double u)
{
    point d{};
    EXPECT_EQ(poly_bezier_slope(p.get(), u, &d.x, &d.y), 1);
    return d;
}

// The point by repeated interpolation of the control points the chain tells.
point model_at(const Chain &p, double u)
{
    double xs[4], ys[4];
    const int i = std::min(static_cast<int>(u), poly_bezier_num(p.get()) - 1);
    const int degree = poly_bezier_segment(p.get(), i, xs, ys);
    return {static_cast<double>(casteljau(xs, degree, u - i)), static_cast<double>(casteljau(ys, degree, u - i))};
}

struct Nearest {
    double u, dist;
};

Nearest nearest(const Chain &p, double x, double y)
{
    Nearest found{};
    EXPECT_EQ(poly_bezier_nearest(p.get(), x, y, &found.u, &found.dist), 1);
    return found;
}

numbers meetings(const Chain &p, double x0, double y0, double x1, double y1)
{
    const double line[] = {x0, y0, x1, y1};
    const int count = poly_bezier_line(p.get(), line, nullptr, 0);
    numbers us(static_cast<std::size_t>(std::max(count, 0)));
    EXPECT_EQ(poly_bezier_line(p.get(), line, us.data(), count), count);
    return us;
}

std::vector<point> polyline(const Chain &p, double bound)
{
    double *points = nullptr;
    const int sections = poly_bezier_vector(p.get(), bound, &points);
    std::vector<point> line;
    for (int i = 0; points != nullptr && i <= sections; ++i)
        line.push_back({points[2 * i], points[2 * i + 1]});
    std::free(points);
    return line;
}

numbers box_of(const Chain &p)
{
    numbers box(4);
    EXPECT_EQ(poly_bezier_box(p.get(), box.data()), 1);
    return box;
}

// All control points, which say what a chain is.
numbers controls(const Chain &p)
{
    numbers all;
    for (int i = 0; i < poly_bezier_num(p.get()); ++i) {
        double xs[4] = {}, ys[4] = {};
        all.push_back(poly_bezier_segment(p.get(), i, xs, ys));
        all.insert(all.end(), xs, xs + 4);
        all.insert(all.end(), ys, ys + 4);
    }
    return all;
}

double distance_to_chord(point p, point a, point b)
{
    const double dx = b.x - a.x, dy = b.y - a.y, square = dx * dx + dy * dy;
    const double t = square > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / square, 0.0, 1.0) : 0.0;
    return p - point{a.x + t * dx, a.y + t * dy};
}

struct Row {
    numbers xs, ys;
    [[nodiscard]] int count() const { return static_cast<int>(xs.size()); }
    [[nodiscard]] Chain fit(double bound, double corner, bool closed) const
    {
        return own(poly_bezier_fit(count(), xs.data(), ys.data(), bound, corner, closed));
    }
};

Row spiral()
{
    Row row;
    for (int i = 0; i < 2000; ++i) {
        row.xs.push_back(0.1 * i * std::cos(0.01 * i));
        row.ys.push_back(0.1 * i * std::sin(0.01 * i));
    }
    return row;
}

// So many points on each side of a square, its first corner the first of them.
Row square(int points)
{
    Row row;
    for (int side = 0; side < 4; ++side)
        for (int i = 0; i < points; ++i) {
            const double way = static_cast<double>(i) / points, x[] = {way, 1, 1 - way, 0}, y[] = {0, way, 1, 1 - way};
            row.xs.push_back(x[side]);
            row.ys.push_back(y[side]);
        }
    return row;
}

void expect_within(const Row &row, const Chain &p, double bound)
{
    for (int i = 0; i < row.count(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        EXPECT_LE(nearest(p, row.xs[k], row.ys[k]).dist, bound * (1 + 1e-9)) << i;
    }
}

// The angle in degrees by which the chain turns at joint i.
double turn_at(const Chain &p, int i)
{
    const point a = slope_at(p, std::nextafter(i, 0.0)), b = slope_at(p, i);
    return std::fabs(std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y)) * 180 / std::numbers::pi;
}

}  // namespace

TEST(PolyBezier, GivesTheWorkedNumbers)
{
    const Chain arch = segment_chain({0, 0, 1, 1}, {0, 1, 1, 0});
    EXPECT_NEAR(poly_bezier_length(arch.get(), 0, 1), 2, 1e-14);
    EXPECT_NEAR(poly_bezier_length(arch.get(), 0.25, 0), 0.59375, 1e-14);
    EXPECT_NEAR(poly_bezier_at_length(arch.get(), 0.59375), 0.25, 1e-10);
    EXPECT_NEAR(poly_bezier_area(arch.get()), -0.6, 1e-15);
    EXPECT_EQ(box_of(arch), (numbers{0, 0, 1, 0.75}));
    EXPECT_EQ(nearest(arch, 0.5, 2).u, 0.5);
    EXPECT_EQ(nearest(arch, 0.5, 2).dist, 1.25);
    EXPECT_EQ(polyline(arch, 0.01).size(), 12U);
    EXPECT_NEAR(poly_bezier_area(circle().get()), 3.1424723327, 1e-10);
    EXPECT_NEAR(poly_bezier_length(circle().get(), 0, 4), 6.2840667923, 1e-10);
    EXPECT_NEAR(poly_bezier_area(segment_chain({0, 1, 2}, {0, 2, 0}).get()), -4.0 / 3, 1e-15);
    const Chain tone = segment_chain({0, 0.4, 0.6, 1}, {0, 0, 1, 1});
    for (const auto &[x, expected] : {std::pair(0.5, 0.5), std::pair(0.25, 0.1353071650), std::pair(0.0, 0.0)}) {
        double y = -1;
        EXPECT_EQ(poly_bezier_get_y(tone.get(), x, &y), 1);
        EXPECT_NEAR(y, expected, 1e-10);
    }
}

TEST(PolyBezier, RefusesWhatItsHeaderSaysAndStaysAsItWas)
{
    Reports reports;
    const Chain p = segment_chain({0, 1, 2}, {0, 2, 0});
    const numbers before = controls(p);
    const numbers good = {0, 1, 2, 3}, bad = {0, nan_value, 2, 3}, equal = {0, 0, 1, 1};
    const Segment wrong_degree = segment({2, 1, 2, 3, 4}, {0, 1, 1, 0, 0});
    const Segment elsewhere = segment({2, 1, 2}, {1, 1, 1}), infinite = segment({2, inf, 2}, {0, 1, 1});
    const double singular[] = {1, 0, 0, 0, nan_value, 0}, overflowing[] = {1e308, 0, 0, 0, 1, 0};
    const double point_line[] = {1, 1, 1, 1}, endless_line[] = {1, 1, inf, 1};
    double x = 5, y = 5, us[4];
    double *points = nullptr;
    const std::vector<std::pair<bool, const char *>> cases = {
        {poly_bezier_new(inf, 0) == nullptr, "poly_bezier_new: illegal point"},
        {poly_bezier_add(p.get(), 0, &good[0], &good[0]) == 0, "poly_bezier_add: illegal degree"},
        {poly_bezier_add(p.get(), 4, &good[0], &good[0]) == 0, "poly_bezier_add: illegal degree"},
        {poly_bezier_add(p.get(), 3, &good[0], &bad[0]) == 0, "poly_bezier_add: illegal point"},
        {poly_bezier_append(p.get(), wrong_degree.get()) == 0, "poly_bezier_append: illegal degree"},
        {poly_bezier_append(p.get(), infinite.get()) == 0, "poly_bezier_append: illegal point"},
        {poly_bezier_append(p.get(), elsewhere.get()) == 0, "poly_bezier_append: segment does not continue the chain"},
        {poly_bezier_join(p.get(), p.get()) == 0, "poly_bezier_join: segment does not continue the chain"},
        {poly_bezier_transform(p.get(), singular) == 0, "poly_bezier_transform: illegal matrix"},
        {poly_bezier_transform(p.get(), overflowing) == 0, "poly_bezier_transform: illegal matrix"},
        {poly_bezier_segment(p.get(), 1, us, us) == 0, "poly_bezier_segment: illegal index"},
        {poly_bezier_get_bezier(p.get(), -1) == nullptr, "poly_bezier_get_bezier: illegal index"},
        {poly_bezier_get_y(p.get(), nan_value, &y) == 0, "poly_bezier_get_y: chain does not rise in x"},
        {poly_bezier_get_y(segment_chain({0, 2, 1}, {0, 1, 2}).get(), 0.5, &y) == 0,
         "poly_bezier_get_y: chain does not rise in x"},
        {poly_bezier_get_y(segment_chain({1, 1}, {0, 1}).get(), 1, &y) == 0,
         "poly_bezier_get_y: chain does not rise in x"},
        {poly_bezier_nearest(p.get(), 0, inf, &x, &y) == 0, "poly_bezier_nearest: illegal point"},
        {poly_bezier_line(p.get(), point_line, us, 4) == -1, "poly_bezier_line: illegal line"},
        {poly_bezier_line(p.get(), endless_line, us, 4) == -1, "poly_bezier_line: illegal line"},
        {poly_bezier_vector(p.get(), 0, &points) == 0, "poly_bezier_vector: illegal error bound"},
        {poly_bezier_vector(p.get(), nan_value, &points) == 0, "poly_bezier_vector: illegal error bound"},
        {poly_bezier_vector(p.get(), 1e-16, &points) == 0, "poly_bezier_vector: too many points"},
        {poly_bezier_fit(4, &good[0], &good[0], -1, 180, 0) == nullptr, "poly_bezier_fit: illegal error bound"},
        {poly_bezier_fit(4, &good[0], &bad[0], 1, 180, 0) == nullptr, "poly_bezier_fit: illegal point"},
        {poly_bezier_fit(2, &equal[0], &equal[0], 1, 180, 0) == nullptr, "poly_bezier_fit: too few points"},
        {poly_bezier_fit(INT_MIN, &good[0], &good[0], 1, 180, 1) == nullptr, "poly_bezier_fit: too few points"},
        {poly_bezier_spline(1, &good[0], &good[0], 0) == nullptr, "poly_bezier_spline: too few points"},
        {poly_bezier_spline(2, &good[0], &good[0], 1) == nullptr, "poly_bezier_spline: too few points"},
        {poly_bezier_spline(4, &bad[0], &good[0], 0) == nullptr, "poly_bezier_spline: illegal point"},
        {poly_bezier_spline(3, &equal[0], &equal[0], 0) == nullptr, "poly_bezier_spline: equal points"},
        {poly_bezier_monotone(1, &good[0], &good[0]) == nullptr, "poly_bezier_monotone: too few points"},
        {poly_bezier_monotone(4, &good[0], &bad[0]) == nullptr, "poly_bezier_monotone: illegal point"},
        {poly_bezier_monotone(4, &equal[0], &good[0]) == nullptr, "poly_bezier_monotone: x values do not rise"},
    };
    lines expected;
    for (const auto &[refused, text] : cases) {
        EXPECT_TRUE(refused) << text;
        expected.emplace_back(text);
    }
    std::ranges::sort(expected);
    EXPECT_EQ(reports.take(), expected);
    EXPECT_EQ(controls(p), before);
    EXPECT_TRUE(x == 5 && y == 5 && points == nullptr);
    EXPECT_EQ(poly_bezier_kill(nullptr), nullptr);
}

TEST(PolyBezier, WithoutSegmentsIsItsStart)
{
    Reports reports;
    const Chain p = chain(3, 4, {});
    double y = 0;
    EXPECT_TRUE(poly_bezier_num(p.get()) == 0 && poly_bezier_closed(p.get()) == 0);
    EXPECT_EQ(at(p, 7) - point({3, 4}), 0);
    EXPECT_EQ(slope_at(p, 0) - point({0, 0}), 0);
    EXPECT_EQ(poly_bezier_get_y(p.get(), 3, &y), 1);
    EXPECT_EQ(poly_bezier_get_y(p.get(), 2, &y), 2);
    EXPECT_EQ(y, 4);
    EXPECT_EQ(poly_bezier_length(p.get(), 0, 1) + poly_bezier_at_length(p.get(), 1) + poly_bezier_area(p.get()), 0);
    EXPECT_EQ(poly_bezier_winding(p.get(), 3, 4), 0);
    EXPECT_EQ(box_of(p), (numbers{3, 4, 3, 4}));
    EXPECT_EQ(nearest(p, 0, 0).dist, 5);
    EXPECT_TRUE(meetings(p, 3, 4, 5, 6).empty());
    EXPECT_EQ(polyline(p, 0.1).size(), 1U);
    EXPECT_EQ(poly_bezier_join(p.get(), p.get()) + poly_bezier_reverse(p.get()), 2);
    poly_bezier *parts[2];
    ASSERT_EQ(poly_bezier_split(p.get(), 0, &parts[0], &parts[1]), 1);
    for (poly_bezier *part : parts)
        EXPECT_EQ(at(own(part), 0) - point({3, 4}), 0);
    EXPECT_EQ(reports.take(), lines{});
}

TEST(PolyBezierGet, IsOnTheCurveExactlyAtJointsAndItsSlopeAlongIt)
{
    Generator input(1);
    const Chain p = random_chain(input, 12);
    for (int i = 0; i < 12; ++i) {
        double xs[4], ys[4];
        const int degree = poly_bezier_segment(p.get(), i, xs, ys);
        EXPECT_EQ(at(p, i) - point({xs[0], ys[0]}), 0);
        EXPECT_EQ(at(p, i == 11 ? 99 : i + 1) - point({xs[degree], ys[degree]}), 0);
        EXPECT_LT(slope_at(p, i) - point({degree * (xs[1] - xs[0]), degree * (ys[1] - ys[0])}), 1e-14);
    }
    for (int i = 0; i < 300; ++i) {
        const double u = input.between(0, 11.999), h = 1e-6;
        EXPECT_LT(at(p, u) - model_at(p, u), 1e-15);
        const point a = at(p, u - h / 2), b = at(p, u + h / 2);
        if (std::floor(u - h) == std::floor(u + h)) {
            EXPECT_LT(slope_at(p, u) - point({(b.x - a.x) / h, (b.y - a.y) / h}), 1e-8);
        }
    }
    EXPECT_EQ(at(p, nan_value) - at(p, -1), 0);
}

TEST(PolyBezierChange, AppendsJoinsCopiesAndRaises)
{
    Generator input(2);
    const Chain p = random_chain(input, 9, true);
    ASSERT_EQ(poly_bezier_closed(p.get()), 1);
    const Chain copy = own(poly_bezier_copy(p.get()));
    EXPECT_EQ(controls(copy), controls(p));
    numbers twice = controls(p);
    twice.insert(twice.end(), twice.begin(), twice.begin() + static_cast<std::ptrdiff_t>(twice.size()));
    EXPECT_EQ(poly_bezier_join(p.get(), p.get()), 1);
    EXPECT_EQ(controls(p), twice);
    EXPECT_NEAR(poly_bezier_length(p.get(), 9, 18), poly_bezier_length(copy.get(), 0, 9), 1e-13);

    const Chain rebuilt = chain(0.25, -0.5, {});
    for (int i = 0; i < 9; ++i) {
        const Segment b(poly_bezier_get_bezier(copy.get(), i));
        ASSERT_EQ(b->degree, 3);
        EXPECT_EQ(poly_bezier_append(rebuilt.get(), b.get()), 1);
    }
    for (int i = 0; i <= 90; ++i)
        EXPECT_LT(at(rebuilt, 0.1 * i) - at(copy, 0.1 * i), 1e-15);
    const Segment quadratic = segment({0.25, 1, 2}, {-0.5, 1, 0});
    EXPECT_EQ(poly_bezier_append(rebuilt.get(), quadratic.get()), 1);
    EXPECT_EQ(at(rebuilt, 10) - point({2, 0}), 0);
}

TEST(PolyBezierChange, RunsBackMovesAndDivides)
{
    Generator input(3);
    for (int round = 0; round < 60; ++round) {
        const Chain p = random_chain(input, 5);
        const double u = round < 6 ? round : input.between(0, 5);
        const Chain back = own(poly_bezier_copy(p.get()));
        const double matrix[] = {2, -1, 0.5, 0.25, 3, -7};
        EXPECT_EQ(poly_bezier_reverse(back.get()), 1);
        EXPECT_LT(at(back, 5 - u) - at(p, u), 2e-15);
        EXPECT_NEAR(poly_bezier_length(back.get(), 0, 5 - u), poly_bezier_length(p.get(), u, 5), 1e-12);
        EXPECT_EQ(poly_bezier_transform(back.get(), matrix), 1);
        const point q = at(p, u);
        EXPECT_LT(at(back, 5 - u) - point({2 * q.x - q.y + 0.5, 0.25 * q.x + 3 * q.y - 7}), 2e-14);

        poly_bezier *parts[2];
        ASSERT_EQ(poly_bezier_split(p.get(), u, &parts[0], &parts[1]), 1);
        const Chain first = own(parts[0]), second = own(parts[1]);
        const int n = poly_bezier_num(first.get()), joint = static_cast<int>(u);
        EXPECT_EQ(n, static_cast<int>(std::ceil(u)));
        EXPECT_EQ(n + poly_bezier_num(second.get()), 5 + (u > joint ? 1 : 0));
        EXPECT_EQ(at(first, n) - at(second, 0), 0);
        for (const double s : {0.0, 0.3, 0.9}) {
            const double t = u - joint;
            EXPECT_LT(at(first, joint + s) - at(p, joint + s * (t > 0 ? t : 0)), 1e-14);
            EXPECT_LT(at(second, s) - at(p, u + s * (1 - t)), 1e-14);
        }
        EXPECT_NEAR(poly_bezier_length(first.get(), 0, n), poly_bezier_length(p.get(), 0, u), 1e-11);
    }
}

TEST(PolyBezierGetY, FindsEveryXOfARisingChainToTheLastDigits)
{
    Generator input(4);
    const Chain p = own(poly_bezier_new(-1, 2));
    double x = -1;
    for (int i = 0; i < 30; ++i) {
        // Vertical and horizontal ends among them, where x stands still.
        const double a = x + (i % 2) * input.unit(), b = a + (i % 5 != 0) * input.unit();
        const double xs[] = {a, b, b + 1e-3 + input.unit()}, ys[] = {input.unit(), input.unit(), input.unit()};
        const int degree = 1 + i % 3;
        poly_bezier_add(p.get(), degree, xs + 3 - degree, ys);
        x = xs[2];
    }
    for (int i = 0; i <= 1000; ++i) {
        const double u = 30.0 * i / 1000;
        double y = 0;
        const point q = at(p, u);
        ASSERT_EQ(poly_bezier_get_y(p.get(), q.x, &y), 1);
        const point d = slope_at(p, u);
        EXPECT_NEAR(y, q.y, 1e-14 + 1e-14 * std::fabs(d.y / d.x)) << u;
    }
    double y = 0;
    EXPECT_EQ(poly_bezier_get_y(p.get(), -inf, &y), 2);
    EXPECT_EQ(y, 2);
    EXPECT_EQ(poly_bezier_get_y(p.get(), std::nextafter(x, inf), &y), 2);
    EXPECT_EQ(y, at(p, 30).y);
}

TEST(PolyBezierLength, IsRightAtCuspsOverTurningLinesAndBetweenLongSegments)
{
    const Chain cusp = segment_chain({0, 1, 0, 1}, {0, 1, 1, 0});
    EXPECT_NEAR(poly_bezier_length(cusp.get(), 0, 1), 2 * std::numbers::sqrt2 - 1, 2e-9);
    EXPECT_NEAR(poly_bezier_length(segment_chain({0, 3, 0}, {0, 0, 0}).get(), 0, 1), 3, 3e-9);
    // A short segment after long ones keeps its digits.
    const Chain p = chain(0, 0, {{{1e9}, {1e9}}, {{1e9}, {3}}, {{1e9, 1e9 + 2}, {4, 3}}, {{7}, {8}}});
    const Chain alone = chain(1e9, 3, {{{1e9, 1e9 + 2}, {4, 3}}});
    EXPECT_NEAR(poly_bezier_length(p.get(), 2, 3.0000000001), poly_bezier_length(alone.get(), 0, 1) + 0.1, 1e-5);
    EXPECT_EQ(poly_bezier_length(p.get(), 3, 2), poly_bezier_length(alone.get(), 0, 1));

    Generator input(5);
    for (int round = 0; round < 30; ++round) {
        const Chain q = random_chain(input, 6);
        const double total = poly_bezier_length(q.get(), -1, 9), u0 = input.between(0, 6), u1 = input.between(0, 6);
        double model = 0, last = 0;
        for (int i = 1; i <= 6000; ++i)
            model += at(q, 0.001 * i) - at(q, 0.001 * (i - 1));
        EXPECT_NEAR(total, model, 1e-4);
        EXPECT_NEAR(poly_bezier_length(q.get(), u0, u1),
                    std::fabs(poly_bezier_length(q.get(), 0, u1) - poly_bezier_length(q.get(), 0, u0)), 1e-9 * total);
        for (int i = 0; i <= 20; ++i) {
            const double u = poly_bezier_at_length(q.get(), total * i / 20);
            EXPECT_NEAR(poly_bezier_length(q.get(), 0, u), total * i / 20, 1e-10 * total);
            EXPECT_GE(u, last);
            last = u;
        }
        EXPECT_NEAR(last, 6, 1e-9);
        EXPECT_EQ(poly_bezier_at_length(q.get(), total), 6);
    }
    EXPECT_EQ(poly_bezier_at_length(cusp.get(), nan_value), 0);
}

TEST(PolyBezierBox, HoldsTheCurveAndIsTouchedByIt)
{
    Generator input(6);
    for (int round = 0; round < 50; ++round) {
        const Chain p = random_chain(input, 1 + round % 5);
        const numbers box = box_of(p);
        numbers seen = {inf, inf, -inf, -inf};
        for (int i = 0; i <= 1000 * poly_bezier_num(p.get()); ++i) {
            const point q = at(p, i / 1000.0);
            seen = {std::min(seen[0], q.x), std::min(seen[1], q.y), std::max(seen[2], q.x), std::max(seen[3], q.y)};
        }
        for (std::size_t side = 0; side < 4; ++side) {
            const double beyond = side < 2 ? seen[side] - box[side] : box[side] - seen[side];
            EXPECT_TRUE(beyond >= -1e-15 && beyond < 1e-5) << beyond;
        }
    }
}

TEST(PolyBezierNearest, IsAsNearAsAnySampleAndTheFirstOfEquals)
{
    Generator input(7);
    for (int round = 0; round < 60; ++round) {
        const Chain p = random_chain(input, 1 + round % 7);
        const int n = poly_bezier_num(p.get());
        const double on = input.between(0, n);
        const point q = round % 4 == 0 ? at(p, on) : point{input.between(-2, 2), input.between(-2, 2)};
        double sampled = inf;
        for (int i = 0; i <= 2000; ++i)
            sampled = std::min(sampled, at(p, n * i / 2000.0) - q);
        const Nearest found = nearest(p, q.x, q.y);
        EXPECT_LE(found.dist, (round % 4 == 0 ? 0 : sampled) + 1e-14);
        EXPECT_NEAR(at(p, found.u) - q, found.dist, 1e-14);
    }
    // Both arms of a tent, both ends of a closed chain, a point met twice.
    EXPECT_EQ(nearest(chain(-1, 0, {{{0}, {1}}, {{1}, {0}}}), 0, 0).u, 0.5);
    EXPECT_EQ(nearest(circle(), 2, 0).u, 0);
    EXPECT_EQ(nearest(circle(), 0, 0).u, 0);
    EXPECT_NEAR(nearest(chain(0, 0, {{{2}, {2}}, {{2}, {0}}, {{0}, {2}}}), 1, 1).u, 0.5, 1e-15);
    EXPECT_EQ(poly_bezier_nearest(circle().get(), 1, 1, nullptr, nullptr), 1);
}

TEST(PolyBezierLine, CountsTouchesJointsAndSegmentsOnTheLineOnce)
{
    EXPECT_EQ(meetings(circle(), 1, -5, 1, 5), (numbers{0}));
    EXPECT_EQ(meetings(circle(), -5, 0, 5, 0), (numbers{0, 2}));
    EXPECT_EQ(meetings(circle(), 9, 1, 8, 1), (numbers{1}));
    EXPECT_EQ(meetings(segment_chain({0, 1, 2}, {0, 2, 0}), 0, 1, 1, 1), (numbers{0.5}));
    EXPECT_EQ(meetings(chain(-1, 1, {{{0}, {0}}, {{1}, {0}}, {{2, 2, 3}, {0, 0, 0}}, {{4}, {1}}}), 5, 0, 6, 0),
              (numbers{1, 2, 3}));
    EXPECT_EQ(meetings(chain(0, 0, {{{0, 0}, {0, 0}}}), 0, 0, 1, 0), (numbers{0}));
    // Turned, where nothing is exact: the touch of a parabola, and that of a joint.
    for (int i = 1; i < 50; ++i) {
        const double c = std::cos(0.1 * i), s = std::sin(0.1 * i);
        const double turn[] = {c, -s, 0.3, s, c, -0.2};
        for (const bool round : {false, true}) {
            const Chain p = round ? circle() : segment_chain({0, 1, 2}, {0, 2, 0});
            poly_bezier_transform(p.get(), turn);
            const double height = 1, x = 0.3 - s * height, y = -0.2 + c * height;
            const numbers us = meetings(p, x, y, x + c, y + s);
            ASSERT_EQ(us.size(), 1U) << i << round;
            EXPECT_NEAR(us[0], round ? 1 : 0.5, 2e-7);
        }
    }
}

TEST(PolyBezierLine, FindsEveryChangeOfSide)
{
    Generator input(8);
    for (int round = 0; round < 100; ++round) {
        const Chain p = random_chain(input, 6);
        const double a = input.between(-1, 1), b = input.between(-1, 1), c = input.between(-1, 1);
        const numbers us = meetings(p, a, b, c, 0.3);
        const auto side = [&](double u) {
            const point q = at(p, u);
            return (c - a) * (q.y - b) - (0.3 - b) * (q.x - a);
        };
        numbers changes;
        for (int i = 0; i < 6000; ++i)
            if ((side(0.001 * i) < 0) != (side(0.001 * (i + 1)) < 0))
                changes.push_back(0.001 * i);
        ASSERT_GE(us.size(), changes.size());
        // What the samples do not see lies between two of them.
        std::size_t k = 0;
        for (std::size_t i = 0; i < us.size(); ++i) {
            EXPECT_NEAR(side(us[i]), 0, 1e-14);
            EXPECT_TRUE(i == 0 || us[i] > us[i - 1]);
            k += k < changes.size() && us[i] >= changes[k] && us[i] <= changes[k] + 0.001 ? 1 : 0;
        }
        EXPECT_EQ(k, changes.size());
    }
    const double line[] = {0, 0, 1, 0};
    double us[] = {9, 9};
    EXPECT_EQ(poly_bezier_line(circle().get(), line, us, 1), 2);
    EXPECT_EQ(us[1], 9);
}

TEST(PolyBezierWinding, AgreesWithThePolylineAsDoesTheArea)
{
    Generator input(9);
    for (int round = 0; round < 40; ++round) {
        const Chain p = random_chain(input, 7, round % 2 == 0);
        std::vector<point> line = polyline(p, 1e-7);
        line.push_back(line[0]);
        double area = 0;
        for (std::size_t i = 1; i < line.size(); ++i)
            area += (line[i - 1].x * line[i].y - line[i].x * line[i - 1].y) / 2;
        EXPECT_NEAR(poly_bezier_area(p.get()), area, 1e-5);
        for (int k = 0; k < 50; ++k) {
            const point q = {input.between(-1, 1), input.between(-1, 1)};
            if (nearest(p, q.x, q.y).dist < 1e-6)
                continue;
            double angle = 0;
            for (std::size_t i = 1; i < line.size(); ++i) {
                const point a = {line[i - 1].x - q.x, line[i - 1].y - q.y}, b = {line[i].x - q.x, line[i].y - q.y};
                angle += std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y);
            }
            EXPECT_EQ(poly_bezier_winding(p.get(), q.x, q.y), std::lround(angle / (2 * std::numbers::pi)));
        }
    }
    // The ray through joints, turning points and a side.
    EXPECT_EQ(poly_bezier_winding(circle().get(), -0.5, 0), 1);
    EXPECT_EQ(poly_bezier_winding(circle().get(), -0.5, 1), 0);
    EXPECT_EQ(poly_bezier_winding(circle().get(), nan_value, 0), 0);
    const Chain step = chain(0, 0, {{{2}, {0}}, {{2}, {1}}, {{1}, {1}}, {{1}, {2}}, {{0}, {2}}});
    EXPECT_EQ(poly_bezier_winding(step.get(), 0.5, 1), 1);
    EXPECT_EQ(poly_bezier_winding(step.get(), 1.5, 1.5), 0);
}

TEST(PolyBezierVector, KeepsTheBoundAndTheEnds)
{
    Generator input(10);
    for (int round = 0; round < 60; ++round) {
        // Straight segments that overshoot their ends among them.
        const Chain p = round == 0 ? segment_chain({0, 5, 1}, {0, 5, 1}) : random_chain(input, 3);
        const double bound = input.between(1e-4, 0.1);
        const std::vector<point> line = polyline(p, bound);
        const int n = poly_bezier_num(p.get());
        std::size_t from = 0;
        for (int i = 0; i < n; ++i) {
            std::size_t to = from + 1;
            while (to + 1 < line.size() && line[to] - at(p, i + 1) != 0)
                ++to;
            ASSERT_EQ(line[to] - at(p, i + 1), 0);
            for (int k = 0; k <= 500; ++k) {
                const auto chord = std::min(from + (to - from) * static_cast<std::size_t>(k) / 500, to - 1);
                EXPECT_LE(distance_to_chord(at(p, i + k / 500.0), line[chord], line[chord + 1]), bound);
            }
            from = to;
        }
        EXPECT_EQ(from + 1, line.size());
    }
}

TEST(PolyBezierFit, PassesEveryPointWithinTheBound)
{
    const Row row = spiral();
    for (const auto &[bound, most] :
         {std::pair(1.0, 12), std::pair(0.1, 28), std::pair(0.01, 40), std::pair(1e-3, 56)}) {
        const Chain p = row.fit(bound, 180, false);
        expect_within(row, p, bound);
        EXPECT_LE(poly_bezier_num(p.get()), most);
        for (int i = 1; i < poly_bezier_num(p.get()); ++i)
            EXPECT_LT(turn_at(p, i), 1e-5);
    }
    Generator input(11);
    for (int round = 0; round < 40; ++round) {
        const Row random = {random_numbers(input, 2 + round), random_numbers(input, 2 + round)};
        const double bound = input.between(0.001, 1);
        expect_within(random, random.fit(bound, 5 * round, round % 2 != 0), bound);
    }
}

TEST(PolyBezierFit, FindsTheCornersAndRoundsTheJoint)
{
    const Row row = square(20);
    const Chain p = row.fit(0.01, 45, true);
    EXPECT_EQ(poly_bezier_num(p.get()), 4);
    EXPECT_NEAR(poly_bezier_area(p.get()), 1, 1e-9);
    for (int i = 1; i < 4; ++i)
        EXPECT_NEAR(turn_at(p, i), 90, 1e-4);
    EXPECT_EQ(poly_bezier_num(row.fit(0.01, 45, false).get()), 4);
    // Without corners it is smooth everywhere, at the joint too.
    for (const double none : {180.0, 100.0, nan_value}) {
        const Chain smooth = row.fit(0.01, none, true);
        expect_within(row, smooth, 0.01);
        EXPECT_EQ(poly_bezier_closed(smooth.get()), 1);
        for (int i = 1; i < poly_bezier_num(smooth.get()); ++i)
            EXPECT_LT(turn_at(smooth, i), 1e-4);
        const point a = slope_at(smooth, 0), b = slope_at(smooth, 99);
        EXPECT_LT(std::fabs(a.x * b.y - a.y * b.x), 1e-12);
        EXPECT_GT(a.x * b.x + a.y * b.y, 0);
    }
    Row ring;
    for (int i = 0; i <= 100; ++i) {
        ring.xs.push_back(i == 100 ? 1 : std::cos(std::numbers::pi * i / 50));
        ring.ys.push_back(i == 100 ? 0 : std::sin(std::numbers::pi * i / 50));
    }
    EXPECT_NEAR(poly_bezier_area(ring.fit(1e-3, 30, true).get()), std::numbers::pi, 5e-3);
    const Chain two = Row{{0, 0, 3, 3}, {0, 0, 6, 6}}.fit(1e-3, 0, false);
    EXPECT_EQ(controls(two), (numbers{3, 0, 1, 2, 3, 0, 2, 4, 6}));
}

TEST(PolyBezierSpline, IsTwiceContinuousThroughItsPoints)
{
    const Chain three = own(poly_bezier_spline(3, numbers{0, 1, 2}.data(), numbers{0, 1, 0}.data(), 0));
    const numbers expected = {3, 0, 1.0 / 3, 2.0 / 3, 1, 0, 0.5, 1, 1}, given = controls(three);
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(given[i], expected[i], 1e-15);
    const Chain straight = own(poly_bezier_spline(2, numbers{0, 3}.data(), numbers{0, 6}.data(), 0));
    EXPECT_LT(at(straight, 0.25) - point({0.75, 1.5}), 1e-15);

    Generator input(12);
    for (int n = 3; n < 30; ++n) {
        const bool closed = n % 2 == 0 || n == 3;
        const Row row = {random_numbers(input, n), random_numbers(input, n)};
        const Chain p = own(poly_bezier_spline(n, row.xs.data(), row.ys.data(), closed));
        const int segments = closed ? n : n - 1;
        ASSERT_EQ(poly_bezier_num(p.get()), segments);
        EXPECT_EQ(poly_bezier_closed(p.get()), closed ? 1 : 0);
        // Derivatives by the spline's own parameter, x + i y to have both at once.
        const auto derivatives = [&](int i, bool end) {
            double x[4], y[4];
            poly_bezier_segment(p.get(), i, x, y);
            const double h = std::sqrt(std::hypot(x[3] - x[0], y[3] - y[0]));
            const int k = end ? 2 : 0, m = end ? 1 : 0;
            return numbers{3 * (x[k + 1] - x[k]) / h, 3 * (y[k + 1] - y[k]) / h,
                           6 * (x[m + 2] - 2 * x[m + 1] + x[m]) / (h * h),
                           6 * (y[m + 2] - 2 * y[m + 1] + y[m]) / (h * h)};
        };
        for (int i = closed ? 0 : 1; i < segments; ++i) {
            const auto k = static_cast<std::size_t>(i);
            EXPECT_EQ(at(p, i) - point({row.xs[k], row.ys[k]}), 0);
            const numbers before = derivatives(i != 0 ? i - 1 : segments - 1, true), after = derivatives(i, false);
            for (std::size_t d = 0; d < 4; ++d)
                EXPECT_NEAR(before[d], after[d], 1e-11 * (1 + std::fabs(after[d])));
        }
        if (closed)
            continue;
        for (const double value : {derivatives(0, false)[2], derivatives(segments - 1, true)[3]})
            EXPECT_NEAR(value, 0, 1e-11);
    }
}

TEST(PolyBezierMonotone, NeverOvershootsAndRisesWithItsPoints)
{
    const Chain p = own(poly_bezier_monotone(3, numbers{0, 1, 3}.data(), numbers{0, 1, 2}.data()));
    const double slopes[] = {7.0 / 6, 9.0 / 13, 1.0 / 6};
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(slope_at(p, i).y / slope_at(p, i).x, slopes[i], 1e-15);
    Generator input(13);
    for (int n = 2; n < 40; ++n) {
        Row row = {random_numbers(input, n), random_numbers(input, n)};
        std::ranges::sort(row.xs);
        const Chain q = own(poly_bezier_monotone(n, row.xs.data(), row.ys.data()));
        for (std::size_t k = 0; k + 1 < row.xs.size(); ++k) {
            double last = row.ys[k];
            const double sense = row.ys[k + 1] - row.ys[k];
            for (int i = 0; i <= 20; ++i) {
                double y = 0;
                const double x = i == 20 ? row.xs[k + 1] : row.xs[k] + (row.xs[k + 1] - row.xs[k]) * i / 20;
                ASSERT_EQ(poly_bezier_get_y(q.get(), x, &y), 1);
                EXPECT_GE((y - last) * sense, -1e-15);
                last = y;
            }
            EXPECT_EQ(last, row.ys[k + 1]);
        }
    }
}

// What holds for a chain of ordinary size holds, bit for bit, for one that is 2^900 times larger or smaller.
TEST(PolyBezier, DoesNotDependOnTheUnitOfItsCoordinates)
{
    Generator input(14);
    for (const double factor : {0x1p900, 0x1p-900}) {
        const Chain p = random_chain(input, 6), q = scaled(p, factor);
        EXPECT_EQ(poly_bezier_length(q.get(), 0.5, 4.7), factor * poly_bezier_length(p.get(), 0.5, 4.7));
        EXPECT_EQ(poly_bezier_at_length(q.get(), 2 * factor), poly_bezier_at_length(p.get(), 2));
        for (int i = 0; i < 20; ++i) {
            const double x = input.between(-1, 1), y = input.between(-1, 1);
            const Nearest a = nearest(p, x, y), b = nearest(q, x * factor, y * factor);
            EXPECT_EQ(b.u, a.u);
            EXPECT_EQ(b.dist, a.dist * factor);
            EXPECT_EQ(meetings(q, x * factor, 0, 0, y * factor), meetings(p, x, 0, 0, y));
            EXPECT_EQ(poly_bezier_winding(q.get(), x * factor, y * factor), poly_bezier_winding(p.get(), x, y));
        }
        for (std::size_t side = 0; side < 4; ++side)
            EXPECT_EQ(box_of(q)[side], box_of(p)[side] * factor);
        EXPECT_EQ(polyline(q, 0.01 * factor).size(), polyline(p, 0.01).size());

        Row row = {random_numbers(input, 30), random_numbers(input, 30)}, large = row;
        std::ranges::sort(row.xs);
        for (std::size_t i = 0; i < 30; ++i) {
            large.xs[i] = row.xs[i] * factor;
            large.ys[i] = row.ys[i] * factor;
        }
        const auto builders = {
            +[](const Row &r, double unit) { return r.fit(0.1 * unit, 60, true); },
            +[](const Row &r, double) { return own(poly_bezier_spline(30, r.xs.data(), r.ys.data(), 1)); },
            +[](const Row &r, double) { return own(poly_bezier_monotone(30, r.xs.data(), r.ys.data())); }};
        for (const auto build : builders)
            EXPECT_EQ(controls(build(large, factor)), controls(scaled(build(row, 1), factor)));
    }
}

// Nothing hangs, traps or becomes NaN where coordinates meet the ends of what doubles hold, or each other.
TEST(PolyBezier, EndsWithAnAnswerAtTheLimitsOfDoubles)
{
    const double values[] = {0, DBL_MAX, -DBL_MAX, 5e-324, 1e300, -1e-300, 1, DBL_MIN};
    Generator input(15);
    for (int round = 0; round < 300; ++round) {
        const auto any = [&] { return values[round % 3 == 0 ? input.below(3) : input.below(8)]; };
        const Chain p = own(poly_bezier_new(any(), any()));
        numbers all;
        for (int i = 0; i < 4; ++i) {
            const double xs[] = {any(), any(), any()}, ys[] = {any(), any(), any()};
            poly_bezier_add(p.get(), 1 + input.below(3), xs, ys);
        }
        const double x = any(), y = any();
        const Nearest found = nearest(p, x, y);
        double rise = 0;
        all = {found.u,
               found.dist,
               poly_bezier_length(p.get(), 0.3, 3.9),
               poly_bezier_at_length(p.get(), any()),
               poly_bezier_area(p.get()),
               static_cast<double>(poly_bezier_winding(p.get(), x, y)),
               slope_at(p, 0).x,
               slope_at(p, 2.5).y,
               at(p, 1.3).x};
        const Chain rising = segment_chain({-DBL_MAX, -1e300, any() / 2, DBL_MAX}, {any(), any(), any(), any()});
        Reports quiet;
        if (poly_bezier_get_y(rising.get(), x, &rise) != 0)
            all.push_back(rise);
        const numbers box = box_of(p), us = x != y ? meetings(p, x, y, y, x) : numbers{};
        all.insert(all.end(), box.begin(), box.end());
        all.insert(all.end(), us.begin(), us.end());
        polyline(p, 1e300);
        for (std::size_t i = 0; i < all.size(); ++i)
            EXPECT_FALSE(std::isnan(all[i])) << round << ", " << i;

        const numbers xs = {any(), any(), any(), any(), any()}, ys = {any(), any(), any(), any(), any()};
        const numbers rising_xs = {-DBL_MAX, -1e-300, 5e-324, 1e-323, 1e308};
        for (poly_bezier *built : {poly_bezier_fit(5, xs.data(), ys.data(), 1e290, 30, round % 2),
                                   poly_bezier_spline(5, xs.data(), ys.data(), round % 2),
                                   poly_bezier_monotone(5, rising_xs.data(), ys.data())})
            for (const double value : built != nullptr ? controls(own(built)) : numbers{})
                EXPECT_TRUE(std::isfinite(value)) << round;
    }
}
