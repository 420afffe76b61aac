#include "bezierd_vector.h"

#include "curves/segments.h"
#include "error_mess.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <tuple>

using namespace teska_test;

namespace
{

using Points = std::vector<point>;

constexpr double shortest = 0.9375;  // what a length of 1 may be taken for
constexpr double longest = 1.0482;

double distance_from_chord(const point &p, const point &a, const point &b, bool beyond_the_ends)
{
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    double s = ((p.x - a.x) * dx + (p.y - a.y) * dy) / (dx * dx + dy * dy);
    if (!beyond_the_ends)
        s = dx == 0.0 && dy == 0.0 ? 0.0 : std::clamp(s, 0.0, 1.0);
    return p - point({a.x + s * dx, a.y + s * dy});
}

// The largest distance of the curve's points from `line`.
double deviation(const bezier &b, const Points &line)
{
    double largest = 0.0;
    for (int i = 0; i <= 300; ++i) {
        const point p = casteljau(b, i / 300.0);
        double least = 1e300;
        for (std::size_t k = 1; k < line.size(); ++k)
            least = std::min(least, distance_from_chord(p, line[k - 1], line[k], false));
        largest = std::max(largest, least);
    }
    return largest;
}

Points fvector(const Segment &b, double max_error)
{
    double *points = b->x;
    const int sections = bezier_fvector(b.get(), max_error, &points);
    Points line(points != nullptr ? static_cast<std::size_t>(sections) + 1 : 0);
    if (points != nullptr)
        std::memcpy(line.data(), points, line.size() * sizeof(point));
    std::free(points);
    return line;
}

using Array = teska::handle<dynar, dynar_kill>;

Points vector(const Segment &b, double max_error, Array array = nullptr)
{
    dynar *points = array.release();
    const int segments = bezier_vector(b.get(), max_error, &points);
    array.reset(points);
    if (segments == 0)
        return {};
    const auto *first = static_cast<const point *>(dynar_ptr(points, 0));
    return {first, first + segments + 1};
}

}  // namespace

TEST(BezierVectorError, KeptIsNotDividedByTheChordForEqualDistances)
{
    const double third = std::sqrt(1.0 / 12);
    const std::tuple<Segment, double, double> cases[] = {
        {segment({0, 1, 2}, {0, 2, 0}), 0.5, 0.9375},
        {segment({0, 1, -1, 0}, {0, 1, 2, 0}), 0.5, std::sqrt(5.0)},
        {segment({0, 0, 1, 1}, {0, 1, 1, 0}), 0.5, 0.75},
        {segment({0, 0, 10, 10}, {0, 10, 10, 0}), 0.5, 75.0},
        {segment({0, 1, 2, 3}, {0, 0, 0, 0}), 0.5, 0.0},
        {segment({0, 1, 2, 3}, {0, 1, -1, 0}), 0.5 + third, std::sqrt(1 / 12.0) / shortest},
        {segment({0, 1, 2, 3}, {0, 1, 0, 0}), 1 / 3.0, 4 / 9.0 / shortest},
        {segment({0, 1, 2, 3}, {0, 0, -1, 0}), 2 / 3.0, 4 / 9.0 / shortest}};
    for (const auto &[b, t, err] : cases) {
        double found[2];
        EXPECT_EQ(bezier_vector_error(b.get(), &found[0], &found[1]), 1);
        EXPECT_NEAR(std::fabs(found[0] - 0.5), std::fabs(t - 0.5), 1e-15);
        EXPECT_NEAR(found[1], err, 1e-14);
    }
}

TEST(BezierVectorError, IsTheLargestDistanceFromTheChordButForItsLength)
{
    Generator input(7);
    for (int i = 0; i < 300; ++i) {
        const Segment b = random_segment(input, 3);
        double largest = 0.0;
        const auto off = [&](double t) {
            return distance_from_chord(casteljau(*b, t), casteljau(*b, 0), casteljau(*b, 1), true);
        };
        for (int k = 1; k < 200; ++k)
            largest = std::max(largest, off(k / 200.0));
        double t = 0.0;
        double err = 0.0;
        bezier_vector_error(b.get(), &t, &err);
        EXPECT_GE(off(t), largest * (1 - 1e-9));
        EXPECT_GE(err, off(t) / longest);
        EXPECT_LE(err, off(t) / shortest * (1 + 1e-12));
    }
}

TEST(BezierVectorFd, WalksAlongTheCurveInSlotsOfAnySize)
{
    Generator input(8);
    for (int i = 0; i < 200; ++i) {
        const Segment b = random_segment(input, 2 + i % 2);
        const int sections = std::array{1, 2, 7, 100}[static_cast<std::size_t>(i / 2 % 4)];
        const unsigned stride = std::array{0U, 16U, 24U, 17U}[static_cast<std::size_t>(i / 8 % 4)];
        const std::size_t slot = stride == 0 ? 16 : stride;
        std::vector<char> points(slot * static_cast<std::size_t>(sections + 1), 'x');
        EXPECT_EQ(bezier_vector_fd(b.get(), points.data(), sections, stride), 1);
        for (std::size_t k = 0; k <= static_cast<std::size_t>(sections); ++k) {
            point p{};
            std::memcpy(&p, &points[k * slot], sizeof p);
            const bool end = k == 0 || k == static_cast<std::size_t>(sections);
            EXPECT_LE(p - casteljau(*b, static_cast<double>(k) / sections), end ? 0.0 : 1e-12);
            EXPECT_EQ(std::count(&points[k * slot + 16], points.data() + (k + 1) * slot, 'x'),
                      static_cast<std::ptrdiff_t>(slot - 16));
        }
    }
}

TEST(BezierFvectorLen, BoundsTheSecondDerivative)
{
    testing::internal::CaptureStdout();
    const int before = dbg_set(1);
    const std::tuple<numbers, numbers, double, int> cases[] = {
        {{0, 1, 2}, {0, 2, 0}, 3.75 / 64, 5},         {{0, 1, 2}, {0, 2, 0}, 3.75 / 63.9, 4},
        {{0, 0, 0, 1}, {0, 0, 0, 0}, 2.8125 / 16, 3}, {{0, 1, 1, 1}, {0, 0, 0, 0}, 2.8125 / 16, 3},
        {{0, 0, 1, 1}, {0, 1, 1, 0}, 1e300, 1},       {{0, 1, 2}, {0, 2, 0}, 1e-300, 2147483646},
        {{0, NAN, 2, 3}, {0, 0, 0, 0}, 1, 1},         {{0, INFINITY, 2}, {0, 0, 0}, 1, 2147483646}};
    for (const auto &[xs, ys, max_error, sections] : cases)
        EXPECT_EQ(bezier_fvector_len(segment(xs, ys).get(), max_error), sections) << max_error;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    testing::internal::CaptureStdout();
    EXPECT_EQ(bezier_fvector_len(segment({0, 1, 2}, {0, 1, 2}).get(), 1e-9), 1);
    EXPECT_EQ(bezier_fvector_len(segment({0, 1, 2, 3}, {0, 0, 0, 0}).get(), 1e-9), 1);
    dbg_set(before);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "DEBUG : 'Bezier_fvector_len: vector input'\n"
              "DEBUG : 'Bezier_fvector_len: resorting to secondary error criterium'\n");
}

TEST(BezierFvector, AndTheOthersRefuseWhatTheyCannotDo)
{
    Reports reports;
    const Segment cubic = segment({0, 1, 2, 3}, {0, 1, 0, 0});
    const Segment quartic = segment({0, 1, 2, 3, 4}, {0, 1, 0, 0, 2});
    for (const double bound : {0.0, -1.0, std::nan("")}) {
        EXPECT_TRUE(fvector(cubic, bound).empty());
        EXPECT_EQ(reports.take(), lines{"Bezier_fvector_len: illegal error bound"});
        dynar *array = nullptr;
        EXPECT_EQ(bezier_vector(cubic.get(), bound, &array), 0);
        EXPECT_EQ(array, nullptr);
    }
    EXPECT_TRUE(fvector(quartic, 1).empty());
    double out[2] = {77, 77};
    EXPECT_EQ(bezier_vector_fd(quartic.get(), out, 1, 16) + bezier_vector_fd(quartic.get(), out, 0, 16) +
                  bezier_vector_fd(quartic.get(), out, 0, 15) + bezier_vector_error(quartic.get(), &out[0], &out[1]),
              0);
    EXPECT_EQ(out[0] + out[1], 0.0);
    EXPECT_EQ(reports.take(), (lines{"Bezier_fvector_len: illegal degree", "Bezier_vector_error : illegal degree",
                                     "Bezier_vector_fd: illegal degree", "Bezier_vector_fd: illegal itemsize",
                                     "Bezier_vector_fd: illegal nr_sect"}));
}

TEST(BezierVector, AndFvectorStayWithinTheirBoundsOfTheCurve)
{
    Generator input(11);
    for (int i = 0; i < 240; ++i) {
        numbers xs = random_numbers(input, 3 + i % 2);
        numbers ys = random_numbers(input, 3 + i % 2);
        const double bound = std::array{0.1, 0.01, 0.003}[static_cast<std::size_t>(i / 2 % 3)];
        EXPECT_LE(deviation(*segment(xs, ys), fvector(segment(xs, ys), bound)), bound / shortest);
        // Curves that do not run back beyond an end of a chord; and a cusp or loop in every tenth.
        std::sort(xs.begin(), xs.end());
        std::sort(ys.begin(), ys.end());
        const double cross = 1.0 + i * 0.01;
        const Segment b = i % 10 == 1 ? segment({0, cross, 1 - cross, 1}, {0, 1, 1, 0}) : segment(xs, ys);
        if (i % 2 == 1) {
            EXPECT_LE(deviation(*b, vector(b, bound)), bound / shortest) << i;
        }
    }
}

TEST(BezierVector, KeptEndsPartsAtControlPoint3WhateverTheDegree)
{
    Reports reports;
    const Segment quadratic = segment({0, 1, 2}, {0, 2, 0});
    for (const auto &[bound, segments] : {std::pair{5.0, 1U}, {0.5, 3U}, {0.05, 37U}}) {
        const Points line = vector(quadratic, bound);
        ASSERT_EQ(line.size(), segments + 1);
        for (const point &p : line)
            EXPECT_EQ(p - point({0, 0}), 0.0);
    }
    EXPECT_LT(vector(quadratic, 1e-300).size(), 66000U);
    const Points line = vector(segment({0, 1, 2, 3, 4}, {0, 1, 0, 5, 2}), 0.1);
    ASSERT_EQ(line.size(), 2U);
    EXPECT_EQ(line[1] - point({3, 5}), 0.0);
    EXPECT_EQ(reports.take(), lines{"Bezier_vector_error : illegal degree"});
}

TEST(BezierVector, WritesAnArrayFromItsStartAndEndsWithTheCurve)
{
    Array array(dynar_new(16, 3));
    dynar_ptr(array.get(), 999);
    dynar *points = array.get();
    const Segment b = segment({1, 2, 2, 3}, {1, 1, 4, 5});
    const int segments = bezier_vector(b.get(), 1e-4, &points);
    EXPECT_TRUE(points == array.get() && dynar_nr_items(points) == 1000 && segments > 20);
    EXPECT_EQ(*static_cast<point *>(dynar_ptr(points, 0)) - point({1, 1}), 0.0);
    EXPECT_EQ(*static_cast<point *>(dynar_ptr(points, segments)) - point({3, 5}), 0.0);
    EXPECT_EQ(*static_cast<point *>(dynar_ptr(points, segments + 1)) - point({0, 0}), 0.0);
}

TEST(BezierVector, EndsForBoundsAndCoordinatesWithoutMeasure)
{
    const double inf = INFINITY;
    const std::tuple<numbers, numbers, double> cases[] = {
        {{1e6, 1e6, 1e6 + 1, 1e6 + 1}, {0, 1, 1, 0}, 1e-300},   {{0, 1e200, 2e200, 3e200}, {0, 1e200, -1e200, 0}, 1e-3},
        {{0, 1e200, 2e200, 3e200}, {0, 1e200, 1e200, 0}, 1e-3}, {{0, 1, 1, inf}, {0, -1, -1, inf}, 1e-3},
        {{0, std::nan(""), 1, 2}, {0, 1, 1, 0}, 1e-3},          {{0, 1, 2, 3}, {0, 1, -1, 0}, inf}};
    for (const auto &[xs, ys, bound] : cases) {
        const std::size_t points = vector(segment(xs, ys), bound).size();
        EXPECT_TRUE(points >= 2 && points < 1000000) << points;
    }
}
